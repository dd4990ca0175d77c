#include "gui/controls/ProductLabel.h"

#include "gui/Hints.h"

namespace Quorvant {

ProductLabel::ProductLabel(const CRect& size, uint32_t hintId, Action what)
    : ActionButton(size, static_cast<int32_t>(hintId), Look::Plain, "", std::move(what)) {
    setTooltipText(hintText(hintId));
}

void ProductLabel::draw(VSTGUI::CDrawContext* context) {
    const CRect& size = getViewSize();
    drawText(*context, "CORVANE", CRect(size.left, size.top, size.right, size.top + 12.0),
             Theme::Face::Brand, Theme::kTextDim);
    drawText(*context, "QVX77x", CRect(size.left, size.top + 11.0, size.right, size.bottom),
             Theme::Face::Product, Theme::kText);
    setDirty(false);
}

}  // namespace Quorvant
