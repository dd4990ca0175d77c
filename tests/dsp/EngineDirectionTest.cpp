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

// A ramp rises by a fixed step a frame, so that what is heard of it tells where it was read.
struct Reading {
    double rising = 0.0, falling = 0.0;                     // shares of the frames
    double closest = HUGE_VAL, farthest = 0.0, mean = 0.0;  // frames behind the sound's entry
};
Reading readRamp(DirectionMode mode, double ms, double seconds, double from) {
    const auto rendered = [&](double delay) {
        EngineRig rig;
        rig.set(mode);
        rig.setDelayMs(delay);
        rig.engine.reset();
        Signal ramp(rig.samples(seconds));
        for (size_t i = 0; i < ramp.size(); ++i) ramp[i] = 1e-6 * static_cast<double>(i);
        return rig.render(ramp).left;
    };
    const Signal straight = rendered(0.0), heard = rendered(ms);
    const double step = straight.back() - straight[straight.size() - 2];
    Reading reading;
    const auto first = static_cast<size_t>(from * 48000.0);
    const auto count = static_cast<double>(heard.size() - first);
    for (size_t i = first; i < heard.size(); ++i) {
        const double rise = heard[i] - heard[i - 1], behind = (straight[i] - heard[i]) / step;
        reading.rising += (std::abs(rise - step) < 1e-3 * step) / count;
        reading.falling += (std::abs(rise + step) < 1e-3 * step) / count;
        reading.closest = std::min(reading.closest, behind);
        reading.farthest = std::max(reading.farthest, behind);
        reading.mean += behind / count;
    }
    return reading;
}

TEST(EngineDirection, ReversedRampsFall) {
    const auto read = [](DirectionMode mode) { return readRamp(mode, 100.0, 3.0, 0.5); };
    const Reading forward = read(DirectionMode::Forward);
    EXPECT_NEAR(forward.rising, 1.0, 1e-9);
    EXPECT_NEAR(forward.closest, 4804.0, 2.0);
    EXPECT_NEAR(forward.farthest, 4804.0, 2.0);

    // Segments of half the delay, read from a delay behind to two; the jump between two segments is
    // faded over 240 frames.
    const Reading reverse = read(DirectionMode::Reverse);
    EXPECT_EQ(reverse.rising, 0.0);
    EXPECT_GT(reverse.falling, 0.85);
    EXPECT_NEAR(reverse.closest, 4800.0, 600.0);
    EXPECT_NEAR(reverse.farthest, 9600.0, 600.0);

    // Back from what is being recorded to a delay behind, and on from there; the turn is faded,
    // too.
    const Reading bounce = read(DirectionMode::Bounce);
    EXPECT_GT(bounce.rising, 0.4);
    EXPECT_GT(bounce.falling, 0.4);
    EXPECT_NEAR(bounce.closest, 0.0, 600.0);
    EXPECT_NEAR(bounce.farthest, 4804.0, 240.0);
}

TEST(EngineDirection, ReverseHoldsItsDistance) {
    // With an odd span too the reversed ramp stays as far behind; the wrap of the indices
    // themselves is worth one tick in every turn of the memory (9.6 s).
    const double ms = 4801.0 / 48.0;
    const double early = readRamp(DirectionMode::Reverse, ms, 2.0, 1.0).mean;
    const double late = readRamp(DirectionMode::Reverse, ms, 20.0, 19.0).mean;
    EXPECT_NEAR(late, early, 10.0);
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
}

TEST(EngineDirection, ADelayChangeClicksNeitherAtOnceNorOneDelayLater) {
    // What is recorded at the change must not jump either: it would be heard a delay later.
    const double allowed = 0.0066 + 0.0063 + 0.001;
    for (const double feedback : {0.0, 0.5}) {
        EngineRig rig;
        rig.set(kFeedback, feedback);
        rig.setDelayMs(304.1);
        rig.settle();
        Stereo out = rig.render(rig.sine(100.0, 2.0));
        for (const double ms : {200.7, 73.3, 1234.5, 398.0}) {
            rig.setDelayMs(ms);
            out = join(out, rig.render(rig.sine(100.0, 2.0)));
        }
        const double loudness = std::max(1.0, peak(out.left) / 0.5);
        EXPECT_LT(largestStep(out.left), allowed * loudness) << feedback;

        // A knob in motion, faster than the fades.
        rig.blockSize = 100;
        double ms = 100.0;
        rig.afterBlock = [&] { rig.setDelayMs(ms = ms > 900.0 ? 100.0 : ms + 3.7); };
        const Signal turned = rig.render(rig.sine(100.0, 4.0)).left;
        EXPECT_LT(largestStep(turned), allowed * std::max(1.0, peak(turned) / 0.5)) << feedback;
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
