// The last 32 changes of preset, to be taken back and done again.
#pragma once

#include "presets/SetupSlots.h"

#include <array>
#include <cstddef>
#include <optional>

namespace Quorvant {

// Main thread. Each change knows which setup it changed and which parameters it wrote, and keeps
// the setup on both sides of it, so that undo and redo bring back exactly what they replace, edits
// included.
class UndoHistory {
  public:
    static constexpr std::size_t kDepth = 32;

    // Before a change of the selected setup; a change begun but not committed is forgotten by the
    // next one.
    void push(const SetupSlots& slots);
    // After it. A change that ends at the same place of the same list is none; away from the lists
    // the records tell. Forgets what could be redone, and the oldest change where there is no room.
    void commit(const SetupSlots& slots, const ParameterSet& written);

    bool canUndo() const { return position > 0; }
    bool canRedo() const { return position < count; }
    // Selects the setup of the change and exchanges there what the change wrote for what was before
    // it, or after it; tells which parameters these are, or that there is no such change.
    std::optional<ParameterSet> undo(SetupSlots& slots);
    std::optional<ParameterSet> redo(SetupSlots& slots);

    void clear() { count = position = 0; }

    // Visits every setup that the history holds, so that it can be brought up to date.
    template <typename Visit>
    void forEachSetup(Visit&& visit) {
        for (auto& change : changes) {
            visit(change.before);
            visit(change.after);
        }
    }

  private:
    struct Change {
        Setup setup = Setup::A;
        ParameterSet written;
        SetupSlot before;
        SetupSlot after;
    };

    static ParameterSet exchange(const Change& change, const SetupSlot& wanted, SetupSlot& left,
                                 SetupSlots& slots);
    Change& at(std::size_t index) { return changes[(oldest + index) % kDepth]; }

    std::array<Change, kDepth> changes{};  // a ring that begins at `oldest`
    std::size_t oldest = 0;
    std::size_t count = 0;     // of changes kept
    std::size_t position = 0;  // of these, how many are done
    Change pending;
};

}  // namespace Quorvant
