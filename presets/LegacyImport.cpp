#include "presets/LegacyImport.h"

#include "params/NoteTable.h"
#include "params/ParameterLaws.h"
#include "presets/FactoryBank.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <numeric>

namespace Quorvant {
namespace {

constexpr uint32_t kLegacyVersion = 0x02000000;
constexpr uint32_t kSlotCount = 18;
constexpr uint32_t kNumeratorSlot = 16;
constexpr uint32_t kDenominatorSlot = 17;

struct SlotTarget {
    ParameterIndex parameter;
    double factor = 1.0;
};

// In the order of the legacy slots 0 to 15.
constexpr std::array<SlotTarget, 16> kTargets = {{
    {kInput},
    {kOutput},
    {kMix},
    {kDelayTime, 3200.0 / 9600.0},  // the earlier version's range ended at 3200 ms
    {kDelayX2},
    {kDelayInvert},
    {kFeedback},
    {kHighCut},
    {kFeedbackInvert},
    {kManualVco},
    {kDepth},
    {kWaveform},
    {kLfoRate},
    {kInfRepeat, 0.0},  // a running loop is not restored
    {kProcess},
    {kDelayClockMode},
}};

constexpr std::array kNumerators = {1, 3, 5, 7, 9};
constexpr std::array kDenominators = {1, 2, 3, 4, 6, 8, 12, 16, 24, 32, 48, 64, 96};

// Shorter than the default it stands for, as it always was.
constexpr double kNoteWithoutRow = 0.3728813559322;

template <std::size_t Count>
int pick(const std::array<int, Count>& choices, double value) {
    const auto index = static_cast<std::size_t>(std::floor(value * Count));
    return choices[std::min(index, Count - 1)];
}

// The rows are in lowest terms, and a fraction that isn't has no row: intended.
double noteValue(int numerator, int denominator) {
    if (std::gcd(numerator, denominator) != 1) return kNoteWithoutRow;
    const auto row = noteByFraction(kDelayNotes, numerator, denominator);
    return row ? listValue(*row, kNoteCount) : kNoteWithoutRow;
}

}  // namespace

bool isLegacyPreset(const BlobView& blob) {
    return blob.magic == BlobView::Magic::Legacy && blob.version == kLegacyVersion &&
           blob.parameterCount >= 1 && blob.parameterCount <= kSlotCount;
}

BlobResult importLegacyPreset(const BlobView& blob, QVXPresetRecord& record) {
    if (blob.chunkCount < 0) return BlobResult::NotAPreset;
    const auto defaults = legacyDefaults();
    for (uint32_t index = 1; index < kStoredParameterCount; ++index)
        record.values[index] = static_cast<float>(defaults[index]);

    std::array<double, kSlotCount> slots;
    slots.fill(-1.0);  // absent
    const bool whole = walkChunks(blob, [&](ChunkType type, std::span<const std::byte> body) {
        if (type == ChunkType::Name) {
            takeName(record, body);
            return true;
        }
        const uint32_t slot = blob.word(body, kParameterIndexOffset);
        if (slot >= kSlotCount) return true;
        const double value = blob.real(body, kParameterValueOffset);
        if (value < 0.0 || value > 1.0)
            std::fputs("!!! Legacy QVX77 preset loading error !!!\n", stderr);
        else
            slots[slot] = value;  // not-a-number too: no comparison below lets it through
        return true;
    });

    for (std::size_t slot = 0; slot < kTargets.size(); ++slot) {
        const auto& [parameter, factor] = kTargets[slot];
        if (slots[slot] >= 0.0) record.values[parameter] = static_cast<float>(slots[slot] * factor);
    }
    if (slots[kNumeratorSlot] >= 0.0 && slots[kDenominatorSlot] >= 0.0)
        record.values[kDelayNote] =
            static_cast<float>(noteValue(pick(kNumerators, slots[kNumeratorSlot]),
                                         pick(kDenominators, slots[kDenominatorSlot])));
    return whole ? BlobResult::Applied : BlobResult::AppliedInPart;
}

BlobResult readPreset(std::span<const std::byte> bytes, QVXPresetRecord& record) {
    const auto blob = openBlob(bytes);
    if (!blob) return BlobResult::NotAPreset;
    return isLegacyPreset(*blob) ? importLegacyPreset(*blob, record)
                                 : applyPresetFile(*blob, record);
}

}  // namespace Quorvant
