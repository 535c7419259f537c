#include "PathTestHelpers.hpp"

#include "PathEntry.hpp"

#include <functional>

namespace tfsp::test {

namespace {

const char* const kExtensions[] = {".tf", ".tfc", ".tfx", ""};
const char* const kCaseVariants[] = {"Foo", "foo", "FOO"};
const char* const kMainNames[] = {"util", "Util", "lib", "pkg1", "cls1"};

} // namespace

RandomTree::RandomTree(std::uint64_t seed, int mainFolders) : random(seed) {
    for (int i = 0; i < mainFolders; ++i) {
        // Main folders share base names across parents, so that partial
        // pathnames have many candidates; "pkg1" and "cls1" also name the
        // package and class folders.
        std::uniform_int_distribution<int> pick(0, 7);
        const int name = pick(random);
        const std::string base = name < 5 ? kMainNames[name] : "d" + std::to_string(i);
        mains.push_back("g" + std::to_string(i) + "/" + base);
        tree.folder(mains.back());
        Fill(mains.back(), FolderKind::Main, 0);
    }
    for (const char* stem : {"common", "Foo", "foo", "FOO", "fOO", "absent", "pkg1", "u3"}) stems.push_back(Utf16(stem));
    for (int k = 0; k < 12; ++k) stems.push_back(Utf16("s" + std::to_string(k)));
}

void RandomTree::Fill(const std::string& folder, FolderKind kind, int depth) {
    auto chance = [this](double p) { return std::uniform_real_distribution<double>(0, 1)(random) < p; };
    auto extension = [this] { return std::string(kExtensions[random() % 4]); };
    tree.file(folder + "/common" + extension());
    if (chance(0.7)) tree.file(folder + "/" + kCaseVariants[random() % 3] + extension());
    if (chance(0.3)) tree.file(folder + "/" + kCaseVariants[random() % 3] + extension());
    for (int i = 0, files = 1 + static_cast<int>(random() % 3); i < files; ++i) {
        const std::string stem = chance(0.5) ? "s" + std::to_string(random() % 12) : "u" + std::to_string(random() % 1000);
        tree.file(folder + "/" + stem + extension());
    }
    if (kind == FolderKind::Leaf || depth > 2) return;
    const std::string k = std::to_string(1 + random() % 2);
    const bool mainOrPackage = kind == FolderKind::Main || kind == FolderKind::Package;
    if (mainOrPackage && chance(0.4)) Fill(folder + "/+pkg" + k, FolderKind::Package, depth + 1);
    if (mainOrPackage && chance(0.35)) Fill(folder + "/@cls" + k, FolderKind::Class, depth + 1);
    if (kind == FolderKind::Class && chance(0.4)) Fill(folder + "/@udd" + k, FolderKind::UDDClass, depth + 1);
    if (chance(0.3)) Fill(folder + "/private", FolderKind::Leaf, depth + 1);
    if (kind == FolderKind::Main && chance(0.2)) Fill(folder + "/resources", FolderKind::Leaf, depth + 1);
}

PathEntryVector RandomTree::MainEntries() const {
    PathEntryVector entries;
    for (const std::string& main : mains) entries.push_back(GetPathEntryFactory().GetFrozenPathEntry(tree.iri(main)));
    return entries;
}

std::vector<WalkedEntry> WalkInPathOrder(const PathEntryVector& mainEntries) {
    std::vector<WalkedEntry> walked;
    std::function<void(const PathEntryPointer&, const PathEntryPointer&, std::size_t)> visit =
        [&](const PathEntryPointer& entry, const PathEntryPointer& parent, std::size_t mainIndex) {
            walked.push_back({entry, parent, mainIndex});
            for (const PathEntryList& children :
                 {entry->GetPackageEntries(), entry->GetMethodEntries(), entry->GetUDDClassEntries()})
                for (const PathEntryPointer& child : *children) visit(child, entry, mainIndex);
            if (auto child = entry->GetPrivateEntry()) visit(child, entry, mainIndex);
            if (auto child = entry->GetResourcesEntry()) visit(child, entry, mainIndex);
        };
    for (std::size_t i = 0; i < mainEntries.size(); ++i) visit(mainEntries[i], nullptr, i);
    return walked;
}

PathEntryPointer MemoryEntry(const ustring& location, PathEntryType type, const std::vector<ustring>& stems,
                             PathEntryPointer privateChild) {
    const foundation::storage::vfs::CanonicalAbsoluteIRI iri(foundation::storage::vfs::toAbsoluteIRI(u"file", location),
                                                             ustring());
    PathItemVector items;
    for (const ustring& stem : stems)
        items.push_back(std::make_shared<const PathItem>(ustring(stem), ustring(u".tf"),
                                                         foundation::storage::vfs::CanonicalAbsoluteIRI(iri)));
    return std::make_shared<const PathEntry>(iri, iri.toString(), type, PathEntryVector(), PathEntryVector(),
                                             PathEntryVector(), std::move(privateChild), nullptr, std::move(items),
                                             foundation::storage::vfs::PathComparator(), nullptr, nullptr);
}

bool LocationEndsWith(const IPathEntry& entry, const std::vector<ustring>& parts, FilenameMatchingPolicy policy) {
    std::vector<ustring> components;
    const ustring path = entry.GetIRI().getPath();
    for (std::size_t start = 1; start < path.size();) {
        const std::size_t stop = std::min(path.find(u'/', start), path.size());
        components.push_back(path.substr(start, stop - start));
        start = stop + 1;
    }
    if (parts.size() > components.size()) return false;
    for (std::size_t i = 0; i < parts.size(); ++i)
        if (!SameName(components[components.size() - parts.size() + i], parts[i], policy)) return false;
    return true;
}

} // namespace tfsp::test
