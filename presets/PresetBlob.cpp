#include "presets/PresetBlob.h"

#include "params/ParameterTable.h"

#include <boost/endian/conversion.hpp>

#include <algorithm>
#include <bit>
#include <cmath>

namespace Quorvant {
namespace {

namespace endian = boost::endian;

using Bytes = std::span<const std::byte>;

constexpr uint32_t kMagic = 0x50373778;        // "P77x"
constexpr uint32_t kLegacyMagic = 0x50533737;  // "PS77"
constexpr std::byte kFormatMark{0x22};
constexpr uint32_t kVersion = 0x03000000;
constexpr std::size_t kHeaderSize = 41;
constexpr uint32_t kChunkHeaderSize = 12;
constexpr uint32_t kNameBodySize = 156;
constexpr uint32_t kParameterBodySize = 20;

const unsigned char* at(Bytes bytes, std::size_t offset) {
    return reinterpret_cast<const unsigned char*>(bytes.subspan(offset, 4).data());
}

// Appends little-endian words and runs of bytes.
class Writer {
  public:
    void word(uint32_t value) {
        unsigned char stored[4];
        endian::store_little_u32(stored, value);
        append(std::as_bytes(std::span(stored)));
    }
    void real(float value) { word(std::bit_cast<uint32_t>(value)); }
    void byte(std::byte value) { written.push_back(value); }
    void zeros(std::size_t count) { written.insert(written.end(), count, std::byte{}); }
    void append(Bytes bytes) { written.insert(written.end(), bytes.begin(), bytes.end()); }

    std::vector<std::byte> written;
};

bool inRange(float value) {
    return value >= 0.0f && value <= 1.0f;  // not-a-number isn't
}

// `repair` makes of a value, given its index, what the flavour wants instead.
template <typename Repair>
BlobResult applyChunks(const BlobView& blob, QVXPresetRecord& record, Repair&& repair) {
    if (blob.chunkCount < 0) return BlobResult::NotAPreset;
    const QVXPresetRecord saved = record;
    bool badValue = false;
    const bool whole = walkChunks(blob, [&](ChunkType type, Bytes body) {
        if (type == ChunkType::Name) {
            takeName(record, body);
            return true;
        }
        const uint32_t index = blob.word(body, kParameterIndexOffset);
        if (index >= kStoredParameterCount) return true;
        const float value = repair(index, blob.real(body, kParameterValueOffset));
        badValue = !inRange(value);
        if (!badValue) record.values[index] = value;
        return !badValue;
    });
    if (badValue) {
        record = saved;
        return BlobResult::BadValue;
    }
    return whole ? BlobResult::Applied : BlobResult::AppliedInPart;
}

}  // namespace

uint32_t BlobView::word(Bytes bytes, std::size_t offset) const {
    const unsigned char* stored = at(bytes, offset);
    return bigEndian ? endian::load_big_u32(stored) : endian::load_little_u32(stored);
}

float BlobView::real(Bytes bytes, std::size_t offset) const {
    return std::bit_cast<float>(word(bytes, offset));
}

std::optional<BlobView> openBlob(Bytes bytes) {
    if (bytes.size() < kHeaderSize || bytes[4] != kFormatMark) return std::nullopt;
    BlobView blob{};
    const uint32_t little = endian::load_little_u32(at(bytes, 0));
    const uint32_t big = endian::load_big_u32(at(bytes, 0));
    blob.bigEndian = big == kMagic || big == kLegacyMagic;
    const uint32_t magic = blob.bigEndian ? big : little;
    if (magic != kMagic && magic != kLegacyMagic) return std::nullopt;
    blob.magic = magic == kMagic ? BlobView::Magic::Current : BlobView::Magic::Legacy;
    blob.version = blob.word(bytes, 5);
    blob.parameterCount = blob.word(bytes, 9);
    blob.chunkCount = static_cast<int32_t>(blob.word(bytes, 13));
    const std::size_t announced = blob.word(bytes, 21);
    blob.data = bytes.subspan(kHeaderSize);
    if (announced < blob.data.size()) blob.data = blob.data.first(announced);
    return blob;
}

void takeName(QVXPresetRecord& record, Bytes nameBody) {
    setPresetName(record, {reinterpret_cast<const char*>(nameBody.data()), kNameFieldSize});
}

std::vector<std::byte> serialisePreset(const QVXPresetRecord& record, uint32_t listWord,
                                       uint32_t presetWord) {
    uint32_t stored = 0;
    for (uint32_t index = 0; index < kStoredParameterCount; ++index)
        stored += kParameters[index].inRecord() ? 1 : 0;
    const uint32_t dataSize =
        kChunkHeaderSize + kNameBodySize + stored * (kChunkHeaderSize + kParameterBodySize);

    Writer out;
    out.written.reserve(kHeaderSize + dataSize);
    out.word(kMagic);
    out.byte(kFormatMark);
    out.word(kVersion);
    out.word(kStoredParameterCount);
    out.word(1 + stored);
    out.word(0);
    out.word(dataSize);
    out.word(13);  // part of the format, without a meaning
    out.word(listWord);
    out.word(presetWord);
    out.word(0);

    const auto chunkHeader = [&out](ChunkType type, uint32_t size) {
        out.word(static_cast<uint32_t>(type));
        out.word(size);
        out.word(0);
    };
    chunkHeader(ChunkType::Name, kNameBodySize);
    out.append(std::as_bytes(std::span(record.name)));
    out.zeros(kNameBodySize - kNameFieldSize);
    for (uint32_t index = 0; index < kStoredParameterCount; ++index) {
        if (!kParameters[index].inRecord()) continue;
        chunkHeader(ChunkType::Parameter, kParameterBodySize);
        out.word(index);
        out.zeros(8);
        out.real(record.values[index]);
        out.word(0);
    }
    return std::move(out.written);
}

void renameBlob(std::span<std::byte> bytes, std::string_view name) {
    const auto blob = openBlob(bytes);
    if (!blob) return;
    QVXPresetRecord named{};
    setPresetName(named, name);
    walkChunks(*blob, [&](ChunkType type, Bytes body) {
        const auto place = static_cast<std::size_t>(body.data() - bytes.data());
        if (type == ChunkType::Name)
            std::ranges::copy(std::as_bytes(std::span(named.name)), bytes.begin() + place);
        return true;
    });
}

BlobResult applyPresetBlob(Bytes bytes, QVXPresetRecord& record) {
    const auto blob = openBlob(bytes);
    if (!blob || blob->magic != BlobView::Magic::Current) return BlobResult::NotAPreset;
    return applyChunks(*blob, record,
                       [](uint32_t, float value) { return std::isnan(value) ? 0.0f : value; });
}

BlobResult applyPresetFile(const BlobView& blob, QVXPresetRecord& record) {
    return applyChunks(blob, record, [](uint32_t index, float value) {
        return inRange(value) ? value : static_cast<float>(parameterDefault(index));
    });
}

}  // namespace Quorvant
