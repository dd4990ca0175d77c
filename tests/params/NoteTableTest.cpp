// The note lists: order, lengths and how entries are found.
#include "params/NoteTable.h"

#include <gtest/gtest.h>

#include <numeric>

namespace Quorvant {
namespace {

TEST(NoteTable, DelayNotesRiseInLowestTermsAndTheLfoListIsTheReverse) {
    for (int i = 0; i < kNoteCount; ++i) {
        const NoteValue& note = kDelayNotes[i];
        EXPECT_EQ(std::gcd(note.numerator, note.denominator), 1) << note.name;
        EXPECT_STREQ(kLfoNotes[kNoteCount - 1 - i].name, note.name);
        // Hosts keep values in single precision, which may round them down.
        for (const double value : {i / 59.0, i / 59.0 - 1e-6, i / 59.0 + 1e-6}) {
            EXPECT_STREQ(delayNote(value).name, note.name);
            EXPECT_STREQ(lfoNote(value).name, kLfoNotes[i].name);
        }
        if (i == 0) continue;
        const NoteValue& before = kDelayNotes[i - 1];
        EXPECT_LT(before.numerator * note.denominator, note.numerator * before.denominator)
            << note.name;
    }
    EXPECT_EQ(kDelayNotes[5].numerator * 64, kDelayNotes[5].denominator * 3);
}

TEST(NoteTable, FindsEntriesByEqualLengthOnly) {
    for (const char* text : {" 1 / 4 DOTTED ", "1/4d", "6/16", "9/16 t"}) {
        EXPECT_EQ(noteByText(kDelayNotes, text), 27) << text;
    }
    for (const char* text : {"", "1", "/", "1/", "/4", "0/4", "1/0", "-1/4", "1/5", "10/1", "1/4/4",
                             "1/4 dotty", "99999999999999999999/4", "1/4 Dotted Triplet"}) {
        EXPECT_EQ(noteByText(kDelayNotes, text), std::nullopt) << text;
    }
}

}  // namespace
}  // namespace Quorvant
