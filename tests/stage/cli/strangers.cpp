// Plug-ins by other people, driven through the program: a polite one, and a rude one.

#include "tests/stage/cli/program.h"
#include "tests/test_folder.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/resource.h>

namespace cadencora::stage {
namespace {

namespace fs = std::filesystem;

const std::string ball = CADENCORA_SOURCE_DIR "/docs/examples/ball.stage";

struct Strangers : testing::Test {
    fs::path folder = testFolder();
    fs::path output = folder / "out.stage", log = folder / "log", file = folder / "two.mot";

    Strangers() {
        setenv("STRANGER_LOG", log.c_str(), 1);
        setenv("STRANGER_FILE", file.c_str(), 1);
    }
    ~Strangers() override {
        unsetenv("STRANGER_LOG");
        unsetenv("STRANGER_FILE");
    }
    ProgramResult run(const std::string& plugin, std::vector<std::string> more,
                      const std::vector<std::string>& inputs = {ball}) const {
        std::vector<std::string> arguments{"run", "--plugin",
                                           CADENCORA_BIN_DIR "/modules/" + plugin + ".so"};
        arguments.insert(arguments.end(), inputs.begin(), inputs.end());
        arguments.insert(arguments.end(), more.begin(), more.end());
        return runProgramFile(arguments, folder / "errors");
    }
    // Every message of every step, in order: "activation 1 with 0; made Position.X#2; ".
    static std::string said(const ProgramResult& result) {
        std::string all;
        const auto report = nlohmann::json::parse(result.output);
        for (const auto& step : report["steps"])
            for (const auto& message : step["messages"])
                all += message["lines"][0].get<std::string>() + "; ";
        return all;
    }
    std::string press(const std::vector<std::string>& steps) const {
        auto arguments = steps;
        arguments.insert(arguments.end(), {"--report", "json"});
        const auto result = run("stranger", arguments);
        EXPECT_EQ(result.status, 0) << result.errors;
        return said(result);
    }
};

TEST_F(Strangers, an_activation_asks_edits_and_reports_like_any_step) {
    const auto started = run(
        "stranger", {"--start", "--set", "Offset=5", "-o", output.string(), "--report", "json"});
    ASSERT_EQ(started.status, 0) << started.errors;
    const auto step = nlohmann::json::parse(started.output)["steps"][0];
    EXPECT_EQ(step["press"], "start of Stranger");
    EXPECT_EQ(step["dialogs"][0], "Start");
    EXPECT_EQ(step["changes"]["keysChanged"], 1);
    EXPECT_EQ(said(started), "activation 1 with 5; ");
    EXPECT_EQ(fileText(log), "startup\nactivation\nshutdown\n");

    const auto silent = run("stranger", {"--server", "Silent", "-o", output.string()});
    ASSERT_EQ(silent.status, 0) << silent.errors;
    EXPECT_NE(silent.output.find("start of Silent"), std::string::npos);
    const auto unknown = run("stranger", {"--server", "Silly"});
    EXPECT_EQ(unknown.status, 1);
    EXPECT_NE(unknown.errors.find("\"Silent\""), std::string::npos) << unknown.errors;
}

TEST_F(Strangers, envelopes_live_until_they_are_destroyed_and_temporary_ones_leave_no_trace) {
    EXPECT_EQ(press({"--press", "Stranger/Keep", "--set", "Scale=2.5", "--press", "Use", "--press",
                     "Drop", "--press", "Temporary"}),
              "activation 1 with 0; made Position.X#2; kept 2.5 and 7; copy has 3; ");
    const auto dropped = run("stranger", {"--press", "Keep", "--press", "Drop", "--press", "Use"});
    EXPECT_EQ(dropped.status, 1);
    EXPECT_NE(dropped.errors.find("the envelope is gone"), std::string::npos) << dropped.errors;

    const auto kept = run("stranger", {"--press", "Keep", "-o", output.string()});
    ASSERT_EQ(kept.status, 0) << kept.errors;
    EXPECT_NE(kept.output.find("1 channel added"), std::string::npos) << kept.output;
    EXPECT_NE(fileText(output).find("Position.X#2"), std::string::npos);
    EXPECT_EQ(fileText(output).find("cache"), std::string::npos) << "its own is in no file";
    const auto temporary = run("stranger", {"--press", "Temporary"});
    EXPECT_NE(temporary.output.find("nothing changed"), std::string::npos) << temporary.output;
    EXPECT_EQ(press({"--press", "Files"}), "activation 1 with 0; read back 1 and 2; ");
    const auto missing = run("stranger", {"--press", "Missing"});
    EXPECT_EQ(missing.status, 0) << missing.errors;
    EXPECT_NE(missing.errors.find("warning: " + ball +
                                  ": \"Missing\" asked for the service "
                                  "\"No Such Service\""),
              std::string::npos)
        << missing.errors;
}

TEST_F(Strangers, every_control_of_every_panel_is_within_reach) {
    EXPECT_EQ(press({"--press", "Values", "--set", "Scale=2", "--set", "Lock=on", "--set",
                     "Side=Right", "--set", "Load=" + ball}),
              "activation 1 with 0; scale 2, lock 1, side 1, file ball.stage; ");
    EXPECT_EQ(press({"--press", "Lock=on", "--press", "Values"}),
              "activation 1 with 0; scale 0, lock 1, side 0, file ; ");
    EXPECT_EQ(press({"--press", "Page=Two", "--set", "Turn=3"}), "activation 1 with 0; tab 3; ");
    EXPECT_EQ(press({"--press", "Open second", "--press", "Second/Keep", "--press", "Second/Go#2",
                     "--press", "Go#1"}),
              "activation 1 with 0; the second Keep; second Go; first Go; ");
    EXPECT_EQ(press({"--press", "Grow", "--press", "Grown 49"}),
              "activation 1 with 0; a grown button; ");
    EXPECT_EQ(press({"--press", "Dialog", "--set", "More", "--set", "Late 49=1"}),
              "activation 1 with 0; grown and accepted; ");
    EXPECT_EQ(press({"--press", "Zeros"}), "activation 1 with 0; types 3 2 1 null 1 2 ; ");

    const auto shared = run("stranger", {"--press", "Open second", "--press", "Keep"});
    EXPECT_EQ(shared.status, 2);
    EXPECT_NE(shared.errors.find("\"Stranger/Keep\", \"Second/Keep\""), std::string::npos)
        << shared.errors;
    const auto valueless = run("stranger", {"--press", "Scale"});
    EXPECT_EQ(valueless.status, 2);
    EXPECT_NE(valueless.errors.find("Scale=VALUE"), std::string::npos) << valueless.errors;
}

// Nothing is pressed that was not asked for: not by `panels`, not before a run, not in a dry run.
TEST_F(Strangers, nothing_is_pressed_unasked_and_a_wrong_label_is_found_at_the_end_of_its_step) {
    const std::string module = CADENCORA_BIN_DIR "/modules/stranger.so";
    const auto listed = runProgramFile({"panels", "--plugin", module}, folder / "errors");
    ASSERT_EQ(listed.status, 0) << listed.errors;
    for (const char* text : {"\"Stranger\" (this one) \"Silent\"", "Offset (integer)",
                             "Side (choice: Left, Right)", "Files (button)", "--explore"})
        EXPECT_NE(listed.output.find(text), std::string::npos) << text << "\n" << listed.output;
    EXPECT_FALSE(fs::exists(file));
    const auto explored =
        runProgramFile({"panels", "--plugin", module, "--explore"}, folder / "errors");
    ASSERT_EQ(explored.status, 0) << explored.errors;
    for (const char* text : {"\"Growing\"", "Second\n", "  Go\n"})
        EXPECT_NE(explored.output.find(text), std::string::npos) << text << "\n" << explored.output;

    const auto wrong = run("stranger", {"--press", "Keep", "--press", "Save", "--set", "Cuont=1",
                                        "-o", output.string()});
    EXPECT_EQ(wrong.status, 2);
    EXPECT_NE(wrong.errors.find("no dialog has a control labelled \"Cuont\" (\"Count\")"),
              std::string::npos)
        << wrong.errors;
    EXPECT_NE(wrong.errors.find("had already written " + file.string()), std::string::npos)
        << wrong.errors;
    EXPECT_FALSE(fs::exists(output));
}

TEST_F(Strangers, one_host_serves_all_files_of_a_process) {
    const auto result =
        run("stranger", {"--in-process", "--press", "Recall", "--report", "json"}, {ball, ball});
    EXPECT_EQ(result.status, 1) << "an item of the first file is not one of the second";
    const auto files = nlohmann::json::parse(result.output)["files"];
    EXPECT_EQ(files[0]["steps"][1]["messages"][0]["lines"][0], "remembered Ball");
    EXPECT_EQ(files[1]["steps"][1]["messages"][0]["lines"][0], "the item is gone");
    EXPECT_EQ(files[1]["steps"][0]["messages"][0]["lines"][0], "activation 2 with 0");
    EXPECT_NE(result.errors.find("the item is gone, or not of this scene"), std::string::npos);
    EXPECT_EQ(fileText(log), "startup\nactivation\nactivation\nshutdown\n");
}

TEST_F(Strangers, whatever_a_plug_in_does_the_file_stays_and_the_program_says_why) {
    const struct {
        const char* button;
        const char* set; // null: none
        const char* expected;
        int status;
    } cases[] = {{"Exit", nullptr, "ended early (with status 0)", 1},
                 {"Crash", nullptr, "ended early (", 1},
                 {"Throw", nullptr, "threw an exception (out of ideas)", 1},
                 {"Dialog", "Throw within", "threw an exception", 1},
                 {"Ask", nullptr, "more than 10000 dialogs and messages", 1},
                 {"Rows", "List=last", "2000000000 rows", 2}};
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    for (const auto& row : cases) {
        SCOPED_TRACE(row.button);
        std::vector<std::string> steps{"--press", row.button, "-o", output.string()};
        if (row.set) steps.insert(steps.end(), {"--set", row.set});
        const auto result = run("rude", steps);
        EXPECT_EQ(result.status, row.status);
        EXPECT_NE(result.errors.find(row.expected), std::string::npos) << result.errors;
        EXPECT_FALSE(fs::exists(output));
    }
    // A relative output means what it meant at the start.
    const fs::path before = fs::current_path();
    fs::current_path(folder);
    const auto wandered = run("rude", {"--press", "Wander", "-o", "out.stage"});
    fs::current_path(before);
    EXPECT_EQ(wandered.status, 0) << wandered.errors;
    EXPECT_TRUE(fs::exists(output));
}

} // namespace
} // namespace cadencora::stage
