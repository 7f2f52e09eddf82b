// Work in processes of its own: what goes wrong with one piece, a crash included, stays with it.
//
// Calls stage/base alone.
#pragma once

#include "stage/base/result.h"

#include <cstddef>
#include <functional>
#include <string>

namespace cadencora::stage {

struct Workers {
    std::function<std::string(std::size_t piece)> work; // in a process of its own
    std::function<void(std::size_t piece)> started;     // here, in order
    // Here, as they end: what `work` answered, or how its process came to an early end.
    std::function<void(std::size_t piece, Result<std::string>)> ended;
};

// Works through the pieces 0 to count - 1, at most `atOnce` of them at a time. Must be called from
// a process of one thread.
void runWorkers(std::size_t count, std::size_t atOnce, const Workers& workers);

} // namespace cadencora::stage
