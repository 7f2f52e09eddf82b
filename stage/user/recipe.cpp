#include "stage/user/recipe.h"

#include "stage/base/file.h"
#include "stage/base/text.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace cadencora::stage {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::uintmax_t recipeLimit = std::uintmax_t{16} << 20; // bytes
constexpr int recipeVersion = 1;

// Reads the members of one step; the first thing that is wrong stays.
class StepReader {
public:
    StepReader(const Json& json, std::string file, std::string place)
        : json_(json), file_(std::move(file)), place_(std::move(place)) {}

    Result<Step> read() {
        if (!json_.is_object()) return wrong("", "expected an object");
        for (const auto& [name, value] : json_.items())
            if (auto read = member(name, value); !read) return read.problem();
        if (json_.contains("press") == step_.isStart)
            return step_.isStart ? wrong(".press", "a start has no button")
                                 : wrong(".press", "it is missing");
        if (step_.isStart && place_ != "steps[0]")
            return wrong(".start", "the start is the first step");
        return std::move(step_);
    }

private:
    Problem wrong(const std::string& at, std::string why) const {
        return {"not a recipe: " + std::move(why), file_ + ": " + place_ + at, {}};
    }

    template <class Take>
    Result<> texts(const std::string& at, const Json& value, const Take& take) {
        if (!value.is_array()) return wrong(at, "expected an array of texts");
        for (std::size_t i = 0; i < value.size(); ++i) {
            const std::string place = at + "[" + std::to_string(i) + "]";
            if (!value[i].is_string()) return wrong(place, "expected a text");
            if (auto taken = take(value[i].get<std::string>(), place); !taken) return taken;
        }
        return done();
    }

    Result<> member(const std::string& name, const Json& value) {
        const std::string at = "." + name;
        if (name == "press") {
            if (!value.is_string()) return wrong(at, "expected a button's label");
            step_.press = value.get<std::string>();
        } else if (name == "start") {
            if (!value.is_boolean()) return wrong(at, "expected true or false");
            step_.isStart = value.get<bool>();
        } else if (name == "select") {
            step_.select.emplace();
            return texts(at, value, [&](std::string item, const std::string&) {
                step_.select->push_back(std::move(item));
                return done();
            });
        } else if (name == "time") {
            if (!value.is_number()) return wrong(at, "expected a frame");
            step_.time = value.get<double>();
        } else if (name == "set") {
            return texts(at, value, [&](const std::string& text, const std::string& place) {
                auto setting = parseSetting(text, file_ + ": " + place_ + place);
                if (!setting) return Result<>(setting.problem());
                step_.settings.push_back(std::move(setting.value()));
                return done();
            });
        } else if (name == "answers") {
            return texts(at, value, [&](const std::string& text, const std::string& place) {
                if (text != "yes" && text != "no")
                    return Result<>(wrong(place, "expected \"yes\" or \"no\""));
                step_.answers.push_back(text == "yes");
                return done();
            });
        } else if (name == "cancel" || name == "keep" || name == "selectOptional") {
            if (!value.is_boolean()) return wrong(at, "expected true or false");
            bool& member = name == "keep"     ? step_.keep
                           : name == "cancel" ? step_.cancel
                                              : step_.selectOptional;
            member = value.get<bool>();
        } else if (name == "preview") {
            const auto isFrame = [](const Json& number) { return number.is_number_integer(); };
            if (!value.is_array() || value.size() != 2 || !std::ranges::all_of(value, isFrame) ||
                value[0].get<std::int64_t>() > value[1].get<std::int64_t>())
                return wrong(at, "expected the first and the last frame");
            step_.preview.emplace(value[0].get<std::int64_t>(), value[1].get<std::int64_t>());
        } else {
            return wrong(at, "no step has such a member");
        }
        return done();
    }

    const Json& json_;
    std::string file_, place_;
    Step step_;
};

Json stepJson(const Step& step) {
    Json json = step.isStart ? Json{{"start", true}} : Json{{"press", step.press}};
    if (step.select) json["select"] = *step.select;
    if (step.selectOptional) json["selectOptional"] = true;
    if (step.time) json["time"] = *step.time;
    if (step.preview) json["preview"] = {step.preview->first, step.preview->second};
    Json settings = Json::array(), answers = Json::array();
    for (const Step::Setting& setting : step.settings)
        settings.push_back(settingText(setting));
    for (const bool answer : step.answers)
        answers.push_back(answer ? "yes" : "no");
    if (!settings.empty()) json["set"] = std::move(settings);
    if (!answers.empty()) json["answers"] = std::move(answers);
    if (step.cancel) json["cancel"] = true;
    if (!step.keep) json["keep"] = false;
    return json;
}

} // namespace

Result<Step::Setting> parseSetting(std::string_view text, std::string where) {
    const auto equals = text.find('=');
    if (trimmed(text.substr(0, equals)).empty())
        return Problem{"there is no label in " + inQuotes(text), std::move(where),
                       "expected LABEL=VALUE"};
    if (equals == std::string_view::npos) return Step::Setting{std::string(text), ""};
    return Step::Setting{std::string(text.substr(0, equals)), std::string(text.substr(equals + 1))};
}

std::string settingText(const Step::Setting& setting) {
    return setting.value.empty() ? setting.label : setting.label + "=" + setting.value;
}

Result<Recipe> readRecipe(const std::filesystem::path& path) {
    const auto text = readFile(path, recipeLimit);
    if (!text) return text.problem();
    return parseRecipe(text.value(), path.string());
}

namespace {

// Nothing where it is no object of texts.
std::optional<std::map<std::string, std::string>> namesOf(const Json& json) {
    if (!json.is_object()) return std::nullopt;
    std::map<std::string, std::string> names;
    for (const auto& [from, to] : json.items()) {
        if (!to.is_string()) return std::nullopt;
        names[from] = to.get<std::string>();
    }
    return names;
}

} // namespace

Result<std::map<std::string, std::string>> readNames(const std::filesystem::path& path) {
    const auto text = readFile(path, recipeLimit);
    if (!text) return text.problem();
    if (auto names = namesOf(Json::parse(text.value(), nullptr, false))) return std::move(*names);
    return Problem{"not a map of names", path.string(),
                   R"(expected {"OLD NAME": "NEW NAME", ...})"};
}

Result<Recipe> parseRecipe(std::string_view text, const std::string& fileName) {
    const auto wrong = [&](std::string why, std::string detail = {}) {
        return Problem{"not a recipe: " + std::move(why), fileName, std::move(detail)};
    };
    Json json;
    try {
        json = Json::parse(text);
    } catch (const Json::exception& error) {
        const std::string_view why = error.what(); // "[json.exception...] parse error at line 2..."
        return wrong("it is not JSON", std::string(why.substr(why.find("] ") + 2)));
    }
    if (!json.is_object() || json.value("cadencora", Json()) != "recipe")
        return wrong("expected {\"cadencora\": \"recipe\", ...}");
    if (json.value("version", Json()) != recipeVersion)
        return wrong("its version is not known", "known is " + std::to_string(recipeVersion));
    const Json& list = json.contains("steps") ? json["steps"] : Json();
    if (!list.is_array() || list.empty()) return wrong("expected an array \"steps\" with steps");
    Recipe recipe;
    if (json.contains("scale")) {
        const Json& scale = json["scale"];
        if (!scale.is_number() || !isScale(scale.get<double>()))
            return wrong("expected a number above 0 as \"scale\"");
        recipe.edits.scale = scale.get<double>();
    }
    if (json.contains("rename")) {
        auto names = namesOf(json["rename"]);
        if (!names) return wrong("expected names by names as \"rename\"");
        recipe.edits.names = std::move(*names);
    }
    for (std::size_t i = 0; i < list.size(); ++i) {
        auto step = StepReader(list[i], fileName, "steps[" + std::to_string(i) + "]").read();
        if (!step) return step.problem();
        recipe.steps.push_back(std::move(step.value()));
    }
    return recipe;
}

std::string recipeText(const Recipe& recipe) {
    Json list = Json::array();
    for (const Step& step : recipe.steps)
        list.push_back(stepJson(step));
    Json json = {{"cadencora", "recipe"}, {"version", recipeVersion}};
    if (recipe.edits.scale != 1) json["scale"] = recipe.edits.scale;
    if (!recipe.edits.names.empty()) json["rename"] = recipe.edits.names;
    json["steps"] = std::move(list);
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

Result<> saveRecipe(const std::filesystem::path& path, const Recipe& recipe) {
    return writeFile(path, recipeText(recipe));
}

} // namespace cadencora::stage
