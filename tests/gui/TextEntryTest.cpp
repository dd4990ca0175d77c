// What people type in the place of a value.
#include "gui/TextEntry.h"
#include "gui/TypedNumber.h"
#include "params/ParameterTable.h"
#include "params/ParameterText.h"

#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>
#include <string>

namespace Quorvant {
namespace {

TEST(TypedNumber, ReadsTheWaysPeopleWriteNumbersAndNoOthers) {
    constexpr double kRefused = -1.0;
    const struct {
        double value;
        std::initializer_list<const char*> texts;
    } cases[] = {
        {1500.0, {"1k5", "1.5k", "1m5k", "1 500", "+1500", "\0011500"}},
        {1205.0, {"1.2k5"}},
        {0.25, {"250m", ",25", ".25", "0..25"}},
        {1.5, {"1,5", "1,,5", "1..,5"}},
        {1.203, {"1.2.3"}},
        {5.0, {"5.", "+ 5"}},
        {-500.0, {"-k5", "-500"}},
        {0.0, {"", " + ", "-0.0", "00k00", "-m0", "00.", "0k"}},
        {kRefused,
         {".",  "..", "k", "kk", ".k",  "-.k", "k.", "-k.", ",",   ",,",  ".,",  ",.", "-",
          "-.", "-,", "m", "m.", "-.m", ".m",  "mm", "12a", "1-2", "--1", "1e3", "+-"}},
    };
    for (const auto& c : cases) {
        for (const std::string text : c.texts) {
            double value = kRefused;
            EXPECT_EQ(parseTypedNumber(std::string(text).data(), value), c.value != kRefused)
                << text;
            EXPECT_NEAR(value, c.value, 1e-9 * std::fabs(c.value)) << text;
            EXPECT_EQ(std::signbit(value), c.value < 0.0) << text;
        }
    }
}

TEST(TextEntry, TurnsWordsNumbersAndUnitsIntoValuesWithinTheRange) {
    const struct {
        uint32_t index;
        const char* typed;
        const char* shown;
    } cases[] = {{kDelayTime, " 1.5 sec ", "1500"},
                 {kDelayTime, "99999", "9600"},
                 {kDelayTime, "-4", "0"},
                 {kDelayTime, "", "refused"},
                 {kDelayTime, "ms", "refused"},
                 {kWaveform, "SQUERE", "sqr"},
                 {kGlobalReferenceLevel, "+3,5 dB", "3.5"},
                 {kInput, "-oo dB", "-oo"},
                 {kMix, "5 Hz", "refused"},
                 {kHighCutCutoff, "2k5", "2k5"},
                 {kHighCutCutoff, "9 kHz", "9k0"},
                 {kHighCutCutoff, "2k5 Hz", "2k5"},
                 {kHighCutCutoff, "12", "12k0"},
                 {kManualTempo, "128 bpm", "128.0"},
                 {kManualTempo, "1k", "600.0"},
                 {kSideChainIntExt, "Ext40", "Ext40"},
                 {kLfoNote, "3/1", "3/1"},
                 {kDirectionMode, "bounce", "Bounce"},
                 {kDirectionMode, "up", "refused"},
                 {kParameterCount, "1", "refused"}};
    for (const auto& c : cases) {
        const auto value = valueFromTyped(c.index, c.typed);
        EXPECT_EQ(value ? textToType(c.index, *value) : "refused", c.shown)
            << c.index << " '" << c.typed << "'";
    }
    // Hosts and the readout tell different numbers of the same tempo; what is heard counts.
    EXPECT_EQ(valueFromTyped(kManualTempo, "310"), 0.5);
}

}  // namespace
}  // namespace Quorvant
