// What the controller keeps in the host's project beside the processor's state, as one versioned
// block: the editor's view settings and zoom, the host's program, and the preset manager's setups.
#pragma once

#include "params/ParameterIndex.h"
#include "presets/PresetState.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace Quorvant {

struct ControllerState {
    static constexpr uint32_t kFirstViewSetting = kNoteViewStyle;
    std::array<double, kParameterCount - kFirstViewSetting> viewSettings{};  // normalised
    uint32_t zoom = 0;     // of the editor in percent, 50 ... 300, or 0 for none of its own
    uint32_t program = 0;  // number in the host's program list
    SavedSetups setups;
};

inline constexpr std::size_t kLargestControllerState = 1 << 20;  // bytes, of any version

std::vector<uint8_t> encodeControllerState(const ControllerState& state);
// Nothing unless the whole of it is a block of a known version with every value within its
// range.
std::optional<ControllerState> decodeControllerState(std::span<const uint8_t> content);

}  // namespace Quorvant
