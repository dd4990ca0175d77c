// The lit windows: delay time, notes and tempo.
#pragma once

#include "gui/Tempo.h"
#include "gui/controls/Knob.h"

namespace Quorvant {

// The large delay readout; with Ctrl held it tells the tempo.
class TimeReadout final : public ParameterControl {
  public:
    TimeReadout(const CRect& size, EditorContext& context);
    void idle();
    void draw(VSTGUI::CDrawContext* context) override;
    void onMouseMoveEvent(VSTGUI::MouseMoveEvent& event) override;
    void onMouseExitEvent(VSTGUI::MouseExitEvent& event) override;

  private:
    void ctrlPressed(VSTGUI::MouseDownEvent& event) override;
    void wheel(double steps, bool fine) override;
    void showTempo(bool shown);
    std::string figures() const;
    std::string stateText() const;
    CRect figuresRect() const;
    CRect lampRect() const;

    bool tempoShown = false;
    // As at the last idle call.
    std::string state;
    std::string number;
    bool active = false;
};

// The delay in milliseconds.
class TimeField final : public ParameterControl {
  public:
    using ParameterControl::ParameterControl;
    void draw(VSTGUI::CDrawContext* context) override;

  private:
    void wheel(double steps, bool fine) override;
};

// A note value. A click on the arrow opens the list, with Shift the extended one.
class NoteField final : public ParameterControl {
  public:
    using ParameterControl::ParameterControl;
    void idle();
    void draw(VSTGUI::CDrawContext* context) override;

  private:
    bool pressed(VSTGUI::MouseDownEvent& event) override;
    void doubleClicked(VSTGUI::MouseDownEvent& event) override;
    void wheel(double steps, bool fine) override;

    std::string drawn;
};

// The same as a knob, which opens the list at its value.
class NoteKnob final : public Knob {
  public:
    using Knob::Knob;
    void idle();

  private:
    std::string shownText() const override;
    bool pressed(VSTGUI::MouseDownEvent& event) override;
    void wheel(double steps, bool fine) override;

    std::string drawn;
};

// The tempo in force; it can be set while Manual Tempo is in force.
class TempoReadout final : public ParameterControl {
  public:
    TempoReadout(const CRect& size, EditorContext& context);
    void idle();
    void draw(VSTGUI::CDrawContext* context) override;

  private:
    bool manual() const;
    bool pressed(VSTGUI::MouseDownEvent& event) override;
    void ctrlPressed(VSTGUI::MouseDownEvent& event) override;
    void doubleClicked(VSTGUI::MouseDownEvent& event) override;
    void dragged(const VSTGUI::MouseMoveEvent& event) override;
    void wheel(double steps, bool fine) override;
    std::string figures() const;

    std::string drawn;
};

// One step of the delay time or of a note value, as the step buttons and wheels make it.
void stepDelayTime(EditorContext& context, double milliseconds);
void stepNote(EditorContext& context, uint32_t noteParameter, int direction, bool extended);

}  // namespace Quorvant
