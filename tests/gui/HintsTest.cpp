#include "gui/Hints.h"
#include "params/ParameterText.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace Quorvant {
namespace {

const std::map<uint32_t, std::string> kExpected = {
    {0, "Turns the entire effect on.\nPlug-in is bypassed when the button is disengaged.\n"},
    {1, "Sets the Delay Processing mode"},
    {2,
     "Sets up input and output reference level to -10dBV or +4dBu.\nThe control is in single "
     "Preset mode.\n"},
    {3,
     "Controls the plug-ins reference level.\n Negative values lowers limiters' and converters "
     "ceiling levels,\n positive values raises AD/DA conversion noise\n when FULL processing mode "
     "is selected.\nThe control is in single Preset mode.\n"},
    {4, "Sets up the Input Gain.\nThe control is in single Preset mode.\n"},
    {5, "Sets the Output Gain.\nThe control is in single Preset mode.\n"},
    {6,
     "Sets the ratio of dry (unprocessed) to wet (processed) signals.\nThe control is in single "
     "Preset mode.\n"},
    {7,
     "Engages Bypass.\nSilence is recorded into the delay and delay's wet signal is muted.\nThe "
     "control is in single Preset mode.\n"},
    {8,
     "Engages the Global mode for selected controls: Input, Mix, Output, Bypass, Sensitivity and "
     "Reference.\nWhen the Global mode is engaged settings of selected controls are preset "
     "independent.\nPress Ctrl and click to copy visible settings between Preset and Global "
     "modes.\n"},
    {9,
     "Sets up input and output reference level to -10dBV or +4dBu.\nThe control is in Global - "
     "factory preset independent - mode.\n"},
    {10,
     "Controls the plug-ins reference level.\n Negative values lowers limiters' and converters "
     "ceiling levels,\n positive values raises AD/DA conversion noise\n when FULL processing mode "
     "is selected.\nThe control is in Global - factory preset independent - mode.\n"},
    {11,
     "Sets up the Input Gain.\nThe control is in Global - factory preset independent - mode.\n"},
    {12, "Sets the Output Gain.\nThe control is in Global - factory preset independent - mode.\n"},
    {13,
     "Sets the ratio of dry (unprocessed) to wet (processed) signals.\nThe control is in Global - "
     "factory preset independent - mode.\n"},
    {14,
     "Engages Bypass.\nSilence is recorded into the delay and delay's wet signal is muted.\nThe "
     "control is in Global - factory preset independent - mode.\n"},
    {15,
     "Sets the delay time in milliseconds.\nHold SHIFT for fine control.\nALT + click to restore "
     "the default value.\nDouble-click to edit value.\n"},
    {16, "Selects the time (ms) or sunced (clk) delay mode."},
    {17, "Delay Note\nSets the delay time as note value.\nHold SHIFT key for extended list.\n"},
    {18,
     "Engages the X2 delay mode.\nA sample rate is by half and the delay time is doubled when X2 "
     "is engaged.\n"},
    {19, "Reverses Delay's Polarity."},
    {20, "Sets up the Delay Direction playback mode."},
    {21, "Fedback level control."},
    {22, "Reverses Feedback's Polarity."},
    {23, "Engages feedback high cut filter."},
    {24, "Sets up the high cut cutoff frequency."},
    {25,
     "Engages the Ininit Looping mode.\nThe signal in the buffer is continuosly playback,\n no "
     "incomming signal or feedback is overwritting the buffer.\n"},
    {26, "Adjusts the VCO's sample rate."},
    {27, "Controls the amount of VCO (Voltage Controlled Oscillator) Modulation."},
    {28,
     "Invertes the polarity of envelope follower. Default to Off for the best hardware "
     "compatibility,\n set to On for Legacy mode compatibility.\n"},
    {29,
     "Controls the VCO Modulation wave shape.\n CCW setting results in clean sinus wave,\n CW "
     "setting results in clean suqare wave,\n center setting results in envelope follower "
     "controlled modulation.\n"},
    {30, "Sets up the Sinus and Square LFO's Rate."},
    {31, "Enables the LFO Rate's synchronisation to host tempo and song's beginning."},
    {32, "Selects the LFO Note Value for Sinus and Square waves when the LFO Sync mode is engaged"},
    {33, "Controls the LFO's Phase Offset when the LFO Sync mode is engaged"},
    {35,
     "Shows current tempo in bpm.\nIf MANUAL TEMPO is lit, the tempo can be set "
     "manually.\nDouble-click to edit value.\nKeep holding Ctrl key.\n"},
    {61, "The Headroom LEDs bar."},
    {71, "Delay Time\nDecrements the Delay time in milliseconds"},
    {72, "Delay Time\nIncrements the Delay time in milliseconds"},
    {73, "Delay Note\nDecrements the Delay note value.\nHold SHIFT for extended range.\n"},
    {74, "Delay Note\nIncrements the Delay note value.\nHold SHIFT for extended range.\n"},
    {75, "Delay Note\nSets the delay time as note value.\nHold SHIFT key for extended list.\n"},
    {77, "Shows the bottom extensions panel."},
    {78, "Hides the bottom extensions panel."},
    {98,
     "Delay Time\nSets the delay time in milliseconds.\nHold SHIFT key for fine control.\nALT + "
     "click to restore the default value.\nDouble-click to edit value.\nHold Ctrl for tempo "
     "info.\n"},
    {109, "Click on the label to open the About Box and control panel."},
    {110, "Click on the label to open the Front Panel."},
};

TEST(Hints, AreTheProductsWordingLetterForLetter) {
    for (uint32_t id = 0; id <= 200; ++id) {
        const auto found = kExpected.find(id);
        const std::string text = found == kExpected.end() ? "..." : found->second;
        char name[kNameCapacity];
        getParameterName(id, name);
        const std::string front = std::string(name) == "-" ? "" : std::string(name) + ":\n";
        EXPECT_EQ(hintText(id), front + text) << id;
    }
}

}  // namespace
}  // namespace Quorvant
