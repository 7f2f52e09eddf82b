// What the recorder makes of what a user does.

#include "stage/user/recorder.h"
#include "stage/panels/actions.h"

#include <gtest/gtest.h>

namespace cadencora::stage {
namespace {

// Two dialogs and a button; the scene has two items of one name.
struct Recording {
    FixedMetrics metrics;
    PanelSet panels{metrics};
    Scene scene;
    Recorder recorder;
    ControlModel& button = add(panels.createPanel("Main"), ControlType::button, "Go");
    PanelModel& first = panels.createPanel("First");
    ControlModel& start = add(first, ControlType::slider, " Start");
    ControlModel& rows = add(first, ControlType::listBox, "Objects");
    ControlModel& load = add(first, ControlType::loadButton, "Load");
    ControlModel& remove = add(first, ControlType::button, "Remove");
    PanelModel& second = panels.createPanel("Second");
    ControlModel& alsoStart = add(second, ControlType::slider, "Start");
    ControlModel& gap = add(second, ControlType::integer, "Gap");

    Recording() {
        for (const char* name : {"Cube", "Ball", "Ball"})
            scene.addItem(ItemType::object, name);
    }
    ControlModel& add(PanelModel& panel, ControlType type, const char* label) {
        ControlModel model;
        model.type = type;
        model.label = label;
        model.maximum = 99;
        return panels.addControl(panel, std::move(model), {0, 2, 0});
    }
    void slide(ControlModel& control, int value) {
        ASSERT_TRUE(setInteger(control, value).ok());
        recorder.set(control, scene);
    }
    Step step() const { return recorder.recorded().back().step; }
    std::string shortfall() const { return recorder.recorded().back().shortfall; }
};

TEST(Recorder, settings_have_qualified_labels_and_a_slide_is_its_end) {
    Recording r;
    r.recorder.begin(r.button, {r.button.panel}, r.scene);
    r.recorder.dialogOpened(r.first, r.scene);
    r.slide(r.start, 3);
    r.slide(r.start, 4);
    ASSERT_TRUE(choosePath(r.load, "a.lw_items").ok());
    r.recorder.set(r.load, r.scene);
    r.recorder.set(r.remove, r.scene);
    r.recorder.set(r.remove, r.scene);
    r.slide(r.start, 5);
    r.recorder.dialogClosed(r.first, true, r.scene);
    r.recorder.answered(false);
    r.recorder.end(false, r.scene);
    std::string all;
    for (const auto& [label, value] : r.step().settings)
        all += label + "=" + value + ";";
    EXPECT_EQ(all, "Start=4;Objects/Load=a.lw_items;Objects/Remove=press;Objects/Remove=press;"
                   "Start=5;");
    EXPECT_EQ(r.step().press, "Go");
    EXPECT_EQ(r.step().answers, std::vector<bool>{false});
    EXPECT_FALSE(r.step().cancel);
    EXPECT_EQ(r.shortfall(), "");
}

TEST(Recorder, selection_and_time_are_told_once_and_again_when_they_change) {
    Recording r;
    const auto go = [&] {
        r.recorder.begin(r.button, {r.button.panel}, r.scene);
        r.recorder.end(true, r.scene);
        return r.step();
    };
    r.scene.selection = {static_cast<ItemId>(1), static_cast<ItemId>(2)};
    r.scene.currentTime = 0.5;
    EXPECT_EQ(go().select, (std::vector<std::string>{"Cube", "Ball"}));
    EXPECT_EQ(r.step().time, 15);
    EXPECT_EQ(go().select, std::nullopt);
    EXPECT_EQ(r.step().time, std::nullopt);
    r.recorder.undone(); // what the next step starts from is no longer sure
    EXPECT_EQ(go().time, 15);
    r.scene.selection = {static_cast<ItemId>(3)};
    go();
    EXPECT_EQ(r.shortfall(), "several items are named \"Ball\"");
}

TEST(Recorder, a_cancelled_second_dialog_is_known_by_a_value_of_its_own) {
    Recording r;
    r.recorder.begin(r.button, {r.button.panel}, r.scene);
    r.recorder.dialogOpened(r.first, r.scene);
    r.slide(r.start, 7);
    r.recorder.dialogClosed(r.first, true, r.scene);
    r.recorder.dialogOpened(r.second, r.scene);
    r.recorder.dialogClosed(r.second, false, r.scene);
    r.recorder.end(false, r.scene);
    ASSERT_EQ(r.step().settings.size(), 2u);
    EXPECT_EQ(r.step().settings[1].label, "Gap") << "the first dialog has a Start, too";
    EXPECT_TRUE(r.step().cancel);
    EXPECT_EQ(r.shortfall(), "");

    r.recorder.begin(r.button, {r.button.panel}, r.scene);
    r.recorder.dialogOpened(r.first, r.scene);
    r.recorder.dialogClosed(r.first, true, r.scene);
    r.recorder.dialogOpened(r.second, r.scene);
    r.slide(r.alsoStart, 1);
    r.recorder.end(false, r.scene);
    EXPECT_EQ(r.step().settings.back().label, "Second/Start") << "two dialogs have a Start";
    EXPECT_EQ(r.shortfall(), "");
}

TEST(Recorder, what_an_undo_takes_back_stays_as_a_step_that_is_not_kept) {
    Recording r;
    const auto go = [&](bool changed) {
        r.recorder.begin(r.button, {r.button.panel}, r.scene);
        r.recorder.end(changed, r.scene);
    };
    const auto kept = [&] {
        std::string all;
        for (const RecordedStep& recorded : r.recorder.recorded())
            all += recorded.step.keep ? 'k' : recorded.shortfall.empty() ? '-' : '?';
        return all;
    };
    go(true);
    go(true);
    r.recorder.undone();
    EXPECT_EQ(kept(), "k") << "nothing follows that could depend on it";
    r.recorder.redone();
    go(false);
    r.recorder.undone();
    EXPECT_EQ(kept(), "k-k");
    r.recorder.undone();
    r.recorder.undone();
    EXPECT_EQ(kept(), "--k");
    r.recorder.redone();
    r.recorder.redone();
    EXPECT_EQ(kept(), "kkk");
    EXPECT_NE(r.shortfall(), "") << "a script would not take it in that order";
    r.recorder.undone();
    go(true); // what was undone cannot come back
    r.recorder.redone();
    EXPECT_EQ(kept(), "k-kk");
    r.recorder.begin(r.button, {r.button.panel}, r.scene);
    r.recorder.failed(r.scene);
    EXPECT_EQ(kept(), "k-kk");
    r.scene.previewFirst = 3;
    go(true);
    EXPECT_EQ(kept(), "k-kk-k");
    EXPECT_EQ(r.step().preview, (std::pair<std::int64_t, std::int64_t>(3, 0)));
}

} // namespace
} // namespace cadencora::stage
