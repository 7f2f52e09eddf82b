// JSON as the reports print it.
#pragma once

#include <iosfwd>
#include <nlohmann/json.hpp>
#include <optional>

namespace cadencora::stage {

using Json = nlohmann::ordered_json;

// A whole frame becomes a whole number, no frame null.
Json frameJson(const std::optional<double>& frame);

// On one line, for one program to another. Names come from files and may hold any bytes: what is
// not UTF-8 is replaced.
std::string lineOf(const Json& json);

// Indented, for people, with the same replacement.
void print(const Json& json, std::ostream& out);

} // namespace cadencora::stage
