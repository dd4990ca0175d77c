#include "presets/UndoHistory.h"

namespace Quorvant {

void UndoHistory::push(const SetupSlots& slots) {
    pending.setup = slots.selected();
    pending.before = slots.active();
}

void UndoHistory::commit(const SetupSlots& slots, const ParameterSet& written) {
    pending.after = slots.active();
    pending.written = written;
    const auto& [setup, set, before, after] = pending;
    const bool listed = after.location.preset != kNotListed;
    if (after.location == before.location && (listed || after.current == before.current)) return;
    count = position;
    if (count == kDepth) {
        oldest = (oldest + 1) % kDepth;
        --count;
    }
    at(count) = pending;
    position = ++count;
}

std::optional<ParameterSet> UndoHistory::undo(SetupSlots& slots) {
    if (!canUndo()) return std::nullopt;
    Change& change = at(--position);
    return exchange(change, change.before, change.after, slots);
}

std::optional<ParameterSet> UndoHistory::redo(SetupSlots& slots) {
    if (!canRedo()) return std::nullopt;
    Change& change = at(position++);
    return exchange(change, change.after, change.before, slots);
}

ParameterSet UndoHistory::exchange(const Change& change, const SetupSlot& wanted, SetupSlot& left,
                                   SetupSlots& slots) {
    slots.select(change.setup);
    SetupSlot& slot = slots.active();
    left = slot;
    slot = wanted;
    keepOthers(slot.current, left.current, change.written);
    return change.written;
}

}  // namespace Quorvant
