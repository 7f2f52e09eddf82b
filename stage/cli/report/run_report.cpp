#include "stage/cli/report/run_report.h"

#include "stage/base/text.h"
#include "stage/cli/report/json.h"
#include "stage/cli/report/packed_texts.h"
#include "stage/scene/summary.h"

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
    Json steps = Json::array(), problems = Json::array();
    for (const StepOutcome& step : outcome.steps)
        steps.push_back(stepJson(step));
    for (const Problem& problem : outcome.problems)
        problems.push_back(
            {{"what", problem.what}, {"where", problem.where}, {"detail", problem.detail}});
    return {{"steps", std::move(steps)}, {"problems", std::move(problems)}};
}

void printText(const FileOutcome& outcome, bool dryRun, std::ostream& out) {
    if (!outcome.summary.empty())
        out << escaped(outcome.input.string()) << ": " << outcome.summary << "\n";
    for (const StepOutcome& step : outcome.steps) {
        out << escaped(step.press) << (step.kept ? "" : " (taken back)") << "\n";
        for (const Message& message : step.messages)
            out << "  " << kindName(message.kind) << ": " << joined(message.lines) << "\n";
        out << "  " << changeText(step.changes) << "\n";
        if (step.drewRandomNumbers)
            out << "  random numbers were drawn: files that begin in the same second may get the "
                   "same\n";
    }
    if (!outcome.written.empty()) {
        out << "wrote " << escaped(outcome.written.string()) << "\n";
    } else if (outcome.status == exitDone) {
        out << (dryRun ? "dry run: nothing written\n"
                       : "nothing written: no output was asked for (-o, --out-dir)\n");
    } else {
        out << (outcome.summary.empty() ? escaped(outcome.input.string()) + ": " : "")
            << "nothing written\n";
    }
}

void printErrors(const FileOutcome& outcome, std::ostream& out) {
    const std::string file = escaped(outcome.input.string());
    for (const std::string& warning : outcome.warnings)
        out << "warning: " << file << ": " << escaped(warning) << "\n";
    for (const StepOutcome& step : outcome.steps)
        for (const Message& message : step.messages)
            if (message.kind == MessageKind::error && step.kept)
                out << "error: " << file << ", " << inQuotes(step.press) << ": "
                    << joined(message.lines) << "\n";
    for (const Problem& problem : outcome.problems) {
        const bool named = problem.where.starts_with(outcome.input.string());
        out << "error: " << (named ? "" : file + ", ") << problem.text() << "\n";
    }
}

} // namespace

FileReport reportOf(const FileOutcome& outcome, bool dryRun) {
    std::ostringstream text, errors;
    printText(outcome, dryRun, text);
    printErrors(outcome, errors);
    return {outcome.input.string(), outcome.status, text.str(), errors.str(),
            lineOf(outcomeJson(outcome))};
}

std::string packed(const FileReport& report) {
    return packedTexts(
        {report.file, std::to_string(report.status), report.text, report.errors, report.json});
}

FileReport unpacked(std::string_view bytes) {
    const auto texts = unpackedTexts(bytes);
    return {texts.at(0), static_cast<ExitStatus>(std::stoi(texts.at(1))), texts.at(2), texts.at(3),
            texts.at(4)};
}

void printJson(const std::vector<std::optional<FileReport>>& reports, std::ostream& out) {
    if (reports.size() == 1 && reports.front())
        return print(Json::parse(reports.front()->json), out);
    Json files = Json::array();
    for (const auto& report : reports) {
        if (!report) continue;
        Json file = {{"file", report->file}};
        file.update(Json::parse(report->json));
        files.push_back(std::move(file));
    }
    print({{"files", std::move(files)}}, out);
}

} // namespace cadencora::stage
