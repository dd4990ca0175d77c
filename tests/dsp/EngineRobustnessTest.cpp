// What a host can do to the engine: bad samples, odd rates, missing buffers, suspension, resets.
#include "dsp/Denormals.h"
#include "tests/dsp/EngineRig.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>

namespace Quorvant::Test {
namespace {

const double kNan = std::numeric_limits<double>::quiet_NaN();
const double kInfinity = std::numeric_limits<double>::infinity();

// A setting in which everything works at once.
Settings busy(ProcessingMode mode) {
    return {{kMix, 0.6},
            {kFeedback, 0.5},
            {kHighCut, 1.0},
            {kWaveform, 0.3},
            {kDepth, 0.6},
            {kSideChainIntExt, 0.5},
            {kDirectionMode, valueOf(DirectionMode::Bounce)},
            {kProcessingMode, valueOf(mode)}};
}

TEST(EngineRobustness, BadSamplesAreSilence) {
    const double poisons[] = {kNan, kInfinity, -kInfinity, 1025.0, -1e30, 1e308};
    for (const ProcessingMode mode : kModes) {
        EngineRig clean(busy(mode)), poisoned(busy(mode));
        Stereo good = stereoNoise(48000, 0.5, 1), bad = good;
        Stereo goodSide = stereoNoise(48000, 0.5, 2), badSide = goodSide;
        Dice dice(3);
        for (int n = 0; n < 2000; ++n) {
            const auto i = static_cast<size_t>(dice.below(40000));
            good.left[i] = goodSide.right[i] = 0.0;
            bad.left[i] = badSide.right[i] = dice.of(poisons);
        }
        const Stereo expected = clean.render(good, &goodSide);
        ASSERT_GT(peak(expected.left), 0.1);
        EXPECT_EQ(largestDifference(poisoned.render(bad, &badSide), expected), 0.0);
    }
}

TEST(EngineRobustness, HoldsWhatIsFarTooLoudAndForgetsItWithTheMemory) {
    for (const ProcessingMode mode : kModes) {
        const Settings settings = {
            {kProcessingMode, valueOf(mode)}, {kFeedback, 0.5}, {kInput, 1.0}};
        EngineRig untouched(settings), shocked(settings);
        const Stereo shock = shocked.render(stereoNoise(24000, 1024.0));
        EXPECT_TRUE(allFinite(shock));
        EXPECT_LT(peak(shock.left), 1.3 * 1024.0);  // a spline overshoots by a quarter
        untouched.render(silence(24000));
        shocked.settle(8.0);
        untouched.settle(8.0);
        const Stereo music = stereoNoise(24000);
        EXPECT_LT(largestDifference(shocked.render(music), untouched.render(music)),
                  mode == ProcessingMode::Full ? 1e-3 : 1e-9);
    }
}

// Flicking Env Invert throws the clock from its slowest to its fastest within a sample; the output
// spline, were it to extrapolate, would reach thousands.
TEST(EngineRobustness, AClockThatJumpsDoesNotOvershoot) {
    EngineRig rig({{kInput, 1.0},
                   {kSensitivity, 0.0},
                   {kReferenceLevel, 0.0},
                   {kWaveform, 0.5},
                   {kDepth, 1.0},
                   {kDelayX2, 1.0}});
    rig.blockSize = 303;
    int blocks = 0;
    rig.afterBlock = [&] {
        rig.set(kEnvInvert, ++blocks % 2);
        ASSERT_GE(rig.clockFactor(), 1.0 / 16.0 - 1e-12);
    };
    const Signal out = rig.render(stereoNoise(130000, 1.0)).left;
    EXPECT_GT(peak(out), 2.0);
    EXPECT_LT(peak(out), 8.0);
}

TEST(EngineRobustness, ParametersAreClampedAndNonsenseIsIgnored) {
    EngineRig rig({{kMix, 0.0}, {kInput, 0.5}, {kInput, kNan}, {kOutput, 17.0}, {kFeedback, -3.0}});
    for (const uint32_t index : {42u, 78u, 113u, 114u, 116u, 159u, 100000u, UINT32_MAX})
        rig.set(index, 1.0);
    EXPECT_NEAR(rig.render(Signal(64, 0.1)).left.back(), 0.4, 1e-9);
    rig.set(kMix, 1.0);
    rig.settle();
    EXPECT_LT(peak(rig.render(padded(rig.pulse(0.01), 24000)).left, 9600), 1e-9);  // one echo

    // Where denormals count as zero, a negative one passes for 0 in comparisons and not in
    // functions.
    const ScopedFloatingPointMode hostFlushes;
    volatile double negative = -6e-317;
    EXPECT_FALSE(std::signbit(clampNormalised(negative)));
}

TEST(EngineRobustness, EveryRateWorksAndTheUnfitOnesAreReplaced) {
    const std::pair<double, double> rates[] = {
        {-1.0, 44100.0},      {44100.0, 44100.0},   {48000.5, 48000.5},    {176400.0, 176400.0},
        {352800.0, 352800.0}, {500000.0, 384000.0}, {kInfinity, 384000.0}, {kNan, 44100.0}};
    for (const auto& [asked, used] : rates) {
        EngineRig rig({}, used);
        EXPECT_EQ(rig.engine.setSampleRate(asked), asked == used) << asked;
        EXPECT_NEAR(rig.read(kOutSampleRate) * 1e6, used, 1e-6);
        EXPECT_EQ(rig.engine.getTail(), static_cast<int32_t>(used * 10.0));
        for (const double x2 : {0.0, 1.0}) {
            rig.set(kDelayX2, x2);
            rig.engine.reset();
            const Signal out = rig.render(padded(rig.pulse(0.01), rig.samples(0.35))).left;
            EXPECT_NEAR(peakPosition(out) / used, 0.1 * (1.0 + x2) + 0.005, 5e-4) << used;
            EXPECT_LT(peak(out, rig.samples(0.3)), 1e-3) << "rings at " << used;
        }
    }
}

TEST(EngineRobustness, SinglePrecisionIsTheSameSoundInBlocksOfAnySize) {
    const Settings settings = {{kMix, 0.6},
                               {kFeedback, 0.5},
                               {kSideChainIntExt, 0.5},
                               {kDepth, 0.3},
                               {kDelayTime, ms(5.0)}};
    const auto single = [](const Signal& signal) {
        return std::vector<float>(signal.begin(), signal.end());
    };
    const auto asDoubles = [](const std::vector<float>& signal) {
        return Signal(signal.begin(), signal.end());
    };
    const std::vector<float> left = single(noise(4801, 0.5, 1)),
                             right = single(noise(4801, 0.5, 2)),
                             sideLeft = single(noise(4801, 0.5, 3)),
                             sideRight = single(noise(4801, 0.5, 4));
    const Stereo in = {asDoubles(left), asDoubles(right)},
                 side = {asDoubles(sideLeft), asDoubles(sideRight)};
    EngineRig exact(settings), rig(settings);
    std::vector<float> outLeft(left.size()), outRight(left.size());
    for (size_t done = 0, frames = 1; done < left.size(); done += frames) {
        frames = std::min(frames % 67 + 1, left.size() - done);
        const float* ins[4] = {&left[done], &right[done], &sideLeft[done], &sideRight[done]};
        float* outs[2] = {&outLeft[done], &outRight[done]};
        rig.engine.process32(ins, outs, static_cast<int32_t>(frames));
    }
    EXPECT_LT(largestDifference({asDoubles(outLeft), asDoubles(outRight)}, exact.render(in, &side)),
              1e-5);
}

TEST(EngineRobustness, MissingChannelsFallBackAndMissingBuffersDoNoHarm) {
    const Stereo in = stereoNoise(4800), side = in.right;
    const double* mono[4] = {in.left.data(), nullptr, in.right.data(), nullptr};
    const double* none[4] = {};
    Stereo heard = silence(in.size());
    double* outs[2] = {heard.left.data(), heard.right.data()};
    double* leftOnly[2] = {heard.left.data(), nullptr};
    double* noOuts[2] = {};

    EngineRig expected(busy(ProcessingMode::Clean)), rig(busy(ProcessingMode::Clean));
    rig.engine.process64(mono, outs, 4800);
    EXPECT_LT(largestDifference(heard, expected.render(in.left, &side)), 1e-12);

    // A mono output is the mean.
    EngineRig wide, narrow;
    const double* stereo[4] = {in.left.data(), in.right.data(), nullptr, nullptr};
    narrow.engine.process64(stereo, leftOnly, 4800);
    const Stereo sides = wide.render(in);
    for (size_t i = 0; i < in.size(); ++i)
        ASSERT_NEAR(heard.left[i], 0.5 * (sides.left[i] + sides.right[i]), 1e-12);

    rig.engine.process64(none, noOuts, 512);
    rig.engine.processSuspended64(none, noOuts, 512);
    rig.engine.processSuspended64(mono, leftOnly, 4800);
    rig.engine.process64(mono, outs, 0);
    std::fill(heard.left.begin(), heard.left.end(), kNan);
    rig.engine.process64(none, leftOnly, 4800);
    EXPECT_TRUE(allFinite(heard.left));  // silence or a tail, but written
}

TEST(EngineSuspended, PassesTheInputBitForBitAndFadesOnItsWay) {
    EngineRig rig({{kDelayTime, ms(33.7)}});
    const Signal tone = rig.sine(100.0, 0.2);
    Signal heard = rig.render(tone).left;
    for (int turn = 0; turn < 3; ++turn) {
        rig.suspended = true;
        const Signal passed = rig.render(tone).left;
        EXPECT_EQ(largestDifference(passed, tone, rig.samples(0.02)), 0.0);
        heard = join(heard, passed);

        // Bits that no arithmetic would leave alone.
        Signal delicate = tone;
        using Limits = std::numeric_limits<double>;
        for (const double bits : {kNan, kInfinity, Limits::denorm_min(), -0.0, Limits::max()})
            delicate.push_back(bits);
        const Signal same = rig.render(delicate).left;
        EXPECT_EQ(std::memcmp(same.data(), delicate.data(), same.size() * sizeof(double)), 0);
        rig.suspended = false;
        heard = join(heard, rig.render(tone).left);
    }
    // The sine steps by 0.0066 and its echo by as much; a hard switch by up to 1.
    EXPECT_LT(largestStep(heard), 0.02);
}

TEST(EngineReset, LeavesNothingOfThePast) {
    for (const ProcessingMode mode : kModes) {
        EngineRig used({{kProcessingMode, valueOf(mode)}, {kLfoSync, 1.0}}), fresh(busy(mode));
        used.render(stereoNoise(30000, 8.0, 1));
        used.set({{kInfRepeat, 1.0}, {kDepth, 1.0}});
        used.host.giveTempo(99.0);
        used.host.play(7.0);
        used.render(stereoNoise(30000, 8.0, 2));
        used.set({{kInfRepeat, 0.0}, {kLfoSync, 0.0}});
        used.host.now = fresh.host.now;
        used.set(busy(mode));
        used.set(kResetCommand, 0.0);
        EXPECT_GT(peak(used.render(silence(2400)).left), 0.01);
        used.set(kResetCommand, 1.0);
        for (const uint32_t index : {kOutLfoLamp, kOutHeadroom, kOutDelayActivity,
                                     kOutInfRepeatLamp, kOutSideChainPeakLeft, kOutDelayReadout}) {
            EXPECT_EQ(used.read(index), fresh.read(index)) << index;
        }
        const Stereo in = stereoNoise(48000, 0.5, 3);
        EXPECT_EQ(largestDifference(used.render(in), fresh.render(in)), 0.0)
            << static_cast<int>(mode);
    }
}

}  // namespace
}  // namespace Quorvant::Test
