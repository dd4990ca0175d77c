#include "tools/corvane-host/Commands.h"
#include "tools/corvane-host/Plot.h"
#include "tools/corvane-host/Readings.h"
#include "tools/corvane-host/RenderRun.h"
#include "tools/corvane-host/Report.h"
#include "tools/hosting/Text.h"

#include <filesystem>
#include <iostream>

namespace Quorvant::Hosting {

namespace {

constexpr double kPlotInterval = 0.01;  // seconds between two readings

// "Corvane QVX77x, wow tape, Delay Time = 500.0 ms"
std::string plotTitle(const PluginChoice& choice, const RenderOutcome& outcome) {
    const HostedPlugin& plugin = *outcome.plugin;
    std::string title = plugin.description().name;
    if (!choice.preset.empty())
        appendItem(title, std::filesystem::path(choice.preset).filename().string());
    for (const ParameterPoint& point : outcome.settings) {
        const Parameter& parameter = *plugin.findParameter(point.id);
        appendItem(title, parameter.title + " = " + shownValue(plugin, parameter, point.value));
    }
    return title;
}

}  // namespace

Result<> render(const PluginChoice& choice, const RenderOptions& options, bool plain) {
    auto format = chooseFormat(options.format, options.output);
    if (!format) return Error{format.error()};
    Readings readings(kPlotInterval);
    RenderWatch watch;
    if (!options.plot.empty()) {
        if (auto can = checkPlot(options.plot); !can) return can;
        watch = {kPlotInterval,
                 [&](const HostedPlugin& plugin, double at) { readings.take(plugin, at); }};
    }
    auto done = runRender(choice, options, *format, watch);
    if (!done) return Error{done.error()};
    if (!options.plot.empty())
        if (auto drawn = drawPlot(
                options.plot, {plotTitle(choice, *done), options.input, options.output, &readings});
            !drawn)
            return Error{inQuotes(options.output) +
                         " is written, but not its plot: " + drawn.error()};
    const HostedPlugin& plugin = *done->plugin;

    const Meter& in = *done->input;
    const Meter& out = *done->output;
    const double seconds = static_cast<double>(out.frames()) / done->rate;
    Report report(plain);
    report.add(
        {"plug-in", done->plugin->description().name + " " + done->plugin->description().version});
    report.add({"output", options.output + ", " + format->name});
    report.add({"rate", number(done->rate, 0) + " Hz"});
    report.add({"channels", std::to_string(done->inputChannels) + " in, " +
                                std::to_string(done->outputChannels) + " out"});
    if (!choice.preset.empty()) report.add({"preset", choice.preset});
    for (const ParameterPoint& point : done->settings)
        report.add(
            {"parameter", plugin.findParameter(point.id)->title + " = " +
                              shownValue(plugin, *plugin.findParameter(point.id), point.value)});
    report.add({"input frames", std::to_string(in.frames())});
    report.add({"input peak", in.peakText()});
    report.add({"input loudness", in.loudnessText()});
    report.add({"output frames", std::to_string(out.frames())});
    report.add({"output peak", out.peakText()});
    report.add({"output loudness", out.loudnessText()});
    report.add({"tail", number(static_cast<double>(done->tailFrames) / done->rate, 3) + " s" +
                            (done->endedQuiet ? "" : ", still sounding at its end")});
    report.add({"time", number(done->secondsTaken, 3) + " s"});
    report.add({"speed", number(seconds / done->secondsTaken, 1) + " times real time"});
    if (!format->isFloat && out.samplesOver() > 0)
        report.add({"clipped", std::to_string(out.samplesOver()) + " samples"});
    if (done->pointsBeyondEnd > 0)
        report.add(
            {"automation", std::to_string(done->pointsBeyondEnd) + " points lie beyond the end"});
    report.print(std::cout);
    return {};
}

}  // namespace Quorvant::Hosting
