// The editor's size, hints, readings and life.
#include "dsp/OutputIndex.h"
#include "gui/Hints.h"
#include "platform/Folders.h"
#include "tests/Fold.h"
#include "tests/gui/EditorTest.h"

#include <cmath>
#include <thread>

namespace Quorvant::Testing {
namespace {

using EditorFrame = EditorTest;

TEST_F(EditorFrame, OpensAndClosesTheExtensionsAsTheHostAllows) {
    const int tall = editor->height();
    const auto use = [&](uint32_t tag, bool allowed) {
        model.sizesAllowed = allowed;
        click(at(tag));
        editor->idle();
        return model.value(kShowHideExtensions);
    };
    EXPECT_EQ(use(kHideExtensionsId, true), 0.0);
    EXPECT_EQ(model.gestures, (std::vector<std::string>{"begin 40", "40", "end 40"}));
    const int low = editor->height();
    EXPECT_LT(low, tall);
    EXPECT_EQ(model.requestedSize.second, low);
    EXPECT_EQ(use(kShowExtensionsId, false), 0.0);
    EXPECT_FALSE(control(kProcessingMode));
    reopen();
    EXPECT_EQ(editor->height(), low);
    EXPECT_EQ(use(kShowExtensionsId, true), 1.0);
    EXPECT_EQ(editor->height(), tall);
    model.values[kShowHideExtensions] = 0.0;
    model.values[kDefaultExtensionsPanel] = 1.0;
    reopen();
    EXPECT_EQ(editor->height(), tall);
    EXPECT_EQ(frame->getNbViews(), 1u) << "the editor is built twice";
}

TEST_F(EditorFrame, TakesTheSizesThatHostsGive) {
    const struct {
        int width, height, percent;
    } sizes[] = {{1500, 534, 150},
                 {2000, 534, 150},  // too wide: the height decides
                 {100, 20, 50},
                 {1000, 356, 100}};
    for (const auto& size : sizes) {
        editor->resized(size.width, size.height);
        EXPECT_EQ(editor->zoomPercent(), size.percent);
        EXPECT_EQ(model.storedZoom, size.percent);
    }
    // Hosts tell their scale again and again; the user's zoom stays.
    for (const double scale : {1.0, 1.0, 2.0}) {
        EXPECT_TRUE(editor->setContentScale(scale));
        EXPECT_EQ(editor->width(), static_cast<int>(1000 * scale));
        EXPECT_EQ(editor->zoomPercent(), 100);
    }
    for (const double wrong : {0.2, 8.1, -1.0, static_cast<double>(NAN)}) {
        EXPECT_FALSE(editor->setContentScale(wrong)) << wrong;
    }
    click(at(kHighCut));
    EXPECT_EQ(model.value(kHighCut), 1.0) << "clicks miss at a content scale of 2";
    editor->setContentScale(1.0);
    // The corner.
    drag({992, 348}, {1242, 438});
    EXPECT_NEAR(editor->zoomPercent(), 124, 2);
    EXPECT_EQ(model.storedZoom, editor->zoomPercent());
}

TEST_F(EditorFrame, ShowsHintsOncePointersRestWithTextsThatAreCut) {
    const auto hintAt = [&](CPoint where) {
        move(where, {}, false);
        editor->idle();
        EXPECT_EQ(find<HintBubble>(), nullptr);
        for (int waited = 0; waited < 500 && !find<HintBubble>(); ++waited) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
            editor->idle();
        }
        const auto* bubble = find<HintBubble>();
        return bubble ? bubble->text() : "";
    };
    EXPECT_EQ(hintAt(at(kFeedback)), "Feedback:\nFedback level control.");
    doubleClick(at(kFeedback));
    EXPECT_EQ(find<HintBubble>(), nullptr);
    enter("a text that is far too long for the place of a message");
    EXPECT_EQ(hintAt({750.0, 18.0}), message());
    EXPECT_FALSE(message().empty());
}

TEST_F(EditorFrame, GivesEveryControlTheHintOfItsIdLetterForLetter) {
    int seen = 0;
    for (const double global : {0.0, 1.0}) {
        model.set(kGlobal, global);
        for (uint32_t id = 0; id <= kAboutLabelId; ++id) {
            const auto* found = control(id);
            if (found && hintOf(*found) == hintText(id)) ++seen;
        }
    }
    EXPECT_EQ(seen, 2 * 39);
    EXPECT_FALSE(control(kDelayNote)) << "the selector asks for id 75";
    uint64_t all = kEmptyFold;
    for (uint32_t id = 0; id <= 200; ++id) all = fold(std::string(hintText(id)) + '\n', all);
    EXPECT_EQ(all, 3115117681445038161ull);
}

TEST_F(EditorFrame, ShowsEveryReading) {
    model.set(kInfRepeat, 1.0);
    editor->idle();
    Picture before = draw();
    // The headroom rises by one LED each: at -9 dB, and at the ceiling, which is 0.5.
    const std::pair<uint32_t, double> readings[] = {{kOutProcessingActivity, 1.0},
                                                    {kOutHostSync, 1.0},
                                                    {kOutHeadroom, 0.176},
                                                    {kOutHeadroom, 0.179},
                                                    {kOutHeadroom, 0.49},
                                                    {kOutHeadroom, 0.51},
                                                    {kOutDelayReadout, 0.02},
                                                    {kOutDelayActivity, 1.0},
                                                    {kOutLfoLamp, 1.0},
                                                    {kOutTempo, 0.0133},
                                                    {kOutSecondGainReduction, 0.5},
                                                    {kOutSampleRate, 0.096},
                                                    {kOutSideChainConnected, 1.0},
                                                    {kOutSideChainPeakLeft, 0.5},
                                                    {kOutSideChainPeakRight, 0.5},
                                                    {kOutInfRepeatLamp, 1.0}};
    for (const auto& [index, value] : readings) {
        editor->idle();
        EXPECT_TRUE(draw() == before);
        model.readings[index] = value;
        editor->idle();
        const Picture after = draw();
        EXPECT_FALSE(after == before) << "reading " << index;
        before = after;
    }
}

TEST_F(EditorFrame, CountsReadingsWhileThePlugInProcesses) {
    model.readings = {{kOutProcessingActivity, 1.0}, {kOutDelayReadout, 0.1}, {kOutTempo, 0.0133}};
    model.set(kDelayTime, 1174.0 / 9600.0);
    LiveModel live(model);
    const struct {
        uint32_t now;
        bool processing;
        double suspended, delay;
    } moments[] = {{0, true, 0.0, 2880.0},
                   {100, false, 0.0, 2880.0},  // the host takes its time
                   {520, false, 0.0, 1174.0},
                   {540, true, 0.0, 2880.0},
                   {560, true, 1.0, 1174.0}};
    for (const auto& moment : moments) {
        model.processing = moment.processing;
        model.readings[kSuspend] = moment.suspended;
        live.idle(moment.now);
        EXPECT_NEAR(heardDelay(live), moment.delay, 1e-9) << moment.now;
        EXPECT_NEAR(tempoInForce(live), 133.0, 1e-9) << "the last that is known";
    }
    EXPECT_TRUE(live.suspended());
}

TEST_F(EditorFrame, EndsGesturesThatItClosesOrTheSystemCancelsAmid) {
    const std::function<void()> ends[] = {[&] { cancelDrag(); }, [&] { reopen(); }};
    for (const auto& end : ends) {
        model.set(kFeedback, 0.5);
        model.gestures.clear();
        down(at(kFeedback));
        move(kNowhere);
        end();
        EXPECT_EQ(model.gestures, (std::vector<std::string>{"begin 21", "21", "end 21"}));
    }
}

TEST_F(EditorFrame, FindsTheManualInTheModulesBundle) {
    EXPECT_TRUE(std::filesystem::exists(moduleFile())) << moduleFile();
    const auto module = folder / "Contents/x86_64-any/module";
    EXPECT_TRUE(manualOf(module).empty());
    std::filesystem::create_directories(folder / "Contents/Resources");
    writeBytes(folder / "Contents/Resources/manual.html", "<p>");
    EXPECT_EQ(manualOf(module), folder / "Contents/Resources/manual.html");
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
