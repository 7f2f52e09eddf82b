#include "tests/stage/cli/program.h"
#include "stage/cli/many/workers.h"
#include "stage/cli/report/progress.h"
#include "tests/test_folder.h"

#include <algorithm>
#include <csignal>
#include <gtest/gtest.h>
#include <map>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <unistd.h>

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
    fs::path folder = testFolder() / "files";
    fs::path input = folder / "small.bvh", output = folder / "out.bvh";

    Program() {
        fs::create_directories(folder);
        write(input, smallBvh);
    }

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

TEST_F(Program, shells_complete_what_the_commands_take) {
    const auto bash = run({"completions", "bash"});
    ASSERT_EQ(bash.status, 0) << bash.errors;
    write(folder / "completions", bash.output);
    const auto completed = [&](const std::string& words, int at) {
        const std::string line = "bash -c 'source " + (folder / "completions").string() +
                                 "; compopt() { :; }; COMP_WORDS=(cadencora " + words +
                                 "); COMP_CWORD=" + std::to_string(at) +
                                 "; _cadencora; echo ${COMPREPLY[@]}' >" +
                                 (folder / "words").string();
        EXPECT_EQ(std::system(line.c_str()), 0);
        return fileText(folder / "words");
    };
    EXPECT_EQ(completed("c", 1), "convert completions\n");
    EXPECT_EQ(completed("run --repo", 2), "--report --report-file\n");
    EXPECT_EQ(completed("run --report js", 3), "json jsonl\n");
    for (const char* shell : {"zsh", "fish"}) {
        const auto script = run({"completions", shell});
        EXPECT_EQ(script.status, 0);
        EXPECT_NE(script.output.find("out-dir"), std::string::npos) << shell;
    }
    EXPECT_EQ(run({"completions", "cmd"}).status, 2);
}

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
    EXPECT_TRUE(run({}).output.find("Usage") != std::string::npos);
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

TEST_F(Program, a_later_step_reaches_the_keys_that_an_earlier_one_put_after_the_end) {
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
    const auto buttons = panels["panels"][0]["buttons"];
    ASSERT_EQ(buttons.size(), 17u);
    EXPECT_EQ(buttons[1]["label"], "Destroy Keys");
    EXPECT_EQ(buttons[1]["dialogs"][0]["title"], "Select range and objects");
    EXPECT_EQ(buttons[0]["dialogs"].size(), 2u) << "the options after the range";
}

TEST_F(Program, a_recipe_takes_the_same_steps_again_and_nothing_that_it_cannot) {
    const fs::path recipe = folder / "steps.json", again = folder / "again.bvh";
    const std::vector<std::string> steps = {
        "--press", "Destroy Keys", "--select", "Hips",  "--time",  "1.5",
        "--set",   "Start=1",      "--set",    "End=2", "--press", "Cycle (Bake) Keys",
        "--set",   "Repeats=2",    "--answer", "no",    "--cancel"};
    std::vector<std::string> first = {"run",           input.string(),  "-o",
                                      output.string(), "--save-recipe", recipe.string()};
    first.insert(first.end(), steps.begin(), steps.end());
    ASSERT_EQ(run(first).status, 0);
    const auto saved = nlohmann::json::parse(fileText(recipe));
    EXPECT_EQ(saved["steps"][0],
              nlohmann::json::parse(R"({"press": "Destroy Keys", "select": ["Hips"], "time": 1.5,
                                        "set": ["Start=1", "End=2"]})"));
    EXPECT_EQ(saved["steps"][1]["answers"], nlohmann::json({"no"}));
    EXPECT_EQ(saved["steps"][1]["cancel"], true);
    ASSERT_EQ(
        run({"run", input.string(), "--recipe", recipe.string(), "-o", again.string()}).status, 0);
    EXPECT_EQ(fileText(again), fileText(output));
    EXPECT_NE(fileText(again), fileText(input));

    // The command line may choose other items for the first step, and add steps.
    const auto more = run({"run", input.string(), "--recipe", recipe.string(), "--select", "small",
                           "--press", "Destroy Keys", "--report", "json"});
    const auto report = nlohmann::json::parse(more.output)["steps"];
    ASSERT_EQ(report.size(), 3u) << more.errors;
    EXPECT_EQ(report[2]["press"], "Destroy Keys");

    fs::remove(again);
    const std::pair<const char*, const char*> wrong[] = {
        {"{", "line 1"},
        {R"({"cadencora": "scene", "version": 1, "steps": [{"press": "Destroy Keys"}]})", "recipe"},
        {R"({"cadencora": "recipe", "version": 2, "steps": [{"press": "Destroy Keys"}]})",
         "version"},
        {R"({"cadencora": "recipe", "version": 1, "steps": []})", "steps"},
        {R"({"cadencora": "recipe", "version": 1, "steps": [{"set": []}]})", "steps[0].press"},
        {R"({"cadencora": "recipe", "version": 1, "steps": [{"press": "Destroy Keys", "sets": []}]})",
         "steps[0].sets"},
        {R"({"cadencora": "recipe", "version": 1,
             "steps": [{"press": "Destroy Keys", "set": ["Start=1", "=2"]}]})",
         "steps[0].set[1]"},
        {R"({"cadencora": "recipe", "version": 1,
             "steps": [{"press": "Destroy Keys"}, {"press": "Destroy Keys", "set": ["Strat=1"]}]})",
         "Strat"},
        {R"({"cadencora": "recipe", "version": 1, "steps": [{"press": "Destory Keys"}]})",
         "Destroy Keys"}};
    for (const auto& [text, word] : wrong) {
        write(recipe, text);
        const auto result =
            run({"run", input.string(), "--recipe", recipe.string(), "-o", again.string()});
        EXPECT_EQ(result.status, 2) << text;
        EXPECT_NE(result.errors.find(word), std::string::npos) << word << "\n" << result.errors;
        EXPECT_EQ(result.output, "");
        EXPECT_FALSE(fs::exists(again));
    }
}

TEST_F(Program, a_pattern_selects_all_items_whose_names_fit_in_the_scene_s_order) {
    const fs::path rig = folder / "rig.stage", recipe = folder / "arms.json", set = folder / "set";
    write(rig, R"({"cadencora": "scene", "version": 1, "items": [
        {"type": "object", "name": "RightArm"}, {"type": "object", "name": "Leg"},
        {"type": "object", "name": "Arm[1]"}, {"type": "object", "name": "Arm1"},
        {"type": "object", "name": "*"}]})");
    // The list of affected objects, as the command has it.
    const auto selected = [&](std::vector<std::string> options) {
        fs::remove(set);
        std::vector<std::string> arguments = {"run", rig.string(), "--press", "Destroy Keys"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        arguments.insert(arguments.end(),
                         {"--set", "Affected Objects/Save=" + set.string(), "--cancel"});
        const auto result = run(arguments);
        if (result.status != 0) return std::to_string(result.status) + ": " + result.errors;
        std::string names = fileText(set);
        std::ranges::replace(names, '\n', ' ');
        return names;
    };
    EXPECT_EQ(selected({"--select", "*Arm*"}), "RightArm Arm[1] Arm1 ");
    EXPECT_EQ(selected({"--select", "Arm?", "--select", "*Arm*"}), "Arm1 RightArm Arm[1] ");
    EXPECT_EQ(selected({"--select", "Arm[1]*"}), "Arm[1] ") << "a bracket is itself";
    EXPECT_EQ(selected({"--select", "*"}), "* ") << "the very name comes first";
    EXPECT_TRUE(selected({"--select", "*Wing*"}).starts_with("2: "));
    EXPECT_NE(selected({"--select", "*Wing*"}).find("fits \"*Wing*\""), std::string::npos);
    EXPECT_EQ(selected({"--select", "*Wing*", "--select", "L?g", "--select", "Tail",
                        "--select-optional"}),
              "Leg ");
    EXPECT_EQ(run({"run", rig.string(), "--press", "Destroy Keys", "--select", "*Wing*", "--select",
                   "Leg", "--select-optional", "--save-recipe", recipe.string()})
                  .status,
              0);
    EXPECT_NE(fileText(recipe).find("\"selectOptional\": true"), std::string::npos);
    EXPECT_EQ(run({"run", rig.string(), "--recipe", recipe.string()}).status, 0);
}

TEST_F(Program, many_files_at_a_time_give_what_one_after_the_other_gives) {
    std::vector<std::string> files;
    for (int i = 0; i < 9; ++i) {
        files.push_back((folder / ("take" + std::to_string(i) + ".bvh")).string());
        write(files.back(), i == 4 ? "nonsense" : smallBvh);
    }
    std::string reports[2];
    for (const std::string jobs : {"1", "4"}) {
        const fs::path out = folder / ("out" + jobs);
        std::vector<std::string> arguments = {
            "run",           "--press",     "Node-to-Node Motion Copy",
            "--set",         "Source=Hips", "--set",
            "Target=Spine",  "--out-dir",   out.string(),
            "--report",      "json",        "--motions",
            folder.string(), "-j",          jobs};
        arguments.insert(arguments.end(), files.begin(), files.end());
        const auto result = run(arguments);
        EXPECT_EQ(result.status, 1);
        EXPECT_NE(result.errors.find("take4.bvh:1: expected HIERARCHY"), std::string::npos);
        EXPECT_NE(result.errors.find("[9/9] "), std::string::npos) << "a line per finished file";
        reports[jobs == "4"] = result.output;
        EXPECT_EQ(std::distance(fs::directory_iterator(out), {}), 8);
        EXPECT_EQ(fileText(out / "take8.bvh"), fileText(out / "take0.bvh"));
    }
    EXPECT_EQ(reports[0], reports[1]) << "in the order of the inputs";
    EXPECT_EQ(fileText(folder / "out1" / "take0.bvh"), fileText(folder / "out4" / "take0.bvh"));
    EXPECT_NE(fileText(folder / "out1" / "take0.bvh"), smallBvh);
}

TEST(Workers, answer_whole_or_say_how_they_ended) {
    const std::string big(300'000, 'x'); // more than a pipe holds
    std::map<std::size_t, std::string> answers;
    Workers workers;
    std::size_t started = 0, ended = 0;
    workers.work = [&](std::size_t piece, const Workers::EndWith& endWith) {
        if (piece == 1) std::raise(SIGKILL);
        if (piece == 2) _exit(7);
        if (piece == 4) endWith("early");
        if (piece == 5) { // dies in the middle of its answer, which is the only pipe it writes to
            for (int descriptor = 3; descriptor < 64; ++descriptor)
                if (struct stat status{};
                    fstat(descriptor, &status) == 0 && S_ISFIFO(status.st_mode))
                    if (write(descriptor, "half", 4) < 0) continue;
            _exit(0);
        }
        return piece == 3 ? big : std::to_string(piece);
    };
    workers.started = [&](std::size_t piece) {
        EXPECT_EQ(piece, started++);
        EXPECT_LE(started - ended, 2u);
    };
    workers.ended = [&](std::size_t piece, const Result<std::string>& answer) {
        ++ended;
        answers[piece] = answer ? answer.value() : answer.problem().text();
    };
    runWorkers(7, 2, workers);
    EXPECT_EQ(answers.size(), 7u);
    EXPECT_EQ(answers[0], "0");
    EXPECT_NE(answers[1].find("signal 9"), std::string::npos);
    EXPECT_NE(answers[2].find("status 7"), std::string::npos);
    EXPECT_EQ(answers[3], big);
    EXPECT_EQ(answers[4], "early");
    EXPECT_NE(answers[5].find("ended early"), std::string::npos) << answers[5];
    EXPECT_EQ(answers[6], "6");
    EXPECT_EQ(remainingText(10, 0, 5), "");
    EXPECT_EQ(remainingText(10, 2, 5), "about 0:15 left");
    EXPECT_EQ(remainingText(4000, 1, 3), "about 2:13:20 left");
}

} // namespace
} // namespace cadencora::stage
