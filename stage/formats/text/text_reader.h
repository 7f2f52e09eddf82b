// Reading a text forward, word by word and number by number, without copies; the first check that
// fails leaves its problem here, with the line.
//
// Knows nothing of animation. Lines end at "\n", "\r\n" or "\r"; blanks are spaces and tabs.
#pragma once

#include "stage/base/result.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace cadencora::stage {

class TextReader {
public:
    // Problems name the place as "where:line".
    TextReader(std::string_view text, std::string where)
        : begin_(text.data()), at_(begin_), end_(begin_ + text.size()), where_(std::move(where)) {
        if (text.starts_with("\xEF\xBB\xBF")) at_ += 3; // the byte order mark of some editors
    }

    bool atEnd() const { return at_ == end_; }
    bool atLineEnd() const { return at_ == end_ || isLineEnd(*at_); }

    void skip(std::size_t count) { at_ += count; }
    void skipWord() { at_ += peek().size(); }
    void skipBlanks() {
        while (at_ != end_ && isBlank(*at_))
            ++at_;
    }
    void skipSpace() { // blanks and line ends
        while (at_ != end_ && isSpace(*at_))
            ++at_;
    }

    // The word that starts here; empty at a blank or line end.
    std::string_view peek() const {
        const char* stop = at_;
        while (stop != end_ && !isSpace(*stop))
            ++stop;
        return {at_, static_cast<std::size_t>(stop - at_)};
    }

    // From here to the end of the line.
    std::string_view peekLine() const {
        const char* stop = at_;
        while (stop != end_ && !isLineEnd(*stop))
            ++stop;
        return {at_, static_cast<std::size_t>(stop - at_)};
    }

    // Takes the next word, past blanks and line ends, where it is the wanted one in any case.
    bool word(std::string_view wanted);

    // Takes the number that the word here is; the place stays if it is not a finite number.
    bool number(double& value);

    // Both return false, so that a check is one line.
    bool fail(std::string what, std::string detail = {});
    bool expected(const std::string& what); // the detail says what was found instead

    const Problem& problem() const { return problem_; }

private:
    static bool isBlank(char c) { return c == ' ' || c == '\t'; }
    static bool isLineEnd(char c) { return c == '\n' || c == '\r'; }
    static bool isSpace(char c) { return isBlank(c) || isLineEnd(c); }
    std::size_t line() const;

    const char* begin_;
    const char* at_;
    const char* end_;
    std::string where_;
    Problem problem_;
};

// A word of a file as a message may show it: quoted, short, printable.
std::string quotedWord(std::string_view word);

} // namespace cadencora::stage
