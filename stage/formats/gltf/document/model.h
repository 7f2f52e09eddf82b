// What of a document concerns motion, in plain tables whose indices may be followed; what it draws
// is left out except meshes, where they are asked for. Nothing here looks into buffers.
#pragma once

#include "stage/formats/gltf/document/container.h"
#include "stage/scene/math/rotation.h"

#include <memory>
#include <optional>
#include <string_view>
#include <utility>

namespace cadencora::stage::gltf {

constexpr std::size_t none = static_cast<std::size_t>(-1);

enum class Path : std::uint8_t { translation, rotation, scale, weights, other };
constexpr std::array<std::string_view, 4> pathNames{"translation", "rotation", "scale", "weights"};

enum class Interpolation : std::uint8_t { linear, step, cubic };
constexpr std::array<std::string_view, 3> interpolationNames{"LINEAR", "STEP", "CUBICSPLINE"};

struct Node {
    std::string name;
    std::size_t parent = none;
    std::vector<std::size_t> children;
    Vec3 translation{}, scale{1, 1, 1};
    std::array<double, 4> rotation{0, 0, 0, 1}; // x, y, z, w
    bool hasMatrix = false;                     // the three come from it
    std::size_t mesh = none, skin = none;
    bool isCamera = false, isLight = false;
    std::vector<double> weights; // the mesh's where the node has none
};

// Accessors by index; `none` where the document has none.
struct Primitive {
    std::size_t mode = 4; // triangles
    std::size_t positions = none, indices = none;
    std::size_t joints = none, weights = none;
    std::size_t normals = none, texture = none; // the first set of texture coordinates
    std::size_t material = none;                // of the document's materials
    std::vector<std::size_t> targets;           // differences of the positions
};

struct Material {
    std::array<double, 4> colour{1, 1, 1, 1}; // red, green and blue as amounts of light, opacity
    std::shared_ptr<const std::string> image; // an image file's bytes; null: the colour alone
};

struct Mesh {
    std::vector<std::string> targets; // names of the morph targets
    std::vector<double> weights;
    // Where meshes were asked for.
    Result<std::vector<Primitive>> primitives{std::vector<Primitive>{}};
};

struct Skin {
    std::vector<std::size_t> joints; // nodes
    std::size_t inverseBinds = none; // accessor
};

struct Accessor {
    struct Part { // where bytes are
        std::size_t view = none, offset = 0;
    };
    Part values;
    std::size_t count = 0;
    std::size_t components = 0; // of an element
    std::size_t componentType = 0;
    bool normalized = false;
    std::size_t sparseCount = 0;
    Part sparseIndices, sparseValues;
    std::size_t sparseIndexType = 0;
};

// Where the bytes of a view are packed, by EXT_meshopt_compression.
struct PackedBytes {
    enum class Mode : std::uint8_t { attributes, triangles, indices };
    enum class Filter : std::uint8_t { plain, octahedral, quaternion, exponential };
    std::size_t buffer = 0, offset = 0, length = 0;
    std::size_t stride = 0, count = 0; // of the elements
    Mode mode = Mode::attributes;
    Filter filter = Filter::plain;
};

struct BufferView {
    std::size_t buffer = 0, offset = 0, length = 0, stride = 0;
    bool isCompressed = false; // by an extension that is not read
    std::optional<PackedBytes> packed;
    std::string_view unpacked; // of a packed view, once the buffers are there
    std::string unpackProblem; // or why there is nothing; said where the numbers are needed
};

struct Sampler {
    std::size_t input = 0, output = 0;
    Interpolation interpolation = Interpolation::linear;
};

struct Channel {
    std::size_t sampler = 0, node = none;
    Path path = Path::other;
};

struct Clip {
    std::string name; // never empty
    std::vector<Channel> channels;
    std::vector<Sampler> samplers;
};

struct Model {
    std::vector<Node> nodes;
    std::vector<Mesh> meshes;
    std::vector<Skin> skins;
    std::vector<Accessor> accessors;
    std::vector<BufferView> views;
    std::vector<Clip> clips;
    std::vector<std::string> pointers; // what clips animate besides nodes: "/materials/0/..."
    std::vector<std::string> warnings;

    // How many morph targets a node has.
    std::size_t targetsOf(std::size_t node) const {
        const std::size_t mesh = nodes[node].mesh;
        return mesh == none ? 0 : meshes[mesh].targets.size();
    }
};

// The node and path that a pointer such as "/nodes/3/translation" means; nothing for any other.
std::optional<std::pair<std::size_t, Path>> nodePointedAt(std::string_view pointer);

// The pointer of a channel's target, by KHR_animation_pointer; null where it has none.
const std::string* pointerOf(const Json& target);

// Problems name the place: "robot.glb: animations[3].samplers[1].input". With primitives, a mesh
// that is not as it should be gets its problem instead, whose place is within the document:
// "meshes[2].primitives[0].mode".
Result<Model> readModel(const Json& document, const std::string& where, bool withPrimitives);

} // namespace cadencora::stage::gltf
