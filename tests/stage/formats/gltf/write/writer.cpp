// Writing glTF: what stays byte for byte, and what is said about the rest.

#include "stage/scene/transform.h"
#include "tests/stage/formats/gltf/document.h"

namespace cadencora::stage::gltf {
namespace {

namespace fs = std::filesystem;

TEST(GltfWrite, a_scene_that_no_command_touched_is_its_file_again) {
    auto document = Document::twoClips();
    document.json["extras"] = Json::parse(R"({"x": [1.50, 1e-10, 12345678901234567890123]})");
    const std::string odd = " {\"extensionsUsed\" :\t[ ]," + document.embedded().substr(1) + "\n\n";
    std::string glb = document.glb();
    glb += glbChunkHead(0x12345678, 4) + "more";
    const auto length = static_cast<std::uint32_t>(glb.size());
    std::memcpy(glb.data() + 8, &length, 4);
    for (const char* clip : {"Clip 0", "Clip 1"}) {
        ReadOptions options;
        options.clip = clip;
        EXPECT_EQ(written(loaded("a.gltf", odd, options).scene, "b.gltf"), odd);
        EXPECT_EQ(written(loaded("a.glb", glb, options).scene, "b.glb"), glb);
        options.rate = FrameRate::of(50);
        EXPECT_EQ(written(loaded("a.glb", glb, options).scene, "b.glb"), glb);
    }
}

TEST(GltfWrite, an_edit_changes_its_sampler_and_leaves_every_other_byte) {
    const auto before = Document::twoClips();
    auto file = loaded("a.glb", before.glb());
    keyAt(file.scene, "A", positionY, 12, 77);
    const auto after = documentOf(written(file.scene, "b.glb"));
    // The times are the same: nothing but the second place's y is another number.
    EXPECT_EQ(after.json, before.withBuffer(Json::object()));
    const std::size_t y = 4 * (5 + 3 + 1);
    EXPECT_EQ(after.bytes.substr(0, y), before.bytes.substr(0, y));
    EXPECT_EQ(after.bytes.substr(y + 4), before.bytes.substr(y + 4));

    keyAt(file.scene, "A", positionY, 20, 8); // a time that the shared input has not
    std::vector<std::string> warnings;
    const auto grown = documentOf(written(file.scene, "b.glb", &warnings));
    EXPECT_TRUE(warnings.empty());
    EXPECT_EQ(grown.json["animations"][0]["samplers"][1],
              before.json["animations"][0]["samplers"][1]);
    EXPECT_EQ(grown.json["animations"][1], before.json["animations"][1]);
    EXPECT_EQ(grown.json["meshes"], before.json["meshes"]);
    EXPECT_EQ(grown.json["accessors"].size(), before.json["accessors"].size() + 1);
    for (const std::size_t view : {0, 1, 3, 4, 5})
        EXPECT_EQ(viewBytes(grown, view), viewBytes(before, view)) << view;
    const auto back = loaded("b.glb", bytesOf(scratch("b.glb")));
    EXPECT_EQ(back.scene.motion(itemNamed(back.scene, "A"), positionY).evaluate(20 / 24.0), 8);
    EXPECT_EQ(back.scene.keyCount(), 24u + 3);
}

// Long data URIs stand aside while the JSON is read and edited.
TEST(GltfWrite, long_embedded_buffers_are_read_kept_and_written_whole) {
    auto document = Document::twoClips();
    for (int i = 0; i < 9000; ++i)
        document.bytes += static_cast<char>(i * 7);
    const std::string uri = dataUri(document.bytes);
    Json whole = document.withBuffer({{"uri", uri}});
    whole["images"] = {{{"uri", "data:image/png;base64," + std::string(8000, 'A')}},
                       {{"name", "data:#0#"}, {"uri", "data:,x"}}};
    const std::string text = whole.dump(1);
    EXPECT_EQ(written(loaded("a.gltf", text).scene, "b.gltf"), text);
    auto file = loaded("a.gltf", text);
    keyAt(file.scene, "A", positionY, 12, 77); // a number in place of another
    for (const char* name : {"b.gltf", "b.glb"}) {
        const auto after = documentOf(written(file.scene, name));
        EXPECT_EQ(after.json["images"], whole["images"]) << name;
        EXPECT_EQ(after.bytes.substr(4 * 10), document.bytes.substr(4 * 10)) << name;
        EXPECT_NE(after.bytes, document.bytes);
        const auto back = loaded(name, bytesOf(scratch(name)));
        EXPECT_EQ(back.scene.motion(itemNamed(back.scene, "A"), positionY).evaluate(0.5), 77);
    }
    const std::string damaged = text.substr(0, text.size() - 3) + "]]}";
    expectRefused(readText("c.gltf", damaged),
                  "at byte " + std::to_string(text.size() - 1)); // of the second bracket
}

TEST(GltfWrite, samplers_that_are_shared_stay_as_they_are) {
    auto document = Document::twoClips();
    // B goes where A goes, by the very same sampler.
    document.json["animations"][0]["channels"][2]["sampler"] = 0;
    auto file = loaded("a.gltf", document.embedded());
    keyAt(file.scene, "A", positionX, 12, -1);
    const auto back = loaded("b.gltf", written(file.scene, "b.gltf"));
    EXPECT_EQ(back.scene.motion(itemNamed(back.scene, "A"), positionX).evaluate(0.5), -1);
    EXPECT_EQ(back.scene.motion(itemNamed(back.scene, "B"), positionX).evaluate(0.5), 1);
}

TEST(GltfWrite, a_file_that_is_edited_again_and_again_does_not_grow) {
    for (const char* name : {"a.glb", "a.gltf"}) {
        auto document = Document::twoClips();
        std::string bytes = name == std::string("a.glb") ? document.glb() : document.embedded();
        std::size_t most = 0;
        for (int round = 0; round < 40; ++round) {
            auto file = loaded(name, bytes);
            // More keys and fewer, channels that come and go, in turn.
            for (int frame = 1; frame < 40; ++frame)
                if (round % 4 < 2) keyAt(file.scene, "A", heading, frame, frame * 0.01 * round);
            if (round % 4 == 2) curve(file.scene, "A", positionX).keys.clear();
            if (round % 4 == 3)
                for (const MotionChannel c : {heading, pitch, bank})
                    curve(file.scene, "A", c).keys.clear();
            if (round % 2) keyAt(file.scene, "B", scaleX, round, 2);
            if (round % 2 == 0)
                for (const MotionChannel c : {scaleX, scaleY, scaleZ})
                    curve(file.scene, "B", c).keys.clear();
            bytes = written(file.scene, name);
            if (round < 8) most = std::max(most, bytes.size());
            EXPECT_LE(bytes.size(), most + most / 20) << round;
            const auto now = documentOf(bytes);
            EXPECT_LE(now.json["accessors"].size(), 10u);
            EXPECT_LE(now.json["bufferViews"].size(), 10u);
            for (const std::size_t view : {4, 5}) // the other clip's, and the mesh's
                EXPECT_EQ(viewBytes(now, view), viewBytes(document, view));
        }
    }
}

TEST(GltfWrite, where_an_extension_may_use_anything_all_old_bytes_stay) {
    auto document = Document::twoClips();
    document.json["nodes"][1]["extensions"] = {{"EXT_unheard_of", {{"accessor", 2}}}};
    auto file = loaded("a.glb", document.glb());
    keyAt(file.scene, "A", positionY, 12, 77);
    const auto after = documentOf(written(file.scene, "b.glb"));
    EXPECT_EQ(after.bytes.substr(0, document.bytes.size()), document.bytes);
    EXPECT_EQ(after.json["accessors"][2], document.json["accessors"][2]);
    EXPECT_EQ(after.json["nodes"], document.json["nodes"]);
}

TEST(GltfWrite, channels_and_clips_come_and_go) {
    auto document = Document::twoClips();
    document.json.erase("animations");
    document.json["nodes"][0] = Json::parse(
        R"({"name": "A", "matrix": [2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 5, 6, 7, 1], "children": [1]})");
    auto file = loaded("still.glb", document.glb());
    keyAt(file.scene, "A", scaleX, 10, 3);
    keyAt(file.scene, "B", pitch, 10, 1);
    const GroupId morphs =
        file.scene.group(file.scene.item(itemNamed(file.scene, "B")).group).groups.front();
    const ChannelId smile = file.scene.group(morphs).channels.at(1);
    file.scene.mutableEnvelope(file.scene.channel(smile).envelope)
        .keys.insert(0, 0.75, Shape::linear);
    auto moving = loaded("moving.glb", written(file.scene, "moving.glb"));
    ASSERT_EQ(moving.clips, std::vector<std::string>{"still"});
    const ItemId a = itemNamed(moving.scene, "A"), b = itemNamed(moving.scene, "B");
    EXPECT_EQ(moving.scene.motion(a, scaleX).evaluate(0), 3);
    EXPECT_EQ(moving.scene.motion(a, scaleY).evaluate(0), 2);
    EXPECT_EQ(moving.scene.motion(a, positionZ).rest, 7);
    EXPECT_NEAR(moving.scene.motion(b, pitch).evaluate(0), 1, 1e-6);
    const auto evaluate = [&](std::size_t target) {
        const GroupId group = moving.scene.group(moving.scene.item(b).group).groups.front();
        const ChannelId id = moving.scene.group(group).channels.at(target);
        return moving.scene.envelope(moving.scene.channel(id).envelope).evaluate(0);
    };
    EXPECT_EQ(evaluate(0), 0.25);
    EXPECT_EQ(evaluate(1), 0.75);
    EXPECT_FALSE(documentOf(bytesOf(scratch("moving.glb"))).json["nodes"][0].contains("matrix"));

    for (std::size_t e = 1; e <= moving.scene.channelCount(); ++e)
        moving.scene.mutableEnvelope(static_cast<EnvelopeId>(e)).keys.clear();
    std::vector<std::string> warnings;
    const auto still = documentOf(written(moving.scene, "still again.glb", &warnings));
    EXPECT_FALSE(still.json.contains("animations"));
    EXPECT_EQ(touching(warnings, "the clip has no keys left"), 1u);
    EXPECT_EQ(still.json["accessors"].size(), document.json["accessors"].size());
}

TEST(GltfWrite, what_gltf_does_not_hold_is_said_and_named) {
    auto file = loaded("w.glb", Document::twoClips().glb());
    Scene& scene = file.scene;
    curve(scene, "B", positionX).after = Behaviour::repeat;
    keyAt(scene, "A", positionX, -10, 5);
    scene.addChannel(scene.item(itemNamed(scene, "A")).group, "Dissolve");
    std::vector<std::string> warnings;
    const auto back = loaded("w.glb", written(scene, "w.glb", &warnings));
    EXPECT_EQ(warnings.size(), 3u);
    EXPECT_EQ(touching(warnings, "other behaviours are left out: B/Position.X"), 1u);
    EXPECT_EQ(touching(warnings, "keys before frame 0 are left out: \"A\" translation"), 1u);
    EXPECT_EQ(touching(warnings, "glTF does not hold these channels: A/Dissolve"), 1u);
    EXPECT_EQ(back.scene.motion(itemNamed(back.scene, "A"), positionX).keys.size(), 3u);

    const std::string old = bytesOf(scratch("w.glb"));
    for (const auto& [time, value] : {std::pair(2.0, 1e300), {1e300, 2.0}}) {
        KeyStore& keys = curve(scene, "B", positionX).keys;
        keys.insert(time, value, Shape::linear);
        const auto failed = writeScene(scene, scratch("w.glb"));
        ASSERT_FALSE(failed.ok());
        EXPECT_NE(failed.problem().text().find("\"B\" translation"), std::string::npos)
            << failed.problem().text();
        EXPECT_EQ(bytesOf(scratch("w.glb")), old);
        keys.erase(keys.find(time));
    }
}

TEST(GltfWrite, external_buffers_are_copied_and_never_changed) {
    const auto document = Document::twoClips();
    const fs::path from = scratch("from"), to = scratch("to");
    fs::remove_all(from);
    fs::remove_all(to);
    fs::create_directories(from / "sub");
    fs::create_directories(to);
    ASSERT_TRUE(writeFile(from / "sub" / "a b.bin", document.bytes + "after").ok());
    auto file = loaded("from/doc.gltf", document.external("sub/a%20b.bin"));
    EXPECT_EQ(written(file.scene, "to/doc.gltf"), document.external("sub/a%20b.bin"));
    EXPECT_EQ(bytesOf(to / "sub" / "a b.bin"), document.bytes + "after");

    keyAt(file.scene, "A", positionY, 12, 77);
    for (const char* name : {"to/doc.gltf", "from/doc.gltf", "to/doc.glb"}) {
        const auto back = loaded(name, written(file.scene, name));
        EXPECT_EQ(back.scene.motion(itemNamed(back.scene, "A"), positionY).evaluate(0.5), 77);
        EXPECT_EQ(back.scene.motion(itemNamed(back.scene, "B"), positionY).evaluate(0), 8);
        EXPECT_EQ(bytesOf(from / "sub" / "a b.bin"), document.bytes + "after");
    }
    // Another file of the name is nobody's to overwrite.
    const std::string old = bytesOf(to / "doc.gltf");
    ASSERT_TRUE(writeFile(to / "sub" / "a b.bin", "precious").ok());
    const auto refused = writeScene(file.scene, to / "doc.gltf");
    ASSERT_FALSE(refused.ok());
    EXPECT_NE(refused.problem().text().find("another file of the name is there"),
              std::string::npos);
    EXPECT_EQ(bytesOf(to / "sub" / "a b.bin"), "precious");
    EXPECT_EQ(bytesOf(to / "doc.gltf"), old);
}

TEST(GltfWrite, a_document_goes_from_either_form_to_the_other) {
    const auto document = Document::twoClips();
    const auto text = loaded("a.glb", document.glb());
    const auto asText = documentOf(written(text.scene, "b.gltf"));
    EXPECT_EQ(asText.bytes, document.bytes);
    const auto asGlb =
        documentOf(written(loaded("b.gltf", bytesOf(scratch("b.gltf"))).scene, "c.glb"));
    EXPECT_EQ(asGlb.json, document.withBuffer(Json::object()));
    EXPECT_EQ(asGlb.bytes.substr(0, document.bytes.size()), document.bytes);
}

TEST(GltfWrite, a_scene_from_elsewhere_becomes_a_document_of_its_own) {
    auto room = readScene(fs::path(CADENCORA_SOURCE_DIR) / "examples" / "room.stage");
    ASSERT_TRUE(room.ok());
    for (const char* name : {"room.glb", "room.gltf"}) {
        std::vector<std::string> warnings;
        const Scene& was = room->scene;
        const auto back = loaded(name, written(was, name, &warnings));
        const Scene& is = back.scene;
        EXPECT_EQ(touching(warnings, "Face/Morph/Smile"), 1u);
        ASSERT_EQ(is.itemCount(), was.itemCount());
        for (std::size_t i = 0; i < was.itemCount(); ++i) {
            const Item& item = was.item(Scene::itemAt(i));
            const ItemId found = itemNamed(is, item.name);
            EXPECT_EQ(is.item(found).type, item.type);
            if (item.parent != ItemId::none) {
                EXPECT_EQ(is.item(is.item(found).parent).name, was.item(item.parent).name);
            }
            for (int frame = 0; frame <= 40; ++frame) { // the ball goes on bouncing after it
                const Affine a = localTransform(was, Scene::itemAt(i), frame / 24.0);
                const Affine b = localTransform(is, found, frame / 24.0);
                for (std::size_t r = 0; r < 3; ++r) {
                    EXPECT_NEAR(a.offset[r], b.offset[r], 1e-5);
                    for (std::size_t c = 0; c < 3; ++c)
                        ASSERT_NEAR(a.linear[r][c], b.linear[r][c], 2e-3) << item.name << frame;
                }
            }
        }
    }
    Scene empty;
    EXPECT_EQ(loaded("empty.glb", written(empty, "empty.glb")).scene.itemCount(), 0u);
}

} // namespace
} // namespace cadencora::stage::gltf
