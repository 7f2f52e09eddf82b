// What `run` prints of a file: text for people, or JSON for programs.
#pragma once

#include "stage/base/text.h"
#include "stage/cli/report/outcome.h"

#include <iosfwd>
#include <string_view>

namespace cadencora::stage {

// Ready to be printed: of a file, or of one clip of it.
struct FileReport {
    std::string file;
    ExitStatus status = exitDone;
    std::string text;   // messages, changes and the written file
    std::string errors; // error messages, problems and warnings, one line each
    std::string json;   // all of it, as an object on one line
    std::string line;   // the same with what tells whether the work is still as it was
};

// What the reports of a run have in common.
struct ReportFacts {
    bool dryRun = false, quiet = false; // quiet: no warnings on standard error
    std::string work;                   // a digest of what is done to each file
};

// Of all outcomes of one file.
std::vector<FileReport> reportsOf(std::vector<FileOutcome> outcomes, const ReportFacts& facts);

// As bytes, to be sent from one process to another.
std::string packed(const std::vector<FileReport>& reports);
std::vector<FileReport> unpacked(std::string_view bytes);

// {"steps": [...], "warnings": [...], "problems": [...]} for one file; {"files": [...]} with one
// such entry and the file's name, and clip's, for each of several. After an interruption, only of
// those that there are.
void printJson(const std::vector<std::vector<FileReport>>& reports, bool isOneInput,
               std::ostream& out);

// "2,498 done, 2 failed: a.bvh, b.bvh". `before`: of those done, in an earlier run.
struct RunCounts {
    std::size_t done = 0, before = 0, failed = 0, notBegun = 0;
    NameList failedNames{5};

    std::string text() const;
};

} // namespace cadencora::stage
