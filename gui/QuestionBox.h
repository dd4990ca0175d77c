// A sentence with buttons, and a line to type where the answer is a text.
#pragma once

#include "gui/EditorContext.h"
#include "gui/OverlayStack.h"
#include "gui/controls/Buttons.h"

#include <optional>
#include <string>
#include <vector>

namespace Quorvant {

// Return takes the marked answer; Tab and the arrows mark another. At first it is the first one
// where there is a text to accept, else the last one, which changes nothing.
class QuestionBox final : public Overlay, public CutText {
  public:
    // At least one answer. With `initial`, a text to start from, answers get what is typed.
    QuestionBox(const CRect& size, std::string question, std::vector<Answer> answers,
                const std::optional<std::string>& initial);
    const std::string& question() const { return text; }

    TextField* textField() const override { return field; }
    void accept() override { answer(marked); }
    bool key(const VSTGUI::KeyboardEvent& event) override;
    std::string wholeTextAt(CPoint where) const override;
    void drawBackgroundRect(VSTGUI::CDrawContext* context, const CRect& rect) override;

  private:
    void answer(std::size_t index);
    void mark(std::size_t index);
    CRect textRect() const;

    std::string text;
    std::vector<Answer> answers;
    std::vector<ActionButton*> buttons;
    std::size_t marked;
    TextField* field = nullptr;
};

}  // namespace Quorvant
