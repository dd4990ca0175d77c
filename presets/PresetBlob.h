// The serialised preset: one chunked form for preset files and for the memo.
#pragma once

#include "presets/PresetRecord.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace Quorvant {

enum class BlobResult {
    Applied,
    AppliedInPart,  // the data ended early; the record has taken what came before
    NotAPreset,     // nothing to take: the record is unchanged
    BadValue,       // a value out of range: the record is unchanged
};

// A preset's bytes in a form that can be walked: the header read, the data bounded by the bytes.
struct BlobView {
    enum class Magic { Current, Legacy };

    Magic magic;
    bool bigEndian;
    uint32_t version;
    uint32_t parameterCount;
    int32_t chunkCount;
    std::span<const std::byte> data;

    uint32_t word(std::span<const std::byte> bytes, std::size_t offset) const;
    float real(std::span<const std::byte> bytes, std::size_t offset) const;
};

// Nothing for bytes that are too short for a header, carry neither magic, or lack the format mark.
// The view points into the bytes.
std::optional<BlobView> openBlob(std::span<const std::byte> bytes);

enum class ChunkType : uint32_t { Name = 0, Parameter = 1 };
inline constexpr std::size_t kNameFieldSize = kPresetNameSize;
inline constexpr std::size_t kParameterIndexOffset = 0;
inline constexpr std::size_t kParameterValueOffset = 12;
inline constexpr std::size_t kParameterBodyLeast = 16;

// Calls visit(type, body) for each chunk of the two known types whose body holds what the type
// needs, and passes over the others; a visit that returns false ends the walk. Never reads beyond
// the data. False when the data ended before the announced number of chunks.
template <typename Visit>
bool walkChunks(const BlobView& blob, Visit&& visit) {
    constexpr std::size_t kChunkHeader = 12;
    auto rest = blob.data;
    for (int32_t left = blob.chunkCount; left > 0; --left) {
        if (rest.size() < kChunkHeader) return false;
        const auto type = static_cast<ChunkType>(blob.word(rest, 0));
        const std::size_t size = blob.word(rest, 4);
        rest = rest.subspan(kChunkHeader);
        if (rest.size() < size) return false;
        const auto body = rest.first(size);
        rest = rest.subspan(size);
        const bool known = (type == ChunkType::Name && size >= kNameFieldSize) ||
                           (type == ChunkType::Parameter && size >= kParameterBodyLeast);
        if (known && !visit(type, body)) return true;
    }
    return true;
}

// Takes a name chunk's name into the record.
void takeName(QVXPresetRecord& record, std::span<const std::byte> nameBody);

// The record as 1425 bytes. The two words say where the setup came from; they are written for other
// readers and never read back.
std::vector<std::byte> serialisePreset(const QVXPresetRecord& record, uint32_t listWord,
                                       uint32_t presetWord);

// Gives the preset in these bytes another name and leaves all else as it is.
void renameBlob(std::span<std::byte> bytes, std::string_view name);

// Memo flavour: not-a-number becomes 0, any other value out of range rejects the whole blob. Only
// the current magic is taken.
BlobResult applyPresetBlob(std::span<const std::byte> bytes, QVXPresetRecord& record);

// File flavour: a value that is no number or out of range becomes the parameter's default. The
// difference is intended: a file is all that is left of a user's work, a memo can be copied again.
BlobResult applyPresetFile(const BlobView& blob, QVXPresetRecord& record);

}  // namespace Quorvant
