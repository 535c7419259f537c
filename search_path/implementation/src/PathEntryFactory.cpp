#include "PathEntryFactory.hpp"

#include "PathEntry.hpp"
#include "WarningDeferral.hpp"
#include "foundation/core/diag/Diagnostics.hpp"
#include "foundation/usm/StateStore.hpp"
#include "fl/filesystem/Filesystem.hpp"
#include "fl/i18n/TextConverters.hpp"
#include "fl/ustring.hpp"
#include "host/HostServices.hpp"
#include "ovutil/LocalEventMgr.hpp"
#include "tfsearch_path/ChildEntries.hpp"
#include "tfsearch_path/IFolderMonitor.hpp"
#include "tfsearch_path/MessageIdentifiers.hpp"
#include "tfsearch_path/PathEvents.hpp"
#include "tfsearch_path/PathFunctions.hpp"

#include <boost/container/small_vector.hpp>
#include <boost/date_time/posix_time/posix_time.hpp>
#include <oneapi/tbb/task_group.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <ctime>
#include <iomanip>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <sstream>
#include <stdexcept>
#include <typeinfo>

namespace Thornfell::PathManagement {

using foundation::storage::vfs::AbsoluteIRI;
using foundation::storage::vfs::CanonicalAbsoluteIRI;
using foundation::storage::vfs::Folder;

namespace {

// The items of one folder, made in one allocation instead of one each. An
// item's shared pointer shares ownership of the whole block, so an item
// stays valid for as long as anyone holds it, whatever became of its entry.
class PathItemBlock {
public:
    explicit PathItemBlock(std::size_t capacity)
        : items_(std::allocator<PathItem>().allocate(capacity)), capacity_(capacity) {}
    ~PathItemBlock() {
        std::destroy_n(items_, size_);
        std::allocator<PathItem>().deallocate(items_, capacity_);
    }
    PathItemBlock(const PathItemBlock&) = delete;
    PathItemBlock& operator=(const PathItemBlock&) = delete;

    // Room must be left: the block never grows, since items don't move.
    PathItem& Emplace(ustring_view stem, ustring_view extension, const CanonicalAbsoluteIRI& folder) {
        PathItem* item = std::construct_at(items_ + size_, stem, extension, folder);
        ++size_;
        return *item;
    }

private:
    PathItem* const items_;
    std::size_t size_ = 0;
    const std::size_t capacity_;
};

// The item of a file name, made in `block`: the name split at its last dot,
// the extension keeping the dot. A name that ends in a dot so keeps that dot
// as its extension, and can still be asked for; one whose only dot leads it
// (".profile") has an empty stem. A listing and the toolbox cache both make
// their items here, so that a name gives the same item whichever road it
// came by. Both give names as the storage system reads them, which is their
// native form already, so the name is split where it lies, and the item's
// strings are made from the parts in place, each of its own length (short
// ones need no allocation), without temporaries to move from.
PathItem& EmplaceItem(PathItemBlock& block, ustring_view name, const CanonicalAbsoluteIRI& folder) {
    const std::size_t dot = fl::filesystem::extension_dot(name);
    const std::size_t stemLength = dot == ustring::npos ? name.size() : dot;
    return block.Emplace(name.substr(0, stemLength), name.substr(stemLength), folder);
}

// A listed item with the key that orders it first (see ListedItems).
struct KeyedItem {
    std::uint64_t word;
    const PathItem* item;
};

// Orders `keyed` by word, and items of equal words by PathItemPrecedes.
// The words are put in order by a radix sort over only the bytes in which
// they differ, least significant first: a folder's words differ in a few
// bytes, and a comparison sort's mispredicted branches made it about a
// twentieth of an entry's build. `spare` is room for as many.
void SortByWord(std::span<KeyedItem> keyed, std::span<KeyedItem> spare) {
    std::uint64_t differing = 0;
    for (const KeyedItem& k : keyed) differing |= k.word ^ keyed.front().word;
    std::span<KeyedItem> from = keyed;
    std::span<KeyedItem> to = spare;
    for (unsigned shift = 0; shift != 64; shift += 8) {
        if (((differing >> shift) & 0xFF) == 0) continue;
        const auto digit = [shift](const KeyedItem& k) { return static_cast<std::size_t>((k.word >> shift) & 0xFF); };
        std::array<std::uint32_t, 257> next{};  // counts of each digit, then where its next item goes
        for (const KeyedItem& k : from) ++next[digit(k) + 1];
        for (std::size_t d = 1; d != next.size(); ++d) next[d] += next[d - 1];
        for (const KeyedItem& k : from) to[next[digit(k)]++] = k;
        std::swap(from, to);
    }
    if (from.data() != keyed.data()) std::copy(from.begin(), from.end(), keyed.begin());
    // Equal words are rare: their items are ordered by the full comparison.
    for (auto run = keyed.begin(); run != keyed.end();) {
        const auto end = std::find_if(run + 1, keyed.end(), [&](const KeyedItem& k) { return k.word != run->word; });
        if (end - run > 1)
            std::sort(run, end,
                      [](const KeyedItem& a, const KeyedItem& b) { return PathItemPrecedes(*a.item, *b.item); });
        run = end;
    }
}

// The items of a listing, in the order PathItemLess gives them. They are
// ordered by a key of one word each before anything else is compared: the
// four units of the normalized stem that follow what all the folder's stems
// begin with (names of one folder often share a prefix), packed so that the
// words order as the texts do. Only items with equal words are compared
// whole. Sorting the items' pointers by PathItemLess alone took about an
// eighth of an entry's build: each comparison went through two pointers to
// reach each text.
std::shared_ptr<const PathItemVector> ListedItems(std::span<const ustring_view> names,
                                                  const CanonicalAbsoluteIRI& folder) {
    const auto block = std::make_shared<PathItemBlock>(names.size());
    // The items' keys, then as much room for the sort: on the stack for a
    // folder of usual size, as a heap block here cost as much as the sort.
    boost::container::small_vector<KeyedItem, 2 * 64> keyed(2 * names.size(), boost::container::default_init);
    const std::span<KeyedItem> items(keyed.data(), names.size());
    for (std::size_t i = 0; i != names.size(); ++i) items[i] = {0, &EmplaceItem(*block, names[i], folder)};

    if (!items.empty()) {
        const std::size_t shared =
            SharedStemStart(items, [](const KeyedItem& k) -> ustring_view { return k.item->normalizedStem; });
        for (KeyedItem& k : items) k.word = LeadingUnitsWord(ustring_view(k.item->normalizedStem).substr(shared));
        SortByWord(items, std::span(keyed.data() + names.size(), names.size()));
    }

    PathItemVector sorted;
    sorted.reserve(items.size());
    for (const KeyedItem& k : items) sorted.push_back(PathItemPointer(block, k.item));
    return std::make_shared<const PathItemVector>(std::move(sorted));
}

using WeakEntryMap = tbb::concurrent_hash_map<CanonicalAbsoluteIRI, std::weak_ptr<const IPathEntry>, IRIHashCompare>;

// The map is asked with the IRI as it is, not a canonical copy of it. (Not a
// const map: this release of oneTBB declares such a find non-const.)
PathEntryPointer LockFrom(WeakEntryMap& cache, const AbsoluteIRI& key) {
    std::weak_ptr<const IPathEntry> weak;
    {
        // Copy the weak pointer out and let go of the accessor before
        // locking: a share dropped while the accessor is held could destroy
        // an entry, whose event then needs the same key.
        WeakEntryMap::const_accessor accessor;
        if (!cache.find(accessor, key)) return nullptr;
        weak = accessor->second;
    }
    return weak.lock();
}

void StoreWeak(WeakEntryMap& cache, const CanonicalAbsoluteIRI& key, const PathEntryPointer& entry) {
    WeakEntryMap::accessor accessor;
    cache.insert(accessor, key);
    accessor->second = entry;
}

}  // namespace

void PushChildEntryToCurrentPathEntry(PathEntry::Children& children, const PathEntryPointer& child) {
    PushChildEntryToCurrentPathEntry(children, child, child->GetPathEntryType());
}

void PushChildEntryToCurrentPathEntry(PathEntry::Children& children, const PathEntryPointer& child,
                                      PathEntryType kind) {
    switch (kind) {
    case Package: children.packages.push_back(child); return;
    case Method: children.methods.push_back(child); return;
    case UDDClass: children.uddClasses.push_back(child); return;
    case Private: children.privateEntry = child; return;
    case Resources: children.resourcesEntry = child; return;
    default: FL_DIAG_TERMINATE("Unexpected PathEntry Type.");
    }
}

const std::vector<PathEntryType>& GetValidChildEntryTypesForEntryType(PathEntryType type) {
    static const std::vector<PathEntryType> forMainOrPackage{Package, Method, UDDClass, Private, Resources};
    static const std::vector<PathEntryType> forMethod{UDDClass, Private, Resources};
    static const std::vector<PathEntryType> forUDDClass{Private};
    static const std::vector<PathEntryType> none;
    switch (type) {
    case Main:
    case Package: return forMainOrPackage;
    case Method: return forMethod;
    case UDDClass: return forUDDClass;
    case Private:
    case Resources: return none;
    }
    FL_DIAG_TERMINATE("Received unexpected PathEntry Type");
}

PathEntryType GetFolderEntryType(const Folder& folder) {
    const PathEntryType type = GetPathEntryTypeFromBaseName(folder.getName());
    if (type == Method && folder.hasParent() &&
        GetPathEntryTypeFromBaseName(folder.getIRI().getParent().getName()) == Method)
        return UDDClass;
    return type;
}

PathEntryFactory::PathEntryFactory(std::optional<CanonicalAbsoluteIRI> root,
                                   foundation::storage::vfs::StorageSystemReference storage,
                                   storage::filefolderobserver::IFileFolderObserverFactory& observers,
                                   boost::shared_ptr<foundation::msg_svc::eventmgr::EventMgr> events)
    : installRoot(std::move(root)), storageSystem(std::move(storage)), observerFactory(observers),
      eventManager(std::move(events)) {
    entryDestroyedConnection = eventManager->subscribe(PathEntryWillBeDestroyedEvent::TypeName(),
                                                       [this](const foundation::msg_svc::eventmgr::BaseEvent& event) {
                                                           OnEntryDestroyed(event);
                                                       });
}

PathEntryFactory::~PathEntryFactory() { entryDestroyedConnection.disconnect(); }

void PathEntryFactory::OnEntryDestroyed(const foundation::msg_svc::eventmgr::BaseEvent& event) {
    if (!event.isKindOf(PathEntryWillBeDestroyedEvent::TypeName())) throw std::bad_cast();
    const auto& iri = static_cast<const PathEntryWillBeDestroyedEvent&>(event).GetCanonicalAbsoluteIRI();
    // Erase only an expired key: a live entry of the same folder may have
    // been stored meanwhile.
    for (WeakEntryMap* cache : {&monitoredEntries, &frozenEntries}) {
        WeakEntryMap::accessor accessor;
        if (cache->find(accessor, iri) && accessor->second.expired()) cache->erase(accessor);
    }
}

bool PathEntryFactory::IsUnderInstallRoot(const AbsoluteIRI& iri) const {
    return installRoot && installRoot->isAncestorOf(iri);
}

PathEntryFactory::WeakEntryMap& PathEntryFactory::CacheFor(FolderMonitoringState state) const {
    return state == Frozen ? frozenEntries : monitoredEntries;
}

PathEntryPointer PathEntryFactory::GetPathEntry(const CanonicalAbsoluteIRI& folder) const {
    return GetByCanonicalRoad(folder, IsUnderInstallRoot(folder) ? Frozen : Monitored);
}

PathEntryPointer PathEntryFactory::GetPathEntry(const AbsoluteIRI& folder) const {
    return GetByPlainRoad(folder, IsUnderInstallRoot(folder) ? Frozen : Monitored);
}

PathEntryPointer PathEntryFactory::GetFrozenPathEntry(const CanonicalAbsoluteIRI& folder) const {
    return GetByCanonicalRoad(folder, Frozen);
}

PathEntryPointer PathEntryFactory::GetFrozenPathEntry(const AbsoluteIRI& folder) const {
    return GetByPlainRoad(folder, Frozen);
}

PathEntryPointer PathEntryFactory::CreateUpdatedPathEntry(const CanonicalAbsoluteIRI& folder,
                                                          const IFolderMonitor& monitor) const {
    if (monitor.GetFolderMonitoringState(folder) == Frozen) return GetFrozenPathEntry(folder);
    return GetPathEntry(folder);
}

PathEntryPointer PathEntryFactory::GetMonitoredPathEntry(const AbsoluteIRI& folder,
                                                         const IFolderMonitor& monitor) const {
    PathEntryPointer known = LockFrom(monitoredEntries, folder);
    if (!known) known = LockFrom(frozenEntries, folder);
    const CanonicalAbsoluteIRI canonical =
        known ? known->GetIRI() : Folder(folder, storageSystem).getCanonicalLocation();
    return CreateUpdatedPathEntry(canonical, monitor);
}

PathEntryPointer PathEntryFactory::GetByCanonicalRoad(const CanonicalAbsoluteIRI& folder,
                                                      FolderMonitoringState state) const {
    if (PathEntryPointer cached = LockFrom(CacheFor(state), folder); cached && !cached->IsOutOfDate()) return cached;
    return BuildEntry(Folder(folder, storageSystem), state);
}

PathEntryPointer PathEntryFactory::GetByPlainRoad(const AbsoluteIRI& folder, FolderMonitoringState state) const {
    WeakEntryMap& cache = CacheFor(state);
    if (PathEntryPointer cached = LockFrom(cache, folder)) {
        if (!cached->IsOutOfDate()) return cached;
        return BuildEntry(Folder(cached->GetIRI(), storageSystem), state);
    }
    const Folder named(folder, storageSystem);
    const CanonicalAbsoluteIRI canonical = named.getCanonicalLocation();
    // A name that is canonical already was looked up above, and keeps its
    // Folder, which holds the folder opened by the resolution for the listing.
    if (canonical.getPath() == folder.getPath()) return BuildEntry(named, state);
    if (PathEntryPointer cached = LockFrom(cache, canonical); cached && !cached->IsOutOfDate()) return cached;
    return BuildEntry(Folder(canonical, storageSystem), state);
}

std::unique_ptr<storage::filefolderobserver::IFileFolderObserver> PathEntryFactory::MakeObserver(
    const Folder& folder, FolderMonitoringState state) const {
    if (state == Frozen) return observerFactory.CreateFrozenObserver(folder);
    foundation::core::except::Notification warnings;
    auto observer = observerFactory.CreateObserver(folder, warnings);
    for (const auto& warning : warnings) GiveHostWarning(warning);
    return observer;
}

PathEntry::Children PathEntryFactory::ListChildren(const Folder& folder, const CanonicalAbsoluteIRI& canonical,
                                                   PathEntryType type, FolderMonitoringState state) const {
    PathEntry::Children children;
    const std::vector<PathEntryType>& valid = GetValidChildEntryTypesForEntryType(type);
    if (valid.empty()) return children;  // such a folder's subfolders aren't read at all
    for (const Folder& sub : folder.listFolders(ustring())) {
        const PathEntryType childType = GetFolderEntryType(sub);
        if (std::find(valid.begin(), valid.end(), childType) == valid.end()) continue;
        try {
            const CanonicalAbsoluteIRI childIRI(canonical, sub.getName());
            PathEntryPointer child = state == Frozen ? GetFrozenPathEntry(childIRI) : GetPathEntry(childIRI);
            if (child->GetPathEntryType() != childType) continue;
            if (childType == Package || childType == Method || childType == UDDClass) {
                const ustring name = child->GetIRI().getName();
                if (name.empty() || !qvIsValidOrvName(name.substr(1))) continue;
            }
            PushChildEntryToCurrentPathEntry(children, child);
        } catch (const foundation::storage::vfs::Exception&) {
            // An unreadable subfolder is left out; the parent stands without it.
        }
    }
    return children;
}

PathEntryPointer PathEntryFactory::BuildEntry(const Folder& folder, FolderMonitoringState state) const {
    const CanonicalAbsoluteIRI canonical = folder.getCanonicalLocation();
    // Watched before it is read: the listing then shows every change before
    // the watch, and the observer hears every one after it, with nothing to
    // compare in between.
    auto observer = MakeObserver(folder, state);
    // Sorted already, so the entry takes them as they are.
    std::shared_ptr<const PathItemVector> items = ListedItems(folder.fileNames(), canonical);
    const PathEntryType type = GetFolderEntryType(folder);
    auto entry = PathEntry::Create(PathEntry::SortedParts{.iri = canonical,
                                                          .descriptor = canonical.toString(),
                                                          .entryType = type,
                                                          .children = ListChildren(folder, canonical, type, state),
                                                          .items = std::move(items),
                                                          .pathComparator = folder.getPathComparator(),
                                                          .folderObserver = std::move(observer),
                                                          .eventManager = eventManager});

    StoreWeak(CacheFor(state), canonical, entry);
    if (type == Main && IsUnderInstallRoot(canonical)) {
        std::shared_lock lock(toolboxEntriesLock);
        StoreToolboxEntry(entry);
    }
    return entry;
}

PathEntryPointer PathEntryFactory::GetFrozenEntryFor(const PathEntryPointer& entry) const {
    const CanonicalAbsoluteIRI iri = entry->GetIRI();
    if (PathEntryPointer frozen = LockFrom(frozenEntries, iri); frozen == entry) return entry;

    const Folder folder(iri, storageSystem);
    auto observer = observerFactory.CreateFrozenObserver(folder);
    PathEntry::Children children;
    // Each copy fills the slot its original filled.
    ForEachChildEntry(*entry, [&](const PathEntryPointer& child, PathEntryType kind) {
        PushChildEntryToCurrentPathEntry(children, GetFrozenEntryFor(child), kind);
    });
    // The items themselves are shared with the given entry; nothing is listed.
    return PathEntry::Create(PathEntry::Parts{.iri = iri,
                                              .descriptor = iri.toString(),
                                              .entryType = entry->GetPathEntryType(),
                                              .children = std::move(children),
                                              .items = *entry->GetPathItems(),
                                              .pathComparator = entry->GetPathComparator(),
                                              .folderObserver = std::move(observer),
                                              .eventManager = eventManager});
}

void PathEntryFactory::StoreToolboxEntry(const PathEntryPointer& entry) const {
    StrongEntryMap::accessor accessor;
    toolboxEntries.insert(accessor, entry->GetIRI());
    // The entry it replaces, if any, is released after the accessor.
    PathEntryPointer previous = std::exchange(accessor->second, entry);
    accessor.release();
}

// ---------------------------------------------------------------------------
// The toolbox cache: entries from the file, and the file from the entries.

struct PathEntryFactory::CacheFrame {
    CanonicalAbsoluteIRI iri;
    PathEntry::Children children;
    PathItemVector items;
    PathEntryType entryType;
    PathCacheReader::FolderContents* contents;
    std::size_t nextSubfolder;  // the first of contents->subfolders not built yet
};

namespace {

// A file of the cache: the item of its name, with the kind the file gives.
PathItemPointer MakeCachedItem(const PathCacheReader::FileContents& file, const CanonicalAbsoluteIRI& folder,
                               const std::shared_ptr<PathItemBlock>& block) {
    PathItem& item = EmplaceItem(*block, file.name, folder);
    item.contentKind.store(file.kind == 'C' ? KindC : file.kind == 'N' ? KindN : KindU, std::memory_order_relaxed);
    return PathItemPointer(block, &item);
}

char KindLetter(std::int32_t kind) { return kind == KindC ? 'C' : kind == KindN ? 'N' : 'U'; }

// "Thu Nov 19 04:12:03 2026": local time, English names whatever the
// process's locale.
ustring CacheDateStamp() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    if (!::localtime_r(&now, &local)) throw std::runtime_error("could not convert calendar time to local time");
    std::ostringstream text;
    text.imbue(std::locale(std::locale::classic(), new boost::posix_time::time_facet("%a %b %d %H:%M:%S %Y")));
    text << boost::posix_time::ptime_from_tm(local);
    return fl::i18n::utf8_to_ustring(text.str());
}

// Why the file can't hold `entry` at `depth` (1 for a main folder) and the
// folders below it, or nothing. The format has no escape, and a name ends at
// the first quotation mark; and a reader refuses nesting past its limit.
std::optional<resource_core::BaseMsgID> FindUnwritable(const IPathEntry& entry, std::size_t depth,
                                                       const CanonicalAbsoluteIRI& root) {
    const ustring name = entry.GetIRI().makePathRelativeTo(root);
    if (depth > PathCacheReader::kMaxFolderDepth)
        return MessageIds::CachePath::FolderTooDeep.Message(
            {name, fl::i18n::utf8_to_ustring(std::to_string(PathCacheReader::kMaxFolderDepth))});
    if (name.find(u'"') != ustring::npos) return MessageIds::CachePath::QuotationMarkInName.Message({name});
    for (const auto& item : *entry.GetPathItems())
        if (item->stem.find(u'"') != ustring::npos || item->extension.find(u'"') != ustring::npos)
            return MessageIds::CachePath::QuotationMarkInName.Message({name + u'/' + item->FileName()});
    std::optional<resource_core::BaseMsgID> why;
    ForEachChildEntry(entry, [&](const PathEntryPointer& child, PathEntryType) {
        return (why = FindUnwritable(*child, depth + 1, root)).has_value();
    });
    return why;
}

void WriteCachedEntry(std::ostream& out, const IPathEntry& entry, int depth, const CanonicalAbsoluteIRI& root,
                      const fl::i18n::codecvt_ustring_to_string& toUtf8) {
    out << std::setw(depth + 1) << ""
        << "<D name=\"" << toUtf8(entry.GetIRI().makePathRelativeTo(root)) << "\">\n";
    ForEachChildEntry(entry, [&](const PathEntryPointer& child, PathEntryType) {
        WriteCachedEntry(out, *child, depth + 1, root, toUtf8);
    });
    for (const auto& item : *entry.GetPathItems())
        out << std::setw(depth + 2) << "" << '<' << KindLetter(item->contentKind.load(std::memory_order_relaxed))
            << " name=\"" << toUtf8(item->FileName()) << "\"/>\n";
    out << std::setw(depth + 1) << ""
        << "</D>\n";
}

bool IsFormatFault(const std::exception_ptr& failure) {
    try {
        std::rethrow_exception(failure);
    } catch (const ToolboxCacheWrongFormatException&) {
        return true;
    } catch (...) {
        return false;
    }
}

}  // namespace

PathEntryPointer PathEntryFactory::BuildCachedEntry(PathCacheReader::FolderContents& contents,
                                                    std::vector<CacheFrame>& frames, const CanonicalAbsoluteIRI& root,
                                                    const foundation::storage::vfs::PathComparator& comparator) const {
    const auto open = [&](PathCacheReader::FolderContents& folder) {
        CanonicalAbsoluteIRI iri(root, folder.name);
        // The file is believed: the type comes from the names alone, an "@"
        // folder in an "@" folder being a class of its class. The reader
        // refused a nested folder of a plain name.
        PathEntryType type = GetPathEntryTypeFromBaseName(iri.getName());
        if (type == Method && !frames.empty() && frames.back().entryType == Method) type = UDDClass;
        frames.push_back(CacheFrame{std::move(iri), {}, {}, type, &folder, 0});
    };
    // Depth-first on `frames`, not on the call stack: a file may nest as deep
    // as the reader takes, and a pool thread's stack is small. A frame left
    // from another folder would stand as this one's parent.
    assert(frames.empty());
    open(contents);
    for (;;) {
        CacheFrame& frame = frames.back();
        if (frame.nextSubfolder != frame.contents->subfolders.size()) {
            open(frame.contents->subfolders[frame.nextSubfolder++]);
            continue;
        }
        frame.items.reserve(frame.contents->files.size());
        // One allocation for the folder's items, as a listing makes them.
        const auto block = std::make_shared<PathItemBlock>(frame.contents->files.size());
        for (const auto& file : frame.contents->files) frame.items.push_back(MakeCachedItem(file, frame.iri, block));
        // Nothing is listed: the folder and its frozen observer don't read the disk.
        auto observer = observerFactory.CreateFrozenObserver(Folder(frame.iri, storageSystem));
        auto entry = PathEntry::Create(PathEntry::Parts{.iri = frame.iri,
                                                        .descriptor = frame.iri.toString(),
                                                        .entryType = frame.entryType,
                                                        .children = std::move(frame.children),
                                                        .items = std::move(frame.items),
                                                        .pathComparator = comparator,
                                                        .folderObserver = std::move(observer),
                                                        .eventManager = eventManager});
        StoreWeak(frozenEntries, frame.iri, entry);
        // The top folder's frame is the caller's to pop.
        if (frames.size() == 1) return entry;
        frames.pop_back();
        PushChildEntryToCurrentPathEntry(frames.back().children, entry);
    }
}

void PathEntryFactory::LoadCachedFolder(PathCacheReader::FolderContents& contents, const CanonicalAbsoluteIRI& root,
                                        const foundation::storage::vfs::PathComparator& comparator) const {
    std::vector<CacheFrame> frames;
    PathEntryPointer entry;
    try {
        entry = BuildCachedEntry(contents, frames, root, comparator);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (...) {
        throw ToolboxCacheWrongFormatException();
    }
    frames.pop_back();
    assert(frames.empty());
    // Any top-level folder, whatever its type; the load holds the lock.
    StoreToolboxEntry(entry);
}

void PathEntryFactory::LoadToolboxCache(std::istream& in, const AbsoluteIRI& root) {
    utTicImpl();
    struct StopwatchClose {
        ~StopwatchClose() { utTocImpl("cachepath"); }
    } closeStopwatch;

    const Folder rootFolder(root, storageSystem);
    const CanonicalAbsoluteIRI canonicalRoot = rootFolder.getCanonicalLocation();
    // One rule for every entry of the load.
    const foundation::storage::vfs::PathComparator comparator = rootFolder.getPathComparator();
    fl::i18n::codecvt_string_to_ustring fromUtf8("UTF-8", true);
    PathCacheReader reader(in, fromUtf8);

    // The reader goes on with the next folder while the tasks build.
    tbb::task_group tasks;
    // What the reader made is freed here, on the reader's thread, once the
    // tasks are done: freed by a pool thread, each block went back to the
    // reader's heap arena under the lock that the reader's next allocation
    // took too, and the load ran at little more than the speed of one
    // thread. It costs the file's names held until the load ends.
    std::vector<std::shared_ptr<PathCacheReader::FolderContents>> read;
    std::shared_lock lock(toolboxEntriesLock);
    try {
        reader.ReadFolders([&](std::shared_ptr<PathCacheReader::FolderContents> contents) {
            read.push_back(contents);
            tasks.run([this, contents = std::move(contents), canonicalRoot, &comparator] {
                LoadCachedFolder(*contents, canonicalRoot, comparator);
            });
        });
    } catch (...) {
        // Every folder closed before a fault in the file is still built, so
        // that what was read stays served whatever the pool had started;
        // any other failure (out of memory) stops the tasks not yet begun.
        if (!IsFormatFault(std::current_exception())) tasks.cancel();
        try {
            tasks.wait();
        } catch (...) {
            // The reader's fault is the one reported.
        }
        throw;
    }
    tasks.wait();
}

void PathEntryFactory::WriteToolboxCache(std::ostream& out, const AbsoluteIRI& root,
                                         foundation::core::except::Notification* leftOut) const {
    const fl::i18n::codecvt_ustring_to_string toUtf8("UTF-8", true);
    out << "<Thornfell type=\"Path Cache File\" version=\"2.0\" date=\"" << toUtf8(CacheDateStamp()) << "\">\n";
    const CanonicalAbsoluteIRI canonicalRoot = Folder(root, storageSystem).getCanonicalLocation();
    // Shares are taken during the walk and dropped after it: an entry whose
    // last share went while the map was walked would erase its key under it.
    PathEntryVector mainEntries;
    for (const auto& [iri, weak] : frozenEntries) {
        PathEntryPointer entry = weak.lock();
        if (entry && entry->GetPathEntryType() == Main && canonicalRoot.isAncestorOf(entry->GetIRI()))
            mainEntries.push_back(std::move(entry));
    }
    for (const auto& entry : mainEntries) WriteToolboxCacheFolder(out, *entry, canonicalRoot, toUtf8, leftOut);
    out << "</Thornfell>\n";
}

void WriteToolboxCacheFolder(std::ostream& out, const IPathEntry& entry, const CanonicalAbsoluteIRI& root,
                             const fl::i18n::codecvt_ustring_to_string& toUtf8,
                             foundation::core::except::Notification* leftOut) {
    // Left out whole, so that the folder is listed from the disk like any
    // folder the cache doesn't hold, rather than served without a part.
    if (auto why = FindUnwritable(entry, 1, root)) {
        if (leftOut) leftOut->add(std::move(*why));
        return;
    }
    WriteCachedEntry(out, entry, 0, root, toUtf8);
}

std::shared_ptr<const PathEntryVector> PathEntryFactory::GetToolboxEntries() const {
    if (toolboxEntries.empty()) return std::make_shared<const PathEntryVector>();
    // Exclusive: iterating the map must not meet a concurrent insert.
    std::unique_lock lock(toolboxEntriesLock);
    auto entries = std::make_shared<PathEntryVector>();
    entries->reserve(toolboxEntries.size());
    for (const auto& [iri, entry] : toolboxEntries) entries->push_back(entry);
    return entries;
}

CanonicalAbsoluteIRI PathEntryFactory::GetCanonicalFolderIRI(const AbsoluteIRI& folder) const {
    PathEntryPointer known = LockFrom(monitoredEntries, folder);
    if (!known) known = LockFrom(frozenEntries, folder);
    if (known) return known->GetIRI();

    // Only the main folder is resolved by the storage system; the names of
    // special folders below it pass as they are.
    std::vector<ustring> names;
    AbsoluteIRI main = folder;
    while (GetPathEntryTypeFromBaseName(main.getName()) != Main && main.hasParent()) {
        names.push_back(main.getName());
        main = main.getParent();
    }
    const CanonicalAbsoluteIRI canonicalMain = Folder(main, storageSystem).getCanonicalLocation();
    if (names.empty()) return canonicalMain;
    ustring relative;
    for (auto it = names.rbegin(); it != names.rend(); ++it) {
        if (!relative.empty()) relative += fl::filesystem::upath::constant::GENERIC_PATHNAME_SEPARATOR;
        relative += *it;
    }
    return CanonicalAbsoluteIRI(canonicalMain, relative);
}

CanonicalAbsoluteIRI PathEntryFactory::GetCanonicalFileIRI(const AbsoluteIRI& file) const {
    return CanonicalAbsoluteIRI(GetCanonicalFolderIRI(file.getParent()), file.getName());
}

namespace {

// The factory of the process: made once, on first use, in the process scope
// of the state store.
struct PathEntryFactoryState {
    std::once_flag once;
    std::unique_ptr<IPathEntryFactory> factory;
};

}  // namespace

IPathEntryFactory& GetPathEntryFactory() {
    using ProcessStore = foundation::usm::Detail<foundation::usm::scope::Process>;
    static const foundation::usm::SlotID id = ProcessStore::getNextID(typeid(PathEntryFactoryState));
    auto& state =
        ProcessStore::findOrInsert<PathEntryFactoryState>(id, [] { return std::make_unique<PathEntryFactoryState>(); });
    std::call_once(state.once, [&state] {
        auto storage = OrvianStorageSystem::GetStorageSystemReference();
        auto events = ovutil::eventmgr::createLocalEventMgr(boost::none);
        auto& observers = storage::filefolderobserver::GetFileFolderObserverFactory(storage);
        state.factory =
            std::make_unique<PathEntryFactory>(InstallRootFromInstallPath(), storage, observers, std::move(events));
    });
    return *state.factory;
}

}  // namespace Thornfell::PathManagement
