// The command that shows a plug-in's readings.
#include "tools/corvane-host/Commands.h"
#include "tools/corvane-host/Readings.h"
#include "tools/corvane-host/Report.h"
#include "tools/hosting/Text.h"

#include <iostream>

namespace Quorvant::Hosting {

namespace {

constexpr int kTimeDecimals = 3;
constexpr int kValueDecimals = 6;

std::string csvField(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
    std::string field = "\"";
    for (const char c : text) {
        if (c == '"') field += c;
        field += c;
    }
    return field + '"';
}

void printCsv(const std::vector<Report::Row>& rows) {
    for (const auto& row : rows) {
        for (size_t column = 0; column < row.size(); ++column)
            std::cout << (column > 0 ? "," : "") << csvField(row[column]);
        std::cout << '\n';
    }
}

}  // namespace

Result<> showMeters(const PluginChoice& choice, const RenderOptions& options,
                    const MeterOptions& meters, bool plain) {
    Readings readings(meters.every);
    const RenderWatch watch{meters.every, [&](const HostedPlugin& plugin, double seconds) {
                                readings.take(plugin, seconds);
                            }};
    auto done = runRender(choice, options, std::nullopt, watch);
    if (!done) return Error{done.error()};
    if (readings.columns.empty())
        return Error{inQuotes(done->plugin->description().name) + " reports no readings"};

    std::vector<Report::Row> table = {{"seconds"}};
    for (const auto& column : readings.columns) table.front().push_back(column.title);
    for (const auto& row : readings.rows) {
        auto& line = table.emplace_back(1, number(row.seconds, kTimeDecimals));
        for (const auto& value : row.values)
            line.push_back(value ? number(*value, kValueDecimals) : std::string());
        line.resize(table.front().size());
    }
    if (meters.csv) {
        printCsv(table);
        return {};
    }
    Report report(plain);
    report.heading(table.front());
    for (size_t line = 1; line < table.size(); ++line) report.add(table[line]);
    report.print(std::cout);
    return {};
}

}  // namespace Quorvant::Hosting
