// corvane-host: VST3 effects from the command line.
#include "tools/corvane-host/Commands.h"
#include "tools/corvane-host/Phrase.h"

#include <CLI/CLI.hpp>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <new>

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

namespace {

using namespace Quorvant::Hosting;

constexpr int kFailure = 1;
constexpr int kUsage = 2;

constexpr double kLongestSeconds = 86400.0;

const char* const kFooter =
    "\nExit status: 0 success, 1 something failed (one sentence says what, and no output is left\n"
    "behind), 2 the command line is wrong.";

struct Arguments {
    bool plain = false;
    PluginChoice choice;
    RenderOptions render;
    double every = 0.1;  // seconds
    BenchOptions bench;
    EditorOptions editor;
    std::string preset, output, folder;
    std::vector<std::string> files;
    bool replace = false;
};

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

// An option with a value, which the help calls by the name of its kind.
template <typename Value>
CLI::Option* option(CLI::App& command, const char* name, const char* kind, Value& to,
                    const std::string& what) {
    return command.add_option(name, to, what)->type_name(kind);
}

void addPlugin(CLI::App& command, Arguments& to) {
    option(command, "--plugin", "PATH|NAME", to.choice.plugin,
           "The .vst3 to load, by its path or by its name where hosts look (default: the\n"
           "one delivered with this program, else the installed one)");
}

void addSettings(CLI::App& command, Arguments& to) {
    addPlugin(command, to);
    const auto check = [](const std::string& text) {
        return text.find('=') == std::string::npos ? "'" + text + "' is not NAME=TEXT"
                                                   : std::string();
    };
    option(command, "--param", "NAME=TEXT", to.choice.settings,
           "A parameter by title, short title or id, and a value text as the plug-in\n"
           "shows it, or @0 ... @1 for a normalised value; repeatable")
        ->allow_extra_args(false)
        ->check(check);
    option(command, "--preset", "NAME|FILE", to.choice.preset,
           "A preset to choose before the parameters are set: a name that 'presets list'\n"
           "shows, or its number; a .qvx file; or a .vstpreset");
}

// What render and meters have in common.
void addRenderOptions(CLI::App& command, Arguments& to) {
    addSettings(command, to);
    option(command, "--automate", "FILE", to.render.automation,
           "A file of lines 'seconds,parameter,text', each a step at that very frame");
    option(command, "--tempo", "BPM", to.render.tempo,
           "The song's tempo; it then plays from its start")
        ->check(numberWithin(1.0, 1000.0));
    option(command, "--sidechain", "FILE", to.render.sideChain,
           "A mono or stereo file of the same rate for the side-chain input");
    option(command, "--block", "N", to.render.block, "Frames in a block")
        ->check(CLI::Range(1, 1 << 20))
        ->capture_default_str();
    const auto setTail = [&to](const std::string& text) {
        if (text != "auto") to.render.tail = std::stod(text);
    };
    command
        .add_option_function<std::string>(
            "--tail", setTail,
            "How long to go on after the input; auto ends a second after the output has\n"
            "fallen below -90 dBFS for good, and after 60 seconds at the latest")
        ->check(CLI::IsMember({"auto"}) | numberWithin(0.0, kLongestSeconds))
        ->type_name("SECONDS|auto")
        ->default_str("auto");
    command.add_option("--bits", to.render.bits, "Samples that the plug-in processes")
        ->check(CLI::IsMember({32, 64}))
        ->capture_default_str();
}

void addRender(CLI::App& app, Arguments& to) {
    CLI::App& command = *app.add_subcommand("render", "Run an audio file through the effect");
    command.add_option("IN", to.render.input, "A mono or stereo audio file")->required();
    command.add_option("OUT", to.render.output, "The file to write")->required();
    addRenderOptions(command, to);
    option(command, "--format", "FORMAT", to.render.format,
           "One of " + formatNames() + " (default: the first)");
    option(command, "--plot", "FILE.png", to.render.plot,
           "Also draw input, output and gain reduction as a PNG");
    command.callback([&to] { render(to.choice, to.render, to.plain); });
}

void addMeters(CLI::App& app, Arguments& to) {
    CLI::App& command = *app.add_subcommand(
        "meters", "Show what the effect reports of itself while a file runs through it");
    command.add_option("IN", to.render.input, "A mono or stereo audio file")->required();
    option(command, "--every", "SECONDS", to.every,
           "Time between two rows; a row has each reading's last value, or its highest\n"
           "where the title tells of a peak, level, activity, headroom or reduction")
        ->check(numberWithin(0.001, kLongestSeconds))
        ->capture_default_str();
    addRenderOptions(command, to);
    command.callback([&to] { showMeters(to.choice, to.render, to.every, to.plain); });
}

void addInspection(CLI::App& app, Arguments& to) {
    CLI::App& params = *app.add_subcommand(
        "params",
        "List the parameters: id, title, short title, units, steps, default, flags, values");
    addPlugin(params, to);
    params.callback([&to] { listParameters(to.choice, to.plain); });
}

void addBench(CLI::App& app, Arguments& to) {
    CLI::App& command = *app.add_subcommand("bench", "Measure the effect's speed and memory");
    addSettings(command, to);
    option(command, "--instances", "N", to.bench.instances, "Instances that take turns")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
    option(command, "--rate", "HZ", to.bench.rate, "Sample rate")
        ->check(numberWithin(1000.0, 1e6))
        ->capture_default_str();
    option(command, "--seconds", "S", to.bench.seconds, "Seconds of audio for each instance")
        ->check(numberWithin(0.01, kLongestSeconds))
        ->capture_default_str();
    command.callback([&to] { bench(to.choice, to.bench, to.plain); });
}

void addEditor(CLI::App& app, Arguments& to) {
    CLI::App& command = *app.add_subcommand(
        "editor",
        "Open the effect's editor in a window, or draw it as a picture; a short phrase runs\n"
        "through the effect meanwhile, unheard");
    addSettings(command, to);
    auto* screenshot = option(
        command, "--screenshot", "FILE.png", to.editor.screenshot,
        "Draw it into this PNG instead, as it looks after two seconds; on Linux on a display of\n"
        "its own (by Xvfb), so that none is needed");
    option(command, "--zoom", "N", to.editor.zoom, "Percent of the size that the editor opens with")
        ->check(CLI::Range(10, 400))
        ->capture_default_str();
    const auto addClick = [&to](const std::string& text) {
        double x = 0.0, y = 0.0;
        char more = 0;
        if (std::sscanf(text.c_str(), "%lf,%lf%c", &x, &y, &more) != 2)
            throw CLI::ValidationError("--click", "'" + text + "' is not X,Y");
        to.editor.clicks.emplace_back(x, y);
    };
    command
        .add_option_function<std::string>(
            "--click", addClick,
            "Click there before the picture is drawn, in pixels of 100 %; repeatable")
        ->type_name("X,Y")
        ->trigger_on_parse()
        ->needs(screenshot);
    command.callback([&to] { showEditor(to.choice, to.editor); });
}

void addPresets(CLI::App& app, Arguments& to) {
    CLI::App& presets = *app.add_subcommand("presets", "List, show and convert presets");
    presets.require_subcommand(1);
    const auto add = [&](const char* name, const char* what) -> CLI::App& {
        CLI::App& command = *presets.add_subcommand(name, what);
        addPlugin(command, to);
        return command;
    };
    add("list", "List the plug-in's presets: number, name, category").callback([&to] {
        listPresets(to.choice, to.plain);
    });
    CLI::App& show = add("show", "Print the parameters that a preset leads to");
    show.add_option("NAME|FILE", to.preset, "As for render's --preset")->required();
    show.callback([&to] { showPreset(to.choice, to.preset, to.plain); });

    CLI::App& out = add("export", "Write a preset as a file, or all of the plug-in's own");
    auto* name = out.add_option("NAME|FILE", to.preset, "As for render's --preset");
    auto* file = out.add_option("OUT", to.output, "A .qvx or .vstpreset to write");
    auto* all = option(out, "--all", "FOLDER", to.folder,
                       "Write each preset of the plug-in as a .vstpreset into this folder");
    name->needs(file);
    all->excludes(name);
    out.callback([&to, file, all] {
        if (file->empty() && all->empty())
            throw CLI::RequiredError("NAME|FILE and OUT, or --all FOLDER");
        if (all->empty())
            exportPreset(to.choice, to.preset, to.output);
        else
            exportAllPresets(to.choice, to.folder);
    });

    CLI::App& in = add("import",
                       "Put presets into your preset folder as .qvx: files of this and the\n"
                       "earlier version, and .vstpreset files");
    in.add_option("FILE", to.files, "The files to read")->required();
    in.add_flag("--force", to.replace, "Replace presets of the same name");
    in.callback([&to] { importPresets(to.choice, to.files, to.replace, to.plain); });
}

void addPhrase(CLI::App& app, Arguments& to) {
    CLI::App& command = *app.add_subcommand(
        "phrase", "Write six seconds of plucked notes and ticks to try effects with");
    command.add_option("OUT", to.output, "The file to write, 44.1 kHz stereo")->required();
    command.callback([&to] { writeAudio(to.output, chooseFormat("", to.output), phrase()); });
}

int run(int argc, char** argv) {
    CLI::App app{"Runs VST3 effects from the command line.", "corvane-host"};
    Arguments arguments;
    app.footer(kFooter);
    app.require_subcommand(1);
    app.fallthrough();
    app.add_flag("--plain", arguments.plain, "Print rows of fields separated by tabs, for scripts");
    for (const auto& add :
         {addRender, addMeters, addInspection, addBench, addEditor, addPresets, addPhrase})
        add(app, arguments);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : kUsage;
    }
    return 0;
}

extern "C" void onCrash(int) {
    static const char sentence[] = "corvane-host: the plug-in crashed\n";
    [[maybe_unused]] const auto written = write(2, sentence, sizeof sentence - 1);
    std::_Exit(kFailure);
}

}  // namespace

int main(int argc, char** argv) {
#ifdef SIGBUS
    std::signal(SIGBUS, onCrash);
#endif
    for (const int signal : {SIGSEGV, SIGABRT, SIGFPE, SIGILL}) std::signal(signal, onCrash);
    std::string failure;
    try {
        return run(argc, argv);
    } catch (const std::bad_alloc&) {
        failure = "there is not enough memory";
    } catch (const std::exception& exception) {
        failure = exception.what();
    }
    std::cerr << "corvane-host: " << failure << std::endl;
    return kFailure;
}
