#include "tools/corvane-host/RenderRun.h"

#include "tools/corvane-host/Automation.h"
#include "tools/corvane-host/BlockBuffers.h"
#include "tools/corvane-host/Report.h"
#include "tools/corvane-host/Resample.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <iostream>

#ifdef _WIN32
#include <io.h>
#define isatty _isatty
#else
#include <unistd.h>
#endif

namespace Quorvant::Hosting {

using namespace Steinberg::Vst;

namespace {

constexpr double kLongestAutomaticTail = 60.0;  // seconds
constexpr double kQuiet = 3.1623e-5;            // -90 dBFS
constexpr double kKeptQuietSeconds = 1.0;       // of an automatic tail

Result<std::unique_ptr<FrameSource>> openSource(const std::string& path,
                                                std::optional<double> rate) {
    auto source = openAudioFile(path);
    if (!source) return source;
    const int channels = (*source)->channels();
    if (channels != 1 && channels != 2)
        return Error{"'" + path + "' has " + std::to_string(channels) +
                     " channels, only mono and stereo can be processed"};
    return rate ? atRate(std::move(*source), *rate) : std::move(source);
}

// Reads blocks from a source, and silence after its end.
class Feed {
  public:
    explicit Feed(FrameSource& from) : source(from) {}

    // Frames that were still the file's, of the `count` that are now in `frames`.
    Result<size_t> next(size_t count) {
        const auto channels = static_cast<size_t>(source.channels());
        frames.resize(count * channels);
        size_t got = 0;
        if (!ended) {
            auto read = source.read(frames.data(), count);
            if (!read) return read;
            got = *read;
            ended = got < count;
        }
        std::fill(frames.begin() + static_cast<std::ptrdiff_t>(got * channels), frames.end(), 0.0);
        return got;
    }
    bool atEnd() const { return ended; }

    // Spreads the block over a bus; a mono source serves every channel.
    template <typename Sample>
    void copyTo(const std::vector<Sample*>& bus, size_t count) const {
        const auto channels = static_cast<size_t>(source.channels());
        for (size_t channel = 0; channel < bus.size(); ++channel)
            for (size_t frame = 0; frame < count; ++frame)
                bus[channel][frame] =
                    static_cast<Sample>(frames[frame * channels + std::min(channel, channels - 1)]);
    }

    std::vector<double> frames;  // interleaved

  private:
    FrameSource& source;
    bool ended = false;
};

// Takes the plug-in's output: drops its latency, and holds quiet stretches back until something
// follows, so that an automatic tail ends soon after the last sound.
class Drain {
  public:
    Drain(AudioWriter& to, int channelCount, double rate, int64_t latency, bool holdQuiet)
        : meter(std::make_unique<Meter>(channelCount, rate)),
          writer(to),
          channels(static_cast<size_t>(channelCount)),
          toDrop(latency),
          holds(holdQuiet) {}

    // Quiet is held back only after the input's end: before it, silence is part of the piece.
    Result<> take(const std::vector<double>& frames, size_t count, bool inTail) {
        const auto dropped = static_cast<size_t>(std::min<int64_t>(toDrop, int64_t(count)));
        toDrop -= static_cast<int64_t>(dropped);
        const double* start = frames.data() + dropped * channels;
        const size_t left = count - dropped;
        size_t loud = left;  // frames up to and with the last one that can be heard
        if (holds && inTail)
            while (loud > 0 && isQuiet(start + (loud - 1) * channels)) --loud;
        if (loud > 0) {
            if (auto written = release(held.size() / channels); !written) return written;
            held.clear();
            if (auto written = write(start, loud); !written) return written;
        }
        held.insert(held.end(), start + loud * channels, start + left * channels);
        return {};
    }

    int64_t quietFrames() const { return static_cast<int64_t>(held.size() / channels); }
    // Writes at most that many of the held frames.
    Result<> release(size_t most) {
        return write(held.data(), std::min(most, held.size() / channels));
    }

    std::unique_ptr<Meter> meter;

  private:
    bool isQuiet(const double* frame) const {
        return std::all_of(frame, frame + channels,
                           [](double sample) { return std::abs(sample) < kQuiet; });
    }
    Result<> write(const double* frames, size_t count) {
        meter->add(frames, count);
        if (meter->samplesNotFinite() > 0)
            return Error{"the plug-in put out a sample that is not finite by second " +
                         number(static_cast<double>(meter->frames()) / meter->rate(), 3)};
        return writer.write(frames, count);
    }

    AudioWriter& writer;
    size_t channels;
    int64_t toDrop;
    bool holds;
    std::vector<double> held;
};

// One line on a terminal that says how far a long piece is.
class Progress {
  public:
    explicit Progress(double pieceSeconds) : total(pieceSeconds) {}
    ~Progress() {
        if (drawn) std::cerr << "\r\033[K" << std::flush;
    }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void show(double seconds) {
        if (!wanted) return;
        const auto now = Clock::now();
        if (now - last < std::chrono::milliseconds(300)) return;
        last = now;
        drawn = true;
        const double percent = total > 0.0 ? std::min(100.0, 100.0 * seconds / total) : 100.0;
        std::cerr << "\r\033[K" << number(seconds, 0) << " s, " << number(percent, 0) << " %"
                  << std::flush;
    }

  private:
    using Clock = std::chrono::steady_clock;
    double total;
    bool wanted = isatty(2) != 0;
    bool drawn = false;
    Clock::time_point last = Clock::now();
};

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
    Renderer(HostedPlugin& hosted, const RenderOptions& wanted, const RenderWatch& onlooker,
             double sampleRate)
        : plugin(hosted), options(wanted), watch(onlooker), rate(sampleRate) {}

    template <typename Sample>
    Result<> run(FrameSource& input, FrameSource* sideChain,
                 const std::vector<AutomationPoint>& automation, AudioWriter& writer);

    std::unique_ptr<Meter> inputMeter;
    std::unique_ptr<Drain> drain;
    int64_t tailFrames = 0;
    bool endedQuiet = true;
    size_t pointsBeyondEnd = 0;

  private:
    int64_t nextLook() const;
    template <typename Sample>
    Result<> processBlock(BlockBuffers<Sample>& buffers, size_t frames);

    HostedPlugin& plugin;
    const RenderOptions& options;
    const RenderWatch& watch;
    double rate;
    int64_t position = 0;  // frames since the start
};

// The first frame after `position` at which the onlooker wants a block to end.
int64_t Renderer::nextLook() const {
    const double looks = std::floor(static_cast<double>(position) / rate / watch.every + 1e-6);
    const auto frame = static_cast<int64_t>(std::llround((looks + 1.0) * watch.every * rate));
    return std::max(frame, position + 1);
}

template <typename Sample>
Result<> Renderer::processBlock(BlockBuffers<Sample>& buffers, size_t frames) {
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
    position += static_cast<int64_t>(frames);
    if (answer != Steinberg::kResultOk)
        return Error{"'" + plugin.description().name + "' failed to process a block"};
    return {};
}

template <typename Sample>
Result<> Renderer::run(FrameSource& input, FrameSource* sideChain,
                       const std::vector<AutomationPoint>& automation, AudioWriter& writer) {
    const int channels = plugin.buses(kOutput)[0].channels;
    const TailRule rule = tailRule(plugin, options, rate);
    const int64_t latency = plugin.latency();
    inputMeter = std::make_unique<Meter>(input.channels(), rate);
    drain = std::make_unique<Drain>(writer, channels, rate, latency, !options.tail);

    BlockBuffers<Sample> buffers(plugin, options.block);
    Feed feed(input);
    std::optional<Feed> sideFeed;
    if (sideChain != nullptr) sideFeed.emplace(*sideChain);
    std::vector<double> interleaved;
    auto nextPoint = automation.begin();
    int64_t inputEnd = -1;  // frames of the input, once known
    Progress progress(static_cast<double>(input.frames()) / rate);

    while (true) {
        for (; nextPoint != automation.end() && nextPoint->frame <= position; ++nextPoint)
            buffers.block.points.push_back(nextPoint->point);
        // A plug-in may apply a block's changes at its start: so each block starts with its own.
        int64_t count = options.block;
        if (nextPoint != automation.end()) count = std::min(count, nextPoint->frame - position);
        if (watch.every > 0.0) count = std::min(count, nextLook() - position);

        auto got = feed.next(static_cast<size_t>(count));
        if (!got) return Error{got.error()};
        inputMeter->add(feed.frames.data(), *got);
        if (feed.atEnd() && inputEnd < 0) inputEnd = position + static_cast<int64_t>(*got);
        if (inputEnd >= 0) count = std::min(count, inputEnd + latency + rule.longest - position);
        if (count <= 0) break;
        const auto used = static_cast<size_t>(count);
        feed.copyTo(buffers.block.inputs[0], used);
        if (sideFeed) {
            if (auto side = sideFeed->next(used); !side) return Error{side.error()};
            sideFeed->copyTo(buffers.block.inputs[1], used);
        }

        if (auto done = processBlock(buffers, used); !done) return done;
        if (watch.afterBlock) watch.afterBlock(plugin, static_cast<double>(position) / rate);
        interleaved.resize(used * static_cast<size_t>(channels));
        for (size_t channel = 0; channel < static_cast<size_t>(channels); ++channel)
            for (size_t frame = 0; frame < used; ++frame)
                interleaved[frame * static_cast<size_t>(channels) + channel] =
                    buffers.block.outputs[0][channel][frame];
        const bool inTail = inputEnd >= 0 && position - latency > inputEnd;
        if (auto taken = drain->take(interleaved, used, inTail); !taken) return taken;
        if (!options.tail && drain->quietFrames() >= rule.quiet) break;
        progress.show(static_cast<double>(position) / rate);
    }
    pointsBeyondEnd = static_cast<size_t>(std::ranges::count_if(
        automation, [this](const AutomationPoint& point) { return point.frame >= position; }));
    endedQuiet = options.tail || drain->quietFrames() >= rule.quiet;
    const int64_t kept = std::max<int64_t>(std::llround(kKeptQuietSeconds * rate),
                                           inputEnd - drain->meter->frames());
    if (auto released = drain->release(static_cast<size_t>(kept)); !released) return released;
    tailFrames = std::max<int64_t>(0, drain->meter->frames() - inputEnd);
    return {};
}

// The file's own number of channels if the plug-in takes it, else stereo.
Result<HostSetup> prepareFor(HostedPlugin& plugin, const RenderOptions& options, double rate,
                             int fileChannels, int sideChannels) {
    HostSetup setup;
    setup.sampleRate = rate;
    setup.maxFrames = options.block;
    setup.doublePrecision = options.bits == 64;
    setup.sideChain = sideChannels;
    setup.mainInputs = setup.mainOutputs = fileChannels;
    auto prepared = plugin.prepare(setup);
    if (!prepared && fileChannels == 1) {
        setup.mainInputs = setup.mainOutputs = 2;
        prepared = plugin.prepare(setup);
    }
    if (!prepared) return Error{prepared.error()};
    return setup;
}

// Takes frames and keeps none.
class NoFile : public AudioWriter {
  public:
    Result<> write(const double*, size_t) override { return {}; }
    Result<> finish() override { return {}; }
};

}  // namespace

Result<RenderOutcome> runRender(const PluginChoice& choice, const RenderOptions& options,
                                const std::optional<SampleFormat>& format,
                                const RenderWatch& watch) {
    auto input = openSource(options.input, options.rate);
    if (!input) return Error{input.error()};
    RenderOutcome outcome;
    outcome.rate = (*input)->rate();
    std::unique_ptr<FrameSource> sideChain;
    if (!options.sideChain.empty()) {
        auto opened = openSource(options.sideChain, outcome.rate);
        if (!opened) return Error{opened.error()};
        sideChain = std::move(*opened);
    }

    auto opened = openPlugin(choice);
    if (!opened) return Error{opened.error()};
    outcome.plugin = std::move(*opened);
    HostedPlugin& plugin = *outcome.plugin;
    auto setup = prepareFor(plugin, options, outcome.rate, (*input)->channels(),
                            sideChain ? sideChain->channels() : 0);
    if (!setup) return Error{setup.error()};
    outcome.inputChannels = (*input)->channels();
    outcome.outputChannels = setup->mainOutputs;
    auto settings = applySettings(plugin, choice, options.bits);
    if (!settings) return Error{settings.error()};
    outcome.settings = std::move(*settings);
    std::vector<AutomationPoint> automation;
    if (!options.automation.empty()) {
        auto points = readAutomation(plugin, options.automation, outcome.rate);
        if (!points) return Error{points.error()};
        automation = std::move(*points);
    }
    std::unique_ptr<AudioWriter> writer = std::make_unique<NoFile>();
    if (format) {
        auto created =
            createAudioFile(options.output, *format, static_cast<int>(std::lround(outcome.rate)),
                            setup->mainOutputs);
        if (!created) return Error{created.error()};
        writer = std::move(*created);
    }

    Renderer renderer(plugin, options, watch, outcome.rate);
    const auto start = std::chrono::steady_clock::now();
    auto done = options.bits == 64
                    ? renderer.run<double>(**input, sideChain.get(), automation, *writer)
                    : renderer.run<float>(**input, sideChain.get(), automation, *writer);
    if (!done) return Error{done.error()};
    if (auto finished = writer->finish(); !finished) return Error{finished.error()};
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    outcome.secondsTaken = taken.count();
    outcome.input = std::move(renderer.inputMeter);
    outcome.output = std::move(renderer.drain->meter);
    outcome.tailFrames = renderer.tailFrames;
    outcome.endedQuiet = renderer.endedQuiet;
    outcome.pointsBeyondEnd = renderer.pointsBeyondEnd;
    return outcome;
}

}  // namespace Quorvant::Hosting
