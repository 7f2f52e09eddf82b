// Small BVH files, built in a test, and what is in their rows.
#pragma once

#include "stage/base/text.h"
#include "tests/stage/formats/files.h"

#include <numbers>
#include <sstream>

namespace cadencora::stage::bvh {

constexpr double degree = std::numbers::pi / 180;

// A root and one child 10 units above it, both with these rotation channels.
inline std::string twoJoints(const std::string& channels, const std::vector<std::string>& rows,
                             const std::string& frameTime = "0.04") {
    std::istringstream words(channels);
    const auto count = std::distance(std::istream_iterator<std::string>(words), {});
    std::string text = "HIERARCHY\nROOT Hips\n{\n\tOFFSET 1 2 3\n\tCHANNELS " +
                       std::to_string(count + 3) + " Xposition Yposition Zposition " + channels +
                       "\n\tJOINT Spine\n\t{\n\t\tOFFSET 0 10 0\n\t\tCHANNELS " +
                       std::to_string(count) + " " + channels +
                       "\n\t\tEnd Site\n\t\t{\n\t\t\tOFFSET 0 5 0\n\t\t}\n\t}\n}\nMOTION\n"
                       "Frames: " +
                       std::to_string(rows.size()) + "\nFrame Time: " + frameTime + "\n";
    for (const std::string& row : rows)
        text += row + "\n";
    return text;
}

inline std::vector<std::string> wordsOf(const std::string& text) {
    std::istringstream in(text);
    return {std::istream_iterator<std::string>(in), {}};
}

// Word for word, numbers within 1e-4.
inline void expectSameFile(const std::string& text, const std::string& other) {
    const auto a = wordsOf(text), b = wordsOf(other);
    ASSERT_EQ(a.size(), b.size());
    for (std::size_t i = 0; i < a.size(); ++i) {
        const auto x = parseNumber(a[i]), y = parseNumber(b[i]);
        ASSERT_EQ(x.has_value(), y.has_value()) << a[i] << " and " << b[i] << " at word " << i;
        if (!x) {
            ASSERT_EQ(a[i], b[i]);
        } else {
            ASSERT_NEAR(*x, *y, 1e-4) << "at word " << i;
        }
    }
}

// The numbers of all rows of a file.
inline std::vector<std::vector<double>> rowsOf(const std::string& text) {
    std::vector<std::vector<double>> rows;
    std::istringstream lines(text.substr(text.find("Frame Time:")));
    std::string line;
    std::getline(lines, line);
    while (std::getline(lines, line)) {
        rows.emplace_back();
        for (const std::string& word : wordsOf(line))
            rows.back().push_back(parseNumber(word).value());
    }
    return rows;
}

inline std::string channelsOf(const std::string& axes) {
    std::string text;
    for (const char axis : axes)
        text.append(text.empty() ? "" : " ").append(1, axis).append("rotation");
    return text;
}

inline ItemId named(const Scene& scene, std::string_view name) {
    const ItemId id = scene.findItem(name);
    EXPECT_NE(id, ItemId::none) << name;
    return id;
}

// Angles that BVH files have and that one decomposition after another gets wrong: wrapped, beyond
// a quarter turn in the middle, several turns, all three places at gimbal lock, and near it.
inline const std::vector<std::array<double, 3>> hardAngles{
    {179, 10, -20},   {-179, 12, -21},  {30, 135, -160}, {30, -135, 500}, {725, 20, -400},
    {0, 90, 30},      {45, 90, 30},     {45, -90, 77},   {90, 0, 90},     {90, 90, 90},
    {10, 89.9999, 5}, {0, 0, 90.00001}, {90, 0, 0},      {0, 0, 0},       {-1080, 270, 1e-6}};

inline std::vector<std::string> hardRows(std::size_t axes) {
    std::vector<std::string> rows;
    for (const auto& angles : hardAngles) {
        std::string triple;
        for (std::size_t n = 0; n < axes; ++n)
            triple.append(" ").append(shortest(angles[n]));
        rows.push_back(std::string("0 90 0") + triple + triple);
    }
    return rows;
}

inline const std::vector<std::string> orders{"XYZ", "XZY", "YXZ", "YZX", "ZXY", "ZYX", "XY", "XZ",
                                             "YX",  "YZ",  "ZX",  "ZY",  "X",   "Y",   "Z",  ""};

} // namespace cadencora::stage::bvh
