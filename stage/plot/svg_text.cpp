#include "stage/plot/svg_text.h"

#include <charconv>
#include <cmath>
#include <iterator>
#include <utf8.h>
#include <vector>

namespace cadencora::stage {

namespace {

constexpr char32_t replacement = 0xfffd;

// Takes the first character off a text that is not empty. Each byte that is not UTF-8, and each
// character that XML cannot hold, becomes a replacement character; blanks of any kind become
// spaces.
char32_t takeCharacter(std::string_view& text) {
    const char* at = text.data();
    char32_t character = replacement;
    try {
        character = utf8::next(at, text.data() + text.size());
    } catch (const utf8::exception&) {
        at = text.data() + 1;
    }
    text.remove_prefix(static_cast<std::size_t>(at - text.data()));
    const bool blank = character == '\t' || character == '\n' || character == '\r';
    if (blank) return ' ';
    return character < 0x20 || (character & 0xfffe) == 0xfffe ? replacement : character;
}

void append(std::string& out, char32_t character) {
    utf8::append(character, std::back_inserter(out));
}

// In parts of the font's size.
double widthOf(char32_t c) {
    constexpr std::u32string_view narrow = U" .,:;'!|iljftrI()[]/-", wide = U"mwMW@%";
    if (c >= 0x300 && c < 0x370) return 0; // combines with the character before it
    if (c >= 0x1100) return 1.05;
    if (narrow.find(c) != std::u32string_view::npos) return 0.4;
    if (wide.find(c) != std::u32string_view::npos) return 0.98;
    return c >= 'A' && c <= 'Z' ? 0.74 : 0.64;
}

} // namespace

std::string svgEscaped(std::string_view text) {
    std::string out;
    while (!text.empty()) {
        switch (const char32_t c = takeCharacter(text)) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += "&quot;";
            break;
        default:
            append(out, c);
        }
    }
    return out;
}

double textWidth(std::string_view text, double fontSize) {
    double width = 0;
    while (!text.empty())
        width += widthOf(takeCharacter(text));
    return width * fontSize;
}

std::string shortened(std::string_view text, double fontSize, double width) {
    if (textWidth(text, fontSize) <= width) return std::string(text);
    std::vector<char32_t> all;
    while (!text.empty())
        all.push_back(takeCharacter(text));
    const double room = width / fontSize - 1; // less the ellipsis
    std::size_t head = 0, tail = all.size();
    double used = 0;
    while (tail > 0 && used + widthOf(all[tail - 1]) <= room * 0.6)
        used += widthOf(all[--tail]);
    while (head < tail && used + widthOf(all[head]) <= room)
        used += widthOf(all[head++]);
    std::string out;
    for (std::size_t i = 0; i < head; ++i)
        append(out, all[i]);
    append(out, U'…');
    for (std::size_t i = tail; i < all.size(); ++i)
        append(out, all[i]);
    return out;
}

std::string pixels(double value) {
    // Whole hundredths, so that a number has only one text, and none is "-0".
    const long long hundredths = std::llround(value * 100);
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, static_cast<double>(hundredths) / 100);
    return std::string(text, end.ptr);
}

} // namespace cadencora::stage
