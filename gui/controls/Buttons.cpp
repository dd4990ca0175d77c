#include "gui/controls/Buttons.h"

#include "dsp/OutputIndex.h"
#include "params/GlobalSet.h"
#include "params/ParameterLaws.h"
#include "params/ParameterTable.h"
#include "platform/TickCount.h"

#include <algorithm>
#include <array>

namespace Quorvant {
namespace {

constexpr uint32_t kRepeatDelay = 400;  // ms
constexpr uint32_t kRepeatPeriod = 60;

void drawCap(VSTGUI::CDrawContext& context, const CRect& rect, bool hovered, bool down) {
    fillRound(context, CRect(rect.left, rect.top + 1.0, rect.right, rect.bottom + 1.5), 3.5,
              Theme::kShadow);
    fillRound(context, rect, 3.5, Theme::kButtonEdge);
    CRect cap = rect;
    cap.inset(1.0, 1.0);
    fillRoundGradient(context, cap, 2.5, down ? Theme::kButtonBottom : Theme::kButtonTop,
                      Theme::kButtonBottom);
    if (hovered) fillRound(context, cap, 2.5, Theme::kHover);
}

void drawGlyph(VSTGUI::CDrawContext& context, Glyph glyph, CPoint c, CColor colour) {
    const auto arrow = [&](double x, double y, double direction) {
        line(context, CPoint(x - 7.0 * direction, y), CPoint(x + 4.0 * direction, y), colour, 1.5);
        polygon(context,
                {CPoint(x + 8.0 * direction, y), CPoint(x + 2.5 * direction, y - 3.5),
                 CPoint(x + 2.5 * direction, y + 3.5)},
                colour);
    };
    switch (glyph) {
        case Glyph::None:
            break;
        case Glyph::Forward:
            arrow(c.x, c.y, 1.0);
            break;
        case Glyph::Backward:
            arrow(c.x, c.y, -1.0);
            break;
        case Glyph::Reverse: {
            // Each segment is played from its end: an arrow back from a bar.
            arrow(c.x - 1.0, c.y, -1.0);
            line(context, CPoint(c.x + 8.5, c.y - 4.0), CPoint(c.x + 8.5, c.y + 4.0), colour, 1.5);
            break;
        }
        case Glyph::Bounce:
            arrow(c.x, c.y - 3.5, -1.0);
            arrow(c.x, c.y + 3.5, 1.0);
            break;
    }
}

// Its tip lies at `to` from the centre.
void arrowHead(VSTGUI::CDrawContext& context, CPoint centre, CPoint to, CColor colour) {
    const CPoint base(centre.x - to.x * 0.8, centre.y - to.y * 0.8);
    const CPoint side(to.y * 1.2, to.x * 1.2);
    polygon(context, {centre + to, base + side, base - side}, colour);
}

}  // namespace

bool KickButton::pressed(VSTGUI::MouseDownEvent&) {
    change(switchState(modelValue()) ? 0.0 : 1.0);
    return false;
}

double KickButton::light() const {
    return switchState(modelValue()) ? 1.0 : 0.0;
}

void KickButton::draw(VSTGUI::CDrawContext* context) {
    const CRect& size = getViewSize();
    CRect body(size.left + 1.0, size.top, size.right - 1.0, size.bottom - 2.0);
    drawCap(*context, body, hovered(), false);
    const double level = light();
    const CRect window(body.left + 6.0, body.top + 5.0, body.right - 6.0, body.top + 9.0);
    if (level > 0.0) {
        fillRound(
            *context,
            CRect(window.left - 3.0, window.top - 3.0, window.right + 3.0, window.bottom + 3.0),
            4.0, withAlpha(lightColour(), 0.25 * level));
    }
    fillRound(*context, window, 2.0,
              mix(mix(lightColour(), CColor(18, 18, 20, 255), 0.84), lightColour(), level));
    drawText(*context, label,
             CRect(body.left + 3.0, window.bottom + 1.0, body.right - 3.0, body.bottom),
             Theme::Face::LabelBold, level > 0.0 ? Theme::kText : Theme::kTextDim);
    setDirty(false);
}

double LoopButton::light() const {
    if (!switchState(modelValue())) return 0.0;
    return engaged ? 1.0 : 0.45;
}

void LoopButton::idle() {
    const bool now = editor().model().reading(kOutInfRepeatLamp) > 0.5;
    if (now == engaged) return;
    engaged = now;
    invalid();
}

void PowerButton::draw(VSTGUI::CDrawContext* context) {
    const CPoint middle = getViewSize().getCenter();
    const double radius = std::min(getWidth(), getHeight()) / 2.0 - 2.0;
    const double level = light();
    fillPath(*context, *circlePath(*context, CPoint(middle.x, middle.y + 1.5), radius + 0.5),
             Theme::kShadow);
    fillPath(*context, *circlePath(*context, middle, radius), Theme::kButtonEdge);
    fillPath(*context, *circlePath(*context, middle, radius - 1.0),
             hovered() ? mix(Theme::kButtonTop, CColor(255, 255, 255, 255), 0.08)
                       : Theme::kButtonBottom);
    const CColor colour = mix(Theme::kTextFaint, Theme::kAccent, level);
    if (level > 0.0) {
        fillPath(*context, *circlePath(*context, middle, radius - 1.0), withAlpha(colour, 0.12));
    }
    strokePath(*context, *arcPath(*context, middle, radius * 0.48, 35.0, 325.0), colour, 2.0);
    line(*context, CPoint(middle.x, middle.y - radius * 0.62), CPoint(middle.x, middle.y - 1.0),
         colour, 2.0);
    setDirty(false);
}

ChoiceRow::ChoiceRow(const CRect& size, EditorContext& context, uint32_t parameter,
                     std::vector<Choice> list)
    : ParameterControl(size, context, parameter), choices(std::move(list)) {}

// One below the other where they would be too narrow side by side.
CRect ChoiceRow::cell(std::size_t index) const {
    const auto count = static_cast<double>(choices.size());
    CRect rect = getViewSize();
    rect.inset(1.0, 1.0);
    const double width = rect.getWidth() / count;
    const double height = rect.getHeight() / count;
    const auto place = static_cast<double>(index);
    if (width < rect.getHeight()) {
        return CRect(rect.left, rect.top + height * place, rect.right,
                     rect.top + height * (place + 1.0));
    }
    return CRect(rect.left + width * place, rect.top, rect.left + width * (place + 1.0),
                 rect.bottom);
}

bool ChoiceRow::pressed(VSTGUI::MouseDownEvent& event) {
    for (std::size_t i = 0; i < choices.size(); ++i) {
        if (!cell(i).pointInside(event.mousePosition)) continue;
        change(listValue(static_cast<int>(i), static_cast<int>(choices.size())));
    }
    return false;
}

void ChoiceRow::draw(VSTGUI::CDrawContext* context) {
    const CRect& size = getViewSize();
    fillRound(*context, size, 4.0, Theme::kButtonEdge);
    const auto chosen =
        static_cast<std::size_t>(listState(modelValue(), static_cast<int>(choices.size())));
    for (std::size_t i = 0; i < choices.size(); ++i) {
        CRect rect = cell(i);
        rect.inset(0.75, 0.75);
        const bool on = i == chosen;
        const CColor colour = colourOf(i);
        if (on) {
            fillRoundGradient(*context, rect, 3.0, mix(colour, CColor(255, 255, 255, 255), 0.15),
                              colour);
        } else {
            fillRoundGradient(*context, rect, 3.0, Theme::kButtonTop, Theme::kButtonBottom);
        }
        const CColor ink = on ? Theme::kGlass : hovered() ? Theme::kText : Theme::kTextDim;
        CRect textRect = rect;
        textRect.inset(3.0, 0.0);
        if (choices[i].glyph != Glyph::None) {
            drawGlyph(*context, choices[i].glyph, CPoint(rect.left + 12.0, rect.getCenter().y),
                      ink);
            textRect.left += 21.0;
            drawText(*context, choices[i].text, textRect, Theme::Face::LabelBold, ink, Align::Left);
        } else {
            drawText(*context, choices[i].text, textRect, Theme::Face::LabelBold, ink);
        }
    }
    setDirty(false);
}

CColor LevelSetRow::colourOf(std::size_t choice) const {
    return choice == 0 ? Theme::kAccent : Theme::kGlobalAccent;
}

void LevelSetRow::ctrlPressed(VSTGUI::MouseDownEvent&) {
    const bool global = editor().globalMode();
    const auto& from = global ? kGlobalSetIndices : kPresetSetIndices;
    const auto& to = global ? kPresetSetIndices : kGlobalSetIndices;
    for (std::size_t i = 0; i < kGlobalSetSize; ++i) {
        editor().setParameter(to[i], editor().model().value(from[i]));
    }
}

ActionButton::ActionButton(const CRect& size, int32_t tagId, Look appearance, std::string words,
                           Action what)
    : Control(size, tagId), look(appearance), label(std::move(words)), action(std::move(what)) {}

void ActionButton::setEnabled(bool state) {
    if (enabled == state) return;
    enabled = state;
    invalid();
}

void ActionButton::setText(std::string newText) {
    if (label == newText) return;
    label = std::move(newText);
    invalid();
}

void ActionButton::setLit(bool state) {
    if (lit == state) return;
    lit = state;
    invalid();
}

void ActionButton::setTextColour(CColor newColour) {
    if (colour == newColour) return;
    colour = newColour;
    invalid();
}

void ActionButton::idle() {
    if (!repeating || !down || !pointed()) return;
    const uint32_t now = tickCountMs();
    if (static_cast<int32_t>(now - nextRepeat) < 0) return;
    nextRepeat = now + kRepeatPeriod;
    action(modifiers);
}

void ActionButton::draw(VSTGUI::CDrawContext* context) {
    const CRect& size = getViewSize();
    const CRect body(size.left, size.top, size.right, size.bottom - 1.0);
    const CColor ink = !enabled    ? Theme::kTextFaint
                       : lit       ? Theme::kAccent
                       : pointed() ? mix(colour, CColor(255, 255, 255, 255), 0.3)
                                   : colour;
    if (look != Look::Plain) drawCap(*context, body, pointed() && enabled, down);
    const CPoint c = body.getCenter();
    const double r = std::min(4.5, getHeight() * 0.22);
    switch (look) {
        case Look::Up:
            arrowHead(*context, c, {0.0, -r}, ink);
            break;
        case Look::Down:
            arrowHead(*context, c, {0.0, r}, ink);
            break;
        case Look::Left:
            arrowHead(*context, c, {-r, 0.0}, ink);
            break;
        case Look::Right:
            arrowHead(*context, c, {r, 0.0}, ink);
            break;
        case Look::Text:
        case Look::Plain: {
            CRect textRect = body;
            textRect.inset(look == Look::Text ? 4.0 : 0.0, 0.0);
            drawText(*context, label, textRect, Theme::Face::LabelBold, ink);
            break;
        }
    }
    setDirty(false);
}

bool ActionButton::key(const VSTGUI::KeyboardEvent& event) {
    if (event.virt != VSTGUI::VirtualKey::Return && event.virt != VSTGUI::VirtualKey::Enter)
        return false;
    action(event.modifiers);
    return true;
}

void ActionButton::onMouseDownEvent(VSTGUI::MouseDownEvent& event) {
    event.consumed = true;
    if (event.buttonState.isRight() && rightAction) {
        event.ignoreFollowUpMoveAndUpEvents(true);
        rightAction(translateToGlobal(event.mousePosition, true));
        return;
    }
    if (!enabled || !event.buttonState.isLeft()) return;
    down = true;
    setPointed(true);
    modifiers = event.modifiers;
    nextRepeat = tickCountMs() + kRepeatDelay;
    // The action may remove this button from the view tree.
    const VSTGUI::SharedPointer<VSTGUI::CView> guard(this);
    action(event.modifiers);
}

}  // namespace Quorvant
