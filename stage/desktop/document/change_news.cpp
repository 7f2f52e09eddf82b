// What a command has done, or why it has done nothing, for the status line.

#include "stage/desktop/document/document.h"

#include "stage/base/text.h"

namespace cadencora::stage {

// The news name the channels, as far as a line holds them.
void Document::showChange(const ChangeReport& report) {
    NameList names(4);
    changedItems_.clear();
    std::vector<bool> known(scene().itemCount());
    const auto take = [&](ChannelId channel) {
        names.add(scene().channelPath(channel));
        const ItemId item = scene().group(scene().channel(channel).group).item;
        if (!known[Scene::positionOf(item)]) changedItems_.push_back(item);
        known[Scene::positionOf(item)] = true;
    };
    for (const ChannelChange& change : report.channels)
        take(change.channel);
    for (const ChannelId channel : report.channelsAdded)
        take(channel);
    changedRange_.reset();
    if (report.firstFrame && report.lastFrame)
        changedRange_ = FrameRange{*report.firstFrame, *report.lastFrame};
    if (!names.text().empty()) news_ += ": " + names.text();
}

void Document::forgetChange() {
    changedRange_.reset();
    changedItems_.clear();
}

// What can keep a command from changing something, as far as it can be known here; what may be the
// reason stands in brackets.
std::string Document::whyNothing() const {
    if (refusals_ > 0) return ": cancelled";
    if (scene().itemCount() == 0) return ": the scene is empty";
    if (scene().keyCount() == 0) return ": the scene has no keys";
    if (scene().selection.empty()) return " (no item is selected)";
    const auto hasKeys = [&](ItemId item) {
        return visitChannels(scene(), scene().item(item).group, [&](ChannelId channel) {
            return !scene().envelope(scene().channel(channel).envelope).keys.empty();
        });
    };
    return std::ranges::none_of(scene().selection, hasKeys) ? " (the selected items have no keys)"
                                                            : "";
}

} // namespace cadencora::stage
