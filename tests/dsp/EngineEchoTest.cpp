// Where echoes fall and how loud they are: delay, mix, feedback, high cut, levels, bypass.
#include "tests/dsp/EngineRig.h"

#include <gtest/gtest.h>

namespace Quorvant::Test {
namespace {

// What goes into the memory when `in` is played: with a delay of 0 it is heard at once.
Signal delayInput(const Signal& in, double rate,
                  const std::function<void(EngineRig&)>& adjust = {}) {
    EngineRig rig(rate);
    rig.setDelayMs(0.0);
    if (adjust) adjust(rig);
    rig.engine.reset();
    return rig.render(in).left;
}

// Frames by which `late` follows `early`, near `expected`, and how well the two agree then.
struct Match {
    int64_t lag = 0;
    double difference = HUGE_VAL;
};
Match match(const Signal& early, const Signal& late, size_t expected) {
    Match best;
    for (size_t lag = expected - std::min<size_t>(expected, 12); lag <= expected + 12; ++lag) {
        double difference = 0.0;
        for (size_t i = 0; i + lag < late.size() && i < early.size(); ++i) {
            difference = std::max(difference, std::abs(late[i + lag] - early[i]));
        }
        if (difference < best.difference) best = {static_cast<int64_t>(lag), difference};
    }
    return best;
}

TEST(EngineEcho, IsTheDelayInputUntouchedAfterTheDelay) {
    for (const double rate : {44100.0, 96000.0, 384000.0}) {
        for (const double ms : {1.0, 33.3, 250.0}) {
            EngineRig rig(rate);
            const Signal in = padded(rig.pulse(0.01), rig.samples(0.3));
            rig.setDelayMs(ms);
            rig.engine.reset();
            const Match echo = match(delayInput(in, rate), rig.render(in).left, rig.heardDelay(ms));
            // One frame less where the read index wraps at the start; the dry gain is -147 dB.
            EXPECT_NEAR(echo.lag, rig.heardDelay(ms), 1.0) << rate << " Hz, " << ms << " ms";
            EXPECT_LT(echo.difference, 1e-7) << rate << " Hz, " << ms << " ms";
        }
    }
}

TEST(EngineEcho, BothChannelsKeepTheirOwnSound) {
    EngineRig rig;
    Stereo in = silence(rig.samples(0.3));
    in.left = padded(rig.pulse(0.01, 0.8), in.size());
    const Stereo out = rig.render(in);
    EXPECT_GT(peak(out.left), 0.7);
    EXPECT_EQ(peak(out.right), 0.0);
}

TEST(EngineEcho, TheLongestDelayIsReached) {
    EngineRig rig;
    rig.setDelayMs(9600.0);
    rig.engine.reset();
    const Signal out = rig.render(padded(rig.pulse(0.01), rig.samples(9.8))).left;
    EXPECT_LT(peak(out, 0, rig.samples(9.5)), 1e-7);
    EXPECT_NEAR(peakPosition(out), rig.heardDelay(9600.0) + rig.samples(0.005), 8);
}

TEST(EngineEcho, X2DoublesTheDelayAndHalvesTheLevel) {
    EngineRig rig;
    const Signal hum = rig.sine(400.0, 0.1);
    rig.render(join(hum, silence(rig.samples(0.02))));
    rig.set(kInfRepeat, 1.0);  // holds the sound, so that only its playback changes
    rig.settle(1.0);
    const Signal before = rig.render(silence(rig.samples(1.0))).left;
    const double readoutBefore = rig.read(kOutDelayReadout);
    rig.set(kDelayX2, 1.0);
    rig.settle(1.0);
    const Signal after = rig.render(silence(rig.samples(1.0))).left;
    EXPECT_NEAR(rms(after), rms(before) / 2.0, rms(before) * 0.01);
    EXPECT_NEAR(rig.read(kOutDelayReadout), 2.0 * readoutBefore, 1e-12);

    EngineRig fresh;
    fresh.set(kDelayX2, 1.0);
    fresh.engine.reset();
    const Signal out = fresh.render(padded(fresh.pulse(0.01), fresh.samples(0.4))).left;
    EXPECT_NEAR(peakPosition(out), fresh.samples(0.2 + 0.005), 14);
}

TEST(EngineMix, IsOfEqualPower) {
    EngineRig wetOnly;
    const Signal in = padded(wetOnly.pulse(0.01), wetOnly.samples(0.2));
    const double wholeWet = peak(wetOnly.render(in).left);
    for (const double mix : {0.0, 0.2, 0.5, 0.8, 1.0}) {
        EngineRig rig;
        rig.set(kMix, mix);
        rig.engine.reset();
        const Signal out = rig.render(in).left;
        const double dry = peak(out, 0, rig.samples(0.05)) / 0.5;
        const double wet = peak(out, rig.samples(0.05)) / wholeWet;
        EXPECT_NEAR(dry * dry + wet * wet, 1.0, 1e-6) << mix;
        EXPECT_NEAR(std::atan2(wet, dry), mix * std::numbers::pi / 2.0, 1e-6) << mix;
    }
}

// Peaks of the first `count` echoes, with their signs.
std::vector<double> echoes(EngineRig& rig, const Signal& sound, int count) {
    const size_t period = rig.heardDelay(100.0);
    const Signal out = rig.render(padded(sound, period * static_cast<size_t>(count + 1))).left;
    std::vector<double> peaks;
    for (size_t n = 1; n <= static_cast<size_t>(count); ++n) {
        const size_t from = n * period - 20;
        peaks.push_back(out[peakPosition(out, from, from + period)]);
    }
    return peaks;
}

TEST(EngineFeedback, ShrinksEachEchoByItsAmountAndInvertsWhenTold) {
    for (const double sign : {1.0, -1.0}) {
        EngineRig rig;
        rig.set(kFeedback, 0.6);
        rig.set(kFeedbackInvert, sign < 0.0 ? 1.0 : 0.0);
        rig.engine.reset();
        const auto peaks = echoes(rig, rig.pulse(0.01), 5);
        for (size_t n = 1; n < peaks.size(); ++n) {
            EXPECT_NEAR(peaks[n] / peaks[n - 1], 0.6 * sign, 1e-3) << "echo " << n + 1;
        }
    }
}

TEST(EngineFeedback, AtFullStrengthGoesOnWithoutGrowing) {
    EngineRig rig;
    rig.set(kFeedback, 1.0);
    rig.engine.reset();
    const auto peaks = echoes(rig, rig.pulse(0.01), 100);
    EXPECT_NEAR(peaks.back(), peaks.front(), 1e-3 * peaks.front());
}

TEST(EngineHighCut, ActsOnTheRepeatsWithItsCornerAndSparesTheFirstEcho) {
    for (const double v : {0.0, 0.5, 1.0}) {
        const double corner = 1050.0 * std::pow(9.0, v);
        const auto levels = [&](double frequency, bool cut) {
            EngineRig rig;
            rig.setDelayMs(400.0);
            rig.set(kFeedback, 0.9);
            rig.set(kHighCut, cut ? 1.0 : 0.0);
            rig.set(kHighCutCutoff, v);
            rig.engine.reset();
            const Signal out = rig.render(padded(rig.sine(frequency, 0.3), rig.samples(1.2))).left;
            return std::pair{rms(out, rig.samples(0.5), rig.samples(0.65)),
                             rms(out, rig.samples(0.9), rig.samples(1.05))};
        };
        const auto at = levels(corner, true), below = levels(corner / 20.0, true);
        const auto open = levels(corner, false);
        EXPECT_NEAR(at.first, open.first, 1e-6);  // the first echo, heard before the filter
        EXPECT_NEAR(open.second / open.first, 0.9, 1e-3);
        EXPECT_NEAR(below.second / below.first, 0.9, 0.01);
        // A one-pole's 3 dB, a little less deep towards half the rate.
        const double a = std::exp(-2.0 * std::numbers::pi * corner / 48000.0);
        const double w = 2.0 * std::numbers::pi * corner / 48000.0;
        const double gain = (1.0 - a) / std::sqrt(1.0 - 2.0 * a * std::cos(w) + a * a);
        EXPECT_NEAR(gain, std::sqrt(0.5), 0.08);
        EXPECT_NEAR(at.second / at.first, 0.9 * gain, 0.01) << corner << " Hz";
    }
}

TEST(EngineLevels, InputAndOutputFollowTheSquareLaw) {
    const auto level = [](uint32_t index, double v) {
        EngineRig rig;
        rig.set(kMix, 0.0);
        rig.set(index, v);
        rig.engine.reset();
        return peak(rig.render(rig.pulse(0.01)).left) / 0.5;
    };
    for (const uint32_t index : {kInput, kOutput}) {
        for (const double v : {0.0, 0.25, 0.5, 0.8, 1.0}) {
            EXPECT_NEAR(level(index, v), 4.0 * v * v, 1e-9);
        }
    }
}

TEST(EngineLevels, TheGlobalSetIsHeardOnlyWhileItIsInForce) {
    EngineRig rig;
    rig.set(kMix, 0.0);
    rig.set(kGlobalMix, 0.0);
    rig.set(kGlobalInput, 1.0);
    rig.engine.reset();
    const Signal tone(rig.samples(0.5), 0.1);
    EXPECT_NEAR(rig.render(tone).left.back(), 0.1, 1e-9);
    rig.set(kGlobal, 1.0);
    EXPECT_NEAR(rig.render(tone).left.back(), 0.4, 1e-9);
    rig.set(kInput, 0.0);
    EXPECT_NEAR(rig.render(tone).left.back(), 0.4, 1e-9);
    rig.set(kGlobal, 0.0);
    EXPECT_NEAR(rig.render(tone).left.back(), 0.0, 1e-9);
}

TEST(EngineLegacy, LowersTheGainByTheMeanLevel) {
    // Constant levels, heard straight through; gentle, at the bend, and far above it.
    for (const double inputGain : {0.3, 0.6, 1.0}) {
        double reduction = 0.0;
        const auto settled = [&](ProcessingMode mode) {
            EngineRig rig;
            rig.setDelayMs(0.0);
            rig.set(mode);
            rig.set(kInput, inputGain);
            rig.set(kSensitivity, 0.0);
            rig.engine.reset();
            const double level = rig.render(Signal(rig.samples(0.3), 0.9)).left.back();
            reduction = rig.read(kOutSecondGainReduction);
            return level;
        };
        const double clean = settled(ProcessingMode::Clean);
        EXPECT_EQ(reduction, 1e-15);
        const double legacy = settled(ProcessingMode::Legacy);
        const double levelFactor = 2.7542 * 2.7542 / std::pow(10.0, 0.5);
        const double m = clean * levelFactor * 0.363082;
        const double gain = m <= 2.0 ? 1.0 - 0.25 * m : 1.0 / m;
        EXPECT_NEAR(legacy / clean, gain, 1e-6) << inputGain;
        EXPECT_NEAR(reduction, 1.0 - gain, 1e-6) << inputGain;
    }
}

TEST(EngineBypass, MutesTheEchoesAndRecordsSilence) {
    EngineRig rig;
    rig.set(kMix, 0.5);
    rig.setDelayMs(500.0);
    rig.engine.reset();
    const Signal tone(rig.samples(0.2), 0.5);
    rig.render(tone);
    rig.set(kBypass, 1.0);
    rig.settle(0.2);
    const Signal muted = rig.render(padded(tone, rig.samples(0.4))).left;
    const double dryGain = std::cos(std::numbers::pi / 4.0);
    EXPECT_NEAR(peak(muted), 0.5 * dryGain, 1e-6);  // the dry sound alone, and it goes on
    rig.set(kBypass, 0.0);
    // What was played while bypassed (from 0.4 s on) was not recorded.
    const Signal after = rig.render(silence(rig.samples(0.6))).left;
    EXPECT_LT(peak(after), 1e-6);
}

TEST(EngineProcessSwitch, OffPassesTheInput) {
    EngineRig rig;
    rig.set(kProcess, 0.0);
    rig.set(kInput, 0.9);
    rig.settle();
    const Signal in = rig.sine(997.0, 0.5);
    EXPECT_LT(largestDifference(rig.render(in).left, in), 1e-9);
    rig.set(kProcess, 1.0);
    rig.settle();
    EXPECT_GT(largestDifference(rig.render(in).left, in), 0.1);
}

TEST(EngineSwitches, MakeNoStep) {
    // Everything that can be flicked while slow sines play: what is heard moves no faster than a
    // few such sines do. Hard switches step by more than half the peak.
    const double step = 2.0 * std::numbers::pi * 130.0 / 48000.0;
    for (const uint32_t index :
         {kProcess, kProcessingMode, kBypass, kGlobal, kFeedbackInvert, kHighCut, kInfRepeat,
          kSideChainMonitor, kSideChainIntExt, kMix, kOutput, kInput, kFeedback}) {
        EngineRig rig;
        rig.set(kMix, 0.6);
        rig.set(kFeedback, 0.5);
        rig.set(kGlobalMix, 0.1);
        rig.settle();
        const Stereo side = rig.sine(130.0, 0.1);
        const Signal in = rig.sine(100.0, 0.1);
        Stereo out = silence(1);
        for (int turn = 0; turn < 10; ++turn) {
            rig.set(index, turn % 2 == 0 ? 0.33 + (index != kProcessingMode) * 0.67 : 0.0);
            out = join(out, rig.render(in, &side));
        }
        EXPECT_LT(largestStep(out.left), 3.0 * step * peak(out.left)) << "parameter " << index;
    }
}

}  // namespace
}  // namespace Quorvant::Test
