// The factory bank as hosts' own preset menus show it: a program list and the parameter that
// chooses from it.
#pragma once

#include "presets/PresetLocation.h"

#include "public.sdk/source/vst/vsteditcontroller.h"

#include <cstdint>
#include <optional>

namespace Quorvant {

inline constexpr Steinberg::Vst::ProgramListID kFactoryProgramList = 1;

// Programs are the factory presets that have a name, in the order of the bank, so that a program's
// number is its preset's index. Each carries its category as the host's "style" attribute.
Steinberg::Vst::ProgramList* makeFactoryProgramList();
// Not automatable: a preset is chosen, never played.
Steinberg::Vst::Parameter* makeProgramParameter();

int factoryProgramCount();
// 0 ... 1; values outside, and not-a-number, read as the nearest program or the first.
int programFromNormalised(double value);
double normalisedFromProgram(int program);
// The program's place among the categories.
PresetLocation programLocation(int program);
// The program at a place among categories or designers; nothing for the user's own presets.
std::optional<int> programAt(const PresetLocation& place);

}  // namespace Quorvant
