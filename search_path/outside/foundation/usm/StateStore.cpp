#include "foundation/usm/StateStore.hpp"

#include <atomic>

namespace foundation::usm {
namespace detail {

namespace {
thread_local Store* tlsCurrentQvmStore = nullptr;
}

void* Store::find(SlotID id) const {
    std::lock_guard lock(mutex_);
    for (const auto& [slot, object] : slots_)
        if (slot == id) return object.get();
    return nullptr;
}

void* Store::insertIfEmpty(SlotID id, const std::function<std::shared_ptr<void>()>& make) {
    std::lock_guard lock(mutex_);
    for (const auto& [slot, object] : slots_)
        if (slot == id && object) return object.get();
    std::shared_ptr<void> object = make();
    void* raw = object.get();
    slots_.emplace_back(id, std::move(object));
    return raw;
}

void Store::clear() {
    // Objects may reach the store while they are destroyed (an object that
    // asks for another slot in its destructor), so take them out one by one,
    // newest first, and destroy each without the lock.
    for (;;) {
        std::shared_ptr<void> victim;
        {
            std::lock_guard lock(mutex_);
            if (slots_.empty()) return;
            victim = std::move(slots_.back().second);
            slots_.pop_back();
        }
        victim.reset();
    }
}

Store& processStore() {
    // Deliberately leaked: the process store must outlive every static that
    // may still reach it while the process ends.
    static Store* store = new Store;
    return *store;
}

Store* currentQvmStore() { return tlsCurrentQvmStore; }

SlotID nextSlotID(const std::type_info&) {
    static std::atomic<SlotID> next{1};
    return next.fetch_add(1);
}

void setCurrentQvmStore(Store* store) { tlsCurrentQvmStore = store; }

}  // namespace detail

EngineInstance::EngineInstance() : store_(std::make_unique<detail::Store>()) {}

EngineInstance::~EngineInstance() {
    // Objects of the instance may need the instance while they end (a factory
    // joining its thread, a manager publishing its last event), so the
    // instance is current during its own teardown.
    MakeCurrent current(*this);
    store_->clear();
}

EngineInstance::MakeCurrent::MakeCurrent(EngineInstance& instance) : previous_(detail::currentQvmStore()) {
    detail::setCurrentQvmStore(instance.store_.get());
}

EngineInstance::MakeCurrent::~MakeCurrent() { detail::setCurrentQvmStore(previous_); }

}  // namespace foundation::usm
