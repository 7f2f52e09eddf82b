#include "stage/scene/mesh/mesh.h"

namespace cadencora::stage {

namespace {

// The points with the morphs applied and the bones at rest.
std::vector<Vec3> morphedPoints(const Scene& scene, const Mesh& mesh, double time) {
    std::vector<Vec3> points;
    points.reserve(mesh.shape->points.size());
    for (const auto& [x, y, z] : mesh.shape->points)
        points.push_back({static_cast<double>(x), static_cast<double>(y), static_cast<double>(z)});
    for (std::size_t t = 0; t < mesh.morphs.size(); ++t) {
        if (!scene.has(mesh.morphs[t])) continue; // an undo may take channels away
        const double weight = scene.envelope(scene.channel(mesh.morphs[t]).envelope).evaluate(time);
        if (weight == 0) continue;
        const MorphTarget& target = mesh.shape->targets[t];
        for (std::size_t i = 0; i < target.points.size(); ++i)
            for (std::size_t c = 0; c < 3; ++c)
                points[target.points[i]][c] += weight * static_cast<double>(target.deltas[i][c]);
    }
    return points;
}

std::vector<Affine> jointTransforms(const MeshSkin& skin, std::span<const Affine> world) {
    std::vector<Affine> transforms;
    transforms.reserve(skin.joints.size());
    for (std::size_t j = 0; j < skin.joints.size(); ++j) {
        const Affine& joint = world[Scene::positionOf(skin.joints[j])];
        transforms.push_back(product(joint, skin.inverseBinds[j]));
    }
    return transforms;
}

} // namespace

std::vector<Vec3> meshPoints(const Scene& scene, ItemId item, double time,
                             std::span<const Affine> world) {
    const Mesh& mesh = *scene.item(item).mesh;
    std::vector<Vec3> points = morphedPoints(scene, mesh, time);
    if (!mesh.skin) {
        const Affine& place = world[Scene::positionOf(item)];
        for (Vec3& point : points)
            point = transformed(place, point);
        return points;
    }
    const std::vector<Affine> transforms = jointTransforms(*mesh.skin, world);
    for (std::size_t i = 0; i < points.size(); ++i) {
        const JointWeights& joints = mesh.shape->jointWeights[i];
        Vec3 sum{};
        for (std::size_t n = 0; n < joints.joints.size(); ++n) {
            if (joints.weights[n] == 0) continue;
            const Vec3 moved = transformed(transforms[joints.joints[n]], points[i]);
            for (std::size_t c = 0; c < 3; ++c)
                sum[c] += static_cast<double>(joints.weights[n]) * moved[c];
        }
        points[i] = sum;
    }
    return points;
}

std::vector<MeshPoint> meshNormals(const Scene& scene, ItemId item, std::span<const Affine> world) {
    // By what normals turn: the cofactors, which are right under uneven scales and mirroring, too.
    using Turn = std::array<MeshPoint, 3>;
    const auto turnOf = [](const Mat3& m) {
        const Vec3 rows[] = {cross(m[1], m[2]), cross(m[2], m[0]), cross(m[0], m[1])};
        Turn turn;
        for (std::size_t r = 0; r < 3; ++r)
            for (std::size_t c = 0; c < 3; ++c)
                turn[r][c] = static_cast<float>(rows[r][c]);
        return turn;
    };
    const auto add = [](MeshPoint& sum, const Turn& turn, const MeshPoint& normal, float weight) {
        for (std::size_t r = 0; r < 3; ++r)
            sum[r] +=
                weight * (turn[r][0] * normal[0] + turn[r][1] * normal[1] + turn[r][2] * normal[2]);
    };
    const Mesh& mesh = *scene.item(item).mesh;
    std::vector<Turn> turns;
    if (mesh.skin)
        for (const Affine& joint : jointTransforms(*mesh.skin, world))
            turns.push_back(turnOf(joint.linear));
    else
        turns.push_back(turnOf(world[Scene::positionOf(item)].linear));
    std::vector<MeshPoint> normals;
    normals.reserve(mesh.shape->vertices.size());
    for (const MeshVertex& vertex : mesh.shape->vertices) {
        MeshPoint& sum = normals.emplace_back();
        if (!mesh.skin) {
            add(sum, turns.front(), vertex.normal, 1);
            continue;
        }
        const JointWeights& joints = mesh.shape->jointWeights[vertex.point];
        for (std::size_t n = 0; n < joints.joints.size(); ++n)
            if (joints.weights[n] != 0)
                add(sum, turns[joints.joints[n]], vertex.normal, joints.weights[n]);
    }
    return normals;
}

} // namespace cadencora::stage
