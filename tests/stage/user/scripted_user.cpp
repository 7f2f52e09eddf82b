// The scripted user, and the panels that it sees.

#include "stage/user/scripted_user.h"
#include "stage/panels/actions.h"
#include "stage/panels/labels.h"
#include "stage/user/recipe.h"

#include <gtest/gtest.h>

namespace cadencora::stage {
namespace {

ControlModel control(ControlType type, const char* label) {
    ControlModel model;
    model.type = type;
    model.label = label;
    return model;
}

TEST(Panels, controls_stack_and_a_row_of_buttons_leaves_no_hole) {
    const FixedMetrics metrics;
    PanelSet panels(metrics);
    PanelModel& panel = panels.createPanel("Test");
    EXPECT_EQ(panel.width(), 60) << "an empty panel has a size too";
    ControlModel& list =
        panels.addControl(panel, control(ControlType::listBox, "List"), {150, 4, 0});
    ControlModel& load =
        panels.addControl(panel, control(ControlType::loadButton, "Load"), {56, 0, 0});
    ControlModel& save =
        panels.addControl(panel, control(ControlType::saveButton, "Save"), {56, 0, 0});
    EXPECT_GT(load.rect.y, list.rect.y + list.rect.height);
    EXPECT_GT(save.rect.y, load.rect.y);
    save.rect = {61, load.rect.y, 56, load.rect.height};
    ControlModel& toggle = panels.addControl(panel, control(ControlType::toggle, "On"));
    EXPECT_GT(toggle.rect.y, load.rect.y);
    EXPECT_LT(toggle.rect.y, load.rect.y + 2 * load.rect.height) << "below the row, not the column";
    EXPECT_GE(panel.width(), 155);
    EXPECT_GE(panel.height(), toggle.rect.y + toggle.rect.height);
    panel.askedWidth = 300;
    EXPECT_EQ(panel.width(), 300);

    ControlModel& number = panels.addControl(panel, control(ControlType::number, "Größe der Höhe"));
    EXPECT_EQ(number.labelWidth, metrics.width("Grosse der Hohe") - 8 + 4) << "not bytes";
    ControlModel& source = panels.addControl(panel, control(ControlType::item, "Source"));
    ControlModel& target = panels.addControl(panel, control(ControlType::item, "To"));
    EXPECT_EQ(source.labelWidth, target.labelWidth) << "boxes below each other are aligned";
    EXPECT_EQ(load.section, "List");
    EXPECT_EQ(number.section, "List");
    EXPECT_EQ(list.section, "");
}

TEST(Panels, a_value_of_the_wrong_kind_or_out_of_range_is_refused_and_fires_nothing) {
    const FixedMetrics metrics;
    PanelSet panels(metrics);
    PanelModel& panel = panels.createPanel("Test");
    Scene scene;
    scene.addItem(ItemType::object, "Cube");
    static int fired;
    fired = 0;
    const auto add = [&](ControlModel model) -> ControlModel& {
        model.handler = [](host::Control*, void*) { ++fired; };
        return panels.addControl(panel, std::move(model));
    };
    ControlModel slider = control(ControlType::slider, "Start");
    slider.minimum = -5;
    slider.maximum = 10;
    ControlModel choice = control(ControlType::choice, "Method");
    choice.choices = {"Add", "Multiply", "1"};
    struct Case {
        ControlModel& control;
        const char* text;
        const char* value; // null: refused
    };
    ControlModel& s = add(slider);
    ControlModel& c = add(choice);
    ControlModel& t = add(control(ControlType::toggle, "On"));
    ControlModel& n = add(control(ControlType::number, "Max"));
    ControlModel& i = add(control(ControlType::integer, "Keys"));
    ControlModel& item = add(control(ControlType::item, "Source"));
    ControlModel& button = add(control(ControlType::button, "Go"));
    const Case cases[] = {
        {s, "10", "10"},        {s, "-5", "-5"},
        {s, "11", nullptr},     {s, "2.5", nullptr},
        {s, "", nullptr},       {c, "multiply", "Multiply"},
        {c, "0", "Add"},        {c, "1", "1"},
        {c, "3", nullptr},      {c, "Divide", nullptr},
        {t, "YES", "on"},       {t, "0", "off"},
        {t, "maybe", nullptr},  {n, "-0.05", "-0.05"},
        {n, "1e3", "1000"},     {n, "inf", nullptr},
        {n, "5 ", nullptr},     {i, "5", "5"},
        {i, "5.5", nullptr},    {i, "99999999999", nullptr},
        {item, "Cube", "Cube"}, {item, "Ball", nullptr},
        {button, "", ""},       {button, "7", nullptr},
    };
    for (const Case& each : cases) {
        const int before = fired;
        const std::string old = valueText(each.control, scene);
        const auto result = setByText(each.control, each.text, scene);
        EXPECT_EQ(result.ok(), each.value != nullptr) << each.control.label << "=" << each.text;
        EXPECT_EQ(fired - before, each.value ? 1 : 0);
        EXPECT_EQ(valueText(each.control, scene), each.value ? each.value : old);
    }
    s.drawn = false;
    EXPECT_FALSE(setByText(s, "1", scene)) << "an erased control is out of reach";
    panels.destroyPanel(panel);
    EXPECT_FALSE(press(button));
}

TEST(ScriptedUsers, settings_keep_their_equals_signs_and_answers_their_order) {
    const auto setting = parseSetting("File full path=/a=b/c==d", "--set");
    ASSERT_TRUE(setting.ok());
    EXPECT_EQ(setting.value().label, "File full path");
    EXPECT_EQ(setting.value().value, "/a=b/c==d");
    EXPECT_EQ(settingText(setting.value()), "File full path=/a=b/c==d");

    ScriptedUser user;
    Step step;
    step.isStart = true;
    step.answers = {false, true};
    std::vector<bool> given;
    EXPECT_TRUE(user.perform(step, [&]() -> Result<> {
        for (int i = 0; i < 3; ++i)
            given.push_back(user.ask({MessageKind::question, {"Really?"}}));
        return done();
    }));
    EXPECT_EQ(given, (std::vector<bool>{false, true, true})) << "the last answer goes on";
}

TEST(Panels, labels_name_controls_with_their_list_where_two_share_one) {
    const FixedMetrics metrics;
    PanelSet panels(metrics);
    PanelModel& panel = panels.createPanel("Test");
    const auto add = [&](ControlType type, const char* label) -> ControlModel* {
        return &panels.addControl(panel, control(type, label));
    };
    ControlModel* end = add(ControlType::slider, "  End");
    add(ControlType::listBox, "Affected Channels");
    ControlModel* load1 = add(ControlType::loadButton, "Load");
    add(ControlType::listBox, "Affected Objects");
    ControlModel* load2 = add(ControlType::loadButton, "Load");
    ControlModel* all = add(ControlType::button, "All");

    EXPECT_EQ(findControl({&panel}, "End").value(), end);
    EXPECT_EQ(findControl({&panel}, " end ").value(), end);
    EXPECT_EQ(findControl({&panel}, "Affected Channels/Load").value(), load1);
    EXPECT_EQ(findControl({&panel}, "affected objects/load").value(), load2);
    EXPECT_EQ(findControl({&panel}, "Affected Objects/All").value(), all);
    const auto ambiguous = findControl({&panel}, "Load");
    ASSERT_FALSE(ambiguous);
    EXPECT_NE(ambiguous.problem().detail.find("\"Affected Objects/Load\""), std::string::npos);
    const auto unknown = findControl({&panel}, "Strat");
    ASSERT_FALSE(unknown);
    EXPECT_NE(unknown.problem().detail.find("\"End\""), std::string::npos);
}

} // namespace
} // namespace cadencora::stage
