// "Directory Info": the directories that a plug-in may ask for.

#include "stage/services/gate.h"
#include "stage/services/tables.h"

namespace cadencora::stage {

namespace {

const char* directory(Host& host, std::string_view kind) {
    const auto& motions = host.options().motionsDirectory;
    const auto& path = motions.empty() ? host.sceneDirectory : motions;
    return kind == host::motionsDirectory && !path.empty() ? path.c_str() : nullptr;
}

} // namespace

host::DirInfo dirInfo() {
    return gate<"Directory Info", "directory", &directory>;
}

} // namespace cadencora::stage
