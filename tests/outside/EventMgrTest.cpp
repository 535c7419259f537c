#include "foundation/msg_svc/eventmgr/EventMgr.hpp"
#include "foundation/usm/StateStore.hpp"
#include "ovutil/LocalEventMgr.hpp"

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

#include <algorithm>
#include <atomic>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

using namespace foundation::msg_svc::eventmgr;

#define TEST_EVENT_TYPE_NAME(name)                                                                                     \
    static const std::string& TypeName() {                                                                             \
        static const std::string typeName = "Test::" name;                                                             \
        return typeName;                                                                                               \
    }

class AnimalEvent : public EventBase<AnimalEvent> {
public:
    explicit AnimalEvent(int id = 0) : id(id) {}
    TEST_EVENT_TYPE_NAME("AnimalEvent")
    int id;
};
class DogEvent : public EventBase<DogEvent, AnimalEvent> {
public:
    using EventBase::EventBase;
    TEST_EVENT_TYPE_NAME("DogEvent")
};
class LoudDogEvent : public EventBase<LoudDogEvent, DogEvent> {
public:
    using EventBase::EventBase;
    TEST_EVENT_TYPE_NAME("LoudDogEvent")
    const std::string& getLevel() const override {
        static const std::string level = "Level2";
        return level;
    }
};

template <class Event>
boost::shared_ptr<BaseEvent> make(int id = 0) {
    return boost::make_shared<Event>(id);
}
int idOf(const BaseEvent& event) { return dynamic_cast<const AnimalEvent&>(event).id; }

TEST(EventMgr, DeliversByTypeBasesAndMangledLevel) {
    EventMgr bus;
    std::vector<std::string> seen;
    auto animals = bus.subscribe(AnimalEvent::TypeName(),
                                 [&](const BaseEvent& e) { seen.push_back("animal:" + e.getTypeName()); });
    auto dogs =
        bus.subscribe(DogEvent::TypeName(), [&](const BaseEvent& e) { seen.push_back("dog:" + e.getTypeName()); });
    int level1 = 0, level2 = 0;
    auto a = bus.subscribe(mangleEvent(DogEvent::TypeName(), "Level1"), [&](const BaseEvent&) { ++level1; });
    auto b = bus.subscribe(mangleEvent(DogEvent::TypeName(), "Level2"), [&](const BaseEvent&) { ++level2; });

    bus.publish(make<AnimalEvent>(), 0);
    EXPECT_EQ(seen, std::vector<std::string>{"animal:Test::AnimalEvent"});
    seen.clear();
    bus.publish(make<LoudDogEvent>(), 0);  // "Level2", and a kind of DogEvent
    std::sort(seen.begin(), seen.end());
    EXPECT_EQ(seen, (std::vector<std::string>{"animal:Test::LoudDogEvent", "dog:Test::LoudDogEvent"}));
    bus.publish(make<DogEvent>(), 0);  // default level "Level1"
    EXPECT_EQ(level1, 1);
    EXPECT_EQ(level2, 1);

    // A clone keeps the most derived type.
    const auto copy = make<DogEvent>(7)->clone();
    EXPECT_EQ(copy->getTypeName(), DogEvent::TypeName());
    EXPECT_EQ(idOf(*copy), 7);
}

TEST(EventMgr, HoldingBusKeepsModeOneEventsInOrderUntilDelivered) {
    EventMgr bus(true);
    std::vector<int> seen;
    auto connection = bus.subscribe(AnimalEvent::TypeName(), [&](const BaseEvent& e) {
        seen.push_back(idOf(e));
        // Published by a subscriber while the held ones go out: delivered in
        // the same run, after them.
        if (idOf(e) == 1) bus.publish(make<AnimalEvent>(4), 1);
    });
    bus.publish(make<AnimalEvent>(1), 1);
    bus.publish(make<AnimalEvent>(2), 1);
    bus.publish(make<AnimalEvent>(9), 0);  // mode 0 is never held
    bus.publish(make<AnimalEvent>(3), 1);
    EXPECT_EQ(seen, std::vector<int>{9});
    EXPECT_EQ(bus.heldCount(), 3u);
    EXPECT_EQ(bus.deliverHeld(), 4u);
    EXPECT_EQ(seen, (std::vector<int>{9, 1, 2, 3, 4}));
    EXPECT_EQ(bus.deliverHeld(), 0u);

    EventMgr ordinary;
    int count = 0;
    auto counting = ordinary.subscribe(AnimalEvent::TypeName(), [&](const BaseEvent&) { ++count; });
    ordinary.publish(make<AnimalEvent>(), 1);
    EXPECT_EQ(count, 1);
    EXPECT_EQ(ordinary.heldCount(), 0u);
}

TEST(EventMgr, ConnectionEndsWithItsScopeOrWhenReplaced) {
    EventMgr bus;
    int first = 0, second = 0;
    {
        ScopedConnection connection = bus.subscribe(AnimalEvent::TypeName(), [&](const BaseEvent&) { ++first; });
        EXPECT_EQ(connection.getConnectionStatus(), "connected");
        bus.publish(make<AnimalEvent>(), 0);
    }
    bus.publish(make<AnimalEvent>(), 0);
    EXPECT_EQ(first, 1);

    ScopedConnection connection = bus.subscribe(AnimalEvent::TypeName(), [&](const BaseEvent&) { ++first; });
    connection = bus.subscribe(AnimalEvent::TypeName(), [&](const BaseEvent&) { ++second; });
    bus.publish(make<AnimalEvent>(), 0);
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 1);
    connection.disconnect();
    EXPECT_TRUE(connection.isEmpty());
    EXPECT_EQ(connection.getConnectionStatus(), "disconnected");
    EXPECT_EQ(ScopedConnection().getConnectionStatus(), "empty");
    bus.publish(make<AnimalEvent>(), 0);
    EXPECT_EQ(second, 1);

    // A callback's exception reaches the publisher.
    connection = bus.subscribe(AnimalEvent::TypeName(), [](const BaseEvent&) { throw std::runtime_error("no"); });
    EXPECT_THROW(bus.publish(make<AnimalEvent>(), 0), std::runtime_error);
}

TEST(EventMgr, EngineBusIsOnePerInstanceAndLocalBusHolds) {
    foundation::usm::EngineInstance first, second;
    boost::shared_ptr<EventMgr> a, b;
    {
        foundation::usm::EngineInstance::MakeCurrent current(first);
        a = getEngineEventMgr();
        EXPECT_EQ(a, getEngineEventMgr());
    }
    {
        foundation::usm::EngineInstance::MakeCurrent current(second);
        b = getEngineEventMgr();
    }
    EXPECT_NE(a, b);
    EXPECT_THROW(getEngineEventMgr(), std::logic_error);

    const auto local = ovutil::eventmgr::createLocalEventMgr(boost::none);
    EXPECT_EQ(local, ovutil::eventmgr::createLocalEventMgr(boost::none));
    EXPECT_NE(local, ovutil::eventmgr::createLocalEventMgr(ovutil::contextmgr::QvmID{1}));
    EXPECT_TRUE(local->holdsMode1Events());
}

TEST(EventMgrConcurrent, SubscribePublishAndDisconnectFromManyThreads) {
    EventMgr bus;
    constexpr int kThreads = 4, kRounds = 300;
    std::atomic<int> missed{0}, perThreadCalls{0}, lasting{0};
    auto lastingConnection = bus.subscribe(AnimalEvent::TypeName(), [&](const BaseEvent&) { ++lasting; });
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            for (int round = 0; round < kRounds; ++round) {
                // Shared, not on the stack: another thread's publish may call
                // the slot a moment after it was disconnected here.
                auto mine = std::make_shared<std::atomic<int>>(0);
                {
                    ScopedConnection connection =
                        bus.subscribe(DogEvent::TypeName(), [mine, &perThreadCalls](const BaseEvent&) {
                            ++*mine;
                            ++perThreadCalls;
                        });
                    bus.publish(make<DogEvent>(t), 0);
                }
                // Its own dog has to be among those that reached it.
                if (mine->load() < 1) ++missed;
                bus.publish(make<DogEvent>(t), 0);
            }
        });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(missed.load(), 0);
    EXPECT_EQ(lasting.load(), kThreads * kRounds * 2);
    // Every per-thread subscription has ended.
    const int callsBefore = perThreadCalls.load();
    bus.publish(make<DogEvent>(), 0);
    EXPECT_EQ(perThreadCalls.load(), callsBefore);
}

}  // namespace
