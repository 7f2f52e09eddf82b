#include "stage/cli/report/info_report.h"

#include "stage/base/text.h"
#include "stage/cli/report/json.h"
#include "stage/scene/summary.h"

#include <algorithm>
#include <ostream>

namespace cadencora::stage {

namespace {

// The channels of an item that have keys, as visit(ChannelId, const KeyStore&).
template <class Visit>
void visitKeyed(const Scene& scene, ItemId item, const Visit& visit) {
    visitChannels(scene, scene.item(item).group, [&](ChannelId id) {
        if (const auto& keys = scene.envelope(scene.channel(id).envelope).keys; !keys.empty())
            visit(id, keys);
    });
}

struct ItemKeys {
    std::size_t channels = 0, keys = 0;
    double first = 0, last = 0; // seconds
};

ItemKeys keysOf(const Scene& scene, ItemId item) {
    ItemKeys sum;
    visitKeyed(scene, item, [&](ChannelId, const KeyStore& keys) {
        const double first = keys.begin().time(), last = keys.last().time();
        sum.first = sum.channels == 0 ? first : std::min(sum.first, first);
        sum.last = sum.channels == 0 ? last : std::max(sum.last, last);
        ++sum.channels;
        sum.keys += keys.size();
    });
    return sum;
}

std::size_t depthOf(const Scene& scene, ItemId item) {
    std::size_t depth = 0;
    for (ItemId p = scene.item(item).parent; p != ItemId::none; p = scene.item(p).parent)
        ++depth;
    return depth;
}

} // namespace

void printInfo(const Loaded& loaded, const std::vector<ClipFacts>& clips, std::ostream& out) {
    const Scene& scene = loaded.scene;
    out << escaped(scene.name) << ": " << summary(scene) << "\n";
    if (!clips.empty())
        out << "  " << counted(clips.size(), "clip") << ", open is " << inQuotes(loaded.clip)
            << "\n";
    for (const ClipFacts& clip : clips)
        out << "    " << inQuotes(clip.name) << ": frames 0 to " << clip.lastFrame << " at "
            << clip.rate << " per second, " << counted(clip.keys, "key") << "\n";
    for (const std::string& note : loaded.notes)
        out << "  " << escaped(note) << "\n";
    for (const ItemType type : itemTypes)
        if (const std::size_t count = scene.itemCount(type))
            out << "  " << counted(count, itemTypeName(type)) << "\n";
    for (std::size_t i = 0; i < scene.itemCount(); ++i) {
        const ItemId id = Scene::itemAt(i);
        const ItemKeys keys = keysOf(scene, id);
        out << std::string(2 + 2 * std::min<std::size_t>(depthOf(scene, id), 40), ' ')
            << escaped(scene.item(id).name) << " (" << itemTypeName(scene.item(id).type) << ")";
        if (keys.channels > 0)
            out << ": " << counted(keys.keys, "key") << " on " << counted(keys.channels, "channel")
                << ", frames " << frameText(scene.rate.frameOf(keys.first)) << " to "
                << frameText(scene.rate.frameOf(keys.last));
        out << "\n";
    }
}

void printInfoJson(const Loaded& loaded, const std::vector<ClipFacts>& clips, std::ostream& out) {
    const Scene& scene = loaded.scene;
    Json clipFacts = Json::array();
    for (const ClipFacts& clip : clips)
        clipFacts.push_back({{"name", clip.name},
                             {"lastFrame", clip.lastFrame},
                             {"rate", clip.rate},
                             {"keyCount", clip.keys}});
    Json items = Json::array();
    for (std::size_t i = 0; i < scene.itemCount(); ++i) {
        const ItemId id = Scene::itemAt(i);
        const Item& item = scene.item(id);
        Json channels = Json::array();
        visitKeyed(scene, id, [&](ChannelId channel, const KeyStore& keys) {
            channels.push_back({{"name", scene.channelPath(channel)},
                                {"keys", keys.size()},
                                {"firstFrame", frameJson(scene.rate.frameOf(keys.begin().time()))},
                                {"lastFrame", frameJson(scene.rate.frameOf(keys.last().time()))}});
        });
        Json entry = {{"name", item.name}, {"type", itemTypeName(item.type)}};
        if (item.parent != ItemId::none) entry["parent"] = scene.item(item.parent).name;
        entry["channels"] = std::move(channels);
        items.push_back(std::move(entry));
    }
    print({{"name", scene.name},
           {"framesPerSecond", scene.rate.perSecond()},
           {"rate", scene.rate.text()},
           {"lastFrame", scene.lastFrame},
           {"previewFirstFrame", scene.previewFirst},
           {"previewLastFrame", scene.previewLast},
           {"clips", loaded.clips},
           {"clipFacts", std::move(clipFacts)},
           {"clip", loaded.clips.empty() ? Json(nullptr) : Json(loaded.clip)},
           {"notes", loaded.notes},
           {"itemCount", scene.itemCount()},
           {"keyCount", scene.keyCount()},
           {"items", std::move(items)}},
          out);
}

} // namespace cadencora::stage
