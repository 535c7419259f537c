// An alteration that builds its folders' entries at once on the pool gives
// what building them one by one gives: the same path, the same messages in
// the same order, the same entries, and the host's warnings in the order of
// the folders, whatever mix of good and bad folders it is handed.
#include "ManagerTestSupport.hpp"

#include "host/HostServices.hpp"
#include "orvian/FeatureSwitches.hpp"
#include "storage/filefolderobserver/FileFolderObserver.hpp"
#include "storage/filefolderobserver/ObserverTestHooks.hpp"
#include "foundation/storage/vfs/StorageSystem.hpp"

#include <sys/stat.h>

#include <cerrno>
#include <functional>
#include <sstream>

namespace tfsp::test {
namespace {

using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::Not;

// What an alteration left behind, written out so that two engines' results
// compare as texts.
struct Outcome {
    std::vector<std::string> messages;
    std::vector<std::string> warnings;
    std::vector<std::string> entries;  // every entry of the path, nested ones too, with its files
};

std::string Describe(const resource_core::BaseMsgID& message) {
    std::string text = message.getIdentifier();
    for (const auto& argument : message.getArguments()) text += " | " + fl::i18n::ustring_to_utf8(argument);
    return text;
}

class EntriesBuiltAheadTest : public ManagerFixture {
protected:
    EntriesBuiltAheadTest() {
        // Enough folders for the pool to share them out, each with children
        // of every kind, among folders that fail or may not stand on a path.
        for (int i = 0; i < 48; ++i) {
            const std::string folder = "f" + std::to_string(i);
            tree.file(folder + "/common.tf");
            tree.file(folder + "/only" + std::to_string(i) + ".tf");
            if (i % 3 == 0) tree.file(folder + "/+pkg/inPackage.tf");
            if (i % 4 == 0) tree.file(folder + "/@Cls/Cls.tf");
            if (i % 5 == 0) tree.file(folder + "/private/helper.tf");
            if (i % 6 == 0) tree.file(folder + "/resources/data.tf");
            folders.push_back(folder);
            if (i % 8 == 3) {
                folders.push_back("missing" + std::to_string(i));
                folders.push_back(folder + "/+pkg");
            }
            if (i % 8 == 5) folders.push_back(folder);  // again, later
        }
        tree.file("a-file.tf");
        tree.file("locked/hidden.tf");
        tree.chmod("locked", 0);
        tree.file("f4/@Cls/private/deep.tf");
        tree.symlink("link-to-f2", tree.path("f2"));
        folders.insert(folders.begin() + 10, {"a-file.tf", "locked", "f4/@Cls", "f5/private", "f6/resources"});
        folders.insert(folders.begin() + 20, {"link-to-f2", "f1/../f7"});
    }

    // The outcome of putting `folders` on the path of a fresh session, by
    // names as given (resolved by the manager) or canonical ones. `prepare`
    // runs once the session stands (with its working folder's entry).
    Outcome Alter(
        bool serial, bool byGivenNames,
        const std::function<void(ISearchPathSession&)>& prepare = [](ISearchPathSession&) {}) {
        auto fresh = CreateSearchPathSession();
        OrvianComponents::SerialEntryBuildFeature::Set(serial);
        prepare(*fresh);
        host::takeWarnings();
        Outcome outcome;
        foundation::core::except::Notification notification;
        if (byGivenNames) {
            std::vector<foundation::storage::vfs::AbsoluteIRI> iris;
            for (const auto& folder : folders) iris.push_back(tree.iri(folder));
            notification = fresh->SetPathFolders(FolderRange(iris));
        } else {
            std::vector<CanonicalAbsoluteIRI> iris;
            for (const auto& folder : folders) iris.push_back(Canonical(folder));
            fresh->GetManager().SetPathFolders(CanonicalFolderRange(iris), notification);
        }
        for (const auto& message : notification) outcome.messages.push_back(Describe(message));
        for (const auto& warning : host::takeWarnings()) outcome.warnings.push_back(Describe(warning));
        fresh->GetManager().GetMainPath()->ForEachEntry(allEntryTypesScope, [&](const PathEntryPointer& entry) {
            std::ostringstream text;
            text << fl::i18n::ustring_to_utf8(entry->GetIRI().makePathRelativeTo(tree.iri())) << " ["
                 << entry->GetPathEntryType() << "]";
            for (const auto& item : *entry->GetPathItems()) text << ' ' << fl::i18n::ustring_to_utf8(item->FileName());
            outcome.entries.push_back(text.str());
            return false;
        });
        OrvianComponents::SerialEntryBuildFeature::Set(false);
        return outcome;
    }

    void ExpectSameRoads(bool byGivenNames) {
        const Outcome serial = Alter(true, byGivenNames);
        const Outcome parallel = Alter(false, byGivenNames);
        EXPECT_THAT(parallel.messages, ElementsAreArray(serial.messages));
        EXPECT_THAT(parallel.warnings, ElementsAreArray(serial.warnings));
        EXPECT_THAT(parallel.entries, ElementsAreArray(serial.entries));
        // The mix must have given something to compare.
        EXPECT_THAT(serial.messages, Not(IsEmpty()));
        EXPECT_GT(serial.entries.size(), 48u);
    }

    // The observer factory that the sessions' entries get their observers from.
    static storage::filefolderobserver::IFileFolderObserverFactory& Observers() {
        return storage::filefolderobserver::GetFileFolderObserverFactory(
            OrvianStorageSystem::GetStorageSystemReference());
    }

    std::vector<std::string> folders;
};

TEST_F(EntriesBuiltAheadTest, CanonicalFoldersGiveWhatTheSerialRoadGives) { ExpectSameRoads(false); }

TEST_F(EntriesBuiltAheadTest, GivenNamesGiveWhatTheSerialRoadGives) { ExpectSameRoads(true); }

// Observers that can't watch their folder fall back to time stamps and warn:
// built on the pool, the warnings still reach the host in the folders' order.
TEST_F(EntriesBuiltAheadTest, WarningsOfObserversComeInTheFoldersOrder) {
    storage::filefolderobserver::testhooks::FailWatchesForTesting(Observers(), ENOSPC);
    const Outcome serial = Alter(true, false);
    const Outcome parallel = Alter(false, false);
    ASSERT_GT(serial.warnings.size(), 48u);
    EXPECT_THAT(parallel.warnings, ElementsAreArray(serial.warnings));
    EXPECT_THAT(parallel.messages, ElementsAreArray(serial.messages));
}

// A folder that another folder of the alteration holds (its package, class,
// private or resources folder, given as a path folder of its own) has one
// entry, built where the serial steps build it: with the folder above it when
// that comes first. The folders below come in the second half, which the
// pool's other thread takes, so that built ahead they would be built again
// at once, or before the folders above them.
TEST_F(EntriesBuiltAheadTest, AFolderBelowAnotherOfTheAlterationIsBuiltWhereTheSerialRoadBuildsIt) {
    folders.clear();
    constexpr int kParents = 64;
    for (int i = 0; i < kParents; ++i) {
        tree.file("p" + std::to_string(i) + "/a.tf");
        tree.file("p" + std::to_string(i) + "/+pkg/b.tf");
        folders.push_back("p" + std::to_string(i));
    }
    for (int i = 0; i < kParents; ++i) folders.push_back("p" + std::to_string(i) + "/+pkg");
    storage::filefolderobserver::testhooks::FailWatchesForTesting(Observers(), ENOSPC);
    const Outcome serial = Alter(true, false);
    const Outcome parallel = Alter(false, false);
    // Each folder's observer warns once, and the working folder's.
    EXPECT_EQ(serial.warnings.size(), 2u * kParents + 1);
    EXPECT_THAT(parallel.warnings, ElementsAreArray(serial.warnings));
    EXPECT_THAT(parallel.messages, ElementsAreArray(serial.messages));
    EXPECT_THAT(parallel.entries, ElementsAreArray(serial.entries));
}

// Under "once", the one warning names the first folder in path order that
// falls back. Missing folders lead the path, so that on the pool the other
// thread, which takes the second half of the folders, would reach a folder
// further on first (on a machine of one core, the roads can't differ).
TEST_F(EntriesBuiltAheadTest, UnderOnceTheWarningNamesTheFirstFolderInPathOrder) {
    auto& observers = Observers();
    for (int i = 0; i < 40; ++i) folders.insert(folders.begin(), "gone" + std::to_string(i));
    const auto alterUnderOnce = [&](bool serial) {
        // The working folder's entry stands with a watch, and warns of nothing.
        return Alter(serial, false, [&](ISearchPathSession& session) {
            session.ChangeWorkingFolder(tree.iri());
            session.SetPathFolders(FolderRange(std::vector<foundation::storage::vfs::AbsoluteIRI>{}));
            storage::filefolderobserver::testhooks::FailWatchesForTesting(observers, ENOSPC);
            observers.SetChangeHandleWarning(storage::filefolderobserver::WarnOnce);
        });
    };
    const Outcome serial = alterUnderOnce(true);
    const Outcome parallel = alterUnderOnce(false);
    ASSERT_EQ(serial.warnings.size(), 1u);
    EXPECT_THAT(parallel.warnings, ElementsAreArray(serial.warnings));
    EXPECT_THAT(parallel.entries, ElementsAreArray(serial.entries));
}

// With the packages feature on, the folders that no package owns are the
// ones built ahead; an owned folder comes from its package as before.
TEST_F(EntriesBuiltAheadTest, WithPackagesPlainFoldersGiveWhatTheSerialRoadGives) {
    OrvianComponents::ComponentFeature::Set(true);
    tree.file("pkgroot/inRoot.tf");
    InstallPackage("pkgroot");
    folders.insert(folders.begin() + 5, "pkgroot");
    ExpectSameRoads(false);
}

}  // namespace
}  // namespace tfsp::test
