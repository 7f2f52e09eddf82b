// The controls of panels on the screen.

#include "stage/panels/actions.h"
#include "tests/desktop/desk.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QListWidget>
#include <QSlider>
#include <QTabBar>
#include <QToolButton>

namespace cadencora::stage {
namespace {

// The model behind a view of a window, by label; the nth of that label.
ControlModel& model(QWidget& window, const char* label, int nth = 0) {
    std::vector<ControlView*> views;
    for (QWidget* widget : window.findChildren<QWidget*>(QString::fromUtf8(label)))
        if (auto* view = dynamic_cast<ControlView*>(widget)) views.push_back(view);
    return views.at(static_cast<std::size_t>(nth))->model();
}

TEST(Controls, tabs_show_their_own_buttons_and_put_the_others_out_of_reach) {
    Desk desk;
    PanelWindow& panel = desk.panel();
    auto* tabs = panel.findChild<QTabBar*>();
    ASSERT_EQ(tabs->count(), 3);
    QPushButton* cycle = findButton(panel, "Cycle (Bake) Keys");
    QPushButton* frameCopy = findButton(panel, "Node-to-Node Frame Copy");
    QPushButton* dissolve = findButton(panel, "Dissolve");
    EXPECT_TRUE(cycle->isVisible());
    EXPECT_FALSE(frameCopy->isVisible());
    EXPECT_EQ(cycle->parentWidget()->pos(), frameCopy->parentWidget()->pos());

    click(tabs, tabs->tabRect(1).center());
    EXPECT_FALSE(cycle->isVisible());
    EXPECT_TRUE(frameCopy->isVisible());
    tabs->setFocus();
    QTest::keyClick(tabs, Qt::Key_Right);
    EXPECT_TRUE(dissolve->isVisible());
    EXPECT_EQ(model(panel, "Dissolve").panel->controls.front()->integer, 2);

    std::set<QWidget*> reached;
    for (QWidget* next = tabs->nextInFocusChain(); next != tabs; next = next->nextInFocusChain())
        if (next->isVisible() && next->focusPolicy() & Qt::TabFocus) reached.insert(next);
    EXPECT_TRUE(reached.contains(dissolve));
    EXPECT_FALSE(reached.contains(cycle));
    EXPECT_FALSE(desk.window.isWindowModified());
}

TEST(Controls, views_lie_where_the_model_puts_them_and_their_texts_fit) {
    Desk desk;
    desk.select("Hips");
    const PanelMetrics& metrics = desk.window.frontEnd().metrics();
    const auto check = [&](QWidget& window) {
        int seen = 0;
        for (QWidget* widget : window.findChildren<QWidget*>()) {
            auto* view = dynamic_cast<ControlView*>(widget);
            if (!view) continue;
            ++seen;
            QRect place = metrics.place(view->model().rect);
            if (view->model().type == ControlType::listBox) { // as wide as its buttons
                EXPECT_GE(view->width(), place.width());
                place.setWidth(view->width());
            }
            EXPECT_EQ(view->geometry(), place);
            for (const QPushButton* part : view->findChildren<QPushButton*>())
                EXPECT_TRUE(!part->isVisible() ||
                            part->fontMetrics().horizontalAdvance(part->text()) <= part->width())
                    << part->text().toStdString();
        }
        EXPECT_GT(seen, 2);
    };
    check(desk.panel());
    desk.hand.then([&](QDialog& dialog) {
        check(dialog);
        // A row of buttons stands side by side without overlapping.
        QRect before;
        for (const char* label : {"Load", "Save", "Remove", "Default"}) {
            const QRect place = metrics.place(model(dialog, label).rect);
            EXPECT_FALSE(place.adjusted(2, 0, -2, 0).intersects(before)) << label;
            before = place;
        }
        clickOk(dialog);
    });
    desk.hand.then([&](QDialog& dialog) { check(dialog), dialog.reject(); });
    desk.press("MoveRotateScale");
}

TEST(Controls, sliders_take_keys_clicks_and_typed_values_and_refuse_what_is_out_of_range) {
    Desk desk;
    desk.select("Hips");
    desk.hand.then([&](QDialog& dialog) {
        auto* slider = part<QSlider>(dialog, "Start");
        auto* field = part<QLineEdit>(dialog, "Start");
        ControlModel& start = model(dialog, "Start");
        QTest::keyClick(slider, Qt::Key_Right);
        EXPECT_EQ(start.integer, 1);
        EXPECT_EQ(field->text(), QStringLiteral("1"));
        click(slider, {slider->width() - 3, slider->height() / 2});
        EXPECT_EQ(start.integer, 11) << "a page";
        slider->setFocus();
        QTest::keyClicks(slider, QStringLiteral("2"));
        EXPECT_TRUE(field->hasFocus()) << "digits go to the field";
        QTest::keyClicks(field, QStringLiteral("5"));
        slider->setFocus();
        EXPECT_EQ(start.integer, 25) << "leaving the field enters it";
        EXPECT_EQ(slider->value(), 25);

        for (const char* wrong : {"61", "-1", "ten", "2.5", ""}) {
            type(field, QString::fromUtf8(wrong));
            if (!*wrong) field->clear();
            QTest::keyClick(field, Qt::Key_Return);
            clickOk(dialog);
            EXPECT_TRUE(dialog.isVisible()) << wrong;
            EXPECT_FALSE(field->toolTip().isEmpty()) << wrong;
            EXPECT_EQ(start.integer, 25) << wrong;
        }
        type(field, QStringLiteral("30"));
        QTest::keyClick(field, Qt::Key_Return);
        EXPECT_FALSE(dialog.isVisible()) << "Return enters the value and accepts";
        EXPECT_EQ(start.integer, 30);
    });
    desk.hand.then([](QDialog& question) { QTest::keyClick(&question, Qt::Key_Escape); });
    desk.press("Destroy Keys");
    EXPECT_EQ(desk.times("Hips", heading).size(), 7u) << "Escape answers no";
}

TEST(Controls, choices_numbers_and_integers_are_taken_over) {
    Desk desk;
    desk.select("Hips");
    desk.hand.then(&clickOk);
    desk.hand.then([&](QDialog& dialog) {
        click(findButton(dialog, "Even Spread"));
        EXPECT_EQ(model(dialog, "Method").integer, 1);
        EXPECT_TRUE(findButton(dialog, "Even Spread")->isChecked());
        EXPECT_FALSE(findButton(dialog, "Random")->isChecked());
        findButton(dialog, "Even Spread")->setFocus();
        QTest::keyClick(findButton(dialog, "Even Spread"), Qt::Key_Space);
        EXPECT_EQ(model(dialog, "Method").integer, 1) << "choosing again keeps it chosen";
        type(part<QLineEdit>(dialog, "Max Keys"), QStringLiteral("3"));
        clickOk(dialog);
        EXPECT_EQ(model(dialog, "Max Keys").integer, 3);
    });
    desk.press("Create Random Keys");
    EXPECT_NE(desk.news(), "Create Random Keys: nothing changed");

    desk.hand.then(&clickOk);
    desk.hand.then([&](QDialog& dialog) {
        type(part<QLineEdit>(dialog, "Max Value"), QStringLiteral("1e-3"));
        QTest::keyClick(part<QLineEdit>(dialog, "Max Value"), Qt::Key_Tab);
        EXPECT_EQ(model(dialog, "Max Value").number, 0.001);
        QTest::keyClick(&dialog, Qt::Key_Escape);
    });
    desk.press("Randomize/Jitter Keys");
}

TEST(Controls, rows_are_marked_removed_and_drawn_again) {
    Desk desk;
    desk.select("Hips");
    desk.hand.then([&](QDialog& dialog) {
        auto* rows = part<QListWidget>(dialog, "Affected Channels");
        ASSERT_EQ(rows->count(), 9);
        click(rows->viewport(), rows->visualItemRect(rows->item(8)).center());
        EXPECT_EQ(model(dialog, "Affected Channels").integer, 8);
        click(findButton(dialog, "Remove"));
        EXPECT_EQ(rows->count(), 8);
        rows->setFocus();
        QTest::keyClick(rows, Qt::Key_Home);
        EXPECT_EQ(model(dialog, "Affected Channels").integer, 0);
        click(findButton(dialog, "Default"));
        EXPECT_EQ(rows->count(), 9);

        auto* items = part<QListWidget>(dialog, "Affected Objects");
        EXPECT_EQ(items->count(), 2) << "Hips and below";
        auto* children = part<QCheckBox>(dialog, "Include all subchildren");
        click(children, {8, children->height() / 2});
        EXPECT_EQ(items->count(), 1);
        children->setFocus();
        QTest::keyClick(children, Qt::Key_Space);
        EXPECT_EQ(items->count(), 2);
        click(findButton(dialog, "All"));
        EXPECT_EQ(items->count(), 7);
        EXPECT_FALSE(children->isChecked()) << "the plug-in has cleared it";
        dialog.reject();
    });
    desk.press("Destroy Keys");
}

TEST(Controls, item_lists_offer_every_item) {
    Desk desk;
    desk.document().setTime(1.0);
    desk.hand.then([&](QDialog& dialog) {
        auto* source = part<QComboBox>(dialog, "Source");
        ASSERT_EQ(source->count(), 8) << "none, and seven items";
        EXPECT_EQ(source->currentText(), QStringLiteral("Hero"));
        auto* target = part<QComboBox>(dialog, "Target");
        target->setFocus();
        QTest::keyClick(target, Qt::Key_Down);
        EXPECT_EQ(model(dialog, "Target").item, desk.item("Spine"));
        clickOk(dialog);
    });
    click(desk.panel().findChild<QTabBar*>(),
          desk.panel().findChild<QTabBar*>()->tabRect(1).center());
    desk.press("Node-to-Node Frame Copy");
    EXPECT_EQ(desk.times("Spine", positionX), std::vector<double>{30});
    EXPECT_EQ(desk.scene().selection, std::vector{desk.item("Spine")}) << "the command selects it";
}

TEST(Controls, path_fields_are_typed_into_or_picked) {
    Desk desk;
    desk.select("Hips");
    auto* tabs = desk.panel().findChild<QTabBar*>();
    click(tabs, tabs->tabRect(1).center());
    const QString saved = desk.file("pose.lw_frame");
    desk.hand.then(&clickOk);
    desk.hand.then([&](QDialog& dialog) {
        auto* field = part<QLineEdit>(dialog, "File full path");
        EXPECT_EQ(field->placeholderText(), QStringLiteral("*.lw_frame"));
        type(field, saved);
        QTest::keyClick(field, Qt::Key_Return);
    });
    desk.hand.then([](QDialog& said) { QTest::keyClick(&said, Qt::Key_Return); });
    desk.press("Save Single Frame data");
    EXPECT_TRUE(QFile::exists(saved));

    desk.hand.then(&clickOk);
    desk.hand.then([&](QDialog& dialog) {
        desk.hand.then([&](QDialog& picker) { pick(dynamic_cast<QFileDialog&>(picker), saved); });
        click(part<QToolButton>(dialog, "Load file full path"));
        EXPECT_EQ(model(dialog, "Load file full path").text, saved.toStdString());
        clickOk(dialog);
    });
    desk.hand.then([](QDialog& said) { said.accept(); });
    desk.document().setTime(desk.scene().rate.timeOf(5));
    desk.press("Load Single Frame data");
    EXPECT_EQ(desk.times("Hips", heading).size(), 8u) << desk.news();
}

TEST(Controls, directories_are_typed_into_or_picked_and_kept_for_the_next_time) {
    Desk desk;
    desk.select("Hips");
    auto* tabs = desk.panel().findChild<QTabBar*>();
    click(tabs, tabs->tabRect(1).center());
    const QString folder = desk.file("clip");
    ASSERT_TRUE(QDir().mkpath(folder));
    desk.hand.then(&clickOk);
    desk.hand.then([&](QDialog& dialog) {
        desk.hand.then([&](QDialog& opened) {
            auto& picker = dynamic_cast<QFileDialog&>(opened);
            EXPECT_EQ(picker.fileMode(), QFileDialog::Directory);
            pick(picker, folder);
        });
        auto* pickButton = part<QToolButton>(dialog, "New Motion directory");
        pickButton->setFocus();
        QTest::keyClick(pickButton, Qt::Key_Space);
        EXPECT_EQ(model(dialog, "New Motion directory").text, folder.toStdString());
        clickOk(dialog);
    });
    desk.hand.then([](QDialog& said) { said.accept(); });
    desk.press("Save Clip data");
    EXPECT_FALSE(QDir(folder).entryList(QDir::Files).isEmpty());
}

TEST(Controls, sets_are_loaded_by_a_button_with_mouse_or_keys) {
    Desk desk;
    QFile set(desk.file("one.lw_items"));
    ASSERT_TRUE(set.open(QIODevice::WriteOnly));
    set.write("Lid\nSun\n");
    set.close();
    desk.hand.then([&](QDialog& dialog) {
        auto* load = findButton(dialog, "Load", 1);
        auto* items = part<QListWidget>(dialog, "Affected Objects");
        for (const bool byKey : {false, true}) {
            click(findButton(dialog, "All"));
            EXPECT_EQ(items->count(), 7);
            desk.hand.then([&](QDialog& picker) {
                auto& files = dynamic_cast<QFileDialog&>(picker);
                EXPECT_EQ(files.fileMode(), QFileDialog::ExistingFile);
                pick(files, set.fileName());
            });
            load->setFocus();
            byKey ? QTest::keyClick(load, Qt::Key_Space) : click(load);
            ASSERT_EQ(items->count(), 2);
            EXPECT_EQ(items->item(0)->text(), QStringLiteral("Lid"));
        }
        dialog.reject();
    });
    desk.press("Destroy Keys");
}

} // namespace
} // namespace cadencora::stage
