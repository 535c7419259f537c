#include "foundation/storage/vfs/Folder.hpp"

#include "support/TempTree.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <optional>
#include <span>
#include <thread>

#include <unistd.h>

namespace {

using namespace foundation::storage::vfs;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
using ::testing::UnorderedElementsAreArray;
using tfsp::test::TempTree;

template <class T>
std::vector<ustring> names(const std::vector<T>& items) {
    std::vector<ustring> out;
    for (const T& f : items) out.push_back(f.getName());
    return out;
}

// The error code of what `action` throws; 0 when it throws nothing.
template <class F>
int errorCodeOf(F&& action) {
    try {
        action();
    } catch (const Exception& e) {
        return e.getErrorCode();
    }
    return 0;
}

class StorageFolder : public ::testing::Test {
protected:
    Folder folder(const std::string& relative) const { return Folder(tree.iri(relative), storage); }
    Folder canonical(const std::string& relative) const {
        return Folder(CanonicalAbsoluteIRI(tree.iri(relative), u""), storage);
    }

    TempTree tree;
    StorageSystemReference storage = OrvianStorageSystem::GetStorageSystemReference();
};

TEST_F(StorageFolder, ListsFilesAndFoldersApartFollowingLinks) {
    for (const char* f : {"top/a.tf", "top/.hidden", "top/bad\xFF.tf"}) tree.file(f);
    for (const char* f : {"top/+pkg", "top/@cls", "top/dir\xC0"}) tree.folder(f);
    tree.symlink("top/toFile", "a.tf");
    tree.symlink("top/toFolder", "+pkg");
    tree.symlink("top/broken", "missing");
    tree.symlink("top/loop", "loop");
    const Folder top = folder("top");
    // Names that are not UTF-8 are listed with their bytes escaped, and
    // those names open what was listed.
    const ustring badFile = u"bad" + ustring(1, fl::i18n::escape_byte(0xFF)) + u".tf";
    const ustring badFolder = u"dir" + ustring(1, fl::i18n::escape_byte(0xC0));
    EXPECT_THAT(names(top.listFiles(u"")),
                UnorderedElementsAre(u"a.tf", u".hidden", badFile, u"toFile", u"broken", u"loop"));
    EXPECT_THAT(names(top.listFolders(u"")), UnorderedElementsAre(u"+pkg", u"@cls", badFolder, u"toFolder"));
    EXPECT_EQ(::access(fl::i18n::ustring_to_utf8(tree.upath("top/") + badFile).c_str(), F_OK), 0);
    const auto sub = top.listFolders(badFolder);
    ASSERT_EQ(sub.size(), 1u);
    EXPECT_EQ(sub.front().getCanonicalLocation().getPath(), tree.upath("top/") + badFolder);
    EXPECT_THAT(names(top.listFiles(u"a.tf")), ElementsAre(u"a.tf"));
    EXPECT_THAT(names(top.listFiles(u"A.tf")), IsEmpty());
    EXPECT_THAT(names(top.listFolders(u"@cls")), ElementsAre(u"@cls"));
    EXPECT_THAT(folder("top/+pkg").listFiles(u""), IsEmpty());
}

// The names read in place are the listed files' names, whatever their
// bytes, also when the directory takes several readings and the buffer that
// holds them grows, and they stay valid for as long as any copy lives.
TEST_F(StorageFolder, FileNamesInPlaceAreTheListedFilesAndOutliveTheFolderThatRead) {
    std::vector<ustring> expected;
    // Long names, so that the directory fills more than one reading.
    for (int i = 0; i < 1500; ++i) {
        const std::string name = "file_with_a_rather_long_name_" + std::to_string(i) + ".tf";
        tree.file("many/" + name);
        expected.push_back(fl::i18n::utf8_to_ustring(name));
    }
    for (const char* name : {"é.tf", "日本.tf", "bad\xFF.tf", "x", "trailing."}) tree.file(std::string("many/") + name);
    for (const char16_t* name : {u"é.tf", u"日本.tf", u"x", u"trailing."}) expected.emplace_back(name);
    expected.push_back(u"bad" + ustring(1, fl::i18n::escape_byte(0xFF)) + u".tf");
    tree.folder("many/sub");

    std::optional<Folder> copy;
    {
        const Folder many = folder("many");
        copy = many;
        const std::span<const ustring_view> inPlace = many.fileNames();
        EXPECT_EQ(std::vector<ustring>(inPlace.begin(), inPlace.end()), names(many.listFiles(u"")));
    }
    const std::span<const ustring_view> inPlace = copy->fileNames();
    EXPECT_THAT(std::vector<ustring>(inPlace.begin(), inPlace.end()), UnorderedElementsAreArray(expected));
    EXPECT_THAT(folder("many/sub").fileNames(), IsEmpty());
}

TEST_F(StorageFolder, AFolderIsASnapshotSharedByItsCopies) {
    tree.file("top/a.tf");
    const Folder top = folder("top");
    const Folder copyBefore = top;
    EXPECT_EQ(top.listFiles(u"").size(), 1u);
    tree.file("top/b.tf");
    tree.folder("top/later");
    EXPECT_EQ(copyBefore.listFiles(u"").size(), 1u);
    EXPECT_THAT(copyBefore.listFolders(u""), IsEmpty());
    EXPECT_EQ(folder("top").listFiles(u"").size(), 2u);
}

TEST_F(StorageFolder, CanonicalLocationResolvesDotDotAndLinks) {
    tree.folder("a/b/inner");
    tree.folder("c");
    tree.symlink("link", "a/b");
    EXPECT_EQ(folder("a/b/../../c").getCanonicalLocation(), tree.iri("c"));
    EXPECT_EQ(folder("link").getCanonicalLocation(), tree.iri("a/b"));
    EXPECT_EQ(folder("link/inner").getCanonicalLocation(), tree.iri("a/b/inner"));  // a link short of the end
    EXPECT_EQ(folder("a/b/inner").getCanonicalLocation(), tree.iri("a/b/inner"));
    EXPECT_EQ(folder("link/..").getCanonicalLocation(), tree.iri("a"));  // ".." of where the link leads
    EXPECT_EQ(folder("c").getParent().getCanonicalLocation(), tree.iri(""));
}

// A name that opens as it is keeps its own spelling as the canonical one,
// unless its spelling doesn't survive the trip to the system's UTF-8: an
// unpaired surrogate that is no escaped byte reaches the disk as U+FFFD, and
// so comes back.
TEST_F(StorageFolder, ANameThatOpensAsItIsIsCanonicalUnlessItsSpellingChangedOnTheWay) {
    tree.folder("plain");
    tree.folder("sub\xEF\xBF\xBD");  // U+FFFD
    tree.folder("astral\xF0\x9D\x84\x9E");
    EXPECT_EQ(folder("plain").getCanonicalLocation().getPath(), tree.upath("plain"));
    const ustring lone = tree.upath("sub") + ustring(1, char16_t(0xD800));
    const Folder surrogate(toAbsoluteIRI(u"file", lone), storage);
    EXPECT_EQ(surrogate.getCanonicalLocation().getPath(), tree.upath("sub") + u"\uFFFD");
    EXPECT_EQ(folder("astral\xF0\x9D\x84\x9E").getCanonicalLocation().getPath(), tree.upath("astral") + u"\U0001D11E");
}

TEST_F(StorageFolder, CanonicalNamesAreTakenWithoutAskingTheDisk) {
    tree.folder("top/sub");
    tree.folder("elsewhere");
    tree.symlink("top/viaLink", "../elsewhere");
    const std::vector<Folder> children = canonical("top").listFolders(u"");
    ASSERT_EQ(children.size(), 2u);
    tree.remove("top");
    // A subfolder that isn't a link is canonical from the listing, and so is
    // the parent of a canonical folder; a link still needs resolving.
    for (const Folder& child : children) {
        if (child.getName() == u"sub") {
            EXPECT_EQ(child.getCanonicalLocation(), tree.iri("top/sub"));
            EXPECT_EQ(child.getParent().getCanonicalLocation(), tree.iri("top"));
        } else {
            EXPECT_EQ(errorCodeOf([&] { child.getCanonicalLocation(); }), 4);
        }
    }
    EXPECT_EQ(canonical("never/was").getCanonicalLocation(), tree.iri("never/was"));
}

// Resolving a name opens the folder, and its first listing reads through
// that descriptor: nothing may stay open once the Folders are gone, listed
// or not, and a folder removed in between fails to list as it would have.
TEST_F(StorageFolder, AResolvedFolderListsWhatIsThereAndLeaksNoDescriptor) {
    const auto openDescriptors = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                             std::filesystem::directory_iterator{});
    };
    tree.file("top/a.tf");
    tree.folder("top/sub");
    tree.folder("gone");
    const auto before = openDescriptors();
    for (int round = 0; round < 20; ++round) {
        const Folder resolvedOnly = folder("top");
        EXPECT_EQ(resolvedOnly.getCanonicalLocation(), tree.iri("top"));
        const Folder resolvedThenListed = folder("top/../top");
        EXPECT_EQ(resolvedThenListed.getCanonicalLocation(), tree.iri("top"));
        EXPECT_THAT(names(resolvedThenListed.listFiles(u"")), ElementsAre(u"a.tf"));
        EXPECT_THAT(names(resolvedThenListed.listFolders(u"")), ElementsAre(u"sub"));
    }
    EXPECT_EQ(openDescriptors(), before);

    const Folder gone = folder("gone");
    EXPECT_EQ(gone.getCanonicalLocation(), tree.iri("gone"));
    tree.remove("gone");
    EXPECT_EQ(errorCodeOf([&] { gone.listFiles(u""); }), 4);
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(StorageFolder, FailuresCarryTheCodeCallersTellApart) {
    tree.file("file.tf");
    tree.folder("gone");
    const Folder gone = folder("gone");
    tree.remove("gone");
    tree.symlink("loop", "loop");

    EXPECT_EQ(errorCodeOf([&] { gone.listFiles(u""); }), 4);
    EXPECT_EQ(errorCodeOf([&] { gone.getCanonicalLocation(); }), 4);
    EXPECT_EQ(errorCodeOf([&] { folder("file.tf").listFolders(u""); }), 4);
    EXPECT_EQ(errorCodeOf([&] { folder("file.tf").getCanonicalLocation(); }), 4);
    EXPECT_EQ(errorCodeOf([&] { folder("file.tf/below").listFiles(u""); }), 4);
    // A link loop leaves no folder there, as a broken link doesn't.
    EXPECT_EQ(errorCodeOf([&] { folder("loop").listFiles(u""); }), 4);
    EXPECT_EQ(errorCodeOf([&] { folder("loop").getCanonicalLocation(); }), 4);
    tree.symlink("broken", "missing");
    EXPECT_EQ(errorCodeOf([&] { folder("broken").getCanonicalLocation(); }), 4);
    EXPECT_EQ(errorCodeOf([&] { folder(std::string(300, 'x')).listFiles(u""); }), 1);
    // A failed reading is not remembered: the folder may come back.
    tree.folder("gone");
    EXPECT_THAT(gone.listFiles(u""), IsEmpty());

    if (!tfsp::test::permissionsAreEnforced()) return;  // this process reads folders of any mode
    tree.folder("locked/inner");
    tree.chmod("locked", 0);
    EXPECT_EQ(errorCodeOf([&] { folder("locked").listFiles(u""); }), 2);
    EXPECT_EQ(errorCodeOf([&] { folder("locked/inner").getCanonicalLocation(); }), 2);
}

TEST(StorageException, ErrnoMapsOntoTheCodesCallersKnow) {
    const std::pair<int, int> table[] = {{ENOENT, 4}, {ENOTDIR, 4},      {EACCES, 2}, {EPERM, 2},
                                         {ELOOP, 4},  {ENAMETOOLONG, 1}, {EIO, 9},    {EMFILE, 9}};
    for (const auto& [err, code] : table) EXPECT_EQ(Exception::fromErrno(err, u"/x", "op").getErrorCode(), code) << err;
    const Exception e = Exception::fromErrno(ENOENT, u"/dir/é", "opendir");
    EXPECT_THAT(e.what(), HasSubstr("/dir/é"));
    EXPECT_THAT(e.what(), HasSubstr("opendir"));
    EXPECT_EQ(e.getLocation(), u"/dir/é");
    EXPECT_THROW(StorageSystemReference().get(), std::logic_error);
}

TEST_F(StorageFolder, ConcurrentFirstListingsReadOnce) {
    for (int i = 0; i < 40; ++i) tree.file("top/f" + std::to_string(i));
    tree.folder("top/sub");
    const Folder top = canonical("top");
    std::vector<std::vector<File>> seen(4);
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < seen.size(); ++t)
        threads.emplace_back([&, t] {
            seen[t] = t % 2 ? top.listFiles(u"") : (top.listFolders(u""), top.listFiles(u""));
            (void)top.getCanonicalLocation();
        });
    for (std::thread& t : threads) t.join();
    for (const auto& files : seen) EXPECT_EQ(names(files), names(seen[0]));
    EXPECT_EQ(seen[0].size(), 40u);
}

}  // namespace
