#include "tools/corvane-host/BlockBuffers.h"
#include "tools/corvane-host/Commands.h"
#include "tools/corvane-host/Report.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <iostream>
#include <random>

#ifdef _WIN32
#include <windows.h>
// Needs the types of windows.h.
#include <psapi.h>
#else
#include <sys/resource.h>
#endif

namespace Quorvant::Hosting {

namespace {

using Clock = std::chrono::steady_clock;
using Nanoseconds = std::chrono::duration<double, std::nano>;

constexpr double kWarmUpSeconds = 1.0;
constexpr double kInputLevel = 0.25;  // peak, -12 dBFS

double peakMegabytes() {
#ifdef _WIN32
    PROCESS_MEMORY_COUNTERS counters{};
    K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
    return static_cast<double>(counters.PeakWorkingSetSize) / 1e6;
#else
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) * 1024.0 / 1e6;
#endif
}

template <typename Sample>
void fillWithNoise(Block<Sample>& block, size_t frames) {
    std::minstd_rand random;  // the same noise at every run
    for (auto& bus : block.inputs)
        for (Sample* channel : bus)
            for (size_t frame = 0; frame < frames; ++frame)
                channel[frame] = static_cast<Sample>(
                    kInputLevel * (2.0 * random() / std::minstd_rand::max() - 1.0));
}

// The duration of each counted block of each instance, in nanoseconds.
template <typename Sample>
Result<std::vector<double>> measure(std::vector<HostedPlugin::Ptr>& plugins,
                                    const BenchOptions& options) {
    std::vector<std::unique_ptr<BlockBuffers<Sample>>> buffers;
    for (const auto& plugin : plugins) {
        buffers.push_back(std::make_unique<BlockBuffers<Sample>>(*plugin, options.block));
        buffers.back()->block.frames = options.block;
        fillWithNoise(buffers.back()->block, static_cast<size_t>(options.block));
    }
    const auto blocksOf = [&](double seconds) {
        return static_cast<int64_t>(std::ceil(seconds * options.rate / options.block));
    };
    const int64_t warmUp = blocksOf(kWarmUpSeconds);
    const int64_t counted = blocksOf(options.seconds);
    std::vector<double> durations;
    durations.reserve(static_cast<size_t>(counted) * plugins.size());

    Transport transport;
    transport.tempoBpm = 120.0;
    for (int64_t index = 0; index < warmUp + counted; ++index) {
        transport.positionFrames = index * options.block;
        transport.positionBeats =
            static_cast<double>(transport.positionFrames) / options.rate * 2.0;
        const auto context = makeContext(transport, options.rate);
        for (size_t instance = 0; instance < plugins.size(); ++instance) {
            auto& block = buffers[instance]->block;
            block.context = &context;
            const auto start = Clock::now();
            const auto answer = plugins[instance]->process(block);
            const Nanoseconds taken = Clock::now() - start;
            if (answer != Steinberg::kResultOk) return Error{"the plug-in failed on a block"};
            if (index >= warmUp) durations.push_back(taken.count());
        }
    }
    return durations;
}

}  // namespace

Result<> bench(const PluginChoice& choice, const BenchOptions& options, bool plain) {
    std::vector<HostedPlugin::Ptr> plugins;
    Nanoseconds firstStart{};
    const auto start = Clock::now();
    for (int instance = 0; instance < options.instances; ++instance) {
        auto opened = openPlugin(choice);
        if (!opened) return Error{opened.error()};
        if (auto ready = prepareAsItIs(**opened, options.rate, options.block, options.bits); !ready)
            return ready;
        if (auto applied = applySettings(**opened, choice, options.bits); !applied)
            return Error{applied.error()};
        plugins.push_back(std::move(*opened));
        if (instance == 0) firstStart = Clock::now() - start;
    }
    const Nanoseconds allStarts = Clock::now() - start;
    auto measured =
        options.bits == 64 ? measure<double>(plugins, options) : measure<float>(plugins, options);
    if (!measured) return Error{measured.error()};
    std::vector<double>& durations = *measured;
    std::ranges::sort(durations);
    double total = 0.0;
    for (const double duration : durations) total += duration;
    const double frames = static_cast<double>(durations.size()) * options.block;
    const double seconds = total * 1e-9;
    const auto microseconds = [&](double share) {
        const auto rank = static_cast<size_t>(share * static_cast<double>(durations.size() - 1));
        return number(durations[rank] * 1e-3, 1) + " us";
    };

    Report report(plain);
    report.add(
        {"plug-in", plugins[0]->description().name + " " + plugins[0]->description().version});
    report.add({"set-up", std::to_string(options.instances) + " x " + number(options.rate, 0) +
                              " Hz, blocks of " + std::to_string(options.block) + ", " +
                              std::to_string(options.bits) + " bits"});
    report.add({"frames a second", number(frames / seconds, 0)});
    report.add(
        {"speed", number(frames / options.rate / seconds, 1) + " times real time, one instance"});
    report.add({"time a frame", number(total / frames, 1) + " ns"});
    report.add({"median block", microseconds(0.5)});
    report.add({"99 % of blocks", "up to " + microseconds(0.99)});
    report.add({"longest block", microseconds(1.0)});
    const auto milliseconds = [](Nanoseconds time) {
        return number(time.count() * 1e-6, 3) + " ms";
    };
    report.add({"start-up, first", milliseconds(firstStart)});
    report.add({"start-up, all", milliseconds(allStarts)});
    report.add({"peak memory", number(peakMegabytes(), 1) + " MB"});
    report.print(std::cout);
    return {};
}

}  // namespace Quorvant::Hosting
