#include "plugin/host/command_lines.h"

#include "plugin/host/lookup.h"

#include <charconv>
#include <cinttypes>
#include <cstdio>
#include <cstring>

namespace cadencora {

void issueCommand(const char* line) {
    if (evaluate) evaluate(0, line);
}

void selectItem(host::Item item) {
    // A handle is a pointer: a plain "%x" would lose its upper half on a 64-bit build.
    char line[commandLineSize];
    std::snprintf(line, sizeof line, "SelectItem %" PRIxPTR,
                  reinterpret_cast<std::uintptr_t>(item));
    issueCommand(line);
}

void issueTriple(const char* name, double x, double y, double z) {
    char line[commandLineSize];
    const std::size_t nameLength = std::strlen(name);
    if (nameLength >= sizeof line) return;
    std::memcpy(line, name, nameLength);
    char* end = line + nameLength;
    char* const last = line + sizeof line - 1; // kept for the closing zero
    const double numbers[] = {x, y, z};
    for (const double number : numbers) {
        if (end == last) return;
        *end++ = ' ';
        const auto [stop, error] = std::to_chars(end, last, number, std::chars_format::fixed, 6);
        if (error != std::errc{}) return;
        end = stop;
    }
    *end = '\0';
    issueCommand(line);
}

} // namespace cadencora
