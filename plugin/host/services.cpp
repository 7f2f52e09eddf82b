#include "plugin/host/services.h"

namespace cadencora {

bool fetchServices(Services* services) {
    *services = {fetchEnvelopeFuncs(),
                 fetchChannelInfo(),
                 fetchItemInfo(),
                 fetchSceneInfo(),
                 fetchInterfaceInfo(),
                 nullptr,
                 nullptr};
    return services->envelopes && services->channels && services->items && services->scene &&
           services->interfaceInfo;
}

void fetchFileServices(Services* services) {
    services->files = fetchFileIOFuncs();
    services->directories = fetchDirInfo();
}

} // namespace cadencora
