#include "gui/TypedNumber.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <optional>
#include <string>

namespace Quorvant {
namespace {

std::optional<double> parsed(std::string text) {
    double value = -12345.0;
    const bool read = parseTypedNumber(text.data(), value);
    if (read) return value;
    EXPECT_EQ(value, -12345.0) << "written in spite of the refusal";
    return std::nullopt;
}

TEST(TypedNumber, ReadsTheWaysPeopleWriteNumbers) {
    struct Case {
        const char* text;
        double value;
    };
    for (const Case& c : {Case{"1k5", 1500.0},
                          {"2k", 2000.0},
                          {"250m", 0.25},
                          {"0,5", 0.5},
                          {"1,,5", 1.5},
                          {"+ 12", 12.0},
                          {"1.5k", 1500.0},
                          {"1.2k5", 1205.0},
                          {"1.2.3", 1.203},
                          {"-3.5", -3.5},
                          {"-k5", -500.0},
                          {".5", 0.5},
                          {"5.", 5.0},
                          {"1 000", 1000.0},
                          {"\x01"
                           "42",
                           42.0},
                          {"", 0.0},
                          {" + ", 0.0},
                          {"1m5k", 1500.0},
                          {"1..,5", 1.5}}) {
        const auto value = parsed(c.text);
        ASSERT_TRUE(value) << c.text;
        EXPECT_NEAR(*value, c.value, 1e-9 * std::max(1.0, std::fabs(c.value))) << c.text;
    }
}

TEST(TypedNumber, KnowsTheZerosAndRefusesWhatHoldsNoNumber) {
    for (const char* zero : {"0", "00.00", "-0.0", "-.00", "00.", "00m00", "-m0", "m00", "00k00",
                             "-k00", "-00k", "k0"}) {
        EXPECT_EQ(parsed(zero), 0.0) << zero;
    }
    for (const char* nothing :
         {".",  "..", "k", "kk", ".k",  "-.k", "k.", "-k.", ",", ",,",  ".,",  ",.",  "-",
          "-.", "-,", "m", "m.", "-.m", ".m",  "mm", "12a", "x", "1-2", "--1", "1e3", "+-"}) {
        EXPECT_EQ(parsed(nothing), std::nullopt) << nothing;
    }
}

TEST(TypedNumber, ReplacesFromLeftToRightWithoutOverlap) {
    char text[] = "....,aa";
    EXPECT_EQ(replaceAll(text, "..", "."), 2);
    EXPECT_STREQ(text, "..,aa");
    EXPECT_EQ(replaceAll(text, "a", ""), 2);
    EXPECT_STREQ(text, "..,");
    EXPECT_EQ(replaceAll(text, "z", ""), 0);
    EXPECT_EQ(replaceAll(text, "", ""), 0);
    EXPECT_EQ(replaceAll(text, ",", "too long"), 0);
    EXPECT_STREQ(text, "..,");
}

}  // namespace
}  // namespace Quorvant
