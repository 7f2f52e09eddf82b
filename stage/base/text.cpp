#include "stage/base/text.h"

#include "stage/base/result.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fnmatch.h>
#include <numeric>

namespace cadencora::stage {

namespace {

template <class Number>
std::optional<Number> parseWhole(std::string_view text) {
    Number value{};
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc{} || stop != end) return std::nullopt;
    return value;
}

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// Edit distance without regard to case; a name that contains the wanted text counts as near.
std::size_t distance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t change = diagonal + (lower(a[i - 1]) == lower(b[j - 1]) ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({change, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row.back();
}

} // namespace

std::string Problem::text() const {
    std::string line = where.empty() ? what : where + ": " + what;
    if (!detail.empty()) line += " (" + detail + ")";
    return escaped(line);
}

std::optional<double> parseNumber(std::string_view text) {
    if (text.starts_with('+')) text.remove_prefix(1);
    const auto value = parseWhole<double>(text);
    return value && std::isfinite(*value) ? value : std::nullopt;
}

std::optional<long long> parseInteger(std::string_view text) {
    return parseWhole<long long>(text);
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n\f\v";
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

bool equalNoCase(std::string_view a, std::string_view b) {
    return std::ranges::equal(a, b, [](char x, char y) { return lower(x) == lower(y); });
}

bool isPattern(std::string_view text) {
    return text.find_first_of("*?") != std::string_view::npos;
}

bool fitsPattern(const std::string& text, std::string_view pattern) {
    std::string plain; // in which nothing else is special
    for (const char c : pattern) {
        if (c == '[' || c == '\\') plain += '\\';
        plain += c;
    }
    return fnmatch(plain.c_str(), text.c_str(), 0) == 0;
}

std::string alternatives(std::string_view wanted, std::vector<std::string> names,
                         std::size_t most) {
    if (names.empty()) return "none is known";
    // Long names are compared by their first part: a suggestion need not be exact.
    const auto near = [](std::string_view a, std::string_view b) {
        return distance(a.substr(0, 64), b.substr(0, 64));
    };
    // "Head/Smile" is nearly "Head/Face/Smile".
    const auto last = [](std::string_view path) { return path.substr(path.rfind('/') + 1); };
    std::ranges::stable_sort(names, {}, [&](const std::string& name) {
        const auto whole = near(wanted, name);
        return last(wanted) == wanted && last(name) == name
                   ? whole
                   : std::min(whole, 1 + near(last(wanted), last(name)));
    });
    NameList nearest(most);
    for (const std::string& name : names)
        nearest.add(inQuotes(name));
    return nearest.text();
}

void NameList::add(std::string_view name) {
    if (count_++ >= most_) return;
    if (count_ > 1) text_ += separator_;
    text_ += name;
}

std::string NameList::text() const {
    if (count_ <= most_) return text_;
    return text_ + separator_.back() + "and " + std::to_string(count_ - most_) + " more";
}

std::string escaped(std::string_view text) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string line;
    line.reserve(text.size());
    const auto code = [&](unsigned byte) {
        line += "\\x";
        line += digits[byte >> 4];
        line += digits[byte & 15];
    };
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        // Those from 0x80 to 0x9f are two bytes in UTF-8, the first of which is 0xc2.
        const auto next = i + 1 < text.size() ? static_cast<unsigned char>(text[i + 1]) : 0u;
        if (byte == '\n')
            line += "\\n";
        else if (byte == '\t')
            line += "\\t";
        else if (byte < 0x20 || byte == 0x7f)
            code(byte);
        else if (byte == 0xc2 && next >= 0x80 && next < 0xa0)
            code(static_cast<unsigned char>(text[++i]));
        else
            line += text[i];
    }
    return line;
}

std::string inQuotes(std::string_view text) {
    return '"' + escaped(text) + '"';
}

std::string shortest(double value) {
    char buffer[32];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

} // namespace cadencora::stage
