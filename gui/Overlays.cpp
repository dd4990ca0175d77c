#include "gui/Overlays.h"

#include "gui/controls/Buttons.h"

#include <algorithm>

namespace Quorvant {
namespace {

constexpr double kRowHeight = 18.5;
constexpr double kPad = 6.0;
constexpr double kLineHeight = 13.0;

void drawSheet(CDrawContext& context, const CRect& rect) {
    CRect shadow = rect;
    shadow.inset(-3.0, -3.0);
    shadow.offset(0.0, 2.0);
    fillRound(context, shadow, 7.0, Theme::kShadow);
    fillRound(context, rect, 5.0, Theme::kOverlay);
    strokeRound(context, rect, 5.0, Theme::kFaceEdge);
}

// Moved inside, then cut to what there is.
CRect heldWithin(CRect rect, const CRect& bounds) {
    if (rect.right > bounds.right) rect.offset(bounds.right - rect.right, 0.0);
    if (rect.bottom > bounds.bottom) rect.offset(0.0, bounds.bottom - rect.bottom);
    if (rect.left < bounds.left) rect.offset(bounds.left - rect.left, 0.0);
    if (rect.top < bounds.top) rect.offset(0.0, bounds.top - rect.top);
    return rect;
}

}  // namespace

Overlay::Overlay(const CRect& size, std::function<void()> closeAction)
    : CViewContainer(size), close(std::move(closeAction)) {
    setTransparency(true);
    setBackgroundColor(CColor(0, 0, 0, 0));
}

void Overlay::onMouseDownEvent(VSTGUI::MouseDownEvent& event) {
    if (!content.pointInside(event.mousePosition)) {
        dismiss();
    } else {
        CViewContainer::onMouseDownEvent(event);
    }
    event.consumed = true;
}

void Overlay::onMouseWheelEvent(VSTGUI::MouseWheelEvent& event) {
    CViewContainer::onMouseWheelEvent(event);
    event.consumed = true;
}

PopupMenu::PopupMenu(const CRect& size, Menu entries, const CRect& anchor,
                     std::function<void()> closeAction)
    : Overlay(size, std::move(closeAction)), menu(std::move(entries)) {
    // Columns first, then where the whole fits: below the anchor, else beside or above it.
    double left = kPad;
    double top = kPad;
    double bottom = 0.0;
    double columnWidth = 0.0;
    std::size_t columnStart = 0;
    const auto endColumn = [&](std::size_t end) {
        for (std::size_t i = columnStart; i < end; ++i) rects[i].right = left + columnWidth;
        left += columnWidth;
        columnStart = end;
    };
    rects.resize(menu.size());
    for (std::size_t i = 0; i < menu.size(); ++i) {
        if (menu[i].newColumn && i > 0) {
            endColumn(i);
            top = kPad;
            columnWidth = 0.0;
        }
        rects[i] = CRect(left, top, left, top + kRowHeight);
        top += kRowHeight;
        bottom = std::max(bottom, top);
        columnWidth =
            std::max(columnWidth, textWidth(menu[i].title, Theme::Face::LabelBold) + 34.0);
    }
    endColumn(menu.size());

    CRect sheet(0.0, 0.0, left + kPad, bottom + kPad);
    sheet.offset(anchor.left, anchor.bottom + 2.0);
    content = heldWithin(sheet, size);
    for (CRect& rect : rects) rect.offset(content.left, content.top);
}

void PopupMenu::drawBackgroundRect(VSTGUI::CDrawContext* context, const CRect&) {
    drawSheet(*context, content);
    for (std::size_t i = 0; i < menu.size(); ++i) {
        const MenuItem& item = menu[i];
        CRect rect = rects[i];
        if (!item.action) {
            rect.left += 8.0;
            drawText(*context, item.title, rect, Theme::Face::Small, Theme::kTextFaint,
                     Align::Left);
            continue;
        }
        if (static_cast<int>(i) == hovered && item.enabled) {
            fillRound(*context, rect, 3.0, Theme::kSelected);
        }
        if (item.checked) {
            fillPath(*context,
                     *circlePath(*context, CPoint(rect.left + 10.0, rect.getCenter().y), 2.6),
                     Theme::kAccent);
        }
        rect.left += 20.0;
        drawText(*context, item.title, rect, Theme::Face::Label,
                 !item.enabled  ? Theme::kTextFaint
                 : item.checked ? Theme::kAccent
                                : Theme::kText,
                 Align::Left);
    }
}

void PopupMenu::onMouseDownEvent(VSTGUI::MouseDownEvent& event) {
    event.consumed = true;
    event.ignoreFollowUpMoveAndUpEvents(true);
    for (std::size_t i = 0; i < menu.size(); ++i) {
        if (!rects[i].pointInside(event.mousePosition)) continue;
        if (!menu[i].action || !menu[i].enabled) return;
        const auto action = menu[i].action;
        dismiss();
        action();
        return;
    }
    if (!content.pointInside(event.mousePosition)) dismiss();
}

void PopupMenu::onMouseMoveEvent(VSTGUI::MouseMoveEvent& event) {
    int now = -1;
    for (std::size_t i = 0; i < rects.size(); ++i) {
        if (menu[i].action && rects[i].pointInside(event.mousePosition)) now = static_cast<int>(i);
    }
    if (now != hovered) {
        hovered = now;
        invalidRect(content);
    }
    event.consumed = true;
}

QuestionBox::QuestionBox(const CRect& size, std::string question, std::vector<Answer> answers,
                         std::function<void()> closeAction, const std::string* initial)
    : Overlay(size, std::move(closeAction)), text(std::move(question)) {
    const double height = initial ? 104.0 : 84.0;
    const double width =
        std::clamp(textWidth(text, Theme::Face::Value) + 40.0, 300.0, size.getWidth() - 40.0);
    content = CRect(0.0, 0.0, width, height);
    content.offset((size.getWidth() - width) / 2.0, (size.getHeight() - height) / 2.0);

    if (initial) {
        field = new TextField(CRect(content.left + 16.0, content.top + 36.0, content.right - 16.0,
                                    content.top + 58.0),
                              *initial);
        const auto first = answers.front().action;
        field->onDone = [this, first](bool accepted, std::string typed) {
            dismiss();
            if (accepted && first) first(std::move(typed));
        };
        addView(field);
    }
    double right = content.right - 16.0;
    for (auto answer = answers.rbegin(); answer != answers.rend(); ++answer) {
        const double buttonWidth =
            std::max(70.0, textWidth(answer->title, Theme::Face::LabelBold) + 24.0);
        const bool acceptsField = field && std::next(answer) == answers.rend();
        const auto action = answer->action;
        addView(new ActionButton(
            CRect(right - buttonWidth, content.bottom - 34.0, right, content.bottom - 12.0), -1,
            ActionButton::Look::Text, answer->title, [this, acceptsField, action](auto) {
                if (field) {
                    field->finish(acceptsField);
                } else {
                    dismiss();
                    if (action) action({});
                }
            }));
        right -= buttonWidth + 8.0;
    }
}

void QuestionBox::drawBackgroundRect(VSTGUI::CDrawContext* context, const CRect&) {
    context->setFillColor(CColor(0, 0, 0, 120));
    context->drawRect(getViewSize(), VSTGUI::kDrawFilled);
    drawSheet(*context, content);
    drawText(
        *context, text,
        CRect(content.left + 16.0, content.top + 10.0, content.right - 16.0, content.top + 32.0),
        Theme::Face::Value, Theme::kText, Align::Left);
}

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
    const double height = static_cast<double>(lines.size()) * kLineHeight + 10.0;
    CRect rect(0.0, 0.0, width + 18.0, height);
    const bool below = control.bottom + height + 6.0 <= editor.bottom;
    rect.offset(control.left, below ? control.bottom + 5.0 : control.top - height - 5.0);
    setViewSize(heldWithin(rect, editor));
    setMouseEnabled(false);
    setTransparency(true);
}

void HintBubble::draw(VSTGUI::CDrawContext* context) {
    CRect rect = getViewSize();
    fillRound(*context, rect, 4.0, CColor(242, 239, 230, 250));
    strokeRound(*context, rect, 4.0, CColor(90, 86, 78, 255));
    rect.inset(9.0, 5.0);
    for (const std::string& row : lines) {
        drawText(*context, row, CRect(rect.left, rect.top, rect.right, rect.top + kLineHeight),
                 Theme::Face::Label, CColor(30, 30, 32, 255), Align::Left);
        rect.top += kLineHeight;
    }
    setDirty(false);
}

}  // namespace Quorvant
