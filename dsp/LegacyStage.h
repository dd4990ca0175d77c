// The level stage of "Legacy" in front of the memory: gain falls with a running mean of the level.
#pragma once

#include "dsp/Chunk.h"

#include <algorithm>
#include <array>

namespace Quorvant {

class LegacyStage {
  public:
    void setSampleRate(double hz) {
        window = hz > 200000 ? 32 : hz > 100000 ? 16 : hz > 50000 ? 8 : 4;
        clear();
    }
    void clear() {
        levelsBefore.fill(both(0.0));
        lastGain = both(1.0);
    }

    // Weighs `count` frames, kChunkFrames at most, whose level is measured at `levelFactor`
    // (linear); lanes are independent.
    void process(Pair* frames, int count, double levelFactor) {
        std::array<Pair, kLongestWindow + kChunkFrames> levels;
        std::copy_n(levelsBefore.data(), window, levels.data());
        // The running sum is made anew each time, so that rounding cannot build up.
        Pair total{};
        for (int i = 0; i < window; ++i) total = total + levels[i];
        const double scale = kMeterScale / window;
        Pair gain = lastGain;
        for (int i = 0; i < count; ++i) {
            const Pair level = absolute(frames[i]) * both(levelFactor);
            levels[window + i] = level;
            total = total + (level - levels[i]);
            const Pair mean = total * both(scale), loud = above(mean, both(2.0));
            gain = both(1.0) - both(0.25) * mean;
            if (!noLane(loud)) gain = select(loud, both(1.0) / larger(mean, both(2.0)), gain);
            frames[i] = frames[i] * gain;
        }
        std::copy_n(&levels[count], window, levelsBefore.data());
        lastGain = gain;
    }

    // The lower of the two channels' last gains, 1 meaning no reduction.
    double reading() const { return smallest(lastGain); }

  private:
    static constexpr double kMeterScale = 0.363082;
    static constexpr int kLongestWindow = 32;

    int window = 4;
    std::array<Pair, kLongestWindow> levelsBefore{};
    Pair lastGain = both(1.0);
};

}  // namespace Quorvant
