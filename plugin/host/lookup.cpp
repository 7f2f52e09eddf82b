#include "plugin/host/lookup.h"

namespace cadencora {

host::GlobalFunc global = nullptr;
const host::MessageFuncs* message = nullptr;
host::PanelFuncs* panelService = nullptr;
host::Evaluate evaluate = nullptr;

static void* fetchService(const char* name) {
    return global ? global(name, 0) : nullptr;
}

const host::ItemInfo* fetchItemInfo() {
    return static_cast<const host::ItemInfo*>(fetchService(host::itemInfoName));
}

const host::SceneInfo* fetchSceneInfo() {
    return static_cast<const host::SceneInfo*>(fetchService(host::sceneInfoName));
}

const host::InterfaceInfo* fetchInterfaceInfo() {
    return static_cast<const host::InterfaceInfo*>(fetchService(host::interfaceInfoName));
}

const host::ChannelInfo* fetchChannelInfo() {
    return static_cast<const host::ChannelInfo*>(fetchService(host::channelInfoName));
}

const host::EnvelopeFuncs* fetchEnvelopeFuncs() {
    return static_cast<const host::EnvelopeFuncs*>(fetchService(host::envelopeFuncsName));
}

const host::FileIOFuncs* fetchFileIOFuncs() {
    return static_cast<const host::FileIOFuncs*>(fetchService(host::fileIOFuncsName));
}

host::DirInfo fetchDirInfo() {
    return reinterpret_cast<host::DirInfo>(fetchService(host::dirInfoName));
}

} // namespace cadencora
