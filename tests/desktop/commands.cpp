// Commands pressed by hand: dialogs, errors, undo, recorded steps.

#include "stage/services/host.h"
#include "stage/user/recipe.h"
#include "tests/desktop/desk.h"

#include <QAction>
#include <QComboBox>
#include <QFile>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QSlider>
#include <QTabBar>

#include <sys/stat.h>

namespace cadencora::stage {
namespace {

using Frames = std::vector<double>;

// Destroys the keys of Hips, and below, from 20 to 40.
void destroySome(Desk& desk) {
    desk.hand.then([](QDialog& dialog) {
        type(part<QLineEdit>(dialog, "Start"), QStringLiteral("20"));
        type(part<QLineEdit>(dialog, "End"), QStringLiteral("40"));
        clickOk(dialog);
    });
    desk.hand.then([](QDialog& dialog) {
        auto& box = dynamic_cast<QMessageBox&>(dialog);
        EXPECT_EQ(box.text(), QStringLiteral("Do you want to clear the channel data"));
        EXPECT_EQ(box.informativeText(), QStringLiteral("for the selected items?"));
        click(box.button(QMessageBox::Yes));
    });
    desk.press("Destroy Keys");
}

TEST(Commands, destroying_keys_by_clicks_reports_and_is_undone_and_redone_by_name) {
    Desk desk;
    auto* tree = desk.window.findChild<QTreeWidget*>(QStringLiteral("tree"));
    QTreeWidgetItem* hips = tree->topLevelItem(0)->child(0);
    click(tree->viewport(), tree->visualItemRect(hips).center());
    ASSERT_EQ(desk.scene().selection, std::vector{desk.item("Hips")});

    destroySome(desk);
    EXPECT_EQ(desk.times("Hips", heading), (Frames{0, 10, 50, 60}));
    EXPECT_EQ(desk.times("Spine", heading), (Frames{0, 10, 50, 60}));
    EXPECT_EQ(desk.times("Box", positionX).size(), 7u);
    const std::string news =
        "Destroy Keys: changed 2 channels of 2 items: 0 keys added, 6 removed, "
        "0 changed, frames 20 to 40: Hips/Rotation.H, Spine/Rotation.H";
    EXPECT_EQ(desk.window.findChild<QLabel*>(QStringLiteral("news"))->text().toStdString(), news);
    EXPECT_TRUE(desk.window.isWindowModified());
    const auto* undo = desk.window.menuBar()->actions().at(1)->menu()->actions().at(0);
    EXPECT_EQ(undo->text(), QStringLiteral("&Undo Destroy Keys"));

    desk.key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(desk.times("Hips", heading).size(), 7u);
    EXPECT_FALSE(desk.window.isWindowModified()) << "as it was opened";
    EXPECT_FALSE(undo->isEnabled());
    desk.key(Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(desk.times("Hips", heading), (Frames{0, 10, 50, 60}));
    EXPECT_TRUE(desk.window.isWindowModified());
}

TEST(Commands, a_dialog_a_file_picker_and_a_message_nest) {
    Desk desk;
    desk.select("Hips");
    desk.hand.then([&](QDialog& dialog) {
        const auto saveTo = [&](const QString& path) {
            desk.hand.then([path](QDialog& picker) {
                auto& files = dynamic_cast<QFileDialog&>(picker);
                EXPECT_EQ(files.nameFilters().first(), QStringLiteral("*.lw_items"));
                pick(files, path);
            });
        };
        saveTo(desk.file("set"));
        click(findButton(dialog, "Save", 1));
        QFile set(desk.file("set.lw_items"));
        EXPECT_TRUE(set.open(QIODevice::ReadOnly)) << "with the pattern's ending";
        EXPECT_EQ(set.readAll(), QByteArray("Hips\nSpine\n"));

        // A socket is there but cannot be opened, by root either.
        const QString socket = desk.file("socket.lw_items");
        ASSERT_EQ(mknod(qPrintable(socket), S_IFSOCK | 0600, 0), 0);
        desk.hand.then([&](QDialog& picker) {
            desk.hand.then(&clickYes);
            pick(dynamic_cast<QFileDialog&>(picker), socket);
        });
        desk.hand.then([](QDialog& said) {
            auto& box = dynamic_cast<QMessageBox&>(said);
            EXPECT_EQ(box.icon(), QMessageBox::Critical);
            EXPECT_FALSE(box.text().isEmpty());
            box.accept();
        });
        click(findButton(dialog, "Save", 1));
        EXPECT_TRUE(dialog.isVisible());
        EXPECT_TRUE(desk.document().isBusy());
        desk.document().undo(); // not while a command is under way
        EXPECT_FALSE(desk.window.openFile(desk.file("scene.stage")));
        clickOk(dialog);
    });
    desk.hand.then([](QDialog& question) { question.reject(); });
    desk.press("Destroy Keys");
    EXPECT_EQ(desk.news(), "Destroy Keys: nothing changed: cancelled");
    EXPECT_FALSE(desk.document().isBusy());
    EXPECT_FALSE(desk.window.isWindowModified());
}

TEST(Commands, what_was_recorded_does_the_same_when_a_script_performs_it) {
    Desk desk;
    desk.select("Hips");
    desk.document().setTime(desk.scene().rate.timeOf(10));
    destroySome(desk);
    desk.select("Box");
    desk.hand.then([](QDialog& dialog) {
        QTest::keyClick(part<QSlider>(dialog, "End"), Qt::Key_Left);
        QTest::keyClick(part<QSlider>(dialog, "End"), Qt::Key_Left);
        auto* rows = part<QListWidget>(dialog, "Affected Channels");
        click(rows->viewport(), rows->visualItemRect(rows->item(3)).center());
        click(findButton(dialog, "Remove"));
        clickOk(dialog);
    });
    desk.hand.then([](QDialog& dialog) {
        click(findButton(dialog, "Multiply"));
        type(part<QLineEdit>(dialog, "Position.X"), QStringLiteral("2.5"));
        clickOk(dialog);
    });
    desk.press("MoveRotateScale");
    desk.hand.then([](QDialog& dialog) { dialog.reject(); });
    desk.press("Defractionalize");

    const auto steps = desk.document().recorder().steps();
    ASSERT_EQ(steps.size(), 2u) << "a cancelled dialog is no step";
    EXPECT_EQ(steps[0].select, std::vector<std::string>{"Hips"});
    EXPECT_EQ(steps[0].time, 10);
    EXPECT_EQ(steps[0].answers, std::vector<bool>{true});
    EXPECT_EQ(steps[1].time, std::nullopt);
    ASSERT_EQ(steps[1].settings.size(), 5u);
    EXPECT_EQ(steps[1].settings[0].value, "58") << "the last value of a slide";
    EXPECT_EQ(steps[1].settings[2].label, "Affected Channels/Remove");
    for (const RecordedStep& recorded : desk.document().recorder().recorded())
        EXPECT_EQ(recorded.shortfall, "");

    ScriptedUser user;
    Host host(someScene(), user);
    user.lookAt(host.scene());
    auto module = Module::open(CADENCORA_BIN_DIR "/cadencora.so");
    ASSERT_TRUE(module->activate(&Host::lookup, Host::layoutGeneric()).ok());
    for (const Step& step : steps) {
        if (step.select) {
            std::vector<ItemId> items;
            for (const std::string& name : *step.select)
                items.push_back(host.scene().findItem(name));
            host.select(items);
        }
        Result<> performed = done();
        host.event(step.press, [&] { performed = user.perform(step); });
        EXPECT_TRUE(performed.ok()) << performed.problem().text();
    }
    for (std::uint32_t i = 1; i <= host.scene().channelCount(); ++i) {
        const auto& ours = host.scene().envelope(static_cast<EnvelopeId>(i)).keys;
        const auto& theirs = desk.scene().envelope(static_cast<EnvelopeId>(i)).keys;
        ASSERT_EQ(ours.size(), theirs.size());
        for (auto a = ours.begin(), b = theirs.begin(); a; a.advance(), b.advance())
            EXPECT_TRUE(sameKey(a, b));
    }
}

TEST(Commands, steps_are_saved_as_a_recipe_and_go_with_an_undo) {
    Desk desk;
    desk.select("Hips");
    destroySome(desk);
    auto* list = desk.window.findChild<QTreeWidget*>(QStringLiteral("recorded"));
    ASSERT_EQ(list->topLevelItemCount(), 1);
    EXPECT_EQ(list->topLevelItem(0)->text(0), QStringLiteral("Destroy Keys"));

    desk.hand.then([&](QDialog& picker) {
        pick(dynamic_cast<QFileDialog&>(picker), desk.file("steps.recipe"));
    });
    click(findButton(desk.window, "Save Recipe…"));
    const auto saved = readRecipe(desk.file("steps.recipe").toStdString());
    ASSERT_TRUE(saved.ok()) << saved.problem().text();
    ASSERT_EQ(saved.value().steps.size(), 1u);
    EXPECT_EQ(saved.value().steps[0].settings[1].value, "40");

    desk.document().undo();
    EXPECT_EQ(list->topLevelItemCount(), 0);
    EXPECT_FALSE(findButton(desk.window, "Save Recipe…")->isEnabled());
    desk.document().redo();
    EXPECT_EQ(list->topLevelItemCount(), 1);
    auto* clear = findButton(desk.window, "Clear");
    clear->setFocus();
    click(clear);
    EXPECT_EQ(list->topLevelItemCount(), 0);
    // Undo is still the scene's: neither the next button's field has the keys, nor an empty one.
    for (const bool isInField : {false, true}) {
        if (isInField) {
            desk.document().redo();
            for (QLineEdit* field : desk.window.findChildren<QLineEdit*>())
                if (field->placeholderText() == QStringLiteral("Search channels"))
                    field->setFocus();
        }
        auto* focus = desk.window.focusWidget();
        ASSERT_EQ(qobject_cast<QLineEdit*>(focus) != nullptr, isInField);
        desk.window.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&desk.window));
        QTest::keyClick(focus, Qt::Key_Z, Qt::ControlModifier);
        EXPECT_EQ(desk.times("Hips", heading).size(), 7u) << isInField;
    }
}

TEST(Commands, a_recipe_is_edited_and_run_on_the_scene_step_by_step) {
    Desk desk;
    desk.select("Hips");
    destroySome(desk);
    click(findButton(desk.window, "Edit…"));
    auto* rows = desk.window.findChild<QTreeWidget*>(QStringLiteral("recipe"));
    ASSERT_EQ(rows->topLevelItemCount(), 1);
    const auto row = [&](const char* text) {
        return rows->findItems(QString::fromUtf8(text), Qt::MatchExactly | Qt::MatchRecursive)
            .value(0);
    };
    ASSERT_NE(row("End=40"), nullptr);
    desk.hand.then([](QDialog& said) { said.accept(); });
    row("End=40")->setText(0, QStringLiteral("=40")); // no label: the old setting stays
    ASSERT_NE(row("End=40"), nullptr);
    row("End=40")->setText(0, QStringLiteral("End=50"));
    ASSERT_NE(row("End=50"), nullptr);
    desk.document().undo();
    desk.select("Box");
    click(findButton(desk.window, "Run on This Scene"));
    EXPECT_EQ(desk.times("Hips", heading), (Frames{0, 10, 60})) << "of what the recipe selects";
    ASSERT_EQ(desk.document().recorder().steps().size(), 2u) << "after the one taken back";
    EXPECT_EQ(desk.document().recorder().steps()[1].settings[1].value, "50");
    desk.key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(desk.times("Hips", heading).size(), 7u) << "one step, one undo";
    EXPECT_TRUE(desk.document().recorder().steps().empty());

    // A step that cannot be taken changes nothing and says why.
    row("End=50")->setText(0, QStringLiteral("Ending=50"));
    desk.hand.then([](QDialog& said) {
        EXPECT_TRUE(dynamic_cast<QMessageBox&>(said).text().contains(QStringLiteral("Ending")));
        said.accept();
    });
    click(findButton(desk.window, "Run on This Scene"));
    EXPECT_EQ(desk.times("Hips", heading).size(), 7u);
    EXPECT_FALSE(desk.document().isBusy());
    rows->setCurrentItem(rows->topLevelItem(0));
    click(findButton(*rows->parentWidget(), "Delete"));
    EXPECT_EQ(rows->topLevelItemCount(), 0);
    EXPECT_FALSE(findButton(desk.window, "Run on This Scene")->isEnabled());
}

TEST(Commands, a_preset_presses_its_button_with_its_values_on_what_is_selected_then) {
    Desk desk;
    desk.select("Box");
    destroySome(desk);
    desk.document().undo();
    desk.document().redo();
    desk.hand.then([](QDialog& asks) {
        type(asks.findChild<QLineEdit*>(), QStringLiteral("a/b 50%"));
        asks.accept();
    });
    click(findButton(desk.window, "Preset…"));
    auto* rows = desk.window.findChild<QTreeWidget*>(QStringLiteral("presets"));
    ASSERT_EQ(rows->topLevelItemCount(), 1);
    EXPECT_EQ(rows->topLevelItem(0)->text(0), QStringLiteral("Destroy Keys"));
    QTreeWidgetItem* preset = rows->topLevelItem(0)->child(0);
    EXPECT_EQ(preset->text(0), QStringLiteral("a/b 50%"));
    desk.document().undo();
    desk.select("Hips");
    emit rows->itemDoubleClicked(preset, 0);
    rows->setCurrentItem(preset);
    click(findButton(desk.window, "Run"));
    EXPECT_EQ(desk.times("Hips", heading), (Frames{0, 10, 50, 60}));
    EXPECT_EQ(desk.times("Box", positionX).size(), 7u);
    click(findButton(*rows->parentWidget(), "Delete"));
    EXPECT_EQ(rows->topLevelItemCount(), 0);
}

TEST(Commands, a_list_box_that_is_only_passed_with_tab_sets_nothing) {
    Desk desk;
    desk.select("Hips");
    desk.hand.then([](QDialog& dialog) {
        for (int i = 0; i < 12; ++i)
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        EXPECT_EQ(part<QListWidget>(dialog, "Affected Channels")->currentRow(), -1);
        clickOk(dialog);
    });
    desk.hand.then(&clickYes);
    desk.press("Destroy Keys");
    for (const Step& step : desk.document().recorder().steps())
        EXPECT_TRUE(step.settings.empty()) << step.settings[0].label;
}

TEST(Commands, an_error_of_its_own_takes_a_command_back_and_leaves_no_step) {
    Desk desk;
    desk.hand.then([](QDialog& dialog) {
        part<QComboBox>(dialog, "Source")->setCurrentIndex(0); // none
        emit part<QComboBox>(dialog, "Source")->activated(0);
        clickOk(dialog);
    });
    desk.hand.then([](QDialog& said) {
        EXPECT_EQ(dynamic_cast<QMessageBox&>(said).icon(), QMessageBox::Critical);
        said.accept();
    });
    auto* tabs = desk.panel().findChild<QTabBar*>();
    click(tabs, tabs->tabRect(1).center());
    desk.press("Node-to-Node Frame Copy");
    EXPECT_EQ(desk.news(), "Node-to-Node Frame Copy: ended with an error and changed nothing");
    EXPECT_TRUE(desk.document().recorder().steps().empty());
    EXPECT_FALSE(desk.window.isWindowModified());
    EXPECT_EQ(desk.document().host().journal().undoName(), nullptr);
}

TEST(Commands, another_file_closes_the_panel_of_the_first_and_opens_its_own) {
    Desk desk;
    desk.select("Hips");
    destroySome(desk);
    auto* tabs = desk.panel().findChild<QTabBar*>();
    click(tabs, tabs->tabRect(1).center());
    desk.panel().close();
    desk.document().setTime(0.5);
    ASSERT_TRUE(desk.window.openFile(desk.file("scene.stage")));
    int panels = 0;
    for (QWidget* widget : QApplication::topLevelWidgets())
        panels += dynamic_cast<PanelWindow*>(widget) != nullptr;
    EXPECT_EQ(panels, 1);
    EXPECT_TRUE(desk.panel().isVisible());
    EXPECT_TRUE(QTest::qWaitForWindowActive(&desk.window)) << "the keys belong to the time";
    tabs = desk.panel().findChild<QTabBar*>();
    EXPECT_TRUE(QTest::qWaitFor([&] { return tabs->currentIndex() == 1; })) << "as it was left";
    click(tabs, tabs->tabRect(0).center());
    EXPECT_EQ(desk.times("Hips", heading).size(), 7u);
    EXPECT_FALSE(desk.window.isWindowModified());
    desk.select("Hips");
    destroySome(desk);
    EXPECT_EQ(desk.times("Hips", heading).size(), 4u);
}

} // namespace
} // namespace cadencora::stage
