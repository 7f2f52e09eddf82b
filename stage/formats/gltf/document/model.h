// What of a glTF document concerns motion, in plain tables whose indices may be followed; what it
// draws is left out but for meshes where they are asked for.
//
// Reading a document into these tables goes through the outline (gltf_outline), so that nothing
// unchecked reaches the library behind gltfModel. Nothing here looks into buffers.
#pragma once

#include "stage/formats/gltf/document/container.h"
#include "stage/scene/math/rotation.h"

namespace cadencora::stage {

constexpr std::size_t gltfNone = static_cast<std::size_t>(-1);

enum class GltfPath : std::uint8_t { translation, rotation, scale, weights, other };
constexpr std::array<std::string_view, 4> gltfPathNames{"translation", "rotation", "scale",
                                                        "weights"};

enum class GltfInterpolation : std::uint8_t { linear, step, cubic };
constexpr std::array<std::string_view, 3> gltfInterpolationNames{"LINEAR", "STEP", "CUBICSPLINE"};

struct GltfNode {
    std::string name;
    std::size_t parent = gltfNone;
    std::vector<std::size_t> children;
    Vec3 translation{}, scale{1, 1, 1};
    std::array<double, 4> rotation{0, 0, 0, 1}; // x, y, z, w
    bool hasMatrix = false;                     // the three come from it
    std::size_t mesh = gltfNone, skin = gltfNone;
    bool isCamera = false, isLight = false;
    std::vector<double> weights; // the mesh's where the node has none
};

// Accessors by index; none where the document has none.
struct GltfPrimitive {
    std::size_t mode = 4; // triangles
    std::size_t positions = gltfNone, indices = gltfNone;
    std::size_t joints = gltfNone, weights = gltfNone;
    std::vector<std::size_t> targets; // what each moves the positions by
};

struct GltfMesh {
    std::vector<std::string> targets; // names of the morph targets
    std::vector<double> weights;
    // Where meshes were asked for.
    Result<std::vector<GltfPrimitive>> primitives{std::vector<GltfPrimitive>{}};
};

struct GltfSkin {
    std::vector<std::size_t> joints;     // nodes
    std::size_t inverseBinds = gltfNone; // accessor
};

struct GltfAccessor {
    struct Part { // where bytes are
        std::size_t view = gltfNone, offset = 0;
    };
    Part values;
    std::size_t count = 0;
    std::size_t components = 1;
    std::uint32_t componentType = 0;
    bool normalized = false;
    std::size_t sparseCount = 0;
    Part sparseIndices, sparseValues;
    std::uint32_t sparseIndexType = 0;
};

struct GltfView {
    std::size_t buffer = 0, offset = 0, length = 0, stride = 0;
    bool isCompressed = false; // by an extension that is not read
};

struct GltfSampler {
    std::size_t input = 0, output = 0;
    GltfInterpolation interpolation = GltfInterpolation::linear;
};

struct GltfChannel {
    std::size_t sampler = 0, node = gltfNone;
    GltfPath path = GltfPath::other;
};

struct GltfClip {
    std::string name; // never empty
    std::vector<GltfChannel> channels;
    std::vector<GltfSampler> samplers;
};

struct GltfModel {
    std::vector<GltfNode> nodes;
    std::vector<GltfMesh> meshes;
    std::vector<GltfSkin> skins;
    std::vector<GltfAccessor> accessors;
    std::vector<GltfView> views;
    std::vector<GltfClip> clips;
    std::vector<std::string> warnings;

    // How many morph targets a node has.
    std::size_t targetsOf(std::size_t node) const {
        const std::size_t mesh = nodes[node].mesh;
        return mesh == gltfNone ? 0 : meshes[mesh].targets.size();
    }
};

Result<GltfModel> gltfModel(const GltfJson& document, const std::string& where);

// Fills in the primitives of a model's meshes from its document. A mesh that is not as it should be
// gets its problem instead, whose place is within the document: "meshes[2].primitives[0].mode".
void takeGltfPrimitives(const GltfJson& document, GltfModel& model);

} // namespace cadencora::stage
