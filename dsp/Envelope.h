// The envelope follower that bends the clock: level in, modulation term out.
#pragma once

#include "dsp/FastMath.h"

#include <cmath>

namespace Quorvant {

class EnvelopeFollower {
  public:
    void setSampleRate(double hz) {
        // Intended: the input's weight comes from 5 Hz, the recursion from 10 Hz.
        inputWeight = 1.0 - std::exp(-2.0 * M_PI * 5.0 / hz);
        decay = std::exp(-2.0 * M_PI * 10.0 / hz);
        lossOfRoot = -std::expm1(-2.0 * M_PI * 10.0 * kExponent / hz);
    }
    void clear() { level = 0.0; }

    // One frame's level (linear, 0 and up).
    void follow(double input) { level = input * inputWeight + decay * level; }
    // That many frames of silence.
    void fade(int frames) {
        for (int i = 0; i < frames; ++i) level *= decay;
    }

    // Takes the root anew, of the level times `levelFactor`. To be called before the first
    // followBending of a chunk.
    void beginBending(double levelFactor) {
        scale = levelFactor * 0.363082;
        root = rootOfLevel();
    }
    // follow(), which keeps the root of the level beside it. A level rarely changes much within a
    // frame, so that the root follows by a short series; it is taken anew where it does. Steps are
    // added, not multiplied: the rounding of a factor near 1 would be the same at every step.
    void followBending(double input) {
        const double faded = decay * level, added = input * inputWeight;
        level = faded + added;
        if (added < faded * kMostGrowth)
            root = grown(root - root * lossOfRoot, input * (inputWeight / faded));
        else
            root = rootOfLevel();
    }
    // The modulation term before Depth is inverted ? root - 0.5 : 0.2 - root, about -0.8 ... 0.2,
    // or -0.5 ... 0.5 and more.
    double bendingRoot() const { return root; }
    static constexpr double kRestingBend = 0.2, kRestingInvertedBend = -0.5;

  private:
    static constexpr double kExponent = 0.3;
    static constexpr double kMostGrowth = 1.0 / 256.0;

    double rootOfLevel() const {
        if (level * scale < 1e-300) return 0.0;
        return left(FastMath::power(both(level * scale), kExponent));
    }
    // r (1 + g)^0.3 for 0 <= g < kMostGrowth by the Taylor series, which leaves 3e-14 at the most.
    static double grown(double r, double g) {
        const double growth = g * ((kExponent - 0.105 * g) + (g * g) * (0.0595 - 0.0401625 * g));
        return r + r * growth;
    }

    double inputWeight = 0.0, decay = 0.0, level = 0.0;
    double scale = 1.0, root = 0.0, lossOfRoot = 0.0;
};

}  // namespace Quorvant
