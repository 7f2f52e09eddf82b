#include "plugin/sets/controls.h"

#include "plugin/host/lookup.h"

#include <cstring>

namespace cadencora {

constexpr int listWidth = 150;
constexpr int valueBoxX = 80;

static host::ControlDesc emptyDescriptor() {
    host::ControlDesc descriptor;
    std::memset(&descriptor, 0, sizeof descriptor);
    return descriptor;
}

static host::ControlValue emptyValue(host::ValueType type) {
    host::ControlValue value;
    std::memset(&value, 0, sizeof value);
    value.type = type;
    return value;
}

host::Control* addPathControl(host::Panel panel, const char* type, const char* label, int width) {
    host::ControlDesc descriptor = emptyDescriptor();
    descriptor.path = {host::pathKind, width};
    return panelService->addControl(panel, type, &descriptor, label);
}

host::Control* addButton(host::Panel panel, const char* label, int width) {
    host::ControlDesc descriptor = emptyDescriptor();
    descriptor.button = {host::buttonKind, width, 0};
    return panelService->addControl(panel, host::buttonControl, &descriptor, label);
}

host::Control* addToggle(host::Panel panel, const char* label) {
    host::ControlDesc descriptor = emptyDescriptor();
    descriptor.kind = host::toggleKind;
    return panelService->addControl(panel, host::boolControl, &descriptor, label);
}

host::Control* addItemList(host::Panel panel, const char* label) {
    constexpr int anyItem = 5;
    constexpr int width = 100;
    host::ControlDesc descriptor = emptyDescriptor();
    descriptor.itemList = {host::itemListKind, global, anyItem, 0, 0, width};
    return panelService->addControl(panel, host::itemListControl, &descriptor, label);
}

host::Control* addInteger(host::Panel panel, const char* label, int initial) {
    host::ControlDesc descriptor = emptyDescriptor();
    descriptor.kind = host::integerKind;
    host::Control* control = panelService->addControl(panel, host::numControl, &descriptor, label);
    setInteger(control, host::controlValue, initial);
    return control;
}

host::Control* addReal(host::Panel panel, const char* label, double initial) {
    host::ControlDesc descriptor = emptyDescriptor();
    descriptor.kind = host::floatKind;
    host::Control* control =
        panelService->addControl(panel, host::floatControl, &descriptor, label);
    setReal(control, initial);
    return control;
}

host::Control* addSlider(host::Panel panel, const char* label, int width, int minimum, int maximum,
                         int initial) {
    host::ControlDesc descriptor = emptyDescriptor();
    descriptor.slider = {host::sliderKind, width, minimum, maximum};
    host::Control* control =
        panelService->addControl(panel, host::sliderControl, &descriptor, label);
    setInteger(control, host::controlValue, initial);
    return control;
}

host::Control* addListBox(host::Panel panel, const char* label, int rows, host::CountCallback count,
                          host::NameCallback name) {
    host::ControlDesc descriptor = emptyDescriptor();
    descriptor.listBox = {host::listBoxKind, listWidth, rows, 0, count, name};
    return panelService->addControl(panel, host::listBoxControl, &descriptor, label);
}

host::Control* addChoice(host::Panel panel, const char* type, const char* label,
                         const char* const* items) {
    host::ControlDesc descriptor = emptyDescriptor();
    descriptor.choice = {host::choiceKind, items, 0};
    return panelService->addControl(panel, type, &descriptor, label);
}

void wireControl(host::Control* control, void* userData, host::EventHandler handler) {
    if (!control) return;
    host::ControlValue value = emptyValue(host::integerValue);
    value.pointer = userData;
    control->set(control, host::controlUserData, &value);
    if (!handler) return;
    value = emptyValue(host::integerValue);
    value.handler = handler;
    control->set(control, host::controlHandler, &value);
}

int readInteger(host::Control* control, int tag, int ifNone) {
    if (!control) return ifNone;
    host::ControlValue value = emptyValue(host::integerValue);
    control->get(control, tag, &value);
    return value.integer;
}

void setInteger(host::Control* control, int tag, int number) {
    if (!control) return;
    host::ControlValue value = emptyValue(host::integerValue);
    value.integer = number;
    control->set(control, tag, &value);
}

double readReal(host::Control* control) {
    if (!control) return 0;
    host::ControlValue value = emptyValue(host::floatValue);
    control->get(control, host::controlValue, &value);
    return value.real;
}

void setReal(host::Control* control, double number) {
    if (!control) return;
    host::ControlValue value = emptyValue(host::floatValue);
    value.real = number;
    control->set(control, host::controlValue, &value);
}

host::Item readItem(host::Control* control) {
    if (!control) return nullptr;
    host::ControlValue value = emptyValue(host::itemValue);
    control->get(control, host::controlValue, &value);
    return value.item;
}

void setItem(host::Control* control, host::Item item) {
    if (!control) return;
    host::ControlValue value = emptyValue(host::itemValue);
    value.item = item;
    control->set(control, host::controlValue, &value);
}

void setPathText(host::Control* control, const char* text) {
    if (!control) return;
    host::ControlValue value = emptyValue(host::textValue);
    value.text.buffer = const_cast<char*>(text); // the host copies it and writes nothing
    value.text.size = static_cast<std::int32_t>(std::strlen(text));
    control->set(control, host::controlValue, &value);
}

bool readPath(host::Control* control, char (&path)[pathSize]) {
    path[0] = '\0';
    if (!control) return false;
    host::ControlValue value = emptyValue(host::textValue);
    value.text.buffer = path;
    value.text.size = pathSize;
    control->get(control, host::controlValue, &value);
    path[pathSize - 1] = '\0';
    return path[0] != '\0';
}

void refreshList(host::Control* list) {
    if (!list) return;
    list->draw(list, host::eraseControl);
    list->draw(list, host::drawControl);
}

void placeRow(host::Control* const* buttons, int count, int firstX, int step) {
    if (!buttons[0]) return;
    const int y = readInteger(buttons[0], host::controlY);
    for (int i = 0; i < count; ++i) {
        setInteger(buttons[i], host::controlX, firstX + i * step);
        setInteger(buttons[i], host::controlY, y);
    }
}

void alignValueBox(host::Control* control) {
    const int labelWidth = readInteger(control, host::controlLabelWidth);
    setInteger(control, host::controlX, valueBoxX - labelWidth);
}

} // namespace cadencora
