// The command that shows a plug-in's readings.
#include "tools/corvane-host/Commands.h"
#include "tools/corvane-host/Report.h"
#include "tools/hosting/Text.h"

#include <iostream>

namespace Quorvant::Hosting {

namespace {

constexpr int kTimeDecimals = 3;
constexpr int kValueDecimals = 6;

}  // namespace

void showMeters(const PluginChoice& choice, const RenderOptions& options,
                const MeterOptions& meters, bool plain) {
    Readings readings(meters.every);
    const auto done = runRender(choice, options, readings);
    if (readings.columns.empty())
        throw Failure{inQuotes(done.plugin->name()) + " reports no readings"};
    Report report = meters.csv ? Report(Report::Style::Csv) : Report(plain);
    Report::Row titles = {"seconds"};
    for (const auto& column : readings.columns) titles.push_back(column.title);
    report.heading(titles);
    for (const auto& row : readings.rows) {
        Report::Row line = {number(row.seconds, kTimeDecimals)};
        for (const auto& value : row.values)
            line.push_back(value ? number(*value, kValueDecimals) : std::string());
        line.resize(titles.size());
        report.add(std::move(line));
    }
    report.print(std::cout);
}

}  // namespace Quorvant::Hosting
