#include "orvian/FeatureSwitches.hpp"

#include "foundation/usm/StateStore.hpp"

#include <atomic>
#include <memory>

namespace OrvianComponents {

namespace {

struct FeatureSwitchState {
    std::atomic<bool> component{false};
    std::atomic<bool> gup{false};
    std::atomic<bool> zpm{false};
    std::atomic<bool> serialEntryBuild{false};
};

FeatureSwitchState& switches() {
    using Store = foundation::usm::Detail<foundation::usm::scope::Process>;
    static const auto id = Store::getNextID(typeid(FeatureSwitchState));
    return Store::findOrInsert<FeatureSwitchState>(id, [] { return std::make_unique<FeatureSwitchState>(); });
}

}  // namespace

bool ComponentFeature::IsOn() { return switches().component.load(); }
void ComponentFeature::Set(bool on) { switches().component.store(on); }

bool GUPFeature::IsOn() { return switches().gup.load(); }
void GUPFeature::Set(bool on) { switches().gup.store(on); }

bool ZPMFeature::IsOn() { return switches().zpm.load(); }
void ZPMFeature::Set(bool on) { switches().zpm.store(on); }

bool SerialEntryBuildFeature::IsOn() { return switches().serialEntryBuild.load(); }
void SerialEntryBuildFeature::Set(bool on) { switches().serialEntryBuild.store(on); }

}  // namespace OrvianComponents
