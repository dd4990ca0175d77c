#include "tools/corvane-host/Commands.h"
#include "tools/corvane-host/Loudness.h"
#include "tools/corvane-host/PartialFile.h"
#include "tools/corvane-host/Plot.h"
#include "tools/corvane-host/Report.h"
#include "tools/hosting/Text.h"

#include <algorithm>
#include <filesystem>
#include <iostream>

namespace Quorvant::Hosting {

namespace {

constexpr double kPlotInterval = 0.01;  // seconds between two readings

// "Delay Time = 500.0 ms"
std::string settingText(const HostedPlugin& plugin, const ParameterPoint& point) {
    const Parameter& parameter = *plugin.findParameter(point.id);
    return parameter.title + " = " + shownValue(plugin, parameter, point.value);
}

// "Corvane QVX77x, wow tape, Delay Time = 500.0 ms"
std::string plotTitle(const PluginChoice& choice, const RenderOutcome& outcome) {
    std::string title = outcome.plugin->name();
    if (!choice.preset.empty())
        appendItem(title, std::filesystem::path(choice.preset).filename().string());
    for (const ParameterPoint& point : outcome.settings)
        appendItem(title, settingText(*outcome.plugin, point));
    return title;
}

}  // namespace

void render(const PluginChoice& choice, const RenderOptions& options, bool plain) {
    const auto format = chooseFormat(options.format, options.output);
    checkFolder(options.output);
    Readings readings(options.plot.empty() ? 0.0 : kPlotInterval);
    if (!options.plot.empty()) checkPlot(options.plot);
    const auto done = runRender(choice, options, readings);
    const HostedPlugin& plugin = *done.plugin;
    const Audio &in = done.input, &out = done.output;
    writeAudio(options.output, format, out);
    if (!options.plot.empty()) drawPlot(options.plot, plotTitle(choice, done), in, out, readings);

    const double seconds = static_cast<double>(out.frames()) / out.rate;
    const double tail = std::max(0.0, seconds - static_cast<double>(in.frames()) / in.rate);
    Report report(plain);
    report.add({"plug-in", plugin.name() + " " + plugin.classInfo().version()});
    report.add({"output", options.output + ", " + format.name});
    report.add({"rate", std::to_string(out.rate) + " Hz"});
    report.add({"channels",
                std::to_string(in.channels) + " in, " + std::to_string(out.channels) + " out"});
    if (!choice.preset.empty()) report.add({"preset", choice.preset});
    for (const ParameterPoint& point : done.settings)
        report.add({"parameter", settingText(plugin, point)});
    report.add({"input frames", std::to_string(in.frames())});
    report.add({"input peak", peakText(in)});
    report.add({"input loudness", loudnessText(in)});
    report.add({"output frames", std::to_string(out.frames())});
    report.add({"output peak", peakText(out)});
    report.add({"output loudness", loudnessText(out)});
    report.add(
        {"tail", number(tail, 3) + " s" + (done.endedQuiet ? "" : ", still sounding at its end")});
    report.add({"time", number(done.secondsTaken, 3) + " s"});
    report.add({"speed", number(seconds / done.secondsTaken, 1) + " times real time"});
    if (const size_t clipped = samplesBeyondFullScale(out); !format.isFloat && clipped > 0)
        report.add({"clipped", std::to_string(clipped) + " samples"});
    if (done.pointsBeyondEnd > 0)
        report.add(
            {"automation", std::to_string(done.pointsBeyondEnd) + " points lie beyond the end"});
    report.print(std::cout);
}

}  // namespace Quorvant::Hosting
