// The commands that write the system cache, print the search path and make
// a path string canonical.
#include "commands/CommandTestSupport.hpp"
#include "manager/ManagerTestSupport.hpp"

#include "fl/filesystem/Filesystem.hpp"
#include "host/HostServices.hpp"
#include "tfsearch_path/HostCommands.hpp"
#include "tfsearch_path/MessageIdentifiers.hpp"

#include <fstream>
#include <iostream>
#include <sstream>

namespace tfsp::test {
namespace {

namespace ids = Thornfell::PathManagement::MessageIds;

using matrix::ClassID;

class HostCommandsTest : public ManagerFixture {
protected:
    ~HostCommandsTest() override { SetMainSearchPathManager(nullptr); }

    // What the dump prints.
    std::string Dump() {
        SetMainSearchPathManager(&Manager());
        std::ostringstream captured;
        std::streambuf* const previous = std::cout.rdbuf(captured.rdbuf());
        FeatureDumpMainSearchPath(0, nullptr, 0, nullptr);
        std::cout.rdbuf(previous);
        return captured.str();
    }

    std::string Url(const std::string& relative) { return "file://" + tree.path(relative); }
};

TEST_F(HostCommandsTest, DumpPrintsEachEntryAndItsItemsToTheByte) {
    Manager().SetCurrentFolderPolicy(NoCurrentFolder);
    EXPECT_EQ(Dump(), "") << "an empty search path";

    tree.file("lib/top.tf");
    tree.file("lib/+pkg/inPackage.tf");
    tree.file("lib/@Shape/Shape.tf");
    tree.file("lib/private/hidden.tf");
    ASSERT_TRUE(SetPath({"lib"}).empty());
    EXPECT_EQ(Dump(), "PathEntry " + Url("lib") + " is up-to-date\n" + Url("lib/top.tf") + "\n" + "PathEntry " +
                          Url("lib/+pkg") + " is up-to-date\n" + Url("lib/+pkg/inPackage.tf") + "\n" + "PathEntry " +
                          Url("lib/@Shape") + " is up-to-date\n" + Url("lib/@Shape/Shape.tf") + "\n" + "PathEntry " +
                          Url("lib/private") + " is up-to-date\n" + Url("lib/private/hidden.tf") + "\n");

    tree.file("lib/later.tf");
    SynchronizeObservers();
    ASSERT_TRUE(Manager().GetSearchPath()->GetMainEntries()->front()->IsOutOfDate());
    EXPECT_TRUE(Dump().starts_with("PathEntry " + Url("lib") + " is out-of-date\n" + Url("lib/"))) << Dump();
}

TEST_F(HostCommandsTest, CanonicalizeArgumentTable) {
    tree.folder("real/sub");
    tree.symlink("link", "real");
    Cd("");
    const std::string mustBeText = ids::string::MustBeStringScalarOrCharacterVector.Text();
    struct Case {
        const char* what;
        int outputCount;
        std::vector<InputMaker> inputs;
        std::string raised;
        bool reported;
        std::string output;
    };
    const std::vector<Case> cases = {
        {"characters give characters", 1, {Chars("link/sub")}, "", false, "char:" + tree.path("real/sub")},
        {"a string gives a string", 1, {Str("link/sub")}, "", false, "string:" + tree.path("real/sub")},
        {"no output asked for", 0, {Chars("link")}, "", false, "char:" + tree.path("real")},
        {"names that don't exist are kept",
         1,
         {Chars("link/gone/x.tf")},
         "",
         false,
         "char:" + tree.path("real/gone/x.tf")},
        {"an absolute path with ..", 1, {Str(tree.path("link/sub/.."))}, "", false, "string:" + tree.path("real")},
        {"too many outputs", 2, {Chars("link")}, "ORVIAN:maxlhs", false, "null"},
        {"too many inputs", 1, {Chars("link"), Chars("link")}, "ORVIAN:maxrhs", false, "null"},
        {"no input", 1, {}, "ORVIAN:minrhs", false, "null"},
        {"a character matrix", 1, {CharMatrix(2, 3, "linkxx")}, mustBeText, true, "null"},
        {"a missing string", 1, {Missing()}, mustBeText, true, "null"},
        {"two strings", 1, {Strings(1, 2, {"a", "b"})}, mustBeText, true, "null"},
        {"a number", 1, {Number(3)}, mustBeText, true, "null"},
        {"a null array", 1, {Null()}, mustBeText, true, "null"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Inputs inputs(c.inputs);
        matrix::OutputSlots outputs;
        const Raised raised =
            CallCommand([&] { HiddenCanonicalizepath(c.outputCount, outputs.data(), inputs.count(), inputs.data()); });
        EXPECT_EQ(raised.identifier, c.raised);
        EXPECT_EQ(raised.reported, c.reported);
        EXPECT_EQ(Describe(outputs[0]), c.output);
    }
    // The empty text is a text, but names no path.
    Inputs empty({Empty(ClassID::Char)});
    matrix::OutputSlots outputs;
    EXPECT_THROW(HiddenCanonicalizepath(1, outputs.data(), 1, empty.data()),
                 Thornfell::current_working_folder::FailedToAbsolutizeException);
}

class CachePathTest : public HostCommandsTest {
protected:
    CachePathTest() {
        fl::filesystem::set_install_path(tree.upath("install"));
        tree.file("install/toolbox/core/one.tf");
        tree.file("install/rtk/toolbox/runtime/two.tf");
        tree.folder("install/cache");
        tree.folder("install/rtk/cache");
        // Entries below the installation root are alive in the factory, and
        // so go into the cache.
        for (const char* folder : {"install/toolbox/core", "install/rtk/toolbox/runtime"})
            entries.push_back(GetPathEntryFactory().GetPathEntry(tree.iri(folder)));
    }

    Raised Write(int outputCount = 0, int inputCount = 0) {
        return CallCommand([&] { FeatureCachePath(outputCount, nullptr, inputCount, nullptr); });
    }
    std::string Written(const std::string& relative) {
        std::ifstream in(tree.path(relative));
        return std::string(std::istreambuf_iterator<char>(in), {});
    }

    PathEntryVector entries;
};

TEST_F(CachePathTest, TheRootIsTheInstallationsOrInStandaloneModeItsRuntimeToolboxes) {
    EXPECT_EQ(Write().identifier, "");
    const std::string full = Written("install/cache/toolbox.cache");
    EXPECT_NE(full.find("<D name=\"toolbox/core\">\n  <C name=\"one.tf\"/>"), std::string::npos) << full;
    EXPECT_NE(full.find("<D name=\"rtk/toolbox/runtime\">"), std::string::npos) << full;

    host::setStandaloneMode(true);
    EXPECT_EQ(Write().identifier, "");
    const std::string standalone = Written("install/rtk/cache/toolbox.cache");
    EXPECT_NE(standalone.find("<D name=\"runtime\">\n  <C name=\"two.tf\"/>"), std::string::npos) << standalone;
    EXPECT_EQ(standalone.find("core"), std::string::npos) << standalone;
}

TEST_F(CachePathTest, AFolderTheFileCantHoldIsLeftOutWithAWarning) {
    tree.file("install/toolbox/say\"hi\"/three.tf");
    entries.push_back(GetPathEntryFactory().GetPathEntry(tree.iri("install/toolbox/say\"hi\"")));
    host::takeWarnings();
    EXPECT_EQ(Write().identifier, "");
    EXPECT_EQ(Written("install/cache/toolbox.cache").find("say"), std::string::npos);
    const auto warnings = host::takeWarnings();
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_EQ(warnings[0].getIdentifier(), ids::CachePath::QuotationMarkInName.Text());
    EXPECT_EQ(warnings[0].getArguments(), std::vector<ustring>{u"toolbox/say\"hi\""});
}

TEST_F(CachePathTest, ArgumentsAndAFileThatCantBeWritten) {
    EXPECT_EQ(Write(1, 0).identifier, "ORVIAN:maxlhs");
    EXPECT_EQ(Write(0, 1).identifier, "ORVIAN:maxrhs");
    EXPECT_EQ(Write(1, 1).identifier, "ORVIAN:maxlhs") << "outputs are tested first";

    const std::string unwritable = tree.path("missing/toolbox.cache");
    host::setSystemToolboxCacheFile(unwritable);
    const Raised raised = Write();
    EXPECT_EQ(raised.identifier, ids::CachePath::FailedToSave.Text());
    EXPECT_TRUE(raised.reported);
    EXPECT_EQ(raised.arguments, std::vector<ustring>{fl::i18n::utf8_to_ustring(unwritable)});
}

}  // namespace
}  // namespace tfsp::test
