// Reads scene files.

#include "stage/formats/native/scene_file.h"

#include "stage/base/text.h"
#include "stage/formats/text/curve_text.h"
#include "stage/formats/text/json_tape.h"
#include "stage/scene/keys/settle.h"

#include <algorithm>
#include <cmath>

namespace cadencora::stage {

namespace {

using Value = JsonTape::Value;

// Where in the file: a member of what is around it, or an element where `index` counts.
struct Place {
    static constexpr std::size_t noIndex = static_cast<std::size_t>(-1);

    const Place* around = nullptr;
    std::string_view member;
    std::size_t index = noIndex;

    std::string text() const {
        std::string path = around ? around->text() : "";
        if (index != noIndex) return path + "[" + std::to_string(index) + "]";
        return path.empty() ? std::string(member) : path + "." + std::string(member);
    }
};

struct Field {
    std::string_view name;
    bool isRequired = false;
    Value value{};
};

class SceneFileReader {
public:
    SceneFileReader(const std::filesystem::path& path, const ReadOptions& options)
        : path_(path), options_(options), limits_(options.limits) {}

    Result<Loaded> read(Value root) {
        if (!header(root) || !scene(root)) return problem_;
        return std::move(loaded_);
    }

private:
    bool fail(const Place& place, std::string what, std::string detail = {}) {
        const std::string at = place.text();
        problem_ = {std::move(what), path_.string() + (at.empty() ? "" : ": " + at),
                    std::move(detail)};
        return false;
    }
    bool expected(const Place& place, Value value, const std::string& wanted) {
        const bool showsText = value.kind() == JsonKind::text && value.text().size() <= 40;
        return fail(place, "expected " + wanted,
                    "found " + (showsText ? inQuotes(value.text())
                                          : std::string(jsonKindName(value.kind()))));
    }
    bool isKind(const Place& place, Value value, JsonKind kind) {
        return value.kind() == kind || expected(place, value, std::string(jsonKindName(kind)));
    }
    bool withinLimit(const Place& place, std::size_t count, std::size_t limit,
                     std::string_view what) {
        return count <= limit || fail(place, "the file has too many " + std::string(what),
                                      "the limit is " + std::to_string(limit));
    }

    // Finds the members of an object; refuses unknown, repeated and missing ones.
    bool members(const Place& place, Value object, std::span<Field> fields);

    // Read a member that is there; one that is left out leaves what it is read into.
    bool number(const Place& around, const Field& field, double& number);
    bool whole(const Place& around, const Field& field, std::int64_t& number);
    bool text(const Place& around, const Field& field, std::string& text);
    bool vector(const Place& around, const Field& field, Vec3& numbers);
    bool behaviour(const Place& around, const Field& field, Behaviour& behaviour);
    bool item(const Place& around, const Field& field, ItemId& id);
    // Calls `element(place, value)` for each element of an array, until one returns false.
    template <class Element>
    bool each(const Place& around, const Field& field, Element element) {
        return !field.value || elements({&around, field.name}, field.value, element);
    }
    template <class Element>
    bool elements(const Place& place, Value array, Element element) {
        if (!isKind(place, array, JsonKind::array)) return false;
        Place here{&place, {}, 0};
        for (Value value = array.first(); value; value = value.next(), ++here.index)
            if (!element(here, value)) return false;
        return true;
    }

    // Values on their own.
    bool wholeNumber(const Place& place, Value value, std::int64_t& number);
    bool byte(const Place& place, Value value, std::string& bytes);
    bool threeNumbers(const Place& place, Value value, Vec3& numbers);
    bool itemIndex(const Place& place, Value value, ItemId& id);

    // The parts of a scene.
    bool header(Value root);
    bool scene(Value root);
    bool ranges(const Place& top, const Field& last, const Field& preview);
    bool sceneItem(const Place& place, Value value);
    bool type(const Place& around, const Field& field, ItemType& type);
    bool joint(const Place& place, Value value, JointLayout& joint);
    bool group(const Place& around, GroupId id, const Field& channels, const Field& groups,
               std::size_t depth);
    bool channel(const Place& place, Value value, GroupId group);
    ChannelId channelFor(GroupId group, std::string name);
    bool keys(const Place& around, const Field& field, bool asFrames, KeyStore& keys);
    bool key(const Place& place, Value value, bool asFrames, KeyStore& keys);

    const std::filesystem::path& path_;
    const ReadOptions& options_;
    const ReadLimits& limits_;
    Problem problem_;
    Loaded loaded_;
    std::vector<std::size_t> depths_; // by item
    std::size_t channels_ = 0, keys_ = 0;
    std::array<bool, motionChannelCount> listed_{}; // of the current item's motion channels
};

bool SceneFileReader::members(const Place& place, Value object, std::span<Field> fields) {
    if (!isKind(place, object, JsonKind::object)) return false;
    for (Value name = object.first(); name; name = name.next().next()) {
        const auto field = std::ranges::find(fields, name.text(), &Field::name);
        if (field == fields.end()) {
            std::vector<std::string> names;
            for (const Field& known : fields)
                names.emplace_back(known.name);
            return fail(place, "unknown member " + inQuotes(name.text().substr(0, 40)),
                        "known are " + alternatives(name.text(), std::move(names)));
        }
        if (field->value) return fail({&place, field->name}, "the member is repeated");
        field->value = name.next();
    }
    for (const Field& field : fields)
        if (field.isRequired && !field.value)
            return fail(place, "the member " + inQuotes(field.name) + " is missing");
    return true;
}

// Members

bool SceneFileReader::number(const Place& around, const Field& field, double& number) {
    if (!field.value) return true;
    if (!isKind({&around, field.name}, field.value, JsonKind::number)) return false;
    number = field.value.number();
    return true;
}

bool SceneFileReader::whole(const Place& around, const Field& field, std::int64_t& number) {
    return !field.value || wholeNumber({&around, field.name}, field.value, number);
}

bool SceneFileReader::text(const Place& around, const Field& field, std::string& text) {
    if (!field.value) return true;
    if (field.value.kind() != JsonKind::array) {
        if (!isKind({&around, field.name}, field.value, JsonKind::text)) return false;
        text = field.value.text();
        return true;
    }
    text.clear();
    return each(around, field,
                [&](const Place& place, Value value) { return byte(place, value, text); });
}

bool SceneFileReader::vector(const Place& around, const Field& field, Vec3& numbers) {
    return !field.value || threeNumbers({&around, field.name}, field.value, numbers);
}

bool SceneFileReader::behaviour(const Place& around, const Field& field, Behaviour& behaviour) {
    if (!field.value) return true;
    const Place place{&around, field.name};
    if (!isKind(place, field.value, JsonKind::text)) return false;
    const auto named = behaviourNamed(field.value.text());
    if (!named) return expected(place, field.value, "one of " + behaviourList());
    behaviour = *named;
    return true;
}

bool SceneFileReader::item(const Place& around, const Field& field, ItemId& id) {
    return !field.value || itemIndex({&around, field.name}, field.value, id);
}

// Values

bool SceneFileReader::wholeNumber(const Place& place, Value value, std::int64_t& number) {
    constexpr double most = 2e9; // frames
    if (!isKind(place, value, JsonKind::number)) return false;
    const double found = value.number();
    if (found != std::trunc(found) || std::abs(found) > most)
        return fail(place, "expected a whole number", "found " + shortest(found));
    number = static_cast<std::int64_t>(found);
    return true;
}

bool SceneFileReader::byte(const Place& place, Value value, std::string& bytes) {
    std::int64_t number = 0;
    if (!wholeNumber(place, value, number)) return false;
    if (number < 0 || number > 255)
        return fail(place, "expected a byte from 0 to 255", "found " + std::to_string(number));
    bytes += static_cast<char>(number);
    return true;
}

bool SceneFileReader::threeNumbers(const Place& place, Value value, Vec3& numbers) {
    std::size_t count = 0;
    const auto element = [&](const Place& at, Value n) {
        if (!isKind(at, n, JsonKind::number)) return false;
        if (count < 3) numbers[count] = n.number();
        ++count;
        return true;
    };
    if (!elements(place, value, element)) return false;
    return count == 3 || fail(place, "expected three numbers", "found " + std::to_string(count));
}

bool SceneFileReader::itemIndex(const Place& place, Value value, ItemId& id) {
    const auto count = static_cast<std::int64_t>(loaded_.scene.itemCount());
    std::int64_t index = 0;
    if (!wholeNumber(place, value, index)) return false;
    if (index < 0 || index >= count)
        return fail(place, "there is no item " + std::to_string(index) + " before this place",
                    std::to_string(count) + " items come before it");
    id = Scene::itemAt(static_cast<std::size_t>(index));
    return true;
}

// The scene

// Before anything else, so that a file of another kind or a later version is told so.
bool SceneFileReader::header(Value root) {
    const Place top;
    if (!isKind(top, root, JsonKind::object)) return false;
    Field kind{"cadencora"}, version{"version"};
    for (Value name = root.first(); name; name = name.next().next())
        for (Field* field : {&kind, &version})
            if (name.text() == field->name) field->value = name.next();
    std::string kindName;
    std::int64_t number = 0;
    if (!text(top, kind, kindName)) return false;
    if (kindName != "scene")
        return fail(top, "this is not a Cadencora scene", R"(expected "cadencora": "scene")");
    if (!version.value) return fail(top, "the member \"version\" is missing");
    if (!whole(top, version, number)) return false;
    return number == sceneFileVersion ||
           fail({nullptr, "version"}, "the version of this scene file is not known",
                "known is " + std::to_string(sceneFileVersion) + ", found " +
                    std::to_string(number));
}

bool SceneFileReader::scene(Value root) {
    const Place top;
    std::array fields{Field{"cadencora"},   Field{"version"},   Field{"name"},
                      Field{"rate"},        Field{"lastFrame"}, Field{"preview"},
                      Field{"currentTime"}, Field{"selection"}, Field{"items"}};
    const auto& [kind, version, name, rate, last, preview, current, selection, items] = fields;
    Scene& scene = loaded_.scene;
    if (!members(top, root, fields) || !text(top, name, scene.name)) return false;
    if (rate.value) {
        const Place place{nullptr, rate.name};
        if (!isKind(place, rate.value, JsonKind::text)) return false;
        const auto found = FrameRate::parse(rate.value.text());
        if (!found) return expected(place, rate.value, "a rate such as \"30\" or \"24000/1001\"");
        scene.rate = *found;
    }
    const auto readItem = [&](const Place& place, Value v) { return sceneItem(place, v); };
    const auto select = [&](const Place& place, Value v) {
        ItemId id{};
        if (!itemIndex(place, v, id)) return false;
        scene.selection.push_back(id);
        return true;
    };
    return each(top, items, readItem) && each(top, selection, select) &&
           number(top, current, scene.currentTime) && ranges(top, last, preview);
}

bool SceneFileReader::ranges(const Place& top, const Field& last, const Field& preview) {
    Scene& scene = loaded_.scene;
    scene.lastFrame = scene.frameOfLastKey();
    if (!whole(top, last, scene.lastFrame)) return false;
    scene.previewLast = scene.lastFrame;
    std::size_t count = 0;
    const auto frame = [&](const Place& place, Value value) {
        std::int64_t unused = 0;
        return wholeNumber(place, value,
                           count == 0   ? scene.previewFirst
                           : count == 1 ? scene.previewLast
                                        : unused) &&
               ++count > 0;
    };
    if (!each(top, preview, frame)) return false;
    return !preview.value || count == 2 ||
           fail({nullptr, preview.name}, "expected two frames", "found " + std::to_string(count));
}

bool SceneFileReader::type(const Place& around, const Field& field, ItemType& type) {
    const Place place{&around, field.name};
    if (!isKind(place, field.value, JsonKind::text)) return false;
    const auto found = std::ranges::find(itemTypes, field.value.text(), itemTypeName);
    if (found == itemTypes.end())
        return expected(place, field.value, "object, light, camera or bone");
    type = *found;
    return true;
}

bool SceneFileReader::sceneItem(const Place& place, Value value) {
    std::array fields{Field{"type", true}, Field{"name"},     Field{"parent"},
                      Field{"owner"},      Field{"pivot"},    Field{"secondRotation"},
                      Field{"joint"},      Field{"channels"}, Field{"groups"}};
    const auto& [typeField, name, parent, owner, pivot, second, jointField, channels, groups] =
        fields;
    Scene& scene = loaded_.scene;
    ItemType itemType{};
    std::string itemName;
    ItemId parentId{}, ownerId{};
    if (!members(place, value, fields) || !type(place, typeField, itemType) ||
        !text(place, name, itemName) || !item(place, parent, parentId) ||
        !item(place, owner, ownerId))
        return false;
    const bool isBone = itemType == ItemType::bone;
    if (isBone && ownerId == ItemId::none)
        return fail(place, "the member \"owner\" is missing", "every bone belongs to an object");
    if (!isBone && ownerId != ItemId::none)
        return fail({&place, owner.name}, "only bones have an owner");
    if (isBone && scene.item(ownerId).type != ItemType::object)
        return fail({&place, owner.name}, "the owner is not an object",
                    "it is a " + std::string(itemTypeName(scene.item(ownerId).type)));
    const std::size_t depth =
        parentId == ItemId::none ? 1 : depths_[Scene::positionOf(parentId)] + 1;
    channels_ += motionChannelCount;
    if (!withinLimit(place, scene.itemCount() + 1, limits_.items, "items") ||
        !withinLimit(place, depth, limits_.depth, "items below items") ||
        !withinLimit(place, channels_, limits_.channels, "channels"))
        return false;
    depths_.push_back(depth);
    const ItemId id = scene.addItem(itemType, std::move(itemName), parentId, ownerId);
    Item& added = scene.item(id);
    listed_.fill(false);
    return vector(place, pivot, added.pivot) && vector(place, second, added.secondRotation) &&
           (!jointField.value || joint({&place, jointField.name}, jointField.value, added.joint)) &&
           group(place, added.group, channels, groups, 0);
}

bool SceneFileReader::joint(const Place& place, Value value, JointLayout& joint) {
    std::array fields{Field{"channels"}, Field{"endSites"}};
    const auto& [channels, endSites] = fields;
    const auto column = [&](const Place& at, Value name) {
        if (!isKind(at, name, JsonKind::text)) return false;
        const auto found = std::ranges::find(motionChannelNames, name.text());
        if (found == motionChannelNames.end()) return expected(at, name, "a motion channel");
        const auto which = static_cast<MotionChannel>(found - motionChannelNames.begin());
        if (std::ranges::find(joint.channels, which) != joint.channels.end())
            return fail(at, "the channel is repeated");
        joint.channels.push_back(which);
        return true;
    };
    const auto endSite = [&](const Place& at, Value v) {
        return threeNumbers(at, v, joint.endSites.emplace_back());
    };
    return members(place, value, fields) && each(place, channels, column) &&
           each(place, endSites, endSite);
}

// The channels and sub-groups of an item or a group. Recurses as deep as the limit allows.
bool SceneFileReader::group(const Place& around, GroupId id, const Field& channels,
                            const Field& groups, std::size_t depth) {
    const auto readChannel = [&](const Place& place, Value v) { return channel(place, v, id); };
    const auto readGroup = [&](const Place& place, Value v) {
        std::array fields{Field{"name", true}, Field{"channels"}, Field{"groups"}};
        const auto& [name, innerChannels, innerGroups] = fields;
        std::string groupName;
        // An empty group costs memory too: it counts as a channel.
        if (!members(place, v, fields) || !text(place, name, groupName) ||
            !withinLimit(place, ++channels_, limits_.channels, "channels") ||
            !withinLimit(place, depth + 1, limits_.depth, "groups within groups"))
            return false;
        const GroupId inner = loaded_.scene.addGroup(id, std::move(groupName));
        return group(place, inner, innerChannels, innerGroups, depth + 1);
    };
    return each(around, channels, readChannel) && each(around, groups, readGroup);
}

// The motion channel that a name means where an item lists it for the first time, else a new one.
ChannelId SceneFileReader::channelFor(GroupId groupId, std::string name) {
    Scene& scene = loaded_.scene;
    const auto motion = std::ranges::find(motionChannelNames, name);
    const auto which = static_cast<std::size_t>(motion - motionChannelNames.begin());
    const ChannelGroup& listing = scene.group(groupId);
    if (listing.parent != GroupId::none || which >= motionChannelCount || listed_[which])
        return scene.addChannel(groupId, std::move(name));
    listed_[which] = true;
    return listing.channels[which];
}

bool SceneFileReader::channel(const Place& place, Value value, GroupId groupId) {
    std::array fields{Field{"name", true}, Field{"rest"}, Field{"before"},
                      Field{"after"},      Field{"keys"}, Field{"frames"}};
    const auto& [name, rest, before, after, secondKeys, frameKeys] = fields;
    std::string channelName;
    if (!members(place, value, fields) || !text(place, name, channelName) ||
        !withinLimit(place, ++channels_, limits_.channels, "channels"))
        return false;
    if (!options_.goesOn(value.share())) return fail(place, readingStopped);
    if (secondKeys.value && frameKeys.value)
        return fail(place, "a channel has \"keys\" or \"frames\"", "this one has both");
    Scene& scene = loaded_.scene;
    const ChannelId id = channelFor(groupId, std::move(channelName));
    Envelope& envelope = scene.mutableEnvelope(scene.channel(id).envelope);
    return number(place, rest, envelope.rest) && behaviour(place, before, envelope.before) &&
           behaviour(place, after, envelope.after) &&
           keys(place, secondKeys, false, envelope.keys) &&
           keys(place, frameKeys, true, envelope.keys);
}

bool SceneFileReader::keys(const Place& around, const Field& field, bool asFrames, KeyStore& keys) {
    const bool all = each(around, field, [&](const Place& place, Value value) {
        return withinLimit(place, ++keys_, limits_.keys, "keys") &&
               key(place, value, asFrames, keys);
    });
    if (all) settleOnFrames(keys, loaded_.scene.rate);
    return all;
}

bool SceneFileReader::key(const Place& place, Value value, bool asFrames, KeyStore& keys) {
    constexpr std::size_t leading = 3; // time, value, shape
    std::array<double, leading + parameterCount> numbers{};
    std::size_t count = 0;
    if (!isKind(place, value, JsonKind::array)) return false;
    for (Value n = value.first(); n; n = n.next(), ++count) {
        if (count == numbers.size()) return fail(place, "a key has at most ten numbers");
        if (!isKind({&place, {}, count}, n, JsonKind::number)) return false;
        numbers[count] = n.number();
    }
    if (count < 2) return fail(place, "expected a key: time, value, shape and parameters");
    const auto shape = shapeNumbered(numbers[2]);
    if (!shape)
        return fail({&place, {}, 2}, "expected a shape: 0, 1, 2 or 4",
                    "found " + shortest(numbers[2]));
    KeyData key{numbers[0], numbers[1], *shape, {}};
    if (asFrames) key.time = loaded_.scene.rate.timeAt(key.time);
    if (!keys.empty() && !(keys.last().time() < key.time))
        return fail(place, "the keys are not in the order of their times",
                    "this one is not later than the one before");
    if (count <= leading) {
        keys.append(key.time, key.value, key.shape);
    } else {
        std::copy(numbers.begin() + leading, numbers.end(), key.parameters.begin());
        keys.append(key);
    }
    return true;
}

} // namespace

bool isSceneText(std::string_view head) {
    const auto start = head.find_first_not_of(" \t\r\n\xEF\xBB\xBF");
    return start != std::string_view::npos && head[start] == '{' &&
           head.find("\"cadencora\"") != std::string_view::npos;
}

Result<Loaded> readSceneFile(std::string_view text, const std::filesystem::path& path,
                             const ReadOptions& options) {
    // A group within a group is two lists deeper; around and inside the groups are a few more.
    constexpr std::size_t otherLists = 16;
    const auto tape = JsonTape::parse(text, path.string(), 2 * options.limits.depth + otherLists);
    if (!tape) return tape.problem();
    return SceneFileReader(path, options).read(tape.value().root());
}

} // namespace cadencora::stage
