// What the program does not write over, what it says where writing fails, and how it is
// interrupted.

#include "tests/stage/cli/program.h"
#include "tests/stage/formats/gltf/document.h"

#include <csignal>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace cadencora::stage {
namespace {

namespace fs = std::filesystem;

const std::string ball = CADENCORA_SOURCE_DIR "/docs/examples/ball.stage";

struct Outputs : testing::Test {
    fs::path folder = testFolder() / "files", scene = folder / "ball.stage";

    Outputs() {
        fs::create_directories(folder);
        fs::copy_file(ball, scene);
    }
    ~Outputs() override { fs::remove_all(folder); }
    std::string path(const char* name) const { return (folder / name).string(); }
    ProgramResult run(const std::vector<std::string>& arguments) const {
        return runProgramFile(arguments, testFolder() / "errors");
    }
    ProgramResult destroy(const std::vector<std::string>& more,
                          std::vector<std::string> inputs = {}) const {
        if (inputs.empty()) inputs = {scene.string()};
        inputs.insert(inputs.begin(), "run");
        inputs.insert(inputs.end(), {"--select", "Ball", "--press", "Destroy Keys"});
        inputs.insert(inputs.end(), more.begin(), more.end());
        return run(inputs);
    }
    std::size_t count() const {
        return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), {}));
    }
};

TEST_F(Outputs, no_input_is_written_over_and_no_two_outputs_are_one) {
    fs::create_symlink("ball.stage", folder / "link.json");
    fs::create_directories(folder / "in");
    fs::copy_file(ball, folder / "in" / "a.stage");
    fs::create_symlink("ball.stage", folder / "a.stage");
    const std::string before = fileText(scene);
    struct Case {
        ProgramResult result;
        const char* words;
    };
    const std::string in = path("in/a.stage"), plotted = "Ball/Position.Y";
    const Case refused[] = {
        {destroy({"--save-recipe", scene.string()}), "would replace an input"},
        {destroy({"--save-recipe", path("link.json")}), "would replace an input"},
        {destroy({"-o", path("b.stage"), "--save-recipe", path("./b.stage")}), "same file"},
        {destroy({"--out-dir", folder.string()}, {in, scene.string()}), "would replace an input"},
        {destroy({"-o", ""}), "empty"},
        {destroy({"--out-dir", ""}), "empty"},
        {run({"plot", scene.string(), "--channel", plotted, "-o", scene.string()}), "an input"},
        {run({"plot", in, "--before", scene.string(), "--channel", plotted, "-o",
              path("link.json")}),
         "an input"},
        {run({"convert", scene.string(), ""}), "empty"},
    };
    const std::size_t files = count();
    for (const auto& [result, words] : refused) {
        EXPECT_EQ(result.status, 2) << words << result.errors;
        EXPECT_NE(result.errors.find(words), std::string::npos) << result.errors;
    }
    EXPECT_EQ(fileText(scene), before);
    EXPECT_EQ(count(), files);
    EXPECT_EQ(destroy({"-o", path("link.json")}).status, 2) << "no scene has that ending";
    EXPECT_EQ(destroy({"-o", path("a.stage")}).status, 0) << "its own input, through a link";
    EXPECT_NE(fileText(scene), before);
}

TEST_F(Outputs, a_document_never_replaces_a_file_that_it_needs) {
    const auto document = gltf::Document::twoClips();
    const auto put = [&](const char* name, const std::string& uri) {
        std::ofstream(folder / name, std::ios::binary) << document.external(uri);
        std::ofstream(folder / uri, std::ios::binary) << document.bytes;
    };
    put("a.gltf", "a.bin");
    put("b.gltf", "out.gltf");
    fs::create_symlink("a.bin", folder / "link.bvh");
    fs::create_directories(folder / "new");
    const auto through = run({"convert", path("a.gltf"), path("link.bvh")});
    EXPECT_EQ(through.status, 1);
    EXPECT_NE(through.errors.find("a file that it is made from"), std::string::npos)
        << through.errors;
    const auto beside = run({"convert", path("b.gltf"), path("new/out.gltf")});
    EXPECT_EQ(beside.status, 1);
    EXPECT_NE(beside.errors.find("a file that it needs"), std::string::npos) << beside.errors;
    EXPECT_TRUE(fs::is_empty(folder / "new"));
    EXPECT_EQ(fileText(folder / "a.bin"), document.bytes);
    // A buffer that was placed goes again where the document itself cannot be written.
    fs::create_directories(folder / "new" / "c.gltf");
    EXPECT_EQ(run({"convert", path("a.gltf"), path("new/c.gltf")}).status, 1);
    EXPECT_FALSE(fs::exists(folder / "new" / "a.bin"));
}

TEST_F(Outputs, standard_output_that_fails_is_an_error) {
    const std::string program = shellQuoted(std::string(CADENCORA_BIN_DIR) + "/cadencora");
    const std::string in = shellQuoted(scene.string());
    const std::vector<std::string> commands{"info " + in,
                                            "panels",
                                            "run " + in +
                                                " --press 'Destroy Keys' --select Ball --dry-run",
                                            "convert " + in + " " + shellQuoted(path("out.stage")),
                                            "plot " + in + " --channel Ball/Position.Y",
                                            "--help"};
    for (const std::string& command : commands)
        for (const char* sink : {">/dev/full", ">&-"}) {
            const std::string errors = path("errors");
            const std::string line = program + " " + command + " " + sink + " 2>" + errors;
            const int status = std::system(line.c_str());
            EXPECT_EQ(WEXITSTATUS(status), 1) << line;
            EXPECT_NE(fileText(errors).find("cannot write to standard output"), std::string::npos)
                << line;
        }
    EXPECT_TRUE(fileText(folder / "out.stage").starts_with("{")) << "not what was printed";
}

TEST_F(Outputs, control_characters_of_names_reach_no_terminal) {
    std::string text = fileText(scene);
    const std::string word = "\"Ball\"", odd = R"("Ba\u001b[2Jl\nl\u009b")";
    for (std::size_t at = 0; (at = text.find(word, at)) != std::string::npos; at += odd.size())
        text.replace(at, word.size(), odd);
    std::ofstream(scene, std::ios::binary) << text;
    const auto info = run({"info", scene.string()});
    EXPECT_NE(info.output.find("Ba\\x1b[2Jl\\nl\\x9b (object)"), std::string::npos) << info.output;
    const auto unknown =
        run({"run", scene.string(), "--press", "Destroy Keys", "--select", "Ba[2Jl l"});
    EXPECT_EQ(unknown.status, 2);
    EXPECT_NE(unknown.errors.find("\"Ba\\x1b[2Jl\\nl\\x9b\""), std::string::npos) << unknown.errors;
    const auto missing = run({"info", path("a\x1b.bvh")});
    for (const auto& result : {info, unknown, missing})
        EXPECT_EQ((result.output + result.errors).find('\x1b'), std::string::npos);
}

TEST_F(Outputs, nothing_waits_for_a_pipe_and_an_old_pose_outlives_a_write_that_fails) {
    ASSERT_EQ(mkfifo(path("pipe.bvh").c_str(), 0600), 0);
    const std::string pipe = path("pipe.bvh"), pose = path("pose");
    const std::vector<std::string> each[] = {
        {"info", pipe},
        {"run", scene.string(), "--recipe", pipe},
        {"run", scene.string(), "--press", "Load Single Frame data", "--select", "Ball", "--set",
         "Load file full path=" + pipe},
        {"run", scene.string(), "--press", "Save Single Frame data", "--select", "Ball", "--set",
         "File full path=" + pipe},
        {"run", scene.string(), "--press", "Destroy Keys", "--set",
         "Affected Objects/Load=/dev/zero"},
    };
    for (const auto& arguments : each) {
        const auto result = run(arguments);
        EXPECT_EQ(result.status, arguments.size() == 4 ? 2 : 1) << result.errors;
        const std::string& last = arguments.back();
        EXPECT_NE(result.errors.find(last.substr(last.find('=') + 1)), std::string::npos)
            << result.errors;
    }
    std::ofstream(pose) << "PRECIOUS";
    const std::string line =
        "(ulimit -f 0; " + shellQuoted(CADENCORA_BIN_DIR "/cadencora") + " run " +
        shellQuoted(scene.string()) + " --press 'Save Single Frame data' --select Ball --set " +
        shellQuoted("File full path=" + pose) + ") 2>&1 | cat >" + shellQuoted(path("said"));
    EXPECT_EQ(std::system(line.c_str()), 0);
    EXPECT_EQ(fileText(pose), "PRECIOUS");
    EXPECT_NE(fileText(folder / "said").find("Failure to write file: File too large"),
              std::string::npos)
        << fileText(folder / "said");
    fs::create_symlink("pose", folder / "link");
    EXPECT_EQ(run({"run", scene.string(), "--press", "Save Single Frame data", "--select", "Ball",
                   "--set", "File full path=" + path("link")})
                  .status,
              0);
    EXPECT_TRUE(fs::is_symlink(folder / "link"));
    EXPECT_NE(fileText(pose).find("Position.Y"), std::string::npos);
    EXPECT_EQ(count(), 5u) << "nothing is left beside it";
}

// A batch whose last file never ends, as a plug-in's button does not return.
TEST_F(Outputs, an_interrupted_batch_ends_at_once_with_what_is_known) {
    const fs::path out = folder / "out", report = folder / "report", errors = folder / "errors";
    const pid_t process = fork();
    if (process == 0) {
        if (!freopen(report.c_str(), "w", stdout) || !freopen(errors.c_str(), "w", stderr))
            _exit(99);
        std::signal(SIGTERM, SIG_DFL);
        execl(CADENCORA_BIN_DIR "/cadencora", "cadencora", "run", (folder / "no.stage").c_str(),
              scene.c_str(), "--plugin", CADENCORA_BIN_DIR "/modules/rude.so", "--press", "Sleep",
              "--out-dir", out.c_str(), "--report", "json", nullptr);
        _exit(98);
    }
    const auto since = std::chrono::steady_clock::now();
    const auto waited = [&] { return std::chrono::steady_clock::now() - since; };
    while (fileText(errors).find("[1/2]") == std::string::npos &&
           waited() < std::chrono::seconds(20))
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    std::this_thread::sleep_for(std::chrono::milliseconds(200)); // the second one is at it
    ASSERT_EQ(kill(process, SIGTERM), 0);
    int status = 0;
    ASSERT_EQ(waitpid(process, &status, 0), process);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 128 + SIGTERM) << fileText(errors);
    const auto files = nlohmann::json::parse(fileText(report))["files"];
    ASSERT_EQ(files.size(), 2u);
    EXPECT_EQ(files[1]["problems"][0]["what"], "interrupted");
    EXPECT_TRUE(fs::is_empty(out));
}

} // namespace
} // namespace cadencora::stage
