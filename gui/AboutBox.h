// Who made the unit, in the front panel's place.
#pragma once

#include "gui/EditorContext.h"
#include "gui/OverlayStack.h"

namespace Quorvant {

// Covers the front panel alone: the rest stays in use.
class AboutBox final : public Overlay {
  public:
    AboutBox(const CRect& size, EditorContext& editor);
    void drawBackgroundRect(VSTGUI::CDrawContext* context, const CRect& rect) override;
};

}  // namespace Quorvant
