// The low-frequency oscillator that bends the clock: sine or square, free or on the song's grid.
#pragma once

#include "dsp/Pair.h"

#include <cmath>

namespace Quorvant {

class Lfo {
  public:
    void reset() { phase = 0.0; }
    // Radians per host sample.
    void setIncrement(double radians) { increment = radians; }
    // The phase of a song position: `cycles` since the song's start, `offset` in cycles.
    void setPosition(double cycles, double offset) {
        const double within = cycles - std::floor(cycles) + offset;
        phase = 2.0 * M_PI * (within - std::floor(within));
        if (phase > M_PI) phase -= 2.0 * M_PI;
    }
    // Radians, -pi ... pi.
    double currentPhase() const { return phase; }

    // The phase of this sample; moves on to the next.
    double next() {
        const double now = phase;
        phase += increment;
        if (phase >= M_PI) phase -= 2.0 * M_PI;
        return now;
    }

  private:
    double phase = 0.0, increment = 0.0;
};

}  // namespace Quorvant
