#include "stage/cli/report/report.h"

#include "stage/base/text.h"
#include "stage/panels/actions.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <nlohmann/json.hpp>
#include <ostream>
#include <sstream>

namespace cadencora::stage {

namespace {

using Json = nlohmann::ordered_json;

std::string_view kindName(MessageKind kind) {
    switch (kind) {
    case MessageKind::error:
        return "error";
    case MessageKind::info:
        return "info";
    case MessageKind::question:
        return "question";
    }
    return "";
}

std::string joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines)
        if (!line.empty()) text += (text.empty() ? "" : " / ") + line;
    return text;
}

Json frameJson(const std::optional<double>& frame) {
    if (!frame) return nullptr;
    if (*frame == std::floor(*frame) && std::abs(*frame) < 9e15)
        return static_cast<std::int64_t>(*frame);
    return *frame;
}

Json stepJson(const StepOutcome& step) {
    Json messages = Json::array();
    for (const Message& message : step.messages)
        messages.push_back({{"kind", kindName(message.kind)}, {"lines", message.lines}});
    const ChangeReport& changes = step.changes;
    return {{"press", step.press},
            {"dialogs", step.dialogs},
            {"messages", std::move(messages)},
            {"changes",
             {{"items", changes.items},
              {"channels", changes.channels.size()},
              {"keysAdded", changes.keysAdded},
              {"keysRemoved", changes.keysRemoved},
              {"keysChanged", changes.keysChanged},
              {"firstFrame", frameJson(changes.firstFrame)},
              {"lastFrame", frameJson(changes.lastFrame)}}}};
}

Json outcomeJson(const FileOutcome& outcome) {
    Json steps = Json::array(), problems = Json::array();
    for (const StepOutcome& step : outcome.steps)
        steps.push_back(stepJson(step));
    for (const Problem& problem : outcome.problems)
        problems.push_back(
            {{"what", problem.what}, {"where", problem.where}, {"detail", problem.detail}});
    return {{"steps", std::move(steps)}, {"problems", std::move(problems)}};
}

// Names come from files and may hold any bytes: what is not UTF-8 is replaced.
void print(const Json& json, std::ostream& out) {
    out << json.dump(2, ' ', false, Json::error_handler_t::replace) << "\n";
}

// The channels of an item with keys, sub-groups included.
template <class Visit>
void visitKeyed(const Scene& scene, GroupId group, const Visit& visit) {
    for (const ChannelId id : scene.group(group).channels)
        if (const auto& keys = scene.envelope(scene.channel(id).envelope).keys; !keys.empty())
            visit(id, keys);
    for (const GroupId sub : scene.group(group).groups)
        visitKeyed(scene, sub, visit);
}

struct ItemKeys {
    std::size_t channels = 0, keys = 0;
    double first = 0, last = 0; // seconds
};

ItemKeys keysOf(const Scene& scene, ItemId item) {
    ItemKeys sum;
    visitKeyed(scene, scene.item(item).group, [&](ChannelId, const KeyStore& keys) {
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

void printText(const FileOutcome& outcome, bool dryRun, std::ostream& out) {
    if (!outcome.summary.empty()) out << outcome.input.string() << ": " << outcome.summary << "\n";
    for (const StepOutcome& step : outcome.steps) {
        out << step.press << "\n";
        for (const Message& message : step.messages)
            out << "  " << kindName(message.kind) << ": " << joined(message.lines) << "\n";
        out << "  " << changeText(step.changes) << "\n";
    }
    if (!outcome.written.empty()) {
        out << "wrote " << outcome.written.string() << "\n";
    } else if (outcome.status == exitDone) {
        out << (dryRun ? "dry run: nothing written\n"
                       : "nothing written: no output was asked for (-o, --out-dir)\n");
    } else {
        out << (outcome.summary.empty() ? outcome.input.string() + ": " : "")
            << "nothing written\n";
    }
}

void printErrors(const FileOutcome& outcome, std::ostream& out) {
    const std::string file = outcome.input.string();
    for (const std::string& warning : outcome.warnings)
        out << "warning: " << file << ": " << warning << "\n";
    for (const StepOutcome& step : outcome.steps)
        for (const Message& message : step.messages)
            if (message.kind == MessageKind::error)
                out << "error: " << file << ", " << inQuotes(step.press) << ": "
                    << joined(message.lines) << "\n";
    for (const Problem& problem : outcome.problems) {
        const bool named = problem.where.starts_with(file);
        out << "error: " << (named ? "" : file + ", ") << problem.text() << "\n";
    }
}

constexpr std::size_t lengthBytes = sizeof(std::uint64_t);

void pack(std::string& bytes, std::string_view text) {
    const std::uint64_t length = text.size();
    char head[lengthBytes];
    std::memcpy(head, &length, lengthBytes);
    bytes.append(head, lengthBytes).append(text);
}

std::string unpack(std::string_view& bytes) {
    std::uint64_t length = 0;
    std::memcpy(&length, bytes.data(), lengthBytes);
    std::string text(bytes.substr(lengthBytes, length));
    bytes.remove_prefix(lengthBytes + length);
    return text;
}

} // namespace

FileReport reportOf(const FileOutcome& outcome, bool dryRun) {
    std::ostringstream text, errors;
    printText(outcome, dryRun, text);
    printErrors(outcome, errors);
    return {outcome.input.string(), outcome.status, text.str(), errors.str(),
            outcomeJson(outcome).dump(-1, ' ', false, Json::error_handler_t::replace)};
}

std::string packed(const FileReport& report) {
    std::string bytes;
    for (const std::string* text : {&report.file, &report.text, &report.errors, &report.json})
        pack(bytes, *text);
    bytes += static_cast<char>(report.status);
    return bytes;
}

FileReport unpacked(std::string_view bytes) {
    FileReport report;
    for (std::string* text : {&report.file, &report.text, &report.errors, &report.json})
        *text = unpack(bytes);
    report.status = static_cast<ExitStatus>(bytes.front());
    return report;
}

void printJson(const std::vector<std::optional<FileReport>>& reports, std::ostream& out) {
    if (reports.size() == 1) return print(Json::parse(reports.front()->json), out);
    Json files = Json::array();
    for (const auto& report : reports) {
        Json file = {{"file", report->file}};
        file.update(Json::parse(report->json));
        files.push_back(std::move(file));
    }
    print({{"files", std::move(files)}}, out);
}

void printInfo(const Loaded& loaded, std::ostream& out) {
    const Scene& scene = loaded.scene;
    out << scene.name << ": " << summary(scene) << "\n";
    if (!loaded.clips.empty()) {
        out << "  clips:";
        for (std::size_t i = 0; i < loaded.clips.size(); ++i)
            out << (i == 0 ? " " : ", ") << inQuotes(loaded.clips[i]);
        out << "; open is " << inQuotes(loaded.clip) << "\n";
    }
    for (const std::string& note : loaded.notes)
        out << "  " << note << "\n";
    for (const ItemType type : itemTypes)
        if (const std::size_t count = scene.itemCount(type))
            out << "  " << counted(count, itemTypeName(type)) << "\n";
    for (std::size_t i = 0; i < scene.itemCount(); ++i) {
        const ItemId id = Scene::itemAt(i);
        const ItemKeys keys = keysOf(scene, id);
        out << std::string(2 + 2 * std::min<std::size_t>(depthOf(scene, id), 40), ' ')
            << scene.item(id).name << " (" << itemTypeName(scene.item(id).type) << ")";
        if (keys.channels > 0)
            out << ": " << counted(keys.keys, "key") << " on " << counted(keys.channels, "channel")
                << ", frames " << frameText(scene.rate.frameOf(keys.first)) << " to "
                << frameText(scene.rate.frameOf(keys.last));
        out << "\n";
    }
}

void printInfoJson(const Loaded& loaded, std::ostream& out) {
    const Scene& scene = loaded.scene;
    Json items = Json::array();
    for (std::size_t i = 0; i < scene.itemCount(); ++i) {
        const ItemId id = Scene::itemAt(i);
        const Item& item = scene.item(id);
        Json channels = Json::array();
        visitKeyed(scene, item.group, [&](ChannelId channel, const KeyStore& keys) {
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
           {"clip", loaded.clips.empty() ? Json(nullptr) : Json(loaded.clip)},
           {"notes", loaded.notes},
           {"itemCount", scene.itemCount()},
           {"keyCount", scene.keyCount()},
           {"items", std::move(items)}},
          out);
}

namespace {

std::string describe(const ControlModel& control) {
    std::string text(typeName(control.type));
    if (control.type == ControlType::slider)
        text += " " + std::to_string(control.minimum) + " to " + std::to_string(control.maximum);
    for (std::size_t i = 0; i < control.choices.size(); ++i)
        text += (i == 0 ? ": " : ", ") + control.choices[i];
    return text;
}

// The value a control opens with, where it has one that means something.
std::string initialValue(const ControlModel& control) {
    if (control.type == ControlType::listBox || control.type == ControlType::item) return {};
    return valueText(control, Scene());
}

} // namespace

void printPanels(const PluginOffer& offer, std::ostream& out) {
    out << offer.title << "\n";
    std::string tab;
    for (const ButtonOffer& button : offer.buttons) {
        if (button.tab != tab) out << "[" << (tab = button.tab) << "]\n";
        out << "  " << button.label << (button.connected ? "" : " (no command yet)") << "\n";
        for (const DialogCopy& dialog : button.dialogs) {
            out << "    " << inQuotes(dialog.panel.title) << "\n";
            const auto names = labels(dialog.panel);
            std::size_t next = 0;
            for (const ControlModel& control : dialog.controls) {
                if (shownLabel(control).empty()) continue;
                out << "      " << names[next++] << " (" << describe(control) << ")";
                if (const std::string value = initialValue(control); !value.empty())
                    out << " = " << value;
                out << "\n";
            }
        }
    }
}

void printPanelsJson(const PluginOffer& offer, std::ostream& out) {
    Json buttons = Json::array();
    for (const ButtonOffer& button : offer.buttons) {
        Json dialogs = Json::array();
        for (const DialogCopy& dialog : button.dialogs) {
            Json controls = Json::array();
            const auto names = labels(dialog.panel);
            std::size_t next = 0;
            for (const ControlModel& control : dialog.controls) {
                if (shownLabel(control).empty()) continue;
                Json entry = {{"label", names[next++]}, {"type", typeName(control.type)}};
                if (const std::string value = initialValue(control); !value.empty())
                    entry["value"] = value;
                if (control.type == ControlType::slider)
                    entry["range"] = {control.minimum, control.maximum};
                if (!control.choices.empty()) entry["choices"] = control.choices;
                if (!control.pattern.empty()) entry["pattern"] = control.pattern;
                entry["rect"] = {control.rect.x, control.rect.y, control.rect.width,
                                 control.rect.height};
                controls.push_back(std::move(entry));
            }
            dialogs.push_back({{"title", dialog.panel.title}, {"controls", std::move(controls)}});
        }
        buttons.push_back({{"tab", button.tab},
                           {"label", button.label},
                           {"connected", button.connected},
                           {"dialogs", std::move(dialogs)}});
    }
    print({{"title", offer.title}, {"buttons", std::move(buttons)}}, out);
}

} // namespace cadencora::stage
