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
        Pair newest = x;
        for (std::size_t s = 0; s < kSections; ++s) {
            const Section& c = sections[s];
            const Taps& in = taps[s];
            const Taps& out = taps[s + 1];
            const Pair y = both(c.b0) * newest + both(c.b1) * in.z1 + both(c.b0) * in.z2 -
                           both(c.a1) * out.z1 - both(c.a2) * out.z2;
            taps[s] = {newest, in.z1};
            newest = y;
        }
        taps[kSections] = {newest, taps[kSections].z1};
        return newest;
    }

  private:
    static constexpr std::size_t kSections = 3;
    struct Section {
        double b0 = 1.0, b1 = 0.0, a1 = 0.0, a2 = 0.0;  // b2 equals b0
    };
    struct Taps {
        Pair z1{}, z2{};
    };
    std::array<Section, kSections> sections{};
    // A section's output taps are the next one's input taps.
    std::array<Taps, kSections + 1> taps{};
};

}  // namespace Quorvant
