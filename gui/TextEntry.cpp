#include "gui/TextEntry.h"

#include "gui/TypedNumber.h"
#include "params/ParameterLaws.h"
#include "params/ParameterTable.h"
#include "params/ParameterText.h"
#include "params/TextMatch.h"

#include <algorithm>

namespace Quorvant {
namespace {

std::optional<double> numberOf(std::string_view typed) {
    if (trimmed(typed).empty()) return std::nullopt;
    std::string text(typed);
    std::transform(text.begin(), text.end(), text.begin(), lowerCase);
    double number = 0.0;
    return parseTypedNumber(text.data(), number) ? std::optional(number) : std::nullopt;
}

// The number in the displayed unit.
std::optional<double> plainOf(const NumberLaw& law, std::string_view typed) {
    if (const auto number = numberOf(typed)) return bareNumber(law, *number);
    for (const ValueUnit& unit : law.units) {
        if (!endsWithIgnoringCase(typed, unit.text)) continue;
        const auto number = numberOf(typed.substr(0, typed.size() - unit.text.size()));
        return number ? std::optional(*number * unit.factor) : std::nullopt;
    }
    return std::nullopt;
}

}  // namespace

std::optional<double> valueFromTyped(uint32_t index, std::string_view text) {
    if (index >= kParameterCount) return std::nullopt;
    const NumberLaw* law = kParameters[index].editorLaw();
    if (!law) return parseParameterText(index, text);
    text = trimmed(text);
    if (const auto value = valueOfWord(*law, text)) return value;
    const auto plain = plainOf(*law, text);
    if (!plain) return parseParameterText(index, text);
    return clampNormalised(
        law->toNormalised(std::clamp(*plain, law->toPlain(0.0), law->toPlain(1.0))));
}

std::string textToType(uint32_t index, double value) {
    const NumberLaw* law = index < kParameterCount ? kParameters[index].editorLaw() : nullptr;
    return law ? numberText(*law, clampNormalised(value))
               : parameterText(static_cast<int32_t>(index), value);
}

std::string textWithUnit(uint32_t index, double value) {
    const NumberLaw* law = index < kParameterCount ? kParameters[index].editorLaw() : nullptr;
    std::string text = textToType(index, value);
    if (!law) return text;
    const std::string_view digits = std::string_view("-0123456789");
    if (!law->prefix.empty() && text.starts_with(law->prefix)) text.erase(0, law->prefix.size());
    // A word has no unit.
    if (digits.find(text.front()) == std::string_view::npos ||
        text.find_first_of("0123456789") == std::string::npos)
        return text;
    // A letter in the place of the point tells the first of the units.
    if (law->mark != '.') std::replace(text.begin(), text.end(), law->mark, '.');
    const std::string_view unit = law->mark != '.' || law->unit.empty()
                                      ? law->units.empty() ? std::string_view() : law->units[0].text
                                      : law->unit;
    return unit.empty() ? text : text + ' ' + std::string(unit);
}

}  // namespace Quorvant
