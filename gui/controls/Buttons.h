// Illuminated kick buttons, rows of choices, and the buttons that step a value.
#pragma once

#include "gui/controls/ParameterControl.h"

#include <functional>
#include <vector>

namespace Quorvant {

// A switch that glows while it is on.
class KickButton : public ParameterControl {
  public:
    KickButton(const CRect& size, EditorContext& editorOf, uint32_t index, std::string text)
        : ParameterControl(size, editorOf, index), label(std::move(text)) {}
    void draw(VSTGUI::CDrawContext* context) override;

  protected:
    bool pressed(VSTGUI::MouseDownEvent& event) override;
    void doubleClicked(VSTGUI::MouseDownEvent& event) override { pressed(event); }
    virtual double light() const;  // of the lamp, 0 ... 1
    virtual CColor lightColour() const { return accent(); }
    const std::string& text() const { return label; }

  private:
    std::string label;
};

// Inf Repeat: half lit while the loop waits for its boundary.
class LoopButton final : public KickButton {
  public:
    using KickButton::KickButton;
    void idle();

  private:
    double light() const override;
    CColor lightColour() const override { return Theme::kRed; }
    bool engaged = false;
};

// The main switch of the unit.
class PowerButton final : public KickButton {
  public:
    using KickButton::KickButton;
    void draw(VSTGUI::CDrawContext* context) override;
};

enum class Glyph { None, Forward, Backward, Reverse, Bounce };

struct Choice {
    std::string text;
    Glyph glyph = Glyph::None;
};

// All states of a list or switch side by side; a click takes one.
class ChoiceRow : public ParameterControl {
  public:
    ChoiceRow(const CRect& size, EditorContext& context, uint32_t parameter,
              std::vector<Choice> choices);
    void draw(VSTGUI::CDrawContext* context) override;

  private:
    bool pressed(VSTGUI::MouseDownEvent& event) override;
    virtual CColor colourOf(std::size_t) const { return accent(); }
    void doubleClicked(VSTGUI::MouseDownEvent& event) override { pressed(event); }
    CRect cell(std::size_t index) const;

    std::vector<Choice> choices;
};

// Which set of level controls is seen, each in its colour. Ctrl copies the seen one over the other.
class LevelSetRow final : public ChoiceRow {
  public:
    using ChoiceRow::ChoiceRow;

  private:
    CColor colourOf(std::size_t choice) const override;
    void ctrlPressed(VSTGUI::MouseDownEvent& event) override;
};

// A button that does something at once, and again and again while it is held if told so.
class ActionButton : public Control {
  public:
    enum class Look { Text, Up, Down, Left, Right, Plain };
    using Action = std::function<void(VSTGUI::Modifiers)>;
    ActionButton(const CRect& size, int32_t tag, Look look, std::string text, Action action);

    void setRepeating() { repeating = true; }
    void setEnabled(bool state);
    bool isEnabled() const { return enabled; }
    void setText(std::string newText);
    const std::string& text() const { return label; }
    void setLit(bool state);
    void setTextColour(CColor newColour);
    CColor textColour() const { return colour; }
    void setRightAction(std::function<void(CPoint)> what) { rightAction = std::move(what); }
    void idle();  // repeats

    bool takesKeys() const override { return enabled; }
    bool key(const VSTGUI::KeyboardEvent& event) override;
    void draw(VSTGUI::CDrawContext* context) override;
    void onMouseDownEvent(VSTGUI::MouseDownEvent& event) override;

  private:
    void released() override { down = false; }

    Look look;
    std::string label;
    Action action;
    std::function<void(CPoint)> rightAction;
    CColor colour = Theme::kText;
    VSTGUI::Modifiers modifiers;
    bool repeating = false;
    bool enabled = true;
    bool lit = false;
    bool down = false;
    uint32_t nextRepeat = 0;  // tick count
};

}  // namespace Quorvant
