// What is drawn of curves and scenes, without a toolkit.

#include "stage/desktop/drawing/curve_lines.h"
#include "stage/desktop/drawing/orbit_camera.h"
#include "stage/desktop/drawing/scene_shapes.h"
#include "stage/desktop/drawing/selection_order.h"
#include "stage/plot/axis.h"
#include "tests/desktop/some_mesh.h"
#include "tests/desktop/some_scene.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <numbers>

namespace cadencora::stage {
namespace {

TEST(Drawing, lines_follow_the_columns_and_show_every_extreme) {
    Envelope dense;
    for (int i = 0; i < 100'000; ++i)
        dense.keys.append(i * 1e-4, i == 54'321 ? 9.0 : i % 2, Shape::linear);
    const TimeWindow window{0, 10, 200};
    const auto line = curveLine(dense, window);
    EXPECT_LE(line.size(), 3u * 200 + 1);
    double low = 1e9, high = -1e9;
    for (std::size_t i = 0; i < line.size(); ++i) {
        EXPECT_GE(line[i].time, line[i > 0 ? i - 1 : 0].time);
        low = std::min(low, line[i].value);
        high = std::max(high, line[i].value);
    }
    EXPECT_EQ(low, 0);
    EXPECT_EQ(high, 9) << "one key among hundreds of a column";
    EXPECT_LE(keyPoints(dense, window, 5).size(), 41u) << "both ends included";

    Envelope held;
    held.keys.append(0, 1, Shape::linear);
    held.keys.append(0.55, 3, Shape::hold);
    const auto jump = curveLine(held, {0, 1, 10});
    const auto before = std::ranges::find(jump, CurvePoint{0.55, 1});
    ASSERT_NE(before, jump.end()) << "the old value is held until the key";
    EXPECT_EQ(*(before + 1), (CurvePoint{0.55, 3}));
}

TEST(Drawing, ticks_stand_in_the_columns_of_the_items_keys) {
    const Scene scene = someScene();
    const TimeWindow window{0, 2, 60}; // a column per frame
    EXPECT_EQ(keyColumns(scene, {scene.findItem("Box")}, window),
              (std::vector{0, 10, 20, 30, 40, 50, 60}));
    EXPECT_TRUE(keyColumns(scene, {scene.findItem("Lid")}, window).empty());
    EXPECT_TRUE(keyColumns(scene, {}, window).empty());
}

TEST(Drawing, curves_on_show_are_keyed_or_were_before_the_last_edit) {
    Scene scene = someScene();
    Journal journal;
    const std::vector items{scene.findItem("Box"), scene.findItem("Hips")};
    auto curves = shownCurves(scene, items, journal);
    ASSERT_EQ(curves.size(), 2u);
    EXPECT_EQ(curves[0].name, "Box/Position.X");
    EXPECT_EQ(curves[0].before, nullptr);
    EXPECT_EQ(curves[1].factor, 180 / std::numbers::pi);
    EXPECT_EQ(valueRange(scene, curves, {0, 2, 100})->high, 60);

    EditScope edit(scene, "Clear");
    edit.envelope(curves[0].envelope).keys.clear();
    journal.commit(edit);
    curves = shownCurves(scene, items, journal);
    ASSERT_EQ(curves.size(), 2u);
    ASSERT_NE(curves[0].before, nullptr);
    EXPECT_EQ(curves[0].before->keys.size(), 7u);
    EXPECT_EQ(valueRange(scene, curves, {0, 2, 100})->high, 60) << "the ghost has room";
    journal.undo(scene);
    EXPECT_EQ(shownCurves(scene, items, journal)[0].before, nullptr);
}

TEST(Drawing, ruler_steps_are_round_and_fit) {
    for (const double span : {0.003, 1.0, 7.0, 48.0, 396.0, 1e6}) {
        const double step = niceStep(span, 10);
        EXPECT_LE(span / step, 10 * (1 + 1e-9));
        EXPECT_GT(span / step, 10 / 2.6);
    }
    EXPECT_EQ(niceStep(396, 20), 20);
    EXPECT_EQ(niceStep(0, 5), 1) << "no span has a step, too";
}

TEST(Drawing, the_camera_puts_its_target_in_the_middle_and_up_upwards) {
    OrbitCamera camera;
    camera.frame({1, 2, 3}, 2);
    const auto middle = View(camera, 400, 300).point({1, 2, 3});
    ASSERT_TRUE(middle);
    EXPECT_NEAR(middle->x, 200, 1e-6);
    EXPECT_NEAR(middle->y, 150, 1e-6);
    EXPECT_NEAR(middle->depth, camera.distance, 1e-9);
    EXPECT_LT(View(camera, 400, 300).point({1, 3, 3})->y, 150);
    camera.pan(0.25, 0); // what lay in the middle goes right by a quarter of the height
    EXPECT_NEAR(View(camera, 400, 300).point({1, 2, 3})->x, 275, 1e-6);
    camera.orbit(0, 100);
    EXPECT_GT(camera.eye()[1], camera.target[1]) << "above, not over the pole";

    const View view(camera, 400, 300);
    const Vec3 eye = camera.eye();
    const Vec3 behind{2 * eye[0] - 1, 2 * eye[1] - 2, 2 * eye[2] - 3};
    EXPECT_FALSE(view.point(behind));
    const auto cut = view.line({1, 2, 3}, behind);
    ASSERT_TRUE(cut);
    EXPECT_GT(cut->second.depth, 0);
    EXPECT_FALSE(view.line(behind, behind));
}

TEST(Drawing, bones_reach_their_children_and_dissolved_objects_are_left_out) {
    Scene scene = someScene();
    const ItemId hero = scene.findItem("Hero"), spine = scene.findItem("Spine");
    scene.mutableMotion(spine, positionY).rest = 4;
    const View view(OrbitCamera{}, 400, 300);
    const auto shapes = [&] { return shapesAt(scene, 0, view); };
    const auto count = [](ItemId item, const SceneShapes& of) {
        return std::ranges::count(of.bones, item, &Bone::item) +
               std::ranges::count(of.marks, item, &Mark::item);
    };
    const SceneShapes shown = shapes();
    EXPECT_EQ(count(hero, shown), 1);
    EXPECT_EQ(count(spine, shown), 1);
    const auto hips = std::ranges::find(shown.bones, scene.findItem("Hips"), &Bone::item);
    ASSERT_NE(hips, shown.bones.end());
    EXPECT_NEAR(hips->to[1], 4, 1e-12);
    const ChannelId gone =
        scene.addChannel(scene.item(hero).group, std::string(dissolveChannelName), 1);
    ASSERT_TRUE(scene.has(gone));
    EXPECT_EQ(count(hero, shapes()) + count(spine, shapes()), 0);
    EXPECT_EQ(count(scene.findItem("Box"), shapes()), 1);
    EXPECT_TRUE(shapesAt(scene, 0, view, {.bones = false}).marks.empty());

    const auto world = worldTransforms(scene, 0.5);
    for (std::size_t i = 0; i < scene.itemCount(); ++i)
        for (std::size_t k = 0; k < 3; ++k)
            EXPECT_NEAR(world[i].offset[k], worldTransform(scene, Scene::itemAt(i), 0.5).offset[k],
                        1e-12);

    Scene flat = someScene(); // where Spine is at Hips
    const SceneShapes marked = shapesAt(flat, 0, view);
    EXPECT_EQ(std::ranges::count(marked.marks, flat.findItem("Spine"), &Mark::item), 1)
        << "a bone of no length";
}

TEST(Drawing, the_pose_before_the_last_edit_shows_what_moved) {
    Scene scene = someScene();
    Journal journal;
    EXPECT_FALSE(sceneBefore(scene, journal));
    const ItemId box = scene.findItem("Box");
    const double time = scene.motion(box, positionX).keys.last().time();
    const double value = scene.motion(box, positionX).evaluate(time);
    ASSERT_NE(value, scene.motion(box, positionX).rest);
    EditScope edit(scene, "Clear");
    edit.envelope(scene.channel(scene.item(box).motion[positionX]).envelope).keys.clear();
    journal.commit(edit);
    const auto before = sceneBefore(scene, journal);
    ASSERT_TRUE(before);
    EXPECT_EQ(before->motion(box, positionX).evaluate(time), value);
    const View view(OrbitCamera{}, 400, 300);
    SceneShapes ghost = shapesAt(*before, time, view);
    keepMoved(ghost, shapesAt(scene, time, view));
    for (const Mark& mark : ghost.marks)
        EXPECT_TRUE(mark.item == box || scene.item(mark.item).parent == box)
            << scene.item(mark.item).name;
    EXPECT_EQ(std::ranges::count(ghost.marks, box, &Mark::item), 1);
    EXPECT_TRUE(ghost.bones.empty());
    const std::vector<Vec3> trail = trailOf(*before, box);
    ASSERT_EQ(trail.size(), static_cast<std::size_t>(scene.previewLast + 1));
    EXPECT_EQ(trail.back(), worldPosition(*before, box, scene.rate.timeOf(scene.previewLast)));
    Scene shaped = before->snapshot();
    shaped.item(box).mesh = blockMesh();
    const Sphere whole = sphereAroundMotion(shaped);
    for (const Vec3& point : trail)
        EXPECT_LE(length(point - whole.center), whole.radius * (1 + 1e-9));
}

TEST(Drawing, a_selection_keeps_its_order_and_grows_at_its_end) {
    const auto id = [](int n) { return static_cast<ItemId>(n); };
    EXPECT_EQ(inOrderOfSelection({id(5), id(2), id(9)}, {id(1), id(2), id(5), id(7)}),
              (std::vector{id(5), id(2), id(1), id(7)}));
    EXPECT_TRUE(inOrderOfSelection({id(1)}, {}).empty());
}

} // namespace
} // namespace cadencora::stage
