// The one table of the 42 parameters: what each is called, which kind it is, where it starts and
// how it takes part in presets. Values are normalised everywhere; texts are in ParameterText.h.
#pragma once

#include "params/NoteTable.h"
#include "params/ParameterIndex.h"

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

namespace Quorvant {

enum class ParameterKind : uint8_t { Switch, List, Notes, Continuous, Empty };

// Bits of a parameter's flag word. A preset record stores a parameter that has kFlagStored or
// kFlagPreset.
enum ParameterFlag : uint32_t {
    kFlagAutomatable = 1,
    kFlagStored = 4,  // stored, but left alone by the choice of a preset unless kFlagPreset is set
    kFlagPreset = 8,  // stored, and written when a preset is chosen
    kFlagView = 16,   // a setting of the editor's view
};

// Groups in which hosts show the parameters; 0 is the host's root.
enum class ParameterGroup : int32_t {
    Levels = 1,
    Global,
    Delay,
    Feedback,
    Modulation,
    Tempo,
    SideChain,
    View,
};

inline constexpr int kParameterGroupCount = 8;
std::string_view parameterGroupName(ParameterGroup group);

struct ParameterInfo {
    std::string_view name;       // at most 24 characters
    std::string_view shortName;  // at most 7 characters
    ParameterKind kind;
    std::span<const std::string_view> states;  // names of a switch's or list's states
    std::string_view unit;                     // of the displayed number, may be empty
    double defaultValue;                       // normalised
    uint32_t flagWord;                         // ParameterFlag bits
    ParameterGroup group;

    constexpr bool automatable() const { return (flagWord & kFlagAutomatable) != 0; }
    constexpr bool inRecord() const { return (flagWord & (kFlagStored | kFlagPreset)) != 0; }
    constexpr bool writtenByPresetChoice() const { return (flagWord & kFlagPreset) != 0; }
    constexpr bool isList() const {
        return kind == ParameterKind::List || kind == ParameterKind::Notes;
    }
    // Number of steps between the states, 0 for continuous parameters.
    constexpr int stepCount() const {
        if (kind == ParameterKind::Notes) return kNoteCount - 1;
        return states.empty() ? 0 : static_cast<int>(states.size()) - 1;
    }
};

extern const std::array<ParameterInfo, kParameterCount> kParameters;

// Normalised default; 0 for an index outside the table.
double parameterDefault(uint32_t index);

}  // namespace Quorvant
