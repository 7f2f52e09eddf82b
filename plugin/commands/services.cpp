#include "plugin/commands/services.h"

namespace cadencora {

bool fetchServices(Services* services) {
    services->envelopes = fetchEnvelopeFuncs();
    services->channels = fetchChannelInfo();
    services->items = fetchItemInfo();
    services->scene = fetchSceneInfo();
    services->interfaceInfo = fetchInterfaceInfo();
    return services->envelopes && services->channels && services->items && services->scene &&
           services->interfaceInfo;
}

} // namespace cadencora
