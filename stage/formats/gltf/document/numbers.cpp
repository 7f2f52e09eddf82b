#include "stage/formats/gltf/document/numbers.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace cadencora::stage::gltf {

namespace {

enum ComponentType : std::uint32_t {
    signedByte = 5120,
    unsignedByte = 5121,
    signedShort = 5122,
    unsignedShort = 5123,
    unsignedInt = 5125,
    single = floatType
};

// 0 where there is no such type.
std::size_t bytesOfType(std::size_t type) {
    switch (type) {
    case signedByte:
    case unsignedByte:
        return 1;
    case signedShort:
    case unsignedShort:
        return 2;
    case unsignedInt:
    case single:
        return 4;
    default:
        return 0;
    }
}

bool isWhole(std::size_t type) {
    return type == unsignedByte || type == unsignedShort || type == unsignedInt;
}

template <class Number>
Number numberAt(const char* bytes) {
    Number number;
    std::memcpy(&number, bytes, sizeof number);
    return number;
}

template <class Integer>
float partOf(const char* bytes, bool normalized) {
    const auto number = static_cast<float>(numberAt<Integer>(bytes));
    constexpr auto most = static_cast<float>(std::numeric_limits<Integer>::max());
    return normalized ? std::max(number / most, -1.0f) : number;
}

// What a component is as a number of the type that is read.
void take(float& number, const char* bytes, const Accessor& accessor) {
    const bool normalized = accessor.normalized;
    switch (accessor.componentType) {
    case signedByte:
        number = partOf<std::int8_t>(bytes, normalized);
        break;
    case unsignedByte:
        number = partOf<std::uint8_t>(bytes, normalized);
        break;
    case signedShort:
        number = partOf<std::int16_t>(bytes, normalized);
        break;
    case unsignedShort:
        number = partOf<std::uint16_t>(bytes, normalized);
        break;
    case unsignedInt:
        number = partOf<std::uint32_t>(bytes, normalized);
        break;
    default:
        number = numberAt<float>(bytes);
    }
}

std::uint32_t wholeAt(const char* bytes, std::size_t type) {
    if (type == unsignedByte) return numberAt<std::uint8_t>(bytes);
    return type == unsignedShort ? numberAt<std::uint16_t>(bytes) : numberAt<std::uint32_t>(bytes);
}

void take(std::uint32_t& number, const char* bytes, const Accessor& accessor) {
    number = wholeAt(bytes, accessor.componentType);
}

// Elements of `size` bytes within a buffer view.
struct Elements {
    const char* first = nullptr;
    std::size_t stride = 0;
    const char* operator[](std::size_t i) const { return first + i * stride; }
};

// Reads one accessor.
class NumberReader {
public:
    NumberReader(const Source& source, std::size_t index, const std::string& place)
        : source_(source), accessor_(source.model.accessors[index]),
          where_((source.where.empty() ? "" : source.where + ": ") + place + " (accessors[" +
                 std::to_string(index) + "])"),
          step_(bytesOfType(accessor_.componentType)), size_(step_ * accessor_.components) {}

    template <class Number>
    Result<std::vector<Number>> read() {
        if (step_ == 0 ||
            (std::is_same_v<Number, std::uint32_t> && !isWhole(accessor_.componentType)))
            return fail("the numbers are of an unknown type",
                        "componentType " + std::to_string(accessor_.componentType));
        Elements elements;
        if (accessor_.values.view != none) {
            const auto found = elementsOf(accessor_.values, accessor_.count, size_, true);
            if (!found) return found.problem();
            elements = found.value();
        }
        std::vector<Number> values(accessor_.count * accessor_.components);
        if (elements.first && elements.stride == size_ &&
            accessor_.componentType == (std::is_same_v<Number, float> ? single : unsignedInt)) {
            if (!values.empty())
                std::memcpy(values.data(), elements.first, accessor_.count * size_);
        } else if (elements.first) {
            for (std::size_t i = 0; i < accessor_.count; ++i)
                takeElement(&values[i * accessor_.components], elements[i]);
        }
        if (accessor_.sparseCount > 0)
            if (auto applied = applySparse(values); !applied) return applied.problem();
        return values;
    }

private:
    Problem fail(std::string what, std::string detail = {}) const {
        return {std::move(what), where_, std::move(detail)};
    }

    template <class Number>
    void takeElement(Number* numbers, const char* bytes) const {
        for (std::size_t c = 0; c < accessor_.components; ++c)
            take(numbers[c], bytes + c * step_, accessor_);
    }

    Result<Elements> elementsOf(const Accessor::Part& part, std::size_t count, std::size_t size,
                                bool mayStride) const {
        const BufferView& view = source_.model.views[part.view];
        const std::string name = "bufferViews[" + std::to_string(part.view) + "]";
        if (view.isCompressed)
            return fail("the numbers are compressed by an extension that is not known", name);
        if (!view.unpackProblem.empty())
            return fail("the packed numbers cannot be read", name + ": " + view.unpackProblem);
        const std::size_t there = source_.buffers[view.buffer].size();
        if (!view.packed && (view.offset > there || view.length > there - view.offset))
            return fail("the numbers reach beyond their buffer",
                        name + " ends at byte " + std::to_string(view.offset + view.length) +
                            ", buffers[" + std::to_string(view.buffer) + "] at " +
                            std::to_string(there));
        const std::size_t stride = mayStride && view.stride > 0 ? view.stride : size;
        if (stride < size) return fail("the elements overlap", name + ".byteStride is too small");
        const std::size_t needed = count == 0 ? 0 : (count - 1) * stride + size;
        if (part.offset > view.length || needed > view.length - part.offset)
            return fail("the numbers reach beyond their buffer view",
                        std::to_string(count) + " elements need " +
                            std::to_string(part.offset + needed) + " bytes, " + name + " has " +
                            std::to_string(view.length));
        const char* first =
            view.packed ? view.unpacked.data() : source_.buffers[view.buffer].data() + view.offset;
        return Elements{first + part.offset, stride};
    }

    // Puts the elements that a sparse accessor lists into their places.
    template <class Number>
    Result<> applySparse(std::vector<Number>& values) const {
        const std::size_t type = accessor_.sparseIndexType;
        if (!isWhole(type))
            return fail("a sparse accessor's indices are bytes, shorts or integers without sign");
        if (accessor_.sparseCount > accessor_.count)
            return fail("a sparse accessor lists more elements than it has");
        const auto indices =
            elementsOf(accessor_.sparseIndices, accessor_.sparseCount, bytesOfType(type), false);
        if (!indices) return indices.problem();
        const auto listed = elementsOf(accessor_.sparseValues, accessor_.sparseCount, size_, false);
        if (!listed) return listed.problem();
        for (std::size_t i = 0; i < accessor_.sparseCount; ++i) {
            const std::size_t index = wholeAt(indices.value()[i], type);
            if (index >= accessor_.count)
                return fail("a sparse accessor lists an element that it does not have",
                            "index " + std::to_string(index) + " of " +
                                std::to_string(accessor_.count));
            takeElement(&values[index * accessor_.components], listed.value()[i]);
        }
        return done();
    }

    const Source& source_;
    const Accessor& accessor_;
    const std::string where_;
    const std::size_t step_, size_; // bytes of a component, of an element
};

} // namespace

Result<std::vector<float>> readFloats(const Source& source, std::size_t accessor,
                                      const std::string& place) {
    return NumberReader(source, accessor, place).read<float>();
}

Result<std::vector<std::uint32_t>> readIndices(const Source& source, std::size_t accessor,
                                               const std::string& place) {
    return NumberReader(source, accessor, place).read<std::uint32_t>();
}

} // namespace cadencora::stage::gltf
