// The surface of an item: points that morphs and bones move, and the edges and triangles on them.
//
// Made once by a reader, then shared and never changed: a mesh is not animation, so the journal
// does not know of it. The reader guarantees that every index is in range and every number finite.
#pragma once

#include "stage/scene/transform.h"

#include <array>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace cadencora::stage {

using MeshPoint = std::array<float, 3>;
using MeshTriangle = std::array<std::uint32_t, 3>; // points, anticlockwise seen from outside

struct MeshEdge {
    static constexpr auto none = static_cast<std::uint32_t>(-1);

    std::array<std::uint32_t, 2> points{};
    std::array<std::uint32_t, 2> triangles{none, none}; // beside it

    bool operator==(const MeshEdge&) const = default;
};

// Points that a morph moves, and by how much at a weight of 1; the others stay.
struct MorphTarget {
    std::vector<std::uint32_t> points;
    std::vector<MeshPoint> deltas; // by point
};

// The joints of the skin that move a point, by number, and their weights, which sum to 1.
struct JointWeights {
    std::array<std::uint16_t, 4> joints{};
    std::array<float, 4> weights{1, 0, 0, 0};

    bool operator==(const JointWeights&) const = default;
};

// How a surface looks. Colours are as screens show them, 0 to 1.
struct MeshMaterial {
    std::array<float, 4> colour{0.75f, 0.75f, 0.75f, 1}; // red, green, blue, opacity
    std::shared_ptr<const std::string> image; // an image file's bytes, which the colour tints
};

// A point as triangles have it: where files repeat a point, its normal or its place on the image
// jumps.
struct MeshVertex {
    std::uint32_t point = 0;
    MeshPoint normal{};           // at rest, of length 1; zero: that of the triangle
    std::array<float, 2> image{}; // 0 to 1 from the top left corner, and beyond
};

// Triangles in a row that have the same material.
struct MeshPart {
    std::size_t firstTriangle = 0, triangles = 0;
    MeshMaterial material;
};

struct MeshShape {
    std::vector<MeshPoint> points; // at rest, in the space of the item
    std::vector<MeshTriangle> triangles;
    std::vector<MeshVertex> vertices;  // empty: the points, without normals
    std::vector<MeshTriangle> corners; // by triangle: its vertices
    std::vector<MeshPart> parts;       // of all triangles, in order
    std::vector<MeshEdge> edges;
    std::vector<MorphTarget> targets;
    std::vector<JointWeights> jointWeights; // by point where the shape has a skin
};

struct MeshSkin {
    std::vector<ItemId> joints;
    std::vector<Affine> inverseBinds; // by joint: from the mesh's space to the joint's own
};

// A shape as one item has it.
struct Mesh {
    std::shared_ptr<const MeshShape> shape;
    std::shared_ptr<const MeshSkin> skin; // null: the points move with the item
    std::vector<ChannelId> morphs;        // by target: the channel whose value is its weight
};

// The edges that show triangles and lines (pairs of points), each once. Where two nearly coplanar
// triangles are the halves of a four-sided face, the edge between them is left out.
std::vector<MeshEdge> meshEdges(std::span<const MeshPoint> points,
                                std::span<const MeshTriangle> triangles,
                                std::span<const std::array<std::uint32_t, 2>> lines);

// Where the points of an item's mesh are in the world. The item must have a mesh; `world` is the
// place of every item, by its number from 0.
std::vector<Vec3> meshPoints(const Scene& scene, ItemId item, double time,
                             std::span<const Affine> world);

// The normals of the vertices of an item's mesh in the world, of any length. Morphs leave them.
std::vector<MeshPoint> meshNormals(const Scene& scene, ItemId item, std::span<const Affine> world);

} // namespace cadencora::stage
