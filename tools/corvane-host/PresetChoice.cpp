#include "tools/corvane-host/PresetChoice.h"

#include "tools/corvane-host/PluginChoice.h"
#include "tools/hosting/Text.h"

#include "pluginterfaces/vst/ivstunits.h"
#include "pluginterfaces/vst/vstpresetkeys.h"

#include <algorithm>
#include <filesystem>

namespace Quorvant::Hosting {

using namespace Steinberg;
using namespace Steinberg::Vst;
namespace fs = std::filesystem;

namespace {

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
    if (isVstPreset(file)) {
        auto notes = loadVstPreset(plugin, file);
        if (notes.name.empty()) notes.name = fs::path(file).stem().string();
        deliver(plugin, {});
        return {notes, true, std::nullopt};
    }
    auto preset = readProductPreset(file, shownRecord(plugin));
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

}  // namespace Quorvant::Hosting
