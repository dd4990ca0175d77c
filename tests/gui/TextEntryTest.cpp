#include "gui/Tempo.h"
#include "gui/TextEntry.h"
#include "params/ParameterLaws.h"
#include "params/ParameterTable.h"
#include "params/ParameterText.h"

#include <gtest/gtest.h>

#include <string>

namespace Quorvant {
namespace {

std::string shown(uint32_t index, const char* typed) {
    const auto value = valueFromTyped(index, typed);
    if (!value) return "refused";
    char text[kTextCapacity];
    getParameterText(static_cast<int32_t>(index), *value, text);
    return text;
}

TEST(TextEntry, TurnsWordsNumbersAndUnitsIntoValues) {
    struct Case {
        uint32_t index;
        const char* typed;
        const char* shown;
    };
    for (const Case& c : {Case{kDelayTime, "500", "500"},
                          {kDelayTime, "1k5", "1500"},
                          {kDelayTime, "1.5 s", "1500"},
                          {kDelayTime, "333ms", "333"},
                          {kDelayTime, "99999", "9600"},
                          {kDelayTime, "-4", "0"},
                          {kWaveform, "Sinus", "sin"},
                          {kWaveform, "SQUERE", "sqr"},
                          {kWaveform, "env", "env"},
                          {kWaveform, "-5", "-5.0"},
                          {kReferenceLevel, "-10", "-10.0"},
                          {kGlobalReferenceLevel, "+3,5 dB", "3.5"},
                          {kInput, "-oo", "-oo"},
                          {kInput, "6", "6.0"},
                          {kGlobalOutput, "-6 dB", "-6.0"},
                          {kHighCutCutoff, "2k5", "2k5"},
                          {kHighCutCutoff, "4000", "4k0"},
                          {kHighCutCutoff, "9 kHz", "9k0"},
                          {kHighCutCutoff, "2500 Hz", "2k5"},
                          {kHighCutCutoff, "12", "12k0"},
                          {kLfoRate, "500m", "0.50"},
                          {kLfoRate, "2 Hz", "2.00"},
                          {kLfoOffset, "90\u00b0", "90"},
                          {kManualVco, "1,25", "1.25"},
                          {kDelayNote, "1/8 dotted", "1/8 Dotted"},
                          {kLfoNote, "3/1", "3/1"},
                          {kDirectionMode, "bounce", "Bounce"},
                          {kBypass, "on", "On"},
                          {kSideChainIntExt, "25", "Ext25"},
                          {kSideChainIntExt, "Ext40", "Ext40"}}) {
        EXPECT_EQ(shown(c.index, c.typed), c.shown) << c.index << " '" << c.typed << "'";
    }
}

TEST(TextEntry, TakesTheTempoThatIsHeard) {
    for (const auto& [typed, bpm] : {std::pair{"128 bpm", 128.0}, {"20", 20.0}, {"1k", 600.0}}) {
        EXPECT_NEAR(manualTempoBpm(valueFromTyped(kManualTempo, typed).value()), bpm, 1e-9);
    }
}

TEST(TextEntry, RefusesWhatMeansNoValue) {
    struct Case {
        uint32_t index;
        const char* typed;
    };
    for (const Case& c : {Case{kDelayTime, ""},
                          {kDelayTime, "   "},
                          {kDelayTime, "ms"},
                          {kDelayTime, "12a"},
                          {kDelayTime, "sin"},
                          {kMix, "-"},
                          {kMix, "5 Hz"},
                          {kDelayNote, "1/7"},
                          {kDirectionMode, "sideways"},
                          {kEmptySlot, "1"},
                          {kParameterCount, "1"}}) {
        EXPECT_EQ(shown(c.index, c.typed), "refused") << c.index << " '" << c.typed << "'";
    }
}

// What a readout shows can be typed back.
TEST(TextEntry, TakesEveryTextThatIsShown) {
    for (uint32_t index = 0; index < kEmptySlot; ++index) {
        if (index == kManualTempo) continue;  // the editor shows another law
        for (int step = 0; step <= 200; ++step) {
            char text[kTextCapacity];
            getParameterText(static_cast<int32_t>(index), step / 200.0, text);
            const std::string again = shown(index, text);
            if (index == kWaveform && (again == "env" || again == "-0.0" || again == "0.0"))
                continue;
            EXPECT_EQ(again, text) << index;
        }
    }
}

}  // namespace
}  // namespace Quorvant
