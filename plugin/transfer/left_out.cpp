#include "plugin/transfer/left_out.h"

#include "plugin/host/lookup.h"

#include <cstdio>
#include <cstring>

namespace cadencora {

void addLeftOut(LeftOut* leftOut, const char* item, const char* channel) {
    constexpr char more[] = " ...";
    const bool first = leftOut->count++ == 0;
    if (leftOut->full) return;
    char* const end = leftOut->names + std::strlen(leftOut->names);
    const auto room = static_cast<std::size_t>(leftOut->names + sizeof leftOut->names - end);
    const int length = std::snprintf(end, room, "%s%s%s%s", first ? "" : ", ", item,
                                     channel ? "/" : "", channel ? channel : "");
    if (length >= 0 && static_cast<std::size_t>(length) + sizeof more <= room) return;
    leftOut->full = true;
    // There is room for the dots after every earlier name; a first name that is too long is cut.
    char* const cut = first ? leftOut->names + sizeof leftOut->names - sizeof more : end;
    std::strcpy(cut, more);
}

void reportLeftOut(const LeftOut& leftOut, const char* what) {
    if (leftOut.count == 0) return;
    char line[256];
    std::snprintf(line, sizeof line, "%s: %d", what, leftOut.count);
    message->info(line, leftOut.names);
}

} // namespace cadencora
