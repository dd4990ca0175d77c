// Inf Repeat: what is held stays as it is, whatever is played or turned, and a synced loop engages
// on the song's grid.
#include "tests/dsp/EngineRig.h"

#include <gtest/gtest.h>

namespace Quorvant::Test {
namespace {

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

        const Stereo first = rig.render(silence(rig.samples(0.5)));
        ASSERT_GT(rms(first.left), 0.05);
        for (int turn = 0; turn < 60; ++turn) {
            rig.set({{kFeedback, (turn % 10) / 10.0},
                     {kDelayTime, ms(100.0 + turn)},
                     {kDelayClockMode, turn % 2},
                     {kManualTempo, turn / 120.0},
                     {kFeedbackInvert, turn % 3 == 0}});
            play(4 + static_cast<uint64_t>(turn));
        }
        // Somewhere within a period the same begins again.
        const Stereo last = rig.render(silence(rig.samples(0.8)));
        size_t shift = 0;
        while (shift < rig.samples(0.26) && std::abs(last.left[shift] - first.left[0]) > 1e-10)
            ++shift;
        for (size_t i = 0; i < first.size(); ++i) {
            ASSERT_NEAR(last.left[i + shift], first.left[i], 1e-10) << static_cast<int>(mode);
            ASSERT_NEAR(last.right[i + shift], first.right[i], 1e-10) << static_cast<int>(mode);
        }
    }
}

TEST(EngineLoop, ItsFeedbackIsUnityAndComesBackWhenItIsReleased) {
    EngineRig rig({{kFeedback, 0.1}});
    const double played = rms(rig.render(rig.sine(440.0, 1.0)).left, rig.samples(0.5));
    rig.set(kInfRepeat, 1.0);
    EXPECT_EQ(rig.read(kOutInfRepeatLamp), 1.0);  // at once
    rig.settle(1.0);
    const double held = rms(rig.render(silence(rig.samples(0.1))).left);
    EXPECT_NEAR(held / played, 1.0, 0.05);
    rig.set(kInfRepeat, 0.0);
    EXPECT_EQ(rig.read(kOutInfRepeatLamp), 1e-15);
    rig.settle(1.0);
    EXPECT_LT(rms(rig.render(silence(rig.samples(0.1))).left), held / 500.0);
}

TEST(EngineLoop, IgnoresDelayChangesUntilTheyAreSentAgain) {
    EngineRig rig;
    const auto delayAfter = [&](const Settings& settings) {
        rig.set(settings);
        rig.settle(0.1);
        return rig.clockFactor() * 100.0;
    };
    const Settings on = {{kInfRepeat, 1.0}}, off = {{kInfRepeat, 0.0}};
    delayAfter(on);
    EXPECT_NEAR(delayAfter({{kDelayTime, ms(400.0)}, {kDelayClockMode, 1.0}}), 100.0, 1e-9);
    EXPECT_NEAR(delayAfter(off), 100.0, 1e-9);
    EXPECT_NEAR(delayAfter({{kDelayTime, ms(400.0)}}), 400.0, 1e-9);

    // Changes of tempo and note only wait.
    rig.host.giveTempo(120.0);
    const double synced = delayAfter({{kDelayClockMode, 1.0}});
    rig.set(on);
    rig.host.giveTempo(240.0);
    EXPECT_EQ(delayAfter({}), synced);
    EXPECT_NEAR(delayAfter(off), synced / 2.0, 1e-9);
}

// A quarter at 120 BPM is 24000 frames.
const Settings kSyncedToQuarters = {{kDelayClockMode, 1.0},
                                    {kDelayNote, listValue(22, kNoteCount)}};

TEST(EngineLoop, SyncedEngagesOnTheSongsGridOrByItsOwnCounter) {
    // The block size must not matter, nor where the song is: at 0 and 8 boundaries fall between two
    // blocks. Without a transport the grid is the counter's.
    for (const int32_t blockSize : {64, 480, 1000}) {
        for (const double startBeats : {0.0, 8.3, 17.9, -2.6, std::nan("")}) {
            EngineRig rig(kSyncedToQuarters);
            rig.blockSize = blockSize;
            rig.host.giveTempo(120.0);
            if (!std::isnan(startBeats)) rig.host.play(startBeats);
            const auto oneBlock = silence(static_cast<size_t>(blockSize));
            rig.render(oneBlock);
            rig.set(kInfRepeat, 1.0);
            const HostTransport& song = rig.host.now;
            const double beats = song.playing ? song.positionBeats : blockSize / 24000.0;
            const double expected = (std::ceil(beats) - beats) * 24000.0;
            double frames = 0.0;
            for (; frames < 60000.0 && rig.read(kOutInfRepeatLamp) < 0.5; frames += blockSize)
                rig.render(oneBlock);
            EXPECT_GE(frames + 2.0, expected) << blockSize << ' ' << startBeats;
            EXPECT_LE(frames, expected + 2.0 * blockSize + 2.0) << blockSize << ' ' << startBeats;

            rig.set(kInfRepeat, 0.0);
            rig.render(silence(25000));
            EXPECT_EQ(rig.read(kOutInfRepeatLamp), 1e-15);
        }
    }
}

}  // namespace
}  // namespace Quorvant::Test
