// The two setups A and B, of which one is heard and edited.
#pragma once

#include "presets/PresetLocation.h"
#include "presets/PresetRecord.h"

#include <array>
#include <cstddef>

namespace Quorvant {

struct SetupSlot {
    QVXPresetRecord current{};  // what is heard and edited
    QVXPresetRecord loaded{};   // as it was last loaded or pasted
    bool modified = false;      // since then
    PresetLocation location;    // where it came from

    friend bool operator==(const SetupSlot&, const SetupSlot&) = default;
};

enum class Setup : uint8_t { A = 0, B = 1 };

// Main thread.
class SetupSlots {
  public:
    explicit SetupSlots(const SetupSlot& both) : slots{both, both} {}

    Setup selected() const { return which; }
    void select(Setup setup) { which = setup; }

    SetupSlot& active() { return slot(which); }
    const SetupSlot& active() const { return slot(which); }
    SetupSlot& slot(Setup setup) { return slots[static_cast<std::size_t>(setup)]; }
    const SetupSlot& slot(Setup setup) const { return slots[static_cast<std::size_t>(setup)]; }

    void copyOver(Setup target) { slot(target) = slot(target == Setup::A ? Setup::B : Setup::A); }

  private:
    std::array<SetupSlot, 2> slots;
    Setup which = Setup::A;
};

}  // namespace Quorvant
