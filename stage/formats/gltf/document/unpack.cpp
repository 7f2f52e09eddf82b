#include "stage/formats/gltf/document/unpack.h"

#include <meshoptimizer.h>

namespace cadencora::stage::gltf {

namespace {

using Mode = PackedBytes::Mode;
using Filter = PackedBytes::Filter;

// What the library requires of its callers.
std::string whatIsWrong(const PackedBytes& packed) {
    if (packed.mode == Mode::attributes) {
        if (packed.stride == 0 || packed.stride % 4 != 0 || packed.stride > 256)
            return "attributes have strides of 4, 8 to 256 bytes";
    } else if (packed.stride != 2 && packed.stride != 4) {
        return "indices have 2 or 4 bytes";
    }
    if (packed.mode == Mode::triangles && packed.count % 3 != 0)
        return "the indices are not whole triangles";
    if (packed.filter != Filter::plain && packed.mode != Mode::attributes)
        return "indices have no filter";
    if (packed.filter == Filter::octahedral && packed.stride != 4 && packed.stride != 8)
        return "octahedral elements have 4 or 8 bytes";
    if (packed.filter == Filter::quaternion && packed.stride != 8)
        return "quaternions have 8 bytes";
    // Each byte of at most 256 elements takes four bytes at least, a triangle one.
    constexpr std::size_t mostPerByte = 256, some = 4096;
    if (packed.count > (packed.length + some) * mostPerByte / packed.stride)
        return "so few bytes cannot hold " + std::to_string(packed.count) + " elements";
    return {};
}

bool decode(const PackedBytes& packed, const unsigned char* bytes, std::string& out) {
    switch (packed.mode) {
    case Mode::attributes:
        return meshopt_decodeVertexBuffer(out.data(), packed.count, packed.stride, bytes,
                                          packed.length) == 0;
    case Mode::triangles:
        return meshopt_decodeIndexBuffer(out.data(), packed.count, packed.stride, bytes,
                                         packed.length) == 0;
    case Mode::indices:
        break;
    }
    return meshopt_decodeIndexSequence(out.data(), packed.count, packed.stride, bytes,
                                       packed.length) == 0;
}

void undoFilter(const PackedBytes& packed, std::string& elements) {
    switch (packed.filter) {
    case Filter::octahedral:
        return meshopt_decodeFilterOct(elements.data(), packed.count, packed.stride);
    case Filter::quaternion:
        return meshopt_decodeFilterQuat(elements.data(), packed.count, packed.stride);
    case Filter::exponential:
        return meshopt_decodeFilterExp(elements.data(), packed.count, packed.stride);
    case Filter::plain:
        break;
    }
}

} // namespace

Result<std::string> unpacked(const PackedBytes& packed, std::string_view bytes) {
    const auto fail = [](std::string why) { return Problem{std::move(why), {}, {}}; };
    if (std::string wrong = whatIsWrong(packed); !wrong.empty()) return fail(std::move(wrong));
    if (packed.offset > bytes.size() || packed.length > bytes.size() - packed.offset)
        return fail("they reach beyond their buffer");
    std::string elements(packed.count * packed.stride, '\0');
    const auto* from = reinterpret_cast<const unsigned char*>(bytes.data()) + packed.offset;
    if (packed.count > 0 && !decode(packed, from, elements)) return fail("they are damaged");
    undoFilter(packed, elements);
    return elements;
}

} // namespace cadencora::stage::gltf
