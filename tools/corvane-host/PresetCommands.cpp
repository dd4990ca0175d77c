// The commands that list, show and convert presets.
#include "platform/Utf8Path.h"
#include "presets/PresetFile.h"
#include "presets/PresetFolders.h"
#include "tools/corvane-host/Commands.h"
#include "tools/corvane-host/PresetChoice.h"
#include "tools/corvane-host/Programs.h"
#include "tools/corvane-host/Report.h"
#include "tools/hosting/Text.h"

#include <filesystem>
#include <iostream>
#include <set>

namespace Quorvant::Hosting {

namespace fs = std::filesystem;

namespace {

constexpr double kRate = 48000.0;
constexpr int kBlock = 512;
constexpr int kBits = 32;
constexpr std::string_view kStateExtension = ".vstpreset";

Result<HostedPlugin::Ptr> openPrepared(const PluginChoice& choice) {
    auto plugin = openPlugin(choice);
    if (!plugin) return plugin;
    if (auto prepared = prepareAsItIs(**plugin, kRate, kBlock, kBits); !prepared)
        return Error{prepared.error()};
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

// The settings that the plug-in has now, as far as the product's own files hold them. `losses` is
// added to.
ProductPreset productPreset(const HostedPlugin& plugin, const AppliedPreset& applied,
                            std::vector<std::string>& losses) {
    if (applied.product) {
        losses = applied.product->losses;
        return *applied.product;
    }
    ProductPreset preset{shownRecord(plugin), {}, {}};
    setPresetName(preset.record, applied.notes.name);
    if (presetName(preset.record) != applied.notes.name)
        losses.push_back("its name is cut to " + inQuotes(presetName(preset.record)));
    const bool fromState = applied.kind == PresetKind::State;
    if (fromState && isSuspended(plugin)) losses.emplace_back("a .qvx keeps no suspend");
    if (fromState && applied.notes.controllerState)
        losses.emplace_back(
            "a .qvx keeps one setup, so the other one and the view's settings are left out");
    return preset;
}

fs::path importTarget(const fs::path& file) {
    const std::string name = fileNameFor(utf8FromPath(file.stem()));
    return mainPresetFolder() / pathFromUtf8(name + std::string(kPresetExtension));
}

Result<fs::path> importFile(const PluginChoice& choice, const std::string& file, bool replace) {
    std::error_code failure;
    if (!fs::is_regular_file(file, failure)) return Error{"there is no file " + inQuotes(file)};
    if (mainPresetFolder().empty()) return Error{"there is no home folder to keep presets in"};
    const fs::path target = importTarget(file);
    if (!replace && fs::exists(target, failure))
        return Error{inQuotes(utf8FromPath(target)) + " exists already, --force replaces it"};
    auto plugin = openPrepared(choice);
    if (!plugin) return Error{plugin.error()};
    if (auto known = checkIsProduct(**plugin, file); !known) return Error{known.error()};
    auto applied = applyPresetFile(**plugin, file, kBits, RecordPart::Everything);
    if (!applied) return Error{applied.error()};
    std::vector<std::string> losses;
    const auto preset = productPreset(**plugin, *applied, losses);
    if (auto written = writeProductPreset(target, preset); !written) return Error{written.error()};
    tellLosses(file, losses);
    return target;
}

}  // namespace

Result<> listPresets(const PluginChoice& choice, bool plain) {
    auto plugin = openPlugin(choice);
    if (!plugin) return Error{plugin.error()};
    const auto programs = listPrograms(**plugin);
    if (programs.empty())
        return Error{inQuotes((*plugin)->description().name) + " offers no presets"};
    Report report(plain);
    report.heading({"number", "name", "category"});
    for (size_t number = 0; number < programs.size(); ++number)
        report.add({std::to_string(number), programs[number].name, programs[number].category});
    report.print(std::cout);
    return {};
}

Result<> showPreset(const PluginChoice& choice, const std::string& nameOrFile, bool plain) {
    auto plugin = openPrepared(choice);
    if (!plugin) return Error{plugin.error()};
    auto applied = applyPreset(**plugin, nameOrFile, kBits, RecordPart::Everything);
    if (!applied) return Error{applied.error()};
    if (applied->product) tellLosses(nameOrFile, applied->product->losses);
    using Steinberg::Vst::ParameterInfo;
    Report report(plain);
    for (const Parameter& parameter : (*plugin)->parameters())
        if (!parameter.has(ParameterInfo::kIsReadOnly | ParameterInfo::kIsProgramChange))
            report.add({std::to_string(parameter.id), parameter.title,
                        shownValue(**plugin, parameter, (*plugin)->controllerValue(parameter.id))});
    report.print(std::cout);
    return {};
}

Result<> exportPreset(const PluginChoice& choice, const std::string& nameOrFile,
                      const std::string& path) {
    const std::string extension = fs::path(path).extension().string();
    const bool toState = sameText(extension, kStateExtension);
    if (!toState && !sameText(extension, kPresetExtension))
        return Error{inQuotes(path) + " ends in neither .qvx nor .vstpreset"};
    auto plugin = openPrepared(choice);
    if (!plugin) return Error{plugin.error()};
    if (!toState)
        if (auto known = checkIsProduct(**plugin, path); !known) return known;
    auto applied = applyPreset(**plugin, nameOrFile, kBits, RecordPart::Everything);
    if (!applied) return Error{applied.error()};

    std::vector<std::string> losses;
    if (toState) {
        if (auto saved = saveState(**plugin, path, applied->notes); !saved) return saved;
        if (applied->product) losses = applied->product->losses;
    } else {
        const auto preset = productPreset(**plugin, *applied, losses);
        if (auto written = writeProductPreset(path, preset); !written) return written;
    }
    tellLosses(nameOrFile, losses);
    return {};
}

Result<> exportAllPresets(const PluginChoice& choice, const std::string& folder) {
    auto plugin = openPrepared(choice);
    if (!plugin) return Error{plugin.error()};
    const auto programs = listPrograms(**plugin);
    if (programs.empty())
        return Error{inQuotes((*plugin)->description().name) + " offers no presets"};
    std::error_code failure;
    fs::create_directories(folder, failure);
    if (failure)
        return Error{"cannot make the folder " + inQuotes(folder) + ": " + failure.message()};

    std::set<std::string> taken;  // in lower case, since some file systems tell no difference
    const auto lowerCase = [](std::string text) {
        for (char& c : text)
            if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
        return text;
    };
    for (const Program& program : programs) {
        const std::string base = fileNameFor(program.name);
        std::string name = base;
        for (int again = 2; !taken.insert(lowerCase(name)).second; ++again)
            name = base + " " + std::to_string(again);
        if (auto done = deliver(**plugin, chooseProgram(**plugin, program), kBits); !done)
            return done;
        const fs::path path = fs::path(folder) / pathFromUtf8(name + std::string(kStateExtension));
        if (auto saved = saveState(**plugin, path.string(), {program.name, program.category, true});
            !saved)
            return saved;
    }
    return {};
}

Result<> importPresets(const PluginChoice& choice, const std::vector<std::string>& files,
                       bool replace, bool plain) {
    Report report(plain);
    std::vector<std::string> failures;
    for (const std::string& file : files) {
        if (auto target = importFile(choice, file, replace))
            report.add({file, utf8FromPath(*target)});
        else
            failures.push_back(target.error());
    }
    report.print(std::cout);
    if (failures.empty()) return {};
    if (files.size() == 1) return Error{failures.front()};
    for (const std::string& failure : failures)
        std::cerr << "corvane-host: " << failure << std::endl;
    return Error{std::to_string(failures.size()) + " of " + std::to_string(files.size()) +
                 " files were not imported"};
}

}  // namespace Quorvant::Hosting
