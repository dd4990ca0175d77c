// Inf Repeat: what is held stays as it is, whatever is played or turned, and a synced loop engages
// on the song's grid.
#include "tests/dsp/EngineRig.h"

#include <gtest/gtest.h>

namespace Quorvant::Test {
namespace {

// The shift between two stretches of the same loop: 0 ... one period.
size_t shiftOf(const Signal& early, const Signal& late, size_t period) {
    for (size_t shift = 0; shift <= period + 4; ++shift) {
        bool same = true;
        for (size_t i = 0; same && i < 200; ++i)
            same = std::abs(late[i + shift] - early[i]) < 1e-12;
        if (same) return shift;
    }
    ADD_FAILURE() << "the loop's content is not found again";
    return 0;
}

TEST(EngineLoop, HoldsItsContentWhateverIsPlayedOrTurned) {
    for (const ProcessingMode mode : kModes) {
        EngineRig rig(
            {{kProcessingMode, valueOf(mode)}, {kFeedback, 0.4}, {kDelayTime, ms(250.0)}});
        const auto play = [&](uint64_t seed) {
            return rig.render(stereoNoise(rig.samples(0.6), 0.5, seed));
        };
        play(1);
        rig.set(kInfRepeat, 1.0);
        play(2);

        const size_t period = rig.samples(0.25);
        const Stereo first = rig.render(silence(2 * period));
        ASSERT_GT(rms(first.left), 0.05);
        for (int turn = 0; turn < 60; ++turn) {
            rig.set({{kFeedback, (turn % 10) / 10.0},
                     {kDelayTime, ms(100.0 + turn)},
                     {kDelayClockMode, turn % 2},
                     {kManualTempo, turn / 120.0},
                     {kFeedbackInvert, turn % 3 == 0}});
            play(4 + static_cast<uint64_t>(turn));
        }
        const Stereo last = rig.render(silence(3 * period + 16));
        const size_t shift = shiftOf(first.left, last.left, period);
        for (size_t i = 0; i < first.size(); ++i) {
            ASSERT_NEAR(last.left[i + shift], first.left[i], 1e-12) << static_cast<int>(mode);
            ASSERT_NEAR(last.right[i + shift], first.right[i], 1e-12) << static_cast<int>(mode);
        }
    }
}

TEST(EngineLoop, FeedbackComesBackWhenItIsReleased) {
    EngineRig rig({{kFeedback, 0.5}});
    rig.render(rig.sine(440.0, 1.0));
    rig.set(kInfRepeat, 1.0);
    rig.settle(1.0);
    const double held = peak(rig.render(silence(rig.samples(0.1))).left);
    rig.set(kInfRepeat, 0.0);
    rig.settle(1.0);
    EXPECT_GT(held, 0.4);
    EXPECT_LT(peak(rig.render(silence(rig.samples(0.1))).left), held / 500.0);
}

TEST(EngineLoop, IgnoresDelayChangesUntilTheyAreSentAgain) {
    EngineRig rig;
    const auto delay = [&] {
        rig.settle(0.1);
        return rig.clockFactor() * 100.0;
    };
    rig.set({{kInfRepeat, 1.0}, {kDelayTime, ms(400.0)}, {kDelayClockMode, 1.0}});
    EXPECT_NEAR(delay(), 100.0, 1e-9);
    rig.set(kInfRepeat, 0.0);
    EXPECT_NEAR(delay(), 100.0, 1e-9);
    rig.set(kDelayTime, ms(400.0));
    EXPECT_NEAR(delay(), 400.0, 1e-9);

    // Changes of tempo and note only wait.
    rig.set(kDelayClockMode, 1.0);
    rig.host.giveTempo(120.0);
    const double synced = delay();
    rig.set(kInfRepeat, 1.0);
    rig.host.giveTempo(240.0);
    EXPECT_EQ(delay(), synced);
    rig.set(kInfRepeat, 0.0);
    EXPECT_NEAR(delay(), synced / 2.0, 1e-9);
}

TEST(EngineLoop, EngagesAtOnceInTimeModeAndReleasesWithoutAStep) {
    EngineRig rig({{kDelayTime, ms(1003.7)}});
    rig.render(rig.sine(100.0, 1.5));
    EXPECT_EQ(rig.read(kOutInfRepeatLamp), 1e-15);
    rig.set(kInfRepeat, 1.0);
    EXPECT_EQ(rig.read(kOutInfRepeatLamp), 1.0);
    Stereo out = rig.render(rig.sine(100.0, 3.0));
    rig.set(kInfRepeat, 0.0);
    EXPECT_EQ(rig.read(kOutInfRepeatLamp), 1e-15);
    out = join(out, rig.render(rig.sine(100.0, 3.0)));
    EXPECT_LT(largestStep(out.left), 0.0095);  // the sine's own steps are 0.0066
}

// A quarter at 120 BPM is 24000 frames.
const Settings kSyncedToQuarters = {{kDelayClockMode, 1.0},
                                    {kDelayNote, listValue(22, kNoteCount)}};

// Renders block by block until the lamp lights; returns the frames that went by.
double framesToLamp(EngineRig& rig) {
    double frames = 0.0;
    while (frames < 60000.0 && rig.read(kOutInfRepeatLamp) < 0.5) {
        rig.render(silence(static_cast<size_t>(rig.blockSize)));
        frames += rig.blockSize;
    }
    return frames;
}

TEST(EngineLoop, SyncedEngagesOnTheSongsGrid) {
    // The block size must not matter, nor where the song is: at 0 and 8 boundaries fall between two
    // blocks.
    for (const int32_t blockSize : {64, 480, 1000}) {
        for (const double startBeats : {0.0, 8.3, 17.9, -2.6}) {
            EngineRig rig(kSyncedToQuarters);
            rig.blockSize = blockSize;
            rig.host.giveTempo(120.0);
            rig.host.play(startBeats);
            rig.render(silence(static_cast<size_t>(blockSize)));
            rig.set(kInfRepeat, 1.0);
            const double beatsNow = rig.host.now.positionBeats;
            const double expected = (std::ceil(beatsNow) - beatsNow) * 24000.0;
            const double frames = framesToLamp(rig);
            EXPECT_GE(frames + 2.0, expected) << blockSize << ' ' << startBeats;
            EXPECT_LE(frames, expected + 2.0 * blockSize + 2.0) << blockSize << ' ' << startBeats;

            rig.set(kInfRepeat, 0.0);
            rig.render(silence(25000));
            EXPECT_EQ(rig.read(kOutInfRepeatLamp), 1e-15);
        }
    }
}

TEST(EngineLoop, SyncedEngagesByItsOwnCounterWithoutATransport) {
    EngineRig rig(kSyncedToQuarters);
    rig.host.giveTempo(120.0);
    rig.blockSize = 64;
    rig.render(silence(10000));
    rig.set(kInfRepeat, 1.0);
    EXPECT_NEAR(framesToLamp(rig), 14000.0, 128.0);
}

}  // namespace
}  // namespace Quorvant::Test
