// The factory presets, which are part of the program and never files.
#pragma once

#include "presets/PresetRecord.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace Quorvant {

inline constexpr uint32_t kFactoryPresetCount = 134;
inline constexpr uint32_t kHouseDesigner = 9;

inline constexpr std::array<std::string_view, 11> kPresetCategories = {
    "Legacy",  "Basic",   "Classic", "Tape",      "Distorted",    "Chorus",
    "Flanger", "Vibrato", "FX",      "Direction", "Miscellaneous"};

struct FactoryPresetInfo {
    uint32_t category;  // index into kPresetCategories
    uint32_t designer;  // index for getPresetDesigner
};

using PresetValues = std::array<double, kStoredParameterCount>;

// The preset's values, name and grouping, each only where asked for. An index without an entry (132
// and up) gives default values, no name, category 1 and the house's designer. Any thread.
void getFactoryPreset(uint32_t index, PresetValues* values, std::string_view* name,
                      FactoryPresetInfo* info);

// The defaults of the earlier version, which are also the preset "Default Legacy".
PresetValues legacyDefaults();

struct PresetDesigner {
    std::string_view name;
    std::string_view link;
};

std::optional<PresetDesigner> getPresetDesigner(uint32_t designer);

using FactoryBank = std::array<QVXPresetRecord, kFactoryPresetCount>;

// All records; those without an entry are named "Init". A name of more than 23 characters is cut,
// with a warning on the standard error stream.
FactoryBank buildFactoryBank();

// The presets of a category or of a designer, in the order of the bank, without the nameless ones.
std::vector<uint32_t> factoryPresetsOfCategory(uint32_t category);
std::vector<uint32_t> factoryPresetsOfDesigner(uint32_t designer);

// The record's name, cut with the warning where it is too long; for the bank and its tests.
void setFactoryName(QVXPresetRecord& record, std::string_view name);

}  // namespace Quorvant
