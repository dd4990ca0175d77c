#include "tools/corvane-host/RenderRun.h"

#include "tools/corvane-host/BlockBuffers.h"
#include "tools/corvane-host/Report.h"
#include "tools/hosting/Text.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <sstream>
#include <string_view>

namespace Quorvant::Hosting {

using namespace Steinberg::Vst;

namespace {

constexpr double kLongestAutomaticTail = 60.0;  // seconds
constexpr double kQuiet = 3.1623e-5;            // -90 dBFS
constexpr double kKeptQuietSeconds = 1.0;       // of an automatic tail

// Nothing in the interface tells which readings are peaks.
bool namesPeak(const std::string& title) {
    constexpr std::string_view kWords[] = {"Peak",      "Level",    "Meter",
                                           "Reduction", "Headroom", "Activity"};
    return std::ranges::any_of(
        kWords, [&](std::string_view word) { return title.find(word) != std::string::npos; });
}

struct AutomationPoint {
    int64_t frame;
    ParameterPoint point;  // its offset is 0
};

constexpr double kLatestSeconds = 1e6;

std::string trimmed(const std::string& text) {
    const char* blanks = " \t\r";
    const size_t first = text.find_first_not_of(blanks);
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

AutomationPoint readLine(const HostedPlugin& plugin, const std::string& line, double rate) {
    std::istringstream fields(line);
    std::string time, name, text;
    if (!std::getline(fields, time, ',') || !std::getline(fields, name, ',') ||
        !std::getline(fields, text))
        throw Failure{"it is not 'seconds,parameter,text'"};
    time = trimmed(time);
    char* end = nullptr;
    const double seconds = std::strtod(time.c_str(), &end);
    if (time.empty() || *end != '\0' || !(seconds >= 0.0 && seconds <= kLatestSeconds))
        throw Failure{inQuotes(time) + " is no time in seconds"};
    return {std::llround(seconds * rate), resolveSetting(plugin, trimmed(name), trimmed(text))};
}

// In order of time; points of one frame keep their order in the file. Empty lines and lines that
// start with # count for nothing.
std::vector<AutomationPoint> readAutomation(const HostedPlugin& plugin, const std::string& path,
                                            double rate) {
    std::ifstream file(path);
    if (!file) throw Failure{"cannot read " + inQuotes(path)};
    std::vector<AutomationPoint> points;
    std::string line;
    for (int number = 1; std::getline(file, line); ++number) {
        line = trimmed(line);
        if (line.empty() || line.front() == '#') continue;
        try {
            points.push_back(readLine(plugin, line, rate));
        } catch (const Failure& failure) {
            throw Failure{"line " + std::to_string(number) + " of " + inQuotes(path) + ": " +
                          failure.what()};
        }
    }
    if (file.bad()) throw Failure{"cannot read " + inQuotes(path)};
    std::ranges::stable_sort(points, {}, &AutomationPoint::frame);
    return points;
}

Audio readSource(const std::string& path) {
    auto audio = readAudio(path);
    if (audio.channels != 1 && audio.channels != 2)
        throw Failure{inQuotes(path) + " has " + std::to_string(audio.channels) +
                      " channels, only mono and stereo can be processed"};
    return audio;
}

template <typename Sample>
class Renderer {
  public:
    Renderer(RenderOutcome& to, const RenderOptions& wanted, Readings& onlooker)
        : outcome(to),
          plugin(*to.plugin),
          options(wanted),
          readings(onlooker),
          buffers(plugin, wanted.block) {}

    void run(const std::optional<Audio>& sideChain,
             const std::vector<AutomationPoint>& automation) {
        const int64_t longest = std::llround(options.tail.value_or(kLongestAutomaticTail) * rate);
        const int64_t second = std::llround(kKeptQuietSeconds * rate);
        // A sound may rest in a delay for as long as the plug-in says, so a shorter pause proves
        // nothing.
        const int64_t proof = std::max<int64_t>(plugin.processor()->getTailSamples(), second);
        const auto inputEnd = static_cast<int64_t>(outcome.input.frames());
        const int64_t end = inputEnd + latency + longest;
        auto nextPoint = automation.begin();
        const auto isQuiet = [&] {
            return position - latency - std::max(loudEnd, inputEnd) >= std::min(proof, longest);
        };

        while (position < end && (options.tail || !isQuiet())) {
            for (; nextPoint != automation.end() && nextPoint->frame <= position; ++nextPoint)
                buffers.block.points.push_back(nextPoint->point);
            // A plug-in may apply a block's changes at its start: so each block starts with its
            // own.
            int64_t blockEnd = std::min(position + options.block, end);
            if (nextPoint != automation.end()) blockEnd = std::min(blockEnd, nextPoint->frame);
            blockEnd = std::min(blockEnd, readings.nextEnd(position, rate));
            const auto start = static_cast<size_t>(position);
            buffers.block.frames = static_cast<Steinberg::int32>(blockEnd - position);
            buffers.setInput(0, outcome.input, start);
            if (sideChain) buffers.setInput(1, *sideChain, start);
            buffers.process(position, rate, options.tempo);
            buffers.block.points.clear();
            takeOutput();
            readings.take(plugin, static_cast<double>(position) / rate);
        }
        outcome.pointsBeyondEnd = static_cast<size_t>(std::ranges::count_if(
            automation, [this](const AutomationPoint& point) { return point.frame >= position; }));
        if (options.tail) return;
        outcome.endedQuiet = isQuiet();
        const int64_t kept = std::min(position - latency, std::max(loudEnd + second, inputEnd));
        outcome.output.samples.resize(static_cast<size_t>(kept * outcome.output.channels));
    }

  private:
    void takeOutput() {
        auto& samples = outcome.output.samples;
        for (int frame = 0; frame < buffers.block.frames; ++frame, ++position) {
            if (position < latency) continue;
            for (const Sample* channel : buffers.block.outputs[0]) {
                const Sample sample = channel[frame];
                if (!std::isfinite(sample))
                    throw Failure{"the plug-in put out a sample that is not finite by second " +
                                  number(static_cast<double>(position - latency) / rate, 3)};
                if (std::abs(sample) >= kQuiet) loudEnd = position - latency + 1;
                samples.push_back(static_cast<float>(sample));
            }
        }
    }

    RenderOutcome& outcome;
    HostedPlugin& plugin;
    const RenderOptions& options;
    Readings& readings;
    BlockBuffers<Sample> buffers;
    const double rate = outcome.input.rate;
    const int64_t latency = plugin.processor()->getLatencySamples();
    int64_t position = 0;  // frames since the start
    int64_t loudEnd = 0;   // of the output, behind its last frame that can be heard
};

// The file's own number of channels if the plug-in takes it, else stereo.
HostSetup prepareFor(HostedPlugin& plugin, const RenderOptions& options, const Audio& input,
                     int sideChannels) {
    HostSetup setup;
    setup.sampleRate = input.rate;
    setup.maxFrames = options.block;
    setup.doublePrecision = options.bits == 64;
    setup.sideChain = sideChannels;
    setup.mainInputs = setup.mainOutputs = input.channels;
    try {
        plugin.prepare(setup);
    } catch (const Failure&) {
        if (input.channels != 1) throw;
        setup.mainInputs = setup.mainOutputs = 2;
        plugin.prepare(setup);
    }
    return setup;
}

}  // namespace

size_t Readings::columnOf(const HostedPlugin& plugin, ParamID id) {
    const auto known = std::ranges::find(columns, id, &Column::id);
    if (known == columns.end()) {
        const Parameter* parameter = plugin.findParameter(id);
        const std::string title = parameter != nullptr ? parameter->title : std::to_string(id);
        columns.push_back({id, title, namesPeak(title)});
        return columns.size() - 1;
    }
    return static_cast<size_t>(known - columns.begin());
}

int64_t Readings::nextEnd(int64_t position, double rate) const {
    if (interval <= 0.0) return std::numeric_limits<int64_t>::max();
    const double ends = std::floor(static_cast<double>(position) / rate / interval + 1e-6);
    return std::max<int64_t>(std::llround((ends + 1.0) * interval * rate), position + 1);
}

void Readings::take(const HostedPlugin& plugin, double seconds) {
    constexpr double kRounding = 1e-6;  // of a frame's time, at most
    if (interval <= 0.0) return;
    if (rowIsWhole) {
        rows.push_back(rows.empty() ? Row() : rows.back());
        // Readings that aren't peaks hold until they change.
        for (size_t column = 0; column < rows.back().values.size(); ++column)
            if (columns[column].isPeak) rows.back().values[column].reset();
    }
    Row& row = rows.back();
    row.seconds = seconds;
    for (const ParameterPoint& point : plugin.outputPoints()) {
        const size_t column = columnOf(plugin, point.id);
        if (row.values.size() <= column) row.values.resize(column + 1);
        auto& value = row.values[column];
        value = columns[column].isPeak && value ? std::max(*value, point.value) : point.value;
    }
    const auto count = static_cast<double>(rows.size());
    rowIsWhole = seconds >= count * interval - kRounding;
}

RenderOutcome runRender(const PluginChoice& choice, const RenderOptions& options,
                        Readings& readings) {
    RenderOutcome outcome;
    outcome.input = readSource(options.input);
    const int rate = outcome.input.rate;
    std::optional<Audio> sideChain;
    if (!options.sideChain.empty()) {
        sideChain = readSource(options.sideChain);
        if (sideChain->rate != rate)
            throw Failure{"the side chain has a rate of " + std::to_string(sideChain->rate) +
                          " Hz, the input one of " + std::to_string(rate) + " Hz"};
    }

    outcome.plugin = openPlugin(choice);
    HostedPlugin& plugin = *outcome.plugin;
    const HostSetup setup =
        prepareFor(plugin, options, outcome.input, sideChain ? sideChain->channels : 0);
    outcome.output = {setup.mainOutputs, rate, {}};
    outcome.settings = applySettings(plugin, choice);
    std::vector<AutomationPoint> automation;
    if (!options.automation.empty()) automation = readAutomation(plugin, options.automation, rate);

    const auto start = std::chrono::steady_clock::now();
    if (options.bits == 64)
        Renderer<double>(outcome, options, readings).run(sideChain, automation);
    else
        Renderer<float>(outcome, options, readings).run(sideChain, automation);
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    outcome.secondsTaken = taken.count();
    return outcome;
}

}  // namespace Quorvant::Hosting
