// The canonical name of a file: as it is on the search path, else through
// the main folder above it.
#include "ManagerTestSupport.hpp"

#include "SearchPathPublicFunctions.hpp"
#include "tfsearch_path/MessageIdentifiers.hpp"
#include "tfsearch_path/PathManagerCanonicalFilePath.hpp"

#include <functional>

#include <thread>

namespace tfsp::test {
namespace {

namespace ids = Thornfell::PathManagement::MessageIds;

using ::testing::ElementsAre;

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
    EXPECT_EQ(fl::i18n::ustring_to_utf8(PathManagerCanonicalFilePath(toAbsoluteIRI("file", u"/f.tf")).getPath()),
              "/f.tf");
}

// The storage failures a folder of an alteration may meet each become their
// message; any other failure goes on. Thrown here, since most can't be made
// on a disk a test may use (as root, no folder is unreadable).
TEST_F(CanonicalFilePathTest, StorageFailuresBecomeMessagesAndOthersGoOn) {
    using foundation::storage::vfs::ErrorCode;
    using foundation::storage::vfs::Exception;
    const CanonicalAbsoluteIRI folder = Canonical("real/main");
    const auto reported = [&folder](const std::function<void()>& fail) {
        foundation::core::except::Notification notification;
        try {
            fail();
        } catch (...) {
            AddStorageFailure(folder, notification);
        }
        return notification;
    };
    const std::pair<ErrorCode, Thornfell::PathManagement::MessageIdentifier> known[] = {
        {ErrorCode::InvalidLocation, ids::mpath::invalidLocation},
        {ErrorCode::PermissionDenied, ids::mpath::directoryPermissionDenied},
        {ErrorCode::NotFound, ids::mpath::nameNonexistentOrNotADirectory},
        {ErrorCode::AccessFailure, ids::mpath::directoryAccessFailure},
    };
    for (const auto& [knownCode, id] : known) {
        const ErrorCode code = knownCode;  // a lambda can't capture a structured binding in every compiler
        const auto notification = reported([&] { throw Exception(code, folder.getPath(), "failed"); });
        EXPECT_THAT(notification.messages(), ElementsAre(id.Message({GetStringFromIRI(folder)})));
    }
    EXPECT_THAT(reported([] { throw foundation::storage::vfs::UnsupportedIRISchemeException(u"http"); }).messages(),
                ElementsAre(ids::mpath::invalidLocation.Message({GetStringFromIRI(folder)})));
    for (const ErrorCode code : {ErrorCode::TooManyLinks, ErrorCode::NameTooLong, static_cast<ErrorCode>(42)})
        EXPECT_THROW(reported([&] { throw Exception(code, folder.getPath(), "failed"); }), Exception);
    EXPECT_THROW(reported([] { throw std::runtime_error("not storage"); }), std::runtime_error);
}

}  // namespace
}  // namespace tfsp::test
