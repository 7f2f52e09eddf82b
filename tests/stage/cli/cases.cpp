// Whole commands as folders: the real program runs on a scene, and what it prints and writes is
// what the folder says. A folder holds
//   scene.stage     the input; or the file `input` names one, from the top of the project
//   arguments       of `cadencora run`, one per line, without the input and the output
//   report.json     what --report json prints, "any" for what chance decides; left out where
//                   nothing is printed
//   expected.stage  what is written; left out where nothing may be
//   status          the exit status where it is not 0
//   errors          texts that standard error holds, one per line; left out where it is empty

#include "stage/base/file.h"
#include "stage/formats/registry.h"
#include "tests/stage/cli/program.h"
#include "tests/test_folder.h"

#include <bit>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>

namespace cadencora::stage {
namespace {

constexpr std::size_t caseCount = 26;

const std::filesystem::path casesFolder = CADENCORA_SOURCE_DIR "/tests/cases";

std::vector<std::string> caseNames() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(casesFolder))
        if (entry.is_directory()) names.push_back(entry.path().filename().string());
    std::ranges::sort(names);
    return names;
}

std::vector<std::string> linesOf(const std::filesystem::path& path) {
    std::istringstream text(fileText(path));
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);)
        lines.push_back(line);
    return lines;
}

std::string bits(double number) {
    std::ostringstream text;
    text << std::setprecision(17) << number << " (" << std::hex
         << std::bit_cast<std::uint64_t>(number) << ")";
    return text.str();
}

// A line for each thing that a scene holds, so that the first difference names its place.
void describe(const Scene& scene, GroupId group, std::vector<std::string>& lines) {
    for (const ChannelId id : scene.group(group).channels) {
        const Envelope& curve = scene.envelope(scene.channel(id).envelope);
        const std::string path = scene.channelPath(id);
        lines.push_back(path + ": rest " + bits(curve.rest) + ", behaviours " +
                        std::to_string(static_cast<int>(curve.before)) + " " +
                        std::to_string(static_cast<int>(curve.after)));
        for (auto key = curve.keys.begin(); key; key.advance()) {
            std::string line = path + ": key at " + bits(key.time()) + ": " + bits(key.value()) +
                               ", shape " + std::to_string(static_cast<int>(key.shape()));
            for (const double parameter : key.data().parameters)
                line += ", " + bits(parameter);
            lines.push_back(line);
        }
    }
    for (const GroupId sub : scene.group(group).groups)
        describe(scene, sub, lines);
}

std::vector<std::string> describe(const std::filesystem::path& path) {
    auto loaded = readScene(path);
    if (!loaded) return {loaded.problem().text()};
    const Scene& scene = loaded->scene;
    std::vector<std::string> lines = {
        scene.rate.text() + " frames per second, " + std::to_string(scene.lastFrame) + ", " +
        std::to_string(scene.previewFirst) + " to " + std::to_string(scene.previewLast) + ", at " +
        bits(scene.currentTime)};
    for (const ItemId item : scene.selection)
        lines.push_back("selected: " + scene.item(item).name);
    for (std::size_t i = 0; i < scene.itemCount(); ++i) {
        const Item& item = scene.item(Scene::itemAt(i));
        lines.push_back(std::string(itemTypeName(item.type)) + " " + item.name + " below " +
                        std::to_string(static_cast<unsigned>(item.parent)));
        describe(scene, item.group, lines);
    }
    return lines;
}

void expectSameScene(const std::filesystem::path& written, const std::filesystem::path& expected) {
    const auto actual = describe(written), wanted = describe(expected);
    for (std::size_t i = 0; i < std::max(actual.size(), wanted.size()); ++i)
        ASSERT_EQ(i < actual.size() ? actual[i] : "nothing more",
                  i < wanted.size() ? wanted[i] : "nothing more");
}

void expectSameReport(const std::string& printed, const std::string& expected) {
    auto actual = nlohmann::json::parse(printed, nullptr, false);
    const auto wanted = nlohmann::json::parse(expected);
    const auto values = wanted.flatten();
    for (const auto& [place, value] : values.items())
        if (const nlohmann::json::json_pointer at(place); value == "any" && actual.contains(at))
            actual[at] = value;
    EXPECT_EQ(actual.dump(1), wanted.dump(1));
}

class Case : public testing::TestWithParam<std::string> {};

TEST_P(Case, does_what_its_folder_says) {
    const auto folder = casesFolder / GetParam();
    const auto scratch = testFolder();
    // The records of each activation stay until the process ends: no other leak is accepted.
    ASSERT_TRUE(writeFile(scratch / "leaks", "leak:cadencora::Cadencora\n").ok());
    setenv("LSAN_OPTIONS",
           ("print_suppressions=0:suppressions=" + (scratch / "leaks").string()).c_str(), 1);

    const auto inputs = linesOf(folder / "input");
    std::vector<std::string> arguments = {
        "run", inputs.empty() ? "scene.stage" : CADENCORA_SOURCE_DIR "/" + inputs[0]};
    for (const std::string& argument : linesOf(folder / "arguments"))
        arguments.push_back(argument);
    const auto output = scratch / "written.stage";
    arguments.insert(arguments.end(), {"--report", "json", "-o", output.string()});
    std::filesystem::current_path(folder); // set files are named from here
    const ProgramResult result = runProgramFile(arguments, scratch / "errors");

    const auto status = linesOf(folder / "status");
    EXPECT_EQ(std::to_string(result.status), status.empty() ? "0" : status[0]) << result.errors;
    const auto report = fileText(folder / "report.json");
    if (report.empty())
        EXPECT_EQ(result.output, "");
    else
        expectSameReport(result.output, report);
    const auto errors = linesOf(folder / "errors");
    for (const std::string& text : errors)
        EXPECT_NE(result.errors.find(text), std::string::npos) << text << "\n" << result.errors;
    if (errors.empty()) {
        EXPECT_EQ(result.errors, "");
    }
    if (std::filesystem::exists(folder / "expected.stage"))
        expectSameScene(output, folder / "expected.stage");
    else
        EXPECT_FALSE(std::filesystem::exists(output));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(scratch), {}),
              2 + std::filesystem::exists(output))
        << "nothing is left beside the output";
}

INSTANTIATE_TEST_SUITE_P(Folders, Case, testing::ValuesIn(caseNames()),
                         [](const auto& named) { return named.param; });

TEST(Cases, none_is_lost) {
    EXPECT_EQ(caseNames().size(), caseCount);
}

} // namespace
} // namespace cadencora::stage
