// The words that every host service speaks: opaque handles and the service lookup.
//
// Owns nothing and calls nobody. Every handle belongs to the host; the null handle means "none".
#pragma once

#include <cstdint>

namespace cadencora::host {

// Opaque host objects. Distinct incomplete types, so that one kind cannot be passed for another.
struct ItemTag;
struct GroupTag;
struct ChannelTag;
struct EnvelopeTag;
struct KeyTag;
struct PanelTag;
struct SaveStateTag;
struct LoadStateTag;

using Item = ItemTag*;         // an object, light, camera or bone
using Group = GroupTag*;       // a channel group: an item's own, or a sub-group of one
using Channel = ChannelTag*;   // one animated number of an item
using Envelope = EnvelopeTag*; // the animation curve of a channel
using Key = KeyTag*;           // one key of an envelope; valid until that key is destroyed
using Panel = PanelTag*;
using SaveState = SaveStateTag*; // a file that the host writes
using LoadState = LoadStateTag*; // a file that the host reads

// Finds a service record by its exact name; null when the host has no such service. `use` is 0.
// The record belongs to the host and stays valid while the plug-in is loaded.
using GlobalFunc = void* (*)(const char* service, int use);

// A table slot that the plug-in does not use, spelled out so that positions can be read off.
using Reserved = void*;

// The byte positions of tables count pointer-sized slots.
constexpr std::size_t slot(std::size_t index) {
    return index * sizeof(void*);
}

// Item types of "LW Item Info 5".
enum ItemType : int { objectItem = 0, lightItem = 1, cameraItem = 2, boneItem = 3 };

} // namespace cadencora::host
