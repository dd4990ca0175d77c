#include "gui/controls/Knob.h"

#include "gui/controls/Readouts.h"
#include "params/ParameterIndex.h"
#include "params/ParameterLaws.h"

#include <vstgui/lib/cgradient.h>

#include <cmath>
#include <numbers>

namespace Quorvant {
namespace {

constexpr double kLabelHeight = 15.0;
constexpr double kValueHeight = 16.0;
constexpr double kRadius = 36.0;
constexpr double kSweep = 135.0;  // degrees to either side of twelve o'clock

}  // namespace

Knob::Knob(const CRect& size, EditorContext& editorOf, uint32_t index, std::string text,
           double start)
    : ParameterControl(size, editorOf, index), label(std::move(text)), origin(start) {}

CPoint Knob::centre() const {
    const CRect& size = getViewSize();
    return {size.getCenter().x, size.top + kLabelHeight + kRadius};
}

double Knob::radius() const {
    return std::min(kRadius, getWidth() / 2.0);
}

CRect Knob::textRect() const {
    const CRect& size = getViewSize();
    return CRect(size.left, size.bottom - kValueHeight, size.right, size.bottom);
}

std::string Knob::shownText() const {
    return unitText().empty() ? valueText() : valueText() + ' ' + unitText();
}

void Knob::draw(VSTGUI::CDrawContext* context) {
    const CRect& size = getViewSize();
    const bool lit = hovered();
    drawText(*context, label, CRect(size.left, size.top, size.right, size.top + kLabelHeight),
             Theme::Face::LabelBold, lit ? Theme::kText : Theme::kTextDim);

    const CPoint middle = centre();
    drawScale(*context);
    const double travel = travelFromValue(parameter(), modelValue());
    const double angle = -kSweep + travel * 2.0 * kSweep;
    const double start = -kSweep + origin * 2.0 * kSweep;
    const double track = radius() - 3.0;
    strokePath(*context, *arcPath(*context, middle, track, -kSweep, kSweep), Theme::kTrack, 5.0);
    if (std::fabs(angle - start) > 0.5) {
        strokePath(*context, *arcPath(*context, middle, track, start, angle),
                   lit ? mix(accent(), CColor(255, 255, 255, 255), 0.25) : accent(), 4.0);
    }
    if (origin > 0.0) {
        line(*context, onCircle(middle, track - 3.0, start), onCircle(middle, track + 3.0, start),
             Theme::kTextDim, 2.0);
    }

    const double dial = radius() - 9.0;
    const double top = middle.y - dial, bottom = middle.y + dial;
    fillPath(*context, *circlePath(*context, CPoint(middle.x, middle.y + 2.0), dial + 1.0),
             Theme::kShadow);
    fillPath(*context, *circlePath(*context, middle, dial), Theme::kDialEdge);
    fillGradient(*context, *circlePath(*context, middle, dial - 1.0), Theme::kDialTop,
                 Theme::kDialBottom, top, bottom);
    fillGradient(*context, *circlePath(*context, middle, dial - 3.0),
                 mix(Theme::kDialBottom, Theme::kDialTop, 0.45),
                 mix(Theme::kDialBottom, Theme::kDialTop, 0.1), top, bottom);
    line(*context, onCircle(middle, dial * 0.45, angle), onCircle(middle, dial - 3.0, angle),
         Theme::kText, 3.0);

    drawText(*context, shownText(), textRect(), Theme::Face::Value,
             lit ? accent() : Theme::kText);
    setDirty(false);
}

void CutKnob::engage() {
    if (!switchState(editor().model().value(kHighCut))) editor().setParameter(kHighCut, 1.0);
}

void CutKnob::dragged(const VSTGUI::MouseMoveEvent& event) {
    Knob::dragged(event);
    engage();
}

void CutKnob::wheel(double steps, bool fine) {
    Knob::wheel(steps, fine);
    engage();
}

std::string NoteKnob::shownText() const {
    return noteText(editor().model(), parameter());
}

bool NoteKnob::pressed(VSTGUI::MouseDownEvent& event) {
    if (!textRect().pointInside(event.mousePosition)) return true;
    openNoteList(editor(), parameter(), event.modifiers.has(VSTGUI::ModifierKey::Shift),
                 translateToGlobal(textRect(), true));
    return false;
}

void NoteKnob::wheel(double steps, bool fine) {
    stepNote(editor(), parameter(), steps > 0.0 ? 1 : -1, fine);
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
}

}  // namespace Quorvant
