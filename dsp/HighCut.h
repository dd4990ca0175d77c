// The one-pole low pass in the feedback path.
#pragma once

#include "dsp/Pair.h"

#include <cmath>

namespace Quorvant {

class HighCut {
  public:
    static double poleOf(double hz, double sampleRate) {
        return std::exp(-2.0 * M_PI * hz / sampleRate);
    }
    void clear() { state = Pair{}; }

    // A pole of 0 lets x through. The pole may move from frame to frame.
    Pair process(Pair x, double pole) {
        state = pole != 0.0 ? both(1.0 - pole) * x + both(pole) * state : x;
        return state;
    }

  private:
    Pair state{};
};

}  // namespace Quorvant
