#include "foundation/memmgr/Leaks.hpp"

#include "foundation/usm/StateStore.hpp"

#include <boost/signals2/signal.hpp>

#include <memory>

namespace foundation::memmgr::leaks {

namespace {

struct SnapshotEventState {
    boost::signals2::signal<void()> snapshotTaken;
};

SnapshotEventState& snapshotEventState() {
    using Store = foundation::usm::Detail<foundation::usm::scope::Process>;
    static const auto id = Store::getNextID(typeid(SnapshotEventState));
    return Store::findOrInsert<SnapshotEventState>(id, [] { return std::make_unique<SnapshotEventState>(); });
}

}  // namespace

boost::signals2::scoped_connection registerListenerForSnapshotEvent(std::function<void()> listener) {
    return boost::signals2::scoped_connection(snapshotEventState().snapshotTaken.connect(std::move(listener)));
}

void takeSnapshot() { snapshotEventState().snapshotTaken(); }

}  // namespace foundation::memmgr::leaks
