// Sessions made one after another on one thread: each starts from nothing the
// one before left, and the instance current before comes back after each.
#include "ManagerTestSupport.hpp"

namespace tfsp::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SearchPathSessionTest : public ManagerFixture {};

TEST_F(SearchPathSessionTest, SessionsInSequenceLeaveNothingBehind) {
    tree.file("a/x.tf");
    tree.file("p/x.tf");
    tree.file("cwd/x.tf");
    Cd("a");  // the fixture's own session, underneath the ones below
    std::shared_ptr<const IPath> kept;
    for (int round = 0; round < 2; ++round) {
        auto inner = CreateSearchPathSession();
        EXPECT_EQ(GetMainSearchPathManagerIfAvailable(), nullptr) << "made on first use; round " << round;
        EXPECT_THAT(*Thornfell::PackageRegistry::GetPackageRegistrar().GetRegistry()->GetPackages(nullptr), IsEmpty());
        EXPECT_NE(Thornfell::current_working_folder::GetCurrentWorkingFolder().get().getIRI(), tree.iri("a"));

        InstallPackage("p");
        inner->ChangeWorkingFolder(tree.iri("cwd"));
        EXPECT_THAT(inner->SetPathFolders(CanonicalFolderRange(std::vector{Canonical("a"), Canonical("p")})),
                    IsEmpty());
        EXPECT_EQ(GetMainSearchPathManagerIfAvailable(), &inner->GetManager());
        kept = inner->GetManager().GetSearchPath();
        EXPECT_THAT(Folders(*kept), ElementsAre("cwd", "a", "p"));

        inner->EndManager();
        EXPECT_EQ(GetMainSearchPathManagerIfAvailable(), nullptr) << "unregistered before it ends";
    }
    // A path outlives the session that made it.
    EXPECT_EQ(kept->FindAllInScope(allEntryTypesScope, detail::SearchTarget(u"x", {u".tf"}), CaseRuleOne).size(), 3u);
    kept.reset();

    EXPECT_EQ(GetMainSearchPathManagerIfAvailable(), nullptr);
    EXPECT_EQ(Thornfell::current_working_folder::GetCurrentWorkingFolder().get().getIRI(), tree.iri("a"));
    EXPECT_THAT(*Thornfell::PackageRegistry::GetPackageRegistrar().GetRegistry()->GetPackages(nullptr), IsEmpty());
    EXPECT_THAT(*Manager().GetPathFolders(), IsEmpty());
}

}  // namespace
}  // namespace tfsp::test
