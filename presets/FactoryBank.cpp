#include "presets/FactoryBank.h"

#include "params/ParameterTable.h"
#include "presets/FactoryEntries.h"

#include <cstdio>

namespace Quorvant {
namespace {

enum : uint32_t { kCategoryLegacy = 0, kCategoryBasic = 1 };
constexpr uint32_t kFirstTableEntry = 2;

constexpr std::array<PresetDesigner, kHouseDesigner + 1> kDesigners = {{
    {"Quorvant Dub Studio", "https://www.quorvant.example/designers/dub-studio"},
    {"Quorvant Live Stage", "https://www.quorvant.example/designers/live-stage"},
    {"Quorvant Tape Room", "https://www.quorvant.example/designers/tape-room"},
    {"Quorvant Mixing Desk", "https://www.quorvant.example/designers/mixing-desk"},
    {"Quorvant Modular Bench", "https://www.quorvant.example/designers/modular-bench"},
    {"Quorvant Guitar Booth", "https://www.quorvant.example/designers/guitar-booth"},
    {"Quorvant Field Lab", "https://www.quorvant.example/designers/field-lab"},
    {"Quorvant String Hall", "https://www.quorvant.example/designers/string-hall"},
    {"Quorvant Drum Cellar", "https://www.quorvant.example/designers/drum-cellar"},
    {"Quorvant", "https://www.quorvant.example"},
}};

PresetValues defaults() {
    PresetValues values{};
    for (uint32_t index = 0; index < kStoredParameterCount; ++index)
        values[index] = parameterDefault(index);
    return values;
}

template <typename Belongs>
std::vector<uint32_t> factoryPresetsWhere(Belongs&& belongs) {
    std::vector<uint32_t> found;
    for (uint32_t index = 0; index < kFactoryPresetCount; ++index) {
        std::string_view name;
        FactoryPresetInfo info{};
        getFactoryPreset(index, nullptr, &name, &info);
        if (!name.empty() && belongs(info)) found.push_back(index);
    }
    return found;
}

}  // namespace

PresetValues legacyDefaults() {
    PresetValues values = defaults();
    const auto set = [&values](double value, std::initializer_list<ParameterIndex> parameters) {
        for (const ParameterIndex parameter : parameters) values[parameter] = value;
    };
    set(1.0, {kProcess, kSensitivity, kGlobalSensitivity, kEnvInvert});
    set(0.3333333333333333, {kProcessingMode});
    set(0.5,
        {kReferenceLevel, kInput, kOutput, kMix, kGlobalReferenceLevel, kGlobalInput, kGlobalOutput,
         kGlobalMix, kHighCutCutoff, kManualVco, kWaveform, kLfoRate, kLfoOffset});
    set(0.0,
        {kBypass, kGlobal, kGlobalBypass, kDelayClockMode, kDelayX2, kDelayInvert, kDirectionMode,
         kFeedback, kFeedbackInvert, kHighCut, kInfRepeat, kDepth, kLfoSync, kEnforceManualTempo});
    set(0.026041666666666668, {kDelayTime});
    set(0.3728813559322034, {kDelayNote});
    set(0.6271186440677966, {kLfoNote});
    set(0.24324324324324326, {kManualTempo});
    return values;
}

void getFactoryPreset(uint32_t index, PresetValues* values, std::string_view* name,
                      FactoryPresetInfo* info) {
    if (values) *values = defaults();
    if (info) *info = {kCategoryBasic, kHouseDesigner};
    if (index == 0) {
        if (name) *name = "Default";
        return;
    }
    if (index == 1) {
        if (values) *values = legacyDefaults();
        if (name) *name = "Default Legacy";
        if (info) info->category = kCategoryLegacy;
        return;
    }
    const auto entries = factoryEntries();
    if (index - kFirstTableEntry >= entries.size()) return;
    const FactoryEntry& entry = entries[index - kFirstTableEntry];
    if (name) *name = entry.name;
    if (info) *info = {entry.category, entry.designer};
    if (values)
        for (const auto& [parameter, value] : entry.changes) (*values)[parameter] = value;
}

std::optional<PresetDesigner> getPresetDesigner(uint32_t designer) {
    if (designer >= kDesigners.size()) return std::nullopt;
    return kDesigners[designer];
}

void setFactoryName(QVXPresetRecord& record, std::string_view name) {
    if (name.size() >= kPresetNameSize)
        std::fprintf(stderr,
                     "\n*********************************************************\n"
                     "WARNING: preset name is too long!\n%ld chars\n***  %.*s ***\n"
                     "*********************************************************\n",
                     static_cast<long>(name.size()), static_cast<int>(name.size()), name.data());
    setPresetName(record, name);
}

FactoryBank buildFactoryBank() {
    FactoryBank bank{};
    for (uint32_t index = 0; index < kFactoryPresetCount; ++index) {
        std::string_view name = "Init";
        PresetValues values{};
        getFactoryPreset(index, &values, &name, nullptr);
        setFactoryName(bank[index], name);
        for (std::size_t i = 0; i < values.size(); ++i)
            bank[index].values[i] = static_cast<float>(values[i]);
    }
    return bank;
}

std::vector<uint32_t> factoryPresetsOfCategory(uint32_t category) {
    return factoryPresetsWhere([=](const auto& info) { return info.category == category; });
}

std::vector<uint32_t> factoryPresetsOfDesigner(uint32_t designer) {
    return factoryPresetsWhere([=](const auto& info) { return info.designer == designer; });
}

}  // namespace Quorvant
