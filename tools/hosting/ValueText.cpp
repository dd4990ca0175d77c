// Texts of parameter values, in both directions, through a plug-in's controller.
#include "tools/hosting/HostedPlugin.h"
#include "tools/hosting/Text.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace Quorvant::Hosting {

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace {

constexpr int kMostListedStates = 128;  // beyond it a stepped parameter is a number, not a list

// The number that a text begins with, whatever unit follows; not a number where there is none.
double leadingNumber(const std::string& text) {
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    return end == text.c_str() || !std::isfinite(value) ? std::nan("") : value;
}

// Some controllers clamp, or read as 0, what they don't know: only what they show then tells.
bool isMeant(const std::string& asked, double value, const std::string& shown) {
    if (sameText(asked, shown)) return true;
    const double askedNumber = leadingNumber(asked);
    if (std::isnan(askedNumber)) return false;
    if (value > 0.0 && value < 1.0) return true;
    const double shownNumber = leadingNumber(shown);  // or a word, "-oo" or "off"
    const double tolerance = std::max(1.0, std::abs(shownNumber) * 0.02);
    return std::isnan(shownNumber) || std::abs(askedNumber - shownNumber) <= tolerance;
}

}  // namespace

std::string HostedPlugin::textOf(const Parameter& parameter, double normalised) const {
    String128 text{};
    if (ownController->getParamStringByValue(parameter.id, normalised, text) != kResultOk)
        return {};
    return fromWide(text);
}

Result<double> HostedPlugin::valueOf(const Parameter& parameter, const std::string& text) const {
    std::string texts;
    if (parameter.stepCount > 0 && parameter.stepCount < kMostListedStates) {
        for (int state = 0; state <= parameter.stepCount; ++state) {
            const double value = static_cast<double>(state) / parameter.stepCount;
            const std::string shown = textOf(parameter, value);
            if (shown.empty()) continue;
            if (sameText(text, shown)) return value;
            appendItem(texts, inQuotes(shown));
        }
        texts = texts.empty() ? "it has no value texts" : "its values are " + texts;
    } else {
        String128 wide{};
        ParamValue value = 0.0;
        if (!text.empty() && toWide(text, wide) &&
            ownController->getParamValueByString(parameter.id, wide, value) == kResultOk &&
            value >= 0.0 && value <= 1.0 && isMeant(text, value, textOf(parameter, value)))
            return value;
        texts = "it goes from " + inQuotes(textOf(parameter, 0.0)) + " to " +
                inQuotes(textOf(parameter, 1.0)) + (parameter.units.empty() ? "" : " ") +
                parameter.units;
    }
    return Error{inQuotes(parameter.title) + " does not take " + inQuotes(text) + ", " + texts};
}

}  // namespace Quorvant::Hosting
