// A field over a control that takes a typed value for it.
#pragma once

#include "gui/OverlayStack.h"

#include <functional>
#include <string>

namespace Quorvant {

// Return, Tab and a click elsewhere take the text over, as musicians expect of a number; a text
// that was left as it is changes nothing.
class ValueField final : public Overlay {
  public:
    ValueField(const CRect& size, const CRect& over, std::string initial,
               std::function<void(std::string text)> take);
    TextField* textField() const override { return field; }
    void accept() override;
    void clickedBeside() override { accept(); }
    bool key(const VSTGUI::KeyboardEvent& event) override;

  private:
    std::string before;
    std::function<void(std::string text)> take;
    TextField* field;
};

}  // namespace Quorvant
