#include "params/ParameterText.h"

#include "params/ParameterLaws.h"
#include "params/ParameterTable.h"
#include "params/TextMatch.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <string>
#include <system_error>

namespace Quorvant {
namespace {

void writeText(std::string_view text, std::span<char> buffer) {
    if (buffer.empty()) return;
    const std::size_t length = std::min(text.size(), buffer.size() - 1);
    std::copy_n(text.data(), length, buffer.data());
    buffer[length] = '\0';
}

// Reads a number, its unit and nothing else, as the displayed number.
std::optional<double> readPlain(const NumberLaw& law, std::string_view typed) {
    if (equalIgnoringCase(typed.substr(0, law.prefix.size()), law.prefix)) {
        typed = trimmed(typed.substr(law.prefix.size()));
    }
    std::string text(typed);
    std::replace(text.begin(), text.end(), ',', '.');
    bool marked = false;
    if (law.mark != '.' && text.find('.') == std::string::npos) {
        // As it is displayed, with a letter in the place of the point: 2k5.
        const auto mark = std::find_if(text.begin(), text.end(),
                                       [&](char c) { return lowerCase(c) == law.mark; });
        marked = text.end() - mark > 1 && mark[1] >= '0' && mark[1] <= '9';
        if (marked) *mark = '.';
    }
    std::string_view rest = text;
    if (rest.starts_with('+')) {
        rest.remove_prefix(1);
        if (rest.starts_with('-')) return std::nullopt;
    }
    double number = 0.0;
    const auto [end, error] =
        std::from_chars(rest.data(), rest.data() + rest.size(), number, std::chars_format::fixed);
    if (error != std::errc() || !std::isfinite(number)) return std::nullopt;
    const std::string_view unit = trimmed(rest.substr(end - rest.data()));
    if (marked) {
        const bool asShown = unit.empty() || equalIgnoringCase(unit, law.unit);
        return asShown ? std::optional(number) : std::nullopt;
    }
    if (unit.empty()) return bareNumber(law, number);
    for (const ValueUnit& known : law.units) {
        if (equalIgnoringCase(known.text, unit)) return number * known.factor;
    }
    return std::nullopt;
}

std::optional<double> valueOfPlain(const NumberLaw& law, double plain) {
    // What would be displayed as the range's end is taken for it.
    const double places = std::pow(10.0, law.decimals);
    const double lowest = std::round(law.toPlain(0.0) * places) - 0.5;
    const double highest = std::round(law.toPlain(1.0) * places) + 0.5;
    if (plain < lowest / places || plain > highest / places) return std::nullopt;
    return clampNormalised(law.toNormalised(plain));
}

std::string_view withoutUnit(const NumberLaw& law, std::string_view text) {
    const bool unitGiven = endsWithIgnoringCase(text, law.unit);
    return unitGiven ? trimmed(text.substr(0, text.size() - law.unit.size())) : text;
}

std::optional<double> parseNumber(const NumberLaw& law, std::string_view text) {
    const std::string_view shown = withoutUnit(law, text);
    if (const auto value = valueOfWord(law, shown)) return value;
    const auto number = readPlain(law, text);
    if (!number) return std::nullopt;
    const auto nearest = valueOfPlain(law, *number);
    if (!nearest) return std::nullopt;
    // A number at the edge of a named band ("-0.0" beside "env") or of the range is displayed
    // only on one side of its exact place: a value there that reads as typed is preferred.
    const double nudge = 0.45 * std::pow(10.0, -law.decimals);
    for (const double candidate : {*number, *number - nudge, *number + nudge}) {
        const double value = clampNormalised(law.toNormalised(candidate));
        if (numberText(law, value) == shown) return value;
    }
    return nearest;
}

std::optional<double> parseState(const ParameterInfo& info, std::string_view text) {
    const int count = info.stepCount() + 1;
    if (info.notes) {
        const auto note = noteByText(*info.notes, text);
        return note ? std::optional(listValue(*note, count)) : std::nullopt;
    }
    for (std::size_t state = 0; state < info.states.size(); ++state) {
        if (equalIgnoringCase(info.states[state], text)) {
            return listValue(static_cast<int>(state), count);
        }
    }
    if (count == 2 && (text == "0" || text == "1")) return text == "1" ? 1.0 : 0.0;
    return std::nullopt;
}

}  // namespace

std::string fixedText(double number, int decimals) {
    char digits[64];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), number,
                                   std::chars_format::fixed, decimals);
    return end.ec == std::errc() ? std::string(digits, end.ptr) : std::string();
}

std::string numberText(const NumberLaw& law, double value) {
    for (const ValueWord& word : law.words) {
        if (value >= word.shownFrom && value < word.shownBelow) return std::string(word.text);
    }
    double plain = law.toPlain(value);
    if (law.halvesUp) {
        const double places = std::pow(10.0, law.decimals);
        plain = std::floor(plain * places + 0.5) / places;
    }
    std::string text = fixedText(plain, law.decimals);
    std::replace(text.begin(), text.end(), '.', law.mark);
    return std::string(law.prefix) + text;
}

std::optional<double> valueOfWord(const NumberLaw& law, std::string_view text) {
    for (const ValueWord& word : law.words) {
        if (equalIgnoringCase(word.text, text)) return word.value;
    }
    return std::nullopt;
}

double bareNumber(const NumberLaw& law, double number) {
    return number >= law.lastUnitFrom ? number * law.units.back().factor : number;
}

void getParameterName(uint32_t index, std::span<char> buffer) {
    writeText(index < kParameterCount ? kParameters[index].name : "-", buffer);
}

void getParameterShortName(uint32_t index, std::span<char> buffer) {
    writeText(index < kParameterCount ? kParameters[index].shortName : "-", buffer);
}

void getParameterText(int32_t index, double value, std::span<char> buffer) {
    writeText(parameterText(index, value), buffer);
}

std::string parameterText(int32_t index, double value) {
    if (index < 0) return " ";
    // From the empty slot upwards the editor shows the states with its own controls.
    if (index >= static_cast<int32_t>(kEmptySlot)) return "";
    const ParameterInfo& info = kParameters[index];
    if (info.law) return numberText(*info.law, clampNormalised(value));
    const int state = listState(value, info.stepCount() + 1);
    return std::string(info.notes ? (*info.notes)[state].name : info.states[state]);
}

std::optional<double> parseParameterText(uint32_t index, std::string_view text) {
    if (index >= kParameterCount) return std::nullopt;
    text = trimmed(text);
    const ParameterInfo& info = kParameters[index];
    return info.law ? parseNumber(*info.law, text) : parseState(info, text);
}

double plainFromNormalised(uint32_t index, double value) {
    const double v = clampNormalised(value);
    if (index >= kParameterCount) return v;
    const ParameterInfo& info = kParameters[index];
    return info.law ? info.law->toPlain(v) : listState(v, info.stepCount() + 1);
}

std::optional<double> normalisedFromPlain(uint32_t index, double plain) {
    if (!std::isfinite(plain)) return std::nullopt;
    const bool inTable = index < kParameterCount;
    if (inTable && kParameters[index].law) return valueOfPlain(*kParameters[index].law, plain);
    const double highest = inTable ? kParameters[index].stepCount() : 1.0;
    if (plain < 0.0 || plain > highest) return std::nullopt;
    if (!inTable) return plain;
    return highest > 0.0 ? std::round(plain) / highest : 0.0;
}

}  // namespace Quorvant
