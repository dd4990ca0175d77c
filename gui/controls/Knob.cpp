#include "gui/controls/Knob.h"

#include <vstgui/lib/cgradient.h>

#include <cmath>
#include <numbers>

namespace Quorvant {
namespace {

constexpr double kTextHeight = 14.0;
constexpr double kSweep = 135.0;  // degrees to either side of twelve o'clock

}  // namespace

Knob::Knob(const CRect& size, EditorContext& editorOf, uint32_t index, std::string text,
           double start)
    : ParameterControl(size, editorOf, index), label(std::move(text)), origin(start) {}

std::string Knob::shownText() const {
    return unitText().empty() ? valueText() : valueText() + ' ' + unitText();
}

CRect Knob::valueRect() const {
    const CRect& size = getViewSize();
    return CRect(size.left, size.bottom - kTextHeight, size.right, size.bottom);
}

CPoint Knob::centre() const {
    const CRect& size = getViewSize();
    return {size.getCenter().x,
            size.top + kTextHeight + (getHeight() - 2.0 * kTextHeight) / 2.0 + 1.5};
}

double Knob::radius() const {
    return std::min(getWidth(), getHeight() - 2.0 * kTextHeight) / 2.0 - 2.0;
}

void Knob::drawScale(VSTGUI::CDrawContext& context) {
    for (int i = 0; i <= 10; ++i) {
        const double angle = -kSweep + i * 2.0 * kSweep / 10.0;
        line(context, onCircle(centre(), radius() + 0.5, angle),
             onCircle(centre(), radius() + (i % 5 == 0 ? 3.0 : 1.8), angle), Theme::kTextFaint,
             1.0);
    }
}

void Knob::draw(VSTGUI::CDrawContext* context) {
    const CRect& size = getViewSize();
    const bool lit = hovered();
    drawText(*context, label, CRect(size.left, size.top, size.right, size.top + kTextHeight),
             Theme::Face::Label, lit ? Theme::kText : Theme::kTextDim);

    const CPoint middle = centre();
    const double outer = radius();
    drawScale(*context);
    const double travel = travelFromValue(parameter(), modelValue());
    const double angle = -kSweep + travel * 2.0 * kSweep;
    const double start = -kSweep + origin * 2.0 * kSweep;
    const double track = outer - 2.5;
    strokePath(*context, *arcPath(*context, middle, track, -kSweep, kSweep), Theme::kTrack, 3.5);
    if (std::fabs(angle - start) > 0.5) {
        strokePath(*context, *arcPath(*context, middle, track, start, angle),
                   lit ? mix(accent(), CColor(255, 255, 255, 255), 0.25) : accent(), 3.0);
    }

    const double dial = outer - 6.0;
    fillPath(*context, *circlePath(*context, CPoint(middle.x, middle.y + 2.0), dial + 0.5),
             Theme::kShadow);
    fillPath(*context, *circlePath(*context, middle, dial), Theme::kDialEdge);
    const double top = middle.y - dial, bottom = middle.y + dial;
    fillGradient(*context, *circlePath(*context, middle, dial - 1.0), Theme::kDialTop,
                 Theme::kDialBottom, top, bottom);
    fillGradient(*context, *circlePath(*context, middle, dial * 0.76),
                 mix(Theme::kDialBottom, Theme::kDialTop, 0.15),
                 mix(Theme::kDialBottom, Theme::kDialTop, 0.6), top, bottom);
    line(*context, onCircle(middle, dial * 0.42, angle), onCircle(middle, dial - 1.5, angle),
         Theme::kText, 2.4);

    drawText(*context, shownText(), valueRect(), Theme::Face::Value, lit ? accent() : Theme::kText);
    setDirty(false);
}

void WaveKnob::drawScale(VSTGUI::CDrawContext& context) {
    const double away = radius() + 11.0;
    const CPoint middle = centre();
    const CPoint sine = onCircle(middle, away, -118.0);
    const CPoint square = onCircle(middle, away, 118.0);
    Path wave = VSTGUI::owned(context.createGraphicsPath());
    wave->beginSubpath(CPoint(sine.x - 6.0, sine.y));
    wave->addBezierCurve(sine.x - 3.0, sine.y - 9.0, sine.x - 1.5, sine.y - 3.0, sine.x, sine.y);
    wave->addBezierCurve(sine.x + 1.5, sine.y + 3.0, sine.x + 3.0, sine.y + 9.0, sine.x + 6.0,
                         sine.y);
    strokePath(context, *wave, Theme::kTextDim, 1.4);
    Path box = VSTGUI::owned(context.createGraphicsPath());
    box->beginSubpath(CPoint(square.x - 6.0, square.y + 3.5));
    for (const CPoint& point :
         {CPoint(square.x - 6.0, square.y - 3.5), CPoint(square.x, square.y - 3.5),
          CPoint(square.x, square.y + 3.5), CPoint(square.x + 6.0, square.y + 3.5),
          CPoint(square.x + 6.0, square.y - 3.5)}) {
        box->addLine(point);
    }
    strokePath(context, *box, Theme::kTextDim, 1.4);
    line(context, onCircle(middle, radius() + 0.5, 0.0), onCircle(middle, radius() + 3.0, 0.0),
         Theme::kTextFaint);
}

}  // namespace Quorvant
