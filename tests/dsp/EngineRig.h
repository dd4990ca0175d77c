// What the engine's tests share: a host whose transport they set, an engine to render signals
// through, and the few measurements of sound that their claims are made of.
#pragma once

#include "dsp/Engine.h"
#include "dsp/OutputIndex.h"
#include "params/ParameterIndex.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <numbers>
#include <vector>

namespace Quorvant::Test {

using Signal = std::vector<double>;

struct Stereo {
    Signal left, right;

    size_t size() const { return left.size(); }
};

inline Stereo both(Signal signal) {
    return {signal, signal};
}
inline Stereo silence(size_t frames) {
    return both(Signal(frames, 0.0));
}

inline Stereo join(const Stereo& a, const Stereo& b) {
    Stereo joined = a;
    joined.left.insert(joined.left.end(), b.left.begin(), b.left.end());
    joined.right.insert(joined.right.end(), b.right.begin(), b.right.end());
    return joined;
}

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
    Stereo render(const Signal& in) { return render(both(in)); }
    // Lets smoothers and crossfades come to rest.
    void settle(double seconds = 0.6) { render(silence(samples(seconds))); }

    size_t samples(double seconds) const { return static_cast<size_t>(seconds * rate); }
    // Frames from a sound's entry to its echo at the nominal clock, for a delay in ms.
    size_t heardDelay(double ms) const { return static_cast<size_t>(ms * rate / 1000.0) + 4; }

    Signal sine(double frequency, double seconds, double amplitude = 0.5) const {
        Signal signal(samples(seconds));
        for (size_t i = 0; i < signal.size(); ++i) {
            signal[i] = amplitude * std::sin(2.0 * std::numbers::pi * frequency *
                                             static_cast<double>(i) / rate);
        }
        return signal;
    }
    // A smooth pulse of the given length, its top at the middle.
    Signal pulse(double seconds, double amplitude = 0.5) const {
        Signal signal(samples(seconds));
        for (size_t i = 0; i < signal.size(); ++i) {
            const double turn = 2.0 * std::numbers::pi * static_cast<double>(i) /
                                static_cast<double>(signal.size());
            signal[i] = amplitude * 0.5 * (1.0 - std::cos(turn));
        }
        return signal;
    }

    FakeHost host;
    QVXCorvane77x_v2Effect engine;
    double rate;
    int32_t blockSize = 256;
    std::function<void()> afterBlock;
};

// --- Measurements -----------------------------------------------------------------------------

inline double peak(const Signal& signal, size_t from = 0, size_t to = SIZE_MAX) {
    double highest = 0.0;
    for (size_t i = from; i < std::min(to, signal.size()); ++i) {
        highest = std::max(highest, std::abs(signal[i]));
    }
    return highest;
}

inline size_t peakPosition(const Signal& signal, size_t from = 0, size_t to = SIZE_MAX) {
    size_t best = from;
    for (size_t i = from; i < std::min(to, signal.size()); ++i) {
        if (std::abs(signal[i]) > std::abs(signal[best])) best = i;
    }
    return best;
}

inline double rms(const Signal& signal, size_t from = 0, size_t to = SIZE_MAX) {
    const size_t end = std::min(to, signal.size());
    double sum = 0.0;
    for (size_t i = from; i < end; ++i) sum += signal[i] * signal[i];
    return end > from ? std::sqrt(sum / static_cast<double>(end - from)) : 0.0;
}

inline double largestStep(const Signal& signal, size_t from = 1) {
    double largest = 0.0;
    for (size_t i = std::max<size_t>(from, 1); i < signal.size(); ++i) {
        largest = std::max(largest, std::abs(signal[i] - signal[i - 1]));
    }
    return largest;
}

inline double largestDifference(const Signal& a, const Signal& b, size_t from = 0) {
    double largest = a.size() == b.size() ? 0.0 : HUGE_VAL;
    for (size_t i = from; i < std::min(a.size(), b.size()); ++i) {
        const double difference = std::abs(a[i] - b[i]);
        largest = std::isnan(difference) ? HUGE_VAL : std::max(largest, difference);
    }
    return largest;
}

inline bool allFinite(const Stereo& signal) {
    const auto finite = [](double x) { return std::isfinite(x); };
    return std::all_of(signal.left.begin(), signal.left.end(), finite) &&
           std::all_of(signal.right.begin(), signal.right.end(), finite);
}

// Frequency from the rising zero crossings, interpolated between samples.
inline double frequencyOf(const Signal& signal, double rate, size_t from = 0,
                          size_t to = SIZE_MAX) {
    double first = 0.0, last = 0.0;
    int crossings = 0;
    for (size_t i = from + 1; i < std::min(to, signal.size()); ++i) {
        if (!(signal[i - 1] < 0.0 && signal[i] >= 0.0)) continue;
        const double where = static_cast<double>(i) - signal[i] / (signal[i] - signal[i - 1]);
        if (crossings++ == 0) first = where;
        last = where;
    }
    return crossings > 1 ? (crossings - 1) * rate / (last - first) : 0.0;
}

// A repeatable source of values, the same on every system.
class Dice {
  public:
    explicit Dice(uint64_t seed) : state(seed * 0x9E3779B97F4A7C15u + 1) {}

    uint64_t next() {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        return state;
    }
    double unit() { return static_cast<double>(next() >> 11) / 9007199254740992.0; }  // 0 ... 1
    double between(double low, double high) { return low + (high - low) * unit(); }
    int below(int n) { return static_cast<int>(next() % static_cast<uint64_t>(n)); }
    bool chance(double probability) { return unit() < probability; }

  private:
    uint64_t state;
};

}  // namespace Quorvant::Test
