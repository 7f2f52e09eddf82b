// The module descriptor: the one symbol that a host looks for in the plug-in file.

#include "plugin/shell/activation.h"

extern "C" __attribute__((visibility("default")))
const cadencora::host::ModuleDescriptor __mod_descrip = {
    .sync = cadencora::host::moduleSync,
    .version = cadencora::host::moduleVersion,
    .locale = cadencora::host::moduleLocale,
    .startup = cadencora::Startup,
    .shutdown = cadencora::Shutdown,
    .servers = cadencora::ServerDesc,
};
