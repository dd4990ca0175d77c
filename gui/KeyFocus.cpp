#include "gui/KeyFocus.h"

#include <algorithm>

namespace Quorvant {
namespace {

constexpr double kRingDistance = 2.0;
constexpr double kRowTolerance = 16.0;  // between the tops of what is read as one row

bool usable(const Control& control) {
    if (!control.isAttached() || !control.takesKeys()) return false;
    for (const VSTGUI::CView* view = &control; view; view = view->getParentView())
        if (!view->isVisible() || !view->getMouseEnabled()) return false;
    return true;
}

}  // namespace

FocusRing::FocusRing(const CRect& around) : CView(around) {
    setMouseEnabled(false);
    setTransparency(true);
}

void FocusRing::draw(VSTGUI::CDrawContext* context) {
    CRect rect = getViewSize();
    rect.inset(1.0, 1.0);
    strokeRound(*context, rect, 4.0, Theme::kText, 1.5);
    setDirty(false);
}

Control* KeyFocus::owner() {
    if (focused && !usable(*focused)) clear();
    return focused;
}

void KeyFocus::set(Control* control) {
    if (focused == control) return;
    if (ring) {
        views.removeView(ring);
        ring = nullptr;
    }
    focused = VSTGUI::shared(control);
    if (!focused) return;
    // At the edges of the editor it comes in as far as it must.
    CRect around = editorRect(*focused).extend(kRingDistance, kRingDistance);
    around.bound(views.getViewSize());
    ring = VSTGUI::makeOwned<FocusRing>(around);
    ring->remember();  // the tree's own reference
    views.addView(ring);
    ring->invalid();
}

void KeyFocus::key(VSTGUI::KeyboardEvent& event) {
    using VSTGUI::VirtualKey;
    if (event.type != VSTGUI::EventType::KeyDown || !owner()) return;
    const bool shift = event.modifiers.is(VSTGUI::ModifierKey::Shift);
    // With anything else held it is a shortcut of the host's.
    if (!shift && !event.modifiers.empty()) return;
    if (event.virt == VirtualKey::Tab) {
        step(shift ? -1 : 1);
        event.consumed = true;
    } else if (event.virt == VirtualKey::Escape) {
        clear();
        event.consumed = true;
    } else {
        const VSTGUI::SharedPointer<Control> guard = focused;
        event.consumed = guard->key(event);
    }
}

void KeyFocus::step(int direction) {
    const auto controls = order();
    if (controls.empty()) return clear();
    const auto count = static_cast<int>(controls.size());
    const auto at = static_cast<int>(std::ranges::find(controls, focused.get()) - controls.begin());
    set(controls[static_cast<std::size_t>((at + direction + count) % count)]);
}

std::vector<Control*> KeyFocus::order() const {
    std::vector<Control*> found;
    views.getChildViewsOfType<Control>(found, true);
    std::erase_if(found, [](const Control* control) { return !usable(*control); });
    const auto topOf = [](const Control* control) { return editorRect(*control).top; };
    std::ranges::stable_sort(found, {}, topOf);
    for (auto row = found.begin(); row != found.end();) {
        const double last = topOf(*row) + kRowTolerance;
        const auto end =
            std::find_if(row, found.end(), [&](const Control* c) { return topOf(c) >= last; });
        std::stable_sort(row, end, [](const Control* a, const Control* b) {
            return editorRect(*a).left < editorRect(*b).left;
        });
        row = end;
    }
    return found;
}

Control* KeyFocus::controlAt(CPoint where) const {
    const auto controls = order();
    const auto hit = std::ranges::find_if(
        controls, [&](const Control* c) { return editorRect(*c).pointInside(where); });
    return hit == controls.end() ? nullptr : *hit;
}

}  // namespace Quorvant
