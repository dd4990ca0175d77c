#include "gui/Hints.h"
#include "tests/Fold.h"

#include <gtest/gtest.h>

#include <string>

namespace Quorvant {
namespace {

TEST(Hints, AreTheProductsWordingLetterForLetter) {
    EXPECT_STREQ(hintText(4),
                 "Input:\nSets up the Input Gain.\nThe control is in single Preset mode.\n");
    EXPECT_STREQ(hintText(11),
                 "Glbl Input:\nSets up the Input Gain.\nThe control is in Global - factory preset "
                 "independent - mode.\n");
    EXPECT_STREQ(hintText(72), "Delay Time\nIncrements the Delay time in milliseconds");
    EXPECT_STREQ(hintText(36), "S.C.Int-Ext:\n...");
    for (const uint32_t id : {38u, 200u}) EXPECT_STREQ(hintText(id), "...");

    uint64_t all = Testing::kEmptyFold;
    for (uint32_t id = 0; id <= 200; ++id)
        all = Testing::fold(std::string(hintText(id)) + '\n', all);
    EXPECT_EQ(all, 3115117681445038161ull);
}

}  // namespace
}  // namespace Quorvant
