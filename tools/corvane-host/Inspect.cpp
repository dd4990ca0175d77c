// The commands that only look: info, params, state.
#include "tools/corvane-host/Commands.h"
#include "tools/corvane-host/Report.h"
#include "tools/corvane-host/StateFile.h"
#include "tools/hosting/Text.h"

#include <iostream>

namespace Quorvant::Hosting {

using namespace Steinberg::Vst;

namespace {

constexpr double kRate = 48000.0;
constexpr int kBlock = 512;
constexpr int kMostListedTexts = 8;

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

void addBuses(Report& report, const HostedPlugin& plugin, BusDirection direction) {
    for (const Bus& bus : plugin.buses(direction))
        report.add({direction == kInput ? "input" : "output", bus.name,
                    std::to_string(bus.channels) + (bus.channels == 1 ? " channel" : " channels"),
                    bus.main ? "main" : "auxiliary",
                    bus.defaultActive ? "active by default" : "inactive by default"});
}

std::string tailText(const HostedPlugin& plugin) {
    if (plugin.tail() == kInfiniteTail) return "endless";
    return std::to_string(plugin.tail()) + " frames at " + number(kRate, 0) + " Hz";
}

}  // namespace

Result<> showInfo(const PluginChoice& choice, bool plain) {
    auto opened = openPlugin(choice);
    if (!opened) return Error{opened.error()};
    HostedPlugin& plugin = **opened;
    auto classes = HostedPlugin::listClasses(plugin.path());
    if (!classes) return Error{classes.error()};

    Report about(plain);
    about.add({"path", plugin.path()});
    for (const ClassDescription& one : *classes)
        about.add({"class", one.name, one.category, one.subCategories, one.vendor, one.version,
                   one.sdkVersion, one.id});
    addBuses(about, plugin, kInput);
    addBuses(about, plugin, kOutput);
    about.add({"samples", std::string(plugin.canProcess(false) ? "32 bits" : "") +
                              (plugin.canProcess(true) ? " 64 bits" : "")});
    if (auto prepared = prepareAsItIs(plugin, kRate, kBlock, 32); !prepared) return prepared;
    about.add({"latency", std::to_string(plugin.latency()) + " frames"});
    about.add({"tail", tailText(plugin)});
    about.print(std::cout);

    Report parameters(plain);
    for (const Parameter& parameter : plugin.parameters())
        parameters.add({"parameter", std::to_string(parameter.id), parameter.title,
                        shownValue(plugin, parameter, parameter.defaultNormalised)});
    parameters.print(std::cout);
    return {};
}

Result<> listParameters(const PluginChoice& choice, bool plain) {
    auto opened = openPlugin(choice);
    if (!opened) return Error{opened.error()};
    const HostedPlugin& plugin = **opened;
    Report report(plain);
    report.heading({"id", "title", "short", "units", "steps", "default", "flags", "values"});
    for (const Parameter& parameter : plugin.parameters())
        report.add({std::to_string(parameter.id), parameter.title, parameter.shortTitle,
                    parameter.units, std::to_string(parameter.stepCount),
                    plugin.textOf(parameter, parameter.defaultNormalised), flagNames(parameter),
                    valueTexts(plugin, parameter)});
    report.print(std::cout);
    return {};
}

Result<> saveStateCommand(const PluginChoice& choice, const std::string& path) {
    auto opened = openPlugin(choice);
    if (!opened) return Error{opened.error()};
    if (auto prepared = prepareAsItIs(**opened, kRate, kBlock, 32); !prepared) return prepared;
    if (auto applied = applySettings(**opened, choice, 32); !applied) return Error{applied.error()};
    return saveState(**opened, path);
}

Result<> loadStateCommand(const PluginChoice& choice, const std::string& path, bool plain) {
    auto opened = openPlugin(choice);
    if (!opened) return Error{opened.error()};
    HostedPlugin& plugin = **opened;
    if (auto loaded = loadState(plugin, path); !loaded) return Error{loaded.error()};
    Report report(plain);
    for (const Parameter& parameter : plugin.parameters())
        report.add({std::to_string(parameter.id), parameter.title,
                    shownValue(plugin, parameter, plugin.controllerValue(parameter.id))});
    report.print(std::cout);
    return {};
}

}  // namespace Quorvant::Hosting
