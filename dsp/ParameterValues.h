// The engine's parameters as last received, normalised.
#pragma once

#include "params/ParameterIndex.h"
#include "params/ParameterLaws.h"

#include <array>
#include <cstdint>

namespace Quorvant {

struct ParameterValues : std::array<double, kSuspend + 1> {
    bool isOn(uint32_t index) const { return switchState((*this)[index]); }
};

}  // namespace Quorvant
