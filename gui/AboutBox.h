// Who made the unit, in the front panel's place.
#pragma once

#include "gui/OverlayStack.h"
#include "gui/PresetActions.h"

namespace Quorvant {

// Covers the front panel alone: the rest stays in use.
class AboutBox final : public Overlay {
  public:
    AboutBox(const CRect& size, PresetDesk& desk);
    void drawBackgroundRect(VSTGUI::CDrawContext* context, const CRect& rect) override;
};

}  // namespace Quorvant
