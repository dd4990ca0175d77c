#include "gui/Panels.h"

#include "dsp/OutputIndex.h"
#include "gui/controls/Buttons.h"
#include "gui/controls/Knob.h"
#include "gui/controls/Meters.h"
#include "gui/controls/ProductLabel.h"
#include "gui/controls/Readouts.h"
#include "params/GlobalSet.h"
#include "params/ParameterLaws.h"
#include "platform/TickCount.h"

#include <string>

namespace Quorvant {
namespace {

constexpr double kDimmed = 0.42;

CRect toRect(const Place& place) {
    return CRect(place.left, place.top, place.right, place.bottom);
}

std::vector<Choice> choicesFor(uint32_t index) {
    switch (index) {
        case kGlobal:
            return {{"PRESET"}, {"GLOBAL"}};
        case kProcessingMode:
            return {{"CLEAN"}, {"LEGACY"}, {"LIMS"}, {"FULL"}};
        case kDirectionMode:
            return {{"FORWARD", Glyph::Forward},
                    {"BACKWARD", Glyph::Backward},
                    {"REVERSE", Glyph::Reverse},
                    {"BOUNCE", Glyph::Bounce}};
        case kSensitivity:
            return {{"-10 dBV"}, {"+4 dBu"}};
        case kEnforceManualTempo:
            return {{"HOST"}, {"MANUAL"}};
        case kNoteViewStyle:
            return {{"1/4 dot"}, {"3/8"}};
        default:
            return {};
    }
}

}  // namespace

Panel::Panel(const CRect& size, EditorContext& editor, std::span<const GroupSpec> groupList,
             std::span<const ControlSpec> controls)
    : CViewContainer(size), owner(editor), groups(groupList), specs(controls) {
    for (const ControlSpec& spec : specs) add(spec);
    dimUnused();
}

void Panel::add(const ControlSpec& spec) {
    const CRect rect = toRect(spec.place);
    const auto takeControl = [this](ParameterControl* control) {
        parameterControls.push_back(control);
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
        case ControlKind::Power:
            takeControl(new PowerButton(rect, owner, spec.id, spec.label));
            break;
        case ControlKind::Choice:
            takeControl(new ChoiceRow(rect, owner, spec.id, choicesFor(spec.id)));
            break;
        case ControlKind::LevelSet:
            takeControl(new LevelSetRow(rect, owner, spec.id, choicesFor(spec.id)));
            break;
        case ControlKind::TimeReadout:
            takeControl(takeLively(new TimeReadout(rect, owner)));
            break;
        case ControlKind::NoteReadout:
            takeControl(new NoteReadout(rect, owner, spec.id,
                                        spec.id == kNoteReadoutId ? kDelayNote : spec.id));
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
        case ControlKind::Product:
            addView(new ProductLabel(rect, spec.id, [this](auto) { owner.openAbout(); }));
            break;
        case ControlKind::Extensions: {
            const bool open = switchState(model.value(kShowHideExtensions));
            auto* button = new ActionButton(
                rect, static_cast<int32_t>(open ? kHideExtensionsId : kShowExtensionsId),
                ActionButton::Look::Text, "EXTENSIONS",
                [this, open](auto) { owner.setParameter(kShowHideExtensions, open ? 0.0 : 1.0); });
            button->setLit(open);
            button->setTooltipText(hintText(open ? kHideExtensionsId : kShowExtensionsId));
            addView(button);
            break;
        }
        case ControlKind::Caption:
            addView(new QVXTextLabel(rect, -1, spec.label, Theme::Face::Small, Theme::kTextDim,
                                     Align::Centre));
            break;
    }
}

void Panel::parameterChanged(uint32_t index) {
    for (ParameterControl* control : parameterControls) {
        const uint32_t shown = control->parameter();
        // Readouts tell of other parameters too.
        const bool concerned = shown == index || globalTwin(shown) == index || index == kGlobal ||
                               index == kNoteViewStyle || index == kDelayClockMode ||
                               control->getTag() == static_cast<int32_t>(kTimeReadoutId) ||
                               index == kEnforceManualTempo;
        if (concerned) control->refresh();
    }
    dimUnused();
}

// What has no effect in the present mode stands back, but can still be set.
void Panel::dimUnused() {
    const EditorModel& model = owner.model();
    const bool synced = switchState(model.value(kDelayClockMode));
    const bool looping = switchState(model.value(kInfRepeat));
    const bool lfoSynced = switchState(model.value(kLfoSync));
    forEachChild([&](VSTGUI::CView* view) {
        const auto* control = dynamic_cast<VSTGUI::CControl*>(view);
        if (!control) return;
        bool unused = false;
        switch (control->getTag()) {
            case kDelayClockMode:
                unused = looping;
                break;
            case kDelayTime:
            case kTimeUpId:
            case kTimeDownId:
                unused = synced || looping;
                break;
            case kNoteReadoutId:
            case kNoteUpId:
            case kNoteDownId:
                unused = !synced;
                break;
            case kLfoRate:
                unused = lfoSynced;
                break;
            case kLfoNote:
            case kLfoOffset:
                unused = !lfoSynced;
                break;
            case kHighCutCutoff:
                unused = !switchState(model.value(kHighCut));
                break;
            default:
                return;
        }
        const auto alpha = static_cast<float>(unused ? kDimmed : 1.0);
        if (view->getAlphaValue() != alpha) view->setAlphaValue(alpha);
    });
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
                 CRect(rect.left + 8.0, rect.top + 2.0, rect.right - 8.0, rect.top + 17.0),
                 Theme::Face::LabelBold, Theme::kText, Align::Left);
    }
}

}  // namespace Quorvant
