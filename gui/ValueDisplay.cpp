#include "gui/ValueDisplay.h"

#include <algorithm>
#include <cmath>

namespace Quorvant {
namespace {

constexpr uint32_t kLinger = 900;  // ms
constexpr double kHeight = 20.0;
constexpr double kPad = 8.0;
constexpr double kFromControl = 5.0;
constexpr double kFromPointer = 14.0;

}  // namespace

ValueBubble::ValueBubble(const CRect& place, std::string text)
    : CView(place), value(std::move(text)) {
    setMouseEnabled(false);
    setTransparency(true);
}

CRect ValueBubble::placeFor(const std::string& text, const CRect& editor, const CRect& control,
                            CPoint pointer) {
    const double width = std::ceil(textWidth(text, Theme::Face::Value)) + 2.0 * kPad;
    const double middle = std::clamp(std::round(pointer.y - kHeight / 2.0), editor.top,
                                     std::max(editor.top, editor.bottom - kHeight));
    const auto at = [&](double left, double top) {
        return CRect(left, top, left + width, top + kHeight);
    };
    const double right =
        std::round(std::max(control.right + kFromControl, pointer.x + kFromPointer));
    if (right + width <= editor.right) return at(right, middle);
    const double left = std::round(std::min(control.left - kFromControl, pointer.x - kFromPointer));
    if (left - width >= editor.left) return at(left - width, middle);
    const double above = std::min(control.top - kFromControl, pointer.y - kFromPointer) - kHeight;
    const double below = std::max(control.bottom + kFromControl, pointer.y + kFromPointer);
    const double start = std::round(pointer.x - width / 2.0);
    return heldWithin(at(start, std::round(above >= editor.top ? above : below)), editor);
}

void ValueBubble::draw(VSTGUI::CDrawContext* context) {
    const CRect& rect = getViewSize();
    fillRound(*context, rect, 4.0, Theme::kGlass);
    CRect edge = rect;
    edge.inset(0.5, 0.5);
    strokeRound(*context, edge, 4.0, Theme::kTextDim);
    drawText(*context, value, rect, Theme::Face::Value, Theme::kText);
    setDirty(false);
}

void ValueDisplay::show(const std::string& text, const CRect& control, CPoint pointer,
                        uint32_t now) {
    end = now + kLinger;
    const CRect place = ValueBubble::placeFor(text, views.getViewSize(), control, pointer);
    if (bubble && bubble->text() == text && bubble->getViewSize() == place) return;
    forget();
    bubble = VSTGUI::makeOwned<ValueBubble>(place, text);
    bubble->remember();  // the tree's own reference
    views.addView(bubble);
    bubble->invalid();
}

void ValueDisplay::idle(uint32_t now) {
    if (bubble && static_cast<int32_t>(now - end) >= 0) forget();
}

void ValueDisplay::forget() {
    if (!bubble) return;
    views.removeView(bubble);
    bubble = nullptr;
}

}  // namespace Quorvant
