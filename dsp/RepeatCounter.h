// Counts the delay's repeats: it drives the activity lamp and tells where a loop may engage.
#pragma once

#include <algorithm>
#include <cmath>
#include <utility>

namespace Quorvant {

class RepeatCounter {
  public:
    void reset() { *this = {}; }
    // Lengths in host samples: of a repeat, and of the flash at its start.
    void setLengths(int repeatSamples, int flashSamples) {
        repeat = repeatSamples;
        flash = flashSamples;
    }
    // Follows the song's own grid: `offset` samples into the current repeat. True when a repeat
    // began since the last sample.
    bool follow(int offset) {
        const bool wrapped = offset < counter - repeat / 2;  // not by rounding alone
        counter = offset;
        return wrapped;
    }

    // Samples that can be counted before the one that begins the next repeat, 0 and up.
    int untilRestart() const { return std::max(0, repeat - counter); }
    // Counts `samples` samples, at most untilRestart().
    void advance(int samples) {
        if (samples <= 0) return;
        const int lit = std::clamp(flash - counter, 0, samples);
        if (lit > 0) level = 1.0;
        peak = std::max(peak, lit > 0 ? 1.0 : level * kDecay);
        if (samples > lit) level *= std::pow(kDecay, static_cast<double>(samples - lit));
        counter += samples;
    }
    // Counts the sample that begins the next repeat.
    void restart() {
        level = counter < flash ? 1.0 : level * kDecay;
        peak = std::max(peak, level);
        counter = 0;
    }

    // The brightest moment since the last call, 0 ... 1.
    double takePeak() { return std::exchange(peak, 0.0); }

  private:
    static constexpr double kDecay = 0.9991;  // per sample, after the flash

    int counter = 0, repeat = 0, flash = 0;
    double level = 0.0, peak = 0.0;
};

}  // namespace Quorvant
