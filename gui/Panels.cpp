#include "gui/Panels.h"

#include "dsp/OutputIndex.h"
#include "gui/controls/Buttons.h"
#include "gui/controls/Knob.h"
#include "gui/controls/Meters.h"
#include "gui/controls/Readouts.h"
#include "params/GlobalSet.h"
#include "params/ParameterLaws.h"
#include "platform/TickCount.h"

namespace Quorvant {

Panel::Panel(const CRect& size, EditorContext& editor, std::span<const Place> groupList,
             std::span<const ControlSpec> controls)
    : CViewContainer(size), owner(editor), groups(groupList) {
    for (const ControlSpec& spec : controls) {
        ParameterControl* control = makeControl(spec);
        VSTGUI::CView* view = control ? control : make(spec);
        addView(view);
        parts.push_back({spec, view, control});
    }
    showUse();
}

CRect Panel::rectOf(const Place& place) const {
    CRect rect(place.left, place.top, place.right, place.bottom);
    rect.offset(-getViewSize().left, -getViewSize().top);
    return rect;
}

ParameterControl* Panel::makeControl(const ControlSpec& spec) {
    const CRect rect = rectOf(spec.place);
    const auto lively = [this](auto* view) {
        idlers.push_back([view] { view->idle(); });
        return view;
    };
    switch (spec.kind) {
        case ControlKind::Knob:
            return new Knob(rect, owner, spec.id, spec.label);
        case ControlKind::CentredKnob:
            return new Knob(rect, owner, spec.id, spec.label, 0.5);
        case ControlKind::CutKnob:
            return new CutKnob(rect, owner, spec.id, spec.label);
        case ControlKind::WaveKnob:
            return new WaveKnob(rect, owner, spec.id, spec.label);
        case ControlKind::NoteKnob:
            return new NoteKnob(rect, owner, spec.id, spec.label);
        case ControlKind::Value:
            return new ValueReadout(rect, owner, spec.id, spec.label);
        case ControlKind::Kick:
            return new KickButton(rect, owner, spec.id, spec.label);
        case ControlKind::Loop:
            return lively(new LoopButton(rect, owner, spec.id, spec.label));
        case ControlKind::Power:
            return new PowerButton(rect, owner, spec.id, spec.label);
        case ControlKind::Choice:
            return new ChoiceRow(rect, owner, spec.id, spec.choices);
        case ControlKind::LevelSet:
            return new LevelSetRow(rect, owner, spec.id, spec.choices);
        case ControlKind::TimeReadout:
            return lively(new TimeReadout(rect, owner));
        case ControlKind::NoteReadout:
            return new NoteReadout(rect, owner, spec.id, kDelayNote);
        case ControlKind::TempoReadout:
            return lively(new TempoReadout(rect, owner));
        default:
            return nullptr;
    }
}

VSTGUI::CView* Panel::make(const ControlSpec& spec) {
    using Look = ActionButton::Look;
    const CRect rect = rectOf(spec.place);
    const auto lively = [this](auto* view) {
        idlers.push_back([view] { view->idle(); });
        return view;
    };
    const auto hinted = [](auto* view, uint32_t id) {
        view->setTooltipText(hintText(id));
        return view;
    };
    EditorModel& model = owner.model();
    const auto lamp = [&](uint32_t tag, CColor colour, std::function<double()> source) {
        return lively(new Lamp(rect, static_cast<int32_t>(tag), colour, spec.label, source));
    };
    const auto tag = static_cast<int32_t>(spec.id);
    switch (spec.kind) {
        case ControlKind::Stage:
            stage = lively(new StageView(rect, owner));
            return stage;
        case ControlKind::StepUp:
        case ControlKind::StepDown: {
            const bool up = spec.kind == ControlKind::StepUp;
            const int direction = up ? 1 : -1;
            const bool time = spec.id == kTimeUpId || spec.id == kTimeDownId;
            auto* button = new ActionButton(
                rect, tag, up ? Look::Plus : Look::Minus, "",
                [this, time, direction](VSTGUI::Modifiers modifiers) {
                    const bool shift = modifiers.has(VSTGUI::ModifierKey::Shift);
                    if (time) {
                        stepDelayTime(owner, direction * (shift ? 0.1 : 1.0));
                    } else {
                        stepNote(owner, kDelayNote, direction, shift);
                    }
                });
            button->setRepeating();
            return hinted(lively(button), spec.id);
        }
        case ControlKind::Tap: {
            auto* button = new ActionButton(rect, -1, Look::Text, spec.label, [this](auto) {
                if (const auto bpm = taps.tap(tickCountMs())) {
                    owner.setParameter(kManualTempo, manualTempoValue(*bpm));
                }
                // Whoever taps wants to hear it.
                if (!switchState(owner.model().value(kEnforceManualTempo))) {
                    owner.setParameter(kEnforceManualTempo, 1.0);
                }
            });
            button->setTooltipText("Tap the tempo; Manual Tempo takes it over.");
            return button;
        }
        case ControlKind::Headroom:
            return hinted(lively(new HeadroomBar(rect, tag, model)), spec.id);
        case ControlKind::Reduction:
            return lively(new ReductionBar(rect, model, spec.label));
        case ControlKind::LfoLamp:
            return lamp(kOutLfoLamp, Theme::kAccent, [&model] {
                return model.reading(kOutProcessingActivity) > 0.5 ? model.reading(kOutLfoLamp)
                                                                   : 0.0;
            });
        case ControlKind::ProcessingLamp:
            return lamp(kOutProcessingActivity, Theme::kGreen,
                        [&model] { return model.reading(kOutProcessingActivity); });
        case ControlKind::SyncLamp:
            return lamp(kOutHostSync, Theme::kGreen,
                        [&model] { return model.reading(kOutHostSync); });
        case ControlKind::Extensions: {
            const bool open = switchState(model.value(kShowHideExtensions));
            const uint32_t id = open ? kHideExtensionsId : kShowExtensionsId;
            auto* button = new ActionButton(
                rect, static_cast<int32_t>(id), Look::Text, "EXTENSIONS",
                [this, open](auto) { owner.setParameter(kShowHideExtensions, open ? 0.0 : 1.0); });
            button->setLit(open);
            return hinted(button, id);
        }
        default:
            return new QVXTextLabel(rect, -1, spec.label, Theme::Face::Label, Theme::kTextDim,
                                    Align::Left);
    }
}

void Panel::parameterChanged(uint32_t index) {
    for (const Part& part : parts) {
        if (!part.control) continue;
        const uint32_t shown = part.control->parameter();
        if (shown == index || globalTwin(shown) == index || index == kGlobal ||
            (part.spec.shows & maskOf({index})) != 0) {
            part.control->refresh();
        }
    }
    if (stage) stage->parameterChanged(index);
    showUse();
}

bool Panel::holds(const When& when) const {
    return when.state != When::State::Never &&
           switchState(owner.model().value(when.parameter)) == (when.state == When::State::On);
}

void Panel::showUse() {
    for (const Part& part : parts) {
        const bool visible = !holds(part.spec.hidden);
        if (part.view->isVisible() != visible) part.view->setVisible(visible);
        const float alpha = holds(part.spec.unused) ? Theme::kUnusedAlpha : 1.0F;
        if (part.view->getAlphaValue() != alpha) part.view->setAlphaValue(alpha);
    }
}

void Panel::idle() {
    for (const auto& idler : idlers) idler();
}

void Panel::drawBackgroundRect(VSTGUI::CDrawContext* context, const CRect&) {
    CRect clip;
    context->getClipRect(clip);
    fillRound(*context, CRect(0.0, 0.0, getWidth(), getHeight()), 0.0, Theme::kFace);
    for (const Place& group : groups) {
        const CRect rect = rectOf(group);
        if (clip.rectOverlap(rect)) drawGroup(*context, rect);
    }
}

}  // namespace Quorvant
