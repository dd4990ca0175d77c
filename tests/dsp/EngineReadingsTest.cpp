// The output values: what they measure, and what reading them clears.
#include "tests/dsp/EngineRig.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace Quorvant::Test {
namespace {

TEST(EngineReadings, TheListedOnesExistAndStayWithinBounds) {
    EngineRig rig;
    rig.render(rig.sine(100.0, 0.1, 500.0));
    for (uint32_t index = 0; index < 200; ++index) {
        const bool listed = (index >= 42 && index <= 47) || (index >= 49 && index <= 53) ||
                            (index >= 68 && index <= 70);
        double value = -1.0;
        ASSERT_EQ(rig.engine.getOutputValue(index, value), listed) << index;
        if (listed) {
            EXPECT_GE(value, 1e-15) << index;
            EXPECT_LE(value, 1.0) << index;
        }
    }
}

TEST(EngineReadings, HeadroomHoldsThePeakUntilRead) {
    EngineRig rig;
    rig.set(kSensitivity, 0.0);
    rig.setDelayMs(0.0);
    rig.engine.reset();
    const double level = rig.render(Signal(rig.samples(0.2), 0.05)).left.back();
    rig.read(kOutHeadroom);
    rig.render(Signal(4800, 0.05));
    rig.render(silence(4800));
    const double scale = 14.142 / (std::pow(10.0, 0.5) * 1.4142);
    EXPECT_NEAR(rig.read(kOutHeadroom), level * scale / 2.0, 2e-6);
    rig.render(silence(480));
    EXPECT_LT(rig.read(kOutHeadroom), 1e-5);
}

TEST(EngineReadings, HeadroomMovesEvenInSilence) {
    EngineRig rig;
    rig.settle();
    double last = -1.0;
    for (int block = 0; block < 6; ++block) {
        rig.render(silence(64));
        const double now = rig.read(kOutHeadroom);
        EXPECT_NE(now, last);
        last = now;
    }
}

TEST(EngineReadings, SideChainPeaksFollowTheirInputAndAreClearedByReading) {
    EngineRig rig;
    rig.set(kSideChainIntExt, 1.0);
    rig.engine.reset();
    Stereo side = silence(480);
    side.left[100] = -0.7;
    side.right[200] = 0.3;
    const Stereo main = silence(480);
    rig.render(main, &side);
    rig.render(main);  // later silence does not clear them
    EXPECT_NEAR(rig.read(kOutSideChainPeakLeft), 0.7, 1e-12);
    EXPECT_EQ(rig.read(kOutSideChainPeakLeft), 1e-15);
    EXPECT_NEAR(rig.read(kOutSideChainPeakRight), 0.3, 1e-12);
    EXPECT_EQ(rig.read(kOutSideChainPeakRight), 1e-15);
    rig.render(Signal(480, 0.2));  // without a side-chain bus: the main input
    EXPECT_NEAR(rig.read(kOutSideChainPeakRight), 0.2, 1e-12);
}

TEST(EngineReadings, ActivityFlashesAtEachRepeat) {
    EngineRig rig;
    rig.setDelayMs(500.0);
    rig.engine.reset();
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
    const double afterwards = std::pow(0.9991, 240.0 / 2.0);
    EXPECT_NEAR(activity[20] / activity[19], afterwards, 1e-6);
}

TEST(EngineReadings, TransportAndRateAreReported) {
    EngineRig rig(96000.0);
    rig.render(silence(16));
    EXPECT_EQ(rig.read(kOutHostSync), 1e-15);
    EXPECT_NEAR(rig.read(kOutSampleRate), 0.096, 1e-12);
    rig.host.giveTempo(140.0);
    rig.host.play(3.0);
    rig.render(silence(16));
    EXPECT_EQ(rig.read(kOutHostSync), 1.0);
    EXPECT_NEAR(rig.read(kOutTempo), 0.014, 1e-12);
    rig.host.now = {};
    rig.render(silence(16));
    EXPECT_EQ(rig.read(kOutHostSync), 1e-15);
    EXPECT_NEAR(rig.read(kOutTempo), 0.014, 1e-12);  // kept
}

TEST(EngineReadings, TheDelayReadoutReachesOneAtTheLongest) {
    EngineRig rig;
    rig.setDelayMs(9600.0);
    rig.set(kManualVco, 1.0);
    rig.set(kDepth, 0.0);
    rig.set(kDelayX2, 1.0);
    EXPECT_NEAR(rig.read(kOutDelayReadout), 1.0, 1e-12);
    rig.settle();
    EXPECT_NEAR(rig.read(kOutDelayReadout), 1.0, 1e-12);
}

TEST(EngineReadings, ProcessingActivityTellsWhetherBlocksArrive) {
    EngineRig rig;
    rig.render(silence(16));
    EXPECT_EQ(rig.read(kOutProcessingActivity), 1.0);
    EXPECT_EQ(rig.read(kOutProcessingActivity), -1.0);  // no reading
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_EQ(rig.read(kOutProcessingActivity), 1e-15);
    EXPECT_EQ(rig.read(kOutProcessingActivity), 1e-15);
    const double in[8] = {};
    double out[8] = {};
    const double* ins[4] = {in, in, nullptr, nullptr};
    double* outs[2] = {out, out};
    rig.engine.processSuspended64(ins, outs, 8);
    EXPECT_EQ(rig.read(kOutProcessingActivity), 1.0);
}

}  // namespace
}  // namespace Quorvant::Test
