#include "plugin/transfer/frame_records.h"

#include <charconv>
#include <cmath>
#include <cstring>

namespace cadencora {

// A piece of a line: [begin, end).
struct Span {
    const char* begin;
    const char* end;
};

// The words of a line; a line of recordLineSize bytes has no more.
struct Words {
    Span words[recordLineSize / 2];
    int count;
};

static void split(const char* line, Words* words) {
    words->count = 0;
    for (const char* at = line; *at;) {
        while (isBlank(static_cast<unsigned char>(*at)))
            ++at;
        if (!*at) return;
        const char* begin = at;
        while (*at && !isBlank(static_cast<unsigned char>(*at)))
            ++at;
        words->words[words->count++] = {begin, at};
    }
}

static bool readNumber(Span word, double* value) {
    const char* begin = word.begin;
    if (*begin == '+' && begin + 1 != word.end && begin[1] != '-') ++begin;
    const auto [end, error] = std::from_chars(begin, word.end, *value);
    return error == std::errc{} && end == word.end && std::isfinite(*value);
}

static bool copyField(Span text, char (&field)[wordSize]) {
    const auto length = static_cast<std::size_t>(text.end - text.begin);
    if (length >= sizeof field) return false;
    std::memcpy(field, text.begin, length);
    field[length] = '\0';
    return true;
}

// Two words with one blank between them, however many the line has.
static bool joinFields(Span first, Span second, char (&field)[wordSize]) {
    const auto length = static_cast<std::size_t>(first.end - first.begin);
    const auto rest = static_cast<std::size_t>(second.end - second.begin);
    if (length + 1 + rest >= sizeof field) return false;
    std::memcpy(field, first.begin, length);
    field[length] = ' ';
    std::memcpy(field + length + 1, second.begin, rest);
    field[length + 1 + rest] = '\0';
    return true;
}

bool readRecordLine(std::FILE* file, char (&line)[recordLineSize]) {
    int byte = std::getc(file);
    if (byte == EOF) return false;
    int length = 0;
    bool usable = true;
    for (; byte != EOF && byte != '\n'; byte = std::getc(file)) {
        if (length < recordLineSize - 1 && byte != '\0')
            line[length++] = static_cast<char>(byte);
        else
            usable = false;
    }
    line[usable ? length : 0] = '\0';
    return true;
}

bool parseRecord(const char* line, FrameRecord* record) {
    Words parts;
    split(line, &parts);
    const Span* words = parts.words;
    const int count = parts.count;
    double* value = &record->value;
    if (count >= 4 && readNumber(words[3], value))
        return joinFields(words[0], words[1], record->item) && copyField(words[2], record->channel);
    if (count >= 3 && readNumber(words[2], value))
        return copyField(words[0], record->item) && copyField(words[1], record->channel);
    if (count >= 5 && readNumber(words[count - 1], value))
        return copyField({words[0].begin, words[count - 3].end}, record->item) &&
               copyField(words[count - 2], record->channel);
    return false;
}

bool formatRecord(const char* item, const char* channel, double value,
                  char (&line)[recordLineSize]) {
    line[0] = '\0';
    const std::size_t itemLength = std::strlen(item);
    const std::size_t channelLength = std::strlen(channel);
    if (itemLength + channelLength + 4 > sizeof line) return false;
    char* at = line;
    at = static_cast<char*>(std::memcpy(at, item, itemLength)) + itemLength;
    *at++ = ' ';
    at = static_cast<char*>(std::memcpy(at, channel, channelLength)) + channelLength;
    *at++ = ' ';
    char* const last = line + sizeof line - 2; // kept for the line end and the closing zero
    const auto [end, error] = std::to_chars(at, last, value, std::chars_format::fixed, 6);
    if (error != std::errc{}) {
        line[0] = '\0';
        return false;
    }
    end[0] = '\n';
    end[1] = '\0';
    return true;
}

bool readsBack(const char* item, const char* channel) {
    char line[recordLineSize];
    FrameRecord record;
    return !std::strchr(item, '\n') && !std::strchr(channel, '\n') && !isMorphRecord(item) &&
           formatRecord(item, channel, 0, line) && parseRecord(line, &record) &&
           std::strcmp(record.item, item) == 0 && std::strcmp(record.channel, channel) == 0;
}

bool isMorphRecord(const char* item) {
    constexpr char prefix[] = "[MORPH_MIXER]";
    if (std::strncmp(item, prefix, sizeof prefix - 1) != 0) return false;
    const char* rest = item + sizeof prefix - 1;
    while (isBlank(static_cast<unsigned char>(*rest)))
        ++rest;
    return *rest != '\0';
}

} // namespace cadencora
