#include "gui/SideChainBar.h"

#include "dsp/OutputIndex.h"
#include "gui/Hints.h"
#include "params/ParameterIndex.h"
#include "params/ParameterLaws.h"

#include <algorithm>
#include <cmath>

namespace Quorvant {
namespace {

constexpr double kHandleWidth = 12.0;
constexpr double kStep = 0.05;
constexpr double kFineStep = 0.02;
constexpr CColor kDefaultTextColour{180, 180, 180, 255};
constexpr double kLayerTextHeight = 14.0;

CColor grey(double share) {
    const auto level = static_cast<uint8_t>(share * 120.0 + 120.0);
    return CColor(level, level, level, 255);
}

std::string percentText(const char* name, double share) {
    return std::string(name) + ' ' + std::to_string(static_cast<int>(share * 100.0 + 0.5)) + '%';
}

}  // namespace

void SideChainBarMonitorButton::draw(VSTGUI::CDrawContext* context) {
    const bool on = switchState(modelValue());
    const CRect& size = getViewSize();
    if (on) fillRound(*context, size, 2.0, withAlpha(Theme::kMonitorLayer, 1.0));
    drawText(*context, text(), size, Theme::Face::LabelBold,
             on          ? Theme::kMonitorText
             : hovered() ? Theme::kText
                         : kDefaultTextColour);
    setDirty(false);
}

double QVXHorizontalSlider::handleTravel() const {
    return std::fabs(getWidth() - kHandleWidth);
}

void QVXHorizontalSlider::dragged(const VSTGUI::MouseMoveEvent& event) {
    const double scale = event.modifiers.has(VSTGUI::ModifierKey::Shift) ? 0.1 : 1.0;
    moveBy((event.mousePosition.x - lastPoint.x) / handleTravel() * scale);
}

void QVXHorizontalSlider::wheel(double steps, bool fine) {
    change(modelValue() + (steps > 0.0 ? 1.0 : -1.0) * (fine ? kFineStep : kStep));
}

void QVXHorizontalSlider::draw(VSTGUI::CDrawContext* context) {
    const CRect& size = getViewSize();
    const double y = size.getCenter().y;
    fillRound(*context, CRect(size.left, y - 2.0, size.right, y + 2.0), 2.0, Theme::kGlass);
    const double left = size.left + handleTravel() * modelValue();
    const CRect handle(left, y - 6.0, left + kHandleWidth, y + 6.0);
    fillRound(*context, handle, 2.5, Theme::kButtonEdge);
    CRect cap = handle;
    cap.inset(1.0, 1.0);
    fillRoundGradient(*context, cap, 2.0, Theme::kDialTop, Theme::kButtonBottom);
    line(*context, CPoint(left + kHandleWidth / 2.0, y - 3.5),
         CPoint(left + kHandleWidth / 2.0, y + 3.5), hovered() ? Theme::kText : Theme::kAccent,
         1.6);
    setDirty(false);
}

QVXSideChainMeter::QVXSideChainMeter(const CRect& size, int32_t tagId, const EditorModel& model)
    : Meter(size, tagId, 50, [&model, tagId, peak = 0.0]() mutable {
          peak = std::max(model.reading(static_cast<uint32_t>(tagId)), peak * 0.85);
          return 1.0 + std::log10(std::max(peak, 1e-6)) * 20.0 / 48.0;  // -48 dB ... 0 dB
      }) {}

void QVXSideChainMeter::setOn(bool state) {
    on = state;
    invalid();
}

void QVXSideChainMeter::draw(VSTGUI::CDrawContext* context) {
    const CRect& size = getViewSize();
    context->setFillColor(Theme::kGlass);
    context->drawRect(size, VSTGUI::kDrawFilled);
    CRect bar = size;
    bar.inset(0.0, 0.25);
    bar.right = bar.left + bar.getWidth() * level();
    context->setFillColor(on ? Theme::kAccent : Theme::kGreen);
    context->drawRect(bar, VSTGUI::kDrawFilled);
    setDirty(false);
}

QVXSideChainBar::QVXSideChainBar(EditorContext& context, VSTGUI::CViewContainer& editorView,
                                 double width, double top)
    : parent(editorView) {
    auto* bar = new VSTGUI::CViewContainer(CRect(0.0, top, width, top + Theme::kStripHeight));
    bar->setBackgroundColor(Theme::kStrip);
    const auto add = [bar](auto* view, const char* hint) {
        if (hint) view->setTooltipText(hint);
        bar->addView(view);
        return view;
    };
    const auto tag = [](uint32_t id) { return static_cast<int32_t>(id); };
    add(new QVXTextLabel(CRect(6, 2, 96, 16), tag(kEmptySlot), "SIDE CHAIN INPUT",
                         Theme::Face::LabelBold, Theme::kStripTitle, Align::Left),
        "Set up the side chain input source");
    internal = add(new SideChainBarLabelButton(
                       CRect(120, 2, 204, 16), tag(kInternalButtonId), "INTERNAL",
                       [&context](auto) { context.setParameter(kSideChainIntExt, 0.0); }),
                   "Click to set a fully internal side chain");
    slider =
        add(new QVXHorizontalSlider(CRect(205, 1, 281, 19), context, kSideChainIntExt), nullptr);
    slider->setTooltipText(nullptr);
    external = add(new SideChainBarLabelButton(
                       CRect(284, 2, 368, 16), tag(kExternalButtonId), "EXTERNAL",
                       [&context](auto) { context.setParameter(kSideChainIntExt, 1.0); }),
                   "Click to set a fully external side chain input");
    monitor = add(new SideChainBarMonitorButton(CRect(392, 2, 446, 16), context, kSideChainMonitor,
                                                "MONITOR"),
                  "Click to turn the side chain MONITOR mode on");
    for (int i = 0; i < 2; ++i) {
        const double y = 7.0 + 2.0 * i;
        meters[i] =
            add(new QVXSideChainMeter(CRect(464, y, 489, y + 2.0),
                                      tag(i == 0 ? kOutSideChainPeakLeft : kOutSideChainPeakRight),
                                      context.model()),
                "The side chain level meter");
    }
    for (auto* button : {internal, external}) button->setTextColour(kDefaultTextColour);
    parent.addView(bar);

    layer = VSTGUI::makeOwned<VSTGUI::CViewContainer>(CRect(0.0, 0.0, width, top));
    layer->setBackgroundColor(Theme::kMonitorLayer);
    layer->setMouseEnabled(false);  // a warning, not a lock
    const double textTop = (top - kLayerTextHeight) * 0.5;
    layer->addView(new QVXTextLabel(
        CRect(0.0, textTop, width, textTop + kLayerTextHeight), tag(kSideChainMonitor),
        "THE SIDE CHAIN INPUT IS BEING MONITORED", Theme::Face::LabelBold, Theme::kMonitorText,
        Align::Centre, withAlpha(Theme::kMonitorLayer, 1.0)));

    for (const uint32_t index : {kSideChainIntExt, kSideChainMonitor}) {
        parameterChanged(index, context.model().value(index));
    }
}

QVXSideChainBar::~QVXSideChainBar() {
    setMonitoring(false);
}

void QVXSideChainBar::parameterChanged(uint32_t index, double value) {
    if (index == kSideChainIntExt) {
        slider->refresh();
        internal->setText(percentText("INTERNAL", 1.0 - value));
        internal->setTextColour(grey(1.0 - value));
        external->setText(percentText("EXTERNAL", value));
        external->setTextColour(grey(value));
    } else if (index == kSideChainMonitor) {
        monitor->refresh();
        setMonitoring(switchState(value));
    }
}

void QVXSideChainBar::setMonitoring(bool state) {
    if (state != layerShown) {
        if (state) {
            layer->remember();  // the parent's own reference, which it gives up on removal
            parent.addView(layer);
        } else {
            parent.removeView(layer);
        }
        layerShown = state;
    }
    for (auto* meter : meters) meter->setOn(state);
}

void QVXSideChainBar::idle() {
    for (auto* meter : meters) meter->idle();
}

}  // namespace Quorvant
