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
    virtual std::string shownText() const;  // the value with its unit
    CRect valueRect() const;                // where it stands
    CPoint centre() const;
    double radius() const;  // of the track
    virtual void drawScale(VSTGUI::CDrawContext& context);

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

}  // namespace Quorvant
