// The limiter in front of the memory and the level stages behind it: a soft knee below a ceiling
// that nothing passes, without latency.
#pragma once

#include "dsp/Pair.h"

#include <algorithm>
#include <cmath>

namespace Quorvant {

// The gain follows a held peak: it falls at once, holds over the half-waves of a bass note so that
// it does not ride on them, and recovers quickly from a single hit but slowly from a sustained
// level. Channels are independent. Audio thread.
class Limiter {
  public:
    // Where the knee begins, relative to the ceiling (-3 dB).
    static constexpr double kKnee = 0.7071067811865476;

    void setSampleRate(double hz) {
        holdFrames = std::max(1, static_cast<int>(kHoldSeconds * hz));
        fastRelease = std::exp(-1.0 / (kFastReleaseSeconds * hz));
        slowWeight = 1.0 - std::exp(-1.0 / (kSlowSeconds * hz));
        clear();
    }
    void clear() {
        framesToHold = holdFrames;
        newestPeak = heldPeak = envelope = slowLevel = both(0.0);
        lastGain = both(1.0);
    }

    // The gain (linear, at most 1) that keeps `x` below `ceiling` (linear, above 0); exactly 1
    // while the held peak is below the knee.
    Pair gain(Pair x, double ceiling) {
        const Pair magnitude = absolute(x);
        if (--framesToHold == 0) {
            framesToHold = holdFrames;
            heldPeak = newestPeak;
            newestPeak = magnitude;
        }
        newestPeak = larger(newestPeak, magnitude);
        const Pair peak = larger(newestPeak, heldPeak);
        slowLevel = slowLevel + both(slowWeight) * (peak - slowLevel);
        envelope = larger(larger(peak, slowLevel), envelope * both(fastRelease));

        // Output level k + w d / (d + w) for an input level e = k + d: unity slope at the knee k,
        // the ceiling k + w for any e.
        const Pair knee = both(ceiling * kKnee), width = both(ceiling * (1.0 - kKnee));
        if (noLane(above(envelope, knee))) return lastGain = both(1.0);
        const Pair e = larger(envelope, knee);
        const Pair d = e - knee, s = d + width;
        return lastGain = (knee * s + width * d) / (s * e);
    }

    // The held peak (linear) that the last gain was made for.
    Pair level() const { return envelope; }
    // True once all that the limiter remembers is below `level` (linear).
    bool hasForgotten(double level) const { return largest(larger(envelope, slowLevel)) < level; }

    // The lower of the two channels' last gains, 1 meaning no reduction.
    double reading() const { return smallest(lastGain); }

  private:
    static constexpr double kHoldSeconds = 0.0125;  // held for one to two of these
    static constexpr double kFastReleaseSeconds = 0.08;
    static constexpr double kSlowSeconds = 0.25;

    int holdFrames = 1, framesToHold = 1;
    double fastRelease = 0.0, slowWeight = 1.0;
    Pair newestPeak{}, heldPeak{}, envelope{}, slowLevel{};
    Pair lastGain = both(1.0);
};

}  // namespace Quorvant
