// What moves the memory's clock: Manual VCO, LFO and envelope; what follows the song; and what the
// side chain is heard in.
#include "tests/dsp/EngineRig.h"

#include <gtest/gtest.h>

namespace Quorvant::Test {
namespace {

TEST(EngineClock, ManualVcoBendsThePitchOfWhatIsHeldAndNotOfWhatIsPlayed) {
    for (const auto& [manualVco, factor] : {std::pair{0.0, 0.5}, {0.5, 1.0}, {1.0, 1.5}}) {
        EngineRig rig({{kDelayTime, ms(1000.0)}});
        rig.render(rig.sine(440.0, 1.5));
        rig.set(kInfRepeat, 1.0);
        rig.render(rig.sine(440.0, 0.1));
        rig.set(kManualVco, manualVco);
        rig.settle(0.1);
        const Signal held = rig.render(silence(rig.samples(0.3))).left;
        EXPECT_NEAR(frequencyOf(held, rig.rate), 440.0 / factor, 0.1);
        EXPECT_NEAR(rig.clockFactor(1000.0), factor, 1e-9);

        EngineRig played({{kManualVco, manualVco}});
        const Signal tone = played.render(played.sine(440.0, 0.6)).left;
        EXPECT_NEAR(frequencyOf(tone, rig.rate, rig.samples(0.3)), 440.0, 0.05);
    }
}

TEST(EngineLfo, SweepsTheClockByDepthInEveryModeWithX2Doubled) {
    const struct {
        double waveform, depth, lowest, highest;
    } sweeps[] = {{0.0, 1.0, 0.5, 1.5},                  // sine
                  {1.0, 1.0, 0.5, 1.5},                  // square
                  {1.0, 0.5, 0.9019, 1.0981},            // half Depth bends a fifth as far
                  {0.75, 1.0, 0.75 + 0.1, 1.25 + 0.1}};  // half square, half resting envelope
    for (const ProcessingMode mode : kModes) {
        for (const auto& [waveform, depth, lowest, highest] : sweeps) {
            for (const double x2 : {0.0, 1.0}) {
                EngineRig rig({{kProcessingMode, valueOf(mode)},
                               {kWaveform, waveform},
                               {kDepth, depth},
                               {kLfoRate, 1.0},
                               {kDelayX2, x2}});
                Signal factors;
                rig.blockSize = 32;
                rig.afterBlock = [&] { factors.push_back(rig.clockFactor() / (1.0 + x2)); };
                rig.settle(0.3);
                const auto [low, high] = std::minmax_element(factors.begin(), factors.end());
                const std::string name = "mode " + std::to_string(static_cast<int>(mode)) +
                                         ", waveform " + std::to_string(waveform);
                EXPECT_NEAR(*low, lowest, 2e-3) << name;
                EXPECT_NEAR(*high, highest, 2e-3) << name;
                if (waveform < 1.0) continue;
                // A square lies on its two levels, except for its edges.
                const auto between = std::count_if(factors.begin(), factors.end(), [&](double f) {
                    return f > lowest + 2e-3 && f < highest - 2e-3;
                });
                EXPECT_LT(between, static_cast<std::ptrdiff_t>(factors.size() / 20)) << name;
            }
        }
    }
}

TEST(EngineEnvelope, BendsTheClockByTheSideChainsLevel) {
    const double factor = 2.7542 / std::pow(10.0, 0.5);  // sensitivity on, reference level 0 dB
    const double halved = (1.0 - std::exp(-2.0 * std::numbers::pi * 5.0 / 48000.0)) /
                          (1.0 - std::exp(-2.0 * std::numbers::pi * 10.0 / 48000.0));
    const auto bend = [&](double level) {
        return std::pow(level * halved * factor * 0.363082, 0.3);
    };
    const double own = 0.2 * kFilterGain * factor;  // the main input's level, as it is weighed
    const struct {
        const char* name;
        ProcessingMode mode;
        double main, side, external, invert, expected;
    } levels[] = {
        {"silence", ProcessingMode::Clean, 0.0, 0.0, 1.0, 0.0, 1.2},
        {"silence, inverted", ProcessingMode::Clean, 0.0, 0.0, 1.0, 1.0, 0.5},
        {"side chain", ProcessingMode::Clean, 0.0, 0.4, 1.0, 0.0, 1.2 - bend(0.4)},
        {"side chain, inverted", ProcessingMode::Clean, 0.0, 0.4, 1.0, 1.0, 0.5 + bend(0.4)},
        {"side chain by half", ProcessingMode::Clean, 0.0, 0.4, 0.5, 0.0, 1.2 - bend(0.1)},
        {"internal hears no side chain", ProcessingMode::Clean, 0.0, 0.4, 0.0, 0.0, 1.2},
        {"internal", ProcessingMode::Clean, 0.2, 0.0, 0.0, 0.0, 1.2 - bend(std::tanh(own))},
        {"internal, Legacy", ProcessingMode::Legacy, 0.2, 0.0, 0.0, 0.0,
         1.2 - bend(own * (1.0 - 0.25 * 0.363082 * own))},
    };
    for (const auto& [name, mode, main, side, external, invert, expected] : levels) {
        EngineRig rig({{kProcessingMode, valueOf(mode)},
                       {kWaveform, 0.5},
                       {kDepth, 1.0},
                       {kEnvInvert, invert},
                       {kSideChainIntExt, external}});
        const Stereo keys = Signal(48000, side);
        rig.render(Signal(48000, main), &keys);
        EXPECT_NEAR(rig.clockFactor(), expected, 1e-6) << name;
        const double reduction = mode == ProcessingMode::Legacy ? 0.25 * 0.363082 * own : 1e-15;
        EXPECT_NEAR(rig.read(kOutSecondGainReduction), reduction, 1e-9) << name;
    }
}

TEST(EngineSideChain, MonitorHearsTheBlend) {
    EngineRig rig({{kSideChainIntExt, 1.0}, {kSideChainMonitor, 1.0}});
    const Signal main = rig.sine(300.0, 0.2);
    const Stereo side = rig.sine(500.0, 0.2);
    EXPECT_LT(largestDifference(rig.render(main, &side), side), 1e-12);
    EXPECT_EQ(rig.read(kOutSideChainConnected), 1.0);
    EXPECT_LT(largestDifference(rig.render(main).left, main), 1e-12);  // no bus: main input
    EXPECT_EQ(rig.read(kOutSideChainConnected), 1e-15);
}

// --- The song's tempo -------------------------------------------------------------------------

// Frequency of the LFO lamp, seen every 32 frames.
double lampFrequency(EngineRig& rig, double seconds) {
    Signal lamp;
    rig.blockSize = 32;
    rig.afterBlock = [&] { lamp.push_back(rig.read(kOutLfoLamp) - 0.5); };
    rig.render(silence(rig.samples(seconds)));
    rig.afterBlock = {};
    return frequencyOf(lamp, rig.rate / 32.0);
}

TEST(EngineLfo, RunsAtItsRateOrItsNoteWithAndWithoutAPosition) {
    for (const double rate : {44100.0, 192000.0}) {
        for (const double v : {0.25, 1.0}) {
            EngineRig rig({{kLfoRate, v}}, rate);
            EXPECT_NEAR(lampFrequency(rig, 4.5 / lfoRateHz(v)) / lfoRateHz(v), 1.0, 3e-3);
        }
    }
    for (const double note : {0.2, 0.6}) {
        EngineRig rig({{kLfoSync, 1.0}, {kLfoNote, note}});
        for (const double tempo : {90.0, 171.0}) {
            rig.host.now = {};
            rig.host.giveTempo(tempo);
            rig.settle(0.1);
            const double hz = noteHz(lfoNote(note), tempo);
            EXPECT_NEAR(lampFrequency(rig, 4.0 / hz) / hz, 1.0, 2e-3) << note << ' ' << tempo;
            rig.host.play(5.0);
            EXPECT_NEAR(lampFrequency(rig, 4.0 / hz) / hz, 1.0, 2e-3) << note << ' ' << tempo;
        }
        rig.set({{kLfoSync, 0.0}, {kLfoRate, 0.75}});
        EXPECT_NEAR(lampFrequency(rig, 2.0), lfoRateHz(0.75), 0.02);
    }
}

TEST(EngineSync, EchoesFallOnTheNoteAndFollowTheTempo) {
    for (const double note : {0.0, 14.0 / 59.0, 1.0}) {
        EngineRig rig({{kDelayClockMode, 1.0}, {kDelayNote, note}});
        for (const double tempo : {20.0, 120.0, 600.0}) {
            rig.host.giveTempo(tempo);
            rig.settle(0.1);
            const double delay = noteMs(delayNote(note), tempo);
            EXPECT_NEAR(rig.clockFactor(delay), 1.0, 1e-9) << note << " at " << tempo;
            if (delay > 1000.0) continue;
            const Signal in = padded(rig.pulse(0.002), rig.samples(delay / 1000.0 + 0.05));
            rig.settle(delay / 1000.0);
            EXPECT_NEAR(peakPosition(rig.render(in).left), rig.samples(delay / 1000.0 + 0.001), 10);
        }
    }
}

TEST(EngineSync, ManualTempoHoldsWithoutAHostAndWhenEnforced) {
    EngineRig rig({{kManualTempo, 0.1}});
    const auto expectTempo = [&](double bpm) {
        rig.render(silence(16));
        EXPECT_NEAR(rig.read(kOutTempo) * 10000.0, bpm, 1e-9);
    };
    expectTempo(78.0);
    rig.host.giveTempo(133.0);
    expectTempo(133.0);
    rig.set(kEnforceManualTempo, 1.0);
    expectTempo(78.0);
    rig.set(kManualTempo, 0.2);
    expectTempo(136.0);
    rig.set(kEnforceManualTempo, 0.0);
    expectTempo(133.0);
    rig.host.giveTempo(5000.0);
    expectTempo(600.0);
    rig.host.giveTempo(std::nan(""));
    expectTempo(600.0);
}

TEST(EngineSync, TheLfosPhaseIsTheSongs) {
    // A quarter: one cycle a beat.
    EngineRig rig({{kLfoSync, 1.0}, {kLfoNote, 37.0 / 59.0}});
    rig.host.giveTempo(120.0);
    for (const double offset : {0.0, 0.2}) {
        rig.set(kLfoOffset, offset);
        for (const double beats : {4.0, 4.3, 7.6, -1.75}) {
            // One frame later the phase is a frame's turn on.
            const double turn = 2.0 * std::numbers::pi * (beats + offset + 120.0 / 60.0 / 48000.0);
            rig.host.play(beats);
            rig.render(silence(1));
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
