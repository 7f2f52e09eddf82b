#include "stage/formats/gltf/document/model.h"

#include <nlohmann/json.hpp>

namespace cadencora::stage {

namespace {

constexpr const char* compression = "KHR_draco_mesh_compression";

// The primitives of one mesh, of which the outline has checked that they are objects, and their
// targets likewise.
class PrimitiveReader {
public:
    PrimitiveReader(const GltfJson& mesh, std::size_t accessors, std::string place)
        : mesh_(mesh), accessors_(accessors), place_(std::move(place)) {}

    Result<std::vector<GltfPrimitive>> read() {
        std::vector<GltfPrimitive> primitives;
        for (const GltfJson& from : mesh_["primitives"]) {
            const std::string here =
                place_ + ".primitives[" + std::to_string(primitives.size()) + "]";
            if (!one(from, here, primitives.emplace_back())) return problem_;
        }
        return primitives;
    }

private:
    bool fail(const std::string& place, std::string what, std::string detail = {}) {
        problem_ = {std::move(what), place, std::move(detail)};
        return false;
    }

    bool one(const GltfJson& from, const std::string& here, GltfPrimitive& to) {
        const auto extensions = from.find("extensions");
        if (extensions != from.end() && extensions->is_object() &&
            extensions->contains(compression))
            return fail(here, "the mesh is compressed by an extension that is not known",
                        compression);
        const auto mode = from.find("mode");
        if (mode != from.end()) {
            if (!mode->is_number_unsigned() || mode->get<std::uint64_t>() > 6)
                return fail(here + ".mode", "expected a whole number from 0 to 6");
            to.mode = mode->get<std::size_t>();
        }
        const auto attributes = from.find("attributes");
        if (attributes == from.end() || !attributes->is_object())
            return fail(here + ".attributes", "expected an object");
        const std::string inner = here + ".attributes";
        if (!attributes->contains("POSITION"))
            return fail(inner + ".POSITION", "the member is missing");
        if (!index(*attributes, "POSITION", inner, to.positions) ||
            !index(*attributes, "JOINTS_0", inner, to.joints) ||
            !index(*attributes, "WEIGHTS_0", inner, to.weights) ||
            !index(from, "indices", here, to.indices))
            return false;
        const auto targets = from.find("targets");
        if (targets == from.end()) return true;
        for (const GltfJson& target : *targets) {
            const std::string place = here + ".targets[" + std::to_string(to.targets.size()) + "]";
            if (!index(target, "POSITION", place, to.targets.emplace_back(gltfNone))) return false;
        }
        return true;
    }

    bool index(const GltfJson& object, const char* name, const std::string& place,
               std::size_t& to) {
        const auto found = object.find(name);
        if (found == object.end()) return true;
        const std::string here = place + "." + name;
        if (!found->is_number_unsigned()) return fail(here, "expected an index");
        if (found->get<std::uint64_t>() >= accessors_)
            return fail(here, "there is no accessors[" + found->dump() + "]",
                        "there are " + std::to_string(accessors_));
        to = found->get<std::size_t>();
        return true;
    }

    const GltfJson& mesh_;
    const std::size_t accessors_;
    const std::string place_;
    Problem problem_;
};

} // namespace

void takeGltfPrimitives(const GltfJson& document, GltfModel& model) {
    for (std::size_t i = 0; i < model.meshes.size(); ++i)
        model.meshes[i].primitives = PrimitiveReader(document["meshes"][i], model.accessors.size(),
                                                     "meshes[" + std::to_string(i) + "]")
                                         .read();
}

} // namespace cadencora::stage
