#include "params/NoteTable.h"

#include "params/ParameterLaws.h"
#include "params/TextMatch.h"

#include <algorithm>
#include <numeric>

namespace Quorvant {
namespace {

constexpr std::array<std::string_view, kNoteCount> kNames = {
    "1/64 Triplet", "1/64",       "1/32 Triplet", "1/32",       "1/16 Triplet", "1/32 Dotted",
    "5/96",         "1/16",       "7/96",         "5/64",       "1/8 Triplet",  "1/16 Dotted",
    "5/48",         "7/64",       "1/8",          "9/64",       "7/48",         "5/32",
    "1/4 Triplet",  "1/8 Dotted", "5/24",         "7/32",       "1/4",          "9/32",
    "7/24",         "5/16",       "1/2 Triplet",  "1/4 Dotted", "5/12",         "7/16",
    "1/2",          "9/16",       "7/12",         "5/8",        "1/1 Triplet",  "1/2 Dotted",
    "5/6",          "7/8",        "1/1",          "9/8",        "7/6",          "5/4",
    "4/3",          "1/1 Dotted", "5/3",          "7/4",        "2/1",          "9/4",
    "7/3",          "5/2",        "8/3",          "3/1",        "7/2",          "4/1",
    "9/2",          "5/1",        "6/1",          "7/1",        "8/1",          "9/1"};

struct Fraction {
    int64_t numerator;
    int64_t denominator;
};

constexpr Fraction reduced(Fraction f) {
    const int64_t divisor = std::gcd(f.numerator, f.denominator);
    return {f.numerator / divisor, f.denominator / divisor};
}

constexpr int kMostDigits = 6;  // keeps every product far from overflow

// Takes the digits at the text's front; nothing when there are none, or too many.
constexpr std::optional<int64_t> takeNumber(std::string_view& text) {
    int64_t number = 0;
    int digits = 0;
    while (!text.empty() && text.front() >= '0' && text.front() <= '9') {
        if (++digits > kMostDigits) return std::nullopt;
        number = number * 10 + (text.front() - '0');
        text.remove_prefix(1);
    }
    if (digits == 0) return std::nullopt;
    return number;
}

// The length that a name states: dots lengthen by half, triplets put three in the place of two.
constexpr std::optional<Fraction> readLength(std::string_view text) {
    text = trimmed(text);
    const auto numerator = takeNumber(text);
    if (!numerator) return std::nullopt;
    text = trimmed(text);
    if (text.empty() || text.front() != '/') return std::nullopt;
    text = trimmed(text.substr(1));
    const auto denominator = takeNumber(text);
    if (!denominator || *numerator == 0 || *denominator == 0) return std::nullopt;
    text = trimmed(text);
    Fraction length{*numerator, *denominator};
    if (equalIgnoringCase(text, "dotted") || equalIgnoringCase(text, "d")) {
        length = {length.numerator * 3, length.denominator * 2};
    } else if (equalIgnoringCase(text, "triplet") || equalIgnoringCase(text, "t")) {
        length = {length.numerator * 2, length.denominator * 3};
    } else if (!text.empty()) {
        return std::nullopt;
    }
    return reduced(length);
}

consteval NoteList makeDelayNotes() {
    NoteList notes;
    for (int i = 0; i < kNoteCount; ++i) {
        const Fraction length = readLength(kNames[i]).value();
        std::copy(kNames[i].begin(), kNames[i].end(), notes[i].name);
        notes[i].numerator = static_cast<int32_t>(length.numerator);
        notes[i].denominator = static_cast<int32_t>(length.denominator);
    }
    return notes;
}

consteval NoteList makeLfoNotes() {
    NoteList notes = makeDelayNotes();
    std::reverse(notes.begin(), notes.end());
    return notes;
}

}  // namespace

constexpr NoteList kDelayNotes = makeDelayNotes();
constexpr NoteList kLfoNotes = makeLfoNotes();

const NoteValue& delayNote(double value) {
    return kDelayNotes[listState(value, kNoteCount)];
}
const NoteValue& lfoNote(double value) {
    return kLfoNotes[listState(value, kNoteCount)];
}

std::optional<int> noteByFraction(const NoteList& notes, int64_t numerator, int64_t denominator) {
    if (numerator <= 0 || denominator <= 0) return std::nullopt;
    const Fraction wanted = reduced({numerator, denominator});
    const auto found = std::find_if(notes.begin(), notes.end(), [&](const NoteValue& n) {
        return n.numerator == wanted.numerator && n.denominator == wanted.denominator;
    });
    if (found == notes.end()) return std::nullopt;
    return static_cast<int>(found - notes.begin());
}

std::optional<int> noteByText(const NoteList& notes, std::string_view text) {
    const auto length = readLength(text);
    if (!length) return std::nullopt;
    return noteByFraction(notes, length->numerator, length->denominator);
}

}  // namespace Quorvant
