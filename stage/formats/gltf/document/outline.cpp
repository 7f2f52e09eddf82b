#include "stage/formats/gltf/document/outline.h"

#include "stage/base/text.h"

#include <algorithm>
#include <limits>
#include <nlohmann/json.hpp>
#include <span>

namespace cadencora::stage {

namespace {

enum class Kind { text, flag, size, index, indices, numbers };

struct Member {
    std::string_view name;
    Kind kind;
    std::string_view table = {}; // the array of the document that an index counts in
    std::size_t count = 0;       // of numbers; 0: any
    bool isRequired = false;
};

constexpr std::array nodeMembers{Member{"name", Kind::text},
                                 Member{"children", Kind::indices, "nodes"},
                                 Member{"translation", Kind::numbers, {}, 3},
                                 Member{"rotation", Kind::numbers, {}, 4},
                                 Member{"scale", Kind::numbers, {}, 3},
                                 Member{"matrix", Kind::numbers, {}, 16},
                                 Member{"mesh", Kind::index, "meshes"},
                                 Member{"skin", Kind::index, "skins"},
                                 Member{"camera", Kind::index, "cameras"},
                                 Member{"weights", Kind::numbers}};
constexpr std::array skinMembers{Member{"joints", Kind::indices, "nodes", 0, true},
                                 Member{"inverseBindMatrices", Kind::index, "accessors"}};
constexpr std::array meshMembers{Member{"weights", Kind::numbers}};
constexpr std::array accessorMembers{
    Member{"bufferView", Kind::index, "bufferViews"}, Member{"byteOffset", Kind::size},
    Member{"componentType", Kind::size, {}, 0, true}, Member{"normalized", Kind::flag},
    Member{"count", Kind::size, {}, 0, true},         Member{"type", Kind::text, {}, 0, true},
};
constexpr std::array sparseMembers{Member{"count", Kind::size, {}, 0, true}};
constexpr std::array sparseIndexMembers{Member{"bufferView", Kind::index, "bufferViews", 0, true},
                                        Member{"byteOffset", Kind::size},
                                        Member{"componentType", Kind::size, {}, 0, true}};
constexpr std::array sparseValueMembers{Member{"bufferView", Kind::index, "bufferViews", 0, true},
                                        Member{"byteOffset", Kind::size}};
constexpr std::array viewMembers{
    Member{"buffer", Kind::index, "buffers", 0, true}, Member{"byteOffset", Kind::size},
    Member{"byteLength", Kind::size, {}, 0, true}, Member{"byteStride", Kind::size}};
constexpr std::array clipMembers{Member{"name", Kind::text}};
constexpr std::array samplerMembers{Member{"input", Kind::index, "accessors", 0, true},
                                    Member{"output", Kind::index, "accessors", 0, true},
                                    Member{"interpolation", Kind::text}};
constexpr std::array channelMembers{Member{"sampler", Kind::size, {}, 0, true}};
constexpr std::array targetMembers{Member{"node", Kind::index, "nodes"},
                                   Member{"path", Kind::text, {}, 0, true}};

std::string_view kindName(Kind kind) {
    constexpr std::array<std::string_view, 6> names{
        "a text",   "true or false",       "a whole number",
        "an index", "an array of indices", "an array of numbers"};
    return names[static_cast<std::size_t>(kind)];
}

std::string member(const std::string& place, std::string_view name) {
    return place.empty() ? std::string(name) : place + "." + std::string(name);
}

std::string element(const std::string& place, std::size_t index) {
    return place + "[" + std::to_string(index) + "]";
}

class Outliner {
public:
    Outliner(const GltfJson& document, const std::string& where)
        : document_(document), where_(where) {}

    Result<GltfJson> run() {
        if (!document_.is_object()) {
            fail("", "this is not a glTF document");
            return problem_;
        }
        const auto plain = [&](std::span<const Member> members) {
            return [this, members](const std::string& place, const GltfJson& from, GltfJson& to) {
                return copy(place, from, members, to);
            };
        };
        const auto call = [&](auto method) {
            return [this, method](const std::string& place, const GltfJson& from, GltfJson& to) {
                return (this->*method)(place, from, to);
            };
        };
        if (version() && table("nodes", call(&Outliner::node)) &&
            table("skins", plain(skinMembers)) && table("meshes", call(&Outliner::mesh)) &&
            table("accessors", call(&Outliner::accessor)) &&
            table("bufferViews", plain(viewMembers)) && table("animations", call(&Outliner::clip)))
            return std::move(outline_);
        return problem_;
    }

private:
    bool fail(const std::string& place, std::string what, std::string detail = {}) {
        problem_ = {std::move(what), place.empty() ? where_ : where_ + ": " + place,
                    std::move(detail)};
        return false;
    }
    bool expected(const std::string& place, std::string_view wanted, const GltfJson& found) {
        return fail(place, "expected " + std::string(wanted),
                    "found " + std::string(found.type_name()));
    }

    std::size_t sizeOf(std::string_view name) const {
        const auto found = document_.find(name);
        return found != document_.end() && found->is_array() ? found->size() : 0;
    }

    bool version() {
        const auto asset = document_.find("asset");
        const bool isThere = asset != document_.end() && asset->is_object();
        const auto number = isThere ? asset->find("version") : document_.end();
        if (!isThere || number == asset->end() || !number->is_string())
            return fail("asset.version", "this is not a glTF document", "the member is missing");
        const auto text = number->get<std::string>();
        if (!text.starts_with("2."))
            return fail("asset.version", "the version of this glTF file is not known",
                        "known is 2.0, found " + inQuotes(text.substr(0, 20)));
        outline_["asset"] = {{"version", text}};
        return true;
    }

    // Copies an array of objects with `copyElement(place, from, to)`.
    template <class Copy>
    bool array(const std::string& place, const GltfJson& from, GltfJson& to,
               const Copy& copyElement) {
        if (!from.is_array()) return expected(place, "an array", from);
        to = GltfJson::array();
        for (std::size_t i = 0; i < from.size(); ++i) {
            const std::string here = element(place, i);
            if (!from[i].is_object()) return expected(here, "an object", from[i]);
            to.push_back(GltfJson::object());
            if (!copyElement(here, from[i], to.back())) return false;
        }
        return true;
    }
    template <class Copy>
    bool table(const std::string& name, const Copy& copyElement) {
        const auto found = document_.find(name);
        return found == document_.end() || array(name, *found, outline_[name], copyElement);
    }
    // A member that is an array of objects.
    template <class Copy>
    bool inner(const std::string& place, const GltfJson& from, const char* name, GltfJson& to,
               const Copy& copyElement) {
        const auto found = from.find(name);
        if (found == from.end()) return fail(member(place, name), "the member is missing");
        return array(member(place, name), *found, to[name], copyElement);
    }

    bool copy(const std::string& place, const GltfJson& from, std::span<const Member> members,
              GltfJson& to) {
        for (const Member& known : members) {
            const auto found = from.find(known.name);
            if (found == from.end()) {
                if (known.isRequired)
                    return fail(member(place, known.name), "the member is missing");
                continue;
            }
            if (!isOfKind(place, known, *found)) return false;
            to[std::string(known.name)] = *found;
        }
        return true;
    }

    bool isOfKind(const std::string& place, const Member& known, const GltfJson& value) {
        const auto here = [&] { return member(place, known.name); };
        const auto all = [&](auto fits) {
            return value.is_array() && std::ranges::all_of(value, fits);
        };
        switch (known.kind) {
        case Kind::text:
            return value.is_string() || expected(here(), kindName(known.kind), value);
        case Kind::flag:
            return value.is_boolean() || expected(here(), kindName(known.kind), value);
        case Kind::size:
            return isWhole(value) || expected(here(), kindName(known.kind), value);
        case Kind::index:
            return isIndex(here(), value, sizeOf(known.table), known.table);
        case Kind::indices:
            if (!value.is_array()) return expected(here(), kindName(known.kind), value);
            for (std::size_t i = 0, size = sizeOf(known.table); i < value.size(); ++i)
                if (!isIndex(element(here(), i), value[i], size, known.table)) return false;
            return true;
        case Kind::numbers:
            break;
        }
        if (!all([](const GltfJson& n) { return n.is_number(); }))
            return expected(here(), kindName(known.kind), value);
        return known.count == 0 || value.size() == known.count ||
               fail(here(), "expected " + std::to_string(known.count) + " numbers",
                    "found " + std::to_string(value.size()));
    }

    static bool isWhole(const GltfJson& value) {
        return value.is_number_unsigned() &&
               value.get<std::uint64_t>() <= std::numeric_limits<std::int32_t>::max();
    }

    bool isIndex(const std::string& place, const GltfJson& value, std::size_t size,
                 std::string_view what) {
        if (!isWhole(value)) return expected(place, kindName(Kind::index), value);
        return value.get<std::size_t>() < size ||
               fail(place, "there is no " + element(std::string(what), value.get<std::size_t>()),
                    "there are " + std::to_string(size));
    }

    bool node(const std::string& place, const GltfJson& from, GltfJson& to) {
        if (!copy(place, from, nodeMembers, to)) return false;
        const auto extensions = from.find("extensions");
        if (extensions != from.end() && extensions->is_object() &&
            extensions->contains("KHR_lights_punctual"))
            to["extensions"] = {{"KHR_lights_punctual", {{"light", 0}}}};
        return true;
    }

    bool mesh(const std::string& place, const GltfJson& from, GltfJson& to) {
        if (!copy(place, from, meshMembers, to)) return false;
        const auto extras = from.find("extras");
        if (extras != from.end() && extras->is_object()) {
            const auto names = extras->find("targetNames");
            if (names != extras->end() && names->is_array() &&
                std::ranges::all_of(*names, [](const GltfJson& n) { return n.is_string(); }))
                to["extras"]["targetNames"] = *names;
        }
        return inner(place, from, "primitives", to,
                     [this](const std::string& at, const GltfJson& primitive, GltfJson& copied) {
                         copied["attributes"] = GltfJson::object();
                         if (!primitive.contains("targets")) return true;
                         return inner(at, primitive, "targets", copied,
                                      [](auto&&...) { return true; });
                     });
    }

    bool accessor(const std::string& place, const GltfJson& from, GltfJson& to) {
        if (!copy(place, from, accessorMembers, to)) return false;
        const auto sparse = from.find("sparse");
        if (sparse == from.end()) return true;
        const std::string here = member(place, "sparse");
        if (!sparse->is_object()) return expected(here, "an object", *sparse);
        GltfJson& copied = to["sparse"] = GltfJson::object();
        return copy(here, *sparse, sparseMembers, copied) &&
               object(here, *sparse, "indices", sparseIndexMembers, copied) &&
               object(here, *sparse, "values", sparseValueMembers, copied);
    }

    bool object(const std::string& place, const GltfJson& from, const char* name,
                std::span<const Member> members, GltfJson& to) {
        const auto found = from.find(name);
        const std::string here = member(place, name);
        if (found == from.end()) return fail(here, "the member is missing");
        if (!found->is_object()) return expected(here, "an object", *found);
        to[name] = GltfJson::object();
        return copy(here, *found, members, to[name]);
    }

    bool clip(const std::string& place, const GltfJson& from, GltfJson& to) {
        const auto sampler = [this](const std::string& at, const GltfJson& one, GltfJson& copied) {
            return copy(at, one, samplerMembers, copied);
        };
        const auto channel = [&](const std::string& at, const GltfJson& one, GltfJson& copied) {
            if (!copy(at, one, channelMembers, copied) ||
                !isIndex(member(at, "sampler"), one["sampler"], to["samplers"].size(),
                         member(place, "samplers")) ||
                !object(at, one, "target", targetMembers, copied))
                return false;
            // A target without a node is for extensions; its channel keeps its place.
            if (!copied["target"].contains("node")) copied["target"]["node"] = -1;
            return true;
        };
        return copy(place, from, clipMembers, to) && inner(place, from, "samplers", to, sampler) &&
               inner(place, from, "channels", to, channel);
    }

    const GltfJson& document_;
    const std::string& where_;
    GltfJson outline_;
    Problem problem_;
};

} // namespace

Result<GltfJson> gltfOutline(const GltfJson& document, const std::string& where) {
    return Outliner(document, where).run();
}

} // namespace cadencora::stage
