#include "tools/hosting/ParameterText.h"

#include "tools/hosting/Text.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <optional>

namespace Quorvant::Hosting {

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace {

constexpr int kMostListedStates = 128;  // beyond it a stepped parameter is a number, not a list

struct Number {
    double value;
    double lastPlace;  // what one unit in the last written decimal is worth
};

// The number that a text begins with, whatever unit follows.
std::optional<Number> leadingNumber(const std::string& text) {
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (end == text.c_str() || !std::isfinite(value)) return std::nullopt;
    const std::string digits = text.substr(0, static_cast<size_t>(end - text.c_str()));
    const size_t point = digits.find('.');
    const auto decimals = point == std::string::npos ? 0 : digits.size() - point - 1;
    return Number{value, std::pow(10.0, -static_cast<double>(decimals))};
}

// Whether a controller that was given `asked` and now shows `shown` took it as it was meant.
bool takenAsMeant(const std::string& asked, const std::string& shown) {
    if (sameText(asked, shown)) return true;
    const auto askedNumber = leadingNumber(asked);
    if (!askedNumber) return false;
    const auto shownNumber = leadingNumber(shown);
    if (!shownNumber) return true;  // a number may well be shown as a word, "-oo" or "off"
    const double tolerance = std::max(shownNumber->lastPlace, std::abs(shownNumber->value) * 0.02);
    return std::abs(askedNumber->value - shownNumber->value) <= tolerance;
}

std::string listedTexts(IEditController& controller, const Parameter& parameter) {
    std::string list;
    for (int state = 0; state <= parameter.stepCount; ++state) {
        const double value = static_cast<double>(state) / parameter.stepCount;
        const std::string text = textOfValue(controller, parameter.id, value);
        if (text.empty()) continue;
        appendItem(list, inQuotes(text));
    }
    return list;
}

Error refusal(IEditController& controller, const Parameter& parameter, const std::string& text) {
    const std::string start = inQuotes(parameter.title) + " does not take " + inQuotes(text);
    if (parameter.stepCount > 0 && parameter.stepCount < kMostListedStates) {
        const std::string list = listedTexts(controller, parameter);
        if (list.empty()) return {start + ", it has no value texts"};
        return {start + ", its values are " + list};
    }
    const std::string lowest = inQuotes(textOfValue(controller, parameter.id, 0.0));
    const std::string highest = inQuotes(textOfValue(controller, parameter.id, 1.0));
    return {start + ", it goes from " + lowest + " to " + highest +
            (parameter.units.empty() ? "" : " ") + parameter.units};
}

}  // namespace

std::string textOfValue(IEditController& controller, ParamID id, double normalised) {
    String128 text{};
    if (controller.getParamStringByValue(id, normalised, text) != kResultOk) return {};
    return fromWide(text);
}

Result<double> valueOfText(IEditController& controller, const Parameter& parameter,
                           const std::string& text) {
    String128 wide{};
    ParamValue value = 0.0;
    const bool isList = parameter.stepCount > 0 && parameter.stepCount < kMostListedStates;
    if (!text.empty() && toWide(text, wide) &&
        controller.getParamValueByString(parameter.id, wide, value) == kResultOk) {
        // Some controllers clamp or read as 0 what they don't know: only what they show tells.
        const std::string shown = textOfValue(controller, parameter.id, value);
        if (value >= 0.0 && value <= 1.0 &&
            (isList ? sameText(text, shown) : takenAsMeant(text, shown)))
            return value;
    }
    for (int state = 0; isList && !text.empty() && state <= parameter.stepCount; ++state) {
        value = static_cast<double>(state) / parameter.stepCount;
        if (sameText(text, textOfValue(controller, parameter.id, value))) return value;
    }
    return refusal(controller, parameter, text);
}

}  // namespace Quorvant::Hosting
