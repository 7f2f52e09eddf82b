// Completion scripts for shells, made from the program's own tree of commands and options.
#pragma once

#include <string>
#include <string_view>

namespace CLI {
class App;
}

namespace cadencora::stage {

// For "bash", "zsh" or "fish".
std::string completionScript(const CLI::App& app, std::string_view shell);

} // namespace cadencora::stage
