// A menu in columns.
#pragma once

#include "gui/EditorContext.h"
#include "gui/OverlayStack.h"

#include <vector>

namespace Quorvant {

// A click takes an entry; so does Return, once the arrows have led to one.
class PopupMenu final : public Overlay {
  public:
    PopupMenu(const CRect& size, Menu menu, const CRect& anchor);
    const Menu& items() const { return menu; }
    // Where an entry is, in the editor's pixels.
    CRect itemRect(std::size_t index) const { return rects[index]; }

    void accept() override;
    bool key(const VSTGUI::KeyboardEvent& event) override;
    void drawBackgroundRect(VSTGUI::CDrawContext* context, const CRect& rect) override;
    void onMouseDownEvent(VSTGUI::MouseDownEvent& event) override;
    void onMouseMoveEvent(VSTGUI::MouseMoveEvent& event) override;

  private:
    bool canTake(int index) const;
    int indexAt(CPoint where) const;  // -1 for none that can be taken
    void mark(int index);
    void step(int by);
    void stepColumn(int direction);

    Menu menu;
    std::vector<CRect> rects;
    int marked = -1;
};

}  // namespace Quorvant
