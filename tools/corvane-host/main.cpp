// corvane-host: VST3 effects from the command line.
#include "tools/corvane-host/Commands.h"
#include "tools/corvane-host/PartialFile.h"
#include "tools/hosting/Text.h"

#include <CLI/CLI.hpp>

#include <exception>
#include <functional>
#include <iostream>

namespace {

using namespace Quorvant::Hosting;

constexpr int kFailure = 1;
constexpr int kUsage = 2;

constexpr double kLowestRate = 1000.0, kHighestRate = 1e6;  // Hz
constexpr double kSlowestTempo = 1.0, kFastestTempo = 1000.0;
constexpr double kLongestSeconds = 86400.0;
constexpr int kLargestBlock = 1 << 20;

const char* const kFooter =
    "\nExit status: 0 success, 1 something failed (one sentence says what, and no output is left\n"
    "behind), 2 the command line is wrong.";

void addPluginOptions(CLI::App& command, PluginChoice& choice) {
    command
        .add_option("--plugin", choice.bundle,
                    "The .vst3 to load (default: the one delivered with this program, else the\n"
                    "installed one)")
        ->type_name("BUNDLE");
    command
        .add_option("--class", choice.className,
                    "The effect in a module of several (default: the first)")
        ->type_name("NAME");
}

void addSettingOptions(CLI::App& command, PluginChoice& choice) {
    command
        .add_option("--param", choice.settings,
                    "A parameter by title, short title or id, and a value text as the plug-in\n"
                    "shows it, or @0 ... @1 for a normalised value; repeatable")
        ->type_name("NAME=TEXT")
        ->allow_extra_args(false)
        ->check([](const std::string& setting) {
            return setting.find('=') == std::string::npos ? "'" + setting + "' is not NAME=TEXT"
                                                          : std::string();
        });
    command
        .add_option("--state", choice.stateFile,
                    "A state to load before preset and parameters are set")
        ->type_name("FILE");
    command
        .add_option("--preset", choice.preset,
                    "A preset to choose before the parameters are set: a name that 'presets list'\n"
                    "shows, or its number; a .qvx file; or a .vstpreset")
        ->type_name("NAME|FILE");
}

// CLI11's own range lets "nan" pass.
CLI::Validator numberWithin(double lowest, double highest) {
    const auto check = [=](const std::string& text) {
        double value = 0.0;
        if (CLI::detail::lexical_cast(text, value) && value >= lowest && value <= highest)
            return std::string();
        return "'" + text + "' is no number from " + CLI::detail::to_string(lowest) + " to " +
               CLI::detail::to_string(highest);
    };
    return CLI::Validator(check, "");
}

void addBits(CLI::App& command, int& bits) {
    command.add_option("--bits", bits, "Samples that the plug-in processes, 32 or 64 bits")
        ->check(CLI::IsMember({32, 64}))
        ->capture_default_str();
}

void addBlock(CLI::App& command, int& block) {
    command.add_option("--block", block, "Frames in a block")
        ->check(CLI::Range(1, kLargestBlock))
        ->type_name("N")
        ->capture_default_str();
}

// What render and meters have in common.
void addRenderOptions(CLI::App* command, PluginChoice& choice, RenderOptions& options) {
    addPluginOptions(*command, choice);
    addSettingOptions(*command, choice);
    command
        ->add_option("--automate", options.automation,
                     "A file of lines 'seconds,parameter,text', each a step at that very frame")
        ->type_name("FILE");
    command->add_option("--tempo", options.tempo, "The song's tempo; it then plays from its start")
        ->check(numberWithin(kSlowestTempo, kFastestTempo))
        ->type_name("BPM");
    command
        ->add_option("--sidechain", options.sideChain,
                     "A mono or stereo file for the side-chain input")
        ->type_name("FILE");
    addBlock(*command, options.block);
    command
        ->add_option("--rate", options.rate,
                     "Sample rate to process at (default: the input's); the input is converted")
        ->check(numberWithin(kLowestRate, kHighestRate))
        ->type_name("HZ");
    command
        ->add_option_function<std::string>(
            "--tail",
            [&options](const std::string& text) {
                if (text == "auto") return;
                double seconds = 0.0;
                if (!CLI::detail::lexical_cast(text, seconds) ||
                    !(seconds >= 0.0 && seconds <= kLongestSeconds))
                    throw CLI::ValidationError("--tail", "'" + text +
                                                             "' is neither auto nor seconds from "
                                                             "0 to 86400");
                options.tail = seconds;
            },
            "How long to go on after the input; auto ends a second after the output has fallen\n"
            "below -90 dBFS for good, and after 60 seconds at the latest")
        ->type_name("SECONDS|auto")
        ->default_str("auto");
    addBits(*command, options.bits);
}

CLI::App* addRender(CLI::App& app, PluginChoice& choice, RenderOptions& options) {
    CLI::App* command = app.add_subcommand("render", "Run an audio file through the effect");
    command->add_option("IN", options.input, "A mono or stereo audio file")->required();
    command->add_option("OUT", options.output, "The file to write")->required();
    addRenderOptions(command, choice, options);
    std::string names;
    for (const SampleFormat& format : writableFormats()) appendItem(names, format.name);
    command
        ->add_option("--format", options.format,
                     "One of " + names + " (default: by the extension of OUT)")
        ->type_name("FORMAT");
    command
        ->add_option("--plot", options.plot,
                     "Also draw input, output, its spectrum and the gain reduction as a PNG")
        ->type_name("FILE.png");
    return command;
}

CLI::App* addMeters(CLI::App& app, PluginChoice& choice, RenderOptions& options,
                    MeterOptions& meters) {
    CLI::App* command = app.add_subcommand(
        "meters", "Show what the effect reports of itself while a file runs through it");
    command->add_option("IN", options.input, "A mono or stereo audio file")->required();
    command
        ->add_option("--every", meters.every,
                     "Time between two rows; a row has each reading's last value, or its highest\n"
                     "where the title tells of a peak, level, activity, headroom or reduction")
        ->check(numberWithin(0.001, kLongestSeconds))
        ->type_name("SECONDS")
        ->capture_default_str();
    command->add_flag("--csv", meters.csv, "Print comma-separated values with a heading");
    addRenderOptions(command, choice, options);
    return command;
}

CLI::App* addBench(CLI::App& app, PluginChoice& choice, BenchOptions& options) {
    CLI::App* command = app.add_subcommand("bench", "Measure the effect's speed and memory");
    addPluginOptions(*command, choice);
    addSettingOptions(*command, choice);
    command->add_option("--instances", options.instances, "Instances that take turns")
        ->check(CLI::Range(1, 1000))
        ->type_name("N")
        ->capture_default_str();
    addBlock(*command, options.block);
    command->add_option("--rate", options.rate, "Sample rate")
        ->check(numberWithin(kLowestRate, kHighestRate))
        ->type_name("HZ")
        ->capture_default_str();
    command->add_option("--seconds", options.seconds, "Seconds of audio for each instance")
        ->check(numberWithin(0.01, kLongestSeconds))
        ->type_name("S")
        ->capture_default_str();
    addBits(*command, options.bits);
    return command;
}

CLI::App* addEditor(CLI::App& app, PluginChoice& choice, EditorOptions& options) {
    CLI::App* command = app.add_subcommand(
        "editor",
        "Open the effect's editor in a window, or draw it as a picture; a short phrase runs\n"
        "through the effect meanwhile, unheard");
    addPluginOptions(*command, choice);
    addSettingOptions(*command, choice);
    auto* screenshot = command->add_option(
        "--screenshot", options.screenshot,
        "Draw it into this PNG instead, as it looks after two seconds; on Linux on a display of\n"
        "its own (by Xvfb), so that none is needed");
    screenshot->type_name("FILE.png");
    command->add_option("--zoom", options.zoom, "Percent of the size that the editor opens with")
        ->check(CLI::Range(10, 400))
        ->type_name("N")
        ->capture_default_str();
    command
        ->add_option_function<std::vector<std::string>>(
            "--click",
            [&options](const std::vector<std::string>& texts) {
                for (const std::string& text : texts) {
                    const size_t comma = text.find(',');
                    EditorClick click{};
                    if (comma == std::string::npos ||
                        !CLI::detail::lexical_cast(text.substr(0, comma), click.x) ||
                        !CLI::detail::lexical_cast(text.substr(comma + 1), click.y))
                        throw CLI::ValidationError("--click", "'" + text + "' is not X,Y");
                    options.clicks.push_back(click);
                }
            },
            "Click there before the picture is drawn, in pixels of 100 %; repeatable")
        ->type_name("X,Y")
        ->allow_extra_args(false)
        ->needs(screenshot);
    return command;
}

struct PresetArguments {
    std::string preset, output, folder;
    std::vector<std::string> files;
    bool replace = false;
};

using Command = std::function<Result<>()>;

// Gives what to do if the parsed command line asks for it.
Command addPresets(CLI::App& app, PluginChoice& choice, PresetArguments& arguments,
                   const bool& plain) {
    CLI::App* presets = app.add_subcommand("presets", "List, show and convert presets");
    presets->require_subcommand(1);
    const auto add = [&](const char* name, const char* what) {
        CLI::App* command = presets->add_subcommand(name, what);
        addPluginOptions(*command, choice);
        return command;
    };
    const CLI::App* list = add("list", "List the plug-in's presets: number, name, category");
    CLI::App* show = add("show", "Print the parameters that a preset leads to");
    show->add_option("NAME|FILE", arguments.preset, "As for render's --preset")->required();
    CLI::App* to = add("export", "Write a preset as a file, or all of the plug-in's own");
    auto* name = to->add_option("NAME|FILE", arguments.preset, "As for render's --preset");
    auto* out = to->add_option("OUT", arguments.output, "A .qvx or .vstpreset to write");
    auto* all = to->add_option("--all", arguments.folder,
                               "Write each preset of the plug-in as a .vstpreset into this folder")
                    ->type_name("FOLDER");
    name->needs(out);
    all->excludes(name);
    to->callback([=] {
        if (out->empty() && all->empty())
            throw CLI::RequiredError("NAME|FILE and OUT, or --all FOLDER");
    });
    CLI::App* from = add("import",
                         "Put presets into your preset folder as .qvx: files of this and the\n"
                         "earlier version, and .vstpreset files");
    from->add_option("FILE", arguments.files, "The files to read")->required();
    from->add_flag("--force", arguments.replace, "Replace presets of the same name");
    return [=, &choice, &arguments, &plain]() -> Result<> {
        if (list->parsed()) return listPresets(choice, plain);
        if (show->parsed()) return showPreset(choice, arguments.preset, plain);
        if (from->parsed()) return importPresets(choice, arguments.files, arguments.replace, plain);
        return arguments.folder.empty() ? exportPreset(choice, arguments.preset, arguments.output)
                                        : exportAllPresets(choice, arguments.folder);
    };
}

Result<> runCommandLine(int argc, char** argv, int& usageStatus) {
    CLI::App app{"Runs VST3 effects from the command line.", "corvane-host"};
    app.footer(kFooter);
    app.require_subcommand(1);
    app.fallthrough();
    bool plain = false;
    app.add_flag("--plain", plain, "Print rows of fields separated by tabs, for scripts");

    PluginChoice choice;
    RenderOptions renderOptions;
    BenchOptions benchOptions;
    std::string path, phraseFormat;
    const CLI::App* renderCommand = addRender(app, choice, renderOptions);
    MeterOptions meterOptions;
    const CLI::App* metersCommand = addMeters(app, choice, renderOptions, meterOptions);
    CLI::App* info = app.add_subcommand("info", "Show classes, buses, latency and parameters");
    addPluginOptions(*info, choice);
    CLI::App* params = app.add_subcommand(
        "params",
        "List the parameters: id, title, short title, units, steps, default, flags, values");
    addPluginOptions(*params, choice);
    CLI::App* state = app.add_subcommand("state", "Save or load a state");
    state->require_subcommand(1);
    CLI::App* save = state->add_subcommand(
        "save", "Write a state: a .vstpreset by that extension, else the bare component state");
    save->add_option("FILE", path, "The file to write")->required();
    addPluginOptions(*save, choice);
    addSettingOptions(*save, choice);
    CLI::App* load = state->add_subcommand("load", "Load a state and print what it leads to");
    load->add_option("FILE", path, "The file to read")->required();
    addPluginOptions(*load, choice);
    CLI::App* scan = app.add_subcommand(
        "scan", "List the plug-ins below a folder: path, name, version, vendor, categories");
    scan->add_option("FOLDER", path, "Where to look")->required();
    const CLI::App* benchCommand = addBench(app, choice, benchOptions);
    EditorOptions editorOptions;
    const CLI::App* editorCommand = addEditor(app, choice, editorOptions);
    PresetArguments presetArguments;
    const Command runPresets = addPresets(app, choice, presetArguments, plain);
    CLI::App* phrase = app.add_subcommand(
        "phrase", "Write six seconds of plucked notes and ticks to try effects with");
    phrase->add_option("OUT", path, "The file to write, 44.1 kHz stereo")->required();
    phrase->add_option("--format", phraseFormat, "As for render")->type_name("FORMAT");

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        usageStatus = app.exit(error) == 0 ? 0 : kUsage;
        return {};
    }
    if (renderCommand->parsed()) return render(choice, renderOptions, plain);
    if (metersCommand->parsed()) return showMeters(choice, renderOptions, meterOptions, plain);
    if (info->parsed()) return showInfo(choice, plain);
    if (params->parsed()) return listParameters(choice, plain);
    if (save->parsed()) return saveStateCommand(choice, path);
    if (load->parsed()) return loadStateCommand(choice, path, plain);
    if (scan->parsed()) return scanFolder(path, plain);
    if (benchCommand->parsed()) return bench(choice, benchOptions, plain);
    if (editorCommand->parsed()) return showEditor(choice, editorOptions);
    if (app.got_subcommand("presets")) return runPresets();
    return writePhrase(path, phraseFormat);
}

}  // namespace

int main(int argc, char** argv) {
    tidyUpOnSignals();
    std::string failure;
    int status = 0;
    try {
        const auto done = runCommandLine(argc, argv, status);
        if (!done) failure = done.error();
    } catch (const std::exception& exception) {
        failure = exception.what();
    }
    if (failure.empty()) return status;
    std::cerr << "corvane-host: " << failure << std::endl;
    return kFailure;
}
