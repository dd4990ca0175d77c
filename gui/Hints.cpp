#include "gui/Hints.h"

#include "params/GlobalSet.h"
#include "params/ParameterText.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace Quorvant {
namespace {

struct Hint {
    uint32_t id;
    std::string_view text;
};

constexpr std::string_view kNoteText =
    "Delay Note\nSets the delay time as note value.\nHold SHIFT key for extended list.\n";

// The product's wording, odd forms included: not to be corrected. The controls that exist once per
// preset and once globally have a last line of their own, which is added below.
constexpr Hint kHints[] = {
    {kProcess, "Turns the entire effect on.\nPlug-in is bypassed when the button is disengaged.\n"},
    {kProcessingMode, "Sets the Delay Processing mode"},
    {kSensitivity, "Sets up input and output reference level to -10dBV or +4dBu.\n"},
    {kReferenceLevel,
     "Controls the plug-ins reference level.\n Negative values lowers limiters' and converters "
     "ceiling levels,\n positive values raises AD/DA conversion noise\n when FULL processing mode "
     "is selected.\n"},
    {kInput, "Sets up the Input Gain.\n"},
    {kOutput, "Sets the Output Gain.\n"},
    {kMix, "Sets the ratio of dry (unprocessed) to wet (processed) signals.\n"},
    {kBypass,
     "Engages Bypass.\nSilence is recorded into the delay and delay's wet signal is muted.\n"},
    {kGlobal,
     "Engages the Global mode for selected controls: Input, Mix, Output, Bypass, Sensitivity and "
     "Reference.\nWhen the Global mode is engaged settings of selected controls are preset "
     "independent.\nPress Ctrl and click to copy visible settings between Preset and Global "
     "modes.\n"},
    {kDelayTime,
     "Sets the delay time in milliseconds.\nHold SHIFT for fine control.\nALT + click to restore "
     "the default value.\nDouble-click to edit value.\n"},
    {kDelayClockMode, "Selects the time (ms) or sunced (clk) delay mode."},
    {kDelayNote, kNoteText},
    {kDelayX2,
     "Engages the X2 delay mode.\nA sample rate is by half and the delay time is doubled when X2 "
     "is engaged.\n"},
    {kDelayInvert, "Reverses Delay's Polarity."},
    {kDirectionMode, "Sets up the Delay Direction playback mode."},
    {kFeedback, "Fedback level control."},
    {kFeedbackInvert, "Reverses Feedback's Polarity."},
    {kHighCut, "Engages feedback high cut filter."},
    {kHighCutCutoff, "Sets up the high cut cutoff frequency."},
    {kInfRepeat,
     "Engages the Ininit Looping mode.\nThe signal in the buffer is continuosly playback,\n no "
     "incomming signal or feedback is overwritting the buffer.\n"},
    {kManualVco, "Adjusts the VCO's sample rate."},
    {kDepth, "Controls the amount of VCO (Voltage Controlled Oscillator) Modulation."},
    {kEnvInvert,
     "Invertes the polarity of envelope follower. Default to Off for the best hardware "
     "compatibility,\n set to On for Legacy mode compatibility.\n"},
    {kWaveform,
     "Controls the VCO Modulation wave shape.\n CCW setting results in clean sinus wave,\n CW "
     "setting results in clean suqare wave,\n center setting results in envelope follower "
     "controlled modulation.\n"},
    {kLfoRate, "Sets up the Sinus and Square LFO's Rate."},
    {kLfoSync, "Enables the LFO Rate's synchronisation to host tempo and song's beginning."},
    {kLfoNote,
     "Selects the LFO Note Value for Sinus and Square waves when the LFO Sync mode is engaged"},
    {kLfoOffset, "Controls the LFO's Phase Offset when the LFO Sync mode is engaged"},
    {kManualTempo,
     "Shows current tempo in bpm.\nIf MANUAL TEMPO is lit, the tempo can be set "
     "manually.\nDouble-click to edit value.\nKeep holding Ctrl key.\n"},
    {kHeadroomBarId, "The Headroom LEDs bar."},
    {kTimeDownId, "Delay Time\nDecrements the Delay time in milliseconds"},
    {kTimeUpId, "Delay Time\nIncrements the Delay time in milliseconds"},
    {kNoteDownId, "Delay Note\nDecrements the Delay note value.\nHold SHIFT for extended range.\n"},
    {kNoteUpId, "Delay Note\nIncrements the Delay note value.\nHold SHIFT for extended range.\n"},
    {kNoteReadoutId, kNoteText},
    {kShowExtensionsId, "Shows the bottom extensions panel."},
    {kHideExtensionsId, "Hides the bottom extensions panel."},
    {kTimeReadoutId,
     "Delay Time\nSets the delay time in milliseconds.\nHold SHIFT key for fine control.\nALT + "
     "click to restore the default value.\nDouble-click to edit value.\nHold Ctrl for tempo "
     "info.\n"},
    {kProductLabelId, "Click on the label to open the About Box and control panel."},
    {kAboutLabelId, "Click on the label to open the Front Panel."},
};

constexpr std::string_view kPresetLine = "The control is in single Preset mode.\n";
constexpr std::string_view kGlobalLine =
    "The control is in Global - factory preset independent - mode.\n";

constexpr std::size_t kLongestText = 512;

bool isGlobalCopy(uint32_t id) {
    return std::find(kGlobalSetIndices.begin(), kGlobalSetIndices.end(), id) !=
           kGlobalSetIndices.end();
}

std::string_view tableText(uint32_t id) {
    for (const Hint& hint : kHints) {
        if (hint.id == id) return hint.text;
    }
    return "...";
}

}  // namespace

const char* hintText(uint32_t id) {
    static std::string hint;
    const auto twin = globalTwin(id);
    std::string text(tableText(isGlobalCopy(id) ? *twin : id));
    if (twin) text += isGlobalCopy(id) ? kGlobalLine : kPresetLine;
    text.resize(std::min(text.size(), kLongestText));

    std::array<char, kNameCapacity> name;
    getParameterName(id, name);
    hint = name.data();
    hint = hint == "-" ? text : hint + ":\n" + text;
    return hint.c_str();
}

}  // namespace Quorvant
