// The laws from normalised values to states and to what the engine makes of them. (What a user
// reads follows display laws of its own, some of which differ on purpose: ParameterTable.cpp.) Each
// inverse stands by its law and takes what lies in the law's range.
#pragma once

#include "params/NoteTable.h"

#include <algorithm>
#include <cmath>

namespace Quorvant {

// Four-digit roundings, not exact square roots: intended.
inline constexpr double kSqrtTwo = 1.4142;
inline constexpr double kSqrtHalf = 0.7071;
inline constexpr double kSensitivityOnFactor = 2.7542;

// Held within 0 ... 1; not-a-number becomes 0, and so does a negative denormal even where the
// processor takes denormals for zero.
constexpr double clampNormalised(double value) {
    return value > 0.0 ? std::min(value, 1.0) : 0.0;
}

// On at 0.5 and above; off for not-a-number.
constexpr bool switchState(double value) {
    return value >= 0.5;
}

// The state 0 ... states - 1 of a list; any value, not-a-number reads as 0.
constexpr int listState(double value, int states) {
    return static_cast<int>(clampNormalised(value) * (states - 1) + 0.5);
}

// The value at the middle of a state's range: 0 for the first state, 1 for the last.
constexpr double listValue(int state, int states) {
    return states > 1 ? static_cast<double>(state) / (states - 1) : 0.0;
}

// Linear gain 0 ... 4 of Input and Output; 0.5 is unity.
constexpr double gainFactor(double value) {
    return 4.0 * value * value;
}
// The way back from decibels as they are displayed, 6 to a doubling.
inline double gainValue(double decibels) {
    return std::sqrt(std::exp2(decibels / 6.0) / 4.0);
}

constexpr double sensitivityFactor(double value) {
    return switchState(value) ? kSensitivityOnFactor : 1.0;
}

// Linear scale of Reference Level: 1.4142 to 14.142, times the sensitivity factor.
inline double referenceScale(double referenceLevel, double sensitivity) {
    return std::pow(10.0, referenceLevel) * sensitivityFactor(sensitivity) * kSqrtTwo;
}

inline constexpr double kLongestDelayMs = 9600.0;
inline constexpr double kLongestHeardDelayMs = 28800.0;  // VCO at its slowest and X2

// Milliseconds, before the clock is bent.
constexpr double delayTimeMs(double value) {
    return value * kLongestDelayMs;
}
constexpr double delayTimeValue(double ms) {
    return ms / kLongestDelayMs;
}

inline constexpr double kLowestTempo = 20.0, kHighestTempo = 600.0;  // BPM

// BPM of Manual Tempo, and the way back, held within the range.
constexpr double manualTempoBpm(double value) {
    return (kHighestTempo - kLowestTempo) * value + kLowestTempo;
}
constexpr double manualTempoValue(double bpm) {
    return (std::clamp(bpm, kLowestTempo, kHighestTempo) - kLowestTempo) /
           (kHighestTempo - kLowestTempo);
}

// Length of a note in milliseconds, cut to the longest delay. Rounded as a fraction of that, as a
// Delay Time is: intended.
constexpr double noteMs(const NoteValue& note, double bpm) {
    const double fraction = note.numerator * 240000.0 / (note.denominator * bpm) / kLongestDelayMs;
    return delayTimeMs(std::min(fraction, 1.0));
}
// Cycles a second of one note each.
constexpr double noteHz(const NoteValue& note, double bpm) {
    return note.denominator * bpm / (note.numerator * 240.0);
}

// Hz of LFO Rate; a single-precision 0.1, intended.
inline double lfoRateHz(double value) {
    return 0.10000000149011612 * std::pow(100.0, value);
}
inline double lfoRateValue(double hz) {
    return std::log(hz / 0.1) / std::log(100.0);
}

// The share of the modulation in the clock, 0 ... 1, and the factor of the delay that Manual VCO is
// left with.
inline double depthCurve(double depth) {
    return std::pow(depth, 2.35);
}
inline double depthValue(double share) {
    return std::pow(share, 1.0 / 2.35);
}
inline double vcoRatio(double manualVco, double depth) {
    return (1.0 - depthCurve(depth)) * (manualVco - 0.5) + 1.0;
}
constexpr double x2Factor(double delayX2) {
    return switchState(delayX2) ? 2.0 : 1.0;
}

// Corner of the high cut in Hz.
inline double highCutHz(double cutoff) {
    return 3150.0 * std::pow(9.0, cutoff) * 0.5 * 0.6666666666667;
}
inline double highCutValue(double hz) {
    return std::log(hz / 1050.0) / std::log(9.0);
}

}  // namespace Quorvant
