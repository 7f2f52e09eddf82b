#include "stage/formats/gltf/document/checked.h"

#include <algorithm>
#include <limits>

namespace cadencora::stage::gltf {

namespace {

bool isWhole(const Json& value) {
    return value.is_number_unsigned() &&
           value.get<std::uint64_t>() <= std::numeric_limits<std::int32_t>::max();
}

bool isNumbers(const Json& value) {
    return value.is_array() &&
           std::ranges::all_of(value, [](const Json& n) { return n.is_number(); });
}

} // namespace

std::string Value::place() const {
    if (!holder) return {};
    const std::string outer = holder->place();
    if (name.empty()) return outer + "[" + std::to_string(index) + "]";
    return outer.empty() ? std::string(name) : outer + "." + std::string(name);
}

const Json* Value::member(std::string_view member) const {
    const auto found = json.find(member);
    return found == json.end() ? nullptr : &*found;
}

std::size_t Value::sizeOf(std::string_view array) const {
    const Json* found = member(array);
    return found && found->is_array() ? found->size() : 0;
}

bool CheckedReader::fail(const std::string& place, std::string what, std::string detail) {
    problem_ = {std::move(what), where_ + (where_.empty() || place.empty() ? "" : ": ") + place,
                std::move(detail)};
    return false;
}

bool CheckedReader::expected(const Value& value, const std::string& wanted) {
    return fail(value.place(), "expected " + wanted,
                "found " + std::string(value.json.type_name()));
}

bool CheckedReader::needs(const Value& from, std::initializer_list<std::string_view> members) {
    for (const std::string_view name : members)
        if (!from.member(name))
            return fail(Value{from.json, &from, name}.place(), "the member is missing");
    return true;
}

bool CheckedReader::take(const Value& from, std::string_view name, std::string& to) {
    const Json* found = from.member(name);
    if (!found) return true;
    if (!found->is_string()) return expected({*found, &from, name}, "a text");
    to = found->get_ref<const std::string&>();
    return true;
}

bool CheckedReader::take(const Value& from, std::string_view name, bool& to) {
    const Json* found = from.member(name);
    if (!found) return true;
    if (!found->is_boolean()) return expected({*found, &from, name}, "true or false");
    to = found->get<bool>();
    return true;
}

bool CheckedReader::take(const Value& from, std::string_view name, std::size_t& to) {
    const Json* found = from.member(name);
    if (!found) return true;
    if (!isWhole(*found)) return expected({*found, &from, name}, "a whole number");
    to = found->get<std::size_t>();
    return true;
}

bool CheckedReader::take(const Value& from, std::string_view name, std::vector<double>& to) {
    const Json* found = from.member(name);
    if (!found) return true;
    if (!isNumbers(*found)) return expected({*found, &from, name}, "an array of numbers");
    to = found->get<std::vector<double>>();
    return true;
}

bool CheckedReader::takeNumbers(const Value& from, std::string_view name, std::span<double> to) {
    const Json* found = from.member(name);
    if (!found) return true;
    const Value value{*found, &from, name};
    if (!isNumbers(*found)) return expected(value, "an array of numbers");
    if (found->size() != to.size())
        return fail(value.place(), "expected " + std::to_string(to.size()) + " numbers",
                    "found " + std::to_string(found->size()));
    std::ranges::transform(*found, to.begin(), [](const Json& n) { return n.get<double>(); });
    return true;
}

bool CheckedReader::index(const Value& value, const Table& table, std::size_t& to) {
    if (!isWhole(value.json)) return expected(value, "an index");
    to = value.json.get<std::size_t>();
    return to < table.size ||
           fail(value.place(),
                "there is no " + std::string(table.name) + "[" + std::to_string(to) + "]",
                "there are " + std::to_string(table.size));
}

bool CheckedReader::takeIndex(const Value& from, std::string_view name, const Table& table,
                              std::size_t& to) {
    const Json* found = from.member(name);
    return !found || index({*found, &from, name}, table, to);
}

bool CheckedReader::takeIndices(const Value& from, std::string_view name, const Table& table,
                                std::vector<std::size_t>& to) {
    const Json* found = from.member(name);
    if (!found) return true;
    const Value array{*found, &from, name};
    if (!found->is_array()) return expected(array, "an array of indices");
    to.resize(found->size());
    for (std::size_t i = 0; i < to.size(); ++i)
        if (!index({(*found)[i], &array, {}, i}, table, to[i])) return false;
    return true;
}

} // namespace cadencora::stage::gltf
