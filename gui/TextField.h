// One line of text for the user to edit.
#pragma once

#include "gui/Drawing.h"

#include <vstgui/lib/controls/ctextedit.h>

#include <functional>
#include <string>

namespace Quorvant {

class TextField final : public VSTGUI::CTextEdit {
  public:
    TextField(const CRect& size, std::string text);

    // Called once the field loses the focus: `accepted` is false after Escape.
    std::function<void(bool accepted, std::string text)> onDone;
    std::function<void(std::string text)> onChange;  // after every keystroke

    // What Return and Escape do.
    void finish(bool accepted);
    std::string content() const { return getText().getString(); }

    void setText(const VSTGUI::UTF8String& newText) override;
    void takeFocus() override;
    void looseFocus() override;

  private:
    void platformOnKeyboardEvent(VSTGUI::KeyboardEvent& event) override;

    bool escaped = false;
    bool done = false;
};

}  // namespace Quorvant
