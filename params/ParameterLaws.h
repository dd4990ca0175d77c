// The laws from normalised values to states and engine quantities that more than one place needs.
// (What a user reads follows display laws of its own: ParameterText.h.)
#pragma once

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

constexpr double sensitivityFactor(double value) {
    return switchState(value) ? kSensitivityOnFactor : 1.0;
}

// Linear scale of Reference Level: 1.4142 to 14.142, times the sensitivity factor.
inline double referenceScale(double referenceLevel, double sensitivity) {
    return std::pow(10.0, referenceLevel) * sensitivityFactor(sensitivity) * kSqrtTwo;
}

}  // namespace Quorvant
