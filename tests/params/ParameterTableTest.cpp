// The parameter table as a whole: what hosts and stored projects rely on.
#include "params/ParameterTable.h"
#include "tests/Fold.h"

#include <gtest/gtest.h>

#include <charconv>
#include <string>

namespace Quorvant {
namespace {

// Names, units, steps, defaults, flags, groups and states; the number was taken from the lists that
// the table was written after, not from the table.
TEST(ParameterTable, RowsStayAsHostsAndProjectsKnowThem) {
    uint64_t rows = Testing::kEmptyFold;
    for (const ParameterInfo& info : kParameters) {
        char digits[32];  // whatever the locale's decimal mark is
        const std::string defaultValue(
            digits, std::to_chars(digits, digits + sizeof digits, info.defaultValue,
                                  std::chars_format::general, 17)
                        .ptr);
        std::string row = std::string(info.name) + '|' + std::string(info.shortName) + '|';
        if (info.law) row += info.law->unit;
        row += '|' + std::to_string(info.stepCount()) + '|' + defaultValue + '|' +
               std::to_string(info.flagWord) + '|' + std::string(parameterGroupName(info.group));
        for (const std::string_view state : info.states) row += '|' + std::string(state);
        rows = Testing::fold(row + '\n', rows);
    }
    EXPECT_EQ(rows, 5959999245980831656ull);
    EXPECT_EQ(parameterDefault(kParameterCount), 0.0);
}

}  // namespace
}  // namespace Quorvant
