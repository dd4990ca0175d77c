// Tells a control's value while it moves, beside the pointer.
#pragma once

#include "gui/Drawing.h"

#include <vstgui/lib/cviewcontainer.h>

#include <cstdint>
#include <optional>
#include <string>

namespace Quorvant {

// Beside what moves it and never over the control itself; takes part in no event.
class ValueBubble final : public VSTGUI::CView {
  public:
    ValueBubble(const CRect& place, std::string text);
    // Where so long a text stands within the editor: to the right of control and pointer, else to
    // the left, else above or below. `pointer` may be the control's own middle.
    static CRect placeFor(const std::string& text, const CRect& editor, const CRect& control,
                          CPoint pointer);
    const std::string& text() const { return value; }
    void draw(VSTGUI::CDrawContext* context) override;

  private:
    std::string value;
};

// Main thread. Times are tick counts.
class ValueDisplay {
  public:
    // Outlives the display.
    explicit ValueDisplay(VSTGUI::CViewContainer& root) : views(root) {}
    ~ValueDisplay() { forget(); }
    ValueDisplay(const ValueDisplay&) = delete;
    ValueDisplay& operator=(const ValueDisplay&) = delete;

    void show(const std::string& text, const CRect& control, CPoint pointer, uint32_t now);
    void idle(uint32_t now);
    void forget();

  private:
    VSTGUI::CViewContainer& views;
    VSTGUI::SharedPointer<ValueBubble> bubble;
    uint32_t end = 0;
};

}  // namespace Quorvant
