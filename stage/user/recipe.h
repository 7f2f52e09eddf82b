// Steps as text: recipe files, which keep steps to be taken again, and settings as people type
// them.
//
// Calls stage/base and the steps of the scripted user. A recipe is a JSON object:
//   {"cadencora": "recipe", "version": 1, "steps": [
//     {"press": "Destroy Keys", "select": ["Hips"], "time": 12,
//      "set": ["Start=60", "End=90"], "answers": ["yes"], "cancel": false}]}
// and "preview": [0, 60], "keep": false, where all but "press" may be left out. {"start": true,
// ...} in place of "press": for the dialogs that open when the plug-in starts.
#pragma once

#include "stage/base/result.h"
#include "stage/user/scripted_user.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace cadencora::stage {

// "LABEL=VALUE"; a bare label presses a button. `where` names the place in a Problem.
Result<Step::Setting> parseSetting(std::string_view text, std::string where);
std::string settingText(const Step::Setting& setting);

// A Problem names the file and the place in it: "steps.recipe: steps[2].set[0]". Whether a plug-in
// has the buttons and labels is not looked at here.
Result<std::vector<Step>> readRecipe(const std::filesystem::path& path);
Result<std::vector<Step>> parseRecipe(std::string_view text, const std::string& fileName);

std::string recipeText(const std::vector<Step>& steps);
Result<> saveRecipe(const std::filesystem::path& path, const std::vector<Step>& steps);

} // namespace cadencora::stage
