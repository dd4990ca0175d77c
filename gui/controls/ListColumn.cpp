#include "gui/controls/ListColumn.h"

#include <algorithm>

namespace Quorvant {
namespace {

constexpr double kRowHeight = 18.0;
constexpr double kFoot = 6.0;  // where the scroll bar lies

}  // namespace

ListColumn::ListColumn(const CRect& size, double width) : CView(size), columnWidth(width) {
    setTransparency(true);
}

int ListColumn::rowsPerColumn() const {
    return std::max(1, static_cast<int>((getHeight() - kFoot) / kRowHeight));
}

int ListColumn::columns() const {
    const int rows = rowsPerColumn();
    return (static_cast<int>(list.size()) + rows - 1) / rows;
}

int ListColumn::visibleColumns() const {
    return std::max(1, static_cast<int>(getWidth() / columnWidth + 0.01));
}

void ListColumn::scrollTo(int column) {
    column = std::clamp(column, 0, std::max(0, columns() - visibleColumns()));
    if (column == firstColumn) return;
    firstColumn = column;
    hovered = -1;
    invalid();
}

void ListColumn::setRows(std::vector<ListRow> newRows) {
    list = std::move(newRows);
    chosen = -1;
    hovered = -1;
    scrollTo(firstColumn);
    invalid();
}

void ListColumn::mark(int row) {
    chosen = row < static_cast<int>(list.size()) ? row : -1;
    invalid();
}

void ListColumn::select(int row) {
    mark(row);
    if (chosen >= 0) {
        const int column = chosen / rowsPerColumn();
        if (column < firstColumn) scrollTo(column);
        if (column >= firstColumn + visibleColumns()) scrollTo(column - visibleColumns() + 1);
    }
}

CRect ListColumn::rowRect(int row) const {
    const int column = row / rowsPerColumn() - firstColumn;
    const double left = getViewSize().left + column * columnWidth;
    const double top = getViewSize().top + row % rowsPerColumn() * kRowHeight;
    return CRect(left, top, left + columnWidth - 4.0, top + kRowHeight);
}

int ListColumn::rowAt(CPoint where) const {
    const int column = static_cast<int>((where.x - getViewSize().left) / columnWidth);
    const int place = static_cast<int>((where.y - getViewSize().top) / kRowHeight);
    if (column < 0 || column >= visibleColumns() || place < 0 || place >= rowsPerColumn())
        return -1;
    const int row = (column + firstColumn) * rowsPerColumn() + place;
    if (row >= static_cast<int>(list.size()) || list[static_cast<std::size_t>(row)].heading) {
        return -1;
    }
    return row;
}

ListColumn::Places ListColumn::placesOf(int index) const {
    const ListRow& row = list[static_cast<std::size_t>(index)];
    CRect rest = rowRect(index);
    rest.left += 6.0;
    rest.right -= 4.0;
    Places places;
    if (row.starred) {
        places.star = CRect(rest.right - 10.0, rest.top, rest.right, rest.bottom);
        rest.right -= 14.0;
    }
    if (!row.note.empty()) {
        places.note = rest;
        places.note.left = rest.left + rest.getWidth() * 0.62;
        rest.right = places.note.left - 4.0;
    }
    places.text = rest;
    return places;
}

std::string ListColumn::wholeTextAt(CPoint where) const {
    const int index = rowAt(translateToLocal(where, true));
    if (index < 0) return "";
    const ListRow& row = list[static_cast<std::size_t>(index)];
    const Places places = placesOf(index);
    const bool textCut = isCut(row.text, places.text.getWidth(), Theme::Face::Value);
    const bool noteCut = isCut(row.note, places.note.getWidth(), Theme::Face::Small);
    return !textCut && !noteCut ? "" : row.note.empty() ? row.text : row.text + "\n" + row.note;
}

void ListColumn::draw(VSTGUI::CDrawContext* context) {
    const int first = firstColumn * rowsPerColumn();
    const int end =
        std::min(static_cast<int>(list.size()), (firstColumn + visibleColumns()) * rowsPerColumn());
    for (int i = first; i < end; ++i) {
        const ListRow& row = list[static_cast<std::size_t>(i)];
        if (i == chosen) {
            fillRound(*context, rowRect(i), 3.0, Theme::kSelected);
        } else if (i == hovered) {
            fillRound(*context, rowRect(i), 3.0, Theme::kHover);
        }
        const Places places = placesOf(i);
        if (row.starred) {
            fillPath(*context, *circlePath(*context, places.star.getCenter(), 2.8), Theme::kAccent);
        }
        drawText(*context, row.note, places.note, Theme::Face::Small, Theme::kTextFaint,
                 Align::Right);
        drawText(*context, row.text, places.text,
                 row.heading ? Theme::Face::LabelBold : Theme::Face::Value,
                 row.heading   ? Theme::kTextFaint
                 : i == chosen ? Theme::kAccent
                               : Theme::kText,
                 Align::Left);
    }
    if (columns() > visibleColumns()) {
        const CRect& size = getViewSize();
        const double scale = (getWidth() - 4.0) / columns();
        fillRound(*context,
                  CRect(size.left + firstColumn * scale, size.bottom - 4.0,
                        size.left + (firstColumn + visibleColumns()) * scale, size.bottom - 1.0),
                  1.5, Theme::kTextFaint);
    }
    setDirty(false);
}

void ListColumn::onMouseDownEvent(VSTGUI::MouseDownEvent& event) {
    event.consumed = true;
    event.ignoreFollowUpMoveAndUpEvents(true);
    const int row = rowAt(event.mousePosition);
    if (row < 0) return;
    if (event.buttonState.isRight()) {
        if (onContext) onContext(row, translateToGlobal(event.mousePosition, true));
    } else if (event.buttonState.isLeft()) {
        select(row);
        if (onPick) onPick(row);
    }
}

void ListColumn::onMouseMoveEvent(VSTGUI::MouseMoveEvent& event) {
    const int row = rowAt(event.mousePosition);
    if (row == hovered) return;
    hovered = row;
    invalid();
}

void ListColumn::onMouseExitEvent(VSTGUI::MouseExitEvent& event) {
    hovered = -1;
    invalid();
    event.consumed = true;
}

void ListColumn::onMouseWheelEvent(VSTGUI::MouseWheelEvent& event) {
    const double delta = event.deltaY != 0.0 ? event.deltaY : -event.deltaX;
    if (delta != 0.0) scrollTo(firstColumn + (delta > 0.0 ? -1 : 1));
    event.consumed = true;
}

}  // namespace Quorvant
