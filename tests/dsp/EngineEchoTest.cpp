// Where echoes fall, which way they run and how loud they are: delay, direction, mix, feedback,
// high cut, levels, bypass.
#include "tests/dsp/EngineRig.h"

#include <gtest/gtest.h>

namespace Quorvant::Test {
namespace {

// A pulse of 10 ms at the start, its top after 5 ms; the echo's top comes four frames late.
Signal pulseIn(const EngineRig& rig, double seconds) {
    return padded(rig.pulse(0.01), rig.samples(seconds));
}
double echoAt(const EngineRig& rig, double seconds) {
    return static_cast<double>(rig.samples(seconds + 0.005)) + 4.0;
}

TEST(EngineEcho, IsTheDelayInputUntouchedAfterTheDelay) {
    for (const double rate : {44100.0, 192000.0}) {
        for (const double delay : {1.0, 33.3, 250.0}) {
            // With a delay of 0 what goes into the memory is heard at once.
            EngineRig straight({{kDelayTime, 0.0}}, rate), rig({{kDelayTime, ms(delay)}}, rate);
            const Signal in = pulseIn(rig, 0.3);
            const Signal early = straight.render(in).left, late = rig.render(in).left;
            const size_t lag = peakPosition(late) - peakPosition(early);
            EXPECT_NEAR(lag, delay * rate / 1000.0, 3.0) << rate << " Hz, " << delay << " ms";
            const Signal echo(late.begin() + static_cast<std::ptrdiff_t>(lag), late.end());
            const Signal same(early.begin(), early.begin() + static_cast<int64_t>(echo.size()));
            EXPECT_LT(largestDifference(echo, same), 1e-7) << rate << " Hz, " << delay << " ms";
        }
    }
}

TEST(EngineEcho, BothChannelsKeepTheirOwnSound) {
    EngineRig rig;
    const Signal in = pulseIn(rig, 0.3);
    const Stereo out = rig.render({in, silence(in.size())});
    EXPECT_GT(peak(out.left), 0.4);
    EXPECT_EQ(peak(out.right), 0.0);
}

TEST(EngineEcho, FallsWhereItsDelayAndDirectionTell) {
    const struct {
        const char* name;
        Settings settings;
        double at;  // seconds
        double level;
    } echoes[] = {
        {"the longest delay", {{kDelayTime, 1.0}}, 9.6, 0.5 * kFilterGain},
        {"X2 doubles the delay and halves the level",
         {{kDelayX2, 1.0}},
         0.2,
         0.25 * kDoubledFilterGain},
        {"Backward is late by the memory less the delay",
         {{kDelayTime, ms(9500.0)}, {kDirectionMode, valueOf(DirectionMode::Backward)}},
         0.1,
         0.5 * kFilterGain},
        {"Manual VCO lowered", {{kManualVco, 0.0}}, 0.05, 0.5 * kFilterGain},
        {"Manual VCO raised", {{kManualVco, 1.0}}, 0.15, 0.5 * kFilterGain},
    };
    for (const auto& [name, settings, at, level] : echoes) {
        EngineRig rig(settings);
        const Signal out = rig.render(pulseIn(rig, at + 0.1)).left;
        EXPECT_NEAR(peakPosition(out), echoAt(rig, at), 14) << name;
        EXPECT_NEAR(peak(out), level, 0.003) << name;
        EXPECT_LT(peak(out, 0, rig.samples(0.9 * at)), 1e-7) << name;
    }
}

// A ramp tells where what is heard of it was recorded, and which way it is read.
TEST(EngineEcho, DirectionsReadForwardsBackwardsAndBothWays) {
    const struct {
        DirectionMode mode;
        double rising, falling;    // shares of the frames, at least
        double closest, farthest;  // frames behind the sound's entry
    } directions[] = {{DirectionMode::Forward, 1.0, 0.0, 4804, 4804},
                      {DirectionMode::Reverse, 0.0, 0.85, 4800, 9600},
                      {DirectionMode::Bounce, 0.4, 0.4, 0, 4804}};
    Signal ramp(3 * 48000);
    for (size_t i = 0; i < ramp.size(); ++i) ramp[i] = 1e-6 * static_cast<double>(i);
    for (const auto& [mode, rising, falling, closest, farthest] : directions) {
        EngineRig straight({{kDelayTime, 0.0}}), rig({{kDirectionMode, valueOf(mode)}});
        const Signal played = straight.render(ramp).left, heard = rig.render(ramp).left;
        const double slope = played.back() - played[played.size() - 2];
        double rises = 0.0, falls = 0.0, nearest = 1e9, furthest = 0.0;
        const size_t from = 24000, count = heard.size() - from;
        for (size_t i = from; i < heard.size(); ++i) {
            const double step = (heard[i] - heard[i - 1]) / slope;
            const double behind = (played[i] - heard[i]) / slope;
            rises += std::abs(step - 1.0) < 1e-3;
            falls += std::abs(step + 1.0) < 1e-3;
            nearest = std::min(nearest, behind);
            furthest = std::max(furthest, behind);
        }
        const std::string name = "direction " + std::to_string(static_cast<int>(mode));
        EXPECT_GE(rises / static_cast<double>(count), rising - 1e-9) << name;
        EXPECT_GE(falls / static_cast<double>(count), falling) << name;
        EXPECT_TRUE(rising > 0.0 || rises == 0.0) << name;
        // Turns and jumps are faded.
        const double room = mode == DirectionMode::Forward ? 4.0 : 600.0;
        EXPECT_NEAR(nearest, closest, room) << name;
        EXPECT_NEAR(furthest, farthest, room) << name;
    }
}

TEST(EngineMix, IsOfEqualPower) {
    for (const double mix : {0.0, 0.2, 0.5, 0.8, 1.0}) {
        EngineRig rig({{kMix, mix}});
        const Signal out = rig.render(pulseIn(rig, 0.2)).left;
        const double dry = peak(out, 0, rig.samples(0.05)) / 0.5;
        const double wet = peak(out, rig.samples(0.05)) / (0.5 * kFilterGain);
        EXPECT_NEAR(dry, std::cos(mix * std::numbers::pi / 2.0), 1e-6) << mix;
        EXPECT_NEAR(wet, std::sin(mix * std::numbers::pi / 2.0), 1e-4) << mix;
    }
}

TEST(EngineFeedback, ShrinksEachEchoByItsAmountAndInvertsWhenTold) {
    for (const auto& [feedback, invert] : {std::pair{0.6, 0.0}, {0.6, 1.0}, {1.0, 0.0}}) {
        EngineRig rig({{kFeedback, feedback}, {kFeedbackInvert, invert}});
        const Signal out = rig.render(pulseIn(rig, 2.2)).left;
        double before = 0.0;
        for (int echo = 1; echo <= 20; ++echo) {
            const size_t from = rig.samples(0.1 * echo);
            const double top = out[peakPosition(out, from, from + 4000)];
            if (echo > 1) {
                EXPECT_NEAR(top / before, invert > 0.0 ? -feedback : feedback, 1e-3) << echo;
            }
            before = top;
        }
    }
}

TEST(EngineHighCut, ActsOnTheRepeatsWithItsCornerAndSparesTheFirstEcho) {
    for (const double v : {0.0, 0.5, 1.0}) {
        const double hz = highCutHz(v);
        const auto levels = [&](double cut) {
            EngineRig rig(
                {{kDelayTime, ms(400.0)}, {kFeedback, 0.9}, {kHighCut, cut}, {kHighCutCutoff, v}});
            const Signal out = rig.render(padded(rig.sine(hz, 0.3), rig.samples(1.2))).left;
            return std::pair{rms(out, rig.samples(0.5), rig.samples(0.65)),
                             rms(out, rig.samples(0.9), rig.samples(1.05))};
        };
        const auto cut = levels(1.0), open = levels(0.0);
        EXPECT_NEAR(cut.first, open.first, 1e-6);  // the first echo, heard before the filter
        EXPECT_NEAR(open.second / open.first, 0.9, 1e-3);
        // A one-pole's 3 dB, a little less deep towards half the rate.
        const double w = 2.0 * std::numbers::pi * hz / 48000.0, a = std::exp(-w);
        const double gain = (1.0 - a) / std::sqrt(1.0 - 2.0 * a * std::cos(w) + a * a);
        EXPECT_NEAR(cut.second / cut.first, 0.9 * gain, 0.01) << hz << " Hz";
    }
}

TEST(EngineLevels, AreThoseOfTheSetInForce) {
    EngineRig rig({{kMix, 0.0}, {kGlobalMix, 0.0}, {kGlobalInput, 1.0}, {kGlobalOutput, 0.25}});
    const auto levelWith = [&](uint32_t index, double value) {
        rig.set(index, value);
        return rig.render(Signal(24000, 0.1)).left.back();
    };
    EXPECT_NEAR(levelWith(kInput, 0.25), 0.025, 1e-9);
    EXPECT_NEAR(levelWith(kOutput, 0.8), 0.025 * 2.56, 1e-9);
    EXPECT_NEAR(levelWith(kGlobal, 1.0), 0.1, 1e-9);
    EXPECT_NEAR(levelWith(kInput, 0.0), 0.1, 1e-9);
    EXPECT_NEAR(levelWith(kGlobalOutput, 0.5), 0.4, 1e-9);
    EXPECT_NEAR(levelWith(kGlobal, 0.0), 0.0, 1e-9);
}

TEST(EngineBypass, MutesTheEchoesAndRecordsSilence) {
    EngineRig rig({{kMix, 0.5}, {kDelayTime, ms(500.0)}});
    const Signal tone(rig.samples(0.2), 0.5);
    rig.render(tone);
    rig.set(kBypass, 1.0);
    rig.settle(0.2);
    const Signal muted = rig.render(padded(tone, rig.samples(0.4))).left;
    // The dry sound alone, and it goes on.
    EXPECT_NEAR(peak(muted), 0.5 * std::cos(std::numbers::pi / 4.0), 1e-6);
    rig.set(kBypass, 0.0);
    EXPECT_LT(peak(rig.render(silence(rig.samples(0.6))).left), 1e-6);
}

TEST(EngineProcessSwitch, OffPassesTheInput) {
    EngineRig rig({{kProcess, 0.0}, {kInput, 0.9}});
    const Signal in = rig.sine(997.0, 0.5);
    EXPECT_LT(largestDifference(rig.render(in).left, in), 1e-9);
}

}  // namespace
}  // namespace Quorvant::Test
