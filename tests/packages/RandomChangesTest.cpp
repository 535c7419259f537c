// Random installs, updates and removals: after each, the path holds exactly
// the packages that belong on it, each with its folders together and in
// order, and the loose folders in their relative order.
#include "PackagesTestSupport.hpp"

#include <algorithm>
#include <map>
#include <random>

namespace tfsp::test {
namespace {

using ::testing::IsEmpty;

constexpr int LooseCount = 5;
constexpr int NameCount = 6;
const std::vector<std::string> SubFolders{"s0", "s1", "s2"};

struct ModelPackage {
    std::string root;
    PackageSpec spec;
    bool expectedOnPath = false;

    bool manualInstall() const {
        return std::find(spec.propertyLines.begin(), spec.propertyLines.end(), "ManualInstall = true") !=
               spec.propertyLines.end();
    }
    std::vector<std::string> folders() const {
        std::vector<std::string> all{root};
        for (const auto& member : spec.members) all.push_back(root + "/" + member);
        return all;
    }
};

class RandomChanges : public PackagesFixture {
protected:
    PackageSpec RandomSpec(const std::string& name, int version) {
        PackageSpec spec{.name = name, .version = std::to_string(version)};
        spec.managed = Chance(0.4);
        spec.onPath = Chance(0.7);
        spec.propertyLines.push_back(Chance(0.6) ? "ManualInstall = true" : "ManualInstall = false");
        if (Chance(0.3)) spec.propertyLines.push_back("PathPosition = \"begin\"");
        auto subs = SubFolders;
        std::shuffle(subs.begin(), subs.end(), random);
        subs.resize(std::uniform_int_distribution<std::size_t>(0, subs.size())(random));
        spec.members = subs;
        return spec;
    }
    bool Chance(double p) { return std::bernoulli_distribution(p)(random); }
    std::string RandomRoot(const std::string& name) { return "pk/" + name + "/r" + std::to_string(random() % 2); }

    // The rule by which a package comes on the path, or stays off it.
    static bool BelongsWhenNew(const ModelPackage& p) { return p.spec.managed ? p.manualInstall() : p.spec.onPath; }
    static bool BelongsAfterUpdate(const ModelPackage& old, const ModelPackage& now) {
        if (old.expectedOnPath) return true;  // the package keeps the place of its root
        if (now.spec.managed && old.manualInstall() != now.manualInstall()) return now.manualInstall();
        if (old.spec.onPath != now.spec.onPath) return now.spec.onPath;
        return false;
    }

    void CheckPath(const std::map<std::string, ModelPackage>& model, const std::vector<std::string>& loose) {
        const auto path = MainFolders();
        std::size_t expectedSize = loose.size();
        for (const auto& [name, package] : model) {
            SCOPED_TRACE(name);
            const auto folders = package.folders();
            const auto at = std::search(path.begin(), path.end(), folders.begin(), folders.end());
            if (package.expectedOnPath) {
                EXPECT_NE(at, path.end()) << "its folders are not on the path together and in order";
                expectedSize += folders.size();
            } else {
                for (const auto& folder : folders) EXPECT_EQ(std::count(path.begin(), path.end(), folder), 0) << folder;
            }
        }
        std::vector<std::string> looseOnPath;
        std::copy_if(path.begin(), path.end(), std::back_inserter(looseOnPath),
                     [](const std::string& folder) { return folder.starts_with("loose/"); });
        EXPECT_EQ(looseOnPath, loose);
        EXPECT_EQ(path.size(), expectedSize);
    }

    std::mt19937 random{20240611};
};

TEST_F(RandomChanges, PathHoldsExactlyThePackagesThatBelongOnIt) {
    std::vector<std::string> loose;
    for (int i = 0; i < LooseCount; ++i)
        loose.push_back(tree.folder("loose/l" + std::to_string(i)).substr(tree.root().size() + 1));
    SetPath(loose);
    std::map<std::string, ModelPackage> model;
    std::map<std::string, int> versions;
    for (int step = 0; step < 300; ++step) {
        const std::string name = "n" + std::to_string(random() % NameCount);
        const auto installed = model.find(name);
        std::string what;
        received.clear();
        if (installed == model.end()) {
            ModelPackage package{RandomRoot(name), RandomSpec(name, ++versions[name])};
            package.expectedOnPath = BelongsWhenNew(package);
            Install(package.root, package.spec);
            what = "install";
            model.emplace(name, package);
        } else if (Chance(0.6)) {
            ModelPackage package{RandomRoot(name), RandomSpec(name, Chance(0.5) ? ++versions[name] : versions[name])};
            package.expectedOnPath = BelongsAfterUpdate(installed->second, package);
            Update(name, package.root, package.spec);
            what = "update";
            installed->second = package;
        } else {
            Remove(name);
            what = "remove";
            model.erase(installed);
        }
        SCOPED_TRACE("step " + std::to_string(step) + ": " + what + " " + name);
        ASSERT_EQ(received.size(), 1u);
        EXPECT_THAT(Identifiers(received[0]), IsEmpty());
        CheckPath(model, loose);
        if (HasFailure()) return;
    }
}

}  // namespace
}  // namespace tfsp::test
