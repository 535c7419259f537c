#include "foundation/msg_svc/eventmgr/EventMgr.hpp"

#include "foundation/usm/StateStore.hpp"
#include "ovutil/LocalEventMgr.hpp"

#include <boost/make_shared.hpp>
#include <boost/signals2/signal.hpp>

#include <map>
#include <vector>

namespace foundation::msg_svc::eventmgr {

const std::string& BaseEvent::getLevel() const {
    static const std::string level = "Level1";
    return level;
}

std::string mangleEvent(const std::string& typeName, const std::string& level) { return typeName + "#" + level; }

std::string ScopedConnection::getConnectionStatus() const {
    if (connection_.connected()) return "connected";
    // A connection that never named a slot compares equal to a default one.
    return connection_ == boost::signals2::connection() ? "empty" : "disconnected";
}

struct EventMgr::Channel {
    std::string type;   // the type name subscribed to
    std::string level;  // empty for a plain subscription
    boost::signals2::signal<void(const BaseEvent&)> signal;

    bool wants(const BaseEvent& event) const {
        return event.isKindOf(type) && (level.empty() || level == event.getLevel());
    }
};

EventMgr::EventMgr(bool holdsMode1Events) : holdsMode1_(holdsMode1Events) {}
EventMgr::~EventMgr() = default;

ScopedConnection EventMgr::subscribe(const std::string& name, Callback callback) {
    std::lock_guard lock(mutex_);
    auto& channel = channels_[name];
    if (!channel) {
        channel = std::make_shared<Channel>();
        if (auto hash = name.rfind('#'); hash != std::string::npos) {
            channel->type = name.substr(0, hash);
            channel->level = name.substr(hash + 1);
        } else {
            channel->type = name;
        }
    }
    return ScopedConnection(channel->signal.connect(std::move(callback)));
}

void EventMgr::deliver(const BaseEvent& event) {
    std::vector<std::shared_ptr<Channel>> targets;
    {
        std::lock_guard lock(mutex_);
        for (const auto& [name, channel] : channels_)
            if (channel->wants(event)) targets.push_back(channel);
    }
    // Without the lock: a callback may subscribe, publish or disconnect.
    for (const auto& channel : targets) channel->signal(event);
}

void EventMgr::publish(const boost::shared_ptr<BaseEvent>& event, int mode) {
    if (!event) return;
    if (mode == 1 && holdsMode1_) {
        std::lock_guard lock(mutex_);
        held_.push_back(event);
        return;
    }
    deliver(*event);
}

std::size_t EventMgr::deliverHeld() {
    std::size_t count = 0;
    for (;;) {
        boost::shared_ptr<BaseEvent> next;
        {
            std::lock_guard lock(mutex_);
            if (held_.empty()) return count;
            next = std::move(held_.front());
            held_.pop_front();
        }
        deliver(*next);
        ++count;
    }
}

std::size_t EventMgr::heldCount() const {
    std::lock_guard lock(mutex_);
    return held_.size();
}

boost::shared_ptr<EventMgr> createEventMgr() { return boost::make_shared<EventMgr>(false); }

namespace {
struct EngineEventMgrState {
    boost::shared_ptr<EventMgr> bus = createEventMgr();
};
struct LocalEventMgrState {
    std::mutex mutex;
    boost::shared_ptr<EventMgr> processBus;
    std::map<ovutil::contextmgr::QvmID, boost::shared_ptr<EventMgr>> instanceBuses;
};
}  // namespace

boost::shared_ptr<EventMgr> getEngineEventMgr() {
    using Store = foundation::usm::Detail<foundation::usm::scope::Qvm>;
    static const auto id = Store::getNextID(typeid(EngineEventMgrState));
    return Store::findOrInsert<EngineEventMgrState>(id, [] { return std::make_unique<EngineEventMgrState>(); }).bus;
}

}  // namespace foundation::msg_svc::eventmgr

namespace ovutil::eventmgr {

boost::shared_ptr<foundation::msg_svc::eventmgr::EventMgr> createLocalEventMgr(
    boost::optional<ovutil::contextmgr::QvmID> instance) {
    using namespace foundation::msg_svc::eventmgr;
    using Store = foundation::usm::Detail<foundation::usm::scope::Process>;
    static const auto id = Store::getNextID(typeid(LocalEventMgrState));
    auto& state = Store::findOrInsert<LocalEventMgrState>(id, [] { return std::make_unique<LocalEventMgrState>(); });
    std::lock_guard lock(state.mutex);
    auto& bus = instance ? state.instanceBuses[*instance] : state.processBus;
    if (!bus) bus = boost::make_shared<EventMgr>(true);
    return bus;
}

}  // namespace ovutil::eventmgr
