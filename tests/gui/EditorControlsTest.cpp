// The controls of the panels and of the strip.
#include "params/GlobalSet.h"
#include "params/ParameterLaws.h"
#include "params/ParameterTable.h"
#include "tests/gui/EditorTest.h"

#include <chrono>
#include <thread>

namespace Quorvant::Testing {
namespace {

TEST_F(EditorTest, KnobsAreDraggedWheeledTypedAndReset) {
    struct Case {
        uint32_t index;
        const char* typed;
        const char* shown;
    };
    for (const Case& c : {Case{kInput, "-6", "-6.0"},
                          {kOutput, "3", "3.0"},
                          {kMix, "7,5", "7.5"},
                          {kReferenceLevel, "-4", "-4.0"},
                          {kDelayTime, "1k5", "1500"},
                          {kFeedback, "4.2", "4.2"},
                          {kHighCutCutoff, "9k0", "9k0"},
                          {kManualVco, "1.2", "1.20"},
                          {kDepth, "3", "3.0"},
                          {kWaveform, "squere", "sqr"},
                          {kLfoRate, "500m", "0.50"},
                          {kLfoOffset, "90", "90"}}) {
        SCOPED_TRACE(c.index);
        const CPoint p = at(c.index);
        const std::string name = std::to_string(c.index);
        model.set(c.index, 0.4);
        model.gestures.clear();
        drag(p, 30.0);
        const double coarse = model.value(c.index) - 0.4;
        EXPECT_GT(coarse, 0.0);
        EXPECT_EQ(model.gestures, (std::vector<std::string>{"begin " + name, name, "end " + name}));

        model.set(c.index, 0.4);
        drag(p, 30.0, Modifiers(ModifierKey::Shift));
        const double fine = model.value(c.index) - 0.4;
        EXPECT_GT(fine, 0.0);
        EXPECT_LT(fine, coarse * 0.2);

        model.set(c.index, 0.4);
        model.gestures.clear();
        screen->wheel(p, -1.0);
        const double step = 0.4 - model.value(c.index);
        EXPECT_GT(step, 0.0);
        EXPECT_EQ(model.gestures.front(), "begin " + name);
        EXPECT_EQ(model.gestures.back(), "end " + name);
        model.set(c.index, 0.4);
        screen->wheel(p, -1.0, Modifiers(ModifierKey::Shift));
        EXPECT_NEAR(0.4 - model.value(c.index), step * 0.1, step * 0.01);

        screen->doubleClick(p);
        type(c.typed);
        EXPECT_EQ(shown(c.index), c.shown);
        screen->doubleClick(p);
        type("0.3", false);  // Escape
        screen->doubleClick(p);
        type("nonsense");
        EXPECT_EQ(shown(c.index), c.shown);

        for (const ModifierKey key : {ModifierKey::Control, ModifierKey::Alt}) {
            model.set(c.index, 0.9);
            screen->click(p, Modifiers(key));
            EXPECT_EQ(model.value(c.index), parameterDefault(c.index));
        }
        model.hostMenus.clear();
        screen->rightClick(p);
        ASSERT_EQ(model.hostMenus.size(), 1u);
        EXPECT_EQ(model.hostMenus[0].index, c.index);
        EXPECT_NEAR(model.hostMenus[0].x, p.x, 0.5);
        EXPECT_NEAR(model.hostMenus[0].y, p.y, 0.5);
    }
    EXPECT_EQ(screen->find<TextField>(), nullptr);
}

TEST_F(EditorTest, CircularKnobsFollowThePointerAround) {
    screen->click({960, 18});
    choose("Drag around");
    const CPoint p = at(kFeedback);
    model.set(kFeedback, 0.5);
    screen->down({p.x, p.y - 20.0});
    screen->move({p.x + 20.0, p.y});
    screen->up({p.x + 20.0, p.y});
    EXPECT_NEAR(model.value(kFeedback), 0.5 + 90.0 / 270.0, 0.03);
    screen->click({960, 18});
    choose("Drag up and down");
    EXPECT_EQ(loadUserSettings().knobMode, KnobMode::Vertical);
}

TEST_F(EditorTest, SwitchesToggleAndRowsTakeTheChoice) {
    for (const uint32_t index :
         {kProcess, kBypass, kDelayClockMode, kDelayX2, kDelayInvert, kFeedbackInvert, kHighCut,
          kInfRepeat, kEnvInvert, kLfoSync, kSideChainMonitor}) {
        SCOPED_TRACE(index);
        const double before = model.value(index);
        screen->click(at(index));
        EXPECT_EQ(model.value(index), 1.0 - before);
        screen->click(at(index));
        EXPECT_EQ(model.value(index), before);
    }
    for (const uint32_t index : {kProcessingMode, kDirectionMode, kSensitivity, kGlobal,
                                 kEnforceManualTempo, kNoteViewStyle}) {
        SCOPED_TRACE(index);
        const auto rect = editorRect(*screen->find<VSTGUI::CControl>(
            [&](const auto& control) { return control.getTag() == static_cast<int32_t>(index); }));
        screen->click({rect.left + 4.0, rect.top + 4.0});
        EXPECT_EQ(model.value(index), 0.0);
        screen->click({rect.right - 4.0, rect.bottom - 4.0});
        EXPECT_EQ(model.value(index), 1.0);
        screen->wheel({rect.right - 4.0, rect.bottom - 4.0}, -1.0);
        EXPECT_LT(model.value(index), 1.0);
    }
}

TEST_F(EditorTest, GlobalModeShowsTheOtherSetAndCtrlCopiesWhatIsSeen) {
    model.set(kMix, 0.2);
    model.set(kGlobalMix, 0.7);
    model.set(kGlobal, 1.0);
    for (std::size_t i = 0; i < kGlobalSetSize; ++i) {
        const uint32_t index = kGlobalSetIndices[i];
        SCOPED_TRACE(index);
        auto* control = screen->find<ParameterControl>(
            [&](const auto& candidate) { return candidate.parameter() == index; });
        ASSERT_NE(control, nullptr);
        EXPECT_EQ(control->getTag(), static_cast<int32_t>(index));
        const double before = model.value(kPresetSetIndices[i]);
        screen->wheel(at(index), model.value(index) > 0.5 ? -1.0 : 1.0);
        EXPECT_NE(model.value(index), parameterDefault(index)) << "not reached";
        EXPECT_EQ(model.value(kPresetSetIndices[i]), before);
    }
    screen->click(at(kGlobal), Modifiers(ModifierKey::Control));
    for (std::size_t i = 0; i < kGlobalSetSize; ++i) {
        EXPECT_EQ(model.value(kPresetSetIndices[i]), model.value(kGlobalSetIndices[i]));
    }
    EXPECT_EQ(model.value(kGlobal), 1.0);
    model.set(kGlobal, 0.0);
    model.set(kMix, 0.9);
    screen->click(at(kGlobal), Modifiers(ModifierKey::Control));
    EXPECT_EQ(model.value(kGlobalMix), 0.9);
    EXPECT_EQ(at(kGlobalMix).x, -1.0) << "the global set is still shown";
}

TEST_F(EditorTest, DelayTimeAndNotesStepAndOpenTheirLists) {
    screen->click(at(kTimeUpId));
    EXPECT_EQ(shown(kDelayTime), "251");
    screen->click(at(kTimeDownId));
    screen->click(at(kTimeDownId));
    EXPECT_EQ(shown(kDelayTime), "249");
    screen->wheel(at(kTimeReadoutId), 1.0);
    EXPECT_EQ(shown(kDelayTime), "250");
    screen->doubleClick(at(kTimeReadoutId));
    type("1.5 s");
    EXPECT_EQ(shown(kDelayTime), "1500");
    screen->click(at(kTimeReadoutId), Modifiers(ModifierKey::Alt));
    EXPECT_EQ(shown(kDelayTime), "250");

    EXPECT_EQ(shown(kDelayNote), "1/4");
    screen->click(at(kNoteUpId));
    EXPECT_EQ(shown(kDelayNote), "1/2 Triplet");  // past 9/32, 7/24 and 5/16
    screen->click(at(kNoteDownId), Modifiers(ModifierKey::Shift));
    EXPECT_EQ(shown(kDelayNote), "5/16");
    screen->doubleClick(at(kNoteReadoutId));
    type("1/8 dotted");
    EXPECT_EQ(shown(kDelayNote), "1/8 Dotted");

    const auto openList = [&](uint32_t tag, Modifiers modifiers) {
        const auto rect = editorRect(*screen->find<VSTGUI::CControl>(
            [&](const auto& control) { return control.getTag() == static_cast<int32_t>(tag); }));
        screen->click({rect.right - 8.0, rect.getCenter().y}, modifiers);
        auto* menu = screen->find<PopupMenu>();
        return menu ? menu->items().size() : 0;
    };
    EXPECT_EQ(openList(kNoteReadoutId, Modifiers(ModifierKey::Shift)), 60u);
    choose("7/24");
    EXPECT_EQ(shown(kDelayNote), "7/24");
    EXPECT_LT(openList(kLfoNote, {}), 30u);
    choose("1/1 Dotted");
    EXPECT_EQ(shown(kLfoNote), "1/1 Dotted");
    // What a loop ignores stands back.
    const auto* sync = screen->find<KickButton>(
        [](const auto& button) { return button.parameter() == kDelayClockMode; });
    EXPECT_EQ(sync->getAlphaValue(), 1.0F);
    model.set(kInfRepeat, 1.0);
    EXPECT_LT(sync->getAlphaValue(), 1.0F);
    model.set(kInfRepeat, 0.0);

    model.set(kNoteViewStyle, 1.0);
    EXPECT_GT(openList(kLfoNote, {}), 10u);
    choose("3/2");
    EXPECT_EQ(shown(kLfoNote), "1/1 Dotted");
}

TEST_F(EditorTest, TempoIsSetOnlyWhileManualTempoIsInForce) {
    const double before = model.value(kManualTempo);
    screen->wheel(at(kManualTempo), 5.0);
    drag(at(kManualTempo), 20.0);
    screen->doubleClick(at(kManualTempo));
    EXPECT_EQ(screen->find<TextField>(), nullptr);
    EXPECT_EQ(model.value(kManualTempo), before);

    model.set(kEnforceManualTempo, 1.0);
    screen->doubleClick(at(kManualTempo));
    type("90 bpm");
    EXPECT_NEAR(manualTempoBpm(model.value(kManualTempo)), 90.0, 1e-9);
    screen->wheel(at(kManualTempo), 1.0);
    EXPECT_NEAR(manualTempoBpm(model.value(kManualTempo)), 91.0, 1e-9);
    drag(at(kManualTempo), 20.0);
    EXPECT_NEAR(manualTempoBpm(model.value(kManualTempo)), 111.0, 1e-9);
    // The large readout takes it with Ctrl held.
    screen->doubleClick(at(kTimeReadoutId), Modifiers(ModifierKey::Control));
    type("140");
    EXPECT_NEAR(manualTempoBpm(model.value(kManualTempo)), 140.0, 1e-9);

    model.set(kEnforceManualTempo, 0.0);
    press("TAP");
    std::this_thread::sleep_for(std::chrono::milliseconds(120));
    press("TAP");
    EXPECT_EQ(model.value(kEnforceManualTempo), 1.0);
    EXPECT_GT(manualTempoBpm(model.value(kManualTempo)), 100.0);
}

TEST(TapTempo, AveragesTapsAndBeginsAnewAfterAPause) {
    TapTempo taps;
    EXPECT_FALSE(taps.tap(0xfffffe00u));  // the counter wraps in between
    EXPECT_NEAR(*taps.tap(0xfffffe00u + 500), 120.0, 1e-9);
    EXPECT_NEAR(*taps.tap(0xfffffe00u + 980), 122.449, 1e-3);
    EXPECT_FALSE(taps.tap(10000));
    EXPECT_FALSE(taps.tap(10000));  // no time has passed
}

TEST_F(EditorTest, SideChainStripFollowsItsParameters) {
    auto* internal = screen->find<SideChainBarLabelButton>(
        [](const auto& button) { return button.getTag() == kInternalButtonId; });
    auto* external = screen->find<SideChainBarLabelButton>(
        [](const auto& button) { return button.getTag() == kExternalButtonId; });
    ASSERT_TRUE(internal && external);
    struct Case {
        double value;
        const char *internal, *external;
        int internalGrey, externalGrey;
    };
    for (const Case& c : {Case{0.5, "INTERNAL 50%", "EXTERNAL 50%", 180, 180},
                          {0.004, "INTERNAL 100%", "EXTERNAL 0%", 239, 120},
                          {1.0, "INTERNAL 0%", "EXTERNAL 100%", 120, 240}}) {
        model.set(kSideChainIntExt, c.value);
        EXPECT_EQ(internal->text(), c.internal);
        EXPECT_EQ(external->text(), c.external);
        const auto grey = [](int level) {
            const auto g = static_cast<uint8_t>(level);
            return CColor(g, g, g, 255);
        };
        EXPECT_EQ(internal->textColour(), grey(c.internalGrey));
        EXPECT_EQ(external->textColour(), grey(c.externalGrey));
    }
    screen->click(at(kInternalButtonId));
    EXPECT_EQ(model.value(kSideChainIntExt), 0.0);
    screen->click(at(kExternalButtonId));
    EXPECT_EQ(model.value(kSideChainIntExt), 1.0);
    screen->wheel(at(kSideChainIntExt), -1.0);
    EXPECT_NEAR(model.value(kSideChainIntExt), 0.95, 1e-9);
    screen->wheel(at(kSideChainIntExt), -1.0, Modifiers(ModifierKey::Shift));
    EXPECT_NEAR(model.value(kSideChainIntExt), 0.93, 1e-9);
    const CPoint slider = at(kSideChainIntExt);
    screen->down(slider);
    screen->move({slider.x - 32.0, slider.y});
    screen->up(slider);
    EXPECT_NEAR(model.value(kSideChainIntExt), 0.43, 1e-9);
}

TEST_F(EditorTest, MonitoringLaysTheWarningOverAllAboveTheStrip) {
    const auto layers = [&] {
        int count = 0;
        auto* root = screen->find<VSTGUI::CViewContainer>();
        root->forEachChild([&](VSTGUI::CView* view) {
            const auto* container = view->asViewContainer();
            if (container && container->getBackgroundColor() == CColor(196, 94, 4, 128)) ++count;
        });
        return count;
    };
    auto* meter = screen->find<QVXSideChainMeter>();
    EXPECT_EQ(layers(), 0);
    model.set(kSideChainMonitor, 1.0);
    model.set(kSideChainMonitor, 0.8);
    EXPECT_EQ(layers(), 1);
    EXPECT_TRUE(meter->isOn());
    // It warns, it doesn't lock.
    screen->click(at(kHighCut));
    EXPECT_EQ(model.value(kHighCut), 1.0);
    screen->click(at(kSideChainMonitor));
    EXPECT_EQ(layers(), 0);
    EXPECT_FALSE(meter->isOn());
}

}  // namespace
}  // namespace Quorvant::Testing
