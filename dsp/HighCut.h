// The one-pole low pass in the feedback path.
#pragma once

#include "dsp/Pair.h"

#include <cmath>

namespace Quorvant {

class HighCut {
  public:
    void setCorner(double hz, double sampleRate) { pole = std::exp(-2.0 * M_PI * hz / sampleRate); }
    void setEngaged(bool on) { engaged = on; }
    void clear() { state = Pair{}; }

    // While it is off the state follows the signal, so that switching it on makes no step.
    Pair process(Pair x) {
        state = engaged ? both(1.0 - pole) * x + both(pole) * state : x;
        return state;
    }

  private:
    double pole = 0.0;
    bool engaged = false;
    Pair state{};
};

}  // namespace Quorvant
