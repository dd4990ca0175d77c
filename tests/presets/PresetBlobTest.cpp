#include "params/ParameterTable.h"
#include "presets/LegacyImport.h"
#include "presets/PresetBlob.h"
#include "tests/presets/BlobBytes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace Quorvant {
namespace {

QVXPresetRecord sample() {
    QVXPresetRecord record{};
    setPresetName(record, "abcdefghijklmnopqrstuvw");  // as long as a name can be
    for (uint32_t i = 0; i < kStoredParameterCount; ++i)
        record.values[i] = static_cast<float>(i + 1) / 39.0f;
    return record;
}

QVXPresetRecord filled(float value) {
    QVXPresetRecord record{};
    setPresetName(record, "before");
    for (float& v : record.values) v = value;
    return record;
}

BlobBytes blobOf(const QVXPresetRecord& record, bool bigEndian) {
    auto blob = BlobBytes::current(bigEndian);
    blob.name(presetName(record));
    for (uint32_t i = 0; i < kStoredParameterCount; ++i) blob.parameter(i, record.values[i]);
    return blob;
}

BlobResult readFileFlavour(std::span<const std::byte> bytes, QVXPresetRecord& record) {
    return readPreset(bytes, record);
}

TEST(PresetBlob, IsWrittenByteForByte) {
    const auto written = serialisePreset(sample(), 7, 9);
    ASSERT_EQ(written.size(), 1425u);
    auto expected = blobOf(sample(), false).text;
    expected[29] = 7;  // the two words that say where the setup came from
    expected[33] = 9;
    const std::string text(reinterpret_cast<const char*>(written.data()), written.size());
    EXPECT_EQ(text.substr(0, 5), "x77P\x22");
    for (std::size_t i = 0; i < expected.size(); ++i) ASSERT_EQ(text[i], expected[i]) << i;
}

TEST(PresetBlob, ReadsBackTheSameRecordInBothByteOrdersAndFlavours) {
    for (const bool bigEndian : {false, true}) {
        const auto blob = blobOf(sample(), bigEndian);
        QVXPresetRecord memo = filled(0.5f);
        EXPECT_EQ(applyPresetBlob(blob.bytes(), memo), BlobResult::Applied);
        EXPECT_EQ(memo, sample());
        QVXPresetRecord file = filled(0.5f);
        EXPECT_EQ(readFileFlavour(blob.bytes(), file), BlobResult::Applied);
        EXPECT_EQ(file, sample());
    }
}

TEST(PresetBlob, FileRepairsWhatMemoRejects) {
    const float infinity = std::numeric_limits<float>::infinity();
    for (const float bad : {1.5f, -0.1f, infinity, -infinity, 1.0000001f}) {
        auto blob = BlobBytes::current();
        blob.name("bad").parameter(4, 0.25f).parameter(kFeedback, bad).parameter(5, 0.75f);
        QVXPresetRecord memo = filled(0.5f);
        EXPECT_EQ(applyPresetBlob(blob.bytes(), memo), BlobResult::BadValue);
        EXPECT_EQ(memo, filled(0.5f));
        QVXPresetRecord file = filled(0.5f);
        EXPECT_EQ(readFileFlavour(blob.bytes(), file), BlobResult::Applied);
        EXPECT_EQ(file.values[kFeedback], static_cast<float>(parameterDefault(kFeedback)));
        EXPECT_EQ(file.values[4], 0.25f);
        EXPECT_EQ(file.values[5], 0.75f);
    }
}

TEST(PresetBlob, NotANumberBecomesDefaultInFileAndZeroInMemo) {
    auto blob = BlobBytes::current();
    blob.parameter(kSensitivity, std::numeric_limits<float>::quiet_NaN());
    QVXPresetRecord memo = filled(0.5f);
    EXPECT_EQ(applyPresetBlob(blob.bytes(), memo), BlobResult::Applied);
    EXPECT_EQ(memo.values[kSensitivity], 0.0f);
    QVXPresetRecord file = filled(0.5f);
    EXPECT_EQ(readFileFlavour(blob.bytes(), file), BlobResult::Applied);
    EXPECT_EQ(file.values[kSensitivity], 1.0f);
}

TEST(PresetBlob, PassesOverUnknownIndicesAndChunks) {
    auto blob = BlobBytes::current();
    blob.parameter(38, 7.0f).parameter(0xFFFFFFFF, 7.0f);  // out of range, but nobody's value
    blob.chunk(2, 3, "xyz").chunk(0xFFFFFFFF, 0, "");
    blob.chunk(1, 8, std::string(8, '\1')).chunk(0, 5, "short");  // too small for their type
    blob.parameter(3, 0.125f);
    QVXPresetRecord record = filled(0.5f);
    QVXPresetRecord expected = record;
    expected.values[3] = 0.125f;
    EXPECT_EQ(applyPresetBlob(blob.bytes(), record), BlobResult::Applied);
    EXPECT_EQ(record, expected);
}

TEST(PresetBlob, NameOfAnyBytesEndsInItsField) {
    auto blob = BlobBytes::current();
    blob.name(std::string(23, 'n') + "X");  // no terminator within the field
    QVXPresetRecord record = filled(0.5f);
    EXPECT_EQ(applyPresetBlob(blob.bytes(), record), BlobResult::Applied);
    EXPECT_EQ(presetName(record), std::string(23, 'n'));
    auto noisy = BlobBytes::current();
    noisy.name(std::string("hi\0junk", 7));
    EXPECT_EQ(applyPresetBlob(noisy.bytes(), record), BlobResult::Applied);
    EXPECT_EQ(std::string(record.name, 24), "hi" + std::string(22, '\0'));
}

TEST(PresetBlob, ForeignBytesChangeNothing) {
    auto negative = BlobBytes::current();
    negative.parameter(3, 0.125f).setCount(0xFFFFFFFF);
    auto wrongMark = blobOf(sample(), false);
    wrongMark.text[4] = '\x23';
    auto wrongMagic = blobOf(sample(), false);
    wrongMagic.text[0] = 'y';
    for (const std::string& text :
         {std::string(), std::string("x77P"), std::string("x77P\x22"), negative.text,
          wrongMark.text, wrongMagic.text, blobOf(sample(), false).text.substr(0, 40)}) {
        const auto bytes = std::as_bytes(std::span(text));
        QVXPresetRecord record = filled(0.5f);
        EXPECT_EQ(applyPresetBlob(bytes, record), BlobResult::NotAPreset);
        EXPECT_EQ(readFileFlavour(bytes, record), BlobResult::NotAPreset);
        EXPECT_EQ(record, filled(0.5f));
    }
    QVXPresetRecord record = filled(0.5f);
    auto legacy = BlobBytes::legacy();
    legacy.parameter(0, 0.1f);
    EXPECT_EQ(applyPresetBlob(legacy.bytes(), record), BlobResult::NotAPreset);
}

// Each cut is copied to a heap block of exactly its size, so that the address sanitizer sees a read
// beyond it.
TEST(PresetBlob, EveryTruncationTakesWhatIsThere) {
    const auto whole = blobOf(sample(), false);
    for (std::size_t length = 41; length <= whole.text.size(); ++length) {
        const std::vector<char> cut(whole.text.begin(),
                                    whole.text.begin() + static_cast<std::ptrdiff_t>(length));
        QVXPresetRecord record = filled(0.5f);
        const auto result = applyPresetBlob(std::as_bytes(std::span(cut)), record);
        const std::size_t chunks = length < 41 + 168 ? 0 : (length - 41 - 168) / 32;
        for (uint32_t i = 0; i < kStoredParameterCount; ++i)
            ASSERT_EQ(record.values[i], i < chunks ? sample().values[i] : 0.5f) << length;
        const bool all = length == whole.text.size();
        ASSERT_EQ(result, all ? BlobResult::Applied : BlobResult::AppliedInPart) << length;
    }
}

TEST(PresetBlob, HostileSizesEndTheWalk) {
    for (const uint32_t size : {21u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFF4u, 0xFFFFFFFFu}) {
        auto blob = BlobBytes::current();
        blob.parameter(3, 0.125f).chunk(1, size, std::string(20, '\0')).parameter(4, 0.125f);
        if (size == 21) blob.text.resize(blob.text.size() - 32);  // one byte beyond the end
        blob.setDataSize(0xFFFFFFFF).setCount(0x7FFFFFFF);
        QVXPresetRecord record = filled(0.5f);
        EXPECT_EQ(applyPresetBlob(blob.bytes(), record), BlobResult::AppliedInPart);
        QVXPresetRecord expected = filled(0.5f);
        expected.values[3] = 0.125f;
        EXPECT_EQ(record, expected) << size;
    }
    auto announcedLess = BlobBytes::current();
    announcedLess.parameter(3, 0.125f).parameter(4, 0.125f).setDataSize(32);
    QVXPresetRecord record = filled(0.5f);
    EXPECT_EQ(applyPresetBlob(announcedLess.bytes(), record), BlobResult::AppliedInPart);
    EXPECT_EQ(record.values[4], 0.5f);
}

TEST(PresetRecord, NamesAreCutBetweenCharacters) {
    QVXPresetRecord record{};
    setPresetName(record, std::string(24, 'a'));
    EXPECT_EQ(presetName(record), std::string(23, 'a'));
    setPresetName(record, std::string(22, 'a') + "\xC3\xA4");
    EXPECT_EQ(presetName(record), std::string(22, 'a'));
    setPresetName(record, presetName(record).substr(20));  // from itself
    EXPECT_EQ(std::string(record.name, 24), "aa" + std::string(22, '\0'));
}

}  // namespace
}  // namespace Quorvant
