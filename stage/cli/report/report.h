// What `run`, `info` and `panels` print.
#pragma once

#include "stage/cli/commands/explore.h"
#include "stage/cli/commands/run.h"
#include "stage/scene/summary.h"

#include <iosfwd>

namespace cadencora::stage {

// Messages, changes and the written file for people; the toolbox's error messages, problems and
// warnings, one line each; and all of it as JSON.
FileReport reportOf(const FileOutcome& outcome, bool dryRun);

// As bytes, for the way from one process to another.
std::string packed(const FileReport& report);
FileReport unpacked(std::string_view bytes);

// {"steps": [...], "problems": [...]} for one file; {"files": [...]} with one such entry and the
// file's name for each of several.
void printJson(const std::vector<std::optional<FileReport>>& reports, std::ostream& out);

void printInfo(const Loaded& loaded, std::ostream& out);
void printInfoJson(const Loaded& loaded, std::ostream& out);

void printPanels(const PluginOffer& offer, std::ostream& out);
void printPanelsJson(const PluginOffer& offer, std::ostream& out);

} // namespace cadencora::stage
