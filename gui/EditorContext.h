// What a control or panel may ask of the editor that it stands in.
#pragma once

#include "gui/Drawing.h"
#include "gui/EditorModel.h"
#include "gui/UserSettings.h"

#include <vstgui/lib/cview.h>

#include <functional>
#include <string>
#include <vector>

namespace Quorvant {

struct MenuItem {
    std::string title;
    std::function<void()> action = {};  // none: a heading
    bool checked = false;
    bool enabled = true;
    bool newColumn = false;  // begins the next column
};
using Menu = std::vector<MenuItem>;

// Main thread. Rectangles and points are in the editor's unzoomed pixels.
class EditorContext {
  public:
    virtual ~EditorContext() = default;

    virtual EditorModel& model() = 0;
    virtual const UserSettings& settings() const = 0;
    // Whether Global is on, that is, which of the two sets of level controls is seen.
    virtual bool globalMode() const = 0;

    // After an edit of the user's: every view of the parameter follows.
    virtual void edited(uint32_t index) = 0;
    // One whole gesture.
    virtual void setParameter(uint32_t index, double value) = 0;
    // A text field over the rectangle that takes a value for the parameter.
    virtual void typeValue(uint32_t index, const CRect& over) = 0;
    virtual void openHostMenu(uint32_t index, CPoint where) = 0;
    virtual void openMenu(Menu menu, const CRect& anchor) = 0;
};

// Where a view stands in the editor.
CRect editorRect(const VSTGUI::CView& view);

}  // namespace Quorvant
