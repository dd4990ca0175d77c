// Presets of the product's earlier version: 18 values, mapped onto today's parameters.
#pragma once

#include "presets/PresetBlob.h"

namespace Quorvant {

// Whether the blob is one that importLegacyPreset understands.
bool isLegacyPreset(const BlobView& blob);

// Gives the record the legacy defaults, then what the blob holds; Process keeps the record's value
// unless the blob holds one. Values out of range are passed over with a diagnostic.
BlobResult importLegacyPreset(const BlobView& blob, QVXPresetRecord& record);

// Any preset file's bytes, of either version.
BlobResult readPreset(std::span<const std::byte> bytes, QVXPresetRecord& record);

}  // namespace Quorvant
