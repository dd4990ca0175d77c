#include "tools/corvane-host/Programs.h"

#include "pluginterfaces/vst/ivstunits.h"
#include "pluginterfaces/vst/vstpresetkeys.h"

#include <optional>

namespace Quorvant::Hosting {

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace {

// The list that the parameter of a unit chooses from.
std::optional<ProgramListInfo> listOf(IUnitInfo& units, UnitID unit) {
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
    return std::nullopt;
}

}  // namespace

std::vector<Program> listPrograms(const HostedPlugin& plugin) {
    std::vector<Program> programs;
    const FUnknownPtr<IUnitInfo> units(plugin.controller());
    if (!units) return programs;
    for (const Parameter& parameter : plugin.parameters()) {
        if (!parameter.has(ParameterInfo::kIsProgramChange)) continue;
        const auto list = listOf(*units, parameter.unit);
        if (!list) continue;
        for (int32 number = 0; number < list->programCount; ++number) {
            String128 name{}, category{};
            units->getProgramName(list->id, number, name);
            units->getProgramInfo(list->id, number, PresetAttributes::kStyle, category);
            const int32 last = std::max(list->programCount - 1, 1);
            programs.push_back({fromWide(name), fromWide(category), parameter.id,
                                static_cast<double>(number) / last});
        }
    }
    return programs;
}

std::vector<ParameterPoint> chooseProgram(HostedPlugin& plugin, const Program& program) {
    auto& edits = plugin.editLog().edits;
    const size_t before = edits.size();
    std::vector<ParameterPoint> points = {{program.parameter, 0, program.value}};
    plugin.controller()->setParamNormalized(program.parameter, program.value);
    for (size_t index = before; index < edits.size(); ++index)
        points.push_back({edits[index].id, 0, edits[index].value});
    return points;
}

}  // namespace Quorvant::Hosting
