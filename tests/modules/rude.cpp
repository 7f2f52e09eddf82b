// A plug-in that does to its host what no plug-in should. Each button is one such thing.

#include "plugin/host/message_funcs.h"
#include "plugin/host/panel_funcs.h"
#include "tests/modules/descriptor.h"

#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <unistd.h>

using namespace cadencora::host;

namespace {

GlobalFunc lookUp;

template <class Table>
Table* table(const char* name) {
    return static_cast<Table*>(lookUp(name, 0));
}

void add(Panel panel, const char* type, const ControlDesc& desc, const char* label,
         EventHandler handler) {
    Control* control = table<PanelFuncs>(panelFuncsName)->addControl(panel, type, &desc, label);
    ControlValue value{};
    value.type = integerValue;
    value.handler = handler;
    control->set(control, controlHandler, &value);
}

void openDialog(const char* title, const char* type, const ControlDesc& desc, const char* label,
                EventHandler handler) {
    auto* panels = table<PanelFuncs>(panelFuncsName);
    const Panel panel = panels->createPanel(title, 0);
    add(panel, type, desc, label, handler);
    panels->openPanel(panel, openModal);
}

void throwEvent(Control*, void*) {
    throw std::runtime_error("out of ideas");
}

void askEvent(Control*, void*) {
    while (!table<MessageFuncs>(messageFuncsName)->yesNo("Really?", "", "")) {
    }
    while (true)
        table<MessageFuncs>(messageFuncsName)->info("and again", "");
}

void listEvent(Control*, void*) {
    ControlDesc desc{};
    desc.kind = listBoxKind;
    desc.listBox.count = [](void*) { return 2'000'000'000; };
    desc.listBox.name = [](void*, int) { return "row"; };
    openDialog("Rows", listBoxControl, desc, "List", nullptr);
}

void dialogEvent(Control*, void*) {
    ControlDesc desc{};
    desc.kind = buttonKind;
    openDialog("Inner", buttonControl, desc, "Throw within", &throwEvent);
}

int activate(int, GlobalFunc lookup, void*, void*) {
    lookUp = lookup;
    auto* panels = table<PanelFuncs>(panelFuncsName);
    const Panel panel = panels->createPanel("Rude", 0);
    const struct {
        const char* label;
        EventHandler handler;
    } buttons[] = {
        {"Exit", [](Control*, void*) { std::exit(0); }},
        {"Crash", [](Control*, void*) { std::raise(SIGSEGV); }},
        {"Wander", [](Control*, void*) { (void)!chdir("/"); }},
        {"Sleep",
         [](Control*, void*) {
             while (true)
                 pause();
         }},
        {"Throw", &throwEvent},
        {"Ask", &askEvent},
        {"Rows", &listEvent},
        {"Dialog", &dialogEvent},
    };
    for (const auto& [label, handler] : buttons) {
        ControlDesc desc{};
        desc.kind = buttonKind;
        add(panel, buttonControl, desc, label, handler);
    }
    panels->openPanel(panel, openFloating);
    return 0;
}

const ServerRecord servers[] = {{"LayoutGeneric", "Rude", &activate, nullptr}, {}};

} // namespace

EXPORTED const ModuleDescriptor __mod_descrip;
const ModuleDescriptor __mod_descrip = describe(servers);
