#include "gui/TypedNumber.h"

#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>
#include <string>

namespace Quorvant {
namespace {

// -1 where nothing was written.
double parsed(std::string text) {
    double value = -1.0;
    const bool read = parseTypedNumber(text.data(), value);
    EXPECT_EQ(read, value != -1.0) << text;
    return value;
}

TEST(TypedNumber, ReadsTheWaysPeopleWriteNumbers) {
    const struct {
        double value;
        std::initializer_list<const char*> texts;
    } cases[] = {
        {1500.0, {"1k5", "1.5k", "1m5k", "1 500", "+1500", "\0011500"}},
        {1205.0, {"1.2k5"}},
        {0.25, {"250m", ",25", ".25", "0..25"}},
        {1.5, {"1,5", "1,,5", "1..,5"}},
        {1.203, {"1.2.3"}},
        {5.0, {"5.", "+ 5"}},
        {-500.0, {"-k5", "-500"}},
        {0.0, {"", " + ", "-0.0", "00k00", "-m0", "00.", "0k"}},
    };
    for (const auto& c : cases) {
        for (const char* text : c.texts) {
            EXPECT_NEAR(parsed(text), c.value, 1e-9 * std::fabs(c.value)) << text;
            EXPECT_EQ(std::signbit(parsed(text)), c.value < 0.0) << text;
        }
    }
}

TEST(TypedNumber, RefusesWhatHoldsNoNumber) {
    for (const char* text :
         {".",  "..", "k", "kk", ".k",  "-.k", "k.", "-k.", ",",   ",,",  ".,",  ",.", "-",
          "-.", "-,", "m", "m.", "-.m", ".m",  "mm", "12a", "1-2", "--1", "1e3", "+-"}) {
        EXPECT_EQ(parsed(text), -1.0) << text;
    }
}

TEST(TypedNumber, ReplacesFromLeftToRightWithoutOverlap) {
    char text[] = "....,aa";
    EXPECT_EQ(replaceAll(text, "..", "."), 2);
    EXPECT_STREQ(text, "..,aa");
    EXPECT_EQ(replaceAll(text, "a", ""), 2);
    EXPECT_STREQ(text, "..,");
    EXPECT_EQ(replaceAll(text, "", ""), 0);
    EXPECT_EQ(replaceAll(text, ",", "too long"), 0);
    EXPECT_STREQ(text, "..,");
}

}  // namespace
}  // namespace Quorvant
