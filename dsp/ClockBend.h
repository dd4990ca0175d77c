// How the LFO and the envelope bend the memory's clock.
#pragma once

#include "dsp/Chunk.h"
#include "dsp/Envelope.h"

#include <algorithm>
#include <cmath>

namespace Quorvant {

inline constexpr double kLowestClockFactor = 1.0 / 16.0, kHighestClockFactor = 16.0;

// The clock's factor is base + slope * LFO + gain * root of the envelope.
struct ClockBend {
    double base, slope, gain;

    ClockBend(const ControlFrame& control, bool inverted) {
        const double centre = 1.0 - 2.0 * std::abs(control.waveform - 0.5);
        const double rest =
            inverted ? EnvelopeFollower::kRestingInvertedBend : EnvelopeFollower::kRestingBend;
        slope = control.depth * control.x2;
        base = rest * centre * slope + control.vco * control.x2;
        gain = (inverted ? centre : -centre) * slope;
    }
    // Arranged so that little waits for the root, which waits for everything else.
    double factor(double lfo, double root) const {
        return std::clamp((lfo * slope + base) + gain * root, kLowestClockFactor,
                          kHighestClockFactor);
    }
};

}  // namespace Quorvant
