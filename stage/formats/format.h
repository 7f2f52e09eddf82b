// What every format's reader and writer share: options, limits, results, and the entry of a format
// in the table of formats (registry.h).
#pragma once

#include "stage/base/result.h"
#include "stage/scene/scene.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace cadencora::stage {

// What a reader accepts. Whatever a file claims, the memory it takes is bounded by these.
struct ReadLimits {
    std::uintmax_t bytes = std::uintmax_t{2} << 30; // of the file
    std::size_t items = 50'000;
    std::size_t channels = 500'000;
    std::size_t keys = 200'000'000;
    std::size_t depth = 513; // of items below items, and of groups within groups
    // Coordinates, indices and weights of all items' meshes; an item whose mesh goes beyond has
    // none, and a note says so.
    std::size_t meshNumbers = 30'000'000;
    std::uintmax_t imageBytes = std::uintmax_t{256} << 20; // of what meshes are painted with
};

// Whether lengths can be scaled by the number and back.
inline bool isScale(double number) {
    return number >= 1e-9 && number <= 1e9;
}

// What is changed of a whole file as it is read, and stays changed where it is written.
struct FileEdits {
    double scale = 1;                         // of all lengths
    std::map<std::string, std::string> names; // of items: the new one by the one in the file

    bool empty() const { return scale == 1 && names.empty(); }
};

struct ReadOptions {
    std::optional<FrameRate> rate; // the scene's rate in place of the file's; keys keep their times
    // Which of the animations that a file holds is opened, by name; the first one otherwise.
    // Formats with one animation take no notice.
    std::optional<std::string> clip;
    FileEdits edits;
    bool meshes = false; // whether items get the meshes that the file has, to be drawn
    ReadLimits limits;
    // Called from time to time with the share of the work that is done, 0 to 1, or 0 while that is
    // not known. If it returns false, the reading stops with a Problem. Called on the thread that
    // reads.
    std::function<bool(double share)> progress;

    bool goesOn(double share) const { return !progress || progress(share); }
};

// The message of the Problem where `progress` stopped the reading.
constexpr const char* readingStopped = "the reading was stopped";

struct Format;

struct Loaded {
    Scene scene;
    const Format* format = nullptr; // of what was read
    std::vector<std::string> warnings;
    std::vector<std::string> notes; // facts that are not faults, such as where the rate came from
    std::vector<std::string> clips; // the names of the animations that the file holds
    std::string clip;               // the one that is open; empty where the file has none
};

struct Written {
    std::vector<std::string> warnings;        // what the format could not hold
    std::vector<std::filesystem::path> files; // beside the written one, which it needs
};

struct WriteOptions {
    // In place of the one that the path's extension names; it must outlive the writing.
    const Format* format = nullptr;
    bool alone = false; // nothing may be put beside the written file
    // As for reading. What is stopped leaves the old file as it was.
    std::function<bool(double share)> progress;

    bool goesOn(double share) const { return !progress || progress(share); }
};

// The Problem where `progress` stopped the writing.
inline Problem writingStopped(const std::filesystem::path& path) {
    return {"the writing was stopped", path.string(), {}};
}

// Writes scenes that are clips of one file into one file.
class ClipsWriter {
public:
    virtual ~ClipsWriter() = default;
    // Takes over how the scene differs from the file that it is from; the scene may end then.
    // Answers what of it the format cannot hold.
    virtual Result<Written> add(const Scene& scene) = 0;
    // Writes the file, with what else there is to warn about.
    virtual Result<Written> finish() = 0;
};

struct Format {
    std::string_view name;                    // for messages
    std::vector<std::string_view> extensions; // lower case, with the dot; the usual one first

    // True where a file that begins like this is surely of this format.
    bool (*recognises)(std::string_view head);

    Result<Loaded> (*read)(std::string_view bytes, const std::filesystem::path& path,
                           const ReadOptions& options);

    // Leaves the old file, if any, as it was unless all went well.
    Result<Written> (*write)(const Scene& scene, const std::filesystem::path& path,
                             const WriteOptions& options);

    // Whether the reader makes the edits, in what it remembers of the file; else they are made in
    // the scene.
    bool readerEdits = false;

    // For formats that hold several clips: another clip of the file that a scene was read from, as
    // a scene with the same items, and a writer of several. Null for other formats.
    Result<Loaded> (*readClip)(const SourceMemory& source, const ReadOptions& options) = nullptr;
    std::unique_ptr<ClipsWriter> (*writeClips)(const std::filesystem::path& path,
                                               const WriteOptions& options) = nullptr;
};

} // namespace cadencora::stage
