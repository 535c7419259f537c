#include "host/HostServices.hpp"

#include "fl/filesystem/Filesystem.hpp"
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

// Messages raised and not yet taken, of one engine instance, or of the
// process for threads without one: one log for the warnings, one for the
// errors reported by commands.
template <class Kind>
struct MessageLog {
    std::mutex mutex;
    std::vector<resource_core::BaseMsgID> messages;
};
struct Warnings;
struct ReportedErrors;

// One handler for the process: whoever shows warnings to the user does so
// for every instance.
struct WarningHandlerState {
    std::mutex mutex;
    std::function<void(const resource_core::BaseMsgID&)> handler;
};

template <class Kind, class Store>
MessageLog<Kind>& messageLogIn() {
    static const auto id = Store::getNextID(typeid(MessageLog<Kind>));
    return Store::template findOrInsert<MessageLog<Kind>>(id, [] { return std::make_unique<MessageLog<Kind>>(); });
}

template <class Kind>
MessageLog<Kind>& messageLog() {
    return QvmStore::isRequiredContextActive() ? messageLogIn<Kind, QvmStore>() : messageLogIn<Kind, ProcessStore>();
}

template <class Kind>
void append(const resource_core::BaseMsgID& message) {
    MessageLog<Kind>& log = messageLog<Kind>();
    std::lock_guard lock(log.mutex);
    log.messages.push_back(message);
}

template <class Kind>
std::vector<resource_core::BaseMsgID> take() {
    MessageLog<Kind>& log = messageLog<Kind>();
    std::lock_guard lock(log.mutex);
    return std::exchange(log.messages, {});
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

// The mode of the process and the cache file that overrides the default.
struct HostModeState {
    std::mutex mutex;
    bool standalone = false;
    std::string cacheFile;
};

HostModeState& hostModeState() {
    static const auto id = ProcessStore::getNextID(typeid(HostModeState));
    return ProcessStore::findOrInsert<HostModeState>(id, [] { return std::make_unique<HostModeState>(); });
}

}  // namespace

bool svIsStandaloneMode() {
    HostModeState& state = hostModeState();
    std::lock_guard lock(state.mutex);
    return state.standalone;
}

std::string svGetSystemToolboxCacheFile(bool standalone) {
    {
        HostModeState& state = hostModeState();
        std::lock_guard lock(state.mutex);
        if (!state.cacheFile.empty()) return state.cacheFile;
    }
    return svOrvianRoot() + (standalone ? "/rtk" : "") + "/cache/toolbox.cache";
}

std::string svOrvianRoot() { return fl::i18n::ustring_to_utf8(fl::filesystem::get_install_path()); }

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
    append<Warnings>(message);
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

std::vector<resource_core::BaseMsgID> takeWarnings() { return take<Warnings>(); }

void noteReportedError(const resource_core::BaseMsgID& message) { append<ReportedErrors>(message); }

std::vector<resource_core::BaseMsgID> takeReportedErrors() { return take<ReportedErrors>(); }

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

void setStandaloneMode(bool standalone) {
    HostModeState& state = hostModeState();
    std::lock_guard lock(state.mutex);
    state.standalone = standalone;
}

void setSystemToolboxCacheFile(std::string file) {
    HostModeState& state = hostModeState();
    std::lock_guard lock(state.mutex);
    state.cacheFile = std::move(file);
}

void setWarningHandler(std::function<void(const resource_core::BaseMsgID&)> handler) {
    WarningHandlerState& state = warningHandlerState();
    std::lock_guard lock(state.mutex);
    state.handler = std::move(handler);
}

}  // namespace host
