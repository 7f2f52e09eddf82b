// Extensions that say otherwise where an animation is, or how its numbers are packed.

#include "tests/stage/formats/gltf/document.h"

#include <fstream>
#include <meshoptimizer.h>

namespace cadencora::stage::gltf {
namespace {

void keyAt(Scene& scene, const char* name, double frame, double value) {
    scene.mutableMotion(itemNamed(scene, name), positionX)
        .placeKey(scene.rate.timeAt(frame), value);
}

std::vector<double> keysOf(const Scene& scene) {
    std::vector<double> numbers;
    for (std::size_t i = 0; i < scene.itemCount(); ++i)
        for (std::size_t c = 0; c < motionChannelCount; ++c)
            for (auto key =
                     scene.motion(Scene::itemAt(i), static_cast<MotionChannel>(c)).keys.begin();
                 key; key.advance())
                numbers.insert(numbers.end(), {key.time(), key.value()});
    return numbers;
}

// Every view of the document packed, the bytes themselves gone: as tools for the web write it.
Document packed(Document document) {
    const std::string plain = document.bytes;
    document.bytes.assign(plain.size(), '?');
    for (const Json& accessor : document.json["accessors"]) {
        const std::size_t parts = accessor["type"] == "SCALAR" ? 1
                                  : accessor["type"] == "VEC3" ? 3
                                                               : 4;
        Json& view = document.json["bufferViews"][accessor["bufferView"].get<std::size_t>()];
        const std::size_t stride = 4 * parts, count = accessor["count"];
        std::vector<unsigned char> out(meshopt_encodeVertexBufferBound(count, stride));
        out.resize(meshopt_encodeVertexBuffer(out.data(), out.size(),
                                              plain.data() + view["byteOffset"].get<std::size_t>(),
                                              count, stride));
        document.bytes.resize((document.bytes.size() + 3) / 4 * 4);
        view["extensions"]["EXT_meshopt_compression"] = {{"buffer", 0},
                                                         {"byteOffset", document.bytes.size()},
                                                         {"byteLength", out.size()},
                                                         {"byteStride", stride},
                                                         {"count", count},
                                                         {"mode", "ATTRIBUTES"}};
        document.bytes.append(out.begin(), out.end());
    }
    document.json["extensionsRequired"] = {"EXT_meshopt_compression"};
    return document;
}

TEST(GltfExtensions, packed_numbers_are_read_and_edited_ones_written_unpacked) {
    const auto plain = loaded("plain.glb", Document::twoClips().glb());
    const Document document = packed(Document::twoClips());
    auto file = loaded("packed.glb", document.glb());
    EXPECT_EQ(keysOf(file.scene), keysOf(plain.scene));
    EXPECT_EQ(written(file.scene, "same.glb"), document.glb()) << "untouched";

    keyAt(file.scene, "A", 12, 77);
    const auto wanted = keysOf(file.scene);
    const auto back = loaded("back.glb", written(file.scene, "edited.glb"));
    EXPECT_EQ(keysOf(back.scene), wanted);
    const auto after = documentOf(bytesOf(scratch("edited.glb")));
    EXPECT_EQ(after.bytes.substr(0, document.bytes.size()), document.bytes)
        << "what was packed stays where it was";
    ReadOptions other;
    other.clip = "Clip 1";
    const auto second = readScene(scratch("edited.glb"), other);
    ASSERT_TRUE(second.ok()) << second.problem().text();
    EXPECT_EQ(second.value().scene.keyCount(), 6u);
}

TEST(GltfExtensions, packed_numbers_that_are_not_as_they_should_be_are_refused_by_place) {
    const struct {
        const char* member;
        Json value;
        const char* expected;
    } cases[] = {{"count", 2'000'000, "cannot hold"},   {"byteLength", 5, "damaged"},
                 {"byteLength", 900'000, "beyond"},     {"byteStride", 6, "strides"},
                 {"mode", "TRIANGLES", "indices have"}, {"mode", "LATER", "ATTRIBUTES"},
                 {"filter", "QUATERNION", "8 bytes"},   {"buffer", 7, "buffers"}};
    for (const auto& one : cases) {
        SCOPED_TRACE(one.member + one.value.dump());
        Document document = packed(Document::twoClips());
        document.json["bufferViews"][2]["extensions"]["EXT_meshopt_compression"][one.member] =
            one.value;
        const auto path = scratch("bad.glb");
        std::ofstream(path, std::ios::binary) << document.glb();
        const auto read = readScene(path);
        ASSERT_FALSE(read.ok());
        EXPECT_NE(read.problem().text().find("bufferViews[2]"), std::string::npos)
            << read.problem().text();
        EXPECT_NE(read.problem().text().find(one.expected), std::string::npos)
            << read.problem().text();
    }
}

TEST(GltfExtensions, a_pointer_to_a_nodes_motion_is_a_channel_and_others_are_kept_and_named) {
    const auto plain = loaded("plain.glb", Document::twoClips().glb());
    Document document = Document::twoClips();
    Json& channels = document.json["animations"][0]["channels"];
    const auto point = [](const std::string& pointer) {
        return Json{{"path", "pointer"},
                    {"extensions", {{"KHR_animation_pointer", {{"pointer", pointer}}}}}};
    };
    channels[0]["target"] = point("/nodes/0/translation");
    channels[1]["target"] = point("/nodes/0/rotation");
    channels.push_back({{"sampler", 0}, {"target", point("/materials/0/emissiveFactor")}});
    auto file = loaded("pointers.glb", document.glb());
    EXPECT_EQ(keysOf(file.scene), keysOf(plain.scene));
    EXPECT_NE(file.notes.back().find("/materials/0/emissiveFactor"), std::string::npos);

    keyAt(file.scene, "A", 12, 77);
    const auto wanted = keysOf(file.scene);
    const auto after = documentOf(written(file.scene, "edited.glb"));
    EXPECT_EQ(keysOf(loaded("b.glb", bytesOf(scratch("edited.glb"))).scene), wanted);
    for (const std::size_t channel : {0, 1, 3})
        EXPECT_EQ(after.json["animations"][0]["channels"][channel]["target"],
                  channels[channel]["target"]);

    channels[0]["target"] = point("/nodes/99/translation");
    const auto path = scratch("bad.glb");
    std::ofstream(path, std::ios::binary) << document.glb();
    const auto bad = readScene(path);
    ASSERT_FALSE(bad.ok());
    EXPECT_NE(bad.problem().text().find("channels[0].target"), std::string::npos)
        << bad.problem().text();
}

} // namespace
} // namespace cadencora::stage::gltf
