// The commands that list, show and convert presets.
#include "platform/Utf8Path.h"
#include "presets/PresetFile.h"
#include "presets/PresetFolders.h"
#include "tools/corvane-host/Commands.h"
#include "tools/corvane-host/PresetChoice.h"
#include "tools/corvane-host/Report.h"
#include "tools/hosting/Text.h"

#include <algorithm>
#include <filesystem>
#include <iostream>

namespace Quorvant::Hosting {

namespace fs = std::filesystem;

namespace {

constexpr double kRate = 48000.0;
constexpr int kBlock = 512;
constexpr std::string_view kStateExtension = ".vstpreset";

HostedPlugin::Ptr openPrepared(const PluginChoice& choice) {
    auto plugin = openPlugin(choice);
    prepareAsItIs(*plugin, kRate, kBlock);
    return plugin;
}

void tellLosses(const std::string& source, const std::vector<std::string>& losses) {
    if (losses.empty()) return;
    std::string list;
    for (const std::string& loss : losses) appendItem(list, loss, "; ");
    std::cerr << "corvane-host: " << inQuotes(source) << ": " << list << std::endl;
}

bool isSuspended(const HostedPlugin& plugin) {
    for (const Parameter& parameter : plugin.parameters())
        if (parameter.has(Steinberg::Vst::ParameterInfo::kIsBypass))
            return plugin.controllerValue(parameter.id) >= 0.5;
    return false;
}

// The settings that the plug-in has now, as far as the product's own files hold them.
ProductPreset productPreset(const HostedPlugin& plugin, const AppliedPreset& applied) {
    if (applied.product) return *applied.product;
    ProductPreset preset{shownRecord(plugin), {}, {}};
    setPresetName(preset.record, applied.notes.name);
    if (presetName(preset.record) != applied.notes.name)
        preset.losses.push_back("its name is cut to " + inQuotes(presetName(preset.record)));
    if (applied.fromState && isSuspended(plugin))
        preset.losses.emplace_back("a .qvx keeps no suspend");
    if (applied.fromState && applied.notes.controllerState)
        preset.losses.emplace_back(
            "a .qvx keeps one setup, so the other one and the view's settings are left out");
    return preset;
}

std::vector<Program> programsOf(const HostedPlugin& plugin) {
    auto programs = listPrograms(plugin);
    if (programs.empty()) throw Failure{inQuotes(plugin.name()) + " offers no presets"};
    return programs;
}

fs::path importFile(const PluginChoice& choice, const std::string& file, bool replace) {
    std::error_code failure;
    if (!fs::is_regular_file(file, failure)) throw Failure{"there is no file " + inQuotes(file)};
    if (mainPresetFolder().empty()) throw Failure{"there is no home folder to keep presets in"};
    std::string name = fileNameFor(utf8FromPath(fs::path(file).stem()));
    const fs::path target = mainPresetFolder() / pathFromUtf8(name.append(kPresetExtension));
    if (!replace && fs::exists(target, failure))
        throw Failure{inQuotes(utf8FromPath(target)) + " exists already, --force replaces it"};
    const auto plugin = openPrepared(choice);
    checkIsProduct(*plugin, file);
    const auto applied = applyPresetFile(*plugin, file, RecordPart::Everything);
    const auto preset = productPreset(*plugin, applied);
    writeProductPreset(target, preset);
    tellLosses(file, preset.losses);
    return target;
}

}  // namespace

void listPresets(const PluginChoice& choice, bool plain) {
    const auto programs = programsOf(*openPlugin(choice));
    Report report(plain);
    report.heading({"number", "name", "category"});
    for (size_t number = 0; number < programs.size(); ++number)
        report.add({std::to_string(number), programs[number].name, programs[number].category});
    report.print(std::cout);
}

void showPreset(const PluginChoice& choice, const std::string& nameOrFile, bool plain) {
    const auto plugin = openPrepared(choice);
    const auto applied = applyPreset(*plugin, nameOrFile, RecordPart::Everything);
    if (applied.product) tellLosses(nameOrFile, applied.product->losses);
    using Steinberg::Vst::ParameterInfo;
    Report report(plain);
    for (const Parameter& parameter : plugin->parameters())
        if (!parameter.has(ParameterInfo::kIsReadOnly | ParameterInfo::kIsProgramChange))
            report.add({std::to_string(parameter.id), parameter.title,
                        shownValue(*plugin, parameter, plugin->controllerValue(parameter.id))});
    report.print(std::cout);
}

void exportPreset(const PluginChoice& choice, const std::string& nameOrFile,
                  const std::string& path) {
    const std::string extension = fs::path(path).extension().string();
    const bool toState = sameText(extension, kStateExtension);
    if (!toState && !sameText(extension, kPresetExtension))
        throw Failure{inQuotes(path) + " ends in neither .qvx nor .vstpreset"};
    const auto plugin = openPrepared(choice);
    if (!toState) checkIsProduct(*plugin, path);
    const auto applied = applyPreset(*plugin, nameOrFile, RecordPart::Everything);
    if (toState) {
        saveVstPreset(*plugin, path, applied.notes);
        if (applied.product) tellLosses(nameOrFile, applied.product->losses);
    } else {
        const auto preset = productPreset(*plugin, applied);
        writeProductPreset(path, preset);
        tellLosses(nameOrFile, preset.losses);
    }
}

void exportAllPresets(const PluginChoice& choice, const std::string& folder) {
    const auto plugin = openPrepared(choice);
    const auto programs = programsOf(*plugin);
    std::error_code failure;
    fs::create_directories(folder, failure);
    if (failure)
        throw Failure{"cannot make the folder " + inQuotes(folder) + ": " + failure.message()};
    std::vector<std::string> taken;
    for (const Program& program : programs) {
        const std::string base = fileNameFor(program.name);
        std::string name = base;
        // Some file systems tell no difference between letters of either case.
        const auto isSame = [&](const std::string& other) { return sameText(other, name); };
        for (int again = 2; std::ranges::any_of(taken, isSame); ++again)
            name = base + " " + std::to_string(again);
        taken.push_back(name);
        chooseProgram(*plugin, program);
        saveVstPreset(*plugin, fs::path(folder) / pathFromUtf8(name.append(kStateExtension)),
                      {program.name, program.category, true});
    }
}

void importPresets(const PluginChoice& choice, const std::vector<std::string>& files, bool replace,
                   bool plain) {
    Report report(plain);
    std::vector<std::string> failures;
    for (const std::string& file : files) {
        try {
            report.add({file, utf8FromPath(importFile(choice, file, replace))});
        } catch (const Failure& failure) {
            failures.emplace_back(failure.what());
        }
    }
    report.print(std::cout);
    if (failures.empty()) return;
    if (files.size() == 1) throw Failure{failures.front()};
    for (const std::string& failure : failures)
        std::cerr << "corvane-host: " << failure << std::endl;
    throw Failure{std::to_string(failures.size()) + " of " + std::to_string(files.size()) +
                  " files were not imported"};
}

}  // namespace Quorvant::Hosting
