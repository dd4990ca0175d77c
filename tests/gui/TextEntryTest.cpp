#include "gui/TextEntry.h"
#include "params/ParameterTable.h"
#include "params/ParameterText.h"

#include <gtest/gtest.h>

#include <string>

namespace Quorvant {
namespace {

// What the field shows after the text was typed.
std::string shown(uint32_t index, const char* typed) {
    const auto value = valueFromTyped(index, typed);
    return value ? textToType(index, *value) : "refused";
}

TEST(TextEntry, TurnsWordsNumbersAndUnitsIntoValuesWithinTheRange) {
    const struct {
        uint32_t index;
        const char* typed;
        const char* shown;
    } cases[] = {{kDelayTime, "1K5", "1500"},
                 {kDelayTime, " 1.5 sec ", "1500"},
                 {kDelayTime, "333ms", "333"},
                 {kDelayTime, "99999", "9600"},
                 {kDelayTime, "-4", "0"},
                 {kDelayTime, "", "refused"},
                 {kDelayTime, "ms", "refused"},
                 {kDelayTime, "12a", "refused"},
                 {kDelayTime, "sin", "refused"},
                 {kWaveform, "SQUERE", "sqr"},
                 {kWaveform, "-5", "-5.0"},
                 {kReferenceLevel, "-10", "-10.0"},
                 {kGlobalReferenceLevel, "+3,5 dB", "3.5"},
                 {kInput, "off", "-oo"},
                 {kInput, "-119.6", "-119.6"},
                 {kInput, "-oo dB", "-oo"},
                 {kMix, "5 Hz", "refused"},
                 {kHighCutCutoff, "2k5", "2k5"},
                 {kHighCutCutoff, "4000", "4k0"},
                 {kHighCutCutoff, "9 kHz", "9k0"},
                 {kHighCutCutoff, "2k5 Hz", "2k5"},
                 {kHighCutCutoff, "12", "12k0"},
                 {kLfoRate, "500m", "0.50"},
                 {kManualTempo, "128 bpm", "128.0"},
                 {kManualTempo, "20", "20.0"},
                 {kManualTempo, "1k", "600.0"},
                 {kSideChainIntExt, "Ext40", "Ext40"},
                 {kLfoNote, "3/1", "3/1"},
                 {kDirectionMode, "bounce", "Bounce"},
                 {kDirectionMode, "up", "refused"},
                 {kEmptySlot, "1", "refused"},
                 {kParameterCount, "1", "refused"}};
    for (const auto& c : cases) {
        EXPECT_EQ(shown(c.index, c.typed), c.shown) << c.index << " '" << c.typed << "'";
    }
}

// Hosts and the readout tell different numbers of the same value.
TEST(TextEntry, TakesTheTempoThatIsHeard) {
    EXPECT_EQ(valueFromTyped(kManualTempo, "310"), 0.5);
    EXPECT_EQ(parameterText(kManualTempo, 0.5), "215.0");
}

}  // namespace
}  // namespace Quorvant
