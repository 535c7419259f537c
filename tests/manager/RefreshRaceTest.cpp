// A refresh replaces entries, on the pool, while other threads go on querying
// the search path they took before it.
#include "ManagerTestSupport.hpp"

#include <atomic>
#include <thread>

namespace tfsp::test {
namespace {

class RefreshRaceTest : public ManagerFixture {};

TEST_F(RefreshRaceTest, ReadersOfTheOldSearchPathSeeItUnchangedWhileARefreshReplacesItsEntries) {
    constexpr int kFolders = 40;
    std::vector<std::string> folders;
    for (int i = 0; i < kFolders; ++i) {
        folders.push_back("f" + std::to_string(i));
        tree.file(folders.back() + "/x.tf");
        tree.file(folders.back() + "/gone.tf");
    }
    Cd(folders.front());
    ASSERT_TRUE(SetPath(folders).empty());
    std::shared_ptr<const IPath> old = Manager().GetSearchPath();
    for (const std::string& folder : folders) {
        tree.remove(folder + "/gone.tf");
        tree.file(folder + "/came.tf");
    }
    const detail::SearchTarget x(u"x", {u".tf"}), gone(u"gone", {u".tf"}), came(u"came", {u".tf"});

    std::atomic<bool> done{false};
    std::atomic<int> running{0}, wrong{0};
    std::vector<std::thread> readers;
    for (int t = 0; t < 3; ++t)
        readers.emplace_back([&, path = old]() mutable {
            ++running;
            do {
                if (path->FindAllInScope(allEntryTypesScope, x, CaseRuleOne).size() != kFolders ||
                    path->FindAllInScope(allEntryTypesScope, gone, CaseRuleOne).size() != kFolders ||
                    path->FindFirstInScope(allEntryTypesScope, came, CaseRuleOne))
                    ++wrong;
            } while (!done);
            path.reset();  // the last reader may be the one to drop it
        });
    ASSERT_TRUE(Eventually([&] { return running == 3; }));
    old.reset();
    const bool refreshed = Manager().Refresh(ForceRefresh);
    done = true;
    for (std::thread& reader : readers) reader.join();

    EXPECT_TRUE(refreshed);
    EXPECT_EQ(wrong, 0);
    const auto now = Manager().GetSearchPath();
    EXPECT_EQ(now->FindAllInScope(allEntryTypesScope, came, CaseRuleOne).size(), std::size_t{kFolders});
    EXPECT_FALSE(now->FindFirstInScope(allEntryTypesScope, gone, CaseRuleOne));
    EXPECT_EQ(Folders(*now), folders);
}

}  // namespace
}  // namespace tfsp::test
