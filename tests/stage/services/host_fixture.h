// A host with a scripted user, and the tables that a plug-in gets from it.
#pragma once

#include "plugin/host/channel_info.h"
#include "plugin/host/envelope_funcs.h"
#include "plugin/host/file_io_funcs.h"
#include "plugin/host/item_info.h"
#include "plugin/host/panel_funcs.h"
#include "stage/services/host.h"
#include "stage/user/scripted_user.h"

#include <gtest/gtest.h>

namespace cadencora::stage {

struct HostFixture : testing::Test {
    ScriptedUser user;
    Host host;

    explicit HostFixture(Scene scene, HostOptions options = {})
        : host(std::move(scene), user, std::move(options)) {}

    template <class Table>
    const Table& table(const char* name) {
        return *static_cast<Table*>(Host::lookup(name, 0));
    }
    const host::ItemInfo& items = table<host::ItemInfo>(host::itemInfoName);
    const host::ChannelInfo& channels = table<host::ChannelInfo>(host::channelInfoName);
    const host::EnvelopeFuncs& envelopes = table<host::EnvelopeFuncs>(host::envelopeFuncsName);
    const host::FileIOFuncs& files = table<host::FileIOFuncs>(host::fileIOFuncsName);
    const host::PanelFuncs& panels = table<host::PanelFuncs>(host::panelFuncsName);
};

} // namespace cadencora::stage
