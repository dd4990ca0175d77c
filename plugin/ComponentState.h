// The processor's state as projects store it: 39 little-endian doubles, 312 bytes.
#pragma once

#include "params/ParameterIndex.h"

#include "pluginterfaces/base/ibstream.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace Quorvant {

inline constexpr double kNoValue = -1.0;  // of a parameter that never received a value

struct ComponentState {
    std::array<double, kStoredParameterCount> values;  // normalised, or kNoValue
    double suspend = kNoValue;                         // a number from 0 up, or kNoValue

    ComponentState() { values.fill(kNoValue); }
    // What has no value takes that of the other.
    void fillFrom(const ComponentState& other);
};

// Values outside 0 ... 1, not-a-number among them, stand for no value.
constexpr bool isStateValue(double value) {
    return value >= 0.0 && value <= 1.0;
}

// 1 while suspended, else 0, for the suspend control's value as it comes from hosts and states.
constexpr int32_t suspendState(double value) {
    return value >= 0.5 ? 1 : 0;
}

using StateBytes = std::array<uint8_t, (kStoredParameterCount + 1) * sizeof(double)>;

StateBytes encodeComponentState(const ComponentState& state);
// The suspend control has a value: what is none reads as 0.
ComponentState decodeComponentState(const StateBytes& bytes);

// Nothing when the stream ends before the 38 values; a missing suspend control reads as 0.
std::optional<ComponentState> readComponentState(Steinberg::IBStream& stream);
// False when the stream does not take it whole.
bool writeComponentState(Steinberg::IBStream& stream, const ComponentState& state);

}  // namespace Quorvant
