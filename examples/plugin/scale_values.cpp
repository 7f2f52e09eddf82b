// An example plug-in: "Scale Values" multiplies the values of the selected items' keys.
//
// One file with all that a plug-in needs: the descriptor, a floating panel, a dialog, a walk over
// the keys of the selection, and an edit, which the host can undo because it is made within a
// button's event.

#include "plugin/host/channel_info.h"
#include "plugin/host/envelope_funcs.h"
#include "plugin/host/interface_info.h"
#include "plugin/host/item_info.h"
#include "plugin/host/layout_generic.h"
#include "plugin/host/message_funcs.h"
#include "plugin/host/module.h"
#include "plugin/host/panel_funcs.h"

#include <cstdio>

using namespace cadencora::host;

namespace {

GlobalFunc lookUp; // given at each activation

// A service of the host; null where it has none of that name.
template <class Table>
Table* service(const char* name) {
    return static_cast<Table*>(lookUp(name, 0));
}

// The number in a dialog of one field. False: the user has cancelled it.
bool askFactor(double* factor) {
    auto* panels = service<PanelFuncs>(panelFuncsName);
    const Panel panel = panels->createPanel("Scale Values", 0);
    ControlDesc desc{}; // words that are not needed are 0
    desc.kind = floatKind;
    Control* field = panels->addControl(panel, floatControl, &desc, "Factor");
    ControlValue value{};
    value.type = floatValue;
    value.real = *factor;
    field->set(field, controlValue, &value);
    const bool accepted = panels->openPanel(panel, openModal) != 0;
    field->get(field, controlValue, &value);
    *factor = value.real;
    panels->destroyPanel(panel); // with its control
    return accepted;
}

// Multiplies all keys of one curve. Returns how many there are.
int scaleKeys(EnvelopeFuncs* envelopes, Envelope envelope, double factor) {
    int count = 0;
    for (Key key = envelopes->nextKey(envelope, nullptr); key;
         key = envelopes->nextKey(envelope, key)) {
        double value = 0;
        if (!envelopes->keyGet(envelope, key, keyValue, &value)) continue;
        value *= factor;
        count += envelopes->keySet(envelope, key, keyValue, &value);
    }
    return count;
}

// The channels of a group, and of its sub-groups, such as morphs.
int scaleGroup(EnvelopeFuncs* envelopes, ChannelInfo* channels, Group group, double factor) {
    int count = 0;
    for (Channel channel = channels->nextChannel(group, nullptr); channel;
         channel = channels->nextChannel(group, channel))
        count += scaleKeys(envelopes, channels->channelEnvelope(channel), factor);
    for (Group sub = channels->nextGroup(group, nullptr); sub;
         sub = channels->nextGroup(group, sub))
        count += scaleGroup(envelopes, channels, sub, factor);
    return count;
}

// The button's handler. All that it edits is one step for "Undo".
void scaleEvent(Control*, void*) {
    auto* envelopes = service<EnvelopeFuncs>(envelopeFuncsName);
    auto* channels = service<ChannelInfo>(channelInfoName);
    auto* items = service<ItemInfo>(itemInfoName);
    auto* messages = service<MessageFuncs>(messageFuncsName);
    if (!envelopes || !channels || !items || !messages) return;
    double factor = 2;
    if (!askFactor(&factor)) return;
    int count = 0;
    const auto* state = service<InterfaceInfo>(interfaceInfoName); // fetched anew: it is up to date
    for (const Item* item = state->selectedItems; *item; ++item)
        count += scaleGroup(envelopes, channels, items->channelGroup(*item), factor);
    char text[64];
    std::snprintf(text, sizeof text, "%d keys scaled", count);
    messages->info(text, "");
}

// Called when the user starts the plug-in, and for each scene that is opened after that.
int activate(int version, GlobalFunc lookup, void*, void*) {
    if (version != layoutGenericVersion) return 1;
    lookUp = lookup;
    auto* panels = service<PanelFuncs>(panelFuncsName);
    if (!panels) return 2;
    static Panel panel = nullptr; // one for the process
    if (!panel) {
        panel = panels->createPanel("Scale Values", 0);
        if (!panel) return 2;
        ControlDesc desc{};
        desc.kind = buttonKind;
        desc.button.width = 120;
        Control* button = panels->addControl(panel, buttonControl, &desc, "Scale Values");
        ControlValue value{};
        value.type = integerValue;
        value.handler = &scaleEvent;
        button->set(button, controlHandler, &value);
    }
    panels->openPanel(panel, openFloating);
    return 0;
}

const ServerRecord servers[] = {{"LayoutGeneric", "Scale Values", &activate, nullptr}, {}};

} // namespace

extern "C" __attribute__((visibility("default"))) const ModuleDescriptor __mod_descrip = {
    .sync = moduleSync,
    .version = moduleVersion,
    .locale = moduleLocale,
    .startup = [] { return static_cast<void*>(&lookUp); }, // not null: "use me"
    .shutdown = [](void*) {},
    .servers = servers,
};
