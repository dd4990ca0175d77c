// What "Full" adds to "Lims": the unit's input stage, its gain-ranged A/D converter, the D/A
// converter's reconstruction filter and the feedback's coupling. docs/converters.md tells the
// model.
#pragma once

#include "dsp/Pair.h"

#include <cmath>
#include <cstdint>

namespace Quorvant {

// Triangular noise, independent in the two lanes, the same sequence for the same seed.
class NoiseSource {
  public:
    static constexpr double kPeak = 65536.0;  // of one lane

    void seed(uint64_t value) { state = value; }
    Pair next() {
        // A linear congruence (Knuth's MMIX), its weaker lower half hidden by the upper.
        state = state * 6364136223846793005u + 1442695040888963407u;
        const uint64_t z = state ^ (state >> 32);
        // The differences of its four words, two by two.
        const __m128i words =
            _mm_unpacklo_epi16(_mm_cvtsi64_si128(static_cast<int64_t>(z)), _mm_setzero_si128());
        return {_mm_cvtepi32_pd(_mm_sub_epi32(_mm_shuffle_epi32(words, _MM_SHUFFLE(3, 1, 2, 0)),
                                              _mm_shuffle_epi32(words, _MM_SHUFFLE(2, 0, 3, 1))))};
    }

  private:
    uint64_t state = 0;
};

// The input amplifier's soft saturation, y = x / sqrt(1 + (x / ceiling)^2) for slow signals: odd
// harmonics only. What it takes away is averaged over each frame by the curve's antiderivative and
// then low-passed, so that loud treble folds far less back; what is quiet passes as it is.
// Audio thread.
class InputStage {
  public:
    static constexpr double kCorner = 3000.0;  // Hz

    void setSampleRate(double hz) { weight = 1.0 - std::exp(-2.0 * M_PI * kCorner / hz); }
    void clear() {
        lastInput = correction = Pair{};
        lastRoot = both(1.0);
    }
    // `ceiling` is linear.
    Pair process(Pair x, double ceiling) {
        const Pair ratio = x * both(1.0 / ceiling);
        const Pair root{_mm_sqrt_pd((both(1.0) + ratio * ratio).v)};
        // (F(x) - F(last)) / (x - last) for F(x) = ceiling^2 sqrt(1 + (x / ceiling)^2).
        const Pair sum = x + lastInput;
        const Pair excess = sum / (root + lastRoot) - sum * both(0.5);
        lastInput = x;
        lastRoot = root;
        correction = correction + both(weight) * (excess - correction);
        return x + correction;
    }

  private:
    double weight = 0.0;
    Pair lastInput{}, lastRoot = both(1.0), correction{};
};

// The A/D converter, gain-ranged: its steps and its dither are a fixed share of the range that the
// sample needs, so that the error rides 50 to 60 dB below what is heard. It stands between an
// emphasis and the equal de-emphasis, which leave the sound as it is and the error of bright sounds
// larger than that of dark ones. Runs once a tick of the memory clock, or once a frame. Audio
// thread.
class AdConverter {
  public:
    // Hz at the nominal clock: from here the emphasis rises, up to there; 8 dB.
    static constexpr double kEmphasisFrom = 2500.0, kEmphasisTo = 6500.0;
    // The ranges are octaves; the lowest lies 78 to 84 dB below the ceiling.
    static constexpr double kLowestRange = 1.0 / 16384.0;
    // Relative to the foot of the range. The dither is triangular: the peak of it.
    static constexpr double kStep = 1.0 / 256.0, kDither = 1.9 * kStep;

    void setSampleRate(double hz) {
        // As dense at every rate.
        dither = kDither / NoiseSource::kPeak * std::sqrt(hz / 48000.0);
        zero = std::exp(-2.0 * M_PI * kEmphasisFrom / hz);
        pole = std::exp(-2.0 * M_PI * kEmphasisTo / hz);
        reset();
    }
    void reset() {
        noise.seed(kSeed);
        lastInput = lastEmphasised = lastDigits = lastOutput = Pair{};
    }
    // Linear level of full scale.
    void setCeiling(double ceiling) { lowestRange = octaveOf(both(ceiling)) * both(kLowestRange); }

    Pair convert(Pair x) {
        lastEmphasised = x - both(zero) * lastInput + both(pole) * lastEmphasised;
        lastInput = x;
        const Pair range = larger(octaveOf(lastEmphasised), lowestRange);
        const Pair dithered = lastEmphasised + noise.next() * both(dither) * range;
        const Pair bias = range * both(kStep * 6755399441055744.0);  // adding it rounds to steps
        const Pair digits = (dithered + bias) - bias;
        lastOutput = digits - both(pole) * lastDigits + both(zero) * lastOutput;
        lastDigits = digits;
        return lastOutput;
    }

  private:
    static constexpr uint64_t kSeed = 0x51A7E5D0C0FFEE11u;

    // The power of two below |x|.
    static Pair octaveOf(Pair x) {
        return {_mm_and_pd(x.v, _mm_castsi128_pd(_mm_set1_epi64x(0x7FF0000000000000)))};
    }

    NoiseSource noise;
    double dither = 0.0, zero = 0.0, pole = 0.0;
    Pair lowestRange{}, lastInput{}, lastEmphasised{}, lastDigits{}, lastOutput{};
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
