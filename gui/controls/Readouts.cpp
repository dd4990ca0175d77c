#include "gui/controls/Readouts.h"

#include "dsp/OutputIndex.h"
#include "gui/Hints.h"
#include "params/NoteTable.h"
#include "params/ParameterIndex.h"
#include "params/ParameterLaws.h"
#include "params/ParameterText.h"

#include <algorithm>
#include <cmath>

namespace Quorvant {
namespace {

constexpr double kArrowWidth = 20.0;

std::string bpmText(double bpm) {
    return fixedText(bpm, 1);
}

CColor inkOf(bool hovered) {
    return hovered ? mix(Theme::kAccent, CColor(255, 255, 255, 255), 0.25) : Theme::kAccent;
}

void openNoteList(EditorContext& editor, uint32_t parameter, bool extended, const CRect& anchor) {
    constexpr int kColumn = 10;
    Menu menu;
    const int current = listState(editor.model().value(parameter), kNoteCount);
    // The longest last, in either list.
    for (int i = 0; i < kNoteCount; ++i) {
        const int index = noteByLength(parameter, i);
        if (!extended && !isEverydayNote(parameter, index)) continue;
        const bool newColumn = !menu.empty() && menu.size() % kColumn == 0;
        menu.push_back({noteText(editor.model(), parameter, index),
                        [&editor, parameter, index] {
                            editor.setParameter(parameter, listValue(index, kNoteCount));
                        },
                        index == current, true, newColumn});
    }
    editor.openMenu(std::move(menu), anchor);
}

}  // namespace

void stepDelayTime(EditorContext& context, double milliseconds) {
    const double value = context.model().value(kDelayTime) + delayTimeValue(milliseconds);
    context.setParameter(kDelayTime, std::clamp(value, 0.0, 1.0));
}

void stepNote(EditorContext& context, uint32_t noteParameter, int direction, bool extended) {
    const int index = listState(context.model().value(noteParameter), kNoteCount);
    const int next = nextNote(noteParameter, index, direction, extended);
    if (next != index) context.setParameter(noteParameter, listValue(next, kNoteCount));
}

TimeReadout::TimeReadout(const CRect& size, EditorContext& context)
    : ParameterControl(size, context, kTimeReadoutId, kDelayTime) {}

std::string TimeReadout::figures() const {
    return tempoShown ? bpmText(tempoInForce(editor().model()))
                      : delayFigures(heardDelay(editor().model()));
}

std::string TimeReadout::stateText() const {
    const EditorModel& model = editor().model();
    if (switchState(model.reading(kSuspend))) return "SUSPENDED";
    if (tempoShown) return switchState(model.value(kEnforceManualTempo)) ? "MANUAL" : "HOST";
    if (!switchState(model.value(kDelayClockMode))) return "set " + valueText() + " ms";
    return noteText(model, kDelayNote) + " @ " + bpmText(tempoInForce(model));
}

CRect TimeReadout::figuresRect() const {
    const CRect& size = getViewSize();
    return CRect(size.left + 120.0, size.top + 9.0, size.right - 34.0, size.bottom - 9.0);
}

CRect TimeReadout::lampRect() const {
    const CRect& size = getViewSize();
    return CRect(size.right - 20.0, size.top + 6.0, size.right - 6.0, size.top + 20.0);
}

void TimeReadout::idle() {
    // Not compared with what was drawn last, which may have been a part alone.
    if (const std::string now = stateText(); now != state) {
        state = now;
        invalid();
    }
    if (const std::string now = figures(); now != number) {
        number = now;
        invalidRect(figuresRect());
    }
    const bool lit = editor().model().reading(kOutDelayActivity) > 0.3;
    if (lit != active) {
        active = lit;
        invalidRect(lampRect());
    }
}

void TimeReadout::showTempo(bool shown) {
    if (tempoShown == shown) return;
    tempoShown = shown;
    invalid();
}

void TimeReadout::onMouseMoveEvent(VSTGUI::MouseMoveEvent& event) {
    if (!held()) showTempo(event.modifiers.has(VSTGUI::ModifierKey::Control));
    ParameterControl::onMouseMoveEvent(event);
}

void TimeReadout::onMouseExitEvent(VSTGUI::MouseExitEvent& event) {
    showTempo(false);
    ParameterControl::onMouseExitEvent(event);
}

void TimeReadout::ctrlPressed(VSTGUI::MouseDownEvent& event) {
    showTempo(true);
    if (event.clickCount > 1 && switchState(editor().model().value(kEnforceManualTempo))) {
        editor().typeValue(kManualTempo, editorRect(*this));
    }
}

void TimeReadout::wheel(double steps, bool fine) {
    stepDelayTime(editor(), steps * (fine ? 0.1 : 1.0));
}

void TimeReadout::draw(VSTGUI::CDrawContext* context) {
    const CRect& size = getViewSize();
    glass(*context, size);
    CRect words(size.left + 10.0, size.top + 9.0, size.left + 124.0, size.top + 25.0);
    drawText(*context, tempoShown ? "TEMPO" : "DELAY", words, Theme::Face::LabelBold,
             Theme::kTextDim, Align::Left);
    words.offset(0.0, 24.0);
    drawText(*context, stateText(), words, Theme::Face::Small,
             hovered() ? Theme::kText : Theme::kTextDim, Align::Left);
    lamp(*context, lampRect().getCenter(), 2.6, Theme::kAccent, active ? 1.0 : 0.0);
    drawFigures(*context, figures(), figuresRect(), 5, Theme::kAccent, Theme::kGhost);
    drawText(*context, tempoShown ? "bpm" : "ms",
             CRect(size.right - 31.0, size.bottom - 25.0, size.right - 5.0, size.bottom - 9.0),
             Theme::Face::Value, Theme::kAccent);
    setDirty(false);
}

void TimeField::wheel(double steps, bool fine) {
    stepDelayTime(editor(), steps * (fine ? 0.1 : 1.0));
}

void TimeField::draw(VSTGUI::CDrawContext* context) {
    glass(*context, getViewSize());
    drawText(*context, valueText() + " " + unitText(), getViewSize(), Theme::Face::Title,
             inkOf(hovered()));
    setDirty(false);
}

void NoteField::idle() {
    if (noteText(editor().model(), parameter()) != drawn) invalid();
}

void NoteField::draw(VSTGUI::CDrawContext* context) {
    const CRect& size = getViewSize();
    glass(*context, size);
    drawn = noteText(editor().model(), parameter());
    drawText(*context, drawn,
             CRect(size.left + 8.0, size.top, size.right - kArrowWidth, size.bottom),
             Theme::Face::Title, inkOf(hovered()));
    listArrow(*context, CPoint(size.right - kArrowWidth / 2.0 - 1.0, size.getCenter().y),
              hovered() ? Theme::kText : Theme::kTextDim);
    setDirty(false);
}

bool NoteField::pressed(VSTGUI::MouseDownEvent& event) {
    if (event.mousePosition.x < getViewSize().right - kArrowWidth) return true;
    openNoteList(editor(), parameter(), event.modifiers.has(VSTGUI::ModifierKey::Shift),
                 editorRect(*this));
    return false;
}

void NoteField::doubleClicked(VSTGUI::MouseDownEvent& event) {
    if (event.mousePosition.x < getViewSize().right - kArrowWidth) {
        ParameterControl::doubleClicked(event);
    }
}

void NoteField::wheel(double steps, bool fine) {
    stepNote(editor(), parameter(), steps > 0.0 ? 1 : -1, fine);
}

void NoteKnob::idle() {
    if (shownText() != drawn) {
        drawn = shownText();
        invalid();
    }
}

std::string NoteKnob::shownText() const {
    return noteText(editor().model(), parameter());
}

bool NoteKnob::pressed(VSTGUI::MouseDownEvent& event) {
    if (event.mousePosition.y < valueRect().top) return true;
    openNoteList(editor(), parameter(), event.modifiers.has(VSTGUI::ModifierKey::Shift),
                 editorRect(*this));
    return false;
}

void NoteKnob::wheel(double steps, bool fine) {
    stepNote(editor(), parameter(), steps > 0.0 ? 1 : -1, fine);
}

TempoReadout::TempoReadout(const CRect& size, EditorContext& context)
    : ParameterControl(size, context, kManualTempo) {}

bool TempoReadout::manual() const {
    return switchState(editor().model().value(kEnforceManualTempo));
}

std::string TempoReadout::figures() const {
    return bpmText(tempoInForce(editor().model()));
}

void TempoReadout::idle() {
    if (figures() != drawn) invalid();
}

bool TempoReadout::pressed(VSTGUI::MouseDownEvent&) {
    return manual();
}

// The hint asks for Ctrl while the tempo is edited.
void TempoReadout::ctrlPressed(VSTGUI::MouseDownEvent& event) {
    if (event.clickCount > 1) doubleClicked(event);
}

void TempoReadout::doubleClicked(VSTGUI::MouseDownEvent& event) {
    if (manual()) ParameterControl::doubleClicked(event);
}

void TempoReadout::dragged(const VSTGUI::MouseMoveEvent& event) {
    const double scale = event.modifiers.has(VSTGUI::ModifierKey::Shift) ? 0.1 : 1.0;
    const double bpm = manualTempoBpm(modelValue()) + (lastPoint.y - event.mousePosition.y) * scale;
    change(manualTempoValue(bpm));
}

void TempoReadout::wheel(double steps, bool fine) {
    if (!manual()) return;
    change(manualTempoValue(manualTempoBpm(modelValue()) + steps * (fine ? 0.1 : 1.0)));
}

void TempoReadout::draw(VSTGUI::CDrawContext* context) {
    const CRect& size = getViewSize();
    glass(*context, size);
    drawn = figures();
    drawFigures(*context, drawn,
                CRect(size.left + 6.0, size.top + 5.0, size.right - 34.0, size.bottom - 5.0), 4,
                manual() ? Theme::kAccent : mix(Theme::kAccent, Theme::kTextFaint, 0.4),
                Theme::kGhost);
    drawText(*context, "bpm", CRect(size.right - 32.0, size.top, size.right - 4.0, size.bottom),
             Theme::Face::Label, Theme::kTextDim);
    setDirty(false);
}

}  // namespace Quorvant
