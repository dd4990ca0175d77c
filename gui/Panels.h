// The front panel and the extensions panel, built from the table of controls.
#pragma once

#include "gui/ControlTable.h"
#include "gui/EditorContext.h"
#include "gui/Tempo.h"
#include "gui/controls/ParameterControl.h"
#include "gui/stage/StageView.h"

#include <vstgui/lib/cviewcontainer.h>

#include <functional>
#include <span>
#include <vector>

namespace Quorvant {

class Panel final : public VSTGUI::CViewContainer {
  public:
    // Groups and controls stand inside `size`.
    Panel(const CRect& size, EditorContext& editor, std::span<const Place> groups,
          std::span<const ControlSpec> controls);

    // The parameter, or one that its look hangs on, has changed.
    void parameterChanged(uint32_t index);
    void idle();
    void drawBackgroundRect(VSTGUI::CDrawContext* context, const CRect& rect) override;

  private:
    struct Part {
        const ControlSpec& spec;
        VSTGUI::CView* view;
        ParameterControl* control;  // null for what only shows or acts
    };

    CRect rectOf(const Place& place) const;
    VSTGUI::CView* make(const ControlSpec& spec);
    ParameterControl* makeControl(const ControlSpec& spec);
    bool holds(const When& when) const;
    // What another control stands for is away; what has no effect in the present mode stands back,
    // but can still be set.
    void showUse();

    EditorContext& owner;
    std::span<const Place> groups;
    std::vector<Part> parts;
    StageView* stage = nullptr;
    std::vector<std::function<void()>> idlers;
    TapTempo taps;
};

}  // namespace Quorvant
