// "Lims" and "Full": the ceilings hold, quiet sounds pass untouched, and the converters' noise is
// what it is said to be.
#include "dsp/Converter.h"
#include "tests/dsp/EngineRig.h"

#include <gtest/gtest.h>

namespace Quorvant::Test {
namespace {

// The ceiling in front of the memory; behind it lies half of that.
const double kCeiling = kSqrtTwo * kSqrtHalf;

Settings at(ProcessingMode mode, const Settings& more = {}) {
    Settings settings = {
        {kProcessingMode, valueOf(mode)}, {kSensitivity, 0.0}, {kReferenceLevel, 0.0}};
    settings.insert(settings.end(), more.begin(), more.end());
    return settings;
}

TEST(Limits, HoldTheirCeilingsFromTheFirstSampleOn) {
    for (const ProcessingMode mode : {ProcessingMode::Lims, ProcessingMode::Full}) {
        for (const double x2 : {0.0, 1.0}) {
            const auto loudest = [&](double monitor, double external) {
                EngineRig rig(at(mode, {{kFeedback, 0.9},
                                        {kInput, 1.0},
                                        {kDelayX2, x2},
                                        {kSideChainMonitor, monitor},
                                        {kSideChainIntExt, external}}));
                const Signal in = join(join(silence(4800), noise(24000, 1.0)),
                                       join(silence(4800), Signal(9600, 1.0)));
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
        EngineRig rig(at(ProcessingMode::Lims, {{kDelayTime, ms(5.0)}}));
        rig.render(Signal(24000, level));
        return std::pair{rig.read(kOutFirstGainReduction), rig.read(kOutSecondGainReduction)};
    };
    EXPECT_EQ(readings(0.3), std::pair(1e-15, 1e-15));
    EXPECT_EQ(readings(0.5).first, 1e-15);
    EXPECT_GT(readings(0.5).second, 0.05);
    EXPECT_GT(readings(2.0).first, 0.4);
}

TEST(Full, HissesAtItsNoiseFloorEvenlyAndWithoutAnOffset) {
    for (const double rate : {44100.0, 96000.0}) {
        EngineRig rig(at(ProcessingMode::Full), rate);
        const Stereo out = rig.render(silence(rig.samples(4.0)));
        const size_t from = rig.samples(0.5);
        const double pole = std::exp(-2.0 * std::numbers::pi * DaConverter::kCorner / rate);
        const double expected =
            AdConverter::kNoiseFloor * kCeiling * std::sqrt((1.0 - pole) / (1.0 + pole));
        const double level = rms(out.left, from);
        EXPECT_NEAR(decibels(level / expected), 0.0, 1.0) << rate;
        EXPECT_LT(std::abs(mean(out.left, from)), level / 50.0);

        Signal product = out.left;
        for (size_t i = 0; i < product.size(); ++i) product[i] *= out.right[i];
        EXPECT_LT(std::abs(mean(product, from)), 0.02 * level * level) << "both hiss alike";
    }
}

TEST(AdConverter, ItsGrainFollowsTheLevel) {
    const auto grainAt = [](double level) {
        AdConverter converter;
        converter.reset();
        converter.setCeiling(1.0);
        Signal grain = sine(48000, 437.0, 48000.0, level);
        for (double& x : grain) x -= left(converter.convert(both(x)));
        return decibels(rms(grain));
    };
    EXPECT_NEAR(grainAt(0.003), grainAt(0.0), 1.5);
    // A mantissa of ten bits.
    EXPECT_GT(grainAt(0.3), grainAt(0.0) + 6.0);
    EXPECT_LT(grainAt(0.3), decibels(0.2) - 60.0);
}

TEST(Full, SaturatesItsInputWithOddHarmonicsOnly) {
    EngineRig rig(at(ProcessingMode::Full, {{kMix, 0.0}}));
    for (const double x : {0.01, 0.5, 1.0, 20.0}) {
        const double up = rig.render(Signal(64, x)).left.back();
        const double down = rig.render(Signal(64, -x)).left.back();
        EXPECT_NEAR(up, x / std::sqrt(1.0 + x * x / (kCeiling * kCeiling)), 1e-9);
        EXPECT_EQ(up, -down);
    }
}

TEST(Full, ALoopAtUnityNeitherGrowsNorGathersAnOffset) {
    for (const ProcessingMode mode : {ProcessingMode::Lims, ProcessingMode::Full}) {
        for (const double x2 : {0.0, 1.0}) {
            EngineRig rig(at(mode, {{kFeedback, 1.0}, {kDelayX2, x2}, {kDelayTime, ms(50.0)}}));
            Signal burst = noise(rig.samples(0.3), 0.6);
            for (double& x : burst) x += 0.2;
            rig.render(burst);
            rig.settle(4.0);
            const Signal early = rig.render(silence(rig.samples(1.0))).left;
            rig.settle(4.0);
            const Signal late = rig.render(silence(rig.samples(1.0))).left;
            EXPECT_LE(peak(late), 0.5 * kCeiling + 2e-3);
            EXPECT_NEAR(rms(late) / rms(early), 1.0, 0.5) << x2;
            EXPECT_LT(std::abs(mean(late)), 0.01) << x2;
        }
    }
}

TEST(Limits, SelfOscillationSettlesBelowFullScale) {
    for (const ProcessingMode mode : {ProcessingMode::Lims, ProcessingMode::Full}) {
        EngineRig rig({{kProcessingMode, valueOf(mode)}, {kDelayTime, ms(40.0)}, {kFeedback, 1.0}});
        rig.render(noise(rig.samples(0.04), 0.1));
        rig.settle(20.0);
        const double settled = decibels(peak(rig.render(silence(rig.samples(2.0))).left));
        EXPECT_LT(settled, -1.0);
        EXPECT_GT(settled, -20.0);  // it does oscillate
    }
}

}  // namespace
}  // namespace Quorvant::Test
