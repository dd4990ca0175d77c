// Inf Repeat: what is held stays as it is, whatever is played or turned, and a synced loop engages
// on the song's grid.
#include "tests/dsp/EngineRig.h"

#include <gtest/gtest.h>

#include <string>

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

void expectHeldForTwoMinutes(EngineRig& rig) {
    rig.set(kFeedback, 0.4);
    rig.setDelayMs(250.0);
    rig.engine.reset();
    rig.render(stereoNoise(rig.samples(0.6), 0.5, 1));
    rig.set(kInfRepeat, 1.0);
    rig.render(stereoNoise(rig.samples(0.6), 0.5, 2));

    const size_t period = rig.samples(0.25);
    const Stereo first = rig.render(silence(2 * period));
    ASSERT_GT(rms(first.left), 0.05);
    for (int second = 0; second < 120; ++second) {
        // Neither what is played nor what is turned may reach the loop.
        rig.set(kFeedback, (second % 10) / 10.0);
        rig.setDelayMs(100.0 + second);
        rig.set(kDelayClockMode, second % 2);
        rig.set(kManualTempo, second / 120.0);
        rig.set(kFeedbackInvert, second % 3 == 0);
        rig.render(stereoNoise(rig.samples(1.0), 0.5, 4 + static_cast<uint64_t>(second)));
    }
    const Stereo last = rig.render(silence(3 * period + 16));
    const size_t shift = shiftOf(first.left, last.left, period);
    for (size_t i = 0; i < first.size(); ++i) {
        ASSERT_NEAR(last.left[i + shift], first.left[i], 1e-12) << i;
        ASSERT_NEAR(last.right[i + shift], first.right[i], 1e-12) << i;
    }
}

TEST(EngineLoop, HoldsItsContentForTwoMinutes) {
    for (int mode = 0; mode < 4; ++mode) {
        SCOPED_TRACE("mode " + std::to_string(mode));
        EngineRig rig;
        rig.set(static_cast<ProcessingMode>(mode));
        expectHeldForTwoMinutes(rig);
    }
}

TEST(EngineLoop, IgnoresDelayChangesUntilTheyAreSentAgain) {
    EngineRig rig;
    rig.render(silence(64));
    const double before = rig.read(kOutDelayReadout);
    const auto readout = [&] {
        rig.settle(0.1);
        return rig.read(kOutDelayReadout);
    };
    rig.set(kInfRepeat, 1.0);
    rig.setDelayMs(400.0);
    rig.set(kDelayClockMode, 1.0);
    EXPECT_EQ(readout(), before);
    rig.set(kInfRepeat, 0.0);
    EXPECT_EQ(readout(), before);
    rig.setDelayMs(400.0);
    EXPECT_NEAR(readout(), 4.0 * before, 1e-12);

    // Changes of tempo and note only wait.
    rig.set(kDelayClockMode, 1.0);
    rig.host.giveTempo(120.0);
    const double synced = readout();
    rig.set(kInfRepeat, 1.0);
    rig.host.giveTempo(240.0);
    EXPECT_EQ(readout(), synced);
    rig.set(kInfRepeat, 0.0);
    EXPECT_NEAR(readout(), synced / 2.0, 1e-12);
}

TEST(EngineLoop, EngagesAtOnceInTimeModeAndReleasesWithoutAStep) {
    EngineRig rig;
    rig.setDelayMs(1003.7);
    rig.engine.reset();
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

// Renders block by block until the lamp lights; returns the frames that went by.
size_t framesToLamp(EngineRig& rig, size_t limit) {
    size_t frames = 0;
    while (frames < limit && rig.read(kOutInfRepeatLamp) < 0.5) {
        rig.render(silence(static_cast<size_t>(rig.blockSize)));
        frames += static_cast<size_t>(rig.blockSize);
    }
    return frames;
}

TEST(EngineLoop, SyncedEngagesOnTheSongsGrid) {
    // A quarter at 120 BPM is 24000 frames. The block size must not matter, nor where the song is.
    for (const int32_t blockSize : {64, 480, 1000}) {
        for (const double startBeats : {0.0, 8.3, 17.9, -2.6}) {
            EngineRig rig;
            rig.blockSize = blockSize;
            rig.set(kDelayClockMode, 1.0);
            rig.set(kDelayNote, 22.0 / 59.0);
            rig.host.giveTempo(120.0);
            rig.host.play(startBeats);
            rig.engine.reset();
            // From beat 0 on, boundaries fall between two blocks.
            rig.render(silence(static_cast<size_t>(blockSize)));
            rig.set(kInfRepeat, 1.0);
            const double beatsNow = rig.host.now.positionBeats;
            const double expected = (std::ceil(beatsNow) - beatsNow) * 24000.0;
            const size_t frames = framesToLamp(rig, 60000);
            EXPECT_GE(frames + 2.0, expected) << blockSize << ' ' << startBeats;
            EXPECT_LE(frames, expected + 2.0 * blockSize + 2.0) << blockSize << ' ' << startBeats;

            rig.set(kInfRepeat, 0.0);
            rig.render(silence(25000));
            EXPECT_EQ(rig.read(kOutInfRepeatLamp), 1e-15);
        }
    }
}

TEST(EngineLoop, SyncedEngagesByItsOwnCounterWithoutATransport) {
    EngineRig rig;
    rig.blockSize = 64;
    rig.set(kDelayClockMode, 1.0);
    rig.set(kDelayNote, 22.0 / 59.0);
    rig.host.giveTempo(120.0);
    rig.engine.reset();
    rig.render(silence(10000));
    rig.set(kInfRepeat, 1.0);
    EXPECT_NEAR(framesToLamp(rig, 60000), 14000.0, 128.0);
}

}  // namespace
}  // namespace Quorvant::Test
