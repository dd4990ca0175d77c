// The commands that only look: params, meters.
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

}  // namespace

void listParameters(const PluginChoice& choice, bool plain) {
    const auto opened = openPlugin(choice);
    const HostedPlugin& plugin = *opened;
    Report report(plain);
    report.heading({"id", "title", "short", "units", "steps", "default", "flags", "values"});
    for (const Parameter& parameter : plugin.parameters())
        report.add({std::to_string(parameter.id), parameter.title, parameter.shortTitle,
                    parameter.units, std::to_string(parameter.stepCount),
                    plugin.textOf(parameter, parameter.defaultNormalised), flagNames(parameter),
                    valueTexts(plugin, parameter, kMostListedTexts)});
    report.print(std::cout);
}

void showMeters(const PluginChoice& choice, const RenderOptions& options, double every,
                bool plain) {
    Readings readings(every);
    const auto done = runRender(choice, options, readings);
    if (readings.columns.empty())
        throw Failure{inQuotes(done.plugin->name()) + " reports no readings"};
    Report report(plain);
    Report::Row titles = {"seconds"};
    for (const auto& column : readings.columns) titles.push_back(column.title);
    report.add(titles);
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
