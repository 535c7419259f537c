#pragma once
// The local bus on which folder observers hear of folders that are to count
// as changed. It holds mode-1 events until it is told to deliver them.
#include "foundation/msg_svc/eventmgr/EventMgr.hpp"

#include <boost/optional.hpp>

#include <cstdint>

namespace ovutil::contextmgr {
using QvmID = std::uint64_t;
}

namespace ovutil::eventmgr {

// With an empty identifier: the one local bus of the process. With an
// identifier: the local bus of that instance. Each is made on first use and
// lives in the process scope of the state store.
boost::shared_ptr<foundation::msg_svc::eventmgr::EventMgr> createLocalEventMgr(
    boost::optional<ovutil::contextmgr::QvmID> instance);

}  // namespace ovutil::eventmgr
