// Which control has the keyboard: one at a time, with a ring around it.
#pragma once

#include "gui/controls/Control.h"

#include <vstgui/lib/cviewcontainer.h>

#include <vector>

namespace Quorvant {

// Drawn above the panels; takes part in no event.
class FocusRing final : public VSTGUI::CView {
  public:
    explicit FocusRing(const CRect& around);
    void draw(VSTGUI::CDrawContext* context) override;
};

// Main thread. VSTGUI's own focus is left to text fields.
class KeyFocus {
  public:
    // Outlives the focus.
    explicit KeyFocus(VSTGUI::CViewContainer& root) : views(root) {}
    ~KeyFocus() { clear(); }
    KeyFocus(const KeyFocus&) = delete;
    KeyFocus& operator=(const KeyFocus&) = delete;

    // Null where no control has it, or none any more that can be used.
    Control* owner();
    void set(Control* control);
    void clear() { set(nullptr); }
    // The key of the owner's: it turns the control, goes on or ends the focus. Consumes what has a
    // meaning here, and nothing else.
    void key(VSTGUI::KeyboardEvent& event);
    // The ring follows what becomes of its control.
    void idle() { owner(); }
    // In reading order: rows from top to bottom, each from left to right.
    std::vector<Control*> order() const;
    // The control that would be used at a point of the editor, or null.
    Control* controlAt(CPoint where) const;

  private:
    void step(int direction);

    VSTGUI::CViewContainer& views;
    VSTGUI::SharedPointer<Control> focused;
    VSTGUI::SharedPointer<FocusRing> ring;
};

}  // namespace Quorvant
