// "LW Scene Info 6" and "LW Interface Info 7": data without functions, filled by
// Host::refreshRecords.

#include "stage/services/tables.h"

namespace cadencora::stage {

host::SceneInfo& sceneInfo() {
    static host::SceneInfo record{};
    return record;
}

host::InterfaceInfo& interfaceInfo() {
    static host::InterfaceInfo record{};
    return record;
}

} // namespace cadencora::stage
