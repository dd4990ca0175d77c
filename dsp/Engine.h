// The delay engine: one instance's whole sound, behind the fifteen operations of QVXEffect.
#pragma once

#include "dsp/Chunk.h"
#include "dsp/ControlSmoother.h"
#include "dsp/Converter.h"
#include "dsp/Effect.h"
#include "dsp/HostLink.h"
#include "dsp/InputFilter.h"
#include "dsp/Limiter.h"
#include "dsp/MemoryPath.h"
#include "dsp/ParameterValues.h"
#include "dsp/SongFollower.h"
#include "params/GlobalSet.h"

#include <chrono>
#include <cstdint>

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
    template <typename Sample>
    void processBlock(const Sample* const* in, Sample* const* out, int32_t frames, bool suspended);
    void beginBlock(bool sideChainPresent);
    void followLoop();
    void renderChunk(Chunk& chunk);
    bool hasForgotten() const;
    void passSilence(Chunk& chunk);
    void noteHeadroom();
    void fillControls(Chunk& chunk);
    void saturateInput(Chunk& chunk);
    void filterInput(Chunk& chunk);
    void convertSideChain(Chunk& chunk);
    void runLfo(Chunk& chunk);
    void measure(Chunk& chunk);
    void mixOutput(Chunk& chunk);
    void crossfadeSuspension(Chunk& chunk, bool towardsInput);

    void applyLevels();
    void applyVco();
    void applyHighCut();
    void applyFeedback();
    DirectionMode direction() const;

    const QVXHostLink& hostLink;
    bool shortCuts = true;
    ParameterValues values{};

    double sampleRate = 44100.0;

    // Derived from the parameters.
    Levels levels;
    ProcessingMode mode = ProcessingMode::Clean;
    double restingClockFactor = 1.0;  // without modulation
    bool looping = false;

    SongFollower song{values};
    ControlSmoother controls;
    InputFilter inputFilter, doubledInputFilter;  // the latter with Delay X2
    Limiter sideChainLimiter;
    InputStage inputStage;
    AdConverter sideChainAdConverter;
    MemoryPath path;

    // Suspension: 0 sounding, 1 suspended.
    double suspension = 0.0, suspensionStep = 0.0;

    // Readings.
    bool sideChainConnected = false;
    Pair sideChainPeak{};
    double headroomPeak = 0.0, headroomOffset = 1e-06;
    bool headroomRead = false;
    uint32_t processCalls = 0, processCallsSeen = 0;
    std::chrono::steady_clock::time_point processSeenAt{};
};

}  // namespace Quorvant
