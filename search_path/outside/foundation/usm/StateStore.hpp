#pragma once
// The state store: every global of the system lives here, in one of two
// scopes.
//
//  - scope::Process: one store for the whole process. Its objects end with
//    Detail<scope::Process>::endAll(): a program calls it before it returns
//    from main, and each test at its start and end, so that nothing leaks
//    from one test to the next.
//  - scope::Qvm: one store for each engine instance. An EngineInstance owns
//    its store; a thread reaches it only while the instance is current on that
//    thread (EngineInstance::MakeCurrent). Pool threads have no instance.
//
// A slot is named by an identifier from getNextID, taken once per process for
// each type. Objects are destroyed in reverse order of insertion when their
// store ends.
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <typeinfo>
#include <vector>

namespace foundation::usm {

namespace scope {
struct Qvm;
struct Process;
}  // namespace scope

using SlotID = std::size_t;

namespace detail {

// One set of slots. Thread safe.
class Store {
public:
    Store() = default;
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;
    ~Store() { clear(); }

    void* find(SlotID id) const;
    // Calls `make` and keeps its object if the slot is empty, all under the
    // store's lock; returns what the slot holds.
    void* insertIfEmpty(SlotID id, const std::function<std::shared_ptr<void>()>& make);
    // Destroys the objects, newest first.
    void clear();

private:
    mutable std::recursive_mutex mutex_;
    std::vector<std::pair<SlotID, std::shared_ptr<void>>> slots_;
};

Store& processStore();
// The store of the engine instance current on this thread, or null.
Store* currentQvmStore();
void setCurrentQvmStore(Store* store);
SlotID nextSlotID(const std::type_info& type);

template <class Scope>
Store* storeFor();
template <>
inline Store* storeFor<scope::Process>() {
    return &processStore();
}
template <>
inline Store* storeFor<scope::Qvm>() {
    return currentQvmStore();
}

inline Store& requireStore(Store* store) {
    if (!store) throw std::logic_error("no engine instance is current on this thread");
    return *store;
}

}  // namespace detail

template <class Scope>
class Detail {
public:
    // A new slot identifier; callers take one per type, once per process.
    static SlotID getNextID(const std::type_info& type) { return detail::nextSlotID(type); }

    // Whether this thread can reach the store of this scope.
    static bool isRequiredContextActive() { return detail::storeFor<Scope>() != nullptr; }

    template <class T>
    static T* find(SlotID id) {
        detail::Store* store = detail::storeFor<Scope>();
        return store ? static_cast<T*>(store->find(id)) : nullptr;
    }

    template <class T>
    static T& findOrFail(SlotID id) {
        T* found = find<T>(id);
        if (!found) throw std::logic_error("state store slot is empty");
        return *found;
    }

    // Takes the object out of `owner` if the slot is empty. Returns the object
    // the slot holds afterwards; if that is another one, `owner` keeps its own.
    template <class T, class D>
    static T& insert(SlotID id, std::unique_ptr<T, D>& owner) {
        detail::Store& store = detail::requireStore(detail::storeFor<Scope>());
        void* kept = store.insertIfEmpty(id, [&owner]() -> std::shared_ptr<void> {
            D deleter = owner.get_deleter();
            return std::shared_ptr<void>(owner.release(), [deleter](void* p) mutable { deleter(static_cast<T*>(p)); });
        });
        return *static_cast<T*>(kept);
    }

    template <class T>
    static T& findOrInsert(SlotID id, const std::function<std::unique_ptr<T>()>& make) {
        if (T* found = find<T>(id)) return *found;
        std::unique_ptr<T> made = make();
        return insert(id, made);
    }

    // Ends every object of the store, newest first; the next use makes them
    // anew. For the process's store: what a program calls before it returns
    // from main, once no other thread uses the library, so that objects with
    // threads of their own (the observers' reader, say) end before static
    // destruction begins.
    static void endAll() { detail::requireStore(detail::storeFor<Scope>()).clear(); }
};

// One engine instance: owns the store of scope::Qvm.
class EngineInstance {
public:
    EngineInstance();
    EngineInstance(const EngineInstance&) = delete;
    EngineInstance& operator=(const EngineInstance&) = delete;
    // Ends the store; the instance must not be current on any thread.
    ~EngineInstance();

    detail::Store& store() { return *store_; }

    // Makes the instance current on the calling thread for the life of this
    // object, and puts back what was current before.
    class MakeCurrent {
    public:
        explicit MakeCurrent(EngineInstance& instance);
        ~MakeCurrent();
        MakeCurrent(const MakeCurrent&) = delete;
        MakeCurrent& operator=(const MakeCurrent&) = delete;

    private:
        detail::Store* previous_;
    };

private:
    std::unique_ptr<detail::Store> store_;
};

}  // namespace foundation::usm
