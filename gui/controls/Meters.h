// What only shows: texts, lamps, the headroom bar, the gain reduction.
#pragma once

#include "gui/EditorContext.h"
#include "gui/controls/Control.h"

#include <functional>
#include <string>

namespace Quorvant {

class QVXTextLabel final : public Control {
  public:
    // `plate` lies behind the text.
    QVXTextLabel(const CRect& size, int32_t tag, std::string text, Theme::Face face, CColor colour,
                 Align align, CColor plate = VSTGUI::kTransparentCColor);
    void draw(VSTGUI::CDrawContext* context) override;

  private:
    std::string text;
    Theme::Face face;
    CColor colour;
    Align align;
    CColor plate;
};

// Shows a level that `source` gives at every idle call; draws only when its picture changes.
class Meter : public Control {
  public:
    // Steps: how many different pictures there are besides the dark one.
    Meter(const CRect& size, int32_t tag, int steps, std::function<double()> source);
    void idle();

  protected:
    double level() const { return static_cast<double>(step) / steps; }  // 0 ... 1
    // What a change of the level changes.
    virtual CRect livelyRect() const { return getViewSize(); }

  private:
    std::function<double()> source;
    int steps;
    int step = 0;
};

class Lamp final : public Meter {
  public:
    Lamp(const CRect& size, int32_t tag, CColor colour, std::string label,
         std::function<double()> source);
    void draw(VSTGUI::CDrawContext* context) override;

  private:
    CRect livelyRect() const override;

    CColor colour;
    std::string label;
};

// Eight LEDs from -30 dB to the ceiling, which is red. Rises at once, falls slowly.
class HeadroomBar final : public Meter {
  public:
    HeadroomBar(const CRect& size, int32_t tag, const EditorModel& model);
    void draw(VSTGUI::CDrawContext* context) override;

  private:
    CRect livelyRect() const override;
};

class ReductionBar final : public Meter {
  public:
    ReductionBar(const CRect& size, const EditorModel& model);
    void draw(VSTGUI::CDrawContext* context) override;
};

}  // namespace Quorvant
