// Curves as text, the way the project's own files hold them: numbers, keys, behaviours.
#pragma once

#include "stage/scene/keys/envelope.h"

#include <optional>
#include <string>
#include <string_view>

namespace cadencora::stage {

// The fewest digits that read back as the same bits; "-0.0" keeps its sign in JSON too. The number
// must be finite to be readable again.
void appendNumber(std::string& text, double value);

// Fixed notation with at most 6 decimals, trailing zeros dropped, never "-0".
void appendFixed(std::string& text, double value);

// Value, shape and parameters of a key, each after a separator; zeros at the end are left out.
void appendKey(std::string& text, const KeyStore::Cursor& key, char separator);

std::optional<Shape> shapeNumbered(double number); // nothing where no shape has the number

std::string_view behaviourName(Behaviour behaviour); // "constant", "offset-repeat"
std::optional<Behaviour> behaviourNamed(std::string_view name);
std::string behaviourList(); // all names, for messages

} // namespace cadencora::stage
