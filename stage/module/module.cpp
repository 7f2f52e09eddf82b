#include "stage/module/module.h"

#include "plugin/host/layout_generic.h"

#include "stage/base/text.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <utility>

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

// What the plug-in's own functions do wrong is a problem, exceptions too.
template <class Call>
Result<> guarded(const std::filesystem::path& path, const std::string& what, const Call& call) {
    try {
        call();
        return done();
    } catch (const std::exception& exception) {
        return unusable(path, what + " threw an exception: " + exception.what());
    } catch (...) {
        return unusable(path, what + " threw an exception");
    }
}

// Beside the program, or where it is installed.
std::vector<std::filesystem::path> ownPlaces() {
    std::error_code ignored;
    const auto beside = std::filesystem::read_symlink("/proc/self/exe", ignored).parent_path();
    return {beside / "cadencora.so", beside.parent_path() / "lib" / "cadencora" / "cadencora.so"};
}

} // namespace

Result<Module> Module::open(const std::filesystem::path& path, std::string_view server) {
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
    Module module(path);
    constexpr int most = 1000; // a list without its end
    for (int i = 0; i < most && descriptor->servers[i].className; ++i)
        if (const host::ServerRecord& record = descriptor->servers[i];
            std::strcmp(record.className, serverClass) == 0 && record.activate && record.serverName)
            module.servers_.push_back({record.serverName, record.activate});
    if (module.servers_.empty())
        return fail(std::string("it has no server of class ") + serverClass);
    if (!server.empty())
        if (auto known = module.useServer(server); !known) return known.problem();
    if (auto started =
            guarded(path, "its startup function", [&] { module.token_ = descriptor->startup(); });
        !started)
        return started.problem();
    if (!module.token_) return fail("its startup function refused");
    module.descriptor_ = descriptor;
    return module;
}

Module::Module(Module&& from) noexcept
    : path_(std::move(from.path_)), servers_(std::move(from.servers_)), used_(from.used_),
      descriptor_(std::exchange(from.descriptor_, nullptr)), token_(from.token_) {}

Module::~Module() {
    (void)shutDown(); // whoever wants to know its end calls it before
}

Result<> Module::shutDown() {
    const auto* descriptor = std::exchange(descriptor_, nullptr);
    if (!descriptor || !descriptor->shutdown) return done();
    return guarded(path_, "its shutdown function", [&] { descriptor->shutdown(token_); });
}

std::filesystem::path Module::defaultPath() {
    if (const char* given = std::getenv("CADENCORA_PLUGIN"); given && *given) return given;
    std::error_code ignored;
    const auto places = ownPlaces();
    for (const auto& place : places)
        if (std::filesystem::exists(place, ignored)) return place;
    return places.front();
}

bool Module::isOwn(const std::filesystem::path& path) {
    std::error_code ignored;
    return std::ranges::any_of(ownPlaces(), [&](const auto& place) {
        return std::filesystem::equivalent(place, path, ignored);
    });
}

std::vector<std::string> Module::serverNames() const {
    std::vector<std::string> names;
    for (const Server& server : servers_)
        names.push_back(server.name);
    return names;
}

Result<> Module::useServer(std::string_view name) {
    const auto found = std::ranges::find(servers_, name, &Server::name);
    if (found == servers_.end())
        return Problem{"the plug-in has no server " + inQuotes(name), path_.string(),
                       alternatives(name, serverNames())};
    used_ = static_cast<std::size_t>(found - servers_.begin());
    return done();
}

Result<> Module::activate(host::GlobalFunc lookup, void* layoutGeneric) const {
    int code = 0;
    const auto activated = guarded(path_, "its activation", [&] {
        code = servers_[used_].activate(host::layoutGenericVersion, lookup, layoutGeneric, nullptr);
    });
    if (!activated || code == 0) return activated;
    return unusable(path_, "its activation returned " + std::to_string(code));
}

} // namespace cadencora::stage
