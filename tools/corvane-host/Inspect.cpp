// The commands that only look: info, params, meters.
#include "tools/corvane-host/Commands.h"
#include "tools/corvane-host/Report.h"
#include "tools/hosting/Text.h"

#include <iostream>

namespace Quorvant::Hosting {

using namespace Steinberg::Vst;

namespace {

constexpr int kMostListedTexts = 8;
constexpr int kTimeDecimals = 3;
constexpr int kValueDecimals = 6;

std::string flagNames(const Parameter& parameter) {
    static constexpr std::pair<Steinberg::int32, const char*> kNames[] = {
        {ParameterInfo::kCanAutomate, "automatable"}, {ParameterInfo::kIsReadOnly, "read-only"},
        {ParameterInfo::kIsWrapAround, "wraps"},      {ParameterInfo::kIsList, "list"},
        {ParameterInfo::kIsHidden, "hidden"},         {ParameterInfo::kIsProgramChange, "program"},
        {ParameterInfo::kIsBypass, "bypass"}};
    std::string names;
    for (const auto& [flag, name] : kNames)
        if (parameter.has(flag)) appendItem(names, name, " ");
    return names.empty() ? "-" : names;
}

// All texts of a short list, else the first and the last.
std::string valueTexts(const HostedPlugin& plugin, const Parameter& parameter) {
    if (parameter.stepCount < 1 || parameter.stepCount >= kMostListedTexts) {
        const std::string first = plugin.textOf(parameter, 0.0);
        const std::string last = plugin.textOf(parameter, 1.0);
        return first.empty() && last.empty() ? std::string() : first + " ... " + last;
    }
    std::string texts;
    for (int state = 0; state <= parameter.stepCount; ++state) {
        const double value = static_cast<double>(state) / parameter.stepCount;
        if (const auto text = plugin.textOf(parameter, value); !text.empty())
            appendItem(texts, text);
    }
    return texts;
}

}  // namespace

void showInfo(const PluginChoice& choice, bool plain) {
    const auto opened = openPlugin(choice);
    Report report(plain);
    for (const auto& info : opened->moduleClasses())
        report.add({"class", info.name(), info.category(), info.subCategoriesString(),
                    info.vendor(), info.version(), info.sdkVersion(), info.ID().toString()});
    report.print(std::cout);
}

void listParameters(const PluginChoice& choice, bool plain) {
    const auto opened = openPlugin(choice);
    const HostedPlugin& plugin = *opened;
    Report report(plain);
    report.heading({"id", "title", "short", "units", "steps", "default", "flags", "values"});
    for (const Parameter& parameter : plugin.parameters())
        report.add({std::to_string(parameter.id), parameter.title, parameter.shortTitle,
                    parameter.units, std::to_string(parameter.stepCount),
                    plugin.textOf(parameter, parameter.defaultNormalised), flagNames(parameter),
                    valueTexts(plugin, parameter)});
    report.print(std::cout);
}

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
