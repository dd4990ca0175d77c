// What a block hands to the engine beside its channels, and what becomes of odd blocks.
#include "tests/plugin/WrapperRig.h"

#include "pluginterfaces/vst/ivstprocesscontext.h"
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <limits>

namespace Quorvant {
namespace {

using namespace Steinberg;

TEST(Process, MissingPartsOfABlockAreNeverTouched) {
    WrapperRig rig;
    rig.setUp();
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

TEST(Process, OutputsThatTheEngineCantFillAreSilent) {
    std::array<float, 16> in{}, left{}, right{};
    const auto run = [&](TestBlock<float>& block) {
        left.fill(5.0f);
        right.fill(5.0f);
        WrapperRig rig;
        rig.setUp();
        EXPECT_EQ(block.run(*rig.wrapper), kResultOk);
    };
    TestBlock<float> withoutInput(16);
    run(withoutInput.output({left.data(), right.data()}));
    EXPECT_EQ(left[3], 0.0f);
    EXPECT_EQ(right[3], 0.0f);
    TestBlock<float> withoutLeft(16);
    run(withoutLeft.input({in.data(), in.data()}).output({nullptr, right.data()}));
    EXPECT_EQ(right[3], 0.0f);
}

TEST(Process, BlocksLargerThanAnnouncedGoThroughWholeAndInPlace) {
    WrapperRig rig;
    rig.setUp();
    std::vector<float> left(5000), right(5000);
    TestBlock<float> block(5000);
    block.input({left.data(), right.data()}).output({left.data(), right.data()}).run(*rig.wrapper);
    EXPECT_EQ(rig.effect->frames, 5000);
    EXPECT_EQ(rig.effect->in[0], rig.effect->out[0]);
    EXPECT_EQ(left.back(), 0.25f);
}

TEST(Process, TransportComesFromTheBlocksContext) {
    WrapperRig rig;
    rig.setUp();
    std::array<float, 16> memory{};
    TestBlock<float> block(16);
    block.input({memory.data(), memory.data()}).output({memory.data(), memory.data()});
    using Context = Vst::ProcessContext;
    const auto given = [&](uint32 state, double tempo, double position) {
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
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
    constexpr double kInf = std::numeric_limits<double>::infinity();
    for (const auto& [tempo, position] : {std::pair{kNan, kInf}, {0.0, kNan}, {-120.0, -kInf}}) {
        const HostTransport odd = given(kAll, tempo, position);
        EXPECT_FALSE(odd.tempoValid || odd.positionValid) << tempo;
    }
    const HostTransport unmarked = given(0, 60.0, 1.0);
    EXPECT_FALSE(unmarked.tempoValid || unmarked.positionValid || unmarked.playing);
    given(kAll, 97.5, -2.25);
    block.data.processContext = nullptr;
    block.run(*rig.wrapper);
    EXPECT_FALSE(rig.effect->transport.tempoValid || rig.effect->transport.playing);

    using Needs = Vst::IProcessContextRequirements;
    EXPECT_EQ(
        rig.wrapper->getProcessContextRequirements(),
        uint32{Needs::kNeedTempo | Needs::kNeedProjectTimeMusic | Needs::kNeedTransportState});
}

}  // namespace
}  // namespace Quorvant
