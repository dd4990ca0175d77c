// What the engine's tests share: a host whose transport they set, and an engine to render signals
// through.
#pragma once

#include "dsp/Engine.h"
#include "dsp/OutputIndex.h"
#include "params/ParameterIndex.h"
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

// An engine in a host. Defaults of the rig: wet only, unity gains, a delay that starts at 100 ms.
class EngineRig {
  public:
    explicit EngineRig(double sampleRate = 48000.0) : engine(host), rate(sampleRate) {
        set(kMix, 1.0);
        set(kFeedback, 0.0);
        setDelayMs(100.0);
        engine.setSampleRate(rate);
    }

    void set(uint32_t index, double value) { engine.setParameter(index, value); }
    void set(DirectionMode mode) { set(kDirectionMode, static_cast<int>(mode) / 3.0); }
    void set(ProcessingMode mode) { set(kProcessingMode, static_cast<int>(mode) / 3.0); }
    void setDelayMs(double ms) { set(kDelayTime, ms / 9600.0); }

    double read(uint32_t index) {
        double value = -1.0;
        return engine.getOutputValue(index, value) ? value : -1.0;
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
    // Frames from a sound's entry to its echo at the nominal clock, for a delay in ms.
    size_t heardDelay(double ms) const { return static_cast<size_t>(ms * rate / 1000.0) + 4; }

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
    std::function<void()> afterBlock;
};

}  // namespace Quorvant::Test
