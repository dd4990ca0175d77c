// What a host can do to the engine: bad samples, odd blocks and rates, missing buffers, suspension,
// resets; and that the same calls always give the same sound.
#include "dsp/Denormals.h"
#include "tests/dsp/EngineRig.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <limits>

namespace Quorvant::Test {
namespace {

const double kNan = std::numeric_limits<double>::quiet_NaN();
const double kInfinity = std::numeric_limits<double>::infinity();

// A setting in which everything works at once.
void setBusy(EngineRig& rig, ProcessingMode mode) {
    rig.set(kMix, 0.6);
    rig.set(kFeedback, 0.5);
    rig.set(kHighCut, 1.0);
    rig.set(kWaveform, 0.3);
    rig.set(kDepth, 0.6);
    rig.set(kSideChainIntExt, 0.5);
    rig.set(DirectionMode::Bounce);
    rig.set(mode);
    rig.engine.reset();
}

constexpr ProcessingMode kModes[] = {ProcessingMode::Clean, ProcessingMode::Legacy,
                                     ProcessingMode::Lims, ProcessingMode::Full};

TEST(EngineRobustness, BadSamplesAreSilence) {
    for (const ProcessingMode mode : kModes) {
        EngineRig clean, poisoned;
        setBusy(clean, mode);
        setBusy(poisoned, mode);
        Stereo good = stereoNoise(48000, 0.5, 1), bad = good, goodSide = stereoNoise(48000, 0.5, 2),
               badSide = goodSide;
        Dice dice(3);
        for (const double poison : {kNan, kInfinity, -kInfinity, 1025.0, -1e30, 1e308}) {
            for (int n = 0; n < 300; ++n) {
                const auto i = static_cast<size_t>(dice.below(40000));
                (n % 2 ? good.left : good.right)[i] = 0.0;
                (n % 2 ? bad.left : bad.right)[i] = poison;
                goodSide.left[i] = goodSide.right[i] = 0.0;
                badSide.left[i] = badSide.right[i] = poison;
            }
        }
        const Stereo expected = clean.render(good, &goodSide);
        const Stereo got = poisoned.render(bad, &badSide);
        ASSERT_GT(peak(expected.left), 0.1);
        EXPECT_EQ(largestDifference(got.left, expected.left), 0.0);
        EXPECT_EQ(largestDifference(got.right, expected.right), 0.0);
    }
}

TEST(EngineRobustness, SoundsAsBeforeOnceTheMemoryHasBeenReplaced) {
    for (const ProcessingMode mode : kModes) {
        EngineRig untouched, shocked;
        for (EngineRig* rig : {&untouched, &shocked}) {
            rig->set(mode);
            rig->set(kFeedback, 0.5);
            rig->set(kInput, 0.5);
            rig->engine.reset();
        }
        const Stereo shock = shocked.render(stereoNoise(24000, 1024.0, 1));
        EXPECT_TRUE(allFinite(shock));
        untouched.render(silence(24000));
        shocked.settle(8.0);
        untouched.settle(8.0);
        const Stereo music = stereoNoise(24000, 0.5, 2);
        EXPECT_LT(largestDifference(shocked.render(music).left, untouched.render(music).left),
                  mode == ProcessingMode::Full ? 1e-3 : 1e-9);
    }
}

TEST(EngineRobustness, NoSettingMakesItNotFiniteNorRunAway) {
    Dice dice(11);
    const double rates[] = {44100.0, 48000.0, 96000.0, 192000.0, 384000.0};
    for (const double rate : rates) {
        EngineRig rig(rate);
        for (int round = 0; round < 24; ++round) {
            for (uint32_t index = 0; index < kParameterCount; ++index) {
                rig.set(index, dice.chance(0.3) ? dice.below(2) : dice.unit());
            }
            rig.set(kInput, 0.5);
            rig.set(kOutput, 0.5);
            rig.set(kGlobalInput, 0.5);
            rig.set(kGlobalOutput, 0.5);
            const Stereo out =
                rig.render(stereoNoise(6000, dice.chance(0.2) ? 1e3 : 1.0, dice.next()));
            ASSERT_TRUE(allFinite(out)) << rate << ' ' << round;
            // 1024 is the most that the memory holds; a spline overshoots by a quarter.
            ASSERT_LT(peak(out.left), 4.0 * 1024.0) << rate << ' ' << round;
        }
    }
}

TEST(EngineRobustness, ModulationAtItsDeepestDoesNotOvershoot) {
    // The clock swings between its limits here; without feedback nothing may get much louder.
    for (const double invert : {0.0, 1.0}) {
        EngineRig rig;
        rig.set(kSensitivity, 0.0);
        rig.set(kReferenceLevel, 0.0);
        rig.set(kDepth, 1.0);
        rig.set(kWaveform, 0.5);
        rig.set(kEnvInvert, invert);
        rig.engine.reset();
        Stereo in = silence(0);
        for (uint64_t n = 0; n < 40; ++n) {
            in = join(in, join(stereoNoise(1200, 1.0, n + 1), silence(1200)));
        }
        const Stereo out = rig.render(in);
        EXPECT_GT(peak(out.left), 0.3);
        EXPECT_LT(peak(out.left), 2.5);
    }
}

TEST(EngineRobustness, AClockThatJumpsDoesNotOvershoot) {
    // Flicking Env Invert throws the clock from its slowest to its fastest within a sample; the
    // output spline, were it to extrapolate, would reach thousands.
    EngineRig rig;
    rig.set(kInput, 1.0);
    rig.set(kSensitivity, 0.0);
    rig.set(kReferenceLevel, 0.0);
    rig.set(kWaveform, 0.5);
    rig.set(kDepth, 1.0);
    rig.set(kDelayX2, 1.0);
    rig.engine.reset();
    rig.render(stereoNoise(9600, 1.0, 99));
    Stereo out = silence(0);
    for (uint64_t n = 0; n < 400; ++n) {
        rig.set(kEnvInvert, static_cast<double>(n % 2));
        out = join(out, rig.render(stereoNoise(300 + n % 7, 1.0, n + 1)));
    }
    EXPECT_GT(peak(out.left), 2.0);
    EXPECT_LT(peak(out.left), 8.0);
}

TEST(EngineRobustness, ParametersAreClampedAndNonsenseIsIgnored) {
    EngineRig rig;
    rig.set(kMix, 0.0);
    rig.set(kInput, kNan);
    rig.set(kInput, 0.5);
    rig.set(kInput, kNan);
    rig.set(kOutput, 17.0);
    rig.set(kFeedback, -3.0);
    for (const uint32_t index : {42u, 78u, 113u, 114u, 116u, 159u, 100000u, UINT32_MAX}) {
        rig.set(index, 1.0);
    }
    rig.engine.reset();
    EXPECT_NEAR(rig.render(Signal(64, 0.1)).left.back(), 0.4, 1e-9);
}

// Where denormals count as zero, a negative one passes for 0 in comparisons and not in functions.
TEST(EngineRobustness, ANegativeDenormalIsZero) {
    const ScopedFloatingPointMode hostFlushes;
    const Stereo in = stereoNoise(4800, 0.5, 1);
    for (uint32_t index = 0; index <= kManualTempo; ++index) {
        EngineRig rig, zero;
        setBusy(rig, ProcessingMode::Clean);
        setBusy(zero, ProcessingMode::Clean);
        rig.set(index, -6e-317);
        zero.set(index, 0.0);
        const Stereo got = rig.render(in), expected = zero.render(in);
        EXPECT_EQ(got.left, expected.left) << index;
        EXPECT_EQ(got.right, expected.right) << index;
    }
}

TEST(EngineRobustness, EveryRateWorksAndTheUnfitOnesAreReplaced) {
    const struct {
        double asked, used;
    } rates[] = {{22050.0, 44100.0},   {1234.5678, 44100.0}, {44100.0, 44100.0},
                 {48000.5, 48000.5},   {88200.0, 88200.0},   {176400.0, 176400.0},
                 {352800.0, 352800.0}, {384000.0, 384000.0}, {500000.0, 384000.0},
                 {0.0, 44100.0},       {-1.0, 44100.0},      {kNan, 44100.0},
                 {kInfinity, 384000.0}};
    for (const auto& [asked, used] : rates) {
        EngineRig rig(used);
        EXPECT_EQ(rig.engine.setSampleRate(asked), asked == used) << asked;
        EXPECT_NEAR(rig.read(kOutSampleRate) * 1e6, used, 1e-6);
        EXPECT_EQ(rig.engine.getTail(), static_cast<int32_t>(used * 10.0));
        EXPECT_EQ(rig.engine.getLatency(), 0);
        for (const double x2 : {0.0, 1.0}) {
            rig.set(kDelayX2, x2);
            rig.engine.reset();
            Signal in = rig.pulse(0.01);
            in.resize(rig.samples(0.35), 0.0);
            const Signal out = rig.render(in).left;
            EXPECT_NEAR(peakPosition(out) / used, 0.1 * (1.0 + x2) + 0.005, 5e-4) << used;
            EXPECT_LT(peak(out, rig.samples(0.3)), 1e-3) << "rings at " << used;
        }
    }
}

TEST(EngineRobustness, BlockSizeDoesNotMatter) {
    const auto rendered = [](int32_t blockSize, ProcessingMode mode, DirectionMode direction) {
        EngineRig rig;
        setBusy(rig, mode);
        rig.set(direction);
        rig.engine.reset();
        rig.blockSize = blockSize;
        Stereo out = silence(0);
        Dice dice(5);
        for (uint64_t part = 0; part < 8; ++part) {
            const Stereo side = stereoNoise(9600, 0.5, 100 + part);
            out = join(out, rig.render(stereoNoise(9600, 0.5, part), &side));
            // May come while a segment's fade runs, and then waits for its end.
            rig.setDelayMs(dice.between(0.0, 120.0));
            if (part % 3 == 2) rig.set(static_cast<DirectionMode>(dice.below(4)));
            rig.set(kManualVco, dice.unit());
            rig.set(kInfRepeat, dice.below(3) == 0);
            rig.set(kDelayX2, dice.below(4) == 0);
        }
        return out;
    };
    for (int n = 0; n < 4; ++n) {
        const auto mode = static_cast<ProcessingMode>(n);
        for (const DirectionMode direction : {DirectionMode::Forward, DirectionMode::Bounce}) {
            const Stereo expected = rendered(9600, mode, direction);
            for (const int32_t blockSize : {1, 7, 64, 100, 1024}) {
                const Stereo got = rendered(blockSize, mode, direction);
                EXPECT_LT(largestDifference(got.left, expected.left), 1e-9)
                    << blockSize << " frames, mode " << n << ", direction "
                    << static_cast<int>(direction);
            }
        }
    }
}

TEST(EngineRobustness, SingleAndDoublePrecisionAgree) {
    EngineRig wide, narrow;
    setBusy(wide, ProcessingMode::Legacy);
    setBusy(narrow, ProcessingMode::Legacy);
    Stereo in = stereoNoise(48000, 0.5, 9);
    std::vector<float> left(in.left.begin(), in.left.end()),
        right(in.right.begin(), in.right.end());
    in = {Signal(left.begin(), left.end()), Signal(right.begin(), right.end())};
    wide.blockSize = 48000;
    const Stereo expected = wide.render(in, &in);
    const float* ins[4] = {left.data(), right.data(), left.data(), right.data()};
    float* outs[2] = {left.data(), right.data()};  // in place
    narrow.engine.process32(ins, outs, 48000);
    for (size_t i = 0; i < in.size(); ++i) {
        ASSERT_EQ(left[i], static_cast<float>(expected.left[i])) << i;
        ASSERT_EQ(right[i], static_cast<float>(expected.right[i])) << i;
    }
}

TEST(EngineRobustness, MissingChannelsFallBackAndMissingBuffersDoNoHarm) {
    const Stereo in = stereoNoise(4800, 0.5, 1);
    EngineRig stereo, mono;
    const Stereo expected = stereo.render(in.left);
    Signal left(in.size()), right(in.size());
    const double* ins[4] = {in.left.data(), nullptr, nullptr, nullptr};
    double* outs[2] = {left.data(), right.data()};
    mono.engine.process64(ins, outs, 4800);
    EXPECT_EQ(largestDifference(left, expected.left), 0.0);
    EXPECT_EQ(largestDifference(right, expected.right), 0.0);

    const double* noIns[4] = {};
    double* noOuts[2] = {};
    double* leftOnly[2] = {left.data(), nullptr};
    mono.engine.process64(noIns, noOuts, 512);
    mono.engine.process64(noIns, leftOnly, 512);
    mono.engine.process64(ins, noOuts, 512);
    mono.engine.processSuspended64(noIns, noOuts, 512);
    mono.engine.processSuspended64(ins, leftOnly, 4800);
    mono.engine.process64(ins, outs, 0);
    std::fill(left.begin(), left.end(), 7.0);
    mono.engine.process64(noIns, leftOnly, 480);
    EXPECT_TRUE(allFinite(left));
    EXPECT_NE(left[0], 7.0);  // silence or a tail, but written
}

// Bits that no arithmetic would leave alone.
template <typename Sample>
std::vector<Sample> delicateBits(size_t count) {
    using Limits = std::numeric_limits<Sample>;
    const Sample delicate[] = {Limits::quiet_NaN(),  Limits::infinity(), -Limits::infinity(),
                               Limits::denorm_min(), -Sample(0),         Limits::max(),
                               Sample(0.1)};
    std::vector<Sample> bits(count);
    for (size_t i = 0; i < count; ++i) bits[i] = delicate[i % std::size(delicate)];
    return bits;
}

TEST(EngineSuspended, PassesTheInputBitForBit) {
    EngineRig rig;
    rig.render(stereoNoise(4800, 0.5, 1));
    const auto doubles = delicateBits<double>(4800);
    const auto floats = delicateBits<float>(4800);
    auto outLeft = doubles;  // the left channel in place
    std::vector<double> outRight(4800);
    std::vector<float> narrowLeft(4800), narrowRight(4800);
    const double* ins[4] = {outLeft.data(), doubles.data(), nullptr, nullptr};
    double* outs[2] = {outLeft.data(), outRight.data()};
    const float* narrowIns[4] = {floats.data(), nullptr, nullptr, nullptr};
    float* narrowOuts[2] = {narrowLeft.data(), narrowRight.data()};
    rig.engine.processSuspended64(ins, outs, 4800);  // 100 ms: the crossfade is over
    outLeft = doubles;
    rig.engine.processSuspended64(ins, outs, 4800);
    EXPECT_EQ(std::memcmp(outLeft.data(), doubles.data(), 4800 * sizeof(double)), 0);
    EXPECT_EQ(std::memcmp(outRight.data(), doubles.data(), 4800 * sizeof(double)), 0);
    rig.engine.processSuspended32(narrowIns, narrowOuts, 4800);
    EXPECT_EQ(std::memcmp(narrowLeft.data(), floats.data(), 4800 * sizeof(float)), 0);
    EXPECT_EQ(std::memcmp(narrowRight.data(), floats.data(), 4800 * sizeof(float)), 0);
}

TEST(EngineSuspended, FadesInAndOutWithinAFewMilliseconds) {
    EngineRig rig;
    rig.set(kMix, 1.0);
    rig.setDelayMs(33.7);
    rig.engine.reset();
    Signal heard;
    const Signal in = rig.sine(100.0, 4.0);
    for (size_t at = 0; at + 96 <= in.size(); at += 96) {
        Signal block(96);
        const double* ins[4] = {&in[at], &in[at], nullptr, nullptr};
        double* outs[2] = {block.data(), block.data()};
        const bool suspended = at / 9600 % 2 == 1;
        if (suspended) {
            rig.engine.processSuspended64(ins, outs, 96);
            // 20 ms after the switch nothing but the input is heard.
            if (at % 9600 >= 960) {
                ASSERT_EQ(std::memcmp(block.data(), &in[at], 96 * sizeof(double)), 0) << at;
            }
        } else {
            rig.engine.process64(ins, outs, 96);
        }
        heard.insert(heard.end(), block.begin(), block.end());
    }
    // The sine steps by 0.0066 and its echo by as much; a hard switch by up to 1.
    EXPECT_LT(largestStep(heard), 0.02);
}

TEST(EngineReset, LeavesNothingOfThePast) {
    for (const ProcessingMode mode : kModes) {
        EngineRig used, fresh;
        used.set(mode);
        used.render(stereoNoise(30000, 0.5, 1));
        used.set(kInfRepeat, 1.0);
        used.set(kDepth, 1.0);
        used.host.giveTempo(99.0);
        used.host.play(7.0);
        used.render(stereoNoise(30000, 0.5, 2));
        used.set(kInfRepeat, 0.0);
        used.host.now = fresh.host.now;
        setBusy(fresh, mode);
        setBusy(used, mode);
        for (const uint32_t index : {kOutLfoLamp, kOutHeadroom, kOutDelayActivity,
                                     kOutInfRepeatLamp, kOutSideChainPeakLeft, kOutDelayReadout}) {
            EXPECT_EQ(used.read(index), fresh.read(index)) << index;
        }
        const Stereo in = stereoNoise(48000, 0.5, 3);
        EXPECT_EQ(largestDifference(used.render(in).left, fresh.render(in).left), 0.0)
            << static_cast<int>(mode);
    }
}

TEST(EngineReset, TheResetCommandDoesTheSame) {
    EngineRig rig;
    rig.render(stereoNoise(4000, 0.5, 1));
    rig.set(kResetCommand, 0.0);
    EXPECT_GT(peak(rig.render(silence(2400)).left), 0.01);
    rig.set(kResetCommand, 1.0);
    EXPECT_EQ(peak(rig.render(silence(48000)).left), 0.0);
}

TEST(EngineDeterminism, TheSameCallsGiveTheSameBits) {
    const auto run = [](uint64_t seed) {
        EngineRig rig;
        Dice dice(seed);
        Stereo out = silence(0);
        rig.host.giveTempo(111.0);
        rig.host.play(0.0);
        for (int part = 0; part < 60; ++part) {
            for (int n = 0; n < 4; ++n) {
                rig.set(static_cast<uint32_t>(dice.below(kParameterCount)), dice.unit());
            }
            const Stereo side = stereoNoise(1600, 0.5, dice.next());
            out = join(out, rig.render(stereoNoise(1600, 0.5, dice.next()), &side));
        }
        return out;
    };
    const Stereo first = run(21), second = run(21);
    EXPECT_EQ(std::memcmp(first.left.data(), second.left.data(), first.size() * sizeof(double)), 0);
    EXPECT_EQ(std::memcmp(first.right.data(), second.right.data(), first.size() * sizeof(double)),
              0);
}

TEST(EngineThreadState, TheHostsFloatingPointModeIsRestored) {
    // Denormals are flushed inside; what the host's own code does with them must not change.
    EngineRig rig;
    volatile double tiny = std::numeric_limits<double>::min();
    rig.render(silence(64));
    EXPECT_GT(tiny / 2.0, 0.0);
}

}  // namespace
}  // namespace Quorvant::Test
