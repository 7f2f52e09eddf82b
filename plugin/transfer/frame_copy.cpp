// "Node-to-Node Frame Copy": gives the target the position, rotation and scale that the source has
// at the current time, its own or its place in the world. The host keys them, as if typed.

#include "plugin/host/command_lines.h"
#include "plugin/host/lookup.h"
#include "plugin/math/world_values.h"
#include "plugin/sets/controls.h"
#include "plugin/sets/panels.h"
#include "plugin/transfer/item_pair.h"
#include "plugin/transfer/transfer.h"

#include <cmath>

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

// One of the three: its command line, and the values that it types.
struct Typed {
    const char* command;
    bool wanted;
    DVec3 values;
};

static DVec3 positionOf(const host::ItemInfo* info, const FrameCopy& copy, double time) {
    if (!copy.world) return readVector(info, copy.items.source, host::itemPosition, time);
    DVec3 v;
    getWorldPos(info, copy.items.source, time, &v);
    getLocalPos(info, copy.items.target, time, &v, &v);
    return v;
}

// The host takes typed rotations in degrees.
static DVec3 rotationOf(const host::ItemInfo* info, const FrameCopy& copy, double time) {
    constexpr double degrees = 180.0 / 3.1415926535;
    HPB v;
    if (copy.world) {
        Mat4 turn;
        identity4(&turn);
        getWorldRot(info, copy.items.source, time, &v, &turn);
        getLocalRot(info, copy.items.target, time, &v, &v, &turn);
    } else {
        v = readAngles(info, copy.items.source, host::itemRotation, time);
    }
    return {v.heading * degrees, v.pitch * degrees, v.bank * degrees};
}

static DVec3 scaleOf(const host::ItemInfo* info, const FrameCopy& copy, double time) {
    if (!copy.world) return readVector(info, copy.items.source, host::itemScale, time);
    DVec3 v;
    getWorldScale(info, copy.items.source, time, &v);
    getLocalScale(info, copy.items.target, time, &v, &v);
    return v;
}

static bool isFinite(const DVec3& v) {
    return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

// All values are computed before the first one is typed: what cannot be typed leaves the target as
// it was.
static void copyFrame(const host::ItemInfo* info, const FrameCopy& copy, double time) {
    Typed lines[] = {{"Position", copy.position, {}},
                     {"Rotation", copy.rotation, {}},
                     {"Scale", copy.scale, {}}};
    if (copy.position) lines[0].values = positionOf(info, copy, time);
    if (copy.rotation) lines[1].values = rotationOf(info, copy, time);
    if (copy.scale) lines[2].values = scaleOf(info, copy, time);
    for (const Typed& line : lines)
        if (!isFinite(line.values)) {
            message->error("Values are too large to be copied", line.command);
            return;
        }
    for (const Typed& line : lines) {
        if (!line.wanted) continue;
        selectItem(copy.items.target);
        issueTriple(line.command, line.values.x, line.values.y, line.values.z);
    }
}

void frameCopyEvent(host::Control*, void* userData) {
    const host::ItemInfo* info = fetchItemInfo();
    const host::InterfaceInfo* interfaceInfo = fetchInterfaceInfo();
    if (!info || !interfaceInfo) return;
    const host::Panel panel = createPanel("Item-To-Item copy - CURRENT FRAME");
    if (!panel) return;
    FrameCopy copy;
    if (!runOptions(panel, static_cast<ToolState*>(userData), &copy)) return;
    copyFrame(info, copy, interfaceInfo->currentTime);
}

} // namespace cadencora
