// What lies above the panels: one stack that owns keys and clicks, topmost first.
#pragma once

#include "gui/Drawing.h"
#include "gui/TextField.h"

#include <vstgui/lib/cviewcontainer.h>
#include <vstgui/lib/events.h>

#include <functional>
#include <memory>
#include <vector>

namespace VSTGUI {
class CFrame;
}

namespace Quorvant {

class OverlayStack;

// A menu, a question, a field, the browser. What the user chooses is done by finish() alone: an
// overlay that is cancelled, by whatever way, does nothing any more. Main thread.
class Overlay : public VSTGUI::CViewContainer {
  public:
    explicit Overlay(const CRect& size);

    // Closes this and what lies above it, and does nothing else: Escape, the end of the editor.
    void cancel();
    // Return: the default answer.
    virtual void accept() { cancel(); }
    // A click on the overlay, but beside its content.
    virtual void clickedBeside() { cancel(); }
    // Any other key that is pressed; true where it means something here.
    virtual bool key(const VSTGUI::KeyboardEvent&) { return false; }
    // Where the user types, while this is the topmost; null where there is no such place.
    virtual TextField* textField() const { return nullptr; }

    void onMouseDownEvent(VSTGUI::MouseDownEvent& event) override;
    void onMouseWheelEvent(VSTGUI::MouseWheelEvent& event) override;

  protected:
    // Closes this and what lies above it, then does what the user chose. Once only.
    void finish(const std::function<void()>& action);

    CRect content;  // where clicks belong to the overlay

  private:
    friend class OverlayStack;
    OverlayStack* stack = nullptr;  // while this is open
};

// Main thread. Only the stack adds overlays to the view tree, and only the stack takes them out.
class OverlayStack {
  public:
    // Both outlive the stack.
    OverlayStack(VSTGUI::CFrame& frame, VSTGUI::CViewContainer& root);
    // Cancels all.
    ~OverlayStack();
    OverlayStack(const OverlayStack&) = delete;
    OverlayStack& operator=(const OverlayStack&) = delete;

    // Puts the overlay, a new view, on top.
    void open(Overlay* overlay);
    bool empty() const { return overlays.empty(); }
    // The topmost of a type, or null.
    template <typename View>
    View* find() const {
        for (auto at = overlays.rbegin(); at != overlays.rend(); ++at)
            if (auto* found = dynamic_cast<View*>(at->get())) return found;
        return nullptr;
    }

    // Consumes the keys that an overlay takes.
    void key(VSTGUI::KeyboardEvent& event);

  private:
    friend class Overlay;
    using Pointer = VSTGUI::SharedPointer<Overlay>;

    void close(Overlay& overlay);
    void takeOut(const Pointer& overlay);
    void focusTop();

    VSTGUI::CFrame& frame;
    VSTGUI::CViewContainer& root;
    std::vector<Pointer> overlays;
    // Gone with the stack, so that what waits for the end of an event can tell.
    std::shared_ptr<int> life = std::make_shared<int>(0);
};

}  // namespace Quorvant
