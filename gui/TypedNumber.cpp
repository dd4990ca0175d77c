#include "gui/TypedNumber.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <string_view>

namespace Quorvant {
namespace {

constexpr std::string_view kNoNumbers[] = {".",   "..", "k",  "kk",  ".k", "-.k", "k.",
                                           "-k.", ",",  ",,", ".,",  ",.", "-",   "-.",
                                           "-,",  "m",  "m.", "-.m", ".m", "mm"};

struct Rule {
    const char* pattern;
    const char* replacement;
};

constexpr Rule kRemovals[] = {{"+", ""}, {" ", ""}};
constexpr Rule kMarks[] = {{".,", "."}, {",.", "."}, {",,", "."}, {",", "."},
                           {"..", "."}, {"kk", "k"}, {".k", "k"}, {"k.", "k"},
                           {".m", "m"}, {"m.", "m"}, {"mm", "m"}};

}  // namespace

int replaceAll(char* text, const char* pattern, const char* replacement) {
    const std::size_t patternLength = std::strlen(pattern);
    const std::size_t length = std::strlen(replacement);
    if (patternLength == 0 || length > patternLength) return 0;
    int count = 0;
    char* write = text;
    for (const char* read = text; *read != '\0';) {
        if (std::strncmp(read, pattern, patternLength) == 0) {
            write = std::copy_n(replacement, length, write);
            read += patternLength;
            ++count;
        } else {
            *write++ = *read++;
        }
    }
    *write = '\0';
    return count;
}

bool parseTypedNumber(char* text, double& value) {
    if (*text != '\0' && static_cast<unsigned char>(*text) < 32) ++text;
    if (std::find(std::begin(kNoNumbers), std::end(kNoNumbers), text) != std::end(kNoNumbers)) {
        return false;
    }
    for (const Rule& rule : kRemovals) replaceAll(text, rule.pattern, rule.replacement);
    for (const Rule& rule : kMarks) replaceAll(text, rule.pattern, rule.replacement);

    const bool negative = *text == '-';
    if (negative && *++text == '\0') return false;

    double number = 0.0;
    double multiplier = 1.0;
    std::size_t decimals = 0;
    bool markSeen = false;
    for (; *text != '\0'; ++text) {
        if (*text >= '0' && *text <= '9') {
            number = number * 10.0 + (*text - '0');
            continue;
        }
        if (*text == 'k') {
            multiplier = 1000.0;
        } else if (*text == 'm') {
            multiplier = 0.001;
        } else if (*text != '.' && *text != ',') {
            return false;
        }
        if (markSeen) {
            number *= 10.0;  // a later mark stands as a zero digit of the fraction: intended
        } else {
            decimals = std::strlen(text + 1);
            markSeen = true;
        }
    }
    for (; decimals > 0; --decimals) number /= 10.0;
    value = number * multiplier * (negative ? -1.0 : 1.0) + 0.0;  // no zero is negative
    return true;
}

}  // namespace Quorvant
