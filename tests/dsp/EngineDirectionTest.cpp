// The four directions: what runs backwards really does, and no jump of the read index clicks.
#include "tests/dsp/EngineRig.h"

#include <gtest/gtest.h>

namespace Quorvant::Test {
namespace {

// Attack at once, slow decay, a tone inside: anything but symmetrical.
Signal event(const EngineRig& rig) {
    Signal sound = rig.sine(300.0, 0.05);
    for (size_t i = 0; i < sound.size(); ++i) {
        const double place = static_cast<double>(i) / static_cast<double>(sound.size());
        sound[i] *= std::min(place * 20.0, 1.0) * (1.0 - place) * (1.0 - place);
    }
    return sound;
}

Signal mirrored(Signal sound) {
    std::reverse(sound.begin(), sound.end());
    return sound;
}

// How much of `sound` is found in `heard`: 1 where it appears unchanged (at any level).
double likeness(const Signal& heard, const Signal& sound) {
    double soundEnergy = 0.0, best = 0.0, heardEnergy = 0.0;
    for (const double x : sound) soundEnergy += x * x;
    for (size_t i = 0; i < heard.size(); ++i) {
        heardEnergy += heard[i] * heard[i];
        if (i < sound.size()) continue;
        const double leaving = heard[i - sound.size()];
        heardEnergy -= leaving * leaving;
        if (heardEnergy < 0.1 * soundEnergy) continue;
        double product = 0.0;
        for (size_t k = 0; k < sound.size(); ++k)
            product += heard[i + 1 - sound.size() + k] * sound[k];
        best = std::max(best, product / std::sqrt(soundEnergy * heardEnergy));
    }
    return best;
}

// Plays the event, once at each of a few places of the segments, and returns what follows.
Signal played(EngineRig& rig, DirectionMode mode) {
    rig.setDelayMs(400.0);
    rig.set(mode);
    rig.engine.reset();
    Stereo in = silence(rig.samples(2.0));
    for (const double at : {0.03, 0.31, 0.77, 1.23}) {
        const Signal sound = event(rig);
        std::copy(sound.begin(), sound.end(),
                  in.left.begin() + static_cast<int64_t>(rig.samples(at)));
    }
    return rig.render(in).left;
}

TEST(EngineDirection, ForwardAndBackwardKeepTheOrderReverseMirrorsItBounceDoesBoth) {
    EngineRig rig;
    const Signal forth = event(rig), back = mirrored(forth);
    ASSERT_LT(likeness(forth, back), 0.9);

    const Signal forward = played(rig, DirectionMode::Forward);
    EXPECT_GT(likeness(forward, forth), 0.99);
    EXPECT_LT(likeness(forward, back), 0.9);

    const Signal reverse = played(rig, DirectionMode::Reverse);
    EXPECT_GT(likeness(reverse, back), 0.99);
    EXPECT_LT(likeness(reverse, forth), 0.9);

    const Signal bounce = played(rig, DirectionMode::Bounce);
    EXPECT_GT(likeness(bounce, back), 0.99);
    EXPECT_GT(likeness(bounce, forth), 0.99);
}

TEST(EngineDirection, ReversedRampsFall) {
    // A ramp rises by a fixed step a frame. Read forwards it still does, read backwards it falls by
    // the same; a jump fades over a few of every hundred frames only.
    const double slope = 1e-6;
    const auto shares = [&](DirectionMode mode) {
        EngineRig rig;
        rig.set(mode);
        rig.engine.reset();
        Signal ramp(rig.samples(5.0));
        for (size_t i = 0; i < ramp.size(); ++i) ramp[i] = slope * static_cast<double>(i);
        const Signal out = rig.render(ramp).left;
        const Signal forward = [&] {
            EngineRig straight;
            straight.setDelayMs(0.0);
            straight.engine.reset();
            return straight.render(ramp).left;
        }();
        const double step = forward.back() - forward[forward.size() - 2];
        double rising = 0.0, falling = 0.0;
        const size_t from = rig.samples(1.0);
        for (size_t i = from; i < out.size(); ++i) {
            const double d = out[i] - out[i - 1];
            rising += std::abs(d - step) < 1e-3 * step;
            falling += std::abs(d + step) < 1e-3 * step;
        }
        const auto count = static_cast<double>(out.size() - from);
        return std::pair{rising / count, falling / count};
    };
    EXPECT_EQ(shares(DirectionMode::Forward), (std::pair{1.0, 0.0}));
    const auto [reverseRises, reverseFalls] = shares(DirectionMode::Reverse);
    EXPECT_EQ(reverseRises, 0.0);
    EXPECT_GT(reverseFalls, 0.85);
    const auto [bounceRises, bounceFalls] = shares(DirectionMode::Bounce);
    EXPECT_GT(bounceRises, 0.4);
    EXPECT_GT(bounceFalls, 0.4);
}

TEST(EngineDirection, ReverseHoldsItsDistance) {
    // With an odd span too, the mean of a reversed ramp stays as far behind after a minute.
    Signal ramp(48000 * 60);
    for (size_t i = 0; i < ramp.size(); ++i) ramp[i] = 1e-6 * static_cast<double>(i);
    const auto rendered = [&](double ms) {
        EngineRig rig;
        rig.setDelayMs(ms);
        rig.set(DirectionMode::Reverse);
        rig.engine.reset();
        return rig.render(ramp).left;
    };
    const Signal straight = rendered(0.0), reversed = rendered(4801.0 / 48.0);
    const auto behind = [&](size_t second) {
        double sum = 0.0;
        const size_t from = second * 48000, count = 4 * 2401;
        for (size_t i = from; i < from + count; ++i) sum += straight[i] - reversed[i];
        return sum / static_cast<double>(count) / 1e-6;
    };
    // The wrap of the indices themselves is worth one tick in every turn of the memory (9.6 s).
    EXPECT_NEAR(behind(58), behind(1), 12.0);
}

TEST(EngineDirection, BackwardIsLateByTheMemoryLessTheDelay) {
    EngineRig rig;
    rig.set(DirectionMode::Backward);
    rig.setDelayMs(9500.0);
    rig.engine.reset();
    Signal in = rig.pulse(0.01);
    in.resize(rig.samples(1.0), 0.0);
    const Signal out = rig.render(in).left;
    EXPECT_GT(peak(out), 0.4);
    EXPECT_NEAR(peakPosition(out), rig.samples(0.1 + 0.005) + 4, 8);
}

TEST(EngineDirection, SwitchingToBackwardPlaysThePastBackwards) {
    EngineRig rig;
    rig.settle(1.0);
    const Signal sound = event(rig);
    Stereo in = silence(rig.samples(0.3));
    std::copy(sound.begin(), sound.end(), in.left.begin());
    rig.render(in);
    rig.set(DirectionMode::Backward);
    const Signal out = rig.render(silence(rig.samples(1.0))).left;
    EXPECT_GT(likeness(out, mirrored(sound)), 0.99);
}

TEST(EngineDirection, NoJumpOfTheReadIndexClicks) {
    // A sine steps by 0.0066 at most, and a fade of 5 ms between any two of its values by 0.0063
    // more. Hard jumps step by up to 0.8.
    const double allowed = 0.0066 + 0.0063 + 0.001;
    const DirectionMode recordingForward[] = {DirectionMode::Forward, DirectionMode::Reverse,
                                              DirectionMode::Bounce};
    for (const DirectionMode mode : recordingForward) {
        EngineRig rig;
        rig.set(mode);
        rig.setDelayMs(100.03);
        rig.settle(0.2);
        const Signal in = rig.sine(100.0, 4.0);
        EXPECT_LT(largestStep(rig.render(in).left, rig.samples(0.5)), allowed);

        // Directions that change in full flight, also faster than they can fade.
        rig.blockSize = 100;
        Dice dice(static_cast<uint64_t>(mode) + 7);
        rig.afterBlock = [&] {
            if (dice.chance(0.05)) rig.set(recordingForward[dice.below(3)]);
        };
        const Signal out = rig.render(in).left;
        EXPECT_GT(peak(out), 0.3);
        EXPECT_LT(largestStep(out), allowed) << "changing, from mode " << static_cast<int>(mode);
    }
    for (const double ms : {73.3, 1234.5}) {
        EngineRig rig;
        rig.setDelayMs(304.1);
        rig.settle();
        rig.render(rig.sine(100.0, 2.0));
        rig.setDelayMs(ms);
        EXPECT_LT(largestStep(rig.render(rig.sine(100.0, 0.07)).left), allowed) << ms;
    }
}

TEST(EngineDirection, BackwardReadingMeetsNoHoleWhereTheMemoryWraps) {
    // Twelve seconds take the indices over the memory's top in every mode.
    for (const DirectionMode mode : {DirectionMode::Reverse, DirectionMode::Bounce}) {
        EngineRig rig;
        rig.set(mode);
        rig.settle(0.2);
        const Signal constant(rig.samples(12.0), 0.5);
        const Signal out = rig.render(constant).left;
        EXPECT_LT(largestStep(out, rig.samples(0.5)), 1e-9) << static_cast<int>(mode);
    }
}

}  // namespace
}  // namespace Quorvant::Test
