// The low-frequency oscillator that bends the clock: sine or square, free or on the song's grid.
#pragma once

#include "dsp/FastMath.h"

#include <algorithm>
#include <cmath>

namespace Quorvant {

class Lfo {
  public:
    void reset() { phase = 0.0; }
    // 0.1 ... 240 Hz.
    void setFrequency(double hz, double sampleRate) {
        increment = 2.0 * M_PI * hz / sampleRate;
        edgeSlope = 1.0 / std::min(M_PI * hz * kEdgeSeconds, M_PI_4);
    }
    // The phase of a song position: `cycles` since the song's start, `offset` in cycles.
    void setPosition(double cycles, double offset) {
        const double within = cycles - std::floor(cycles) + offset;
        phase = 2.0 * M_PI * (within - std::floor(within));
        if (phase >= M_PI) phase -= 2.0 * M_PI;
    }
    // Radians, -pi to below pi.
    double currentPhase() const { return phase; }

    // The phase of this sample; moves on to the next.
    double next() {
        const double now = phase;
        phase += increment;
        if (phase >= M_PI) phase -= 2.0 * M_PI;
        return now;
    }
    // Moves on by `samples`, one at a time: any other way rounds differently, and a bent clock adds
    // that up over the whole delay.
    void advance(int samples) {
        for (int i = 0; i < samples; ++i) next();
    }
    // Fills `wave` with the sine of the next samples' phases, times `gain`, and moves on.
    void fillSine(double* wave, int samples, double gain) {
        // A phasor that turns by the increment. What a turn changes is added: the rounding of a
        // cosine near 1 would be the same at every turn.
        const Pair half = FastMath::sin(both(0.5 * increment));
        const Pair shortening = both(2.0) * half * half;
        const double sine = left(FastMath::sin(both(increment)));
        const Pair turning = makePair(sine, -sine);
        Pair phasor = FastMath::sin(makePair(phase, M_PI_2 - std::abs(phase))) * both(gain);
        for (int i = 0; i < samples; ++i) {
            wave[i] = left(phasor);
            phasor = phasor + (swapped(phasor) * turning - phasor * shortening);
        }
        advance(samples);
    }

    // The square wave at phase `at`, -1 ... 1, low where the phase is above 0. Its edges take
    // kEdgeSeconds, so that what rides on them does not click; in a fast wave half the time at
    // most.
    double squareAt(double at) const {
        const double fromEdge = at < 0.0 ? std::max(at, -M_PI - at) : std::min(at, M_PI - at);
        return std::clamp(-fromEdge * edgeSlope, -1.0, 1.0);
    }

  private:
    static constexpr double kEdgeSeconds = 0.002;

    double phase = 0.0, increment = 0.0;
    double edgeSlope = 1.0;  // of the square, per radian
};

}  // namespace Quorvant
