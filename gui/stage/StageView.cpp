#include "gui/stage/StageView.h"

#include "gui/stage/StagePlaces.h"
#include "params/ParameterLaws.h"
#include "params/ParameterTable.h"
#include "params/ParameterText.h"
#include "platform/TickCount.h"

#include <vstgui/lib/cframe.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace Quorvant {
namespace {

constexpr uint32_t kPictureMs =
    28;  // between two pictures, so that a timer of 60 Hz gives 30 of them
constexpr uint32_t kFiguresMs = 120;

constexpr double kFine = 0.1, kWheelStep = 0.02;
constexpr double kReach = 12.0;  // pixels around what is taken hold of

}  // namespace

StageView::StageView(const CRect& size, EditorContext& editorOf)
    : Control(size), editor(editorOf), stage(editorOf.model()) {
    setTooltipText(
        "What comes back of one click.\n"
        "Drag the first echo to set the delay, a later one to set Feedback.\n"
        "(Shift: finer. Alt or double click: the default value)");
    placeBars();
}

void StageView::parameterChanged(uint32_t index) {
    stale = stale || StageModel::shows(index);
}

void StageView::idle() {
    const uint32_t now = tickCountMs();
    if (now - refreshedAt < kPictureMs) return;
    if (stale || stage.isStale()) refresh();
    refreshedAt = now;
    stage.idle(now);
    followGlow();
    followDot();
    followLoop();
}

void StageView::refresh() {
    stale = false;
    if (!stage.refresh(held == Part::Time)) return;
    placeBars();
    invalid();
}

// --- Places -----------------------------------------------------------------------------------

CRect StageView::plotRect() const {
    const CRect& size = getViewSize();
    return CRect(size.left + StagePlaces::kLeft, size.top + StagePlaces::kTop,
                 size.right - StagePlaces::kRight, size.bottom - StagePlaces::kBelow);
}

CRect StageView::clockRect() const {
    const CRect& size = getViewSize();
    return CRect(size.left + StagePlaces::kClockLeft, size.bottom - StagePlaces::kClockHeight,
                 size.right - StagePlaces::kClockLeft, size.bottom - 5.0);
}

CRect StageView::bendRect() const {
    const CRect clock = clockRect();
    return CRect(clock.right + 8.0, clock.top, getViewSize().right - 10.0, clock.bottom);
}

double StageView::xOf(double ms) const {
    const CRect plot = plotRect();
    return plot.left + ms / stage.axis().lengthMs * plot.getWidth();
}

// The root of the level, so that late echoes are still to be seen.
double StageView::yOf(double level) const {
    const CRect plot = plotRect();
    return plot.bottom - std::sqrt(level) * plot.getHeight();
}

double StageView::levelAt(double y) const {
    const CRect plot = plotRect();
    const double height = std::clamp((plot.bottom - y) / plot.getHeight(), 0.0, 1.0);
    return height * height;
}

void StageView::placeBars() {
    const auto place = [this](double ms, double level) {
        const double x = std::round(xOf(ms));
        const double bottom = plotRect().bottom;
        return Bar{CRect(x - StagePlaces::kBar / 2.0, std::round(yOf(level)),
                         x + StagePlaces::kBar / 2.0, bottom)};
    };
    bars.clear();
    bars.push_back(place(0.0, 1.0));
    for (const Echo& echo : stage.echoes()) bars.push_back(place(echo.ms, echo.level));
}

const Echo* StageView::secondPass() const {
    const auto& echoes = stage.echoes();
    const auto found = std::ranges::find_if(echoes, [](const Echo& e) { return e.pass > 1; });
    return found == echoes.end() ? nullptr : &*found;
}

CPoint StageView::timeHandle() const {
    if (stage.echoes().empty()) {
        // Lost in the memory; the delay can be set all the same.
        const EchoCourse& course = stage.course();
        return {xOf(std::abs(heardMsPerMs(course)) * course.delayMs), plotRect().bottom};
    }
    const Echo& first = stage.echoes().front();
    return {xOf(first.ms), yOf(first.level)};
}

CPoint StageView::feedbackHandle() const {
    const Echo* echo = secondPass();
    return echo ? CPoint(xOf(echo->ms), yOf(echo->level)) : CPoint(-1e6, -1e6);
}

// --- What moves by itself ---------------------------------------------------------------------

void StageView::followGlow() {
    for (std::size_t i = 0; i < bars.size(); ++i) {
        const double ms = i == 0 ? 0.0 : stage.echoes()[i - 1].ms;
        const double level = i == 0 ? 1.0 : stage.echoes()[i - 1].level;
        const int glow =
            stage.sounds()
                ? static_cast<int>(std::lround(stage.glowOf(ms, level) * StagePlaces::kGlowSteps))
                : 0;
        if (glow == bars[i].glow) continue;
        bars[i].glow = glow;
        CRect rect = bars[i].rect;
        rect.inset(-StagePlaces::kGlow, -StagePlaces::kGlow);
        rect.bottom = bars[i].rect.bottom;
        invalidRect(rect);
    }
}

CRect StageView::dotRect() const {
    const CRect clock = clockRect();
    const double x = clock.left + (0.5 + dot.phase / (2.0 * std::numbers::pi)) * clock.getWidth();
    const double y = clock.getCenter().y - dot.height * stage.curve().height() *
                                               (clock.getHeight() / 2.0 - StagePlaces::kDot);
    return CRect(x - StagePlaces::kDot, y - StagePlaces::kDot, x + StagePlaces::kDot,
                 y + StagePlaces::kDot);
}

void StageView::followDot() {
    const auto redraw = [this] {
        CRect rect = dotRect();
        rect.inset(-2.0, -2.0);
        if (dot.shown) invalidRect(rect);
    };
    const StageModel::Dot now = stage.dot();
    const auto differs = [](double a, double b) { return std::abs(a - b) > 0.005; };
    if (now.shown != dot.shown || differs(now.phase, dot.phase) ||
        differs(now.height, dot.height)) {
        redraw();
        dot = now;
        redraw();
    }
    // Figures that change faster can't be read.
    if (refreshedAt - toldAt < kFiguresMs) return;
    toldAt = refreshedAt;
    std::string told = "\u00d7 " + fixedText(stage.bend(), 2);
    if (told == bendText) return;
    bendText = std::move(told);
    invalidRect(bendRect());
}

CRect StageView::loopLineRect() const {
    const CRect plot = plotRect();
    return CRect(loopX - 1.0, plot.top, loopX + 1.0, plot.bottom);
}

void StageView::followLoop() {
    const double position = stage.loopPosition();
    const double x = position < 0.0 ? -1.0 : std::round(xOf(position * stage.loopMs()));
    if (x == loopX) return;
    if ((x < 0.0) != (loopX < 0.0)) invalid();
    invalidRect(loopLineRect());
    loopX = x;
    invalidRect(loopLineRect());
}

// --- What is taken hold of --------------------------------------------------------------------

StageView::Part StageView::partAt(CPoint where) const {
    const CRect plot = plotRect();
    if (where.y > plot.bottom || where.y < plot.top - kReach) return Part::None;
    const auto near = [&](CPoint at) {
        return std::abs(where.x - at.x) <= kReach && std::abs(where.y - at.y) <= kReach;
    };
    if (near(timeHandle())) return Part::Time;
    if (near(feedbackHandle())) return Part::Feedback;
    // The bars themselves, and the line that joins their tops.
    const auto& echoes = stage.echoes();
    CPoint before = timeHandle();
    for (const Echo& echo : echoes) {
        const CPoint top(xOf(echo.ms), yOf(echo.level));
        if (std::abs(where.x - top.x) <= kReach && where.y >= top.y - kReach)
            return echo.pass == 1 ? Part::Time : Part::Feedback;
        if (echo.pass > 1 && where.x > before.x && where.x < top.x) {
            const double share = (where.x - before.x) / (top.x - before.x);
            const double y = before.y + share * (top.y - before.y);
            if (std::abs(where.y - y) <= kReach) return Part::Feedback;
        }
        before = top;
    }
    return Part::None;
}

uint32_t StageView::parameterOf(Part part) const {
    return part == Part::Time ? stage.timeParameter() : static_cast<uint32_t>(kFeedback);
}

void StageView::point(Part part) {
    if (auto* frame = getFrame()) {
        frame->setCursor(part == Part::None       ? VSTGUI::kCursorDefault
                         : stage.course().looping ? VSTGUI::kCursorNotAllowed
                         : part == Part::Time     ? VSTGUI::kCursorHSize
                                                  : VSTGUI::kCursorVSize);
    }
    if (part == hovered) return;
    hovered = part;
    invalid();
}

void StageView::begin(Part part, CPoint where) {
    held = part;
    lastPoint = where;
    if (part == Part::Time) {
        wanted = stage.course().delayMs;
    } else {
        // The nearest of those that the feedback has to do with.
        const Echo* nearest = secondPass();
        for (const Echo& echo : stage.echoes())
            if (echo.pass > 1 && (!nearest || std::abs(xOf(echo.ms) - where.x) <
                                                  std::abs(xOf(nearest->ms) - where.x)))
                nearest = &echo;
        if (!nearest) {
            held = Part::None;
            return;
        }
        heldEcho = *nearest;
        wanted = yOf(heldEcho.level);
    }
}

void StageView::change(Part part, double newValue) {
    const uint32_t index = parameterOf(part);
    if (gestureRuns && gesture != index) end();  // the delay has been synced meanwhile
    if (newValue == editor.model().value(index)) return;
    const bool single = held == Part::None;
    if (!gestureRuns) {
        gestureRuns = true;
        gesture = index;
        editor.model().beginEdit(index);
    }
    editor.model().performEdit(index, newValue);
    editor.edited(index);
    if (single) end();
}

void StageView::end() {
    if (!gestureRuns) return;
    gestureRuns = false;
    editor.model().endEdit(gesture);
}

void StageView::released() {
    if (held == Part::None) return;
    held = Part::None;
    end();
    stale = true;  // the axis may follow again
}

void StageView::onMouseDownEvent(VSTGUI::MouseDownEvent& event) {
    using VSTGUI::ModifierKey;
    event.consumed = true;
    event.ignoreFollowUpMoveAndUpEvents(true);
    if (stale) refresh();
    const Part part = partAt(event.mousePosition);
    if (part == Part::None || held != Part::None) return;
    if (event.buttonState.isRight()) {
        editor.openHostMenu(parameterOf(part), translateToGlobal(event.mousePosition, true));
        return;
    }
    if (!event.buttonState.isLeft() || stage.course().looping) return;
    if (event.modifiers.has(ModifierKey::Alt) || event.modifiers.has(ModifierKey::Control) ||
        event.clickCount > 1) {
        change(part, parameterDefault(parameterOf(part)));
        return;
    }
    event.ignoreFollowUpMoveAndUpEvents(false);
    begin(part, event.mousePosition);
    invalid();
}

// By as much as the pointer has moved, so that nothing jumps where a bar is not caught by its
// middle, and so that what a host sets meanwhile counts for nothing.
void StageView::onMouseMoveEvent(VSTGUI::MouseMoveEvent& event) {
    if (held == Part::None || !event.buttonState.isLeft()) {
        if (held == Part::None) point(partAt(event.mousePosition));
        return;
    }
    event.consumed = true;
    if (stage.course().looping) return released();  // the host has caught a loop
    const bool fine = event.modifiers.has(VSTGUI::ModifierKey::Shift);
    const CPoint moved = event.mousePosition - lastPoint;
    lastPoint = event.mousePosition;
    if (held == Part::Time) {
        // A note is chosen from more of them instead of more slowly.
        const double pixels = moved.x * (fine && !stage.synced() ? kFine : 1.0);
        const double ms = pixels / plotRect().getWidth() * stage.axis().lengthMs;
        wanted = std::clamp(wanted + ms / heardMsPerMs(stage.course()), 0.0, kLongestDelayMs);
        change(held, stage.valueForDelay(wanted, fine));
    } else {
        const CRect plot = plotRect();
        wanted = std::clamp(wanted + moved.y * (fine ? kFine : 1.0),
                            yOf(stage.highestLevel(heldEcho)), plot.bottom);
        change(held, stage.feedbackFor(heldEcho, levelAt(wanted)));
    }
}

void StageView::onMouseExitEvent(VSTGUI::MouseExitEvent& event) {
    point(Part::None);
    Control::onMouseExitEvent(event);
}

void StageView::onMouseWheelEvent(VSTGUI::MouseWheelEvent& event) {
    event.consumed = true;
    if (stale) refresh();
    double steps = event.deltaY != 0.0 ? event.deltaY : event.deltaX;
    if (event.flags & VSTGUI::MouseWheelEvent::DirectionInvertedFromDevice) steps = -steps;
    const Part part = partAt(event.mousePosition);
    if (steps == 0.0 || part == Part::None || held != Part::None || stage.course().looping) return;
    const bool fine = event.modifiers.has(VSTGUI::ModifierKey::Shift);
    if (part == Part::Time) {
        change(part, stage.steppedTime(steps > 0.0 ? 1 : -1, fine));
    } else {
        const double set = editor.model().value(kFeedback);
        change(part, std::clamp(set + steps * kWheelStep * (fine ? kFine : 1.0), 0.0, 1.0));
    }
}

bool StageView::removed(VSTGUI::CView* parent) {
    released();
    return Control::removed(parent);
}

}  // namespace Quorvant
