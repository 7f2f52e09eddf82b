// Many files, many clips: what is worked on, what is said of it, and what a later run passes over.
#include "tests/stage/cli/program.h"
#include "tests/stage/formats/gltf/document.h"
#include "tests/test_folder.h"

#include <chrono>
#include <csignal>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace cadencora::stage {
namespace {

namespace fs = std::filesystem;

const std::string example = CADENCORA_SOURCE_DIR "/docs/examples/ball.stage";

struct Collections : testing::Test {
    fs::path folder = testFolder() / "files";

    Collections() { fs::create_directories(folder); }

    static void write(const fs::path& path, const std::string& text) {
        fs::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << text;
    }
    std::string path(const std::string& name) const { return (folder / name).string(); }
    ProgramResult run(std::vector<std::string> arguments) const {
        return runProgramFile(arguments, folder / "errors");
    }
    // Destroys keys of all items.
    ProgramResult destroy(std::vector<std::string> more) const {
        std::vector<std::string> arguments{"run", "--press", "Destroy Keys", "--set",
                                           "Use selected objects only=off"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return run(arguments);
    }
    std::vector<nlohmann::json> lines(const std::string& text) const {
        std::vector<nlohmann::json> made;
        std::istringstream in(text);
        for (std::string line; std::getline(in, line);)
            made.push_back(nlohmann::json::parse(line));
        return made;
    }
    // Copies of the example in two folders with files of the same names.
    void makeTakes(int count) const {
        for (int i = 0; i < count; ++i)
            write(folder / "takes" / (i % 2 ? "b" : "a") / ("t" + std::to_string(i / 2) + ".stage"),
                  fileText(example));
    }
    std::vector<std::string> filesIn(const std::string& name) const {
        std::vector<std::string> found;
        for (const auto& entry : fs::recursive_directory_iterator(folder / name))
            if (entry.is_regular_file())
                found.push_back(fs::relative(entry.path(), folder / name).string());
        std::ranges::sort(found);
        return found;
    }
};

TEST_F(Collections, every_chosen_clip_is_worked_on_with_one_reading_and_one_writing) {
    write(folder / "clips.glb", gltf::Document::twoClips().glb());
    const auto both = destroy({path("clips.glb"), "--clip", "*", "--report", "json", "--set",
                               "Start=0", "--set", "End=0", "-o", path("both.glb")});
    ASSERT_EQ(both.status, 0) << both.errors;
    const auto files = nlohmann::json::parse(both.output)["files"];
    ASSERT_EQ(files.size(), 2u);
    EXPECT_EQ(files[0]["clip"], "Clip 0");
    EXPECT_EQ(files[0]["steps"][0]["changes"]["keysRemoved"], 9);
    EXPECT_EQ(files[1]["clip"], "Clip 1");
    EXPECT_EQ(files[1]["steps"][0]["changes"]["keysRemoved"], 3);
    // One after the other, the same comes out.
    fs::copy_file(folder / "clips.glb", folder / "each.glb");
    for (const char* clip : {"Clip 0", "Clip 1"})
        ASSERT_EQ(destroy({path("each.glb"), "--clip", clip, "--set", "Start=0", "--set", "End=0",
                           "-o", path("each.glb")})
                      .status,
                  0);
    for (const char* clip : {"Clip 0", "Clip 1"}) {
        std::string text[2];
        for (const int k : {0, 1}) {
            const std::string name = k == 0 ? "both" : "each";
            run({"convert", path(name + ".glb"), path("x.stage"), "--clip", clip});
            text[k] = fileText(path("x.stage"));
            text[k].erase(text[k].find(name), 4);
        }
        EXPECT_EQ(text[0], text[1]) << clip;
    }
    // A clip that fails keeps the file from being written, and the others say so.
    auto uneven = gltf::Document::twoClips();
    uneven.json["animations"][1]["samplers"][0]["input"] = uneven.times({0, 0.25f});
    write(folder / "clips.glb", uneven.glb());
    const auto failed = destroy({path("clips.glb"), "--clip", "*", "--set", "Start=20", "--set",
                                 "End=20", "-o", path("no.glb"), "--report", "jsonl"});
    EXPECT_EQ(failed.status, 1);
    EXPECT_EQ(lines(failed.output)[0]["problems"][0]["code"], "other-clip");
    EXPECT_EQ(lines(failed.output)[1]["problems"][0]["code"], "step") << failed.output;
    EXPECT_FALSE(fs::exists(path("no.glb")));
    EXPECT_EQ(destroy({path("clips.glb"), "--clip", "*", "-o", path("no.bvh")}).status, 2)
        << "a format with one animation";
    const auto unknown = destroy({path("clips.glb"), "--clip", "Klip*"});
    EXPECT_EQ(unknown.status, 2);
    EXPECT_NE(unknown.errors.find("\"Clip 0\""), std::string::npos) << unknown.errors;
    EXPECT_EQ(destroy({example, "--clip", "*", "--dry-run"}).status, 0) << "one without a name";
}

TEST_F(Collections, clips_that_lose_all_keys_go_and_the_others_stay) {
    auto three = gltf::Document::twoClips();
    const std::size_t at = three.times({0, 1}), turned = three.floats({1, 2, 3, 4, 5, 6}, "VEC3");
    three.animate(2, 0, "scale", at, turned);
    write(folder / "three.glb", three.glb());
    ASSERT_EQ(
        destroy({path("three.glb"), "--clip", "Clip 0", "--clip", "Clip 1", "-o", path("one.glb")})
            .status,
        0);
    const auto left = gltf::documentOf(fileText(path("one.glb")));
    ASSERT_EQ(left.json["animations"].size(), 1u);
    EXPECT_EQ(left.json["animations"][0]["name"], "Clip 2");
}

TEST_F(Collections, folders_are_mirrored_and_shards_share_them_out) {
    makeTakes(6);
    write(folder / "takes/notes.txt", "no animation");
    write(folder / "takes/.hidden.bvh", "not asked for");
    fs::create_directory_symlink("..", folder / "takes/a/loop");
    const auto all = destroy({path("takes"), "--out-dir", path("takes/out"), "-j", "2"});
    ASSERT_EQ(all.status, 0) << all.errors;
    EXPECT_NE(all.errors.find("\n6 done, 0 failed\n"), std::string::npos) << all.errors;
    const std::vector<std::string> names{"a/t0.stage", "a/t1.stage", "a/t2.stage",
                                         "b/t0.stage", "b/t1.stage", "b/t2.stage"};
    EXPECT_EQ(filesIn("takes/out"), names);
    std::vector<std::string> shared;
    for (const char* shard : {"1/4", "2/4", "3/4", "4/4"}) {
        const auto one = destroy({path("takes"), "--out-dir", path("takes/out"), "--shard", shard,
                                  "--report", "jsonl", "-q"});
        EXPECT_EQ(one.status, 0) << one.errors;
        EXPECT_EQ(one.errors, "");
        for (const auto& line : lines(one.output))
            shared.push_back(
                fs::relative(line["output"].get<std::string>(), folder / "takes/out").string());
    }
    std::ranges::sort(shared);
    EXPECT_EQ(shared, names) << "each once, and none of the outputs again";
    write(folder / "list", path("takes/a/t0.stage") + "\r\n\n" + path("takes/a/t1.stage"));
    const auto listed = destroy({"--files-from", path("list"), "--report", "jsonl", "--dry-run"});
    EXPECT_EQ(lines(listed.output).size(), 2u) << listed.errors;
    EXPECT_EQ(destroy({path("takes"), "--shard", "5/4"}).status, 2);
    fs::create_directory(folder / "empty");
    EXPECT_EQ(destroy({path("empty")}).status, 2);
}

TEST_F(Collections, a_line_for_each_file_has_codes_and_what_failed_is_named) {
    makeTakes(2);
    write(folder / "takes/broken.stage", "{");
    const auto result = destroy({path("takes"), "--report", "jsonl", "--select", "Nobody"});
    EXPECT_EQ(result.status, 1);
    std::map<std::string, int> codes;
    for (const auto& line : lines(result.output)) {
        EXPECT_EQ(line["status"], line["problems"][0]["code"] == "read" ? "failed" : "refused");
        ++codes[line["problems"][0]["code"].get<std::string>()];
    }
    EXPECT_EQ(codes, (std::map<std::string, int>{{"item", 2}, {"read", 1}}));
    EXPECT_NE(result.errors.find("0 done, 3 failed: "), std::string::npos) << result.errors;
}

TEST_F(Collections, a_run_passes_over_what_an_earlier_one_finished_as_it_still_is) {
    makeTakes(4);
    const std::string report = path("report");
    const auto resume = [&](std::vector<std::string> more = {}) {
        std::vector<std::string> words{path("takes"),   "--out-dir", path("out"),
                                       "--report-file", report,      "--resume"};
        words.insert(words.end(), more.begin(), more.end());
        const std::size_t before = fs::exists(report) ? lines(fileText(report)).size() : 0;
        const auto result = destroy(words);
        EXPECT_EQ(result.status, 0) << result.errors;
        return lines(fileText(report)).size() - before; // how many were worked on
    };
    EXPECT_EQ(resume(), 4u);
    EXPECT_EQ(resume(), 0u);
    EXPECT_EQ(resume({"--set", "End=5"}), 4u) << "other values";
    EXPECT_EQ(resume(), 4u) << "the last run counts";
    std::ofstream(path("takes/a/t1.stage"), std::ios::app) << "\n";
    EXPECT_EQ(resume(), 1u) << "another input";
    fs::remove(path("out/b/t0.stage"));
    write(folder / "out/b/t1.stage", "{}");
    EXPECT_EQ(resume(), 2u) << "outputs that are gone, or not what was written";
    // A line that was cut off counts for nothing and harms no other.
    fs::remove(report);
    EXPECT_EQ(resume(), 4u);
    std::string text = fileText(report);
    text.resize(text.size() - 30);
    write(report, text);
    const auto cut = destroy({path("takes"), "--out-dir", path("out"), "--report-file", report,
                              "--resume", "--report", "jsonl"});
    EXPECT_EQ(lines(cut.output).size(), 1u) << cut.errors;
    EXPECT_NE(cut.errors.find("4 done (3 before), 0 failed"), std::string::npos) << cut.errors;
    EXPECT_EQ(destroy({path("takes"), "--resume"}).status, 2) << "without a report file";
    // An input that the run wrote onto is not worked on a second time.
    const std::vector<std::string> onto{
        path("takes/a/t0.stage"), "-o",         path("takes/a/t0.stage"),
        "--report-file",          path("onto"), "--resume"};
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(destroy(onto).status, 0);
    EXPECT_EQ(lines(fileText(path("onto"))).size(), 1u);
}

TEST_F(Collections, a_run_killed_at_any_moment_is_resumed_to_the_same_outputs) {
    makeTakes(40);
    ASSERT_EQ(destroy({path("takes"), "--out-dir", path("whole"), "-q"}).status, 0);
    const std::string report = path("report");
    const std::vector<std::string> words{CADENCORA_BIN_DIR "/cadencora",
                                         "run",
                                         path("takes"),
                                         "--press",
                                         "Destroy Keys",
                                         "--set",
                                         "Use selected objects only=off",
                                         "--out-dir",
                                         path("out"),
                                         "--report-file",
                                         report,
                                         "--resume",
                                         "-q",
                                         "-j",
                                         "2"};
    std::vector<char*> arguments;
    for (const std::string& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    int status = -1, kills = 0;
    for (; kills < 10; ++kills) {
        const pid_t process = fork();
        if (process == 0) {
            execv(arguments[0], arguments.data());
            _exit(127);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(8 + 7 * kills));
        kill(process, SIGKILL);
        waitpid(process, &status, 0);
    }
    ASSERT_EQ(run(std::vector<std::string>(words.begin() + 1, words.end())).status, 0);
    EXPECT_EQ(filesIn("out"), filesIn("whole")) << "and nothing left lying about";
    for (const std::string& name : filesIn("whole"))
        EXPECT_EQ(fileText(folder / "out" / name), fileText(folder / "whole" / name)) << name;
    std::map<std::string, int> done;
    std::istringstream in(fileText(report));
    for (std::string line; std::getline(in, line);)
        if (const auto json = nlohmann::json::parse(line, nullptr, false); json.is_object())
            ++done[json["input"].get<std::string>()];
    EXPECT_EQ(done.size(), 40u);
    for (const auto& [input, count] : done)
        EXPECT_EQ(count, 1) << input;
}

TEST_F(Collections, an_output_that_would_be_the_same_is_not_written_again) {
    const auto number = [&](const std::string& name) {
        struct stat status {};
        EXPECT_EQ(stat(path(name).c_str(), &status), 0);
        return status.st_ino;
    };
    ASSERT_EQ(run({"convert", example, path("a.stage")}).status, 0);
    const auto before = number("a.stage");
    ASSERT_EQ(run({"convert", example, path("a.stage")}).status, 0);
    EXPECT_EQ(number("a.stage"), before);
    const auto other = destroy({path("a.stage"), "-o", path("a.stage")});
    EXPECT_NE(number("a.stage"), before) << other.output;
    const auto same = destroy({path("a.stage"), "-o", path("a.stage")});
    EXPECT_NE(same.output.find("not written again"), std::string::npos) << same.output;
}

TEST_F(Collections, scenes_go_through_pipes) {
    const std::string program = CADENCORA_BIN_DIR "/cadencora";
    const auto shell = [&](const std::string& line) {
        return std::system(("cd " + shellQuoted(folder.string()) + " && " + line).c_str());
    };
    ASSERT_EQ(shell(shellQuoted(program) + " convert " + shellQuoted(example) +
                    " - --format glb 2>errors | " + shellQuoted(program) +
                    " run - --press 'Destroy Keys' --set 'Use selected objects only=off' -o - "
                    "2>report >out.glb"),
              0)
        << fileText(path("errors")) << fileText(path("report"));
    ASSERT_EQ(run({"convert", example, path("in.glb")}).status, 0);
    ASSERT_EQ(destroy({path("in.glb"), "-o", path("same.glb")}).status, 0);
    EXPECT_EQ(run({"info", path("out.glb"), "--json"}).output.size(),
              run({"info", path("same.glb"), "--json"}).output.size() - 1)
        << "all but the scene's name is the same";
    EXPECT_NE(fileText(path("report")).find("wrote -"), std::string::npos);
    EXPECT_EQ(destroy({example, "-o", path("a.stage"), "--format", "glb"}).status, 2);
    EXPECT_EQ(destroy({"-", "--report-file", path("lines"), "--resume"}).status, 2);
    EXPECT_EQ(shell("echo nothing | " + shellQuoted(program) + " info - 2>errors"), 256);
}

TEST_F(Collections, edits_of_the_whole_file_stay_in_the_output_and_in_recipes) {
    write(folder / "map.json", R"({"Ball": "Sphere", "Nobody": "Somebody"})");
    write(folder / "wrong.json", R"({"Ball": 1})");
    ASSERT_EQ(destroy({example, "--scale", "0.01", "--rename", path("map.json"), "--save-recipe",
                       path("r.recipe"), "-o", path("a.stage")})
                  .status,
              0);
    EXPECT_NE(fileText(path("a.stage")).find("\"Sphere\""), std::string::npos);
    ASSERT_EQ(run({"run", example, "--recipe", path("r.recipe"), "-o", path("b.stage")}).status, 0);
    EXPECT_EQ(fileText(path("a.stage")), fileText(path("b.stage")));
    EXPECT_EQ(destroy({example, "--rename", path("wrong.json")}).status, 2);
    EXPECT_EQ(destroy({example, "--scale", "0"}).status, 2);
    const auto mistyped = destroy({example, "--reprot", "json"});
    EXPECT_EQ(mistyped.status, 2);
    EXPECT_NE(mistyped.errors.find("\"--report\""), std::string::npos) << mistyped.errors;
}

} // namespace
} // namespace cadencora::stage
