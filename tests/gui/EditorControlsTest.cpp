// The controls of the panels and of the strip.
#include "gui/TextEntry.h"
#include "params/GlobalSet.h"
#include "params/ParameterLaws.h"
#include "params/ParameterTable.h"
#include "platform/TickCount.h"
#include "tests/gui/EditorTest.h"

#include <set>

namespace Quorvant::Testing {
namespace {

class EditorControls : public EditorTest {
  protected:
    // What `act` adds to the parameter's value, by one whole gesture.
    double moved(uint32_t index, double from, const std::function<void()>& act) {
        model.set(index, from);
        model.gestures.clear();
        act();
        const std::string name = std::to_string(index);
        EXPECT_EQ(model.gestures, (std::vector<std::string>{"begin " + name, name, "end " + name}));
        return model.value(index) - from;
    }
    // Plays the parameter's control and, with Global on, that of its twin.
    void play(uint32_t ofPreset, const std::function<void(uint32_t index, CRect place)>& use) {
        for (const uint32_t index : std::set{ofPreset, globalTwin(ofPreset).value_or(ofPreset)}) {
            SCOPED_TRACE(index);
            model.set(kGlobal, index == ofPreset ? 0.0 : 1.0);
            const double other = model.value(ofPreset);
            const CRect rect = place(index == kDelayNote ? kNoteReadoutId : index);
            use(index, rect);
            model.gestures.clear();
            rightClick(rect.getCenter());
            EXPECT_EQ(model.gestures, std::vector{"menu " + std::to_string(index)});
            EXPECT_EQ(model.menuAt, CPoint(rect.getCenter().x * 2.0, rect.getCenter().y * 2.0));
            EXPECT_TRUE(index == ofPreset || model.value(ofPreset) == other);
            reached.insert(index);
        }
    }
    std::set<uint32_t> reached;
};

TEST_F(EditorControls, ReachEveryParameterByOneGestureAtATime) {
    const Modifiers shift(ModifierKey::Shift);
    editor->setZoom(200);
    for (const uint32_t knob :
         {kInput, kOutput, kMix, kReferenceLevel, kDelayTime, kFeedback, kHighCutCutoff, kManualVco,
          kDepth, kWaveform, kLfoRate, kLfoOffset}) {
        play(knob, [&](uint32_t index, CRect rect) {
            const CPoint p = rect.getCenter();
            const CPoint above(p.x, p.y - 30.0);
            const double coarse = moved(index, 0.4, [&] { drag(p, above); });
            const double fine = moved(index, 0.4, [&] { drag(p, above, shift); });
            EXPECT_GT(fine, 0.0);
            EXPECT_LT(fine, coarse * 0.2);
            const double step = moved(index, 0.4, [&] { wheel(p, -1.0); });
            EXPECT_LT(step, 0.0);
            const double fineStep = moved(index, 0.4, [&] { wheel(p, -1.0, shift); });
            EXPECT_NEAR(fineStep, step * 0.1, step * -0.01);
            const std::string typed = textToType(index, 0.7);
            for (const auto& text : {typed, std::string("nonsense")}) {
                doubleClick(p);
                enter(text);
            }
            EXPECT_EQ(textToType(index, model.value(index)), typed);
            for (const ModifierKey key : {ModifierKey::Control, ModifierKey::Alt}) {
                moved(index, 0.9, [&] { click(p, Modifiers(key)); });
                EXPECT_EQ(model.value(index), parameterDefault(index));
            }
        });
    }
    for (const uint32_t toggled :
         {kProcess, kBypass, kDelayClockMode, kDelayX2, kDelayInvert, kFeedbackInvert, kHighCut,
          kInfRepeat, kEnvInvert, kLfoSync, kSideChainMonitor}) {
        play(toggled, [&](uint32_t index, CRect rect) {
            EXPECT_EQ(moved(index, 0.0, [&] { click(rect.getCenter()); }), 1.0);
            EXPECT_EQ(moved(index, 1.0, [&] { click(rect.getCenter()); }), -1.0);
        });
    }
    for (const uint32_t chosen : {kProcessingMode, kDirectionMode, kSensitivity, kGlobal,
                                  kEnforceManualTempo, kNoteViewStyle}) {
        play(chosen, [&](uint32_t index, CRect rect) {
            rect.inset(4.0, 4.0);
            EXPECT_EQ(moved(index, 1.0, [&] { click(rect.getTopLeft()); }), -1.0);
            EXPECT_EQ(moved(index, 0.0, [&] { click(rect.getBottomRight()); }), 1.0);
            EXPECT_LT(moved(index, 1.0, [&] { wheel(rect.getCenter(), -1.0); }), 0.0);
        });
    }
    model.set(kEnforceManualTempo, 1.0);  // else the tempo is the host's
    for (const uint32_t wheeled : {kDelayNote, kLfoNote, kManualTempo, kSideChainIntExt}) {
        play(wheeled, [&](uint32_t index, CRect rect) {
            EXPECT_NE(moved(index, 0.5, [&] { wheel(rect.getCenter(), 1.0); }), 0.0);
        });
    }
    // One shows nothing, one is in the menu, and one has the button that opens the panel.
    EXPECT_EQ(reached.size() + 3, kParameterCount);
}

TEST_F(EditorControls, FollowThePointerAroundWhereTheUserWantsIt) {
    chooseFromMenu("Drag around");
    const CPoint p = at(kFeedback);
    const struct {
        CPoint from, to;  // from the middle
        double degrees;
    } turns[] = {{{0.0, -20.0}, {20.0, 0.0}, 90.0},
                 {{0.0, -20.0}, {-20.0, 0.0}, -90.0},
                 {{-6.0, 20.0}, {6.0, 20.0}, -33.4},  // past the bottom
                 {{6.0, 20.0}, {-6.0, 20.0}, 33.4}};
    for (const auto& turn : turns) {
        const double turned = moved(kFeedback, 0.5, [&] { drag(p + turn.from, p + turn.to); });
        EXPECT_NEAR(turned, turn.degrees / 270.0, 0.001);
    }
}

TEST_F(EditorControls, CopyTheSetThatIsSeenByCtrlOnGlobal) {
    for (const double global : {1.0, 0.0}) {
        model.set(kGlobal, global);
        const auto& seen = global == 1.0 ? kGlobalSetIndices : kPresetSetIndices;
        const auto& other = global == 1.0 ? kPresetSetIndices : kGlobalSetIndices;
        for (const uint32_t index : seen) model.set(index, 0.25 + 0.5 * global);
        click(at(kGlobal), Modifiers(ModifierKey::Control));
        for (const uint32_t index : other) EXPECT_EQ(model.value(index), 0.25 + 0.5 * global);
        EXPECT_EQ(model.value(kGlobal), global);
    }
}

TEST_F(EditorControls, StepAndOpenLists) {
    const Modifiers shift(ModifierKey::Shift);
    const auto type = [&](uint32_t tag, const char* text) {
        doubleClick(at(tag));
        enter(text);
    };
    const auto take = [&](uint32_t tag, const char* entry, Modifiers modifiers = {}) {
        click(place(tag).getBottomRight() - CPoint(8.0, 8.0), modifiers);
        choose(entry);
    };
    const CPoint slider = at(kSideChainIntExt);
    const struct {
        std::function<void()> act;
        uint32_t index;
        const char* shown;
    } steps[] = {
        {[&] { click(at(kTimeUpId)); }, kDelayTime, "251"},
        {[&] { click(at(kTimeDownId)); }, kDelayTime, "250"},
        {[&] { wheel(at(kTimeReadoutId), 1.0); }, kDelayTime, "251"},
        {[&] { type(kTimeReadoutId, "1.5 s"); }, kDelayTime, "1500"},
        {[&] { click(at(kTimeReadoutId), Modifiers(ModifierKey::Alt)); }, kDelayTime, "250"},
        // from 1/4 past 9/32, 7/24 and 5/16
        {[&] { click(at(kNoteUpId)); }, kDelayNote, "1/2 Triplet"},
        {[&] { click(at(kNoteDownId), shift); }, kDelayNote, "5/16"},
        {[&] { type(kNoteReadoutId, "1/8 dotted"); }, kDelayNote, "1/8 Dotted"},
        {[&] { take(kNoteReadoutId, "7/24", shift); }, kDelayNote, "7/24"},
        {[&] { take(kLfoNote, "1/1 Dotted"); }, kLfoNote, "1/1 Dotted"},
        {[&] { wheel(at(kLfoNote), 1.0); }, kLfoNote, "2/1"},
        {[&] { wheel(at(kLfoNote), -1.0); }, kLfoNote, "1/1 Dotted"},
        {[&] { model.set(kNoteViewStyle, 1.0); }, kLfoNote, "1/1 Dotted"},
        {[&] { take(kLfoNote, "2/3"); }, kLfoNote, "1/1 Triplet"},
        {[&] { click(at(kExternalButtonId)); }, kSideChainIntExt, "Ext100"},
        {[&] { wheel(slider, -1.0); }, kSideChainIntExt, "Ext95"},
        {[&] { wheel(slider, -1.0, shift); }, kSideChainIntExt, "Ext93"},
        {[&] { drag(slider, slider - CPoint(32.0, 0.0)); }, kSideChainIntExt, "Ext43"},
        {[&] { click(at(kInternalButtonId)); }, kSideChainIntExt, "Ext0"},
    };
    for (const auto& step : steps) {
        step.act();
        EXPECT_EQ(parameterText(static_cast<int32_t>(step.index), model.value(step.index)),
                  step.shown);
    }
    click(place(kNoteReadoutId).getBottomRight() - CPoint(8.0, 8.0));
    EXPECT_LT(find<PopupMenu>()->items().size(), 30u) << "the list without Shift";
}

TEST_F(EditorControls, StandBackWhileTheyAreOfNoUse) {
    const struct {
        uint32_t index;
        double value;
        std::vector<uint32_t> tags;
    } cases[] = {{kDelayClockMode, 1.0, {kDelayTime, kTimeUpId, kTimeDownId}},
                 {kDelayClockMode, 0.0, {kNoteReadoutId, kNoteUpId, kNoteDownId}},
                 {kInfRepeat, 1.0, {kDelayClockMode, kDelayTime, kTimeUpId, kTimeDownId}},
                 {kLfoSync, 1.0, {kLfoRate}},
                 {kLfoSync, 0.0, {kLfoNote, kLfoOffset}},
                 {kHighCut, 0.0, {kHighCutCutoff}}};
    for (const auto& [index, unused, tags] : cases) {
        for (const double value : {1.0 - unused, unused}) {
            model.set(index, value);
            for (const uint32_t tag : tags)
                EXPECT_EQ(control(tag)->getAlphaValue() < 1.0F, value == unused) << tag;
        }
        model.set(index, 0.0);
    }
}

TEST_F(EditorControls, SetTheTempoOnlyWhileManualTempoIsInForce) {
    const CPoint readout = at(kManualTempo);
    const auto bpm = [&] { return manualTempoBpm(model.value(kManualTempo)); };
    const double before = bpm();
    for (const double manual : {0.0, 1.0}) {
        model.set(kEnforceManualTempo, manual);
        wheel(readout, 5.0);
        drag(readout, {readout.x, readout.y - 20.0});
        EXPECT_NEAR(bpm(), before + 25.0 * manual, 1e-9);
        doubleClick(readout);
        EXPECT_EQ(find<ValueField>() != nullptr, manual == 1.0);
    }
    enter("90 bpm");
    EXPECT_NEAR(bpm(), 90.0, 1e-9);
    // The large readout takes it with Ctrl held.
    doubleClick(at(kTimeReadoutId), Modifiers(ModifierKey::Control));
    enter("140");
    EXPECT_NEAR(bpm(), 140.0, 1e-9);

    model.set(kEnforceManualTempo, 0.0);
    press("TAP");
    for (const uint32_t start = tickCountMs(); tickCountMs() == start;) {
    }
    press("TAP");
    EXPECT_EQ(model.value(kEnforceManualTempo), 1.0);
    EXPECT_NE(bpm(), 140.0);
}

TEST(TapTempo, AveragesTapsAndBeginsAnewAfterAPause) {
    TapTempo taps;
    EXPECT_FALSE(taps.tap(0xfffffe00u));  // the counter wraps in between
    EXPECT_NEAR(*taps.tap(0xfffffe00u + 500), 120.0, 1e-9);
    EXPECT_NEAR(*taps.tap(0xfffffe00u + 980), 122.449, 1e-3);
    EXPECT_FALSE(taps.tap(10000));
    EXPECT_FALSE(taps.tap(10000));  // no time has passed
}

TEST_F(EditorControls, OfTheStripShowTheirShareOfTheSource) {
    const auto& internal = dynamic_cast<ActionButton&>(*control(kInternalButtonId));
    const auto& external = dynamic_cast<ActionButton&>(*control(kExternalButtonId));
    model.set(kSideChainIntExt, 0.43);
    EXPECT_EQ(internal.text(), "INTERNAL 57%");
    EXPECT_EQ(external.text(), "EXTERNAL 43%");
    EXPECT_EQ(internal.textColour(), CColor(188, 188, 188, 255));
    EXPECT_EQ(external.textColour(), CColor(171, 171, 171, 255));
}

TEST_F(EditorControls, OfMonitoringLayTheWarningOverAllAboveTheStrip) {
    const auto isLayer = [](const VSTGUI::CViewContainer& view) {
        return view.getBackgroundColor() == CColor(196, 94, 4, 128);
    };
    const auto& meter = *find<QVXSideChainMeter>();
    for (const double value : {1.0, 0.8, 0.0}) {
        model.set(kSideChainMonitor, value);
        EXPECT_EQ(find<VSTGUI::CViewContainer>(isLayer) != nullptr, value > 0.0);
        EXPECT_EQ(meter.isOn(), value > 0.0);
        click(at(kHighCut));  // it warns, it doesn't lock
    }
    EXPECT_EQ(model.value(kHighCut), 1.0);
}

}  // namespace
}  // namespace Quorvant::Testing
