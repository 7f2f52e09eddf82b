// A scene: items in a tree, each with its channel group; channels with their envelopes; the clock.
//
// Owned by value and movable. Handles (ItemId, GroupId, ChannelId, EnvelopeId) stay valid for the
// scene's life; items and names never move in memory. Readers build scenes with the add functions;
// afterwards envelopes change through an EditScope only (see journal.h).
#pragma once

#include "stage/scene/keys/envelope.h"
#include "stage/scene/keys/frame_rate.h"
#include "stage/scene/math/rotation.h"

#include <array>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace cadencora::stage {

// Numbers from 1; 0 is `none`.
enum class ItemId : std::uint32_t { none = 0 };
enum class GroupId : std::uint32_t { none = 0 };
enum class ChannelId : std::uint32_t { none = 0 };
enum class EnvelopeId : std::uint32_t { none = 0 };

enum class ItemType : std::uint8_t { object = 0, light = 1, camera = 2, bone = 3 };
constexpr std::array<ItemType, 4> itemTypes{ItemType::object, ItemType::light, ItemType::camera,
                                            ItemType::bone};
std::string_view itemTypeName(ItemType type); // "object", ...

// The nine motion channels, in the order of MotionChannel. Lengths are scene units, rotations
// radians about Y (heading), X (pitch) and Z (bank), applied in that order from the outside in.
enum MotionChannel : std::size_t {
    positionX,
    positionY,
    positionZ,
    heading,
    pitch,
    bank,
    scaleX,
    scaleY,
    scaleZ,
    motionChannelCount
};
extern const std::array<std::string_view, motionChannelCount> motionChannelNames;

struct Mesh;

// How a motion-capture file writes a bone, kept so that it is written the same way again.
struct JointLayout {
    std::vector<MotionChannel> channels; // the file's columns, in its order
    std::vector<Vec3> endSites;          // the offsets of the joint's end sites
    bool operator==(const JointLayout&) const = default;
};

struct Item {
    ItemType type = ItemType::object;
    std::string name; // unique in a scene that was read from a file; see makeNamesUnique
    std::optional<std::string> nameInFile; // where `name` is another one
    ItemId parent = ItemId::none;
    ItemId owner = ItemId::none; // of a bone: its object
    ItemId firstChild = ItemId::none, lastChild = ItemId::none, nextSibling = ItemId::none;
    ItemId nextOfType = ItemId::none; // of a bone: the next bone of the same object
    ItemId firstBone = ItemId::none, lastBone = ItemId::none; // of an object
    GroupId group = GroupId::none;
    std::array<ChannelId, motionChannelCount> motion{};
    Vec3 pivot{};
    Vec3 secondRotation{}; // heading, pitch, bank in radians
    JointLayout joint;     // of bones from motion-capture files
    // Its name as files hold it.
    const std::string& writtenName() const { return nameInFile ? *nameInFile : name; }

    // Its surface where the file has one and meshes were asked for; see mesh.h.
    std::shared_ptr<const Mesh> mesh;
};

struct ChannelGroup {
    std::string name;
    ItemId item = ItemId::none;
    GroupId parent = GroupId::none; // of a sub-group
    std::size_t indexInParent = 0;
    std::vector<ChannelId> channels;
    std::vector<GroupId> groups;
};

struct Channel {
    std::string name;
    GroupId group = GroupId::none;
    std::size_t indexInGroup = 0;
    EnvelopeId envelope = EnvelopeId::none; // has the channel's number
    bool isOfPlugin = false;                // made by a plug-in, which may destroy it
};

// What a format remembers of the file that a scene was read from, to write it the same way.
struct SourceMemory {
    virtual ~SourceMemory() = default;

    std::vector<std::filesystem::path> files; // beside the scene's own, which it needs
};

// What differs between the clips of a file, which share their items and groups: the curves, the
// channels that were added in one of them, the times. Made by Scene::motionOf.
struct ClipMotion {
    std::vector<std::unique_ptr<Envelope>> envelopes; // by channel
    std::vector<std::vector<ChannelId>> channelLists; // by group
    FrameRate rate;
    std::int64_t lastFrame = 0, previewFirst = 0, previewLast = 0;
    double currentTime = 0;
    std::shared_ptr<const SourceMemory> source;

    ClipMotion copy() const; // shares the arrays of the keys
};

class Scene {
public:
    Scene() = default;
    Scene(Scene&&) = default;
    Scene& operator=(Scene&&) = default;

    // The scene as it is now, to be read on another thread while this one is edited. It is made,
    // and ends, on the thread of this one: the two share the arrays of their keys.
    Scene snapshot() const;

    // Whether another scene has the same items, groups and channels as this one had when it was
    // read, so that the motion of the one is one for the other.
    bool isClipLike(const Scene& other) const;
    static ClipMotion motionOf(Scene scene);
    // Puts another clip's motion in place of this one's, which `motion` holds then. The two are of
    // scenes that are alike. Handles of keys end.
    void exchange(ClipMotion& motion);

    std::string name;
    FrameRate rate;
    std::int64_t lastFrame = 0;    // of the render range, from frame 0
    std::int64_t previewFirst = 0; // frames
    std::int64_t previewLast = 0;
    double currentTime = 0;        // seconds
    std::vector<ItemId> selection; // in the order of selection
    std::shared_ptr<const SourceMemory> source;

    // Building. Handles given must be of this scene; names are kept as they are.
    ItemId addItem(ItemType type, std::string itemName, ItemId parent = ItemId::none,
                   ItemId owner = ItemId::none);
    GroupId addGroup(GroupId parent, std::string groupName);
    ChannelId addChannel(GroupId group, std::string channelName, double rest = 0);
    void markAsOfPlugin(ChannelId id) { channels_[index(id)].isOfPlugin = true; }

    // Another name for an item and its group, in files, too.
    void rename(ItemId id, const std::string& newName);

    // Gives every item a name of its own, and its group with it: an item whose name an earlier one
    // has is called NAME#k, with the smallest k from 2 on that makes a name which no item has, as
    // given or in the file.
    void makeNamesUnique();

    // Reading. The handle must be valid.
    const Item& item(ItemId id) const { return items_[index(id)]; }
    Item& item(ItemId id) { return items_[index(id)]; }
    const ChannelGroup& group(GroupId id) const { return groups_[index(id)]; }
    const Channel& channel(ChannelId id) const { return channels_[index(id)]; }
    const Envelope& envelope(EnvelopeId id) const { return *envelopes_[index(id)]; }
    // For readers that build the scene, and for key handles; edits go through an EditScope.
    Envelope& mutableEnvelope(EnvelopeId id) { return *envelopes_[index(id)]; }

    bool has(ItemId id) const { return inRange(id, items_.size()); }
    bool has(GroupId id) const { return inRange(id, groups_.size()); }
    bool has(ChannelId id) const {
        return inRange(id, channels_.size()) && isListed(channels_[index(id)], id);
    }
    bool has(EnvelopeId id) const { return has(channelOf(id)); }

    ItemId firstOfType(ItemType type) const { return first_[static_cast<std::size_t>(type)]; }
    std::size_t itemCount() const { return items_.size(); }
    std::size_t itemCount(ItemType type) const;
    std::size_t keyCount() const;
    // The highest numbers, also of what is no longer in the scene.
    std::size_t groupCount() const { return groups_.size(); }
    std::size_t channelCount() const { return channels_.size(); }

    // The channel that an envelope is of.
    static ChannelId channelOf(EnvelopeId id) { return static_cast<ChannelId>(id); }

    // Every item in the order in which it was added, which is parents before children.
    static ItemId itemAt(std::size_t position) { return static_cast<ItemId>(position + 1); }
    static std::size_t positionOf(ItemId item) { return index(item); } // for tables by item

    // The first item of a name in the order of adding; `none` where no item has it.
    ItemId findItem(std::string_view itemName) const;

    // The names nearest to an unknown one, for messages.
    std::string namesLike(std::string_view wanted) const;

    // The channel of an exact name directly in a group; `none` where no channel has it.
    ChannelId findChannel(GroupId group, std::string_view channelName) const;

    // The channel's group and name for people: "Hips/Rotation.H", "Face/Morph/Smile".
    std::string channelPath(ChannelId id) const;

    // The envelope of a motion channel of an item.
    const Envelope& motion(ItemId id, MotionChannel which) const {
        return envelope(channel(item(id).motion[which]).envelope);
    }
    Envelope& mutableMotion(ItemId id, MotionChannel which) {
        return mutableEnvelope(channel(item(id).motion[which]).envelope);
    }

    // Sets the clock to another rate. Keys keep their times, except for a rounding where one is on
    // a frame of the new rate; the last frame covers the last key, and the preview range still ends
    // there if it did.
    void setRate(FrameRate newRate);

    // The first whole frame that is not before a time in seconds.
    std::int64_t frameCovering(double time) const;

    // The smallest last frame that covers the last key of every envelope.
    std::int64_t frameOfLastKey() const;

private:
    friend class EditScope;
    friend class Journal;

    template <class Id>
    static std::size_t index(Id id) {
        return static_cast<std::size_t>(id) - 1;
    }
    template <class Id>
    static bool inRange(Id id, std::size_t count) {
        return id != Id::none && index(id) < count;
    }
    // A channel that was taken away, by an undo or by its maker, is in the table still, but in no
    // group.
    bool isListed(const Channel& channel, ChannelId id) const {
        const auto& listed = groups_[index(channel.group)].channels;
        return channel.indexInGroup < listed.size() && listed[channel.indexInGroup] == id;
    }
    void numberChannels(GroupId id); // after a change of the group's list

    std::deque<Item> items_;
    std::deque<ChannelGroup> groups_;
    std::deque<Channel> channels_;
    std::vector<std::unique_ptr<Envelope>> envelopes_; // by channel; null: gone for good
    std::array<ItemId, 4> first_{}, last_{};
};

// Visits the channels of a group and then those of its sub-groups, as visit(ChannelId), until a
// visit returns true. Returns whether one did. A visit that returns nothing sees all.
template <class Visit>
bool visitChannels(const Scene& scene, GroupId group, const Visit& visit) {
    for (const ChannelId channel : scene.group(group).channels) {
        if constexpr (std::is_void_v<decltype(visit(channel))>) {
            visit(channel);
        } else {
            if (visit(channel)) return true;
        }
    }
    for (const GroupId sub : scene.group(group).groups)
        if (visitChannels(scene, sub, visit)) return true;
    return false;
}

} // namespace cadencora::stage
