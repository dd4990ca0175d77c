#include "params/ParameterTable.h"

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

using Info = ParameterInfo;
using Group = ParameterGroup;

constexpr Info makeSwitch(std::string_view name, std::string_view shortName, const Names2& states,
                          double defaultValue, uint32_t flags, Group group) {
    return {name, shortName, ParameterKind::Switch, states, "", defaultValue, flags, group};
}

constexpr Info makeList(std::string_view name, std::string_view shortName, const Names4& states,
                        double defaultValue, uint32_t flags, Group group) {
    return {name, shortName, ParameterKind::List, states, "", defaultValue, flags, group};
}

constexpr Info makeNotes(std::string_view name, std::string_view shortName, double defaultValue,
                         uint32_t flags, Group group) {
    return {name, shortName, ParameterKind::Notes, {}, "", defaultValue, flags, group};
}

constexpr Info makeNumber(std::string_view name, std::string_view shortName, std::string_view unit,
                          double defaultValue, uint32_t flags, Group group) {
    return {name, shortName, ParameterKind::Continuous, {}, unit, defaultValue, flags, group};
}

constexpr double kDefaultDelayTime = 0.026041666666666668;   // 250 ms
constexpr double kDefaultDelayNote = 0.3728813559322034;     // "1/4"
constexpr double kDefaultLfoNote = 0.6271186440677966;       // "1/4" in the falling list
constexpr double kDefaultManualTempo = 0.24324324324324326;  // reads 120.0

}  // namespace

constexpr std::array<ParameterInfo, kParameterCount> kParameters = {{
    makeSwitch("Process", "Process", kOffOn, 1.0, kPreset, Group::Levels),
    makeList("Processing Mode", "ProcMde", kModes, 0.0, kPreset, Group::Levels),
    makeSwitch("Sensitivity", "Sens", kOffOn, 1.0, kPreset, Group::Levels),
    makeNumber("Reference Level", "RefLevl", "dB", 0.5, kPreset, Group::Levels),
    makeNumber("Input", "Input", "dB", 0.5, kPreset, Group::Levels),
    makeNumber("Output", "Output", "dB", 0.5, kPreset, Group::Levels),
    makeNumber("Mix", "Mix", "", 0.5, kPreset, Group::Levels),
    makeSwitch("Bypass", "Bypass", kOffOn, 0.0, kPreset, Group::Levels),

    makeSwitch("Global", "Global", kPresetGlobal, 0.0, kStored, Group::Global),
    makeSwitch("Glbl Sensitivity", "GSens", kOffOn, 1.0, kStored, Group::Global),
    makeNumber("Glbl Reference Level", "GRefLvl", "dB", 0.5, kStored, Group::Global),
    makeNumber("Glbl Input", "GInput", "dB", 0.5, kStored, Group::Global),
    makeNumber("Glbl Output", "GOutput", "dB", 0.5, kStored, Group::Global),
    makeNumber("Glbl Mix", "GMix", "", 0.5, kStored, Group::Global),
    makeSwitch("Glbl Bypass", "GBypass", kOffOn, 0.0, kStored, Group::Global),

    makeNumber("Delay Time", "DlyTime", "ms", kDefaultDelayTime, kPreset, Group::Delay),
    makeSwitch("Dly-Clk Mode", "Dly-Clk", kDelayClock, 0.0, kPreset, Group::Delay),
    makeNotes("Delay Note", "DlyNote", kDefaultDelayNote, kPreset, Group::Delay),
    makeSwitch("Delay X2", "DlyX2", kOffOn, 0.0, kPreset, Group::Delay),
    makeSwitch("Dly Invert", "DlyInv", kOffOn, 0.0, kPreset, Group::Delay),
    makeList("Direction Mode", "DirMode", kDirections, 0.0, kPreset, Group::Delay),

    makeNumber("Feedback", "Feedbck", "", 0.3, kPreset, Group::Feedback),
    makeSwitch("Fbck Invert", "FbckInv", kOffOn, 0.0, kPreset, Group::Feedback),
    makeSwitch("Hi Cut", "HiCut", kOffOn, 0.0, kPreset, Group::Feedback),
    makeNumber("Hi Cut Cutoff", "Cutoff", "Hz", 0.5, kPreset, Group::Feedback),
    makeSwitch("Inf Repeat", "InfRpt", kOffOn, 0.0, kPreset, Group::Feedback),

    makeNumber("Manual VCO", "ManVCO", "", 0.5, kPreset, Group::Modulation),
    makeNumber("Depth", "Depth", "", 0.0, kPreset, Group::Modulation),
    makeSwitch("Env Invert", "EnvInv", kPositiveNegative, 0.0, kPreset, Group::Modulation),
    makeNumber("Waveform", "Wavefor", "", 0.5, kPreset, Group::Modulation),
    makeNumber("LFO Rate", "LFOrate", "Hz", 0.5, kPreset, Group::Modulation),
    makeSwitch("LFO Sync", "LFOsync", kNormalSynchro, 0.0, kPreset, Group::Modulation),
    makeNotes("LFO Note", "LFOnote", kDefaultLfoNote, kPreset, Group::Modulation),
    makeNumber("LFO Offset", "LFOofst", "deg", 0.5, kPreset, Group::Modulation),

    makeSwitch("Enforce Manual Tempo", "EnfTmpo", kTempoSource, 0.0, kStored, Group::Tempo),
    makeNumber("Manual Tempo", "ManTmpo", "BPM", kDefaultManualTempo, kStored, Group::Tempo),

    makeNumber("S.C.Int-Ext", "scIntEx", "", 0.0, kPreset, Group::SideChain),
    makeSwitch("S.C.Monitor", "scMonit", kOffOn, 0.0, kPreset | kFlagStored, Group::SideChain),

    // The slot is empty on purpose; the indices above it are not moved down.
    {"-", "-", ParameterKind::Empty, {}, "", 0.0, 0, Group::View},
    makeSwitch("Note View Style", "NoteStl", kNoteStyles, 0.0, kFlagView, Group::View),
    makeSwitch("Show-Hide Extensions", "ShowExt", kCloseOpen, 1.0, kFlagView, Group::View),
    makeSwitch("Default Extensions Panel", "DefExt", kHideShow, 0.0, kFlagView, Group::View),
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
