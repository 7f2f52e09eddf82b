// Opening, saving, importing, exporting; clips and long work.

#include "stage/desktop/app/long_work.h"
#include "stage/desktop/app/recent_files.h"
#include "tests/desktop/desk.h"
#include "tests/stage/formats/gltf/document.h"

#include <QDropEvent>
#include <QFile>
#include <QLabel>
#include <QMimeData>
#include <QProcess>
#include <QProgressDialog>
#include <QTimer>
#include <QToolButton>
#include <QUrl>

#include <chrono>
#include <future>
#include <thread>

namespace cadencora::stage {
namespace {

using namespace std::chrono_literals;

QByteArray bytesOf(const QString& path) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return file.readAll();
}

const QString walk = QStringLiteral(CADENCORA_SOURCE_DIR "/examples/walk.bvh");

// Destroys all keys of what is selected.
void destroyAll(Desk& desk) {
    desk.hand.then(&clickOk);
    desk.hand.then(&clickYes);
    desk.press("Destroy Keys");
}

TEST(Files, they_are_saved_remembered_and_opened_by_dropping) {
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
    QApplication::processEvents();
    EXPECT_EQ(desk.document().name(), "room.stage");
    EXPECT_EQ(desk.window.windowTitle(), QStringLiteral("room.stage[*] - Cadencora"));

    desk.hand.then([](QDialog& said) { said.accept(); });
    EXPECT_FALSE(desk.window.openFile(desk.file("none.bvh")));
    EXPECT_EQ(desk.document().name(), "room.stage") << "a failed open leaves it";
}

TEST(Files, unsaved_changes_are_asked_about) {
    Desk desk;
    desk.select("Hips");
    destroyAll(desk);
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

TEST(Files, keys_open_the_pickers) {
    Desk desk;
    desk.hand.then([](QDialog& picker) { pick(dynamic_cast<QFileDialog&>(picker), walk); });
    desk.key(Qt::Key_O, Qt::ControlModifier);
    EXPECT_EQ(desk.document().name(), "walk.bvh");
    desk.select("Hips");
    destroyAll(desk);
    desk.hand.then([&](QDialog& picker) {
        auto& files = dynamic_cast<QFileDialog&>(picker);
        EXPECT_TRUE(files.selectedNameFilter().contains(QStringLiteral("*.bvh"))) << "its own kind";
        pick(files, desk.file("standing"));
    });
    desk.key(Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(desk.document().path(), desk.file("standing.bvh").toStdString());
    EXPECT_FALSE(desk.window.isWindowModified());
    desk.document().undo();
    desk.key(Qt::Key_S, Qt::ControlModifier);
    EXPECT_EQ(bytesOf(desk.file("standing.bvh")), bytesOf(walk)) << "saved where it was";
}

TEST(Files, what_is_imported_is_not_saved_over_and_what_is_exported_stays_itself) {
    Desk desk;
    ASSERT_TRUE(QFile::copy(walk, desk.file("walk.bvh")));
    desk.hand.then(
        [&](QDialog& picker) { pick(dynamic_cast<QFileDialog&>(picker), desk.file("walk.bvh")); });
    desk.key(Qt::Key_I, Qt::ControlModifier);
    EXPECT_EQ(desk.document().name(), "walk.bvh (imported)");
    desk.select("Hips");
    destroyAll(desk);
    desk.hand.then(
        [&](QDialog& picker) { pick(dynamic_cast<QFileDialog&>(picker), desk.file("copy.bvh")); });
    desk.key(Qt::Key_E, Qt::ControlModifier);
    EXPECT_NE(bytesOf(desk.file("copy.bvh")), bytesOf(walk));
    EXPECT_TRUE(desk.window.isWindowModified());
    EXPECT_EQ(desk.document().name(), "walk.bvh (imported)");

    desk.hand.then([&](QDialog& picker) {
        auto& files = dynamic_cast<QFileDialog&>(picker);
        EXPECT_TRUE(files.selectedFiles().first().endsWith(QStringLiteral("walk.stage")));
        files.selectNameFilter(QStringLiteral("glTF binary (*.glb)"));
        click(files.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Save));
    });
    desk.key(Qt::Key_S, Qt::ControlModifier);
    EXPECT_FALSE(desk.window.isWindowModified());
    EXPECT_EQ(bytesOf(desk.file("walk.bvh")), bytesOf(walk));
}

TEST(Files, losses_are_asked_about_before_a_file_is_replaced_and_once) {
    Desk desk;
    ASSERT_TRUE(QFile::copy(walk, desk.file("walk.bvh")));
    ASSERT_TRUE(desk.window.openFile(desk.file("walk.bvh")));
    desk.select("Hips");
    desk.hand.then(&clickOk);
    desk.hand.then([](QDialog& dialog) {
        click(findButton(dialog, "Time")); // keys leave their frames, which the format cannot hold
        clickOk(dialog);
    });
    desk.press("Randomize/Jitter Keys");
    const auto save = [&](QMessageBox::StandardButton which) {
        desk.hand.then(
            [which](QDialog& box) { click(dynamic_cast<QMessageBox&>(box).button(which)); });
        desk.key(Qt::Key_S, Qt::ControlModifier);
    };
    save(QMessageBox::Cancel);
    EXPECT_EQ(bytesOf(desk.file("walk.bvh")), bytesOf(walk));
    EXPECT_TRUE(desk.window.isWindowModified());
    save(QMessageBox::Save);
    EXPECT_NE(bytesOf(desk.file("walk.bvh")), bytesOf(walk));
    EXPECT_FALSE(desk.window.isWindowModified());
    desk.key(Qt::Key_S, Qt::ControlModifier); // asks no more
}

TEST(Files, each_clip_keeps_its_edits_and_its_undo_until_they_are_saved_together) {
    Desk desk;
    const QString file = desk.file("two.gltf");
    ASSERT_TRUE(writeFile(file.toStdString(), gltf::Document::twoClips().embedded()).ok());
    ASSERT_TRUE(desk.window.openFile(file));
    auto* button = desk.window.findChild<QToolButton*>(QStringLiteral("clip"));
    ASSERT_TRUE(button->isVisible());
    const auto choose = [&](const char* wanted) {
        click(button);
        QWidget* popup = QApplication::activePopupWidget();
        ASSERT_NE(popup, nullptr);
        auto* search = popup->findChild<QLineEdit*>();
        QTest::keyClicks(search, QString::fromUtf8(wanted));
        QTest::keyClick(search, Qt::Key_Return);
    };
    const auto keys = [&](const char* name) {
        return desk.scene().motion(desk.item(name), positionX).keys.size();
    };
    EXPECT_EQ(button->text(), QStringLiteral("Clip 0"));
    ASSERT_EQ(keys("A"), 3u);
    const auto destroyFirst = [&](const char* name) {
        desk.select(name);
        desk.hand.then([](QDialog& dialog) {
            type(part<QLineEdit>(dialog, "End"), QStringLiteral("1"));
            clickOk(dialog);
        });
        desk.hand.then(&clickYes);
        desk.press("Destroy Keys");
    };
    destroyFirst("A");
    EXPECT_EQ(keys("A"), 2u);
    const ItemId item = desk.item("A");

    choose("p 1");
    EXPECT_EQ(desk.document().clip(), "Clip 1");
    EXPECT_EQ(desk.scene().selection, std::vector{item}) << "the items are the same";
    EXPECT_EQ(desk.document().host().journal().undoName(), nullptr) << "of the other clip";
    EXPECT_TRUE(desk.window.isWindowModified());
    EXPECT_EQ(keys("A"), 0u);
    EXPECT_EQ(keys("B"), 2u);
    destroyFirst("B");
    EXPECT_EQ(keys("B"), 1u);

    choose("p 0");
    EXPECT_EQ(keys("A"), 2u);
    desk.document().undo();
    EXPECT_EQ(keys("A"), 3u) << "its own undo";
    EXPECT_EQ(keys("B"), 2u);
    desk.document().redo();
    desk.hand.then([](QDialog& box) {
        EXPECT_TRUE(dynamic_cast<QMessageBox&>(box).text().contains(QStringLiteral("Clip 1")));
        click(dynamic_cast<QMessageBox&>(box).button(QMessageBox::Cancel));
    });
    EXPECT_FALSE(desk.window.saveFile(desk.file("one.stage"))) << "it would hold one clip";
    EXPECT_TRUE(desk.window.saveFile(file));
    EXPECT_FALSE(desk.window.isWindowModified());
    for (const auto& [clip, name, left] :
         {std::tuple("Clip 0", "A", 2u), std::tuple("Clip 1", "B", 1u)}) {
        ReadOptions options;
        options.clip = clip;
        const auto read = readScene(file.toStdString(), options);
        ASSERT_TRUE(read.ok());
        const Scene& scene = read.value().scene;
        EXPECT_EQ(scene.motion(scene.findItem(name), positionX).keys.size(), left) << clip;
    }
}

TEST(Files, a_recipe_of_what_was_done_gives_the_same_file_byte_for_byte) {
    for (const char* kind : {"bvh", "stage", "glb"}) {
        Desk desk;
        const QString before = desk.file("before.") + QString::fromUtf8(kind);
        const QString after = desk.file("after.") + QString::fromUtf8(kind);
        const QString again = desk.file("again.") + QString::fromUtf8(kind);
        ASSERT_TRUE(writeScene(readScene(walk.toStdString())->scene, before.toStdString()).ok());
        ASSERT_TRUE(desk.window.openFile(before));
        desk.select("Hips");
        desk.document().setTime(desk.scene().rate.timeOf(12));
        desk.hand.then([](QDialog& dialog) {
            type(part<QLineEdit>(dialog, "End"), QStringLiteral("90"));
            clickOk(dialog);
        });
        desk.hand.then([](QDialog& dialog) {
            click(findButton(dialog, "Multiply"));
            type(part<QLineEdit>(dialog, "Rotation.H"), QStringLiteral("1.1"));
            clickOk(dialog);
        });
        desk.press("MoveRotateScale");
        desk.select("LeftArm");
        destroyAll(desk);
        desk.hand.then([&](QDialog& picker) {
            pick(dynamic_cast<QFileDialog&>(picker), desk.file("steps.recipe"));
        });
        click(findButton(desk.window, "Save Recipe…"));
        ASSERT_TRUE(desk.window.saveFile(after));

        QProcess program;
        program.start(QStringLiteral(CADENCORA_BIN_DIR "/cadencora"),
                      {QStringLiteral("run"), before, QStringLiteral("--recipe"),
                       desk.file("steps.recipe"), QStringLiteral("-o"), again});
        ASSERT_TRUE(program.waitForFinished());
        EXPECT_EQ(program.exitCode(), 0) << program.readAllStandardError().toStdString();
        EXPECT_EQ(bytesOf(again), bytesOf(after)) << kind;
        EXPECT_NE(bytesOf(again), bytesOf(before)) << kind;
    }
}

TEST(LongWork, the_windows_are_alive_meanwhile_and_its_box_cancels_it) {
    Desk desk;
    std::promise<void> alive;
    QTimer::singleShot(0, &desk.window, [&] { alive.set_value(); });
    bool wasAlive = false;
    LongWork short_(&desk.window, QStringLiteral("Waiting"));
    short_.run([&] { wasAlive = alive.get_future().wait_for(20s) == std::future_status::ready; });
    EXPECT_TRUE(wasAlive);
    EXPECT_FALSE(short_.isCancelled());

    desk.hand.then([](QDialog& dialog) {
        auto& box = dynamic_cast<QProgressDialog&>(dialog);
        EXPECT_TRUE(box.labelText().contains(QStringLiteral("Counting")));
        click(findButton(box, "Cancel"));
        EXPECT_TRUE(box.isVisible()) << "until the work has stopped";
        EXPECT_TRUE(QTest::qWaitFor([&] { return !box.isVisible(); }));
    });
    LongWork endless(&desk.window, QStringLiteral("Counting"));
    endless.run([&] {
        while (endless.progress(0.5))
            std::this_thread::sleep_for(1ms);
    });
    EXPECT_TRUE(endless.isCancelled());
    LongWork thrown(&desk.window, QStringLiteral("Failing"));
    EXPECT_THROW(thrown.run([] { throw std::bad_alloc(); }), std::bad_alloc);
}

TEST(WorkClock, long_commands_show_their_time_and_do_not_count_the_users) {
    Desk desk;
    WorkClock& clock = desk.document().clock();
    clock.start(QStringLiteral("Cycle"));
    clock.tick();
    auto* news = desk.window.findChild<QLabel*>(QStringLiteral("news"));
    EXPECT_FALSE(news->text().startsWith(QStringLiteral("Cycle"))) << "not for a moment's work";
    QTest::qSleep(450);
    clock.tick();
    EXPECT_TRUE(news->text().startsWith(QStringLiteral("Cycle … 0.")))
        << news->text().toStdString();
    double worked = 0;
    {
        const WorkClock::Pause pause(clock);
        worked = clock.seconds();
        QTest::qSleep(60);
        EXPECT_EQ(clock.seconds(), worked);
        EXPECT_EQ(QApplication::overrideCursor(), nullptr);
    }
    EXPECT_NE(QApplication::overrideCursor(), nullptr);
    clock.stop();
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

} // namespace
} // namespace cadencora::stage
