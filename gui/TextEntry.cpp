#include "gui/TextEntry.h"

#include "gui/Tempo.h"
#include "gui/TypedNumber.h"
#include "params/ParameterLaws.h"
#include "params/ParameterTable.h"
#include "params/ParameterText.h"
#include "params/TextMatch.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace Quorvant {
namespace {

struct Word {
    uint32_t index;
    std::string_view text;
    double value;  // normalised
};

// In any case. "squere" is accepted on purpose.
constexpr Word kWords[] = {
    {kWaveform, "sin", 0.0}, {kWaveform, "sinus", 0.0},     {kWaveform, "sine", 0.0},
    {kWaveform, "sqr", 1.0}, {kWaveform, "squere", 1.0},    {kWaveform, "square", 1.0},
    {kWaveform, "env", 0.5}, {kReferenceLevel, "-10", 0.0}, {kGlobalReferenceLevel, "-10", 0.0},
};

constexpr std::string_view kSilence[] = {"-oo", "oo", "-inf", "inf", "off"};

struct Unit {
    std::string_view parameterUnit;  // as in the table of parameters
    std::string_view text;
    double factor;  // into the displayed unit
};

constexpr Unit kUnits[] = {
    {"ms", "ms", 1.0},   {"ms", "sec", 1000.0}, {"ms", "s", 1000.0},
    {"dB", "db", 1.0},   {"Hz", "khz", 1000.0}, {"Hz", "hz", 1.0},
    {"BPM", "bpm", 1.0}, {"deg", "deg", 1.0},   {"deg", "\u00b0", 1.0},
};

bool isGain(uint32_t index) {
    return index == kInput || index == kOutput || index == kGlobalInput || index == kGlobalOutput;
}

bool endsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() &&
           equalIgnoringCase(text.substr(text.size() - end.size()), end);
}

}  // namespace

std::optional<double> valueFromTyped(uint32_t index, std::string_view text) {
    if (index >= kParameterCount) return std::nullopt;
    text = trimmed(text);
    if (text.empty()) return std::nullopt;
    for (const Word& word : kWords) {
        if (word.index == index && equalIgnoringCase(word.text, text)) return word.value;
    }
    if (isGain(index)) {
        for (std::string_view word : kSilence) {
            if (equalIgnoringCase(word, text)) return 0.0;
        }
    }
    const ParameterInfo& info = kParameters[index];
    if (info.kind != ParameterKind::Continuous) return parseParameterText(index, text);

    std::string number(text);
    double factor = 1.0;
    bool unitGiven = false;
    for (const Unit& unit : kUnits) {
        if (unit.parameterUnit != info.unit || !endsWith(number, unit.text)) continue;
        number.resize(number.size() - unit.text.size());
        factor = unit.factor;
        unitGiven = true;
        break;
    }
    std::transform(number.begin(), number.end(), number.begin(), lowerCase);
    double plain = 0.0;
    if (trimmed(number).empty() || !parseTypedNumber(number.data(), plain)) {
        return parseParameterText(index, text);
    }
    plain *= factor;
    if (index == kManualTempo) return manualTempoValue(plain);
    if (index == kHighCutCutoff) {
        // Displayed in kHz. No cutoff reaches 100 kHz, so a bare number of that size is in Hz.
        if (unitGiven || plain >= 100.0) plain *= 0.001;
    }
    plain = std::clamp(plain, plainFromNormalised(index, 0.0), plainFromNormalised(index, 1.0));
    return normalisedFromPlain(index, plain);
}

}  // namespace Quorvant
