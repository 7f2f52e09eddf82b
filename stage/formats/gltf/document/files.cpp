#include "stage/formats/gltf/document/files.h"

#include "stage/base/file.h"
#include "stage/base/text.h"

#include <optional>

namespace cadencora::stage::gltf {

namespace fs = std::filesystem;

namespace {

std::optional<std::string> percentDecoded(std::string_view uri) {
    const auto digit = [](char c) {
        if (c >= '0' && c <= '9') return c - '0';
        if (c >= 'a' && c <= 'f') return c - 'a' + 10;
        return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
    };
    std::string text;
    for (std::size_t i = 0; i < uri.size(); ++i) {
        if (uri[i] != '%') {
            text += uri[i];
            continue;
        }
        if (i + 2 >= uri.size()) return std::nullopt;
        const int high = digit(uri[i + 1]), low = digit(uri[i + 2]);
        if (high < 0 || low < 0) return std::nullopt;
        text += static_cast<char>(high * 16 + low);
        i += 2;
    }
    return text;
}

fs::path directoryOf(const fs::path& directory) {
    return directory.empty() ? fs::path(".") : directory;
}

// True where the path, links followed, lies below the directory.
bool isBelow(const fs::path& directory, const fs::path& path) {
    std::error_code error;
    const fs::path top = fs::weakly_canonical(directory, error);
    if (error) return false;
    const fs::path real = fs::weakly_canonical(path, error);
    if (error) return false;
    const fs::path relative = real.lexically_relative(top);
    return !relative.empty() && !relative.is_absolute() && *relative.begin() != "..";
}

Result<fs::path> placeOf(const fs::path& directory, std::string_view uri,
                         const std::string& where) {
    auto relative = relativePath(uri, where);
    if (!relative) return relative.problem();
    const fs::path path = directoryOf(directory) / *relative;
    if (!isBelow(directoryOf(directory), path))
        return Problem{"the file is outside the directory of the document", where,
                       inQuotes(uri.substr(0, 80)) + " leads out of it by a link"};
    return path;
}

} // namespace

Result<fs::path> relativePath(std::string_view uri, const std::string& where) {
    const auto refuse = [&](const std::string& why) {
        return Problem{"files are read only from the directory of the document and below it", where,
                       inQuotes(uri.substr(0, 80)) + " " + why};
    };
    const auto text = percentDecoded(uri);
    if (!text || text->empty()) return refuse("is not the name of a file");
    for (const char c : *text)
        if (static_cast<unsigned char>(c) < 0x20) return refuse("is not the name of a file");
    const std::size_t colon = uri.find(':');
    if (colon != std::string_view::npos && colon < std::min(uri.find('/'), uri.size()))
        return refuse("is a URL");
    const fs::path path(*text);
    if (path.is_absolute() || text->find('\\') != std::string::npos) return refuse("is absolute");
    for (const fs::path& part : path)
        if (part == "..") return refuse("leads out of it");
    if (path.filename().empty()) return refuse("is not the name of a file");
    return path;
}

Result<std::string> readFileBeside(const fs::path& directory, std::string_view uri,
                                   const std::string& where, std::uintmax_t limit) {
    const auto path = placeOf(directory, uri, where);
    if (!path) return path.problem();
    auto bytes = readFile(path.value(), limit);
    if (bytes) return bytes;
    Problem problem = bytes.problem();
    return Problem{problem.what, where, problem.where + ": " + problem.detail};
}

Result<fs::path> placeFileBeside(const fs::path& directory, std::string_view uri,
                                 const std::string& where, std::string_view bytes) {
    const auto path = placeOf(directory, uri, where);
    if (!path) return path.problem();
    std::error_code error;
    if (fs::exists(path.value(), error)) {
        const auto there = readFile(path.value(), bytes.size());
        if (there && there.value() == bytes) return fs::path();
        return Problem{"another file of the name is there already", path.value().string(),
                       "write the scene to another directory, or move that file away"};
    }
    fs::create_directories(path.value().parent_path(), error);
    if (auto written = writeFile(path.value(), bytes); !written) return written.problem();
    return path.value();
}

} // namespace cadencora::stage::gltf
