// The plug-in's lists of names, read as it reads them, through a host that has no items.

#include "plugin/host/lookup.h"
#include "plugin/sets/channel_list.h"
#include "plugin/sets/object_list.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>

namespace {

using namespace cadencora;

host::Item noItem(int, host::Item) {
    return nullptr;
}

void ignore(const char*, const char*) {}

void* lookup(const char* service, int) {
    static host::ItemInfo items{};
    items.firstItem = noItem;
    return std::strcmp(service, host::itemInfoName) == 0 ? &items : nullptr;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static ToolState state{};
    static const int file = memfd_create("input", 0);
    static host::MessageFuncs messages{};
    messages.error = ignore;
    message = &messages;
    global = lookup;
    char path[64];
    std::snprintf(path, sizeof path, "/proc/self/fd/%d", file);
    if (ftruncate(file, 0) != 0 || pwrite(file, data, size, 0) != static_cast<ssize_t>(size))
        return 0;

    loadChannelSets(path, &state);
    if (state.numChannels < 0 || state.numChannels > maxChannels) std::abort();
    for (int i = 0; i < state.numChannels; ++i)
        if (std::strlen(state.channelNames[i]) == 0) std::abort();
    loadItemSets(path, &state);
    if (state.numObjects < 0 || state.numObjects > maxObjects) std::abort();
    return 0;
}
