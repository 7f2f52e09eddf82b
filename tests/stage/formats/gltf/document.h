// Small glTF documents, built in a test.
#pragma once

#include "stage/formats/gltf/document/container.h"
#include "tests/stage/formats/files.h"

#include <cstring>
#include <nlohmann/json.hpp>

namespace cadencora::stage::gltf {

struct Document {
    Json json = Json::parse(R"({"asset": {"version": "2.0"}})");
    std::string bytes; // of the only buffer

    // Adds an accessor of numbers of any type; the answer is its index.
    template <class Number>
    std::size_t numbers(const std::vector<Number>& values, const std::string& type, int component,
                        std::size_t perElement) {
        bytes.resize((bytes.size() + 3) / 4 * 4);
        const std::size_t size = values.size() * sizeof(Number);
        json["bufferViews"].push_back(
            {{"buffer", 0}, {"byteOffset", bytes.size()}, {"byteLength", size}});
        bytes.append(reinterpret_cast<const char*>(values.data()), size);
        json["accessors"].push_back({{"bufferView", json["bufferViews"].size() - 1},
                                     {"componentType", component},
                                     {"count", values.size() / perElement},
                                     {"type", type}});
        return json["accessors"].size() - 1;
    }
    std::size_t times(const std::vector<float>& values) {
        const std::size_t index = numbers(values, "SCALAR", 5126, 1);
        json["accessors"][index]["min"] = Json::array({values.front()});
        json["accessors"][index]["max"] = Json::array({values.back()});
        return index;
    }
    std::size_t floats(const std::vector<float>& values, const std::string& type) {
        return numbers(values, type, 5126, type == "SCALAR" ? 1 : type == "VEC3" ? 3 : 4);
    }

    std::size_t node(const std::string& text) {
        json["nodes"].push_back(Json::parse(text));
        return json["nodes"].size() - 1;
    }

    // Adds a mesh of one primitive, its corners by index; the answer is its index.
    std::size_t mesh(const std::vector<float>& positions, const std::vector<std::uint16_t>& corners,
                     int mode = 4) {
        const std::size_t points = floats(positions, "VEC3");
        const std::size_t indices = numbers(corners, "SCALAR", 5123, 1);
        json["meshes"].push_back(
            {{"primitives",
              {{{"attributes", {{"POSITION", points}}}, {"indices", indices}, {"mode", mode}}}}});
        return json["meshes"].size() - 1;
    }
    Json& primitive(std::size_t mesh) { return json["meshes"][mesh]["primitives"][0]; }

    // Adds a channel with a sampler of its own to a clip, which may be new.
    void animate(std::size_t clip, std::size_t node, const std::string& path, std::size_t input,
                 std::size_t output, const std::string& interpolation = "LINEAR") {
        while (json["animations"].size() <= clip)
            json["animations"].push_back(
                {{"name", "Clip " + std::to_string(json["animations"].size())},
                 {"channels", Json::array()},
                 {"samplers", Json::array()}});
        Json& animation = json["animations"][clip];
        animation["samplers"].push_back(
            {{"input", input}, {"output", output}, {"interpolation", interpolation}});
        animation["channels"].push_back({{"sampler", animation["samplers"].size() - 1},
                                         {"target", {{"node", node}, {"path", path}}}});
    }

    Json withBuffer(const Json& extra) const {
        Json whole = json;
        Json buffer = {{"byteLength", bytes.size()}};
        buffer.update(extra);
        if (!bytes.empty()) whole["buffers"] = Json::array({buffer});
        return whole;
    }
    std::string embedded() const { return withBuffer({{"uri", dataUri(bytes)}}).dump(1); }
    std::string external(const std::string& uri) const {
        return withBuffer({{"uri", uri}}).dump(2) + "\n";
    }
    std::string glb() const {
        const std::string chunk = bytes + std::string((4 - bytes.size() % 4) % 4, '\0');
        const std::string text = withBuffer(Json::object()).dump();
        return glbHead(text.size(), 8 + chunk.size()) + text +
               std::string(glbPadding(text.size()), ' ') +
               glbChunkHead(GlbChunk::binary, chunk.size()) + chunk;
    }

    // A node "A" and a node "B" with a morph. The first clip has the position and the rotation of A
    // with shared times, and the position of B; the second has the position of B.
    static Document twoClips() {
        Document document;
        document.node(R"({"name": "A", "translation": [1, 2, 3], "children": [1]})");
        document.node(R"({"name": "B", "mesh": 0, "weights": [0.25, 0.5]})");
        document.json["scenes"] = Json::parse(R"([{"nodes": [0]}])");
        const std::size_t at = document.times({0, 0.5f, 1});
        const std::size_t other = document.times({0, 1});
        const std::size_t places = document.floats({0, 0, 0, 1, 2, 3, 4, 5, 6}, "VEC3");
        const std::size_t turns =
            document.floats({0, 0, 0, 1, 0, 0.6f, 0, 0.8f, 0.6f, 0, 0, 0.8f}, "VEC4");
        const std::size_t moves = document.floats({7, 8, 9, 10, 11, 12}, "VEC3");
        const std::size_t shape = document.floats({0, 0, 0, 1, 1, 0, 1, 0, 0}, "VEC3");
        document.json["meshes"] = Json::parse(
            R"([{"primitives": [{"attributes": {"POSITION": 0}, "targets": [{}, {}]}],
                 "extras": {"targetNames": ["Smile", "Smile"], "note": [1, {"x": null}]}}])");
        document.json["meshes"][0]["primitives"][0]["attributes"]["POSITION"] = shape;
        Json& box = document.json["accessors"][shape];
        box["min"] = {0, 0, 0};
        box["max"] = {1, 1, 0};
        document.json["meshes"][0]["primitives"][0]["targets"] = {{{"POSITION", shape}},
                                                                  {{"POSITION", shape}}};
        document.animate(0, 0, "translation", at, places);
        document.animate(0, 0, "rotation", at, turns);
        document.animate(0, 1, "translation", other, moves);
        document.animate(1, 1, "translation", other, moves);
        return document;
    }
};

// The document of a written file and the bytes of its first buffer.
inline Document documentOf(const std::string& file) {
    Document document;
    if (!file.starts_with("glTF")) {
        document.json = Json::parse(file);
        const auto bytes = dataUriBytes(document.json["buffers"][0].value("uri", ""));
        document.bytes = bytes.value_or("");
        return document;
    }
    const auto chunks = glbChunks(file, "the file");
    EXPECT_TRUE(chunks.ok());
    if (!chunks) return document;
    document.json = Json::parse(chunks.value()[0].bytes);
    if (chunks.value().size() > 1) document.bytes = chunks.value()[1].bytes;
    return document;
}

inline std::string_view viewBytes(const Document& document, std::size_t view) {
    const Json& json = document.json["bufferViews"][view];
    return std::string_view(document.bytes)
        .substr(json.value("byteOffset", std::size_t{0}), json["byteLength"].get<std::size_t>());
}

inline ItemId itemNamed(const Scene& scene, std::string_view name) {
    const ItemId id = scene.findItem(name);
    EXPECT_NE(id, ItemId::none) << name;
    return id;
}

inline Envelope& curve(Scene& scene, const char* item, MotionChannel channel) {
    return scene.mutableMotion(itemNamed(scene, item), channel);
}

inline void keyAt(Scene& scene, const char* item, MotionChannel channel, int frame, double value,
                  Shape shape = Shape::linear) {
    curve(scene, item, channel).keys.insert(scene.rate.timeOf(frame), value, shape);
}

// How many of the warnings have this part.
inline std::size_t touching(const std::vector<std::string>& warnings, const std::string& text) {
    return static_cast<std::size_t>(std::ranges::count_if(
        warnings, [&](const std::string& one) { return one.find(text) != std::string::npos; }));
}

} // namespace cadencora::stage::gltf
