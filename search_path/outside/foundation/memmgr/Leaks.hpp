#pragma once
// The memory manager's leak snapshot event.
#include <boost/signals2/connection.hpp>

#include <functional>

namespace foundation::memmgr::leaks {

// `listener` is called, on the thread that takes the snapshot, each time a
// leak snapshot is taken; it may block until memory it owns is settled.
boost::signals2::scoped_connection registerListenerForSnapshotEvent(std::function<void()> listener);
// Takes a snapshot: calls every listener and returns when all have returned.
void takeSnapshot();

}  // namespace foundation::memmgr::leaks
