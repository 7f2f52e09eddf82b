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

// Seen from the front, the screen 200 by 200 pixels, one unit at the origin 10 of them.
OrbitCamera frontCamera() {
    OrbitCamera camera;
    camera.heading = camera.pitch = 0;
    camera.distance = 10 / std::tan(20 * 3.14159265358979 / 180);
    return camera;
}

ScreenPicture drawnFrom(const OrbitCamera& camera, const Scene& scene, double width,
                        double height) {
    return screenShapes(shapesAt(scene, 0, View(camera, width, height)), camera, width, height, {},
                        MeshLines::all);
}

ItemId picked(const Scene& scene, double x, double y) {
    return pickedItem(drawnFrom(frontCamera(), scene, 200, 200), x, y, 5);
}

TEST(DrawingMeshes, a_mesh_stands_in_place_of_the_mark_and_marks_keep_their_size) {
    Scene scene;
    const ItemId root = scene.addItem(ItemType::object, "Root");
    const auto markWidth = [&](double distance) {
        OrbitCamera camera = frontCamera();
        camera.distance = distance;
        const auto drawn = drawnFrom(camera, scene, 200, 200);
        const auto mark = std::ranges::find(drawn.shapes, root, &ScreenShape::item);
        return mark == drawn.shapes.end() ? 0 : mark->points[1].x - mark->points[3].x;
    };
    EXPECT_NEAR(markWidth(10), 9, 1e-9);
    for (const MotionChannel scale : {scaleX, scaleY, scaleZ})
        scene.mutableMotion(root, scale).rest = 100;
    EXPECT_NEAR(markWidth(1000), 9, 1e-9) << "whatever the scale and the distance";

    const ItemId block = addBlock(scene, "Block", {3, 0, 0});
    const View view(frontCamera(), 200, 200);
    const SceneShapes shown = shapesAt(scene, 0, view);
    EXPECT_EQ(std::ranges::count(shown.marks, block, &Mark::item), 0);
    ASSERT_EQ(shown.surfaces.size(), 1u);
    EXPECT_EQ(shown.surfaces[0].points[7], (Vec3{4, 1, 1}));

    const Sphere around = sphereAround(scene, {block}, 0);
    EXPECT_EQ(around.center, (Vec3{3, 0, 0}));
    EXPECT_NEAR(around.radius, std::sqrt(3), 1e-9);

    scene.addChannel(scene.item(block).group, std::string(dissolveChannelName), 1);
    EXPECT_TRUE(shapesAt(scene, 0, view).surfaces.empty());
}

TEST(DrawingMeshes, edges_between_two_sides_that_face_away_are_known) {
    Scene scene;
    const ItemId block = addBlock(scene, "Block", {});
    const auto check = [&](const char* what) {
        SCOPED_TRACE(what);
        const auto drawn = drawnFrom(OrbitCamera{}, scene, 300, 300).meshes;
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
        const auto drawn = drawnFrom(OrbitCamera{}, scene, 300, 200).meshes;
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
