// A list of rows in columns, read downwards; the wheel moves on by columns.
#pragma once

#include "gui/controls/Control.h"

#include <functional>
#include <string>
#include <vector>

namespace Quorvant {

struct ListRow {
    std::string text;
    bool heading = false;
    bool starred = false;
    std::string note = {};  // dim, behind the text
};

class ListColumn final : public VSTGUI::CView, public CutText {
  public:
    ListColumn(const CRect& size, double columnWidth);

    std::function<void(int row)> onPick;
    std::function<void(int row, CPoint where)> onContext;  // in the editor's pixels

    void setRows(std::vector<ListRow> newRows);
    const std::vector<ListRow>& rows() const { return list; }
    void select(int row);  // -1 for none; scrolls it into view
    void mark(int row);    // the same, but stays where it is
    void scrollToStart() { scrollTo(0); }
    int selected() const { return chosen; }
    int rowsPerColumn() const;
    CRect rowRect(int row) const;  // in the view's own coordinates, as its parent sees them

    std::string wholeTextAt(CPoint where) const override;
    void draw(VSTGUI::CDrawContext* context) override;
    void onMouseDownEvent(VSTGUI::MouseDownEvent& event) override;
    void onMouseMoveEvent(VSTGUI::MouseMoveEvent& event) override;
    void onMouseExitEvent(VSTGUI::MouseExitEvent& event) override;
    void onMouseWheelEvent(VSTGUI::MouseWheelEvent& event) override;

  private:
    int rowAt(CPoint where) const;  // headings don't count
    struct Places {
        CRect star, text, note;
    };
    Places placesOf(int row) const;
    int columns() const;
    int visibleColumns() const;
    void scrollTo(int column);

    double columnWidth;
    std::vector<ListRow> list;
    int chosen = -1;
    int hovered = -1;
    int firstColumn = 0;
};

}  // namespace Quorvant
