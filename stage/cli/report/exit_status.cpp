#include "stage/cli/report/exit_status.h"

#include <iostream>

namespace cadencora::stage {

ExitStatus fail(ExitStatus status, const Problem& problem) {
    std::cerr << "cadencora: " << problem.text() << "\n";
    return status;
}

} // namespace cadencora::stage
