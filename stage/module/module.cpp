#include "stage/module/module.h"

#include "plugin/host/layout_generic.h"

#include <cstdlib>
#include <cstring>
#include <dlfcn.h>

namespace cadencora::stage {

namespace {

constexpr const char* descriptorSymbol = "__mod_descrip";
constexpr const char* serverClass = "LayoutGeneric";

Problem unusable(const std::filesystem::path& path, std::string detail) {
    return {"cannot use the plug-in", path.string(), std::move(detail)};
}

std::string hexadecimal(std::uint32_t word) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08x", word);
    return text;
}

std::string whatIsWrong(const host::ModuleDescriptor& descriptor) {
    if (descriptor.sync != host::moduleSync)
        return "its descriptor begins with " + hexadecimal(descriptor.sync) + ", expected " +
               hexadecimal(host::moduleSync);
    if (descriptor.version != host::moduleVersion)
        return "its descriptor has version " + std::to_string(descriptor.version) + ", expected " +
               std::to_string(host::moduleVersion);
    if (!descriptor.startup) return "its descriptor has no startup function";
    if (!descriptor.servers) return "its descriptor has no server list";
    return {};
}

const host::ServerRecord* findServer(const host::ServerRecord* servers) {
    constexpr int most = 1000; // a list without its end
    for (int i = 0; i < most && servers[i].className; ++i)
        if (std::strcmp(servers[i].className, serverClass) == 0 && servers[i].activate &&
            servers[i].serverName)
            return &servers[i];
    return nullptr;
}

} // namespace

Result<Module> Module::open(const std::filesystem::path& path) {
    std::error_code ignored;
    if (!std::filesystem::exists(path, ignored)) return unusable(path, "there is no such file");
    // A bare name would be searched for in the system's library directories.
    const auto absolute = std::filesystem::absolute(path, ignored);
    void* library = dlopen(absolute.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    if (!library) {
        const char* reason = dlerror();
        return unusable(path, reason ? reason : "it cannot be loaded");
    }
    const auto fail = [&](std::string detail) {
        dlclose(library);
        return unusable(path, std::move(detail));
    };
    const auto* descriptor =
        static_cast<const host::ModuleDescriptor*>(dlsym(library, descriptorSymbol));
    if (!descriptor) return fail(std::string("it exports no ") + descriptorSymbol);
    if (std::string wrong = whatIsWrong(*descriptor); !wrong.empty()) return fail(wrong);
    const host::ServerRecord* server = findServer(descriptor->servers);
    if (!server) return fail(std::string("it has no server of class ") + serverClass);
    if (!descriptor->startup()) return fail("its startup function refused");
    return Module(path, server);
}

std::filesystem::path Module::defaultPath() {
    if (const char* given = std::getenv("CADENCORA_PLUGIN"); given && *given) return given;
    std::error_code ignored;
    const auto beside = std::filesystem::read_symlink("/proc/self/exe", ignored).parent_path();
    const auto installed = beside.parent_path() / "lib" / "cadencora" / "cadencora.so";
    const auto here = beside / "cadencora.so";
    return !std::filesystem::exists(here, ignored) && std::filesystem::exists(installed, ignored)
               ? installed
               : here;
}

Result<> Module::activate(host::GlobalFunc lookup, void* layoutGeneric) const {
    const int code = server_->activate(host::layoutGenericVersion, lookup, layoutGeneric, nullptr);
    if (code == 0) return done();
    return unusable(path_, "its activation returned " + std::to_string(code));
}

} // namespace cadencora::stage
