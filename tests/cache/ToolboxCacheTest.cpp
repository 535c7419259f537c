// The toolbox cache as the factory uses it: entries written from listings
// load back the same, without a listing, and a check without a load counts
// them; a faulty file keeps what came before its fault, and the check
// refuses it at the same byte; a cache file is replaced whole or not at all.
#include "PathEntry.hpp"
#include "PathEntryFactory.hpp"
#include "support/EngineFixture.hpp"
#include "support/TempTree.hpp"
#include "support/Text.hpp"

#include "fl/filesystem/Filesystem.hpp"
#include "foundation/storage/vfs/StorageException.hpp"
#include "host/HostServices.hpp"
#include "ovutil/LocalEventMgr.hpp"
#include "storage/filefolderobserver/FileFolderObserver.hpp"
#include "tfsearch_path/ChildEntries.hpp"
#include "tfsearch_path/IPathEntryFactory.hpp"
#include "tfsearch_path/MessageIdentifiers.hpp"
#include "tfsearch_path/PathFunctions.hpp"
#include "tfsearch_path/ToolboxCacheCheck.hpp"
#include "tfsearch_path/ToolboxCacheWrongFormatException.hpp"
#include "tfsearch_path/ToolboxPathCache.hpp"

#include <boost/make_shared.hpp>
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

namespace tfsp::test {
namespace {

namespace ids = Thornfell::PathManagement::MessageIds;

using namespace Thornfell::PathManagement;
using foundation::storage::vfs::AbsoluteIRI;
using foundation::storage::vfs::CanonicalAbsoluteIRI;
using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;
using ProcessStore = foundation::usm::Detail<foundation::usm::scope::Process>;

// Everything the cache keeps of an entry, children in their order:
// "type name{items}(children)", items as "stem|extension:kind".
std::string Describe(const IPathEntry& entry) {
    std::string text = std::to_string(entry.GetPathEntryType()) + " " + Utf8(entry.GetIRI().getPath()) + "{";
    for (const auto& item : *entry.GetPathItems())
        text += Utf8(item->stem) + "|" + Utf8(item->extension) + ":" + std::to_string(item->contentKind.load()) + " ";
    text += "}(";
    ForEachChildEntry(entry, [&](const PathEntryPointer& child, PathEntryType) { text += Describe(*child) + " "; });
    return text + ")";
}

// The folders and files of entries and of all their children.
ToolboxCacheCounts Count(const PathEntryVector& entries) {
    ToolboxCacheCounts counts;
    for (const auto& entry : entries) {
        ++counts.folders;
        counts.files += entry->GetPathItems()->size();
        PathEntryVector children;
        for (const PathEntryList& list :
             {entry->GetPackageEntries(), entry->GetMethodEntries(), entry->GetUDDClassEntries()})
            children.insert(children.end(), list->begin(), list->end());
        for (const auto& child : {entry->GetPrivateEntry(), entry->GetResourcesEntry()})
            if (child) children.push_back(child);
        const ToolboxCacheCounts below = Count(children);
        counts.folders += below.folders;
        counts.files += below.files;
    }
    return counts;
}

std::vector<std::string> Names(const PathEntryVector& entries) {
    std::vector<std::string> names;
    for (const auto& entry : entries) names.push_back(Utf8(entry->GetIRI().getName()));
    return names;
}

// An entry made in memory, of no folder on the disk.
PathEntryPointer MemoryEntry(const CanonicalAbsoluteIRI& iri, PathEntryType type, PathEntryVector packages,
                             PathItemVector items) {
    const auto storage = OrvianStorageSystem::GetStorageSystemReference();
    auto& observers = storage::filefolderobserver::GetFileFolderObserverFactory(storage);
    return PathEntry::Create(PathEntry::Parts{.iri = iri,
                                              .descriptor = iri.toString(),
                                              .entryType = type,
                                              .children = {.packages = std::move(packages)},
                                              .items = std::move(items),
                                              .folderObserver = observers.CreateFrozenObserver(
                                                  foundation::storage::vfs::Folder(iri, storage))});
}

class ToolboxCacheTest : public EngineFixture {
protected:
    // A new process-wide factory, as in a process that starts afresh; folders
    // below the tree's "install" folder are frozen.
    IPathEntryFactory& FreshFactory() {
        ProcessStore::endAll();
        fl::filesystem::set_install_path(tree.upath("install"));
        return GetPathEntryFactory();
    }

    void Load(const std::string& text) {
        std::istringstream in(text);
        GetPathEntryFactory().LoadToolboxCache(in, tree.iri("install/toolbox"));
    }

    // The measurements of the cache loads, all closed.
    std::vector<std::string> Stopwatch() {
        EXPECT_EQ(host::openStopwatchCount(), 0u);
        std::vector<std::string> names;
        for (const auto& reading : host::takeStopwatchReadings()) names.push_back(reading.name);
        return names;
    }

    TempTree tree;
    const std::string start = "<Thornfell type=\"Path Cache File\" version=\"2.0\" date=\"x\">\n";
};

TEST_F(ToolboxCacheTest, WrittenEntriesLoadBackAsTheListingGaveThemWithoutAListing) {
    // Names the two roads must split alike: trailing, leading, doubled and
    // only dots, none, and letters beyond ASCII.
    for (const char* file : {"a/one.tf", "a/notes.", "a/.hidden", "a/x.y.z", "a/plain", "a/...", "a/..tf", "a/Grüße.tf",
                             "a/データ.ＴＦ", "a/+pkg/p.tf", "a/+pkg/+inner/q.tf", "a/@Cls/Cls.tf", "a/@Cls/@Sub/s.tf",
                             "a/@Cls/private/h.tf", "a/private/secret.tf", "a/resources/icon.txt", "b/two.tf"})
        tree.file(std::string("install/toolbox/") + file);
    tree.file("elsewhere/three.tf");
    tree.file("install/toolbox/quoted/say\"hi\".tf");
    auto& factory = FreshFactory();
    const std::vector<std::string> mains = {"install/toolbox/a", "install/toolbox/b"};
    std::vector<std::string> listed;
    for (const auto& folder : mains) listed.push_back(Describe(*factory.GetPathEntry(tree.iri(folder))));
    const auto monitored = factory.GetPathEntry(tree.iri("elsewhere"));
    const auto quoted = factory.GetPathEntry(tree.iri("install/toolbox/quoted"));
    std::ostringstream out;
    foundation::core::except::Notification leftOut;
    factory.WriteToolboxCache(out, tree.iri("install/toolbox"), &leftOut);
    // Not alive or not frozen, or a name the format can't hold: not written,
    // so such a folder is listed from the disk as usual.
    EXPECT_EQ(out.str().find("elsewhere"), std::string::npos);
    EXPECT_EQ(out.str().find("quoted"), std::string::npos);
    ASSERT_EQ(leftOut.size(), 1u);
    EXPECT_EQ(leftOut.messages()[0].getIdentifier(), ids::CachePath::QuotationMarkInName.Text());
    EXPECT_THAT(leftOut.messages()[0].getArguments(), ElementsAre(u"quoted/say\"hi\".tf"));
    // A private folder is nested in its parent, named from the root.
    EXPECT_NE(out.str().find("\n  <D name=\"a/private\">\n   <C name=\"secret.tf\"/>\n  </D>\n"), std::string::npos);

    FreshFactory();
    Load(out.str());
    EXPECT_THAT(Names(*GetPathEntryFactory().GetToolboxEntries()), UnorderedElementsAre("a", "b"));
    EXPECT_THAT(Stopwatch(), ElementsAre("cachepath"));
    // The check without a load counts what the load loaded.
    std::istringstream written(out.str());
    const ToolboxCacheCounts checked = CheckToolboxCache(written);
    const ToolboxCacheCounts loaded = Count(*GetPathEntryFactory().GetToolboxEntries());
    EXPECT_EQ(checked.folders, loaded.folders);
    EXPECT_EQ(checked.files, loaded.files);
    EXPECT_GE(checked.folders, 8u);  // a, b and the special folders of a
    tree.file("install/toolbox/a/added.tf");
    tree.remove("install/toolbox/b/two.tf");
    for (std::size_t i = 0; i < mains.size(); ++i) {
        // Served from the cache: the disk's changes since aren't seen.
        const auto entry = GetPathEntryFactory().GetPathEntry(tree.iri(mains[i]));
        EXPECT_EQ(Describe(*entry), listed[i]);
        EXPECT_FALSE(entry->IsOutOfDate());
    }
}

// Whatever the writer writes, the reader reads back to the same entries:
// random trees of special folders, nested deeper than special folders
// usually are, with names of any character a file name may hold.
TEST_F(ToolboxCacheTest, RandomTreesWrittenLoadBackToTheSameEntries) {
    std::mt19937 random(20261126);
    const auto pick = [&random](std::size_t count) {
        return std::uniform_int_distribution<std::size_t>(0, count - 1)(random);
    };
    const auto randomName = [&] {
        static const std::string letters[] = {"a", "B", ".", "_", "&", "<", ">", " ", "'", "\xC3\xA9", "\xE2\x82\xAC",
                                              "1"};
        std::string name;
        for (std::size_t i = 0, length = 1 + pick(6); i < length; ++i) name += letters[pick(std::size(letters))];
        return name == "." || name == ".." ? name + "x" : name;
    };
    for (int round = 0; round < 8; ++round) {
        SCOPED_TRACE(round);
        TempTree install("tfsp-cache-round");
        ProcessStore::endAll();
        fl::filesystem::set_install_path(install.upath(""));
        // A chain of special folders 90 levels deep (more than the reader
        // once took) in the first round, random folders in all.
        std::vector<std::string> mains;
        for (int m = 0, count = 1 + static_cast<int>(pick(3)); m < count; ++m) {
            const std::string main = "toolbox/m" + std::to_string(m);
            mains.push_back(main);
            std::vector<std::string> folders{main};
            for (int f = 0, total = round == 0 && m == 0 ? 90 : static_cast<int>(pick(25)); f < total; ++f) {
                static const char* const specials[] = {"+", "@", "private", "resources"};
                const bool chain = round == 0 && m == 0;
                const std::string parent = chain ? folders.back() : folders[pick(folders.size())];
                std::string special = chain ? "+" : specials[pick(std::size(specials))];
                // Package and class names must be valid names, or the listing skips them.
                if (special.size() == 1) special += "p" + std::to_string(pick(3)) + (pick(2) ? "_q" : "");
                folders.push_back(install.folder(parent + "/" + special).substr(install.root().size() + 1));
            }
            for (int i = 0, files = static_cast<int>(pick(40)); i < files; ++i)
                install.file(folders[pick(folders.size())] + "/" + randomName());
        }
        auto& factory = GetPathEntryFactory();
        std::vector<std::string> listed;
        std::vector<PathEntryPointer> alive;
        for (const auto& main : mains) {
            alive.push_back(factory.GetPathEntry(install.iri(main)));
            listed.push_back(Describe(*alive.back()));
        }
        std::ostringstream out;
        foundation::core::except::Notification leftOut;
        factory.WriteToolboxCache(out, install.iri("toolbox"), &leftOut);
        EXPECT_TRUE(leftOut.empty());
        alive.clear();

        ProcessStore::endAll();
        fl::filesystem::set_install_path(install.upath(""));
        std::istringstream in(out.str());
        ASSERT_NO_THROW(GetPathEntryFactory().LoadToolboxCache(in, install.iri("toolbox")));
        for (std::size_t i = 0; i < mains.size(); ++i)
            EXPECT_EQ(Describe(*GetPathEntryFactory().GetPathEntry(install.iri(mains[i]))), listed[i]);
        host::takeStopwatchReadings();
    }
}

// No folder of a real path nests as deep as the reader's limit; one made in
// memory that does is left out whole with a message, and one at the limit
// is written and reads back.
TEST_F(ToolboxCacheTest, TheWriterLeavesOutWhatTheReaderWouldRefuse) {
    const CanonicalAbsoluteIRI root(tree.iri(), {});
    const auto chain = [&](std::size_t depth) {
        std::vector<ustring> names{u"m"};
        while (names.size() < depth) names.push_back(names.back() + u"/+p");
        PathEntryPointer entry;
        for (std::size_t i = depth; i-- > 0;) {
            const CanonicalAbsoluteIRI iri(root, names[i]);
            PathEntryVector packages;
            if (entry) packages.push_back(std::move(entry));
            entry = MemoryEntry(iri, i == 0 ? Main : Package, std::move(packages), {});
        }
        return entry;
    };
    const fl::i18n::codecvt_ustring_to_string toUtf8("UTF-8", true);
    foundation::core::except::Notification leftOut;
    std::ostringstream tooDeep;
    WriteToolboxCacheFolder(tooDeep, *chain(PathCacheReader::kMaxFolderDepth + 1), root, toUtf8, &leftOut);
    EXPECT_EQ(tooDeep.str(), "");
    ASSERT_EQ(leftOut.size(), 1u);
    EXPECT_EQ(leftOut.messages()[0].getIdentifier(), ids::CachePath::FolderTooDeep.Text());
    ustring deepest = u"m";
    for (std::size_t i = 1; i < PathCacheReader::kMaxFolderDepth + 1; ++i) deepest += u"/+p";
    EXPECT_THAT(leftOut.messages()[0].getArguments(),
                ElementsAre(deepest, Utf16(std::to_string(PathCacheReader::kMaxFolderDepth))));

    std::ostringstream atTheLimit;
    WriteToolboxCacheFolder(atTheLimit, *chain(PathCacheReader::kMaxFolderDepth), root, toUtf8, &leftOut);
    EXPECT_EQ(leftOut.size(), 1u);
    std::istringstream in(start + atTheLimit.str() + "</Thornfell>\n");
    fl::i18n::codecvt_string_to_ustring fromUtf8("UTF-8", true);
    std::size_t folders = 0;
    EXPECT_NO_THROW(PathCacheReader(in, fromUtf8).ReadFolders([&](auto) { ++folders; }));
    EXPECT_EQ(folders, 1u);
}

// Only live main folders below the root are written: with none there, the
// file is its start and end lines. A kind the format has no letter for is
// written as U.
TEST_F(ToolboxCacheTest, TheWriterWritesOnlyTheLiveMainFoldersBelowItsRoot) {
    tree.file("install/toolbox/a/one.tf");
    tree.file("install/other/b/two.tf");
    auto& factory = FreshFactory();
    const auto outside = factory.GetPathEntry(tree.iri("install/other/b"));  // frozen, as under the installation
    ASSERT_EQ(factory.GetFrozenPathEntry(tree.iri("install/other/b")), outside);
    std::ostringstream empty;
    factory.WriteToolboxCache(empty, tree.iri("install/toolbox"));
    const std::string twoLines = empty.str();
    EXPECT_EQ(std::count(twoLines.begin(), twoLines.end(), '\n'), 2);
    EXPECT_THAT(twoLines, ::testing::StartsWith("<Thornfell type=\"Path Cache File\" version=\"2.0\" date=\""));
    EXPECT_THAT(twoLines, ::testing::EndsWith("\">\n</Thornfell>\n"));

    const auto entry = factory.GetPathEntry(tree.iri("install/toolbox/a"));
    std::ostringstream out;
    factory.WriteToolboxCache(out, tree.iri("install/toolbox"));
    EXPECT_EQ(out.str().substr(out.str().find('\n') + 1),
              " <D name=\"a\">\n  <C name=\"one.tf\"/>\n </D>\n</Thornfell>\n");

    const CanonicalAbsoluteIRI root(tree.iri(), {});
    const CanonicalAbsoluteIRI folder(root, u"m");
    PathItemVector items;
    for (const std::int32_t kind : {std::int32_t{KindC}, std::int32_t{KindN}, std::int32_t{KindU}, 3, 7}) {
        auto item = std::make_shared<PathItem>(u"k" + Utf16(std::to_string(kind)), u".tf", folder);
        item->contentKind.store(kind);
        items.push_back(std::move(item));
    }
    std::ostringstream kinds;
    WriteToolboxCacheFolder(kinds, *MemoryEntry(folder, Main, {}, std::move(items)), root,
                            fl::i18n::codecvt_ustring_to_string("UTF-8", true), nullptr);
    EXPECT_EQ(kinds.str(), " <D name=\"m\">\n  <C name=\"k0.tf\"/>\n  <N name=\"k1.tf\"/>\n  <U name=\"k2.tf\"/>\n"
                           "  <U name=\"k3.tf\"/>\n  <U name=\"k7.tf\"/>\n </D>\n");
}

TEST_F(ToolboxCacheTest, TheFileIsBelievedAndItsContentKindsComeBack) {
    tree.folder("install/toolbox");
    auto& factory = FreshFactory();
    // No such folders on the disk; "@A/@B" is a class of its class by the
    // parent's frame, and a plain-named folder may stand at the top.
    const std::string file = start + " <D name=\"m\">\n"
                                     "  <D name=\"m/@A\">\n"
                                     "   <D name=\"m/@A/@B\">\n"
                                     "   </D>\n"
                                     "  </D>\n"
                                     "  <C name=\"c.tf\"/>\n"
                                     "  <N name=\"n.tf\"/>\n"
                                     "  <U name=\"u\"/>\n"
                                     " </D>\n"
                                     "</Thornfell>\n";
    Load(file);
    const auto entry = factory.GetPathEntry(tree.iri("install/toolbox/m"));
    const std::string root = tree.root() + "/install/toolbox/m";
    const auto type = [](PathEntryType t) { return std::to_string(t) + " "; };
    EXPECT_EQ(Describe(*entry), type(Main) + root + "{c|.tf:0 n|.tf:1 u|:2 }(" + type(Method) + root + "/@A{}(" +
                                    type(UDDClass) + root + "/@A/@B{}() ) )");
    std::ostringstream out;
    factory.WriteToolboxCache(out, tree.iri("install/toolbox"));
    EXPECT_EQ(out.str().substr(out.str().find('\n') + 1), file.substr(start.size()));
}

TEST_F(ToolboxCacheTest, ItemsOutOfOrderInTheFileAreSortedAsAListingsWouldBe) {
    // The writer puts a folder's items in order; a hand-edited file may not,
    // and its entries must answer queries all the same.
    tree.folder("install/toolbox");
    auto& factory = FreshFactory();
    struct Case {
        const char* what;
        std::vector<const char*> files;  // in file order
        std::string items;               // in the entry's order
    };
    const Case cases[] = {
        {"in order", {"A.tf", "a.tf", "a.tfc", "B", "b.tf"}, "A|.tf a|.tf a|.tfc B| b|.tf "},
        {"the last two swapped", {"A.tf", "a.tf", "a.tfc", "b.tf", "B"}, "A|.tf a|.tf a|.tfc B| b|.tf "},
        {"the first two swapped", {"a.tf", "A.tf", "a.tfc", "B", "b.tf"}, "A|.tf a|.tf a|.tfc B| b|.tf "},
        {"reversed", {"b.tf", "B", "a.tfc", "a.tf", "A.tf"}, "A|.tf a|.tf a|.tfc B| b|.tf "},
    };
    int folder = 0;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const std::string name = "m" + std::to_string(folder++);
        std::string file = start + " <D name=\"" + name + "\">\n";
        for (const char* item : c.files) file += std::string("  <C name=\"") + item + "\"/>\n";
        Load(file + " </D>\n</Thornfell>\n");
        const auto entry = factory.GetPathEntry(tree.iri("install/toolbox/" + name));
        std::string items;
        for (const auto& item : *entry->GetPathItems()) items += Utf8(item->stem) + "|" + Utf8(item->extension) + " ";
        EXPECT_EQ(items, c.items);
        // A query's binary search finds every file, which needs the order.
        for (const char* wanted : {"A.tf", "a.tf", "a.tfc", "B", "b.tf"}) {
            const ustring full = Utf16(wanted);
            const std::size_t dot = std::min(full.find(u'.'), full.size());
            const detail::SearchTarget target(full.substr(0, dot), {full.substr(dot)});
            const auto found = entry->FindFirst(target, CaseRuleOne);
            ASSERT_TRUE(found) << wanted;
            EXPECT_EQ(Utf8(found->FileName()), wanted);
        }
    }
}

TEST_F(ToolboxCacheTest, AFaultKeepsWhatWasLoadedBeforeItAndTheFactoryUsable) {
    tree.file("install/toolbox/listed/l.tf");
    auto& factory = FreshFactory();
    std::string folders;
    for (const char* name : {"a", "b", "c"}) folders += std::string(" <D name=\"") + name + "\">\n </D>\n";
    EXPECT_THROW(Load(start + folders + "</Thornfel>\n"), ToolboxCacheWrongFormatException);
    EXPECT_THAT(Names(*factory.GetToolboxEntries()), UnorderedElementsAre("a", "b", "c"));
    // A nested folder needs a special name. The fault is named where it is,
    // just past the name, as `cache check` names it; whether the folders
    // after it load is not promised.
    const std::string nested =
        start + " <D name=\"d\">\n  <D name=\"d/plain\">\n  </D>\n </D>\n <D name=\"e\">\n </D>\n";
    std::string following;
    for (int i = 0; i < 2000; ++i) following += " <D name=\"f" + std::to_string(i) + "\">\n </D>\n";
    std::istringstream in(nested + following + "</Thornfell>\n");
    EXPECT_THROW(factory.LoadToolboxCache(in, tree.iri("install/toolbox")), ToolboxCacheWrongFormatException);
    in.clear();
    EXPECT_EQ(in.tellg(), static_cast<std::streamoff>(nested.find("d/plain\"") + 8));
    // The check without a load refuses the file at the same byte.
    std::istringstream checked(nested + following + "</Thornfell>\n");
    EXPECT_THROW(CheckToolboxCache(checked), ToolboxCacheWrongFormatException);
    checked.clear();
    EXPECT_EQ(checked.tellg(), static_cast<std::streamoff>(nested.find("d/plain\"") + 8));
    EXPECT_THAT(Names(*factory.GetToolboxEntries()), ::testing::IsSupersetOf({"a", "b", "c"}));
    // A root that isn't there fails as storage does.
    std::istringstream empty(start + "</Thornfell>\n");
    EXPECT_THROW(factory.LoadToolboxCache(empty, tree.iri("missing")), foundation::storage::vfs::Exception);
    EXPECT_THAT(Stopwatch(), ElementsAre("cachepath", "cachepath", "cachepath"));
    EXPECT_THAT(*factory.GetPathEntry(tree.iri("install/toolbox/listed"))->GetPathItems(), ::testing::SizeIs(1));
}

TEST_F(ToolboxCacheTest, AFolderGoneSinceWritingKeepsItsEntryUntilItsObserverReportsAChange) {
    tree.folder("install/toolbox");
    auto& factory = FreshFactory();
    Load(start + " <D name=\"gone\">\n  <C name=\"f.tf\"/>\n </D>\n</Thornfell>\n");
    const auto entry = factory.GetPathEntry(tree.iri("install/toolbox/gone"));
    EXPECT_THAT(*entry->GetPathItems(), ::testing::SizeIs(1));
    auto bus = ovutil::eventmgr::createLocalEventMgr(boost::none);
    bus->publish(boost::make_shared<storage::filefolderobserver::FileFolderChangedEvent>(
                     entry->GetIRI().toString(), storage::filefolderobserver::FrozenInclusion::IncludeFrozen),
                 1);
    bus->deliverHeld();
    EXPECT_TRUE(entry->IsOutOfDate());
    EXPECT_THROW(factory.GetPathEntry(tree.iri("install/toolbox/gone")), foundation::storage::vfs::Exception);
}

// Writes half a file, then fails, as a full disk or a crash would leave it.
class HalfWritingFactory : public IPathEntryFactory {
public:
    PathEntryPointer GetPathEntry(const CanonicalAbsoluteIRI&) const override { return nullptr; }
    PathEntryPointer GetPathEntry(const AbsoluteIRI&) const override { return nullptr; }
    PathEntryPointer GetFrozenPathEntry(const CanonicalAbsoluteIRI&) const override { return nullptr; }
    PathEntryPointer GetFrozenPathEntry(const AbsoluteIRI&) const override { return nullptr; }
    PathEntryPointer CreateUpdatedPathEntry(const CanonicalAbsoluteIRI&, const IFolderMonitor&) const override {
        return nullptr;
    }
    PathEntryPointer GetMonitoredPathEntry(const AbsoluteIRI&, const IFolderMonitor&) const override { return nullptr; }
    PathEntryPointer GetFrozenEntryFor(const PathEntryPointer& entry) const override { return entry; }
    void LoadToolboxCache(std::istream&, const AbsoluteIRI&) override {}
    void WriteToolboxCache(std::ostream& out, const AbsoluteIRI&,
                           foundation::core::except::Notification*) const override {
        out << "<Thornfell type=\"Path Cache File\"";
        throw std::runtime_error("no space left on device");
    }
    std::shared_ptr<const PathEntryVector> GetToolboxEntries() const override { return nullptr; }
    CanonicalAbsoluteIRI GetCanonicalFolderIRI(const AbsoluteIRI& iri) const override { return {iri, {}}; }
    CanonicalAbsoluteIRI GetCanonicalFileIRI(const AbsoluteIRI& iri) const override { return {iri, {}}; }
};

std::string Contents(const std::string& path) {
    std::ifstream in(path);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

std::vector<std::string> FilesIn(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& file : std::filesystem::directory_iterator(folder)) names.push_back(file.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}

TEST_F(ToolboxCacheTest, ACacheFileIsReplacedWholeOrNotAtAll) {
    tree.file("install/toolbox/a/one.tf");
    auto& factory = FreshFactory();
    const auto entry = factory.GetPathEntry(tree.iri("install/toolbox/a"));
    const std::string cache = tree.folder("cache") + "/toolbox.cache";
    WriteToolboxPathCache(tree.iri("cache/toolbox.cache"), tree.iri("install/toolbox"), factory);
    const std::string written = Contents(cache);
    EXPECT_NE(written.find(" <D name=\"a\">\n  <C name=\"one.tf\"/>\n </D>\n</Thornfell>\n"), std::string::npos);

    EXPECT_THROW(WriteToolboxPathCache(tree.iri("cache/toolbox.cache"), tree.iri("install/toolbox"),
                                       HalfWritingFactory()),
                 UnableToSaveToolboxCacheException);
    EXPECT_THROW(WriteToolboxPathCache(tree.iri("missing/toolbox.cache"), tree.iri("install/toolbox"), factory),
                 UnableToSaveToolboxCacheException);
    tree.folder("cache/taken.cache/inside");  // a folder can't be replaced by a file
    EXPECT_THROW(WriteToolboxPathCache(tree.iri("cache/taken.cache"), tree.iri("install/toolbox"), factory),
                 UnableToSaveToolboxCacheException);
    // The earlier file is intact, and no temporary file is left beside it.
    EXPECT_EQ(Contents(cache), written);
    EXPECT_THAT(FilesIn(tree.path("cache")), ElementsAre("taken.cache", "toolbox.cache"));
}

}  // namespace
}  // namespace tfsp::test
