#include "stage/cli/completions.h"

#include <CLI/CLI.hpp>

#include <vector>

namespace cadencora::stage {

namespace {

struct CompletedOption {
    std::vector<std::string> names;  // "--jobs", "-j"
    std::string help;                // without line ends
    std::vector<std::string> values; // that it takes; empty: any
    bool takesValue = false;
};

struct CompletedCommand {
    std::string name, help;
    std::vector<CompletedOption> options;
};

// The values of a check such as "{yes,no}".
std::vector<std::string> valuesIn(const std::string& type) {
    std::vector<std::string> values;
    const std::size_t open = type.find('{'), close = type.find('}');
    if (open == type.npos || close == type.npos) return values;
    std::string word;
    for (std::size_t i = open + 1; i <= close; ++i) {
        if (type[i] != ',' && type[i] != '}') {
            word += type[i];
            continue;
        }
        values.push_back(std::exchange(word, {}));
    }
    return values;
}

std::vector<CompletedOption> optionsOf(const CLI::App& command) {
    std::vector<CompletedOption> options;
    for (const CLI::Option* option : command.get_options()) {
        CompletedOption completed;
        for (const std::string& name : option->get_lnames())
            completed.names.push_back("--" + name);
        for (const std::string& name : option->get_snames())
            completed.names.push_back("-" + name);
        if (completed.names.empty()) continue; // files
        completed.help = option->get_description();
        completed.values = valuesIn(option->get_type_name());
        completed.takesValue = option->get_type_size() > 0;
        options.push_back(std::move(completed));
    }
    return options;
}

std::vector<CompletedCommand> commandsOf(const CLI::App& app) {
    std::vector<CompletedCommand> commands;
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; }))
        commands.push_back({command->get_name(), command->get_description(), optionsOf(*command)});
    return commands;
}

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : " ") + word;
    return text;
}

// A text within single quotes, without what the shell's own syntax would take.
std::string quoted(const std::string& text, std::string_view unwanted) {
    std::string result;
    for (const char c : text) {
        if (unwanted.find(c) != unwanted.npos)
            result += ' ';
        else
            result += c == '\'' ? "'\\''" : std::string(1, c);
    }
    return result;
}

std::string bashScript(const std::vector<CompletedCommand>& commands) {
    std::string names, values, options;
    for (const CompletedCommand& command : commands) {
        names += command.name + " ";
        std::vector<std::string> words;
        for (const CompletedOption& option : command.options) {
            words.insert(words.end(), option.names.begin(), option.names.end());
            if (option.values.empty()) continue;
            for (const std::string& name : option.names)
                values += "        " + command.name + "," + name + ") words=\"" +
                          joined(option.values) + "\" ;;\n";
        }
        options += "        " + command.name + ") words=\"" + joined(words) + "\" ;;\n";
    }
    return "# bash completion for cadencora\n"
           "_cadencora() {\n"
           "    local current=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} words=\n"
           "    if [ \"$COMP_CWORD\" -eq 1 ]; then\n"
           "        COMPREPLY=($(compgen -W \"" +
           names +
           "--help --version\" -- \"$current\"))\n"
           "        return\n"
           "    fi\n"
           "    case ${COMP_WORDS[1]},$before in\n" +
           values +
           "    esac\n"
           "    if [ -z \"$words\" ] && [ \"${current#-}\" != \"$current\" ]; then\n"
           "        case ${COMP_WORDS[1]} in\n" +
           options +
           "        esac\n"
           "    fi\n"
           "    if [ -n \"$words\" ]; then\n"
           "        COMPREPLY=($(compgen -W \"$words\" -- \"$current\"))\n"
           "    else\n"
           "        compopt -o filenames\n"
           "        COMPREPLY=($(compgen -f -- \"$current\"))\n"
           "    fi\n"
           "}\n"
           "complete -F _cadencora cadencora\n";
}

std::string zshScript(const std::vector<CompletedCommand>& commands) {
    constexpr std::string_view unwanted = "[]:\n";
    std::string names, cases;
    for (const CompletedCommand& command : commands) {
        names += "        '" + command.name + ":" + quoted(command.help, unwanted) + "'\n";
        cases += "    " + command.name + ")\n        _arguments \\\n";
        for (const CompletedOption& option : command.options)
            for (const std::string& name : option.names) {
                const std::string value = !option.takesValue ? ""
                                          : option.values.empty()
                                              ? ":value:_files"
                                              : ":value:(" + joined(option.values) + ")";
                cases += "            '*" + name + "[" + quoted(option.help, unwanted) + "]" +
                         value + "' \\\n";
            }
        cases += "            '*:file:_files' ;;\n";
    }
    return "#compdef cadencora\n"
           "local -a commands\n"
           "if (( CURRENT == 2 )); then\n"
           "    commands=(\n" +
           names +
           "    )\n"
           "    _describe command commands\n"
           "    return\n"
           "fi\n"
           "local command=$words[2]\n"
           "shift words\n"
           "(( CURRENT-- ))\n"
           "case $command in\n" +
           cases + "esac\n";
}

std::string fishScript(const std::vector<CompletedCommand>& commands) {
    std::string script = "# fish completion for cadencora\n";
    for (const CompletedCommand& command : commands) {
        script += "complete -c cadencora -n __fish_use_subcommand -f -a " + command.name + " -d '" +
                  quoted(command.help, "\n") + "'\n";
        for (const CompletedOption& option : command.options) {
            script += "complete -c cadencora -n '__fish_seen_subcommand_from " + command.name + "'";
            for (const std::string& name : option.names)
                script +=
                    name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
            if (!option.values.empty())
                script += " -x -a '" + joined(option.values) + "'";
            else if (option.takesValue)
                script += " -r";
            script += " -d '" + quoted(option.help, "\n") + "'\n";
        }
    }
    return script;
}

} // namespace

std::string completionScript(const CLI::App& app, std::string_view shell) {
    const std::vector<CompletedCommand> commands = commandsOf(app);
    return shell == "bash"  ? bashScript(commands)
           : shell == "zsh" ? zshScript(commands)
                            : fishScript(commands);
}

} // namespace cadencora::stage
