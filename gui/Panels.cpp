#include "gui/Panels.h"

#include "dsp/OutputIndex.h"
#include "gui/controls/Buttons.h"
#include "gui/controls/Knob.h"
#include "gui/controls/Meters.h"
#include "gui/controls/Readouts.h"
#include "gui/stage/StageView.h"
#include "params/GlobalSet.h"
#include "params/ParameterLaws.h"
#include "platform/TickCount.h"

#include <cstddef>

namespace Quorvant {
namespace {

constexpr double kDimmed = 0.55;

CRect toRect(const Place& place) {
    return CRect(place.left, place.top, place.right, place.bottom);
}

bool holds(Condition condition, const EditorModel& model) {
    const auto isOn = [&model](uint32_t index) { return switchState(model.value(index)); };
    switch (condition) {
        case Condition::InTime:
            return !isOn(kDelayClockMode);
        case Condition::InNotes:
            return isOn(kDelayClockMode);
        case Condition::Free:
            return !isOn(kLfoSync);
        case Condition::InSync:
            return isOn(kLfoSync);
        case Condition::Cutting:
            return isOn(kHighCut);
        case Condition::Recording:
            return !isOn(kInfRepeat);
        case Condition::Always:
            break;
    }
    return true;
}

}  // namespace

Panel::Panel(const CRect& size, EditorContext& editor, std::span<const GroupSpec> groupList,
             std::span<const ControlSpec> controls)
    : CViewContainer(size), owner(editor), groups(groupList), specs(controls) {
    for (const ControlSpec& spec : specs) add(spec);
    followConditions();
}

void Panel::add(const ControlSpec& spec) {
    const CRect rect = toRect(spec.place);
    const auto addView = [this](VSTGUI::CView* view) {
        views.push_back(view);
        CViewContainer::addView(view);
    };
    const auto takeControl = [&](ParameterControl* control) {
        parameterControls.push_back(control);
        control->setEngages(spec.engages);
        addView(control);
    };
    const auto takeLively = [this](auto* view) {
        idlers.push_back([view] { view->idle(); });
        return view;
    };
    const auto hinted = [&spec](auto* view) {
        view->setTooltipText(hintText(spec.id));
        return view;
    };
    EditorModel& model = owner.model();
    const auto tag = static_cast<int32_t>(spec.id);
    switch (spec.kind) {
        case ControlKind::Knob:
            takeControl(new Knob(rect, owner, spec.id, spec.label));
            break;
        case ControlKind::CentredKnob:
            takeControl(new Knob(rect, owner, spec.id, spec.label, 0.5));
            break;
        case ControlKind::WaveKnob:
            takeControl(new WaveKnob(rect, owner, spec.id, spec.label));
            break;
        case ControlKind::Kick:
            takeControl(new KickButton(rect, owner, spec.id, spec.label));
            break;
        case ControlKind::Loop:
            takeControl(takeLively(new LoopButton(rect, owner, spec.id, spec.label)));
            break;
        case ControlKind::NoteKnob:
            takeControl(takeLively(new NoteKnob(rect, owner, spec.id, spec.label)));
            break;
        case ControlKind::Choice:
            takeControl(new ChoiceRow(rect, owner, spec.id, spec.choices));
            break;
        case ControlKind::LevelSet:
            takeControl(new LevelSetRow(rect, owner, spec.id, spec.choices));
            break;
        case ControlKind::Stage:
            stage = takeLively(new StageView(rect, owner));
            addView(stage);
            break;
        case ControlKind::TimeReadout:
            takeControl(takeLively(new TimeReadout(rect, owner)));
            break;
        case ControlKind::TimeField:
            takeControl(new TimeField(rect, owner, spec.id));
            break;
        case ControlKind::NoteField:
            takeControl(takeLively(new NoteField(rect, owner, spec.id, kDelayNote)));
            break;
        case ControlKind::TempoReadout:
            takeControl(takeLively(new TempoReadout(rect, owner)));
            break;
        case ControlKind::StepUp:
        case ControlKind::StepDown: {
            const bool up = spec.kind == ControlKind::StepUp;
            const int direction = up ? 1 : -1;
            const bool time = spec.id == kTimeUpId || spec.id == kTimeDownId;
            auto* button =
                new ActionButton(rect, tag, up ? ActionButton::Look::Up : ActionButton::Look::Down,
                                 "", [this, time, direction](VSTGUI::Modifiers modifiers) {
                                     const bool shift = modifiers.has(VSTGUI::ModifierKey::Shift);
                                     if (time) {
                                         stepDelayTime(owner, direction * (shift ? 0.1 : 1.0));
                                     } else {
                                         stepNote(owner, kDelayNote, direction, shift);
                                     }
                                 });
            button->setRepeating();
            addView(hinted(takeLively(button)));
            break;
        }
        case ControlKind::Tap: {
            auto* button =
                new ActionButton(rect, -1, ActionButton::Look::Text, spec.label, [this](auto) {
                    if (const auto bpm = taps.tap(tickCountMs())) {
                        owner.setParameter(kManualTempo, manualTempoValue(*bpm));
                    }
                    // Whoever taps wants to hear it.
                    if (!switchState(owner.model().value(kEnforceManualTempo))) {
                        owner.setParameter(kEnforceManualTempo, 1.0);
                    }
                });
            button->setTooltipText("Tap the tempo; Manual Tempo takes it over.");
            addView(button);
            break;
        }
        case ControlKind::Headroom:
            addView(hinted(takeLively(new HeadroomBar(rect, tag, model))));
            break;
        case ControlKind::Reduction:
            addView(takeLively(new ReductionBar(rect, model)));
            break;
        case ControlKind::LfoLamp:
            addView(takeLively(new Lamp(rect, kOutLfoLamp, Theme::kAccent, spec.label, [&model] {
                return model.reading(kOutProcessingActivity) > 0.5 ? model.reading(kOutLfoLamp)
                                                                   : 0.0;
            })));
            break;
        case ControlKind::ProcessingLamp:
            addView(
                takeLively(new Lamp(rect, kOutProcessingActivity, Theme::kGreen, spec.label,
                                    [&model] { return model.reading(kOutProcessingActivity); })));
            break;
        case ControlKind::SyncLamp:
            addView(takeLively(new Lamp(rect, kOutHostSync, Theme::kGreen, spec.label,
                                        [&model] { return model.reading(kOutHostSync); })));
            break;
        case ControlKind::Caption:
            addView(new QVXTextLabel(rect, -1, spec.label, Theme::Face::Small, Theme::kTextDim,
                                     Align::Centre));
            break;
    }
}

void Panel::parameterChanged(uint32_t index) {
    for (ParameterControl* control : parameterControls) {
        const uint32_t shown = control->parameter();
        if (shown == index || globalTwin(shown) == index || index == kGlobal) control->refresh();
    }
    if (stage) stage->parameterChanged(index);
    followConditions();
}

// What has no effect in the present mode stands back, but can still be set.
void Panel::followConditions() {
    for (std::size_t i = 0; i < specs.size(); ++i) {
        VSTGUI::CView& view = *views[i];
        view.setVisible(holds(specs[i].shown, owner.model()));
        const auto alpha = static_cast<float>(holds(specs[i].used, owner.model()) ? 1.0 : kDimmed);
        if (view.getAlphaValue() != alpha) view.setAlphaValue(alpha);
    }
}

void Panel::idle() {
    for (const auto& idler : idlers) idler();
}

void Panel::drawBackgroundRect(VSTGUI::CDrawContext* context, const CRect&) {
    CRect clip;
    context->getClipRect(clip);
    drawFace(*context, CRect(0.0, 0.0, getWidth(), getHeight()));
    for (const GroupSpec& group : groups) {
        const CRect rect = toRect(group.place);
        if (!clip.rectOverlap(rect)) continue;
        fillRound(*context, rect, 5.0, Theme::kGroup);
        strokeRound(*context, rect, 5.0, Theme::kGroupEdge);
        drawText(*context, group.title,
                 CRect(rect.left + 8.0, rect.top + 3.0, rect.right - 8.0, rect.top + 18.0),
                 Theme::Face::LabelBold, Theme::kTextDim, Align::Left);
    }
}

}  // namespace Quorvant
