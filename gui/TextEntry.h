// What a text typed into a parameter's readout means for the parameter.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Quorvant {

// The normalised value for a typed text: a word or the name of a state, or a number, with or
// without a unit, in the unit that the editor displays (for Manual Tempo: the tempo that is heard,
// see Tempo.h). Numbers beyond the range give its nearer end.
// Nothing for a text that means no value of the parameter. Main thread.
std::optional<double> valueFromTyped(uint32_t index, std::string_view text);

// What the field holds before anything is typed: the normalised value as the editor displays it.
std::string textToType(uint32_t index, double value);

// The normalised value as it is told with its unit, "3.4 kHz"; valueFromTyped reads it.
std::string textWithUnit(uint32_t index, double value);

}  // namespace Quorvant
