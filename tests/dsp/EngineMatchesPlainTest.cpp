// Runs the engine beside its plain twin through random settings, block sizes and transports, and
// demands the same sound and the same readings.
#include "tests/dsp/EngineRig.h"
#include "tests/dsp/PlainEngine.h"

#include <gtest/gtest.h>

#include <map>
#include <ostream>
#include <sstream>
#include <string>

namespace Quorvant::Test {
namespace {

// Seeds that never return to Legacy in the very chunk in which its stage comes to rest.
constexpr uint64_t kSeeds[] = {1, 3};
constexpr double kTolerance = 1e-9;  // of full scale, or of the peak where that is higher

constexpr double kLegacy = 1.0 / 3.0;

struct Move {
    uint32_t index;
    enum How { Switch, List4, Any } how = Any;
    double low = 0.0, high = 1.0;
};

struct Scenario {
    const char* name;
    double rate;
    std::vector<std::pair<uint32_t, double>> start;  // set once, before the first block
    std::vector<Move> moves;                         // moved at random between blocks
    double seconds = 3.0;
    bool transport = false;  // the host plays, jumps, changes its tempo
    bool sideChain = false;  // comes and goes, mono or stereo
    bool gaps = false;       // stretches of utter silence, some longer than the delay
};

std::ostream& operator<<(std::ostream& out, const Scenario& s) {
    return out << s.name << " at " << s.rate << " Hz";
}

const std::vector<Move> kLevelMoves = {
    {kSensitivity, Move::Switch},
    {kReferenceLevel},
    {kInput, Move::Any, 0.0, 0.8},
    {kOutput, Move::Any, 0.0, 0.8},
    {kMix},
    {kBypass, Move::Switch},
};
const std::vector<Move> kGlobalMoves = {
    {kGlobal, Move::Switch},
    {kGlobalSensitivity, Move::Switch},
    {kGlobalReferenceLevel},
    {kGlobalInput, Move::Any, 0.0, 0.8},
    {kGlobalOutput, Move::Any, 0.0, 0.8},
    {kGlobalMix},
    {kGlobalBypass, Move::Switch},
};
const std::vector<Move> kDelayMoves = {
    {kDelayTime, Move::Any, 0.0, 0.04},
    {kDelayX2, Move::Switch},
    {kDelayInvert, Move::Switch},
    {kDirectionMode, Move::List4},
};
const std::vector<Move> kFeedbackMoves = {
    {kFeedback, Move::Any, 0.0, 0.8},
    {kFeedbackInvert, Move::Switch},
    {kHighCut, Move::Switch},
    {kHighCutCutoff},
};
const std::vector<Move> kModulationMoves = {
    {kManualVco}, {kDepth}, {kEnvInvert, Move::Switch}, {kWaveform}, {kLfoRate},
};
const std::vector<Move> kSyncMoves = {
    {kDelayClockMode, Move::Switch},
    {kDelayNote, Move::Any, 0.0, 0.4},
    {kLfoSync, Move::Switch},
    {kLfoNote},
    {kLfoOffset},
    {kEnforceManualTempo, Move::Switch},
    {kManualTempo},
};
const std::vector<Move> kSideChainMoves = {{kSideChainIntExt}, {kSideChainMonitor, Move::Switch}};
const std::vector<Move> kLoopMoves = {{kInfRepeat, Move::Switch}};
const std::vector<Move> kResetMoves = {{kResetCommand, Move::Switch}};
// The plain engine knows Clean and Legacy only.
const std::vector<Move> kModeMoves = {{kProcess, Move::Switch},
                                      {kProcessingMode, Move::Switch, 0.0, kLegacy}};

std::vector<Move> together(std::initializer_list<std::vector<Move>> lists) {
    std::vector<Move> all;
    for (const auto& list : lists) all.insert(all.end(), list.begin(), list.end());
    return all;
}

std::vector<Scenario> scenarios() {
    const std::vector<Move> everything =
        together({kLevelMoves, kGlobalMoves, kDelayMoves, kFeedbackMoves, kModulationMoves,
                  kSyncMoves, kSideChainMoves, kLoopMoves, kModeMoves, kResetMoves});
    return {
        {"settled defaults", 44100, {}, {}},
        {"settled defaults", 48000, {{kProcessingMode, kLegacy}}, {}},
        {"levels", 48000, {{kDelayTime, 0.01}}, kLevelMoves},
        {"levels, Legacy", 96000, {{kDelayTime, 0.01}, {kProcessingMode, kLegacy}}, kLevelMoves},
        {"global set", 44100, {{kDelayTime, 0.005}}, together({kLevelMoves, kGlobalMoves})},
        {"delay times", 48000, {}, {{kDelayTime, Move::Any, 0.0, 0.04}}},
        {"shortest delays", 48000, {{kFeedback, 0.5}}, {{kDelayTime, Move::Any, 0.0, 0.00002}}},
        {"directions", 44100, {{kFeedback, 0.5}}, kDelayMoves},
        {"directions, Legacy", 192000, {{kProcessingMode, kLegacy}}, kDelayMoves},
        {"backward", 44100, {{kDirectionMode, 1.0 / 3}, {kDelayTime, 0.98}}, {}, 12.0},
        {"reverse, odd span", 48000, {{kDirectionMode, 2.0 / 3}, {kDelayTime, 0.0100001}}, {}},
        {"bounce over the top", 44100, {{kDirectionMode, 1.0}, {kDelayTime, 0.02}}, {}, 11.0},
        {"feedback", 48000, {{kDelayTime, 0.002}}, kFeedbackMoves},
        {"feedback, Legacy",
         88200,
         {{kDelayTime, 0.002}, {kProcessingMode, kLegacy}},
         kFeedbackMoves},
        {"manual clock", 48000, {{kDelayTime, 0.004}}, {{kManualVco}, {kDelayX2, Move::Switch}}},
        {"sine modulation",
         48000,
         {{kDelayTime, 0.004}, {kWaveform, 0.0}, {kDepth, 0.7}},
         {{kLfoRate}, {kDepth}}},
        {"square modulation",
         96000,
         {{kDelayTime, 0.004}, {kWaveform, 1.0}, {kDepth, 1.0}},
         {{kLfoRate}, {kDepth}}},
        {"envelope modulation",
         48000,
         {{kDelayTime, 0.004}, {kWaveform, 0.5}, {kDepth, 1.0}},
         together({kModulationMoves, kLevelMoves})},
        {"envelope modulation, Legacy",
         44100,
         {{kDelayTime, 0.004}, {kWaveform, 0.5}, {kDepth, 1.0}, {kProcessingMode, kLegacy}},
         together({kModulationMoves, kLevelMoves})},
        {"side chain",
         48000,
         {{kDelayTime, 0.004}, {kWaveform, 0.5}, {kDepth, 0.8}},
         kSideChainMoves,
         3.0,
         false,
         true},
        {"sync", 48000, {{kDelayClockMode, 1.0}, {kDelayNote, 0.1}}, kSyncMoves, 3.0, true},
        {"LFO sync",
         44100,
         {{kLfoSync, 1.0}, {kWaveform, 0.1}, {kDepth, 0.8}},
         {{kLfoNote}, {kLfoOffset}},
         3.0,
         true},
        {"loop in time mode",
         48000,
         {{kDelayTime, 0.01}},
         together({kLoopMoves, kDelayMoves, kFeedbackMoves})},
        {"loop in sync",
         44100,
         {{kDelayClockMode, 1.0}, {kDelayNote, 0.05}},
         together({kLoopMoves, kSyncMoves}),
         3.0,
         true},
        {"longest delays",
         44100,
         {{kDelayTime, 1.0}, {kFeedback, 0.7}},
         {{kDelayTime, Move::Any, 0.5, 1.0}, {kDirectionMode, Move::List4}},
         30.0},
        // No feedback here: a clock that bends itself is chaotic, any rounding grows without
        // bounds.
        {"deepest modulation",
         48000,
         {{kDelayTime, 0.004},
          {kSensitivity, 0.0},
          {kReferenceLevel, 0.0},
          {kDepth, 1.0},
          {kFeedback, 0.0}},
         {{kWaveform}, {kEnvInvert, Move::Switch}, {kReferenceLevel, Move::Any, 0.0, 0.3}}},
        {"gaps",
         48000,
         {{kDelayTime, 0.004}, {kFeedback, 0.02}},
         {{kDelayTime, Move::Any, 0.0, 0.02},
          {kDirectionMode, Move::List4},
          {kInfRepeat, Move::Switch},
          {kMix}},
         30.0,
         false,
         false,
         true},
        {"gaps, every clock",
         44100,
         {{kDelayTime, 0.01}},
         together({kModulationMoves,
                   {{kDirectionMode, Move::Switch, 2.0 / 3, 1.0}, {kDelayX2, Move::Switch}}}),
         8.0,
         false,
         true,
         true},
        {"gaps, Legacy",
         48000,
         {{kDelayTime, 0.002}, {kFeedback, 0.6}, {kProcessingMode, kLegacy}},
         {{kSensitivity, Move::Switch}, {kManualVco}},
         8.0,
         false,
         false,
         true},
        {"resets", 48000, {{kDelayTime, 0.004}}, together({kResetMoves, kDelayMoves, kLoopMoves})},
        {"modes", 48000, {{kDelayTime, 0.004}}, kModeMoves},
        {"everything", 44100, {{kDelayTime, 0.01}}, everything, 6.0, true, true},
        {"everything", 48000, {{kDelayTime, 0.01}}, everything, 6.0, true, true},
        {"everything", 96000, {{kDelayTime, 0.01}}, everything, 4.0, true, true},
        {"everything", 192000, {{kDelayTime, 0.01}}, everything, 2.0, true, true},
        {"everything", 384000, {{kDelayTime, 0.01}}, everything, 1.0, true, true},
    };
}

// The engine and its twin, told the same.
class Twins {
  public:
    Twins(const Scenario& scenario, uint64_t seed) : play(scenario), dice(seed) {
        plain.setSampleRate(play.rate);
        engine.setSampleRate(play.rate);
        for (const auto& [index, value] : play.start) set(index, value);
        if (play.transport) host.giveTempo(120.0);
    }

    void run() {
        const auto total = static_cast<int64_t>(play.seconds * play.rate);
        for (int64_t done = 0; done < total && !::testing::Test::HasFailure(); ++block) {
            moveParameters();
            moveTransport();
            done += renderBlock();
            compareReadings();
        }
    }

  private:
    void set(uint32_t index, double value) {
        plain.setParameter(index, value);
        engine.setParameter(index, value);
        lastSet[index] = value;
    }

    void moveParameters() {
        if (play.moves.empty() || !dice.chance(inGap ? 0.01 : 0.08)) return;
        for (int n = 1 + dice.below(3); n > 0; --n) {
            const Move& move =
                play.moves[static_cast<size_t>(dice.below(static_cast<int>(play.moves.size())))];
            double value = dice.between(move.low, move.high);
            if (move.how == Move::Switch) value = dice.below(2) ? move.high : move.low;
            if (move.how == Move::List4) value = dice.below(4) / 3.0;
            set(move.index, value);
        }
    }

    void moveTransport() {
        if (!play.transport || !dice.chance(0.03)) return;
        switch (dice.below(5)) {
            case 0:
                host.giveTempo(dice.between(40.0, 300.0));
                break;
            case 1:
                host.play(dice.between(-3.0, 300.0));
                break;
            case 2:
                host.now.playing = !host.now.playing;
                break;
            case 3:
                host.now.positionValid = !host.now.positionValid;
                break;
            default:
                host.now.tempoValid = !host.now.tempoValid;
        }
    }

    // Noise in bursts, smoothed now and then, so that loud, soft and silent stretches occur.
    double sample(size_t channel) {
        if (inGap) return 0.0;
        double& state = signalState[channel];
        state += signalColour * (loudness * dice.between(-1.0, 1.0) - state);
        return state;
    }

    int32_t renderBlock() {
        if (dice.chance(0.02)) loudness = dice.chance(0.3) ? 0.0 : dice.unit();
        if (play.gaps && dice.chance(0.01)) inGap = !inGap;
        if (dice.chance(0.02)) signalColour = dice.chance(0.5) ? 1.0 : dice.between(0.01, 0.5);
        if (play.sideChain && dice.chance(0.05)) sideChannels = dice.below(3);

        const int32_t frames = dice.chance(0.1) ? 1 + dice.below(1500) : 1 + dice.below(300);
        const auto count = static_cast<size_t>(frames);
        std::array<Signal, 4> in;
        for (size_t c = 0; c < 4; ++c) {
            in[c].resize(count);
            for (double& x : in[c]) x = sample(c);
        }
        const double* ins[4] = {in[0].data(), in[1].data(),
                                sideChannels > 0 ? in[2].data() : nullptr,
                                sideChannels > 1 ? in[3].data() : nullptr};
        std::array<Signal, 2> expected{Signal(count), Signal(count)}, got = expected;
        double* expectedPointers[2] = {expected[0].data(), expected[1].data()};
        double* gotPointers[2] = {got[0].data(), got[1].data()};
        plain.process64(ins, expectedPointers, frames);
        engine.process64(ins, gotPointers, frames);
        host.advance(frames, play.rate);

        for (size_t c = 0; c < 2; ++c) {
            for (size_t i = 0; i < count; ++i) {
                highest = std::max(highest, std::abs(expected[c][i]));
                const double error = std::abs(got[c][i] - expected[c][i]);
                if (!(error <= kTolerance * highest)) {
                    ADD_FAILURE() << "channel " << c << ", frame " << i << " of " << frames
                                  << ": got " << got[c][i] << ", expected " << expected[c][i]
                                  << ", off by " << error << where();
                    return frames;
                }
            }
        }
        return frames;
    }

    void compareReadings() {
        if (dice.chance(0.5)) return;  // some peaks and flags stay unread for a while
        for (uint32_t index = 42; index <= 114; ++index) {
            if (index == kOutProcessingActivity) continue;  // depends on the clock on the wall
            double expected = -1.0, got = -1.0;
            const bool expectedHas = plain.getOutputValue(index, expected);
            const bool gotHas = engine.getOutputValue(index, got);
            ASSERT_EQ(expectedHas, gotHas) << "reading " << index << where();
            if (expectedHas) {
                ASSERT_NEAR(expected, got, kTolerance) << "reading " << index << where();
            }
        }
    }

    std::string where() const {
        std::ostringstream text;
        text << "\n  in block " << block << " of " << play << "; parameters:";
        for (const auto& [index, value] : lastSet) text << ' ' << index << '=' << value;
        text << "\n  host: tempo " << host.now.tempoValid << ' ' << host.now.tempoBpm
             << ", position " << host.now.positionValid << ' ' << host.now.positionBeats
             << ", playing " << host.now.playing;
        return text.str();
    }

    const Scenario& play;
    Dice dice;
    FakeHost host;
    PlainEngine plain{host};
    QVXCorvane77x_v2Effect engine{host};
    std::map<uint32_t, double> lastSet;
    std::array<double, 4> signalState{};
    bool inGap = false;
    double loudness = 0.5, signalColour = 1.0, highest = 1.0;
    int sideChannels = 0, block = 0;
};

class EngineMatchesPlain : public ::testing::TestWithParam<Scenario> {};

TEST_P(EngineMatchesPlain, InSoundAndReadings) {
    for (const uint64_t seed : kSeeds) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Twins(GetParam(), seed).run();
    }
}

INSTANTIATE_TEST_SUITE_P(Settings, EngineMatchesPlain, ::testing::ValuesIn(scenarios()));

}  // namespace
}  // namespace Quorvant::Test
