// "Lims" and "Full": the ceilings hold, quiet sounds pass untouched, and the converters' noise is
// what it is said to be.
#include "dsp/Converter.h"
#include "tests/dsp/EngineRig.h"

#include <gtest/gtest.h>

#include <complex>

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
            const double room =
                mode == ProcessingMode::Full ? 1e-2 : 1e-9;  // the converters' error
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

// What a converter adds to a sine, in decibels against it; of silence against full scale.
double errorOf(double hz, double level, double rate = 48000.0) {
    AdConverter converter;
    converter.setSampleRate(rate);
    converter.setCeiling(8.7);
    Signal error = sine(static_cast<size_t>(rate), hz, rate, level);
    for (double& x : error) x -= left(converter.convert(both(x)));
    return decibels(rms(error) / (level > 0.0 ? level * kSqrtHalf : 1.0));
}

TEST(AdConverter, ItsErrorRidesBelowTheSoundAndIsLargerForTreble) {
    for (const double level : {1.0, 0.1, 0.01}) {
        EXPECT_NEAR(errorOf(200.0, level), -58.0, 3.0) << level;
        EXPECT_NEAR(errorOf(10000.0, level), -51.5, 2.0) << level;
    }
    const double idle = errorOf(1000.0, 0.0);
    EXPECT_LT(idle, -100.0);
    // As dense at any rate, so that the total grows with the band.
    EXPECT_NEAR(errorOf(1000.0, 0.0, 192000.0) - idle, 6.0, 1.5);
}

TEST(AdConverter, ItsNoiseIsEvenAndApartInBothChannels) {
    AdConverter converter;
    converter.setSampleRate(48000.0);
    converter.setCeiling(1.0);
    double sum = 0.0, squares = 0.0, product = 0.0;
    for (int i = 0; i < 200000; ++i) {
        const Pair hiss = converter.convert(Pair{});
        sum += left(hiss);
        squares += left(hiss) * left(hiss);
        product += left(hiss) * right(hiss);
    }
    EXPECT_LT(std::abs(sum), 0.02 * std::sqrt(200000.0 * squares));
    EXPECT_LT(std::abs(product), 0.02 * squares) << "both hiss alike";
}

TEST(Full, SaturatesSlowSoundsWithOddHarmonicsOnlyAndFoldsNoTrebleBack) {
    for (const double x : {0.01, 0.5, 1.0, 20.0}) {
        const auto settled = [](double level) {
            EngineRig rig(at(ProcessingMode::Full, {{kMix, 0.0}}));
            return rig.render(Signal(96, level)).left.back();
        };
        EXPECT_NEAR(settled(x), x / std::sqrt(1.0 + x * x / (kCeiling * kCeiling)), 1e-9);
        EXPECT_EQ(settled(x), -settled(-x));
    }
    // The third harmonic of 9 kHz lies beyond half of this rate and would come back at 17.1 kHz.
    EngineRig rig(at(ProcessingMode::Full), 44100.0);
    const Signal out = rig.render(rig.sine(9000.0, 1.2, 1.0)).left;
    const auto amplitude = [&](double hz) {
        std::complex<double> sum;
        for (size_t i = 8820; i < out.size(); ++i)  // both tones fit into what is left
            sum +=
                std::polar(out[i], 2.0 * std::numbers::pi * hz / rig.rate * static_cast<double>(i));
        return std::abs(sum);
    };
    EXPECT_LT(decibels(amplitude(17100.0) / amplitude(9000.0)), -45.0);
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
