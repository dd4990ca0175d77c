// One line of text for the user to edit. What becomes of it, the overlay that it stands in decides.
#pragma once

#include "gui/Drawing.h"

#include <vstgui/lib/controls/ctextedit.h>

#include <functional>
#include <string>

namespace Quorvant {

class TextField final : public VSTGUI::CTextEdit {
  public:
    // Bytes of `text` that are no UTF-8 are replaced.
    TextField(const CRect& size, std::string_view text);

    std::function<void(std::string text)> onChange;  // after every keystroke

    std::string content() const { return getText().getString(); }

    void setText(const VSTGUI::UTF8String& newText) override;
    void takeFocus() override;
    // No parameter: hosts are not to hear of it.
    void beginEdit() override {}
    void endEdit() override {}

  private:
    void platformOnKeyboardEvent(VSTGUI::KeyboardEvent& event) override;
    void paste();

    bool pasting = false;
};

}  // namespace Quorvant
