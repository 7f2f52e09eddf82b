#include "stage/plot/find_channels.h"

#include "stage/base/text.h"

#include <algorithm>

namespace cadencora::stage {

namespace {

// Comparing a wrong name with half a million others would take seconds.
constexpr std::size_t mostCompared = 5000;

// The names of the item that the path begins with, if there is one; else those of all items.
std::string channelsLike(const Scene& scene, std::string_view path) {
    std::vector<std::string> names;
    const auto collect = [&](ItemId item) {
        visitChannels(scene, scene.item(item).group, [&](ChannelId id) {
            names.push_back(scene.channelPath(id));
            return names.size() >= mostCompared;
        });
    };
    const ItemId own = scene.findItem(path.substr(0, path.find('/')));
    if (own != ItemId::none) {
        collect(own);
    } else {
        for (std::size_t i = 0; i < scene.itemCount() && names.size() < mostCompared; ++i)
            collect(Scene::itemAt(i));
    }
    return alternatives(path, std::move(names));
}

} // namespace

ChannelId channelAt(const Scene& scene, std::string_view path) {
    ChannelId found = ChannelId::none;
    for (std::size_t i = 0; i < scene.itemCount() && found == ChannelId::none; ++i) {
        const Item& item = scene.item(Scene::itemAt(i));
        if (!path.starts_with(item.name)) continue;
        visitChannels(scene, item.group, [&](ChannelId id) {
            if (!path.ends_with(scene.channel(id).name) || scene.channelPath(id) != path)
                return false;
            found = id;
            return true;
        });
    }
    return found;
}

Result<std::vector<ChannelId>> channelsAt(const Scene& scene,
                                          const std::vector<std::string>& paths) {
    std::vector<ChannelId> channels;
    for (const std::string& path : paths) {
        const ChannelId id = channelAt(scene, path);
        if (id == ChannelId::none)
            return Problem{"there is no channel " + inQuotes(path), scene.name,
                           channelsLike(scene, path)};
        if (std::ranges::find(channels, id) == channels.end()) channels.push_back(id);
    }
    return channels;
}

} // namespace cadencora::stage
