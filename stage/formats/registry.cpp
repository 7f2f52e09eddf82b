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
        {"glTF",
         {".gltf"},
         gltf::isGltfText,
         gltf::readGltf,
         gltf::writeGltf,
         true,
         gltf::readClip,
         gltf::writeGltfClips},
        {"GLB",
         {".glb"},
         gltf::isGlb,
         gltf::readGlb,
         gltf::writeGlb,
         true,
         gltf::readClip,
         gltf::writeGlbClips},
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

const Format* formatOfContent(std::string_view bytes) {
    for (const Format& format : formats())
        if (format.recognises(bytes.substr(0, headBytes))) return &format;
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

namespace {

void edit(Scene& scene, const FileEdits& edits) {
    for (std::size_t i = 0; i < scene.itemCount(); ++i) {
        Item& item = scene.item(Scene::itemAt(i));
        if (const auto found = edits.names.find(item.name); found != edits.names.end())
            scene.rename(Scene::itemAt(i), found->second);
        if (edits.scale == 1) continue;
        for (double& length : item.pivot)
            length *= edits.scale;
        for (Vec3& endSite : item.joint.endSites)
            for (double& length : endSite)
                length *= edits.scale;
        for (const MotionChannel channel : {positionX, positionY, positionZ}) {
            Envelope& curve = scene.mutableMotion(Scene::itemAt(i), channel);
            curve.rest *= edits.scale;
            for (auto key = curve.keys.begin(); key; key.advance()) {
                curve.keys.setValue(key, key.value() * edits.scale);
                for (const Parameter slope : {incomingSlope, outgoingSlope})
                    curve.keys.setParameter(key, slope, key.parameter(slope) * edits.scale);
            }
        }
    }
}

// The answer of `work`, or a Problem where it takes more memory than there is.
template <class Work>
auto orOutOfMemory(const std::filesystem::path& path, const Work& work) -> decltype(work()) {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        return outOfMemory(path.string());
    } catch (const std::length_error&) {
        return outOfMemory(path.string());
    }
}

Result<Loaded> settled(Result<Loaded> loaded, const Format& format, const ReadOptions& options) {
    if (loaded) loaded->format = &format;
    if (loaded && !format.readerEdits) edit(loaded->scene, options.edits);
    if (loaded) loaded->scene.makeNamesUnique();
    if (loaded && options.rate) loaded->scene.setRate(*options.rate);
    return loaded;
}

} // namespace

Result<Loaded> readScene(const std::filesystem::path& path, const ReadOptions& options) {
    const Format* format = formatOf(path);
    if (std::error_code ignored; !format && !std::filesystem::exists(path, ignored))
        return Problem{"cannot read the file", path.string(), "No such file or directory"};
    if (!format) return unknownExtension("cannot read the file", path);
    return orOutOfMemory(path, [&]() -> Result<Loaded> {
        const auto bytes = readFile(path, options.limits.bytes);
        if (!bytes) return bytes.problem();
        return readScene(bytes.value(), path, options);
    });
}

Result<Loaded> readScene(std::string_view bytes, const std::filesystem::path& path,
                         const ReadOptions& options) {
    const Format* format = formatOf(path);
    if (!format) return unknownExtension("cannot read the file", path);
    return orOutOfMemory(path, [&]() -> Result<Loaded> {
        if (auto problem = contentMismatch(*format, bytes, path)) return *problem;
        auto loaded = format->read(bytes, path, options);
        if (loaded && options.clip && loaded->clips.empty())
            return Problem{"no clip is named " + inQuotes(*options.clip), path.string(),
                           "the file holds one animation without a name"};
        return settled(std::move(loaded), *format, options);
    });
}

Result<Loaded> readClip(const SourceMemory& source, const Format& format,
                        const std::filesystem::path& path, const ReadOptions& options) {
    return orOutOfMemory(
        path, [&] { return settled(format.readClip(source, options), format, options); });
}

namespace {

// A scene must not replace a file that it is made from, other than its own.
std::optional<Problem> replacesNeeded(const Scene& scene, const std::filesystem::path& path) {
    if (scene.source)
        for (const auto& used : scene.source->files)
            if (isSamePlace(used, path))
                return Problem{"cannot write the scene over a file that it is made from",
                               path.string(), used.string()};
    return std::nullopt;
}

void tellLeftByOthers(Written& written) {
    for (const auto& left : takeLeftByOthers())
        written.warnings.push_back("a run on another machine is using, or has left, " +
                                   left.string());
}

class GuardedWriter final : public ClipsWriter {
public:
    GuardedWriter(std::filesystem::path path, std::unique_ptr<ClipsWriter> writer)
        : path_(std::move(path)), writer_(std::move(writer)) {}

    Result<Written> add(const Scene& scene) override {
        if (auto problem = replacesNeeded(scene, path_)) return *problem;
        return orOutOfMemory(path_, [&] { return writer_->add(scene); });
    }
    Result<Written> finish() override {
        auto written = orOutOfMemory(path_, [&] { return writer_->finish(); });
        if (written) tellLeftByOthers(*written);
        return written;
    }

private:
    std::filesystem::path path_;
    std::unique_ptr<ClipsWriter> writer_;
};

} // namespace

Result<Written> writeScene(const Scene& scene, const std::filesystem::path& path,
                           const WriteOptions& options) {
    const Format* format = options.format ? options.format : formatOf(path);
    if (!format) return unknownExtension("cannot write the file", path);
    if (auto problem = replacesNeeded(scene, path)) return *problem;
    return orOutOfMemory(path, [&] {
        auto written = format->write(scene, path, options);
        if (written) tellLeftByOthers(*written);
        return written;
    });
}

std::unique_ptr<ClipsWriter> writeClips(const std::filesystem::path& path,
                                        const WriteOptions& options) {
    const Format* format = options.format ? options.format : formatOf(path);
    if (!format || !format->writeClips) return nullptr;
    return std::make_unique<GuardedWriter>(path, format->writeClips(path, options));
}

} // namespace cadencora::stage
