#include "presets/FactoryBank.h"
#include "presets/LegacyImport.h"
#include "tests/presets/BlobBytes.h"

#include <gtest/gtest.h>

#include <limits>

namespace Quorvant {
namespace {

// What is imported over, and that with the earlier version's defaults, which leave Process alone.
QVXPresetRecord target() {
    QVXPresetRecord record{};
    std::ranges::fill(record.values, 0.77f);
    return record;
}
QVXPresetRecord legacyRecord() {
    QVXPresetRecord record = target();
    const auto defaults = legacyDefaults();
    for (uint32_t i = 1; i < kStoredParameterCount; ++i)
        record.values[i] = static_cast<float>(defaults[i]);
    return record;
}

QVXPresetRecord imported(const BlobBytes& blob) {
    QVXPresetRecord record = target();
    EXPECT_EQ(readPreset(blob.bytes(), record), BlobResult::Applied);
    return record;
}

TEST(LegacyImport, MapsEachSlotAndNothingElse) {
    // In the order of the slots: the parameter, and the factor of its value.
    constexpr std::pair<uint32_t, double> kTargets[] = {
        {4, 1},  {5, 1},  {6, 1},  {15, 1.0 / 3}, {18, 1}, {19, 1}, {21, 1}, {23, 1},
        {22, 1}, {26, 1}, {27, 1}, {29, 1},       {30, 1}, {25, 0}, {0, 1},  {16, 1}};
    for (const bool bigEndian : {false, true}) {
        uint32_t slot = 0;
        for (const auto& [parameter, factor] : kTargets) {
            auto expected = legacyRecord();
            expected.values[parameter] = static_cast<float>(0.875 * factor);
            const auto blob = BlobBytes::legacy(bigEndian).parameter(slot, 0.875f);
            EXPECT_EQ(imported(blob), expected) << slot;
            ++slot;
        }
    }
}

TEST(LegacyImport, NotesComeFromNumeratorAndDenominator) {
    const auto note = [](float numerator, float denominator) {
        return imported(BlobBytes::legacy().parameter(16, numerator).parameter(17, denominator))
            .values[kDelayNote];
    };
    const auto row = [](int index) { return static_cast<float>(index / 59.0); };
    EXPECT_EQ(note(0.0f, 0.0f), row(38));                                   // 1/1
    EXPECT_EQ(note(0.0f, 1.0f), row(0));                                    // 1/96, "1/64 Triplet"
    EXPECT_EQ(note(0.3f, 9.5f / 13), row(11));                              // 3/32, "1/16 Dotted"
    EXPECT_EQ(note(0.7f, 1.0f), row(8));                                    // 7/96
    EXPECT_EQ(note(1.0f, 0.0f), row(59));                                   // 9/1
    EXPECT_EQ(note(0.3f, 4.5f / 13), static_cast<float>(0.3728813559322));  // 3/6, in no row
    for (const uint32_t only : {16u, 17u})
        EXPECT_EQ(imported(BlobBytes::legacy().parameter(only, 0.0f)), legacyRecord());
}

TEST(LegacyImport, BadValuesAreSkippedWithADiagnosticEach) {
    const auto blob = BlobBytes::legacy()
                          .parameter(0, 1.5f)
                          .parameter(1, -0.5f)
                          .parameter(18, 5.0f)
                          .parameter(2, 0.25f)
                          .parameter(6, std::numeric_limits<float>::quiet_NaN());
    auto expected = legacyRecord();
    expected.values[kMix] = 0.25f;
    testing::internal::CaptureStderr();
    EXPECT_EQ(imported(blob), expected);
    const std::string line = "!!! Legacy QVX77 preset loading error !!!\n";
    EXPECT_EQ(testing::internal::GetCapturedStderr(), line + line);
}

TEST(LegacyImport, OtherVersionsGoToTheOrdinaryReader) {
    auto expected = target();
    expected.values[20] = 0.9f;
    for (BlobBytes blob : {BlobBytes::make("PS77", 0x03000000, 18, false),
                           BlobBytes::make("PS77", 0x02000000, 19, false),
                           BlobBytes::make("P77x", 0x02000000, 18, false)})
        EXPECT_EQ(imported(blob.parameter(20, 0.9f)), expected);
}

}  // namespace
}  // namespace Quorvant
