// Writing glTF: what stays byte for byte, and what edited curves become.

#include "stage/formats/gltf/document/quaternion.h"
#include "stage/scene/transform.h"
#include "tests/stage/cli/program.h"
#include "tests/stage/formats/gltf/document.h"

#include <cmath>
#include <functional>
#include <numbers>
#include <set>
#include <sstream>

namespace cadencora::stage::gltf {
namespace {

constexpr double pi = std::numbers::pi;
namespace fs = std::filesystem;

Envelope& curve(Scene& scene, const char* item, MotionChannel channel) {
    return scene.mutableMotion(itemNamed(scene, item), channel);
}

void keyAt(Scene& scene, const char* item, MotionChannel channel, int frame, double value,
           Shape shape = Shape::linear) {
    curve(scene, item, channel).keys.insert(scene.rate.timeOf(frame), value, shape);
}

Envelope curveOf(const std::vector<KeyData>& keys) {
    Envelope envelope;
    for (const KeyData& key : keys)
        envelope.keys.append(key);
    return envelope;
}

std::size_t touching(const std::vector<std::string>& warnings, const std::string& text) {
    return static_cast<std::size_t>(std::ranges::count_if(
        warnings, [&](const std::string& one) { return one.find(text) != std::string::npos; }));
}

// The errors of the validator in a file, one per line; nothing where it cannot be had.
std::optional<std::set<std::string>> errorsOf(const fs::path& file) {
    const fs::path list = testFolder() / (file.filename().string() + ".errors");
    const fs::path tools = fs::path(CADENCORA_BIN_DIR).parent_path() / "gltf-validator";
    const std::string command = "'" CADENCORA_SOURCE_DIR "/scripts/check-gltf' '" + tools.string() +
                                "' '" + file.string() + "' > '" + list.string() + "'";
    const int status = std::system(command.c_str());
    if (status != 0) return std::nullopt;
    std::istringstream lines(bytesOf(list));
    std::set<std::string> errors;
    for (std::string line; std::getline(lines, line);)
        errors.insert(line);
    return errors;
}

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

    for (std::size_t e = 1; e <= moving.scene.envelopeCount(); ++e)
        moving.scene.mutableEnvelope(static_cast<EnvelopeId>(e)).keys.clear();
    std::vector<std::string> warnings;
    const auto still = documentOf(written(moving.scene, "still again.glb", &warnings));
    EXPECT_FALSE(still.json.contains("animations"));
    EXPECT_EQ(touching(warnings, "the clip has no key left"), 1u);
    EXPECT_EQ(still.json["accessors"].size(), document.json["accessors"].size());
}

struct Merge {
    const char* name;
    std::array<std::vector<KeyData>, 3> keys;
    const char* interpolation;
    std::size_t count; // of keys in the file
    bool isExact;      // between frames, too
};

TEST(GltfWrite, curves_of_a_node_become_one_sampler_that_says_the_same) {
    const auto k = [](double frame, double value, Shape shape, double in = 0, double out = 0) {
        return KeyData{frame / 24, value, shape, {0, 0, 0, in, out}};
    };
    const Shape l = Shape::linear, h = Shape::hold, s = Shape::spline, t = Shape::tangents;
    const std::vector<Merge> merges{
        {"straight at different times",
         {{{k(0, 1, l), k(10, 2, l)}, {k(5, 3, l), k(20, -4, l)}, {}}},
         "LINEAR",
         4,
         true},
        {"held at different times",
         {{{k(0, 1, h), k(10, 2, h)}, {k(5, 3, h), k(20, -4, h)}, {}}},
         "STEP",
         4,
         true},
        {"tangents at the same times",
         {{{k(0, 1, t, 0, 5), k(9, 2, t, -7, 3)},
           {k(0, 1, t, 1, 1), k(9, 0, t, 2, 2)},
           {k(0, 0, t), k(9, 1, t)}}},
         "CUBICSPLINE",
         2,
         true},
        {"smooth, straight and tangents at different times",
         {{{k(0, 0, s), k(10, 5, s), k(20, 1, s), k(30, 4, l)},
           {k(0, 1, l), k(15, 2, l)},
           {k(3, 0, t, 0, 9), k(33, 3, t, -9, 0)}}},
         "CUBICSPLINE",
         7,
         true},
        {"one key alone", {{{k(4, 2, s)}, {}, {}}}, "LINEAR", 1, true},
        {"held beside straight: on frames",
         {{{k(0, 0, h), k(10, 1, h)}, {k(0, 0, l), k(10, 1, l)}, {}}},
         "LINEAR",
         11,
         false},
        {"between frames", {{{k(0.25, 0, l), k(7.5, 1, l)}, {k(1, 0, l)}, {}}}, "LINEAR", 3, true},
    };
    for (const Merge& one : merges) {
        SCOPED_TRACE(one.name);
        auto document = Document::twoClips();
        auto file = loaded("m.glb", document.glb());
        for (std::size_t c = 0; c < 3; ++c)
            assign(curve(file.scene, "A", static_cast<MotionChannel>(positionX + c)),
                   curveOf(one.keys[c]));
        std::vector<std::string> warnings;
        const std::string bytes = written(file.scene, "m.glb", &warnings);
        EXPECT_EQ(warnings.empty(), one.isExact);
        const auto after = documentOf(bytes);
        const Json& sampler = after.json["animations"][0]["samplers"][0];
        EXPECT_EQ(sampler["interpolation"], one.interpolation);
        EXPECT_EQ(after.json["accessors"][sampler["input"].get<std::size_t>()]["count"], one.count);
        const auto back = loaded("m.glb", bytes);
        for (const MotionChannel c : {positionX, positionY, positionZ})
            for (double frame = -5; frame < 40; frame += one.isExact ? 0.3 : 1) {
                const double was = curve(file.scene, "A", c).evaluate(frame / 24);
                EXPECT_NEAR(back.scene.motion(itemNamed(back.scene, "A"), c).evaluate(frame / 24),
                            was, 2e-6)
                    << frame;
            }
    }
}

// Rotations between keys as a player of the file sees them: the shorter way from key to key.
TEST(GltfWrite, rotations_turn_on_frames_as_the_scene_does) {
    const struct {
        const char* name;
        std::vector<std::array<double, 4>> keys; // frame, heading, pitch, bank
        Shape shape;
        std::size_t count; // of keys in the file; 0: some more than the scene's
    } cases[]{
        {"one axis", {{0, 0, 0, 0}, {30, pi / 2, 0, 0}}, Shape::linear, 2},
        {"three axes", {{0, 0, 0, 0}, {30, 2, 1, -1}}, Shape::linear, 0},
        {"four turns", {{0, 0, 0, 0}, {60, 8 * pi, 0, 0}}, Shape::linear, 0},
        {"held", {{0, 0, 1, 0}, {10, 2, 1, -1}, {20, 0, 0, 0}}, Shape::hold, 3},
        {"smooth", {{0, 0, 0, 0}, {20, 1, 0.5, 0}, {40, 0, 1.2, 3}}, Shape::spline, 0},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.name);
        auto document = Document::twoClips();
        auto file = loaded("r.glb", document.glb());
        for (std::size_t c = 0; c < 3; ++c) {
            Envelope& to = curve(file.scene, "A", static_cast<MotionChannel>(heading + c));
            to.keys.clear();
            for (const auto& key : one.keys)
                to.keys.append(key[0] / 24, key[1 + c], one.shape);
        }
        std::vector<std::string> warnings;
        const std::string bytes = written(file.scene, "r.glb", &warnings);
        EXPECT_EQ(touching(warnings, "keys were added on frames"), one.count == 0 ? 1u : 0u);
        const auto back = loaded("r.glb", bytes);
        const ItemId a = itemNamed(back.scene, "A");
        const std::size_t keys = back.scene.motion(a, heading).keys.size();
        if (one.count > 0) {
            EXPECT_EQ(keys, one.count);
        }
        EXPECT_LE(keys, one.keys.back()[0] + 1);
        for (int frame = 0; frame <= one.keys.back()[0]; ++frame) {
            const Mat3 was =
                rotation(motionValues(file.scene, a, heading, frame / 24.0), headingPitchBank);
            const Mat3 is =
                rotation(motionValues(back.scene, a, heading, frame / 24.0), headingPitchBank);
            for (std::size_t r = 0; r < 3; ++r)
                for (std::size_t c = 0; c < 3; ++c)
                    ASSERT_NEAR(was[r][c], is[r][c], 3e-3) << frame;
        }
    }
}

TEST(GltfWrite, rotations_that_were_not_edited_keep_their_numbers) {
    for (const bool cubic : {false, true}) {
        Document document;
        document.node(R"({"name": "A"})");
        std::vector<float> at, output;
        for (int key = 0; key < 20; ++key) { // not of the length 1, signs at random
            at.push_back(static_cast<float>(key) * 4 / 24);
            const double sign = key % 3 == 1 ? -1.001 : 0.999;
            const Quaternion q = quaternionOf({0.3 * key, 0.2 * key, std::sin(key)});
            for (int part = 0; part < (cubic ? 3 : 1); ++part)
                for (const double number : q)
                    output.push_back(static_cast<float>(sign * number * (part == 1 || !cubic)));
        }
        const std::size_t times = document.times(at);
        document.move(0, 0, "rotation", times, document.floats(output, "VEC4"),
                      cubic ? "CUBICSPLINE" : "LINEAR");
        auto file = loaded("q.glb", document.glb());
        curve(file.scene, "A", pitch).keys.insert(file.scene.rate.timeOf(40), -2, Shape::linear);
        std::vector<std::string> warnings;
        const auto after = documentOf(written(file.scene, "q.glb", &warnings));
        // Frame 40 is key 10. Up to the key before and from the key behind on all is as it was, but
        // that both signs of a rotation are the same.
        const auto numbers = viewBytes(after, 1), before = viewBytes(document, 1);
        const std::size_t size = 16 * (cubic ? 3 : 1);
        EXPECT_EQ(numbers.substr(0, 10 * size), before.substr(0, 10 * size));
        const auto tail = [&](std::string_view bytes, bool negated) {
            std::vector<float> found(9 * size / 4);
            std::memcpy(found.data(), bytes.substr(bytes.size() - 9 * size).data(), 9 * size);
            for (float& number : found)
                number = negated && number != 0 ? -number : number + 0.0f;
            return found;
        };
        EXPECT_TRUE(tail(numbers, false) == tail(before, false) ||
                    tail(numbers, false) == tail(before, true));
    }
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

    curve(scene, "B", positionX).keys.insert(2, 1e300, Shape::linear);
    const std::string old = bytesOf(scratch("w.glb"));
    const auto failed = writeScene(scene, scratch("w.glb"));
    ASSERT_FALSE(failed.ok());
    EXPECT_NE(failed.problem().text().find("\"B\" translation"), std::string::npos)
        << failed.problem().text();
    EXPECT_EQ(bytesOf(scratch("w.glb")), old);
}

TEST(GltfWrite, external_buffers_are_copied_and_never_changed) {
    const auto document = Document::twoClips();
    const fs::path from = scratch("from"), to = scratch("to");
    fs::remove_all(from);
    fs::remove_all(to);
    fs::create_directories(from / "sub");
    fs::create_directories(to);
    ASSERT_TRUE(writeFile(from / "sub" / "a b.bin", document.bytes + "behind").ok());
    auto file = loaded("from/doc.gltf", document.external("sub/a%20b.bin"));
    EXPECT_EQ(written(file.scene, "to/doc.gltf"), document.external("sub/a%20b.bin"));
    EXPECT_EQ(bytesOf(to / "sub" / "a b.bin"), document.bytes + "behind");

    keyAt(file.scene, "A", positionY, 12, 77);
    for (const char* name : {"to/doc.gltf", "from/doc.gltf", "to/doc.glb"}) {
        const auto back = loaded(name, written(file.scene, name));
        EXPECT_EQ(back.scene.motion(itemNamed(back.scene, "A"), positionY).evaluate(0.5), 77);
        EXPECT_EQ(back.scene.motion(itemNamed(back.scene, "B"), positionY).evaluate(0), 8);
        EXPECT_EQ(bytesOf(from / "sub" / "a b.bin"), document.bytes + "behind");
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
            for (int frame = 0; frame <= 40; ++frame) { // behind it the ball goes on bouncing
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

// Everything but one clip, and every buffer view that it does not use, is what it was.
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

TEST(GltfWrite, real_clips_are_opened_written_and_edited_alone) {
    const auto robot = dataFile("robot_expressive.glb"), test = dataFile("interpolation_test.gltf");
    if (robot.empty() || test.empty()) GTEST_SKIP() << "the files are not at hand";
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
    const auto old = errorsOf(robot), now = errorsOf(scratch("robot.glb"));
    if (!old || !now) GTEST_SKIP() << "the glTF validator is not at hand";
    EXPECT_GT(old->size(), 0u);
    for (const std::string& error : *now)
        EXPECT_TRUE(old->contains(error)) << error;
}

TEST(GltfWrite, commands_on_a_real_clip_are_written_and_read_back) {
    const auto robot = dataFile("robot_expressive.glb");
    if (robot.empty()) GTEST_SKIP() << "the file is not at hand";
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

TEST(GltfWrite, the_validator_finds_nothing_wrong_with_what_is_written) {
    std::vector<fs::path> files;
    for (const char* example : {"room.stage", "walk.bvh"})
        for (const char* extension : {".glb", ".gltf"}) {
            const auto scene = readScene(fs::path(CADENCORA_SOURCE_DIR) / "examples" / example);
            ASSERT_TRUE(scene.ok());
            files.push_back(scratch(example + std::string(extension)));
            ASSERT_TRUE(writeScene(scene.value().scene, files.back()).ok());
        }
    auto document = Document::twoClips();
    for (const char* name : {"edited.glb", "edited.gltf"}) {
        auto file =
            loaded(name, name == std::string("edited.glb") ? document.glb() : document.embedded());
        keyAt(file.scene, "A", pitch, 20, 2, Shape::spline);
        keyAt(file.scene, "B", scaleX, 3, 2);
        curve(file.scene, "B", positionX).keys.clear();
        curve(file.scene, "B", positionY).keys.clear();
        curve(file.scene, "B", positionZ).keys.clear();
        written(file.scene, name);
        files.push_back(scratch(name));
    }
    for (const fs::path& file : files) {
        const auto errors = errorsOf(file);
        if (!errors) GTEST_SKIP() << "the glTF validator is not at hand";
        for (const std::string& error : *errors)
            ADD_FAILURE() << file << ": " << error;
    }
}

} // namespace
} // namespace cadencora::stage::gltf
