// All views of an open editor, built and gone together.
#pragma once

#include "gui/HintDisplay.h"
#include "gui/KeyFocus.h"
#include "gui/LiveModel.h"
#include "gui/OverlayStack.h"
#include "gui/Panels.h"
#include "gui/PresetBar.h"
#include "gui/SideChainBar.h"
#include "gui/StatusLine.h"
#include "gui/ValueDisplay.h"

#include <functional>
#include <memory>
#include <optional>

namespace Quorvant {

// Main thread. Whoever looks from outside finds a whole scene or none: what views tell while they
// go meets nobody any more.
class Scene {
  public:
    // All outlive the scene. `dragTo` is told where the grip is dragged to.
    Scene(VSTGUI::CFrame& frame, const LiveModel& model, EditorContext& context,
          PresetActions& actions, std::function<void(CPoint)> dragTo);
    // Everything that is open is cancelled.
    ~Scene();
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    // In unzoomed pixels.
    static double height(bool withExtensions);

    bool hasExtensions() const { return extensions != nullptr; }
    CRect size() const { return root->getViewSize(); }
    CRect frontRect() const { return front->getViewSize(); }
    CRect belowBar() const;  // the panels' place
    PresetBar& bar() { return *presetBar; }
    OverlayStack& overlays() { return *stack; }
    HintDisplay& hints() { return *hintDisplay; }
    ValueDisplay& values() { return *valueDisplay; }
    KeyFocus& focus() { return *keyFocus; }

    void parameterChanged(uint32_t index, double value);
    // Lamps, meters and readouts follow.
    void idle();
    // Once the present event is done with, unless the scene is gone by then.
    void later(std::function<void()> action);
    // Lives as long as the scene.
    std::weak_ptr<int> lifetime() const { return life; }

  private:
    VSTGUI::CFrame& frame;
    std::shared_ptr<int> life = std::make_shared<int>(0);
    VSTGUI::SharedPointer<VSTGUI::CViewContainer> root;
    // Children of the root, as long as it has any.
    PresetBar* presetBar;
    Panel* front;
    Panel* extensions = nullptr;
    StatusLine* status;
    std::optional<QVXSideChainBar> sideChain;
    std::optional<HintDisplay> hintDisplay;
    std::optional<ValueDisplay> valueDisplay;
    std::optional<KeyFocus> keyFocus;
    std::optional<OverlayStack> stack;
};

}  // namespace Quorvant
