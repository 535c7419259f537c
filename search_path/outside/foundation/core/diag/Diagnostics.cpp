#include "foundation/core/diag/Diagnostics.hpp"

#include "foundation/usm/StateStore.hpp"

#include <pthread.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace foundation::core::diag {

namespace {

using ProcessStore = foundation::usm::Detail<foundation::usm::scope::Process>;

// The name is a property of the thread itself, so it lives with the thread
// rather than in the state store.
thread_local std::string tlsThreadName;

// Linux keeps at most 15 bytes of a thread name (16 with the terminator).
constexpr std::size_t kKernelThreadNameLength = 15;

struct FatalDiagnosticsState {
    std::atomic<bool> enabled{true};
};

FatalDiagnosticsState& fatalDiagnosticsState() {
    static const auto id = ProcessStore::getNextID(typeid(FatalDiagnosticsState));
    return ProcessStore::findOrInsert<FatalDiagnosticsState>(id,
                                                             [] { return std::make_unique<FatalDiagnosticsState>(); });
}

}  // namespace

void terminate(const std::string& message, const char* file, int line, const char* function) {
    // stdio rather than iostreams: the program may be in any state here, and
    // a single buffered write keeps the report in one piece on a shared stderr.
    std::fprintf(stderr, "Fatal error: %s\n    at %s:%d in %s\n", message.c_str(), file ? file : "?", line,
                 function ? function : "?");
    std::fflush(stderr);
    std::abort();
}

void setCurrentThreadName(const char* name) {
    tlsThreadName = name ? name : "";
    const std::string kernelName = tlsThreadName.substr(0, kKernelThreadNameLength);
    // Only a diagnostic aid: a refusal by the system changes nothing else.
    (void)pthread_setname_np(pthread_self(), kernelName.c_str());
}

const std::string& getCurrentThreadName() { return tlsThreadName; }

bool fatalDiagnosticsEnabled() { return fatalDiagnosticsState().enabled.load(std::memory_order_relaxed); }

void setFatalDiagnosticsEnabled(bool enabled) {
    fatalDiagnosticsState().enabled.store(enabled, std::memory_order_relaxed);
}

}  // namespace foundation::core::diag
