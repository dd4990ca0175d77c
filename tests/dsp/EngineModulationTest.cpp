// What moves the memory's clock: Manual VCO, LFO and envelope; and what follows the song.
#include "tests/dsp/EngineRig.h"

#include <gtest/gtest.h>

#include <string>

namespace Quorvant::Test {
namespace {

// A loop of a steady tone, so that every change of the clock is heard as pitch.
void holdTone(EngineRig& rig, double frequency) {
    rig.setDelayMs(1000.0);
    rig.engine.reset();
    rig.render(rig.sine(frequency, 1.5));
    rig.set(kInfRepeat, 1.0);
    rig.render(rig.sine(frequency, 0.1));
}

TEST(EngineClock, ManualVcoBendsThePitchOfWhatIsHeld) {
    const auto pitchAt = [](double manualVco, double depth) {
        EngineRig rig;
        holdTone(rig, 440.0);
        rig.set(kWaveform, 0.0);
        rig.set(kLfoRate, 0.0);
        rig.set(kDepth, depth);
        rig.set(kManualVco, manualVco);
        rig.settle(0.1);
        return frequencyOf(rig.render(silence(rig.samples(0.3))).left, rig.rate);
    };
    EXPECT_NEAR(pitchAt(0.5, 0.0), 440.0, 0.05);
    EXPECT_NEAR(pitchAt(1.0, 0.0), 440.0 / 1.5, 0.05);
    EXPECT_NEAR(pitchAt(0.0, 0.0), 440.0 / 0.5, 0.1);
}

TEST(EngineClock, ManualVcoStretchesTheDelayAndLeavesThePitchOfNewSounds) {
    for (const double v : {0.0, 0.25, 1.0}) {
        EngineRig rig;
        rig.set(kManualVco, v);
        rig.engine.reset();
        Signal in = rig.pulse(0.01);
        in.resize(rig.samples(0.3), 0.0);
        EXPECT_NEAR(peakPosition(rig.render(in).left), rig.samples(0.1 * (v + 0.5) + 0.005), 10);
        EXPECT_NEAR(rig.read(kOutDelayReadout), 100.0 * (v + 0.5) / 28800.0, 1e-12);

        const Signal tone = rig.render(rig.sine(440.0, 0.6)).left;
        EXPECT_NEAR(frequencyOf(tone, rig.rate, rig.samples(0.3)), 440.0, 0.05);
    }
}

// Frequency of the LFO lamp, seen every 32 frames.
double lampFrequency(EngineRig& rig, double seconds) {
    Signal lamp;
    rig.blockSize = 32;
    rig.afterBlock = [&] { lamp.push_back(rig.read(kOutLfoLamp) - 0.5); };
    rig.render(silence(rig.samples(seconds)));
    return frequencyOf(lamp, rig.rate / 32.0);
}

TEST(EngineLfo, RunsAtItsRate) {
    for (const double rate : {44100.0, 192000.0}) {
        for (const double v : {0.25, 0.5, 1.0}) {
            EngineRig rig(rate);
            rig.set(kLfoRate, v);
            const double hz = 0.1 * std::pow(100.0, v);
            EXPECT_NEAR(lampFrequency(rig, 4.5 / hz), hz, hz * 3e-3);
        }
    }
}

TEST(EngineLfo, SquareAlternatesBetweenTwoPitchesAtItsRate) {
    EngineRig rig;
    holdTone(rig, 440.0);
    rig.set(kWaveform, 1.0);
    rig.set(kDepth, 1.0);
    rig.set(kLfoRate, 0.5);  // 1 Hz
    rig.settle(1.0);
    const Signal out = rig.render(silence(rig.samples(3.0))).left;
    // Count the crossings in windows of 20 ms: slow stretches at 440/1.5 Hz, fast ones at 880 Hz.
    int slow = 0, fast = 0, windows = 0, turns = 0;
    bool wasFast = false;
    for (size_t from = 0; from + 960 <= out.size(); from += 960, ++windows) {
        const double f = frequencyOf(out, rig.rate, from, from + 960);
        const bool isSlow = std::abs(f - 440.0 / 1.5) < 3.0, isFast = std::abs(f - 880.0) < 3.0;
        slow += isSlow;
        fast += isFast;
        if ((isSlow && wasFast) || (isFast && !wasFast)) ++turns;
        if (isSlow || isFast) wasFast = isFast;
    }
    EXPECT_NEAR(slow, windows / 2, 10);
    EXPECT_NEAR(fast, windows / 2, 10);
    EXPECT_NEAR(turns, 6, 1);  // two a second
}

TEST(EngineLfo, SineSweepsThePitchBothWays) {
    EngineRig rig;
    holdTone(rig, 440.0);
    rig.set(kWaveform, 0.0);
    rig.set(kDepth, 1.0);
    rig.set(kLfoRate, 0.5);
    rig.settle(1.0);
    const Signal out = rig.render(silence(rig.samples(2.0))).left;
    double lowest = HUGE_VAL, highest = 0.0;
    for (size_t from = 0; from + 960 <= out.size(); from += 240) {
        const double f = frequencyOf(out, rig.rate, from, from + 960);
        lowest = std::min(lowest, f);
        highest = std::max(highest, f);
    }
    EXPECT_NEAR(lowest, 440.0 / 1.5, 3.0);
    EXPECT_NEAR(highest, 880.0, 20.0);
}

TEST(EngineEnvelope, BendsTheClockByTheSideChainsLevel) {
    const auto readout = [](double sideLevel, double external, double invert) {
        EngineRig rig;
        rig.set(kWaveform, 0.5);
        rig.set(kDepth, 1.0);
        rig.set(kEnvInvert, invert);
        rig.set(kSideChainIntExt, external);
        rig.engine.reset();
        const Stereo in = silence(rig.samples(1.0));
        const Stereo side = Signal(in.size(), sideLevel);
        rig.render(in, &side);
        return rig.read(kOutDelayReadout) * 28800.0 / 100.0;  // the clock factor
    };
    // Silence leaves the resting offsets; the level law is (e * factor * 0.363082)^0.3.
    EXPECT_NEAR(readout(0.0, 1.0, 0.0), 1.2, 1e-6);
    EXPECT_NEAR(readout(0.0, 1.0, 1.0), 0.5, 1e-6);
    const double factor = 2.7542 / std::pow(10.0, 0.5);  // sensitivity on, reference level 0 dB
    const double halved = (1.0 - std::exp(-2.0 * std::numbers::pi * 5.0 / 48000.0)) /
                          (1.0 - std::exp(-2.0 * std::numbers::pi * 10.0 / 48000.0));
    const double m = std::pow(0.4 * halved * factor * 0.363082, 0.3);
    EXPECT_NEAR(readout(0.4, 1.0, 0.0), 1.2 - m, 1e-6);
    EXPECT_NEAR(readout(0.4, 1.0, 1.0), 0.5 + m, 1e-6);
    EXPECT_NEAR(readout(0.4, 0.0, 0.0), 1.2, 1e-6);  // internal: the side chain is not listened to
}

TEST(EngineSideChain, MonitorHearsTheBlend) {
    EngineRig rig;
    rig.set(kSideChainIntExt, 1.0);
    rig.set(kSideChainMonitor, 1.0);
    rig.engine.reset();
    const Signal main = rig.sine(300.0, 0.2), side = rig.sine(500.0, 0.2);
    const Stereo sides = side;
    EXPECT_LT(largestDifference(rig.render(main, &sides).left, side), 1e-12);
    EXPECT_EQ(rig.read(kOutSideChainConnected), 1.0);
    EXPECT_LT(largestDifference(rig.render(main).left, main), 1e-12);  // no bus: main input
    EXPECT_EQ(rig.read(kOutSideChainConnected), 1e-15);
}

// --- The song's tempo -------------------------------------------------------------------------

// Length in whole notes as the names state it: straight "a/b", "Triplet" 2/3, "Dotted" 3/2.
constexpr const char* kNotesByLength =
    "1/64 Triplet,1/64,1/32 Triplet,1/32,1/16 Triplet,1/32 Dotted,5/96,1/16,7/96,5/64,1/8 Triplet,"
    "1/16 Dotted,5/48,7/64,1/8,9/64,7/48,5/32,1/4 Triplet,1/8 Dotted,5/24,7/32,1/4,9/32,7/24,5/16,"
    "1/2 Triplet,1/4 Dotted,5/12,7/16,1/2,9/16,7/12,5/8,1/1 Triplet,1/2 Dotted,5/6,7/8,1/1,9/8,7/6,"
    "5/4,4/3,1/1 Dotted,5/3,7/4,2/1,9/4,7/3,5/2,8/3,3/1,7/2,4/1,9/2,5/1,6/1,7/1,8/1,9/1,";

std::vector<double> noteLengths() {
    std::vector<double> lengths;
    const std::string all = kNotesByLength;
    for (size_t from = 0, to; (to = all.find(',', from)) != std::string::npos; from = to + 1) {
        const std::string name = all.substr(from, to - from);
        const double upper = std::stod(name), lower = std::stod(name.substr(name.find('/') + 1));
        const double factor = name.ends_with("Triplet")  ? 2.0 / 3.0
                              : name.ends_with("Dotted") ? 1.5
                                                         : 1.0;
        lengths.push_back(upper / lower * factor);
    }
    return lengths;
}

TEST(EngineSync, EveryNoteHasItsLengthAtTheHostsTempo) {
    const auto lengths = noteLengths();
    ASSERT_EQ(lengths.size(), 60u);
    for (const double tempo : {20.0, 97.3, 120.0, 600.0}) {
        EngineRig rig;
        rig.set(kDelayClockMode, 1.0);
        rig.host.giveTempo(tempo);
        for (size_t n = 0; n < lengths.size(); ++n) {
            rig.set(kDelayNote, static_cast<double>(n) / 59.0);
            rig.render(silence(8));
            const double ms = std::min(lengths[n] * 240000.0 / tempo, 9600.0);
            EXPECT_NEAR(rig.read(kOutDelayReadout) * 28800.0, ms, 1e-6) << "note " << n;
        }
    }
}

TEST(EngineSync, EchoesFallOnTheNoteAndFollowTheTempo) {
    EngineRig rig;
    rig.set(kDelayClockMode, 1.0);
    rig.set(kDelayNote, 14.0 / 59.0);  // an eighth
    rig.host.giveTempo(120.0);
    Signal in = rig.pulse(0.01);
    in.resize(rig.samples(0.7), 0.0);
    rig.settle();
    EXPECT_NEAR(peakPosition(rig.render(in).left), rig.samples(0.25 + 0.005), 10);
    rig.host.giveTempo(60.0);
    rig.settle();
    EXPECT_NEAR(peakPosition(rig.render(in).left), rig.samples(0.5 + 0.005), 10);
}

TEST(EngineSync, ManualTempoHoldsWithoutAHostAndWhenEnforced) {
    EngineRig rig;
    const auto tempo = [&] {
        rig.render(silence(16));
        return rig.read(kOutTempo) * 10000.0;
    };
    rig.set(kManualTempo, 0.1);
    EXPECT_NEAR(tempo(), 78.0, 1e-9);
    rig.host.giveTempo(133.0);
    EXPECT_NEAR(tempo(), 133.0, 1e-9);
    rig.set(kEnforceManualTempo, 1.0);
    EXPECT_NEAR(tempo(), 78.0, 1e-9);
    rig.set(kManualTempo, 0.2);
    EXPECT_NEAR(tempo(), 136.0, 1e-9);
    rig.set(kEnforceManualTempo, 0.0);
    EXPECT_NEAR(tempo(), 133.0, 1e-9);
    rig.host.giveTempo(5000.0);
    EXPECT_NEAR(tempo(), 600.0, 1e-9);
    rig.host.giveTempo(std::nan(""));
    EXPECT_TRUE(std::isfinite(tempo()));
}

TEST(EngineSync, TheLfoFollowsItsNoteWithAndWithoutAPosition) {
    const auto lengths = noteLengths();
    for (const size_t n : {7u, 22u, 30u}) {  // 1/16, 1/4, 1/2, counted from the shortest
        EngineRig rig;
        rig.set(kLfoSync, 1.0);
        rig.set(kLfoNote, static_cast<double>(59 - n) / 59.0);
        rig.host.giveTempo(90.0);
        const double hz = 90.0 / (lengths[n] * 240.0);
        EXPECT_NEAR(lampFrequency(rig, 4.0 / hz), hz, hz * 2e-3) << n;
        rig.host.play(5.0);
        EXPECT_NEAR(lampFrequency(rig, 4.0 / hz), hz, hz * 2e-3) << n;
        rig.set(kLfoSync, 0.0);
        rig.set(kLfoRate, 0.75);
        EXPECT_NEAR(lampFrequency(rig, 2.0), std::pow(10.0, 0.5), 0.02);
    }
}

TEST(EngineSync, TheLfosPhaseIsTheSongs) {
    EngineRig rig;
    rig.set(kLfoSync, 1.0);
    rig.set(kLfoNote, 37.0 / 59.0);  // a quarter: one cycle a beat
    rig.host.giveTempo(120.0);
    for (const double offset : {0.0, 0.25}) {
        rig.set(kLfoOffset, offset);
        for (const double beats : {4.0, 4.25, 7.6, -1.75}) {
            rig.host.play(beats);
            rig.blockSize = 1;
            rig.render(silence(1));
            // One frame later the phase is a frame's turn on.
            const double turn = 2.0 * std::numbers::pi * (beats + offset + 120.0 / 60.0 / 48000.0);
            EXPECT_NEAR(rig.read(kOutLfoLamp), std::sin(turn) * 0.5 + 0.5, 1e-9) << beats;

            // After a reset a standing song's position counts again.
            rig.host.now.playing = false;
            rig.host.now.positionBeats = beats;
            rig.render(silence(1));
            rig.engine.reset();
            rig.render(silence(1));
            EXPECT_NEAR(rig.read(kOutLfoLamp), std::sin(turn) * 0.5 + 0.5, 1e-9) << beats;
        }
    }
}

}  // namespace
}  // namespace Quorvant::Test
