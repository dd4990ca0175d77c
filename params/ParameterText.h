// What a user reads of a parameter and types into it: names, value texts and the way back. Nothing
// here depends on the locale; any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace Quorvant {

struct NumberLaw;

// Room for the longest text of each kind with its terminator.
inline constexpr std::size_t kNameCapacity = 25;
inline constexpr std::size_t kShortNameCapacity = 8;
inline constexpr std::size_t kTextCapacity = 17;

// Each writes a zero-terminated text, cut to what the buffer holds.

// "-" for an index without a name.
void getParameterName(uint32_t index, std::span<char> buffer);
void getParameterShortName(uint32_t index, std::span<char> buffer);
// The display text of a normalised value; values outside 0 ... 1 read as the nearer end,
// not-a-number as 0. Empty from kEmptySlot upwards, a single blank for a negative index.
void getParameterText(int32_t index, double value, std::span<char> buffer);
std::string parameterText(int32_t index, double value);

// The normalised value that a text means: any text that getParameterText writes (which then comes
// back unchanged) with or without the unit, a state's name, a word of the row or a number with or
// without its unit and with a point or a comma as the decimal mark. Case and blanks around don't
// matter. Nothing for a text that means no value of this parameter, and for numbers beyond its
// range.
std::optional<double> parseParameterText(uint32_t index, std::string_view text);

// The number with so many decimals and a point.
std::string fixedText(double number, int decimals);
// How a law of the table shows a value in 0 ... 1; the value that one of its words, in any case,
// stands for; and a number without a unit, in the displayed one.
std::string numberText(const NumberLaw& law, double value);
std::optional<double> valueOfWord(const NumberLaw& law, std::string_view text);
double bareNumber(const NumberLaw& law, double number);

// The displayed number behind the text, in the unit of the table (Hi Cut Cutoff: kHz; silence:
// -119.6 dB); the state's number for switches and lists, the value itself for other indices.
double plainFromNormalised(uint32_t index, double value);
// The way back; nothing for a number beyond the range, or not finite.
std::optional<double> normalisedFromPlain(uint32_t index, double plain);

}  // namespace Quorvant
