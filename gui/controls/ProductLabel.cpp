#include "gui/controls/ProductLabel.h"

#include "gui/Hints.h"

namespace Quorvant {

ProductLabel::ProductLabel(const CRect& size, uint32_t hintId, Action what)
    : ActionButton(size, static_cast<int32_t>(hintId), Look::Plain, "", std::move(what)) {
    setTooltipText(hintText(hintId));
}

void ProductLabel::draw(VSTGUI::CDrawContext* context) {
    const CRect& size = getViewSize();
    drawText(*context, "CORVANE", CRect(size.left, size.top, size.right, size.top + 13.0),
             Theme::Face::Brand, Theme::kTextDim);
    drawText(*context, "QVX77x", CRect(size.left, size.top + 12.0, size.right, size.top + 35.0),
             Theme::Face::Product, Theme::kText);
    drawText(*context, "STEREO DELAY",
             CRect(size.left, size.top + 36.0, size.right, size.top + 48.0), Theme::Face::Small,
             Theme::kAccent);
    setDirty(false);
}

}  // namespace Quorvant
