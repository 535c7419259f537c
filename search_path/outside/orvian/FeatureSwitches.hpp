#pragma once
// Static feature switches of the host. Their values live in the process scope
// of the state store, so a test that resets that scope starts from the
// defaults (all off); tests and the tfpath tool set them.
namespace OrvianComponents {

struct ComponentFeature {
    static bool IsOn();
    static void Set(bool on);
};
struct GUPFeature {
    static bool IsOn();
    static void Set(bool on);
};
struct ZPMFeature {
    static bool IsOn();
    static void Set(bool on);
};
// On: an alteration builds its folders' entries one after another on the
// calling thread, rather than all at once on the pool before its serial
// steps. For hosts that keep the pool for their own work, and to compare the
// two roads.
struct SerialEntryBuildFeature {
    static bool IsOn();
    static void Set(bool on);
};

}  // namespace OrvianComponents
