// The stage's picture against what the engine really makes of a click.
#include "gui/stage/StageModel.h"
#include "params/ParameterTable.h"
#include "tests/dsp/EngineRig.h"

#include <gtest/gtest.h>

#include <map>

namespace Quorvant::Test {
namespace {

// A plug-in that is set and read, and no more.
struct PlainModel final : EditorModel {
    std::map<uint32_t, double> values, readings;

    double value(uint32_t index) const override {
        return values.contains(index) ? values.at(index) : parameterDefault(index);
    }
    double reading(uint32_t index) const override {
        return readings.contains(index) ? readings.at(index) : 0.0;
    }
    void beginEdit(uint32_t) override {}
    void performEdit(uint32_t index, double value) override { values[index] = value; }
    void endEdit(uint32_t) override {}
    PresetManager* presets() override { return nullptr; }
    bool showHostMenu(uint32_t, double, double) override { return false; }
    bool requestSize(int, int) override { return false; }
    int zoom() const override { return 0; }
    void setZoom(int) override {}
};

constexpr auto kReverse = DirectionMode::Reverse;
const std::pair<const char*, Settings> kScenes[] = {
    {"plain", {{kDelayTime, ms(250.0)}, {kFeedback, 0.6}}},
    {"odd and short", {{kDelayTime, ms(7.3)}, {kFeedback, 0.5}, {kFeedbackInvert, 1.0}}},
    {"hardly any", {{kDelayTime, ms(0.01)}}},
    {"delay inverted, which is silent", {{kDelayTime, ms(90.0)}, {kDelayInvert, 1.0}}},
    {"cut", {{kFeedback, 0.9}, {kHighCut, 1.0}, {kHighCutCutoff, 0.2}}},
    {"doubled", {{kFeedback, 0.7}, {kDelayX2, 1.0}, {kManualVco, 0.8}}},
    {"note", {{kDelayClockMode, 1.0}, {kDelayNote, 19.0 / 59.0}, {kFeedback, 0.7}}},
    {"backward", {{kDelayTime, ms(9000.0)}, {kFeedback, 0.6}, {kDirectionMode, 1.0 / 3.0}}},
    {"reverse", {{kDelayTime, ms(300.0)}, {kFeedback, 0.7}, {kDirectionMode, valueOf(kReverse)}}},
    {"reverse, round the memory",
     {{kDelayTime, ms(7000.0)}, {kFeedback, 0.7}, {kDirectionMode, valueOf(kReverse)}}},
    {"bounce",
     {{kDelayTime, ms(300.0)}, {kFeedback, 0.7}, {kDirectionMode, 1.0}, {kFeedbackInvert, 1.0}}},
    {"loop", {{kDelayTime, ms(200.0)}, {kFeedback, 0.2}, {kInfRepeat, 1.0}}},
    {"short loop", {{kDelayTime, ms(20.0)}, {kFeedback, 0.9}, {kInfRepeat, 1.0}}},
    {"looping reverse",
     {{kDelayTime, ms(200.0)}, {kDirectionMode, valueOf(kReverse)}, {kInfRepeat, 1.0}}}};

double sum(const Signal& signal, size_t from, size_t to) {
    double total = 0.0;
    for (size_t i = from; i < to; ++i) total += std::abs(signal[i]);
    return total;
}

TEST(Stage, PicturesWhatTheEngineMakesOfAClick) {
    for (const auto& [name, scene] : kScenes) {
        SCOPED_TRACE(name);
        Settings settings = {{kDepth, 0.0}, {kMix, 1.0}, {kFeedback, 0.0}, {kDelayTime, ms(100.0)}};
        settings.insert(settings.end(), scene.begin(), scene.end());
        PlainModel model;
        model.readings[kOutTempo] = 120.0 / 10000.0;
        for (const auto& [index, value] : settings) model.values[index] = value;
        const StageModel stage(model);

        EngineRig rig;
        rig.host.giveTempo(120.0);
        for (const auto& [index, value] : settings)
            if (index != kInfRepeat) rig.set(index, value);
        rig.engine.setSampleRate(rig.rate);
        const EchoCourse& course = stage.course();
        rig.render(silence(rig.samples(course.delayMs * course.clockFactor / 4000.0)));
        const Signal click = join(rig.pulse(0.001), rig.pulse(0.002, 0.15));  // falls
        Signal heard = rig.render(click).left;
        rig.set(kInfRepeat, course.looping ? 1.0 : 0.0);
        const double seconds = std::min(stage.axis().lengthMs / 1000.0, 20.0);
        heard = join(heard, rig.render(silence(rig.samples(seconds))).left);

        // Each echo is where it is shown, and nothing is heard anywhere else.
        const double slack = stage.axis().lengthMs * 0.004 + 3.0;
        for (const Echo& echo : stage.echoes()) {
            const auto from = rig.samples(std::max(0.0, echo.ms - slack) / 1000.0);
            const auto to = rig.samples((echo.ms + slack + 1.0) / 1000.0);
            if (to > heard.size()) break;
            const size_t at = peakPosition(heard, from, to);
            const double found = heard[at] / (0.5 * kFilterGain);
            SCOPED_TRACE(echo.ms);
            const double before = sum(heard, from, at), after = sum(heard, at, to);
            EXPECT_TRUE(echo.level < 0.1 || echo.reversed == (before > after));
            EXPECT_NEAR(found, echo.inverted ? -echo.level : echo.level, 0.03);
            std::fill(heard.begin() + static_cast<long>(from),
                      heard.begin() + static_cast<long>(to), 0.0);
        }
        EXPECT_LT(peak(heard, 0, heard.size() - rig.samples(0.001 * slack)), 0.02);
    }
}

TEST(Stage, FollowsWhatIsPlayed) {
    PlainModel model;
    model.values = {{kDelayTime, ms(640.0)},
                    {kManualVco, 0.5},
                    {kDepth, 0.9},
                    {kWaveform, 0.0},
                    {kInfRepeat, 1.0}};
    model.readings = {{kOutProcessingActivity, 1.0},
                      {kOutInfRepeatLamp, 1.0},
                      {kOutDelayReadout, 0.9 * 640.0 / kLongestHeardDelayMs}};
    StageModel stage(model);
    uint32_t now = 0xffffff00;  // wraps on the way
    for (int i = 0; i <= 40; ++i, now += 32) {
        const double phase = -3.0 + 0.15 * i;
        model.readings[kOutLfoLamp] = 0.5 + 0.5 * std::sin(phase);
        model.readings[kOutHeadroom] = i == 20 ? 0.5 : 0.0;
        stage.idle(now);
        if (i < 2) continue;                          // rises or falls?
        EXPECT_NEAR(stage.dot().phase, phase, 0.15);  // a turn is noticed one look later
        EXPECT_NEAR(stage.bend(), 0.9, 1e-9);
        EXPECT_NEAR(stage.glowOf((i - 20) * 32.0, 1.0), i < 20 ? 0.0 : 1.0, 1e-6);
        EXPECT_LT(stage.glowOf((i - 20) * 32.0 + 100.0, 1.0), 1e-6);
        const double round = i * 32.0 / (0.9 * 640.0);
        EXPECT_NEAR(std::remainder(stage.loopPosition() - round, 1.0), 0.0, 1e-6);
    }
    model.readings[kOutInfRepeatLamp] = 0.0;
    for (int i = 0; i < 3; ++i) stage.idle(now += 100000);
    EXPECT_LT(stage.loopPosition(), 0.0);
    for (double ms = 0.0; ms < 300000.0; ms += 32.0) EXPECT_EQ(stage.glowOf(ms, 1.0), 0.0);
    EXPECT_LT(stage.dot().height, 0.0);  // the delay is short of what is set
}

}  // namespace
}  // namespace Quorvant::Test
