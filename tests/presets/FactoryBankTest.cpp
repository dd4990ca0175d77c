#include "params/NoteTable.h"
#include "params/ParameterTable.h"
#include "presets/FactoryBank.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <set>
#include <string>

namespace Quorvant {
namespace {

std::string nameOf(uint32_t index) {
    std::string_view name;
    getFactoryPreset(index, nullptr, &name, nullptr);
    return std::string(name);
}

PresetValues valuesOf(uint32_t index) {
    PresetValues values{};
    getFactoryPreset(index, &values, nullptr, nullptr);
    return values;
}

FactoryPresetInfo infoOf(uint32_t index) {
    FactoryPresetInfo info{};
    getFactoryPreset(index, nullptr, nullptr, &info);
    return info;
}

std::string lower(std::string text) {
    for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

bool contains(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

TEST(FactoryBank, HoldsTheWholeListInOrder) {
    const auto bank = buildFactoryBank();
    ASSERT_EQ(bank.size(), 134u);
    // All names and groups in order, folded (FNV-1a) into one number that was taken from the bank's
    // list and not from the table: a slip of one letter shows.
    uint64_t hash = 14695981039346656037ull;
    for (uint32_t i = 0; i < 132; ++i) {
        EXPECT_EQ(presetName(bank[i]), nameOf(i));
        const auto info = infoOf(i);
        for (const char c : nameOf(i) + '\n' + std::to_string(info.category) + ' ' +
                                std::to_string(info.designer) + '\n')
            hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ull;
    }
    EXPECT_EQ(hash, 7499937240871084531ull);
}

TEST(FactoryBank, LastTwoRecordsAreNamelessDefaults) {
    const auto bank = buildFactoryBank();
    for (const uint32_t index : {132u, 133u}) {
        EXPECT_EQ(nameOf(index), "");
        EXPECT_EQ(presetName(bank[index]), "Init");
        for (uint32_t i = 0; i < kStoredParameterCount; ++i)
            EXPECT_EQ(bank[index].values[i], static_cast<float>(parameterDefault(i)));
    }
    const auto beyond = infoOf(0xFFFFFFFF);
    EXPECT_EQ(beyond.category, 1u);
    EXPECT_EQ(beyond.designer, 9u);
}

TEST(FactoryBank, EveryNamedPresetIsListedOnceByCategoryAndOnceByDesigner) {
    for (const auto list : {factoryPresetsOfCategory, factoryPresetsOfDesigner}) {
        std::vector<uint32_t> all;
        for (uint32_t group = 0; group < 127; ++group) {
            const auto presets = list(group);
            EXPECT_TRUE(std::is_sorted(presets.begin(), presets.end()));
            all.insert(all.end(), presets.begin(), presets.end());
        }
        std::sort(all.begin(), all.end());
        std::vector<uint32_t> expected(132);
        std::iota(expected.begin(), expected.end(), 0u);
        EXPECT_EQ(all, expected);
    }
    EXPECT_EQ(factoryPresetsOfCategory(3), (std::vector<uint32_t>{42, 69}));
    EXPECT_EQ(factoryPresetsOfDesigner(7), (std::vector<uint32_t>{120, 121, 122, 123, 124, 125}));
}

TEST(FactoryBank, KnownEntries) {
    const auto legacy = valuesOf(1);
    EXPECT_EQ(legacy[kProcessingMode], 0.3333333333333333);
    EXPECT_EQ(legacy[kEnvInvert], 1.0);
    EXPECT_EQ(legacy[kFeedback], 0.0);
    EXPECT_EQ(legacy[kLfoNote], 0.6271186440677966);
    const auto wiper = valuesOf(2);
    const std::pair<ParameterIndex, double> told[] = {
        {kInput, 0.6},           {kOutput, 0.3885}, {kMix, 0.5},           {kFeedback, 0.9975},
        {kFeedbackInvert, 0.25}, {kHighCut, 0.75},  {kHighCutCutoff, 0.5}, {kInfRepeat, 0},
        {kManualVco, 0.5},       {kDepth, 0.775},   {kEnvInvert, 1.0},     {kWaveform, 0}};
    for (const auto& [index, value] : told) EXPECT_EQ(wiper[index], value) << index;
    for (uint32_t i = 0; i < kStoredParameterCount; ++i)
        EXPECT_EQ(valuesOf(0)[i], parameterDefault(i));
}

TEST(FactoryBank, NoTwoPresetsSoundTheSame) {
    std::set<PresetValues> distinct;
    for (uint32_t i = 0; i < 132; ++i)
        EXPECT_TRUE(distinct.insert(valuesOf(i)).second) << nameOf(i);
}

TEST(FactoryBank, ValuesAreSafe) {
    for (uint32_t i = 0; i < 132; ++i) {
        const auto values = valuesOf(i);
        for (uint32_t p = 0; p < kStoredParameterCount; ++p) {
            EXPECT_TRUE(values[p] >= 0.0 && values[p] <= 1.0) << nameOf(i) << " " << p;
            // A choice of preset doesn't write these, so a value of its own would be a mistake.
            const bool own = values[p] != parameterDefault(p);
            EXPECT_FALSE(own && !kParameters[p].writtenByPresetChoice()) << nameOf(i) << " " << p;
        }
        EXPECT_EQ(values[kInfRepeat], 0.0) << nameOf(i);
        // A loop that may grow needs the mode that holds it.
        const bool legacyMode = values[kProcessingMode] == 1.0 / 3.0;
        EXPECT_LE(values[kFeedback], legacyMode ? 1.0 : 0.92) << nameOf(i);
    }
}

TEST(FactoryBank, PresetsDoWhatTheirNamesSay) {
    const auto noteOf = [](const PresetValues& values) {
        return std::string(delayNote(values[kDelayNote]).name);
    };
    for (uint32_t i = 2; i < 132; ++i) {
        const std::string name = lower(nameOf(i));
        const auto values = valuesOf(i);
        SCOPED_TRACE(name);
        const bool backward = contains(name, "backward");
        struct Rule {
            const char* part;
            ParameterIndex parameter;
            double value;
        };
        static const Rule kRules[] = {{"bounce ", kDirectionMode, 1.0},
                                      {"backward", kDirectionMode, 1.0 / 3.0},
                                      {"reverse", kDirectionMode, 2.0 / 3.0},
                                      {"reversal", kDirectionMode, 2.0 / 3.0},
                                      {"filtered", kHighCut, 1.0},
                                      {" aux", kMix, 1.0},
                                      {"fast vibrato", kMix, 1.0},
                                      {"relaxed vibrato", kMix, 1.0},
                                      {"infected vibrato", kMix, 1.0},
                                      {"downsampled", kDelayX2, 1.0},
                                      {"distortion full", kProcessingMode, 1.0},
                                      {"squaremod", kWaveform, 1.0}};
        for (const auto& rule : kRules) {
            const bool wrong = values[rule.parameter] != rule.value;
            EXPECT_FALSE(contains(name, rule.part) && wrong) << rule.part;
        }
        const bool modulated =
            contains(name, "chorus") || contains(name, "flang") || contains(name, "vibrato");
        if (modulated) {
            EXPECT_GT(values[kDepth], 0.0);
            EXPECT_LT(values[kDelayTime] * 9600, 30.0);
            EXPECT_EQ(values[kDelayClockMode], 0.0);
        }
        const auto msAt = name.find("ms");
        if (msAt != std::string::npos && msAt > 0 &&
            (std::isdigit(name[msAt - 1]) || name[msAt - 1] == ' ')) {
            const auto digits = name.find_first_of("0123456789");
            const double time = std::stod(name.substr(digits));
            EXPECT_EQ(values[kDelayClockMode], 0.0);
            EXPECT_NEAR(values[kDelayTime] * 9600, backward ? 9600 - time : time, 1e-6);
        }
        // "1-8D …", "Classic 1:8 …", "dotted 8th …", "reverse 8"
        static const std::pair<const char*, const char*> kNotes[] = {{"1-2 ", "1/2"},
                                                                     {"1:2 ", "1/2"},
                                                                     {"1-4 ", "1/4"},
                                                                     {"1:4 ", "1/4"},
                                                                     {"1-8 ", "1/8"},
                                                                     {"1:8 ", "1/8"},
                                                                     {"1-16 ", "1/16"},
                                                                     {"1:16 ", "1/16"},
                                                                     {"1-32 ", "1/32"},
                                                                     {"1-64 ", "1/64"},
                                                                     {"1-8d ", "1/8 Dotted"},
                                                                     {"1-8t ", "1/8 Triplet"},
                                                                     {"1-16d ", "1/16 Dotted"},
                                                                     {"1-16t ", "1/16 Triplet"},
                                                                     {"dotted 8", "1/8 Dotted"},
                                                                     {"reverse 8", "1/8"},
                                                                     {"input 8", "1/8"},
                                                                     {"8th fast", "1/8"},
                                                                     {"16th slap", "1/16"},
                                                                     {"vocals eight", "1/8"}};
        for (const auto& [part, note] : kNotes) {
            if (!contains(name + " ", part) || backward) continue;
            EXPECT_EQ(values[kDelayClockMode], 1.0);
            EXPECT_EQ(noteOf(values), note);
        }
    }
}

TEST(FactoryBank, DesignersHaveNamesAndPages) {
    std::set<std::string_view> names;
    for (uint32_t index = 0; index <= kHouseDesigner; ++index) {
        const auto designer = getPresetDesigner(index);
        ASSERT_TRUE(designer);
        EXPECT_TRUE(names.insert(designer->name).second);
        EXPECT_TRUE(designer->link.starts_with("https://www.quorvant.example"));
    }
    EXPECT_FALSE(getPresetDesigner(10));
}

TEST(FactoryBank, LongNamesAreCutWithAWarning) {
    QVXPresetRecord record{};
    testing::internal::CaptureStderr();
    setFactoryName(record, std::string(23, 'a'));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    testing::internal::CaptureStderr();
    setFactoryName(record, std::string(24, 'b'));
    const std::string line = "*********************************************************\n";
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "\n" + line + "WARNING: preset name is too long!\n24 chars\n***  " +
                  std::string(24, 'b') + " ***\n" + line);
    EXPECT_EQ(presetName(record), std::string(23, 'b'));
}

}  // namespace
}  // namespace Quorvant
