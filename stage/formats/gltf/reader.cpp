// Reading glTF: nodes become items, the open clip becomes keys.

#include "stage/formats/gltf/gltf.h"

#include "stage/base/text.h"
#include "stage/formats/gltf/animation/samplers.h"
#include "stage/formats/gltf/document/memory.h"
#include "stage/formats/gltf/mesh/mesh.h"
#include "stage/formats/gltf/write/rework.h"

#include <algorithm>
#include <map>

namespace cadencora::stage::gltf {

namespace {

// Makes the items and fills their curves from the open clip.
class SceneReader {
public:
    SceneReader(std::shared_ptr<const SourceDocument> document, std::size_t clip,
                const ReadOptions& options)
        : memory_(std::make_shared<Memory>()), document_(*document), options_(options),
          limits_(options.limits), model_(document_.model), where_(document_.where()) {
        memory_->files = document->filesBeside;
        memory_->document = std::move(document);
        memory_->clip = clip;
    }

    Result<Loaded> read() {
        if (auto made = items(); !made) return made.problem();
        if (auto filled = curves(); !filled) return filled.problem();
        if (options_.meshes) loaded_.notes = addMeshes(scene(), *memory_, limits_);
        finish();
        return std::move(loaded_);
    }

private:
    Scene& scene() { return loaded_.scene; }

    Problem problem(const std::string& place, std::string what, std::string detail = {}) const {
        return {std::move(what), where_ + ": " + place, std::move(detail)};
    }

    Result<> items();
    void markBones();
    ItemType typeOf(std::size_t node) const;
    ItemId ownerOf(std::size_t joint);
    void addBranch(std::size_t root, bool bones);
    void addNode(std::size_t node);
    Result<> curves();
    void finish();

    std::shared_ptr<Memory> memory_;
    const SourceDocument& document_;
    const ReadOptions& options_;
    const ReadLimits& limits_;
    const Model& model_;
    const std::string where_;
    Loaded loaded_;
    std::vector<bool> isJoint_, isBelowJoint_; // by node; below: the joint itself, too
    std::vector<std::size_t> ownerNode_;       // by joint: the node that has its skin, or none
    ItemId fileObject_ = ItemId::none;         // owns bones that nothing else can own
    std::size_t keys_ = 0;
};

Result<> SceneReader::items() {
    scene().name = document_.path.stem().string();
    std::size_t channels = 0;
    for (std::size_t i = 0; i < model_.nodes.size(); ++i)
        channels += motionChannelCount + model_.targetsOf(i);
    if (model_.nodes.size() >= limits_.items || channels > limits_.channels)
        return problem("nodes", "the file has too many nodes",
                       "the limits are " + std::to_string(limits_.items) + " items and " +
                           std::to_string(limits_.channels) + " channels");
    memory_->items.resize(model_.nodes.size());
    memory_->morphs.resize(model_.nodes.size());
    markBones();
    // Bones come last: the objects that own them must exist.
    for (const bool bones : {false, true})
        for (std::size_t i = 0; i < model_.nodes.size(); ++i)
            if (model_.nodes[i].parent == none) addBranch(i, bones);
    return done();
}

void SceneReader::markBones() {
    const std::size_t count = model_.nodes.size();
    isJoint_.resize(count);
    ownerNode_.resize(count, none);
    for (const Skin& skin : model_.skins)
        for (const std::size_t joint : skin.joints)
            isJoint_[joint] = true;
    isBelowJoint_ = isJoint_;
    std::vector<std::size_t> open;
    for (std::size_t i = 0; i < count; ++i)
        if (isJoint_[i]) open.push_back(i);
    while (!open.empty()) {
        const std::size_t node = open.back();
        open.pop_back();
        for (const std::size_t child : model_.nodes[node].children)
            if (!isBelowJoint_[child]) {
                isBelowJoint_[child] = true;
                open.push_back(child);
            }
    }
    for (std::size_t i = 0; i < count; ++i) {
        const Node& node = model_.nodes[i];
        if (node.skin == none || isBelowJoint_[i] || typeOf(i) != ItemType::object) continue;
        for (const std::size_t joint : model_.skins[node.skin].joints)
            if (ownerNode_[joint] == none) ownerNode_[joint] = i;
    }
}

ItemType SceneReader::typeOf(std::size_t node) const {
    if (isJoint_[node]) return ItemType::bone;
    if (model_.nodes[node].isCamera) return ItemType::camera;
    return model_.nodes[node].isLight ? ItemType::light : ItemType::object;
}

// The first node that has the joint's skin; else the nearest object above all joints; else an
// object with the name of the file.
ItemId SceneReader::ownerOf(std::size_t joint) {
    std::size_t node = ownerNode_[joint];
    if (node == none)
        for (node = model_.nodes[joint].parent;
             node != none && (isBelowJoint_[node] || typeOf(node) != ItemType::object);)
            node = model_.nodes[node].parent;
    if (node != none) return memory_->items[node];
    if (fileObject_ == ItemId::none) fileObject_ = scene().addItem(ItemType::object, scene().name);
    return fileObject_;
}

// The nodes of a branch that are not below a joint, or those that are.
void SceneReader::addBranch(std::size_t root, bool bones) {
    std::vector<std::size_t> open{root};
    while (!open.empty()) {
        const std::size_t node = open.back();
        open.pop_back();
        if (isBelowJoint_[node] == bones) addNode(node);
        const auto& children = model_.nodes[node].children;
        if (bones || !isBelowJoint_[node])
            open.insert(open.end(), children.rbegin(), children.rend());
    }
}

void SceneReader::addNode(std::size_t index) {
    const Node& node = model_.nodes[index];
    const ItemType type = typeOf(index);
    const ItemId owner = type == ItemType::bone ? ownerOf(index) : ItemId::none;
    const ItemId parent = node.parent == none ? ItemId::none : memory_->items[node.parent];
    const ItemId id = memory_->items[index] = scene().addItem(type, node.name, parent, owner);
    const Vec3 angles = restAngles(node);
    for (std::size_t c = 0; c < 3; ++c) {
        const auto rest = [&](MotionChannel first, double value) {
            scene().mutableMotion(id, static_cast<MotionChannel>(first + c)).rest = value;
        };
        rest(positionX, node.translation[c]);
        rest(heading, angles[c]);
        rest(scaleX, node.scale[c]);
    }
    if (model_.targetsOf(index) == 0) return;
    const GroupId group = scene().addGroup(scene().item(id).group, "Morph");
    const auto& targets = model_.meshes[node.mesh].targets;
    for (std::size_t t = 0; t < targets.size(); ++t)
        memory_->morphs[index].push_back(
            scene().addChannel(group, targets[t], t < node.weights.size() ? node.weights[t] : 0));
}

Result<> SceneReader::curves() {
    std::map<std::size_t, Times> times; // by accessor
    std::vector<Times> all;
    const auto bytes = document_.bytes();
    const Source source{model_, bytes, where_};
    const std::size_t clip = memory_->clip;
    const std::vector<Channel> noChannels;
    const auto& channels = clip == none ? noChannels : model_.clips[clip].channels;
    std::map<std::pair<std::size_t, Path>, std::size_t> seen;
    for (std::size_t i = 0; i < channels.size(); ++i) {
        const Channel& channel = channels[i];
        if (channel.node == none || channel.path == Path::other) continue;
        const std::string place =
            "animations[" + std::to_string(clip) + "].channels[" + std::to_string(i) + "].target";
        const auto [before, isNew] = seen.insert({{channel.node, channel.path}, i});
        if (!isNew)
            return problem(place, "two channels animate the same property",
                           "channels[" + std::to_string(before->second) + "] does so, too");
        if (channel.path == Path::weights && model_.targetsOf(channel.node) == 0)
            return problem(place, "the node has no morph targets",
                           "nodes[" + std::to_string(channel.node) + "]");
        const Sampler& sampler = model_.clips[clip].samplers[channel.sampler];
        Times& found = times[sampler.input];
        if (found) continue;
        auto read =
            readTimes(source, sampler.input, samplerPlace(clip, channel.sampler) + ".input");
        if (!read) return read.problem();
        all.push_back(found = std::move(*read));
    }
    memory_->clock = chooseClock(all, options_.rate);
    for (std::size_t i = 0; i < channels.size(); ++i) {
        if (!options_.goesOn(static_cast<double>(i) / static_cast<double>(channels.size())))
            return Problem{readingStopped, where_, {}};
        const Channel& channel = channels[i];
        if (channel.node == none || channel.path == Path::other) continue;
        const Times& at = times[model_.clips[clip].samplers[channel.sampler].input];
        const auto filled = channelsOfPath(scene(), *memory_, channel.node, channel.path);
        if ((keys_ += at->size() * filled.size()) > limits_.keys)
            return problem("animations[" + std::to_string(clip) + "]", "the clip has too many keys",
                           "the limit is " + std::to_string(limits_.keys));
        const auto track = readTrack(source, clip, i, at);
        if (!track) return track.problem();
        std::vector<KeyStore*> stores;
        for (const ChannelId id : filled)
            stores.push_back(&scene().mutableEnvelope(scene().channel(id).envelope).keys);
        appendKeys(track.value(), channel.path, memory_->clock,
                   restAngles(model_.nodes[channel.node]), stores);
    }
    return done();
}

void SceneReader::finish() {
    scene().rate = memory_->clock.rate;
    scene().lastFrame = scene().previewLast = std::max<std::int64_t>(scene().frameOfLastKey(), 0);
    for (const Clip& clip : model_.clips)
        loaded_.clips.push_back(clip.name);
    if (memory_->clip != none) loaded_.clip = loaded_.clips[memory_->clip];
    loaded_.warnings = model_.warnings;
    loaded_.notes.insert(loaded_.notes.begin(), memory_->clock.note);
    NameList others;
    for (const std::string& pointer : model_.pointers)
        others.add(pointer);
    if (!model_.pointers.empty())
        loaded_.notes.push_back("animated besides the items, and kept: " + others.text());
    scene().source = std::move(memory_);
}

Result<Loaded> readAny(std::string_view bytes, const std::filesystem::path& path,
                       const ReadOptions& options, bool isGlb) {
    auto document = openDocument(bytes, path, options, isGlb);
    if (!document) return document.problem();
    if (!options.edits.empty()) {
        const auto edited = reworked(**document, options.edits, options.limits);
        if (!edited) return edited.problem();
        document = openDocument(edited.value(), path, options, isGlb);
        if (!document) return document.problem();
    }
    const auto clip = clipOf(**document, options);
    if (!clip) return clip.problem();
    return SceneReader(std::move(*document), clip.value(), options).read();
}

} // namespace

bool isGlb(std::string_view head) {
    return head.starts_with("glTF");
}

// A JSON object whose first member is one of glTF and not one of scene files.
bool isGltfText(std::string_view head) {
    constexpr std::array<std::string_view, 16> members{
        "\"accessors\"", "\"animations\"",     "\"asset\"",  "\"buffers\"",
        "\"cameras\"",   "\"bufferViews\"",    "\"images\"", "\"extensionsRequired\"",
        "\"materials\"", "\"extensionsUsed\"", "\"meshes\"", "\"nodes\"",
        "\"samplers\"",  "\"scenes\"",         "\"scene\":", "\"skins\""};
    if (head.starts_with("\xef\xbb\xbf")) head.remove_prefix(3);
    head = trimmed(head);
    if (!head.starts_with('{')) return false;
    head = trimmed(head.substr(1));
    return std::ranges::any_of(members, [&](auto name) { return head.starts_with(name); });
}

Result<Loaded> readGltf(std::string_view bytes, const std::filesystem::path& path,
                        const ReadOptions& options) {
    return readAny(bytes, path, options, false);
}

Result<Loaded> readGlb(std::string_view bytes, const std::filesystem::path& path,
                       const ReadOptions& options) {
    return readAny(bytes, path, options, true);
}

Result<Loaded> readClip(const SourceMemory& source, const ReadOptions& options) {
    const auto& document = dynamic_cast<const Memory&>(source).document;
    const auto clip = clipOf(*document, options);
    if (!clip) return clip.problem();
    return SceneReader(document, clip.value(), options).read();
}

} // namespace cadencora::stage::gltf
