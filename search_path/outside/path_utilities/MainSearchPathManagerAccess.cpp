// Where the host keeps its manager: a slot of the engine instance.
#include "tfsearch_path/IMainSearchPathManager.hpp"
#include "foundation/usm/StateStore.hpp"

#include <stdexcept>

namespace Thornfell::PathManagement {

namespace {
struct MainSearchPathManagerSlot {
    IMainSearchPathManager* manager = nullptr;
};

MainSearchPathManagerSlot* FindSlot(bool create) {
    using Store = foundation::usm::Detail<foundation::usm::scope::Qvm>;
    static const foundation::usm::SlotID id = Store::getNextID(typeid(MainSearchPathManagerSlot));
    if (!Store::isRequiredContextActive()) return nullptr;
    if (!create) return Store::find<MainSearchPathManagerSlot>(id);
    return &Store::findOrInsert<MainSearchPathManagerSlot>(id, [] {
        return std::make_unique<MainSearchPathManagerSlot>();
    });
}
}  // namespace

void SetMainSearchPathManager(IMainSearchPathManager* manager) {
    MainSearchPathManagerSlot* slot = FindSlot(true);
    if (!slot) throw std::logic_error("no engine instance is current on this thread");
    slot->manager = manager;
}

IMainSearchPathManager* GetMainSearchPathManagerIfAvailable() {
    const MainSearchPathManagerSlot* slot = FindSlot(false);
    return slot ? slot->manager : nullptr;
}

IMainSearchPathManager& GetMainSearchPathManager() {
    if (IMainSearchPathManager* manager = GetMainSearchPathManagerIfAvailable()) return *manager;
    throw std::logic_error("no search path manager has been set up for this engine instance");
}

}  // namespace Thornfell::PathManagement
