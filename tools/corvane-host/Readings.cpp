#include "tools/corvane-host/Readings.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string_view>

namespace Quorvant::Hosting {

namespace {

// Nothing in the interface tells which readings are peaks.
bool namesPeak(const std::string& title) {
    constexpr std::string_view kWords[] = {"Peak",      "Level",    "Meter",
                                           "Reduction", "Headroom", "Activity"};
    return std::ranges::any_of(
        kWords, [&](std::string_view word) { return title.find(word) != std::string::npos; });
}

}  // namespace

size_t Readings::columnOf(const HostedPlugin& plugin, ParamID id) {
    const auto known = std::ranges::find(columns, id, &Column::id);
    if (known == columns.end()) {
        const Parameter* parameter = plugin.findParameter(id);
        const std::string title = parameter != nullptr ? parameter->title : std::to_string(id);
        columns.push_back({id, title, namesPeak(title)});
        return columns.size() - 1;
    }
    return static_cast<size_t>(known - columns.begin());
}

int64_t Readings::nextEnd(int64_t position, double rate) const {
    if (interval <= 0.0) return std::numeric_limits<int64_t>::max();
    const double ends = std::floor(static_cast<double>(position) / rate / interval + 1e-6);
    return std::max<int64_t>(std::llround((ends + 1.0) * interval * rate), position + 1);
}

void Readings::take(const HostedPlugin& plugin, double seconds) {
    constexpr double kRounding = 1e-6;  // of a frame's time, at most
    if (interval <= 0.0) return;
    if (rowIsWhole) {
        rows.push_back({seconds, {}});
        // Readings that aren't peaks hold until they change.
        if (rows.size() > 1) {
            rows.back().values = rows[rows.size() - 2].values;
            for (size_t column = 0; column < rows.back().values.size(); ++column)
                if (columns[column].isPeak) rows.back().values[column].reset();
        }
    }
    Row& row = rows.back();
    row.seconds = seconds;
    for (const ParameterPoint& point : plugin.outputPoints()) {
        const size_t column = columnOf(plugin, point.id);
        if (row.values.size() <= column) row.values.resize(column + 1);
        auto& value = row.values[column];
        value = columns[column].isPeak && value ? std::max(*value, point.value) : point.value;
    }
    const auto count = static_cast<double>(rows.size());
    rowIsWhole = seconds >= count * interval - kRounding;
}

}  // namespace Quorvant::Hosting
