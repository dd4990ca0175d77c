// A knob with its label above and its value below.
#pragma once

#include "gui/controls/ParameterControl.h"

namespace Quorvant {

class Knob : public ParameterControl {
  public:
    // The value's arc begins at `origin` of the travel: 0 for amounts, 0.5 for what goes both ways.
    Knob(const CRect& size, EditorContext& editorOf, uint32_t index, std::string text,
         double origin = 0.0);
    void draw(VSTGUI::CDrawContext* context) override;

  protected:
    CPoint centre() const;
    double radius() const;  // of the track
    virtual void drawScale(VSTGUI::CDrawContext&) {}
    virtual std::string shownText() const;
    CRect textRect() const;  // of the value

  private:
    std::string label;
    double origin;
};

// The knob of the modulation's shape, with the shapes drawn at their places.
class WaveKnob final : public Knob {
  public:
    WaveKnob(const CRect& size, EditorContext& editorOf, uint32_t index, std::string text)
        : Knob(size, editorOf, index, std::move(text), 0.5) {}

  private:
    void drawScale(VSTGUI::CDrawContext& context) override;
};

// The knob of the filter's corner: turning it lets the filter in.
class CutKnob final : public Knob {
  public:
    using Knob::Knob;

  private:
    void dragged(const VSTGUI::MouseMoveEvent& event) override;
    void wheel(double steps, bool fine) override;
    void engage();
};

// A knob of notes. A click on the note opens the list, with Shift the extended one.
class NoteKnob final : public Knob {
  public:
    using Knob::Knob;

  private:
    bool pressed(VSTGUI::MouseDownEvent& event) override;
    void wheel(double steps, bool fine) override;
    std::string shownText() const override;
};

}  // namespace Quorvant
