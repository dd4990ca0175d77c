// The base of all own controls, and what the editor asks of any view.
#pragma once

#include "gui/Drawing.h"

#include <vstgui/lib/controls/ccontrol.h>
#include <vstgui/lib/events.h>

#include <string>

namespace Quorvant {

// Views are built by the editor alone and never copied.
class Control : public VSTGUI::CControl {
  public:
    explicit Control(const CRect& size, int32_t tagId = -1) : CControl(size, nullptr, tagId) {
        setTransparency(true);
        setWantsFocus(false);  // VSTGUI's is for text fields
    }
    // Past the base class's own meaning of Ctrl and click.
    void dispatchEvent(VSTGUI::Event& event) override {
        if (event.type == VSTGUI::EventType::MouseDown) {
            onMouseDownEvent(VSTGUI::castMouseDownEvent(event));
        } else {
            CControl::dispatchEvent(event);
        }
    }
    void onMouseEnterEvent(VSTGUI::MouseEnterEvent& event) override {
        setPointed(true);
        event.consumed = true;
    }
    void onMouseExitEvent(VSTGUI::MouseExitEvent& event) override {
        setPointed(false);
        event.consumed = true;
    }
    void onMouseUpEvent(VSTGUI::MouseUpEvent& event) override { release(event); }
    void onMouseCancelEvent(VSTGUI::MouseCancelEvent& event) override { release(event); }
    // Whether the keyboard can be had at present.
    virtual bool takesKeys() const { return false; }
    // A key that is pressed while this has the keyboard, without modifiers or with Shift; true where
    // it means something here.
    virtual bool key(const VSTGUI::KeyboardEvent&) { return false; }
    VSTGUI::CBaseObject* newCopy() const override { return nullptr; }

  protected:
    bool pointed() const { return pointerInside; }
    void setPointed(bool state) {
        pointerInside = state;
        invalid();
    }
    // The button that was pressed here is up again, or what it held has been taken away.
    virtual void released() {}

  private:
    void release(VSTGUI::Event& event) {
        released();
        invalid();
        event.consumed = true;
    }

    bool pointerInside = false;
};

// A view whose texts may be too long for their places: its hint begins with the whole.
class CutText {
  public:
    virtual ~CutText() = default;
    // What is written, cut, at a point of the editor; empty where nothing is cut.
    virtual std::string wholeTextAt(CPoint where) const = 0;
};

// Where a view stands in the editor.
inline CRect editorRect(const VSTGUI::CView& view) {
    return view.translateToGlobal(view.getViewSize(), true);
}

}  // namespace Quorvant
