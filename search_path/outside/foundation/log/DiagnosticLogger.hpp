#pragma once
// Diagnostic loggers on Boost.Log, one for each channel. Records carry the
// attributes "Channel" and "Level"; nothing is written unless a sink is
// attached (enableConsoleOutput, or a test's own sink).
#include <boost/log/sources/channel_logger.hpp>
#include <boost/log/sources/record_ostream.hpp>

#include <exception>
#include <string>

namespace foundation::log {

class basic_diagnostic_logger {
public:
    explicit basic_diagnostic_logger(std::string channel);

    const std::string& channel() const { return channel_; }
    // Level 2 is ordinary detail, 32 and 64 are function entry and exit.
    void write(int level, const std::string& message) const;
    bool enabled(int level) const;

private:
    std::string channel_;
    mutable boost::log::sources::channel_logger_mt<std::string> logger_;
};

// Writes `signature` at level 32 on entry and at level 64 on exit, with
// " [throw]" when an exception ends the scope.
class FunctionTrace {
public:
    FunctionTrace(const basic_diagnostic_logger& logger, const char* signature);
    ~FunctionTrace();
    FunctionTrace(const FunctionTrace&) = delete;
    FunctionTrace& operator=(const FunctionTrace&) = delete;

private:
    const basic_diagnostic_logger& logger_;
    const char* signature_;
    int uncaught_;
};

// Records of levels up to `maxLevel` go to standard error (maxLevel < 0: off).
void enableConsoleOutput(int maxLevel);

}  // namespace foundation::log

#define FL_FUNCTION_TRACE(logger) ::foundation::log::FunctionTrace fl_function_trace_((logger), __PRETTY_FUNCTION__)
