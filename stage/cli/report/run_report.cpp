#include "stage/cli/report/run_report.h"

#include "stage/base/text.h"
#include "stage/cli/report/json.h"
#include "stage/cli/report/packed_texts.h"
#include "stage/scene/summary.h"

#include <array>
#include <map>
#include <sstream>

namespace cadencora::stage {

namespace {

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
        if (!line.empty()) text += (text.empty() ? "" : " / ") + escaped(line);
    return text;
}

Json stepJson(const StepOutcome& step) {
    Json messages = Json::array();
    for (const Message& message : step.messages)
        messages.push_back({{"kind", kindName(message.kind)}, {"lines", message.lines}});
    const ChangeReport& changes = step.changes;
    Json json = {{"press", step.press},
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
    if (step.drewRandomNumbers) json["random"] = true;
    if (!step.kept) json["kept"] = false;
    return json;
}

Json outcomeJson(const FileOutcome& outcome) {
    Json steps = Json::array(), warnings = Json::array(), problems = Json::array();
    for (const StepOutcome& step : outcome.steps)
        steps.push_back(stepJson(step));
    for (const CodedWarning& warning : outcome.warnings)
        warnings.push_back({{"code", warning.code}, {"text", warning.text}});
    for (const auto& [code, problem] : outcome.problems)
        problems.push_back({{"code", code},
                            {"what", problem.what},
                            {"where", problem.where},
                            {"detail", problem.detail}});
    Json json = Json::object();
    if (!outcome.clip.empty()) json["clip"] = outcome.clip;
    json["steps"] = std::move(steps);
    json["warnings"] = std::move(warnings);
    json["problems"] = std::move(problems);
    return json;
}

Json digestsJson(const std::vector<FileDigest>& files) {
    Json json = Json::array();
    for (const FileDigest& file : files)
        json.push_back({{"file", file.path.string()}, {"xxh3", file.digest}});
    return json;
}

Json lineJson(const FileOutcome& outcome, const ReportFacts& facts) {
    constexpr std::array<const char*, 3> statusNames{"done", "failed", "refused"};
    Json json = {{"input", outcome.input.string()}};
    json.update(outcomeJson(outcome));
    for (const StepOutcome& step : outcome.steps)
        for (const Message& message : step.messages)
            if (message.kind == MessageKind::error && step.kept)
                json["problems"].push_back({{"code", "message"},
                                            {"what", joined(message.lines)},
                                            {"where", step.press},
                                            {"detail", ""}});
    json["place"] = outcome.place;
    json["of"] = outcome.of;
    json["output"] = outcome.written.empty() ? Json(nullptr) : Json(outcome.written.string());
    json["status"] = statusNames.at(static_cast<std::size_t>(outcome.status));
    Json keys = {{"added", 0}, {"removed", 0}, {"changed", 0}};
    for (const StepOutcome& step : outcome.steps) {
        if (!step.kept) continue;
        keys["added"] = keys["added"].get<std::size_t>() + step.changes.keysAdded;
        keys["removed"] = keys["removed"].get<std::size_t>() + step.changes.keysRemoved;
        keys["changed"] = keys["changed"].get<std::size_t>() + step.changes.keysChanged;
    }
    json["changes"] = std::move(keys);
    json["work"] = facts.work;
    json["read"] = digestsJson(outcome.read);
    json["wrote"] = digestsJson(outcome.wrote);
    return json;
}

// "walk.bvh", or "robot.glb, \"Dance\"".
std::string nameOf(const FileOutcome& outcome) {
    return escaped(outcome.input.string()) +
           (outcome.clip.empty() ? "" : ", " + inQuotes(outcome.clip));
}

void printText(const FileOutcome& outcome, bool dryRun, std::ostream& out) {
    if (!outcome.summary.empty()) out << nameOf(outcome) << ": " << outcome.summary << "\n";
    for (const StepOutcome& step : outcome.steps) {
        out << escaped(step.press) << (step.kept ? "" : " (taken back)") << "\n";
        for (const Message& message : step.messages)
            out << "  " << kindName(message.kind) << ": " << joined(message.lines) << "\n";
        out << "  " << changeText(step.changes) << "\n";
        if (step.drewRandomNumbers)
            out << "  random numbers were drawn: files that begin in the same second may get the "
                   "same\n";
    }
    if (outcome.place + 1 < outcome.of && outcome.status == exitDone) return; // said at the last
    if (!outcome.written.empty()) {
        out << (outcome.wasThere ? "the same as what is there, not written again: " : "wrote ")
            << escaped(outcome.written.string()) << "\n";
    } else if (outcome.status == exitDone) {
        out << (dryRun ? "dry run: nothing written\n"
                       : "nothing written: no output was asked for (-o, --out-dir)\n");
    } else {
        out << (outcome.summary.empty() ? nameOf(outcome) + ": " : "") << "nothing written\n";
    }
}

void printErrors(const FileOutcome& outcome, bool quiet, std::ostream& out) {
    const std::string file = nameOf(outcome);
    for (const CodedWarning& warning : outcome.warnings) {
        if (quiet || warning.clips == 0) continue;
        out << "warning: " << file;
        if (warning.clips > 1) out << " and " << counted(warning.clips - 1, "more clip");
        out << ": " << escaped(warning.text) << "\n";
    }
    for (const StepOutcome& step : outcome.steps)
        for (const Message& message : step.messages)
            if (message.kind == MessageKind::error && step.kept)
                out << "error: " << file << ", " << inQuotes(step.press) << ": "
                    << joined(message.lines) << "\n";
    for (const auto& [code, problem] : outcome.problems) {
        const bool named =
            outcome.clip.empty() && problem.where.starts_with(outcome.input.string());
        out << "error: " << (named ? "" : file + ", ") << problem.text() << "\n";
    }
}

// "2,498".
std::string grouped(std::size_t number) {
    std::string text = std::to_string(number);
    for (std::size_t at = text.size(); at > 3; at -= 3)
        text.insert(at - 3, ",");
    return text;
}

} // namespace

namespace {

// What several clips are warned of is printed with the first of them.
void shareWarnings(std::vector<FileOutcome>& outcomes) {
    std::map<std::string, CodedWarning*> known;
    for (FileOutcome& outcome : outcomes)
        for (CodedWarning& warning : outcome.warnings) {
            const auto [first, isNew] = known.emplace(warning.text, &warning);
            if (isNew) continue;
            ++first->second->clips;
            warning.clips = 0;
        }
}

FileReport reportOf(const FileOutcome& outcome, const ReportFacts& facts) {
    std::ostringstream text, errors;
    printText(outcome, facts.dryRun, text);
    printErrors(outcome, facts.quiet, errors);
    return {outcome.input.string(),
            outcome.status,
            text.str(),
            errors.str(),
            lineOf(outcomeJson(outcome)),
            lineOf(lineJson(outcome, facts))};
}

} // namespace

std::vector<FileReport> reportsOf(std::vector<FileOutcome> outcomes, const ReportFacts& facts) {
    shareWarnings(outcomes);
    std::vector<FileReport> reports;
    for (const FileOutcome& outcome : outcomes)
        reports.push_back(reportOf(outcome, facts));
    return reports;
}

std::string packed(const std::vector<FileReport>& reports) {
    std::vector<std::string> texts;
    for (const FileReport& report : reports)
        for (const std::string& text : {report.file, std::to_string(report.status), report.text,
                                        report.errors, report.json, report.line})
            texts.push_back(text);
    return packedTexts(texts);
}

std::vector<FileReport> unpacked(std::string_view bytes) {
    const auto texts = unpackedTexts(bytes);
    std::vector<FileReport> reports;
    for (std::size_t i = 0; i + 6 <= texts.size(); i += 6)
        reports.push_back({texts[i], static_cast<ExitStatus>(std::stoi(texts[i + 1])), texts[i + 2],
                           texts[i + 3], texts[i + 4], texts[i + 5]});
    return reports;
}

void printJson(const std::vector<std::vector<FileReport>>& reports, bool isOneInput,
               std::ostream& out) {
    if (isOneInput && reports.size() == 1 && reports.front().size() == 1)
        return print(Json::parse(reports.front().front().json), out);
    Json files = Json::array();
    for (const auto& ofFile : reports)
        for (const FileReport& report : ofFile) {
            Json file = {{"file", report.file}};
            file.update(Json::parse(report.json));
            files.push_back(std::move(file));
        }
    print({{"files", std::move(files)}}, out);
}

std::string RunCounts::text() const {
    std::string line = grouped(done) + " done";
    if (before > 0) line += " (" + grouped(before) + " before)";
    line += ", " + grouped(failed) + " failed";
    if (failed > 0) line += ": " + failedNames.text();
    if (notBegun > 0) line += "; " + grouped(notBegun) + " not begun";
    return line;
}

} // namespace cadencora::stage
