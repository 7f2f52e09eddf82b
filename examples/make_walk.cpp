// Composes the walk cycle of examples/walk.bvh: make_walk FILE
//
// Centimetres and seconds; Y is up, the walk goes along +Z, left is +X. The hips, the spine and
// the arms swing in sines; each foot is planted, rolls over its ball and swings on; the legs reach
// for the feet.
#include "stage/formats/registry.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <numbers>

namespace {

using namespace cadencora::stage;

constexpr double pi = std::numbers::pi;
constexpr double degree = pi / 180;

constexpr int framesPerSecond = 120;
constexpr int lastFrame = 396;
constexpr double cycle = 1.1;   // seconds of two steps
constexpr double stride = 110;  // way of two steps
constexpr double stance = 0.62; // the part of a cycle that a foot is on the ground
constexpr double middle = stance / 2;
constexpr double thigh = 43, shin = 42, ankle = 8; // lengths, and the ankle's height

struct Joint {
    const char* name;
    const char* parent; // null: the root
    Vec3 offset;
    Vec3 end{}; // of a leaf
};

constexpr Vec3 heel{0, -ankle, -5}, ball{0, -ankle, 13}; // from the ankle, on the ground

const std::vector<Joint> joints{
    {"Hips", nullptr, {0, 93, 0}},
    {"Spine", "Hips", {0, 12, 0}},
    {"Chest", "Spine", {0, 20, 0}},
    {"Neck", "Chest", {0, 22, 0}},
    {"Head", "Neck", {0, 9, 1}, {0, 18, 0}},
    {"LeftShoulder", "Chest", {3, 16, 0}},
    {"LeftArm", "LeftShoulder", {14, 0, 0}},
    {"LeftForearm", "LeftArm", {29, 0, 0}},
    {"LeftHand", "LeftForearm", {25, 0, 0}, {17, 0, 0}},
    {"RightShoulder", "Chest", {-3, 16, 0}},
    {"RightArm", "RightShoulder", {-14, 0, 0}},
    {"RightForearm", "RightArm", {-29, 0, 0}},
    {"RightHand", "RightForearm", {-25, 0, 0}, {-17, 0, 0}},
    {"LeftUpLeg", "Hips", {9, -3, 0}},
    {"LeftLeg", "LeftUpLeg", {0, -thigh, 0}},
    {"LeftFoot", "LeftLeg", {0, -shin, 0}},
    {"LeftToe", "LeftFoot", {0, -6, 13}, {0, -1, 7}},
    {"RightUpLeg", "Hips", {-9, -3, 0}},
    {"RightLeg", "RightUpLeg", {0, -thigh, 0}},
    {"RightFoot", "RightLeg", {0, -shin, 0}},
    {"RightToe", "RightFoot", {0, -6, 13}, {0, -1, 7}},
};

struct Pose {
    Vec3 hips{};                       // where the root is
    std::map<std::string, Vec3> turns; // heading, pitch and bank in degrees
};

double wave(double phase) {
    return std::cos(2 * pi * phase);
}

// From a to b along half a cosine while x goes from 0 to 1.
double ease(double a, double b, double x) {
    return a + (b - a) * (0.5 - 0.5 * std::cos(pi * std::clamp(x, 0.0, 1.0)));
}

Mat3 turn(const Vec3& degrees) {
    return rotation({degrees[0] * degree, degrees[1] * degree, degrees[2] * degree},
                    headingPitchBank);
}

Mat3 inverse(const Mat3& m) { // of a rotation
    Mat3 t{};
    for (std::size_t r = 0; r < 3; ++r)
        for (std::size_t c = 0; c < 3; ++c)
            t[r][c] = m[c][r];
    return t;
}

Vec3 plus(const Vec3& a, const Vec3& b, double factor = 1) {
    return {a[0] + factor * b[0], a[1] + factor * b[1], a[2] + factor * b[2]};
}

struct Foot {
    Vec3 ankle{};
    double pitch = 0; // degrees; positive: the heel is up
};

// A foot that landed with its ankle above (x, plant), `phase` from 0 to the end of the stance.
Foot standing(double x, double plant, double phase) {
    Foot foot;
    foot.pitch = phase < 0.1 ? ease(-18, 0, phase / 0.1) : ease(0, 40, (phase - 0.36) / 0.26);
    const Vec3& pivot = foot.pitch < 0 ? heel : ball;
    const Vec3 ground{x, 0, plant + pivot[2]};
    foot.ankle = plus(ground, product(turn({0, foot.pitch, 0}), pivot), -1);
    return foot;
}

// `walked` counts the foot's own cycles, each from a landing to the next.
Foot footAt(double x, double walked, double ahead) {
    const double landed = std::floor(walked), phase = walked - landed;
    const double plant = stride * (landed + middle) + ahead;
    if (phase < stance) return standing(x, plant, phase);
    const double swing = (phase - stance) / (1 - stance);
    const Foot off = standing(x, plant, stance), on = standing(x, plant + stride, 0);
    Foot foot;
    foot.pitch = swing < 0.25 ? ease(off.pitch, 52, swing / 0.25)
                              : ease(52, on.pitch, (swing - 0.25) / 0.75);
    foot.ankle = {x, off.ankle[1] + (on.ankle[1] - off.ankle[1]) * swing + 5 * std::sin(pi * swing),
                  ease(off.ankle[2], on.ankle[2], swing)};
    return foot;
}

// Bends a leg so that its ankle is where the foot needs it, and turns the foot to its pitch.
void reach(Pose& pose, const std::string& side, const Vec3& hipOffset, const Foot& foot) {
    const Mat3 hips = turn(pose.turns["Hips"]);
    const Vec3 hip = plus(pose.hips, product(hips, hipOffset));
    const Vec3 way = product(inverse(hips), plus(foot.ankle, hip, -1));
    const double longest = 0.9995 * (thigh + shin);
    const double length = std::min(std::hypot(way[0], way[1], way[2]), longest);
    const double knee =
        std::acos((length * length - thigh * thigh - shin * shin) / (2 * thigh * shin));
    // Bank brings the leg sideways, pitch then forward; the bent leg ends at (0, -down, -back).
    const double down = thigh + shin * std::cos(knee), back = shin * std::sin(knee);
    const double bank = std::asin(std::clamp(way[0] / down, -1.0, 1.0));
    const double pitch = std::atan2(way[2], way[1]) - std::atan2(-back, -down * std::cos(bank));
    pose.turns[side + "UpLeg"] = {0, std::remainder(pitch, 2 * pi) / degree, bank / degree};
    pose.turns[side + "Leg"] = {0, knee / degree, 0};
    const Mat3 leg =
        product(product(hips, turn(pose.turns[side + "UpLeg"])), turn(pose.turns[side + "Leg"]));
    const double outward = side == "Left" ? 6 : -6;
    const Vec3 angles =
        anglesNear(product(inverse(leg), turn({outward, foot.pitch, 0})), headingPitchBank, {});
    pose.turns[side + "Foot"] = {angles[0] / degree, angles[1] / degree, angles[2] / degree};
}

Pose poseAt(double time) {
    const double walked = time / cycle; // cycles; the left foot lands at 0, the right at a half
    const double step = wave(walked), weight = wave(walked - middle); // weight: 1 on the left foot
    Pose pose;
    pose.hips = {2.2 * weight, 91.8 + 2 * wave(2 * (walked - middle)),
                 stride * walked + 1.2 * wave(2 * walked + 0.25)};
    auto& turns = pose.turns;
    turns["Hips"] = {-6 * step, 3 + wave(2 * walked), 3.5 * weight};
    turns["Spine"] = {5 * step, 2, -2.5 * weight};
    turns["Chest"] = {8 * step, 1 - 0.8 * wave(2 * walked), -2 * weight};
    turns["Neck"] = {-3 * step, -2, 0.5 * weight};
    turns["Head"] = {-4 * step, -3 + 0.8 * wave(2 * walked - 0.1), 0.5 * weight};
    for (const double left : {1.0, -1.0}) { // the arms swing against the legs
        const std::string side = left > 0 ? "Left" : "Right";
        const double swing = left * wave(walked - 0.03), bend = left * wave(walked + 0.42);
        turns[side + "Shoulder"] = {-left * 2 * swing, 0, left * (-3 + wave(2 * walked))};
        turns[side + "Arm"] = {0, 3 + 22 * swing, left * -74};
        turns[side + "Forearm"] = {left * (-22 - 10 * bend), 0, 0};
        turns[side + "Hand"] = {left * (-6 - 4 * bend), 0, left * -4};

        const double own = left > 0 ? walked : walked + 0.5;
        const Foot foot = footAt(left * 6.5, own, left > 0 ? 0 : -stride / 2);
        reach(pose, side, {left * 9, -3, 0}, foot);
        // While the heel is up on the ground the toes stay flat; in the air they straighten.
        const double phase = own - std::floor(own), lift = std::max(foot.pitch, 0.0);
        const double flat = phase < stance ? 1 : ease(1, 0, (phase - stance) / 0.25);
        turns[side + "Toe"] = {0, -lift * flat, 0};
    }
    return pose;
}

void addKey(Scene& scene, ItemId item, MotionChannel channel, double time, double value) {
    scene.mutableMotion(item, channel).keys.append(time, value, Shape::linear);
}

Scene walk() {
    Scene scene;
    scene.rate = FrameRate::of(framesPerSecond).value();
    scene.lastFrame = scene.previewLast = lastFrame;
    const ItemId object = scene.addItem(ItemType::object, "walk");
    std::map<std::string, ItemId> items;
    for (const Joint& joint : joints) {
        const ItemId parent = joint.parent ? items[joint.parent] : object;
        const ItemId id = items[joint.name] =
            scene.addItem(ItemType::bone, joint.name, parent, object);
        for (const MotionChannel c : {positionX, positionY, positionZ})
            scene.mutableMotion(id, c).rest = joint.offset[c];
        Item& item = scene.item(id);
        item.joint.channels = {heading, pitch, bank};
        if (!joint.parent)
            item.joint.channels = {positionX, positionY, positionZ, heading, pitch, bank};
        if (joint.end != Vec3{}) item.joint.endSites = {joint.end};
    }
    const auto thousandths = [](double number) { return std::round(number * 1000) / 1000; };
    for (int frame = 0; frame <= lastFrame; ++frame) {
        const double time = scene.rate.timeOf(frame);
        Pose pose = poseAt(time);
        for (std::size_t n = 0; n < 3; ++n)
            addKey(scene, items["Hips"], static_cast<MotionChannel>(positionX + n), time,
                   thousandths(pose.hips[n]));
        for (const auto& [name, item] : items)
            for (std::size_t n = 0; n < 3; ++n)
                addKey(scene, item, static_cast<MotionChannel>(heading + n), time,
                       thousandths(pose.turns[name][n]) * degree);
    }
    return scene;
}

} // namespace

int main(int count, char** arguments) {
    if (count != 2) {
        std::fputs("usage: make_walk FILE\n", stderr);
        return 2;
    }
    const auto written = writeScene(walk(), arguments[1]);
    if (!written) {
        std::fprintf(stderr, "%s\n", written.problem().text().c_str());
        return 1;
    }
    return 0;
}
