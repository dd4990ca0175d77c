#include "presets/UndoHistory.h"

namespace Quorvant {

void UndoHistory::commit(const SetupSlot& after) {
    const bool listed = after.location.preset != kNotListed;
    if (after.location == pending.location && (listed || after.current == pending.current)) return;
    count = position;
    if (count == kDepth) {
        oldest = (oldest + 1) % kDepth;
        --count;
    }
    at(count) = {pending, after};
    position = ++count;
}

bool UndoHistory::undo(SetupSlot& setup) {
    if (!canUndo()) return false;
    Change& change = at(--position);
    change.after = setup;
    setup = change.before;
    return true;
}

bool UndoHistory::redo(SetupSlot& setup) {
    if (!canRedo()) return false;
    Change& change = at(position++);
    change.before = setup;
    setup = change.after;
    return true;
}

}  // namespace Quorvant
