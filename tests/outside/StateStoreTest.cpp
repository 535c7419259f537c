#include "foundation/usm/StateStore.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using foundation::usm::EngineInstance;
using QvmStore = foundation::usm::Detail<foundation::usm::scope::Qvm>;
using ProcessStore = foundation::usm::Detail<foundation::usm::scope::Process>;

struct Named {
    Named(std::string name, std::vector<std::string>* log) : name(std::move(name)), log(log) {}
    ~Named() {
        if (log) log->push_back(name);
    }
    std::string name;
    std::vector<std::string>* log;
};

std::unique_ptr<Named> named(const std::string& name, std::vector<std::string>* log = nullptr) {
    return std::make_unique<Named>(name, log);
}

TEST(StateStore, EngineInstancesKeepTheirOwnSlots) {
    const auto id = QvmStore::getNextID(typeid(Named));
    EngineInstance first, second;
    {
        EngineInstance::MakeCurrent current(first);
        QvmStore::findOrInsert<Named>(id, [] { return named("first"); });
        {
            EngineInstance::MakeCurrent nested(second);
            EXPECT_EQ(QvmStore::find<Named>(id), nullptr);
            // Insert into an empty slot takes the object; into a full one
            // leaves the caller its own.
            auto kept = named("second"), other = named("other");
            Named& inserted = QvmStore::insert(id, kept);
            EXPECT_EQ(&inserted, QvmStore::find<Named>(id));
            EXPECT_EQ(kept, nullptr);
            EXPECT_EQ(QvmStore::insert(id, other).name, "second");
            ASSERT_NE(other, nullptr);
        }
        // The instance current before comes back.
        EXPECT_EQ(QvmStore::findOrFail<Named>(id).name, "first");
    }
    EXPECT_FALSE(QvmStore::isRequiredContextActive());
    EXPECT_THROW(QvmStore::findOrFail<Named>(id), std::logic_error);
}

TEST(StateStore, ObjectsEndNewestFirstAndMayUseTheStoreWhileEnding) {
    std::vector<std::string> log;
    const auto a = QvmStore::getNextID(typeid(Named)), b = QvmStore::getNextID(typeid(Named)),
               late = QvmStore::getNextID(typeid(Named));
    // Asks for another slot while it ends: that one is made then, and ends
    // too before the store is gone.
    struct Reaching {
        Reaching(foundation::usm::SlotID late, std::vector<std::string>* log) : late(late), log(log) {}
        foundation::usm::SlotID late;
        std::vector<std::string>* log;
        ~Reaching() {
            log->push_back("reaching");
            EXPECT_TRUE(QvmStore::isRequiredContextActive());
            QvmStore::findOrInsert<Named>(late, [this] { return named("late", log); });
        }
    };
    const auto reaching = QvmStore::getNextID(typeid(Reaching));
    {
        EngineInstance instance;
        EngineInstance::MakeCurrent current(instance);
        QvmStore::findOrInsert<Named>(a, [&] { return named("a", &log); });
        QvmStore::findOrInsert<Reaching>(reaching, [&] { return std::make_unique<Reaching>(late, &log); });
        QvmStore::findOrInsert<Named>(b, [&] { return named("b", &log); });
    }
    EXPECT_EQ(log, (std::vector<std::string>{"b", "reaching", "late", "a"}));
}

TEST(StateStoreThread, ProcessScopeIsEverywhereEngineInstanceIsPerThread) {
    const auto id = ProcessStore::getNextID(typeid(Named));
    ProcessStore::findOrInsert<Named>(id, [] { return named("process"); });
    EngineInstance instance;
    EngineInstance::MakeCurrent current(instance);
    ASSERT_TRUE(QvmStore::isRequiredContextActive());
    std::thread([&] {
        EXPECT_TRUE(ProcessStore::isRequiredContextActive());
        EXPECT_NE(ProcessStore::find<Named>(id), nullptr);
        EXPECT_FALSE(QvmStore::isRequiredContextActive());
        EXPECT_THROW(QvmStore::findOrInsert<Named>(QvmStore::getNextID(typeid(Named)), [] { return named("x"); }),
                     std::logic_error);
    }).join();
    ProcessStore::endAll();
    EXPECT_EQ(ProcessStore::find<Named>(id), nullptr);
}

TEST(StateStoreConcurrent, RacingInsertsKeepOneObject) {
    struct Counted {
        explicit Counted(std::atomic<int>* live) : live(live) { ++*live; }
        ~Counted() { --*live; }
        std::atomic<int>* live;
    };
    constexpr int kThreads = 6;
    std::atomic<int> live{0};
    {
        EngineInstance instance;
        for (int round = 0; round < 20; ++round) {
            const auto id = QvmStore::getNextID(typeid(Counted));
            std::vector<const Counted*> seen(kThreads);
            std::barrier start(kThreads);
            std::vector<std::thread> threads;
            for (int t = 0; t < kThreads; ++t)
                threads.emplace_back([&, t] {
                    EngineInstance::MakeCurrent current(instance);
                    start.arrive_and_wait();
                    seen[t] = &QvmStore::findOrInsert<Counted>(id, [&] { return std::make_unique<Counted>(&live); });
                });
            for (auto& thread : threads) thread.join();
            for (int t = 1; t < kThreads; ++t) EXPECT_EQ(seen[t], seen[0]);
            // The losers' objects are gone; one object per round is kept.
            EXPECT_EQ(live.load(), round + 1);
        }
    }
    EXPECT_EQ(live.load(), 0);
}

}  // namespace
