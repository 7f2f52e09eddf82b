#include "stage/formats/registry.h"

#include "stage/base/file.h"
#include "stage/base/text.h"
#include "stage/formats/bvh/bvh.h"
#include "stage/formats/gltf/gltf.h"
#include "stage/formats/native/motion_file.h"
#include "stage/formats/native/scene_file.h"

#include <algorithm>
#include <new>
#include <stdexcept>

namespace cadencora::stage {

namespace {

constexpr std::size_t headBytes = 4096; // enough to recognise any format

Problem unknownExtension(std::string what, const std::filesystem::path& path) {
    const std::string extension = path.extension().string();
    what += extension.empty() ? ": its name has no extension"
                              : ": the extension " + inQuotes(extension) + " is not known";
    return {std::move(what), path.string(), knownExtensions()};
}

// Nothing where the content may be what the name says; the format's reader has the last word.
std::optional<Problem> contentMismatch(const Format& format, std::string_view bytes,
                                       const std::filesystem::path& path) {
    const std::string_view head = bytes.substr(0, headBytes);
    if (format.recognises(head)) return std::nullopt;
    const std::string what = "this is not a " + std::string(format.name) + " file";
    if (bytes.empty()) return Problem{what, path.string(), "the file is empty"};
    if (isMotionText(head))
        return Problem{what, path.string(), "it holds the motion of one item, not a scene"};
    for (const Format& other : formats()) {
        if (!other.recognises(head)) continue;
        return Problem{what, path.string(),
                       "its content is " + std::string(other.name) + ", whose names end in " +
                           std::string(other.extensions.front())};
    }
    return std::nullopt;
}

} // namespace

std::span<const Format> formats() {
    static const std::vector<Format> table{
        {"BVH", {".bvh"}, bvh::isText, bvh::read, bvh::write},
        {"glTF", {".gltf"}, gltf::isGltfText, gltf::readGltf, gltf::writeGltf},
        {"GLB", {".glb"}, gltf::isGlb, gltf::readGlb, gltf::writeGlb},
        {"Cadencora scene", {".stage"}, isSceneText, readSceneFile, writeSceneFile},
    };
    return table;
}

const Format* formatOf(const std::filesystem::path& path) {
    const std::string extension = path.extension().string();
    for (const Format& format : formats())
        for (const std::string_view known : format.extensions)
            if (equalNoCase(known, extension)) return &format;
    return nullptr;
}

std::string knownExtensions() {
    std::string text;
    for (const Format& format : formats())
        for (const std::string_view extension : format.extensions)
            text += (text.empty() ? "known are " : ", ") + std::string(extension) + " (" +
                    std::string(format.name) + ")";
    return text;
}

Result<Loaded> readScene(const std::filesystem::path& path, const ReadOptions& options) {
    const Format* format = formatOf(path);
    if (!format) return unknownExtension("cannot read the file", path);
    try {
        const auto bytes = readFile(path, options.limits.bytes);
        if (!bytes) return bytes.problem();
        if (auto problem = contentMismatch(*format, bytes.value(), path)) return *problem;
        auto loaded = format->read(bytes.value(), path, options);
        if (loaded && options.clip && loaded->clips.empty())
            return Problem{"no clip is named " + inQuotes(*options.clip), path.string(),
                           "the file holds one animation without a name"};
        if (loaded) loaded->scene.makeNamesUnique();
        if (loaded && options.rate) loaded->scene.setRate(*options.rate);
        return loaded;
    } catch (const std::bad_alloc&) {
        return outOfMemory(path.string());
    } catch (const std::length_error&) {
        return outOfMemory(path.string());
    }
}

Result<Written> writeScene(const Scene& scene, const std::filesystem::path& path,
                           const WriteOptions& options) {
    const Format* format = formatOf(path);
    if (!format) return unknownExtension("cannot write the file", path);
    if (scene.source)
        for (const auto& used : scene.source->files)
            if (isSamePlace(used, path))
                return Problem{"cannot write the scene over a file that it is made from",
                               path.string(), used.string()};
    try {
        auto written = format->write(scene, path, options);
        if (written)
            for (const auto& left : takeLeftByOthers())
                written->warnings.push_back("a run on another machine is using, or has left, " +
                                            left.string());
        return written;
    } catch (const std::bad_alloc&) {
        return outOfMemory(path.string());
    }
}

} // namespace cadencora::stage
