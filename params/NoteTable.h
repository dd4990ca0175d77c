// The note values of tempo sync: 60 lengths from "1/64 Triplet" to "9/1" as fractions of a whole
// note. The delay's list rises, the LFO's list is the same one falling.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace Quorvant {

struct NoteValue {
    char name[64] = {};
    int32_t numerator = 0;  // with the denominator the length in whole notes, in lowest terms
    int32_t denominator = 1;
};
static_assert(sizeof(NoteValue) == 72);

inline constexpr int kNoteCount = 60;
using NoteList = std::array<NoteValue, kNoteCount>;

extern const NoteList kDelayNotes;
extern const NoteList kLfoNotes;

// The list's entry for a normalised value, whatever it is; not-a-number reads as 0.
const NoteValue& delayNote(double value);
const NoteValue& lfoNote(double value);

// The place in a list of the entry with this length in whole notes, in lowest terms or not; nothing
// for a length that the list lacks or a fraction that is not positive.
std::optional<int> noteByFraction(const NoteList& notes, int64_t numerator, int64_t denominator);

// The place of the entry that a text names: a name of the list, or any fraction of equal length,
// with "dotted"/"d" or "triplet"/"t" behind it, in any case.
std::optional<int> noteByText(const NoteList& notes, std::string_view text);

}  // namespace Quorvant
