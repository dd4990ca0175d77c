// What is heard while a player moves the controls: no clicks, no old sound, nothing lost.
#include "tests/dsp/EngineRig.h"

#include <gtest/gtest.h>

#include <functional>
#include <ostream>

namespace Quorvant::Test {
namespace {

constexpr double kTone = 440.0;

// It begins without a click.
Signal toneIn(const EngineRig& rig, double seconds) {
    Signal tone = rig.sine(kTone, seconds);
    for (size_t i = 0; i < rig.samples(0.05); ++i) {
        const double turn = std::numbers::pi * static_cast<double>(i) / (0.05 * rig.rate);
        tone[i] *= 0.5 - 0.5 * std::cos(turn);
    }
    return tone;
}

using Settings = std::vector<std::pair<uint32_t, double>>;

struct Change {
    const char* name;
    Settings before, after;
    double most;         // dBFS
    double heard = 0.9;  // seconds that are listened to
    double held = 0.5;   // seconds of the tone before the change
};
std::ostream& operator<<(std::ostream& out, const Change& change) {
    return out << change.name;
}

constexpr double ms(double delay) {
    return delay / 9600.0;
}
constexpr double listed(DirectionMode mode) {
    return static_cast<int>(mode) / 3.0;
}
constexpr double listed(ProcessingMode mode) {
    return static_cast<int>(mode) / 3.0;
}

class EngineMotion : public ::testing::TestWithParam<Change> {};

// What each change may leave at most. Unfaded they leave -9 to -36 dBFS, and the doubled clock by
// itself -60.
TEST_P(EngineMotion, NeverClicks) {
    const Change& change = GetParam();
    for (const double phase : {0.0, 0.3, 0.55, 0.8}) {
        EngineRig rig;
        for (const auto& [index, value] : change.before) rig.set(index, value);
        rig.engine.reset();
        const double held = change.held + phase / kTone;
        const Signal tone = toneIn(rig, held + change.heard);
        const auto half = tone.begin() + static_cast<std::ptrdiff_t>(rig.samples(held));
        const Stereo before = rig.render(Signal(tone.begin(), half));
        for (const auto& [index, value] : change.after) rig.set(index, value);
        const Stereo out = join(before, rig.render(Signal(half, tone.end())));
        const size_t from = before.size() - rig.samples(0.03);
        EXPECT_LT(clicks(out.left, rig.rate, from), change.most) << "at phase " << phase;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Changes, EngineMotion,
    ::testing::Values(
        Change{"Delay X2 on", {{kFeedback, 0.5}}, {{kDelayX2, 1.0}}, -60.0},
        Change{"Delay X2 off", {{kFeedback, 0.5}, {kDelayX2, 1.0}}, {{kDelayX2, 0.0}}, -59.0},
        Change{"Hi Cut on",
               {{kFeedback, 0.95}, {kHighCutCutoff, 0.3}},
               {{kHighCut, 1.0}},
               -60.0,
               0.9,
               1.5},
        Change{"Hi Cut off",
               {{kFeedback, 0.95}, {kHighCutCutoff, 0.3}, {kHighCut, 1.0}},
               {{kHighCut, 0.0}},
               -60.0,
               0.9,
               1.5},
        Change{"Manual VCO", {{kManualVco, 1.0}}, {{kManualVco, 0.0}}, -58.0},
        Change{"square LFO", {{kWaveform, 1.0}, {kDepth, 1.0}, {kLfoRate, 0.6}}, {}, -50.0},
        Change{"Reference Level in Legacy",
               {{kProcessingMode, listed(ProcessingMode::Legacy)},
                {kSensitivity, 0.0},
                {kReferenceLevel, 1.0}},
               {{kReferenceLevel, 0.0}},
               -58.0},
        Change{"from Backward to Forward",
               {{kDirectionMode, listed(DirectionMode::Backward)}},
               {{kDirectionMode, listed(DirectionMode::Forward)}},
               -55.0},
        Change{"from Forward to Backward",
               {},
               {{kDirectionMode, listed(DirectionMode::Backward)}},
               -55.0,
               10.0},
        Change{"to Backward behind a delay that writing comes towards",
               {{kDelayTime, ms(3.0)}},
               {{kDirectionMode, listed(DirectionMode::Backward)}},
               -55.0},
        Change{"Bounce turns", {{kDirectionMode, listed(DirectionMode::Bounce)}}, {}, -55.0, 10.0},
        Change{"Reverse passes the memory's top",
               {{kDirectionMode, listed(DirectionMode::Reverse)}},
               {},
               -55.0,
               10.0},
        Change{"Delay Time to 0", {{kDelayTime, ms(1.0)}}, {{kDelayTime, 0.0}}, -55.0},
        Change{"Delay Time from 0", {{kDelayTime, 0.0}}, {{kDelayTime, ms(1.0)}}, -55.0},
        Change{"to a short delay", {{kDelayTime, ms(250.0)}}, {{kDelayTime, ms(1.0)}}, -55.0}));

TEST(EngineMotion, ALoopTakesEveryMoveWithoutAClick) {
    for (const auto& [index, value] :
         Settings{{kDelayX2, 1.0}, {kDirectionMode, listed(DirectionMode::Bounce)}}) {
        EngineRig rig;
        rig.render(rig.sine(kTone, 1.0));
        rig.set(kInfRepeat, 1.0);
        const Stereo loop = rig.render(rig.sine(kTone, 1.0));
        rig.set(index, value);
        const Stereo out = join(loop, rig.render(silence(rig.samples(1.5))));
        EXPECT_LT(clicks(out.left, rig.rate, rig.samples(0.6)), -55.0) << index;
    }
}

TEST(EngineMotion, ModesBlendInBlocksOfAnySize) {
    for (const int32_t block : {1, 65}) {
        EngineRig rig;
        rig.blockSize = block;
        rig.set(kSensitivity, 0.0);
        rig.set(kReferenceLevel, 0.0);
        rig.set(ProcessingMode::Legacy);
        rig.render(rig.sine(kTone, 0.5));
        bool full = false;
        int frames = 0;
        rig.afterBlock = [&] {
            if ((frames += block) % 5005 < block)
                rig.set((full = !full) ? ProcessingMode::Full : ProcessingMode::Legacy);
        };
        const Signal played = rig.render(rig.sine(kTone, 1.0)).left;
        double bend = 0.0;
        for (size_t i = rig.samples(0.15); i + 2 < played.size(); ++i)
            bend = std::max(bend, std::abs(played[i + 2] - 2.0 * played[i + 1] + played[i]));
        EXPECT_LT(bend, 0.012) << block;
    }
}

TEST(EngineMotion, WhatIsPlayedDuringAMovementIsRecorded) {
    for (const int32_t block : {64, 512, 2048}) {
        for (const bool tempo : {false, true}) {
            EngineRig rig;
            rig.blockSize = block;
            rig.setDelayMs(230.0);
            if (tempo) {
                rig.set(kDelayClockMode, 1.0);
                rig.set(kDelayNote, 22.0 / 59.0);  // some 200 to 300 ms
                rig.host.giveTempo(120.0);
            }
            rig.settle();
            double moved = 0.0;
            rig.afterBlock = [&] {
                moved += block / 48000.0 / 3.0;  // a movement of three seconds
                if (tempo)
                    rig.host.giveTempo(120.0 + moved);
                else
                    rig.setDelayMs(230.0 + 20.0 * moved);
            };
            rig.render(silence(rig.samples(1.0)));
            const Signal out = rig.render(rig.sine(kTone, 1.5)).left;
            EXPECT_GT(rms(out, rig.samples(0.62), rig.samples(0.75)), 0.8 * 0.5 * std::sqrt(0.5))
                << block << (tempo ? ", tempo" : ", Delay Time");
        }
    }
}

TEST(EngineMotion, NothingOldIsHeardBesideADelayOfZero) {
    for (const double from : {0.0, 100.0}) {
        EngineRig rig;
        rig.setDelayMs(from);
        rig.render(rig.sine(kTone, 2.0));
        rig.render(silence(rig.samples(8.6)));  // the tone is about to be overwritten
        Signal out;
        const auto moveTo = [&](double delay, double seconds) {
            rig.setDelayMs(delay);
            const Signal part = rig.render(silence(rig.samples(seconds))).left;
            out.insert(out.end(), part.begin(), part.end());
        };
        moveTo(from > 0.0 ? 50.0 : 1.0, 0.002);
        moveTo(from > 0.0 ? 0.0 : 100.0, 0.3);
        EXPECT_LT(peak(out), 1e-4) << from;
    }
}

TEST(EngineMotion, ALoopReleasedWithADelayChangeRecordsNoEdge) {
    for (const double phase : {0.1, 0.35, 0.6, 0.85}) {
        EngineRig rig;
        rig.set(kInfRepeat, 1.0);
        rig.settle();  // a loop of silence
        const Signal tone = toneIn(rig, 1.5);
        const auto half =
            tone.begin() + static_cast<std::ptrdiff_t>(rig.samples(0.5 + phase / kTone));
        rig.render(Signal(tone.begin(), half));
        rig.set(kInfRepeat, 0.0);
        rig.setDelayMs(150.0);
        const Signal on(half, tone.end());
        EXPECT_LT(largestStep(rig.render(on).left), 0.04) << phase;
    }
}

TEST(EngineMotion, SelfOscillationSettlesBelowFullScale) {
    for (const ProcessingMode mode : {ProcessingMode::Lims, ProcessingMode::Full}) {
        for (const uint64_t seed : {1, 2}) {
            EngineRig rig;
            rig.set(mode);
            rig.setDelayMs(40.0);
            rig.set(kFeedback, 1.0);
            Dice dice(seed);
            Signal burst(rig.samples(0.04));
            for (double& sample : burst) sample = dice.between(-0.1, 0.1);
            rig.render(burst);
            rig.render(silence(rig.samples(20.0)));
            const double settled = decibels(peak(rig.render(silence(rig.samples(2.0))).left));
            EXPECT_LT(settled, -1.0);
            EXPECT_GT(settled, -20.0);  // it does oscillate
        }
    }
}

}  // namespace
}  // namespace Quorvant::Test
