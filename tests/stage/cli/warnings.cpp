// Dry runs that must be what the real run is, and what the program says in every form: warnings,
// refusals, statuses.

#include "tests/stage/cli/program.h"
#include "tests/test_folder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace cadencora::stage {
namespace {

namespace fs = std::filesystem;

// A root with 3 rows of keys from frame 0, and a frame count that says otherwise.
const std::string miscounted =
    "HIERARCHY\nROOT Hips\n{\n  OFFSET 0 0 0\n"
    "  CHANNELS 6 Xposition Yposition Zposition Zrotation Xrotation Yrotation\n"
    "  End Site\n  {\n    OFFSET 0 5 0\n  }\n}\nMOTION\nFrames: 9\nFrame Time: 0.0333333\n"
    "0 90 0 0 0 0\n1 91 0 1 2 3\n2 92 0 2 4 6\n";

struct Told : testing::Test {
    fs::path folder = testFolder() / "files", scene = folder / "ball.stage",
             bvh = folder / "short.bvh";

    Told() {
        fs::create_directories(folder);
        fs::copy_file(CADENCORA_SOURCE_DIR "/docs/examples/ball.stage", scene);
        write(bvh, miscounted);
    }
    ~Told() override { fs::remove_all(folder); }
    static void write(const fs::path& path, const std::string& text) {
        std::ofstream(path, std::ios::binary) << text;
    }
    std::string path(const std::string& name) const { return (folder / name).string(); }
    ProgramResult run(const std::vector<std::string>& arguments) const {
        return runProgramFile(arguments, testFolder() / "errors");
    }
    static std::size_t times(const std::string& text, const std::string& word) {
        std::size_t count = 0;
        for (auto at = text.find(word); at != std::string::npos; at = text.find(word, at + 1))
            ++count;
        return count;
    }
};

TEST_F(Told, a_dry_run_reads_back_what_it_would_have_written_and_writes_nothing) {
    const std::string set = path("set");
    write(set, "Arm\n");
    std::vector<std::string> steps = {"run",
                                      scene.string(),
                                      "--select",
                                      "Ball",
                                      "--press",
                                      "Destroy Keys",
                                      "--set",
                                      "Affected Objects/Save=" + set,
                                      "--cancel",
                                      "--press",
                                      "Destroy Keys",
                                      "--set",
                                      "Affected Objects/Load=" + path("./set"),
                                      "--report",
                                      "json",
                                      "--out-dir",
                                      path("out")};
    steps.push_back("--dry-run");
    const auto dry = run(steps);
    ASSERT_EQ(dry.status, 0) << dry.errors;
    EXPECT_EQ(fileText(set), "Arm\n");
    EXPECT_FALSE(fs::exists(folder / "out"));
    steps.pop_back();
    const auto real = run(steps);
    ASSERT_EQ(real.status, 0) << real.errors;
    EXPECT_EQ(fileText(set), "Ball\n");
    EXPECT_TRUE(fs::exists(folder / "out" / "ball.stage"));
    EXPECT_EQ(dry.output, real.output);
    EXPECT_GT(nlohmann::json::parse(dry.output)["steps"][1]["changes"]["keysRemoved"], 0);
}

TEST_F(Told, a_dry_run_fails_where_the_real_one_would) {
    const std::vector<std::string> ends[] = {
        {"--press", "Destroy Keys", "-o", path("no/out.stage")},
        {"--press", "Destroy Keys", "--set", "Affected Objects/Save=" + path("no/set")},
        {"--press", "Save Clip data", "--set", "New Motion directory=" + path("no")},
        {"--press", "Save Single Frame data", "--set", "File full path=" + path("no/pose")},
    };
    for (const auto& end : ends) {
        std::vector<std::string> arguments = {"run", scene.string(), "--select", "Ball"};
        arguments.insert(arguments.end(), end.begin(), end.end());
        const auto real = run(arguments);
        arguments.push_back("--dry-run");
        const auto dry = run(arguments);
        EXPECT_EQ(real.status, 1) << end[1] << real.errors;
        EXPECT_EQ(dry.status, real.status) << end[1] << dry.errors;
        EXPECT_NE(dry.errors.find("no"), std::string::npos);
    }
}

TEST_F(Told, a_warning_is_one_line_in_every_command) {
    const std::string in = bvh.string();
    const std::vector<std::string> each[] = {
        {"info", in},
        {"run", in, "--press", "Destroy Keys", "--select", "Hips", "--dry-run"},
        {"convert", in, path("a.stage")},
        {"plot", in, "--channel", "Hips/Rotation.H", "-o", path("a.svg")},
    };
    for (const auto& arguments : each) {
        const auto result = run(arguments);
        EXPECT_EQ(result.status, 0) << result.errors;
        EXPECT_EQ(times(result.errors, "warning: "), 1u) << arguments[0] << ": " << result.errors;
        EXPECT_NE(result.errors.find("it has 9 frames"), std::string::npos) << result.errors;
    }
    for (const auto& arguments :
         {std::vector<std::string>{"convert", scene.string(), path("a.bvh")},
          {"run", scene.string(), "--press", "Destroy Keys", "--select", "Ball", "-o",
           path("b.bvh")}}) {
        const auto lossy = run(arguments);
        EXPECT_EQ(lossy.status, 0) << lossy.errors;
        EXPECT_NE(lossy.errors.find("warning: "), std::string::npos) << arguments[0];
    }
}

TEST_F(Told, refusals_have_their_status_whatever_the_order_of_the_inputs) {
    const std::string bad = path("bad.bvh"), odd = path("odd.stage"), good = scene.string();
    write(bad, "nonsense");
    std::string text = fileText(scene); // without the item that is selected
    for (auto at = text.find("\"Ball\""); at != std::string::npos; at = text.find("\"Ball\""))
        text.replace(at, 6, "\"Bowl\"");
    write(odd, text);
    struct Case {
        std::vector<std::string> inputs;
        int status;
    };
    const Case cases[] = {{{good, odd}, 2}, {{odd, good}, 2}, {{odd, bad}, 1},
                          {{bad, odd}, 1},  {{good, bad}, 1}, {{good}, 0}};
    for (const auto& [inputs, status] : cases) {
        std::vector<std::string> arguments = {"run",      "--press", "Destroy Keys",
                                              "--select", "Ball",    "--dry-run"};
        arguments.insert(arguments.begin() + 1, inputs.begin(), inputs.end());
        EXPECT_EQ(run(arguments).status, status) << inputs.front();
    }
    const auto motion = run({"run", good, "--press", "Node-to-Node Motion Copy", "--set",
                             "Source=Ball", "--set", "Target=Head", "--motions", path("none")});
    EXPECT_EQ(motion.status, 1) << motion.output;
    EXPECT_NE(motion.errors.find("command line refused"), std::string::npos) << motion.errors;
    const auto recipe = run({"run", good, "--press", "Destroy Keys", "--select", "Ball",
                             "--save-recipe", path("no/steps.json")});
    EXPECT_EQ(recipe.status, 1);
    EXPECT_NE(recipe.errors.find("no/steps.json"), std::string::npos) << recipe.errors;
    const auto clip = run({"info", bvh.string(), "--clip", "Walk"});
    EXPECT_NE(clip.status, 0);
    EXPECT_NE(clip.errors.find("\"Walk\""), std::string::npos) << clip.errors;
}

TEST_F(Told, the_time_of_the_command_line_is_that_of_a_recipe_s_first_step) {
    write(folder / "pose.json",
          R"({"cadencora": "recipe", "version": 1, "steps": [{"press": "Save Single Frame data",
              "select": ["Ball"], "set": ["File full path=)" +
              path("pose") + R"("]}]})");
    ASSERT_EQ(run({"run", scene.string(), "--recipe", path("pose.json"), "--time", "30"}).status,
              0);
    const std::string later = fileText(folder / "pose");
    fs::remove(folder / "pose");
    ASSERT_EQ(run({"run", scene.string(), "--recipe", path("pose.json")}).status, 0);
    EXPECT_NE(fileText(folder / "pose"), later);
}

TEST_F(Told, info_shows_the_first_frame_and_a_wrong_value_runs_no_command) {
    write(folder / "late.stage",
          R"({"cadencora": "scene", "version": 1, "items": [{"type": "object", "name": "A",
              "channels": [{"name": "Position.X", "frames": [[7, 1], [9, 2]]},
                           {"name": "Position.Y", "frames": [[5, 1]]}]}]})");
    const auto info = run({"info", path("late.stage")});
    EXPECT_NE(info.output.find("frames 5 to 9"), std::string::npos) << info.output;

    const auto wrong = run({"run", scene.string(), "--select", "Ball", "--press", "Destroy Keys",
                            "--set", "Start=first", "-o", path("out.stage"), "--report", "json"});
    EXPECT_EQ(wrong.status, 2);
    const auto step = nlohmann::json::parse(wrong.output)["steps"][0];
    EXPECT_EQ(step["messages"].size(), 0u) << "the command's question was not reached";
    EXPECT_EQ(step["changes"]["keysRemoved"], 0);
    EXPECT_FALSE(fs::exists(folder / "out.stage"));
}

} // namespace
} // namespace cadencora::stage
