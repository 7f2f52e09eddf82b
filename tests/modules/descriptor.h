// Exports a module descriptor with one server; a test module says what is wrong with it.
#pragma once

#include "plugin/host/layout_generic.h"
#include "plugin/host/module.h"

#define EXPORTED extern "C" __attribute__((visibility("default")))

inline void* startUp() {
    static int token;
    return &token;
}
inline void* refuseToStart() {
    return nullptr;
}
inline void shutDown(void*) {}
inline int activateNothing(int, cadencora::host::GlobalFunc, void*, void*) {
    return 0;
}
inline int refuseActivation(int, cadencora::host::GlobalFunc, void*, void*) {
    return 7;
}

constexpr cadencora::host::ModuleDescriptor describe(const cadencora::host::ServerRecord* servers) {
    return {cadencora::host::moduleSync,
            cadencora::host::moduleVersion,
            cadencora::host::moduleLocale,
            &startUp,
            &shutDown,
            servers};
}
