#include "stage/formats/text/json_tape.h"

#include <algorithm>
#include <array>
#include <limits>
#include <nlohmann/json.hpp>

namespace cadencora::stage {

// Receives what the parser finds; every function returns false to stop it.
struct JsonTapeBuilder final : nlohmann::json_sax<nlohmann::json> {
    JsonTape tape;
    std::vector<std::uint32_t> open; // the tokens of the lists around the current place
    std::size_t depth;
    bool tooDeep = false, tooLong = false;
    std::size_t errorAt = 0;
    std::string error;

    explicit JsonTapeBuilder(std::size_t depthLimit) : depth(depthLimit) {}

    bool add(JsonKind kind, double number = 0, std::uint32_t link = 0) {
        tooLong = tape.tokens_.size() >= std::numeric_limits<std::uint32_t>::max() - 1;
        if (tooLong) return false;
        tape.tokens_.push_back({kind, link, number});
        return true;
    }
    bool addText(std::string& text) {
        tape.texts_.push_back(std::move(text));
        return add(JsonKind::text, 0, static_cast<std::uint32_t>(tape.texts_.size() - 1));
    }
    bool begin(JsonKind kind) {
        tooDeep = open.size() >= depth;
        if (tooDeep) return false;
        open.push_back(static_cast<std::uint32_t>(tape.tokens_.size()));
        return add(kind);
    }
    bool end() {
        tape.tokens_[open.back()].link = static_cast<std::uint32_t>(tape.tokens_.size());
        open.pop_back();
        return true;
    }

    bool null() override { return add(JsonKind::null); }
    bool boolean(bool value) override { return add(JsonKind::boolean, value ? 1 : 0); }
    bool number_integer(number_integer_t value) override {
        return add(JsonKind::number, static_cast<double>(value));
    }
    bool number_unsigned(number_unsigned_t value) override {
        return add(JsonKind::number, static_cast<double>(value));
    }
    bool number_float(number_float_t value, const string_t&) override {
        return add(JsonKind::number, value);
    }
    bool string(string_t& value) override { return addText(value); }
    bool binary(binary_t&) override { return false; } // JSON text has none
    bool start_object(std::size_t) override { return begin(JsonKind::object); }
    bool key(string_t& name) override { return addText(name); }
    bool end_object() override { return end(); }
    bool start_array(std::size_t) override { return begin(JsonKind::array); }
    bool end_array() override { return end(); }

    bool parse_error(std::size_t position, const std::string&,
                     const nlohmann::json::exception& problem) override {
        errorAt = position;
        error = problem.what();
        return false;
    }
};

namespace {

// What the parser says, without its name for the error and the line, which the place has.
std::string reason(std::string_view error) {
    constexpr std::size_t most = 160;
    const std::size_t colon = error.find(": ");
    if (colon != std::string_view::npos) error.remove_prefix(colon + 2);
    std::string text(error.substr(0, most));
    std::ranges::replace_if(
        text, [](char c) { return static_cast<unsigned char>(c) < 0x20; }, '?');
    return text;
}

} // namespace

std::string_view jsonKindName(JsonKind kind) {
    constexpr std::array<std::string_view, 6> names{"null",   "true or false", "a number",
                                                    "a text", "an array",      "an object"};
    return names[static_cast<std::size_t>(kind)];
}

Result<JsonTape> JsonTape::parse(std::string_view text, const std::string& where,
                                 std::size_t depth) {
    constexpr std::size_t bytesPerToken = 6; // of keys; growing bit by bit costs more than reading
    JsonTapeBuilder builder(depth);
    builder.tape.tokens_.reserve(text.size() / bytesPerToken);
    if (nlohmann::json::sax_parse(text.begin(), text.end(), &builder))
        return std::move(builder.tape);
    if (builder.tooDeep)
        return Problem{"the JSON is nested too deeply", where,
                       "the limit is " + std::to_string(depth)};
    if (builder.tooLong) return Problem{"the JSON has too many values", where, ""};
    const std::string_view before = text.substr(0, builder.errorAt);
    const auto line = 1 + std::ranges::count(before, '\n');
    return Problem{"this is not valid JSON", where + ":" + std::to_string(line),
                   reason(builder.error)};
}

} // namespace cadencora::stage
