// What the engine's tests share: a host whose transport they set, and an engine to render signals
// through.
#pragma once

#include "dsp/Engine.h"
#include "dsp/OutputIndex.h"
#include "params/ParameterIndex.h"
#include "params/ParameterLaws.h"
#include "tests/Sound.h"

#include <functional>

namespace Quorvant::Test {

class FakeHost : public QVXHostLink {
  public:
    HostTransport transport() const override { return now; }

    void giveTempo(double bpm) {
        now.tempoValid = true;
        now.tempoBpm = bpm;
    }
    void play(double fromBeats) {
        now.positionValid = now.playing = true;
        now.positionBeats = fromBeats;
    }
    void advance(int32_t frames, double rate) {
        if (now.playing) now.positionBeats += frames * now.tempoBpm / (60.0 * rate);
    }

    HostTransport now;
};

using Settings = std::vector<std::pair<uint32_t, double>>;

// Values of settings that have units or names.
constexpr double ms(double delay) {
    return delay / kLongestDelayMs;
}
constexpr double valueOf(DirectionMode mode) {
    return listValue(static_cast<int>(mode), 4);
}
constexpr double valueOf(ProcessingMode mode) {
    return listValue(static_cast<int>(mode), 4);
}

constexpr ProcessingMode kModes[] = {ProcessingMode::Clean, ProcessingMode::Legacy,
                                     ProcessingMode::Lims, ProcessingMode::Full};

// What the filter in front of the memory leaves of slow sounds: more than there was, intended.
inline const double kFilterGain = [] {
    InputFilter filter;
    filter.setCorner(InputFilter::kCorner, 48000.0);
    for (int i = 0; i < 1000; ++i) filter.process(both(1.0));
    return left(filter.process(both(1.0)));
}();

// An engine in a host, reset after it was told the settings: wet only, unity gains, no feedback and
// 100 ms where they say nothing else.
class EngineRig {
  public:
    explicit EngineRig(const Settings& settings = {}, double sampleRate = 48000.0)
        : engine(host), rate(sampleRate) {
        set({{kMix, 1.0}, {kFeedback, 0.0}, {kDelayTime, ms(100.0)}});
        set(settings);
        engine.setSampleRate(rate);
    }

    void set(uint32_t index, double value) { engine.setParameter(index, value); }
    void set(const Settings& settings) {
        for (const auto& [index, value] : settings) set(index, value);
    }

    // -1 where there is none.
    double read(uint32_t index) {
        double value = -1.0;
        return engine.getOutputValue(index, value) ? value : -1.0;
    }
    // How much longer the heard delay is than the nominal one.
    double clockFactor(double delayMs = 100.0) {
        return read(kOutDelayReadout) * kLongestHeardDelayMs / delayMs;
    }

    Stereo render(const Stereo& in, const Stereo* side = nullptr) {
        Stereo out = silence(in.size());
        for (size_t done = 0; done < in.size();) {
            const auto frames = static_cast<int32_t>(
                std::min<size_t>(static_cast<size_t>(blockSize), in.size() - done));
            const double* ins[4] = {&in.left[done], &in.right[done],
                                    side ? &side->left[done] : nullptr,
                                    side ? &side->right[done] : nullptr};
            double* outs[2] = {&out.left[done], &out.right[done]};
            if (suspended)
                engine.processSuspended64(ins, outs, frames);
            else
                engine.process64(ins, outs, frames);
            host.advance(frames, rate);
            done += static_cast<size_t>(frames);
            if (afterBlock) afterBlock();
        }
        return out;
    }
    // Lets smoothers and crossfades come to rest.
    void settle(double seconds = 0.6) { render(silence(samples(seconds))); }

    size_t samples(double seconds) const { return static_cast<size_t>(seconds * rate); }
    Signal sine(double hz, double seconds, double level = 0.5) const {
        return Test::sine(samples(seconds), hz, rate, level);
    }
    Signal pulse(double seconds, double level = 0.5) const {
        return Test::pulse(samples(seconds), level);
    }

    FakeHost host;
    QVXCorvane77x_v2Effect engine;
    double rate;
    int32_t blockSize = 256;
    bool suspended = false;
    std::function<void()> afterBlock;
};

}  // namespace Quorvant::Test
