#include "gui/OverlayStack.h"

#include <vstgui/lib/cframe.h>

#include <algorithm>

namespace Quorvant {
namespace {

// Views that an event passes through must not go before it is over.
template <typename Action>
void afterEvent(VSTGUI::CFrame& frame, const Action& action) {
    if (!frame.inEventProcessing() || !frame.doAfterEventProcessing(action)) action();
}

}  // namespace

Overlay::Overlay(const CRect& size) : CViewContainer(size), content(size) {
    setTransparency(true);
    setBackgroundColor(VSTGUI::kTransparentCColor);
}

void Overlay::cancel() {
    if (stack) stack->close(*this);
}

void Overlay::finish(const std::function<void()>& action) {
    if (!stack) return;
    const VSTGUI::SharedPointer<Overlay> guard(this);
    stack->close(*this);
    if (action) action();
}

void Overlay::onMouseDownEvent(VSTGUI::MouseDownEvent& event) {
    if (content.pointInside(event.mousePosition)) {
        CViewContainer::onMouseDownEvent(event);
        // VSTGUI takes the keyboard from a text field with every click.
        if (stack) stack->focusTop();
    } else {
        event.ignoreFollowUpMoveAndUpEvents(true);
        clickedBeside();
    }
    event.consumed = true;
}

void Overlay::onMouseWheelEvent(VSTGUI::MouseWheelEvent& event) {
    CViewContainer::onMouseWheelEvent(event);
    event.consumed = true;
}

OverlayStack::OverlayStack(VSTGUI::CFrame& window, VSTGUI::CViewContainer& views)
    : frame(window), root(views) {}

OverlayStack::~OverlayStack() {
    life.reset();
    while (!overlays.empty()) {
        const Pointer top = overlays.back();
        overlays.pop_back();
        takeOut(top);
    }
}

void OverlayStack::open(Overlay* overlay) {
    frame.setFocusView(nullptr);
    overlay->stack = this;
    overlays.push_back(VSTGUI::shared(overlay));
    root.addView(overlay);
    overlay->invalid();
    focusTop();
}

void OverlayStack::close(Overlay& overlay) {
    const auto at = std::find(overlays.begin(), overlays.end(), &overlay);
    const std::vector<Pointer> closed(at, overlays.end());
    overlays.erase(at, overlays.end());
    std::for_each(closed.rbegin(), closed.rend(), [this](const Pointer& view) { takeOut(view); });
    focusTop();
}

void OverlayStack::takeOut(const Pointer& overlay) {
    overlay->stack = nullptr;
    // The field's helper view in the overlay goes first: not while the views are being removed.
    if (auto* field = overlay->textField()) {
        if (frame.getFocusView() == field) frame.setFocusView(nullptr);
        field->looseFocus();  // a frame that isn't active keeps it
    }
    overlay->setMouseEnabled(false);
    overlay->setVisible(false);
    afterEvent(frame, [views = VSTGUI::shared(&root), overlay] {
        if (views->isChild(overlay)) views->removeView(overlay);
    });
}

void OverlayStack::focusTop() {
    afterEvent(frame, [this, alive = std::weak_ptr(life)] {
        if (alive.expired() || overlays.empty()) return;
        if (auto* field = overlays.back()->textField()) field->takeFocus();
    });
}

void OverlayStack::key(VSTGUI::KeyboardEvent& event) {
    if (overlays.empty() || event.type != VSTGUI::EventType::KeyDown) return;
    const Pointer top = overlays.back();
    switch (event.virt) {
        case VSTGUI::VirtualKey::Escape:
            top->cancel();
            event.consumed = true;
            break;
        case VSTGUI::VirtualKey::Return:
        case VSTGUI::VirtualKey::Enter:
            top->accept();
            event.consumed = true;
            break;
        default:
            // Tab would take the keyboard from the field.
            if (top->key(event) || event.virt == VSTGUI::VirtualKey::Tab) event.consumed = true;
    }
}

}  // namespace Quorvant
