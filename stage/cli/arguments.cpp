#include "stage/cli/arguments.h"

#include "stage/base/text.h"
#include "stage/cli/commands/convert.h"
#include "stage/cli/commands/info.h"
#include "stage/cli/commands/panels.h"
#include "stage/cli/commands/plot.h"
#include "stage/cli/commands/plugin_path.h"
#include "stage/cli/commands/run.h"
#include "stage/cli/completions.h"
#include "stage/cli/many/interruption.h"
#include "stage/cli/report/streams.h"
#include "stage/module/module.h"
#include "stage/user/recipe.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>

namespace cadencora::stage {

namespace {

struct Arguments {
    std::vector<std::string> inputs;
    std::string output, outputFolder, plugin, server, motions, report = "text";
    std::string list, shard, reportFile, format;
    std::string recipe, saveRecipe;
    ReadingArguments reading;
    std::size_t jobs = 1;
    std::vector<std::string> presses, selects, settings, answers;
    std::vector<double> times;
    bool selectOptional = false, dryRun = false, cancel = false, start = false, inProcess = false;
    bool resume = false, quiet = false;
};

// Puts the options of the steps back into the order in which they were given: each --press begins a
// step, and what follows belongs to it. --select and --time before the first --press belong to the
// first step. The steps of a recipe come before those of the command line.
Result<Recipe> recipeOf(const CLI::App& app, const Arguments& arguments) {
    std::vector<Step> steps;
    Step early; // what stands before the first --press
    bool pressed = false;
    std::vector<Step> recipe;
    FileEdits edits;
    if (!arguments.recipe.empty()) {
        auto read = readRecipe(arguments.recipe);
        if (!read) return read.problem();
        recipe = std::move(read->steps);
        edits = std::move(read->edits);
    }
    std::size_t presses = 0, selects = 0, settings = 0, answers = 0, times = 0;
    for (const CLI::Option* option : app.parse_order()) {
        const std::string name = option->get_single_name();
        Step& step = pressed ? steps.back() : early;
        if (name == "press") {
            Step next = recipe.empty() && !pressed ? std::exchange(early, {}) : Step();
            next.press = arguments.presses[presses++];
            steps.push_back(std::move(next));
            pressed = true;
        } else if (name == "start") {
            if (pressed || !recipe.empty())
                return Problem{"the start is the first step", "--start", {}};
            steps.push_back(std::exchange(early, {}));
            steps.back().isStart = true;
            pressed = true;
        } else if (name == "select") {
            if (!step.select) step.select.emplace();
            step.select->push_back(arguments.selects[selects++]);
        } else if (name == "select-optional") {
            step.selectOptional = true;
        } else if (name == "time") {
            step.time = arguments.times[times++];
        } else if (name == "set") {
            auto setting = parseSetting(arguments.settings[settings++], "--set");
            if (!setting) return setting.problem();
            step.settings.push_back(std::move(setting.value()));
        } else if (name == "answer") {
            step.answers.push_back(arguments.answers[answers++] == "yes");
        } else if (name == "cancel") {
            step.cancel = true;
        }
    }
    if (!recipe.empty()) {
        if (early.select) {
            recipe.front().select = std::move(early.select);
            recipe.front().selectOptional = early.selectOptional;
        }
        if (early.time) recipe.front().time = early.time;
        if (!early.settings.empty() || !early.answers.empty() || early.cancel)
            return Problem{"a recipe's steps have their settings", "--recipe",
                           "before the first --press, only --select and --time"};
        steps.insert(steps.begin(), recipe.begin(), recipe.end());
    }
    if (steps.empty() && Module::isOwn(pluginPath(arguments.plugin)))
        return Problem{"there is no step", "run", "expected --press \"BUTTON\" or --recipe FILE"};
    if (steps.empty()) { // the other plug-in may do its work at its start
        early.isStart = true;
        steps.push_back(std::move(early));
    }
    return Recipe{std::move(steps), std::move(edits)};
}

int runCommand(const CLI::App& app, const Arguments& arguments) {
    auto recipe = recipeOf(app, arguments);
    if (!recipe) return fail(exitUsage, recipe.problem());
    auto reading = readOptionsOf(arguments.reading);
    if (!reading) return fail(exitUsage, reading.problem());
    if (reading->edits.scale == 1) reading->edits.scale = recipe->edits.scale;
    if (reading->edits.names.empty()) reading->edits.names = std::move(recipe->edits.names);
    InputArguments named{arguments.inputs, arguments.list, arguments.outputFolder, {}};
    if (!arguments.shard.empty()) {
        auto shard = parseShard(arguments.shard);
        if (!shard) return fail(exitUsage, shard.problem());
        named.shard = *shard;
    }
    auto inputs = inputsOf(named);
    if (!inputs) return fail(exitUsage, inputs.problem());
    if (inputs->size() > 1 && !arguments.output.empty())
        return fail(exitUsage, {"one output for several inputs", "-o",
                                "--out-dir takes the files of all inputs"});
    const bool isPiped =
        isStream(arguments.output) ||
        std::ranges::any_of(*inputs, [](const Input& input) { return isStream(input.path); });
    if (arguments.resume && isPiped)
        return fail(exitUsage, {"only files are resumed", "--resume", "an input or output is -"});
    RunOptions options;
    options.inputs = std::move(*inputs);
    options.steps = std::move(recipe->steps);
    options.output = arguments.output;
    options.outputFormat = arguments.format.empty() ? nullptr : formatNamed(arguments.format);
    options.outputFolder = arguments.outputFolder;
    options.reading = reading.value();
    options.clips = arguments.reading.clips;
    options.dryRun = arguments.dryRun;
    options.saveRecipe = arguments.saveRecipe;
    options.jobs = arguments.jobs;
    options.report = arguments.report == "json"    ? ReportForm::json
                     : arguments.report == "jsonl" ? ReportForm::jsonLines
                                                   : ReportForm::text;
    options.reportFile = arguments.reportFile;
    options.resume = arguments.resume;
    options.quiet = arguments.quiet;
    options.plugin = pluginPath(arguments.plugin);
    options.server = arguments.server;
    options.inProcess = arguments.inProcess;
    options.motionsFolder = arguments.motions;
    return run(options);
}

CLI::App* addRun(CLI::App& app, Arguments& arguments) {
    CLI::App* run = app.add_subcommand("run", "Press the plug-in's buttons on animation files");
    run->add_option("FILE", arguments.inputs,
                    "Input files, and folders that are searched for them (-: standard input)");
    run->add_option("--files-from", arguments.list,
                    "Take the names of input files from this file, one a line (-: standard input)")
        ->check(notEmpty());
    run->add_option("--shard", arguments.shard,
                    "Of the inputs by name, work on every N-th from the K-th on: K/N");
    run->add_option("--press", arguments.presses,
                    "Begin a step: press the button of this label; LABEL=VALUE sets another "
                    "control of a floating panel");
    run->add_flag("--start", arguments.start,
                  "Begin a step before the first --press: for the dialogs that open when the "
                  "plug-in starts");
    run->add_option(
        "--select", arguments.selects,
        "Select an item by name, or all whose names fit a pattern such as '*Arm*' (repeat for "
        "several)");
    run->add_flag("--select-optional", arguments.selectOptional,
                  "Pass over names and patterns of the step that no item has");
    run->add_option("--time", arguments.times, "Move the current time to a frame");
    run->add_option("--set", arguments.settings,
                    "Set a control of the step's dialogs: LABEL=VALUE, or the label of a button");
    run->add_option("--answer", arguments.answers,
                    "Answer the step's questions, the last answer going on (default: yes)")
        ->check(CLI::IsMember({"yes", "no"}));
    run->add_flag("--cancel", arguments.cancel,
                  "Cancel the step's dialogs once their controls are set");
    run->add_option("-o,--output", arguments.output,
                    "Write the scene to this file (-: standard output)")
        ->check(notEmpty());
    run->add_option("--out-dir", arguments.outputFolder,
                    "Write each scene under its own name into this folder")
        ->check(notEmpty())
        ->excludes("--output");
    run->add_option("--recipe", arguments.recipe, "Take the steps of this recipe first")
        ->check(notEmpty());
    run->add_option("--save-recipe", arguments.saveRecipe, "Write the steps to this recipe")
        ->check(notEmpty());
    run->add_option("-j,--jobs", arguments.jobs,
                    "Work on this many files at a time; 0: one per processor")
        ->check(CLI::Range(0, 1024));
    run->add_flag("--dry-run", arguments.dryRun, "Report, and write nothing")
        ->excludes("--save-recipe");
    run->add_option("--report", arguments.report,
                    "Form of the report: text, json, or jsonl, an object a line as files end")
        ->check(CLI::IsMember({"text", "json", "jsonl"}));
    auto* reportFile = run->add_option("--report-file", arguments.reportFile,
                                       "Add the lines of jsonl to this file, too");
    reportFile->check(notEmpty());
    run->add_flag("--resume", arguments.resume,
                  "Pass over what is finished by the report file, and still as it was")
        ->needs(reportFile);
    run->add_flag("-q,--quiet", arguments.quiet, "Print only what went wrong, and JSON");
    run->add_option("--motions", arguments.motions,
                    "Folder that the plug-in is told is the motions directory");
    for (const char* repeated : {"--press", "--select", "--time", "--set", "--answer"})
        run->get_option(repeated)->expected(1)->allow_extra_args(false)->multi_option_policy(
            CLI::MultiOptionPolicy::TakeAll);
    addFormat(*run, arguments.format, arguments.output);
    addReading(*run, arguments.reading, true);
    addPlugin(*run, arguments.plugin, arguments.server);
    run->add_flag("--in-process", arguments.inProcess,
                  "Run the plug-in in this process, for a debugger; a crash ends the program");
    run->footer("A step is --press and the --select, --time, --set, --answer and --cancel that\n"
                "follow it, up to the next --press; what stands before the first --press belongs\n"
                "to the first step. Example:\n"
                "  cadencora run walk.bvh --press \"Destroy Keys\" --select Hips \\\n"
                "      --set Start=100 --set End=200 -o out.bvh");
    return run;
}

// The first of the arguments that nothing takes, if it looks like an option.
std::optional<Problem> unknownOption(const CLI::App& app) {
    for (const std::string& extra : app.remaining(true)) {
        if (!extra.starts_with("-") || extra == "-") continue;
        const std::string name = extra.substr(0, extra.find('='));
        std::vector<std::string> known;
        const auto add = [&](const CLI::App& one) {
            for (const CLI::Option* option : one.get_options())
                for (const std::string& longName : option->get_lnames())
                    known.push_back("--" + longName);
        };
        const auto commands = app.get_subcommands();
        add(commands.empty() ? app : *commands.front());
        return Problem{"no such option: " + inQuotes(name), {}, alternatives(name, known)};
    }
    return std::nullopt;
}

int parseAndRun(int argc, char** argv) {
    Arguments arguments;
    CLI::App app("Cadencora: a keyframe toolbox for files of 3D animation", "cadencora");
    app.set_version_flag("--version", "cadencora " CADENCORA_VERSION);
    app.require_subcommand(argc > 1 ? 1 : 0);

    InfoOptions infoOptions;
    const CLI::App* infos = addInfo(app, infoOptions);
    PanelsOptions panelsOptions;
    const CLI::App* listing = addPanels(app, panelsOptions);
    const CLI::App* running = addRun(app, arguments);
    ConvertOptions convertOptions;
    const CLI::App* converting = addConvert(app, convertOptions);
    PlotOptions plotOptions;
    const CLI::App* plotting = addPlot(app, plotOptions);
    std::string shell;
    CLI::App* completing =
        app.add_subcommand("completions", "Print what a shell completes command lines with");
    completing->add_option("SHELL", shell, "bash, zsh or fish")
        ->required()
        ->check(CLI::IsMember({"bash", "zsh", "fish"}));

    if (argc > 1 && *argv[1] != '-') {
        std::vector<std::string> names;
        for (const CLI::App* command : app.get_subcommands({}))
            names.push_back(command->get_name());
        if (std::ranges::find(names, argv[1]) == names.end())
            return fail(exitUsage, {"no such command: " + inQuotes(argv[1]),
                                    {},
                                    alternatives(argv[1], std::move(names))});
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ExtrasError& error) {
        if (const auto unknown = unknownOption(app)) return fail(exitUsage, *unknown);
        return app.exit(error) == 0 ? exitDone : exitUsage;
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? exitDone : exitUsage;
    }
    if (argc == 1) {
        std::cout << app.help();
        return exitDone;
    }
    if (infos->parsed()) return info(infoOptions);
    if (listing->parsed()) return panels(panelsOptions);
    if (converting->parsed()) return convert(convertOptions);
    if (plotting->parsed()) return plot(plotOptions);
    if (completing->parsed()) {
        std::cout << completionScript(app, shell);
        return exitDone;
    }
    return runCommand(*running, arguments);
}

} // namespace

int runProgram(int argc, char** argv) {
    prepareStreams();
    int status = exitFailed;
    try {
        status = parseAndRun(argc, argv);
    } catch (const std::bad_alloc&) {
        fail(exitFailed, outOfMemory());
    }
    if (interruptedBy() != 0) status = statusOfSignal(interruptedBy());
    return finishStreams(status);
}

} // namespace cadencora::stage
