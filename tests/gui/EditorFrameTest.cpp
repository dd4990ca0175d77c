// The editor's size, hints, readings and life.
#include "dsp/OutputIndex.h"
#include "gui/Hints.h"
#include "platform/Folders.h"
#include "tests/gui/EditorTest.h"

#include <algorithm>
#include <fstream>
#include <set>
#include <thread>

namespace Quorvant::Testing {
namespace {

TEST_F(EditorTest, ExtensionsOpenCloseAndStayAsTheyWereLeft) {
    const int tall = screen->editor->height();
    screen->click(at(kHideExtensionsId));
    screen->editor->idle();
    EXPECT_EQ(model.value(kShowHideExtensions), 0.0);
    EXPECT_LT(screen->editor->height(), tall);
    EXPECT_EQ(model.requestedSize->second, screen->editor->height());
    EXPECT_EQ(at(kProcessingMode).x, -1.0);
    model.sizesAllowed = false;
    model.gestures.clear();
    screen->click(at(kShowExtensionsId));
    screen->editor->idle();
    EXPECT_EQ(model.value(kShowHideExtensions), 0.0) << "the host had refused the size";
    EXPECT_EQ(model.gestures,
              (std::vector<std::string>{"begin 40", "40", "end 40", "begin 40", "40", "end 40"}));
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
    screen->editor->idle();
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

TEST_F(EditorTest, ReadingsCountWhileThePlugInProcesses) {
    model.readings = {{kOutProcessingActivity, 1.0}, {kOutDelayReadout, 0.1}, {kOutTempo, 0.0133}};
    model.set(kDelayTime, 1174.0 / 9600.0);
    LiveModel live(model);
    live.idle(0);
    EXPECT_NEAR(heardDelay(live), 2880.0, 1e-9);
    model.processing = false;
    live.idle(100);
    EXPECT_TRUE(live.running()) << "the host takes its time";
    live.idle(520);
    EXPECT_NEAR(heardDelay(live), 1174.0, 1e-9);
    EXPECT_EQ(live.reading(kOutProcessingActivity), 0.0);
    EXPECT_NEAR(tempoInForce(live), 133.0, 1e-9) << "the last that is known";
    model.processing = true;
    live.idle(540);
    EXPECT_NEAR(heardDelay(live), 2880.0, 1e-9);
    model.readings[kSuspend] = 1.0;
    EXPECT_NEAR(heardDelay(live), 1174.0, 1e-9);
    EXPECT_TRUE(live.suspended());
}

TEST_F(EditorTest, TextThatIsCutIsInTheHintAsAWhole) {
    const std::string typed = "a text that is far too long for the place of a message";
    screen->doubleClick(at(kFeedback));
    type(typed);
    auto* bar = screen->find<PresetBar>();
    HintDisplay hints(*screen->find<VSTGUI::CViewContainer>());
    hints.entered(*bar, 0);
    hints.moved({750.0, 18.0}, 0);
    hints.idle(690);
    EXPECT_EQ(screen->find<HintBubble>(), nullptr);
    hints.idle(710);
    ASSERT_NE(screen->find<HintBubble>(), nullptr);
    EXPECT_EQ(screen->find<HintBubble>()->text(), bar->messageText());
    hints.moved({200.0, 18.0}, 720);
    EXPECT_EQ(screen->find<HintBubble>(), nullptr);
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
