// What a block hands to the engine: channels, transport, and what becomes of odd blocks.
#include "tests/plugin/WrapperRig.h"

#include "pluginterfaces/vst/ivstprocesscontext.h"
#include <gtest/gtest.h>

#include <array>
#include <limits>

namespace Quorvant {
namespace {

using namespace Steinberg;
using namespace Vst::SpeakerArr;

constexpr int32 kFrames = 16;

template <typename Sample>
struct Memory {
    std::array<std::array<Sample, kFrames>, 8> channels{};
    Sample* operator[](std::size_t i) { return channels[i].data(); }
};

using Pointers = std::vector<const void*>;

class ProcessTest : public testing::Test {
  protected:
    void arrange(std::vector<Vst::SpeakerArrangement> ins,
                 std::vector<Vst::SpeakerArrangement> outs) {
        ASSERT_EQ(rig.wrapper->setBusArrangements(ins.data(), static_cast<int32>(ins.size()),
                                                  outs.data(), static_cast<int32>(outs.size())),
                  kResultOk);
    }
    void activateInput(int32 bus) {
        ASSERT_EQ(rig.wrapper->activateBus(Vst::kAudio, Vst::kInput, bus, true), kResultOk);
    }
    Pointers in() { return Pointers(rig.effect->in.begin(), rig.effect->in.end()); }
    Pointers out() { return Pointers(rig.effect->out.begin(), rig.effect->out.end()); }

    WrapperRig rig;
    Memory<float> m;
};

TEST_F(ProcessTest, defaultBusesReachTheEngine) {
    rig.setUp();
    TestBlock<float> block(kFrames);
    block.input({m[0], m[1]}).input({m[2]}).output({m[3], m[4]});
    EXPECT_EQ(block.run(*rig.wrapper), kResultOk);
    EXPECT_EQ(in(), (Pointers{m[0], m[1], nullptr, nullptr})) << "side chain is not active";
    EXPECT_EQ(out(), (Pointers{m[3], m[4]}));
    EXPECT_EQ(rig.effect->frames, kFrames);
    EXPECT_EQ(rig.effect->calls, std::vector<std::string>{"process32"});
    EXPECT_EQ(block.outputBuses[0].silenceFlags, 0u);

    activateInput(1);
    block.run(*rig.wrapper);
    EXPECT_EQ(in(), (Pointers{m[0], m[1], m[2], nullptr}));
}

TEST_F(ProcessTest, doublesHaveTheirOwnPath) {
    rig.setUp(48000.0, Vst::kSample64);
    Memory<double> d;
    TestBlock<double> block(kFrames);
    block.input({d[0], d[1]}).output({d[0], d[1]});
    block.run(*rig.wrapper);
    EXPECT_EQ(rig.effect->calls, std::vector<std::string>{"process64"});
    EXPECT_EQ(in(), (Pointers{d[0], d[1], nullptr, nullptr}));
    EXPECT_EQ(out(), (Pointers{d[0], d[1]})) << "in place";
}

TEST_F(ProcessTest, monoMainHasNoRightChannel) {
    arrange({kMono, kStereo}, {kStereo});
    activateInput(1);
    rig.setUp();
    TestBlock<float> block(kFrames);
    block.input({m[0]}).input({m[1], m[2]}).output({m[3], m[4]});
    block.run(*rig.wrapper);
    EXPECT_EQ(in(), (Pointers{m[0], nullptr, m[1], m[2]}));

    arrange({kStereo, kMono}, {kMono});
    activateInput(1);
    TestBlock<float> wide(kFrames);
    m[4][0] = 7.0f;
    wide.input({m[0], m[5]}).input({m[1], m[2]}).output({m[3], m[4]});
    wide.run(*rig.wrapper);
    EXPECT_EQ(in(), (Pointers{m[0], m[5], m[1], nullptr}));
    EXPECT_EQ(out(), (Pointers{m[3], nullptr}));
    EXPECT_EQ(m[4][0], 0.0f) << "a channel that nobody writes must not play what lay in it";
}

TEST_F(ProcessTest, splitMonoTakesEveryChannelFromABusOfItsOwn) {
    arrange({kStereo}, {kStereo});
    rig.setUp();
    TestBlock<float> block(kFrames);
    block.input({m[0]}).input({m[1]}).input({m[2]}).input({m[3]}).output({m[4]}).output({m[5]});
    block.run(*rig.wrapper);
    EXPECT_EQ(in(), (Pointers{m[0], m[1], nullptr, nullptr}));
    EXPECT_EQ(out(), (Pointers{m[4], m[5]}));
    EXPECT_EQ(block.outputBuses[1].silenceFlags, 0u);
    activateInput(2);
    activateInput(3);
    block.run(*rig.wrapper);
    EXPECT_EQ(in(), (Pointers{m[0], m[1], m[2], m[3]}));

    TestBlock<float> stereo(kFrames);
    stereo.input({m[0], m[1]}).output({m[4], m[5]});
    stereo.run(*rig.wrapper);
    EXPECT_EQ(in(), (Pointers{m[0], m[1], nullptr, nullptr}));
    EXPECT_EQ(out(), (Pointers{m[4], m[5]}));
}

TEST_F(ProcessTest, aSideChainStaysActiveWhenBusesAreArrangedAgain) {
    activateInput(1);
    arrange({kStereo, kStereo}, {kStereo});
    rig.setUp();
    TestBlock<float> block(kFrames);
    block.input({m[0], m[1]}).input({m[2], m[3]}).output({m[4], m[5]});
    block.run(*rig.wrapper);
    EXPECT_EQ(in(), (Pointers{m[0], m[1], m[2], m[3]}));
}

TEST_F(ProcessTest, missingPartsOfABlockAreNeverTouched) {
    rig.setUp();
    activateInput(1);
    for (int32 frames : {kFrames, 0, -5}) {
        TestBlock<float> bare(frames);
        EXPECT_EQ(bare.point(kMix, 0.25).run(*rig.wrapper), kResultOk);
        EXPECT_EQ(rig.effect->takeHanded().size(), 1u) << "parameters count without audio";
        EXPECT_TRUE(bare.reported(kHeartbeat).has_value());

        TestBlock<float> nulls(frames);
        nulls.input({nullptr, nullptr}).input({}).output({nullptr, nullptr});
        EXPECT_EQ(nulls.run(*rig.wrapper), kResultOk);
        EXPECT_EQ(in(), (Pointers{nullptr, nullptr, nullptr, nullptr}));
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

    TestBlock<float> noInput(kFrames);
    m[0][3] = 5.0f;
    rig.effect->calls.clear();
    noInput.output({m[0], m[1]}).run(*rig.wrapper);
    EXPECT_TRUE(rig.effect->calls.empty());
    EXPECT_EQ(m[0][3], 0.0f);

    TestBlock<float> odd(kFrames);
    odd.data.symbolicSampleSize = 99;
    EXPECT_NE(odd.input({m[0]}).output({m[1]}).run(*rig.wrapper), kResultOk);
}

TEST_F(ProcessTest, blocksLargerThanAnnouncedGoThroughWhole) {
    rig.setUp();
    std::vector<float> left(5000), right(5000);
    TestBlock<float> block(5000);
    block.input({left.data(), right.data()}).output({left.data(), right.data()}).run(*rig.wrapper);
    EXPECT_EQ(rig.effect->frames, 5000);
    EXPECT_EQ(left.back(), 0.25f);
}

TEST_F(ProcessTest, transportComesFromTheBlocksContext) {
    rig.setUp();
    Vst::ProcessContext context{};
    context.tempo = 97.5;
    context.projectTimeMusic = -2.25;
    context.state = Vst::ProcessContext::kTempoValid | Vst::ProcessContext::kProjectTimeMusicValid |
                    Vst::ProcessContext::kPlaying;
    TestBlock<float> block(kFrames);
    block.input({m[0], m[1]}).output({m[2], m[3]});
    block.data.processContext = &context;
    block.run(*rig.wrapper);
    EXPECT_TRUE(rig.effect->transport.tempoValid && rig.effect->transport.positionValid);
    EXPECT_EQ(rig.effect->transport.tempoBpm, 97.5);
    EXPECT_EQ(rig.effect->transport.positionBeats, -2.25);
    EXPECT_TRUE(rig.effect->transport.playing);

    context.tempo = std::numeric_limits<double>::quiet_NaN();
    context.projectTimeMusic = std::numeric_limits<double>::infinity();
    block.run(*rig.wrapper);
    EXPECT_FALSE(rig.effect->transport.tempoValid || rig.effect->transport.positionValid);

    context = {};
    context.tempo = 60.0;
    block.run(*rig.wrapper);
    EXPECT_FALSE(rig.effect->transport.tempoValid) << "not marked as valid";
    block.data.processContext = nullptr;
    block.run(*rig.wrapper);
    EXPECT_FALSE(rig.effect->transport.tempoValid || rig.effect->transport.playing);

    const auto needs = rig.wrapper->getProcessContextRequirements();
    using Requirements = Vst::IProcessContextRequirements;
    EXPECT_EQ(needs,
              static_cast<uint32>(Requirements::kNeedTempo | Requirements::kNeedProjectTimeMusic |
                                  Requirements::kNeedTransportState));
}

}  // namespace
}  // namespace Quorvant
