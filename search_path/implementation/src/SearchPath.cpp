#include "tfsearch_path/SearchPath.hpp"

#include "SearchPathSession.hpp"
#include "fl/i18n/MessageCatalog.hpp"
#include "foundation/storage/vfs/StorageException.hpp"
#include "foundation/usm/StateStore.hpp"
#include "thornfell/CurrentWorkingFolder.hpp"
#include "tfsearch_path/NameLookup.hpp"
#include "tfsearch_path/PathFunctions.hpp"
#include "tfsearch_path/PathManagerEvents.hpp"
#include "tfsearch_path/PathManagerExceptions.hpp"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <stdexcept>

namespace Thornfell::PathManagement {

namespace {

using foundation::storage::vfs::AbsoluteIRI;
using foundation::usm::EngineInstance;

std::filesystem::path PathOfIRI(const AbsoluteIRI& iri) {
    return std::filesystem::path(fl::i18n::ustring_to_utf8(GetStringFromIRI(iri)));
}

// Made as one string and then one path: a path splits itself into its
// components when made, which is most of what a hit costs here, and the
// pieces are converted straight into that string.
std::filesystem::path PathOfItem(const PathItem& item) {
    const ustring& folder = item.folderIRI.getPath();
    std::string text;
    // Room for the names as they mostly are, ASCII.
    text.reserve(folder.size() + 1 + item.stem.size() + item.extension.size());
    fl::i18n::append_utf8(folder, text);
    if (text.empty() || text.back() != '/') text += '/';
    fl::i18n::append_utf8(item.stem, text);
    fl::i18n::append_utf8(item.extension, text);
    return std::filesystem::path(std::move(text));
}

// Relative folders are taken against the process's working folder; "." and
// ".." are taken out by name, as a shell does, and so is a separator at the end.
AbsoluteIRI IRIOfFolder(const std::filesystem::path& folder) {
    if (folder.empty()) throw std::invalid_argument("an empty folder name");
    std::filesystem::path absolute = std::filesystem::absolute(folder).lexically_normal();
    if (!absolute.has_filename() && absolute.has_relative_path()) absolute = absolute.parent_path();
    return GetIRIFromString(fl::i18n::utf8_to_ustring(absolute.native()));
}

std::vector<std::filesystem::path> PathsOfEntries(const SharedEntryVector& entries) {
    std::vector<std::filesystem::path> paths;
    if (!entries) return paths;
    paths.reserve(entries->size());
    for (const PathEntryPointer& entry : *entries) paths.push_back(PathOfIRI(entry->GetIRI()));
    return paths;
}

}  // namespace

struct TFSP_LOCAL Subscription::State {
    // A connected callback. `active` turns false when its Subscription ends,
    // so that a delivery already under way on another thread skips it.
    struct Slot {
        explicit Slot(std::function<void(const PathChange&)> f) : callback(std::move(f)) {}
        const std::function<void(const PathChange&)> callback;
        std::atomic<bool> active{true};
    };
    struct Registry {
        std::mutex mutex;
        std::vector<std::shared_ptr<Slot>> slots;
    };

    std::weak_ptr<Registry> registry;
    std::shared_ptr<Slot> slot;
};

Subscription::Subscription(std::unique_ptr<State> state) : state_(std::move(state)) {}
Subscription::Subscription() noexcept = default;
Subscription::Subscription(Subscription&&) noexcept = default;

Subscription& Subscription::operator=(Subscription&& other) noexcept {
    Subscription ending(std::move(*this));
    state_ = std::move(other.state_);
    return *this;
}

Subscription::~Subscription() {
    if (!state_) return;
    state_->slot->active = false;
    if (const auto registry = state_->registry.lock()) {
        std::lock_guard lock(registry->mutex);
        std::erase(registry->slots, state_->slot);
    }
}

// The facade's state. Changes run one at a time under `mutex`, with the
// instance current; what Find reads sits apart under `stateMutex`, which is
// held only for a copy, so that a lookup never waits for a change.
struct TFSP_LOCAL SearchPath::Impl : std::enable_shared_from_this<SearchPath::Impl> {
    using SubscriptionSlot = Subscription::State::Slot;
    using SubscriptionRegistry = Subscription::State::Registry;

    explicit Impl(SearchPathOptions options);
    ~Impl();

    // Runs `change` serialised and with the instance current, then hands the
    // changes it made to the callbacks, with no lock held.
    template <class Change>
    auto Run(Change&& change) -> decltype(change()) {
        const std::shared_ptr<Impl> self = shared_from_this();  // a callback may end the SearchPath
        std::vector<PathChange> made;
        std::exception_ptr failure;
        std::optional<decltype(change())> result;
        {
            std::lock_guard lock(mutex);
            EngineInstance::MakeCurrent current(engine);
            try {
                result.emplace(change());
            } catch (...) {
                failure = std::current_exception();  // what it changed before it failed is still reported
            }
            std::lock_guard stateLock(stateMutex);
            made.swap(pending);
        }
        Deliver(made);
        if (failure) std::rethrow_exception(failure);
        return std::move(*result);
    }

    // A change asked for by one of this path's own callbacks can't be made:
    // the change that called them is still being reported.
    void RefuseInCallback() const {
        if (std::find(delivering().begin(), delivering().end(), this) != delivering().end())
            throw RecursivePathChangeException();
    }

    void Deliver(const std::vector<PathChange>& changes) {
        if (changes.empty()) return;
        delivering().push_back(this);
        struct Unmark {
            const Impl* impl;
            ~Unmark() { std::erase(delivering(), impl); }
        } unmark{this};
        for (const PathChange& change : changes) {
            std::vector<std::shared_ptr<SubscriptionSlot>> slots;
            {
                std::lock_guard lock(subscribers->mutex);
                slots = subscribers->slots;
            }
            for (const auto& slot : slots)
                if (slot->active) slot->callback(change);
        }
    }

    // Called inside every change of the manager, on the changing thread.
    void OnPathChange(const PathChangeEvent& event) {
        if (event.GetStage() != PathChangeEvent::AfterChange) return;
        bool anyone;
        {
            std::lock_guard lock(subscribers->mutex);
            anyone = !subscribers->slots.empty();
        }
        std::optional<PathChange> change;
        if (anyone) {
            const PathChangeEvent::Differences& differences = event.GetSearchPathDifferences();
            change = PathChange{PathsOfEntries(differences.added), PathsOfEntries(differences.removed),
                                PathsOfEntries(differences.reordered), PathsOfEntries(differences.refreshed)};
        }
        PublishSnapshot(event.GetManager().GetSearchPath(), std::move(change));
    }

    void PublishSnapshot(std::shared_ptr<const IPath> path, std::optional<PathChange> change = {}) {
        std::lock_guard lock(stateMutex);
        if (change) pending.push_back(std::move(*change));
        ++changeCount;
        if (path == snapshot) return;
        snapshot = std::move(path);
        version.fetch_add(1, std::memory_order_release);
    }

    std::uint64_t ChangeCount() const {
        std::lock_guard lock(stateMutex);
        return changeCount;
    }

    // A process whose working folder has gone keeps the folder it had.
    void FollowWorkingFolder() {
        if (!options.followWorkingFolder) return;
        std::error_code error;
        const std::filesystem::path folder = std::filesystem::current_path(error);
        if (error) return;
        auto& workingFolder = current_working_folder::GetCurrentWorkingFolder();
        try {
            if (PathOfIRI(workingFolder.get().getCanonicalLocation()) != folder) workingFolder.set(IRIOfFolder(folder));
        } catch (const foundation::storage::vfs::Exception&) {
        }
    }

    IMainSearchPathManager& Manager() { return session->GetManager(); }

    // The snapshot of this thread for `owner`, as of the latest change: read
    // without a lock or a shared write while no change came since this thread
    // last asked. The cache is keyed by the owner's control block, which
    // outlives every weak pointer to it, so a SearchPath made later at the
    // same address never meets the entry of one that ended.
    static const std::shared_ptr<const IPath>& CurrentSnapshot(const std::shared_ptr<Impl>& owner) {
        struct Cached {
            std::weak_ptr<Impl> owner;
            std::uint64_t version;
            std::shared_ptr<const IPath> path;
        };
        thread_local std::vector<Cached> cache;
        const std::uint64_t version = owner->version.load(std::memory_order_acquire);
        for (const Cached& cached : cache)
            if (!cached.owner.owner_before(owner) && !owner.owner_before(cached.owner))
                if (cached.version == version) return cached.path;
        // A miss: drop what this thread holds of paths that ended or moved on.
        std::erase_if(cache, [&](const Cached& cached) {
            return cached.owner.expired() || (!cached.owner.owner_before(owner) && !owner.owner_before(cached.owner));
        });
        std::lock_guard lock(owner->stateMutex);
        cache.push_back({owner, owner->version.load(std::memory_order_relaxed), owner->snapshot});
        return cache.back().path;
    }

    static Impl& Of(const std::shared_ptr<Impl>& impl) {
        if (!impl) throw std::logic_error("a SearchPath that was moved from");
        return *impl;
    }

    class GuardedSession;

    static std::vector<const Impl*>& delivering() {
        thread_local std::vector<const Impl*> impls;
        return impls;
    }

    const SearchPathOptions options;
    const std::vector<ustring> extensions;

    std::mutex mutex;
    EngineInstance engine;
    std::unique_ptr<ISearchPathSession> session;
    foundation::msg_svc::eventmgr::ScopedConnection connection;
    std::unique_ptr<ISearchPathSession> guardedSession;

    mutable std::mutex stateMutex;
    std::shared_ptr<const IPath> snapshot;
    std::atomic<std::uint64_t> version{0};
    std::uint64_t changeCount = 0;  // changes of the manager seen
    std::vector<PathChange> pending;

    const std::shared_ptr<SubscriptionRegistry> subscribers = std::make_shared<SubscriptionRegistry>();
};

namespace {

std::vector<ustring> ExtensionsOf(const SearchPathOptions& options) {
    std::vector<ustring> extensions;
    for (const std::string& extension : options.extensions) extensions.push_back(fl::i18n::utf8_to_ustring(extension));
    return extensions;
}

}  // namespace

// The session as Session() hands it out: each call serialised with the
// facade's and run with the instance current.
class SearchPath::Impl::GuardedSession final : public ISearchPathSession {
public:
    explicit GuardedSession(Impl& impl) : impl_(impl) {}

    IMainSearchPathManager& GetManager() override {
        return *impl_.Run([&]() -> IMainSearchPathManager* { return &impl_.Manager(); });
    }
    void EndManager() override { throw std::logic_error("a SearchPath's manager ends with the SearchPath"); }
    OrvianComponents::IModularPackageRegistry& GetPackageRegistry() override {
        return impl_.session->GetPackageRegistry();
    }
    foundation::core::except::Notification SetPathFolders(const FolderRange& folders) override {
        impl_.RefuseInCallback();
        return impl_.Run([&] { return impl_.session->SetPathFolders(folders); });
    }
    foundation::core::except::Notification SetPathFolders(const CanonicalFolderRange& folders) override {
        impl_.RefuseInCallback();
        return impl_.Run([&] { return impl_.session->SetPathFolders(folders); });
    }
    void ChangeWorkingFolder(const AbsoluteIRI& folder) override {
        impl_.RefuseInCallback();
        impl_.Run([&] {
            impl_.session->ChangeWorkingFolder(folder);
            return true;
        });
    }

private:
    Impl& impl_;
};

SearchPath::Impl::Impl(SearchPathOptions givenOptions)
    : options(std::move(givenOptions)), extensions(ExtensionsOf(options)) {
    EngineInstance::MakeCurrent current(engine);
    session = CreateSearchPathSessionOfCurrentInstance();
    connection = foundation::msg_svc::eventmgr::getEngineEventMgr()->subscribe(
        PathChangeEvent::TypeName(), [this](const foundation::msg_svc::eventmgr::BaseEvent& event) {
            OnPathChange(static_cast<const PathChangeEvent&>(event));
        });
    FollowWorkingFolder();
    IMainSearchPathManager& manager = Manager();
    if (!options.followWorkingFolder) manager.SetCurrentFolderPolicy(NoCurrentFolder);
    PublishSnapshot(manager.GetSearchPath());
    pending.clear();
    guardedSession = std::make_unique<GuardedSession>(*this);
}

SearchPath::Impl::~Impl() {
    // The manager publishes and releases what it keeps in the instance's
    // store as it ends, so the instance is current until then.
    EngineInstance::MakeCurrent current(engine);
    connection.disconnect();
    session.reset();
}

SearchPath::SearchPath(SearchPathOptions options) : impl_(new Impl(std::move(options))) {}
SearchPath::SearchPath(SearchPath&&) noexcept = default;
SearchPath& SearchPath::operator=(SearchPath&&) noexcept = default;
SearchPath::~SearchPath() = default;

std::vector<std::string> SearchPath::SetFolders(std::span<const std::filesystem::path> folders) {
    Impl& impl = Impl::Of(impl_);
    impl.RefuseInCallback();
    return impl.Run([&] {
        std::vector<std::string> messages;
        std::vector<AbsoluteIRI> iris;
        for (const std::filesystem::path& folder : folders) {
            try {
                iris.push_back(IRIOfFolder(folder));
            } catch (const std::exception& e) {
                messages.push_back(folder.native() + ": " + e.what());
            }
        }
        impl.FollowWorkingFolder();
        for (const auto& message : impl.session->SetPathFolders(FolderRange(iris)))
            messages.push_back(fl::i18n::MessageCatalog::formatUtf8(message));
        return messages;
    });
}

std::vector<std::filesystem::path> SearchPath::Folders() const {
    Impl& impl = Impl::Of(impl_);
    return impl.Run([&] {
        std::vector<std::filesystem::path> folders;
        for (const auto& folder : *impl.Manager().GetPathFolders()) folders.push_back(PathOfIRI(folder));
        return folders;
    });
}

std::optional<std::filesystem::path> SearchPath::Find(std::string_view name) const {
    Impl::Of(impl_);
    const Impl& impl = *impl_;
    // Borrowed from this thread's snapshot, which stays while it is read: a
    // hit takes no share, so threads that find at once write nothing shared.
    const FoundItemView found = LookUpFirstName(*Impl::CurrentSnapshot(impl_), fl::i18n::utf8_to_ustring(name),
                                                impl.extensions, impl.options.policy);
    if (!found) return std::nullopt;
    return PathOfItem(*found.item);
}

std::vector<std::filesystem::path> SearchPath::FindAll(std::string_view name) const {
    Impl::Of(impl_);
    const Impl& impl = *impl_;
    const std::vector<FoundItem> found = LookUpName(*Impl::CurrentSnapshot(impl_), fl::i18n::utf8_to_ustring(name),
                                                    impl.extensions, impl.options.policy, true);
    std::vector<std::filesystem::path> paths;
    paths.reserve(found.size());
    for (const FoundItem& item : found) paths.push_back(PathOfItem(*item.GetPathItem()));
    return paths;
}

bool SearchPath::Refresh() {
    Impl& impl = Impl::Of(impl_);
    impl.RefuseInCallback();
    return impl.Run([&] {
        const std::uint64_t before = impl.ChangeCount();
        impl.FollowWorkingFolder();
        // The manager's answer says whether the refresh was allowed, not
        // whether it changed anything: a change is what it reports.
        impl.Manager().Refresh(TrustObservers);
        return impl.ChangeCount() != before;
    });
}

Subscription SearchPath::OnChange(std::function<void(const PathChange&)> callback) {
    Impl& impl = Impl::Of(impl_);
    auto slot = std::make_shared<Subscription::State::Slot>(std::move(callback));
    {
        std::lock_guard lock(impl.subscribers->mutex);
        impl.subscribers->slots.push_back(slot);
    }
    return Subscription(
        std::unique_ptr<Subscription::State>(new Subscription::State{impl.subscribers, std::move(slot)}));
}

std::shared_ptr<const IPath> SearchPath::Snapshot() const {
    Impl::Of(impl_);
    return Impl::CurrentSnapshot(impl_);
}

ISearchPathSession& SearchPath::Session() { return *Impl::Of(impl_).guardedSession; }

}  // namespace Thornfell::PathManagement
