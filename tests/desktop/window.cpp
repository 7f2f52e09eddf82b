// The main window: time, views, menus.

#include "stage/desktop/app/shared_files.h"
#include "stage/desktop/views/curve_view.h"
#include "stage/desktop/views/timeline.h"
#include "tests/desktop/desk.h"

#include <QCheckBox>
#include <QSpinBox>
#include <QToolButton>

namespace cadencora::stage {
namespace {

double frame(Desk& desk) {
    return desk.scene().rate.frameOf(desk.scene().currentTime);
}

TEST(Window, the_tree_selects_in_the_order_of_clicks_and_follows_the_host) {
    Desk desk;
    auto* tree = desk.window.findChild<QTreeWidget*>(QStringLiteral("tree"));
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

struct CurvesDesk : Desk {
    CurveView* view = Desk::view<CurveView>();
    Timeline* line = Desk::view<Timeline>();

    CurvesDesk() {
        window.resize(1200, 800);
        select("Hips");
    }
    QPoint at(double where) const { // in the middle of the lane
        const CurveView::Lane& lane = view->lanes().at(0);
        return {static_cast<int>(std::lround(line->xOf(where))),
                static_cast<int>(lane.top + lane.height / 2)};
    }
};

TEST(Window, curves_and_timeline_share_one_axis_that_zooms_and_pans) {
    CurvesDesk desk;
    ASSERT_EQ(desk.view->lanes().size(), 1u);
    QTest::mouseClick(desk.view, Qt::LeftButton, {}, desk.at(20));
    EXPECT_EQ(frame(desk), 20);
    const double before = desk.line->xOf(60) - desk.line->xOf(0);
    const QPoint middle = desk.at(30);
    const Range values = desk.view->lanes()[0].values;
    turnWheel(*desk.view, middle);
    EXPECT_NEAR(desk.line->xOf(30), middle.x(), 1) << "what is under the pointer stays";
    EXPECT_GT(desk.line->xOf(60) - desk.line->xOf(0), before);
    const double zoomed = desk.line->xOf(60) - desk.line->xOf(0);
    turnWheel(*desk.view, middle, Qt::ShiftModifier);
    EXPECT_LT(desk.view->lanes()[0].values.high - desk.view->lanes()[0].values.low,
              values.high - values.low);
    EXPECT_EQ(desk.line->xOf(60) - desk.line->xOf(0), zoomed) << "with Shift only the values";
    const double high = desk.view->lanes()[0].values.high, x = desk.line->xOf(30);
    drag(*desk.view, Qt::MiddleButton, middle, middle + QPoint(40, 12));
    EXPECT_NEAR(desk.line->xOf(30), x + 40, 1e-6) << "the view goes along";
    EXPECT_GT(desk.view->lanes()[0].values.high, high);
    EXPECT_EQ(frame(desk), 20) << "the time does not";
    desk.key(Qt::Key_F, Qt::ShiftModifier);
    EXPECT_NEAR(desk.line->xOf(60) - desk.line->xOf(0), before, 1e-6);
    EXPECT_EQ(desk.view->lanes()[0].values.high, values.high);
}

TEST(Window, a_box_over_keys_marks_a_range_that_the_next_dialog_opens_with) {
    CurvesDesk desk;
    const CurveView::Lane& lane = desk.view->lanes().at(0);
    const int top = static_cast<int>(lane.top), bottom = static_cast<int>(lane.top + lane.height);
    drag(*desk.view, Qt::LeftButton, QPoint(desk.at(19.6).x(), top),
         QPoint(desk.at(40.4).x(), bottom));
    ASSERT_TRUE(desk.document().markedRange());
    EXPECT_EQ(desk.document().markedRange()->first, 20);
    EXPECT_EQ(desk.document().markedRange()->last, 40);
    EXPECT_EQ(desk.news(), "marked frames 20 to 40 for the next dialog: 3 keys of "
                           "Hips/Rotation.H (3)");
    const auto over = [&](double where) {
        return QPoint(static_cast<int>(std::lround(desk.line->xOf(where))),
                      desk.line->height() - 3);
    };
    drag(*desk.line, Qt::LeftButton, over(35), over(15), Qt::ShiftModifier);
    EXPECT_EQ(desk.document().markedRange()->first, 15);
    EXPECT_EQ(desk.document().markedRange()->last, 35);
    drag(*desk.line, Qt::LeftButton, over(20), over(40), Qt::ShiftModifier);
    desk.hand.then([&](QDialog& dialog) {
        EXPECT_TRUE(dialog.windowTitle().startsWith(QStringLiteral("Destroy Keys")));
        ASSERT_TRUE(desk.document().askedRange());
        EXPECT_EQ(desk.document().askedRange()->first, 20);
        EXPECT_EQ(part<QLineEdit>(dialog, "End")->text(), QStringLiteral("40"));
        // The grips of the range are on the timeline, which scrubs as well.
        drag(*desk.line, Qt::LeftButton, over(20), over(10));
        EXPECT_EQ(part<QLineEdit>(dialog, "Start")->text(), QStringLiteral("10"));
        drag(*desk.line, Qt::LeftButton, over(25), over(50));
        EXPECT_EQ(frame(desk), 50);
        desk.window.playback().setPlaying(true);
        EXPECT_TRUE(desk.window.playback().isPlaying());
        desk.window.playback().setPlaying(false);
        desk.document().goToFrame(33);
        desk.document().select({});
        EXPECT_EQ(desk.scene().selection.size(), 1u) << "the command is at work on it";
        part<QCheckBox>(dialog, "Use selected objects only")->setChecked(false);
        clickOk(dialog);
    });
    desk.hand.then(&clickYes);
    desk.press("Destroy Keys");
    EXPECT_EQ(desk.times("Hips", heading), (std::vector<double>{0, 50, 60}));
    ASSERT_TRUE(desk.document().changedRange());
    EXPECT_EQ(desk.document().changedRange()->first, 10);
    const Step step = desk.document().recorder().steps().at(0);
    EXPECT_EQ(step.time, 33) << "where the user was at OK";
    desk.document().undo();
    EXPECT_FALSE(desk.document().changedRange());
    QTest::mouseClick(desk.view, Qt::LeftButton, {}, desk.at(20));
    EXPECT_FALSE(desk.document().markedRange());
}

TEST(Window, channels_are_hidden_singled_out_and_found) {
    CurvesDesk desk;
    desk.document().select({desk.item("Hips"), desk.item("Box")});
    auto* list = desk.view->window()->findChild<QTreeWidget*>(QStringLiteral("channels"));
    ASSERT_NE(list, nullptr);
    ASSERT_EQ(list->topLevelItemCount(), 2);
    EXPECT_EQ(desk.view->lanes().size(), 2u) << "a lane for each unit";
    list->topLevelItem(0)->setCheckState(0, Qt::Unchecked);
    ASSERT_EQ(desk.view->lanes().size(), 1u);
    EXPECT_EQ(desk.view->lanes()[0].curves[0].name, "Box/Position.X");
    emit list->itemDoubleClicked(list->topLevelItem(0), 0);
    EXPECT_EQ(desk.view->lanes()[0].curves[0].name, "Hips/Rotation.H");
    auto* search = list->parentWidget()->findChild<QLineEdit*>();
    type(search, QStringLiteral("posit"));
    EXPECT_TRUE(list->topLevelItem(0)->isHidden());
    EXPECT_FALSE(list->topLevelItem(1)->isHidden());
    click(findButton(*list->parentWidget(), "All"));
    EXPECT_EQ(desk.view->lanes().size(), 2u);
}

TEST(Window, the_first_screen_leads_to_a_scene_and_close_leads_back) {
    MainWindow window;
    window.show();
    auto* open = findButton(window, "Open the example: a figure that walks");
    ASSERT_NE(open, nullptr);
    EXPECT_TRUE(open->isVisible());
    click(open);
    EXPECT_FALSE(open->isVisible());
    EXPECT_NE(window.document().scene().findItem("Hips"), ItemId::none);
    trigger(window, "&Close");
    EXPECT_TRUE(open->isVisible());
    EXPECT_EQ(window.document().scene().itemCount(), 0u);
    trigger(window, "&New");
    EXPECT_FALSE(open->isVisible());
}

TEST(Window, revert_opens_the_file_again_and_rate_and_last_frame_can_be_set) {
    Desk desk;
    const auto answer = [&](const char* rate, int last) {
        desk.hand.then([rate, last](QDialog& dialog) {
            type(dialog.findChild<QLineEdit*>(), QString::fromUtf8(rate));
            if (last > 0) dialog.findChild<QSpinBox*>()->setValue(last);
            clickOk(dialog);
            if (dialog.isVisible()) dialog.reject();
        });
        trigger(desk.window, "&Rate and Last Frame…");
    };
    const double end = desk.scene().motion(desk.item("Hips"), heading).keys.last().time();
    answer("often", 10);
    EXPECT_EQ(desk.scene().rate.text(), "30");
    answer("60", 10);
    EXPECT_EQ(desk.scene().rate.text(), "60");
    EXPECT_EQ(desk.scene().lastFrame, 120) << "it covers the last key";
    EXPECT_EQ(desk.scene().motion(desk.item("Hips"), heading).keys.last().time(), end);
    answer("60", 200);
    EXPECT_EQ(desk.scene().lastFrame, 200);
    EXPECT_EQ(desk.scene().previewLast, 200);
    answer("120", 0);
    EXPECT_EQ(desk.scene().lastFrame, 400) << "as long as before";
    EXPECT_TRUE(desk.window.isWindowModified());
    desk.hand.then(&clickYes);
    trigger(desk.window, "Re&vert");
    EXPECT_EQ(desk.scene().rate.text(), "30");
    EXPECT_FALSE(desk.window.isWindowModified());
}

TEST(Window, keys_of_the_selection_and_items_of_a_name_are_found) {
    Desk desk;
    desk.select("Hips");
    desk.key(Qt::Key_Right, Qt::ControlModifier);
    EXPECT_EQ(frame(desk), 10);
    desk.document().goToFrame(15);
    desk.key(Qt::Key_Left, Qt::ControlModifier);
    EXPECT_EQ(frame(desk), 10);
    desk.document().goToFrame(60);
    desk.key(Qt::Key_Right, Qt::ControlModifier);
    EXPECT_EQ(frame(desk), 60) << "no key comes after it";

    auto* tree = desk.window.findChild<QTreeWidget*>(QStringLiteral("tree"));
    type(tree->parentWidget()->findChild<QLineEdit*>(), QStringLiteral("spin"));
    const auto row = [&](const char* name) {
        return tree->findItems(QString::fromUtf8(name), Qt::MatchExactly | Qt::MatchRecursive)
            .at(0);
    };
    EXPECT_FALSE(row("Spine")->isHidden());
    EXPECT_FALSE(row("Hips")->isHidden()) << "it is above";
    EXPECT_TRUE(row("Box")->isHidden());
    desk.select("Hips");
    tree->setFocus();
    const double before = frame(desk);
    QTest::keyClick(tree, Qt::Key_Down);
    EXPECT_EQ(desk.scene().selection, std::vector{desk.item("Spine")});
    EXPECT_EQ(frame(desk), before);
}

TEST(Window, every_button_of_the_plug_in_has_a_page_of_the_manual) {
    Desk desk;
    std::size_t buttons = 0;
    for (const PanelModel& panel : desk.document().host().panels().panels())
        for (const ControlModel* control : panel.controls) {
            if (control->type != ControlType::button) continue;
            ++buttons;
            const QString page = pageAbout(QString::fromStdString(control->label));
            EXPECT_FALSE(page.isEmpty()) << control->label;
            const QString about = beginningOf(page);
            EXPECT_TRUE(about.size() > 40 && about.size() < 500 && about.endsWith(QChar(u'.')))
                << control->label << ": " << about.toStdString();
        }
    EXPECT_EQ(buttons, 17u);
    EXPECT_EQ(pageAbout(QStringLiteral("Undissolve")), QStringLiteral("commands/dissolve.md"));
    EXPECT_TRUE(pageAbout(QStringLiteral("Frame Selection")).isEmpty());
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
