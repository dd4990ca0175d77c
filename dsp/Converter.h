// What "Full" adds to "Lims": the unit's input stage, its floating-point A/D converter with the
// hiss in front of it, and the D/A converter's reconstruction filter. docs/converters.md tells the
// model.
#pragma once

#include "dsp/Pair.h"

#include <cmath>
#include <cstdint>

namespace Quorvant {

// Triangular noise, independent in the two lanes, the same sequence for the same seed.
class NoiseSource {
  public:
    static constexpr double kRms = 26754.8;  // of one lane: 2^16 / sqrt(6)

    void seed(uint64_t value) { state = value; }
    Pair next() {
        state += 0x9E3779B97F4A7C15u;  // splitmix64, in the public domain
        uint64_t z = state;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
        z ^= z >> 31;
        // The differences of its four words, two by two.
        const __m128i words =
            _mm_unpacklo_epi16(_mm_cvtsi64_si128(static_cast<int64_t>(z)), _mm_setzero_si128());
        return {_mm_cvtepi32_pd(_mm_sub_epi32(_mm_shuffle_epi32(words, _MM_SHUFFLE(3, 1, 2, 0)),
                                              _mm_shuffle_epi32(words, _MM_SHUFFLE(2, 0, 3, 1))))};
    }

  private:
    uint64_t state = 0;
};

// Soft saturation of an input amplifier, y = x / sqrt(1 + (x / ceiling)^2): unity for small
// signals, odd harmonics only, below the ceiling for any input.
inline Pair saturated(Pair x, double ceiling) {
    const Pair ratio = x * both(1.0 / ceiling);
    return x / Pair{_mm_sqrt_pd((both(1.0) + ratio * ratio).v)};
}

// The A/D converter; runs once a tick of the memory clock, or once a frame. Audio thread.
class AdConverter {
  public:
    // Total noise of a silent converter, relative to the ceiling: -84 dB.
    static constexpr double kNoiseFloor = 6.309573444801933e-05;

    void reset() { noise.seed(kSeed); }
    // Linear level of full scale.
    void setCeiling(double ceiling) {
        const double step = ceiling * kSmallestStep;
        hiss = ceiling * std::sqrt(kNoiseFloor * kNoiseFloor - kSmallestStep * kSmallestStep / 12) /
               NoiseSource::kRms;
        roundingBias = step * 6755399441055744.0;  // adding it rounds to multiples of the step
    }

    Pair convert(Pair x) {
        x = x + noise.next() * both(hiss);
        // The mantissa keeps kMantissaBits bits, so that the steps grow with the signal ...
        const Pair scaled = x * both(kMantissaSplit);
        const Pair mantissa = scaled - (scaled - x);
        // ... and below the smallest range they stay the same.
        return (mantissa + both(roundingBias)) - both(roundingBias);
    }

  private:
    static constexpr int kMantissaBits = 9;
    static constexpr double kMantissaSplit = static_cast<double>(1ull << (53 - kMantissaBits)) + 1;
    static constexpr double kSmallestStep = 1.0 / 16384.0;  // of the ceiling
    static constexpr uint64_t kSeed = 0x51A7E5D0C0FFEE11u;

    NoiseSource noise;
    double hiss = 0.0, roundingBias = 0.0;
};

// The reconstruction filter behind the D/A converter, a one-pole low pass that the memory clock
// moves along with everything else. Audio thread.
class DaConverter {
  public:
    static constexpr double kCorner = 15000.0;  // Hz at the nominal clock

    void setSampleRate(double hz) { pole = std::exp(-2.0 * M_PI * kCorner / hz); }
    void clear() { state = Pair{}; }
    Pair convert(Pair x) { return state = x + both(pole) * (state - x); }

  private:
    double pole = 0.0;
    Pair state{};
};

// The coupling capacitor in the feedback path: a one-pole high pass without which a loop at unity
// would gather an offset. Audio thread.
class CouplingCapacitor {
  public:
    static constexpr double kCorner = 6.0;  // Hz

    void setSampleRate(double hz) { weight = 1.0 - std::exp(-2.0 * M_PI * kCorner / hz); }
    void clear() { offset = Pair{}; }
    // `amount` 0 passes x as it is.
    Pair process(Pair x, double amount) {
        offset = offset + both(weight) * (x - offset);
        return x - both(amount) * offset;
    }

  private:
    double weight = 0.0;
    Pair offset{};
};

}  // namespace Quorvant
