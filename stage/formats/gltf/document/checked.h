// Values of a document's JSON, read one by one: each is checked for its kind, its range and the
// table that it counts in before anything uses it.
#pragma once

#include "stage/formats/gltf/document/container.h"

#include <array>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <span>

namespace cadencora::stage::gltf {

// A value with its place in the document, which is spelt out only for problems. Values point to the
// one that holds them, which has to outlive them.
struct Value {
    const Json& json;
    const Value* holder = nullptr;
    std::string_view name = {}; // in the holder; empty: an element of an array
    std::size_t index = 0;

    std::string place() const; // "animations[3].samplers[1].input"; empty for the document
    const Json* member(std::string_view member) const; // null where it is missing
    std::size_t sizeOf(std::string_view array) const;  // 0 where it is not an array
};

// What an index counts in.
struct Table {
    std::string_view name;
    std::size_t size = 0;
};

// Every `take` returns false after a problem and true otherwise; `to` stays as it is where the
// member is missing.
class CheckedReader {
public:
    // `where` comes before the places in problems; it may be empty.
    explicit CheckedReader(std::string where) : where_(std::move(where)) {}

    const Problem& problem() const { return problem_; }
    bool fail(const std::string& place, std::string what, std::string detail = {});
    bool expected(const Value& value, const std::string& wanted);

    bool needs(const Value& from, std::initializer_list<std::string_view> members);
    bool take(const Value& from, std::string_view name, std::string& to);
    bool take(const Value& from, std::string_view name, bool& to);
    bool take(const Value& from, std::string_view name, std::size_t& to); // below 2^31
    bool take(const Value& from, std::string_view name, std::vector<double>& to);
    template <std::size_t count>
    bool take(const Value& from, std::string_view name, std::array<double, count>& to) {
        return takeNumbers(from, name, to);
    }
    bool takeIndex(const Value& from, std::string_view name, const Table& table, std::size_t& to);
    bool takeIndices(const Value& from, std::string_view name, const Table& table,
                     std::vector<std::size_t>& to);

    // Calls `read(object)` for a member that has to be an object.
    template <class Read>
    bool object(const Value& from, std::string_view name, const Read& read) {
        const Json* found = from.member(name);
        if (!found) return true;
        const Value object{*found, &from, name};
        return found->is_object() ? read(object) : expected(object, "an object");
    }
    // Calls `read(object)` for each element of a member that has to be an array of objects.
    template <class Read>
    bool each(const Value& from, std::string_view name, const Read& read) {
        const Json* found = from.member(name);
        if (!found) return true;
        const Value array{*found, &from, name};
        if (!found->is_array()) return expected(array, "an array");
        for (std::size_t i = 0; i < found->size(); ++i) {
            const Value element{(*found)[i], &array, {}, i};
            if (!element.json.is_object()) return expected(element, "an object");
            if (!read(element)) return false;
        }
        return true;
    }

private:
    bool takeNumbers(const Value& from, std::string_view name, std::span<double> to);
    bool index(const Value& value, const Table& table, std::size_t& to);

    const std::string where_;
    Problem problem_;
};

} // namespace cadencora::stage::gltf
