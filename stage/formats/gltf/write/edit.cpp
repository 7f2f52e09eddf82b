#include "stage/formats/gltf/write/edit.h"

#include "stage/formats/gltf/write/uses.h"

#include <algorithm>
#include <map>

namespace cadencora::stage::gltf {

namespace {

std::size_t number(const Json& object, const char* name) {
    const auto found = object.find(name);
    return found == object.end() ? 0 : found->get<std::size_t>();
}

Json& tableOf(Json& document, const char* name) {
    Json& table = document[name];
    if (!table.is_array()) table = Json::array();
    return table;
}

std::string_view bytesOf(const std::vector<float>& numbers) {
    static_assert(std::endian::native == std::endian::little);
    return {reinterpret_cast<const char*>(numbers.data()), numbers.size() * sizeof(float)};
}

class Editor {
public:
    Editor(Draft& draft, Json& clip, bool isGlb)
        : draft_(draft), clip_(clip), isGlb_(isGlb), uses_(countUses(draft.document.json)),
          ends_(draft.buffers.size()) {
        if (const auto table = draft.document.json.find("bufferViews");
            table != draft.document.json.end())
            for (const Json& view : *table)
                ends_[number(view, "buffer")] =
                    std::max(ends_[number(view, "buffer")],
                             number(view, "byteOffset") + number(view, "byteLength"));
    }

    void apply(const std::vector<Change>& changes) {
        findChannels(changes);
        release();
        needNumbers();
        assignAccessors();
        assignViews();
        writeNumbers();
        writeSamplers();
        removeUnused();
    }

private:
    // A change with its place in the clip.
    struct Edit {
        const Change* change;
        std::size_t channel = none, sampler = none; // none: a new one
        bool ownsSampler = false;                   // it may be overwritten
        std::size_t oldInput = none, oldOutput = none;
        std::size_t input = none, output = none; // accessors; of needs until they are assigned
    };
    // Numbers that need an accessor, a view and bytes.
    struct Need {
        const std::vector<float>* numbers;
        const char* type;
        std::size_t components;
        bool isInput;
        std::size_t preferred; // accessor, or none
        std::size_t accessor = none, view = none;
    };

    void findChannels(const std::vector<Change>& changes);
    void release();
    void needNumbers();
    void assignAccessors();
    void assignViews();
    void writeNumbers();
    void findRoom();
    std::size_t placeFor(std::size_t size);
    void writeSamplers();
    void removeUnused();
    bool mayReuseView(std::size_t view) const;

    Json& accessors() { return tableOf(draft_.document.json, "accessors"); }
    Json& views() { return tableOf(draft_.document.json, "bufferViews"); }

    Draft& draft_;
    Json& clip_;
    bool isGlb_;
    Uses uses_;
    std::vector<Edit> edits_;
    std::vector<Need> needs_;
    std::vector<std::size_t> freeAccessors_, freeViews_; // released, in ascending order
    std::vector<std::size_t> freeSamplers_;
    std::vector<std::size_t> ends_; // by buffer: where its last view ended
    std::size_t target_ = none;     // the buffer that gets the numbers
    bool mayTruncate_ = false;      // nothing uses what is after its last view
    std::vector<std::pair<std::size_t, std::size_t>> gaps_; // from and to
    std::size_t tail_ = 0, used_ = 0; // where it can be added to; the end of what is in use
};

void Editor::findChannels(const std::vector<Change>& changes) {
    const Json& channels = clip_["channels"];
    std::map<std::pair<std::size_t, std::string>, std::size_t> known;
    for (std::size_t i = 0; i < channels.size(); ++i) {
        const Json& target = channels[i]["target"];
        if (const std::string* pointer = pointerOf(target)) {
            if (const auto found = nodePointedAt(*pointer))
                known[{found->first,
                       std::string(pathNames[static_cast<std::size_t>(found->second)])}] = i;
        } else if (target.contains("node"))
            known[{number(target, "node"), target["path"].get<std::string>()}] = i;
    }
    for (const Change& change : changes) {
        Edit edit{&change};
        const std::string path(pathNames[static_cast<std::size_t>(change.path)]);
        if (const auto found = known.find({change.node, path}); found != known.end()) {
            edit.channel = found->second;
            edit.sampler = number(channels[edit.channel], "sampler");
        }
        edits_.push_back(edit);
    }
}

// Samplers whose channels all change, with what only they use.
void Editor::release() {
    std::map<std::size_t, std::size_t> untouched; // channels by sampler
    for (const Json& channel : clip_["channels"])
        ++untouched[number(channel, "sampler")];
    for (const Edit& edit : edits_)
        if (edit.channel != none) --untouched[edit.sampler];
    for (Edit& edit : edits_) {
        if (edit.channel == none) continue;
        const Json& sampler = clip_["samplers"][edit.sampler];
        edit.oldInput = number(sampler, "input");
        if (untouched[edit.sampler] != 0 ||
            std::ranges::find(freeSamplers_, edit.sampler) != freeSamplers_.end()) {
            edit.sampler = none;
            continue;
        }
        freeSamplers_.push_back(edit.sampler);
        edit.ownsSampler = edit.change->track.has_value();
        edit.oldOutput = number(sampler, "output");
        --uses_.accessors[edit.oldInput];
        --uses_.accessors[edit.oldOutput];
    }
    // An input that keeps its times stays, even if something else uses it.
    for (Edit& edit : edits_) {
        if (!edit.change->track || !edit.change->sameTimes || edit.oldInput == none) continue;
        edit.input = edit.oldInput;
        ++uses_.accessors[edit.input];
    }
    if (!uses_.isComplete) return;
    for (const Edit& edit : edits_)
        for (const std::size_t accessor : {edit.oldInput, edit.oldOutput})
            if (accessor != none && uses_.accessors[accessor] == 0)
                freeAccessors_.push_back(accessor);
    std::ranges::sort(freeAccessors_);
    freeAccessors_.erase(std::unique(freeAccessors_.begin(), freeAccessors_.end()),
                         freeAccessors_.end());
}

void Editor::needNumbers() {
    std::map<std::string_view, std::size_t> inputs; // needs by the bytes of their times
    for (Edit& edit : edits_) {
        if (!edit.change->track) continue;
        const Track& track = *edit.change->track;
        if (edit.input == none) {
            const auto [found, isNew] = inputs.insert({bytesOf(*track.times), needs_.size()});
            if (isNew) needs_.push_back({track.times.get(), "SCALAR", 1, true, edit.oldInput});
            edit.input = found->second;
        }
        const bool isWeights = edit.change->path == Path::weights;
        const char* type = isWeights ? "SCALAR" : track.components == 4 ? "VEC4" : "VEC3";
        edit.output = needs_.size();
        needs_.push_back(
            {&track.values, type, isWeights ? 1 : track.components, false, edit.oldOutput});
    }
}

void Editor::assignAccessors() {
    const auto take = [&](Need& need, std::vector<std::size_t>::iterator accessor) {
        need.accessor = *accessor;
        freeAccessors_.erase(accessor);
    };
    for (Need& need : needs_)
        if (const auto found = std::ranges::find(freeAccessors_, need.preferred);
            found != freeAccessors_.end())
            take(need, found);
    for (Need& need : needs_) {
        if (need.accessor != none) continue;
        if (!freeAccessors_.empty()) {
            take(need, freeAccessors_.begin());
        } else {
            need.accessor = accessors().size();
            accessors().push_back(Json::object());
        }
    }
}

bool Editor::mayReuseView(std::size_t view) const {
    const Json& json = draft_.document.json["bufferViews"][view];
    return uses_.views[view] == 0 && !json.contains("extensions");
}

// The views of accessors that get other numbers, or go, are free where nothing else uses them.
void Editor::assignViews() {
    const auto leave = [&](const Json& accessor) {
        const auto drop = [&](const Json& holder) {
            if (!holder.contains("bufferView")) return;
            const std::size_t view = number(holder, "bufferView");
            if (--uses_.views[view] == 0 && mayReuseView(view)) freeViews_.push_back(view);
        };
        drop(accessor);
        if (!accessor.contains("sparse")) return;
        drop(accessor["sparse"]["indices"]);
        drop(accessor["sparse"]["values"]);
    };
    for (const Need& need : needs_)
        leave(accessors()[need.accessor]);
    while (!freeAccessors_.empty() && freeAccessors_.back() + 1 == accessors().size()) {
        leave(accessors().back());
        accessors().erase(freeAccessors_.back());
        freeAccessors_.pop_back();
    }
    if (!uses_.isComplete) freeViews_.clear();
    std::ranges::sort(freeViews_);
    std::size_t taken = 0;
    for (Need& need : needs_) {
        if (taken < freeViews_.size()) {
            need.view = freeViews_[taken++];
        } else {
            need.view = views().size();
            views().push_back(Json::object());
        }
    }
    freeViews_.erase(freeViews_.begin(), freeViews_.begin() + static_cast<std::ptrdiff_t>(taken));
    while (!freeViews_.empty() && freeViews_.back() + 1 == views().size()) {
        views().erase(freeViews_.back());
        freeViews_.pop_back();
    }
}

// Bytes of the target buffer that no view covers. Where unknown extensions may use them, only what
// is after its end.
void Editor::findRoom() {
    const auto aligned = [](std::size_t at) { return (at + 3) / 4 * 4; };
    const std::size_t size = draft_.buffers[target_].changed->size();
    const std::size_t end = target_ < ends_.size() ? ends_[target_] : 0;
    mayTruncate_ = uses_.isComplete && size < end + 4;
    std::vector<std::pair<std::size_t, std::size_t>> covered;
    for (const Json& view : views()) {
        if (!view.contains("buffer") || number(view, "buffer") != target_) continue;
        const std::size_t first = number(view, "byteOffset");
        covered.push_back({first, first + number(view, "byteLength")});
    }
    std::ranges::sort(covered);
    std::size_t at = 0;
    for (const auto& [first, last] : covered) {
        if (uses_.isComplete && first > at) gaps_.push_back({at, first});
        at = std::max(at, aligned(last));
        used_ = std::max(used_, last);
    }
    tail_ = mayTruncate_ ? at : std::max(at, aligned(size));
}

// The first byte of room for so many.
std::size_t Editor::placeFor(std::size_t size) {
    const auto aligned = [](std::size_t at) { return (at + 3) / 4 * 4; };
    const auto gap = std::ranges::find_if(
        gaps_, [&](const auto& one) { return one.second - one.first >= size; });
    std::size_t& next = gap == gaps_.end() ? tail_ : gap->first;
    const std::size_t at = next;
    next = gap == gaps_.end() ? aligned(at + size) : std::min(aligned(at + size), gap->second);
    used_ = std::max(used_, at + size);
    return at;
}

void Editor::writeNumbers() {
    if (needs_.empty()) return;
    target_ = draft_.growingBuffer(isGlb_);
    Draft::Buffer& buffer = draft_.buffers[target_];
    if (!buffer.changed) buffer.changed = std::string(buffer.bytes);
    // Views that are about to be written cover nothing yet.
    for (const Need& need : needs_)
        for (const char* name :
             {"buffer", "byteOffset", "byteLength", "byteStride", "target", "extensions"})
            views()[need.view].erase(name);
    findRoom();
    for (const Need& need : needs_) {
        const std::string_view bytes = bytesOf(*need.numbers);
        const std::size_t at = placeFor(bytes.size());
        if (at + bytes.size() > buffer.changed->size()) buffer.changed->resize(at + bytes.size());
        buffer.changed->replace(at, bytes.size(), bytes);
        Json& view = views()[need.view];
        view["buffer"] = target_;
        view["byteOffset"] = at;
        view["byteLength"] = bytes.size();
        Json& accessor = accessors()[need.accessor];
        for (const char* name : {"sparse", "normalized", "byteOffset", "min", "max"})
            accessor.erase(name);
        accessor["bufferView"] = need.view;
        accessor["componentType"] = 5126;
        accessor["count"] = need.numbers->size() / need.components;
        accessor["type"] = need.type;
        if (!need.isInput) continue;
        accessor["min"] = Json::array({static_cast<double>(need.numbers->front())});
        accessor["max"] = Json::array({static_cast<double>(need.numbers->back())});
    }
    if (mayTruncate_ && used_ < buffer.changed->size()) buffer.changed->resize(used_);
}

void Editor::writeSamplers() {
    Json& samplers = clip_["samplers"];
    Json& channels = clip_["channels"];
    for (Edit& edit : edits_) {
        if (!edit.change->track) continue;
        if (!edit.ownsSampler) {
            edit.sampler = samplers.size();
            samplers.push_back(Json::object());
        }
        const bool keepsInput = edit.change->sameTimes && edit.input == edit.oldInput;
        Json& sampler = samplers[edit.sampler];
        const auto kind = static_cast<std::size_t>(edit.change->track->interpolation);
        sampler["input"] = keepsInput ? edit.input : needs_[edit.input].accessor;
        if (kind != 0 || sampler.contains("interpolation"))
            sampler["interpolation"] = interpolationNames[kind];
        sampler["output"] = needs_[edit.output].accessor;
        if (edit.channel == none) {
            edit.channel = channels.size();
            channels.push_back(
                {{"sampler", edit.sampler},
                 {"target",
                  {{"node", edit.change->node},
                   {"path", pathNames[static_cast<std::size_t>(edit.change->path)]}}}});
        }
        channels[edit.channel]["sampler"] = edit.sampler;
    }
}

void Editor::removeUnused() {
    Json& samplers = clip_["samplers"];
    Json& channels = clip_["channels"];
    std::vector<std::size_t> gone;
    for (const Edit& edit : edits_)
        if (!edit.change->track && edit.channel != none) gone.push_back(edit.channel);
    std::ranges::sort(gone, std::greater{});
    for (const std::size_t channel : gone)
        channels.erase(channel);
    std::vector<std::size_t> uses(samplers.size()), places(samplers.size());
    for (const Json& channel : channels)
        ++uses[number(channel, "sampler")];
    Json kept = Json::array();
    std::ranges::sort(freeSamplers_);
    for (std::size_t i = 0; i < samplers.size(); ++i) {
        places[i] = kept.size();
        if (uses[i] > 0 || !std::ranges::binary_search(freeSamplers_, i))
            kept.push_back(std::move(samplers[i]));
    }
    if (kept.size() < samplers.size())
        for (Json& channel : channels)
            channel["sampler"] = places[number(channel, "sampler")];
    samplers = std::move(kept);
}

} // namespace

bool applyChanges(Draft& draft, std::size_t clip, const std::string& name,
                  const std::vector<Change>& changes, bool isGlb) {
    if (changes.empty()) return false;
    Json& clips = tableOf(draft.document.json, "animations");
    if (clip == none) {
        clip = clips.size();
        clips.push_back({{"name", name}, {"channels", Json::array()}, {"samplers", Json::array()}});
    }
    // The table of clips stays as it is while the editor adds to the others.
    Json edited = clips[clip];
    Editor(draft, edited, isGlb).apply(changes);
    Json& after = draft.document.json["animations"];
    if (!edited["channels"].empty()) {
        after[clip] = std::move(edited);
        return false;
    }
    after.erase(clip);
    if (after.empty()) draft.document.json.erase("animations");
    return true;
}

} // namespace cadencora::stage::gltf
