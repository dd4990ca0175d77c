// The editor's size, hints, readings and life.
#include "dsp/OutputIndex.h"
#include "gui/Hints.h"
#include "platform/Folders.h"
#include "tests/gui/EditorTest.h"

#include <fstream>
#include <thread>

namespace Quorvant::Testing {
namespace {

using EditorFrame = EditorTest;

TEST_F(EditorFrame, OpensAndClosesTheExtensionsAsTheHostAllows) {
    const int tall = screen->editor->height();
    const auto use = [&](uint32_t tag, bool allowed) {
        model.sizesAllowed = allowed;
        screen->click(at(tag));
        screen->editor->idle();
        return model.value(kShowHideExtensions);
    };
    EXPECT_EQ(use(kHideExtensionsId, true), 0.0);
    EXPECT_EQ(model.gestures, (std::vector<std::string>{"begin 40", "40", "end 40"}));
    const int low = screen->editor->height();
    EXPECT_LT(low, tall);
    EXPECT_EQ(model.requestedSize.second, low);
    EXPECT_EQ(use(kShowExtensionsId, false), 0.0);
    EXPECT_FALSE(screen->control(kProcessingMode));
    // The strip has moved up and still works.
    screen->click(at(kExternalButtonId));
    EXPECT_EQ(model.value(kSideChainIntExt), 1.0);
    reopen();
    EXPECT_EQ(screen->editor->height(), low);
    EXPECT_EQ(use(kShowExtensionsId, true), 1.0);
    EXPECT_EQ(screen->editor->height(), tall);
    model.values[kShowHideExtensions] = 0.0;
    model.values[kDefaultExtensionsPanel] = 1.0;
    reopen();
    EXPECT_EQ(screen->editor->height(), tall);
    EXPECT_EQ(screen->frame->getNbViews(), 1u) << "the editor is built twice";
}

TEST_F(EditorFrame, TakesTheSizesThatHostsGive) {
    Editor& editor = *screen->editor;
    struct Size {
        int width, height, percent;
    };
    for (const Size& size : {Size{1500, 534, 150},
                             {2000, 534, 150},  // too wide: the height decides
                             {100, 20, 50},
                             {1000, 356, 100}}) {
        editor.resized(size.width, size.height);
        EXPECT_EQ(editor.zoomPercent(), size.percent);
        EXPECT_EQ(model.storedZoom, size.percent);
    }
    EXPECT_EQ(editor.nearestSize(1500), (std::pair{1500, 534}));
    // Hosts tell their scale again and again; the user's zoom stays.
    for (const double scale : {1.0, 1.0, 1.5, 2.0}) {
        EXPECT_TRUE(editor.setContentScale(scale));
        EXPECT_EQ(editor.width(), static_cast<int>(1000 * scale));
        EXPECT_EQ(editor.zoomPercent(), 100);
    }
    EXPECT_FALSE(editor.setContentScale(0.0));
    screen->click(at(kHighCut));
    EXPECT_EQ(model.value(kHighCut), 1.0) << "clicks miss at a content scale of 2";
    editor.setContentScale(1.0);
    // The corner.
    screen->drag({992, 348}, {1242, 438});
    EXPECT_NEAR(editor.zoomPercent(), 124, 2);
    EXPECT_EQ(model.storedZoom, editor.zoomPercent());
    screen->drag({992, 348}, {9920, 3480});
    EXPECT_EQ(screen->draw().width, 3000);
}

TEST_F(EditorFrame, HasTheInstancesOwnZoomOrElseTheUsers) {
    UserSettings settings;
    settings.zoom = 75;
    ASSERT_TRUE(saveUserSettings(settings));
    for (const auto& [stored, width] : {std::pair{0, 750}, {200, 2000}, {4711, 3000}}) {
        model.storedZoom = stored;
        reopen();
        EXPECT_EQ(screen->editor->width(), width);
        EXPECT_EQ(model.storedZoom, stored) << "the default is no choice for this instance";
    }
    ASSERT_TRUE(saveUserSettings({}));
}

TEST_F(EditorFrame, ShowsHintsOncePointersRestWithTextsThatAreCut) {
    const auto bubble = [&] {
        auto* found = screen->find<HintBubble>();
        return found ? found->text() : "";
    };
    screen->move(at(kFeedback), {}, false);
    screen->editor->idle();
    EXPECT_EQ(bubble(), "");
    for (int waited = 0; waited < 500 && bubble().empty(); ++waited) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        screen->editor->idle();
    }
    EXPECT_EQ(bubble(), "Feedback:\nFedback level control.");
    screen->doubleClick(at(kFeedback));
    EXPECT_EQ(bubble(), "");
    enter("a text that is far too long for the place of a message");
    HintDisplay hints(*screen->find<VSTGUI::CViewContainer>());
    hints.entered(*screen->find<PresetBar>(), 0);
    hints.moved({750.0, 18.0}, 0);
    hints.idle(690);
    EXPECT_EQ(bubble(), "");
    hints.idle(710);
    EXPECT_EQ(bubble(), message());
    hints.moved(kNameField, 720);
    EXPECT_EQ(bubble(), "");
}

TEST_F(EditorFrame, GivesEveryControlTheHintOfItsId) {
    int seen = 0;
    for (const double global : {0.0, 1.0}) {
        model.set(kGlobal, global);
        for (uint32_t id = 0; id <= kAboutLabelId; ++id) {
            const auto* control = screen->control(id);
            if (control && hintOf(*control) == hintText(id)) ++seen;
        }
    }
    EXPECT_EQ(seen, 2 * 39);
    EXPECT_FALSE(screen->control(kDelayNote)) << "the selector asks for id 75";
}

TEST_F(EditorFrame, ShowsEveryReading) {
    model.set(kInfRepeat, 1.0);
    screen->editor->idle();
    Picture before = screen->draw();
    const std::pair<uint32_t, double> readings[] = {
        {kOutProcessingActivity, 1.0}, {kOutHostSync, 1.0},
        {kOutHeadroom, 0.4},           {kOutDelayReadout, 0.02},
        {kOutDelayActivity, 1.0},      {kOutLfoLamp, 1.0},
        {kOutTempo, 0.0133},           {kOutSecondGainReduction, 0.5},
        {kOutSampleRate, 0.096},       {kOutSideChainPeakLeft, 0.5},
        {kOutSideChainPeakRight, 0.5}, {kOutInfRepeatLamp, 1.0}};
    for (const auto& [index, value] : readings) {
        screen->editor->idle();
        EXPECT_EQ(differentPixels(before, screen->draw()), 0u);
        model.readings[index] = value;
        screen->editor->idle();
        const Picture after = screen->draw();
        EXPECT_GT(differentPixels(before, after), 3u) << "reading " << index;
        before = after;
    }
}

TEST_F(EditorFrame, CountsReadingsWhileThePlugInProcesses) {
    model.readings = {{kOutProcessingActivity, 1.0}, {kOutDelayReadout, 0.1}, {kOutTempo, 0.0133}};
    model.set(kDelayTime, 1174.0 / 9600.0);
    LiveModel live(model);
    struct Moment {
        uint32_t now;
        bool processing;
        double suspended, delay;
    };
    for (const Moment& moment : {Moment{0, true, 0.0, 2880.0},
                                 {100, false, 0.0, 2880.0},  // the host takes its time
                                 {520, false, 0.0, 1174.0},
                                 {540, true, 0.0, 2880.0},
                                 {560, true, 1.0, 1174.0}}) {
        model.processing = moment.processing;
        model.readings[kSuspend] = moment.suspended;
        live.idle(moment.now);
        EXPECT_NEAR(heardDelay(live), moment.delay, 1e-9) << moment.now;
        EXPECT_NEAR(tempoInForce(live), 133.0, 1e-9) << "the last that is known";
    }
    EXPECT_TRUE(live.suspended());
}

TEST_F(EditorFrame, EndsGesturesThatItClosesAmid) {
    screen->down(at(kFeedback));
    screen->move(kNowhere);
    screen->click(kNameField);
    reopen();
    EXPECT_EQ(model.gestures, (std::vector<std::string>{"begin 21", "21", "end 21"}));
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
    const UserSettings settings = {
        175, false, KnobMode::Circular, true, {"factory:Default", "file:A=B/C"}};
    EXPECT_EQ(readSettings(writeSettings(settings)), settings);
    EXPECT_EQ(readSettings(""), UserSettings());
    EXPECT_EQ(readSettings("zoom=1\nzoom=99999999999\nhints=maybe\n=\nnoise\nfavourite="),
              UserSettings());
}

}  // namespace
}  // namespace Quorvant::Testing
