#include "presets/FactoryBank.h"
#include "presets/LegacyImport.h"
#include "tests/presets/BlobBytes.h"

#include <gtest/gtest.h>

#include <limits>

namespace Quorvant {
namespace {

QVXPresetRecord target() {
    QVXPresetRecord record{};
    for (float& value : record.values) value = 0.77f;
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
    struct Row {
        uint32_t slot;
        uint32_t parameter;
        double factor;
    };
    constexpr Row kRows[] = {{0, 4, 1},   {1, 5, 1},   {2, 6, 1},   {3, 15, 1.0 / 3},
                             {4, 18, 1},  {5, 19, 1},  {6, 21, 1},  {7, 23, 1},
                             {8, 22, 1},  {9, 26, 1},  {10, 27, 1}, {11, 29, 1},
                             {12, 30, 1}, {13, 25, 0}, {14, 0, 1},  {15, 16, 1}};
    for (const bool bigEndian : {false, true})
        for (const auto& row : kRows) {
            auto blob = BlobBytes::legacy(bigEndian);
            blob.parameter(row.slot, 0.9f);
            auto expected = legacyRecord();
            expected.values[row.parameter] = static_cast<float>(0.9 * row.factor);
            const auto record = imported(blob);
            for (uint32_t i = 0; i < kStoredParameterCount; ++i)
                EXPECT_NEAR(record.values[i], expected.values[i], 1e-7) << row.slot << " " << i;
        }
}

TEST(LegacyImport, ProcessKeepsItsValueAndTheNameIsTaken) {
    auto blob = BlobBytes::legacy();
    blob.name("old one");
    const auto record = imported(blob);
    EXPECT_EQ(record.values[kProcess], 0.77f);
    EXPECT_EQ(presetName(record), "old one");
    // One byte a character, as then; what doesn't fit is left out in whole characters.
    EXPECT_EQ(presetName(imported(BlobBytes::legacy().name("K\xE4se \xDF"))), "Käse ß");
    EXPECT_EQ(presetName(imported(BlobBytes::legacy().name(std::string(23, '\xFC')))),
              "üüüüüüüüüüü");
    EXPECT_EQ(presetName(imported(BlobBytes::legacy().name(std::string(22, 'x') + "ü"))),
              std::string(22, 'x'));
}

TEST(LegacyImport, NotesComeFromNumeratorAndDenominator) {
    const auto note = [](float numerator, float denominator) {
        auto blob = BlobBytes::legacy();
        blob.parameter(16, numerator).parameter(17, denominator);
        return imported(blob).values[kDelayNote];
    };
    const auto row = [](int index) { return static_cast<float>(index / 59.0); };
    const float noRow = static_cast<float>(0.3728813559322);
    EXPECT_EQ(note(0.0f, 0.0f), row(38));       // 1/1
    EXPECT_EQ(note(0.0f, 1.0f), row(0));        // 1/96, "1/64 Triplet"
    EXPECT_EQ(note(0.3f, 9.5f / 13), row(11));  // 3/32, "1/16 Dotted"
    EXPECT_EQ(note(0.7f, 1.0f), row(8));        // 7/96
    EXPECT_EQ(note(1.0f, 0.0f), row(59));       // 9/1
    EXPECT_EQ(note(0.3f, 4.5f / 13), noRow);    // 3/6
}

TEST(LegacyImport, NoteNeedsBothSlots) {
    for (const uint32_t slot : {16u, 17u}) {
        auto blob = BlobBytes::legacy();
        blob.parameter(slot, 0.0f);
        EXPECT_EQ(imported(blob), legacyRecord());
    }
}

TEST(LegacyImport, BadValuesAreSkippedWithADiagnostic) {
    auto blob = BlobBytes::legacy();
    blob.parameter(0, 1.5f).parameter(1, -0.5f).parameter(18, 5.0f).parameter(2, 0.25f);
    blob.parameter(6, std::numeric_limits<float>::quiet_NaN());
    testing::internal::CaptureStderr();
    auto expected = legacyRecord();
    expected.values[kMix] = 0.25f;
    EXPECT_EQ(imported(blob), expected);
    const std::string said = testing::internal::GetCapturedStderr();
    const std::string message = "!!! Legacy QVX77 preset loading error !!!";
    EXPECT_NE(said.find(message), std::string::npos);
    EXPECT_NE(said.find(message), said.rfind(message)) << "one for each";
}

TEST(LegacyImport, OtherVersionsGoToTheOrdinaryReader) {
    const auto ordinary = [](BlobBytes blob) {
        blob.parameter(20, 0.9f);
        auto expected = target();
        expected.values[20] = 0.9f;
        EXPECT_EQ(imported(blob), expected);
    };
    ordinary(BlobBytes::make("PS77", 0x03000000, 18, false));
    ordinary(BlobBytes::make("PS77", 0x02000000, 0, true));
    ordinary(BlobBytes::make("PS77", 0x02000000, 19, false));
    ordinary(BlobBytes::make("P77x", 0x02000000, 18, false));
}

}  // namespace
}  // namespace Quorvant
