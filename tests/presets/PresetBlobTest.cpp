#include "params/ParameterTable.h"
#include "presets/LegacyImport.h"
#include "presets/PresetBlob.h"
#include "tests/presets/BlobBytes.h"

#include <gtest/gtest.h>

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

using Reader = BlobResult (*)(std::span<const std::byte>, QVXPresetRecord&);

constexpr Reader kReaders[] = {applyPresetBlob, readPreset};  // of memos and of files

Outcome read(std::string_view blob, Reader reader = applyPresetBlob) {
    QVXPresetRecord record = before();
    const BlobResult result = reader(std::as_bytes(std::span(blob)), record);
    return {result, record};
}

TEST(PresetBlob, IsWrittenByteForByteAndReadBackInBothByteOrders) {
    const auto written = serialisePreset(sample(), 7, 9);
    auto expected = blobOf(sample(), false).text;
    EXPECT_EQ(expected.size(), 1425u);
    expected[29] = 7;  // the two words that say where the setup came from
    expected[33] = 9;
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(written.data()), written.size()), expected);
    const Outcome whole{BlobResult::Applied, sample()};
    for (const Reader reader : kReaders)
        for (const bool bigEndian : {false, true})
            EXPECT_EQ(read(blobOf(sample(), bigEndian).text, reader), whole);
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
    for (const float bad : {1.5f, -0.1f, infinity, -infinity, 1.0000001f, notANumber}) {
        const auto blob = BlobBytes::current().parameter(kMix, 0.25f).parameter(kSensitivity, bad);
        EXPECT_EQ(read(blob.text), bad == bad ? rejected : taken(0.0f)) << bad;
        EXPECT_EQ(read(blob.text, readPreset), taken(1.0f)) << bad;  // the default
    }
}

TEST(PresetBlob, PassesOverUnknownIndicesAndChunks) {
    auto blob = BlobBytes::current();
    blob.parameter(38, 7.0f).parameter(0xFFFFFFFF, 7.0f);  // out of range, but nobody's value
    blob.chunk(2, 3, "xyz").chunk(0xFFFFFFFF, 0, "");
    blob.chunk(1, 8, std::string("\4\0\0\0\0\0\0\0", 8))
        .chunk(0, 5, "short");  // too small for their type
    blob.parameter(3, 0.125f);
    EXPECT_EQ(read(blob.text), (Outcome{BlobResult::Applied, before(3, 0.125f)}));
}

TEST(PresetBlob, ForeignBytesChangeNothing) {
    const std::string good = blobOf(sample(), false).text;
    auto wrongMagic = good, wrongMark = good;
    wrongMagic[0] = 'y';
    wrongMark[4] = '\x23';
    const auto negative = BlobBytes::current().parameter(3, 0.125f).setCount(0xFFFFFFFF).text;
    const Outcome none{BlobResult::NotAPreset, before()};
    for (const std::string& text : {std::string(), good.substr(0, 4), good.substr(0, 5),
                                    good.substr(0, 40), wrongMagic, wrongMark, negative})
        for (const Reader reader : kReaders) EXPECT_EQ(read(text, reader), none) << text.size();
    EXPECT_EQ(read(BlobBytes::legacy().parameter(0, 0.1f).text), none);
}

TEST(PresetBlob, HostileSizesAndCutsEndTheWalk) {
    const Outcome part{BlobResult::AppliedInPart, before(3, 0.125f)};
    for (const uint32_t size : {0x7FFFFFFFu, 0x80000000u, 0xFFFFFFF4u, 0xFFFFFFFFu}) {
        auto blob = BlobBytes::current();
        blob.parameter(3, 0.125f).chunk(1, size, std::string(20, '\0')).parameter(4, 0.125f);
        blob.setDataSize(0xFFFFFFFF).setCount(0x7FFFFFFF);
        EXPECT_EQ(read(blob.text), part) << size;
    }
    auto two = BlobBytes::current().parameter(3, 0.125f).parameter(4, 0.125f);
    for (std::size_t missing = 1; missing <= 32; ++missing)
        EXPECT_EQ(read(two.text.substr(0, two.text.size() - missing)), part) << missing;
    EXPECT_EQ(read(two.setDataSize(32).text), part);
}

TEST(PresetRecord, NamesEndInTheirFieldAndBetweenCharacters) {
    const std::pair<std::string, std::string> names[] = {
        {std::string(24, 'a'), std::string(23, 'a')},  // without a terminator
        {std::string("hi\0junk", 7), "hi"},
        {std::string(22, 'a') + "ä", std::string(22, 'a')},
        {"K\xE4se \xDF", "Käse ß"}};  // by programs of one byte a character
    for (const auto& [name, taken] : names) {
        QVXPresetRecord expected = before();
        std::ranges::fill(expected.name, '\0');
        std::ranges::copy(taken, expected.name);
        EXPECT_EQ(read(BlobBytes::current().name(name).text).record, expected);
    }
    QVXPresetRecord record = before();
    setPresetName(record, presetName(record).substr(4));  // from itself
    EXPECT_EQ(presetName(record), "re");
}

}  // namespace
}  // namespace Quorvant
