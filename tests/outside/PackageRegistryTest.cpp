#include "foundation/msg_svc/eventmgr/EventMgr.hpp"
#include "foundation/usm/StateStore.hpp"
#include "tfsearch_path/InaccessibleFolderPathEntry.hpp"
#include "thornfell/PackageRegistry.hpp"

#include <gtest/gtest.h>

#include <map>

namespace {

using namespace Thornfell::PackageRegistry;
using foundation::storage::vfs::toAbsoluteIRI;
using OrvianComponents::ComponentVersion;
using Thornfell::PathManagement::InaccessibleFolderPathEntry;

CanonicalAbsoluteIRI folder(const char16_t* path) { return CanonicalAbsoluteIRI(toAbsoluteIRI("file", path), u""); }

ComponentIdentifier component(unsigned char n, const char* version = "1.0") {
    boost::uuids::uuid uuid{};
    uuid.data[15] = n;
    return ComponentIdentifier(u"pkg" + ustring(1, char16_t(u'0' + n)), ComponentVersion(version), uuid);
}

PackageDescription package(const ComponentIdentifier& id, const char16_t* root) {
    return {.id = id, .root = folder(root)};
}

std::vector<ComponentIdentifier> all(const IPackageRegistry& registry) {
    return *registry.GetPackages([](const IPackage&, const IPackageRegistry&) { return true; });
}

class PackageRegistryTest : public ::testing::Test {
protected:
    // Counts the entries it makes, per folder.
    PackageRegistrar::EntryProvider countingProvider() {
        return [this](const CanonicalAbsoluteIRI& folder) -> EntryPointer {
            ++made[folder.getPath()];
            return std::make_shared<const InaccessibleFolderPathEntry>(Thornfell::PathManagement::Main, folder, u"");
        };
    }

    foundation::usm::EngineInstance instance;
    foundation::usm::EngineInstance::MakeCurrent current{instance};
    std::map<ustring, int> made;
};

TEST_F(PackageRegistryTest, OwnerIsThePackageWithTheDeepestRoot) {
    const auto outer = component(1), inner = component(2);
    const auto registry =
        PackageRegistryBuilder().Add(package(inner, u"/r/a/sub/b")).Add(package(outer, u"/r/a")).Build();
    const std::pair<const char16_t*, std::optional<ComponentIdentifier>> cases[] = {
        {u"/r/a/sub/b/x/y", inner}, {u"/r/a/sub/b", inner}, {u"/r/a/sub", outer},
        {u"/r/a", outer},           {u"/r", std::nullopt},  {u"/r/ab", std::nullopt}};
    for (const auto& [path, owner] : cases) EXPECT_EQ(registry->GetOwner(folder(path)), owner);
    EXPECT_EQ(registry->GetDisplayName(inner), u"pkg2");
}

TEST_F(PackageRegistryTest, PackagesComeInInstallationOrderAndKeepTheirStamps) {
    const auto a = component(1), b = component(2), c = component(3), d = component(4);
    auto first = package(a, u"/p/a");
    first.installStamp = 5;
    auto third = package(c, u"/p/c");
    third.installStamp = 2;
    third.managed = true;
    const auto registry = PackageRegistryBuilder().Add(first).Add(package(b, u"/p/b")).Add(third).Build();

    EXPECT_EQ(all(*registry), (std::vector<ComponentIdentifier>{c, a, b}));
    EXPECT_EQ(registry->GetPackage(b)->GetInstallStamp(), 6u);
    const auto unmanaged =
        registry->GetPackages([](const IPackage& p, const IPackageRegistry&) { return !p.IsManaged(); });
    EXPECT_EQ(*unmanaged, (std::vector<ComponentIdentifier>{a, b}));

    // A registry built from another keeps the stamps and numbers new packages after them.
    const auto next = PackageRegistryBuilder(*registry).Remove(b).Add(package(d, u"/p/d")).Build();
    EXPECT_EQ(all(*next), (std::vector<ComponentIdentifier>{c, a, d}));
    EXPECT_EQ(next->GetPackage(a)->GetInstallStamp(), 5u);
    EXPECT_EQ(next->GetPackage(d)->GetInstallStamp(), 6u);
    EXPECT_EQ(next->GetPackage(b), nullptr);
    // Identity is UUID and version; the name doesn't count.
    EXPECT_NE(next->GetPackage(ComponentIdentifier(u"other name", ComponentVersion("1.0.0"), a.GetUniqueID())),
              nullptr);
    EXPECT_EQ(next->GetPackage(component(1, "2.0")), nullptr);
}

TEST_F(PackageRegistryTest, FolderRecordsTheirEntriesAndTheComponentPath) {
    const auto id = component(1);
    auto description = package(id, u"/p/a");
    description.pathFolders = {folder(u"/p/a/z"), folder(u"/p/a/b")};
    description.otherFolders = {folder(u"/p/a/doc")};
    description.properties = {{"PathPosition", std::string("begin")}, {"ManualInstall", true}};
    auto& registrar = GetPackageRegistrarForUpdate();
    registrar.Install(PackageRegistryBuilder().Add(description).Build());
    const auto pkg = registrar.GetRegistry()->GetPackage(id);

    const auto folders = pkg->GetFolders();
    ASSERT_EQ(folders->size(), 4u);
    const std::pair<const char16_t*, int> expected[] = {{u"/p/a", 0}, {u"/p/a/z", 0}, {u"/p/a/b", 0}, {u"/p/a/doc", 1}};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ((*folders)[i].folder, folder(expected[i].first));
        EXPECT_EQ(*(*folders)[i].kinds, std::set<int>{expected[i].second});
    }
    EXPECT_EQ(std::get<std::string>(*pkg->GetProperty("PathPosition")), "begin");
    EXPECT_EQ(pkg->GetProperty("missing"), std::nullopt);

    // Without a provider there are no entries, and none are kept.
    EXPECT_EQ(pkg->GetEntryRecords()->front().entry, nullptr);
    EXPECT_EQ(pkg->GetFolderEntry(folder(u"/p/a")), nullptr);

    registrar.SetEntryProvider(countingProvider());
    const auto records = pkg->GetEntryRecords();
    ASSERT_EQ(records->size(), 4u);
    EXPECT_EQ((*records)[1].entry->GetIRI(), folder(u"/p/a/z"));
    EXPECT_EQ(pkg->GetEntryRecords(), records);
    EXPECT_EQ(pkg->GetFolderEntry(folder(u"/p/a/z")), (*records)[1].entry);
    const auto below = pkg->GetFolderEntry(folder(u"/p/a/z/+inner"));
    ASSERT_NE(below, nullptr);
    EXPECT_EQ(pkg->GetFolderEntry(folder(u"/p/a/z/+inner")), below);
    EXPECT_EQ(pkg->GetFolderEntry(folder(u"/p/b")), nullptr);

    // The component path is made once, from the path folders in record order.
    int calls = 0;
    std::vector<ustring> pathFolders;
    OrvianComponents::ModularPackageRegistry modular([&](std::vector<EntryPointer> entries) {
        ++calls;
        for (const auto& entry : entries) pathFolders.push_back(entry->GetIRI().getPath());
        // The component only keeps the path: a stand-in that is never read will do.
        auto owner = std::make_shared<int>(0);
        return std::shared_ptr<const Thornfell::PathManagement::IPath>(
            owner, reinterpret_cast<const Thornfell::PathManagement::IPath*>(owner.get()));
    });
    EXPECT_EQ(modular.GetOwningComponent(folder(u"/p/a/z/deeper")), id);
    EXPECT_EQ(modular.GetComponent(component(9)), nullptr);
    const auto componentObject = modular.GetComponent(id);
    ASSERT_NE(componentObject, nullptr);
    EXPECT_EQ(componentObject->GetPath(), componentObject->GetPath());
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(pathFolders, (std::vector<ustring>{u"/p/a", u"/p/a/z", u"/p/a/b"}));
    EXPECT_EQ(made, (std::map<ustring, int>{
                        {u"/p/a", 1}, {u"/p/a/z", 1}, {u"/p/a/b", 1}, {u"/p/a/doc", 1}, {u"/p/a/z/+inner", 1}}));
}

TEST_F(PackageRegistryTest, InstallWorksOutTheChangesAndPublishesThemInOrder) {
    const auto kept = component(1), gone = component(2), changed = component(3), added = component(4);
    auto& registrar = GetPackageRegistrarForUpdate();
    EXPECT_TRUE(all(*registrar.GetRegistry()).empty());

    auto changing = package(changed, u"/p/c");
    registrar.Install(
        PackageRegistryBuilder().Add(package(kept, u"/p/k")).Add(package(gone, u"/p/g")).Add(changing).Build());
    const auto before = registrar.GetRegistry();

    std::vector<std::string> events;
    std::shared_ptr<const PackageRegistryChanges> changes;
    const auto bus = foundation::msg_svc::eventmgr::getEngineEventMgr();
    auto registryConnection = bus->subscribe(foundation::msg_svc::eventmgr::mangleEvent(
                                                 "Thornfell::PackageRegistry::PackageRegistryHasBeenChanged", "Level1"),
                                             [&](const foundation::msg_svc::eventmgr::BaseEvent& e) {
                                                 events.push_back("registry");
                                                 changes =
                                                     dynamic_cast<const PackageRegistryHasBeenChanged&>(e).GetChanges();
                                                 // Subscribers find the new registry in force.
                                                 EXPECT_EQ(registrar.GetRegistry(), changes->GetRegistryAfter());
                                             });
    auto modularConnection =
        bus->subscribe("Thornfell::OrvianComponents::ModularPackageRegistryHasBeenChanged",
                       [&](const foundation::msg_svc::eventmgr::BaseEvent&) { events.push_back("modular"); });

    changing.pathFolders = {folder(u"/p/c/more")};
    const auto after = PackageRegistryBuilder(*before).Remove(gone).Add(changing).Add(package(added, u"/p/n")).Build();
    registrar.Install(after);

    EXPECT_EQ(events, (std::vector<std::string>{"registry", "modular"}));
    ASSERT_NE(changes, nullptr);
    EXPECT_EQ(changes->GetRegistryBefore(), before);
    EXPECT_EQ(changes->GetRegistryAfter(), after);
    EXPECT_EQ(changes->GetAdded(), std::vector<ComponentIdentifier>{added});
    EXPECT_EQ(changes->GetRemoved(), std::vector<ComponentIdentifier>{gone});
    EXPECT_EQ(changes->GetChanged(3), std::vector<ComponentIdentifier>{changed});
    EXPECT_TRUE(changes->GetChanged(1).empty());

    // Installing the same registry again changes nothing, and still tells.
    registrar.Install(after);
    EXPECT_EQ(events.size(), 4u);
    EXPECT_TRUE(changes->GetAdded().empty() && changes->GetRemoved().empty() && changes->GetChanged(3).empty());
}

// Properties count as a set of names, each with the value it is first given.
TEST_F(PackageRegistryTest, APackageChangesWithItsPropertiesNotWithTheirOrder) {
    const auto id = component(1);
    auto& registrar = GetPackageRegistrarForUpdate();
    std::shared_ptr<const PackageRegistryChanges> changes;
    auto connection = foundation::msg_svc::eventmgr::getEngineEventMgr()->subscribe(
        foundation::msg_svc::eventmgr::mangleEvent("Thornfell::PackageRegistry::PackageRegistryHasBeenChanged",
                                                   "Level1"),
        [&](const foundation::msg_svc::eventmgr::BaseEvent& e) {
            changes = dynamic_cast<const PackageRegistryHasBeenChanged&>(e).GetChanges();
        });
    const auto changedBy = [&](std::vector<std::pair<std::string, PropertyValue>> properties) {
        auto description = package(id, u"/p/a");
        description.properties = std::move(properties);
        registrar.Install(PackageRegistryBuilder().Add(description).Build());
        return changes->GetChanged(3) == std::vector<ComponentIdentifier>{id};
    };
    changedBy({{"A", true}, {"B", std::string("x")}});
    EXPECT_FALSE(changedBy({{"A", true}, {"B", std::string("x")}}));
    EXPECT_FALSE(changedBy({{"B", std::string("x")}, {"A", true}}));
    EXPECT_FALSE(changedBy({{"B", std::string("x")}, {"A", true}, {"A", false}}));
    EXPECT_TRUE(changedBy({{"B", std::string("x")}, {"A", false}}));
    EXPECT_TRUE(changedBy({{"B", std::string("x")}, {"A", false}, {"C", std::int64_t{1}}}));
    EXPECT_TRUE(changedBy({}));
}

}  // namespace
