// What a stereo frame costs the engine itself: each mode at its defaults, and what moves the clock.
// `bench/README.md` tells how to run this, and the figures of the last run.
#include "dsp/Engine.h"
#include "params/ParameterLaws.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <initializer_list>
#include <utility>
#include <vector>

namespace {

using namespace Quorvant;

class StandingTransport final : public QVXHostLink {
  public:
    HostTransport transport() const override { return {}; }
};

struct Setting {
    ParameterIndex index;
    double value;
};
using Settings = std::initializer_list<Setting>;

constexpr int kBlock = 512;

void render(benchmark::State& state, ProcessingMode mode, Settings settings, double rate = 48000) {
    const StandingTransport link;
    QVXCorvane77x_v2Effect engine(link);
    engine.setSampleRate(rate);
    engine.setParameter(kProcessingMode, listValue(static_cast<int>(mode), 4));
    for (const auto& [index, value] : settings) engine.setParameter(index, value);
    engine.reset();

    std::vector<float> left(kBlock), right(kBlock), outLeft(kBlock), outRight(kBlock);
    uint32_t seed = 1;
    for (int i = 0; i < kBlock; ++i) {
        const auto noise = [&] {
            seed = seed * 1664525u + 1013904223u;
            return static_cast<float>(static_cast<int32_t>(seed)) / 4294967296.0f;
        };
        left[static_cast<std::size_t>(i)] = noise();
        right[static_cast<std::size_t>(i)] = noise();
    }
    const std::array<const float*, 4> in = {left.data(), right.data(), nullptr, nullptr};
    const std::array<float*, 2> out = {outLeft.data(), outRight.data()};
    for (int i = 0; i < 200; ++i) engine.process32(in.data(), out.data(), kBlock);
    for (auto _ : state) {
        engine.process32(in.data(), out.data(), kBlock);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kBlock);  // frames
}

constexpr Settings kDefaults = {};
constexpr Settings kLfo = {{kDepth, 0.5}, {kWaveform, 0.0}};
constexpr Settings kEnvelope = {{kDepth, 0.5}, {kWaveform, 0.5}};
constexpr Settings kVco = {{kManualVco, 0.3}};
constexpr Settings kReverse = {{kDirectionMode, 2.0 / 3.0}};
constexpr Settings kHighCutOn = {{kHighCut, 1.0}, {kFeedback, 0.6}};

BENCHMARK_CAPTURE(render, clean, ProcessingMode::Clean, kDefaults);
BENCHMARK_CAPTURE(render, legacy, ProcessingMode::Legacy, kDefaults);
BENCHMARK_CAPTURE(render, lims, ProcessingMode::Lims, kDefaults);
BENCHMARK_CAPTURE(render, full, ProcessingMode::Full, kDefaults);
BENCHMARK_CAPTURE(render, clean_96k, ProcessingMode::Clean, kDefaults, 96000);
BENCHMARK_CAPTURE(render, full_96k, ProcessingMode::Full, kDefaults, 96000);
BENCHMARK_CAPTURE(render, clean_lfo, ProcessingMode::Clean, kLfo);
BENCHMARK_CAPTURE(render, clean_envelope, ProcessingMode::Clean, kEnvelope);
BENCHMARK_CAPTURE(render, clean_vco, ProcessingMode::Clean, kVco);
BENCHMARK_CAPTURE(render, clean_reverse, ProcessingMode::Clean, kReverse);
BENCHMARK_CAPTURE(render, clean_high_cut, ProcessingMode::Clean, kHighCutOn);

}  // namespace

BENCHMARK_MAIN();
