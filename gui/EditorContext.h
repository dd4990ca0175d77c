// What the parts of the editor may ask of it.
#pragma once

#include "gui/Drawing.h"
#include "gui/EditorModel.h"
#include "gui/UserSettings.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Quorvant {

class Control;

struct MenuItem {
    std::string title;
    std::function<void()> action = {};  // none: a heading
    bool checked = false;
    bool enabled = true;
    bool newColumn = false;  // begins the next column
};
using Menu = std::vector<MenuItem>;

struct Answer {
    std::string title;
    std::function<void(std::string text)> action = {};  // none: just closes
};

// Main thread. Rectangles and points are in the editor's unzoomed pixels.
class EditorContext {
  public:
    virtual ~EditorContext() = default;

    virtual EditorModel& model() = 0;
    // Whether Global is on, that is, which of the two sets of level controls is seen.
    virtual bool globalMode() const = 0;
    virtual const UserSettings& settings() const = 0;
    virtual void changeSettings(const std::function<void(UserSettings&)>& change) = 0;
    // In percent.
    virtual int zoomPercent() const = 0;
    virtual void setZoom(int percent) = 0;

    // After an edit of the user's: every view of the parameter follows.
    virtual void edited(uint32_t index) = 0;
    // One whole gesture.
    virtual void setParameter(uint32_t index, double value) = 0;
    // A text field over the rectangle that takes a value for the parameter.
    virtual void typeValue(uint32_t index, const CRect& over) = 0;

    // What a right click on a control of the parameter opens: the host's menu where it has one.
    virtual void openHostMenu(uint32_t index, CPoint where) = 0;
    // The user moves the parameter by the control at this place: its value is told for a moment.
    virtual void showValue(uint32_t index, const CRect& control, bool byKeys) = 0;
    // A click has given the keyboard to this control.
    virtual void takeKeyboard(Control& control) = 0;
    virtual void openMenu(Menu menu, const CRect& anchor) = 0;
    virtual void openBrowser() = 0;
    virtual void openAbout() = 0;
    virtual void openManual() = 0;
    // A line in the bar, for some seconds.
    virtual void tell(std::string text) = 0;
    // A question above everything; with `initial`, one that a text answers.
    virtual void ask(std::string question, std::vector<Answer> answers,
                     std::optional<std::string> initial = {}) = 0;

    virtual void openLink(std::string_view address) = 0;
    // See Desk; `done` is not called either once the editor is gone.
    virtual bool askForFile(bool forSaving, const std::string& title,
                            const std::filesystem::path& folder, const std::string& name,
                            std::function<void(std::filesystem::path)> done) = 0;
};

}  // namespace Quorvant
