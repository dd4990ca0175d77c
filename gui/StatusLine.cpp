#include "gui/StatusLine.h"

#include "dsp/OutputIndex.h"
#include "params/ParameterText.h"

#include <cmath>

namespace Quorvant {

StatusLine::StatusLine(const CRect& size, const LiveModel& source) : Control(size), model(source) {
    setMouseEnabled(false);
}

std::string StatusLine::text() const {
    const double rate = model.reading(kOutSampleRate) * 1000.0;  // kHz
    if (model.suspended()) return "SUSPENDED BY THE HOST";
    if (rate < 1.0) return "not processing yet";
    if (!model.running()) return "not processing";
    const bool whole = std::fabs(rate - std::round(rate)) < 0.05;
    const bool connected = model.reading(kOutSideChainConnected) > 0.5;
    return std::string(connected ? "side chain connected" : "no side chain") + "    " +
           fixedText(rate, whole ? 0 : 1) + " kHz";
}

void StatusLine::idle() {
    if (text() != drawn) invalid();
}

void StatusLine::draw(VSTGUI::CDrawContext* context) {
    drawn = text();
    drawText(*context, drawn, getViewSize(), Theme::Face::Small,
             model.suspended() ? Theme::kAccent : Theme::kTextFaint, Align::Right);
    setDirty(false);
}

void Grip::draw(VSTGUI::CDrawContext* context) {
    const CRect& size = getViewSize();
    for (const double away : {4.0, 8.0, 12.0}) {
        line(*context, CPoint(size.right - away, size.bottom - 2.0),
             CPoint(size.right - 2.0, size.bottom - away), Theme::kTextFaint, 1.2);
    }
    setDirty(false);
}

void Grip::onMouseDownEvent(VSTGUI::MouseDownEvent& event) {
    down = event.buttonState.isLeft();
    event.consumed = down;
}

void Grip::onMouseMoveEvent(VSTGUI::MouseMoveEvent& event) {
    if (!down) return;
    dragged(event.mousePosition);
    event.consumed = true;
}

}  // namespace Quorvant
