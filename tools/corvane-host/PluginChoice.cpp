#include "tools/corvane-host/PluginChoice.h"

#include "tools/corvane-host/BlockBuffers.h"
#include "tools/corvane-host/Report.h"
#include "tools/hosting/Text.h"

#include "pluginterfaces/vst/ivstunits.h"
#include "pluginterfaces/vst/vstpresetkeys.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#ifdef _WIN32
#include <windows.h>
#endif

namespace Quorvant::Hosting {

using namespace Steinberg;
using namespace Steinberg::Vst;
namespace fs = std::filesystem;

namespace {

#ifdef _WIN32
constexpr const char* kSystemFolder = "windows";
#else
constexpr const char* kSystemFolder = "linux";
#endif

constexpr const char* kOwnName = "Corvane QVX77x";

fs::path programFolder() {
#ifdef _WIN32
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    return fs::path(path).parent_path();
#else
    std::error_code failure;
    return fs::read_symlink("/proc/self/exe", failure).parent_path();
#endif
}

// Where hosts look for plug-ins; empty where there is none of that name.
std::string installed(const std::string& name) {
    for (const std::string& path : VST3::Hosting::Module::getModulePaths())
        if (sameText(fs::path(path).stem().string(), name)) return path;
    return {};
}

// Our own, in the folder that was unpacked or built, else as it is installed.
std::string ownPlugin() {
    const fs::path above = programFolder().parent_path();
    std::error_code failure;
    for (const fs::path& folder : {above, above / kSystemFolder}) {
        const fs::path bundle = folder / (std::string(kOwnName) + ".vst3");
        if (fs::exists(bundle, failure)) return bundle.string();
    }
    return installed(kOwnName);
}

template <typename Sample>
void deliverIn(HostedPlugin& plugin, std::vector<ParameterPoint> points) {
    BlockBuffers<Sample> silence(plugin, 1);
    silence.block.frames = 1;
    silence.block.points = std::move(points);
    silence.process();
}

constexpr size_t kLargestFile = 64U << 20U;  // bytes; no effect's state comes near

// The list that the parameter of a unit chooses from; without programs where there is none.
ProgramListInfo listOf(IUnitInfo& units, UnitID unit) {
    ProgramListID wanted = kNoProgramListId;
    for (int32 index = 0; index < units.getUnitCount(); ++index) {
        UnitInfo info{};
        if (units.getUnitInfo(index, info) == kResultOk && info.id == unit)
            wanted = info.programListId;
    }
    for (int32 index = 0; index < units.getProgramListCount(); ++index) {
        ProgramListInfo info{};
        if (units.getProgramListInfo(index, info) == kResultOk && info.id == wanted) return info;
    }
    return {};
}

bool looksLikeFile(const std::string& text) {
    const std::string extension = fs::path(text).extension().string();
    std::error_code failure;
    return sameText(extension, ".qvx") || sameText(extension, ".vstpreset") ||
           fs::is_regular_file(text, failure);
}

}  // namespace

HostedPlugin::Ptr openPlugin(const PluginChoice& choice) {
    std::error_code failure;
    std::string path = choice.plugin.empty() ? ownPlugin() : choice.plugin;
    if (path.empty())
        throw Failure{
            "there is no plug-in beside this program, nor an installed one; name one with "
            "--plugin"};
    if (!fs::exists(path, failure))
        if (const std::string found = installed(path); !found.empty()) path = found;
    return HostedPlugin::load(path);
}

void prepareAsItIs(HostedPlugin& plugin, double rate, int maxFrames) {
    HostSetup setup;
    setup.sampleRate = rate;
    setup.maxFrames = maxFrames;
    setup.mainInputs = plugin.buses(kInput).empty() ? 0 : plugin.buses(kInput)[0].channels;
    setup.mainOutputs = plugin.buses(kOutput).empty() ? 0 : plugin.buses(kOutput)[0].channels;
    plugin.prepare(setup);
}

ParameterPoint resolveSetting(const HostedPlugin& plugin, const std::string& name,
                              const std::string& text) {
    const Parameter* parameter = plugin.findParameter(name);
    if (parameter == nullptr)
        throw Failure{"there is no parameter " + inQuotes(name) +
                      ", 'corvane-host params' lists all that there are"};
    if (parameter->has(ParameterInfo::kIsReadOnly))
        throw Failure{"the parameter " + inQuotes(parameter->title) + " is read-only"};
    if (text.starts_with('@')) {
        char* end = nullptr;
        const double value = std::strtod(text.c_str() + 1, &end);
        if (end == text.c_str() + 1 || *end != '\0' || !(value >= 0.0 && value <= 1.0))
            throw Failure{inQuotes(text) + " is no normalised value, they go from @0 to @1"};
        return {parameter->id, 0, value};
    }
    const auto value = plugin.valueOf(*parameter, text);
    if (!value)
        throw Failure{inQuotes(parameter->title) + " does not take " + inQuotes(text) +
                      ", its values are " +
                      valueTexts(plugin, *parameter, Parameter::kMostListedStates) +
                      (parameter->units.empty() ? "" : " ") + parameter->units};
    return {parameter->id, 0, *value};
}

void deliver(HostedPlugin& plugin, std::vector<ParameterPoint> points) {
    if (plugin.isDoublePrecision())
        deliverIn<double>(plugin, std::move(points));
    else
        deliverIn<float>(plugin, std::move(points));
}

std::string valueTexts(const HostedPlugin& plugin, const Parameter& parameter, int mostStates) {
    std::string texts;
    if (parameter.stepCount < 1 || parameter.stepCount >= mostStates) {
        const std::string first = plugin.textOf(parameter, 0.0);
        const std::string last = plugin.textOf(parameter, 1.0);
        return first.empty() && last.empty() ? texts : first + " ... " + last;
    }
    for (int state = 0; state <= parameter.stepCount; ++state)
        if (const auto text = plugin.textOf(parameter, parameter.valueOfState(state));
            !text.empty())
            appendItem(texts, text);
    return texts;
}

std::string shownValue(const HostedPlugin& plugin, const Parameter& parameter, double normalised) {
    const std::string text = plugin.textOf(parameter, normalised);
    if (text.empty()) return std::string("@").append(number(normalised, 4));
    return parameter.units.empty() ? text : text + " " + parameter.units;
}

std::vector<Program> listPrograms(const HostedPlugin& plugin) {
    std::vector<Program> programs;
    const FUnknownPtr<IUnitInfo> units(plugin.controller());
    for (const Parameter& parameter : plugin.parameters()) {
        if (!units || !parameter.has(ParameterInfo::kIsProgramChange)) continue;
        const auto list = listOf(*units, parameter.unit);
        for (int32 number = 0; number < list.programCount; ++number) {
            String128 name{}, category{};
            units->getProgramName(list.id, number, name);
            units->getProgramInfo(list.id, number, PresetAttributes::kStyle, category);
            const int32 last = std::max(list.programCount - 1, 1);
            programs.push_back({fromWide(name), fromWide(category), parameter.id,
                                static_cast<double>(number) / last});
        }
    }
    return programs;
}

void chooseProgram(HostedPlugin& plugin, const Program& program) {
    auto& edits = plugin.editLog().edits;
    const size_t before = edits.size();
    std::vector<ParameterPoint> points = {{program.parameter, 0, program.value}};
    plugin.controller()->setParamNormalized(program.parameter, program.value);
    for (size_t index = before; index < edits.size(); ++index)
        points.push_back({edits[index].id, 0, edits[index].value});
    deliver(plugin, std::move(points));
}

AppliedPreset applyPresetFile(HostedPlugin& plugin, const std::string& file, RecordPart part) {
    const FileBytes bytes = readWhole(file, kLargestFile);
    if (isVstPreset(bytes)) {
        auto notes = loadVstPreset(plugin, file, bytes);
        if (notes.name.empty()) notes.name = fs::path(file).stem().string();
        deliver(plugin, {});
        return {notes, true, std::nullopt};
    }
    auto preset = readProductPreset(file, bytes, shownRecord(plugin));
    checkIsProduct(plugin, file);
    setRecord(plugin, preset.record, part);
    deliver(plugin, {});
    // The controller's state would tell of the preset that was chosen before.
    return {{std::string(presetName(preset.record)), {}, false}, false, preset};
}

AppliedPreset applyPreset(HostedPlugin& plugin, const std::string& nameOrFile, RecordPart part) {
    const auto programs = listPrograms(plugin);
    const Program* chosen = nullptr;
    for (size_t number = 0; number < programs.size(); ++number)
        if (sameText(programs[number].name, nameOrFile) ||
            (chosen == nullptr && std::to_string(number) == nameOrFile))
            chosen = &programs[number];
    if (chosen == nullptr) {
        if (looksLikeFile(nameOrFile)) return applyPresetFile(plugin, nameOrFile, part);
        throw Failure{"there is no preset and no file " + inQuotes(nameOrFile) +
                      ", 'corvane-host presets list' shows the presets"};
    }
    chooseProgram(plugin, *chosen);
    return {{chosen->name, chosen->category, true}, false, std::nullopt};
}

std::vector<ParameterPoint> applySettings(HostedPlugin& plugin, const PluginChoice& choice) {
    if (!choice.preset.empty()) applyPreset(plugin, choice.preset);
    std::vector<ParameterPoint> points;
    for (const std::string& setting : choice.settings) {
        const size_t equals = setting.find('=');
        const auto& point = points.emplace_back(
            resolveSetting(plugin, setting.substr(0, equals), setting.substr(equals + 1)));
        plugin.setParameter(point.id, point.value);
    }
    deliver(plugin, {});
    plugin.setProcessing(false);
    plugin.setActive(false);
    if (plugin.setActive(true) != kResultOk)
        throw Failure{inQuotes(plugin.name()) + " refused to start again"};
    plugin.setProcessing(true);
    return points;
}

}  // namespace Quorvant::Hosting
