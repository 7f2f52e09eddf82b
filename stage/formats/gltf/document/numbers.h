// The numbers of an accessor, out of the buffers.
//
// Whatever a document claims, nothing outside a buffer is read. Memory is taken for as many numbers
// as the accessor counts, which is for the caller to limit.
#pragma once

#include "stage/formats/gltf/document/model.h"

#include <span>

namespace cadencora::stage::gltf {

constexpr std::uint32_t floatType = 5126; // the component type of floating point numbers

// A document's tables with its buffers' bytes, by buffer.
struct Source {
    const Model& model;
    std::span<const std::string_view> buffers;
    const std::string& where; // the file, for problems; may be empty
};

// Normalised integers become parts of 1. `place` names the member that counts the accessor.
Result<std::vector<float>> readFloats(const Source& source, std::size_t accessor,
                                      const std::string& place);

// Indices: refuses numbers with a sign or a fraction.
Result<std::vector<std::uint32_t>> readIndices(const Source& source, std::size_t accessor,
                                               const std::string& place);

} // namespace cadencora::stage::gltf
