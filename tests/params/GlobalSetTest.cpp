// Which of the two sets of level controls is in force, and what follows from it.
#include "params/GlobalSet.h"
#include "params/ParameterTable.h"

#include <gtest/gtest.h>

namespace Quorvant {
namespace {

std::array<double, kParameterCount> defaults() {
    std::array<double, kParameterCount> values{};
    for (uint32_t i = 0; i < kParameterCount; ++i) values[i] = parameterDefault(i);
    return values;
}

TEST(GlobalSet, onlyTheSetInForceCounts) {
    auto values = defaults();
    for (uint32_t index : kGlobalSetIndices) values[index] = 0.0;
    values[kGlobalInput] = 1.0;
    values[kGlobalBypass] = 1.0;
    EXPECT_EQ(levelsInForce(values).inputGain, 1.0);
    EXPECT_EQ(levelsInForce(values).bypass, 0.0);
    values[kGlobal] = 1.0;
    EXPECT_EQ(levelsInForce(values).inputGain, 4.0);
    EXPECT_EQ(levelsInForce(values).bypass, 1.0);
    EXPECT_EQ(levelsInForce(values).outputGain, 0.0);
    EXPECT_EQ(levelsInForce(values).mix, 0.0);
    EXPECT_EQ(levelsInForce(values).sensitivityFactor, 1.0);
}

TEST(GlobalSet, referenceScaleAndItsReciprocals) {
    auto values = defaults();
    values[kSensitivity] = 0.0;
    values[kReferenceLevel] = 0.0;
    EXPECT_DOUBLE_EQ(levelsInForce(values).referenceScale, 1.4142);
    values[kSensitivity] = 1.0;
    EXPECT_DOUBLE_EQ(levelsInForce(values).referenceScale, 1.4142 * 2.7542);
    values[kReferenceLevel] = 1.0;
    const Levels levels = levelsInForce(values);
    EXPECT_DOUBLE_EQ(levels.referenceScale, 14.142 * 2.7542);
    EXPECT_DOUBLE_EQ(levels.converterCeiling, 1.0 / (14.142 * 2.7542 * 0.7071));
    EXPECT_DOUBLE_EQ(levels.stageCeiling, 2.0 * levels.converterCeiling);
}

TEST(GlobalSet, twinsPointAtEachOther) {
    EXPECT_EQ(globalTwin(kSensitivity), kGlobalSensitivity);
    EXPECT_EQ(globalTwin(kGlobalBypass), kBypass);
    EXPECT_EQ(globalTwin(kGlobalMix), kMix);
    EXPECT_EQ(globalTwin(kGlobal), std::nullopt);
    EXPECT_EQ(globalTwin(kProcess), std::nullopt);
    for (uint32_t i = 0; i < kParameterCount; ++i) {
        EXPECT_EQ(affectsLevels(i), i >= kSensitivity && i <= kGlobalBypass) << i;
    }
}

}  // namespace
}  // namespace Quorvant
