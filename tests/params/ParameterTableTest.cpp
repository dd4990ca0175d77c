// The parameter table as a whole: what other code and stored projects rely on.
#include "params/ParameterLaws.h"
#include "params/ParameterTable.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace Quorvant {
namespace {

TEST(ParameterTable, entriesAreWholeAndInPlace) {
    std::set<std::string_view> names;
    for (const ParameterInfo& info : kParameters) {
        EXPECT_LE(info.name.size(), 24u) << info.name;
        EXPECT_LE(info.shortName.size(), 7u) << info.name;
        EXPECT_FALSE(info.shortName.empty()) << info.name;
        EXPECT_TRUE(names.insert(info.name).second) << info.name;
        EXPECT_EQ(info.defaultValue, clampNormalised(info.defaultValue)) << info.name;
        EXPECT_NE(parameterGroupName(info.group), "-") << info.name;
    }
    // A misplaced row would shift all that follow.
    EXPECT_EQ(kParameters[kGlobalBypass].name, "Glbl Bypass");
    EXPECT_EQ(kParameters[kDirectionMode].name, "Direction Mode");
    EXPECT_EQ(kParameters[kInfRepeat].name, "Inf Repeat");
    EXPECT_EQ(kParameters[kManualTempo].name, "Manual Tempo");
    EXPECT_EQ(kParameters[kEmptySlot].name, "-");
    EXPECT_EQ(kParameters[kDefaultExtensionsPanel].name, "Default Extensions Panel");
}

TEST(ParameterTable, flagWordsDecideStorageAndAutomation) {
    for (uint32_t i = 0; i < kParameterCount; ++i) {
        uint32_t expected = 9;
        if ((i >= 8 && i <= 14) || i == 34 || i == 35) expected = 5;
        if (i == 37) expected = 13;
        if (i == 38) expected = 0;
        if (i >= 39) expected = 16;
        EXPECT_EQ(kParameters[i].flagWord, expected) << i;
        EXPECT_EQ(kParameters[i].inRecord(), i < kStoredParameterCount) << i;
        EXPECT_EQ(kParameters[i].automatable(), i < kStoredParameterCount) << i;
    }
}

TEST(ParameterTable, stepsFollowTheStates) {
    EXPECT_EQ(kParameters[kProcess].stepCount(), 1);
    EXPECT_EQ(kParameters[kProcessingMode].stepCount(), 3);
    EXPECT_EQ(kParameters[kDirectionMode].stepCount(), 3);
    EXPECT_EQ(kParameters[kDelayNote].stepCount(), 59);
    EXPECT_EQ(kParameters[kLfoNote].stepCount(), 59);
    EXPECT_EQ(kParameters[kNoteViewStyle].stepCount(), 1);
    EXPECT_EQ(kParameters[kWaveform].stepCount(), 0);
    EXPECT_EQ(kParameters[kEmptySlot].stepCount(), 0);
}

TEST(ParameterTable, defaultsAreAPlainDelay) {
    EXPECT_EQ(parameterDefault(kProcess), 1.0);
    EXPECT_EQ(parameterDefault(kProcessingMode), 0.0);
    EXPECT_EQ(parameterDefault(kFeedback), 0.3);
    EXPECT_DOUBLE_EQ(parameterDefault(kDelayTime) * 9600.0, 250.0);
    EXPECT_STREQ(delayNote(parameterDefault(kDelayNote)).name, "1/4");
    EXPECT_STREQ(lfoNote(parameterDefault(kLfoNote)).name, "1/4");
    EXPECT_EQ(parameterDefault(kShowHideExtensions), 1.0);
    EXPECT_EQ(parameterDefault(kParameterCount), 0.0);
    EXPECT_EQ(parameterDefault(0xFFFFFFFFu), 0.0);
}

}  // namespace
}  // namespace Quorvant
