// Steps as text: recipe files, which keep steps to be taken again, and settings as people type
// them.
//
// Calls stage/base and the steps of the scripted user. A recipe is a JSON object:
//   {"cadencora": "recipe", "version": 1, "steps": [
//     {"press": "Destroy Keys", "select": ["Hips"], "time": 12,
//      "set": ["Start=60", "End=90"], "answers": ["yes"], "cancel": false}]}
// Beside "steps" there may be "scale": 0.01 and "rename": {"mixamorig:Hips": "Hips"}, which change
// the file as it is read. A step may have "preview": [0, 60] and "keep": false, too. All of its
// members but "press" may be left out. In place of "press" stands {"start": true, ...} for the
// dialogs that open when the plug-in starts.
#pragma once

#include "stage/base/result.h"
#include "stage/formats/format.h"
#include "stage/user/scripted_user.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace cadencora::stage {

// "LABEL=VALUE"; a bare label presses a button. `where` names the place in a Problem.
Result<Step::Setting> parseSetting(std::string_view text, std::string where);
std::string settingText(const Step::Setting& setting);

struct Recipe {
    std::vector<Step> steps;
    FileEdits edits; // made as the file is read
};

// A Problem names the file and the place in it: "steps.recipe: steps[2].set[0]". Whether a plug-in
// has the buttons and labels is not looked at here.
Result<Recipe> readRecipe(const std::filesystem::path& path);
Result<Recipe> parseRecipe(std::string_view text, const std::string& fileName);

std::string recipeText(const Recipe& recipe);
Result<> saveRecipe(const std::filesystem::path& path, const Recipe& recipe);

// New names by the old ones: {"mixamorig:Hips": "Hips"}. A Problem names the file.
Result<std::map<std::string, std::string>> readNames(const std::filesystem::path& path);

} // namespace cadencora::stage
