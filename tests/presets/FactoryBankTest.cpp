#include "params/ParameterTable.h"
#include "presets/FactoryBank.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <set>
#include <string>

namespace Quorvant {
namespace {

constexpr uint32_t kNamedCount = 132;

struct Entry {
    std::string name;
    PresetValues values{};
    FactoryPresetInfo info{};
};

Entry entryOf(uint32_t index) {
    Entry entry;
    std::string_view name;
    getFactoryPreset(index, &entry.values, &name, &entry.info);
    entry.name = name;
    return entry;
}

// Text folded into one number (FNV-1a): a slip of one letter or digit shows.
class Fold {
  public:
    void add(const std::string& text) {
        for (const char c : text + '\n')
            hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ull;
    }
    uint64_t hash = 14695981039346656037ull;
};

TEST(FactoryBank, HoldsTheWholeListInOrder) {
    const auto bank = buildFactoryBank();
    ASSERT_EQ(bank.size(), kNamedCount + 2);
    Fold names, values;
    for (uint32_t i = 0; i < kNamedCount; ++i) {
        const Entry entry = entryOf(i);
        EXPECT_EQ(presetName(bank[i]), entry.name);
        names.add(entry.name);
        names.add(std::to_string(entry.info.category) + ' ' + std::to_string(entry.info.designer));
        for (uint32_t p = 0; p < kStoredParameterCount; ++p) {
            EXPECT_EQ(bank[i].values[p], static_cast<float>(entry.values[p])) << entry.name;
            // Rounded, since the systems' logarithms differ in their last digit.
            values.add(std::to_string(std::llround(entry.values[p] * 1e9)));
        }
    }
    EXPECT_EQ(names.hash, 7499937240871084531ull) << "not the list's names and groups";
    EXPECT_EQ(values.hash, 5416246621010374248ull)
        << "a preset sounds otherwise: if that is meant, note the number";
}

TEST(FactoryBank, LastTwoRecordsAreNamelessDefaults) {
    const auto bank = buildFactoryBank();
    for (const uint32_t index : {kNamedCount, kNamedCount + 1, 0xFFFFFFFFu}) {
        const Entry entry = entryOf(index);
        EXPECT_EQ(entry.name, "");
        EXPECT_EQ(entry.values, entryOf(0).values);
        EXPECT_EQ(entry.info.category, 1u);
        EXPECT_EQ(entry.info.designer, kHouseDesigner);
        EXPECT_EQ(presetName(bank[std::min(index, kNamedCount)]), "Init");
    }
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
        std::vector<uint32_t> expected(kNamedCount);
        std::iota(expected.begin(), expected.end(), 0u);
        EXPECT_EQ(all, expected);
    }
    EXPECT_EQ(factoryPresetsOfCategory(3), (std::vector<uint32_t>{42, 69}));
    EXPECT_EQ(factoryPresetsOfDesigner(7), (std::vector<uint32_t>{120, 121, 122, 123, 124, 125}));
}

TEST(FactoryBank, ValuesAreSafeAndNoTwoPresetsSoundTheSame) {
    std::set<PresetValues> distinct;
    for (uint32_t i = 0; i < kNamedCount; ++i) {
        const auto [name, values, info] = entryOf(i);
        SCOPED_TRACE(name);
        EXPECT_TRUE(distinct.insert(values).second);
        for (uint32_t p = 0; p < kStoredParameterCount; ++p) {
            EXPECT_TRUE(values[p] >= 0.0 && values[p] <= 1.0) << p;
            // A choice of preset doesn't write these, so a value of its own would be a mistake.
            const bool own = values[p] != parameterDefault(p);
            EXPECT_FALSE(own && !kParameters[p].writtenByPresetChoice()) << p;
        }
        EXPECT_EQ(values[kInfRepeat], 0.0);
        // A loop that may grow needs the mode that holds it.
        const bool legacyMode = values[kProcessingMode] == 1.0 / 3.0;
        EXPECT_LE(values[kFeedback], legacyMode ? 1.0 : 0.92);
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
    EXPECT_FALSE(getPresetDesigner(kHouseDesigner + 1));
}

TEST(FactoryBank, LongNamesAreCutWithAWarning) {
    const std::string line = "*********************************************************\n";
    const std::string warning = "\n" + line + "WARNING: preset name is too long!\n24 chars\n***  " +
                                std::string(24, 'b') + " ***\n" + line;
    QVXPresetRecord record{};
    for (const std::size_t length : {23, 24}) {
        testing::internal::CaptureStderr();
        setFactoryName(record, std::string(length, 'b'));
        EXPECT_EQ(testing::internal::GetCapturedStderr(), length == 24 ? warning : "");
        EXPECT_EQ(presetName(record), std::string(23, 'b'));
    }
}

}  // namespace
}  // namespace Quorvant
