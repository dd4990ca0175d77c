// What a block hands to the engine beside its channels, what it reports, and what becomes of odd
// blocks.
#include "tests/plugin/WrapperRig.h"

#include "pluginterfaces/vst/ivstprocesscontext.h"
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>

namespace Quorvant {
namespace {

using namespace Steinberg;
using List = std::vector<FakeEffect::Handed>;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

TEST(Process, MissingPartsOfABlockAreNeverTouched) {
    ActiveRig rig;
    rig.wrapper->activateBus(Vst::kAudio, Vst::kInput, 1, true);
    for (const int32 frames : {16, 0, -5}) {
        TestBlock<float> bare(frames);
        EXPECT_EQ(bare.point(kMix, 0.25).run(*rig.wrapper), kResultOk);
        EXPECT_EQ(rig.effect->takeHanded().size(), 1u) << "parameters count without audio";
        EXPECT_TRUE(bare.reported(kHeartbeat).has_value());

        TestBlock<float> nulls(frames);
        nulls.input({nullptr, nullptr}).input({}).output({nullptr, nullptr});
        EXPECT_EQ(nulls.run(*rig.wrapper), kResultOk);
        for (const void* channel : rig.effect->in) EXPECT_EQ(channel, nullptr);
        EXPECT_EQ(rig.effect->frames, std::max(frames, 0));
        nulls.inputBuses[0].channelBuffers32 = nullptr;
        nulls.outputBuses[0].channelBuffers32 = nullptr;
        EXPECT_EQ(rig.wrapper->process(nulls.data), kResultOk);
        nulls.data.inputs = nullptr;
        nulls.data.outputs = nullptr;
        nulls.data.inputParameterChanges = nullptr;
        nulls.data.outputParameterChanges = nullptr;
        EXPECT_EQ(rig.wrapper->process(nulls.data), kResultOk);
    }
    TestBlock<float> odd(16);
    odd.data.symbolicSampleSize = 99;
    EXPECT_NE(odd.run(*rig.wrapper), kResultOk);
}

TEST(Process, TransportComesFromTheBlocksContext) {
    ActiveRig rig;
    std::array<float, 16> memory{};
    using Context = Vst::ProcessContext;
    const auto given = [&](uint32 state, double tempo, double position) {
        TestBlock<float> block(16);
        block.input({memory.data()}).output({memory.data()});
        Context context{};
        context.state = state;
        context.tempo = tempo;
        context.projectTimeMusic = position;
        block.data.processContext = &context;
        block.run(*rig.wrapper);
        return rig.effect->transport;
    };
    constexpr uint32 kAll =
        Context::kTempoValid | Context::kProjectTimeMusicValid | Context::kPlaying;
    const HostTransport whole = given(kAll, 97.5, -2.25);
    EXPECT_TRUE(whole.tempoValid && whole.positionValid && whole.playing);
    EXPECT_EQ(whole.tempoBpm, 97.5);
    EXPECT_EQ(whole.positionBeats, -2.25);
    for (const auto& [tempo, position] : {std::pair{kNan, kInf}, {0.0, kNan}, {-120.0, -kInf}}) {
        const HostTransport odd = given(kAll, tempo, position);
        EXPECT_FALSE(odd.tempoValid || odd.positionValid) << tempo;
    }
    const HostTransport unmarked = given(0, 60.0, 1.0);
    EXPECT_FALSE(unmarked.tempoValid || unmarked.positionValid || unmarked.playing);
    given(kAll, 97.5, -2.25);
    TestBlock<float> without(16);
    without.input({memory.data()}).output({memory.data()}).run(*rig.wrapper);
    EXPECT_FALSE(rig.effect->transport.tempoValid || rig.effect->transport.playing);
}

TEST(ParameterIntake, TheLastPointOfAQueueReachesTheEngineAndIfStoredTheState) {
    ActiveRig rig;
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
    ActiveRig rig;
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
    ActiveRig rig;
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
    ActiveRig rig;
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
    ActiveRig rig;
    double last = 0.0;
    for (int i = 0; i < 2500; ++i) {
        TestBlock<float> block(0);
        block.run(*rig.wrapper);
        const double beat = block.reported(kHeartbeat).value_or(-1.0);
        const bool wraps = beat == 0.0 && last > 0.998;
        ASSERT_TRUE(wraps || std::abs(beat - last - 0.001) < 1e-9) << last << " to " << beat;
        ASSERT_LE(beat, 1.0);
        last = beat;
    }
}

}  // namespace
}  // namespace Quorvant
