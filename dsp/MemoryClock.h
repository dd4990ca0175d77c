// The emulated clock that the VCO bends: it decides between which host samples the memory ticks.
#pragma once

#include <algorithm>

namespace Quorvant {

// The factor is the length of a tick in host samples, 1/16 ... 16.
class MemoryClock {
  public:
    void reset(double factor) { untilTick = factor; }

    // One host sample. Calls tick(t) for every tick that falls into it, t being its place in the
    // input history, 0 ... 1. A changed factor keeps the place of the coming tick.
    template <typename Tick>
    void advance(double factor, Tick&& tick) {
        for (; untilTick <= 1.0; untilTick += factor) tick(untilTick);
        untilTick -= 1.0;
    }

    // True while every host sample is exactly one tick: advance() at factor 1 would then call
    // tick(1) once, and outputPosition() stays 0.
    bool isUnison(double factor) const { return factor == 1.0 && untilTick == 1.0; }

    // The host sample's place in the output history, 0 ... 1, at 1/factor. A factor that has
    // suddenly fallen would put it outside.
    double outputPosition(double step) const { return std::max(0.0, 1.0 - untilTick * step); }

  private:
    double untilTick = 1.0;  // host samples
};

}  // namespace Quorvant
