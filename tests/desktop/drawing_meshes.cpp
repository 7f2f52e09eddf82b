// What is drawn of meshes, and which item a click picks.

#include "stage/desktop/drawing/screen_shapes.h"
#include "stage/desktop/drawing/selection_order.h"
#include "tests/desktop/some_mesh.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

namespace cadencora::stage {
namespace {

ItemId addBlock(Scene& scene, const char* name, const Vec3& position) {
    const ItemId id = scene.addItem(ItemType::object, name);
    scene.item(id).mesh = blockMesh();
    for (std::size_t c = 0; c < 3; ++c)
        scene.mutableMotion(id, static_cast<MotionChannel>(positionX + c)).rest = position[c];
    return id;
}

// The longest way from one corner of an item's faces to another.
double sizeOf(const SceneShapes& shapes, ItemId item) {
    Vec3 low{1e9, 1e9, 1e9}, high{-1e9, -1e9, -1e9};
    for (const Face& face : shapes.faces)
        for (const Vec3& corner : face.corners)
            for (std::size_t c = 0; c < 3 && face.item == item; ++c) {
                low[c] = std::min(low[c], corner[c]);
                high[c] = std::max(high[c], corner[c]);
            }
    return std::max({high[0] - low[0], high[1] - low[1], high[2] - low[2]});
}

// Seen from the front, the screen 200 by 200 pixels, one unit at the origin 10 of them.
OrbitCamera frontCamera() {
    OrbitCamera camera;
    camera.heading = camera.pitch = 0;
    camera.distance = 10 / std::tan(20 * 3.14159265358979 / 180);
    return camera;
}

ItemId picked(const Scene& scene, double x, double y) {
    return pickedItem(screenShapes(shapesAt(scene, 0, 1), frontCamera(), 200, 200), x, y, 5);
}

TEST(DrawingMeshes, a_mesh_stands_in_place_of_the_cube_and_the_other_cubes_are_marks) {
    Scene scene;
    const ItemId root = scene.addItem(ItemType::object, "Root");
    for (const MotionChannel scale : {scaleX, scaleY, scaleZ})
        scene.mutableMotion(root, scale).rest = 100;
    EXPECT_NEAR(sizeOf(shapesAt(scene, 0, 2), root), 2, 1e-9) << "it would hide everything";
    scene.mutableMotion(root, scaleX).rest = 5;
    scene.mutableMotion(root, scaleY).rest = scene.mutableMotion(root, scaleZ).rest = 1;
    EXPECT_NEAR(sizeOf(shapesAt(scene, 0, 2), root), 10, 1e-9);

    const ItemId block = addBlock(scene, "Block", {3, 0, 0});
    const SceneShapes shown = shapesAt(scene, 0, 2);
    EXPECT_NEAR(sizeOf(shown, root), 0.6, 1e-9);
    EXPECT_TRUE(std::ranges::none_of(shown.faces, [&](auto& face) { return face.item == block; }));
    ASSERT_EQ(shown.surfaces.size(), 1u);
    EXPECT_EQ(shown.surfaces[0].points[7], (Vec3{4, 1, 1}));

    const Sphere around = sphereAround(scene, {block}, 0);
    EXPECT_EQ(around.center, (Vec3{3, 0, 0}));
    EXPECT_NEAR(around.radius, std::sqrt(3), 1e-9);

    scene.addChannel(scene.item(block).group, std::string(dissolveChannelName), 1);
    EXPECT_TRUE(shapesAt(scene, 0, 2).surfaces.empty());
}

TEST(DrawingMeshes, edges_between_two_sides_that_face_away_are_known) {
    Scene scene;
    const ItemId block = addBlock(scene, "Block", {});
    const auto check = [&](const char* what) {
        SCOPED_TRACE(what);
        const auto drawn = screenShapes(shapesAt(scene, 0, 1), OrbitCamera{}, 300, 300);
        ASSERT_EQ(drawn.size(), 1u);
        EXPECT_EQ(drawn[0].facing.size(), 9u); // of the three sides that one sees of a block
        EXPECT_EQ(drawn[0].away.size(), 3u);
    };
    check("as it is");
    scene.mutableMotion(block, scaleX).rest = -1;
    check("mirrored");
}

TEST(DrawingMeshes, lines_end_at_the_eye_and_at_the_edge_of_the_screen) {
    Scene scene;
    const ItemId block = addBlock(scene, "Block", {});
    scene.mutableMotion(block, scaleZ).rest = 1000; // the eye is within
    const auto isOn = [](const ScreenLine& line) {
        return std::min(line.x1, line.x2) >= 0 && std::max(line.x1, line.x2) <= 300 &&
               std::min(line.y1, line.y2) >= 0 && std::max(line.y1, line.y2) <= 200;
    };
    for (const double size : {1e3, 1e30, 1e300}) {
        scene.mutableMotion(block, scaleX).rest = size;
        const auto drawn = screenShapes(shapesAt(scene, 0, 1), OrbitCamera{}, 300, 200);
        ASSERT_EQ(drawn.size(), 1u);
        EXPECT_TRUE(size > 1e3 || !drawn[0].facing.empty());
        EXPECT_TRUE(std::ranges::all_of(drawn[0].facing, isOn)) << size;
        EXPECT_TRUE(std::ranges::all_of(drawn[0].away, isOn)) << size;
    }
}

TEST(DrawingMeshes, what_is_seen_on_top_is_picked) {
    Scene scene;
    const ItemId body = addBlock(scene, "Body", {}); // about 10 pixels to each side of (100, 100)
    EXPECT_EQ(picked(scene, 100, 100), body);
    EXPECT_EQ(picked(scene, 108, 93), body) << "inside is enough";
    EXPECT_EQ(picked(scene, 115, 100), body) << "and so is near";
    EXPECT_EQ(picked(scene, 125, 100), ItemId::none);

    const ItemId near = addBlock(scene, "Near", {1.2, 0, 4});
    EXPECT_EQ(picked(scene, 105, 100), near);
    EXPECT_EQ(picked(scene, 90, 100), body);
    const ItemId wall = addBlock(scene, "Wall", {0, 0, -30});
    scene.mutableMotion(wall, scaleX).rest = scene.mutableMotion(wall, scaleY).rest = 9;
    EXPECT_EQ(picked(scene, 105, 100), near);
    EXPECT_EQ(picked(scene, 135, 100), wall);

    const ItemId bone = scene.addItem(ItemType::bone, "Bone", body, body); // up by one unit
    EXPECT_EQ(picked(scene, 100, 98), bone) << "bones show within a body";
    EXPECT_EQ(picked(scene, 93, 98), body);
    const ItemId light = scene.addItem(ItemType::light, "Light");
    scene.mutableMotion(light, positionX).rest = 4;
    EXPECT_EQ(picked(scene, 141, 100), light) << "its lines are thin";
    EXPECT_EQ(picked(scene, 141, 92), wall);
}

TEST(DrawingMeshes, clicks_add_at_the_end_and_take_out) {
    const auto id = [](int n) { return static_cast<ItemId>(n); };
    const std::vector before{id(5), id(2), id(9)};
    EXPECT_EQ(selectionAfterClick(before, id(2), false), std::vector{id(2)});
    EXPECT_EQ(selectionAfterClick(before, id(2), true), (std::vector{id(5), id(9)}));
    EXPECT_EQ(selectionAfterClick(before, id(1), true), (std::vector{id(5), id(2), id(9), id(1)}));
    EXPECT_EQ(selectionAfterClick(before, ItemId::none, true), before);
    EXPECT_TRUE(selectionAfterClick(before, ItemId::none, false).empty());
}

} // namespace
} // namespace cadencora::stage
