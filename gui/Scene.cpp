#include "gui/Scene.h"

#include "params/ParameterIndex.h"
#include "params/ParameterLaws.h"

#include <vstgui/lib/cframe.h>

namespace Quorvant {
namespace {

constexpr double kFrontBottom = Theme::kBarHeight + Theme::kFrontHeight;

double stripTop(bool withExtensions) {
    return kFrontBottom + (withExtensions ? Theme::kExtensionsHeight : 0.0);
}

// Holds all views. Where several rectangles are drawn in one go, VSTGUI's Windows side leaves each
// one's clip in force while it clears the next; a last stroke of nothing leaves a clip that
// contains them all.
class Root final : public VSTGUI::CViewContainer {
  public:
    explicit Root(const CRect& size) : CViewContainer(size) { setTransparency(true); }
    void drawRect(VSTGUI::CDrawContext* context, const CRect& update) override {
        CViewContainer::drawRect(context, update);
        context->setClipRect(getViewSize());
        context->setFillColor(VSTGUI::kTransparentCColor);
        context->drawRect(CRect(0.0, 0.0, 1.0, 1.0), VSTGUI::kDrawFilled);
    }
};

}  // namespace

double Scene::height(bool withExtensions) {
    return stripTop(withExtensions) + Theme::kStripHeight;
}

Scene::Scene(VSTGUI::CFrame& window, const LiveModel& model, EditorContext& context,
             PresetActions& actions, std::function<void(CPoint)> dragTo)
    : frame(window) {
    const bool extended = switchState(model.value(kShowHideExtensions));
    const double top = stripTop(extended);
    const double bottom = height(extended);
    root = VSTGUI::makeOwned<Root>(CRect(0.0, 0.0, Theme::kWidth, bottom));
    presetBar = new PresetBar(CRect(0.0, 0.0, Theme::kWidth, Theme::kBarHeight), context, actions);
    root->addView(presetBar);
    front = new Panel(CRect(0.0, Theme::kBarHeight, Theme::kWidth, kFrontBottom), context,
                      kFrontGroups, kFrontControls);
    root->addView(front);
    if (extended) {
        extensions = new Panel(CRect(0.0, kFrontBottom, Theme::kWidth, top), context,
                               kExtensionGroups, kExtensionControls);
        root->addView(extensions);
    }
    root->remember();  // the frame's own reference
    frame.addView(root);
    sideChain.emplace(context, *root, Theme::kWidth, top);
    status = new StatusLine(CRect(510.0, top + 1.0, 974.0, bottom - 1.0), model);
    root->addView(status);
    root->addView(new Grip(CRect(980.0, bottom - 18.0, 1000.0, bottom), std::move(dragTo)));
    hintDisplay.emplace(*root);
    valueDisplay.emplace(*root);
    keyFocus.emplace(*root);
    stack.emplace(frame, *root);
    root->invalid();
}

Scene::~Scene() {
    life.reset();
    hintDisplay->forget();
    valueDisplay.reset();
    keyFocus.reset();
    stack.reset();
    sideChain.reset();
    frame.removeView(root);
}

CRect Scene::belowBar() const {
    return CRect(0.0, Theme::kBarHeight, Theme::kWidth, stripTop(hasExtensions()));
}

void Scene::parameterChanged(uint32_t index, double value) {
    front->parameterChanged(index);
    if (extensions) extensions->parameterChanged(index);
    sideChain->parameterChanged(index, value);
    presetBar->refresh();
}

void Scene::idle() {
    front->idle();
    if (extensions) extensions->idle();
    sideChain->idle();
    status->idle();
    keyFocus->idle();
}

void Scene::later(std::function<void()> action) {
    const auto ifThere = [alive = lifetime(), action = std::move(action)] {
        if (!alive.expired()) action();
    };
    if (!frame.inEventProcessing() || !frame.doAfterEventProcessing(ifThere)) ifThere();
}

}  // namespace Quorvant
