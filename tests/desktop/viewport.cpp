// The viewport by mouse and keys.

#include "stage/desktop/views/viewport.h"
#include "tests/desktop/desk.h"
#include "tests/stage/formats/gltf/document.h"

#include <cmath>

namespace cadencora::stage {
namespace {

// Two cubes side by side and a third behind the first.
Scene threeCubes() {
    Scene scene;
    scene.lastFrame = scene.previewLast = 10;
    const auto add = [&](const char* name, double x, double z) {
        const ItemId id = scene.addItem(ItemType::object, name);
        scene.mutableMotion(id, positionX).rest = x;
        scene.mutableMotion(id, positionZ).rest = z;
    };
    add("Left", -2, 0);
    add("Right", 2, 0);
    add("Far", 0, -6);
    return scene;
}

struct ViewDesk : Desk {
    Viewport& view;

    ViewDesk() : Desk(threeCubes()), view(*Desk::view<Viewport>()) {}

    QPoint placeOf(const char* name) {
        const Vec3 world = worldPosition(scene(), item(name), scene().currentTime);
        const auto point = View(view.camera(), view.width(), view.height()).point(world);
        return point ? QPointF(point->x, point->y).toPoint() : QPoint();
    }
    void clickOn(const char* name, Qt::KeyboardModifiers modifiers = {}) {
        QTest::mouseClick(&view, Qt::LeftButton, modifiers, placeOf(name));
    }
    void drag(Qt::MouseButton button, QPoint way, Qt::KeyboardModifiers modifiers = {}) {
        const QPoint from(60, 60);
        stage::drag(view, button, from, from + way, modifiers);
    }
    std::vector<std::string> selected() {
        std::vector<std::string> names;
        for (const ItemId id : scene().selection)
            names.push_back(scene().item(id).name);
        return names;
    }
    // How many pixels of the picture are in the light and dark of what is selected.
    int selectedPixels() {
        const QImage image = view.grab().toImage();
        int count = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x) {
                const QColor found = image.pixelColor(x, y);
                count += std::abs(found.hsvHue() - 35) < 5 && found.hsvSaturation() > 150;
            }
        return count;
    }
};

using Names = std::vector<std::string>;

TEST(ViewportWidget, clicks_select_in_their_order) {
    ViewDesk desk;
    desk.clickOn("Right");
    EXPECT_EQ(desk.selected(), Names{"Right"});
    desk.clickOn("Far", Qt::ControlModifier);
    desk.clickOn("Left", Qt::ShiftModifier);
    EXPECT_EQ(desk.selected(), (Names{"Right", "Far", "Left"}));
    EXPECT_GT(desk.selectedPixels(), 50);
    desk.clickOn("Far", Qt::ControlModifier);
    EXPECT_EQ(desk.selected(), (Names{"Right", "Left"}));
    QTest::mouseClick(&desk.view, Qt::LeftButton, Qt::ControlModifier, {2, 2});
    EXPECT_EQ(desk.selected(), (Names{"Right", "Left"})) << "nothing was added";
    QTest::mouseClick(&desk.view, Qt::RightButton, {}, desk.placeOf("Far"));
    EXPECT_EQ(desk.selected(), (Names{"Right", "Left"})) << "the left button selects";
    desk.clickOn("Left");
    EXPECT_EQ(desk.selected(), Names{"Left"});
    QTest::mouseClick(&desk.view, Qt::LeftButton, {}, {2, 2});
    EXPECT_TRUE(desk.selected().empty());
    EXPECT_EQ(desk.selectedPixels(), 0);
}

TEST(ViewportWidget, a_drag_moves_the_camera_and_selects_nothing) {
    ViewDesk desk;
    desk.select("Far");
    const OrbitCamera before = desk.view.camera();
    auto moves = [&, last = before]() mutable {
        const OrbitCamera now = desk.view.camera();
        const std::array<bool, 3> what{now.heading != last.heading || now.pitch != last.pitch,
                                       now.target != last.target, now.distance != last.distance};
        last = now;
        return what;
    };
    constexpr std::array orbit{true, false, false}, pan{false, true, false},
        zoom{false, false, true}, none{false, false, false};
    desk.drag(Qt::LeftButton, {80, 40});
    EXPECT_EQ(moves(), orbit);
    EXPECT_NEAR(desk.view.camera().heading, before.heading - 80 * 0.008, 1e-9);
    desk.drag(Qt::MiddleButton, {80, 40});
    EXPECT_EQ(moves(), pan);
    desk.drag(Qt::LeftButton, {80, 40}, Qt::ShiftModifier);
    EXPECT_EQ(moves(), pan);
    desk.drag(Qt::RightButton, {80, 0});
    EXPECT_EQ(moves(), zoom);
    const double distance = desk.view.camera().distance;
    turnWheel(desk.view, {50, 50});
    EXPECT_LT(desk.view.camera().distance, distance);
    EXPECT_EQ(moves(), zoom);
    EXPECT_EQ(desk.selected(), Names{"Far"});
    desk.drag(Qt::LeftButton, {2, 1});
    EXPECT_EQ(moves(), none) << "a click with a shaking hand";
    EXPECT_TRUE(desk.selected().empty());
}

TEST(ViewportWidget, f_frames_the_selection_or_all) {
    ViewDesk desk;
    desk.select("Far");
    desk.key(Qt::Key_F);
    EXPECT_EQ(desk.view.camera().target, (Vec3{0, 0, -6}));
    const double distance = desk.view.camera().distance;
    desk.document().select({});
    desk.key(Qt::Key_F);
    EXPECT_EQ(desk.view.camera().target, (Vec3{0, 0, -3}));
    EXPECT_GT(desk.view.camera().distance, distance);
}

TEST(ViewportWidget, the_meshes_of_a_file_are_drawn_and_picked) {
    ViewDesk desk;
    gltf::Document document;
    document.mesh({0, 0, 0, 4, 0, 0, 4, 4, 0, 0, 4, 0}, {0, 1, 2, 0, 2, 3});
    document.node(R"({"name": "Sheet", "mesh": 0})");
    ASSERT_TRUE(writeFile(desk.file("sheet.glb").toStdString(), document.glb()).ok());
    ASSERT_TRUE(desk.window.openFile(desk.file("sheet.glb")));
    EXPECT_EQ(desk.view.camera().target, (Vec3{2, 2, 0})) << "the whole of it is framed";
    const Vec3 inside{3, 1, 0};
    const auto at = View(desk.view.camera(), desk.view.width(), desk.view.height()).point(inside);
    QTest::mouseClick(&desk.view, Qt::LeftButton, {}, QPointF(at->x, at->y).toPoint());
    EXPECT_EQ(desk.selected(), Names{"Sheet"});
    EXPECT_GT(desk.selectedPixels(), 50);
}

} // namespace
} // namespace cadencora::stage
