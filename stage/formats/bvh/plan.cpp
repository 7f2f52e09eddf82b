#include "stage/formats/bvh/plan.h"

#include "stage/formats/bvh/rotation_sampler.h"

#include <algorithm>
#include <cmath>

namespace cadencora::stage::bvh {

namespace {

constexpr double mostValues = 1e9; // about 10 GB of text

bool isBone(const Scene& scene, ItemId id) {
    return id != ItemId::none && scene.item(id).type == ItemType::bone;
}

// The item, or the first of its later siblings, that is a bone.
ItemId boneFrom(const Scene& scene, ItemId id) {
    while (id != ItemId::none && scene.item(id).type != ItemType::bone)
        id = scene.item(id).nextSibling;
    return id;
}

// A root with its whole branch. Without recursion: branches may be as deep as they like.
void addBranch(const Scene& scene, ItemId root, std::vector<Joint>& joints) {
    std::vector<ItemId> path{root};
    while (!path.empty()) {
        joints.push_back({path.back(), path.size() - 1, {}, false});
        ItemId next = boneFrom(scene, scene.item(path.back()).firstChild);
        while (next == ItemId::none && !path.empty()) {
            // The root's siblings are roots themselves, if at all.
            if (path.size() > 1) next = boneFrom(scene, scene.item(path.back()).nextSibling);
            path.pop_back();
        }
        if (next != ItemId::none) path.push_back(next);
    }
}

// The columns that the joint had in its file, or the usual ones.
std::vector<MotionChannel> usualChannels(const Scene& scene, const Joint& joint) {
    const bool isMoved =
        joint.depth == 0 ||
        std::ranges::any_of(std::array{positionX, positionY, positionZ}, [&](MotionChannel c) {
            return !scene.motion(joint.item, c).keys.empty();
        });
    if (!isMoved) return {heading, pitch, bank};
    return {positionX, positionY, positionZ, heading, pitch, bank};
}

std::vector<MotionChannel> fileChannels(const Item& item) {
    std::vector<MotionChannel> channels;
    for (const MotionChannel c : item.joint.channels)
        if (c <= bank && std::ranges::find(channels, c) == channels.end()) channels.push_back(c);
    return channels;
}

// True where the curve of a channel that the file has no column for changes anything.
bool needsColumn(const Scene& scene, const Joint& joint, MotionChannel channel) {
    if (std::ranges::find(joint.channels, channel) != joint.channels.end()) return false;
    const Envelope& envelope = scene.motion(joint.item, channel);
    return !isConstantAt(envelope, isPosition(channel) ? envelope.rest : 0.0);
}

// True where a rotation about two axes in an order of their own came to need the third.
bool needsThirdAxis(const Scene& scene, const Plan& plan, const Joint& joint,
                    const RotationColumns& columns) {
    constexpr double nothing = 1e-3; // degrees
    if (columns.column[2] != RotationColumns::none) return false;
    RotationSampler sampler(scene, plan.memory, joint.item, columns.order);
    for (std::int64_t frame = 0; frame < plan.frames; ++frame)
        if (std::abs(sampler.at(scene.rate.timeOf(frame))[2]) > nothing) return true;
    return false;
}

// Adds columns to a joint of a file for what the file did not animate; true where it did.
bool addColumns(const Scene& scene, const Plan& plan, Joint& joint) {
    std::vector<MotionChannel>& channels = joint.channels;
    const std::size_t before = channels.size();
    const auto needs = [&](MotionChannel c) { return needsColumn(scene, joint, c); };
    const RotationColumns columns = rotationColumns(channels);
    if (columns.direct) {
        // Heading, pitch and bank are taken over one by one only in their own order.
        if (std::ranges::any_of(std::array{heading, pitch, bank}, needs)) {
            std::erase_if(channels, isRotation);
            channels.insert(channels.end(), {heading, pitch, bank});
        }
    } else if (needsThirdAxis(scene, plan, joint, columns)) {
        for (const MotionChannel c : {heading, pitch, bank})
            if (std::ranges::find(channels, c) == channels.end()) channels.push_back(c);
    }
    if (std::ranges::any_of(std::array{positionX, positionY, positionZ}, needs)) {
        std::erase_if(channels, isPosition);
        channels.insert(channels.begin(), {positionX, positionY, positionZ});
    }
    return channels.size() != before;
}

std::int64_t rowCount(const Scene& scene, const Memory* memory) {
    // A skeleton without motion stays one, also by way of a scene file: there its joints' layout
    // tells that it came from a file of this kind, and a single row would have made keys.
    bool isCapture = memory && memory->frames == 0;
    for (std::size_t i = 0; !memory && !isCapture && i < scene.itemCount(); ++i)
        isCapture = !scene.item(Scene::itemAt(i)).joint.channels.empty();
    if (isCapture && scene.lastFrame == 0 && scene.keyCount() == 0) return 0;
    return std::max({scene.lastFrame, scene.frameOfLastKey(), std::int64_t{0}}) + 1;
}

} // namespace

bool isConstantAt(const Envelope& envelope, double value, double within) {
    const auto isValue = [&](double found) { return std::abs(found - value) <= within; };
    if (envelope.keys.empty()) return isValue(envelope.rest);
    for (auto key = envelope.keys.begin(); key; key.advance())
        if (!isValue(key.value()) || key.shape() == Shape::tangents) return false;
    return true;
}

Result<Plan> makePlan(const Scene& scene, const std::filesystem::path& path) {
    Plan plan;
    plan.memory = dynamic_cast<const Memory*>(scene.source.get());
    plan.frames = rowCount(scene, plan.memory);
    for (std::size_t i = 0; i < scene.itemCount(); ++i) {
        const ItemId id = Scene::itemAt(i);
        if (isBone(scene, id) && !isBone(scene, scene.item(id).parent))
            addBranch(scene, id, plan.joints);
    }
    if (plan.joints.empty())
        return Problem{"cannot write the scene as BVH", path.string(),
                       "it has no bones, and BVH holds only bones"};
    std::size_t extended = 0;
    for (Joint& joint : plan.joints) {
        const Item& item = scene.item(joint.item);
        const bool read = plan.memory && plan.memory->knows(joint.item);
        const bool fromFile = read || item.joint != JointLayout{};
        joint.channels = fromFile ? fileChannels(item) : usualChannels(scene, joint);
        joint.plainLeaf = !read && boneFrom(scene, item.firstChild) == ItemId::none;
        if (fromFile && addColumns(scene, plan, joint)) ++extended;
        plan.columns += joint.channels.size();
    }
    if (plan.columns == 0) plan.frames = 0; // rows without values are not written
    if (static_cast<double>(plan.frames) * static_cast<double>(plan.columns) > mostValues)
        return Problem{"cannot write the scene as BVH", path.string(),
                       std::to_string(plan.frames) + " frames of " + std::to_string(plan.columns) +
                           " values are too many"};
    plan.warnings = findLosses(scene);
    if (extended > 0)
        plan.warnings.push_back("columns were added for channels that the file did not animate: " +
                                std::to_string(extended) + " joints");
    return plan;
}

} // namespace cadencora::stage::bvh
