// What moves the memory's clock: Manual VCO, LFO and envelope; what follows the song; and what the
// side chain is heard in.
#include "tests/dsp/EngineRig.h"

#include <gtest/gtest.h>

namespace Quorvant::Test {
namespace {

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
                double low = 99.0, high = 0.0;
                rig.blockSize = 32;
                rig.afterBlock = [&] {
                    low = std::min(low, rig.clockFactor() / (1.0 + x2));
                    high = std::max(high, rig.clockFactor() / (1.0 + x2));
                };
                rig.settle(0.3);
                EXPECT_NEAR(low, lowest, 2e-3) << static_cast<int>(mode) << ' ' << waveform;
                EXPECT_NEAR(high, highest, 2e-3) << static_cast<int>(mode) << ' ' << waveform;
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
    const double reduction = 0.25 * 0.363082 * own;
    using enum ProcessingMode;
    const struct {
        const char* name;
        ProcessingMode mode;
        double main, side, external, invert, expected;
    } levels[] = {
        {"silence", Clean, 0.0, 0.0, 1.0, 0.0, 1.2},
        {"silence, inverted", Clean, 0.0, 0.0, 1.0, 1.0, 0.5},
        {"side chain", Clean, 0.0, 0.4, 1.0, 0.0, 1.2 - bend(0.4)},
        {"side chain, inverted", Clean, 0.0, 0.4, 1.0, 1.0, 0.5 + bend(0.4)},
        {"side chain by half", Clean, 0.0, 0.4, 0.5, 0.0, 1.2 - bend(0.1)},
        {"internal hears no side chain", Clean, 0.0, 0.4, 0.0, 0.0, 1.2},
        {"internal", Clean, 0.2, 0.0, 0.0, 0.0, 1.2 - bend(std::tanh(own))},
        {"internal", Legacy, 0.2, 0.0, 0.0, 0.0, 1.2 - bend(own * (1.0 - reduction))},
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
        EXPECT_NEAR(rig.read(kOutSecondGainReduction), mode == Legacy ? reduction : 1e-15, 1e-9);
    }
}

// --- The song's tempo -------------------------------------------------------------------------

// Of the LFO lamp, in Hz; `seconds` take two cycles or more.
double lampFrequency(EngineRig& rig, double seconds) {
    std::vector<size_t> rises;
    size_t frame = 0;
    double before = 1.0;
    rig.blockSize = 4;
    rig.afterBlock = [&] {
        const double lamp = rig.read(kOutLfoLamp);
        if (before < 0.5 && lamp >= 0.5) rises.push_back(frame);
        before = lamp;
        frame += 4;
    };
    rig.settle(seconds);
    rig.afterBlock = {};
    return (rises.size() - 1.0) * rig.rate / static_cast<double>(rises.back() - rises.front());
}

TEST(EngineLfo, RunsAtItsRateOrItsNoteWithAndWithoutAPosition) {
    for (const auto& [rate, v] : {std::pair{44100.0, 0.25}, {48000.0, 1.0}, {192000.0, 1.0}}) {
        EngineRig rig({{kLfoRate, v}}, rate);
        EXPECT_NEAR(lampFrequency(rig, 4.5 / lfoRateHz(v)) / lfoRateHz(v), 1.0, 3e-3);
    }
    for (const double note : {0.2, 0.6}) {
        EngineRig rig({{kLfoSync, 1.0}, {kLfoNote, note}, {kLfoRate, 0.75}});
        for (const double tempo : {90.0, 171.0}) {
            rig.host.now = {};
            rig.host.giveTempo(tempo);
            rig.settle(0.1);
            const double hz = noteHz(lfoNote(note), tempo);
            EXPECT_NEAR(lampFrequency(rig, 4.5 / hz) / hz, 1.0, 3e-3) << note << ' ' << tempo;
            rig.host.play(5.0);
            EXPECT_NEAR(lampFrequency(rig, 4.5 / hz) / hz, 1.0, 3e-3) << note << ' ' << tempo;
        }
        rig.set(kLfoSync, 0.0);
        EXPECT_NEAR(lampFrequency(rig, 2.0), lfoRateHz(0.75), 0.02);
    }
}

TEST(EngineSync, TheDelayIsTheNoteAtTheTempo) {
    for (const double note : {0.0, 14.0 / 59.0, 1.0}) {
        EngineRig rig({{kDelayClockMode, 1.0}, {kDelayNote, note}});
        for (const double tempo : {20.0, 120.0, 600.0}) {
            rig.host.giveTempo(tempo);
            rig.settle(0.1);
            EXPECT_NEAR(rig.clockFactor(noteMs(delayNote(note), tempo)), 1.0, 1e-9) << tempo;
        }
    }
}

TEST(EngineSync, ManualTempoHoldsWithoutAHostAndWhenEnforced) {
    EngineRig rig({{kManualTempo, 0.1}});
    const double none = 0.0;
    const struct {
        double hosts, manual, enforced, inForce;  // BPM, but for the two parameters
    } steps[] = {
        {none, 0.1, 0.0, 78.0},          {133.0, 0.1, 0.0, 133.0}, {133.0, 0.1, 1.0, 78.0},
        {133.0, 0.2, 1.0, 136.0},        {133.0, 0.2, 0.0, 133.0}, {5000.0, 0.2, 0.0, 600.0},
        {std::nan(""), 0.2, 0.0, 136.0},
    };
    for (const auto& [hosts, manual, enforced, inForce] : steps) {
        if (hosts != none) rig.host.giveTempo(hosts);
        rig.set({{kManualTempo, manual}, {kEnforceManualTempo, enforced}});
        rig.render(silence(16));
        EXPECT_NEAR(rig.read(kOutTempo) * 10000.0, inForce, 1e-9);
    }
}

TEST(EngineSync, TheLfosPhaseIsTheSongs) {
    // A quarter: one cycle a beat.
    EngineRig rig({{kLfoSync, 1.0}, {kLfoNote, 37.0 / 59.0}});
    rig.host.giveTempo(120.0);
    for (const double offset : {0.0, 0.2}) {
        rig.set(kLfoOffset, offset);
        for (const double beats : {4.0, 4.3, 7.6, -1.75}) {
            // After a reset a standing song's position counts again.
            for (const bool standing : {false, true}) {
                rig.host.play(beats);
                rig.host.now.playing = !standing;
                if (standing) rig.engine.reset();
                rig.render(silence(1));
                // One frame later the phase is a frame's turn on.
                const double turns = beats + offset + 120.0 / 60.0 / 48000.0;
                const double lamp = std::sin(2.0 * std::numbers::pi * turns) * 0.5 + 0.5;
                EXPECT_NEAR(rig.read(kOutLfoLamp), lamp, 1e-9) << beats << standing;
            }
        }
    }
}

}  // namespace
}  // namespace Quorvant::Test
