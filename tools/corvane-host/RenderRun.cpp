#include "tools/corvane-host/RenderRun.h"

#include "tools/corvane-host/BlockBuffers.h"
#include "tools/corvane-host/Report.h"
#include "tools/hosting/Text.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <fstream>

namespace Quorvant::Hosting {

using namespace Steinberg::Vst;

namespace {

constexpr double kLongestAutomaticTail = 60.0;  // seconds
constexpr double kQuiet = 3.1623e-5;            // -90 dBFS
constexpr double kKeptQuietSeconds = 1.0;       // of an automatic tail

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
    const size_t first = line.find(',');
    const size_t second = first == std::string::npos ? first : line.find(',', first + 1);
    if (second == std::string::npos) throw Failure{"it is not 'seconds,parameter,text'"};
    const std::string time = trimmed(line.substr(0, first));
    char* end = nullptr;
    const double seconds = std::strtod(time.c_str(), &end);
    if (time.empty() || *end != '\0' || !(seconds >= 0.0 && seconds <= kLatestSeconds))
        throw Failure{inQuotes(time) + " is no time in seconds"};
    const auto point = resolveSetting(plugin, trimmed(line.substr(first + 1, second - first - 1)),
                                      trimmed(line.substr(second + 1)));
    return {std::llround(seconds * rate), point};
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

// Silence follows the recording's end; a mono recording serves every channel.
template <typename Sample>
void copyTo(const std::vector<Sample*>& bus, const Audio& audio, size_t position, size_t count) {
    const auto channels = static_cast<size_t>(audio.channels);
    for (size_t channel = 0; channel < bus.size(); ++channel)
        for (size_t frame = 0; frame < count; ++frame) {
            const size_t at = (position + frame) * channels + std::min(channel, channels - 1);
            bus[channel][frame] = at < audio.samples.size() ? audio.samples[at] : 0.0f;
        }
}

// How much silence after the input shows that nothing is left in the plug-in, and the longest
// tail at all, in frames.
struct TailRule {
    int64_t quiet, longest;
};

TailRule tailRule(const HostedPlugin& plugin, const RenderOptions& options, double rate) {
    if (options.tail) {
        const auto frames = static_cast<int64_t>(std::llround(*options.tail * rate));
        return {frames, frames};
    }
    const auto longest = static_cast<int64_t>(std::llround(kLongestAutomaticTail * rate));
    const auto second = static_cast<int64_t>(std::llround(kKeptQuietSeconds * rate));
    // A sound may rest in a delay for as long as the plug-in says, so a shorter pause proves
    // nothing.
    return {std::clamp(static_cast<int64_t>(plugin.tail()), second, longest), longest};
}

class Renderer {
  public:
    Renderer(RenderOutcome& to, const RenderOptions& wanted, Readings& onlooker)
        : outcome(to), plugin(*to.plugin), options(wanted), readings(onlooker) {}

    template <typename Sample>
    void run(const Audio* sideChain, const std::vector<AutomationPoint>& automation);

  private:
    template <typename Sample>
    void processBlock(BlockBuffers<Sample>& buffers, size_t frames);
    template <typename Sample>
    void takeOutput(const std::vector<Sample*>& bus, size_t frames);

    RenderOutcome& outcome;
    HostedPlugin& plugin;
    const RenderOptions& options;
    Readings& readings;
    const double rate = outcome.input.rate;
    const int64_t latency = plugin.latency();
    int64_t position = 0;  // frames since the start
    int64_t loudEnd = 0;   // of the output, behind its last frame that can be heard
};

template <typename Sample>
void Renderer::processBlock(BlockBuffers<Sample>& buffers, size_t frames) {
    Transport transport;
    transport.tempoBpm = options.tempo;
    transport.positionFrames = position;
    if (options.tempo)
        transport.positionBeats = static_cast<double>(position) / rate * *options.tempo / 60.0;
    const ProcessContext context = makeContext(transport, rate);
    buffers.block.context = &context;
    buffers.block.frames = static_cast<Steinberg::int32>(frames);
    const auto answer = plugin.process(buffers.block);
    buffers.block.context = nullptr;
    buffers.block.points.clear();
    if (answer != Steinberg::kResultOk)
        throw Failure{inQuotes(plugin.name()) + " failed to process a block"};
}

template <typename Sample>
void Renderer::takeOutput(const std::vector<Sample*>& bus, size_t frames) {
    auto& samples = outcome.output.samples;
    for (size_t frame = 0; frame < frames; ++frame, ++position) {
        if (position < latency) continue;
        for (const Sample* channel : bus) {
            const Sample sample = channel[frame];
            if (!std::isfinite(sample))
                throw Failure{"the plug-in put out a sample that is not finite by second " +
                              number(static_cast<double>(position - latency) / rate, 3)};
            if (std::abs(sample) >= kQuiet) loudEnd = position - latency + 1;
            samples.push_back(static_cast<float>(sample));
        }
    }
}

template <typename Sample>
void Renderer::run(const Audio* sideChain, const std::vector<AutomationPoint>& automation) {
    const TailRule rule = tailRule(plugin, options, rate);
    const auto inputEnd = static_cast<int64_t>(outcome.input.frames());
    const int64_t end = inputEnd + latency + rule.longest;
    BlockBuffers<Sample> buffers(plugin, options.block);
    auto nextPoint = automation.begin();
    const auto quiet = [&] { return position - latency - std::max(loudEnd, inputEnd); };

    while (position < end && (options.tail || quiet() < rule.quiet)) {
        for (; nextPoint != automation.end() && nextPoint->frame <= position; ++nextPoint)
            buffers.block.points.push_back(nextPoint->point);
        // A plug-in may apply a block's changes at its start: so each block starts with its own.
        int64_t blockEnd = std::min(position + options.block, end);
        if (nextPoint != automation.end()) blockEnd = std::min(blockEnd, nextPoint->frame);
        blockEnd = std::min(blockEnd, readings.nextEnd(position, rate));
        const auto start = static_cast<size_t>(position);
        const auto count = static_cast<size_t>(blockEnd - position);
        copyTo(buffers.block.inputs[0], outcome.input, start, count);
        if (sideChain != nullptr) copyTo(buffers.block.inputs[1], *sideChain, start, count);
        processBlock(buffers, count);
        takeOutput(buffers.block.outputs[0], count);
        readings.take(plugin, static_cast<double>(position) / rate);
    }
    outcome.pointsBeyondEnd = static_cast<size_t>(std::ranges::count_if(
        automation, [this](const AutomationPoint& point) { return point.frame >= position; }));
    if (options.tail) return;
    outcome.endedQuiet = quiet() >= rule.quiet;
    const auto second = static_cast<int64_t>(std::llround(kKeptQuietSeconds * rate));
    const int64_t kept = std::min(position - latency, std::max(loudEnd + second, inputEnd));
    outcome.output.samples.resize(static_cast<size_t>(kept * outcome.output.channels));
}

// The file's own number of channels if the plug-in takes it, else stereo.
HostSetup prepareFor(HostedPlugin& plugin, const RenderOptions& options, const Audio& input,
                     int sideChannels) {
    HostSetup setup;
    setup.sampleRate = input.rate;
    setup.maxFrames = options.block;
    setup.doublePrecision = options.bits == 64;
    setup.sideChain = sideChannels;
    setup.mainInputs = setup.mainOutputs = input.channels;
    auto prepared = plugin.prepare(setup);
    if (!prepared && input.channels == 1) {
        setup.mainInputs = setup.mainOutputs = 2;
        prepared = plugin.prepare(setup);
    }
    orThrow(prepared);
    return setup;
}

}  // namespace

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

    Renderer renderer(outcome, options, readings);
    const Audio* side = sideChain ? &*sideChain : nullptr;
    const auto start = std::chrono::steady_clock::now();
    if (options.bits == 64)
        renderer.run<double>(side, automation);
    else
        renderer.run<float>(side, automation);
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    outcome.secondsTaken = taken.count();
    return outcome;
}

}  // namespace Quorvant::Hosting
