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
    Panel(const CRect& size, EditorContext& editor, std::span<const GroupSpec> groups,
          std::span<const ControlSpec> controls);

    // The parameter, or one that its look hangs on, has changed.
    void parameterChanged(uint32_t index);
    void idle();
    void drawBackgroundRect(VSTGUI::CDrawContext* context, const CRect& rect) override;

  private:
    void add(const ControlSpec& spec);
    void followConditions();

    EditorContext& owner;
    std::span<const GroupSpec> groups;
    std::span<const ControlSpec> specs;
    std::vector<VSTGUI::CView*> views;  // as in the table
    std::vector<ParameterControl*> parameterControls;
    StageView* stage = nullptr;
    std::vector<std::function<void()>> idlers;
    TapTempo taps;
};

}  // namespace Quorvant
