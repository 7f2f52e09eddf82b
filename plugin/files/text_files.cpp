#include "plugin/files/text_files.h"

#include "plugin/host/lookup.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>

namespace cadencora {

namespace fs = std::filesystem;

std::FILE* tryReading(const char* path) {
    std::error_code error;
    if (!fs::is_regular_file(path, error)) return nullptr;
    std::FILE* file = std::fopen(path, "r");
    if (!file) return nullptr;
    // Some editors begin a text with a byte-order mark, which belongs to no word. Some systems open
    // a directory and only refuse to read it, which shows here.
    constexpr char mark[] = "\xEF\xBB\xBF";
    char head[3];
    const std::size_t length = std::fread(head, 1, sizeof head, file);
    if (length == 0 && std::ferror(file)) {
        std::fclose(file);
        return nullptr;
    }
    if (length != sizeof head || std::memcmp(head, mark, sizeof head) != 0) std::rewind(file);
    return file;
}

std::FILE* openForReading(const char* path, const char* failure) {
    std::FILE* file = tryReading(path);
    if (!file) message->error(failure, path);
    return file;
}

static bool refuseWriting(const char* path) {
    message->error("Failure to open file for writing", path);
    return false;
}

static bool refuseWritten(const NewFile* file, const char* reason) {
    char line[128];
    std::snprintf(line, sizeof line, "Failure to write file: %s", reason);
    message->error(line, file->path);
    return false;
}

// Where a path leads, whether there is a file or not.
static fs::path behindLinks(const char* path) {
    constexpr int most = 40; // against links in a circle
    std::error_code error;
    fs::path target = path;
    for (int i = 0; i < most && fs::is_symlink(target, error); ++i)
        target = target.parent_path() / fs::read_symlink(target, error);
    return target;
}

// What an earlier save has left behind, as it was stopped. A save takes less than a second; should
// one be at work all the same, it will say that it failed.
static bool isLeftBehind(const char* path) {
    std::error_code error;
    const auto written = fs::last_write_time(path, error);
    return !error && fs::file_time_type::clock::now() - written > std::chrono::seconds(5);
}

// A file that nobody else has, beside the target. False with errno where there can be none.
static bool openAside(NewFile* file) {
    constexpr int most = 100; // saves of one file at a time
    errno = ENAMETOOLONG;
    for (int number = 1; number <= most; ++number) {
        const int length =
            std::snprintf(file->aside, sizeof file->aside, "%s.cadencora-%d", file->target, number);
        if (length < 0 || length >= filePathSize) break;
        if (isLeftBehind(file->aside)) std::remove(file->aside);
        file->stream = std::fopen(file->aside, "wx");
        if (file->stream) return true;
        if (errno != EEXIST) break;
    }
    file->aside[0] = '\0';
    return false;
}

bool openForWriting(NewFile* file, const char* path) {
    file->stream = nullptr;
    file->path = path;
    std::error_code error;
    const fs::path target = behindLinks(path);
    const std::string& name = target.native();
    if (name.size() >= sizeof file->target) return refuseWriting(path);
    std::strcpy(file->target, name.c_str());
    const fs::file_status status = fs::status(target, error);
    const bool isDevice = fs::is_character_file(status); // the null device, a terminal
    if (!isDevice && fs::exists(status) && !fs::is_regular_file(status)) return refuseWriting(path);
    if (!isDevice && openAside(file)) {
        // The new file is as open to others as the old one.
        if (fs::exists(status)) fs::permissions(file->aside, status.permissions(), error);
        return true;
    }
    const bool mayBeInPlace =
        isDevice || errno == EACCES || errno == EPERM || errno == ENAMETOOLONG;
    if (mayBeInPlace) file->stream = std::fopen(file->target, "w");
    file->aside[0] = '\0';
    return file->stream || refuseWriting(path);
}

bool closeWritten(NewFile* file) {
    errno = 0;
    bool written = std::fflush(file->stream) == 0 && !std::ferror(file->stream);
    int reason = errno;
    if (std::fclose(file->stream) != 0) {
        if (written) reason = errno;
        written = false;
    }
    file->stream = nullptr;
    const bool isAside = file->aside[0] != '\0';
    if (written) {
        std::error_code error;
        if (isAside) fs::rename(file->aside, file->target, error);
        if (!error) return true;
        reason = error.value();
    }
    if (isAside) std::remove(file->aside);
    return refuseWritten(file, reason != 0 ? std::strerror(reason) : "not all was written");
}

bool isBlank(int byte) {
    return byte == ' ' || (byte >= '\t' && byte <= '\r');
}

bool readWord(std::FILE* file, char (&word)[wordSize]) {
    for (;;) {
        int byte = std::getc(file);
        while (isBlank(byte))
            byte = std::getc(file);
        if (byte == EOF) return false;
        int length = 0;
        bool usable = true;
        for (; byte != EOF && !isBlank(byte); byte = std::getc(file)) {
            if (length < wordSize - 1 && byte != '\0')
                word[length++] = static_cast<char>(byte);
            else
                usable = false;
        }
        word[length] = '\0';
        if (usable) return true;
    }
}

} // namespace cadencora
