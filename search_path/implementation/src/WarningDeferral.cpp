#include "WarningDeferral.hpp"

#include "host/HostServices.hpp"

namespace Thornfell::PathManagement {

namespace {
// The innermost deferral of the thread. Not process state: a scope sets it
// and puts back what it found, so it is empty whenever no work is running.
thread_local foundation::core::except::Notification* heldWarnings = nullptr;
}  // namespace

WarningDeferral::WarningDeferral(foundation::core::except::Notification& held) : outer_(heldWarnings) {
    heldWarnings = &held;
}

WarningDeferral::~WarningDeferral() { heldWarnings = outer_; }

void GiveHostWarning(const resource_core::BaseMsgID& warning) {
    if (heldWarnings)
        heldWarnings->add(warning);
    else
        qvWarningMsgId(warning);
}

}  // namespace Thornfell::PathManagement
