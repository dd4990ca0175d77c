#include "params/ParameterTable.h"

#include "params/ParameterLaws.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace Quorvant {
namespace {

using Names2 = std::array<std::string_view, 2>;
using Names4 = std::array<std::string_view, 4>;

constexpr Names2 kOffOn = {"Off", "On"};
constexpr Names2 kPresetGlobal = {"Preset", "Global"};
constexpr Names2 kDelayClock = {"Dly", "Clk"};
constexpr Names2 kPositiveNegative = {"Positive", "Negative"};
constexpr Names2 kNormalSynchro = {"Normal", "Synchro"};
constexpr Names2 kTempoSource = {"DAWTempo", "ManualTempo"};
constexpr Names2 kNoteStyles = {"Music", "TDL77"};
constexpr Names2 kCloseOpen = {"Close", "Open"};
constexpr Names2 kHideShow = {"Hide", "Show"};
constexpr Names4 kModes = {"Clean", "Legacy", "Lims", "Full"};
constexpr Names4 kDirections = {"Forward", "Backward", "Reverse", "Bounce"};

constexpr uint32_t kPreset = kFlagPreset | kFlagAutomatable;
constexpr uint32_t kStored = kFlagStored | kFlagAutomatable;

// The numbers that are displayed. Some laws differ from what the engine makes of the same value
// (gain by 6 dB a doubling, Manual Tempo, Hi Cut Cutoff): intended.

constexpr double kToTheTop = 2.0;  // beyond every value

constexpr ValueUnit kDecibels[] = {{"dB", 1.0}};
constexpr ValueUnit kTimes[] = {{"ms", 1.0}, {"sec", 1e3}, {"s", 1e3}};
constexpr ValueUnit kCutoffs[] = {{"kHz", 1.0}, {"k", 1.0}, {"Hz", 1e-3}};
constexpr ValueUnit kRates[] = {{"kHz", 1e3}, {"Hz", 1.0}};
constexpr ValueUnit kDegrees[] = {{"deg", 1.0}, {"\u00b0", 1.0}};
constexpr ValueUnit kTempos[] = {{"BPM", 1.0}};
constexpr ValueUnit kPercents[] = {{"%", 1.0}};

constexpr ValueWord kLowestReference[] = {{"-10", 0.0}};
constexpr double kSilentBelow = 0.0005;  // a gain of 1e-06
constexpr ValueWord kSilence[] = {
    {"-oo", 0.0, 0.0, kSilentBelow}, {"oo", 0.0}, {"-inf", 0.0}, {"inf", 0.0}, {"off", 0.0}};
// "squere" is accepted on purpose.
constexpr ValueWord kWaves[] = {{"sin", 0.0, 0.0, 0.005},
                                {"env", 0.5, 0.498, 0.502},
                                {"sqr", 1.0, 0.995, kToTheTop},
                                {"sinus", 0.0},
                                {"sine", 0.0},
                                {"square", 1.0},
                                {"squere", 1.0}};
// From where two decimals would take a fifth place.
constexpr ValueWord kFastestRate[] = {{"10.", 1.0, 0.99989139922706793, kToTheTop}};

constexpr double kReferenceFloor = 0.316227766016838;          // -10 dB
constexpr double kLowestCutoff = 0.5 * 0.6666666666667 * 6.0;  // kHz

constexpr NumberLaw kReferenceLaw = {
    .toPlain = [](double v) { return 20.0 * std::log10(std::pow(10.0, v) * kReferenceFloor); },
    .toNormalised = [](double dB) { return dB / 20.0 + 0.5; },
    .decimals = 1,
    .unit = "dB",
    .units = kDecibels,
    .words = kLowestReference};
constexpr NumberLaw kGainLaw = {
    .toPlain =
        [](double v) {
            return 6.0 * std::log(gainFactor(std::max(v, kSilentBelow))) / std::log(2.0);
        },
    .toNormalised = gainValue,
    .decimals = 1,
    .unit = "dB",
    .units = kDecibels,
    .words = kSilence};
constexpr NumberLaw kTenthsLaw = {.toPlain = [](double v) { return v * 10.0; },
                                  .toNormalised = [](double x) { return x / 10.0; },
                                  .decimals = 1};
constexpr NumberLaw kDelayTimeLaw = {.toPlain = delayTimeMs,
                                     .toNormalised = delayTimeValue,
                                     .decimals = 0,
                                     .unit = "ms",
                                     .units = kTimes,
                                     .halvesUp = true,
                                     .shortEndSpread = true};
// No cutoff reaches 100 kHz.
constexpr NumberLaw kCutoffLaw = {
    .toPlain = [](double v) { return std::pow(9.0, v) * kLowestCutoff; },
    .toNormalised = [](double kHz) { return std::log(kHz / kLowestCutoff) / std::log(9.0); },
    .decimals = 1,
    .unit = "Hz",
    .units = kCutoffs,
    .halvesUp = true,
    .mark = 'k',
    .lastUnitFrom = 100.0};
constexpr NumberLaw kVcoLaw = {.toPlain = [](double v) { return v + 0.5; },
                               .toNormalised = [](double x) { return x - 0.5; },
                               .decimals = 2};
constexpr NumberLaw kWaveformLaw = {.toPlain = [](double v) { return v * 20.0 - 10.0; },
                                    .toNormalised = [](double x) { return x / 20.0 + 0.5; },
                                    .decimals = 1,
                                    .words = kWaves};
constexpr NumberLaw kLfoRateLaw = {.toPlain = [](double v) { return std::pow(100.0, v) * 0.1; },
                                   .toNormalised = lfoRateValue,
                                   .decimals = 2,
                                   .unit = "Hz",
                                   .units = kRates,
                                   .words = kFastestRate};
constexpr NumberLaw kDegreesLaw = {.toPlain = [](double v) { return v * 360.0 - 180.0; },
                                   .toNormalised = [](double x) { return (x + 180.0) / 360.0; },
                                   .decimals = 0,
                                   .unit = "deg",
                                   .units = kDegrees};
constexpr NumberLaw kTempoLaw = {.toPlain = [](double v) { return v * 370.0 + 30.0; },
                                 .toNormalised = [](double bpm) { return (bpm - 30.0) / 370.0; },
                                 .decimals = 1,
                                 .unit = "BPM",
                                 .units = kTempos};
constexpr NumberLaw kHeardTempoLaw = {.toPlain = manualTempoBpm,
                                      .toNormalised = manualTempoValue,
                                      .decimals = 1,
                                      .unit = "BPM",
                                      .units = kTempos};
constexpr NumberLaw kPercentLaw = {.toPlain = [](double v) { return v * 100.0; },
                                   .toNormalised = [](double x) { return x / 100.0; },
                                   .decimals = 0,
                                   .units = kPercents,
                                   .halvesUp = true,
                                   .prefix = "Ext"};

using Info = ParameterInfo;
using Group = ParameterGroup;

constexpr Info makeStates(std::string_view name, std::string_view shortName,
                          std::span<const std::string_view> states, double defaultValue,
                          uint32_t flags, Group group) {
    return {name, shortName, states, nullptr, nullptr, defaultValue, flags, group};
}

constexpr Info makeNotes(std::string_view name, std::string_view shortName, const NoteList& notes,
                         double defaultValue, uint32_t flags, Group group) {
    return {name, shortName, {}, &notes, nullptr, defaultValue, flags, group};
}

constexpr Info makeNumber(std::string_view name, std::string_view shortName, const NumberLaw& law,
                          double defaultValue, uint32_t flags, Group group,
                          const NumberLaw* heardLaw = nullptr) {
    return {name, shortName, {}, nullptr, &law, defaultValue, flags, group, heardLaw};
}

constexpr double kDefaultDelayTime = 0.026041666666666668;   // 250 ms
constexpr double kDefaultDelayNote = 0.3728813559322034;     // "1/4"
constexpr double kDefaultLfoNote = 0.6271186440677966;       // "1/4" in the falling list
constexpr double kDefaultManualTempo = 0.24324324324324326;  // reads 120.0

}  // namespace

constexpr std::array<ParameterInfo, kParameterCount> kParameters = {{
    makeStates("Process", "Process", kOffOn, 1.0, kPreset, Group::Levels),
    makeStates("Processing Mode", "ProcMde", kModes, 0.0, kPreset, Group::Levels),
    makeStates("Sensitivity", "Sens", kOffOn, 1.0, kPreset, Group::Levels),
    makeNumber("Reference Level", "RefLevl", kReferenceLaw, 0.5, kPreset, Group::Levels),
    makeNumber("Input", "Input", kGainLaw, 0.5, kPreset, Group::Levels),
    makeNumber("Output", "Output", kGainLaw, 0.5, kPreset, Group::Levels),
    makeNumber("Mix", "Mix", kTenthsLaw, 0.5, kPreset, Group::Levels),
    makeStates("Bypass", "Bypass", kOffOn, 0.0, kPreset, Group::Levels),

    makeStates("Global", "Global", kPresetGlobal, 0.0, kStored, Group::Global),
    makeStates("Glbl Sensitivity", "GSens", kOffOn, 1.0, kStored, Group::Global),
    makeNumber("Glbl Reference Level", "GRefLvl", kReferenceLaw, 0.5, kStored, Group::Global),
    makeNumber("Glbl Input", "GInput", kGainLaw, 0.5, kStored, Group::Global),
    makeNumber("Glbl Output", "GOutput", kGainLaw, 0.5, kStored, Group::Global),
    makeNumber("Glbl Mix", "GMix", kTenthsLaw, 0.5, kStored, Group::Global),
    makeStates("Glbl Bypass", "GBypass", kOffOn, 0.0, kStored, Group::Global),

    makeNumber("Delay Time", "DlyTime", kDelayTimeLaw, kDefaultDelayTime, kPreset, Group::Delay),
    makeStates("Dly-Clk Mode", "Dly-Clk", kDelayClock, 0.0, kPreset, Group::Delay),
    makeNotes("Delay Note", "DlyNote", kDelayNotes, kDefaultDelayNote, kPreset, Group::Delay),
    makeStates("Delay X2", "DlyX2", kOffOn, 0.0, kPreset, Group::Delay),
    makeStates("Dly Invert", "DlyInv", kOffOn, 0.0, kPreset, Group::Delay),
    makeStates("Direction Mode", "DirMode", kDirections, 0.0, kPreset, Group::Delay),

    makeNumber("Feedback", "Feedbck", kTenthsLaw, 0.3, kPreset, Group::Feedback),
    makeStates("Fbck Invert", "FbckInv", kOffOn, 0.0, kPreset, Group::Feedback),
    makeStates("Hi Cut", "HiCut", kOffOn, 0.0, kPreset, Group::Feedback),
    makeNumber("Hi Cut Cutoff", "Cutoff", kCutoffLaw, 0.5, kPreset, Group::Feedback),
    makeStates("Inf Repeat", "InfRpt", kOffOn, 0.0, kPreset, Group::Feedback),

    makeNumber("Manual VCO", "ManVCO", kVcoLaw, 0.5, kPreset, Group::Modulation),
    makeNumber("Depth", "Depth", kTenthsLaw, 0.0, kPreset, Group::Modulation),
    makeStates("Env Invert", "EnvInv", kPositiveNegative, 0.0, kPreset, Group::Modulation),
    makeNumber("Waveform", "Wavefor", kWaveformLaw, 0.5, kPreset, Group::Modulation),
    makeNumber("LFO Rate", "LFOrate", kLfoRateLaw, 0.5, kPreset, Group::Modulation),
    makeStates("LFO Sync", "LFOsync", kNormalSynchro, 0.0, kPreset, Group::Modulation),
    makeNotes("LFO Note", "LFOnote", kLfoNotes, kDefaultLfoNote, kPreset, Group::Modulation),
    makeNumber("LFO Offset", "LFOofst", kDegreesLaw, 0.5, kPreset, Group::Modulation),

    makeStates("Enforce Manual Tempo", "EnfTmpo", kTempoSource, 0.0, kStored, Group::Tempo),
    makeNumber("Manual Tempo", "ManTmpo", kTempoLaw, kDefaultManualTempo, kStored, Group::Tempo,
               &kHeardTempoLaw),

    makeNumber("S.C.Int-Ext", "scIntEx", kPercentLaw, 0.0, kPreset, Group::SideChain),
    makeStates("S.C.Monitor", "scMonit", kOffOn, 0.0, kPreset | kFlagStored, Group::SideChain),

    // The slot is empty on purpose; the indices above it are not moved down.
    {"-", "-", {}, nullptr, nullptr, 0.0, 0, Group::View},
    makeStates("Note View Style", "NoteStl", kNoteStyles, 0.0, kFlagView, Group::View),
    makeStates("Show-Hide Extensions", "ShowExt", kCloseOpen, 1.0, kFlagView, Group::View),
    makeStates("Default Extensions Panel", "DefExt", kHideShow, 0.0, kFlagView, Group::View),
}};

double parameterDefault(uint32_t index) {
    return index < kParameterCount ? kParameters[index].defaultValue : 0.0;
}

std::string_view parameterGroupName(ParameterGroup group) {
    static constexpr std::array<std::string_view, kParameterGroupCount> kNames = {
        "Levels", "Global", "Delay", "Feedback", "Modulation", "Tempo", "Side chain", "View"};
    const auto index = static_cast<std::size_t>(group) - 1;
    return index < kNames.size() ? kNames[index] : std::string_view("-");
}

}  // namespace Quorvant
