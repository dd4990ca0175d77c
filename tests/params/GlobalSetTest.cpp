// Which of the two sets of level controls is in force, and what follows from it.
#include "params/GlobalSet.h"

#include <gtest/gtest.h>

namespace Quorvant {
namespace {

TEST(GlobalSet, OnlyTheSetInForceCounts) {
    std::array<double, kParameterCount> values{};
    for (uint32_t index : kPresetSetIndices) values[index] = 0.5;
    values[kGlobalInput] = 1.0;
    values[kGlobalBypass] = 1.0;
    values[kBypass] = 0.0;
    const Levels preset = levelsInForce(values);
    EXPECT_EQ(preset.inputGain, 1.0);
    EXPECT_EQ(preset.mix, 0.5);
    EXPECT_EQ(preset.bypass, 0.0);
    EXPECT_EQ(preset.sensitivityFactor, 2.7542);
    EXPECT_DOUBLE_EQ(preset.referenceScale, 1.4142 * 2.7542 * std::sqrt(10.0));
    EXPECT_DOUBLE_EQ(preset.converterCeiling, 1.0 / (preset.referenceScale * 0.7071));
    EXPECT_DOUBLE_EQ(preset.stageCeiling, 2.0 * preset.converterCeiling);

    values[kGlobal] = 1.0;
    const Levels global = levelsInForce(values);
    EXPECT_EQ(global.inputGain, 4.0);
    EXPECT_EQ(global.outputGain, 0.0);
    EXPECT_EQ(global.mix, 0.0);
    EXPECT_EQ(global.bypass, 1.0);
    EXPECT_DOUBLE_EQ(global.referenceScale, 1.4142);
    EXPECT_TRUE(affectsLevels(kGlobal));
}

}  // namespace
}  // namespace Quorvant
