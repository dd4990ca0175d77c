// The low-frequency oscillator that bends the clock: sine or square, free or on the song's grid.
#pragma once

#include "dsp/FastMath.h"

#include <algorithm>
#include <cmath>

namespace Quorvant {

class Lfo {
  public:
    void reset() { origin = samples = 0.0; }
    // 0.1 ... 240 Hz.
    void setFrequency(double hz, double sampleRate) {
        origin = currentPhase();
        samples = 0.0;
        increment = 2.0 * M_PI * hz / sampleRate;
        edgeSlope = 1.0 / std::min(M_PI * hz * kEdgeSeconds, M_PI_4);
    }
    // The phase of a song position: `cycles` since the song's start, `offset` in cycles.
    void setPosition(double cycles, double offset) {
        origin = 2.0 * M_PI * (cycles - std::floor(cycles) + offset);
        samples = 0.0;
    }
    // Radians, -pi to below pi. Never summed up, since a bent clock adds up what rounding does to
    // it over the whole delay.
    double currentPhase(int samplesLater = 0) const {
        const double phase = origin + increment * (samples + samplesLater);
        const double wrapped = phase - 2.0 * M_PI * std::floor(phase * (0.5 / M_PI) + 0.5);
        return wrapped < M_PI ? wrapped : -M_PI;
    }

    // The phase of this sample; moves on to the next.
    double next() {
        const double now = currentPhase();
        advance(1);
        return now;
    }
    void advance(int count) { samples += count; }
    // Fills `wave` with the sine of the next samples' phases, times `gain`, and moves on; writes an
    // even number of samples.
    void fillSine(double* wave, int count, double gain) {
        // Phasors of two samples that turn by two increments. What a turn changes is added: the
        // rounding of a cosine near 1 would be the same at every turn.
        const Pair half = FastMath::sin(both(increment));
        const Pair shortening = both(2.0) * half * half;
        const Pair turning = FastMath::sin(both(2.0 * increment));
        const Pair phases = makePair(currentPhase(), currentPhase(1));
        Pair sine = FastMath::sin(phases) * both(gain);
        Pair cosine = FastMath::sin(both(M_PI_2) - absolute(phases)) * both(gain);
        for (int i = 0; i < count; i += 2) {
            storeTwo(wave + i, sine);
            const Pair turned = sine + (cosine * turning - sine * shortening);
            cosine = cosine - (sine * turning + cosine * shortening);
            sine = turned;
        }
        advance(count);
    }
    // The same with the square.
    void fillSquare(double* wave, int count, double gain) {
        const double first = currentPhase();
        if (gain == 0.0) std::fill_n(wave, count, 0.0);
        for (int i = 0; i < count && gain != 0.0; ++i) {
            const double phase = first + increment * i;
            wave[i] = gain * squareAt(phase < M_PI ? phase : phase - 2.0 * M_PI);
        }
        advance(count);
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

    double origin = 0.0, increment = 0.0, samples = 0.0;  // since the phase was `origin`
    double edgeSlope = 1.0;                               // of the square, per radian
};

}  // namespace Quorvant
