#include "stage/scene/summary.h"

#include "stage/base/text.h"

#include <cmath>

namespace cadencora::stage {

std::string counted(std::size_t count, std::string_view noun) {
    return std::to_string(count) + " " + std::string(noun) + (count == 1 ? "" : "s");
}

std::string summary(const Scene& scene) {
    return counted(scene.itemCount(), "item") + ", " + counted(scene.keyCount(), "key") +
           ", frames 0 to " + std::to_string(scene.lastFrame) + " at " + scene.rate.text() +
           " per second";
}

std::string changeText(const ChangeReport& changes) {
    if (changes.empty()) return "nothing changed";
    std::string text = "changed " + counted(changes.channels.size(), "channel") + " of " +
                       counted(changes.items, "item") + ": " + counted(changes.keysAdded, "key") +
                       " added, " + std::to_string(changes.keysRemoved) + " removed, " +
                       std::to_string(changes.keysChanged) + " changed";
    if (changes.firstFrame)
        text +=
            ", frames " + frameText(*changes.firstFrame) + " to " + frameText(*changes.lastFrame);
    if (!changes.channelsAdded.empty())
        text += ", " + counted(changes.channelsAdded.size(), "channel") + " added";
    if (!changes.channelsRemoved.empty())
        text += ", " + counted(changes.channelsRemoved.size(), "channel") + " removed";
    return text;
}

std::string frameText(double frame) {
    return shortest(std::round(frame * 1000) / 1000);
}

} // namespace cadencora::stage
