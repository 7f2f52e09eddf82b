// A plug-in that uses every service wrongly as soon as it is started, and again from its button.

#include "plugin/host/channel_info.h"
#include "plugin/host/envelope_funcs.h"
#include "plugin/host/file_io_funcs.h"
#include "plugin/host/item_info.h"
#include "plugin/host/message_funcs.h"
#include "plugin/host/panel_funcs.h"
#include "tests/modules/descriptor.h"

#include <cmath>
#include <initializer_list>

using namespace cadencora::host;

namespace {

GlobalFunc lookUp;
Key gone; // destroyed by the button

template <class Handle>
Handle wildHandle(std::uintptr_t word) {
    return reinterpret_cast<Handle>(word);
}

template <class Table>
Table* table(const char* name) {
    return static_cast<Table*>(lookUp(name, 0));
}

void misuseHandles() {
    auto* items = table<ItemInfo>(itemInfoName);
    auto* channels = table<ChannelInfo>(channelInfoName);
    auto* envelopes = table<EnvelopeFuncs>(envelopeFuncsName);
    for (const std::uintptr_t word :
         {std::uintptr_t{0}, std::uintptr_t{8}, ~std::uintptr_t{0}, std::uintptr_t{0x10ffffff}}) {
        items->itemName(wildHandle<Item>(word));
        items->channelGroup(wildHandle<Item>(word));
        items->param(wildHandle<Item>(word), 1, 0, nullptr);
        channels->nextChannel(wildHandle<Group>(word), nullptr);
        channels->channelName(wildHandle<Channel>(word));
        envelopes->findKey(wildHandle<Envelope>(word), 0);
        envelopes->keySet(wildHandle<Envelope>(word), wildHandle<Key>(word), 0, nullptr);
        envelopes->destroyEnvelope(wildHandle<Envelope>(word));
    }
    // A handle of one kind is refused for another.
    const Item item = items->firstItem(objectItem, nullptr);
    channels->channelName(reinterpret_cast<Channel>(item));
    items->firstItem(9, nullptr);
}

Envelope firstEnvelope() {
    auto* items = table<ItemInfo>(itemInfoName);
    auto* channels = table<ChannelInfo>(channelInfoName);
    const Group group = items->channelGroup(items->firstItem(objectItem, nullptr));
    return channels->channelEnvelope(channels->nextChannel(group, nullptr));
}

void buttonEvent(Control*, void*) {
    auto* envelopes = table<EnvelopeFuncs>(envelopeFuncsName);
    const Envelope envelope = firstEnvelope();
    const double number = 1;
    gone = envelopes->findKey(envelope, 0);
    envelopes->destroyKey(envelope, gone);
    envelopes->destroyKey(envelope, gone);
    envelopes->keyGet(envelope, gone, keyValue, nullptr);
    envelopes->nextKey(envelope, gone);
    envelopes->createKey(envelope, NAN, 0);
    const Key key = envelopes->createKey(envelope, 2, 5);
    envelopes->keySet(envelope, key, 10, &number);
    envelopes->keySet(envelope, key, -1, &number);
    const double infinite = INFINITY;
    envelopes->keySet(envelope, key, keyValue, &infinite);
    const int noShape = 77;
    envelopes->keySet(envelope, key, keyShape, &noShape);
    int behaviour = 99;
    envelopes->setEnvelopeValue(envelope, nullptr, behaviourAfter, &behaviour);
    envelopes->setEnvelopeValue(envelope, nullptr, 3, &behaviour);
    envelopes->destroyEnvelope(envelope); // a channel's own
}

int activate(int, GlobalFunc lookup, void* local, void*) {
    lookUp = lookup;
    misuseHandles();
    auto* panels = table<PanelFuncs>(panelFuncsName);
    auto* files = table<FileIOFuncs>(fileIOFuncsName);
    lookUp(nullptr, 0);
    lookUp("no such service", 0);
    table<MessageFuncs>(messageFuncsName)->info(nullptr, nullptr);
    files->closeSave(nullptr);
    files->closeLoad(reinterpret_cast<LoadState>(local));
    files->openLoad(nullptr, motionFileMode);
    files->openSave("file.mot", 0);
    static_cast<LayoutGeneric*>(local)->evaluate(0, "EraseEverything");
    static_cast<LayoutGeneric*>(local)->evaluate(0, nullptr);

    // Edits outside of any event are refused.
    auto* envelopes = table<EnvelopeFuncs>(envelopeFuncsName);
    envelopes->createKey(firstEnvelope(), 1, 1);

    const Panel lost = panels->createPanel("Lost", 0);
    ControlDesc desc{};
    desc.kind = toggleKind;
    Control* late = panels->addControl(lost, boolControl, &desc, "Late");
    panels->addControl(lost, floatControl, &desc, "Wrong kind");
    panels->addControl(lost, "NoSuchControl", &desc, "?");
    panels->addControl(nullptr, boolControl, &desc, "?");
    panels->destroyPanel(lost);
    ControlValue value{};
    value.type = integerValue;
    late->set(late, controlValue, &value); // after its panel went
    late->get(late, controlValue, &value);
    panels->openPanel(lost, openModal);
    panels->destroyPanel(lost);

    const Panel main = panels->createPanel("Wild", 0);
    desc = {};
    desc.kind = buttonKind;
    Control* button = panels->addControl(main, buttonControl, &desc, "Go");
    button->get(button, controlValue, &value);
    button->get(button, 99, &value);
    button->set(button, controlX, nullptr);
    value.handler = &buttonEvent;
    button->set(button, controlHandler, &value);
    panels->openPanel(main, 1);
    panels->openPanel(main, openFloating);
    return 0;
}

const ServerRecord servers[] = {{"LayoutGeneric", "Wild", &activate, nullptr}, {}};

} // namespace

EXPORTED const ModuleDescriptor __mod_descrip;
const ModuleDescriptor __mod_descrip = describe(servers);
