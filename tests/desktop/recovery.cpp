// Work that outlives a sudden end, windows on one file, saves that fail, memory for undo.

#include "stage/desktop/document/recovery.h"

#include "stage/base/file.h"
#include "tests/desktop/desk.h"
#include "tests/stage/formats/gltf/document.h"

#include <QAction>
#include <QInputDialog>
#include <QProcess>

namespace cadencora::stage {
namespace {

namespace fs = std::filesystem;

void destroyAll(Desk& desk, const char* item) {
    desk.select(item);
    desk.hand.then(&clickOk);
    desk.hand.then(&clickYes);
    desk.press("Destroy Keys");
}

std::vector<fs::path> recoveryFiles() {
    std::vector<fs::path> found;
    for (const auto& entry : fs::directory_iterator(Recovery::folder()))
        if (entry.path().extension() == ".recovery") found.push_back(entry.path());
    return found;
}

void clickText(QDialog& box, const char* text) {
    click(findButton(box, text));
}

} // namespace

// Run by the test below, in a process of its own.
int editAndWait() {
    Desk desk;
    destroyAll(desk, "Hips");
    QTest::qWait(60'000);
    return 1;
}

namespace {

TEST(Unsaved, work_outlives_a_kill_and_is_taken_up_again_as_one_edit) {
    const QTemporaryDir place; // of the files of the process that is killed
    QProcess child;
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("TMPDIR"), place.path());
    child.setProcessEnvironment(environment);
    child.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--edit-and-wait")});
    ASSERT_TRUE(QTest::qWaitFor([] { return !recoveryFiles().empty(); }, 20'000));
    child.kill();
    ASSERT_TRUE(child.waitForFinished());
    const fs::path kept = recoveryFiles().front();

    Desk desk;
    const std::size_t keys = desk.scene().keyCount();
    desk.hand.then([](QDialog& box) { clickText(box, "Later"); });
    desk.window.offerRecovered();
    desk.hand.then([](QDialog& box) { clickText(box, "Recover"); });
    desk.window.offerRecovered();
    EXPECT_FALSE(fs::exists(kept));
    EXPECT_EQ(recoveryFiles().size(), 1u) << "its own, at once";
    EXPECT_TRUE(desk.window.isWindowModified());
    EXPECT_LT(desk.scene().keyCount(), keys);
    EXPECT_EQ(desk.times("Hips", heading).size(), 0u);
    ASSERT_EQ(desk.document().recorder().steps().size(), 1u);
    EXPECT_EQ(desk.document().recorder().steps()[0].press, "Destroy Keys");
    desk.document().undo();
    EXPECT_EQ(desk.scene().keyCount(), keys);
    EXPECT_FALSE(desk.window.isWindowModified());
    EXPECT_TRUE(recoveryFiles().empty()) << "nothing is unsaved any more";

    // Without its file, the work is there all the same; a damaged one says so and goes.
    ASSERT_TRUE(writeFile(Recovery::folder() / "gone.window", "").ok());
    ASSERT_TRUE(writeFile(Recovery::folder() / "gone.recovery",
                          R"({"cadencora": "recovery", "version": 1, "file": "/no/a.bvh",
        "imported": false, "clips": [{"clip": "", "scene": {"cadencora": "scene", "version": 1,
        "items": [{"type": "object", "name": "Left"}]}}]})")
                    .ok());
    desk.hand.then([](QDialog& box) { clickText(box, "Recover"); });
    desk.hand.then([](QDialog& box) {
        EXPECT_TRUE(dynamic_cast<QMessageBox&>(box).text().contains(QStringLiteral("/no/a.bvh")));
        box.accept();
    });
    desk.window.offerRecovered();
    EXPECT_NE(desk.item("Left"), ItemId::none);
    EXPECT_TRUE(desk.window.isWindowModified());
    ASSERT_TRUE(writeFile(Recovery::folder() / "bad.window", "").ok());
    ASSERT_TRUE(writeFile(Recovery::folder() / "bad.recovery", "{").ok());
    desk.hand.then([](QDialog& box) {
        EXPECT_TRUE(dynamic_cast<QMessageBox&>(box).text().contains(QStringLiteral("recovery")));
        box.accept();
    });
    desk.window.offerRecovered();
    fs::remove(Recovery::folder() / "bad.recovery");
}

TEST(Unsaved, every_clip_that_was_edited_is_offered_again) {
    Desk desk;
    const QString file = desk.file("two.gltf");
    ASSERT_TRUE(writeFile(file.toStdString(), gltf::Document::twoClips().embedded()).ok());
    ASSERT_TRUE(desk.window.openFile(file));
    const auto keys = [](Document& document) {
        const Scene& scene = document.scene();
        return scene.motion(scene.findItem("B"), positionX).keys.size();
    };
    destroyAll(desk, "B");
    desk.window.openClip(QStringLiteral("Clip 1"));
    destroyAll(desk, "B");
    ASSERT_EQ(desk.document().editedClips(), std::vector<std::string>{"Clip 0"});
    const auto kept = [] {
        const auto files = recoveryFiles();
        return files.size() == 1 ? readFile(files[0]).value() : std::string();
    };
    ASSERT_TRUE(QTest::qWaitFor([&] { return kept().find("Clip 0") != std::string::npos; }));
    ASSERT_TRUE(writeFile(Recovery::folder() / "two.window", "").ok());
    ASSERT_TRUE(writeFile(Recovery::folder() / "two.recovery", kept()).ok());

    MainWindow second;
    desk.hand.then([](QDialog& box) { clickText(box, "Recover"); });
    second.offerRecovered();
    EXPECT_EQ(second.document().clip(), "Clip 1");
    EXPECT_EQ(keys(second.document()), 0u);
    ASSERT_EQ(second.document().editedClips(), std::vector<std::string>{"Clip 0"});
    EXPECT_EQ(second.document().stepsOf("Clip 0").size(), 1u);
    second.openClip(QStringLiteral("Clip 0"));
    EXPECT_EQ(keys(second.document()), 0u);
    second.document().undo();
    EXPECT_EQ(keys(second.document()), 2u);
}

TEST(Unsaved, the_second_window_on_a_file_is_told_and_a_failed_save_stays_unsaved) {
    Desk desk;
    {
        MainWindow second;
        desk.hand.then([](QDialog& box) {
            EXPECT_EQ(box.windowTitle(), QStringLiteral("Open twice"));
            box.accept();
        });
        EXPECT_TRUE(second.openFile(desk.file("scene.stage")));
        EXPECT_TRUE(second.openFile(QStringLiteral(CADENCORA_SOURCE_DIR "/examples/room.stage")));
    }

    destroyAll(desk, "Hips");
    ASSERT_TRUE(desk.window.isWindowModified());
    desk.hand.then([](QDialog& box) { box.accept(); });
    EXPECT_FALSE(desk.window.saveFile(desk.file("no/scene.stage")));
    EXPECT_TRUE(desk.window.isWindowModified());
    EXPECT_TRUE(desk.window.saveFile(desk.file("scene.stage")));
    EXPECT_FALSE(desk.window.isWindowModified());
}

TEST(Unsaved, the_undo_menu_says_what_memory_made_it_forget) {
    Desk desk;
    const auto memory = [&] {
        for (QAction* action : desk.window.findChildren<QAction*>())
            if (action->text().startsWith(QStringLiteral("Undo &Memory"))) return action;
        return static_cast<QAction*>(nullptr);
    };
    ASSERT_NE(memory(), nullptr);
    EXPECT_TRUE(memory()->text().contains(QStringLiteral("of 1024 MB")));
    desk.hand.then([](QDialog& box) {
        dynamic_cast<QInputDialog&>(box).setIntValue(2);
        box.accept();
    });
    memory()->trigger();
    EXPECT_EQ(desk.document().host().journal().budget(), std::size_t{2} << 20);
    EXPECT_TRUE(memory()->text().contains(QStringLiteral("of 2 MB")));
    desk.document().host().setUndoBudget(1);
    destroyAll(desk, "Hips");
    const std::string* first = desk.document().host().journal().undoName();
    ASSERT_NE(first, nullptr) << "the last edit stays";
}

} // namespace
} // namespace cadencora::stage
