// The parameter table as a whole: what hosts and stored projects rely on.
#include "params/ParameterTable.h"
#include "tests/Fold.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace Quorvant {
namespace {

// Names, units, steps, defaults, flags, groups and states; the number was taken from the lists that
// the table was written after, not from the table.
TEST(ParameterTable, RowsStayAsHostsAndProjectsKnowThem) {
    uint64_t rows = Testing::kEmptyFold;
    for (const ParameterInfo& info : kParameters) {
        char defaultValue[32];
        std::snprintf(defaultValue, sizeof defaultValue, "%.17g", info.defaultValue);
        std::string row = std::string(info.name) + '|' + std::string(info.shortName) + '|';
        if (info.law) row += info.law->unit;
        row += '|' + std::to_string(info.stepCount()) + '|' + defaultValue + '|' +
               std::to_string(info.flagWord) + '|' + std::string(parameterGroupName(info.group));
        for (const std::string_view state : info.states) row += '|' + std::string(state);
        rows = Testing::fold(row + '\n', rows);
    }
    EXPECT_EQ(rows, 5959999245980831656ull);
}

TEST(ParameterTable, EveryRowIsInThePlaceOfItsIndex) {
    EXPECT_EQ(kParameters[kGlobalBypass].name, "Glbl Bypass");
    EXPECT_EQ(kParameters[kDirectionMode].name, "Direction Mode");
    EXPECT_EQ(kParameters[kInfRepeat].name, "Inf Repeat");
    EXPECT_EQ(kParameters[kManualTempo].name, "Manual Tempo");
    EXPECT_EQ(kParameters[kDefaultExtensionsPanel].name, "Default Extensions Panel");
    for (uint32_t i = 0; i < kParameterCount; ++i) {
        EXPECT_EQ(kParameters[i].inRecord(), i < kStoredParameterCount) << i;
        EXPECT_EQ(kParameters[i].automatable(), i < kStoredParameterCount) << i;
    }
    EXPECT_EQ(parameterDefault(kFeedback), 0.3);
    EXPECT_EQ(parameterDefault(kParameterCount), 0.0);
    EXPECT_EQ(parameterDefault(0xFFFFFFFFu), 0.0);
}

}  // namespace
}  // namespace Quorvant
