// Set-up, activation and the answers that don't depend on a block.
#include "tests/plugin/WrapperRig.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <thread>

namespace Quorvant {
namespace {

using namespace Steinberg;
using Calls = std::vector<std::string>;
using Needs = Vst::IProcessContextRequirements;

tresult setUp(QVXVST3EffectWrapper& wrapper, double rate, int32 sampleSize = Vst::kSample32) {
    Vst::ProcessSetup setup{Vst::kRealtime, sampleSize, 512, rate};
    return wrapper.setupProcessing(setup);
}

TEST(Lifecycle, InitialisesOnceUntilTerminated) {
    WrapperRig rig;
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(rig.wrapper->initialize(nullptr), kResultFalse);
        EXPECT_EQ(rig.wrapper->getBusCount(Vst::kAudio, Vst::kInput), 2);
        EXPECT_EQ(rig.wrapper->terminate(), kResultOk);
        EXPECT_EQ(rig.wrapper->getBusCount(Vst::kAudio, Vst::kInput), 0);
        EXPECT_EQ(rig.wrapper->initialize(nullptr), kResultOk) << "without a context as well";
    }
}

TEST(Lifecycle, SetUpResetsAndActivationSetsTheRateWhateverItIs) {
    WrapperRig rig;
    EXPECT_EQ(rig.wrapper->setActive(true), kResultOk);
    EXPECT_EQ(rig.effect->sampleRate, 44100.0) << "before any set-up";
    rig.wrapper->setActive(false);
    for (const double rate : {96000.0, 22050.0, 500000.0, 1234.5678}) {
        rig.effect->calls.clear();
        EXPECT_EQ(setUp(*rig.wrapper, rate), kResultOk);
        EXPECT_EQ(rig.effect->calls, Calls{"reset"});
        EXPECT_EQ(rig.wrapper->setActive(true), kResultOk);
        EXPECT_EQ(rig.effect->sampleRate, rate);
        EXPECT_EQ(rig.wrapper->setActive(false), kResultOk);
        EXPECT_EQ(rig.effect->calls,
                  (Calls{"reset", "setSampleRate", "reset", "setSampleRate", "reset"}));
    }
    using Limits = std::numeric_limits<double>;
    for (const double rate : {0.0, -48000.0, Limits::quiet_NaN(), Limits::infinity()})
        EXPECT_NE(setUp(*rig.wrapper, rate), kResultOk) << rate;
    rig.wrapper->setActive(true);
    EXPECT_EQ(rig.effect->sampleRate, 1234.5678) << "a refused set-up changes nothing";
}

TEST(Lifecycle, AnswersComeFromTheEngine) {
    WrapperRig rig;
    for (const int32 size : {-1, 0, 1, 2}) {
        const bool known = size == Vst::kSample32 || size == Vst::kSample64;
        EXPECT_EQ(rig.wrapper->canProcessSampleSize(size), known ? kResultTrue : kResultFalse);
    }
    rig.effect->offers64 = false;
    EXPECT_EQ(setUp(*rig.wrapper, 48000.0, Vst::kSample64), kResultFalse);
    EXPECT_EQ(rig.wrapper->getTailSamples(), 441000u);
    rig.effect->tail = -1;
    EXPECT_EQ(rig.wrapper->getTailSamples(), Vst::kInfiniteTail);
    rig.effect->latency = 12;
    EXPECT_EQ(rig.wrapper->getLatencySamples(), 12u);
    EXPECT_EQ(
        rig.wrapper->getProcessContextRequirements(),
        uint32{Needs::kNeedTempo | Needs::kNeedProjectTimeMusic | Needs::kNeedTransportState});
}

TEST(Lifecycle, BlocksDuringAChangeOfTheSetUpAreSilentAndLoseNothing) {
    WrapperRig rig;
    std::array<float, 8> in{}, out{};
    const auto run = [&](TestBlock<float>& block) {
        out.fill(3.0f);
        block.input({in.data()}).output({out.data()});
        EXPECT_EQ(block.run(*rig.wrapper), kResultOk);
    };
    for (const bool activation : {true, false}) {
        rig.effect->duringReset = [&] {
            rig.effect->takeHanded();
            rig.effect->calls.clear();
            std::thread([&] {
                TestBlock<float> block(8);
                block.point(kMix, 0.75).point(kSuspend, 1.0);
                run(block);
                EXPECT_EQ(out, (std::array<float, 8>{}));
            }).join();
            EXPECT_TRUE(rig.effect->calls.empty() && rig.effect->handed.empty());
        };
        activation ? rig.wrapper->setActive(true) : setUp(*rig.wrapper, 96000.0);
        rig.effect->duringReset = {};
        EXPECT_EQ(stateDoubles(rig.state())[kMix], 0.75);
        TestBlock<float> next(8);
        next.point(kFeedback, 0.5);
        run(next);
        EXPECT_EQ(rig.effect->takeHanded(), (std::vector<FakeEffect::Handed>{
                                                {kMix, 0.75}, {kSuspend, 1.0}, {kFeedback, 0.5}}));
        EXPECT_EQ(out[0], 0.25f);
    }
}

TEST(Lifecycle, ABlockRefusesChangesOfTheSetUpFromWithinItself) {
    WrapperRig rig;  // not active, which is harmless
    rig.effect->duringProcess = [&] {
        EXPECT_NE(rig.wrapper->setActive(false), kResultOk);
        EXPECT_NE(setUp(*rig.wrapper, 96000.0), kResultOk);
        EXPECT_NE(rig.wrapper->terminate(), kResultOk);
    };
    float sample = 0.0f;
    TestBlock<float> block(1);
    block.input({&sample}).output({&sample});
    EXPECT_EQ(block.run(*rig.wrapper), kResultOk);
    EXPECT_EQ(rig.effect->calls, Calls{"process32"});
}

}  // namespace
}  // namespace Quorvant
