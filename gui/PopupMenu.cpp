#include "gui/PopupMenu.h"

#include <algorithm>
#include <cmath>

namespace Quorvant {
namespace {

constexpr double kRowHeight = 18.5;
constexpr double kPad = 6.0;

}  // namespace

PopupMenu::PopupMenu(const CRect& size, Menu entries, const CRect& anchor)
    : Overlay(size), menu(std::move(entries)) {
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
        if (static_cast<int>(i) == marked) fillRound(*context, rect, 3.0, Theme::kSelected);
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

bool PopupMenu::canTake(int index) const {
    if (index < 0 || index >= static_cast<int>(menu.size())) return false;
    const MenuItem& item = menu[static_cast<std::size_t>(index)];
    return item.action && item.enabled;
}

int PopupMenu::indexAt(CPoint where) const {
    for (std::size_t i = 0; i < rects.size(); ++i) {
        const int index = static_cast<int>(i);
        if (rects[i].pointInside(where)) return canTake(index) ? index : -1;
    }
    return -1;
}

void PopupMenu::mark(int index) {
    if (index == marked) return;
    marked = index;
    invalidRect(content);
}

void PopupMenu::accept() {
    if (marked < 0) {
        cancel();
    } else {
        finish(menu[static_cast<std::size_t>(marked)].action);
    }
}

bool PopupMenu::key(const VSTGUI::KeyboardEvent& event) {
    using VSTGUI::VirtualKey;
    switch (event.virt) {
        case VirtualKey::Up:
            step(-1);
            return true;
        case VirtualKey::Down:
            step(1);
            return true;
        case VirtualKey::Left:
            stepColumn(-1);
            return true;
        case VirtualKey::Right:
            stepColumn(1);
            return true;
        default:
            return false;
    }
}

// The first step leads to what is in force, where that is shown.
void PopupMenu::step(int by) {
    const int count = static_cast<int>(menu.size());
    if (marked < 0) {
        const auto checked = std::ranges::find(menu, true, &MenuItem::checked);
        const int first = static_cast<int>(checked - menu.begin());
        if (canTake(first)) return mark(first);
    }
    const int start = marked >= 0 ? marked : by > 0 ? -1 : count;
    for (int next = start + by; next >= 0 && next < count; next += by) {
        if (canTake(next)) return mark(next);
    }
}

void PopupMenu::stepColumn(int direction) {
    if (marked < 0) return step(direction);
    const CRect& from = rects[static_cast<std::size_t>(marked)];
    int nearest = marked;
    double least = 1e9;
    for (int i = 0; i < static_cast<int>(rects.size()); ++i) {
        const CRect& to = rects[static_cast<std::size_t>(i)];
        if (!canTake(i) || (to.left - from.left) * direction <= 0.0) continue;
        // The next column's, and there the one at the same height.
        const double away = std::fabs(to.left - from.left) * 100.0 + std::fabs(to.top - from.top);
        if (away < least) {
            least = away;
            nearest = i;
        }
    }
    mark(nearest);
}

void PopupMenu::onMouseDownEvent(VSTGUI::MouseDownEvent& event) {
    event.consumed = true;
    event.ignoreFollowUpMoveAndUpEvents(true);
    if (const int index = indexAt(event.mousePosition); index >= 0) {
        finish(menu[static_cast<std::size_t>(index)].action);
    } else if (!content.pointInside(event.mousePosition)) {
        clickedBeside();
    }
}

void PopupMenu::onMouseMoveEvent(VSTGUI::MouseMoveEvent& event) {
    mark(indexAt(event.mousePosition));
    event.consumed = true;
}

}  // namespace Quorvant
