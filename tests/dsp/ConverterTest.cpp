// "Lims" and "Full": the ceilings hold, quiet sounds pass untouched, and the converters' noise is
// what it is said to be.
#include "dsp/Converter.h"
#include "tests/dsp/EngineRig.h"

#include <gtest/gtest.h>

namespace Quorvant::Test {
namespace {

// Sensitivity off and the lowest reference level: the ceilings are 1 before the memory, 1/2 behind.
const double kCeiling = 1.4142 * 0.7071;

void use(EngineRig& rig, ProcessingMode mode) {
    rig.set(mode);
    rig.set(kSensitivity, 0.0);
    rig.set(kReferenceLevel, 0.0);
    rig.engine.reset();
}

TEST(Lims, PassesQuietSoundsAsCleanDoes) {
    const auto rendered = [](ProcessingMode mode, double level) {
        EngineRig rig;
        rig.set(kFeedback, 0.9);
        rig.set(kHighCut, 1.0);
        rig.set(kMix, 0.7);
        use(rig, mode);
        return join(rig.render(noise(24000, level)), rig.render(silence(48000)));
    };
    const Stereo clean = rendered(ProcessingMode::Clean, 0.1);
    ASSERT_GT(peak(clean.left), 0.1);
    EXPECT_LT(largestDifference(rendered(ProcessingMode::Lims, 0.1).left, clean.left), 1e-6);
    EXPECT_GT(largestDifference(rendered(ProcessingMode::Lims, 2.0).left,
                                rendered(ProcessingMode::Clean, 2.0).left),
              0.1);
}

TEST(Limits, HoldTheirCeilingsFromTheFirstSampleOn) {
    for (const ProcessingMode mode : {ProcessingMode::Lims, ProcessingMode::Full}) {
        for (const double x2 : {0.0, 1.0}) {
            const auto loudest = [&](double monitor, double external) {
                EngineRig rig;
                rig.set(kFeedback, 0.9);
                rig.set(kInput, 1.0);
                rig.set(kDelayX2, x2);
                rig.set(kSideChainMonitor, monitor);
                rig.set(kSideChainIntExt, external);
                use(rig, mode);
                Stereo in = noise(24000, 1.0);
                in = join(join(silence(4800), in), join(silence(4800), Signal(9600, 1.0)));
                Stereo side = in;
                for (double& x : side.left) x *= 10.0;
                return peak(rig.render(in, &side).left);
            };
            const double room = mode == ProcessingMode::Full ? 2e-3 : 1e-9;  // hiss and rounding
            const double wet = loudest(0.0, 0.0), before = loudest(1.0, 0.0);
            EXPECT_LE(wet, 0.5 * kCeiling + room);
            EXPECT_GT(wet, 0.3 * kCeiling * (1.0 - 0.5 * x2));  // X2 halves what is behind
            EXPECT_LE(before, kCeiling + room);
            EXPECT_GT(before, 0.8 * kCeiling);
            EXPECT_LE(loudest(1.0, 1.0), kCeiling + room);  // the side chain's own limiter
        }
    }
}

TEST(Limits, ReadingsTellWhichOneWorks) {
    const auto readings = [](double level) {
        EngineRig rig;
        rig.setDelayMs(5.0);
        use(rig, ProcessingMode::Lims);
        rig.render(Signal(24000, level));
        return std::array{rig.read(kOutFirstGainReduction), rig.read(kOutSecondGainReduction),
                          rig.read(kOutHeadroom)};
    };
    EXPECT_EQ(readings(0.3)[0], 1e-15);
    EXPECT_EQ(readings(0.3)[1], 1e-15);
    EXPECT_EQ(readings(0.5)[0], 1e-15);
    EXPECT_GT(readings(0.5)[1], 0.05);
    EXPECT_GT(readings(2.0)[0], 0.4);
    // Headroom is measured in front of the limiter: twice the level reads twice as much.
    EXPECT_NEAR(readings(0.16)[2] / readings(0.08)[2], 2.0, 1e-3);
    EXPECT_EQ(readings(2.0)[2], 1.0);
}

TEST(Full, HissesAtItsNoiseFloorEvenlyAndWithoutAnOffset) {
    for (const double rate : {44100.0, 96000.0}) {
        EngineRig rig(rate);
        use(rig, ProcessingMode::Full);
        const Stereo out = rig.render(silence(rig.samples(4.0)));
        const size_t from = rig.samples(0.5);
        const double pole = std::exp(-2.0 * std::numbers::pi * DaConverter::kCorner / rate);
        const double expected =
            AdConverter::kNoiseFloor * kCeiling * std::sqrt((1.0 - pole) / (1.0 + pole));
        const double level = rms(out.left, from);
        EXPECT_LT(std::abs(20.0 * std::log10(level / expected)), 1.0) << rate;
        EXPECT_LT(std::abs(mean(out.left, from)), level / 50.0);

        double product = 0.0;
        for (size_t i = from; i < out.size(); ++i) product += out.left[i] * out.right[i];
        product /= static_cast<double>(out.size() - from) * level * rms(out.right, from);
        EXPECT_LT(std::abs(product), 0.02) << "left and right hiss alike";
    }
    EngineRig lims;
    use(lims, ProcessingMode::Lims);
    EXPECT_EQ(peak(lims.render(silence(48000)).left), 0.0);
}

// RMS of what is left of `heard` without its tone and the odd harmonics up to the seventh.
double grain(Signal heard, double radians) {
    for (const double harmonic : {1.0, 3.0, 5.0, 7.0}) {
        double sines = 0.0, cosines = 0.0;
        for (size_t i = 0; i < heard.size(); ++i) {
            sines += heard[i] * std::sin(harmonic * radians * static_cast<double>(i));
            cosines += heard[i] * std::cos(harmonic * radians * static_cast<double>(i));
        }
        const double scale = 2.0 / static_cast<double>(heard.size());
        for (size_t i = 0; i < heard.size(); ++i) {
            heard[i] -= scale * (sines * std::sin(harmonic * radians * static_cast<double>(i)) +
                                 cosines * std::cos(harmonic * radians * static_cast<double>(i)));
        }
    }
    return rms(heard);
}

TEST(Full, GrainFollowsTheLevel) {
    const auto grainAt = [](double level) {
        EngineRig rig;
        use(rig, ProcessingMode::Full);
        const Signal out = rig.render(rig.sine(437.0, 1.5, level)).left;
        // A whole number of periods, so that the fit is exact.
        const Signal heard(out.end() - 48000, out.end());
        return grain(heard, 2.0 * std::numbers::pi * 437.0 / 48000.0);
    };
    const double quiet = grainAt(0.003), loud = grainAt(0.3);
    EXPECT_LT(std::abs(20.0 * std::log10(quiet / grainAt(0.0))), 1.5);
    EXPECT_GT(loud, 1.5 * quiet);
    // A mantissa of ten bits.
    EXPECT_LT(20.0 * std::log10(loud / 0.2), -60.0);
}

TEST(Full, SaturatesItsInputWithOddHarmonicsOnly) {
    EngineRig rig;
    rig.set(kMix, 0.0);
    use(rig, ProcessingMode::Full);
    for (const double x : {0.01, 0.5, 1.0, 20.0}) {
        const double up = rig.render(Signal(64, x)).left.back();
        const double down = rig.render(Signal(64, -x)).left.back();
        EXPECT_NEAR(up, x / std::sqrt(1.0 + x * x / (kCeiling * kCeiling)), 1e-9);
        EXPECT_EQ(up, -down);
    }
}

TEST(Full, ALoopAtUnityNeitherGrowsNorGathersAnOffset) {
    for (const ProcessingMode mode : {ProcessingMode::Lims, ProcessingMode::Full}) {
        for (const double rate : {44100.0, 48000.0, 96000.0, 192000.0}) {
            for (const double x2 : {0.0, 1.0}) {
                EngineRig rig(rate);
                rig.set(kFeedback, 1.0);
                rig.set(kDelayX2, x2);
                rig.setDelayMs(50.0);
                use(rig, mode);
                rig.render(noise(rig.samples(0.3), 0.8));
                rig.settle(4.0);
                const Signal early = rig.render(silence(rig.samples(1.0))).left;
                rig.settle(4.0);
                const Signal late = rig.render(silence(rig.samples(1.0))).left;
                EXPECT_LE(peak(late), 0.5 * kCeiling + 2e-3);
                EXPECT_NEAR(rms(late) / rms(early), 1.0, 0.5) << rate << ' ' << x2;
                EXPECT_LT(std::abs(mean(late, 0)), 0.01) << rate << ' ' << x2;
            }
        }
    }
}

TEST(Modes, ChangeWithoutAClick) {
    EngineRig rig;
    rig.set(kMix, 0.6);
    rig.set(kFeedback, 0.5);
    use(rig, ProcessingMode::Clean);
    rig.set(kInput, 0.7);
    rig.settle();
    Stereo out = silence(1);
    const Signal in = rig.sine(100.0, 0.1, 0.6);
    Dice dice(4);
    for (int turn = 0; turn < 60; ++turn) {
        rig.set(static_cast<ProcessingMode>(dice.below(4)));
        out = join(out, rig.render(in));
    }
    // Twice what a sine of that peak steps by.
    EXPECT_LT(largestStep(out.left),
              2.0 * peak(out.left) * 2.0 * std::numbers::pi * 100.0 / 48000.0);
}

}  // namespace
}  // namespace Quorvant::Test
