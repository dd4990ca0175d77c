// The preset manager's part of what the host keeps with a project, as one block of bytes.
#pragma once

#include "presets/SetupSlots.h"

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace Quorvant {

struct SavedSetup {
    SetupSlot slot;
    // For a listed setup from a preset folder: its file below the main folder, UTF-8 with "/",
    // since its place in the list may be another one by the next time.
    std::string file;

    friend bool operator==(const SavedSetup&, const SavedSetup&) = default;
};

struct SavedSetups {
    Setup selected = Setup::A;
    std::array<SavedSetup, 2> setups;  // A and B

    friend bool operator==(const SavedSetups&, const SavedSetups&) = default;
};

std::vector<std::byte> serialiseSetups(const SavedSetups& saved);

// Nothing unless every byte makes sense: any other version, size or value refuses the whole block.
std::optional<SavedSetups> parseSetups(std::span<const std::byte> bytes);

}  // namespace Quorvant
