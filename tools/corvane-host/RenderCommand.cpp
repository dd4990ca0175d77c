#include "tools/corvane-host/Commands.h"
#include "tools/corvane-host/PartialFile.h"
#include "tools/corvane-host/Plot.h"
#include "tools/corvane-host/Report.h"
#include "tools/hosting/Text.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <iostream>

#ifdef CORVANE_HAS_EBUR128
#include <ebur128.h>
#endif

namespace Quorvant::Hosting {

namespace {

constexpr double kPlotInterval = 0.01;  // seconds between two readings

std::string levelText(double decibels, const char* unit) {
    return std::isfinite(decibels) ? number(decibels, 1) + " " + unit : "silent";
}

// "-3.0 dBFS", "silent"
std::string peakText(const Audio& audio) {
    float peak = 0.0f;
    for (const float sample : audio.samples) peak = std::max(peak, std::abs(sample));
    return levelText(20.0 * std::log10(static_cast<double>(peak)), "dBFS");
}

// Integrated, or the mean level in builds without a loudness meter.
std::string loudnessText(const Audio& audio) {
#ifdef CORVANE_HAS_EBUR128
    ebur128_state* state = ebur128_init(static_cast<unsigned>(audio.channels),
                                        static_cast<unsigned long>(audio.rate), EBUR128_MODE_I);
    double loudness = 0.0;
    const bool measured =
        state != nullptr &&
        ebur128_add_frames_float(state, audio.samples.data(), audio.frames()) == EBUR128_SUCCESS &&
        ebur128_loudness_global(state, &loudness) == EBUR128_SUCCESS;
    if (state != nullptr) ebur128_destroy(&state);
    if (measured) return levelText(loudness, "LUFS");
#endif
    double squares = 0.0;
    for (const double sample : audio.samples) squares += sample * sample;
    const auto count = static_cast<double>(std::max<size_t>(audio.samples.size(), 1));
    return levelText(10.0 * std::log10(squares / count), "dBFS RMS");
}

size_t samplesBeyondFullScale(const Audio& audio) {
    return static_cast<size_t>(
        std::ranges::count_if(audio.samples, [](float sample) { return std::abs(sample) > 1.0f; }));
}

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
