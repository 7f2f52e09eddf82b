// Files for the tests of formats: written below the test's temporary directory, or found beside
// the project.
#pragma once

#include "stage/base/file.h"
#include "stage/formats/registry.h"
#include "tests/test_folder.h"

#include <bit>
#include <cstdlib>
#include <gtest/gtest.h>

namespace cadencora::stage {

inline std::filesystem::path scratch(const std::string& name) {
    return testFolder() / name;
}

inline std::string bytesOf(const std::filesystem::path& path) {
    auto bytes = readFile(path);
    EXPECT_TRUE(bytes.ok()) << path;
    return bytes ? bytes.value() : "";
}

// A file of this content, read by its extension.
inline Result<Loaded> readText(const std::string& name, std::string_view text,
                               const ReadOptions& options = {}) {
    const auto path = scratch(name);
    EXPECT_TRUE(writeFile(path, text).ok());
    return readScene(path, options);
}

// The scene of a file that must be readable.
inline Loaded loaded(const std::string& name, std::string_view text,
                     const ReadOptions& options = {}) {
    auto result = readText(name, text, options);
    EXPECT_TRUE(result.ok()) << result.problem().text();
    return result ? std::move(result).value() : Loaded{};
}

// The result must be a problem whose text has this part.
template <class Value>
void expectRefused(const Result<Value>& result, const std::string& part) {
    ASSERT_FALSE(result.ok()) << part;
    EXPECT_NE(result.problem().text().find(part), std::string::npos) << result.problem().text();
}

// What a scene becomes as a file, with the warnings where they are asked for.
inline std::string written(const Scene& scene, const std::string& name,
                           std::vector<std::string>* warnings = nullptr) {
    const auto path = scratch(name);
    auto result = writeScene(scene, path);
    EXPECT_TRUE(result.ok()) << result.problem().text();
    if (!result) return "";
    if (warnings) *warnings = result->warnings;
    return bytesOf(path);
}

// Real motion files, which are not part of the project; empty where they are missing.
inline std::filesystem::path dataFile(const std::string& name) {
    const char* given = std::getenv("CADENCORA_DATA");
    const auto folder =
        given ? std::filesystem::path(given)
              : std::filesystem::path(CADENCORA_SOURCE_DIR).parent_path() / "shared" / "data";
    return std::filesystem::exists(folder / name) ? folder / name : std::filesystem::path();
}

inline bool sameBits(double a, double b) {
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

inline void expectSameKeys(const KeyStore& a, const KeyStore& b) {
    ASSERT_EQ(a.size(), b.size());
    auto other = b.begin();
    for (auto key = a.begin(); key; key.advance(), other.advance())
        ASSERT_TRUE(sameKey(key, other)) << key.time() << " and " << other.time();
}

inline void expectSameCurve(const Envelope& a, const Envelope& b) {
    EXPECT_TRUE(sameBits(a.rest, b.rest)) << a.rest << " and " << b.rest;
    EXPECT_EQ(a.before, b.before);
    EXPECT_EQ(a.after, b.after);
    expectSameKeys(a.keys, b.keys);
}

// Every shape, parameters of all kinds, times between frames, extreme numbers, a negative zero.
inline Envelope oddCurve() {
    Envelope curve;
    curve.rest = -0.0;
    curve.before = Behaviour::mirror;
    curve.after = Behaviour::offsetRepeat;
    curve.keys.append({-1.0 / 3, 5e-324, Shape::spline, {0.1, -0.2, 1.0 / 3}});
    curve.keys.append({-0.0, -0.0, Shape::linear, {}});
    curve.keys.append({0.1 + 0.2, 1.7976931348623157e308, Shape::tangents, {0, 0, 0, -7, 1e22}});
    curve.keys.append({1e9 / 7, 123456789012345678.0, Shape::hold, {0, 0, 0, 0, 0, 0, -0.0}});
    for (int n = 0; n < 300; ++n) // beyond one block of keys
        curve.keys.append({1e9 + n / 30.0, n / 7.0, Shape::spline, {}});
    return curve;
}

} // namespace cadencora::stage
