// The echoes that are taken hold of.
#include "gui/stage/StageView.h"
#include "params/ParameterLaws.h"
#include "tests/gui/EditorTest.h"

namespace Quorvant::Testing {
namespace {

using Gestures = std::vector<std::string>;

struct EditorStage : EditorTest {
    // A stage that shows these settings.
    StageView& stageOf(const std::vector<std::pair<uint32_t, double>>& scene) {
        for (const auto& [index, value] : scene) model.values.at(index) = value;
        reopen();
        model.gestures.clear();
        return *find<StageView>();
    }
    static CPoint seen(const StageView& view, CPoint handle) {
        return handle - view.getViewSize().getTopLeft() + editorRect(view).getTopLeft();
    }
    // Without the moves on the way.
    Gestures endsOfGestures() const {
        Gestures ends = model.gestures;
        std::erase_if(ends, [](const std::string& text) { return text.find(' ') == text.npos; });
        return ends;
    }
};

TEST_F(EditorStage, FirstEchoSetsTheTimeAndLaterOnesTheFeedback) {
    auto& view = stageOf({{kDelayClockMode, 0.0},
                          {kDelayTime, delayTimeValue(400.0)},
                          {kFeedback, 0.5},
                          {kManualVco, 0.5},
                          {kHighCut, 0.0}});
    CPoint at = seen(view, view.timeHandle());
    const double length = view.model().axis().lengthMs;
    const double pixels = (view.timeHandle().x - view.getViewSize().left - 30.0) / 400.0;  // a ms
    down(at);
    move({at.x + 100.0 * pixels, at.y});
    model.set(kDelayTime, 0.9);  // what the host plays meanwhile
    move({at.x + 200.0 * pixels, at.y});
    EXPECT_NEAR(delayTimeMs(model.values[kDelayTime]), 600.0, 1.0);
    editor->idle();
    EXPECT_EQ(view.model().axis().lengthMs, length);  // holds still under the pointer
    cancelDrag();
    EXPECT_EQ(endsOfGestures(), (Gestures{"begin 15", "end 15"}));

    auto& slope = stageOf({{kDelayTime, delayTimeValue(400.0)}});
    at = seen(slope, slope.feedbackHandle());
    const double bottom = seen(slope, {0.0, slope.getViewSize().bottom}).y - 52.0;
    drag(at, {at.x, at.y - (bottom - at.y) * 0.2});
    EXPECT_NEAR(model.values[kFeedback], 0.5 * 1.2 * 1.2, 0.001);
    drag(at, {at.x, bottom + 50.0});
    EXPECT_EQ(model.values[kFeedback], 0.0);
    EXPECT_EQ(endsOfGestures(), (Gestures{"begin 21", "end 21", "begin 21", "end 21"}));
    editor->idle();
    click(seen(slope, slope.feedbackHandle()), Modifiers(ModifierKey::Alt));
    EXPECT_EQ(model.values[kFeedback], parameterDefault(kFeedback));
    wheel(seen(slope, slope.timeHandle()), 1.0);
    EXPECT_NEAR(delayTimeMs(model.values[kDelayTime]), 401.0, 1e-6);
}

TEST_F(EditorStage, SnapsToNotesAndLeavesALoopAlone) {
    const double eighthDotted = listValue(19, kNoteCount);
    auto& view = stageOf({{kDelayClockMode, 1.0}, {kDelayNote, eighthDotted}, {kManualVco, 0.5}});
    CPoint at = seen(view, view.timeHandle());
    const double share = view.timeHandle().x - view.getViewSize().left - 30.0;  // of 3/16
    drag(at, {at.x + share * 0.25, at.y});
    EXPECT_EQ(parameterText(kDelayNote, model.values[kDelayNote]), "1/4");
    editor->idle();
    at = seen(view, view.timeHandle());
    drag(at, {at.x + share * 0.1, at.y}, Modifiers(ModifierKey::Shift));
    EXPECT_EQ(parameterText(kDelayNote, model.values[kDelayNote]), "9/32");
    EXPECT_EQ(endsOfGestures(), (Gestures{"begin 17", "end 17", "begin 17", "end 17"}));

    auto& held = stageOf({{kInfRepeat, 1.0}});
    drag(seen(held, held.timeHandle()), {at.x + 100.0, at.y});
    wheel(seen(held, held.timeHandle()), 1.0);
    click(seen(held, held.timeHandle()), Modifiers(ModifierKey::Alt));
    EXPECT_EQ(model.gestures, Gestures{});
}

}  // namespace
}  // namespace Quorvant::Testing
