#include "stage/formats/gltf/document/materials.h"

#include "stage/base/text.h"
#include "stage/formats/gltf/document/checked.h"
#include "stage/formats/gltf/document/files.h"

#include <algorithm>
#include <map>

namespace cadencora::stage::gltf {

namespace {

class MaterialReader : CheckedReader {
public:
    MaterialReader(const JsonDocument& json, const SourceDocument& document, std::uintmax_t limit)
        : CheckedReader(""), json_(json), whole_{json.json}, document_(document), left_(limit) {}

    std::vector<Material> read(std::vector<std::string>& notes) {
        const std::size_t count = whole_.sizeOf("materials");
        std::vector<Material> materials(count);
        if (count == 0) return materials;
        const Json& table = whole_.json["materials"];
        const Value array{table, &whole_, "materials"};
        constexpr std::size_t mostLines = 3;
        std::size_t failed = 0;
        for (std::size_t i = 0; i < count; ++i) {
            const Value from{table[i], &array, {}, i};
            if (one(from, materials[i])) continue;
            if (++failed <= mostLines)
                notes.push_back("a material is not shown as it is: " + problem().text());
        }
        if (failed > mostLines)
            notes.push_back("nor are " + std::to_string(failed - mostLines) + " more");
        return materials;
    }

private:
    static constexpr std::string_view notShown = "only PNG and JPEG images are shown";

    bool one(const Value& from, Material& to) {
        if (!from.json.is_object()) return expected(from, "an object");
        return object(from, "pbrMetallicRoughness", [&](const Value& surface) {
            std::array<double, 4> colour = to.colour;
            if (!take(surface, "baseColorFactor", colour)) return false;
            for (std::size_t c = 0; c < 4; ++c)
                to.colour[c] = std::clamp(colour[c], 0.0, 1.0);
            return object(surface, "baseColorTexture",
                          [&](const Value& texture) { return takeImage(texture, to); });
        });
    }

    bool takeImage(const Value& texture, Material& to) {
        std::size_t set = 0, index = none, source = none;
        const Json* extensions = texture.member("extensions");
        if (!needs(texture, {"index"}) || !take(texture, "texCoord", set) ||
            !takeIndex(texture, "index", tableOf("textures"), index))
            return false;
        if (set != 0 || (extensions && extensions->contains("KHR_texture_transform"))) return true;
        const Value textures{whole_.json["textures"], &whole_, "textures"};
        const Value from{textures.json[index], &textures, {}, index};
        if (!from.json.is_object()) return expected(from, "an object");
        if (!takeIndex(from, "source", tableOf("images"), source)) return false;
        if (source != none) to.image = image(source);
        if (source == none && from.member("extensions"))
            return fail(from.place(), std::string(notShown));
        return source == none || to.image;
    }

    // Null after a problem. Every image is read once.
    std::shared_ptr<const std::string> image(std::size_t index) {
        if (const auto known = images_.find(index); known != images_.end()) return known->second;
        const Value images{whole_.json["images"], &whole_, "images"};
        std::string bytes;
        if (!readImage({images.json[index], &images, {}, index}, bytes)) return nullptr;
        const std::string_view start = bytes;
        if (!start.starts_with("\x89PNG") && !start.starts_with("\xff\xd8\xff")) {
            fail("images[" + std::to_string(index) + "]", std::string(notShown));
            return nullptr;
        }
        if (bytes.size() > left_) {
            fail("images[" + std::to_string(index) + "]", "the images are too large");
            return nullptr;
        }
        left_ -= bytes.size();
        return images_[index] = std::make_shared<const std::string>(std::move(bytes));
    }

    bool readImage(const Value& from, std::string& bytes) {
        if (!from.json.is_object()) return expected(from, "an object");
        std::size_t view = none;
        if (!takeIndex(from, "bufferView", tableOf("bufferViews"), view)) return false;
        if (view != none) {
            const BufferView& part = document_.model.views[view];
            const std::string_view buffer = document_.bytes()[part.buffer];
            if (part.offset > buffer.size() || part.length > buffer.size() - part.offset)
                return fail(from.place(), "the image lies outside of its buffer");
            bytes = buffer.substr(part.offset, part.length);
            return true;
        }
        std::string text;
        if (!needs(from, {"uri"}) || !take(from, "uri", text)) return false;
        const std::string_view uri = json_.uri(text);
        const std::string place = from.place() + ".uri";
        if (isDataUri(uri)) {
            auto decoded = dataUriBytes(uri);
            if (!decoded) return fail(place, "the embedded image is not valid base64");
            bytes = std::move(*decoded);
            return true;
        }
        auto read = readFileBeside(document_.path.parent_path(), uri, place, left_);
        if (!read) return fail(read.problem().where, read.problem().what, read.problem().detail);
        bytes = std::move(*read);
        return true;
    }

    Table tableOf(std::string_view name) const { return {name, whole_.sizeOf(name)}; }

    const JsonDocument& json_;
    const Value whole_;
    const SourceDocument& document_;
    std::uintmax_t left_;
    std::map<std::size_t, std::shared_ptr<const std::string>> images_; // by index
};

} // namespace

std::vector<Material> readMaterials(const JsonDocument& json, const SourceDocument& document,
                                    std::uintmax_t limit, std::vector<std::string>& notes) {
    return MaterialReader(json, document, limit).read(notes);
}

} // namespace cadencora::stage::gltf
