#include "params/ParameterTable.h"
#include "presets/FactoryBank.h"
#include "tests/Fold.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>

namespace Quorvant {
namespace {

constexpr uint32_t kNamedCount = 132;

struct Entry {
    explicit Entry(uint32_t index) { getFactoryPreset(index, &values, &name, &info); }

    std::string_view name;
    PresetValues values{};
    FactoryPresetInfo info{};
};

TEST(FactoryBank, HoldsTheWholeListInOrder) {
    const auto bank = buildFactoryBank();
    ASSERT_EQ(bank.size(), kNamedCount + 2);
    uint64_t names = Testing::kEmptyFold, values = Testing::kEmptyFold;
    const auto add = [](const std::string& text, uint64_t& to) {
        to = Testing::fold(text + '\n', to);
    };
    for (uint32_t i = 0; i < kNamedCount; ++i) {
        const Entry entry(i);
        EXPECT_EQ(presetName(bank[i]), entry.name);
        add(std::string(entry.name), names);
        add(std::to_string(entry.info.category) + ' ' + std::to_string(entry.info.designer), names);
        for (const auto& list : {factoryPresetsOfCategory(entry.info.category),
                                 factoryPresetsOfDesigner(entry.info.designer)}) {
            EXPECT_EQ(std::ranges::count(list, i), 1) << entry.name;
            EXPECT_LT(list.back(), kNamedCount);
        }
        for (uint32_t p = 0; p < kStoredParameterCount; ++p) {
            EXPECT_EQ(bank[i].values[p], static_cast<float>(entry.values[p])) << entry.name;
            // Rounded, since the systems' logarithms differ in their last digit.
            add(std::to_string(std::llround(entry.values[p] * 1e9)), values);
            EXPECT_TRUE(entry.values[p] >= 0.0 && entry.values[p] <= 1.0) << entry.name << p;
            // A choice of preset doesn't write these, so a value of its own would be a mistake.
            const bool own = entry.values[p] != parameterDefault(p);
            EXPECT_FALSE(own && !kParameters[p].writtenByPresetChoice()) << entry.name << p;
        }
        EXPECT_EQ(entry.values[kInfRepeat], 0.0) << entry.name;
        // A loop that may grow needs the mode that holds it.
        const bool legacyMode = entry.values[kProcessingMode] == 1.0 / 3.0;
        EXPECT_LE(entry.values[kFeedback], legacyMode ? 1.0 : 0.92) << entry.name;
    }
    for (uint32_t i = 0; i <= kHouseDesigner; ++i) {
        const auto [name, link] = getPresetDesigner(i).value();
        add(std::string(name) + ' ' + std::string(link), names);
    }
    EXPECT_EQ(names, 7213593678040985712ull) << "not the list's names, groups and designers";
    EXPECT_EQ(values, 5416246621010374248ull)
        << "a preset sounds otherwise: if that is meant, note the number";

    for (const uint32_t beyond : {kNamedCount, kNamedCount + 1, 0xFFFFFFFFu}) {
        EXPECT_EQ(Entry(beyond).name, "");
        EXPECT_EQ(Entry(beyond).values, Entry(0).values);
    }
    EXPECT_EQ(presetName(bank[kNamedCount]), "Init");
}

TEST(FactoryBank, LongNamesAreCutWithAWarning) {
    QVXPresetRecord record{};
    testing::internal::CaptureStderr();
    setFactoryName(record, std::string(23, 'a'));  // fits
    setFactoryName(record, std::string(24, 'b'));
    const std::string line = "*********************************************************\n";
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "\n" + line + "WARNING: preset name is too long!\n24 chars\n***  " +
                  std::string(24, 'b') + " ***\n" + line);
    EXPECT_EQ(presetName(record), std::string(23, 'b'));
}

}  // namespace
}  // namespace Quorvant
