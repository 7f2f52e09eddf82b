// "Node-to-Node Frame Copy": gives the target the position, rotation and scale that the source has
// at the current time, its own or its place in the world. The host keys them, as if typed.

#include "plugin/host/command_lines.h"
#include "plugin/host/lookup.h"
#include "plugin/math/world_values.h"
#include "plugin/sets/controls.h"
#include "plugin/sets/panels.h"
#include "plugin/transfer/item_pair.h"
#include "plugin/transfer/transfer.h"

namespace cadencora {

// What the dialog asks for.
struct FrameCopy {
    ItemPair items;
    bool position, rotation, scale;
    bool world;
};

static host::Control* addToggleOn(host::Panel panel, const char* label) {
    host::Control* toggle = addToggle(panel, label);
    setInteger(toggle, host::controlValue, 1);
    return toggle;
}

static bool isOn(host::Control* toggle) {
    return readInteger(toggle, host::controlValue) != 0;
}

// False where there is nothing to copy.
static bool runOptions(host::Panel panel, ToolState* state, FrameCopy* copy) {
    const PairControls pair = addPairControls(panel);
    host::Control* position = addToggleOn(panel, "Position");
    host::Control* rotation = addToggleOn(panel, "Rotation");
    host::Control* scale = addToggleOn(panel, "Scale");
    host::Control* world = addToggleOn(panel, "Use World co-ordinates Copy");
    presetPair(pair, state);
    if (!runPanel(panel)) return false;
    copy->position = isOn(position);
    copy->rotation = isOn(rotation);
    copy->scale = isOn(scale);
    copy->world = isOn(world);
    return readPair(pair, &copy->items);
}

// The values are computed before the target is selected; each command line may change the scene.
static void keyTarget(const FrameCopy& copy, const char* command, double x, double y, double z) {
    selectItem(copy.items.target);
    issueTriple(command, x, y, z);
}

static void copyPosition(const host::ItemInfo* info, const FrameCopy& copy, double time) {
    DVec3 v;
    if (copy.world) {
        getWorldPos(info, copy.items.source, time, &v);
        getLocalPos(info, copy.items.target, time, &v, &v);
    } else {
        v = readVector(info, copy.items.source, host::itemPosition, time);
    }
    keyTarget(copy, "Position", v.x, v.y, v.z);
}

// The host takes typed rotations in degrees.
static double toDegrees(double angle) {
    return angle * 180.0 / 3.1415926535;
}

static void copyRotation(const host::ItemInfo* info, const FrameCopy& copy, double time) {
    HPB v;
    if (copy.world) {
        Mat4 turn;
        identity4(&turn);
        getWorldRot(info, copy.items.source, time, &v, &turn);
        getLocalRot(info, copy.items.target, time, &v, &v, &turn);
    } else {
        v = readAngles(info, copy.items.source, host::itemRotation, time);
    }
    keyTarget(copy, "Rotation", toDegrees(v.heading), toDegrees(v.pitch), toDegrees(v.bank));
}

static void copyScale(const host::ItemInfo* info, const FrameCopy& copy, double time) {
    DVec3 v;
    if (copy.world) {
        getWorldScale(info, copy.items.source, time, &v);
        getLocalScale(info, copy.items.target, time, &v, &v);
    } else {
        v = readVector(info, copy.items.source, host::itemScale, time);
    }
    keyTarget(copy, "Scale", v.x, v.y, v.z);
}

void frameCopyEvent(host::Control*, void* userData) {
    const host::ItemInfo* info = fetchItemInfo();
    const host::InterfaceInfo* interfaceInfo = fetchInterfaceInfo();
    if (!info || !interfaceInfo) return;
    const host::Panel panel = createPanel("Item-To-Item copy - CURRENT FRAME");
    if (!panel) return;
    FrameCopy copy;
    if (!runOptions(panel, static_cast<ToolState*>(userData), &copy)) return;
    if (copy.position) copyPosition(info, copy, interfaceInfo->currentTime);
    if (copy.rotation) copyRotation(info, copy, interfaceInfo->currentTime);
    if (copy.scale) copyScale(info, copy, interfaceInfo->currentTime);
}

} // namespace cadencora
