#include "stage/scene/transform.h"

namespace cadencora::stage {

Vec3 motionValues(const Scene& scene, ItemId item, MotionChannel first, double time) {
    const auto& channels = scene.item(item).motion;
    Vec3 values{};
    for (std::size_t i = 0; i < 3; ++i)
        values[i] = scene.envelope(scene.channel(channels[first + i]).envelope).evaluate(time);
    return values;
}

Affine localTransform(const Scene& scene, ItemId id, double time) {
    const Item& item = scene.item(id);
    Mat3 turned = rotation(motionValues(scene, id, heading, time), headingPitchBank);
    if (item.secondRotation != Vec3{}) // rarely there
        turned = product(rotation(item.secondRotation, headingPitchBank), turned);
    const Vec3 scale = motionValues(scene, id, scaleX, time);
    Affine local;
    for (std::size_t r = 0; r < 3; ++r)
        for (std::size_t c = 0; c < 3; ++c)
            local.linear[r][c] = turned[r][c] * scale[c];
    const Vec3 pivot = product(local.linear, item.pivot);
    local.offset = motionValues(scene, id, positionX, time);
    for (std::size_t i = 0; i < 3; ++i)
        local.offset[i] -= pivot[i];
    return local;
}

Affine worldTransform(const Scene& scene, ItemId id, double time) {
    Affine world = localTransform(scene, id, time);
    for (ItemId p = scene.item(id).parent; p != ItemId::none; p = scene.item(p).parent)
        world = product(localTransform(scene, p, time), world);
    return world;
}

std::vector<Affine> worldTransforms(const Scene& scene, double time) {
    std::vector<Affine> world;
    world.reserve(scene.itemCount());
    for (std::size_t i = 0; i < scene.itemCount(); ++i) {
        const ItemId id = Scene::itemAt(i);
        Affine place = localTransform(scene, id, time);
        if (const ItemId parent = scene.item(id).parent; parent != ItemId::none)
            place = product(world[Scene::positionOf(parent)], place); // parents come first
        world.push_back(place);
    }
    return world;
}

Vec3 worldPosition(const Scene& scene, ItemId id, double time) {
    return transformed(worldTransform(scene, id, time), scene.item(id).pivot);
}

bool isHidden(const Scene& scene, ItemId item, double time) {
    const ChannelId channel = scene.findChannel(scene.item(item).group, dissolveChannelName);
    return channel != ChannelId::none &&
           scene.envelope(scene.channel(channel).envelope).evaluate(time) == 1.0;
}

} // namespace cadencora::stage
