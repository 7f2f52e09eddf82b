#include "plugin/files/text_files.h"

#include "plugin/host/lookup.h"

#include <cstring>

namespace cadencora {

static void reportWriting(const char* path) {
    message->error("Failure to open file for writing", path);
}

std::FILE* tryReading(const char* path) {
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

std::FILE* openForWriting(const char* path) {
    std::FILE* file = std::fopen(path, "w");
    if (!file) reportWriting(path);
    return file;
}

bool closeWritten(std::FILE* file, const char* path) {
    const bool failed = std::ferror(file) != 0;
    if (std::fclose(file) == 0 && !failed) return true;
    reportWriting(path);
    return false;
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
