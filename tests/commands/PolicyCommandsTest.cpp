// The two policy commands: their argument tables, and what the policies they
// set do to the observers made afterwards.
#include "commands/CommandTestSupport.hpp"
#include "support/EngineFixture.hpp"
#include "support/TempTree.hpp"

#include "foundation/storage/vfs/StorageSystem.hpp"
#include "storage/filefolderobserver/FileFolderObserver.hpp"
#include "storage/filefolderobserver/ObserverTestHooks.hpp"
#include "tfsearch_path/HostCommands.hpp"
#include "tfsearch_path/MessageIdentifiers.hpp"

#include <cerrno>

namespace tfsp::test {
namespace {

namespace ids = Thornfell::PathManagement::MessageIds;

using namespace Thornfell::PathManagement;
using matrix::ClassID;
namespace observers = storage::filefolderobserver;

observers::IFileFolderObserverFactory& Factory() {
    return observers::GetFileFolderObserverFactory(OrvianStorageSystem::GetStorageSystemReference());
}

using PolicyCommand = void (*)(int, qvArray_tag**, int, qvArray_tag**);

struct PolicyCase {
    const char* what;
    int outputCount;
    std::vector<InputMaker> inputs;
    int before;
    std::string raised;  // empty: the call returns
    bool reported;
    std::string output;  // Describe(outputs[0])
    int after;
};

class PolicyCommandsTest : public EngineFixture {
protected:
    void Check(PolicyCommand command, int (*get)(), void (*set)(int), const std::vector<PolicyCase>& cases) {
        for (const auto& c : cases) {
            SCOPED_TRACE(c.what);
            set(c.before);
            Inputs inputs(c.inputs);
            matrix::OutputSlots outputs;
            const Raised raised =
                CallCommand([&] { command(c.outputCount, outputs.data(), inputs.count(), inputs.mutableData()); });
            EXPECT_EQ(raised.identifier, c.raised);
            EXPECT_EQ(raised.reported, c.reported);
            EXPECT_EQ(Describe(outputs[0]), c.output);
            EXPECT_EQ(get(), c.after);
        }
    }
};

const std::string kMustBeText = ids::string::MustBeStringScalarOrCharacterVector.Text();

TEST_F(PolicyCommandsTest, ChangeHandleWarningArgumentTable) {
    const std::string invalid = ids::ChangeHandleWarning::InvalidOption.Text();
    const std::vector<PolicyCase> cases = {
        {"once over never returns never", 1, {Chars("once")}, 2, "", false, "char:never", 1},
        {"any case", 1, {Chars("ALWAYS")}, 1, "", false, "char:once", 0},
        {"a string scalar", 1, {Str("Never")}, 0, "", false, "char:always", 2},
        {"status keeps it", 1, {Chars("STATUS")}, 1, "", false, "char:once", 1},
        {"Status as a string", 1, {Str("Status")}, 2, "", false, "char:never", 2},
        {"no output asked for still gets one", 0, {Chars("never")}, 0, "", false, "char:always", 2},
        {"a matrix is read in storage order", 1, {CharMatrix(2, 3, "always")}, 2, "", false, "char:never", 0},
        {"too many outputs", 2, {Chars("once")}, 0, "ORVIAN:maxlhs", false, "null", 0},
        {"too many inputs", 1, {Chars("once"), Chars("once")}, 0, "ORVIAN:maxrhs", false, "null", 0},
        {"no input", 1, {}, 2, ids::ChangeHandleWarning::notEnoughInputs.Text(), true, "null", 2},
        {"unknown option", 1, {Chars("sometimes")}, 2, invalid, true, "null", 2},
        {"a matrix of no option", 1, {CharMatrix(2, 3, "abcdef")}, 2, invalid, true, "null", 2},
        {"empty characters", 1, {Empty(ClassID::Char)}, 1, invalid, true, "null", 1},
        {"a prefix is no option", 1, {Chars("alway")}, 1, invalid, true, "null", 1},
        {"a missing string", 1, {Missing()}, 1, ids::string::MissingNotSupported.Text(), false, "null", 1},
        {"two strings", 1, {Strings(1, 2, {"once", "once"})}, 1, kMustBeText, false, "null", 1},
        {"no strings", 1, {Empty(ClassID::String)}, 1, kMustBeText, false, "null", 1},
        {"a number", 1, {Number(1)}, 1, kMustBeText, false, "null", 1},
        {"a null array", 1, {Null()}, 1, kMustBeText, false, "null", 1},
    };
    Check(
        FeatureDirChangeHandleWarn, [] { return Factory().GetChangeHandleWarning(); },
        [](int v) { Factory().SetChangeHandleWarning(v); }, cases);
}

TEST_F(PolicyCommandsTest, RemotePathPolicyArgumentTable) {
    const std::string unknown = ids::RemotePolicy::UnknownPolicy.Text();
    const std::vector<PolicyCase> cases = {
        {"reload in any case", 1, {Chars("reload")}, 1, "", false, "char:TimecheckDir", 0},
        {"TIMECHECKDIR", 1, {Chars("TIMECHECKDIR")}, 2, "", false, "char:None", 1},
        {"None as a string", 1, {Str("None")}, 0, "", false, "char:Reload", 2},
        {"Status changes nothing", 1, {Chars("Status")}, 2, "", false, "char:None", 2},
        {"status", 0, {Str("status")}, 0, "", false, "char:Reload", 0},
        {"STATUS", 1, {Chars("STATUS")}, 1, "", false, "char:TimecheckDir", 1},
        {"too many outputs", 2, {Chars("None")}, 1, "ORVIAN:maxlhs", false, "null", 1},
        {"too many inputs", 1, {Chars("None"), Chars("None")}, 1, "ORVIAN:maxrhs", false, "null", 1},
        {"no input", 1, {}, 1, "ORVIAN:minrhs", false, "null", 1},
        {"unknown policy", 1, {Chars("Sometimes")}, 1, unknown, true, "null", 1},
        {"the warning's options are no policy", 1, {Chars("never")}, 1, unknown, true, "null", 1},
        {"a matrix of no policy", 1, {CharMatrix(2, 3, "abcdef")}, 0, unknown, true, "null", 0},
        {"empty characters", 1, {Empty(ClassID::Char)}, 0, unknown, true, "null", 0},
        {"a missing string", 1, {Missing()}, 2, ids::string::MissingNotSupported.Text(), false, "null", 2},
        {"a string column", 1, {Strings(2, 1, {"None", "None"})}, 2, kMustBeText, false, "null", 2},
        {"a stamp", 1, {Stamp(1)}, 2, kMustBeText, false, "null", 2},
        {"a null array", 1, {Null()}, 2, kMustBeText, false, "null", 2},
    };
    Check(
        FeatureRemotePathPolicy, [] { return Factory().GetRemotePathPolicy(); },
        [](int v) { Factory().SetRemotePathPolicy(v); }, cases);
}

// The host's names for the policies, set through the commands, give the
// observers that the observer factory documents.
TEST_F(PolicyCommandsTest, PoliciesSetByTheCommandsShapeTheObserversMadeAfterwards) {
    TempTree tree;
    const auto set = [](PolicyCommand command, const char* option) {
        Inputs inputs({Chars(option)});
        matrix::OutputSlots outputs;
        command(1, outputs.data(), 1, inputs.mutableData());
    };
    const auto observe = [&](const std::string& folder, foundation::core::except::Notification& notification) {
        tree.folder(folder);
        return Factory().CreateObserver(
            foundation::storage::vfs::Folder(tree.iri(folder), OrvianStorageSystem::GetStorageSystemReference()),
            notification);
    };
    foundation::core::except::Notification ignored;

    observers::testhooks::TreatFoldersAsRemoteForTesting(Factory(), true);
    set(FeatureRemotePathPolicy, "Reload");
    EXPECT_TRUE(observe("reloaded", ignored)->hasChanged()) << "Reload: always changed";
    set(FeatureRemotePathPolicy, "None");
    const auto untouched = observe("untouched", ignored);
    tree.file("untouched/new.tf");
    EXPECT_FALSE(untouched->hasChanged()) << "None: the disk isn't looked at";
    set(FeatureRemotePathPolicy, "TimecheckDir");
    const auto timed = observe("timed", ignored);
    EXPECT_FALSE(timed->hasChanged());
    tree.file("timed/new.tf");
    EXPECT_TRUE(timed->hasChanged()) << "TimecheckDir: the folder's times tell";
    observers::testhooks::TreatFoldersAsRemoteForTesting(Factory(), false);

    observers::testhooks::FailWatchesForTesting(Factory(), ENOSPC);
    const auto warnings = [&](const std::string& folder) {
        foundation::core::except::Notification notification;
        observe(folder, notification);
        return notification.size();
    };
    EXPECT_EQ(warnings("a"), 1u) << "always, the default";
    EXPECT_EQ(warnings("b"), 1u);
    set(FeatureDirChangeHandleWarn, "once");
    EXPECT_EQ(warnings("c"), 1u);
    EXPECT_EQ(warnings("d"), 0u);
    // "status" sets the policy it reads, and a setting of "once" gives one
    // more warning.
    set(FeatureDirChangeHandleWarn, "status");
    EXPECT_EQ(warnings("e"), 1u);
    set(FeatureDirChangeHandleWarn, "never");
    EXPECT_EQ(warnings("f"), 0u);
}

}  // namespace
}  // namespace tfsp::test
