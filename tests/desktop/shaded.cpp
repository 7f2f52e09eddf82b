// The viewport with OpenGL: what a pixel shows. Skipped where there is no OpenGL, except in the run
// that has a display for it.

#include "stage/desktop/canvas/viewport_canvas.h"
#include "stage/desktop/views/viewport.h"
#include "tests/desktop/desk.h"
#include "tests/stage/formats/gltf/document.h"

#include <QBuffer>

namespace cadencora::stage {
namespace {

// A sheet from (0, 0) to (4, 4) that faces the viewer, with another behind it, and a bone; the
// sheet goes away to the right in a clip.
gltf::Document sheets() {
    gltf::Document document;
    const std::vector<float> square{0, 0, 0, 4, 0, 0, 4, 4, 0, 0, 4, 0};
    document.mesh(square, {0, 1, 2, 0, 2, 3});
    document.mesh(square, {0, 1, 2, 0, 2, 3});
    document.node(R"({"name": "Front", "mesh": 0})");
    document.node(R"({"name": "Behind", "mesh": 1, "translation": [2, 0, -1]})");
    const std::size_t at = document.times({0, 1});
    document.animate(0, 0, "translation", at, document.floats({0, 0, 0, 20, 0, 0}, "VEC3"));
    document.json["materials"] = gltf::Json::parse(
        R"([{"pbrMetallicRoughness": {"baseColorFactor": [1, 0, 0, 1]}},
            {"pbrMetallicRoughness": {"baseColorFactor": [0, 0, 1, 1]}}])");
    document.primitive(0)["material"] = 0;
    document.primitive(1)["material"] = 1;
    return document;
}

// Gives the first material an image: green above, red below.
void paintFirst(gltf::Document& document) {
    QImage image(2, 2, QImage::Format_RGB32);
    image.fill(Qt::red);
    image.setPixelColor(0, 0, Qt::green);
    image.setPixelColor(1, 0, Qt::green);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, "PNG");
    const std::vector<std::uint8_t> values(bytes.begin(), bytes.end());
    const std::size_t accessor = document.numbers(values, "SCALAR", 5121, 1);
    document.json["images"] = {{{"bufferView", document.json["accessors"][accessor]["bufferView"]},
                                {"mimeType", "image/png"}}};
    document.json["textures"] = gltf::Json::parse(R"([{"source": 0}])");
    document.json["materials"][0] =
        gltf::Json::parse(R"({"pbrMetallicRoughness": {"baseColorTexture": {"index": 0}}})");
    document.primitive(0)["attributes"]["TEXCOORD_0"] =
        document.numbers(std::vector<float>{0, 1, 1, 1, 1, 0, 0, 0}, "VEC2", 5126, 2);
}

struct ShadedDesk : Desk {
    Viewport& view;

    explicit ShadedDesk(gltf::Document document) : view(*Desk::view<Viewport>()) {
        EXPECT_TRUE(writeFile(file("sheets.glb").toStdString(), document.glb()).ok());
        EXPECT_TRUE(window.openFile(file("sheets.glb")));
        view.lookFrom(Viewport::Side::front);
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&window));
    }
    QPoint place(const Vec3& world) const {
        const auto at = View(view.camera(), view.width(), view.height()).point(world);
        return at ? QPointF(at->x, at->y).toPoint() : QPoint();
    }
    // "red", "green", "blue" or "grey" of the pixel where a place of the world is.
    std::string colourAt(const Vec3& world) {
        const QImage image = view.grab().toImage();
        const QColor found = image.pixelColor(place(world) * image.devicePixelRatio());
        if (found.hsvSaturation() < 30) return "grey";
        const int hue = (found.hsvHue() + 60) % 360;
        return hue < 120 ? "red" : hue < 240 ? "green" : "blue";
    }
    std::string picked(const Vec3& world) {
        QTest::mouseClick(&view, Qt::LeftButton, {}, place(world));
        return scene().selection.empty() ? "" : scene().item(scene().selection.back()).name;
    }
};

bool isMissing() {
    if (canShade()) return false;
    EXPECT_FALSE(qEnvironmentVariableIsSet("CADENCORA_NEEDS_OPENGL"));
    return true;
}

TEST(Shaded, surfaces_hide_what_is_behind_them_and_are_picked_as_seen) {
    if (isMissing()) GTEST_SKIP() << "no OpenGL";
    ShadedDesk desk(sheets());
    EXPECT_EQ(desk.colourAt({1, 2, 0}), "red");
    EXPECT_EQ(desk.colourAt({3, 2, 0}), "red") << "in front of the other";
    EXPECT_EQ(desk.colourAt({5, 2, -1}), "blue");
    EXPECT_EQ(desk.colourAt({-2, 2, 0}), "grey");
    EXPECT_EQ(desk.picked({3, 2, 0}), "Front");
    EXPECT_EQ(desk.picked({5, 2, -1}), "Behind");
    desk.document().goToFrame(desk.scene().lastFrame);
    EXPECT_EQ(desk.colourAt({3, 2, -1}), "blue") << "the sheet in front has gone";
    const auto nearCorner = [&] { // where the axes of the world are drawn
        const QImage image = desk.view.grab().toImage();
        int coloured = 0;
        for (int y = image.height() * 3 / 4; y < image.height(); ++y)
            for (int x = 0; x < image.width() / 6; ++x)
                coloured += image.pixelColor(x, y).hsvSaturation() > 100;
        return coloured;
    };
    EXPECT_GT(nearCorner(), 20);
    ViewOptions options = desk.view.options();
    options.meshes = false;
    desk.view.setOptions(options);
    EXPECT_EQ(desk.colourAt({3, 2, -1}), "grey");
}

TEST(Shaded, the_image_of_a_material_is_upright) {
    if (isMissing()) GTEST_SKIP() << "no OpenGL";
    gltf::Document document = sheets();
    paintFirst(document);
    ShadedDesk desk(document);
    EXPECT_EQ(desk.colourAt({2, 3.7, 0}), "green");
    EXPECT_EQ(desk.colourAt({2, 0.3, 0}), "red");
}

TEST(Shaded, the_pose_before_a_command_shows_as_a_ghost) {
    if (isMissing()) GTEST_SKIP() << "no OpenGL";
    ShadedDesk desk(sheets());
    desk.document().goToFrame(desk.scene().lastFrame);
    ASSERT_EQ(desk.colourAt({1, 2, 0}), "grey");
    desk.document().goToFrame(0);
    desk.select("Front");
    desk.hand.then(clickOk); // every key goes, and the sheet stays at its rest place
    desk.hand.then(&clickYes);
    desk.press("Destroy Keys");
    ASSERT_EQ(desk.times("Front", positionX).size(), 0u) << desk.news();
    desk.document().goToFrame(desk.scene().lastFrame);
    EXPECT_EQ(desk.colourAt({22, 2, 0}), "blue") << "faint, where the sheet was";
    desk.document().undo();
    desk.document().goToFrame(0);
    EXPECT_EQ(desk.colourAt({1, 2, 0}), "red");
}

} // namespace
} // namespace cadencora::stage
