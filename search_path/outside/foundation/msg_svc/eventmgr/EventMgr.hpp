#pragma once
// The event bus.
//
// subscribe(name, callback) connects a callback to a type name, or to a name
// made by mangleEvent(type, level). publish(event, mode) delivers the event to
// every subscriber whose name it is a kind of:
//   mode 0: now, on the publishing thread;
//   mode 1: on a bus that holds (the local bus of the folder observers), the
//           event waits until deliverHeld(); on any other bus, now.
// Any thread may subscribe, publish and disconnect. Exceptions of a callback
// reach the publisher.
#include "foundation/msg_svc/eventmgr/BaseEvent.hpp"

#include <boost/shared_ptr.hpp>
#include <boost/signals2/connection.hpp>

#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace foundation::msg_svc::eventmgr {

class ScopedConnection {
public:
    ScopedConnection() = default;
    explicit ScopedConnection(boost::signals2::connection connection) : connection_(connection) {}
    ScopedConnection(ScopedConnection&&) = default;
    ScopedConnection& operator=(ScopedConnection&&) = default;
    ScopedConnection(const ScopedConnection&) = delete;
    ScopedConnection& operator=(const ScopedConnection&) = delete;
    ~ScopedConnection() = default;  // scoped_connection disconnects

    bool isEmpty() const { return !connection_.connected(); }
    // "connected", "disconnected" or "empty": for diagnostics.
    std::string getConnectionStatus() const;
    void disconnect() { connection_.disconnect(); }

private:
    boost::signals2::scoped_connection connection_;
};

class EventMgr {
public:
    using Callback = std::function<void(const BaseEvent&)>;

    explicit EventMgr(bool holdsMode1Events = false);
    ~EventMgr();
    EventMgr(const EventMgr&) = delete;
    EventMgr& operator=(const EventMgr&) = delete;

    ScopedConnection subscribe(const std::string& name, Callback callback);
    void publish(const boost::shared_ptr<BaseEvent>& event, int mode);
    // Delivers the held events in the order they were published; returns how
    // many. Events published meanwhile by subscribers are delivered too.
    std::size_t deliverHeld();
    std::size_t heldCount() const;
    bool holdsMode1Events() const { return holdsMode1_; }

private:
    struct Channel;
    void deliver(const BaseEvent& event);

    const bool holdsMode1_;
    mutable std::mutex mutex_;
    std::map<std::string, std::shared_ptr<Channel>> channels_;
    std::deque<boost::shared_ptr<BaseEvent>> held_;
};

boost::shared_ptr<EventMgr> createEventMgr();
// The bus of the engine instance current on this thread, made on first use.
// The working folder publishes its changes here.
boost::shared_ptr<EventMgr> getEngineEventMgr();

}  // namespace foundation::msg_svc::eventmgr
