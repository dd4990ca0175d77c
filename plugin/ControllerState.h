// What the controller keeps in the host's project beside the processor's state: the editor's view
// settings, as one versioned block.
#pragma once

#include "params/ParameterIndex.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace Quorvant {

struct ControllerState {
    static constexpr uint32_t kFirstViewSetting = kNoteViewStyle;
    std::array<double, kParameterCount - kFirstViewSetting> viewSettings{};  // normalised
};

inline constexpr std::size_t kLargestControllerState = 1 << 20;  // bytes, of any version

std::vector<uint8_t> encodeControllerState(const ControllerState& state);
// Nothing unless the whole of it is a block of a known version with every value within its range.
std::optional<ControllerState> decodeControllerState(std::span<const uint8_t> content);

}  // namespace Quorvant
