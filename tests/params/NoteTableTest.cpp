// The note lists: order, lengths and how entries are found.
#include "params/NoteTable.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>
#include <string>

namespace Quorvant {
namespace {

TEST(NoteTable, delayNotesRiseInLowestTermsAndTheLfoListIsTheReverse) {
    for (int i = 0; i < kNoteCount; ++i) {
        const NoteValue& note = kDelayNotes[i];
        EXPECT_EQ(std::gcd(note.numerator, note.denominator), 1) << note.name;
        EXPECT_STREQ(kLfoNotes[kNoteCount - 1 - i].name, note.name);
        EXPECT_EQ(kLfoNotes[kNoteCount - 1 - i].denominator, note.denominator);
        if (i == 0) continue;
        const NoteValue& before = kDelayNotes[i - 1];
        EXPECT_LT(before.numerator * note.denominator, note.numerator * before.denominator)
            << note.name;
    }
}

TEST(NoteTable, lengthsAreThoseThatTheNamesState) {
    const struct {
        double value;
        const char* name;
        int numerator;
        int denominator;
    } cases[] = {{0.0, "1/64 Triplet", 1, 96},
                 {5.0 / 59, "1/32 Dotted", 3, 64},
                 {0.3728813559322034, "1/4", 1, 4},
                 {27.0 / 59, "1/4 Dotted", 3, 8},
                 {34.0 / 59, "1/1 Triplet", 2, 3},
                 {43.0 / 59, "1/1 Dotted", 3, 2},
                 {1.0, "9/1", 9, 1}};
    for (const auto& c : cases) {
        EXPECT_STREQ(delayNote(c.value).name, c.name);
        EXPECT_EQ(delayNote(c.value).numerator, c.numerator) << c.name;
        EXPECT_EQ(delayNote(c.value).denominator, c.denominator) << c.name;
        EXPECT_STREQ(lfoNote(1.0 - c.value).name, c.name);
    }
}

TEST(NoteTable, anyValueSelectsAnEntry) {
    EXPECT_EQ(delayNoteIndex(-3.0), 0);
    EXPECT_EQ(delayNoteIndex(std::numeric_limits<double>::quiet_NaN()), 0);
    EXPECT_EQ(delayNoteIndex(std::numeric_limits<double>::infinity()), 59);
    EXPECT_EQ(delayNoteIndex(0.49 / 59), 0);
    EXPECT_EQ(delayNoteIndex(0.51 / 59), 1);
}

TEST(NoteTable, findsEntriesByFractionAndText) {
    EXPECT_EQ(delayNoteByFraction(6, 16), 27);
    EXPECT_EQ(delayNoteByFraction(9, 1), 59);
    EXPECT_EQ(delayNoteByFraction(10, 1), std::nullopt);
    EXPECT_EQ(delayNoteByFraction(1, 0), std::nullopt);
    EXPECT_EQ(delayNoteByFraction(-1, -4), std::nullopt);

    for (int i = 0; i < kNoteCount; ++i) EXPECT_EQ(delayNoteByText(kDelayNotes[i].name), i);
    EXPECT_EQ(delayNoteByText(" 1 / 4 DOTTED "), 27);
    EXPECT_EQ(delayNoteByText("1/4d"), 27);
    EXPECT_EQ(delayNoteByText("2/8"), 22);
    EXPECT_EQ(delayNoteByText("1/8 t"), 10);
    for (const char* text : {"", "1", "/", "1/", "/4", "0/4", "1/0", "-1/4", "1/4 dotty", "1/4/4",
                             "1/5", "99999999999999999999/4", "1/4 Dotted Triplet"}) {
        EXPECT_EQ(delayNoteByText(text), std::nullopt) << text;
    }
}

}  // namespace
}  // namespace Quorvant
