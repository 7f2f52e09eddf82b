// A polite plug-in by somebody else: everything that it does is allowed, and nothing of it is done
// by Cadencora. Each button tries one thing and tells in a message what came of it.

#include "plugin/host/channel_info.h"
#include "plugin/host/dir_info.h"
#include "plugin/host/envelope_funcs.h"
#include "plugin/host/file_io_funcs.h"
#include "plugin/host/item_info.h"
#include "plugin/host/message_funcs.h"
#include "plugin/host/panel_funcs.h"
#include "tests/modules/descriptor.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

using namespace cadencora::host;

namespace {

GlobalFunc lookUp;
Panel mainPanel; // one for the process
Control *scale, *lock, *load, *sides;
Item remembered;    // of the first activation
Envelope own, mark; // kept from one press to the next
int activations = 0;

template <class Table>
Table* table(const char* name) {
    return static_cast<Table*>(lookUp(name, 0));
}

// What happens to the file itself goes to a log, if one is named.
void log(const char* line) {
    const char* path = std::getenv("STRANGER_LOG");
    if (!path) return;
    if (FILE* file = std::fopen(path, "a")) {
        std::fprintf(file, "%s\n", line);
        std::fclose(file);
    }
}

void tell(const std::string& text) {
    table<MessageFuncs>(messageFuncsName)->info(text.c_str(), "");
}

std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
}

Item firstObject() {
    return table<ItemInfo>(itemInfoName)->firstItem(objectItem, nullptr);
}

Group group() {
    return table<ItemInfo>(itemInfoName)->channelGroup(firstObject());
}

// The first value of an envelope; "nothing" without a key.
std::string firstValue(Envelope envelope) {
    auto* envelopes = table<EnvelopeFuncs>(envelopeFuncsName);
    double value = 0;
    const Key key = envelopes->nextKey(envelope, nullptr);
    return key && envelopes->keyGet(envelope, key, keyValue, &value) ? number(value) : "nothing";
}

// Key number `count` of the first channel gets this value.
void keyFirstChannel(double value) {
    auto* channels = table<ChannelInfo>(channelInfoName);
    auto* envelopes = table<EnvelopeFuncs>(envelopeFuncsName);
    envelopes->createKey(channels->channelEnvelope(channels->nextChannel(group(), nullptr)), 0,
                         value);
}

Control* add(Panel panel, const char* type, ControlDesc desc, const char* label,
             EventHandler handler = nullptr) {
    Control* control = table<PanelFuncs>(panelFuncsName)->addControl(panel, type, &desc, label);
    ControlValue value{};
    value.type = integerValue;
    value.handler = handler;
    if (handler) control->set(control, controlHandler, &value);
    return control;
}

ControlDesc plain(DescriptorKind kind) {
    ControlDesc desc{};
    desc.kind = kind;
    return desc;
}

Control* addButton(Panel panel, const char* label, EventHandler handler) {
    return add(panel, buttonControl, plain(buttonKind), label, handler);
}

double real(Control* control) {
    ControlValue value{};
    value.type = floatValue;
    control->get(control, controlValue, &value);
    return value.real;
}

int integer(Control* control) {
    ControlValue value{};
    value.type = integerValue;
    control->get(control, controlValue, &value);
    return value.integer;
}

// A dialog with one number; -1 where it is cancelled.
int askNumber(const char* title, const char* label) {
    auto* panels = table<PanelFuncs>(panelFuncsName);
    const Panel panel = panels->createPanel(title, 0);
    Control* control = add(panel, numControl, plain(integerKind), label);
    const int answer = panels->openPanel(panel, openModal) ? integer(control) : -1;
    panels->destroyPanel(panel);
    return answer;
}

void tabEvent(Control* control, void*) {
    if (integer(control) == 1) tell("tab " + std::to_string(askNumber("Tab", "Turn")));
}

void keepEvent(Control*, void*) {
    auto* envelopes = table<EnvelopeFuncs>(envelopeFuncsName);
    own = envelopes->createEnvelope(nullptr, "cache", floatEnvelope);
    envelopes->createKey(own, 0, real(scale));
    mark = envelopes->createEnvelope(group(), "Position.X", floatEnvelope);
    envelopes->createKey(mark, 1, 7);
    Channel last = nullptr;
    auto* channels = table<ChannelInfo>(channelInfoName);
    for (Channel channel = channels->nextChannel(group(), nullptr); channel;
         channel = channels->nextChannel(group(), channel))
        last = channel;
    tell(std::string("made ") + channels->channelName(last));
}

void useEvent(Control*, void*) {
    tell("kept " + firstValue(own) + " and " + firstValue(mark));
}

void dropEvent(Control*, void*) {
    auto* envelopes = table<EnvelopeFuncs>(envelopeFuncsName);
    envelopes->destroyEnvelope(own);
    envelopes->destroyEnvelope(mark);
}

void temporaryEvent(Control*, void*) {
    auto* envelopes = table<EnvelopeFuncs>(envelopeFuncsName);
    const Envelope copy = envelopes->createEnvelope(group(), "copy", floatEnvelope);
    envelopes->createKey(copy, 0, 3);
    tell("copy has " + firstValue(copy));
    envelopes->destroyEnvelope(copy);
}

void growEvent(Control*, void*) {
    for (int i = 0; i < 50; ++i) // more than any list has room for
        addButton(mainPanel, ("Grown " + std::to_string(i)).c_str(),
                  [](Control*, void*) { tell("a grown button"); });
}

void dialogGrowEvent(Control*, void* panel) {
    for (int i = 0; i < 50; ++i)
        add(static_cast<Panel>(panel), numControl, plain(integerKind),
            ("Late " + std::to_string(i)).c_str());
}

void growingDialogEvent(Control*, void*) {
    auto* panels = table<PanelFuncs>(panelFuncsName);
    const Panel panel = panels->createPanel("Growing", 0);
    Control* more = add(panel, buttonControl, plain(buttonKind), "More");
    ControlValue value{};
    value.type = integerValue;
    value.pointer = panel;
    more->set(more, controlUserData, &value);
    value.handler = &dialogGrowEvent;
    more->set(more, controlHandler, &value);
    tell(panels->openPanel(panel, openModal) ? "grown and accepted" : "cancelled");
    panels->destroyPanel(panel);
}

void secondEvent(Control*, void*) {
    auto* panels = table<PanelFuncs>(panelFuncsName);
    const Panel panel = panels->createPanel("Second", 0);
    addButton(panel, "Keep", [](Control*, void*) { tell("the second Keep"); });
    addButton(panel, "Go", [](Control*, void*) { tell("first Go"); });
    addButton(panel, "Go", [](Control*, void*) { tell("second Go"); });
    panels->openPanel(panel, openFloating);
}

void zerosEvent(Control*, void*) {
    std::string types;
    for (Control* control : {scale, lock, load, sides}) {
        ControlValue value{};
        control->get(control, controlValue, &value);
        types += std::to_string(value.type) + " ";
        if (value.type == textValue)
            types +=
                (value.text.buffer ? "buffer " : "null ") + std::to_string(value.text.size) + " ";
    }
    tell("types " + types);
}

void filesEvent(Control*, void*) {
    auto* envelopes = table<EnvelopeFuncs>(envelopeFuncsName);
    auto* files = table<FileIOFuncs>(fileIOFuncsName);
    const char* path = std::getenv("STRANGER_FILE");
    Envelope pair[2];
    for (int i = 0; i < 2; ++i) {
        pair[i] = envelopes->createEnvelope(nullptr, "", floatEnvelope);
        envelopes->createKey(pair[i], 0, i + 1);
    }
    const SaveState save = files->openSave(path, motionFileMode);
    for (const Envelope envelope : pair)
        envelopes->saveEnvelope(envelope, save);
    files->closeSave(save);
    const LoadState state = files->openLoad(path, motionFileMode);
    envelopes->loadEnvelope(pair[1], state);
    envelopes->loadEnvelope(pair[0], state);
    files->closeLoad(state);
    tell("read back " + firstValue(pair[1]) + " and " + firstValue(pair[0]));
}

void saveEvent(Control*, void*) {
    auto* files = table<FileIOFuncs>(fileIOFuncsName);
    const SaveState save = files->openSave(std::getenv("STRANGER_FILE"), motionFileMode);
    table<EnvelopeFuncs>(envelopeFuncsName)->saveEnvelope(mark, save);
    files->closeSave(save);
    askNumber("Last", "Count");
}

void valuesEvent(Control*, void*) {
    ControlValue value{};
    char path[256] = "";
    value.type = textValue;
    value.text = {path, sizeof path};
    load->get(load, controlValue, &value);
    const char* slash = std::strrchr(path, '/');
    tell("scale " + number(real(scale)) + ", lock " + std::to_string(integer(lock)) + ", side " +
         std::to_string(integer(sides)) + ", file " + (slash ? slash + 1 : path));
}

void recallEvent(Control*, void*) {
    const char* name = table<ItemInfo>(itemInfoName)->itemName(remembered);
    tell(name ? std::string("remembered ") + name : "the item is gone");
}

void missingEvent(Control*, void*) {
    if (!lookUp("No Such Service", 0)) tell("no such service");
}

void folderEvent(Control*, void*) {
    const char* folder = reinterpret_cast<DirInfo>(lookUp(dirInfoName, 0))(motionsDirectory);
    tell(std::string("folder ") + (folder ? folder : "unknown"));
}

void buildPanel() {
    static const char* const tabs[] = {"One", "Two", nullptr};
    static const char* const ways[] = {"Left", "Right", nullptr};
    auto* panels = table<PanelFuncs>(panelFuncsName);
    mainPanel = panels->createPanel("Stranger", 0);
    ControlDesc choice = plain(choiceKind);
    choice.choice.items = tabs;
    add(mainPanel, tabChoiceControl, choice, "Page", &tabEvent);
    scale = add(mainPanel, floatControl, plain(floatKind), "Scale");
    lock = add(mainPanel, boolControl, plain(toggleKind), "Lock");
    load = add(mainPanel, loadButtonControl, plain(pathKind), "Load");
    choice.choice.items = ways;
    choice.choice.orientation = 1;
    sides = add(mainPanel, choiceControl, choice, "Side");
    ControlDesc high = plain(buttonKind);
    high.button.height = 60;
    add(mainPanel, buttonControl, high, "Values", &valuesEvent);
    const struct {
        const char* label;
        EventHandler handler;
    } buttons[] = {
        {"Keep", &keepEvent},           {"Use", &useEvent},       {"Drop", &dropEvent},
        {"Temporary", &temporaryEvent}, {"Grow", &growEvent},     {"Dialog", &growingDialogEvent},
        {"Open second", &secondEvent},  {"Zeros", &zerosEvent},   {"Files", &filesEvent},
        {"Save", &saveEvent},           {"Recall", &recallEvent}, {"Folder", &folderEvent},
        {"Missing", &missingEvent}};
    for (const auto& [label, handler] : buttons)
        addButton(mainPanel, label, handler);
}

// Asks, edits and reports while it is activated.
int activate(int, GlobalFunc lookup, void*, void*) {
    lookUp = lookup;
    log("activation");
    if (++activations == 1) remembered = firstObject();
    const int offset = askNumber("Start", "Offset");
    if (offset > 0) keyFirstChannel(offset);
    tell("activation " + std::to_string(activations) + " with " + std::to_string(offset));
    if (!mainPanel) buildPanel();
    table<PanelFuncs>(panelFuncsName)->openPanel(mainPanel, openFloating);
    return 0;
}

// Has no panel: it does its work and is done.
int activateSilent(int, GlobalFunc lookup, void*, void*) {
    lookUp = lookup;
    keyFirstChannel(42);
    return 0;
}

void* start() {
    log("startup");
    return &activations;
}

void stop(void* token) {
    log(token == &activations ? "shutdown" : "shutdown of another");
    mainPanel = nullptr; // the host ends
    activations = 0;
}

const ServerRecord servers[] = {{"LayoutGeneric", "Stranger", &activate, nullptr},
                                {"ChannelHandler", "Not this one", &activate, nullptr},
                                {"LayoutGeneric", "Silent", &activateSilent, nullptr},
                                {}};

} // namespace

EXPORTED const ModuleDescriptor __mod_descrip;
const ModuleDescriptor __mod_descrip = {moduleSync, moduleVersion, moduleLocale,
                                        &start,     &stop,         servers};
