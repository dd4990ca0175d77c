// Parameters on their way in, readings on their way out.
#include "tests/plugin/WrapperRig.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <map>
#include <utility>
#include <vector>

namespace Quorvant {
namespace {

using List = std::vector<FakeEffect::Handed>;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

TEST(ParameterIntake, TheLastPointOfAQueueReachesTheEngineAndIfStoredTheState) {
    WrapperRig rig;
    rig.setUp();
    const auto before = rig.state();
    rig.flush({{38, 0.5}, {41, 1.0}, {79, 1.0}, {114, 0.3}, {0xFFFFFFF0u, 0.2}});
    EXPECT_EQ(rig.effect->takeHanded().size(), 5u);
    EXPECT_EQ(rig.state(), before);

    TestBlock<float> block(16);
    int32 index = 0;
    block.inputChanges.addParameterData(kMix, index);  // an empty queue
    block.point(37, 0.1, 0).point(37, 0.9, 5).point(37, 0.4, 15).point(0, 0.0).run(*rig.wrapper);
    EXPECT_EQ(rig.effect->takeHanded(), (List{{37, 0.4}, {0, 0.0}}));
    // A state holds only what its reader takes.
    rig.flush({{kFeedback, 1.0000001}, {kInput, -0.5}, {kOutput, kNan}});
    const auto values = stateDoubles(rig.state());
    for (const auto& [id, stored] :
         List{{37, 0.4}, {0, 0.0}, {kMix, -1.0}, {kFeedback, 1.0}, {kInput, 0.0}, {kOutput, -1.0}})
        EXPECT_EQ(values[id], stored) << id;
}

TEST(ParameterIntake, TheLoopIsReleasedBeforeTheBlocksOtherChangesAndEngagedAfterThem) {
    WrapperRig rig;
    rig.setUp();
    const std::pair<List, List> orders[] = {
        {{{kDelayTime, 0.3}, {kInfRepeat, 0.0}}, {{kInfRepeat, 0.0}, {kDelayTime, 0.3}}},
        {{{kInfRepeat, 1.0}, {kDelayTime, 0.6}}, {{kDelayTime, 0.6}, {kInfRepeat, 1.0}}},
        {{{kInfRepeat, kNan}, {kDelayTime, 0.7}}, {{kDelayTime, 0.7}}},
        {{{kDelayTime, 0.3}, {kDelayClockMode, 1.0}}, {{kDelayTime, 0.3}, {kDelayClockMode, 1.0}}},
        // A preset, whose delay the engine must not ignore for a loop that runs already.
        {{{kInfRepeat, 1.0}, {kDelayTime, 0.3}, {kDelayClockMode, 1.0}},
         {{kInfRepeat, 0.0}, {kDelayTime, 0.3}, {kDelayClockMode, 1.0}, {kInfRepeat, 1.0}}}};
    for (const auto& [sent, handed] : orders) {
        rig.flush(sent);
        EXPECT_EQ(rig.effect->takeHanded(), handed);
    }
}

TEST(ParameterIntake, SuspendChoosesTheProcessPathAndIsStored) {
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

TEST(ParameterOutput, ReadingsAreMadeFitForHosts) {
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
    EXPECT_EQ(block.outputChanges.getParameterCount(), 9) << "these and the heartbeat";
}

TEST(ParameterOutput, TheHeartbeatAdvancesAndWraps) {
    WrapperRig rig;
    rig.setUp();
    double last = 0.0;
    int wraps = 0;
    for (int i = 0; i < 2500; ++i) {
        TestBlock<float> block(0);
        block.run(*rig.wrapper);
        const auto beat = block.reported(kHeartbeat);
        ASSERT_TRUE(beat && *beat <= 1.0);
        if (*beat != 0.0) {
            ASSERT_NEAR(*beat - last, 0.001, 1e-9) << "a beat must be told from the one before";
        } else {
            ASSERT_GT(last, 0.998);
            ++wraps;
        }
        last = *beat;
    }
    EXPECT_EQ(wraps, 2);
}

}  // namespace
}  // namespace Quorvant
