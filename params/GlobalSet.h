// The six level controls exist twice, in the preset and in a global set; here lies which index
// mirrors which, and what follows from the set that is in force.
#pragma once

#include "params/ParameterIndex.h"
#include "params/ParameterLaws.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace Quorvant {

inline constexpr std::size_t kGlobalSetSize = 6;
inline constexpr std::array<uint32_t, kGlobalSetSize> kPresetSetIndices = {
    kSensitivity, kReferenceLevel, kInput, kOutput, kMix, kBypass};
inline constexpr std::array<uint32_t, kGlobalSetSize> kGlobalSetIndices = {
    kGlobalSensitivity, kGlobalReferenceLevel, kGlobalInput, kGlobalOutput,
    kGlobalMix,         kGlobalBypass};

// The twin of one of the twelve controls in the other set; nothing for any other index.
constexpr std::optional<uint32_t> globalTwin(uint32_t index) {
    for (std::size_t i = 0; i < kGlobalSetSize; ++i) {
        if (kPresetSetIndices[i] == index) return kGlobalSetIndices[i];
        if (kGlobalSetIndices[i] == index) return kPresetSetIndices[i];
    }
    return std::nullopt;
}

// True for the twelve controls and for Global itself: whichever changes, the set in force is
// derived anew.
constexpr bool affectsLevels(uint32_t index) {
    return index == kGlobal || globalTwin(index).has_value();
}

// What the engine takes from the set in force.
struct Levels {
    double mix = 0.5;                // normalised
    double inputGain = 1.0;          // linear, 0 ... 4
    double outputGain = 1.0;         // linear, 0 ... 4
    double bypass = 0.0;             // 0 or 1
    double sensitivityFactor = 1.0;  // 1.0 or 2.7542
    double referenceScale = kSqrtTwo;
    double converterCeiling = 0.0;  // level reciprocal of the three converter blocks
    double stageCeiling = 0.0;      // level reciprocal of the two further level stages
};

// `values` are normalised and indexed by ParameterIndex, 0 to 14 at least (a shorter span gives the
// defaults above).
inline Levels levelsInForce(std::span<const double> values) {
    Levels levels;
    if (values.size() <= kGlobalBypass) return levels;
    const auto& set = switchState(values[kGlobal]) ? kGlobalSetIndices : kPresetSetIndices;
    const auto [sensitivity, reference, input, output, mix, bypass] = set;
    levels.mix = values[mix];
    levels.inputGain = gainFactor(values[input]);
    levels.outputGain = gainFactor(values[output]);
    levels.bypass = switchState(values[bypass]) ? 1.0 : 0.0;
    levels.sensitivityFactor = sensitivityFactor(values[sensitivity]);
    levels.referenceScale = referenceScale(values[reference], values[sensitivity]);
    const double divisor = levels.referenceScale * kSqrtHalf;
    if (divisor > 0.0) {
        levels.converterCeiling = 1.0 / divisor;
        levels.stageCeiling = 1.0 / (divisor * 0.5);
    }
    return levels;
}

}  // namespace Quorvant
