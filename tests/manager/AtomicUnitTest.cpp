// Packages that aren't managed are warned about when an alteration tears
// their folders apart.
#include "ManagerTestSupport.hpp"

#include "host/HostServices.hpp"

namespace tfsp::test {
namespace {

using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

class AtomicUnitTest : public ManagerFixture {
protected:
    AtomicUnitTest() {
        tree.folders({"plain", "q", "r", "n", "n/x", "m", "m/y"}, "f.tf");
        InstallPackage("n", /*managed=*/false, "1.0", {"n/x"});
        InstallPackage("m", /*managed=*/true, "1.0", {"m/y"});
        host::takeWarnings();
    }
    // The warnings of one alteration, as "kind: names".
    std::vector<std::string> WarningsOf(const std::vector<std::string>& folders) {
        SetPath(folders);
        std::vector<std::string> warnings;
        for (const auto& warning : host::takeWarnings())
            warnings.push_back(warning.getKey().substr(warning.getKey().find("DueTo") + 5) + ":" +
                               fl::i18n::ustring_to_utf8(warning.getArguments().at(0)));
        return warnings;
    }
};

TEST_F(AtomicUnitTest, WarnsOfEachKindOfTear) {
    struct Step {
        std::vector<std::string> path;
        std::vector<std::string> warnings;
    };
    const Step steps[] = {
        {{"plain", "n"}, {"AddedEntries:\n\tn"}},                       // one folder of two
        {{}, {}},                                                       // all of it gone: whole again
        {{"n", "n/x", "plain"}, {}},                                    // together, in order
        {{"n/x", "n", "plain"}, {"ReorderedEntries:\n\tn"}},            // order turned
        {{"n", "n/x", "plain", "q", "r"}, {}},                          // the run again
        {{"n", "plain", "q", "r", "n/x"}, {"ReorderedEntries:\n\tn"}},  // strangers between
        {{"n", "plain"}, {"RemovedEntries:\n\tn"}},                     // something left behind
        {{"plain", "n", "n/x", "m", "m/y"}, {}},                        // the managed package takes no part
        {{"plain"}, {}},
    };
    for (const auto& step : steps) EXPECT_THAT(WarningsOf(step.path), ElementsAreArray(step.warnings));
}

TEST_F(AtomicUnitTest, AddedAndRemovedInOneAlterationWarnOfBothAndNameAPackageOnce) {
    tree.file("k/f.tf");
    tree.file("k/z/f.tf");
    InstallPackage("k", /*managed=*/false, "1.0", {"k/z"});
    host::takeWarnings();
    WarningsOf({"n", "n/x"});
    EXPECT_THAT(WarningsOf({"n", "k", "plain", "k/z"}),
                ElementsAreArray({"AddedEntries:\n\tk", "RemovedEntries:\n\tn"}));
    EXPECT_THAT(WarningsOf({"n", "k", "plain", "k/z"}), IsEmpty()) << "no differences, no warning";
}

}  // namespace
}  // namespace tfsp::test
