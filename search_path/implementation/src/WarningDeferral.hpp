#pragma once
// Warnings for the host that work on a pool thread gives, held back so that
// they reach the host in the order a serial run would have given them.
#include "foundation/core/except/Notification.hpp"
#include "resource_core/BaseMsgID.hpp"

namespace Thornfell::PathManagement {

// While it lives, the warnings that GiveHostWarning is handed on this thread
// go into `held` instead of to the host. Scopes nest; each thread has its
// own, so nothing outlives the work that set it up.
class WarningDeferral {
public:
    explicit WarningDeferral(foundation::core::except::Notification& held);
    ~WarningDeferral();
    WarningDeferral(const WarningDeferral&) = delete;
    WarningDeferral& operator=(const WarningDeferral&) = delete;

private:
    foundation::core::except::Notification* const outer_;
};

// Gives `warning` to the host, or to the innermost deferral of this thread.
void GiveHostWarning(const resource_core::BaseMsgID& warning);

}  // namespace Thornfell::PathManagement
