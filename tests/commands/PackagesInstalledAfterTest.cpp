// Which folders the packages installed after a stamp would put at the front
// and at the back of the path.
#include "commands/CommandTestSupport.hpp"
#include "support/EngineFixture.hpp"

#include "orvian/FeatureSwitches.hpp"
#include "tfsearch_path/HostCommands.hpp"
#include "tfsearch_path/MessageIdentifiers.hpp"
#include "thornfell/PackageRegistry.hpp"

#include <boost/uuid/random_generator.hpp>

namespace tfsp::test {
namespace {

namespace ids = Thornfell::PathManagement::MessageIds;

using namespace Thornfell::PathManagement;
namespace registry = Thornfell::PackageRegistry;
using foundation::storage::vfs::CanonicalAbsoluteIRI;
using matrix::ClassID;

CanonicalAbsoluteIRI Folder(const char* path) {
    return CanonicalAbsoluteIRI(foundation::storage::vfs::toAbsoluteIRI("file", fl::i18n::utf8_to_ustring(path)),
                                ustring());
}

class PackagesInstalledAfterTest : public EngineFixture {
protected:
    PackagesInstalledAfterTest() { OrvianComponents::ZPMFeature::Set(true); }

    void Install(const char* name, std::uint64_t stamp, bool front, bool managed, std::vector<const char*> folders) {
        registry::PackageDescription package{OrvianComponents::ComponentIdentifier(fl::i18n::utf8_to_ustring(name),
                                                                                   OrvianComponents::ComponentVersion(
                                                                                       "1"),
                                                                                   boost::uuids::random_generator()()),
                                             Folder(folders.front())};
        for (std::size_t i = 1; i < folders.size(); ++i) package.pathFolders.push_back(Folder(folders[i]));
        package.managed = managed;
        package.installStamp = stamp;
        if (front) package.properties.emplace_back("PathPosition", registry::PropertyValue(ustring(u"begin")));
        auto& registrar = registry::GetPackageRegistrarForUpdate();
        registrar.Install(registry::PackageRegistryBuilder(*registrar.GetRegistry()).Add(package).Build());
    }

    struct Result {
        Raised raised;
        std::string front, back;
    };
    Result Call(int outputCount, const std::vector<InputMaker>& makers) {
        Inputs inputs(makers);
        matrix::unique_array_ptr outputs[2];
        Result result;
        result.raised =
            CallCommand([&] { GetPathForPackagesInstalledAfter(outputCount, outputs, inputs.count(), inputs.data()); });
        result.front = Describe(outputs[0].get());
        result.back = Describe(outputs[1].get());
        return result;
    }
};

TEST_F(PackagesInstalledAfterTest, ArgumentTable) {
    // Installed out of stamp order: the stamps, not the order, decide.
    Install("second", 2, false, false, {"/p2"});
    Install("first", 1, true, false, {"/p1", "/p1/lib"});
    Install("third", 3, true, false, {"/p3"});
    Install("managed", 4, false, true, {"/m4", "/m4/more"});
    struct Case {
        const char* what;
        bool components;
        int outputCount;
        std::vector<InputMaker> inputs;
        std::string raised;
        std::string front, back;
    };
    const std::string invalid = ids::mpath::InvalidInstallStamp.Text();
    const std::vector<Case> cases = {
        {"nothing after the latest: empty characters", true, 2, {Stamp(4)}, "", "char:", "char:"},
        {"all: the front latest first", true, 2, {Stamp(0)}, "", "char:/p3;/p1;/p1/lib", "char:/p2;/m4"},
        {"managed packages only with components", false, 2, {Stamp(0)}, "", "char:/p3;/p1;/p1/lib", "char:/p2"},
        {"the very stamp is not after it", true, 2, {Stamp(1)}, "", "char:/p3", "char:/p2;/m4"},
        {"after 2", true, 2, {Stamp(2)}, "", "char:/p3", "char:/m4"},
        {"one output", true, 1, {Stamp(0)}, "", "char:/p3;/p1;/p1/lib", "null"},
        {"no output asked for still gets the front", true, 0, {Stamp(2)}, "", "char:/p3", "null"},
        {"a double's bits are read as they are", true, 2, {Number(0.0)}, "", "char:/p3;/p1;/p1/lib", "char:/p2;/m4"},
        {"too many outputs", true, 3, {Stamp(0)}, "ORVIAN:maxlhs", "null", "null"},
        {"too many inputs", true, 1, {Stamp(0), Stamp(0)}, "ORVIAN:maxrhs", "null", "null"},
        {"no input", true, 1, {}, "ORVIAN:minrhs", "null", "null"},
        {"a null array", true, 1, {Null()}, invalid, "null", "null"},
        {"an empty array", true, 1, {Empty(ClassID::Uint64)}, invalid, "null", "null"},
        {"characters are too narrow", true, 1, {Chars("a")}, invalid, "null", "null"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        OrvianComponents::ComponentFeature::Set(c.components);
        const Result result = Call(c.outputCount, c.inputs);
        EXPECT_EQ(result.raised.identifier, c.raised);
        EXPECT_EQ(result.raised.reported, c.raised == invalid);
        EXPECT_EQ(result.front, c.front);
        EXPECT_EQ(result.back, c.back);
    }
}

TEST_F(PackagesInstalledAfterTest, WithZpmOffNothingElseIsLookedAt) {
    OrvianComponents::ZPMFeature::Set(false);
    for (int outputCount : {0, 1, 3}) {
        const Result result = Call(outputCount, {Null(), Null()});
        EXPECT_EQ(result.raised.identifier, ids::mpath::ZPMFeatureOff.Text());
        EXPECT_TRUE(result.raised.reported);
        EXPECT_EQ(result.front, "null");
    }
}

}  // namespace
}  // namespace tfsp::test
