#include "tools/corvane-host/BlockBuffers.h"
#include "tools/corvane-host/Commands.h"
#include "tools/corvane-host/Report.h"
#include "tools/hosting/Text.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <iostream>
#include <random>

namespace Quorvant::Hosting {

namespace {

using Clock = std::chrono::steady_clock;
using Nanoseconds = std::chrono::duration<double, std::nano>;

constexpr int kBlock = 512;
constexpr double kWarmUpSeconds = 10.0;  // once round the memory
constexpr double kTempo = 120.0;         // BPM
constexpr double kInputLevel = 0.25;     // peak, -12 dBFS

void fillWithNoise(Block<float>& block) {
    std::minstd_rand random;  // the same noise at every run
    for (auto& bus : block.inputs)
        for (float* channel : bus)
            for (int frame = 0; frame < kBlock; ++frame)
                channel[frame] = static_cast<float>(
                    kInputLevel * (2.0 * random() / std::minstd_rand::max() - 1.0));
}

// The duration of each counted block of each instance, in nanoseconds.
std::vector<double> measure(std::vector<HostedPlugin::Ptr>& plugins, const BenchOptions& options) {
    std::vector<std::unique_ptr<BlockBuffers<float>>> buffers;
    for (const auto& plugin : plugins) {
        buffers.push_back(std::make_unique<BlockBuffers<float>>(*plugin, kBlock));
        buffers.back()->block.frames = kBlock;
        fillWithNoise(buffers.back()->block);
    }
    const auto blocksOf = [&](double seconds) {
        return static_cast<int64_t>(std::ceil(seconds * options.rate / kBlock));
    };
    const int64_t warmUp = blocksOf(kWarmUpSeconds);
    std::vector<double> durations;
    durations.reserve(static_cast<size_t>(blocksOf(options.seconds)) * plugins.size());

    for (int64_t index = 0; index < warmUp + blocksOf(options.seconds); ++index) {
        for (const auto& instance : buffers) {
            const auto start = Clock::now();
            instance->process(index * kBlock, options.rate, kTempo);
            const Nanoseconds taken = Clock::now() - start;
            if (index >= warmUp) durations.push_back(taken.count());
        }
    }
    return durations;
}

}  // namespace

void bench(const PluginChoice& choice, const BenchOptions& options, bool plain) {
    std::vector<HostedPlugin::Ptr> plugins;
    std::vector<Nanoseconds> starts;
    const auto start = Clock::now();
    for (int instance = 0; instance < options.instances; ++instance) {
        plugins.push_back(openPlugin(choice));
        prepareAsItIs(*plugins.back(), options.rate, kBlock);
        applySettings(*plugins.back(), choice);
        starts.push_back(Clock::now() - start);
    }
    auto durations = measure(plugins, options);
    std::ranges::sort(durations);
    const double median = durations[(durations.size() - 1) / 2];
    const double speed = kBlock / options.rate / (median * 1e-9);
    const auto milliseconds = [](Nanoseconds time) {
        return number(time.count() * 1e-6, 3) + " ms";
    };

    Report report(plain);
    report.add({"plug-in", plugins[0]->name() + " " + plugins[0]->classInfo().version()});
    report.add({"set-up", std::to_string(options.instances) + " x " + number(options.rate, 0) +
                              " Hz, blocks of " + std::to_string(kBlock) + ", 32 bits"});
    report.add({"speed", number(speed, 1) + " times real time, one instance"});
    report.add({"median block", number(median * 1e-3, 1) + " us"});
    report.add({"start-up, first", milliseconds(starts.front())});
    report.add({"start-up, all", milliseconds(starts.back())});
    report.print(std::cout);
}

}  // namespace Quorvant::Hosting
