// A folder of its own for each test: no other test, and no other run of the tests on the same
// machine, uses it. It is removed when the process ends.
#pragma once

#include "stage/base/file.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>

namespace cadencora {

// Exists, and is empty when the test begins.
inline std::filesystem::path testFolder() {
    static const stage::TemporaryDirectory all = [] {
        auto made = stage::TemporaryDirectory::create();
        if (!made) {
            ADD_FAILURE() << made.problem().text();
            std::abort();
        }
        return std::move(made.value());
    }();
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string(test->test_suite_name()) + "." + test->name();
    std::ranges::replace(name, '/', '_');
    auto folder = all.path() / name;
    std::filesystem::create_directories(folder);
    return folder;
}

} // namespace cadencora
