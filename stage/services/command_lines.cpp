// The command lines that a plug-in issues. A line that is unknown or malformed is refused whole and
// reported; nothing is guessed.

#include "stage/base/text.h"
#include "stage/formats/native/motion_file.h"
#include "stage/scene/keys/settle.h"
#include "stage/scene/transform.h"
#include "stage/services/file_paths.h"
#include "stage/services/gate.h"
#include "stage/services/tables.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <numbers>

namespace cadencora::stage {

namespace {

Problem refused(std::string_view line, std::string why) {
    return {"command line refused: " + std::move(why), inQuotes(line), {}};
}

// A command gets the rest of the line, after its name and one blank. It returns what is wrong with
// it; an empty text means that it is done.
using Command = std::string (*)(Host& host, std::string_view rest);

std::string selectItem(Host& host, std::string_view rest) {
    std::uintptr_t word = 0;
    const char* end = rest.data() + rest.size();
    const auto [stop, error] = std::from_chars(rest.data(), end, word, 16);
    const ItemId item =
        error == std::errc{} && stop == end ? decode<ItemId>(host.scene(), word) : ItemId::none;
    if (item == ItemId::none) return "expected an item's handle in hexadecimal";
    host.select({item});
    return {};
}

// Every command that needs objects finds them by the selection, so there is nothing to switch.
std::string editObjects(Host&, std::string_view rest) {
    return rest.empty() ? std::string() : "it takes no argument";
}

std::string addEnvelope(Host& host, std::string_view rest) {
    if (rest != dissolveChannelName) return "expected \"Dissolve\"";
    if (host.scene().selection.empty()) return "nothing is selected";
    for (const ItemId id : host.scene().selection)
        if (host.scene().item(id).type != ItemType::object)
            return inQuotes(host.scene().item(id).name) + " is not an object";
    for (const ItemId id : host.scene().selection) {
        const GroupId group = host.scene().item(id).group;
        if (host.scene().findChannel(group, dissolveChannelName) == ChannelId::none)
            host.edit().addChannel(group, std::string(dissolveChannelName), 0);
    }
    return {};
}

std::optional<Vec3> threeNumbers(std::string_view text) {
    Vec3 numbers{};
    std::size_t count = 0;
    while (!text.empty()) {
        const auto blank = text.find(' ');
        const auto number = parseNumber(text.substr(0, blank));
        if (!number || count == numbers.size()) return std::nullopt;
        numbers[count++] = *number;
        text = blank == std::string_view::npos ? std::string_view() : text.substr(blank + 1);
    }
    return count == numbers.size() ? std::optional(numbers) : std::nullopt;
}

// Typed values are keyed at the current time, as a host with automatic keys does.
template <MotionChannel first>
std::string keyMotion(Host& host, std::string_view rest) {
    const auto values = threeNumbers(rest);
    if (!values) return "expected three numbers";
    if (host.scene().selection.empty()) return "nothing is selected";
    const double unit = first == heading ? std::numbers::pi / 180 : 1; // rotations in degrees
    for (const ItemId item : host.scene().selection) {
        for (std::size_t i = 0; i < 3; ++i) {
            const ChannelId channel = host.scene().item(item).motion[first + i];
            Envelope& envelope = host.edit().envelope(host.scene().channel(channel).envelope);
            envelope.placeKey(host.scene().currentTime, (*values)[i] * unit);
        }
    }
    return {};
}

// A bare file name is in the motions directory, else in a temporary one that the host removes.
Result<std::filesystem::path> motionPath(Host& host, std::string_view text) {
    const std::filesystem::path path(text);
    if (path.has_parent_path()) return path;
    if (const auto& motions = host.options().motionsDirectory; !motions.empty())
        return motions / escapedFileName(text);
    if (!host.options().writeFiles) return std::filesystem::path(text);
    if (!host.files.motions) {
        auto folder = TemporaryDirectory::create();
        if (!folder) return folder.problem();
        host.files.motions = std::move(folder.value());
    }
    return host.files.motions->path() / escapedFileName(text);
}

std::string saveMotion(Host& host, std::string_view rest) {
    if (rest.empty()) return "expected a file name";
    if (host.scene().selection.empty()) return "nothing is selected";
    const auto path = motionPath(host, rest);
    if (!path) return path.problem().text();
    std::string text = itemMotionText(host.scene(), host.scene().selection.front());
    const auto written =
        host.options().writeFiles ? writeFile(path.value(), text) : checkWritable(path.value());
    if (!written) return written.problem().text();
    if (host.options().writeFiles && path.value() != host.files.savedMotionPath)
        host.files.written.push_back(path.value());
    host.files.savedMotionPath = path.value();
    host.files.savedMotion = std::move(text);
    return {};
}

// The channel of an item that a motion file means: its groups from the item down, then its name.
ChannelId findTarget(const Scene& scene, ItemId item, const ChannelMotion& motion) {
    GroupId group = scene.item(item).group;
    for (const std::string& name : motion.groups) {
        const auto& subs = scene.group(group).groups;
        const auto found =
            std::ranges::find_if(subs, [&](GroupId sub) { return scene.group(sub).name == name; });
        if (found == subs.end()) return ChannelId::none;
        group = *found;
    }
    return scene.findChannel(group, motion.channel);
}

// Channels of the file that the item does not have are passed over. What a channel is while it has
// no keys belongs to the item, a bone's length for one, and stays.
void applyMotion(Host& host, ItemId item, const ItemMotion& motion) {
    for (const ChannelMotion& channel : motion.channels) {
        const ChannelId target = findTarget(host.scene(), item, channel);
        if (target == ChannelId::none) continue;
        Envelope& envelope = host.edit().envelope(host.scene().channel(target).envelope);
        const double rest = envelope.rest;
        assign(envelope, channel.envelope);
        settleOnFrames(envelope.keys, host.scene().rate);
        envelope.rest = rest;
    }
}

std::string loadMotion(Host& host, std::string_view rest) {
    if (rest.empty()) return "expected a file name";
    if (host.scene().selection.empty()) return "nothing is selected";
    const auto path = motionPath(host, rest);
    if (!path) return path.problem().text();
    const auto text = path.value() == host.files.savedMotionPath
                          ? Result<std::string>(host.files.savedMotion)
                          : readFile(path.value());
    if (!text) return text.problem().text();
    const auto motion = parseItemMotion(text.value(), path.value().string());
    if (!motion) return motion.problem().text();
    for (const ItemId item : host.scene().selection)
        applyMotion(host, item, motion.value());
    return {};
}

struct CommandRow {
    std::string_view name;
    Command run;
};

constexpr std::array commands{
    CommandRow{"SelectItem", &selectItem},       CommandRow{"EditObjects", &editObjects},
    CommandRow{"AddEnvelope", &addEnvelope},     CommandRow{"Position", &keyMotion<positionX>},
    CommandRow{"Rotation", &keyMotion<heading>}, CommandRow{"Scale", &keyMotion<scaleX>},
    CommandRow{"SaveMotion", &saveMotion},       CommandRow{"LoadMotion", &loadMotion},
};

int evaluate(Host& host, int, std::string_view line) {
    const auto result = host.command(line);
    if (!result) host.report(result.problem());
    host.refreshRecords();
    return result.ok() ? 1 : 0;
}

} // namespace

Result<> Host::command(std::string_view line) {
    const auto blank = line.find(' ');
    const auto name = line.substr(0, blank);
    const auto rest = blank == std::string_view::npos ? std::string_view() : line.substr(blank + 1);
    for (const CommandRow& row : commands) {
        if (row.name != name) continue;
        const std::string problem = row.run(*this, rest);
        if (problem.empty()) return done();
        return refused(line, problem);
    }
    return refused(line, "unknown command");
}

host::LayoutGeneric& layoutGenericRecord() {
    static host::LayoutGeneric record{
        .word0 = nullptr,
        .word1 = nullptr,
        .word2 = nullptr,
        .word3 = nullptr,
        .word4 = nullptr,
        .evaluate = gate<"LayoutGeneric", "evaluate", &evaluate>,
    };
    return record;
}

} // namespace cadencora::stage
