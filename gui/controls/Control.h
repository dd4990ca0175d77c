// The base of all own controls.
#pragma once

#include "gui/Drawing.h"

#include <vstgui/lib/controls/ccontrol.h>
#include <vstgui/lib/events.h>

namespace Quorvant {

// Views are built by the editor alone and never copied.
class Control : public VSTGUI::CControl {
  public:
    explicit Control(const CRect& size, int32_t tagId = -1) : CControl(size, nullptr, tagId) {
        setTransparency(true);
    }
    // Past the base class's own meaning of Ctrl and click.
    void dispatchEvent(VSTGUI::Event& event) override {
        if (event.type == VSTGUI::EventType::MouseDown) {
            onMouseDownEvent(VSTGUI::castMouseDownEvent(event));
        } else {
            CControl::dispatchEvent(event);
        }
    }
    VSTGUI::CBaseObject* newCopy() const override { return nullptr; }
};

}  // namespace Quorvant
