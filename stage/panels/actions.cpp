#include "stage/panels/actions.h"

#include "stage/base/text.h"
#include "stage/panels/labels.h"

#include <cmath>
#include <limits>

namespace cadencora::stage {

namespace {

void fire(ControlModel& control) {
    if (!control.handler) return;
    try {
        control.handler(&control.record, control.userData);
    } catch (const HandlerThrew&) { // of a dialog within
        throw;
    } catch (const std::exception& exception) {
        throw HandlerThrew{std::string(shownLabel(control)), exception.what()};
    } catch (...) {
        throw HandlerThrew{std::string(shownLabel(control)), "of an unknown type"};
    }
}

Problem refused(const ControlModel& control, std::string what, std::string detail) {
    return {std::move(what), std::string(shownLabel(control)), std::move(detail)};
}

Result<> outOfReach(const ControlModel& control) {
    if (control.panel->destroyed) return refused(control, "the panel is gone", "");
    if (!control.drawn) return refused(control, "the control is not visible", "");
    return done();
}

std::optional<bool> parseToggle(std::string_view text) {
    for (const auto* yes : {"on", "yes", "true", "1"})
        if (equalNoCase(text, yes)) return true;
    for (const auto* no : {"off", "no", "false", "0"})
        if (equalNoCase(text, no)) return false;
    return std::nullopt;
}

// A choice or a list row by its text, else by its number from 0.
Result<int> pick(const ControlModel& control, const std::vector<std::string>& texts,
                 std::string_view text) {
    for (std::size_t i = 0; i < texts.size(); ++i)
        if (texts[i] == text) return static_cast<int>(i);
    for (std::size_t i = 0; i < texts.size(); ++i)
        if (equalNoCase(texts[i], text)) return static_cast<int>(i);
    if (const auto number = parseInteger(text);
        number && *number >= 0 && *number < static_cast<long long>(texts.size()))
        return static_cast<int>(*number);
    return refused(control, "no such entry: " + inQuotes(text), alternatives(text, texts));
}

bool isPath(ControlType type) {
    return type == ControlType::file || type == ControlType::directory ||
           type == ControlType::loadButton || type == ControlType::saveButton;
}

} // namespace

Result<> press(ControlModel& control) {
    if (auto reach = outOfReach(control); !reach) return reach;
    if (control.type != ControlType::button)
        return refused(control, "this is not a button",
                       "a " + std::string(typeName(control.type)) + " takes a value");
    fire(control);
    return done();
}

Result<> setInteger(ControlModel& control, int value) {
    if (auto reach = outOfReach(control); !reach) return reach;
    int low = 0, high = 0;
    switch (control.type) {
    case ControlType::integer:
        low = std::numeric_limits<int>::min();
        high = std::numeric_limits<int>::max();
        break;
    case ControlType::slider:
        low = control.minimum;
        high = control.maximum;
        break;
    case ControlType::toggle:
        high = 1;
        break;
    case ControlType::choice:
    case ControlType::tabs:
        high = static_cast<int>(control.choices.size()) - 1;
        break;
    case ControlType::listBox:
        low = -1;
        high = listRowCount(control) - 1;
        break;
    default:
        return refused(control, "this takes no whole number", "");
    }
    if (value < low || value > high)
        return refused(control, std::to_string(value) + " is out of range",
                       "from " + std::to_string(low) + " to " + std::to_string(high));
    control.integer = value;
    fire(control);
    return done();
}

Result<> setNumber(ControlModel& control, double value) {
    if (control.type != ControlType::number) {
        if (value != std::floor(value) || std::abs(value) > 2e9)
            return refused(control, shortest(value) + " is not a whole number", "");
        return setInteger(control, static_cast<int>(value));
    }
    if (auto reach = outOfReach(control); !reach) return reach;
    control.number = value;
    fire(control);
    return done();
}

Result<> choosePath(ControlModel& control, std::string path) {
    if (auto reach = outOfReach(control); !reach) return reach;
    if (!isPath(control.type)) return refused(control, "this takes no path", "");
    control.text = std::move(path);
    fire(control);
    return done();
}

Result<> chooseItem(ControlModel& control, ItemId item) {
    if (auto reach = outOfReach(control); !reach) return reach;
    if (control.type != ControlType::item) return refused(control, "this takes no item", "");
    control.item = item;
    fire(control);
    return done();
}

Result<> setByText(ControlModel& control, std::string_view text, const Scene& scene) {
    switch (control.type) {
    case ControlType::button:
        if (!text.empty() && text != "press" && text != "on")
            return refused(control, inQuotes(text) + " is not a value for a button", "press");
        return press(control);
    case ControlType::toggle: {
        const auto on = parseToggle(text);
        if (!on) return refused(control, inQuotes(text) + " is neither on nor off", "on, off");
        return setInteger(control, *on ? 1 : 0);
    }
    case ControlType::choice:
    case ControlType::tabs: {
        const auto index = pick(control, control.choices, text);
        return index ? setInteger(control, index.value()) : index.problem();
    }
    case ControlType::listBox: {
        if (text.empty()) return setInteger(control, -1); // no row
        const auto row = pick(control, listRows(control), text);
        if (row) return setInteger(control, row.value());
        if (const int count = listRowCount(control); count > mostListRows)
            return refused(control, "the list has " + std::to_string(count) + " rows",
                           "the first " + std::to_string(mostListRows) + " are looked through");
        return row.problem();
    }
    case ControlType::item: {
        const ItemId item = scene.findItem(text);
        if (item == ItemId::none && (text.empty() || text == "(none)"))
            return chooseItem(control, ItemId::none);
        if (item == ItemId::none)
            return refused(control, "no item is named " + inQuotes(text), scene.namesLike(text));
        return chooseItem(control, item);
    }
    case ControlType::file:
    case ControlType::directory:
    case ControlType::loadButton:
    case ControlType::saveButton:
        return choosePath(control, std::string(text));
    case ControlType::integer:
    case ControlType::slider:
    case ControlType::number:
        break;
    }
    const auto number = parseNumber(text);
    if (!number) return refused(control, inQuotes(text) + " is not a number", "");
    return setNumber(control, *number);
}

std::string valueText(const ControlModel& control, const Scene& scene) {
    switch (control.type) {
    case ControlType::toggle:
        return control.integer ? "on" : "off";
    case ControlType::choice:
    case ControlType::tabs: {
        const auto i = static_cast<std::size_t>(control.integer);
        return i < control.choices.size() ? control.choices[i] : std::to_string(control.integer);
    }
    case ControlType::integer:
    case ControlType::slider:
        return std::to_string(control.integer);
    case ControlType::number:
        return shortest(control.number);
    case ControlType::item:
        return scene.has(control.item) ? scene.item(control.item).name : std::string();
    case ControlType::listBox:
        return control.integer < 0 ? "" : std::to_string(control.integer);
    default:
        return control.text;
    }
}

std::string_view typeName(ControlType type) {
    switch (type) {
    case ControlType::button:
        return "button";
    case ControlType::choice:
        return "choice";
    case ControlType::tabs:
        return "tabs";
    case ControlType::directory:
        return "directory";
    case ControlType::file:
        return "file";
    case ControlType::loadButton:
        return "load button";
    case ControlType::saveButton:
        return "save button";
    case ControlType::integer:
        return "integer";
    case ControlType::item:
        return "item";
    case ControlType::listBox:
        return "list box";
    case ControlType::number:
        return "number";
    case ControlType::slider:
        return "slider";
    case ControlType::toggle:
        return "toggle";
    }
    return "control";
}

} // namespace cadencora::stage
