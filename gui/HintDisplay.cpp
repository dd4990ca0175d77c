#include "gui/HintDisplay.h"

#include "gui/controls/Control.h"

#include <vstgui/lib/cframe.h>

#include <algorithm>
#include <cmath>

namespace Quorvant {
namespace {

constexpr uint32_t kDelay = 700;  // ms
constexpr double kLineHeight = 13.0;
constexpr double kPadX = 9.0;
constexpr double kPadY = 5.0;
constexpr CColor kPaper{242, 239, 230, 250};
constexpr CColor kEdge{90, 86, 78, 255};
constexpr CColor kInk{30, 30, 32, 255};

}  // namespace

HintBubble::HintBubble(const CRect& editor, const CRect& control, std::string words)
    : CView(CRect()), hint(std::move(words)) {
    for (std::size_t start = 0; start < hint.size();) {
        const std::size_t end = std::min(hint.find('\n', start), hint.size());
        lines.push_back(hint.substr(start, end - start));
        start = end + 1;
    }
    double width = 0.0;
    for (const std::string& row : lines)
        width = std::max(width, textWidth(row, Theme::Face::Label));
    width = std::ceil(width);
    const double height = static_cast<double>(lines.size()) * kLineHeight + 2.0 * kPadY;
    CRect rect(0.0, 0.0, width + 2.0 * kPadX, height);
    const bool below = control.bottom + height + 6.0 <= editor.bottom;
    rect.offset(control.left, below ? control.bottom + 5.0 : control.top - height - 5.0);
    setViewSize(heldWithin(rect, editor));
    setMouseEnabled(false);
    setTransparency(true);
}

void HintBubble::draw(VSTGUI::CDrawContext* context) {
    CRect rect = getViewSize();
    fillRound(*context, rect, 4.0, kPaper);
    strokeRound(*context, rect, 4.0, kEdge);
    rect.inset(kPadX, kPadY);
    for (const std::string& row : lines) {
        drawText(*context, row, CRect(rect.left, rect.top, rect.right, rect.top + kLineHeight),
                 Theme::Face::Label, kInk, Align::Left);
        rect.top += kLineHeight;
    }
    setDirty(false);
}

std::string HintDisplay::cutTextOf(const VSTGUI::CView& view) const {
    const auto* cut = dynamic_cast<const CutText*>(&view);
    return cut ? cut->wholeTextAt(pointer) : "";
}

std::string HintDisplay::textOf(const VSTGUI::CView& view) const {
    std::string text = cutTextOf(view);
    uint32_t size = 0;
    if (view.getAttributeSize(VSTGUI::kCViewTooltipAttribute, size) && size > 0) {
        std::string own(size, '\0');
        view.getAttribute(VSTGUI::kCViewTooltipAttribute, size, own.data(), size);
        own.resize(std::min(own.find('\0'), own.size()));
        if (!text.empty()) text += '\n';
        text += own;
    }
    return text;
}

void HintDisplay::entered(VSTGUI::CView& view, uint32_t now) {
    hide();
    pointed = VSTGUI::shared(&view);
    due = now + kDelay;
}

// The pointer is still on what the view stands in.
void HintDisplay::exited(VSTGUI::CView& view) {
    if (pointed != &view) return;
    hide();
    pointed = VSTGUI::shared(view.getParentView());
}

void HintDisplay::moved(CPoint where, uint32_t now) {
    pointer = where;
    if (bubble && pointed && textOf(*pointed) != bubble->text()) hide();
    if (!bubble) due = now + kDelay;  // once the pointer rests
}

void HintDisplay::idle(uint32_t now) {
    if (pointed && !bubble && static_cast<int32_t>(now - due) >= 0) open();
}

void HintDisplay::show(VSTGUI::CView& view) {
    hide();
    pointed = VSTGUI::shared(&view);
    open();
}

void HintDisplay::open() {
    const std::string text = pointed->isAttached() ? textOf(*pointed) : "";
    if (text.empty()) return;
    CRect place = editorRect(*pointed);
    if (!cutTextOf(*pointed).empty()) place = CRect(pointer, CPoint()).extend(8.0, 8.0);
    bubble = VSTGUI::makeOwned<HintBubble>(views.getViewSize(), place, text);
    bubble->remember();  // the tree's own reference
    views.addView(bubble);
    bubble->invalid();
}

void HintDisplay::forget() {
    pointed = nullptr;
    hide();
}

// It takes no part in events, so that it may go amid one.
void HintDisplay::hide() {
    if (!bubble) return;
    views.removeView(bubble);
    bubble = nullptr;
}

}  // namespace Quorvant
