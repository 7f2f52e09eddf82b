// Damaged and hostile glTF: refused with a message that names the element, and nothing worse.

#include "stage/formats/gltf/gltf.h"
#include "tests/stage/formats/gltf/document.h"

#include <functional>
#include <limits>

namespace cadencora::stage::gltf {
namespace {

constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();

TEST(GltfBad, what_is_wrong_with_a_document_is_said_with_its_place) {
    using Json = Json;
    struct Case {
        std::string message; // a part of it
        std::function<void(Document&)> spoil;
    };
    const auto set = [](const char* pointer, Json value) {
        return [=](Document& d) { d.json[Json::json_pointer(pointer)] = value; };
    };
    const auto drop = [](const char* pointer, const char* member) {
        return [=](Document& d) { d.json[Json::json_pointer(pointer)].erase(member); };
    };
    const auto number = [](std::size_t at, float value) { // of the buffer, by its place
        return [=](Document& d) { std::memcpy(d.bytes.data() + 4 * at, &value, 4); };
    };
    // Times at 0 to 2 and 3 to 4, places from 5, rotations from 14, the positions of B from 26.
    const std::vector<Case> cases{
        {"asset.version: this is not a glTF document", drop("/asset", "version")},
        {"asset.version: the version of this glTF file is not known (known is 2.0, found \"1.0\")",
         set("/asset/version", "1.0")},
        {"nodes: expected an array (found object)", set("/nodes", Json::object())},
        {"nodes[1]: expected an object (found number)", set("/nodes/1", 5)},
        {"nodes[0].children[0]: there is no nodes[2] (there are 2)", set("/nodes/0/children/0", 2)},
        {"nodes[0].children[0]: expected an index (found number)", set("/nodes/0/children/0", -1)},
        {"nodes[1]: a node has at most one parent", set("/nodes/0/children", {1, 1})},
        {"nodes[0]: the nodes are nested too deeply, or in a cycle", set("/nodes/1/children", {0})},
        {"nodes[0]: the nodes are nested too deeply, or in a cycle", set("/nodes/0/children", {0})},
        {"nodes[0].translation: expected 3 numbers (found 2)", set("/nodes/0/translation", {1, 2})},
        {"nodes[0].translation: expected an array of numbers",
         set("/nodes/0/translation", {1, 2, "x"})},
        {"nodes[0].rotation: the rotation has length 0", set("/nodes/0/rotation", {0, 0, 0, 0})},
        {"nodes[1].mesh: there is no meshes[7]", set("/nodes/1/mesh", 7)},
        {"nodes[0].skin: there is no skins[0] (there are 0)", set("/nodes/0/skin", 0)},
        {"skins[0].joints: the member is missing", set("/skins", {Json::object()})},
        {"skins[0].joints[1]: there is no nodes[9]", set("/skins", {{{"joints", {0, 9}}}})},
        {"meshes[0].primitives: the member is missing", drop("/meshes/0", "primitives")},
        {"animations[0].channels: the member is missing", drop("/animations/0", "channels")},
        {"animations[0].channels[0].target: the member is missing",
         drop("/animations/0/channels/0", "target")},
        {"animations[0].channels[0].sampler: there is no animations[0].samplers[3]",
         set("/animations/0/channels/0/sampler", 3)},
        {"animations[1].channels[0].target.node: there is no nodes[2]",
         set("/animations/1/channels/0/target/node", 2)},
        {"animations[0].channels[1].target: two channels animate the same property (channels[0] "
         "does so, too)",
         set("/animations/0/channels/1/target/path", "translation")},
        {"animations[0].channels[0].target: the node has no morph targets",
         set("/animations/0/channels/0/target/path", "weights")},
        {"animations[1].samplers[0].interpolation: expected LINEAR, STEP or CUBICSPLINE",
         set("/animations/1/samplers/0/interpolation", "BEZIER")},
        {"animations[0].samplers[1].input: there is no accessors[99]",
         set("/animations/0/samplers/1/input", 99)},
        {"animations[0].samplers[0].input: expected key times as single numbers",
         set("/animations/0/samplers/0/input", 2)},
        {"animations[0].samplers[0].input: there are no key times", set("/accessors/0/count", 0)},
        {"animations[0].samplers[0].input: the key times have no bytes",
         drop("/accessors/0", "bufferView")},
        {"animations[0].samplers[0].input: a key time is not finite (key 1)", number(1, nan)},
        {"animations[0].samplers[0].input: a key time is not finite (key 2)", number(2, infinity)},
        {"animations[0].samplers[0].input: the key times do not increase (key 1 at 0",
         number(1, 0.0f)},
        {"animations[0].samplers[0].output: the count does not match the key times "
         "(expected 3 elements, found 2)",
         set("/accessors/2/count", 2)},
        {"animations[0].samplers[1].output: the count does not match the key times "
         "(expected 9 elements, found 3)",
         set("/animations/0/samplers/1/interpolation", "CUBICSPLINE")},
        {"animations[0].samplers[1].output: the numbers do not fit the animated property",
         set("/accessors/3/type", "VEC3")},
        {"animations[0].samplers[0].output: a number is not finite (number 4)", number(9, nan)},
        {"animations[0].samplers[1].output: a rotation has length 0 (key 0)", number(17, 0.0f)},
        {"animations[0].samplers[0].output (accessors[2]): the numbers are of an unknown type",
         set("/accessors/2/componentType", 5124)},
        {"(accessors[0]): the numbers reach beyond their buffer view (2147483647 elements",
         set("/accessors/0/count", 2147483647)},
        {"accessors[0].count: expected a whole number", set("/accessors/0/count", 1e30)},
        {"accessors[0].count: expected a whole number", set("/accessors/0/count", 4294967297)},
        {"(accessors[0]): the numbers reach beyond their buffer view",
         set("/accessors/0/byteOffset", 2147483644)},
        {"(accessors[0]): the numbers reach beyond their buffer (bufferViews[0] ends at byte",
         set("/bufferViews/0/byteLength", 2000000000)},
        {"(accessors[0]): the numbers reach beyond their buffer (",
         set("/bufferViews/0/byteOffset", 2000000000)},
        {"(accessors[2]): the elements overlap", set("/bufferViews/2/byteStride", 4)},
        {"accessors[0].componentType: the component type is not known (found 5131)",
         set("/accessors/0/componentType", 5131)},
        {"accessors[2].type: expected SCALAR, VEC2 to VEC4 or MAT2 to MAT4 (found \"VEC5\")",
         set("/accessors/2/type", "VEC5")},
        {"bufferViews[2].byteStride: expected a multiple of 4 of at most 252 (found 14)",
         set("/bufferViews/2/byteStride", 14)},
        {"accessors[0].bufferView: there is no bufferViews[50]",
         set("/accessors/0/bufferView", 50)},
        {"bufferViews[0].buffer: there is no buffers[1]", set("/bufferViews/0/buffer", 1)},
        {"accessors[2].sparse.indices: the member is missing",
         set("/accessors/2/sparse", {{"count", 1}})},
        {"a sparse accessor lists more elements than it has",
         set("/accessors/2/sparse", {{"count", 4},
                                     {"indices", {{"bufferView", 0}, {"componentType", 5125}}},
                                     {"values", {{"bufferView", 2}}}})},
        {"a sparse accessor lists an element that it does not have (index 1056964608 of 3)",
         set("/accessors/2/sparse", {{"count", 2},
                                     {"indices", {{"bufferView", 0}, {"componentType", 5125}}},
                                     {"values", {{"bufferView", 2}}}})},
        {"the numbers are compressed by an extension that is not known (bufferViews[0])",
         set("/bufferViews/0/extensions", {{"EXT_some_compression", {{"buffer", 0}}}})},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.message);
        Document document = Document::twoClips();
        one.spoil(document);
        expectRefused(readText("bad.gltf", document.embedded()), one.message);
    }
}

TEST(GltfBad, json_and_buffers_that_are_not_what_they_say_are_refused) {
    const std::string good = Document::twoClips().embedded();
    const auto with = [&](const std::string& from, const std::string& to) {
        std::string text = good;
        text.replace(text.find(from), from.size(), to);
        return text;
    };
    const std::string deep(100'000, '[');
    std::string wide = "{\"asset\": {";
    for (int n = 0; n < 30'000; ++n)
        wide += "\"" + std::to_string(n) + "\": 0,";
    const struct {
        std::string text, message;
    } cases[]{
        {"{\"asset\":\n{\"version\" \"2.0\"}}", "bad.gltf:2: this is not valid JSON"},
        {"{\"asset\": {\"version\": \"2.0\"}, \"extras\": " + deep, "nested too deeply"},
        {wide, "a JSON object has too many members"},
        {"{\"asset\": {\"version\": \"2.0\"}, \"nodes\": [{\"scale\": [1e999, 1, 1]}]}",
         "it has a number that is too large"},
        {with("base64,", "base64,%"), "buffers[0].uri: the embedded buffer is not valid base64"},
        {with(";base64,", ","), "buffers[0].uri: the embedded buffer is not valid base64"},
        {Document::twoClips().withBuffer({{"uri", dataUri("abc")}}).dump(),
         "buffers[0].byteLength: the buffer is shorter than the file says"},
    };
    for (const auto& one : cases)
        expectRefused(readText("bad.gltf", one.text), one.message);
}

TEST(GltfBad, limits_of_keys_items_and_channels_hold) {
    const std::string text = Document::twoClips().embedded();
    ReadOptions keys, items, channels;
    keys.limits.keys = 23;
    items.limits.items = 2;
    channels.limits.channels = 19;
    for (const ReadOptions& options : {keys, items, channels})
        expectRefused(readText("many.gltf", text, options), "too many");
}

TEST(GltfBad, no_cut_and_no_changed_byte_of_a_file_brings_the_reader_down) {
    auto document = Document::twoClips();
    document.json["skins"] = Json::parse(R"([{"joints": [1]}])");
    const std::string glb = document.glb(), text = document.embedded();
    for (std::size_t length = 0; length < glb.size(); ++length)
        EXPECT_FALSE(readGlb(std::string_view(glb).substr(0, length), "cut.glb", {}).ok());
    std::size_t readable = 0;
    const auto tryAll = [&](const std::string& file, std::size_t from, auto read) {
        for (std::size_t at = from; at < file.size(); ++at)
            for (const char byte : {'9', '"', '\xff'}) {
                std::string spoilt = file;
                spoilt[at] = byte;
                readable += read(spoilt, "spoilt", ReadOptions{}).ok();
            }
    };
    tryAll(glb, 0, readGlb);
    tryAll(text, text.find("\"buffers\""), readGltf); // the JSON before is that of the other file
    EXPECT_GT(readable, 100u); // bytes of numbers and names may well be others
}

TEST(GltfBad, the_heads_of_glb_chunks_are_held_to_the_file) {
    const std::string good = Document::twoClips().glb();
    const auto word = [&](std::size_t at, std::uint32_t value) {
        std::string bytes = good;
        std::memcpy(bytes.data() + at, &value, 4);
        return bytes;
    };
    const auto size = static_cast<std::uint32_t>(good.size());
    const struct {
        std::string bytes, message;
    } cases[]{
        {word(4, 1), "the version of this GLB file is not known (known is 2, found 1)"},
        {word(8, size + 4), "it says it has " + std::to_string(size + 4)},
        {good + "more", "it says it has " + std::to_string(size)},
        {word(12, 0xfffffff0u), "chunk 0 says it has 4294967280 bytes"},
        {word(12, 0), "chunk 1"},
        {word(16, GlbChunk::binary), "its first chunk is not JSON"},
    };
    for (const auto& one : cases)
        expectRefused(readText("bad.glb", one.bytes), one.message);
}

TEST(GltfBad, buffers_come_only_from_below_the_documents_directory) {
    namespace fs = std::filesystem;
    const Document document = Document::twoClips();
    const fs::path outside = scratch("outside.bin"), inside = scratch("in") / "sub";
    fs::create_directories(inside);
    ASSERT_TRUE(writeFile(outside, document.bytes).ok());
    ASSERT_TRUE(writeFile(inside / "a b.bin", document.bytes).ok());
    fs::remove(inside / "link.bin");
    fs::create_symlink(outside, inside / "link.bin");
    const struct {
        std::string uri, message; // no message: it is read
    } cases[]{
        {"sub/a%20b.bin", ""},
        {"./sub/a b.bin", ""},
        {"sub/link.bin", "leads out of it by a link"},
        {"../outside.bin", "leads out of it"},
        {"sub/../../outside.bin", "leads out of it"},
        {"%2e%2e/outside.bin", "leads out of it"},
        {outside.string(), "is absolute"},
        {"%2Fetc%2Fhosts", "is absolute"},
        {"..\\outside.bin", "is absolute"},
        {"file:///etc/hosts", "is a URL"},
        {"http://x/y.bin", "is a URL"},
        {"sub/", "is not the name of a file"},
        {"sub/a%00b", "is not the name of a file"},
        {"sub/%zz", "is not the name of a file"},
        {"", "is not the name of a file"},
        {"sub", "not a regular file"},
        {"none.bin", "No such file"},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.uri);
        const auto result = readText("in/doc.gltf", document.external(one.uri));
        ASSERT_EQ(result.ok(), one.message.empty());
        if (result) continue;
        const std::string text = result.problem().text();
        EXPECT_NE(text.find(one.message), std::string::npos) << text;
        EXPECT_NE(text.find("doc.gltf: buffers[0].uri"), std::string::npos) << text;
    }
}

} // namespace
} // namespace cadencora::stage::gltf
