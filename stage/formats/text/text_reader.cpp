#include "stage/formats/text/text_reader.h"

#include "stage/base/text.h"

#include <charconv>
#include <cmath>

namespace cadencora::stage {

bool TextReader::word(std::string_view wanted) {
    skipSpace();
    const std::string_view found = peek();
    if (!equalNoCase(found, wanted)) return false;
    at_ += found.size();
    return true;
}

bool TextReader::number(double& value) {
    const char* start = at_;
    if (start != end_ && *start == '+') ++start;
    if (start != at_ && start != end_ && *start == '-') return false; // "+-1"
    double found = 0;
    const auto [stop, error] = std::from_chars(start, end_, found);
    if (error != std::errc{} || (stop != end_ && !isSpace(*stop)) || !std::isfinite(found))
        return false;
    value = found;
    at_ = stop;
    return true;
}

bool TextReader::fail(std::string what, std::string detail) {
    problem_ = {std::move(what), where_ + ":" + std::to_string(line()), std::move(detail)};
    return false;
}

bool TextReader::expected(const std::string& what) {
    skipBlanks();
    std::string found = quotedWord(peek());
    if (atLineEnd()) found = atEnd() ? "the end of the file" : "the end of the line";
    return fail("expected " + what, "found " + found);
}

// From 1. Counted only for a message, so that reading need not keep count.
std::size_t TextReader::line() const {
    std::size_t count = 1;
    for (const char* c = begin_; c != at_; ++c)
        if (*c == '\n' || (*c == '\r' && (c + 1 == end_ || c[1] != '\n'))) ++count;
    return count;
}

std::string quotedWord(std::string_view word) {
    constexpr std::size_t most = 40;
    std::string text(word.substr(0, most));
    for (char& c : text)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) c = '?';
    return inQuotes(text + (word.size() > most ? "..." : ""));
}

} // namespace cadencora::stage
