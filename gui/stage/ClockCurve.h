// How the modulation bends the memory's clock, as a curve over one cycle of the LFO.
#pragma once

#include "params/ParameterLaws.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace Quorvant {

struct ClockCurve {
    double waveform = 0.0, depth = 0.0;  // normalised

    bool operator==(const ClockCurve&) const = default;

    bool moves() const { return depth > 0.0; }
    // Whether the LFO has a part in it; otherwise the envelope bends alone.
    bool hasLfo() const { return moves() && waveform != 0.5; }
    // The LFO's part at a phase in radians, -1 ... 1 of the most that it could bend. The square is
    // low where the phase is above 0, as the engine's is.
    double at(double phase) const {
        const double share = 2.0 * waveform - 1.0;
        return share * (share < 0.0 ? std::sin(phase) : phase > 0.0 ? -1.0 : 1.0);
    }
    // Where a clock factor lies on that scale, which `rest` is the middle of. Envelopes pull it
    // beyond.
    double placeOf(double factor, double rest) const {
        return std::clamp((factor - rest) / (0.5 * depthCurve(depth)), -1.0, 1.0);
    }
    // How much of the height is used: less for a lesser depth, but never too little to be seen.
    double height() const { return moves() ? std::max(0.3, std::cbrt(depthCurve(depth))) : 0.0; }
};

// The LFO's phase, -pi to pi, from its sine alone: whether it rises or falls tells the half.
class PhaseFollower {
  public:
    double follow(double sine) {
        sine = std::clamp(sine, -1.0, 1.0);
        if (sine != last) rising = sine > last;
        last = sine;
        const double upward = std::asin(sine);
        if (rising) return upward;
        return upward > 0.0 ? std::numbers::pi - upward : -std::numbers::pi - upward;
    }

  private:
    double last = 0.0;
    bool rising = true;
};

}  // namespace Quorvant
