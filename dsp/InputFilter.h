// The anti-aliasing low pass in front of the memory: three biquad sections in series.
#pragma once

#include "dsp/Pair.h"

#include <array>
#include <utility>

namespace Quorvant {

class InputFilter {
  public:
    static constexpr double kCorner = 18000.0;        // Hz
    static constexpr double kDoubledCorner = 6600.0;  // Hz, with Delay X2

    void setCorner(double cornerHz, double sampleRate);
    void clear() {
        for (Section& s : sections) s.sum = s.y1 = s.y2 = Pair{};
        newest = Pair{};
    }

    // All zeros lie at half the rate, so that a numerator is two sums, and one gain serves all.
    Pair process(Pair x) {
        x = x * gain;
        Pair before = std::exchange(newest, x);
        for (Section& s : sections) {
            const Pair sum = x + before;
            const Pair y = (sum + s.sum) - s.a2 * s.y2 - s.a1 * s.y1;
            s.sum = sum;
            before = s.y2 = s.y1;
            x = s.y1 = y;
        }
        return x;
    }

  private:
    struct Section {
        Pair a1, a2;  // both lanes hold the same
        Pair sum{};   // of the last two frames that came in
        Pair y1{}, y2{};
    };
    std::array<Section, 3> sections{};
    Pair gain{}, newest{};
};

}  // namespace Quorvant
