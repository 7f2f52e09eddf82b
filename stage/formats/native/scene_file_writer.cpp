// Writes scene files.

#include "stage/formats/native/scene_file.h"

#include "stage/base/file.h"
#include "stage/base/text.h"
#include "stage/formats/text/curve_text.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

namespace cadencora::stage {

namespace {

// A name as JSON: a text, or an array of bytes where it is not UTF-8.
std::string nameText(const std::string& name) {
    try {
        return nlohmann::json(name).dump();
    } catch (const nlohmann::json::type_error&) {
        return nlohmann::json(std::vector<std::uint8_t>(name.begin(), name.end())).dump();
    }
}

// The frame whose own time is the time, to the bit.
std::optional<std::int64_t> exactFrame(const FrameRate& rate, double time) {
    const double frame = std::round(rate.frameOf(time));
    if (!(std::abs(frame) < 1e15)) return std::nullopt;
    const auto whole = static_cast<std::int64_t>(frame);
    return identical(rate.timeOf(whole), time) ? std::optional(whole) : std::nullopt;
}

bool allOnFrames(const FrameRate& rate, const KeyStore& keys) {
    for (auto key = keys.begin(); key; key.advance())
        if (!exactFrame(rate, key.time())) return false;
    return true;
}

bool allFinite(const Envelope& envelope) {
    bool finite = std::isfinite(envelope.rest);
    for (auto key = envelope.keys.begin(); key && finite; key.advance()) {
        finite = std::isfinite(key.time()) && std::isfinite(key.value());
        for (std::size_t p = 0; p < parameterCount && finite; ++p)
            finite = std::isfinite(key.parameter(static_cast<Parameter>(p)));
    }
    return finite;
}

bool isDefault(const Envelope& envelope, double rest) {
    return envelope.keys.empty() && identical(envelope.rest, rest) &&
           envelope.before == Behaviour::constant && envelope.after == Behaviour::constant;
}

class SceneFileWriter {
public:
    using Out = std::function<void(std::string_view)>; // takes piece after piece

    SceneFileWriter(const Scene& scene, Out out) : scene_(scene), out_(std::move(out)) {}

    // The item or channel with a number that is not finite; empty where all are finite.
    const std::string& notFinite() const { return notFinite_; }

    bool write(const WriteOptions& options); // false: it was stopped

private:
    void item(const Item& item);
    void group(const ChannelGroup& group);
    void channels(const ChannelGroup& group);
    void channel(ChannelId id, bool isFirst);
    void keys(const KeyStore& keys);
    bool isWritten(const ChannelGroup& group, std::size_t index) const;

    void number(double value) {
        if (!std::isfinite(value)) notFinite_ = place_;
        appendNumber(text_, value);
    }
    template <class Count>
    void whole(Count value) {
        text_ += std::to_string(value);
    }
    void vector(const Vec3& numbers) {
        for (std::size_t n = 0; n < 3; ++n) {
            text_ += n == 0 ? "[" : ", ";
            number(numbers[n]);
        }
        text_ += ']';
    }
    void index(ItemId id) { whole(static_cast<std::uint32_t>(id) - 1); }
    void flush() {
        out_(text_);
        text_.clear();
    }

    const Scene& scene_;
    Out out_;
    std::string text_;
    std::string place_ = "the scene"; // what is being written
    std::string notFinite_;
};

bool SceneFileWriter::write(const WriteOptions& options) {
    text_ = "{\n\"cadencora\": \"scene\",\n\"version\": ";
    whole(sceneFileVersion);
    text_ += ",\n\"name\": " + nameText(scene_.name) + ",\n\"rate\": \"" + scene_.rate.text() +
             "\",\n\"lastFrame\": ";
    whole(scene_.lastFrame);
    text_ += ",\n\"preview\": [";
    whole(scene_.previewFirst);
    text_ += ", ";
    whole(scene_.previewLast);
    text_ += "],\n\"currentTime\": ";
    number(scene_.currentTime);
    text_ += ",\n\"selection\": [";
    for (const ItemId id : scene_.selection) {
        if (!text_.ends_with('[')) text_ += ", ";
        index(id);
    }
    text_ += "],\n\"items\": [";
    for (std::size_t i = 0; i < scene_.itemCount(); ++i) {
        text_ += i == 0 ? "\n" : ",\n";
        item(scene_.item(Scene::itemAt(i)));
        flush();
        if (!options.goesOn(static_cast<double>(i) / static_cast<double>(scene_.itemCount())))
            return false;
    }
    text_ += "\n]\n}\n";
    flush();
    return true;
}

void SceneFileWriter::item(const Item& item) {
    place_ = std::string(itemTypeName(item.type)) + ' ' + inQuotes(item.name);
    text_ += "{\"type\": \"" + std::string(itemTypeName(item.type)) +
             "\", \"name\": " + nameText(item.writtenName());
    const auto reference = [&](std::string_view name, ItemId id) {
        if (id == ItemId::none) return;
        text_.append(", \"").append(name) += "\": ";
        index(id);
    };
    reference("parent", item.parent);
    reference("owner", item.owner);
    const auto vectorMember = [&](std::string_view name, const Vec3& numbers) {
        if (numbers == Vec3{} &&
            std::ranges::none_of(numbers, [](double n) { return std::signbit(n); }))
            return;
        text_.append(",\n \"").append(name) += "\": ";
        vector(numbers);
    };
    vectorMember("pivot", item.pivot);
    vectorMember("secondRotation", item.secondRotation);
    if (item.joint != JointLayout{}) {
        text_ += ",\n \"joint\": {\"channels\": [";
        for (const MotionChannel c : item.joint.channels)
            text_.append(text_.ends_with('[') ? "\"" : ", \"").append(motionChannelNames[c]) += '"';
        text_ += "], \"endSites\": [";
        for (const Vec3& endSite : item.joint.endSites) {
            if (!text_.ends_with('[')) text_ += ", ";
            vector(endSite);
        }
        text_ += "]}";
    }
    group(scene_.group(item.group));
    text_ += '}';
}

// The lists of an item or a group, each after a comma.
void SceneFileWriter::group(const ChannelGroup& group) {
    channels(group);
    if (group.groups.empty()) return;
    text_ += ",\n \"groups\": [";
    for (std::size_t i = 0; i < group.groups.size(); ++i) {
        const ChannelGroup& inner = scene_.group(group.groups[i]);
        text_ += (i == 0 ? "\n {\"name\": " : ",\n {\"name\": ") + nameText(inner.name);
        this->group(inner);
        text_ += '}';
    }
    text_ += ']';
}

// A motion channel as it was born is left out, unless a further channel took its name.
bool SceneFileWriter::isWritten(const ChannelGroup& group, std::size_t place) const {
    if (group.parent != GroupId::none || place >= motionChannelCount) return true;
    const Channel& channel = scene_.channel(group.channels[place]);
    if (!isDefault(scene_.envelope(channel.envelope), place >= scaleX ? 1.0 : 0.0)) return true;
    return std::any_of(group.channels.begin() + motionChannelCount, group.channels.end(),
                       [&](ChannelId id) { return scene_.channel(id).name == channel.name; });
}

void SceneFileWriter::channels(const ChannelGroup& group) {
    bool any = false;
    for (std::size_t i = 0; i < group.channels.size(); ++i) {
        if (!isWritten(group, i)) continue;
        channel(group.channels[i], !any);
        any = true;
    }
    if (any) text_ += ']';
}

void SceneFileWriter::channel(ChannelId id, bool isFirst) {
    const Channel& channel = scene_.channel(id);
    const Envelope& envelope = scene_.envelope(channel.envelope);
    if (notFinite_.empty() && !allFinite(envelope)) notFinite_ = scene_.channelPath(id);
    text_ += isFirst ? ",\n \"channels\": [\n" : ",\n";
    text_ += "  {\"name\": " + nameText(channel.name) + ", \"rest\": ";
    appendNumber(text_, envelope.rest);
    const auto behaviour = [&](std::string_view name, Behaviour value) {
        if (value == Behaviour::constant) return;
        text_.append(", \"").append(name).append("\": \"").append(behaviourName(value)) += '"';
    };
    behaviour("before", envelope.before);
    behaviour("after", envelope.after);
    if (!envelope.keys.empty()) keys(envelope.keys);
    text_ += '}';
    flush();
}

void SceneFileWriter::keys(const KeyStore& keys) {
    constexpr std::size_t lineLength = 100;
    const bool onFrames = allOnFrames(scene_.rate, keys);
    text_ += onFrames ? ", \"frames\": [\n   " : ", \"keys\": [\n   ";
    std::size_t lineStart = text_.size() - 3;
    for (auto key = keys.begin(); key;) {
        text_ += '[';
        if (onFrames) {
            whole(*exactFrame(scene_.rate, key.time()));
        } else {
            appendNumber(text_, key.time());
        }
        appendKey(text_, key, ',');
        text_ += ']';
        key.advance();
        if (!key) break;
        text_ += ", ";
        if (text_.size() - lineStart > lineLength) {
            text_.back() = '\n';
            lineStart = text_.size();
            text_ += "   ";
        }
    }
    text_ += ']';
}

Problem notFinite(const SceneFileWriter& writer, std::string where) {
    return {"cannot write the scene", std::move(where),
            "a number of " + writer.notFinite() + " is not finite"};
}

} // namespace

Result<std::string> sceneText(const Scene& scene) {
    std::string text;
    SceneFileWriter writer(scene, [&](std::string_view piece) { text += piece; });
    writer.write({});
    if (!writer.notFinite().empty()) return notFinite(writer, scene.name);
    return text;
}

Result<Written> writeSceneFile(const Scene& scene, const std::filesystem::path& path,
                               const WriteOptions& options) {
    auto file = AtomicFile::create(path);
    if (!file) return file.problem();
    SceneFileWriter writer(scene, [&](std::string_view piece) { file->write(piece); });
    if (!writer.write(options)) return writingStopped(path);
    if (!writer.notFinite().empty()) return notFinite(writer, path.string());
    if (auto written = file->commit(); !written) return written.problem();
    return Written{};
}

} // namespace cadencora::stage
