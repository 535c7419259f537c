#include "thornfell/InMemoryPackageRegistry.hpp"

#include <algorithm>

namespace Thornfell::PackageRegistry::detail {

void EntrySource::bindIfUnbound(const PackageRegistrar::EntryProvider& provider) {
    std::lock_guard lock(mutex_);
    if (!provider_) provider_ = provider;
}

void EntrySource::bind(PackageRegistrar::EntryProvider provider) {
    std::lock_guard lock(mutex_);
    provider_ = std::move(provider);
}

bool EntrySource::isBound() const {
    std::lock_guard lock(mutex_);
    return static_cast<bool>(provider_);
}

EntryPointer EntrySource::provide(const CanonicalAbsoluteIRI& folder) const {
    PackageRegistrar::EntryProvider provider;
    {
        std::lock_guard lock(mutex_);
        provider = provider_;
    }
    // Called without the lock: making an entry reads the folder.
    return provider ? provider(folder) : nullptr;
}

namespace {

std::shared_ptr<const std::vector<PackageFolderRecord>> makeFolderRecords(const PackageDescription& description) {
    const auto onPath = std::make_shared<const std::set<int>>(std::set<int>{0});
    const auto offPath = std::make_shared<const std::set<int>>(std::set<int>{1});
    auto records = std::make_shared<std::vector<PackageFolderRecord>>();
    records->reserve(1 + description.pathFolders.size() + description.otherFolders.size());
    records->push_back({description.root, onPath});
    for (const auto& folder : description.pathFolders) records->push_back({folder, onPath});
    for (const auto& folder : description.otherFolders) records->push_back({folder, offPath});
    return records;
}

}  // namespace

InMemoryPackage::InMemoryPackage(PackageDescription description, std::shared_ptr<const EntrySource> source)
    : description_(std::move(description)), folders_(makeFolderRecords(description_)), source_(std::move(source)) {}

std::shared_ptr<const std::vector<PackageEntryRecord>> InMemoryPackage::GetEntryRecords() const {
    {
        std::lock_guard lock(entriesMutex_);
        if (entryRecords_) return entryRecords_;
    }
    // Made without the lock, since making an entry reads the folder and may
    // reach back into the registry; two threads may both make them, and the
    // first to finish is kept.
    const bool bound = source_->isBound();
    auto records = std::make_shared<std::vector<PackageEntryRecord>>();
    records->reserve(folders_->size());
    for (const auto& folder : *folders_) records->push_back({source_->provide(folder.folder), folder.kinds});
    // Until a provider is bound the entries are null; keeping those would
    // hide the real entries for good.
    if (!bound) return records;
    std::lock_guard lock(entriesMutex_);
    if (!entryRecords_) entryRecords_ = std::move(records);
    return entryRecords_;
}

EntryPointer InMemoryPackage::GetFolderEntry(const CanonicalAbsoluteIRI& folder) const {
    const auto& folders = *folders_;
    const auto record =
        std::find_if(folders.begin(), folders.end(), [&](const PackageFolderRecord& r) { return r.folder == folder; });
    if (record != folders.end()) return (*GetEntryRecords())[static_cast<std::size_t>(record - folders.begin())].entry;

    if (!description_.root.isAncestorOf(folder)) return nullptr;
    {
        std::lock_guard lock(entriesMutex_);
        if (auto found = otherEntries_.find(folder); found != otherEntries_.end()) return found->second;
    }
    EntryPointer entry = source_->provide(folder);
    if (!entry) return nullptr;
    std::lock_guard lock(entriesMutex_);
    // Another thread may have made one meanwhile; the first one stays.
    return otherEntries_.emplace(folder, std::move(entry)).first->second;
}

std::optional<PropertyValue> InMemoryPackage::GetProperty(std::string_view name) const {
    for (const auto& [key, value] : description_.properties)
        if (key == name) return value;
    return std::nullopt;
}

}  // namespace Thornfell::PackageRegistry::detail
