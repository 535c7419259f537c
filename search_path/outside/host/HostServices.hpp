#pragma once
// Services of the host that the system calls.
#include "fl/ustring.hpp"
#include "foundation/core/except/Notification.hpp"
#include "resource_core/BaseMsgID.hpp"

#include <chrono>
#include <functional>
#include <string>
#include <vector>

// Whether `name` is a valid identifier of the host language: a letter first,
// then letters, digits and underscores, at most 63 characters (ASCII only).
bool qvIsValidOrvName(const ustring& name);

// Raises a warning in the host. The stand-in keeps the warnings of the
// current engine instance (or of the process, on a thread without one) and
// passes each to the warning handler, if one is set.
void qvWarningMsgId(const resource_core::BaseMsgID& message);

// The host's stopwatch: utTicImpl opens a measurement, utTocImpl closes the
// latest open one and records it under `name`. Kept per engine instance (or
// for the process, on a thread without one), like the warnings.
void utTicImpl();
void utTocImpl(const char* name);

// Whether the environment runs as a standalone application, whose toolboxes
// lie below "rtk/toolbox" of the installation root. False unless set.
bool svIsStandaloneMode();
// The narrow (UTF-8) path of the system toolbox cache file of the mode: by
// default "cache/toolbox.cache" below the installation root, or below its
// "rtk" folder in standalone mode.
std::string svGetSystemToolboxCacheFile(bool standalone);
// The narrow path of the installation root (fl::filesystem::get_install_path).
std::string svOrvianRoot();

namespace host {
struct StopwatchReading {
    std::string name;
    std::chrono::nanoseconds elapsed;
};
// The measurements closed so far, oldest first; each is taken once.
std::vector<StopwatchReading> takeStopwatchReadings();
// How many measurements are open: a tic without its toc.
std::size_t openStopwatchCount();

// The warnings raised so far in this engine instance, oldest first.
std::vector<resource_core::BaseMsgID> takeWarnings();
// The errors that commands reported through matrix::detail::do_legacy_qv_error,
// kept like the warnings.
void noteReportedError(const resource_core::BaseMsgID& message);
std::vector<resource_core::BaseMsgID> takeReportedErrors();

// The process's mode, and a cache file that replaces the default in both
// modes (an empty name brings the default back).
void setStandaloneMode(bool standalone);
void setSystemToolboxCacheFile(std::string file);

// A handler that sees each warning as it is raised (the tool prints them).
void setWarningHandler(std::function<void(const resource_core::BaseMsgID&)> handler);
}  // namespace host
