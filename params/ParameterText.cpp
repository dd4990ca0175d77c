#include "params/ParameterText.h"

#include "params/ParameterLaws.h"
#include "params/ParameterTable.h"
#include "params/TextMatch.h"

#include <algorithm>
#include <charconv>
#include <cmath>
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

// The display laws of the continuous parameters. Some differ from what the engine makes of the same
// value (gain by 6 dB a doubling, Manual Tempo, Hi Cut Cutoff): intended.
struct DisplayLaw {
    double (*toPlain)(double);
    double (*toNormalised)(double);
    int decimals;
    double lowest;  // of the displayed numbers
    double highest;
};

constexpr double kSilentGain = 1e-06;
constexpr double kReferenceFloor = 0.316227766016838;          // -10 dB
constexpr double kLowestCutoff = 0.5 * 0.6666666666667 * 6.0;  // kHz

constexpr DisplayLaw kReferenceLaw = {
    [](double v) { return 20.0 * std::log10(std::pow(10.0, v) * kReferenceFloor); },
    [](double dB) { return dB / 20.0 + 0.5; }, 1, -10.0, 10.0};
constexpr DisplayLaw kGainLaw = {
    [](double v) { return 6.0 * std::log(std::max(gainFactor(v), kSilentGain)) / std::log(2.0); },
    [](double dB) { return std::sqrt(std::exp2(dB / 6.0) / 4.0); }, 1, -119.6, 12.0};
constexpr DisplayLaw kTenthsLaw = {[](double v) { return v * 10.0; },
                                   [](double x) { return x / 10.0; }, 1, 0.0, 10.0};
constexpr DisplayLaw kDelayTimeLaw = {[](double v) { return v * 9600.0; },
                                      [](double ms) { return ms / 9600.0; }, 0, 0.0, 9600.0};
constexpr DisplayLaw kCutoffLaw = {
    [](double v) { return std::pow(9.0, v) * kLowestCutoff; },
    [](double kHz) { return std::log(kHz / kLowestCutoff) / std::log(9.0); }, 1, 2.0, 18.0};
constexpr DisplayLaw kVcoLaw = {[](double v) { return v + 0.5; }, [](double x) { return x - 0.5; },
                                2, 0.5, 1.5};
constexpr DisplayLaw kWaveformLaw = {[](double v) { return v * 20.0 - 10.0; },
                                     [](double x) { return x / 20.0 + 0.5; }, 1, -10.0, 10.0};
constexpr DisplayLaw kLfoRateLaw = {[](double v) { return std::pow(100.0, v) * 0.1; },
                                    [](double hz) { return std::log(hz * 10.0) / std::log(100.0); },
                                    2, 0.1, 10.0};
constexpr DisplayLaw kDegreesLaw = {[](double v) { return v * 360.0 - 180.0; },
                                    [](double x) { return (x + 180.0) / 360.0; }, 0, -180.0, 180.0};
constexpr DisplayLaw kTempoLaw = {[](double v) { return v * 370.0 + 30.0; },
                                  [](double bpm) { return (bpm - 30.0) / 370.0; }, 1, 30.0, 400.0};
constexpr DisplayLaw kPercentLaw = {[](double v) { return v * 100.0; },
                                    [](double x) { return x / 100.0; }, 0, 0.0, 100.0};

const DisplayLaw* displayLaw(uint32_t index) {
    switch (index) {
        case kReferenceLevel:
        case kGlobalReferenceLevel:
            return &kReferenceLaw;
        case kInput:
        case kOutput:
        case kGlobalInput:
        case kGlobalOutput:
            return &kGainLaw;
        case kMix:
        case kGlobalMix:
        case kFeedback:
        case kDepth:
            return &kTenthsLaw;
        case kDelayTime:
            return &kDelayTimeLaw;
        case kHighCutCutoff:
            return &kCutoffLaw;
        case kManualVco:
            return &kVcoLaw;
        case kWaveform:
            return &kWaveformLaw;
        case kLfoRate:
            return &kLfoRateLaw;
        case kLfoOffset:
            return &kDegreesLaw;
        case kManualTempo:
            return &kTempoLaw;
        case kSideChainIntExt:
            return &kPercentLaw;
        default:
            return nullptr;
    }
}

std::string fixedText(double number, int decimals) {
    char digits[32];
    const auto end =
        std::to_chars(digits, digits + sizeof digits, number, std::chars_format::fixed, decimals);
    return std::string(digits, end.ptr);
}

int roundedUp(double number) {
    return static_cast<int>(number + 0.5);
}

std::string continuousText(uint32_t index, double value) {
    const DisplayLaw& law = *displayLaw(index);
    const double plain = law.toPlain(value);
    switch (index) {
        case kInput:
        case kOutput:
        case kGlobalInput:
        case kGlobalOutput:
            if (gainFactor(value) < kSilentGain) return "-oo";
            break;
        case kDelayTime:
            return std::to_string(roundedUp(plain));
        case kHighCutCutoff: {
            const int tenths = roundedUp(plain * 10.0);
            return std::to_string(tenths / 10) + 'k' + std::to_string(tenths % 10);
        }
        case kWaveform:
            if (value < 0.005) return "sin";
            if (value >= 0.995) return "sqr";
            if (value >= 0.498 && value < 0.502) return "env";
            break;
        case kLfoRate:
            if (plain >= 9.995) return "10.";  // where two decimals would take a fifth place
            break;
        case kSideChainIntExt:
            return "Ext" + std::to_string(roundedUp(plain));
        default:
            break;
    }
    return fixedText(plain, law.decimals);
}

std::string valueText(uint32_t index, double value) {
    const ParameterInfo& info = kParameters[index];
    switch (info.kind) {
        case ParameterKind::Switch:
        case ParameterKind::List:
            return std::string(info.states[listState(value, info.stepCount() + 1)]);
        case ParameterKind::Notes:
            return index == kLfoNote ? lfoNote(value).name : delayNote(value).name;
        case ParameterKind::Continuous:
            return continuousText(index, value);
        case ParameterKind::Empty:
            break;
    }
    return {};
}

struct Word {
    const DisplayLaw* law;
    std::string_view text;
    double value;
};

constexpr Word kWords[] = {
    {&kGainLaw, "-oo", 0.0},       {&kGainLaw, "-inf", 0.0},       {&kWaveformLaw, "sin", 0.0},
    {&kWaveformLaw, "sinus", 0.0}, {&kWaveformLaw, "sine", 0.0},   {&kWaveformLaw, "env", 0.5},
    {&kWaveformLaw, "sqr", 1.0},   {&kWaveformLaw, "square", 1.0},
};

// The units that a number may carry, and what one of them is in the displayed unit.
struct Unit {
    const DisplayLaw* law;
    std::string_view text;
    double factor;
};

constexpr Unit kUnits[] = {
    {&kReferenceLaw, "dB", 1.0},   {&kGainLaw, "dB", 1.0},    {&kDelayTimeLaw, "ms", 1.0},
    {&kDelayTimeLaw, "s", 1e3},    {&kCutoffLaw, "kHz", 1.0}, {&kCutoffLaw, "k", 1.0},
    {&kCutoffLaw, "Hz", 1e-3},     {&kLfoRateLaw, "Hz", 1.0}, {&kDegreesLaw, "deg", 1.0},
    {&kDegreesLaw, "\u00b0", 1.0}, {&kTempoLaw, "BPM", 1.0},  {&kPercentLaw, "%", 1.0},
};

// Reads a number, its unit and nothing else, in the displayed unit.
std::optional<double> readNumber(const DisplayLaw& law, std::string_view typed) {
    std::string text(typed);
    if (&law == &kPercentLaw && equalIgnoringCase(typed.substr(0, 3), "ext")) {
        text = trimmed(typed.substr(3));
    }
    std::replace(text.begin(), text.end(), ',', '.');
    if (&law == &kCutoffLaw) {
        // As it is displayed, with the k in the place of the decimal mark: 2k5.
        const std::size_t mark = text.find_first_of("kK");
        if (mark != std::string::npos && mark + 1 < text.size() && text[mark + 1] >= '0' &&
            text[mark + 1] <= '9') {
            if (text.find('.') != std::string::npos) return std::nullopt;
            text[mark] = '.';
            text += "kHz";
        }
    }
    const char* begin = text.data();
    const char* const end = begin + text.size();
    if (begin != end && *begin == '+') {
        ++begin;
        if (begin != end && *begin == '-') return std::nullopt;
    }
    double number = 0.0;
    const auto [rest, error] = std::from_chars(begin, end, number, std::chars_format::fixed);
    if (error != std::errc() || !std::isfinite(number)) return std::nullopt;
    const std::string_view unit = trimmed(std::string_view(rest, end - rest));
    if (unit.empty()) {
        // No cutoff reaches 100 kHz, so a bare number of that size is in Hz.
        return &law == &kCutoffLaw && number >= 100.0 ? number * 1e-3 : number;
    }
    for (const Unit& known : kUnits) {
        if (known.law == &law && equalIgnoringCase(known.text, unit)) return number * known.factor;
    }
    return std::nullopt;
}

std::optional<double> parseContinuous(uint32_t index, std::string_view text) {
    const DisplayLaw& law = *displayLaw(index);
    for (const Word& word : kWords) {
        if (word.law == &law && equalIgnoringCase(word.text, text)) return word.value;
    }
    const auto number = readNumber(law, text);
    if (!number) return std::nullopt;
    const auto nearest = normalisedFromPlain(index, *number);
    if (!nearest) return std::nullopt;
    // A number at the edge of a named band ("-0.0" beside "env") or of the range is displayed
    // only on one side of its exact place: a value there that reads as typed is preferred.
    const double nudge = 0.45 * std::pow(10.0, -law.decimals);
    for (const double candidate : {*number, *number - nudge, *number + nudge}) {
        const double value = clampNormalised(law.toNormalised(candidate));
        if (continuousText(index, value) == text) return value;
    }
    return nearest;
}

std::optional<double> parseState(const ParameterInfo& info, std::string_view text) {
    const int count = info.stepCount() + 1;
    for (int state = 0; state < count; ++state) {
        if (equalIgnoringCase(info.states[state], text)) return listValue(state, count);
    }
    if (info.kind == ParameterKind::Switch && (text == "0" || text == "1")) {
        return text == "1" ? 1.0 : 0.0;
    }
    return std::nullopt;
}

}  // namespace

void getParameterName(uint32_t index, std::span<char> buffer) {
    writeText(index < kParameterCount ? kParameters[index].name : "-", buffer);
}

void getParameterShortName(uint32_t index, std::span<char> buffer) {
    writeText(index < kParameterCount ? kParameters[index].shortName : "-", buffer);
}

void getParameterText(int32_t index, double value, std::span<char> buffer) {
    if (index < 0) {
        writeText(" ", buffer);
    } else if (index >= static_cast<int32_t>(kEmptySlot)) {
        writeText("", buffer);  // the editor shows these states with its own controls
    } else {
        writeText(valueText(static_cast<uint32_t>(index), clampNormalised(value)), buffer);
    }
}

std::optional<double> parseParameterText(uint32_t index, std::string_view text) {
    if (index >= kParameterCount) return std::nullopt;
    text = trimmed(text);
    const ParameterInfo& info = kParameters[index];
    switch (info.kind) {
        case ParameterKind::Switch:
        case ParameterKind::List:
            return parseState(info, text);
        case ParameterKind::Notes: {
            auto note = delayNoteByText(text);
            if (note && index == kLfoNote) note = kNoteCount - 1 - *note;
            return note ? std::optional(listValue(*note, kNoteCount)) : std::nullopt;
        }
        case ParameterKind::Continuous:
            return parseContinuous(index, text);
        case ParameterKind::Empty:
            break;
    }
    return std::nullopt;
}

double plainFromNormalised(uint32_t index, double value) {
    const double v = clampNormalised(value);
    if (index >= kParameterCount) return v;
    if (const DisplayLaw* law = displayLaw(index)) return law->toPlain(v);
    return listState(v, kParameters[index].stepCount() + 1);
}

std::optional<double> normalisedFromPlain(uint32_t index, double plain) {
    if (!std::isfinite(plain)) return std::nullopt;
    if (const DisplayLaw* law = displayLaw(index)) {
        // What would be displayed as the range's end is taken for it.
        const double tolerance = 0.5 * std::pow(10.0, -law->decimals);
        if (plain < law->lowest - tolerance || plain > law->highest + tolerance) {
            return std::nullopt;
        }
        return clampNormalised(law->toNormalised(plain));
    }
    const double highest = index < kParameterCount ? kParameters[index].stepCount() : 1.0;
    if (plain < 0.0 || plain > highest) return std::nullopt;
    if (index >= kParameterCount) return plain;
    return highest > 0.0 ? std::round(plain) / highest : 0.0;
}

}  // namespace Quorvant
