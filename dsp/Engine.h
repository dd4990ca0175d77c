// The delay engine: one instance's whole sound, behind the fifteen operations of QVXEffect.
#pragma once

#include "dsp/ControlSmoother.h"
#include "dsp/Converter.h"
#include "dsp/DelayMemory.h"
#include "dsp/Effect.h"
#include "dsp/Envelope.h"
#include "dsp/HighCut.h"
#include "dsp/HostLink.h"
#include "dsp/InputFilter.h"
#include "dsp/LegacyStage.h"
#include "dsp/Lfo.h"
#include "dsp/Limiter.h"
#include "dsp/MemoryClock.h"
#include "dsp/RepeatCounter.h"
#include "params/GlobalSet.h"
#include "params/ParameterIndex.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

namespace Quorvant {

// Ready to process when constructed, at 44100 Hz and with every parameter at its default. Threads
// and ranges are those of QVXEffect.
class QVXCorvane77x_v2Effect final : public QVXEffect {
  public:
    // `link` must outlive the engine.
    explicit QVXCorvane77x_v2Effect(const QVXHostLink& link);
    ~QVXCorvane77x_v2Effect() override;

    void process32(const float* const* in, float* const* out, int32_t frames) override;
    void process64(const double* const* in, double* const* out, int32_t frames) override;
    void processSuspended32(const float* const* in, float* const* out, int32_t frames) override;
    void processSuspended64(const double* const* in, double* const* out, int32_t frames) override;
    int32_t getLatency() override { return 0; }
    int32_t getTail() override;
    bool setSampleRate(double rate) override;
    void reset() override;
    bool supports32() override { return true; }
    bool supports64() override { return true; }
    void setParameter(uint32_t index, double value) override;
    bool getOutputValue(uint32_t index, double& value) override;

    // Off: everything goes the general way, without the short cuts for what rests or is silent. It
    // sounds the same, but for rounding, and tests compare the two. On at first.
    void takeShortCuts(bool on) { shortCuts = on; }

  private:
    static constexpr int kChunk = 64;  // frames rendered at a time

    static constexpr int kSplineReach = 4;  // pairs that a spline looks at
    static constexpr double kLowestClockFactor = 1.0 / 16.0, kHighestClockFactor = 16.0;
    static constexpr int kMostTicks = 17;  // of the memory in a frame; rounding may add one

    // One chunk's signals on their way through the engine. `controls` holds one entry for the whole
    // chunk while nothing moves, else one a frame; gains are linear.
    struct ControlFrame {
        double inputGain, dryGain, wetGain, process, notBypassed, monitor, external, feedback;
        double regeneration, waveform, depth, legacy, limits, converts, ceiling, coupling;
        double levelFactor, highCutPole, vco, x2, doubledFilter;
    };
    // The stages around the memory that a chunk runs through; All while modes are being crossfaded.
    enum class Stages { Light, Legacy, Lims, Full, All };
    static constexpr bool weighs(Stages s) { return s == Stages::Legacy || s == Stages::All; }
    static constexpr bool limits(Stages s) { return s >= Stages::Lims; }
    static constexpr bool converts(Stages s) { return s >= Stages::Full; }
    // How the memory's clock runs through a chunk: one tick a sample, at a steady other rate, bent
    // by the LFO, by the envelope (and the LFO), or by all that while controls move.
    enum class Clocking { Unison, Steady, Lfo, Envelope, Moving };
    static constexpr bool followsEnvelope(Clocking c) { return c >= Clocking::Envelope; }
    struct Chunk {
        int frames = 0;
        int ticks = 0;           // of the memory
        bool nothingIn = false;  // and nothing left of what came in
        bool moving = false;     // controls
        bool silent = false;
        Stages stages = Stages::Light;
        Clocking clocking = Clocking::Steady;
        std::array<ControlFrame, kChunk> controls;
        std::array<Pair, kChunk> input;      // main input as the host gave it
        std::array<Pair, kChunk> side;       // side-chain input, later its blend with processed
        std::array<Pair, kChunk> dry;        // input times gain
        std::array<Pair, kChunk> processed;  // filtered, later with feedback and level stage
        std::array<Pair, kChunk> delayed;
        const Pair* sideChain = nullptr;  // that blend
        std::array<Pair, kChunk> output;
        std::array<double, kChunk> lfo;           // the modulation term before Depth
        std::array<double, kChunk> factor, step;  // of the clock, while the LFO alone bends it
        const ControlFrame& control(int frame) const { return controls[moving ? frame : 0]; }
    };

    template <typename Sample>
    void processBlock(const Sample* const* in, Sample* const* out, int32_t frames, bool suspended);
    void beginBlock(bool sideChainPresent);
    void followHost();
    int countRepeats(int frames);
    void beginRepeat();

    void renderChunk(Chunk& chunk);
    bool hasForgotten() const;
    void passSilence(Chunk& chunk);
    void noteSilence(const Chunk& chunk);
    void noteHeadroom();
    void fillControls(Chunk& chunk);
    void filterInput(Chunk& chunk);
    void convertSideChain(Chunk& chunk);
    void runLfo(Chunk& chunk);
    void bendClock(Chunk& chunk) const;
    double bentFactor(const ControlFrame& control, double lfoTerm, bool inverted,
                      double root) const;
    static Pair regeneratingGain(Pair loopLevel, const ControlFrame& control);
    void runMemory(Chunk& chunk);
    void clearIdleStages();
    template <Stages kStages>
    void runMemoryThrough(Chunk& chunk);
    template <Stages kStages, Clocking kClocking, typename Memory>
    void runMemory(Memory cells, Chunk& chunk);
    double envelopeInput(Pair processed, Pair side, const ControlFrame& control) const;
    void measure(Chunk& chunk);
    void followLevels(const Chunk& chunk);
    void mixOutput(Chunk& chunk);
    void crossfadeSuspension(Chunk& chunk, bool towardsInput);

    void applyLevels();
    void applyVco();
    void applyHighCut();
    void applyFeedback();
    void applyLfoRate();
    void applyDelayTime();
    void setTempo(double bpm);
    void setInfRepeat(bool on);
    void setLoop(bool on);
    Clocking clockingOf(const Chunk& chunk) const;
    DirectionMode direction() const;
    double value(ParameterIndex index) const { return values[index]; }
    bool isOn(ParameterIndex index) const { return switchState(values[index]); }

    const QVXHostLink& hostLink;
    bool shortCuts = true;
    std::array<double, kSuspend + 1> values{};  // normalised, as received

    double sampleRate = 44100.0;
    int sampleRateInt = 44100;

    // Derived from the parameters.
    Levels levels;
    ProcessingMode mode = ProcessingMode::Clean;
    double delayMs = 0.0;
    double lfoHz = 1.0;
    double restingClockFactor = 1.0;  // without modulation
    double clockFactor = 1.0;         // of the last sample, modulation included
    double tempoBpm = 120.0;
    bool infRepeat = false;

    // Signal path.
    ControlSmoother controls;
    InputFilter inputFilter, doubledInputFilter;  // the latter with Delay X2
    LegacyStage legacyStage;
    Limiter inputLimiter, outputLimiter, sideChainLimiter;
    AdConverter adConverter, sideChainAdConverter;
    DaConverter daConverter;
    CouplingCapacitor coupling;
    EnvelopeFollower envelope;
    Lfo lfo;
    MemoryClock clock;
    std::vector<Pair> memoryCells;
    DelayMemory memory;
    std::array<Pair, kSplineReach> recordedBefore{}, playedBefore{};
    HighCut highCut;
    Pair feedbackSignal{};
    int quietTicks = 0;  // since anything was recorded

    // Loop and activity. A synced loop engages later than infRepeat is switched on.
    RepeatCounter repeats;
    bool loopEngaged = false, loopLamp = false;

    // Suspension: 0 sounding, 1 suspended.
    double suspension = 0.0, suspensionStep = 0.0;

    // Host.
    bool hostSynced = false;
    std::optional<double> lastHostPosition;

    // Readings.
    bool sideChainConnected = false;
    Pair sideChainPeak{};
    Pair processedPeak{};  // of the chunk, in front of the limiter
    double headroomPeak = 0.0, headroomOffset = 1e-06;
    bool headroomRead = false;
    uint32_t processCalls = 0, processCallsSeen = 0;
    std::chrono::steady_clock::time_point processSeenAt{};
};

}  // namespace Quorvant
