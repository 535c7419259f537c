#include "foundation/core/diag/Diagnostics.hpp"
#include "foundation/memmgr/Leaks.hpp"
#include "foundation/usm/StateStore.hpp"

#include <gtest/gtest.h>

#include <pthread.h>

#include <thread>

namespace {

TEST(DiagnosticsDeathTest, TerminateWritesTheMessageAndPlaceThenAborts) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        FL_DIAG_TERMINATE("All illegal path entry types should have been handled."),
        "Fatal error: All illegal path entry types should have been handled\\.\n.*DiagnosticsTest\\.cpp:[0-9]+");
}

TEST(DiagnosticsThread, FatalSwitchResetsWithProcessScopeAndThreadNameIsCutForTheSystem) {
    EXPECT_TRUE(fl_diag_terminate());
    foundation::core::diag::setFatalDiagnosticsEnabled(false);
    EXPECT_FALSE(fl_diag_terminate());
    foundation::usm::Detail<foundation::usm::scope::Process>::endAll();
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

}  // namespace
