// A JSON text as a row of tokens: 16 bytes for a number, an array's or object's beginning, or a
// name, so that a file of a million keys needs no tree of a million nodes.
//
// Knows nothing of animation. Nothing recurses, and nesting has a limit.
#pragma once

#include "stage/base/result.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace cadencora::stage {

enum class JsonKind : std::uint8_t { null, boolean, number, text, array, object };

std::string_view jsonKindName(JsonKind kind); // with its article: "an array"

class JsonTape {
    struct Token {
        JsonKind kind;
        std::uint32_t
            link; // array, object: the place after its last token; text: its place in texts_
        double number;
    };

public:
    // A value of the text. Valid as long as the tape.
    class Value {
    public:
        Value() = default;
        explicit operator bool() const { return tape_ != nullptr; }
        JsonKind kind() const { return token().kind; }
        double number() const { return token().number; }                        // of a number
        const std::string& text() const { return tape_->texts_[token().link]; } // of a text
        double share() const { // of the text that stands before it, 0 to 1
            return at_ / static_cast<double>(tape_->tokens_.size());
        }

        // The values in an array; in an object, names and values in turn. After
        // the last one comes an empty value.
        Value first() const { return tape_->valueIn(at_ + 1, token().link); }
        Value next() const { return tape_->valueIn(isList() ? token().link : at_ + 1, end_); }

    private:
        friend class JsonTape;
        Value(const JsonTape* tape, std::uint32_t at, std::uint32_t end)
            : tape_(tape), at_(at), end_(end) {}
        const Token& token() const { return tape_->tokens_[at_]; }
        bool isList() const { return kind() == JsonKind::array || kind() == JsonKind::object; }

        const JsonTape* tape_ = nullptr;
        std::uint32_t at_ = 0;
        std::uint32_t end_ = 0; // after the last token of the list that the value is in
    };

    // Problems name the place as "where:line". Arrays and objects may be nested `depth` deep.
    static Result<JsonTape> parse(std::string_view text, const std::string& where,
                                  std::size_t depth);

    Value root() const { return valueIn(0, static_cast<std::uint32_t>(tokens_.size())); }

private:
    friend struct JsonTapeBuilder;

    Value valueIn(std::uint32_t at, std::uint32_t end) const {
        return at < end ? Value(this, at, end) : Value();
    }

    std::vector<Token> tokens_;
    std::vector<std::string> texts_;
};

} // namespace cadencora::stage
