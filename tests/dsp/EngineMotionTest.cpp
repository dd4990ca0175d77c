// What is heard while a player moves the controls: no clicks, no old sound, nothing lost.
#include "tests/dsp/EngineRig.h"

#include <gtest/gtest.h>

namespace Quorvant::Test {
namespace {

constexpr double kTone = 440.0;

struct Change {
    const char* name;
    Settings before, after;
    double most;        // dBFS
    double held = 0.5;  // seconds of the tone before the change
};

Settings going(DirectionMode mode) {
    return {{kDirectionMode, valueOf(mode)}};
}
Settings delayOf(double delay) {
    return {{kDelayTime, ms(delay)}};
}
const Settings kLooping = {{kInfRepeat, 1.0}};
const Settings kReleasedAndMoved = {{kInfRepeat, 0.0}, {kDelayTime, ms(150.0)}};
const Settings kForward = going(DirectionMode::Forward);
const Settings kBackward = going(DirectionMode::Backward);
const Settings kReverse = going(DirectionMode::Reverse);
const Settings kBounce = going(DirectionMode::Bounce);
const Settings kFull = {{kProcessingMode, valueOf(ProcessingMode::Full)}};
const Settings kLegacyLoud = {{kProcessingMode, valueOf(ProcessingMode::Legacy)},
                              {kSensitivity, 0.0},
                              {kReferenceLevel, 1.0}};
const Settings kLoudRepeats = {{kFeedback, 0.95}, {kHighCutCutoff, 0.3}};
const Settings kHalfWet = {{kMix, 0.6}, {kFeedback, 0.5}, {kGlobalMix, 0.1}};
const Settings kMonitored = {{kSideChainMonitor, 1.0}};

const Change kChanges[] = {
    {"Process off", kHalfWet, {{kProcess, 0.0}}, -40.0},
    {"Bypass on", kHalfWet, {{kBypass, 1.0}}, -40.0},
    {"Global on", kHalfWet, {{kGlobal, 1.0}}, -40.0},
    {"Input up", kHalfWet, {{kInput, 0.8}}, -40.0},
    {"Output down", kHalfWet, {{kOutput, 0.1}}, -40.0},
    {"Mix", kHalfWet, {{kMix, 0.0}}, -40.0},
    {"Feedback", kHalfWet, {{kFeedback, 0.0}}, -40.0},
    {"Fbck Invert", kHalfWet, {{kFeedbackInvert, 1.0}}, -40.0},
    {"S.C.Monitor on", kHalfWet, kMonitored, -40.0},
    {"S.C.Int-Ext", kMonitored, {{kSideChainIntExt, 1.0}}, -40.0},
    {"Inf Repeat on", kHalfWet, kLooping, -40.0},
    {"Delay X2 on", {{kFeedback, 0.5}}, {{kDelayX2, 1.0}}, -60.0},
    {"Delay X2 off", {{kFeedback, 0.5}, {kDelayX2, 1.0}}, {{kDelayX2, 0.0}}, -59.0},
    {"Hi Cut on", kLoudRepeats, {{kHighCut, 1.0}}, -60.0, 1.5},
    {"Manual VCO", {{kManualVco, 1.0}}, {{kManualVco, 0.0}}, -58.0},
    {"square LFO", {{kWaveform, 1.0}, {kDepth, 1.0}, {kLfoRate, 0.6}}, {}, -50.0},
    {"Reference Level in Legacy", kLegacyLoud, {{kReferenceLevel, 0.0}}, -58.0},
    {"from Backward to Forward", kBackward, kForward, -55.0},
    {"from Forward to Backward", {}, kBackward, -55.0},
    {"the edge of that a turn of the memory later", kBackward, {}, -55.0, 9.2},
    {"to Backward, which writes towards the reader", delayOf(3.0), kBackward, -55.0},
    {"Bounce passes the memory's top", kBounce, {}, -55.0, 9.2},
    {"Reverse passes the memory's top", kReverse, {}, -55.0, 9.2},
    {"Delay Time to 0", delayOf(1.0), delayOf(0.0), -55.0},
    {"Delay Time from 0", delayOf(0.0), delayOf(1.0), -55.0},
    {"to a short delay", delayOf(250.0), delayOf(1.0), -55.0},
    {"Legacy to Full", kLegacyLoud, kFull, -50.0},
    {"a loop of silence released with a delay change", kLooping, kReleasedAndMoved, -55.0},
    {"to a longer delay, and a delay later", delayOf(100.0), delayOf(304.1), -55.0},
};

// What each change may leave at most. Unfaded they leave -9 to -36 dBFS, and the doubled clock by
// itself -60.
TEST(EngineMotion, NeverClicks) {
    for (const Change& change : kChanges) {
        for (const double phase : {0.0, 0.3, 0.55, 0.8}) {
            EngineRig rig(change.before);
            const size_t held = rig.samples(change.held + phase / kTone);
            Signal tone = rig.sine(kTone, change.held + 0.9);
            for (size_t i = 0; i < 2400; ++i) tone[i] *= static_cast<double>(i) / 2400.0;
            Stereo side = tone;
            for (double& x : side.left) x = -x;
            rig.blockSize = static_cast<int32_t>(held);
            rig.afterBlock = [&] {
                rig.set(change.after);
                rig.blockSize = 256;
            };
            const Signal out = rig.render(tone, &side).left;
            EXPECT_LT(clicks(out, rig.rate, held - rig.samples(0.03)), change.most)
                << change.name << " at phase " << phase;
        }
    }
}

TEST(EngineMotion, ALoopTakesEveryMoveWithoutAClick) {
    for (const Settings& move : {Settings{{kDelayX2, 1.0}}, kBounce}) {
        EngineRig rig;
        rig.render(rig.sine(kTone, 1.0));
        rig.set(kInfRepeat, 1.0);
        rig.render(rig.sine(kTone, 1.0));
        rig.set(move);
        const Signal out = rig.render(silence(rig.samples(1.5))).left;
        EXPECT_LT(clicks(out, rig.rate), -55.0) << move[0].first;
    }
}

// Directions and delays that change faster than they can fade.
TEST(EngineMotion, ChangesInFullFlightAreFadedOneByOne) {
    for (const uint64_t seed : {1, 2}) {
        EngineRig rig;
        rig.settle(0.2);
        rig.blockSize = 100;
        Dice dice(seed);
        rig.afterBlock = [&] {
            const Settings recordingForward[] = {kForward, kReverse, kBounce};
            if (dice.chance(0.05)) rig.set(dice.of(recordingForward));
            if (seed == 2) rig.set(kDelayTime, ms(dice.between(90.0, 110.0)));
        };
        const Signal out = rig.render(rig.sine(100.0, 4.0)).left;
        EXPECT_GT(peak(out), 0.3);
        EXPECT_LT(largestStep(out), 0.0066 + 0.0063 + 0.001);  // the sine's and the fade's
    }
}

TEST(EngineMotion, WhatIsPlayedDuringAMovementIsRecorded) {
    for (const bool tempo : {false, true}) {
        // A note of some 200 to 300 ms.
        EngineRig rig({{kDelayTime, ms(230.0)},
                       {kDelayClockMode, tempo ? 1.0 : 0.0},
                       {kDelayNote, listValue(22, kNoteCount)}});
        rig.host.giveTempo(120.0);
        rig.settle();
        double moved = 0.0;
        rig.afterBlock = [&] {
            moved += rig.blockSize / rig.rate / 3.0;  // a movement of three seconds
            if (tempo)
                rig.host.giveTempo(120.0 + moved);
            else
                rig.set(kDelayTime, ms(230.0 + 20.0 * moved));
        };
        rig.settle(1.0);
        const Signal out = rig.render(rig.sine(kTone, 1.5)).left;
        EXPECT_GT(rms(out, rig.samples(0.62), rig.samples(0.75)), 0.8 * 0.5 * std::sqrt(0.5))
            << (tempo ? "tempo" : "Delay Time");
    }
}

TEST(EngineMotion, NothingOldIsHeardBesideADelayOfZero) {
    for (const auto& delays : {std::array{0.0, 1.0, 100.0}, {100.0, 50.0, 0.0}}) {
        EngineRig rig({{kDelayTime, ms(delays[0])}});
        rig.render(rig.sine(kTone, 2.0));
        rig.settle(8.6);  // the tone is about to be overwritten
        rig.set(kDelayTime, ms(delays[1]));
        EXPECT_LT(peak(rig.render(silence(rig.samples(0.002))).left), 1e-4) << delays[1];
        rig.set(kDelayTime, ms(delays[2]));
        EXPECT_LT(peak(rig.render(silence(rig.samples(0.3))).left), 1e-4) << delays[2];
    }
}

}  // namespace
}  // namespace Quorvant::Test
