// "LWPanelServices": panels, controls, and the size of the display.

#include "stage/base/text.h"
#include "stage/services/gate.h"
#include "stage/services/tables.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace cadencora::stage {

namespace {

constexpr SlotName service = "LWPanelServices";

// Control type names, the descriptor kind that each takes, and the model's type.
struct TypeRow {
    std::string_view name;
    std::int32_t kind;
    ControlType type;
};

constexpr std::array typeRows{
    TypeRow{host::buttonControl, host::buttonKind, ControlType::button},
    TypeRow{host::choiceControl, host::choiceKind, ControlType::choice},
    TypeRow{host::tabChoiceControl, host::choiceKind, ControlType::tabs},
    TypeRow{host::dirControl, host::pathKind, ControlType::directory},
    TypeRow{host::fileControl, host::pathKind, ControlType::file},
    TypeRow{host::loadButtonControl, host::pathKind, ControlType::loadButton},
    TypeRow{host::saveButtonControl, host::pathKind, ControlType::saveButton},
    TypeRow{host::numControl, host::integerKind, ControlType::integer},
    TypeRow{host::itemListControl, host::itemListKind, ControlType::item},
    TypeRow{host::listBoxControl, host::listBoxKind, ControlType::listBox},
    TypeRow{host::floatControl, host::floatKind, ControlType::number},
    TypeRow{host::sliderControl, host::sliderKind, ControlType::slider},
    TypeRow{host::boolControl, host::toggleKind, ControlType::toggle},
};

// Panels

PanelModel* createPanel(Host& host, std::string_view title, int) {
    if (host.faults().panelsUntilNull == 0) return nullptr;
    if (host.faults().panelsUntilNull > 0) --host.mutableFaults().panelsUntilNull;
    return &host.panels().createPanel(std::string(title));
}

void destroyPanel(Host& host, PanelModel* panel) {
    if (panel->state == PanelState::modal) throw MisuseError{"the panel is open"};
    host.frontEnd().panelDestroyed(*panel);
    host.panels().destroyPanel(*panel);
}

int openPanel(Host& host, PanelModel* panel, int flags) {
    if (panel->state != PanelState::closed) throw MisuseError{"the panel is open already"};
    if (flags == host::openFloating) {
        panel->state = PanelState::floating;
        host.frontEnd().showFloating(*panel);
        return 1;
    }
    if (flags != host::openModal) throw MisuseError{"open flags " + std::to_string(flags)};
    constexpr int mostNested = 50;
    if (host.modalPanels >= mostNested)
        throw MisuseError{"more than " + std::to_string(mostNested) +
                          " dialogs, each opened by the one before"};
    panel->state = PanelState::modal;
    ++host.modalPanels;
    struct Closing { // also after an exception of the plug-in's: it may open the panel again
        Host& host;
        PanelModel& panel;
        ~Closing() {
            panel.state = PanelState::closed;
            --host.modalPanels;
        }
    } const closing{host, *panel};
    return host.frontEnd().runModal(*panel) ? 1 : 0;
}

void getPanelAttribute(Host&, PanelModel* panel, int tag, int* out) {
    if (!out) throw MisuseError{"null result"};
    switch (tag) {
    case host::panelX:
        *out = panel->x;
        break;
    case host::panelY:
        *out = panel->y;
        break;
    case host::panelWidth:
        *out = panel->width();
        break;
    case host::panelHeight:
        *out = panel->height();
        break;
    default:
        throw MisuseError{"panel attribute " + std::to_string(tag)};
    }
}

void setPanelAttribute(Host&, PanelModel* panel, int tag, const int* in) {
    if (!in) throw MisuseError{"null value"};
    switch (tag) {
    case host::panelX:
        panel->x = *in;
        break;
    case host::panelY:
        panel->y = *in;
        break;
    case host::panelWidth:
        panel->askedWidth = *in;
        break;
    case host::panelHeight:
        panel->askedHeight = *in;
        break;
    default:
        throw MisuseError{"panel attribute " + std::to_string(tag)};
    }
}

const int* displayMetrics(Host& host) {
    static int size[2];
    size[0] = host.frontEnd().displayWidth();
    size[1] = host.frontEnd().displayHeight();
    return size;
}

// Controls

void draw(Host&, ControlModel* control, int mode) {
    if (mode != host::eraseControl && mode != host::drawControl)
        throw MisuseError{"draw mode " + std::to_string(mode)};
    control->drawn = mode == host::drawControl;
    ++control->redraws;
}

bool holdsText(ControlType type) {
    return type == ControlType::directory || type == ControlType::file ||
           type == ControlType::loadButton || type == ControlType::saveButton;
}

host::ValueType valueTypeOf(ControlType type) {
    if (holdsText(type)) return host::textValue;
    if (type == ControlType::number) return host::floatValue;
    return type == ControlType::item ? host::itemValue : host::integerValue;
}

// Writes the chosen path into the caller's buffer. A path is never cut: one that does not fit is
// reported, and the caller learns that nothing was chosen.
void giveText(Host& host, const ControlModel& control, host::ControlValue& out) {
    char* const buffer = out.text.buffer;
    const auto size = static_cast<std::size_t>(std::max(out.text.size, 0));
    if (!buffer || size == 0) throw MisuseError{"no buffer for the text"};
    const bool fits = control.text.size() < size;
    if (!fits)
        host.report({"the path is too long for the plug-in", control.text,
                     "at most " + std::to_string(size - 1) + " bytes"});
    const std::string_view text = fits ? std::string_view(control.text) : std::string_view();
    if (control.type == ControlType::directory) host.files.chosenDirectories.emplace(text);
    *std::ranges::copy(text, buffer).out = '\0';
}

// A record of zeros asks for the control's own type; of a text it gets the size.
void giveValue(Host& host, const ControlModel& control, host::ControlValue& out) {
    if (out.type == 0 && control.type != ControlType::button) {
        out.type = valueTypeOf(control.type);
        if (out.type == host::textValue) {
            out.text = {nullptr, static_cast<std::int32_t>(control.text.size() + 1)};
            return;
        }
    }
    switch (control.type) {
    case ControlType::number:
        if (out.type != host::floatValue) throw MisuseError{"the value is a floating-point number"};
        out.real = control.number;
        break;
    case ControlType::item:
        if (out.type != host::itemValue) throw MisuseError{"the value is an item"};
        out.item = encode(control.item);
        break;
    case ControlType::directory:
    case ControlType::file:
    case ControlType::loadButton:
    case ControlType::saveButton:
        if (out.type != host::textValue) throw MisuseError{"the value is a text"};
        giveText(host, control, out);
        break;
    case ControlType::button:
        throw MisuseError{"a button has no value"};
    default:
        if (out.type != host::integerValue) throw MisuseError{"the value is an integer"};
        out.integer = control.integer;
    }
}

void get(Host& host, ControlModel* control, int tag, host::ControlValue* out) {
    if (!out) throw MisuseError{"null value"};
    if (tag == host::controlValue) return giveValue(host, *control, *out);
    switch (tag) {
    case host::controlX:
        out->integer = control->rect.x;
        break;
    case host::controlY:
        out->integer = control->rect.y;
        break;
    case host::controlLabelWidth:
        out->integer = control->labelWidth;
        break;
    default:
        throw MisuseError{"control attribute " + std::to_string(tag)};
    }
    out->type = host::integerValue;
}

void takeText(ControlModel& control, const host::ControlValue& in) {
    if (in.type != host::textValue || !in.text.buffer) throw MisuseError{"the value is a text"};
    // The text ends at its NUL or at the size given, whichever comes first.
    const std::string_view given(in.text.buffer,
                                 static_cast<std::size_t>(std::max(in.text.size, 0)));
    const std::string text(given.substr(0, given.find('\0')));
    // The buttons show no path. In a file control, a pattern of file names does not choose a file.
    const bool button =
        control.type == ControlType::loadButton || control.type == ControlType::saveButton;
    const bool pattern = control.type == ControlType::file && text.find('*') != text.npos;
    (button || pattern ? control.pattern : control.text) = text;
}

void takeValue(Host& host, ControlModel& control, const host::ControlValue& in) {
    switch (control.type) {
    case ControlType::number:
        if (in.type != host::floatValue) throw MisuseError{"the value is a floating-point number"};
        control.number = in.real;
        break;
    case ControlType::item:
        if (in.type != host::itemValue) throw MisuseError{"the value is an item"};
        control.item = Wire<OrNone<ItemId>>::in(host, in.item).id;
        break;
    case ControlType::directory:
    case ControlType::file:
    case ControlType::loadButton:
    case ControlType::saveButton:
        takeText(control, in);
        break;
    case ControlType::button:
        throw MisuseError{"a button has no value"};
    default:
        if (in.type != host::integerValue) throw MisuseError{"the value is an integer"};
        control.integer = in.integer;
        if (control.type == ControlType::toggle) control.integer = in.integer != 0;
        if (control.type == ControlType::slider)
            control.integer =
                std::clamp(in.integer, control.minimum, std::max(control.minimum, control.maximum));
    }
    ++control.redraws;
}

void set(Host& host, ControlModel* control, int tag, const host::ControlValue* in) {
    if (!in) throw MisuseError{"null value"};
    if (tag == host::controlValue) return takeValue(host, *control, *in);
    if (in->type != host::integerValue) throw MisuseError{"the attribute is an integer"};
    switch (tag) {
    case host::controlX:
        control->rect.x = in->integer;
        break;
    case host::controlY:
        control->rect.y = in->integer;
        break;
    case host::controlHandler:
        control->handler = in->handler;
        break;
    case host::controlUserData:
        control->userData = in->pointer;
        break;
    default:
        throw MisuseError{"control attribute " + std::to_string(tag)};
    }
}

const TypeRow& rowOf(std::string_view type) {
    const auto row = std::ranges::find(typeRows, type, &TypeRow::name);
    if (row == typeRows.end()) throw MisuseError{"control type " + inQuotes(type)};
    return *row;
}

ControlModel* addControl(Host& host, PanelModel* panel, std::string_view type,
                         const host::ControlDesc* desc, const char* label) {
    if (!desc) throw MisuseError{"null descriptor"};
    const TypeRow& row = rowOf(type);
    if (desc->kind != row.kind)
        throw MisuseError{"descriptor kind " + std::to_string(desc->kind) + " for " +
                          inQuotes(type)};
    ControlModel control;
    control.type = row.type;
    if (label) control.label = boundedText(label);
    control.record = {gate<service, "Control.draw", &draw>, gate<service, "Control.get", &get>,
                      gate<service, "Control.set", &set>};
    AskedSize asked;
    switch (row.kind) {
    case host::pathKind:
        asked.width = desc->path.width;
        break;
    case host::sliderKind:
        asked.width = desc->slider.width;
        control.minimum = desc->slider.minimum;
        control.maximum = desc->slider.maximum;
        control.integer = control.minimum;
        break;
    case host::itemListKind:
        asked.width = desc->itemList.width;
        break;
    case host::buttonKind:
        asked.width = desc->button.width;
        asked.height = desc->button.height;
        break;
    case host::listBoxKind:
        asked.width = desc->listBox.width;
        asked.rows = desc->listBox.rows;
        control.integer = -1;
        control.count = desc->listBox.count;
        control.name = desc->listBox.name;
        break;
    case host::choiceKind:
        if (!desc->choice.items) throw MisuseError{"null list of choices"};
        for (const char* const* item = desc->choice.items; *item; ++item) {
            if (control.choices.size() == mostListRows)
                throw MisuseError{"more than " + std::to_string(mostListRows) + " choices"};
            control.choices.emplace_back(boundedText(*item));
        }
        control.isVertical = row.type == ControlType::choice && desc->choice.orientation != 0;
        break;
    default:
        break;
    }
    return &host.panels().addControl(*panel, std::move(control), asked);
}

const host::DrawFuncs drawFuncs{
    .slot0 = nullptr,
    .slot1 = nullptr,
    .slot2 = nullptr,
    .slot3 = nullptr,
    .slot4 = nullptr,
    .slot5 = nullptr,
    .slot6 = nullptr,
    .slot7 = nullptr,
    .displayMetrics = gate<service, "displayMetrics", &displayMetrics>,
};

} // namespace

host::PanelFuncs& panelFuncs() {
    static host::PanelFuncs table{
        .createPanel = gate<service, "createPanel", &createPanel>,
        .destroyPanel = gate<service, "destroyPanel", &destroyPanel>,
        .openPanel = gate<service, "openPanel", &openPanel>,
        .slot3 = nullptr,
        .slot4 = nullptr,
        .slot5 = nullptr,
        .getPanelAttribute = gate<service, "getPanelAttribute", &getPanelAttribute>,
        .setPanelAttribute = gate<service, "setPanelAttribute", &setPanelAttribute>,
        .addControl = gate<service, "addControl", &addControl>,
        .slot9 = nullptr,
        .drawFuncs = &drawFuncs,
        .word11 = nullptr,
        .globalFunc = nullptr,
    };
    return table;
}

} // namespace cadencora::stage
