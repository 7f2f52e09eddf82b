// Meshes out of glTF: how they look at a time, and which are left out.

#include "stage/scene/mesh/mesh.h"
#include "stage/formats/gltf/gltf.h"
#include "tests/stage/formats/gltf/document.h"

#include <algorithm>
#include <functional>
#include <limits>

namespace cadencora::stage::gltf {
namespace {

ReadOptions withMeshes() {
    ReadOptions options;
    options.meshes = true;
    return options;
}

Loaded loadedMeshes(Document& document) {
    return loaded("mesh.gltf", document.embedded(), withMeshes());
}

std::vector<Affine> worldOf(const Scene& scene, double time) {
    std::vector<Affine> world;
    for (std::size_t i = 0; i < scene.itemCount(); ++i)
        world.push_back(worldTransform(scene, Scene::itemAt(i), time));
    return world;
}

std::vector<Vec3> pointsOf(const Scene& scene, const char* name, double time = 0) {
    const ItemId item = itemNamed(scene, name);
    if (!scene.item(item).mesh) {
        ADD_FAILURE() << name << " has no mesh";
        return {};
    }
    return meshPoints(scene, item, time, worldOf(scene, time));
}

void expectPoints(const std::vector<Vec3>& found, const std::vector<Vec3>& expected) {
    ASSERT_EQ(found.size(), expected.size());
    for (std::size_t i = 0; i < found.size(); ++i)
        for (std::size_t c = 0; c < 3; ++c)
            EXPECT_NEAR(found[i][c], expected[i][c], 1e-6) << "point " << i << ", " << c;
}

const MeshShape& shapeOf(const Scene& scene, const char* name) {
    return *scene.item(itemNamed(scene, name)).mesh->shape;
}

// The pairs of points between which there are edges, in order.
std::vector<std::array<std::uint32_t, 2>> pairsOf(const MeshShape& shape) {
    std::vector<std::array<std::uint32_t, 2>> pairs;
    for (const MeshEdge& edge : shape.edges)
        pairs.push_back(edge.points);
    return pairs;
}

// A square of two triangles, the side between them from the first point to the third.
const std::vector<float> square{0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0};
const std::vector<std::uint16_t> halves{0, 1, 2, 0, 2, 3};

TEST(Mesh, an_item_has_its_mesh_only_where_meshes_are_asked_for) {
    Document document;
    document.mesh(square, halves);
    document.node(R"({"name": "A", "translation": [1, 0, 0], "children": [1]})");
    document.node(R"({"name": "B", "mesh": 0, "rotation": [0, 0.6, 0, 0.8], "scale": [2, 3, 1]})");
    document.animate(0, 0, "translation", document.times({0, 1}),
                     document.floats({1, 0, 0, 5, 0, 0}, "VEC3"));
    const auto file = loadedMeshes(document);
    // The rotation takes X to (0.28, 0, -0.96).
    expectPoints(pointsOf(file.scene, "B", 0.5),
                 {{3, 0, 0}, {3.56, 0, -1.92}, {3.56, 3, -1.92}, {3, 3, 0}});
    EXPECT_EQ(file.notes.size(), 1u) << "on the frame rate";
    EXPECT_FALSE(file.scene.item(itemNamed(file.scene, "A")).mesh);
    const auto plain = loaded("plain.gltf", document.embedded());
    EXPECT_FALSE(plain.scene.item(itemNamed(plain.scene, "B")).mesh);
}

// Two bones one above the other; the upper one turns.
struct Arm : Document {
    Arm() {
        node(R"({"name": "Low", "translation": [0, 1, 0], "children": [1]})");
        node(R"({"name": "High", "translation": [0, 2, 0]})");
        node(R"({"name": "Skin", "mesh": 0, "skin": 0, "translation": [50, 50, 50]})");
        const std::size_t inverse = binds();
        json["skins"].push_back({{"joints", {1, 0}}, {"inverseBindMatrices", inverse}});
        mesh({0, 1, 0, 0, 3, 0, 0, 4, 0}, {0, 1, 2});
        primitive(0)["attributes"]["JOINTS_0"] =
            numbers<std::uint8_t>({1, 0, 0, 0, 0, 1, 9, 9, 0, 9, 9, 9}, "VEC4", 5121, 4);
        weigh({1, 0, 0, 0, 0.5f, 0.5f, 0, 0, 1, 0, 0, 0});
        animate(0, 1, "rotation", times({0, 1}), // by 90 degrees about Z, and on
                floats({0, 0, 0.70710678f, 0.70710678f, 0, 0, 1, 0}, "VEC4"));
    }
    std::size_t binds() { // the joints' own spaces begin at 3 and at 1
        std::vector<float> both;
        for (const float y : {-3.0f, -1.0f})
            both.insert(both.end(), {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, y, 0, 1});
        return numbers(both, "MAT4", 5126, 16);
    }
    void weigh(const std::vector<float>& weights) {
        primitive(0)["attributes"]["WEIGHTS_0"] = floats(weights, "VEC4");
    }
};

TEST(Mesh, a_skin_follows_its_bones_and_not_its_node) {
    Arm arm;
    const auto bent = loadedMeshes(arm);
    // Turned about (0, 3, 0); the point that follows both is on it.
    expectPoints(pointsOf(bent.scene, "Skin"), {{0, 1, 0}, {0, 3, 0}, {-1, 3, 0}});
    expectPoints(pointsOf(bent.scene, "Skin", 1), {{0, 1, 0}, {0, 3, 0}, {0, 2, 0}});
    Scene moved = loadedMeshes(arm).scene;
    moved.mutableMotion(itemNamed(moved, "High"), positionX).rest = 2;
    expectPoints(pointsOf(moved, "Skin"), {{0, 1, 0}, {1, 3, 0}, {1, 3, 0}});
}

TEST(Mesh, weights_of_any_type_are_parts_of_their_sum) {
    Arm arm;
    arm.weigh({3, 0, 0, 0, 0.2f, 0.2f, 0, 0, 0, 0, 0, 0}); // of no weight: the first joint's
    auto file = loadedMeshes(arm);
    file.scene.mutableMotion(itemNamed(file.scene, "High"), positionX).rest = 2;
    expectPoints(pointsOf(file.scene, "Skin"), {{0, 1, 0}, {1, 3, 0}, {1, 3, 0}});
    const std::size_t bytes =
        arm.numbers<std::uint8_t>({255, 0, 0, 0, 191, 64, 0, 0, 255, 0, 0, 0}, "VEC4", 5121, 4);
    arm.json["accessors"][bytes]["normalized"] = true;
    arm.primitive(0)["attributes"]["WEIGHTS_0"] = bytes;
    file = loadedMeshes(arm);
    file.scene.mutableMotion(itemNamed(file.scene, "High"), positionX).rest = 2;
    expectPoints(pointsOf(file.scene, "Skin"), {{0, 1, 0}, {2 * 191 / 255.0, 3, 0}, {1, 3, 0}});
}

TEST(Mesh, morphs_move_the_points_by_their_channels_values) {
    Document document;
    document.mesh(square, halves);
    document.node(R"({"name": "Face", "mesh": 0, "scale": [2, 1, 1], "weights": [0, 0, 0.5]})");
    const std::size_t lift = document.floats({0, 0, 0, 0, 0, 0, 0, 0, 3, 0, 0, 0}, "VEC3");
    // Without bytes of its own, all but the second point stay.
    document.json["accessors"].push_back({{"componentType", 5126}, {"count", 4}, {"type", "VEC3"}});
    const std::size_t sparse = document.json["accessors"].size() - 1;
    document.numbers(std::vector<std::uint8_t>{1}, "SCALAR", 5121, 1);
    document.floats({8, 0, 0}, "VEC3");
    const std::size_t views = document.json["bufferViews"].size();
    document.json["accessors"][sparse]["sparse"] = {
        {"count", 1},
        {"indices", {{"bufferView", views - 2}, {"componentType", 5121}}},
        {"values", {{"bufferView", views - 1}}}};
    document.primitive(0)["targets"] = {
        {{"POSITION", lift}}, {{"NORMAL", lift}}, {{"POSITION", sparse}}};
    document.animate(0, 0, "weights", document.times({0, 1}),
                     document.floats({0, 0, 0.5f, 1, 0, 0.5f}, "SCALAR"));
    auto file = loadedMeshes(document);
    expectPoints(pointsOf(file.scene, "Face", 0.5),
                 {{0, 0, 0}, {10, 0, 0}, {2, 1, 1.5}, {0, 1, 0}});
    EXPECT_EQ(shapeOf(file.scene, "Face").targets[2].points, std::vector<std::uint32_t>{1});
}

TEST(Mesh, points_that_go_together_are_one) {
    Document document;
    // The square with its halves apart, and then one of the points moved away by a morph.
    const std::vector<float> apart{0, 0, 0, 1, 0, 0, 1, 1, 0, -0.0f, 0, 0, 1, 1, 0, 0, 1, 0};
    document.mesh(apart, {0, 1, 2, 3, 4, 5});
    document.mesh(apart, {0, 1, 2, 3, 4, 5});
    std::vector<float> away(18);
    away[9] = 1;
    document.primitive(1)["targets"] = {{{"POSITION", document.floats(away, "VEC3")}}};
    document.node(R"({"name": "Whole", "mesh": 0})");
    document.node(R"({"name": "Torn", "mesh": 1})");
    const auto file = loadedMeshes(document);
    EXPECT_EQ(pointsOf(file.scene, "Whole").size(), 4u);
    EXPECT_EQ(shapeOf(file.scene, "Whole").edges.size(), 4u) << "a square has no diagonal";
    EXPECT_EQ(pointsOf(file.scene, "Torn").size(), 5u);
    EXPECT_EQ(shapeOf(file.scene, "Torn").edges.size(), 6u);
}

TEST(Mesh, every_mode_has_its_edges) {
    using Pairs = std::vector<std::array<std::uint32_t, 2>>;
    // Three legs of a zigzag in space, so that no two triangles are coplanar.
    const std::vector<float> points{0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 0, 2};
    const struct {
        int mode;
        Pairs edges;
        std::vector<MeshTriangle> triangles;
    } cases[]{
        {1, {{0, 1}, {2, 3}}, {}},
        {2, {{0, 1}, {0, 3}, {1, 2}, {2, 3}}, {}},
        {3, {{0, 1}, {1, 2}, {2, 3}}, {}},
        {4, {{0, 1}, {0, 2}, {1, 2}}, {{0, 1, 2}}}, // one corner is left over
        {5, {{0, 1}, {0, 2}, {1, 2}, {1, 3}, {2, 3}}, {{0, 1, 2}, {1, 3, 2}}},
        {6, {{0, 1}, {0, 2}, {0, 3}, {1, 2}, {2, 3}}, {{1, 2, 0}, {2, 3, 0}}},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.mode);
        Document document;
        document.mesh(points, {0, 1, 2, 3}, one.mode);
        document.node(R"({"name": "N", "mesh": 0})");
        for (const bool hasIndices : {true, false}) {
            if (!hasIndices) document.primitive(0).erase("indices");
            const auto file = loadedMeshes(document);
            EXPECT_EQ(pairsOf(shapeOf(file.scene, "N")), one.edges);
            EXPECT_EQ(shapeOf(file.scene, "N").triangles, one.triangles);
        }
    }
}

TEST(Mesh, primitives_are_one_mesh_and_nodes_share_it_with_channels_of_their_own) {
    Document document;
    document.mesh(square, halves);
    document.json["meshes"][0]["primitives"].push_back(document.primitive(0));
    document.json["meshes"][0]["primitives"][1]["targets"] = {
        {{"POSITION", document.floats({0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1}, "VEC3")}}};
    document.node(R"({"name": "A", "mesh": 0, "weights": [1]})");
    document.node(R"({"name": "B", "mesh": 0})");
    const auto file = loadedMeshes(document);
    EXPECT_EQ(&shapeOf(file.scene, "A"), &shapeOf(file.scene, "B"));
    EXPECT_EQ(pointsOf(file.scene, "A").back(), (Vec3{0, 1, 1}));
    EXPECT_EQ(pointsOf(file.scene, "B").back(), (Vec3{0, 1, 0}));
    EXPECT_EQ(pointsOf(file.scene, "A").front(), (Vec3{0, 0, 0})) << "this half has no morph";
}

TEST(Mesh, one_that_cannot_be_shown_is_left_out_and_named) {
    using Json = Json;
    const auto set = [](const char* pointer, Json value) {
        return [=](Arm& d) { d.json[Json::json_pointer(pointer)] = value; };
    };
    const auto drop = [](const char* pointer, const char* member) {
        return [=](Arm& d) { d.json[Json::json_pointer(pointer)].erase(member); };
    };
    // Accessors: inverse binds, points, corners, joints, weights.
    const std::string primitive = "/meshes/0/primitives/0";
    const struct {
        const char* message;
        std::function<void(Arm&)> spoil;
    } cases[]{
        {"meshes[0].primitives[0].attributes.POSITION: there is no accessors[99]",
         set("/meshes/0/primitives/0/attributes/POSITION", 99)},
        {"meshes[0].primitives[0].attributes.POSITION: the member is missing",
         drop("/meshes/0/primitives/0/attributes", "POSITION")},
        {"attributes: expected an object", set("/meshes/0/primitives/0/attributes", 3)},
        {"primitives[0].mode: expected a whole number from 0 to 6",
         set("/meshes/0/primitives/0/mode", 7)},
        {"primitives[0].indices: expected an index", set("/meshes/0/primitives/0/indices", -1)},
        {"targets[0].POSITION: there is no accessors[50]",
         set("/meshes/0/primitives/0/targets", {{{"POSITION", 50}}})},
        {"targets[0].POSITION: the count does not match the points (expected 3, found 12)",
         [](Arm& d) {
             d.primitive(0)["targets"] = {{{"POSITION", d.floats(std::vector<float>(36), "VEC3")}}};
         }},
        {"the mesh is compressed by an extension that is not known (KHR_draco_mesh_compression)",
         set("/meshes/0/primitives/0/extensions",
             {{"KHR_draco_mesh_compression", Json::object()}})},
        {"POSITION (accessors[1]): the numbers are compressed by an extension",
         set("/bufferViews/1/extensions", {{"EXT_some_compression", {{"buffer", 0}}}})},
        {"primitives[0].indices: there is no point 9 (there are 3)",
         [](Arm& d) {
             d.primitive(0)["indices"] = d.numbers<std::uint16_t>({0, 1, 9}, "SCALAR", 5123, 1);
         }},
        {"primitives[0].indices (accessors[2]): the numbers are of an unknown type",
         set("/accessors/2/componentType", 5122)},
        {"primitives[0].indices: expected single numbers", set("/accessors/2/type", "VEC3")},
        {"POSITION (accessors[1]): the numbers reach beyond their buffer view",
         set("/accessors/1/byteOffset", 4)},
        {"POSITION: the numbers do not fit what they are for (expected 3 in an element, found 1)",
         set("/accessors/1/type", "SCALAR")},
        {"POSITION: a number is not finite (number 1)",
         [](Arm& d) {
             const float nan = std::numeric_limits<float>::quiet_NaN();
             std::memcpy(d.bytes.data() +
                             d.json["bufferViews"][1]["byteOffset"].get<std::size_t>() + 4,
                         &nan, 4);
         }},
        {"there is no joint 1 (the skin has 1)",
         [](Arm& d) { d.json["skins"][0]["joints"] = {1}; }},
        {"attributes: a mesh with a skin needs JOINTS_0 and WEIGHTS_0",
         drop("/meshes/0/primitives/0/attributes", "WEIGHTS_0")},
        {"JOINTS_0: expected four joints for each point", set("/accessors/3/count", 2)},
        {"skins[0].inverseBindMatrices: expected a matrix for each joint",
         set("/accessors/0/count", 1)},
        {"skins[0]: the skin has no joints", set("/skins/0/joints", Json::array())},
        {"meshes[0]: the mesh has no edges to draw", set("/meshes/0/primitives/0/mode", 0)},
        {"meshes[0]: the meshes have too many numbers (the limit is 30000000)",
         [](Arm& d) { // zeros, and so many that they must not be taken at their word
             d.json["accessors"].push_back(
                 {{"componentType", 5125}, {"count", 2000000000}, {"type", "SCALAR"}});
             d.primitive(0)["indices"] = d.json["accessors"].size() - 1;
         }},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.message);
        Arm arm;
        one.spoil(arm);
        const auto file = loadedMeshes(arm);
        ASSERT_EQ(file.notes.size(), 2u);
        EXPECT_TRUE(file.notes[1].starts_with("the mesh of \"Skin\" is not shown: "))
            << file.notes[1];
        EXPECT_NE(file.notes[1].find(one.message), std::string::npos) << file.notes[1];
        EXPECT_EQ(file.notes[1].find('\n'), std::string::npos);
        EXPECT_FALSE(file.scene.item(itemNamed(file.scene, "Skin")).mesh);
        EXPECT_EQ(file.scene.keyCount(), 6u) << "the motion is all there";
    }
}

TEST(Mesh, the_limit_is_for_all_items_and_many_notes_are_few_lines) {
    Document document;
    document.mesh(square, halves); // 12 coordinates and 6 corners
    for (int n = 0; n < 9; ++n)
        document.node(R"({"mesh": 0})");
    ReadOptions options = withMeshes();
    options.limits.meshNumbers = 2 * 18 + 17;
    const auto file = loaded("many.gltf", document.embedded(), options);
    std::size_t shown = 0;
    for (std::size_t i = 0; i < 9; ++i)
        shown += file.scene.item(Scene::itemAt(i)).mesh != nullptr;
    EXPECT_EQ(shown, 2u);
    ASSERT_EQ(file.notes.size(), 7u);
    EXPECT_EQ(file.notes.back(), "nor are those of 2 more");
}

TEST(Mesh, no_changed_byte_of_a_skinned_mesh_brings_the_reader_down) {
    const std::string glb = Arm().glb();
    std::size_t shown = 0;
    for (std::size_t at = 12; at < glb.size(); ++at)
        for (const char byte : {'9', '\x7f', '\xff'}) {
            std::string spoilt = glb;
            spoilt[at] = byte;
            const auto file = readGlb(spoilt, "spoilt.glb", withMeshes());
            if (!file) continue;
            const Scene& scene = file.value().scene;
            if (scene.findItem("Skin") == ItemId::none) continue;
            if (!scene.item(scene.findItem("Skin")).mesh) continue;
            shown += !pointsOf(scene, "Skin").empty();
        }
    EXPECT_GT(shown, 100u);
}

TEST(Mesh, a_file_that_was_read_with_meshes_is_written_as_it_was) {
    Arm arm;
    const std::string glb = arm.glb();
    EXPECT_EQ(written(loaded("arm.glb", glb, withMeshes()).scene, "out.glb"), glb);
}

TEST(Mesh, the_robot_that_was_read_with_meshes_is_written_as_it_was) {
    const auto path = dataFile("robot_expressive.glb");
    if (path.empty()) GTEST_SKIP() << "the real files are missing";
    const auto robot = readScene(path, withMeshes());
    ASSERT_TRUE(robot.ok());
    EXPECT_EQ(robot.value().notes.size(), 1u) << "every mesh of it is shown";
    EXPECT_TRUE(written(robot.value().scene, "robot.glb") == bytesOf(path));
}

TEST(Mesh, surfaces_have_normals_colours_and_images_and_are_seen_without) {
    Document document;
    document.mesh(square, {0, 1, 2, 0, 2, 3});
    Json& primitive = document.primitive(0);
    const std::vector<float> right{1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0};
    primitive["attributes"]["NORMAL"] = document.floats(right, "VEC3");
    primitive["attributes"]["TEXCOORD_0"] =
        document.numbers(std::vector<float>{0, 1, 1, 1, 1, 0, 0, 0}, "VEC2", 5126, 2);
    primitive["material"] = 0;
    document.json["materials"] = Json::parse(
        R"([{"pbrMetallicRoughness": {"baseColorFactor": [1, 0, 0.5, 1],
                                      "baseColorTexture": {"index": 0}}}])");
    document.json["textures"] = Json::parse(R"([{"source": 0}])");
    const std::string picture = "\x89PNG, and not looked at further";
    document.json["images"] = Json::array({{{"uri", dataUri(picture)}}});
    document.node(R"({"name": "Sheet", "mesh": 0, "scale": [1, 2, 1],
                      "rotation": [0, 0.7071067811865476, 0, 0.7071067811865476]})");
    const Loaded file = loadedMeshes(document);
    const std::size_t notes = file.notes.size();
    const MeshShape& shape = shapeOf(file.scene, "Sheet");
    ASSERT_EQ(shape.vertices.size(), 4u);
    EXPECT_EQ(shape.vertices[1].image, (std::array{1.0f, 1.0f}));
    ASSERT_EQ(shape.parts.size(), 1u);
    const MeshMaterial& material = shape.parts[0].material;
    EXPECT_EQ(material.colour[0], 1);
    EXPECT_NEAR(material.colour[2], 0.73, 0.01) << "as screens have it";
    ASSERT_TRUE(material.image);
    EXPECT_EQ(*material.image, picture);
    const auto normals =
        meshNormals(file.scene, itemNamed(file.scene, "Sheet"), worldOf(file.scene, 0));
    ASSERT_EQ(normals.size(), 4u);
    EXPECT_NEAR(normals[0][0], 0, 1e-6);
    EXPECT_NEAR(normals[0][1], 0, 1e-6);
    EXPECT_LT(normals[0][2], -0.5) << "turned with the item";

    const auto plainAfter = [&](const char* what, const std::function<void(Document&)>& damage) {
        SCOPED_TRACE(what);
        Document damaged = document;
        damage(damaged);
        const Loaded read = loadedMeshes(damaged);
        ASSERT_EQ(read.notes.size(), notes + 1);
        EXPECT_NE(read.notes.back().find(what), std::string::npos) << read.notes.back();
        EXPECT_FALSE(shapeOf(read.scene, "Sheet").parts[0].material.image);
    };
    plainAfter("materials[0].pbrMetallicRoughness.baseColorTexture.index",
               [](Document& d) { d.json["textures"] = Json::array(); });
    plainAfter("images[0].uri",
               [](Document& d) { d.json["images"][0]["uri"] = "data:image/png;base64,???"; });
    plainAfter("images[0].uri", [](Document& d) { d.json["images"][0]["uri"] = "../up.png"; });
    plainAfter("images[0]: only PNG and JPEG",
               [](Document& d) { d.json["images"][0]["uri"] = dataUri("RIFF1234WEBP"); });
    plainAfter("textures[0]: only PNG and JPEG", [](Document& d) {
        d.json["textures"] =
            Json::parse(R"([{"extensions": {"EXT_texture_webp": {"source": 0}}}])");
    });
    plainAfter("images[0]", [](Document& d) {
        d.json["images"][0] = {{"bufferView", d.json["bufferViews"].size()}};
        d.json["bufferViews"].push_back({{"buffer", 0}, {"byteLength", 1'000'000}});
    });
}

TEST(Mesh, the_robot_stands_on_the_ground_with_its_hands_at_its_arms) {
    const auto path = dataFile("robot_expressive.glb");
    if (path.empty()) GTEST_SKIP() << "the real files are missing";
    for (const char* clip : {"Idle", "Walking", "Dance"}) {
        SCOPED_TRACE(clip);
        ReadOptions options = withMeshes();
        options.clip = clip;
        const auto file = readScene(path, options);
        ASSERT_TRUE(file.ok());
        const Scene& scene = file.value().scene;
        for (std::int64_t frame = 0; frame <= scene.lastFrame; frame += 5) {
            const double time = scene.rate.timeOf(frame);
            const auto world = worldOf(scene, time);
            double low = 1e9;
            for (std::size_t i = 0; i < scene.itemCount(); ++i) {
                const Item& item = scene.item(Scene::itemAt(i)); // bones have the names, too
                if (!item.mesh || !item.name.starts_with("Foot")) continue;
                for (const Vec3& point : meshPoints(scene, Scene::itemAt(i), time, world))
                    low = std::min(low, point[1]);
            }
            EXPECT_NEAR(low, 0, 0.15) << "frame " << frame;
            const Vec3 wrist = worldPosition(scene, itemNamed(scene, "Palm2.L"), time);
            for (const Vec3& point : pointsOf(scene, "Hand.L", time))
                EXPECT_LT(std::hypot(point[0] - wrist[0], point[1] - wrist[1], point[2] - wrist[2]),
                          1.5)
                    << "frame " << frame;
        }
    }
}

} // namespace
} // namespace cadencora::stage::gltf
