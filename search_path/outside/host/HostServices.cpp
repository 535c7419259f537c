#include "host/HostServices.hpp"

#include "foundation/usm/StateStore.hpp"

#include <memory>
#include <mutex>
#include <utility>

namespace {

using QvmStore = foundation::usm::Detail<foundation::usm::scope::Qvm>;
using ProcessStore = foundation::usm::Detail<foundation::usm::scope::Process>;

constexpr std::size_t kMaxNameLength = 63;

bool isAsciiLetter(char16_t c) { return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z'); }
bool isAsciiDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

// The warnings raised and not yet taken, of one engine instance, or of the
// process for threads without one.
struct WarningState {
    std::mutex mutex;
    std::vector<resource_core::BaseMsgID> warnings;
};

// One handler for the process: whoever shows warnings to the user does so
// for every instance.
struct WarningHandlerState {
    std::mutex mutex;
    std::function<void(const resource_core::BaseMsgID&)> handler;
};

template <class Store>
WarningState& warningStateIn() {
    static const auto id = Store::getNextID(typeid(WarningState));
    return Store::template findOrInsert<WarningState>(id, [] { return std::make_unique<WarningState>(); });
}

WarningState& warningState() {
    return QvmStore::isRequiredContextActive() ? warningStateIn<QvmStore>() : warningStateIn<ProcessStore>();
}

WarningHandlerState& warningHandlerState() {
    static const auto id = ProcessStore::getNextID(typeid(WarningHandlerState));
    return ProcessStore::findOrInsert<WarningHandlerState>(id, [] { return std::make_unique<WarningHandlerState>(); });
}

struct StopwatchState {
    std::mutex mutex;
    std::vector<std::chrono::steady_clock::time_point> open;
    std::vector<host::StopwatchReading> readings;
};

StopwatchState& stopwatchState() {
    static const auto qvmId = QvmStore::getNextID(typeid(StopwatchState));
    static const auto processId = ProcessStore::getNextID(typeid(StopwatchState));
    const auto make = [] { return std::make_unique<StopwatchState>(); };
    return QvmStore::isRequiredContextActive() ? QvmStore::findOrInsert<StopwatchState>(qvmId, make)
                                               : ProcessStore::findOrInsert<StopwatchState>(processId, make);
}

} // namespace

void utTicImpl() {
    StopwatchState& state = stopwatchState();
    std::lock_guard lock(state.mutex);
    state.open.push_back(std::chrono::steady_clock::now());
}

void utTocImpl(const char* name) {
    const auto now = std::chrono::steady_clock::now();
    StopwatchState& state = stopwatchState();
    std::lock_guard lock(state.mutex);
    // A toc without a tic measures nothing, but is still recorded: the host
    // shows it as zero.
    std::chrono::nanoseconds elapsed{0};
    if (!state.open.empty()) {
        elapsed = now - state.open.back();
        state.open.pop_back();
    }
    state.readings.push_back({name, elapsed});
}

bool qvIsValidOrvName(const ustring& name) {
    if (name.empty() || name.size() > kMaxNameLength || !isAsciiLetter(name.front())) return false;
    for (char16_t c : name)
        if (!isAsciiLetter(c) && !isAsciiDigit(c) && c != u'_') return false;
    return true;
}

void qvWarningMsgId(const resource_core::BaseMsgID& message) {
    {
        WarningState& state = warningState();
        std::lock_guard lock(state.mutex);
        state.warnings.push_back(message);
    }
    std::function<void(const resource_core::BaseMsgID&)> handler;
    {
        WarningHandlerState& state = warningHandlerState();
        std::lock_guard lock(state.mutex);
        handler = state.handler;
    }
    // Called without a lock: a handler may well raise or take warnings itself.
    if (handler) handler(message);
}

namespace host {

std::vector<resource_core::BaseMsgID> takeWarnings() {
    WarningState& state = warningState();
    std::lock_guard lock(state.mutex);
    return std::exchange(state.warnings, {});
}

std::vector<StopwatchReading> takeStopwatchReadings() {
    StopwatchState& state = stopwatchState();
    std::lock_guard lock(state.mutex);
    return std::exchange(state.readings, {});
}

std::size_t openStopwatchCount() {
    StopwatchState& state = stopwatchState();
    std::lock_guard lock(state.mutex);
    return state.open.size();
}

void setWarningHandler(std::function<void(const resource_core::BaseMsgID&)> handler) {
    WarningHandlerState& state = warningHandlerState();
    std::lock_guard lock(state.mutex);
    state.handler = std::move(handler);
}

} // namespace host
