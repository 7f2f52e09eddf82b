// What `run` prints of a file: text for people, or JSON for programs.
#pragma once

#include "stage/cli/report/outcome.h"

#include <iosfwd>
#include <optional>
#include <string_view>

namespace cadencora::stage {

// Ready to be printed.
struct FileReport {
    std::string file;
    ExitStatus status = exitDone;
    std::string text;   // messages, changes and the written file
    std::string errors; // error messages, problems and warnings, one line each
    std::string json;   // all of it, as an object on one line
};

FileReport reportOf(const FileOutcome& outcome, bool dryRun);

// As bytes, to be sent from one process to another.
std::string packed(const FileReport& report);
FileReport unpacked(std::string_view bytes);

// {"steps": [...], "problems": [...]} for one file; {"files": [...]} with one such entry and the
// file's name for each of several. After an interruption, only of those that there are.
void printJson(const std::vector<std::optional<FileReport>>& reports, std::ostream& out);

} // namespace cadencora::stage
