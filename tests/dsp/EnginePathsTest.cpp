// Runs the engine beside two others that are told the same: one that takes no short cuts, and one
// that gets the same sound in blocks of other sizes. All must play the same.
#include "tests/dsp/EngineRig.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

namespace Quorvant::Test {
namespace {

constexpr double kTolerance = 1e-9;  // of full scale, or of the peak where that is higher

struct Move {
    uint32_t index;
    int states = 0;  // of a list, or 0 for any value between
    double low = 0.0, high = 1.0;
};
using Moves = std::vector<Move>;

enum Extras {
    None = 0,
    Transport = 1,  // the host plays, jumps, changes its tempo
    SideChain = 2,  // comes and goes, mono or stereo
    Gaps = 4,       // stretches of utter silence, some longer than the delay
};

struct Scenario {
    const char* name;
    double rate;
    ProcessingMode mode;
    Settings start;  // set once, before the first block
    Moves moves;     // moved at random between blocks
    double seconds = 3.0;
    int extras = None;
};

std::ostream& operator<<(std::ostream& out, const Scenario& s) {
    return out << s.name << " at " << s.rate << " Hz";
}

const Moves kLevelMoves = {{kSensitivity, 2},
                           {kReferenceLevel},
                           {kInput, 0, 0.0, 0.8},
                           {kOutput, 0, 0.0, 0.8},
                           {kMix},
                           {kBypass, 2},
                           {kGlobal, 2},
                           {kGlobalReferenceLevel},
                           {kGlobalInput, 0, 0.0, 0.8},
                           {kGlobalMix}};
const Moves kDelayMoves = {
    {kDelayTime, 0, 0.0, 0.04}, {kDelayX2, 2}, {kDelayInvert, 2}, {kDirectionMode, 4}};
const Moves kFeedbackMoves = {
    {kFeedback, 0, 0.0, 0.8}, {kFeedbackInvert, 2}, {kHighCut, 2}, {kHighCutCutoff}};
const Moves kModulationMoves = {{kManualVco}, {kDepth},   {kEnvInvert, 2},
                                {kWaveform},  {kLfoRate}, {kDelayX2, 2}};
const Moves kSyncMoves = {
    {kDelayClockMode, 2}, {kDelayNote, 0, 0.0, 0.4}, {kLfoSync, 2}, {kLfoNote},
    {kLfoOffset},         {kEnforceManualTempo, 2},  {kManualTempo}};
const Moves kSideChainMoves = {{kSideChainIntExt}, {kSideChainMonitor, 2}};
const Moves kLoopMoves = {{kInfRepeat, 2}};
const Moves kResetMoves = {{kResetCommand, 2}};
const Moves kModeMoves = {{kProcess, 2}, {kProcessingMode, 4}};
// The steps of Full's converters turn the rounding of a bent clock into differences of a whole
// step.
const Moves kSteplessModeMoves = {{kProcess, 2}, {kProcessingMode, 3, 0.0, 2.0 / 3}};

Moves together(std::initializer_list<Moves> lists) {
    Moves all;
    for (const auto& list : lists) all.insert(all.end(), list.begin(), list.end());
    return all;
}

std::vector<Scenario> scenarios() {
    using enum ProcessingMode;
    const Moves everything =
        together({kLevelMoves, kDelayMoves, kFeedbackMoves, kModulationMoves, kSyncMoves,
                  kSideChainMoves, kLoopMoves, kSteplessModeMoves, kResetMoves});
    const Moves bends = together({kModulationMoves, kLevelMoves});
    const Moves sweeps = {{kLfoRate}, {kDepth}, {kDelayX2, 2}};
    const Moves courses = {{kDelayTime, 0, 0.5, 1.0}, {kDirectionMode, 4}};
    const Moves quiet = {{kDelayTime, 0, 0.0, 0.02}, {kDirectionMode, 4}, {kInfRepeat, 2}, {kMix}};
    const auto bent = [](double waveform) {
        return Settings{{kDelayTime, 0.004}, {kWaveform, waveform}, {kDepth, 0.8}};
    };
    const Settings shortest = {{kDelayTime, 0.002}}, brief = {{kDelayTime, 0.01}};
    const Settings synced = {{kDelayClockMode, 1.0}, {kDelayNote, 0.05}, {kFeedback, 0.5}};
    return {
        {"levels", 96000, Legacy, {}, kLevelMoves},
        {"levels", 48000, Lims, {}, kLevelMoves},
        {"levels", 44100, Full, {}, kLevelMoves},
        {"no delay", 48000, Clean, {{kFeedback, 0.5}}, {{kDelayTime, 0, 0.0, 0.00002}}},
        {"directions", 44100, Clean, {}, together({kDelayMoves, kLoopMoves, kFeedbackMoves}), 12.0},
        {"directions", 48000, Full, {}, kDelayMoves, 12.0},
        {"the longest", 44100, Clean, {{kDelayTime, 1.0}, {kFeedback, 0.7}}, courses, 30.0},
        {"unity", 48000, Lims, shortest, {{kFeedback, 0, 0.9, 1.0}, {kReferenceLevel}}},
        {"steady clock", 48000, Clean, {{kDelayTime, 0.004}}, {{kManualVco}, {kDelayX2, 2}}},
        {"sine", 48000, Clean, bent(0.0), sweeps},
        {"sine", 96000, Legacy, bent(0.0), sweeps},
        {"sine", 44100, Lims, bent(0.0), sweeps},
        {"square", 96000, Clean, bent(1.0), sweeps},
        {"envelope", 48000, Clean, bent(0.5), bends},
        {"envelope", 44100, Legacy, bent(0.5), bends},
        {"side chain", 48000, Lims, bent(0.5), kSideChainMoves, 3.0, SideChain},
        {"sync", 44100, Clean, synced, together({kLoopMoves, kSyncMoves}), 6.0, Transport},
        {"loop by its own counter", 48000, Clean, synced, kLoopMoves, 6.0},
        {"gaps", 48000, Clean, {{kDelayTime, 0.004}, {kFeedback, 0.02}}, quiet, 30.0, Gaps},
        {"gaps, every clock", 44100, Clean, brief, kModulationMoves, 8.0, SideChain | Gaps},
        {"gaps, shortest", 48000, Lims, shortest, {{kSensitivity, 2}, {kManualVco}}, 8.0, Gaps},
        {"modes", 48000, Clean, shortest, together({kModeMoves, kResetMoves})},
        {"everything", 44100, Clean, brief, everything, 6.0, Transport | SideChain},
        {"everything", 96000, Clean, brief, everything, 4.0, SideChain},
        {"everything", 384000, Clean, brief, everything, 1.0, SideChain},
    };
}

// The three engines, told the same.
class Company {
  public:
    Company(const Scenario& scenario, uint64_t seed) : play(scenario), dice(seed) {
        general.takeShortCuts(false);
        for (auto* each : {&engine, &general, &chopped}) each->setSampleRate(play.rate);
        set(kProcessingMode, valueOf(play.mode));
        for (const auto& [index, value] : play.start) set(index, value);
        if (play.extras & Transport) host.giveTempo(120.0);
    }

    void run() {
        const auto total = static_cast<int64_t>(play.seconds * play.rate);
        for (int64_t done = 0; done < total && !::testing::Test::HasFailure(); ++block) {
            moveParameters();
            moveTransport();
            done += renderBlock();
            compareReadings();
        }
        EXPECT_LT(highest, 100.0);  // nothing runs away
    }

  private:
    void set(uint32_t index, double value) {
        for (auto* each : {&engine, &general, &chopped}) each->setParameter(index, value);
    }

    void moveParameters() {
        if (play.moves.empty() || !dice.chance(inGap ? 0.01 : 0.08)) return;
        for (int n = 1 + dice.below(3); n > 0; --n) {
            const auto& [index, states, low, high] = dice.of(play.moves);
            const double where = states ? listValue(dice.below(states), states) : dice.unit();
            set(index, low + (high - low) * where);
        }
    }

    void moveTransport() {
        if (!(play.extras & Transport) || !dice.chance(0.03)) return;
        const double die = dice.unit();
        if (die < 0.2) return host.giveTempo(dice.between(40.0, 300.0));
        if (die < 0.4) return host.play(dice.between(-3.0, 300.0));
        HostTransport& now = host.now;
        bool* const flags[] = {&now.playing, &now.positionValid, &now.tempoValid};
        bool& flag = *dice.of(flags);
        flag = !flag;
    }

    // Noise in bursts, smoothed now and then, so that loud, soft and silent stretches occur.
    double sample(int channel) {
        if (inGap) return 0.0;
        double& state = signalState[static_cast<size_t>(channel)];
        state += signalColour * (loudness * dice.between(-1.0, 1.0) - state);
        return state;
    }

    int32_t renderBlock() {
        if (dice.chance(0.02)) loudness = dice.chance(0.3) ? 0.0 : dice.unit();
        if ((play.extras & Gaps) && dice.chance(0.01)) inGap = !inGap;
        if (dice.chance(0.02)) signalColour = dice.chance(0.5) ? 1.0 : dice.between(0.01, 0.5);
        if ((play.extras & SideChain) && dice.chance(0.05)) sideChannels = dice.below(3);

        const int32_t frames = dice.chance(0.1) ? 1 + dice.below(1500) : 1 + dice.below(300);
        Stereo main = silence(static_cast<size_t>(frames)), side = main;
        for (int channel = 0; channel < 4; ++channel) {
            Stereo& stereo = channel < 2 ? main : side;
            for (double& x : channel % 2 ? stereo.right : stereo.left) x = sample(channel);
        }
        const auto renderPart = [&](QVXCorvane77x_v2Effect& by, const Stereo& from, Stereo& to,
                                    int at, int n) {
            const double* ins[4] = {&from.left[at], &from.right[at],
                                    sideChannels > 0 ? &side.left[at] : nullptr,
                                    sideChannels > 1 ? &side.right[at] : nullptr};
            double* outs[2] = {&to.left[at], &to.right[at]};
            by.process64(ins, outs, n);
        };
        Stereo got = main, byGeneral = main, byChopped = main;
        renderPart(engine, main, got, 0, frames);
        renderPart(general, main, byGeneral, 0, frames);
        for (int at = 0, n = 0; at < frames; at += n) {
            n = std::min(frames - at, dice.chance(0.3) ? 1 : 1 + dice.below(200));
            renderPart(chopped, byChopped, byChopped, at, n);
        }
        host.advance(frames, play.rate);

        highest = std::max({highest, peak(got.left), peak(got.right)});
        EXPECT_LE(largestDifference(got, byGeneral), kTolerance * highest) << "without short cuts"
                                                                           << " in block " << block;
        // A song's position is taken where a block begins, and rounded to frames.
        if (play.extras & Transport) return frames;
        EXPECT_LE(largestDifference(got, byChopped), kTolerance * highest)
            << "in other blocks, in place"
            << " in block " << block;
        return frames;
    }

    void compareReadings() {
        if (dice.chance(0.5)) return;  // some peaks and flags stay unread for a while
        for (uint32_t index = 42; index <= 114; ++index) {
            if (index == kOutProcessingActivity) continue;  // depends on the clock on the wall
            double expected = -1.0, got = -1.0;
            ASSERT_EQ(general.getOutputValue(index, expected), engine.getOutputValue(index, got));
            ASSERT_NEAR(expected, got, kTolerance) << "reading " << index << " in block " << block;
        }
    }

    const Scenario& play;
    Dice dice;
    FakeHost host;
    QVXCorvane77x_v2Effect engine{host}, general{host}, chopped{host};
    std::array<double, 4> signalState{};
    bool inGap = false;
    double loudness = 0.5, signalColour = 1.0, highest = 1.0;
    int sideChannels = 0, block = 0;
};

class EnginePaths : public ::testing::TestWithParam<Scenario> {};

TEST_P(EnginePaths, PlayTheSame) {
    for (const uint64_t seed : {1, 3}) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Company(GetParam(), seed).run();
    }
}

INSTANTIATE_TEST_SUITE_P(Settings, EnginePaths, ::testing::ValuesIn(scenarios()));

}  // namespace
}  // namespace Quorvant::Test
