// The editor used as a person uses it: events go into the real view tree, and what the plug-in then
// holds is looked at.
#include "dsp/OutputIndex.h"
#include "gui/Hints.h"
#include "params/GlobalSet.h"
#include "params/ParameterLaws.h"
#include "params/ParameterText.h"
#include "platform/Folders.h"
#include "presets/PresetTexts.h"
#include "tests/gui/OffScreen.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <set>
#include <thread>

namespace Quorvant::Testing {
namespace {

using VSTGUI::CPoint;
using VSTGUI::ModifierKey;
using VSTGUI::Modifiers;

class EditorTest : public ::testing::Test {
  protected:
    EditorTest()
        : folder(std::filesystem::temp_directory_path() /
                 ("corvane-gui-presets-" + std::to_string(getpid()))),
          model(folder),
          screen(std::make_unique<OffScreen>(model)) {
        std::filesystem::create_directories(folder);
    }
    ~EditorTest() override {
        screen.reset();
        std::filesystem::remove_all(folder);
    }

    std::string shown(uint32_t index) const {
        char text[kTextCapacity];
        getParameterText(static_cast<int32_t>(index), model.value(index), text);
        return text;
    }
    void drag(CPoint from, double up, Modifiers modifiers = {}) {
        screen->down(from, modifiers);
        screen->move({from.x, from.y - up}, modifiers);
        screen->up({from.x, from.y - up});
    }
    void type(const std::string& text, bool accepted = true) {
        auto* box = screen->find<QuestionBox>();
        auto* field = box ? box->textField() : screen->find<TextField>();
        ASSERT_NE(field, nullptr) << "no text field for '" << text << "'";
        field->setText(text.c_str());
        field->finish(accepted);
    }
    // Chooses from the menu that is open.
    void choose(const std::string& title) {
        auto* menu = screen->find<PopupMenu>();
        ASSERT_NE(menu, nullptr) << "no menu for '" << title << "'";
        for (std::size_t i = 0; i < menu->items().size(); ++i) {
            if (menu->items()[i].title == title) {
                screen->click(menu->itemRect(i).getCenter());
                return;
            }
        }
        FAIL() << "no entry '" << title << "'";
    }
    void press(const std::string& title) {
        auto* button = screen->find<ActionButton>(
            [&](const ActionButton& candidate) { return candidate.text() == title; });
        ASSERT_NE(button, nullptr) << "no button '" << title << "'";
        screen->click(screen->middleOf(*button));
    }
    CPoint at(uint32_t tag) { return screen->middleOf(static_cast<int32_t>(tag)); }

    std::filesystem::path folder;
    FakeModel model;
    std::unique_ptr<OffScreen> screen;
};

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
    EXPECT_NEAR(bpmFromManualTempo(model.value(kManualTempo)), 90.0, 1e-9);
    screen->wheel(at(kManualTempo), 1.0);
    EXPECT_NEAR(bpmFromManualTempo(model.value(kManualTempo)), 91.0, 1e-9);
    drag(at(kManualTempo), 20.0);
    EXPECT_NEAR(bpmFromManualTempo(model.value(kManualTempo)), 111.0, 1e-9);
    // The large readout takes it with Ctrl held.
    screen->doubleClick(at(kTimeReadoutId), Modifiers(ModifierKey::Control));
    type("140");
    EXPECT_NEAR(bpmFromManualTempo(model.value(kManualTempo)), 140.0, 1e-9);

    model.set(kEnforceManualTempo, 0.0);
    press("TAP");
    std::this_thread::sleep_for(std::chrono::milliseconds(120));
    press("TAP");
    EXPECT_EQ(model.value(kEnforceManualTempo), 1.0);
    EXPECT_GT(bpmFromManualTempo(model.value(kManualTempo)), 100.0);
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

TEST_F(EditorTest, PresetBarStepsSavesComparesAndTakesBack) {
    auto& presets = model.manager;
    const auto name = [&] { return screen->find<PresetBar>()->nameDisplay(); };
    const std::string first = name();
    EXPECT_EQ(first.substr(0, 4), "00: ");
    EXPECT_FALSE(screen->find<PresetBar>()->undoButton().isEnabled());
    screen->click({45, 18});  // next
    EXPECT_EQ(name().substr(0, 4), "01: ");
    screen->click({21, 18});  // previous
    EXPECT_EQ(name(), first);
    screen->click({351, 18});  // undo
    EXPECT_EQ(name().substr(0, 4), "01: ");
    screen->click({379, 18});  // redo
    EXPECT_EQ(name(), first);

    model.set(kFeedback, 0.77);
    EXPECT_EQ(name(), first + " *");
    press("COPY");
    press("B");
    EXPECT_EQ(presets.selectedSetup(), Setup::B);
    EXPECT_NE(model.value(kFeedback), 0.77);
    press("PASTE");
    EXPECT_EQ(name().substr(0, 3), "CP:");
    EXPECT_NEAR(model.value(kFeedback), 0.77, 1e-6);
    press("B > A");
    press("A");
    EXPECT_EQ(name().substr(0, 3), "CP:");

    screen->rightClick({200, 18});
    type("My sound");
    EXPECT_EQ(presetName(presets.current()), "My sound");

    screen->desk.answer = folder / "Chosen";
    press("SAVE");
    EXPECT_EQ(screen->desk.askedTitle, "Save preset");
    EXPECT_EQ(screen->desk.askedName, "My sound.qvx");
    EXPECT_TRUE(std::filesystem::exists(folder / "Chosen.qvx"));

    // Without a system's dialog, the editor asks itself, and before it overwrites.
    screen->desk.hasDialogs = false;
    press("SAVE");
    type("Second");
    EXPECT_TRUE(std::filesystem::exists(folder / "Second.qvx"));
    std::filesystem::remove(folder / "Second.qvx");
    std::filesystem::create_directories(folder / "Second.qvx");
    press("SAVE");
    type("Second");
    ASSERT_NE(screen->find<QuestionBox>(), nullptr);
    press("Cancel");
    EXPECT_EQ(screen->find<QuestionBox>(), nullptr);
    EXPECT_TRUE(std::filesystem::is_directory(folder / "Second.qvx"));
}

TEST_F(EditorTest, BrowserFindsChoosesAndKeepsPresets) {
    auto& presets = model.manager;
    presets.setName("Mine");
    ASSERT_EQ(presets.save(folder / "Mine.qvx"), PresetFault::None);
    screen->click({200, 18});
    auto* browser = screen->find<PresetBrowser>();
    ASSERT_NE(browser, nullptr);
    const auto row = [&](ListColumn& column, const std::string& part) {
        for (std::size_t i = 0; i < column.rows().size(); ++i) {
            if (!column.rows()[i].heading &&
                column.rows()[i].text.find(part) != std::string::npos) {
                return static_cast<int>(i);
            }
        }
        return -1;
    };
    const auto point = [&](ListColumn& column, int index) {
        column.select(index);
        return column.rowRect(index).getCenter();
    };

    // A category, then one of its presets by a click, and one by the keyboard.
    screen->click(point(browser->groupColumn(), row(browser->groupColumn(), "Vibrato")));
    ASSERT_GT(browser->presetColumn().rows().size(), 2u);
    screen->click(browser->presetColumn().rowRect(1).getCenter());
    EXPECT_EQ(presets.location().preset, 1);
    EXPECT_TRUE(screen->key(VSTGUI::VirtualKey::Down));
    EXPECT_EQ(presets.location().preset, 2);
    EXPECT_TRUE(screen->key(VSTGUI::VirtualKey::Up));
    EXPECT_EQ(presets.location().preset, 1);
    EXPECT_TRUE(presets.canUndo());

    // Search goes through every list.
    browser->searchField().setText("mine");
    ASSERT_EQ(browser->presetColumn().rows().size(), 1u);
    screen->click(browser->presetColumn().rowRect(0).getCenter());
    EXPECT_EQ(presets.location().source, kFromFolder);

    // Favourites.
    const auto rowPoint = browser->presetColumn().rowRect(0).getCenter();
    screen->rightClick(rowPoint);
    choose("Add to favourites");
    EXPECT_TRUE(browser->presetColumn().rows()[0].starred);
    browser->searchField().setText("");
    screen->click(screen->middleOf(browser->favouritesButton()));
    EXPECT_EQ(browser->presetColumn().rows().size(), 1u);
    screen->rightClick(rowPoint);
    choose("Remove from favourites");
    EXPECT_EQ(browser->presetColumn().rows().size(), 0u);

    // Mix lock.
    screen->click(screen->middleOf(browser->mixLockButton()));
    model.set(kMix, 0.123);
    screen->click(point(browser->groupColumn(), row(browser->groupColumn(), "Flanger")));
    screen->click(browser->presetColumn().rowRect(0).getCenter());
    EXPECT_EQ(model.value(kMix), 0.123);
    EXPECT_FALSE(screen->find<PresetBar>()->nameDisplay().ends_with('*')) << "nobody changed it";
    screen->click(screen->middleOf(browser->mixLockButton()));
    screen->click(browser->presetColumn().rowRect(1).getCenter());
    EXPECT_NE(model.value(kMix), 0.123);

    // A designer's photo opens the link; factory presets are no files.
    screen->rightClick(browser->presetColumn().rowRect(0).getCenter());
    choose("Factory presets are integral part of the plugin");
    screen->click(point(browser->groupColumn(), row(browser->groupColumn(), "Dub")));
    screen->click({915, 90});
    EXPECT_EQ(screen->desk.opened.substr(0, 8), "https://");

    // User presets are renamed, and deleted only after a question.
    screen->click(point(browser->groupColumn(), row(browser->groupColumn(), "#MAIN FOLDER")));
    ASSERT_EQ(browser->presetColumn().rows().size(), 1u);
    screen->rightClick(rowPoint);
    choose("Rename...");
    type("Renamed");
    screen->editor->idle();
    EXPECT_NE(browser->presetColumn().rows()[0].text.find("Renamed"), std::string::npos);
    EXPECT_TRUE(std::filesystem::exists(folder / "Renamed.qvx"));
    screen->rightClick(rowPoint);
    choose("Delete...");
    press("Cancel");
    EXPECT_TRUE(std::filesystem::exists(folder / "Renamed.qvx"));
    screen->rightClick(rowPoint);
    choose("Delete...");
    press("Delete");
    EXPECT_FALSE(std::filesystem::exists(folder / "Renamed.qvx"));

    EXPECT_TRUE(screen->key(VSTGUI::VirtualKey::Escape));
    EXPECT_EQ(screen->find<PresetBrowser>(), nullptr);
    EXPECT_FALSE(screen->key(VSTGUI::VirtualKey::Down)) << "keys belong to the host now";
}

TEST_F(EditorTest, ConfigurationMenuDoesWhatItSays) {
    const CPoint menu(960, 18);
    const auto pick = [&](const std::string& title) {
        screen->click(menu);
        choose(title);
    };
    for (const int zoom : {50, 75, 125, 150, 175, 200, 250, 300, 100}) {
        pick(std::to_string(zoom) + " %");
        EXPECT_EQ(model.storedZoom, zoom);
        EXPECT_EQ(screen->editor->width(), 10 * zoom);
        EXPECT_EQ(model.requestedSize->first, 10 * zoom);
    }
    pick("125 %");
    pick("Use for new instances");
    EXPECT_EQ(loadUserSettings().zoom, 125);
    pick("100 %");
    pick("Use for new instances");
    model.sizesAllowed = false;
    pick("200 %");
    EXPECT_EQ(screen->editor->zoomPercent(), 100) << "the host had refused";
    model.sizesAllowed = true;

    // The zoom field opens the same steps.
    press("100 %");
    choose("150 %");
    EXPECT_EQ(model.storedZoom, 150);
    press("150 %");
    choose("100 %");

    pick("Hints: hidden");
    EXPECT_FALSE(loadUserSettings().hints);
    pick("Hints: shown");
    EXPECT_TRUE(loadUserSettings().hints);
    pick("As fractions (3/8)");
    EXPECT_EQ(model.value(kNoteViewStyle), 1.0);
    pick("As names (1/4 Dotted)");
    EXPECT_EQ(model.value(kNoteViewStyle), 0.0);
    pick("Shown with every editor");
    EXPECT_EQ(model.value(kDefaultExtensionsPanel), 1.0);
    pick("As it was left");
    EXPECT_EQ(model.value(kDefaultExtensionsPanel), 0.0);

    model.manager.setName("File");
    model.set(kFeedback, 0.66);
    ASSERT_EQ(model.manager.save(folder / "File.qvx"), PresetFault::None);
    model.set(kFeedback, 0.1);
    screen->desk.answer = folder / "File.qvx";
    pick("Load or import preset file...");
    EXPECT_NEAR(model.value(kFeedback), 0.66, 1e-6);
    std::filesystem::copy(folder / "File.qvx", folder / "Came later.qvx");
    const auto files = [&] { return model.manager.presetNames(kFromFolder, 0).size(); };
    const auto before = files();
    pick("Scan preset folder again");
    EXPECT_EQ(files(), before + 1);
    const std::string path = std::getenv("PATH");
    setenv("PATH", folder.c_str(), 1);  // holds no program to open folders with
    pick("Open preset folder");
    setenv("PATH", path.c_str(), 1);
    EXPECT_EQ(screen->find<PresetBar>()->messageText(), kNoPresetFolderText);
    pick("Manual");
    EXPECT_EQ(screen->desk.opened, "manual");
    screen->desk.hasManual = false;
    pick("Manual");
    EXPECT_NE(screen->find<PresetBar>()->messageText().find("no manual"), std::string::npos);
    pick("About Corvane QVX77x");
    EXPECT_NE(screen->find<AboutBox>(), nullptr);
    screen->click(at(kAboutLabelId));
    EXPECT_EQ(screen->find<AboutBox>(), nullptr);
    screen->click(at(kProductLabelId));
    EXPECT_NE(screen->find<AboutBox>(), nullptr);
    press("BACK TO THE PANEL");
    // A click beside a menu closes it and does nothing else.
    screen->click(menu);
    screen->click(at(kHighCut));
    EXPECT_EQ(screen->find<PopupMenu>(), nullptr);
    EXPECT_EQ(model.value(kHighCut), 0.0);
}

TEST_F(EditorTest, ExtensionsOpenCloseAndStayAsTheyWereLeft) {
    const int tall = screen->editor->height();
    screen->click(at(kHideExtensionsId));
    EXPECT_EQ(model.value(kShowHideExtensions), 0.0);
    EXPECT_LT(screen->editor->height(), tall);
    EXPECT_EQ(model.requestedSize->second, screen->editor->height());
    EXPECT_EQ(at(kProcessingMode).x, -1.0);
    model.sizesAllowed = false;
    screen->click(at(kShowExtensionsId));
    EXPECT_EQ(model.value(kShowHideExtensions), 0.0) << "the host had refused the size";
    EXPECT_EQ(at(kProcessingMode).x, -1.0);
    model.sizesAllowed = true;
    // The strip has moved up and still works.
    screen->click(at(kExternalButtonId));
    EXPECT_EQ(model.value(kSideChainIntExt), 1.0);
    {
        OffScreen second(model);
        EXPECT_LT(second.editor->height(), tall);
    }
    model.values[kDefaultExtensionsPanel] = 1.0;
    {
        OffScreen second(model);
        EXPECT_EQ(second.editor->height(), tall);
        EXPECT_EQ(second.frame->getNbViews(), 1u) << "the editor is built twice";
    }
    model.editor = screen->editor.get();
    model.set(kShowHideExtensions, 0.0);
    screen->click(at(kShowExtensionsId));
    EXPECT_EQ(screen->editor->height(), tall);
}

TEST_F(EditorTest, TakesTheSizesThatHostsGive) {
    screen->editor->resized(1500, 534);
    EXPECT_EQ(screen->editor->zoomPercent(), 150);
    screen->editor->resized(2000, 534);  // too wide: the height decides
    EXPECT_EQ(screen->editor->zoomPercent(), 150);
    screen->editor->resized(100, 20);
    EXPECT_EQ(screen->editor->zoomPercent(), 50);
    screen->editor->setZoom(100);
    screen->editor->setContentScale(2.0);
    EXPECT_EQ(screen->editor->width(), 2000);
    EXPECT_EQ(screen->editor->zoomPercent(), 100);
    screen->click(at(kHighCut));
    EXPECT_EQ(model.value(kHighCut), 1.0) << "clicks miss at a content scale of 2";
    // Hosts tell their scale again and again; the user's zoom stays.
    screen->editor->setZoom(150);
    for (const double scale : {1.0, 1.0, 1.5, 1.0}) {
        screen->editor->setContentScale(scale);
        EXPECT_EQ(screen->editor->width(), static_cast<int>(1500 * scale));
        EXPECT_EQ(model.storedZoom, 150);
    }
    screen->editor->setZoom(100);
    // The corner.
    screen->down({992, 348});
    screen->move({1242, 438});
    screen->up({1242, 438});
    EXPECT_NEAR(screen->editor->zoomPercent(), 124, 2);
    EXPECT_EQ(model.storedZoom, screen->editor->zoomPercent());
    screen->down({992, 348});
    screen->move({9920, 3480});
    screen->up({9920, 3480});
    EXPECT_EQ(screen->editor->zoomPercent(), 300);
    EXPECT_EQ(screen->draw().width, 3000);
}

TEST_F(EditorTest, ZoomIsTheInstancesOwnOrElseTheUsers) {
    UserSettings settings = loadUserSettings();
    settings.zoom = 75;
    ASSERT_TRUE(saveUserSettings(settings));
    FakeModel fresh(folder);
    {
        OffScreen view(fresh);
        EXPECT_EQ(view.editor->width(), 750);
        EXPECT_EQ(fresh.storedZoom, 0) << "the default is no choice for this instance";
        view.editor->setZoom(200);
    }
    EXPECT_EQ(OffScreen(fresh).editor->width(), 2000);
    fresh.storedZoom = 4711;  // from a project
    EXPECT_EQ(OffScreen(fresh).editor->width(), 3000);
    settings.zoom = 100;
    ASSERT_TRUE(saveUserSettings(settings));
}

TEST_F(EditorTest, HintsComeWhenThePointerRests) {
    screen->move(at(kFeedback), {}, false);
    screen->editor->idle();
    EXPECT_EQ(screen->find<HintBubble>(), nullptr);
    std::this_thread::sleep_for(std::chrono::milliseconds(750));
    screen->editor->idle();
    auto* hint = screen->find<HintBubble>();
    ASSERT_NE(hint, nullptr);
    EXPECT_EQ(hint->text(), "Feedback:\nFedback level control.");
    screen->move(at(kMix), {}, false);
    EXPECT_EQ(screen->find<HintBubble>(), nullptr);
}

TEST_F(EditorTest, EveryControlHasTheHintOfItsId) {
    const auto hint = [](const VSTGUI::CView& view) {
        uint32_t size = 0;
        view.getAttributeSize(VSTGUI::kCViewTooltipAttribute, size);
        std::string text(size, '\0');
        view.getAttribute(VSTGUI::kCViewTooltipAttribute, size, text.data(), size);
        return std::string(text.c_str());
    };
    std::set<uint32_t> seen;
    for (const double global : {0.0, 1.0}) {
        model.set(kGlobal, global);
        for (uint32_t id = 0; id <= kAboutLabelId; ++id) {
            auto* control = screen->find<VSTGUI::CControl>([&](const auto& candidate) {
                return candidate.getTag() == static_cast<int32_t>(id);
            });
            if (!control || hint(*control).empty() || id == kEmptySlot || id == kSideChainMonitor ||
                id == kInternalButtonId || id == kExternalButtonId ||
                (id >= kOutHostSync && id <= kOutSideChainPeakRight && id != kHeadroomBarId)) {
                continue;
            }
            EXPECT_EQ(hint(*control), hintText(id)) << id;
            seen.insert(id);
        }
    }
    EXPECT_EQ(seen.count(kDelayNote), 0u) << "the selector asks for id 75";
    EXPECT_TRUE(seen.contains(kNoteReadoutId));
    EXPECT_TRUE(seen.contains(kGlobalInput));
    EXPECT_GE(seen.size(), 45u);
}

TEST_F(EditorTest, LampsAndReadoutsFollowTheReadings) {
    screen->editor->idle();
    const Picture dark = screen->draw();
    const auto changed = [&](const Picture& before, const Picture& after) {
        std::size_t count = 0;
        for (std::size_t i = 0; i < before.pixels.size(); ++i) {
            if (before.pixels[i] != after.pixels[i]) ++count;
        }
        return count;
    };
    EXPECT_EQ(changed(dark, screen->draw()), 0u);
    const std::pair<uint32_t, double> readings[] = {
        {kOutProcessingActivity, 1.0}, {kOutHostSync, 1.0},
        {kOutHeadroom, 0.4},           {kOutDelayReadout, 0.02},
        {kOutDelayActivity, 1.0},      {kOutLfoLamp, 1.0},
        {kOutTempo, 0.0133},           {kOutSecondGainReduction, 0.5},
        {kOutSampleRate, 0.096},       {kOutSideChainPeakLeft, 0.5},
        {kOutSideChainPeakRight, 0.5}};
    Picture before = dark;
    for (const auto& [index, value] : readings) {
        model.readings[index] = value;
        screen->editor->idle();
        const Picture after = screen->draw();
        EXPECT_GT(changed(before, after), 3u) << "reading " << index;
        before = after;
    }
    model.set(kInfRepeat, 1.0);
    before = screen->draw();
    model.readings[kOutInfRepeatLamp] = 1.0;
    screen->editor->idle();
    EXPECT_GT(changed(before, screen->draw()), 3u);
}

TEST_F(EditorTest, OpensAndClosesManyTimesAndBesideOthers) {
    FakeModel other(folder);
    for (int i = 0; i < 20; ++i) {
        OffScreen a(model, 100);
        OffScreen b(other, 150);
        a.click({200, 18});  // closed with its browser open
        b.click({960, 18});
        b.editor->idle();
        a.editor->idle();
        a.down(b.middleOf(static_cast<int32_t>(kFeedback)));  // and in the midst of a gesture
    }
    EXPECT_EQ(std::count(model.gestures.begin(), model.gestures.end(), "begin 21"),
              std::count(model.gestures.begin(), model.gestures.end(), "end 21"));
}

// By whatever control it has: with the preset's set of levels shown, then with the global one.
TEST_F(EditorTest, EveryParameterIsReached) {
    std::set<uint32_t> missing;
    for (uint32_t index = 0; index < kParameterCount; ++index) missing.insert(index);
    missing.erase(kEmptySlot);
    missing.erase(kDefaultExtensionsPanel);  // in the menu, as is seen elsewhere
    const auto use = [&](uint32_t tag, uint32_t index) {
        const CPoint p = at(tag);
        ASSERT_GE(p.x, 0.0) << index;
        model.gestures.clear();
        screen->wheel(p, model.value(index) > 0.5 ? -1.0 : 1.0);
        if (model.gestures.empty()) screen->click(p);
        const std::string name = std::to_string(index);
        ASSERT_GE(model.gestures.size(), 3u) << index;
        EXPECT_EQ(model.gestures.front(), "begin " + name);
        EXPECT_EQ(model.gestures.back(), "end " + name);
        missing.erase(index);
    };
    for (const double global : {0.0, 1.0}) {
        model.set(kGlobal, global);
        for (const uint32_t index : std::set(missing)) {
            const bool twin = index >= kGlobalSensitivity && index <= kGlobalBypass;
            if (twin != (global == 1.0) || index == kGlobal) continue;
            model.set(kEnforceManualTempo, 1.0);  // else the tempo is the host's
            use(index == kDelayNote            ? kNoteReadoutId
                : index == kShowHideExtensions ? kHideExtensionsId
                                               : index,
                index);
            if (index == kShowHideExtensions) model.set(index, 1.0);
        }
    }
    use(kGlobal, kGlobal);
    EXPECT_TRUE(missing.empty()) << *missing.begin() << " has no control";
}

TEST(Manual, LiesInTheModulesBundle) {
    EXPECT_TRUE(std::filesystem::exists(moduleFile())) << moduleFile();
    const auto bundle = std::filesystem::temp_directory_path() / "corvane-manual-test.vst3";
    const auto contents = bundle / "Contents";
    std::filesystem::create_directories(contents / "Resources");
    const auto module = contents / "x86_64-any" / "module";
    EXPECT_TRUE(manualOf(module).empty());
    std::ofstream(contents / "Resources" / "manual.html") << "<p>";
    EXPECT_EQ(manualOf(module), contents / "Resources" / "manual.html");
    std::filesystem::remove_all(bundle);
    EXPECT_FALSE(Desk().openManual()) << "there is none beside a test";
}

TEST(UserSettings, SurviveAndIgnoreWhatMakesNoSense) {
    UserSettings settings;
    settings.zoom = 175;
    settings.hints = false;
    settings.knobMode = KnobMode::Circular;
    settings.mixLock = true;
    settings.favourites = {"factory:Default", "file:A=B/C"};
    EXPECT_EQ(readSettings(writeSettings(settings)), settings);
    EXPECT_EQ(readSettings(""), UserSettings());
    EXPECT_EQ(readSettings("zoom=1\nzoom=99999999999\nhints=maybe\n=\nnoise\nfavourite="),
              UserSettings());
}

}  // namespace
}  // namespace Quorvant::Testing
