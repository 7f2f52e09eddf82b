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

// What of a file's clip a scene changes.
struct ClipChanges {
    std::size_t clip = none; // none: a new one
    std::string name;        // of a new one
    std::vector<Change> changes;
};

// Compares a scene with the clip that it was read from, or with nothing.
class Comparison {
public:
    Comparison(const Scene& scene, const Memory* memory, const WriteOptions& options)
        : scene_(scene), options_(options), memory_(memory) {
        made_.clip = memory ? memory->clip : none;
        made_.name = scene.name.empty() ? "Animation" : scene.name;
    }

    // Adds warnings about what glTF cannot hold, and how curves that it cannot hold were changed.
    Result<ClipChanges> changes(std::vector<std::string>& warnings) {
        if (auto compared = compare(); !compared) return compared.problem();
        remarks(warnings);
        return std::move(made_);
    }
    bool isStopped() const { return isStopped_; }

private:
    Result<> compare();
    Result<> comparePath(std::size_t node, Path path);
    Result<std::optional<Remembered>> remembered(std::size_t node, Path path);
    Result<> merge(std::size_t node, Path path, std::span<const Envelope* const> curves,
                   const std::optional<Remembered>& before);
    void remarks(std::vector<std::string>& warnings) const;
    std::size_t nodes() const { return memory_ ? memory_->items.size() : scene_.itemCount(); }
    ItemId itemOf(std::size_t node) const {
        return memory_ ? memory_->items[node] : Scene::itemAt(node);
    }
    std::vector<ChannelId> channelsOf(std::size_t node, Path path) const;

    const Scene& scene_;
    const WriteOptions& options_;
    bool isStopped_ = false;
    const Memory* memory_; // null where the scene came from elsewhere
    ClipChanges made_;
    std::map<std::pair<std::size_t, Path>, std::size_t> source_; // the clip's channels
    std::map<std::size_t, Times> times_;                         // by accessor
    Remark turned_{"between keys these rotations are off", NameList()};
    Remark sampled_{"keys were added on frames, since glTF has no curve like this", NameList()};
    Remark early_{"keys before frame 0 are left out", NameList()};
    Remark close_{"keys that are too close to another key for glTF are left out", NameList()};
    double worstTurn_ = 0, worstValue_ = 0; // radians, units
};

std::vector<ChannelId> Comparison::channelsOf(std::size_t node, Path path) const {
    if (memory_) return channelsOfPath(scene_, *memory_, node, path);
    if (path == Path::weights) return {};
    const auto& motion = scene_.item(itemOf(node)).motion;
    const auto first = motion.begin() + static_cast<std::ptrdiff_t>(path) * 3;
    return {first, first + 3};
}

Result<> Comparison::compare() {
    if (memory_ && memory_->clip != none) {
        const auto& channels = memory_->document->model.clips[memory_->clip].channels;
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
Result<std::optional<Remembered>> Comparison::remembered(std::size_t node, Path path) {
    const auto channel = source_.find({node, path});
    if (channel == source_.end()) return std::optional<Remembered>();
    const Model& model = memory_->document->model;
    const auto bytes = memory_->document->bytes();
    const std::string where = memory_->document->where();
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

Result<> Comparison::comparePath(std::size_t node, Path path) {
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
            made_.changes.push_back({node, path, std::nullopt, false});
            return done();
        }
    }
    return merge(node, path, curves, before.value());
}

Result<> Comparison::merge(std::size_t node, Path path, std::span<const Envelope* const> curves,
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
    made_.changes.push_back({node, path, std::move(merged->track), sameTimes});
    return done();
}

void Comparison::remarks(std::vector<std::string>& warnings) const {
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

class Writer final : public ClipsWriter {
public:
    Writer(std::filesystem::path path, const WriteOptions& options, bool isGlb)
        : path_(std::move(path)), options_(options), isGlb_(isGlb) {}

    Result<Written> add(const Scene& scene) override {
        const auto* memory = dynamic_cast<const Memory*>(scene.source.get());
        if (!clips_.empty() && (!memory || memory->document != document_))
            return failed({"its clips are not of one file", {}, {}});
        if (memory) document_ = memory->document;
        Written written;
        Comparison comparison(scene, memory, options_);
        auto changes = comparison.changes(written.warnings);
        if (comparison.isStopped()) return writingStopped(path_);
        if (!changes) return failed(changes.problem());
        if (!memory) {
            auto fresh = freshDraft(scene, written.warnings);
            if (!fresh) return failed(fresh.problem());
            draft_ = std::move(*fresh);
        }
        clips_.push_back(std::move(*changes));
        return written;
    }

    Result<Written> finish() override {
        Written written;
        if (document_) draft_ = makeDraft(*document_, isGlb_);
        const bool isSame =
            document_ && document_->isGlb == isGlb_ &&
            std::ranges::all_of(clips_, [](const ClipChanges& one) { return one.changes.empty(); });
        if (!isSame) {
            // The last one first: the places of those before it stay.
            std::ranges::sort(clips_, std::greater(), &ClipChanges::clip);
            for (const ClipChanges& one : clips_)
                if (!one.changes.empty() || !document_) change(one, written.warnings);
        }
        if (auto done = writeDraft(draft_, document_.get(), isSame ? &document_->file : nullptr,
                                   path_, isGlb_, options_.alone, written);
            !done)
            return done.problem();
        return written;
    }

private:
    Problem failed(Problem problem) const {
        problem.detail = problem.what + (problem.detail.empty() ? "" : " " + problem.detail) +
                         (problem.where.empty() ? "" : ", " + problem.where);
        problem.what = std::string("cannot write the scene as ") + (isGlb_ ? "GLB" : "glTF");
        problem.where = path_.string();
        return problem;
    }

    // Only nodes with translation, rotation and scale can be animated, not those with a matrix.
    static void giveTransform(Json& node, const Node& rest) {
        node.erase("matrix");
        node["translation"] = rest.translation;
        node["rotation"] = rest.rotation;
        node["scale"] = rest.scale;
    }

    void change(const ClipChanges& clip, std::vector<std::string>& warnings) {
        for (const Change& one : clip.changes) {
            if (!document_) break;
            const Node& rest = document_->model.nodes[one.node];
            Json& node = draft_.document.json["nodes"][one.node];
            if (one.track && one.path != Path::weights && rest.hasMatrix && node.contains("matrix"))
                giveTransform(node, rest);
        }
        if (applyChanges(draft_, clip.clip, clip.name, clip.changes, isGlb_))
            warnings.push_back((clips_.size() == 1
                                    ? "the clip"
                                    : "clip " + inQuotes(document_->model.clips[clip.clip].name)) +
                               std::string(" has no keys left and is removed from the file"));
    }

    std::filesystem::path path_;
    WriteOptions options_;
    bool isGlb_;
    std::shared_ptr<const SourceDocument> document_; // null where the scene came from elsewhere
    Draft draft_;
    std::vector<ClipChanges> clips_;
};

Result<Written> writeOne(Writer writer, const Scene& scene) {
    auto added = writer.add(scene);
    if (!added) return added.problem();
    auto written = writer.finish();
    if (!written) return written;
    added->warnings.insert(added->warnings.end(), written->warnings.begin(),
                           written->warnings.end());
    added->files = std::move(written->files);
    return added;
}

} // namespace

Result<Written> writeGltf(const Scene& scene, const std::filesystem::path& path,
                          const WriteOptions& options) {
    return writeOne(Writer(path, options, false), scene);
}

Result<Written> writeGlb(const Scene& scene, const std::filesystem::path& path,
                         const WriteOptions& options) {
    return writeOne(Writer(path, options, true), scene);
}

std::unique_ptr<ClipsWriter> writeGltfClips(const std::filesystem::path& path,
                                            const WriteOptions& options) {
    return std::make_unique<Writer>(path, options, false);
}

std::unique_ptr<ClipsWriter> writeGlbClips(const std::filesystem::path& path,
                                           const WriteOptions& options) {
    return std::make_unique<Writer>(path, options, true);
}

} // namespace cadencora::stage::gltf
