// The strip along the editor's bottom: where the side-chain signal comes from, its level, and
// whether it is being monitored.
#pragma once

#include "gui/controls/Buttons.h"
#include "gui/controls/Meters.h"
#include "gui/controls/ParameterControl.h"

#include <vstgui/lib/cviewcontainer.h>

namespace Quorvant {

// A click makes the source fully internal or fully external.
class SideChainBarLabelButton final : public ActionButton {
  public:
    SideChainBarLabelButton(const CRect& size, int32_t tagId, std::string words, Action what)
        : ActionButton(size, tagId, Look::Plain, std::move(words), std::move(what)) {}
};

class SideChainBarMonitorButton final : public KickButton {
  public:
    using KickButton::KickButton;
    void draw(VSTGUI::CDrawContext* context) override;
};

class QVXHorizontalSlider final : public ParameterControl {
  public:
    using ParameterControl::ParameterControl;
    void draw(VSTGUI::CDrawContext* context) override;

  private:
    double handleTravel() const;  // pixels
    void dragged(const VSTGUI::MouseMoveEvent& event) override;
    void wheel(double steps, bool fine) override;
};

class QVXSideChainMeter final : public Meter {
  public:
    QVXSideChainMeter(const CRect& size, int32_t tag, const EditorModel& model);
    void setOn(bool state);
    bool isOn() const { return on; }
    void draw(VSTGUI::CDrawContext* context) override;

  private:
    bool on = false;
};

// Builds its views into `editorView`, whose children they stay. Main thread.
class QVXSideChainBar {
  public:
    QVXSideChainBar(EditorContext& context, VSTGUI::CViewContainer& editorView, double width,
                    double top);
    ~QVXSideChainBar();
    QVXSideChainBar(const QVXSideChainBar&) = delete;
    QVXSideChainBar& operator=(const QVXSideChainBar&) = delete;

    // Parameters 36 and 37; others are ignored.
    void parameterChanged(uint32_t index, double value);
    void idle();

  private:
    void setMonitoring(bool state);

    VSTGUI::CViewContainer& parent;
    // Owned, since it is in the view tree only while it is shown.
    VSTGUI::SharedPointer<VSTGUI::CViewContainer> layer;
    SideChainBarLabelButton* internal;
    SideChainBarLabelButton* external;
    QVXHorizontalSlider* slider;
    SideChainBarMonitorButton* monitor;
    QVXSideChainMeter* meters[2];
    bool layerShown = false;
};

}  // namespace Quorvant
