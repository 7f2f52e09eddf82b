// Real glTF files: one clip is edited, and everything else stays byte for byte.

#include "stage/scene/transform.h"
#include "tests/stage/cli/program.h"
#include "tests/stage/formats/gltf/document.h"

#include <cmath>
#include <numbers>
#include <set>

namespace cadencora::stage::gltf {
namespace {

constexpr double pi = std::numbers::pi;

// Everything except one clip, and every buffer view that it does not use, is as it was.
void expectOthersKept(const std::string& was, const std::string& is, const std::string& open) {
    const auto before = documentOf(was), after = documentOf(is);
    for (const char* table : {"nodes", "meshes", "skins", "materials", "samplers", "scenes"})
        EXPECT_EQ(after.json[table], before.json[table]) << table;
    std::set<std::size_t> used; // accessors of the open clip
    std::size_t walking = 0, clips = before.json["animations"].size();
    for (std::size_t clip = 0; clip < clips; ++clip) {
        const Json& animation = before.json["animations"][clip];
        if (animation["name"] != open) {
            EXPECT_EQ(after.json["animations"][clip], animation);
            continue;
        }
        walking = clip;
        for (const Json& sampler : animation["samplers"])
            for (const char* end : {"input", "output"})
                used.insert(sampler[end].get<std::size_t>());
    }
    EXPECT_GT(walking, 0u);
    for (std::size_t i = 0; i < before.json["accessors"].size(); ++i) {
        if (used.contains(i)) continue;
        EXPECT_EQ(after.json["accessors"][i], before.json["accessors"][i]);
        const auto view = before.json["accessors"][i]["bufferView"].get<std::size_t>();
        EXPECT_EQ(viewBytes(after, view), viewBytes(before, view)) << "accessor " << i;
    }
}

TEST(GltfWrite, real_clips_are_opened_written_and_edited_one_at_a_time) {
    const auto robot = dataFile("robot_expressive.glb"), test = dataFile("interpolation_test.gltf");
    if (robot.empty() || test.empty()) GTEST_SKIP() << "the files are missing";
    const auto first = readScene(test);
    ASSERT_TRUE(first.ok());
    ASSERT_EQ(first.value().clips.size(), 9u);
    for (const std::string& clip : first.value().clips) {
        ReadOptions options;
        options.clip = clip;
        const auto file = readScene(test, options);
        ASSERT_TRUE(file.ok());
        EXPECT_GT(file.value().scene.keyCount(), 0u) << clip;
        EXPECT_EQ(written(file.value().scene, "test.gltf"), bytesOf(test)) << clip;
    }

    ReadOptions options;
    options.clip = "Walking";
    auto file = readScene(robot, options);
    ASSERT_TRUE(file.ok());
    ASSERT_EQ(file->clips.size(), 14u);
    Scene& scene = file->scene;
    const std::string source = bytesOf(robot);
    EXPECT_EQ(written(scene, "robot.glb"), source);
    for (const char* item : {"Body", "Neck"})
        for (const MotionChannel c : {heading, pitch, bank})
            for (auto key = curve(scene, item, c).keys.begin(); key; key.advance())
                curve(scene, item, c).keys.setValue(key, key.value() + 0.125);
    keyAt(scene, "Body", positionY, 7, 0.01);
    keyAt(scene, "Body", positionY, 40, 0.02); // beyond the last key of the clip
    keyAt(scene, "Head", scaleX, 3, 1.5);
    expectOthersKept(source, written(scene, "robot.glb"), "Walking");
    const auto back = readScene(scratch("robot.glb"), options);
    ASSERT_TRUE(back.ok());
    for (std::size_t i = 0; i < scene.itemCount(); ++i)
        for (std::size_t c = 0; c < motionChannelCount; ++c) {
            const Envelope& was = scene.motion(Scene::itemAt(i), static_cast<MotionChannel>(c));
            const Envelope& is =
                back.value().scene.motion(Scene::itemAt(i), static_cast<MotionChannel>(c));
            for (int frame = 0; frame <= 41; ++frame)
                ASSERT_NEAR(is.evaluate(frame / 24.0), was.evaluate(frame / 24.0), 1e-5)
                    << scene.item(Scene::itemAt(i)).name << " " << motionChannelNames[c];
        }
}

TEST(GltfWrite, commands_on_a_real_clip_are_written_and_read_back) {
    const auto robot = dataFile("robot_expressive.glb");
    if (robot.empty()) GTEST_SKIP() << "the file is missing";
    const auto path = scratch("commands.glb");
    const auto everything = [](std::string press) {
        return std::vector<std::string>{"--press", std::move(press), "--set",
                                        "Use selected objects only=off"};
    };
    std::vector<std::string> arguments{"run",     robot.string(), "--clip",
                                       "Walking", "-o",           path.string()};
    for (auto step : {everything("Defractionalize"), everything("Key All Morphs"),
                      everything("Cycle (Bake) Keys")})
        arguments.insert(arguments.end(), step.begin(), step.end());
    arguments.insert(arguments.end(), {"--set", "Repeats=3"});
    const auto result = runProgramFile(arguments, scratch("errors"));
    ASSERT_EQ(result.status, 0) << result.errors;
    expectOthersKept(bytesOf(robot), bytesOf(path), "Walking");

    ReadOptions options;
    options.clip = "Walking";
    const auto was = readScene(robot, options), is = readScene(path, options);
    ASSERT_TRUE(was && is);
    EXPECT_EQ(is.value().scene.lastFrame, 92);
    for (std::size_t i = 0; i < was.value().scene.itemCount(); ++i)
        for (std::size_t c = 0; c < motionChannelCount; ++c) {
            const auto channel = static_cast<MotionChannel>(c);
            const Envelope& once = was.value().scene.motion(Scene::itemAt(i), channel);
            const Envelope& often = is.value().scene.motion(Scene::itemAt(i), channel);
            for (int frame = 1; frame < 23; ++frame)
                for (int turn = 0; turn <= 3 && !once.keys.empty(); ++turn)
                    ASSERT_NEAR(std::remainder(often.evaluate((frame + 23 * turn) / 24.0) -
                                                   once.evaluate(frame / 24.0),
                                               c >= heading && c <= bank ? 2 * pi : 1e9),
                                0, 1e-4)
                        << was.value().scene.item(Scene::itemAt(i)).name << " " << frame;
        }
}

} // namespace
} // namespace cadencora::stage::gltf
