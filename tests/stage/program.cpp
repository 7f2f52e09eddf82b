#include "tests/stage/program.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace cadencora::stage {
namespace {

namespace fs = std::filesystem;

// A root with one child, four frames at 30 per second.
const std::string smallBvh = "HIERARCHY\nROOT Hips\n{\n  OFFSET 0 0 0\n"
                             "  CHANNELS 6 Xposition Yposition Zposition Zrotation Xrotation "
                             "Yrotation\n  JOINT Spine\n  {\n    OFFSET 0 10 0\n"
                             "    CHANNELS 3 Zrotation Xrotation Yrotation\n    End Site\n    {\n"
                             "      OFFSET 0 5 0\n    }\n  }\n}\nMOTION\nFrames: 4\n"
                             "Frame Time: 0.0333333\n0 90 0 0 0 0 0 0 0\n1 91 0 1 2 3 4 5 6\n"
                             "2 92 0 2 4 6 8 10 12\n3 93 0 3 6 9 12 15 18\n";

struct Program : testing::Test {
    fs::path folder = fs::path(testing::TempDir()) /
                      testing::UnitTest::GetInstance()->current_test_info()->name();
    fs::path input = folder / "small.bvh", output = folder / "out.bvh";

    Program() {
        fs::remove_all(folder);
        fs::create_directories(folder);
        write(input, smallBvh);
    }
    ~Program() override { fs::remove_all(folder); }

    static void write(const fs::path& path, const std::string& text) {
        std::ofstream(path, std::ios::binary) << text;
    }
    ProgramResult run(const std::vector<std::string>& arguments) const {
        return runProgramFile(arguments, folder / "errors");
    }
    ProgramResult destroy(std::vector<std::string> more) const {
        std::vector<std::string> arguments{"run",  input.string(), "--select",
                                           "Hips", "--press",      "Destroy Keys"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return run(arguments);
    }
};

TEST_F(Program, destroys_a_range_and_writes_the_file_aside) {
    write(output, "old");
    const auto dry = destroy({"--set", "Start=1", "--set", "End=2", "--dry-run", "-o",
                              output.string(), "--report", "json"});
    ASSERT_EQ(dry.status, 0) << dry.errors;
    EXPECT_EQ(fileText(output), "old");
    const auto real =
        destroy({"--set", "Start=1", "--set", "End=2", "-o", output.string(), "--report", "json"});
    ASSERT_EQ(real.status, 0) << real.errors;
    EXPECT_EQ(real.output, dry.output) << "a dry run reports the same";
    const auto changes = nlohmann::json::parse(real.output)["steps"][0]["changes"];
    EXPECT_EQ(changes, nlohmann::json::parse(R"({"items": 2, "channels": 9, "keysAdded": 0,
        "keysRemoved": 18, "keysChanged": 0, "firstFrame": 1, "lastFrame": 2})"));
    EXPECT_NE(fileText(output).find("HIERARCHY"), std::string::npos);
    std::size_t files = 0;
    for ([[maybe_unused]] const auto& entry : fs::directory_iterator(folder))
        ++files;
    EXPECT_EQ(files, 3u) << "no scratch file is left beside the input, the output and the errors";
}

TEST_F(Program, says_what_is_wrong_and_what_there_is_before_it_touches_anything) {
    struct Case {
        std::vector<std::string> more;
        int status;
        std::vector<std::string> words; // all of them in one line of standard error
    };
    const Case cases[] = {
        {{"--set", "Strat=1"}, 2, {"\"Strat\"", "\"Start\"", "Destroy Keys"}},
        {{"--set", "Load=x"}, 2, {"several", "\"Affected Channels/Load\""}},
        {{"--press", "Destroy Kyes"}, 2, {"\"Destroy Kyes\"", "\"Destroy Keys\""}},
        {{"--select", "Hip"}, 2, {"\"Hip\"", "\"Hips\""}},
        {{"--set", "Start=99"}, 2, {"99", "from 0 to 3"}},
        {{"--set", "Start=one"}, 2, {"\"one\"", "not a number"}},
        {{"--set", "=1"}, 2, {"LABEL=VALUE"}},
        {{"--fps", "fast"}, 2, {"fast", "24000/1001"}},
        {{"--answer", "maybe"}, 2, {"maybe", "yes"}},
        {{"--frobnicate"}, 2, {"--frobnicate"}},
        {{"--plugin", "/no/such.so"}, 1, {"/no/such.so", "no such file"}},
        {{"--plugin", input.string()}, 1, {"small.bvh"}},
        {{"--set", "Start=3", "--set", "End=1"}, 1, {"End frame must be greater"}},
        {{"--set", "Affected Channels/Load=/no/set"}, 1, {"Failure to open file for reading"}},
    };
    for (const Case& each : cases) {
        auto arguments = each.more;
        arguments.insert(arguments.end(), {"-o", output.string()});
        const auto result = destroy(arguments);
        EXPECT_EQ(result.status, each.status) << each.more[0] << " " << result.errors;
        for (const std::string& word : each.words)
            EXPECT_NE(result.errors.find(word), std::string::npos) << word << "\n" << result.errors;
        EXPECT_FALSE(fs::exists(output)) << each.more[0];
    }
    EXPECT_EQ(run({}).status, 2);
    EXPECT_EQ(run({"run", input.string()}).status, 2) << "no step";
    EXPECT_EQ(run({"info", input.string(), "--fps", "x"}).status, 2);
    const auto bogus = run({"conver", input.string()});
    EXPECT_EQ(bogus.status, 2);
    EXPECT_NE(bogus.errors.find("\"conver\" (\"convert\""), std::string::npos) << bogus.errors;
    const auto twice = run({"run", input.string(), (folder / "." / "small.bvh").string(), "--press",
                            "Destroy Keys", "--out-dir", (folder / "out").string()});
    EXPECT_EQ(twice.status, 2) << "one output for two inputs";
    EXPECT_FALSE(fs::exists(folder / "out"));
    EXPECT_EQ(run({"--help"}).status, 0);
}

TEST_F(Program, refuses_bad_inputs_and_outputs_with_the_place) {
    const fs::path cut = folder / "cut.bvh", wrong = folder / "wrong.stage";
    write(cut, smallBvh.substr(0, smallBvh.size() / 2));
    write(wrong, smallBvh);
    const std::pair<fs::path, const char*> inputs[] = {{cut, "cut.bvh:"},
                                                       {wrong, "wrong.stage"},
                                                       {folder / "missing.bvh", "missing.bvh"},
                                                       {folder, "no extension"},
                                                       {folder / "errors", "errors"}};
    for (const auto& [path, word] : inputs) {
        const auto result = run({"info", path.string()});
        EXPECT_EQ(result.status, 1) << path;
        EXPECT_NE(result.errors.find(word), std::string::npos) << result.errors;
        EXPECT_EQ(result.output, "");
    }
    const std::pair<fs::path, int> outputs[] = {
        {folder / "no" / "out.bvh", 1}, {folder / "out.xyz", 2}, {folder, 2}};
    for (const auto& [bad, status] : outputs) {
        const auto result = destroy({"-o", bad.string()});
        EXPECT_EQ(result.status, status) << bad;
        EXPECT_NE(result.errors.find(bad.filename().string()), std::string::npos) << result.errors;
    }
}

TEST_F(Program, steps_run_in_order_until_one_ends_in_an_error) {
    const auto good = destroy({"--set", "Start=1", "--set", "End=1", "--press", "Destroy Keys",
                               "--set", "Start=3", "--answer", "no", "--report", "json"});
    ASSERT_EQ(good.status, 0) << good.errors;
    const auto steps = nlohmann::json::parse(good.output)["steps"];
    ASSERT_EQ(steps.size(), 2u);
    EXPECT_EQ(steps[0]["changes"]["keysRemoved"], 9);
    EXPECT_EQ(steps[1]["changes"]["keysRemoved"], 0);
    EXPECT_EQ(steps[1]["changes"]["firstFrame"], nullptr);
    EXPECT_EQ(steps[1]["messages"][0]["kind"], "question");

    const auto bad = destroy({"--set", "Start=3", "--set", "End=1", "--press", "Destroy Keys", "-o",
                              output.string(), "--report", "json"});
    EXPECT_EQ(bad.status, 1);
    const auto report = nlohmann::json::parse(bad.output);
    EXPECT_EQ(report["steps"].size(), 1u) << "later steps are not pressed";
    EXPECT_EQ(report["steps"][0]["messages"][0]["lines"],
              nlohmann::json({"End frame must be greater (or equal) than start frame",
                              "Not completing operation"}));
    EXPECT_FALSE(fs::exists(output));
}

TEST_F(Program, a_later_step_reaches_the_keys_that_an_earlier_one_put_behind_the_end) {
    const auto result = run({"run", input.string(), "--press", "Cycle (Bake) Keys", "--set",
                             "Use selected objects only=off", "--set", "Repeats=2", "--press",
                             "Destroy Keys", "--set", "Use selected objects only=off", "--set",
                             "Start=7", "--set", "End=9", "--dry-run"});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.output.find("nothing changed"), std::string::npos) << result.output;
    const auto cancelled = run({"run", input.string(), "--press", "Cycle (Bake) Keys", "--set",
                                "Use selected objects only=off", "--set", "Repeats=2", "--cancel"});
    EXPECT_EQ(cancelled.status, 0) << cancelled.errors;
    EXPECT_NE(cancelled.output.find("nothing changed"), std::string::npos);
}

TEST_F(Program, one_bad_file_does_not_stop_the_others) {
    const fs::path second = folder / "second.bvh", bad = folder / "bad.bvh", out = folder / "out";
    write(second, smallBvh);
    write(bad, "nonsense");
    const auto result = run({"run", input.string(), bad.string(), second.string(), "--press",
                             "Destroy Keys", "--set", "Use selected objects only=off", "--out-dir",
                             out.string(), "--report", "json"});
    EXPECT_EQ(result.status, 1);
    const auto files = nlohmann::json::parse(result.output)["files"];
    ASSERT_EQ(files.size(), 3u);
    EXPECT_EQ(files[1]["problems"].size(), 1u);
    EXPECT_EQ(files[2]["steps"][0]["changes"]["keysRemoved"], 36);
    EXPECT_TRUE(fs::exists(out / "small.bvh"));
    EXPECT_TRUE(fs::exists(out / "second.bvh"));
    EXPECT_FALSE(fs::exists(out / "bad.bvh"));
}

TEST_F(Program, info_convert_and_panels_tell_the_same_in_text_and_json) {
    const auto info = nlohmann::json::parse(run({"info", input.string(), "--json"}).output);
    EXPECT_EQ(info["itemCount"], 3);
    EXPECT_EQ(info["keyCount"], 36);
    EXPECT_EQ(info["framesPerSecond"], 30.0);
    EXPECT_EQ(info["items"][2]["parent"], "Hips");
    const fs::path scene = folder / "scene.stage", back = folder / "back.bvh";
    ASSERT_EQ(run({"convert", input.string(), scene.string(), "--fps", "60"}).status, 0);
    const auto converted = nlohmann::json::parse(run({"info", scene.string(), "--json"}).output);
    EXPECT_EQ(converted["keyCount"], 36);
    EXPECT_EQ(converted["lastFrame"], 6);
    EXPECT_EQ(run({"convert", scene.string(), back.string()}).status, 0);
    EXPECT_NE(fileText(back).find("Frames: 7"), std::string::npos);

    const auto panels = nlohmann::json::parse(run({"panels", "--json"}).output);
    ASSERT_EQ(panels["buttons"].size(), 17u);
    EXPECT_EQ(panels["buttons"][1]["label"], "Destroy Keys");
    EXPECT_EQ(panels["buttons"][1]["dialogs"][0]["title"], "Select range and objects");
    EXPECT_EQ(panels["buttons"][0]["dialogs"].size(), 2u) << "the options behind the range";
}

} // namespace
} // namespace cadencora::stage
