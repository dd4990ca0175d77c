// The anti-aliasing low pass in front of the memory: three biquad sections in series.
#pragma once

#include "dsp/Pair.h"

#include <array>

namespace Quorvant {

class InputFilter {
  public:
    static constexpr double kCorner = 18000.0;        // Hz
    static constexpr double kDoubledCorner = 6600.0;  // Hz, with Delay X2

    void setCorner(double cornerHz, double sampleRate);
    void clear() { taps = {}; }

    Pair process(Pair x) {
        const Pair y0 = sections[0].process(x, taps[0], taps[1]);
        const Pair y1 = sections[1].process(y0, taps[1], taps[2]);
        const Pair y2 = sections[2].process(y1, taps[2], taps[3]);
        taps[0].push(x);
        taps[1].push(y0);
        taps[2].push(y1);
        taps[3].push(y2);
        return y2;
    }

  private:
    static constexpr std::size_t kSections = 3;
    struct Taps {
        Pair z1{}, z2{};
        void push(Pair newest) {
            z2 = z1;
            z1 = newest;
        }
    };
    struct Section {
        Pair b0, b1, a1, a2;  // b2 equals b0; both lanes hold the same
        Pair process(Pair x, const Taps& in, const Taps& out) const {
            return (b0 * (x + in.z2) + b1 * in.z1 - a2 * out.z2) - a1 * out.z1;
        }
    };
    std::array<Section, kSections> sections{};
    std::array<Taps, kSections + 1>
        taps{};  // a section's output taps are the next one's input taps
};

}  // namespace Quorvant
