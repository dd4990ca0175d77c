// Names and value texts, and the way back from a typed text.
#include "params/NoteTable.h"
#include "params/ParameterTable.h"
#include "params/ParameterText.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <limits>
#include <string>

namespace Quorvant {
namespace {

std::string textOf(int32_t index, double value) {
    char buffer[kTextCapacity];
    getParameterText(index, value, buffer);
    return buffer;
}

struct TextCase {
    int32_t index;
    double value;
    const char* text;
};

TEST(ParameterText, everyLawShowsItsTexts) {
    const TextCase cases[] = {
        {kProcess, 0.49, "Off"},
        {kProcess, 0.5, "On"},
        {kProcessingMode, 0.0, "Clean"},
        {kProcessingMode, 1.0 / 3, "Legacy"},
        {kProcessingMode, 2.0 / 3, "Lims"},
        {kProcessingMode, 1.0, "Full"},
        {kReferenceLevel, 0.0, "-10.0"},
        {kReferenceLevel, 0.5, "0.0"},
        {kReferenceLevel, 1.0, "10.0"},
        {kInput, 0.0004, "-oo"},
        {kInput, 0.5, "0.0"},
        {kInput, 0.25, "-12.0"},
        {kGlobalOutput, 1.0, "12.0"},
        {kOutput, 0.00050001, "-119.6"},
        {kMix, 0.333, "3.3"},
        {kGlobal, 1.0, "Global"},
        {kGlobalReferenceLevel, 0.25, "-5.0"},
        {kDelayTime, 1.0, "9600"},
        {kDelayTime, 0.026041666666666668, "250"},
        {kDelayClockMode, 1.0, "Clk"},
        {kDelayNote, 0.0, "1/64 Triplet"},
        {kDelayNote, 1.0, "9/1"},
        {kDirectionMode, 0.7, "Reverse"},
        {kFeedback, 1.0, "10.0"},
        {kHighCutCutoff, 0.0, "2k0"},
        {kHighCutCutoff, 0.5, "6k0"},
        {kHighCutCutoff, 1.0, "18k0"},
        {kManualVco, 0.0, "0.50"},
        {kManualVco, 1.0, "1.50"},
        {kEnvInvert, 0.0, "Positive"},
        {kWaveform, 0.0049, "sin"},
        {kWaveform, 0.005, "-9.9"},
        {kWaveform, 0.25, "-5.0"},
        {kWaveform, 0.498, "env"},
        {kWaveform, 0.5, "env"},
        {kWaveform, 0.502, "0.0"},
        {kWaveform, 0.75, "5.0"},
        {kWaveform, 0.995, "sqr"},
        {kLfoRate, 0.0, "0.10"},
        {kLfoRate, 0.5, "1.00"},
        {kLfoRate, 1.0, "10."},
        {kLfoSync, 1.0, "Synchro"},
        {kLfoNote, 0.0, "9/1"},
        {kLfoOffset, 0.0, "-180"},
        {kLfoOffset, 0.75, "90"},
        {kEnforceManualTempo, 0.0, "DAWTempo"},
        {kManualTempo, 0.0, "30.0"},
        {kManualTempo, 0.24324324324324326, "120.0"},
        {kManualTempo, 1.0, "400.0"},
        {kSideChainIntExt, 0.504, "Ext50"},
        {kSideChainIntExt, 1.0, "Ext100"},
        {kSideChainMonitor, 1.0, "On"},
    };
    for (const TextCase& c : cases) {
        EXPECT_EQ(textOf(c.index, c.value), c.text) << c.index << " at " << c.value;
    }
}

TEST(ParameterText, oddValuesAndIndicesHaveTexts) {
    EXPECT_EQ(textOf(kMix, 1.0000001), "10.0");
    EXPECT_EQ(textOf(kMix, -0.2), "0.0");
    EXPECT_EQ(textOf(kMix, std::numeric_limits<double>::quiet_NaN()), "0.0");
    EXPECT_EQ(textOf(kDelayTime, std::numeric_limits<double>::infinity()), "9600");
    for (int32_t index : {38, 39, 41, 42, 115, 0x7FFFFFFF}) EXPECT_EQ(textOf(index, 1.0), "");
    EXPECT_EQ(textOf(-1, 0.5), " ");
}

TEST(ParameterText, namesFitAnyBuffer) {
    char name[kNameCapacity];
    getParameterName(kDefaultExtensionsPanel, name);
    EXPECT_STREQ(name, "Default Extensions Panel");
    for (uint32_t index : {38u, 42u, 0xFFFFFFFFu}) {
        getParameterName(index, name);
        EXPECT_STREQ(name, "-");
        getParameterShortName(index, name);
        EXPECT_STREQ(name, "-");
    }
    char shortName[kShortNameCapacity];
    getParameterShortName(kWaveform, shortName);
    EXPECT_STREQ(shortName, "Wavefor");
    char tiny[3] = {'x', 'x', 'x'};
    getParameterName(kProcess, tiny);
    EXPECT_STREQ(tiny, "Pr");
    getParameterText(kProcess, 0.0, std::span<char>());
}

// Sweeps finely enough to meet every text, the narrow bands of the waveform included.
TEST(ParameterText, everyTextComesBackUnchanged) {
    constexpr int kSteps = 40000;
    for (uint32_t index = 0; index < kStoredParameterCount; ++index) {
        std::string last;
        for (int i = 0; i <= kSteps; ++i) {
            const std::string text = textOf(index, static_cast<double>(i) / kSteps);
            if (text == last) continue;
            last = text;
            ASSERT_LT(text.size(), kTextCapacity);
            const auto value = parseParameterText(index, text);
            ASSERT_TRUE(value.has_value()) << index << ' ' << text;
            ASSERT_EQ(textOf(index, *value), text) << index << " read as " << *value;
        }
    }
}

TEST(ParameterText, readsWhatPeopleType) {
    const TextCase cases[] = {
        {kReferenceLevel, 0.65, "+3"},
        {kReferenceLevel, 0.0, "-10 dB"},
        {kInput, 1.0, "12"},
        {kInput, 0.0, "-OO"},
        {kInput, 0.0, "-inf"},
        {kInput, 0.5, "0"},
        {kMix, 0.5, "5"},
        {kMix, 0.55, " 5,5 "},
        {kProcess, 1.0, "on"},
        {kProcess, 1.0, "1"},
        {kProcess, 0.0, "OFF"},
        {kProcessingMode, 1.0 / 3, "legacy"},
        {kDelayTime, 500.0 / 9600, "500"},
        {kDelayTime, 500.0 / 9600, "500 ms"},
        {kDelayTime, 1500.0 / 9600, "1.5 s"},
        {kDelayTime, 1500.0 / 9600, "1,5s"},
        {kDelayTime, 0.5 / 9600, ".5"},
        {kDelayTime, 1.0, "9600.0"},
        {kDelayNote, 27.0 / 59, "1/4 dotted"},
        {kLfoNote, 32.0 / 59, "1/4 Dotted"},
        {kDirectionMode, 1.0, "bounce"},
        {kManualVco, 0.5, "1"},
        {kWaveform, 1.0, "SQR"},
        {kWaveform, 0.0, "Sinus"},
        {kWaveform, 0.5, "0"},
        {kWaveform, 0.75, "+5"},
        {kWaveform, 0.0, "-10"},
        {kWaveform, 1.0, "10"},
        {kLfoRate, 0.5, "1 Hz"},
        {kLfoRate, 1.0, "10"},
        {kLfoOffset, 0.75, "90"},
        {kLfoOffset, 0.75, "90\u00b0"},
        {kManualTempo, 90.0 / 370, "120"},
        {kManualTempo, 90.0 / 370, "120 bpm"},
        {kSideChainIntExt, 0.5, "50"},
        {kSideChainIntExt, 0.5, "ext 50 %"},
    };
    for (const TextCase& c : cases) {
        const auto value = parseParameterText(c.index, c.text);
        ASSERT_TRUE(value.has_value()) << c.index << ' ' << c.text;
        EXPECT_NEAR(*value, c.value, 1e-12) << c.index << ' ' << c.text;
    }
    for (const char* text : {"2k5", "2.5", "2.5 kHz", "2.5k", "2500", "2500 Hz", "2K5", "2,5khz"}) {
        const auto value = parseParameterText(kHighCutCutoff, text);
        ASSERT_TRUE(value.has_value()) << text;
        EXPECT_EQ(textOf(kHighCutCutoff, *value), "2k5") << text;
    }
}

TEST(ParameterText, refusesWhatMeansNoValue) {
    const struct {
        uint32_t index;
        const char* text;
    } cases[] = {
        {kInput, ""},
        {kInput, "12.1"},
        {kInput, "-120"},
        {kInput, "loud"},
        {kInput, "nan"},
        {kInput, "inf"},
        {kInput, "1e999"},
        {kInput, "1 2"},
        {kInput, "3 ms"},
        {kInput, "+-3"},
        {kInput, "--3"},
        {kInput, "-"},
        {kInput, "1.2.3"},
        {kMix, "10.1"},
        {kMix, "-0.1"},
        {kDelayTime, "9601"},
        {kDelayTime, "9.7 s"},
        {kDelayTime, "-1"},
        {kDelayTime, "5 kHz"},
        {kHighCutCutoff, "1k9"},
        {kHighCutCutoff, "18k1"},
        {kHighCutCutoff, "k5"},
        {kHighCutCutoff, "2.5k5"},
        {kHighCutCutoff, "50"},
        {kLfoRate, "0"},
        {kLfoRate, "-1"},
        {kLfoRate, "10.1"},
        {kProcess, "maybe"},
        {kProcess, "2"},
        {kProcess, ""},
        {kProcessingMode, "0"},
        {kProcessingMode, "Cle"},
        {kDelayNote, "1/5"},
        {kDelayNote, "0.5"},
        {kManualTempo, "29"},
        {kManualTempo, "401"},
        {kSideChainIntExt, "Int"},
        {kSideChainIntExt, "Ext101"},
        {kSideChainIntExt, "Ext"},
        {kEmptySlot, ""},
        {kEmptySlot, "0"},
        {kNoteViewStyle, ""},
        {42, "0.5"},
        {0xFFFFFFFFu, "On"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(parseParameterText(c.index, c.text), std::nullopt) << c.index << ' ' << c.text;
    }
}

TEST(ParameterText, aHostsCommaLocaleChangesNothing) {
    // Whichever of them the system has; without any the test would show nothing.
    const char* const names[] = {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "German_Germany.1252"};
    bool found = false;
    for (const char* name : names) found = found || std::setlocale(LC_ALL, name) != nullptr;
    if (!found) GTEST_SKIP() << "no locale with a decimal comma is installed";
    const std::string text = textOf(kManualVco, 0.25);
    const auto value = parseParameterText(kManualVco, "0.75");
    std::setlocale(LC_ALL, "C");
    EXPECT_EQ(text, "0.75");
    EXPECT_EQ(value, 0.25);
}

TEST(ParameterText, plainNumbersGoBothWays) {
    for (uint32_t index = 0; index < kStoredParameterCount; ++index) {
        for (double value : {0.0, 1.0}) {
            const auto back = normalisedFromPlain(index, plainFromNormalised(index, value));
            ASSERT_TRUE(back.has_value()) << index;
            EXPECT_NEAR(*back, value, 1e-3) << index;  // silence is a range of values
        }
    }
    EXPECT_DOUBLE_EQ(plainFromNormalised(kDelayTime, 0.5), 4800.0);
    EXPECT_EQ(plainFromNormalised(kProcessingMode, 2.0 / 3), 2.0);
    EXPECT_EQ(normalisedFromPlain(kProcessingMode, 4.0), std::nullopt);
    EXPECT_EQ(normalisedFromPlain(kLfoRate, -1.0), std::nullopt);
    EXPECT_EQ(normalisedFromPlain(kMix, std::numeric_limits<double>::quiet_NaN()), std::nullopt);
}

}  // namespace
}  // namespace Quorvant
