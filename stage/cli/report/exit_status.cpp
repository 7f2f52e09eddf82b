#include "stage/cli/report/exit_status.h"

#include "stage/base/text.h"

#include <iostream>

namespace cadencora::stage {

ExitStatus fail(ExitStatus status, const Problem& problem) {
    std::cerr << "cadencora: " << problem.text() << "\n";
    return status;
}

void warn(const std::string& text) {
    std::cerr << "warning: " << escaped(text) << "\n";
}

} // namespace cadencora::stage
