// The primitives of one mesh as one shape.

#include "stage/formats/gltf/mesh/mesh.h"

#include <algorithm>
#include <cmath>
#include <unordered_set>

namespace cadencora::stage::gltf {

namespace {

using Line = std::array<std::uint32_t, 2>;

// Builds one shape, primitive by primitive.
class ShapeReader {
public:
    ShapeReader(const Source& source, std::span<const Material> materials, std::size_t mesh,
                std::size_t joints)
        : source_(source), materials_(materials), mesh_(source.model.meshes[mesh]), joints_(joints),
          place_("meshes[" + std::to_string(mesh) + "].primitives[") {
        shape_.targets.resize(mesh_.targets.size());
    }

    Result<MeshShape> read() {
        const auto& primitives = mesh_.primitives;
        if (!primitives) return primitives.problem();
        for (std::size_t i = 0; i < primitives.value().size(); ++i)
            if (auto read = one(primitives.value()[i], place_ + std::to_string(i) + "]"); !read)
                return read.problem();
        shape_.edges = meshEdges(shape_.points, shape_.triangles, lines_);
        if (shape_.edges.empty())
            return Problem{"the mesh has no edges to draw", place_.substr(0, place_.find('.')), ""};
        return std::move(shape_);
    }

private:
    Result<> one(const Primitive& primitive, const std::string& here);
    Result<std::vector<float>> vectors(std::size_t accessor, std::size_t components,
                                       std::size_t count, const std::string& place) const;
    Result<> readWeights(const Primitive& primitive, std::size_t count, const std::string& here);
    Result<JointWeights> weightsOf(const std::uint32_t* joints, const float* weights) const;
    Result<std::vector<std::uint32_t>> corners(const Primitive& primitive, std::size_t count,
                                               const std::string& here) const;
    std::vector<std::uint32_t> join(const std::vector<float>& positions);
    void addVertices(const Primitive& primitive, const std::string& here);
    void endPart(const Primitive& primitive);
    void connect(std::size_t mode, const std::vector<std::uint32_t>& corners);
    void addTriangle(std::uint32_t a, std::uint32_t b, std::uint32_t c);
    void addLine(std::uint32_t a, std::uint32_t b);

    const Source& source_;
    const std::span<const Material> materials_;
    const Mesh& mesh_;
    const std::size_t joints_;
    const std::string place_;
    MeshShape shape_;
    std::vector<Line> lines_;
    std::vector<std::vector<float>> deltas_; // of the primitive, by target; empty: no difference
    std::vector<JointWeights> weights_;      // of the primitive, by point
    std::vector<std::uint32_t> joined_;      // of the primitive, by point: the shape's own
    std::uint32_t firstVertex_ = 0;          // of the primitive
};

// `count` is how many elements there have to be.
Result<std::vector<float>> ShapeReader::vectors(std::size_t index, std::size_t components,
                                                std::size_t count, const std::string& place) const {
    const Accessor& accessor = source_.model.accessors[index];
    const auto fail = [&](const std::string& what, std::string detail) {
        return Problem{what, place, std::move(detail)};
    };
    if (accessor.components != components)
        return fail("the numbers do not fit what they are for",
                    "expected " + std::to_string(components) + " in an element, found " +
                        std::to_string(accessor.components));
    if (accessor.count != count)
        return fail("the count does not match the points", "expected " + std::to_string(count) +
                                                               ", found " +
                                                               std::to_string(accessor.count));
    auto numbers = readFloats(source_, index, place);
    if (!numbers) return numbers;
    const auto odd = std::ranges::find_if(*numbers, [](float n) { return !std::isfinite(n); });
    if (odd != numbers->end())
        return fail("a number is not finite", "number " + std::to_string(odd - numbers->begin()));
    return numbers;
}

Result<> ShapeReader::one(const Primitive& primitive, const std::string& here) {
    const std::size_t count = source_.model.accessors[primitive.positions].count;
    auto positions = vectors(primitive.positions, 3, count, here + ".attributes.POSITION");
    if (!positions) return positions.problem();
    deltas_.assign(shape_.targets.size(), {});
    for (std::size_t t = 0; t < primitive.targets.size(); ++t) {
        if (primitive.targets[t] == none) continue;
        auto deltas = vectors(primitive.targets[t], 3, count,
                              here + ".targets[" + std::to_string(t) + "].POSITION");
        if (!deltas) return deltas.problem();
        deltas_[t] = std::move(*deltas);
    }
    if (joints_ > 0)
        if (auto read = readWeights(primitive, count, here); !read) return read;
    auto listed = corners(primitive, count, here);
    if (!listed) return listed.problem();
    firstVertex_ = static_cast<std::uint32_t>(shape_.vertices.size());
    joined_ = join(*positions);
    addVertices(primitive, here);
    connect(primitive.mode, *listed);
    endPart(primitive);
    return done();
}

// What only makes a surface look better is left out where it is damaged.
void ShapeReader::addVertices(const Primitive& primitive, const std::string& here) {
    const auto read = [&](std::size_t accessor, std::size_t components, const char* name) {
        if (accessor == none) return std::vector<float>();
        auto found = vectors(accessor, components, joined_.size(), here + ".attributes." + name);
        return found ? std::move(*found) : std::vector<float>();
    };
    const auto normals = read(primitive.normals, 3, "NORMAL");
    const auto image = read(primitive.texture, 2, "TEXCOORD_0");
    for (std::size_t i = 0; i < joined_.size(); ++i) {
        MeshVertex& vertex = shape_.vertices.emplace_back();
        vertex.point = joined_[i];
        if (!normals.empty()) std::copy_n(&normals[3 * i], 3, vertex.normal.begin());
        if (!image.empty()) std::copy_n(&image[2 * i], 2, vertex.image.begin());
    }
}

// The triangles since the part before have the primitive's material.
void ShapeReader::endPart(const Primitive& primitive) {
    MeshPart part;
    if (!shape_.parts.empty())
        part.firstTriangle = shape_.parts.back().firstTriangle + shape_.parts.back().triangles;
    part.triangles = shape_.triangles.size() - part.firstTriangle;
    if (part.triangles == 0) return;
    if (primitive.material < materials_.size()) {
        const Material& from = materials_[primitive.material];
        for (std::size_t c = 0; c < 4; ++c) // from amounts of light to what screens take
            part.material.colour[c] =
                static_cast<float>(c < 3 ? std::pow(from.colour[c], 1 / 2.2) : from.colour[c]);
        if (primitive.texture != none) part.material.image = from.image;
    }
    shape_.parts.push_back(std::move(part));
}

Result<> ShapeReader::readWeights(const Primitive& primitive, std::size_t count,
                                  const std::string& here) {
    const std::string place = here + ".attributes";
    if (primitive.joints == none || primitive.weights == none)
        return Problem{"a mesh with a skin needs JOINTS_0 and WEIGHTS_0", place, ""};
    const Accessor& accessor = source_.model.accessors[primitive.joints];
    if (accessor.components != 4 || accessor.count != count)
        return Problem{"expected four joints for each point", place + ".JOINTS_0", ""};
    const auto joints = readIndices(source_, primitive.joints, place + ".JOINTS_0");
    if (!joints) return joints.problem();
    const auto weights = vectors(primitive.weights, 4, count, place + ".WEIGHTS_0");
    if (!weights) return weights.problem();
    weights_.clear();
    weights_.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        auto normalized = weightsOf(&joints.value()[4 * i], &weights.value()[4 * i]);
        if (!normalized) {
            normalized.problem().where = place + ".JOINTS_0";
            return normalized.problem();
        }
        weights_.push_back(*normalized);
    }
    return done();
}

// Weights need not sum to 1 in a file, by a rounding or because a point had more than four joints.
Result<JointWeights> ShapeReader::weightsOf(const std::uint32_t* joints,
                                            const float* weights) const {
    JointWeights made;
    double sum = 0;
    for (std::size_t n = 0; n < 4; ++n)
        sum += static_cast<double>(std::max(weights[n], 0.0f));
    for (std::size_t n = 0; n < 4; ++n) {
        const bool counts = sum > 0 ? weights[n] > 0 : n == 0;
        if (counts && joints[n] >= joints_)
            return Problem{"there is no joint " + std::to_string(joints[n]), "",
                           "the skin has " + std::to_string(joints_)};
        made.joints[n] = static_cast<std::uint16_t>(counts ? joints[n] : 0);
        made.weights[n] = !counts   ? 0.0f
                          : sum > 0 ? static_cast<float>(static_cast<double>(weights[n]) / sum)
                                    : 1.0f;
    }
    return made;
}

Result<std::vector<std::uint32_t>>
ShapeReader::corners(const Primitive& primitive, std::size_t count, const std::string& here) const {
    std::vector<std::uint32_t> corners;
    if (primitive.indices == none) {
        for (std::uint32_t i = 0; i < count; ++i)
            corners.push_back(i);
        return corners;
    }
    const std::string place = here + ".indices";
    if (source_.model.accessors[primitive.indices].components != 1)
        return Problem{"expected single numbers", place, ""};
    auto listed = readIndices(source_, primitive.indices, place);
    if (!listed) return listed;
    for (const std::uint32_t index : *listed)
        if (index >= count)
            return Problem{"there is no point " + std::to_string(index), place,
                           "there are " + std::to_string(count)};
    return listed;
}

// Files repeat a point wherever its normal or its texture jumps; here points are one that have the
// same place at rest and always move together. The answer is by point of the primitive.
std::vector<std::uint32_t> ShapeReader::join(const std::vector<float>& positions) {
    const std::size_t count = positions.size() / 3;
    std::vector<const float*> columns{positions.data()}; // three numbers for each point
    for (const auto& deltas : deltas_)
        if (!deltas.empty()) columns.push_back(deltas.data());
    const auto hash = [&](std::uint32_t point) {
        std::size_t mixed = 14695981039346656037u;
        const auto mix = [&](float number) { // 0 and -0 alike
            mixed = (mixed ^ std::hash<float>()(number)) * 1099511628211u;
        };
        for (const float* column : columns)
            std::for_each_n(column + 3 * std::size_t{point}, 3, mix);
        if (joints_ > 0) std::ranges::for_each(weights_[point].weights, mix);
        return mixed ^ mixed >> 29;
    };
    const auto same = [&](std::uint32_t a, std::uint32_t b) {
        return (joints_ == 0 || weights_[a] == weights_[b]) &&
               std::ranges::all_of(columns, [&](const float* column) {
                   return std::equal(column + 3 * std::size_t{a}, column + 3 * std::size_t{a} + 3,
                                     column + 3 * std::size_t{b});
               });
    };
    std::unordered_set<std::uint32_t, decltype(hash), decltype(same)> known(count, hash, same);
    std::vector<std::uint32_t> joined(count);
    for (std::uint32_t i = 0; i < count; ++i) {
        const auto [first, isNew] = known.insert(i);
        if (!isNew) {
            joined[i] = joined[*first];
            continue;
        }
        joined[i] = static_cast<std::uint32_t>(shape_.points.size());
        shape_.points.push_back({positions[3 * i], positions[3 * i + 1], positions[3 * i + 2]});
        if (joints_ > 0) shape_.jointWeights.push_back(weights_[i]);
        for (std::size_t t = 0; t < deltas_.size(); ++t) {
            if (deltas_[t].empty()) continue;
            const MeshPoint delta{deltas_[t][3 * i], deltas_[t][3 * i + 1], deltas_[t][3 * i + 2]};
            if (delta == MeshPoint{}) continue;
            shape_.targets[t].points.push_back(joined[i]);
            shape_.targets[t].deltas.push_back(delta);
        }
    }
    return joined;
}

void ShapeReader::addTriangle(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
    const MeshTriangle points{joined_[a], joined_[b], joined_[c]};
    if (points[0] == points[1] || points[1] == points[2] || points[2] == points[0]) return;
    shape_.triangles.push_back(points);
    shape_.corners.push_back({firstVertex_ + a, firstVertex_ + b, firstVertex_ + c});
}

void ShapeReader::addLine(std::uint32_t a, std::uint32_t b) {
    if (joined_[a] != joined_[b]) lines_.push_back({joined_[a], joined_[b]});
}

void ShapeReader::connect(std::size_t mode, const std::vector<std::uint32_t>& corners) {
    enum { points, lines, lineLoop, lineStrip, triangles, triangleStrip, triangleFan };
    const std::size_t size = corners.size();
    switch (mode) {
    case lines:
        for (std::size_t i = 0; i + 1 < size; i += 2)
            addLine(corners[i], corners[i + 1]);
        break;
    case lineLoop:
    case lineStrip:
        for (std::size_t i = 0; i + 1 < size; ++i)
            addLine(corners[i], corners[i + 1]);
        if (mode == lineLoop && size > 2) addLine(corners.back(), corners.front());
        break;
    case triangles:
        for (std::size_t i = 0; i + 2 < size; i += 3)
            addTriangle(corners[i], corners[i + 1], corners[i + 2]);
        break;
    case triangleStrip: // every other triangle has the opposite orientation
        for (std::size_t i = 0; i + 2 < size; ++i)
            addTriangle(corners[i], corners[i + 1 + i % 2], corners[i + 2 - i % 2]);
        break;
    case triangleFan:
        for (std::size_t i = 1; i + 1 < size; ++i)
            addTriangle(corners[i], corners[i + 1], corners.front());
        break;
    default:
        break;
    }
}

} // namespace

Result<MeshShape> readShape(const Source& source, std::span<const Material> materials,
                            std::size_t mesh, std::size_t joints) {
    return ShapeReader(source, materials, mesh, joints).read();
}

} // namespace cadencora::stage::gltf
