// The level stage of "Legacy" in front of the memory: gain falls with a running mean of the level.
#pragma once

#include "dsp/Pair.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace Quorvant {

class LegacyStage {
  public:
    void setSampleRate(double hz) {
        window = hz > 200000 ? 32 : hz > 100000 ? 16 : hz > 50000 ? 8 : 4;
        clear();
    }
    void clear() {
        levels.fill(both(0.0));
        oldest = 0;
        total = both(0.0);
        lastGain = both(1.0);
    }

    // The gain for `x`, whose level is measured at `levelFactor` (linear); lanes are independent.
    Pair gain(Pair x, double levelFactor) {
        const Pair level = absolute(x) * both(levelFactor);
        total = total + (level - levels[oldest]);
        levels[oldest] = level;
        if (++oldest == window) {
            // The running sum is made anew each time round, so that rounding cannot build up.
            oldest = 0;
            total = both(0.0);
            for (std::size_t i = 0; i < window; ++i) total = total + levels[i];
        }
        const Pair mean = total * both(kMeterScale / static_cast<double>(window));
        const Pair soft = both(1.0) - both(0.25) * mean;
        const Pair loud = above(mean, both(2.0));
        if (noLane(loud)) return lastGain = soft;
        return lastGain = select(loud, both(1.0) / larger(mean, both(2.0)), soft);
    }

    // The lower of the two channels' last gains, 1 meaning no reduction.
    double reading() const { return smallest(lastGain); }

  private:
    static constexpr double kMeterScale = 0.363082;

    std::array<Pair, 32> levels{};
    std::size_t window = 4, oldest = 0;
    Pair total{};
    Pair lastGain = both(1.0);
};

}  // namespace Quorvant
