// Names and value texts, and the way back from a typed text.
#include "params/ParameterTable.h"
#include "params/ParameterText.h"

#include <gtest/gtest.h>

#include <clocale>
#include <limits>
#include <string>

namespace Quorvant {
namespace {

// The host may have set a locale that writes decimal commas; the tests do where there is one.
[[maybe_unused]] const bool hasCommas =
    std::setlocale(LC_ALL, "de_DE.UTF-8") || std::setlocale(LC_ALL, "German_Germany.1252");

struct TextCase {
    int32_t index;
    double value;
    const char* text;
};

TEST(ParameterText, ShowsEveryLawAsToldAndOddValuesAsTheNearest) {
    const TextCase cases[] = {
        {kProcess, 0.5, "On"},
        {kReferenceLevel, 0.0, "-10.0"},
        {kGlobalReferenceLevel, 0.75, "5.0"},
        {kInput, 0.0004, "-oo"},
        {kInput, 0.5, "0.0"},
        {kGlobalInput, 0.25, "-12.0"},
        {kOutput, 0.0005, "-119.6"},
        {kMix, 1.0000001, "10.0"},
        {kGlobalMix, -0.2, "0.0"},
        {kMix, std::numeric_limits<double>::quiet_NaN(), "0.0"},
        {kDelayTime, 0.5 / 9600, "1"},
        {kDelayTime, std::numeric_limits<double>::infinity(), "9600"},
        {kDelayNote, 4.51 / 59, "1/32 Dotted"},
        {kDelayNote, 5.49 / 59, "1/32 Dotted"},
        {kDirectionMode, 0.7, "Reverse"},
        {kFeedback, 1.0, "10.0"},
        {kHighCutCutoff, 0.0, "2k0"},
        {kHighCutCutoff, 0.5, "6k0"},
        {kHighCutCutoff, 1.0, "18k0"},
        {kManualVco, 1.0, "1.50"},
        {kDepth, 0.25, "2.5"},
        {kWaveform, 0.0049, "sin"},
        {kWaveform, 0.005, "-9.9"},
        {kWaveform, 0.498, "env"},
        {kWaveform, 0.502, "0.0"},
        {kWaveform, 0.995, "sqr"},
        {kLfoRate, 0.5, "1.00"},
        {kLfoRate, 1.0, "10."},
        {kLfoOffset, 0.0, "-180"},
        {kManualTempo, 0.0, "30.0"},
        {kManualTempo, 1.0, "400.0"},
        {kSideChainIntExt, 0.505, "Ext51"},
        {kEmptySlot, 1.0, ""},
        {kDefaultExtensionsPanel, 1.0, ""},
        {0x7FFFFFFF, 1.0, ""},
        {-1, 0.5, " "},
    };
    for (const TextCase& c : cases) {
        EXPECT_EQ(parameterText(c.index, c.value), c.text) << c.index << " at " << c.value;
    }
}

TEST(ParameterText, NamesAndTextsFitAnyBuffer) {
    char name[kNameCapacity];
    getParameterShortName(kWaveform, name);
    EXPECT_STREQ(name, "Wavefor");
    getParameterName(kParameterCount, name);
    EXPECT_STREQ(name, "-");
    getParameterShortName(kParameterCount, name);
    EXPECT_STREQ(name, "-");
    char tiny[3] = {'x', 'x', 'x'};
    getParameterText(kProcessingMode, 0.0, tiny);
    EXPECT_STREQ(tiny, "Cl");
    getParameterText(kProcess, 0.0, std::span<char>());
}

// Sweeps finely enough to meet every text, the narrow bands of the waveform included.
TEST(ParameterText, EveryTextComesBackUnchangedWithAndWithoutItsUnit) {
    constexpr int kSteps = 40000;
    for (uint32_t index = 0; index < kStoredParameterCount; ++index) {
        const NumberLaw* law = kParameters[index].law;
        const std::string unit = law && !law->unit.empty() ? ' ' + std::string(law->unit) : "";
        std::string last;
        for (int i = 0; i <= kSteps; ++i) {
            const std::string text =
                parameterText(static_cast<int32_t>(index), static_cast<double>(i) / kSteps);
            if (text == last) continue;
            last = text;
            ASSERT_LT(text.size(), kTextCapacity);
            for (const std::string& typed : {text, text + unit}) {
                const auto value = parseParameterText(index, typed);
                ASSERT_TRUE(value.has_value()) << index << ' ' << typed;
                ASSERT_EQ(parameterText(static_cast<int32_t>(index), *value), text)
                    << index << ' ' << typed << " read as " << *value;
            }
        }
    }
}

TEST(ParameterText, ReadsWhatPeopleType) {
    const TextCase cases[] = {
        {kReferenceLevel, 0.65, "+3"},
        {kReferenceLevel, 0.0, "-10.04 dB"},
        {kInput, 0.0, "-OO"},
        {kInput, 0.0, "-inf"},
        {kMix, 0.55, " 5,5 "},
        {kProcess, 1.0, "1"},
        {kDelayTime, 1500.0 / 9600, "1,5s"},
        {kDelayTime, 0.5 / 9600, ".5"},
        {kHighCutCutoff, 0.5, "6K0hz"},
        {kHighCutCutoff, 0.5, "6,0 kHz"},
        {kHighCutCutoff, 0.5, "6k"},
        {kHighCutCutoff, 0.5, "6000 Hz"},
        {kWaveform, 0.0, "Sinus"},
        {kWaveform, 1.0, "square"},
        {kWaveform, 0.5, "0"},
        {kLfoOffset, 0.75, "90\u00b0"},
        {kManualTempo, 90.0 / 370, "120 bpm"},
        {kSideChainIntExt, 0.5, "ext 50 %"},
    };
    for (const TextCase& c : cases) {
        const auto value = parseParameterText(static_cast<uint32_t>(c.index), c.text);
        ASSERT_TRUE(value.has_value()) << c.index << ' ' << c.text;
        EXPECT_NEAR(*value, c.value, 1e-12) << c.index << ' ' << c.text;
    }
}

TEST(ParameterText, RefusesWhatMeansNoValue) {
    const struct {
        uint32_t index;
        std::initializer_list<const char*> texts;
    } cases[] = {
        {kInput, {"", "12.1", "-120", "loud", "nan", "1e999", "1 2", "3 ms", "+-3", "1.2.3", "dB"}},
        {kMix, {"10.1", "-0.1", "-0.06"}},
        {kDelayTime, {"9601", "9.7 s", "-1", "5 kHz"}},
        {kHighCutCutoff, {"1k9", "18k1", "k5", "2.5k5", "2k5 kHz", "2500k0", "50", "12 Hz"}},
        {kProcess, {"maybe", "2", ""}},
        {kProcessingMode, {"0", "Cle"}},
        {kManualTempo, {"29", "401"}},
        {kSideChainIntExt, {"Int", "Ext101", "Ext"}},
        {kNoteViewStyle, {""}},
        {kParameterCount, {"0.5"}},
    };
    for (const auto& c : cases) {
        for (const char* text : c.texts) {
            EXPECT_EQ(parseParameterText(c.index, text), std::nullopt) << c.index << ' ' << text;
        }
    }
}

TEST(ParameterText, PlainNumbersGoBothWays) {
    EXPECT_EQ(plainFromNormalised(kProcessingMode, 2.0 / 3), 2.0);
    EXPECT_EQ(normalisedFromPlain(kProcessingMode, 2.0), 2.0 / 3);
    EXPECT_EQ(normalisedFromPlain(kProcessingMode, 4.0), std::nullopt);
    EXPECT_EQ(plainFromNormalised(kManualTempo, 0.5), 215.0);
    EXPECT_EQ(normalisedFromPlain(kManualTempo, 215.0), 0.5);
    EXPECT_EQ(normalisedFromPlain(kLfoRate, -1.0), std::nullopt);
}

}  // namespace
}  // namespace Quorvant
