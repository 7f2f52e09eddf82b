#include "stage/desktop/recent_files.h"
#include "stage/desktop/timeline.h"
#include "tests/desktop/desk.h"

#include <QDropEvent>
#include <QFile>
#include <QMimeData>
#include <QToolButton>
#include <QUrl>

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
    desk.key(Qt::Key_Delete);
    EXPECT_EQ(desk.scene().itemCount(), 7u);
    EXPECT_EQ(desk.scene().keyCount(), 21u);
    EXPECT_FALSE(desk.window.isWindowModified());
}

TEST(Window, playing_shows_the_frame_that_is_due_and_starts_again_behind_the_preview) {
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
    auto* line = [&]() -> Timeline* {
        for (QWidget* widget : desk.window.findChildren<QWidget*>())
            if (auto* found = dynamic_cast<Timeline*>(widget)) return found;
        return nullptr;
    }();
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

TEST(Window, files_are_saved_remembered_and_opened_by_dropping) {
    Desk desk;
    EXPECT_TRUE(desk.window.saveFile(desk.file("other.stage")));
    EXPECT_FALSE(desk.window.isWindowModified());
    EXPECT_EQ(desk.news(), "wrote " + desk.file("other.stage").toStdString());
    EXPECT_EQ(recentFiles().mid(0, 2),
              (QStringList{desk.file("other.stage"), desk.file("scene.stage")}));

    QMimeData dropped;
    dropped.setUrls(
        {QUrl::fromLocalFile(QStringLiteral(CADENCORA_SOURCE_DIR "/examples/room.stage"))});
    QDragEnterEvent enter({5, 5}, Qt::CopyAction, &dropped, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&desk.window, &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDropEvent drop({5, 5}, Qt::CopyAction, &dropped, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&desk.window, &drop);
    EXPECT_EQ(desk.document().name(), "room.stage");
    EXPECT_EQ(desk.window.windowTitle(), QStringLiteral("room.stage[*] - Cadencora"));

    desk.hand.then([](QDialog& said) { said.accept(); });
    EXPECT_FALSE(desk.window.openFile(desk.file("none.bvh")));
    EXPECT_EQ(desk.document().name(), "room.stage") << "a failed open leaves it";
}

TEST(Window, unsaved_changes_are_asked_about) {
    Desk desk;
    desk.select("Hips");
    desk.hand.then(&clickOk);
    desk.hand.then(
        [](QDialog& box) { click(dynamic_cast<QMessageBox&>(box).button(QMessageBox::Yes)); });
    desk.press("Destroy Keys");
    ASSERT_TRUE(desk.window.isWindowModified());
    const auto answer = [&](QMessageBox::StandardButton which) {
        desk.hand.then(
            [which](QDialog& box) { click(dynamic_cast<QMessageBox&>(box).button(which)); });
        return desk.window.close();
    };
    EXPECT_FALSE(answer(QMessageBox::Cancel));
    EXPECT_TRUE(answer(QMessageBox::Save));
    EXPECT_FALSE(desk.window.isWindowModified());
    const auto saved = readScene(desk.file("scene.stage").toStdString());
    ASSERT_TRUE(saved.ok());
    EXPECT_EQ(saved.value().scene.keyCount(), 7u);
}

} // namespace
} // namespace cadencora::stage
