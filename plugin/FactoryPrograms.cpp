#include "plugin/FactoryPrograms.h"

#include "params/ParameterIndex.h"
#include "params/ParameterLaws.h"
#include "presets/FactoryBank.h"

#include "pluginterfaces/vst/vstpresetkeys.h"
#include "public.sdk/source/vst/utility/stringconvert.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace Quorvant {

namespace Vst = Steinberg::Vst;

namespace {

std::u16string wide(std::string_view text) {
    return VST3::StringConvert::convert(std::string(text));
}

std::string_view programName(int program) {
    std::string_view name;
    getFactoryPreset(static_cast<uint32_t>(program), nullptr, &name, nullptr);
    return name;
}

std::vector<uint32_t> listAt(const PresetLocation& place) {
    if (place.list < 0) return {};
    const auto list = static_cast<uint32_t>(place.list);
    if (place.source == kFromCategory) return factoryPresetsOfCategory(list);
    if (place.source == kFromDesigner) return factoryPresetsOfDesigner(list);
    return {};
}

}  // namespace

int factoryProgramCount() {
    static const int count = [] {
        int named = 0;
        while (!programName(named).empty()) ++named;
        return named;
    }();
    return count;
}

int programFromNormalised(double value) {
    return listState(value, factoryProgramCount());
}

double normalisedFromProgram(int program) {
    return listValue(program, factoryProgramCount());
}

PresetLocation programLocation(int program) {
    const auto index = static_cast<uint32_t>(program);
    FactoryPresetInfo info{};
    getFactoryPreset(index, nullptr, nullptr, &info);
    PresetLocation place{kFromCategory, static_cast<int32_t>(info.category), kNotListed};
    const auto list = listAt(place);
    if (const auto at = std::find(list.begin(), list.end(), index); at != list.end())
        place.preset = static_cast<int32_t>(at - list.begin());
    return place;
}

std::optional<int> programAt(const PresetLocation& place) {
    const auto list = listAt(place);
    if (place.preset < 0 || static_cast<std::size_t>(place.preset) >= list.size())
        return std::nullopt;
    return static_cast<int>(list[static_cast<std::size_t>(place.preset)]);
}

Vst::ProgramList* makeFactoryProgramList() {
    auto* list =
        new Vst::ProgramList(wide("Factory").c_str(), kFactoryProgramList, Vst::kRootUnitId);
    for (int program = 0; program < factoryProgramCount(); ++program) {
        list->addProgram(wide(programName(program)).c_str());
        FactoryPresetInfo info{};
        getFactoryPreset(static_cast<uint32_t>(program), nullptr, nullptr, &info);
        list->setProgramInfo(program, Vst::PresetAttributes::kStyle,
                             wide(kPresetCategories[info.category]).c_str());
    }
    return list;
}

Vst::Parameter* makeProgramParameter() {
    auto* parameter = new Vst::StringListParameter(
        wide("Program").c_str(), kProgram, nullptr,
        Vst::ParameterInfo::kIsList | Vst::ParameterInfo::kIsProgramChange, Vst::kRootUnitId);
    for (int program = 0; program < factoryProgramCount(); ++program)
        parameter->appendString(wide(programName(program)).c_str());
    return parameter;
}

}  // namespace Quorvant
