// Set-up, activation and the answers that don't depend on a block.
#include "plugin/ClassIds.h"
#include "tests/plugin/WrapperRig.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <limits>
#include <thread>

namespace Quorvant {
namespace {

using namespace Steinberg;
using Calls = std::vector<std::string>;

tresult setUp(QVXVST3EffectWrapper& wrapper, double rate, int32 sampleSize = Vst::kSample32) {
    Vst::ProcessSetup setup{Vst::kRealtime, sampleSize, 512, rate};
    return wrapper.setupProcessing(setup);
}

TEST(Lifecycle, InitialisesOnceUntilTerminated) {
    WrapperRig rig;
    EXPECT_EQ(rig.wrapper->initialize(&Hosting::hostApplication()), kResultFalse);
    EXPECT_EQ(rig.wrapper->getBusCount(Vst::kAudio, Vst::kInput), 2);
    EXPECT_EQ(rig.wrapper->terminate(), kResultOk);
    EXPECT_EQ(rig.wrapper->getBusCount(Vst::kAudio, Vst::kInput), 0);
    EXPECT_EQ(rig.wrapper->initialize(nullptr), kResultOk);
    EXPECT_EQ(rig.wrapper->initialize(nullptr), kResultFalse) << "without a context just as well";
    EXPECT_EQ(rig.wrapper->getBusCount(Vst::kAudio, Vst::kInput), 2);
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

    TUID id{};
    EXPECT_EQ(rig.wrapper->getControllerClassId(id), kResultOk);
    EXPECT_EQ(FUID::fromTUID(id), kControllerClassId);
    Vst::RoutingInfo routing{};
    EXPECT_EQ(rig.wrapper->setIoMode(Vst::kSimple), kNotImplemented);
    EXPECT_EQ(rig.wrapper->getRoutingInfo(routing, routing), kNotImplemented);
    EXPECT_EQ(rig.wrapper->setProcessing(true), kNotImplemented);
}

TEST(Lifecycle, WithoutAnEngineAllAnswersAreNeutral) {
    auto wrapper = owned(
        new QVXVST3EffectWrapper([](const QVXHostLink&) { return std::unique_ptr<QVXEffect>(); }));
    EXPECT_EQ(wrapper->initialize(nullptr), kResultOk);
    EXPECT_EQ(wrapper->getLatencySamples(), 0u);
    EXPECT_EQ(wrapper->getTailSamples(), 0u);
    EXPECT_EQ(wrapper->canProcessSampleSize(Vst::kSample32), kResultFalse);
    EXPECT_EQ(wrapper->setActive(true), kResultOk);
    float sample = 3.0f;
    TestBlock<float> block(1);
    block.input({&sample}).output({&sample}).point(kMix, 0.5);
    EXPECT_EQ(block.run(*wrapper), kResultOk);
    EXPECT_EQ(sample, 0.0f);
    EXPECT_EQ(wrapper->terminate(), kResultOk);
}

TEST(Lifecycle, BlocksDuringAChangeOfTheSetUpAreSilentAndLoseNothing) {
    WrapperRig rig;
    std::array<float, 8> in{}, left{}, right{};
    const auto run = [&](TestBlock<float>& block) {
        left.fill(3.0f);
        right.fill(3.0f);
        block.input({in.data(), in.data()}).output({left.data(), right.data()});
        EXPECT_EQ(block.run(*rig.wrapper), kResultOk);
    };
    const auto isSilent = [](float x) { return x == 0.0f; };
    for (const bool activation : {true, false}) {
        rig.effect->duringReset = [&] {
            rig.effect->takeHanded();
            rig.effect->calls.clear();
            std::thread([&] {
                TestBlock<float> block(8);
                block.point(kMix, 0.75).point(kSuspend, 1.0);
                run(block);
                EXPECT_TRUE(std::ranges::all_of(left, isSilent));
                EXPECT_TRUE(std::ranges::all_of(right, isSilent));
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
        EXPECT_EQ(left[0], 0.25f);
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
