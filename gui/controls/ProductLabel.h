// The maker's plate; a click turns the panel over.
#pragma once

#include "gui/controls/Buttons.h"

namespace Quorvant {

class ProductLabel final : public ActionButton {
  public:
    ProductLabel(const CRect& size, uint32_t hintId, Action what);
    void draw(VSTGUI::CDrawContext* context) override;
};

}  // namespace Quorvant
