// A small scene for the desktop's tests.
#pragma once

#include "stage/scene/scene.h"

namespace cadencora::stage {

// 30 frames per second, frames 0 to 60: Hero, an object with the bones Hips and Spine, and Box,
// with Lid below it. The bones' headings and Box's X have linear keys every ten frames.
inline Scene someScene() {
    Scene scene;
    scene.name = "Some";
    scene.lastFrame = scene.previewLast = 60;
    const ItemId hero = scene.addItem(ItemType::object, "Hero");
    const ItemId hips = scene.addItem(ItemType::bone, "Hips", hero, hero);
    const ItemId spine = scene.addItem(ItemType::bone, "Spine", hips, hero);
    const ItemId box = scene.addItem(ItemType::object, "Box");
    scene.addItem(ItemType::object, "Lid", box);
    scene.addItem(ItemType::light, "Sun");
    scene.addItem(ItemType::camera, "Cam");
    for (int frame = 0; frame <= 60; frame += 10) {
        const double time = scene.rate.timeOf(frame);
        scene.mutableMotion(hips, heading).keys.append(time, 0.01 * frame, Shape::linear);
        scene.mutableMotion(spine, heading).keys.append(time, 0.02 * frame, Shape::linear);
        scene.mutableMotion(box, positionX).keys.append(time, frame, Shape::linear);
    }
    return scene;
}

} // namespace cadencora::stage
