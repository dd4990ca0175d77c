// The output values: what they measure, and what reading them clears.
#include "tests/dsp/EngineRig.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace Quorvant::Test {
namespace {

constexpr double kLowest = 1e-15;

TEST(EngineReadings, HeadroomHoldsThePeakBehindTheLegacyStageUntilRead) {
    for (const ProcessingMode mode : {ProcessingMode::Clean, ProcessingMode::Legacy}) {
        for (const double reference : {0.3, 0.5}) {
            EngineRig rig({{kProcessingMode, valueOf(mode)},
                           {kSensitivity, 0.0},
                           {kReferenceLevel, reference}});
            rig.render(Signal(480, 500.0));
            EXPECT_EQ(rig.read(kOutHeadroom), 1.0);
            EXPECT_EQ(rig.read(kOutSideChainPeakLeft), 1.0);
            rig.engine.reset();
            const double level = 0.2 * kFilterGain, scale = std::pow(10.0, reference);
            const double m = level / scale * 2.7542 * 2.7542 * 0.363082;
            const double gain = mode == ProcessingMode::Legacy ? 1.0 - 0.25 * m : 1.0;
            rig.render(rig.pulse(0.05, 0.2));
            rig.render(silence(4800));
            EXPECT_NEAR(rig.read(kOutHeadroom), level * gain / scale * 5.0, 1e-3);
            rig.settle(0.1);
            const double silent = rig.read(kOutHeadroom);
            EXPECT_LT(silent, 1e-5);
            rig.render(silence(64));
            EXPECT_NE(rig.read(kOutHeadroom), silent);  // it moves even then
        }
    }
}

TEST(EngineReadings, TheSideChainIsItsBusOrElseTheInput) {
    EngineRig rig({{kSideChainIntExt, 1.0}, {kSideChainMonitor, 1.0}});
    const Signal main = noise(480, 0.2);
    const Stereo side = {noise(480, 0.7), noise(480, 0.3)};
    EXPECT_LT(largestDifference(rig.render(main, &side), side), 1e-12);
    EXPECT_EQ(rig.read(kOutSideChainConnected), 1.0);
    const Stereo quiet = silence(480);
    rig.render(main, &quiet);  // silence does not clear the peaks
    EXPECT_NEAR(rig.read(kOutSideChainPeakLeft), peak(side.left), 1e-12);
    EXPECT_EQ(rig.read(kOutSideChainPeakLeft), kLowest);
    EXPECT_NEAR(rig.read(kOutSideChainPeakRight), peak(side.right), 1e-12);
    EXPECT_EQ(rig.read(kOutSideChainPeakRight), kLowest);

    EXPECT_LT(largestDifference(rig.render(main).left, main), 1e-12);
    EXPECT_EQ(rig.read(kOutSideChainConnected), kLowest);
    EXPECT_NEAR(rig.read(kOutSideChainPeakRight), peak(main), 1e-12);
}

TEST(EngineReadings, ActivityFlashesAtEachRepeat) {
    EngineRig rig({{kDelayTime, ms(500.0)}});
    rig.blockSize = 240;
    Signal activity;
    rig.afterBlock = [&] { activity.push_back(rig.read(kOutDelayActivity)); };
    rig.render(silence(rig.samples(2.0)));
    // Lit for 50 ms, then falling, four times in two seconds.
    int flashes = 0, lit = 0;
    for (size_t i = 1; i < activity.size(); ++i) {
        flashes += activity[i] > 0.999 && activity[i - 1] < 0.5;
        lit += activity[i] > 0.999;
    }
    EXPECT_EQ(flashes, 3);  // the first one is lit from the start
    EXPECT_NEAR(lit, 4 * 10, 4);
}

TEST(EngineReadings, TheDelayAndTheSongsPositionAreReported) {
    EngineRig rig;
    for (const double position : {3.0, 1e300, std::nan("")}) {
        rig.host.play(position);
        rig.render(silence(16));
        EXPECT_EQ(rig.read(kOutHostSync), position == 3.0 ? 1.0 : kLowest) << position;
    }
    rig.set({{kDelayTime, 1.0}, {kManualVco, 1.0}, {kDepth, 0.0}, {kDelayX2, 1.0}});
    EXPECT_NEAR(rig.read(kOutDelayReadout), 1.0, 1e-12);
}

TEST(EngineReadings, ProcessingActivityTellsWhetherBlocksArrive) {
    EngineRig rig;
    rig.render(silence(16));
    EXPECT_EQ(rig.read(kOutProcessingActivity), 1.0);
    EXPECT_EQ(rig.read(kOutProcessingActivity), -1.0);  // no reading
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_EQ(rig.read(kOutProcessingActivity), kLowest);
    EXPECT_EQ(rig.read(kOutProcessingActivity), kLowest);
    const double* ins[4] = {};
    double* outs[2] = {};
    rig.engine.processSuspended64(ins, outs, 8);
    EXPECT_EQ(rig.read(kOutProcessingActivity), 1.0);
}

}  // namespace
}  // namespace Quorvant::Test
