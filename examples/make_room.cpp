// Writes the example scene: a room with objects in a family, a lamp with bones, a face with morphs,
// lights and a camera, with every shape of key and behaviour among their curves.

#include "stage/formats/registry.h"

#include <cmath>
#include <cstdio>

using namespace cadencora::stage;

namespace {

Scene room;

ItemId add(ItemType type, const char* name, ItemId parent = ItemId::none) {
    return room.addItem(type, name, parent);
}

// Keys by frame, which may lie between two.
struct FrameKey {
    double frame, value;
    Shape shape = Shape::spline;
};

void keep(Envelope& envelope, std::initializer_list<FrameKey> keys) {
    for (const FrameKey& key : keys) {
        const bool whole = key.frame == std::floor(key.frame);
        const double time = whole ? room.rate.timeOf(static_cast<std::int64_t>(key.frame))
                                  : key.frame / room.rate.perSecond();
        envelope.keys.append(time, key.value, key.shape);
    }
}

void place(ItemId item, Vec3 position) {
    for (const MotionChannel c : {positionX, positionY, positionZ})
        room.mutableMotion(item, c).rest = position[c];
}

// A ball that bounces along, squashed where it touches the floor.
void addBall(ItemId floor) {
    const ItemId ball = add(ItemType::object, "Ball", floor);
    keep(room.mutableMotion(ball, positionX), {{0, -2}, {48, 2, Shape::linear}});
    Envelope& height = room.mutableMotion(ball, positionY);
    height.after = Behaviour::repeat;
    for (int bounce = 0; bounce < 3; ++bounce) {
        const double start = 16 * bounce, fall = 9.0 / (1 + bounce);
        KeyData low{room.rate.timeOf(16 * bounce), 0.2, Shape::tangents, {}};
        low.parameters[incomingSlope] = bounce == 0 ? 0 : -fall;
        low.parameters[outgoingSlope] = fall;
        height.keys.append(low);
        height.keys.append((start + 8) / room.rate.perSecond(), 0.2 + fall / 6, Shape::tangents);
    }
    keep(room.mutableMotion(ball, scaleY),
         {{0, 0.7}, {4, 1.1}, {16, 0.8}, {20, 1.05}, {32, 0.9}, {48, 1, Shape::hold}});
    keep(room.mutableMotion(ball, heading), {{0, 0}, {48, 6.25, Shape::linear}});
}

// A desk lamp of three bones that follows the ball; as if captured, with keys between frames.
void addLamp(ItemId floor) {
    const ItemId lamp = add(ItemType::object, "Lamp", floor);
    place(lamp, {0, 0, -1.5});
    const ItemId base = room.addItem(ItemType::bone, "Base", lamp, lamp);
    const ItemId arm = room.addItem(ItemType::bone, "Lower Arm", base, lamp);
    const ItemId head = room.addItem(ItemType::bone, "Shade", arm, lamp);
    place(arm, {0, 0.6, 0});
    place(head, {0, 0.5, 0});
    for (int step = 0; step <= 40; ++step) {
        const double time = step * 1.2 / room.rate.perSecond(), swing = std::sin(time * 3);
        room.mutableMotion(base, heading).keys.append(time, 0.8 * swing, Shape::linear);
        room.mutableMotion(arm, pitch).keys.append(time, 0.3 + 0.1 * swing, Shape::linear);
        room.mutableMotion(head, pitch).keys.append(time, 0.5 - 0.2 * swing, Shape::linear);
    }
}

// A face whose morphs blink and smile.
void addFace() {
    const ItemId face = add(ItemType::object, "Face");
    place(face, {3, 1.5, 0});
    const GroupId morphs = room.addGroup(room.item(face).group, "Morph");
    const auto morph = [&](const char* name, std::initializer_list<FrameKey> keys) {
        keep(room.mutableEnvelope(room.channel(room.addChannel(morphs, name)).envelope), keys);
    };
    morph("Smile", {{0, 0}, {12, 0.8}, {36, 0.3}});
    morph("Blink", {{10, 0}, {12, 1, Shape::linear}, {14, 0, Shape::linear}});
    morph("Jaw Open", {});
}

void build() {
    room.name = "Room";
    room.rate = *FrameRate::of(24);
    room.lastFrame = room.previewLast = 48;
    const ItemId floor = add(ItemType::object, "Floor");
    addBall(floor);
    addLamp(floor);
    addFace();
    const ItemId sun = add(ItemType::light, "Sun"), fill = add(ItemType::light, "Fill");
    place(sun, {5, 8, 3});
    place(fill, {-4, 3, 2});
    keep(room.mutableMotion(sun, heading), {{0, 0.1}, {48, 0.4, Shape::linear}});
    const ItemId camera = add(ItemType::camera, "Camera");
    keep(room.mutableMotion(camera, positionZ), {{0, 8}, {24, 7}, {48, 6.5}});
}

} // namespace

int main(int count, char** arguments) {
    if (count != 2) {
        std::fputs("usage: make_room FILE\n", stderr);
        return 2;
    }
    build();
    const auto written = writeScene(room, arguments[1]);
    if (!written) {
        std::fprintf(stderr, "%s\n", written.problem().text().c_str());
        return 1;
    }
    return 0;
}
