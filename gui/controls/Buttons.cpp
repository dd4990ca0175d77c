#include "gui/controls/Buttons.h"

#include "dsp/OutputIndex.h"
#include "params/GlobalSet.h"
#include "params/ParameterLaws.h"
#include "params/ParameterTable.h"
#include "platform/TickCount.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace Quorvant {
namespace {

constexpr uint32_t kRepeatDelay = 400;  // ms
constexpr uint32_t kRepeatPeriod = 60;
constexpr double kGap = 2.0;  // between choices

constexpr double kCorner = 3.0;

// A key; lit in a colour, or not lit.
void drawCap(VSTGUI::CDrawContext& context, const CRect& rect, bool hovered,
             const CColor* lit = nullptr) {
    fillRound(context, rect, kCorner, lit ? *lit : Theme::kButtonEdge);
    CRect cap = rect;
    cap.inset(1.0, 1.0);
    fillRoundGradient(context, cap, kCorner - 1.0, lit ? *lit : Theme::kButtonTop,
                      lit ? *lit : Theme::kButtonBottom);
    if (hovered) fillRound(context, cap, kCorner - 1.0, Theme::kHover);
}

CColor inkOn(bool lit, bool hovered) {
    return lit ? Theme::kGlass : hovered ? Theme::kText : Theme::kTextDim;
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

bool KickButton::isOn() const {
    return switchState(modelValue());
}

void KickButton::draw(VSTGUI::CDrawContext* context) {
    const CRect& size = getViewSize();
    const CColor colour = accent();
    drawCap(*context, size, hovered(), isOn() ? &colour : nullptr);
    drawText(*context, label, CRect(size.left + 3.0, size.top, size.right - 3.0, size.bottom),
             Theme::Face::LabelBold, inkOn(isOn(), hovered()));
    setDirty(false);
}

void LoopButton::idle() {
    const bool now = editor().model().reading(kOutInfRepeatLamp) > 0.5;
    if (now == engaged) return;
    engaged = now;
    invalid();
}

void LoopButton::draw(VSTGUI::CDrawContext* context) {
    const CRect& size = getViewSize();
    const double level = !isOn() ? 0.0 : engaged ? 1.0 : 0.5;
    drawCap(*context, size, hovered());
    CRect face = size;
    if (level > 0.0) {
        fillRound(*context, face, kCorner, mix(Theme::kLoopFace, Theme::kRed, level));
        face.inset(2.0, 2.0);
        fillRound(*context, face, kCorner - 1.0, Theme::kLoopFace);
    }
    // The light lies above the text, or beside it where the key is low.
    const bool low = getHeight() < 40.0;
    const CRect light = low ? CRect(size.left + 9.0, size.top + 8.0, size.left + 13.0,
                                    size.bottom - 8.0)
                            : CRect(size.left + 9.0, size.top + 9.0, size.right - 9.0,
                                    size.top + 13.0);
    fillRound(*context, light, 2.0, mix(Theme::kLoopFace, Theme::kRed, level));
    const CRect place = low ? CRect(light.right + 4.0, size.top, size.right - 4.0, size.bottom)
                            : CRect(size.left + 4.0, light.bottom, size.right - 4.0, size.bottom);
    drawText(*context, text(), place, Theme::Face::LabelBold,
             level > 0.0 || hovered() ? Theme::kText : Theme::kTextDim);
    setDirty(false);
}

void PowerButton::draw(VSTGUI::CDrawContext* context) {
    const CRect& size = getViewSize();
    const CColor colour = accent();
    drawCap(*context, size, hovered(), isOn() ? &colour : nullptr);
    const CColor ink = inkOn(isOn(), hovered());
    const double signs = 18.0;  // pixels
    const double words = std::min(textWidth(text(), Theme::Face::LabelBold),
                                  getWidth() - signs - 8.0);
    const double left = std::floor(size.getCenter().x - (signs + words) / 2.0);
    const CPoint c(left + 6.0, size.getCenter().y + 0.5);
    strokePath(*context, *arcPath(*context, c, 4.5, 40.0, 320.0), ink, 1.6);
    line(*context, CPoint(c.x, c.y - 6.0), CPoint(c.x, c.y - 0.5), ink, 1.6);
    drawText(*context, text(), CRect(left + signs, size.top, size.right - 3.0, size.bottom),
             Theme::Face::LabelBold, ink, Align::Left);
    setDirty(false);
}

ChoiceRow::ChoiceRow(const CRect& size, EditorContext& context, uint32_t parameter,
                     std::span<const Choice> list)
    : ParameterControl(size, context, parameter), choices(list) {}

// Side by side, or two by two where a row of them would be too narrow.
CRect ChoiceRow::cell(std::size_t index) const {
    const CRect& size = getViewSize();
    const std::size_t rows = getHeight() > 48.0 ? 2 : 1;
    const std::size_t columns = choices.size() / rows;
    const auto edge = [](double from, double length, std::size_t part, std::size_t parts) {
        return from + std::round((length + kGap) * static_cast<double>(part) /
                                 static_cast<double>(parts));
    };
    const std::size_t x = index % columns, y = index / columns;
    return CRect(edge(size.left, getWidth(), x, columns), edge(size.top, getHeight(), y, rows),
                 edge(size.left, getWidth(), x + 1, columns) - kGap,
                 edge(size.top, getHeight(), y + 1, rows) - kGap);
}

bool ChoiceRow::pressed(VSTGUI::MouseDownEvent& event) {
    for (std::size_t i = 0; i < choices.size(); ++i) {
        if (!cell(i).pointInside(event.mousePosition)) continue;
        change(listValue(static_cast<int>(i), static_cast<int>(choices.size())));
    }
    return false;
}

void ChoiceRow::draw(VSTGUI::CDrawContext* context) {
    const auto chosen =
        static_cast<std::size_t>(listState(modelValue(), static_cast<int>(choices.size())));
    for (std::size_t i = 0; i < choices.size(); ++i) {
        const CRect rect = cell(i);
        const CColor colour = colourOf(i);
        const bool lit = i == chosen;
        drawCap(*context, rect, false, lit ? &colour : nullptr);
        const CColor ink = inkOn(lit, hovered());
        CRect textRect = rect;
        textRect.inset(3.0, 0.0);
        if (choices[i].glyph != Glyph::None) {
            drawGlyph(*context, choices[i].glyph, CPoint(rect.left + 15.0, rect.getCenter().y),
                      ink);
            textRect.left += 24.0;
        }
        drawText(*context, choices[i].text, textRect, Theme::Face::LabelBold, ink,
                 choices[i].glyph != Glyph::None ? Align::Left : Align::Centre);
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
    const CColor ink = !enabled    ? Theme::kTextFaint
                       : lit       ? Theme::kAccent
                       : pointed() ? mix(colour, CColor(255, 255, 255, 255), 0.3)
                                   : colour;
    if (look != Look::Plain) drawCap(*context, size, pointed() && enabled && !down);
    const CPoint c = size.getCenter();
    const double r = std::min(4.5, getHeight() * 0.22);
    switch (look) {
        case Look::Plus:
            line(*context, CPoint(c.x, c.y - 5.0), CPoint(c.x, c.y + 5.0), ink, 2.0);
            [[fallthrough]];
        case Look::Minus:
            line(*context, CPoint(c.x - 5.0, c.y), CPoint(c.x + 5.0, c.y), ink, 2.0);
            break;
        case Look::Left:
            arrowHead(*context, c, {-r, 0.0}, ink);
            break;
        case Look::Right:
            arrowHead(*context, c, {r, 0.0}, ink);
            break;
        case Look::Text:
        case Look::Plain: {
            CRect textRect = size;
            textRect.inset(look == Look::Text ? 4.0 : 0.0, 0.0);
            drawText(*context, label, textRect, Theme::Face::LabelBold, ink);
            break;
        }
    }
    setDirty(false);
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
