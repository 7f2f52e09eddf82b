// Writing glTF: curves that differ from the file become samplers of it.

#include "stage/formats/gltf/gltf.h"

#include "stage/base/text.h"
#include "stage/formats/gltf/animation/merge.h"
#include "stage/formats/gltf/write/edit.h"
#include "stage/formats/gltf/write/fresh.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <numbers>

namespace cadencora::stage::gltf {

namespace {

// A few digits, for people.
// Three digits, rounded up: what is said is not exceeded.
std::string rounded(double value) {
    const double unit = std::pow(10, std::floor(std::log10(value)) - 2);
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.3g", std::ceil(value / unit - 1e-6) * unit);
    return text.data();
}

// A warning about some of the curves, the first few by name.
struct Remark {
    std::string text;
    NameList names{};

    void add(const std::string& name) { names.add(name); }
    void say(std::vector<std::string>& warnings, const std::string& after = {}) const {
        if (names.count() > 0) warnings.push_back(text + after + ": " + names.text());
    }
};

class SceneWriter {
public:
    SceneWriter(const Scene& scene, const std::filesystem::path& path, const WriteOptions& options,
                bool isGlb)
        : scene_(scene), path_(path), options_(options), isGlb_(isGlb),
          memory_(dynamic_cast<const Memory*>(scene.source.get())) {}

    Result<Written> write() {
        if (auto compared = compare(); !compared) return failed(compared.problem());
        if (isStopped_) return writingStopped(path_);
        remarks();
        Draft draft;
        if (memory_) {
            draft = makeDraft(*memory_, isGlb_);
        } else {
            auto fresh = freshDraft(scene_, written_.warnings);
            if (!fresh) return failed(fresh.problem());
            draft = std::move(*fresh);
        }
        const bool isSame = memory_ && changes_.empty() && memory_->isGlb == isGlb_;
        if (!isSame) change(draft);
        if (auto done = writeDraft(draft, memory_, isSame ? &memory_->file : nullptr, path_, isGlb_,
                                   written_.warnings);
            !done)
            return done.problem();
        return std::move(written_);
    }

private:
    Problem failed(Problem problem) const {
        problem.detail = problem.what + (problem.detail.empty() ? "" : " " + problem.detail) +
                         (problem.where.empty() ? "" : ", " + problem.where);
        problem.what = std::string("cannot write the scene as ") + (isGlb_ ? "GLB" : "glTF");
        problem.where = path_.string();
        return problem;
    }

    Result<> compare();
    Result<> comparePath(std::size_t node, Path path);
    Result<std::optional<Remembered>> remembered(std::size_t node, Path path);
    Result<> merge(std::size_t node, Path path, std::span<const Envelope* const> curves,
                   const std::optional<Remembered>& before);
    void change(Draft& draft);
    void giveTransform(Json& node, const Node& rest) const;
    void remarks();
    std::size_t nodes() const { return memory_ ? memory_->items.size() : scene_.itemCount(); }
    ItemId itemOf(std::size_t node) const {
        return memory_ ? memory_->items[node] : Scene::itemAt(node);
    }
    std::vector<ChannelId> channelsOf(std::size_t node, Path path) const;

    const Scene& scene_;
    const std::filesystem::path& path_;
    const WriteOptions& options_;
    bool isGlb_, isStopped_ = false;
    const Memory* memory_; // null where the scene came from elsewhere
    Written written_;
    std::vector<Change> changes_;
    std::map<std::pair<std::size_t, Path>, std::size_t> source_; // the clip's channels
    std::map<std::size_t, Times> times_;                         // by accessor
    Remark turned_{"between keys these rotations are off", NameList()};
    Remark sampled_{"keys were added on frames, since glTF has no curve like this", NameList()};
    Remark early_{"keys before frame 0 are left out", NameList()};
    Remark close_{"keys that are too close to another key for glTF are left out", NameList()};
    double worstTurn_ = 0, worstValue_ = 0; // radians, units
};

std::vector<ChannelId> SceneWriter::channelsOf(std::size_t node, Path path) const {
    if (memory_) return channelsOfPath(scene_, *memory_, node, path);
    if (path == Path::weights) return {};
    const auto& motion = scene_.item(itemOf(node)).motion;
    const auto first = motion.begin() + static_cast<std::ptrdiff_t>(path) * 3;
    return {first, first + 3};
}

Result<> SceneWriter::compare() {
    if (memory_ && memory_->clip != none) {
        const auto& channels = memory_->model.clips[memory_->clip].channels;
        for (std::size_t i = 0; i < channels.size(); ++i)
            if (channels[i].node != none && channels[i].path != Path::other)
                source_[{channels[i].node, channels[i].path}] = i;
    }
    for (std::size_t node = 0; node < nodes(); ++node) {
        isStopped_ = !options_.goesOn(static_cast<double>(node) / static_cast<double>(nodes()));
        if (isStopped_) return done();
        for (const Path path : {Path::translation, Path::rotation, Path::scale, Path::weights})
            if (auto compared = comparePath(node, path); !compared) return compared;
    }
    return done();
}

// Reads the keys of a path from the file again; nothing where the file has no such channel.
Result<std::optional<Remembered>> SceneWriter::remembered(std::size_t node, Path path) {
    const auto channel = source_.find({node, path});
    if (channel == source_.end()) return std::optional<Remembered>();
    const Model& model = memory_->model;
    const auto bytes = memory_->bytes();
    const std::string where = memory_->where();
    const Source source{model, bytes, where};
    const Clip& clip = model.clips[memory_->clip];
    const Sampler& sampler = clip.samplers[clip.channels[channel->second].sampler];
    Times& times = times_[sampler.input];
    if (!times) {
        auto read = readTimes(source, sampler.input, "");
        if (!read) return read.problem();
        times = std::move(*read);
    }
    auto track = readTrack(source, memory_->clip, channel->second, times);
    if (!track) return track.problem();
    std::optional<Remembered> before(std::in_place);
    before->track = std::move(*track);
    before->keys.resize(path == Path::rotation ? 3 : before->track.components);
    std::vector<KeyStore*> stores;
    for (KeyStore& keys : before->keys)
        stores.push_back(&keys);
    appendKeys(before->track, path, memory_->clock, restAngles(model.nodes[node]), stores);
    return before;
}

Result<> SceneWriter::comparePath(std::size_t node, Path path) {
    std::vector<const Envelope*> curves;
    bool hasKeys = false;
    for (const ChannelId id : channelsOf(node, path)) {
        curves.push_back(&scene_.envelope(scene_.channel(id).envelope));
        hasKeys = hasKeys || !curves.back()->keys.empty();
    }
    auto before = remembered(node, path);
    if (!before) return before.problem();
    if (!before.value() && !hasKeys) return done();
    if (before.value()) {
        bool isSame = true;
        for (std::size_t c = 0; c < curves.size() && isSame; ++c)
            isSame = sameFileKeys(curves[c]->keys, before.value()->keys[c]);
        if (isSame) return done();
        if (!hasKeys) {
            changes_.push_back({node, path, std::nullopt, false});
            return done();
        }
    }
    return merge(node, path, curves, before.value());
}

Result<> SceneWriter::merge(std::size_t node, Path path, std::span<const Envelope* const> curves,
                            const std::optional<Remembered>& before) {
    const bool turns = path == Path::rotation;
    const std::string name = inQuotes(scene_.item(itemOf(node)).name) + " " +
                             std::string(pathNames[static_cast<std::size_t>(path)]);
    const Interpolation usual = before ? before->track.interpolation : Interpolation::linear;
    const Remembered* known = before ? &*before : nullptr;
    auto merged = turns ? mergeRotation(curves, scene_.rate, usual, known)
                        : mergeCurves(curves, scene_.rate, usual, known);
    if (!merged) {
        Problem problem = merged.problem();
        problem.where = name;
        return problem;
    }
    if (merged->onFrames) sampled_.add(name);
    if (turns && merged->error > unnoticedTurn) turned_.add(name);
    if (merged->early > 0) early_.add(name);
    if (merged->merged > 0) close_.add(name);
    double& worst = turns ? worstTurn_ : worstValue_;
    worst = std::max(worst, merged->error);
    const bool sameTimes = before && *before->track.times == *merged->track.times;
    changes_.push_back({node, path, std::move(merged->track), sameTimes});
    return done();
}

// Warnings about what glTF cannot hold, and how curves that it cannot hold were changed.
void SceneWriter::remarks() {
    Remark behaviours{"glTF holds the outermost keys' values; other behaviours are left out",
                      NameList()};
    Remark further{"glTF does not hold these channels", NameList()};
    std::vector<bool> isHeld; // by channel
    const auto hold = [&](ChannelId id) {
        const auto at = static_cast<std::size_t>(id);
        if (isHeld.size() <= at) isHeld.resize(at + 1);
        isHeld[at] = true;
        const Envelope& curve = scene_.envelope(scene_.channel(id).envelope);
        if (curve.keys.size() > 1 &&
            (curve.before != Behaviour::constant || curve.after != Behaviour::constant))
            behaviours.add(scene_.channelPath(id));
    };
    for (std::size_t node = 0; node < nodes(); ++node)
        for (const Path path : {Path::translation, Path::rotation, Path::scale, Path::weights})
            for (const ChannelId id : channelsOf(node, path))
                hold(id);
    for (std::size_t i = 0; i < scene_.itemCount(); ++i) {
        std::vector<GroupId> open{scene_.item(Scene::itemAt(i)).group};
        while (!open.empty()) {
            const ChannelGroup& group = scene_.group(open.back());
            open.pop_back();
            for (const ChannelId id : group.channels) {
                const auto at = static_cast<std::size_t>(id);
                if (at >= isHeld.size() || !isHeld[at]) further.add(scene_.channelPath(id));
            }
            open.insert(open.end(), group.groups.begin(), group.groups.end());
        }
    }
    std::vector<std::string>& warnings = written_.warnings;
    further.say(warnings);
    behaviours.say(warnings);
    sampled_.say(warnings);
    if (worstValue_ > unnoticedValue)
        warnings.push_back("between frames these are off by up to " + rounded(worstValue_) +
                           " units, on frames they are exact");
    turned_.say(warnings, " by up to " + rounded(worstTurn_ * 180 / std::numbers::pi) + " degrees");
    early_.say(warnings);
    close_.say(warnings);
}

// Only nodes with translation, rotation and scale can be animated, not those with a matrix.
void SceneWriter::giveTransform(Json& node, const Node& rest) const {
    node.erase("matrix");
    node["translation"] = rest.translation;
    node["rotation"] = rest.rotation;
    node["scale"] = rest.scale;
}

void SceneWriter::change(Draft& draft) {
    if (memory_)
        for (const Change& one : changes_) {
            const Node& rest = memory_->model.nodes[one.node];
            Json& node = draft.document.json["nodes"][one.node];
            if (one.track && one.path != Path::weights && rest.hasMatrix && node.contains("matrix"))
                giveTransform(node, rest);
        }
    const std::string name = scene_.name.empty() ? "Animation" : scene_.name;
    if (applyChanges(draft, memory_ ? memory_->clip : none, name, changes_, isGlb_))
        written_.warnings.push_back("the clip has no keys left and is removed from the file");
}

} // namespace

Result<Written> writeGltf(const Scene& scene, const std::filesystem::path& path,
                          const WriteOptions& options) {
    return SceneWriter(scene, path, options, false).write();
}

Result<Written> writeGlb(const Scene& scene, const std::filesystem::path& path,
                         const WriteOptions& options) {
    return SceneWriter(scene, path, options, true).write();
}

} // namespace cadencora::stage::gltf
