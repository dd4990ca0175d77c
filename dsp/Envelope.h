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
    }
    void clear() { level = 0.0; }

    // One frame's level (linear, 0 and up).
    void follow(double input) { level = input * inputWeight + decay * level; }

    // The modulation term before Depth, about -0.8 ... 0.2, inverted -0.5 ... 0.5 and more.
    double modulation(double levelFactor, bool inverted) const {
        const double m = left(FastMath::power(both(level * levelFactor * 0.363082), 0.3));
        return inverted ? m - 0.5 : 0.2 - m;
    }

  private:
    double inputWeight = 0.0, decay = 0.0, level = 0.0;
};

}  // namespace Quorvant
