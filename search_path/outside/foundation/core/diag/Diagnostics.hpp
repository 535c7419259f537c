#pragma once
// Fatal diagnostics and thread names.
#include <string>

namespace foundation::core::diag {

// Writes "Fatal error: <message>" with the place to standard error, then
// aborts. Used for values that valid data can't take.
[[noreturn]] void terminate(const std::string& message, const char* file, int line, const char* function);

// Names the calling thread: kept whole for diagnostics, and given (cut to
// what the kernel allows) to the operating system.
void setCurrentThreadName(const char* name);
// The name given by setCurrentThreadName on this thread, or empty.
const std::string& getCurrentThreadName();

// Whether a failure that may be fatal ends the program (true unless switched
// off, as a host running in a lenient mode does).
bool fatalDiagnosticsEnabled();
void setFatalDiagnosticsEnabled(bool enabled);

}  // namespace foundation::core::diag

inline bool fl_diag_terminate() { return foundation::core::diag::fatalDiagnosticsEnabled(); }

#define FL_DIAG_TERMINATE(message) ::foundation::core::diag::terminate((message), __FILE__, __LINE__, __func__)
