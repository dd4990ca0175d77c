// The output values: what they measure, and what reading them clears.
#include "tests/dsp/EngineRig.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace Quorvant::Test {
namespace {

constexpr double kLowest = 1e-15;

TEST(EngineReadings, TheListedOnesExistAndStayWithinBounds) {
    EngineRig rig;
    rig.render(rig.sine(100.0, 0.1, 500.0));
    for (uint32_t index = 0; index < 200; ++index) {
        const bool listed = (index >= 42 && index <= 47) || (index >= 49 && index <= 53) ||
                            (index >= 68 && index <= 70);
        double value = -1.0;
        ASSERT_EQ(rig.engine.getOutputValue(index, value), listed) << index;
        if (listed) {
            EXPECT_GE(value, kLowest) << index;
            EXPECT_LE(value, 1.0) << index;
        }
    }
}

TEST(EngineReadings, HeadroomHoldsThePeakBehindTheLegacyStageUntilRead) {
    for (const ProcessingMode mode : {ProcessingMode::Clean, ProcessingMode::Legacy}) {
        for (const double reference : {0.3, 0.5}) {
            EngineRig rig({{kProcessingMode, valueOf(mode)},
                           {kSensitivity, 0.0},
                           {kReferenceLevel, reference}});
            const double level = 0.2 * kFilterGain, scale = std::pow(10.0, reference);
            const double m = level / scale * 2.7542 * 2.7542 * 0.363082;
            const double gain = mode == ProcessingMode::Legacy ? 1.0 - 0.25 * m : 1.0;
            rig.render(rig.pulse(0.05, 0.2));
            rig.render(silence(4800));
            EXPECT_NEAR(rig.read(kOutHeadroom), level * gain / scale * 5.0, 1e-3);
            rig.settle(0.1);
            EXPECT_LT(rig.read(kOutHeadroom), 1e-5);
        }
    }
}

TEST(EngineReadings, HeadroomMovesEvenInSilence) {
    EngineRig rig;
    rig.settle();
    double last = -1.0;
    for (int block = 0; block < 6; ++block) {
        rig.render(silence(64));
        EXPECT_NE(std::exchange(last, rig.read(kOutHeadroom)), last);
    }
}

TEST(EngineReadings, SideChainPeaksFollowTheirInputAndAreClearedByReading) {
    EngineRig rig({{kSideChainIntExt, 1.0}});
    Stereo side = silence(480);
    side.left[100] = -0.7;
    side.right[200] = 0.3;
    const Stereo main = silence(480);
    rig.render(main, &side);
    rig.render(main);  // later silence does not clear them
    EXPECT_NEAR(rig.read(kOutSideChainPeakLeft), 0.7, 1e-12);
    EXPECT_EQ(rig.read(kOutSideChainPeakLeft), kLowest);
    EXPECT_NEAR(rig.read(kOutSideChainPeakRight), 0.3, 1e-12);
    EXPECT_EQ(rig.read(kOutSideChainPeakRight), kLowest);
    rig.render(Signal(480, 0.2));  // without a side-chain bus: the main input
    EXPECT_NEAR(rig.read(kOutSideChainPeakRight), 0.2, 1e-12);
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
    EXPECT_NEAR(activity[20] / activity[19], std::pow(0.9991, 240.0 / 2.0), 1e-6);
}

TEST(EngineReadings, TransportRateAndDelayAreReported) {
    EngineRig rig({}, 96000.0);
    const auto expectReadings = [&](double sync, double tempo) {
        rig.render(silence(16));
        EXPECT_EQ(rig.read(kOutHostSync), sync);
        EXPECT_NEAR(rig.read(kOutTempo), tempo, 1e-12);
    };
    EXPECT_NEAR(rig.read(kOutSampleRate), 0.096, 1e-12);
    rig.host.giveTempo(140.0);
    expectReadings(kLowest, 0.014);
    rig.host.play(3.0);
    expectReadings(1.0, 0.014);
    for (const double nowhere : {1e300, std::nan("")}) {
        rig.host.play(nowhere);
        expectReadings(kLowest, 0.014);
    }
    rig.host.now = {};
    expectReadings(kLowest, 0.014);  // kept

    rig.set({{kDelayTime, 1.0}, {kManualVco, 1.0}, {kDepth, 0.0}, {kDelayX2, 1.0}});
    EXPECT_NEAR(rig.read(kOutDelayReadout), 1.0, 1e-12);  // at once, and when it is heard
    rig.settle();
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
