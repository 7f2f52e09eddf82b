// What every format's reader and writer share: options, limits, results, and the entry of a format
// in the table of formats (registry.h).
#pragma once

#include "stage/base/result.h"
#include "stage/scene/scene.h"

#include <cstdint>
#include <filesystem>
#include <functional>
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
};

struct ReadOptions {
    std::optional<FrameRate> rate; // the scene's rate in place of the file's; keys keep their times
    // Which of the animations that a file holds is opened, by name; the first one otherwise.
    // Formats with one animation take no notice.
    std::optional<std::string> clip;
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

struct Loaded {
    Scene scene;
    std::vector<std::string> warnings;
    std::vector<std::string> notes; // facts that are not faults, such as where the rate came from
    std::vector<std::string> clips; // the names of the animations that the file holds
    std::string clip;               // the one that is open; empty where the file has none
};

struct Written {
    std::vector<std::string> warnings; // what the format could not hold
};

struct WriteOptions {
    // As for reading. What is stopped leaves the old file as it was.
    std::function<bool(double share)> progress;

    bool goesOn(double share) const { return !progress || progress(share); }
};

// The Problem where `progress` stopped the writing.
inline Problem writingStopped(const std::filesystem::path& path) {
    return {"the writing was stopped", path.string(), {}};
}

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
};

} // namespace cadencora::stage
