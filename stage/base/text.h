// Text helpers: strict numbers, comparison without case, suggestions for a mistyped name.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace cadencora::stage {

// The number that the whole text is, or nothing. No blanks, no locale; finite numbers only.
std::optional<double> parseNumber(std::string_view text);
std::optional<long long> parseInteger(std::string_view text);

// Without leading and trailing blanks, tabs and line ends.
std::string_view trimmed(std::string_view text);

// Equal without regard to ASCII case.
bool equalNoCase(std::string_view a, std::string_view b);

// Patterns of names: "*" stands for any text, "?" for one character; every other one for itself.
bool isPattern(std::string_view text);
bool fitsPattern(const std::string& text, std::string_view pattern);

// Up to `most` of the names, nearest to `wanted` first, quoted and joined by commas; the count of
// the rest follows. For messages about an unknown name.
std::string alternatives(std::string_view wanted, std::vector<std::string> names,
                         std::size_t most = 3);

// The first names of a list, for a message, and how many more there are: "a, b and 3 more". The
// separator is not empty; its last character stands before "and".
class NameList {
public:
    explicit NameList(std::size_t most = 5, std::string_view separator = ", ")
        : most_(most), separator_(separator) {}

    void add(std::string_view name);
    std::size_t count() const { return count_; } // of all names
    std::string text() const;

private:
    std::size_t most_;
    std::string separator_;
    std::string text_;
    std::size_t count_ = 0;
};

// On one line and without effect on a terminal: control characters as "\n" or "\x1b". Names come
// from files and may hold anything.
std::string escaped(std::string_view text);

// Escaped, in double quotes. For messages.
std::string inQuotes(std::string_view text);

// `value` in the fewest digits that read back as the same double.
std::string shortest(double value);

} // namespace cadencora::stage
