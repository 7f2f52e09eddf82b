#include "plugin/host/command_lines.h"

#include "plugin/host/lookup.h"

#include <cinttypes>
#include <cstdio>

namespace cadencora {

void issueCommand(const char* line) {
    if (evaluate) evaluate(0, line);
}

void selectItem(host::Item item) {
    // A handle is a pointer: "%x" alone would lose its upper half on a 64-bit build.
    char line[commandLineSize];
    std::snprintf(line, sizeof line, "SelectItem %" PRIxPTR,
                  reinterpret_cast<std::uintptr_t>(item));
    issueCommand(line);
}

} // namespace cadencora
