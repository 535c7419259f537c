// One path queried from several threads while paths of the same entries are
// built and dropped on another: every answer stays the same.
#include "PathTestHelpers.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <thread>

namespace tfsp::test {
namespace {

using Answer = std::vector<std::pair<const void*, const void*>>;

Answer Of(const std::vector<FoundItem>& found) {
    Answer answer;
    for (const FoundItem& f : found) answer.emplace_back(f.GetPathItem().get(), f.GetPathEntry().get());
    return answer;
}
Answer Of(const PathEntryVector& entries) {
    Answer answer;
    for (const PathEntryPointer& e : entries) answer.emplace_back(e.get(), nullptr);
    return answer;
}

// The queries of the test, each over more than 64 candidates, so that they
// run on the pool too.
std::vector<Answer> AskEverything(const IPath& path) {
    const detail::SearchTarget common(u"common", {u".tf", u".tfc"});
    const auto first = path.FindFirstInScope(allEntryTypesScope, common, CaseRuleTwo);
    return {Of(path.FindAllInScope(allEntryTypesScope, common, CaseRuleTwo)),
            first ? Of(std::vector<FoundItem>{*first}) : Answer{},
            Of(path.FindAllInScope(allEntryTypesScope, detail::SearchTarget(u"+pkg/common", {u".tf"}), CaseRuleOne)),
            Of(path.GetPartiallyMatchingEntries(allEntryTypesScope, u"private", CaseRuleTwo)),
            Of(path.GetMethodEntriesByName(allEntryTypesScope, u"cls", CaseRuleOne)),
            Of(path.GetMethodEntries())};
}

class PathConcurrencyStressTest : public EngineFixture {};

TEST_F(PathConcurrencyStressTest, QueriesStayRightWhilePathsOfTheSameEntriesComeAndGo) {
    TempTree tree;
    PathEntryVector entries;
    for (int i = 0; i < 80; ++i) {
        const std::string folder = "m" + std::to_string(i);
        tree.file(folder + "/common.tf");
        tree.file(folder + "/+pkg/common.tf");
        tree.file(folder + "/@cls/common.tfc");
        tree.file(folder + "/private/common.tfc");
        entries.push_back(GetPathEntryFactory().GetFrozenPathEntry(tree.iri(folder)));
    }
    const IPathFactory& factory = GetCurrentPathFactory();
    auto shared = factory.CreatePath(entries);
    const std::vector<Answer> expected = AskEverything(*shared);
    ASSERT_EQ(expected[0].size(), 80u * 4);

    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    threads.emplace_back([&] {
        for (int i = 0; i < 25; ++i)
            if (AskEverything(*factory.CreatePath(entries)) != expected) ++wrong;
    });
    for (int t = 0; t < 3; ++t)
        threads.emplace_back([&wrong, &expected, path = shared]() mutable {
            for (int i = 0; i < 60; ++i)
                if (AskEverything(*path) != expected) ++wrong;
            path.reset();  // the last reader drops the shared path
        });
    shared.reset();
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong, 0);
}

TEST_F(PathConcurrencyStressTest, ListsAreInPathOrderHoweverTheBuildWasScheduled) {
    // Large enough that the pool really shares out the build.
    PathEntryVector mains;
    for (int i = 0; i < 1500; ++i) {
        std::vector<ustring> stems = {u"common", u"Common"};
        for (int k = 0; k < 30; ++k) stems.push_back(Utf16("s" + std::to_string((i * 31 + k) % 500)));
        const ustring folder = Utf16("/virtual/m" + std::to_string(i));
        mains.push_back(MemoryEntry(folder, Main, stems, MemoryEntry(folder + u"/private", Private, {u"common"})));
    }
    std::map<const IPathEntry*, std::size_t> placeOnPath;
    for (const WalkedEntry& w : WalkInPathOrder(mains)) placeOnPath.emplace(w.entry.get(), placeOnPath.size());
    auto inPathOrder = [&](const auto& entries) {
        return std::is_sorted(entries.begin(), entries.end(), [&](const auto& a, const auto& b) {
            return placeOnPath[a.get()] < placeOnPath[b.get()];
        });
    };
    for (int build = 0; build < 8; ++build) {
        const auto path = GetCurrentPathFactory().CreatePath(mains);
        for (const ustring stem : {u"common", u"s7", u"s499"}) {
            PathEntryVector holders;
            for (const FoundItem& found :
                 path->FindAllInScope(allEntryTypesScope, detail::SearchTarget(stem, {u".tf"}), CaseRuleTwo))
                holders.push_back(found.GetPathEntry());
            EXPECT_TRUE(inPathOrder(holders)) << Utf8(stem);
            EXPECT_EQ(holders.size(), stem == u"common" ? 1500u * 3 : 1500u * 30 / 500);
        }
        const auto privates = path->GetPartiallyMatchingEntries(allEntryTypesScope, u"private", CaseRuleOne);
        EXPECT_TRUE(inPathOrder(privates));
        EXPECT_EQ(privates.size(), 1500u);
    }
}

}  // namespace
}  // namespace tfsp::test
