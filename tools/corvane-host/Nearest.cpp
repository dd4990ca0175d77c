#include "tools/corvane-host/Nearest.h"

#include "tools/hosting/Text.h"

#include <algorithm>
#include <cctype>
#include <numeric>

namespace Quorvant::Hosting {

namespace {

constexpr size_t kMostNames = 3;

bool sameLetter(char left, char right) {
    return std::tolower(static_cast<unsigned char>(left)) ==
           std::tolower(static_cast<unsigned char>(right));
}

size_t editDistance(std::string_view left, std::string_view right) {
    std::vector<size_t> row(right.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 0; i < left.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i + 1;
        for (size_t j = 0; j < right.size(); ++j) {
            const size_t replaced = diagonal + (sameLetter(left[i], right[j]) ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

size_t distance(std::string_view name, std::string_view wanted) {
    const bool holds = !std::ranges::search(name, wanted, sameLetter).empty();
    return holds ? 0 : editDistance(wanted, name);
}

}  // namespace

std::string nearestNames(const std::vector<std::string>& names, std::string_view wanted) {
    std::vector<std::pair<size_t, std::string_view>> ranked;
    for (const std::string& name : names) ranked.emplace_back(distance(name, wanted), name);
    std::ranges::stable_sort(ranked, {}, &std::pair<size_t, std::string_view>::first);
    std::string list;
    for (size_t i = 0; i < std::min(ranked.size(), kMostNames); ++i)
        appendItem(list, inQuotes(ranked[i].second));
    return list;
}

}  // namespace Quorvant::Hosting
