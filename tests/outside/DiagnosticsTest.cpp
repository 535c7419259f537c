#include "foundation/core/diag/Diagnostics.hpp"
#include "foundation/log/DiagnosticLogger.hpp"
#include "foundation/memmgr/Leaks.hpp"
#include "foundation/usm/StateStore.hpp"

#include <gtest/gtest.h>

#include <boost/log/attributes/value_extraction.hpp>
#include <boost/log/core/core.hpp>
#include <boost/log/expressions.hpp>
#include <boost/log/sinks/basic_sink_backend.hpp>
#include <boost/log/sinks/sync_frontend.hpp>

#include <pthread.h>

#include <iostream>
#include <stdexcept>
#include <thread>

namespace {

namespace logging = boost::log;

struct Line {
    std::string channel;
    int level;
    std::string message;
    bool operator==(const Line&) const = default;
};

// Keeps the records of one channel.
class CollectingBackend : public logging::sinks::basic_sink_backend<logging::sinks::synchronized_feeding> {
public:
    void consume(const logging::record_view& record) {
        lines.push_back({logging::extract_or_default<std::string>("Channel", record, std::string()),
                         logging::extract_or_default<int>("Level", record, -1),
                         logging::extract_or_default<std::string>("Message", record, std::string())});
    }
    std::vector<Line> lines;
};

struct TestSink {
    explicit TestSink(const std::string& channel) {
        sink->set_filter(logging::expressions::attr<std::string>("Channel") == channel);
        logging::core::get()->add_sink(sink);
    }
    ~TestSink() { logging::core::get()->remove_sink(sink); }
    const std::vector<Line>& lines() const { return backend->lines; }
    boost::shared_ptr<CollectingBackend> backend = boost::make_shared<CollectingBackend>();
    boost::shared_ptr<logging::sinks::synchronous_sink<CollectingBackend>> sink =
        boost::make_shared<logging::sinks::synchronous_sink<CollectingBackend>>(backend);
};

void traced(const foundation::log::basic_diagnostic_logger& logger, bool fail) {
    foundation::log::FunctionTrace trace(logger, "void traced(bool)");
    logger.write(2, "inside");
    if (fail) throw std::runtime_error("fail");
}

struct TracedInDestructor {
    const foundation::log::basic_diagnostic_logger& logger;
    ~TracedInDestructor() { foundation::log::FunctionTrace trace(logger, "~TracedInDestructor"); }
};

// Made while the program loads, as the library's own loggers are.
const foundation::log::basic_diagnostic_logger loadTimeLogger("test::trace");

TEST(DiagnosticLogger, FunctionTraceWritesEntryAndExitAndMarksAThrow) {
    const auto& logger = loadTimeLogger;
    TestSink sink("test::trace");

    traced(logger, false);
    EXPECT_THROW(traced(logger, true), std::runtime_error);
    // Unwinding that began before the trace opened is no throw of its scope.
    try {
        TracedInDestructor guard{logger};
        throw std::logic_error("outer");
    } catch (const std::logic_error&) {
    }
    const std::vector<Line> expected{
        {"test::trace", 32, "void traced(bool)"},      {"test::trace", 2, "inside"},
        {"test::trace", 64, "void traced(bool)"},      {"test::trace", 32, "void traced(bool)"},
        {"test::trace", 2, "inside"},                  {"test::trace", 64, "void traced(bool) [throw]"},
        {"test::trace", 32, "~TracedInDestructor"},    {"test::trace", 64, "~TracedInDestructor"},
    };
    EXPECT_EQ(sink.lines(), expected);
    EXPECT_TRUE(logger.enabled(64));
    EXPECT_FALSE(foundation::log::basic_diagnostic_logger("test::unheard").enabled(2));
}

TEST(DiagnosticLogger, ConsoleOutputShowsLevelsUpToTheLimit) {
    const foundation::log::basic_diagnostic_logger logger("test::console");
    testing::internal::CaptureStderr();
    foundation::log::enableConsoleOutput(2);
    logger.write(2, "shown");
    logger.write(32, "hidden");
    foundation::log::enableConsoleOutput(-1);
    logger.write(2, "after");
    std::clog.flush();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "[test::console] 2: shown\n");
}

TEST(DiagnosticsDeathTest, TerminateWritesTheMessageAndPlaceThenAborts) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(FL_DIAG_TERMINATE("All illegal path entry types should have been handled."),
                 "Fatal error: All illegal path entry types should have been handled\\.\n.*DiagnosticsTest\\.cpp:[0-9]+");
}

TEST(DiagnosticsThread, FatalSwitchResetsWithProcessScopeAndThreadNameIsCutForTheSystem) {
    EXPECT_TRUE(fl_diag_terminate());
    foundation::core::diag::setFatalDiagnosticsEnabled(false);
    EXPECT_FALSE(fl_diag_terminate());
    foundation::usm::Detail<foundation::usm::scope::Process>::resetForTesting();
    EXPECT_TRUE(fl_diag_terminate());

    std::thread([] {
        EXPECT_EQ(foundation::core::diag::getCurrentThreadName(), "");
        foundation::core::diag::setCurrentThreadName("PathManager async worker");
        EXPECT_EQ(foundation::core::diag::getCurrentThreadName(), "PathManager async worker");
        char system[32] = {};
        ASSERT_EQ(pthread_getname_np(pthread_self(), system, sizeof system), 0);
        EXPECT_STREQ(system, "PathManager asy");
    }).join();

    // Leak snapshots call the listeners while connected.
    int calls = 0;
    {
        auto connection = foundation::memmgr::leaks::registerListenerForSnapshotEvent([&] { ++calls; });
        foundation::memmgr::leaks::takeSnapshot();
    }
    foundation::memmgr::leaks::takeSnapshot();
    EXPECT_EQ(calls, 1);
}

} // namespace
