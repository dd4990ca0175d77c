// Parameters on their way in, readings on their way out.
#include "dsp/Engine.h"
#include "tests/plugin/WrapperRig.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <vector>

namespace Quorvant {
namespace {

using Handed = FakeEffect::Handed;
using List = std::vector<Handed>;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

TEST(ParameterIntake, onlyTheLastPointOfAQueueCounts) {
    WrapperRig rig;
    rig.setUp();
    TestBlock<float> block(16);
    block.point(kFeedback, 0.1, 0).point(kFeedback, 0.9, 5).point(kFeedback, 0.4, 15);
    block.run(*rig.wrapper);
    EXPECT_EQ(rig.effect->takeHanded(), (List{{kFeedback, 0.4}}));
    EXPECT_EQ(stateDoubles(rig.state())[kFeedback], 0.4);
}

TEST(ParameterIntake, everyIdentifierReachesTheEngineAndTheStoredOnesTheState) {
    WrapperRig rig;
    rig.setUp();
    const auto before = rig.state();
    rig.flush({{38, 0.5}, {41, 1.0}, {79, 1.0}, {114, 0.3}, {0xFFFFFFF0u, 0.2}});
    EXPECT_EQ(rig.effect->takeHanded().size(), 5u);
    EXPECT_EQ(rig.state(), before);
    rig.flush({{0, 0.0}, {37, 1.0}});
    const auto values = stateDoubles(rig.state());
    EXPECT_EQ(values[0], 0.0);
    EXPECT_EQ(values[1], -1.0);
    EXPECT_EQ(values[37], 1.0);
}

TEST(ParameterIntake, stateHoldsOnlyWhatItsReaderTakes) {
    WrapperRig rig;
    rig.setUp();
    rig.flush({{kMix, 1.0000001}, {kInput, -0.5}, {kOutput, kNan}});
    const auto values = stateDoubles(rig.state());
    EXPECT_EQ(values[kMix], 1.0);
    EXPECT_EQ(values[kInput], 0.0);
    EXPECT_EQ(values[kOutput], -1.0);
}

TEST(ParameterIntake, emptyQueuesAreSkipped) {
    WrapperRig rig;
    rig.setUp();
    TestBlock<float> block(16);
    Steinberg::int32 index = 0;
    block.inputChanges.addParameterData(kMix, index);
    block.point(kInput, 0.5).run(*rig.wrapper);
    EXPECT_EQ(rig.effect->takeHanded(), (List{{kInput, 0.5}}));
}

TEST(ParameterIntake, theLoopIsReleasedBeforeTheBlocksOtherChangesAndEngagedAfterThem) {
    WrapperRig rig;
    rig.setUp();
    rig.flush({{kDelayTime, 0.3}, {kDelayClockMode, 1.0}, {kInfRepeat, 0.0}});
    EXPECT_EQ(rig.effect->takeHanded(),
              (List{{kInfRepeat, 0.0}, {kDelayTime, 0.3}, {kDelayClockMode, 1.0}}));
    rig.flush({{kInfRepeat, 1.0}, {kDelayTime, 0.6}});
    EXPECT_EQ(rig.effect->takeHanded(), (List{{kDelayTime, 0.6}, {kInfRepeat, 1.0}}));
    rig.flush({{kInfRepeat, kNan}, {kDelayTime, 0.7}});
    EXPECT_EQ(rig.effect->takeHanded(), (List{{kDelayTime, 0.7}}));
}

// The shell around the engine that it ships with, holding a loop of noise.
class LoopRig {
  public:
    LoopRig() {
        wrapper = Steinberg::owned(new QVXVST3EffectWrapper([](const QVXHostLink& link) {
            return std::make_unique<QVXCorvane77x_v2Effect>(link);
        }));
        wrapper->initialize(&Hosting::hostApplication());
        Vst::ProcessSetup setup{Vst::kRealtime, Vst::kSample64, kBlock, 48000.0};
        wrapper->setupProcessing(setup);
        wrapper->setActive(true);
        std::mt19937 random(1);
        const auto noise = [&] { return random() / 4294967296.0 - 0.5; };
        render(48000, {{kMix, 1.0}, {kFeedback, 0.0}, {kDelayTime, ms(250)}}, noise);
        render(24000, {{kInfRepeat, 1.0}});
    }
    ~LoopRig() { wrapper->terminate(); }

    static double ms(double time) { return time / 9600.0; }

    // Whether, after these edits, what is heard comes again every so many milliseconds. The memory
    // may take a frame more, depending on where it was when the delay was set.
    bool repeatsEvery(double time, const List& edits) {
        render(24000, edits);
        const auto period = static_cast<std::size_t>(time * 48.0);
        const auto heard = render(3 * period);
        const auto matches = [&](std::size_t lag) {
            double sum = 0.0, difference = 0.0;
            for (std::size_t i = 0; i < period; ++i) {
                sum += std::abs(heard[i]);
                difference += std::abs(heard[i] - heard[i + lag]);
            }
            EXPECT_GT(sum / static_cast<double>(period), 0.05);
            return difference < 0.01 * sum;
        };
        return matches(period) || matches(period + 1);
    }

  private:
    static constexpr int32 kBlock = 480;

    std::vector<double> render(
        std::size_t frames, const List& edits = {},
        const std::function<double()>& in = [] { return 0.0; }) {
        std::vector<double> samples(frames);
        std::generate(samples.begin(), samples.end(), in);
        for (std::size_t at = 0; at < frames; at += kBlock) {
            TestBlock<double> block(kBlock);
            for (const auto& edit : at == 0 ? edits : List{}) block.point(edit.index, edit.value);
            std::array<double, kBlock> right{};
            block.input({&samples[at], &samples[at]}).output({&samples[at], right.data()});
            block.run(*wrapper);
        }
        return samples;
    }

    Steinberg::IPtr<QVXVST3EffectWrapper> wrapper;
};

TEST(ParameterIntake, aPresetsDelayIsHeardThoughTheLoopRunsOnAndAutomationLeavesTheLoopAlone) {
    LoopRig rig;
    EXPECT_TRUE(rig.repeatsEvery(250, {}));
    EXPECT_TRUE(rig.repeatsEvery(250, {{kDelayTime, LoopRig::ms(100)}, {kInfRepeat, 1.0}}));
    EXPECT_TRUE(rig.repeatsEvery(250, {{kDelayTime, LoopRig::ms(100)}, {kDelayClockMode, 0.0}}));
    EXPECT_FALSE(rig.repeatsEvery(100, {}));
    const List preset = {{kDelayTime, LoopRig::ms(100)}, {kDelayClockMode, 0.0}, {kInfRepeat, 1.0}};
    EXPECT_TRUE(rig.repeatsEvery(100, preset));
}

TEST(ParameterIntake, suspendChoosesTheProcessPathAndIsStored) {
    WrapperRig rig;
    rig.setUp();
    std::array<float, 16> memory{};
    std::array<double, 16> memory64{};
    TestBlock<float> block(16);
    block.input({memory.data()}).output({memory.data()}).point(kSuspend, 0.5).run(*rig.wrapper);
    TestBlock<double> block64(16);
    block64.input({memory64.data()}).output({memory64.data()}).run(*rig.wrapper);
    EXPECT_EQ(stateDoubles(rig.state()).back(), 1.0);
    block64.point(kSuspend, 0.49).run(*rig.wrapper);
    EXPECT_EQ(stateDoubles(rig.state()).back(), 0.0);
    EXPECT_EQ(rig.effect->calls,
              (std::vector<std::string>{"processSuspended32", "processSuspended64", "process64"}));
    EXPECT_EQ(rig.effect->takeHanded(), (List{{kSuspend, 0.5}, {kSuspend, 0.49}}));
}

TEST(ParameterOutput, readingsAreMadeFitForHosts) {
    WrapperRig rig;
    rig.setUp();
    constexpr double kInf = std::numeric_limits<double>::infinity();
    rig.effect->readings = {{0, 0.125}, {42, 1.0}, {43, kNan}, {44, kInf}, {45, -kInf},
                            {46, -0.5}, {47, 1.5}, {114, 0.5}, {115, 0.5}};
    TestBlock<float> block(0);
    block.run(*rig.wrapper);
    const std::map<uint32_t, double> expected = {{0, 0.125}, {42, 1.0}, {43, 0.0}, {44, 0.0},
                                                 {45, 0.0},  {46, 0.0}, {47, 1.0}, {114, 0.5}};
    for (const auto& [id, value] : expected) EXPECT_EQ(block.reported(id), value) << id;
    EXPECT_EQ(block.reported(48), std::nullopt);
    EXPECT_EQ(block.reported(115), std::nullopt);
    EXPECT_EQ(block.outputChanges.getParameterCount(), 9);
}

TEST(ParameterOutput, heartbeatAdvancesAndWraps) {
    WrapperRig rig;
    rig.setUp();
    double last = 0.0;
    int wraps = 0;
    for (int i = 0; i < 2500; ++i) {
        TestBlock<float> block(0);
        block.run(*rig.wrapper);
        const auto beat = block.reported(kHeartbeat);
        ASSERT_TRUE(beat.has_value());
        ASSERT_NE(*beat, last) << "a beat must be told from the one before";
        ASSERT_TRUE(*beat >= 0.0 && *beat <= 1.0);
        if (*beat < last) {
            ++wraps;
            EXPECT_EQ(*beat, 0.0);
        } else {
            EXPECT_NEAR(*beat - last, 0.001, 1e-9);
        }
        last = *beat;
    }
    EXPECT_EQ(wraps, 2);
}

}  // namespace
}  // namespace Quorvant
