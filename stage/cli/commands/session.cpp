#include "stage/cli/commands/session.h"

namespace cadencora::stage {

namespace {

std::filesystem::path currentFolder() {
    std::error_code ignored; // empty where it is gone
    return std::filesystem::current_path(ignored);
}

} // namespace

Session::Session(const RunOptions& options)
    : user(options.dryRun), host(Scene(), user,
                                 {.motionsDirectory = options.motionsFolder,
                                  .undoBudget = 0,
                                  .writeFiles = !options.dryRun}),
      folder_(currentFolder()) {
    user.lookAt(host.scene());
}

Result<std::unique_ptr<Session>> Session::open(const RunOptions& options) {
    std::unique_ptr<Session> session(new Session(options));
    auto module = Module::open(options.plugin, options.server);
    if (!module) return module.problem();
    session->module.emplace(std::move(module.value()));
    return session;
}

void Session::returnToFolder() const {
    std::error_code ignored; // where the folder is gone, what is relative to it fails by itself
    std::filesystem::current_path(folder_, ignored);
}

} // namespace cadencora::stage
