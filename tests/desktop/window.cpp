// The main window: time, views, menus.

#include "stage/desktop/views/curve_view.h"
#include "stage/desktop/views/timeline.h"
#include "tests/desktop/desk.h"

#include <QSpinBox>
#include <QToolButton>
#include <QWheelEvent>

namespace cadencora::stage {
namespace {

double frame(Desk& desk) {
    return desk.scene().rate.frameOf(desk.scene().currentTime);
}

TEST(Window, the_tree_selects_in_the_order_of_clicks_and_follows_the_host) {
    Desk desk;
    auto* tree = desk.window.findChild<QTreeWidget*>();
    const auto clickRow = [&](const char* name, Qt::KeyboardModifiers modifiers = {}) {
        QTreeWidgetItem* row =
            tree->findItems(QString::fromUtf8(name), Qt::MatchExactly | Qt::MatchRecursive).at(0);
        QTest::mouseClick(tree->viewport(), Qt::LeftButton, modifiers,
                          tree->visualItemRect(row).center());
    };
    clickRow("Box");
    clickRow("Hips", Qt::ControlModifier);
    clickRow("Lid", Qt::ControlModifier);
    EXPECT_EQ(desk.scene().selection,
              (std::vector{desk.item("Box"), desk.item("Hips"), desk.item("Lid")}));
    clickRow("Box", Qt::ControlModifier);
    EXPECT_EQ(desk.scene().selection, (std::vector{desk.item("Hips"), desk.item("Lid")}));
    clickRow("Spine");
    EXPECT_EQ(desk.scene().selection, std::vector{desk.item("Spine")});
    desk.document().select({desk.item("Cam"), desk.item("Sun")});
    EXPECT_EQ(tree->selectedItems().size(), 2);
    EXPECT_EQ(desk.scene().selection.front(), desk.item("Cam")) << "its order stays";
}

TEST(Window, keys_move_the_time_and_delete_does_nothing) {
    Desk desk;
    desk.select("Hips");
    desk.key(Qt::Key_Right);
    desk.key(Qt::Key_Right);
    desk.key(Qt::Key_Left);
    EXPECT_EQ(frame(desk), 1);
    desk.document().setTime(0.05); // between frames 1 and 2
    desk.key(Qt::Key_Left);
    EXPECT_EQ(frame(desk), 1);
    desk.key(Qt::Key_End);
    EXPECT_EQ(frame(desk), 60);
    desk.document().setPreview(5, 50);
    desk.key(Qt::Key_Home);
    EXPECT_EQ(frame(desk), 5);
    auto* first = desk.window.findChild<QSpinBox*>();
    first->setFocus();
    QTest::keyClick(first, Qt::Key_Return);
    EXPECT_FALSE(first->hasFocus()) << "the keys are the window's again";
    first->setFocus();
    click(desk.view<CurveView>());
    EXPECT_FALSE(first->hasFocus());
    desk.key(Qt::Key_Delete);
    EXPECT_EQ(desk.scene().itemCount(), 7u);
    EXPECT_EQ(desk.scene().keyCount(), 21u);
    EXPECT_FALSE(desk.window.isWindowModified());
}

TEST(Window, playing_shows_the_frame_that_is_due_and_starts_again_after_the_preview) {
    Desk desk;
    Playback& playback = desk.window.playback();
    desk.document().setPreview(10, 19);
    desk.document().setTime(desk.scene().rate.timeOf(12));
    desk.key(Qt::Key_Space);
    ASSERT_TRUE(playback.isPlaying());
    playback.showAfter(0);
    EXPECT_EQ(frame(desk), 12);
    playback.showAfter(3.5 / 30);
    EXPECT_EQ(frame(desk), 15) << "whole frames";
    playback.showAfter(7 / 30.0);
    EXPECT_EQ(frame(desk), 19);
    playback.showAfter(8 / 30.0);
    EXPECT_EQ(frame(desk), 10);
    playback.showAfter(28 / 30.0);
    EXPECT_EQ(frame(desk), 10);
    click(desk.window.findChild<QToolButton*>(QStringLiteral("play")));
    EXPECT_FALSE(playback.isPlaying());
}

TEST(Window, the_timeline_scrubs_and_its_grips_move_the_preview) {
    Desk desk;
    auto* line = desk.view<Timeline>();
    const auto at = [&](double where, int y) {
        return QPoint(static_cast<int>(std::lround(line->xOf(where))), y);
    };
    const int low = line->height() - 3;
    QTest::mousePress(line, Qt::LeftButton, {}, at(24, low));
    EXPECT_EQ(frame(desk), 24);
    QTest::mouseMove(line, at(31, low));
    EXPECT_EQ(frame(desk), 31);
    QTest::mouseMove(line, at(1000, low));
    EXPECT_EQ(frame(desk), 60);
    QTest::mouseRelease(line, Qt::LeftButton, {}, at(1000, low));
    QTest::mousePress(line, Qt::LeftButton, {}, at(58, 3));
    QTest::mouseMove(line, at(40, 3));
    QTest::mouseRelease(line, Qt::LeftButton, {}, at(40, 3));
    EXPECT_EQ(desk.scene().previewLast, 40);
    EXPECT_EQ(desk.scene().previewFirst, 0);
}

TEST(Window, the_curves_are_scrubbed_panned_and_zoomed) {
    Desk desk;
    desk.select("Hips");
    auto* view = desk.view<CurveView>();
    ASSERT_EQ(view->curves().size(), 1u);
    const TimeWindow before = view->times();
    const auto at = [&](double where) {
        const double column = view->times().columnOf(desk.scene().rate.timeOf(1) * where);
        return QPoint(static_cast<int>(std::lround(column)), view->height() / 2);
    };
    QTest::mousePress(view, Qt::LeftButton, {}, at(20));
    EXPECT_EQ(frame(desk), 20);
    QTest::mouseMove(view, at(33));
    EXPECT_EQ(frame(desk), 33);
    QTest::mouseRelease(view, Qt::LeftButton, {}, at(33));

    const QPoint middle = at(30);
    const double held = view->times().timeOf(middle.x());
    const Range values = view->values();
    const auto wheel = [&](Qt::KeyboardModifiers modifiers) {
        QWheelEvent event(middle, view->mapToGlobal(middle), {}, {0, 120}, Qt::NoButton, modifiers,
                          Qt::NoScrollPhase, false);
        QApplication::sendEvent(view, &event);
    };
    wheel(Qt::ControlModifier);
    EXPECT_NEAR(view->times().timeOf(middle.x()), held, 1e-9) << "what is under the pointer stays";
    EXPECT_LT(view->times().last - view->times().first, before.last - before.first);
    EXPECT_EQ(view->values().high, values.high) << "with Ctrl only the time";
    const double seconds = view->times().last - view->times().first;
    wheel(Qt::ShiftModifier);
    EXPECT_LT(view->values().high - view->values().low, values.high - values.low);
    EXPECT_EQ(view->times().last - view->times().first, seconds) << "with Shift only the values";

    const Range zoomed = view->values();
    QTest::mousePress(view, Qt::MiddleButton, {}, middle);
    QTest::mouseMove(view, middle + QPoint(40, 10));
    QTest::mouseRelease(view, Qt::MiddleButton, {}, middle + QPoint(40, 10));
    EXPECT_NEAR(view->times().timeOf(middle.x() + 40), held, 1e-9) << "the view goes along";
    EXPECT_GT(view->values().high, zoomed.high);
    EXPECT_EQ(frame(desk), 33) << "the time does not";
    desk.key(Qt::Key_F, Qt::ShiftModifier);
    EXPECT_EQ(view->times().first, before.first);
    EXPECT_EQ(view->values().high, values.high);
}

TEST(DesktopProgram, answers_questions_about_itself_without_a_display) {
    for (const char* question : {"--help", "--version"}) {
        const std::string line =
            "env -u DISPLAY -u WAYLAND_DISPLAY QT_QPA_PLATFORM=xcb " CADENCORA_BIN_DIR
            "/cadencora-desktop " +
            std::string(question) + " >/dev/null 2>&1";
        EXPECT_EQ(std::system(line.c_str()), 0) << question;
    }
}

} // namespace
} // namespace cadencora::stage
