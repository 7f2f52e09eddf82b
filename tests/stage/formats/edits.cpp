// Other lengths and other names, made as a file is read.
#include "stage/formats/registry.h"
#include "tests/stage/formats/gltf/document.h"
#include "tests/test_folder.h"

#include <fstream>
#include <gtest/gtest.h>

namespace cadencora::stage {
namespace {

namespace fs = std::filesystem;

fs::path placed(const std::string& name, const std::string& bytes) {
    const fs::path path = testFolder() / name;
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
}

std::string bytesOf(const fs::path& path) {
    return *readFile(path);
}

// Reads with the edits and writes the result.
Loaded edited(const fs::path& from, const fs::path& to, const FileEdits& edits) {
    ReadOptions options;
    options.edits = edits;
    options.meshes = true;
    auto loaded = readScene(from, options);
    EXPECT_TRUE(loaded.ok()) << loaded.problem().text();
    const auto written = writeScene(loaded->scene, to);
    EXPECT_TRUE(written.ok()) << written.problem().text();
    return std::move(*loaded);
}

// A mesh on a bone, with everything that is a length, and a sampler and numbers used twice.
gltf::Document lengths() {
    auto document = gltf::Document::twoClips();
    document.json["nodes"][1]["skin"] = 0;
    const std::vector<float> bind{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0.5f, 1, 1.5f, 1};
    const std::size_t binds = document.numbers(bind, "MAT4", 5126, 16);
    document.json["skins"] = {{{"joints", {0}}, {"inverseBindMatrices", binds}}};
    auto& clip = document.json["animations"][1];
    clip["channels"].push_back({{"sampler", 0}, {"target", {{"node", 1}, {"path", "scale"}}}});
    document.node(R"({"name": "M", "matrix": [1,0,0,0, 0,1,0,0, 0,0,1,0, 4,5,6,1]})");
    return document;
}

TEST(Edits, scaling_reaches_all_lengths_and_back_to_the_bit) {
    const std::string bvh = "HIERARCHY\nROOT Hips\n{\n  OFFSET 1 2 3\n  CHANNELS 6 Xposition "
                            "Yposition Zposition Zrotation Xrotation Yrotation\n  End Site\n  {\n"
                            "    OFFSET 0 5 0\n  }\n}\nMOTION\nFrames: 2\nFrame Time: 0.1\n"
                            "1 90 0 10 20 30\n2 91.5 0 1 2 3\n";
    const fs::path sources[] = {placed("a.bvh", bvh), placed("a.glb", lengths().glb()),
                                placed("a.gltf", lengths().embedded())};
    for (const fs::path& source : sources) {
        const std::string ending = source.extension().string();
        const fs::path small = testFolder() / ("small" + ending),
                       back = testFolder() / ("back" + ending);
        const Loaded before = edited(source, testFolder() / ("same" + ending), {});
        const Loaded scaled = edited(source, small, {.scale = 0.25, .names = {}});
        const Loaded after = edited(small, back, {.scale = 4, .names = {}});
        for (std::size_t i = 0; i < before.scene.itemCount(); ++i) {
            const ItemId id = Scene::itemAt(i);
            for (std::size_t c = 0; c < motionChannelCount; ++c) {
                const auto channel = static_cast<MotionChannel>(c);
                const double factor = c < 3 ? 0.25 : 1;
                const Envelope &a = before.scene.motion(id, channel),
                               &b = scaled.scene.motion(id, channel);
                EXPECT_EQ(b.rest, a.rest * factor) << source << i << c;
                EXPECT_EQ(after.scene.motion(id, channel).rest, a.rest);
                auto key = b.keys.begin(), returned = after.scene.motion(id, channel).keys.begin();
                for (auto old = a.keys.begin(); old; old.advance()) {
                    ASSERT_TRUE(key && returned);
                    EXPECT_EQ(key.value(), old.value() * factor) << source << i << c;
                    EXPECT_EQ(returned.value(), old.value());
                    key.advance();
                    returned.advance();
                }
            }
        }
        if (ending == ".bvh") {
            EXPECT_NE(bytesOf(small).find("OFFSET 0 1.25 0"), std::string::npos);
            continue;
        }
        // The other clip's sampler is one of a scale, too.
        const auto firstKey = [](const fs::path& path, MotionChannel channel) {
            ReadOptions options;
            options.clip = "Clip 1";
            auto loaded = readScene(path, options);
            return loaded->scene.motion(loaded->scene.findItem("B"), channel).keys.begin().value();
        };
        EXPECT_EQ(firstKey(small, positionX), firstKey(source, positionX) / 4);
        EXPECT_EQ(firstKey(small, scaleX), firstKey(source, scaleX));
        const auto file = gltf::documentOf(bytesOf(small));
        const auto number = [&](std::size_t accessor, std::size_t at) {
            float value = 0;
            const auto view = gltf::viewBytes(file, file.json["accessors"][accessor]["bufferView"]);
            std::memcpy(&value, view.data() + at * sizeof value, sizeof value);
            return value;
        };
        EXPECT_EQ(number(file.json["skins"][0]["inverseBindMatrices"], 14), 0.375f);
        EXPECT_EQ(number(file.json["skins"][0]["inverseBindMatrices"], 15), 1);
        const auto& primitive = file.json["meshes"][0]["primitives"][0];
        EXPECT_EQ(number(primitive["attributes"]["POSITION"], 3), 0.25f);
        EXPECT_EQ(primitive["targets"][0]["POSITION"], primitive["attributes"]["POSITION"]);
        EXPECT_EQ(file.json["accessors"][primitive["attributes"]["POSITION"].get<std::size_t>()]
                           ["max"][0],
                  0.25);
        EXPECT_EQ(file.json["nodes"][2]["matrix"][13], 1.25);
        EXPECT_EQ(file.json["nodes"][2]["matrix"][0], 1);
    }
}

TEST(Edits, scaling_reaches_pivots_and_tangents_of_scene_files) {
    Scene scene;
    const ItemId id = scene.addItem(ItemType::object, "Box");
    scene.item(id).pivot = {2, 4, 6};
    KeyStore& keys = scene.mutableMotion(id, positionY).keys;
    keys.append({1, 8, Shape::tangents, {}});
    keys.setParameter(keys.begin(), incomingSlope, 16);
    ASSERT_TRUE(writeScene(scene, testFolder() / "a.stage").ok());
    const Loaded half =
        edited(testFolder() / "a.stage", testFolder() / "b.stage", {.scale = 0.5, .names = {}});
    const Item& box = half.scene.item(half.scene.findItem("Box"));
    EXPECT_EQ(box.pivot, (Vec3{1, 2, 3}));
    const auto key = half.scene.motion(half.scene.findItem("Box"), positionY).keys.begin();
    EXPECT_EQ(key.value(), 4);
    EXPECT_EQ(key.parameter(incomingSlope), 8);
}

TEST(Edits, new_names_come_before_names_of_their_own) {
    const auto source = placed("a.glb", lengths().glb());
    const Loaded loaded =
        edited(source, testFolder() / "b.glb", {.scale = 1, .names = {{"A", "B"}, {"Q", "R"}}});
    EXPECT_NE(loaded.scene.findItem("B#2"), ItemId::none);
    const auto file = gltf::documentOf(bytesOf(testFolder() / "b.glb"));
    EXPECT_EQ(file.json["nodes"][0]["name"], "B");
    EXPECT_EQ(file.json["nodes"][1]["name"], "B");
}

} // namespace
} // namespace cadencora::stage
