// Pieces of work, each in a process of its own: a piece that fails, or crashes, does not harm the
// others.
//
// Calls only stage/base.
#pragma once

#include "stage/base/result.h"

#include <cstddef>
#include <functional>
#include <string>

namespace cadencora::stage {

struct Workers {
    // In a process of its own. It answers by what it returns, or, from anywhere within, by
    // `endWith`, which ends the process.
    using EndWith = std::function<void(std::string answer)>;
    std::function<std::string(std::size_t piece, const EndWith& endWith)> work;
    std::function<void(std::size_t piece)> started; // here, in order
    // Here, as they end: what `work` answered, or how its process ended early. After an
    // interruption (interruption.h) pieces that were not started do not end either.
    std::function<void(std::size_t piece, Result<std::string>)> ended;
};

// Does one piece of work in a process of its own and waits for its answer.
Result<std::string> workApart(const std::function<std::string()>& work);

// Works through the pieces 0 to count - 1, at most `atOnce` of them at a time. The calling
// process must have one thread only. A signal that asks for the end (interruption.h) ends the
// workers and then the waiting.
void runWorkers(std::size_t count, std::size_t atOnce, const Workers& workers);

} // namespace cadencora::stage
