// Shows a view's hint once the pointer rests on it.
#pragma once

#include "gui/Drawing.h"

#include <vstgui/lib/cview.h>

#include <cstdint>
#include <string>
#include <vector>

namespace VSTGUI {
class CViewContainer;
}

namespace Quorvant {

// A hint near the control it belongs to; lines break at line feeds.
class HintBubble final : public VSTGUI::CView {
  public:
    HintBubble(const CRect& editor, const CRect& control, std::string text);
    const std::string& text() const { return hint; }
    void draw(VSTGUI::CDrawContext* context) override;

  private:
    std::string hint;
    std::vector<std::string> lines;
};

// Main thread. Times are tick counts.
class HintDisplay {
  public:
    // Outlives the display.
    explicit HintDisplay(VSTGUI::CViewContainer& root) : views(root) {}
    ~HintDisplay() { forget(); }
    HintDisplay(const HintDisplay&) = delete;
    HintDisplay& operator=(const HintDisplay&) = delete;

    void entered(VSTGUI::CView& view, uint32_t now);
    void exited(VSTGUI::CView& view);
    void moved(CPoint where, uint32_t now);
    void idle(uint32_t now);
    // At once.
    void show(VSTGUI::CView& view);
    // No hint until the pointer is on another view.
    void forget();

  private:
    std::string cutTextOf(const VSTGUI::CView& view) const;
    std::string textOf(const VSTGUI::CView& view) const;
    void open();
    void hide();

    VSTGUI::CViewContainer& views;
    VSTGUI::SharedPointer<VSTGUI::CView> pointed;
    VSTGUI::SharedPointer<HintBubble> bubble;
    CPoint pointer;
    uint32_t due = 0;
};

}  // namespace Quorvant
