// The one table of the 42 parameters: what each is called, how its values read, where it starts and
// how it takes part in presets. Values are normalised everywhere.
#pragma once

#include "params/NoteTable.h"
#include "params/ParameterIndex.h"

#include <array>
#include <cstdint>
#include <limits>
#include <span>
#include <string_view>

namespace Quorvant {

// A text that stands for a value in the place of its number. It is also what is shown from
// `shownFrom` up to, but not at, `shownBelow` (normalised), where these are given.
struct ValueWord {
    std::string_view text;
    double value;  // normalised
    double shownFrom = 0.0;
    double shownBelow = 0.0;
};

// A unit that a number may carry, and what one of it is in the displayed number.
struct ValueUnit {
    std::string_view text;
    double factor;
};

// How a continuous parameter's value is displayed as a number, and read from one.
struct NumberLaw {
    double (*toPlain)(double value);  // normalised 0 ... 1 to the displayed number
    double (*toNormalised)(double plain);
    int decimals;
    std::string_view unit = {};  // as hosts are told
    std::span<const ValueUnit> units = {};
    std::span<const ValueWord> words = {};
    bool halvesUp = false;         // 0.25 becomes 0.3, where it is 0.2 otherwise
    char mark = '.';               // decimal mark
    std::string_view prefix = {};  // may be left out when typed
    // A bare number of this size or above is in the last of the units.
    double lastUnitFrom = std::numeric_limits<double>::infinity();
    bool shortEndSpread = false;  // knobs give the lower values more of their travel
};

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

// One row of the table. Of `states`, `notes` and `law` a parameter has at most one.
struct ParameterInfo {
    std::string_view name;       // at most 24 characters
    std::string_view shortName;  // at most 7 characters
    std::span<const std::string_view> states;
    const NoteList* notes;
    const NumberLaw* law;
    double defaultValue;  // normalised
    uint32_t flagWord;    // ParameterFlag bits
    ParameterGroup group;
    const NumberLaw* heardLaw = nullptr;  // the editor's, where it tells other numbers than hosts

    constexpr bool automatable() const { return (flagWord & kFlagAutomatable) != 0; }
    constexpr bool inRecord() const { return (flagWord & (kFlagStored | kFlagPreset)) != 0; }
    constexpr bool writtenByPresetChoice() const { return (flagWord & kFlagPreset) != 0; }
    // Number of steps between the states, 0 for continuous parameters.
    constexpr int stepCount() const {
        if (notes) return kNoteCount - 1;
        return states.empty() ? 0 : static_cast<int>(states.size()) - 1;
    }
    constexpr bool isList() const { return stepCount() > 1; }
    constexpr bool isEmptySlot() const { return !law && stepCount() == 0; }
    constexpr const NumberLaw* editorLaw() const { return heardLaw ? heardLaw : law; }
};

extern const std::array<ParameterInfo, kParameterCount> kParameters;

// Normalised default; 0 for an index outside the table.
double parameterDefault(uint32_t index);

}  // namespace Quorvant
