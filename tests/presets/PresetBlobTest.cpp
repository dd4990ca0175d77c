#include "params/ParameterTable.h"
#include "presets/LegacyImport.h"
#include "presets/PresetBlob.h"
#include "tests/presets/BlobBytes.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace Quorvant {
namespace {

QVXPresetRecord sample() {
    QVXPresetRecord record{};
    setPresetName(record, "abcdefghijklmnopqrstuvw");  // as long as a name can be
    for (uint32_t i = 0; i < kStoredParameterCount; ++i)
        record.values[i] = static_cast<float>(i + 1) / 39.0f;
    return record;
}

// What presets are read over, here with one value changed.
QVXPresetRecord before(uint32_t index = 0, float value = 0.5f) {
    QVXPresetRecord record{};
    setPresetName(record, "before");
    std::ranges::fill(record.values, 0.5f);
    record.values[index] = value;
    return record;
}

BlobBytes blobOf(const QVXPresetRecord& record, bool bigEndian) {
    auto blob = BlobBytes::current(bigEndian);
    blob.name(presetName(record));
    for (uint32_t i = 0; i < kStoredParameterCount; ++i) blob.parameter(i, record.values[i]);
    return blob;
}

struct Outcome {
    BlobResult result;
    QVXPresetRecord record;

    friend bool operator==(const Outcome&, const Outcome&) = default;
};

Outcome readAsMemo(std::span<const std::byte> bytes) {
    Outcome outcome{{}, before()};
    outcome.result = applyPresetBlob(bytes, outcome.record);
    return outcome;
}
Outcome readAsFile(std::span<const std::byte> bytes) {
    Outcome outcome{{}, before()};
    outcome.result = readPreset(bytes, outcome.record);
    return outcome;
}

TEST(PresetBlob, IsWrittenByteForByte) {
    const auto written = serialisePreset(sample(), 7, 9);
    auto expected = blobOf(sample(), false).text;
    ASSERT_EQ(expected.size(), 1425u);
    expected[29] = 7;  // the two words that say where the setup came from
    expected[33] = 9;
    EXPECT_EQ(expected.substr(0, 5), "x77P\x22");
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(written.data()), written.size()), expected);
}

TEST(PresetBlob, ReadsBackTheSameRecordInBothByteOrdersAndFlavours) {
    for (const bool bigEndian : {false, true}) {
        const auto blob = blobOf(sample(), bigEndian);
        const Outcome whole{BlobResult::Applied, sample()};
        EXPECT_EQ(readAsMemo(blob.bytes()), whole);
        EXPECT_EQ(readAsFile(blob.bytes()), whole);
    }
}

TEST(PresetBlob, FileRepairsWhatMemoRejects) {
    const float infinity = std::numeric_limits<float>::infinity();
    const float notANumber = std::numeric_limits<float>::quiet_NaN();
    const auto taken = [](float value) {
        QVXPresetRecord record = before(kMix, 0.25f);
        record.values[kSensitivity] = value;
        return Outcome{BlobResult::Applied, record};
    };
    const Outcome rejected{BlobResult::BadValue, before()};
    EXPECT_EQ(parameterDefault(kSensitivity), 1.0);
    for (const float bad : {1.5f, -0.1f, infinity, -infinity, 1.0000001f, notANumber}) {
        const auto blob = BlobBytes::current().parameter(kMix, 0.25f).parameter(kSensitivity, bad);
        EXPECT_EQ(readAsMemo(blob.bytes()), bad == bad ? rejected : taken(0.0f)) << bad;
        EXPECT_EQ(readAsFile(blob.bytes()), taken(1.0f)) << bad;
    }
}

TEST(PresetBlob, PassesOverUnknownIndicesAndChunks) {
    auto blob = BlobBytes::current();
    blob.parameter(38, 7.0f).parameter(0xFFFFFFFF, 7.0f);  // out of range, but nobody's value
    blob.chunk(2, 3, "xyz").chunk(0xFFFFFFFF, 0, "");
    blob.chunk(1, 8, std::string("\4\0\0\0\0\0\0\0", 8))
        .chunk(0, 5, "short");  // too small for their type
    blob.parameter(3, 0.125f);
    EXPECT_EQ(readAsMemo(blob.bytes()), (Outcome{BlobResult::Applied, before(3, 0.125f)}));
}

TEST(PresetBlob, ForeignBytesChangeNothing) {
    const std::string good = blobOf(sample(), false).text;
    auto wrongMagic = good, wrongMark = good;
    wrongMagic[0] = 'y';
    wrongMark[4] = '\x23';
    const auto negative = BlobBytes::current().parameter(3, 0.125f).setCount(0xFFFFFFFF).text;
    const Outcome none{BlobResult::NotAPreset, before()};
    for (const std::string& text : {std::string(), good.substr(0, 4), good.substr(0, 5),
                                    good.substr(0, 40), wrongMagic, wrongMark, negative}) {
        EXPECT_EQ(readAsMemo(std::as_bytes(std::span(text))), none) << text.size();
        EXPECT_EQ(readAsFile(std::as_bytes(std::span(text))), none) << text.size();
    }
    EXPECT_EQ(readAsMemo(BlobBytes::legacy().parameter(0, 0.1f).bytes()), none);
}

// Each cut is copied to a heap block of exactly its size, so that the address sanitizer sees a read
// beyond it.
TEST(PresetBlob, EveryTruncationTakesWhatIsThere) {
    const auto whole = blobOf(sample(), false).text;
    for (std::ptrdiff_t length = 41; length < std::ssize(whole); ++length) {
        const std::vector<char> cut(whole.begin(), whole.begin() + length);
        const auto [result, record] = readAsMemo(std::as_bytes(std::span(cut)));
        ASSERT_EQ(result, BlobResult::AppliedInPart) << length;
        for (uint32_t i = 0; i < kStoredParameterCount; ++i) {
            const bool there = 41 + 168 + 32 * (i + 1) <= cut.size();
            ASSERT_EQ(record.values[i], there ? sample().values[i] : 0.5f) << length;
        }
    }
}

TEST(PresetBlob, HostileSizesEndTheWalk) {
    const Outcome part{BlobResult::AppliedInPart, before(3, 0.125f)};
    for (const uint32_t size : {0x7FFFFFFFu, 0x80000000u, 0xFFFFFFF4u, 0xFFFFFFFFu}) {
        auto blob = BlobBytes::current();
        blob.parameter(3, 0.125f).chunk(1, size, std::string(20, '\0')).parameter(4, 0.125f);
        blob.setDataSize(0xFFFFFFFF).setCount(0x7FFFFFFF);
        EXPECT_EQ(readAsMemo(blob.bytes()), part) << size;
    }
    auto announcedLess = BlobBytes::current();
    announcedLess.parameter(3, 0.125f).parameter(4, 0.125f).setDataSize(32);
    EXPECT_EQ(readAsMemo(announcedLess.bytes()), part);
}

TEST(PresetRecord, NamesEndInTheirFieldAndBetweenCharacters) {
    const auto take = [](std::string_view name) {
        QVXPresetRecord record = readAsMemo(BlobBytes::current().name(name).bytes()).record;
        const std::string read(record.name, 24);
        setPresetName(record, name);
        EXPECT_EQ(std::string(record.name, 24), read);
        return read;
    };
    const auto field = [](std::string text) { return text + std::string(24 - text.size(), '\0'); };
    EXPECT_EQ(take(std::string(24, 'a')), field(std::string(23, 'a')));  // without a terminator
    EXPECT_EQ(take(std::string("hi\0junk", 7)), field("hi"));
    EXPECT_EQ(take(std::string(22, 'a') + "\xC3\xA4"), field(std::string(22, 'a')));
    QVXPresetRecord record = before();
    setPresetName(record, presetName(record).substr(4));  // from itself
    EXPECT_EQ(std::string(record.name, 24), field("re"));
}

}  // namespace
}  // namespace Quorvant
