// The canonical name of a file: as it is on the search path, else through
// the main folder above it.
#include "ManagerTestSupport.hpp"

#include "tfsearch_path/PathManagerCanonicalFilePath.hpp"

#include <thread>

namespace tfsp::test {
namespace {

class CanonicalFilePathTest : public ManagerFixture {
protected:
    CanonicalFilePathTest() {
        tree.file("real/main/+pkg/@Cls/+inner/f.tf");
        tree.file("real/main/private/p.tf");
        tree.file("real/main/g.tf");
        tree.symlink("link", tree.path("real"));
        Manager();  // registered with the instance, where the canonical name looks for it
    }
    std::string Canonicalised(const foundation::storage::vfs::AbsoluteIRI& file) {
        return fl::i18n::ustring_to_utf8(PathManagerCanonicalFilePath(file).getPath());
    }
};

TEST_F(CanonicalFilePathTest, OnlyTheMainFolderAboveTheFileIsMadeCanonical) {
    const std::pair<const char*, const char*> cases[] = {
        {"link/main/g.tf", "real/main/g.tf"},
        {"link/main/+pkg/@Cls/+inner/f.tf", "real/main/+pkg/@Cls/+inner/f.tf"},
        {"link/main/private/p.tf", "real/main/private/p.tf"},
    };
    for (const auto& [given, expected] : cases) EXPECT_EQ(Canonicalised(tree.iri(given)), tree.path(expected)) << given;
}

TEST_F(CanonicalFilePathTest, AFileWhoseFolderIsOnTheSearchPathComesBackAsItIs) {
    // Named through the link, the folder is on the path as written: the
    // storage system isn't asked, and the name stays.
    foundation::core::except::Notification notification;
    const std::vector<CanonicalAbsoluteIRI> onPath{Canonical("link/main")};
    Manager().SetPathFolders(CanonicalFolderRange(onPath), notification);
    for (const char* file : {"link/main/g.tf", "link/main/private/p.tf"})
        EXPECT_EQ(Canonicalised(tree.iri(file)), tree.path(file)) << file;
    // Off the engine's thread the longer way is taken.
    std::string elsewhere;
    std::thread([&] { elsewhere = Canonicalised(tree.iri("link/main/g.tf")); }).join();
    EXPECT_EQ(elsewhere, tree.path("real/main/g.tf"));
}

TEST_F(CanonicalFilePathTest, TheRootHasNoParentAndIsAMainFolder) {
    using foundation::storage::vfs::toAbsoluteIRI;
    EXPECT_THROW(PathManagerCanonicalFilePath(toAbsoluteIRI("file", u"/")), NoParentIRIException);
    EXPECT_EQ(fl::i18n::ustring_to_utf8(PathManagerCanonicalFilePath(toAbsoluteIRI("file", u"/f.tf")).getPath()), "/f.tf");
}

} // namespace
} // namespace tfsp::test
