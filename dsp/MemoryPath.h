// The path through the memory and back: clock, level stages, converters, memory and feedback.
#pragma once

#include "dsp/Chunk.h"
#include "dsp/Converter.h"
#include "dsp/DelayMemory.h"
#include "dsp/Envelope.h"
#include "dsp/HighCut.h"
#include "dsp/LegacyStage.h"
#include "dsp/Limiter.h"
#include "dsp/MemoryClock.h"

#include <array>
#include <cstdlib>
#include <memory>

namespace Quorvant {

// Audio thread, apart from what allocates.
class MemoryPath {
  public:
    // Hz. To be followed by reset.
    void setSampleRate(double hz);
    // Drops all history. Allocates unless the memory's length is unchanged.
    void reset(double clockFactor);

    // The direction and the distance between writing and reading, in samples at the nominal clock.
    void setCourse(DirectionMode direction, double samples) {
        memory.setCourse(direction, samples);
    }
    void setLooping(bool on) { memory.setLooping(on); }
    // Host frames that went by since the last call.
    void passTime(int frames) { memory.passTime(frames); }

    // Chooses how the clock runs through the chunk, whose controls are filled in.
    void chooseClocking(Chunk& chunk) const;
    // Makes `processed` what goes to the memory and `delayed` what comes from it.
    void run(Chunk& chunk);
    // The envelope of a chunk whose clock it does not bend; wants the chunk's side chain.
    void followLevels(const Chunk& chunk);
    // What goes on in silence: the clock, the memory's indices and the fading envelope.
    void passSilence(Chunk& chunk);
    // True when nothing that came in is left to be heard.
    bool hasForgotten() const;

    // Readings, of the last chunk: the clock's factor, modulation included; the peak in front of
    // the limiter; gain reductions, 1 meaning none.
    double clockFactor() const { return factorOfClock; }
    Pair peak() const { return processedPeak; }
    double firstGain() const { return inputLimiter.reading(); }
    double secondGain() const { return outputLimiter.reading(); }
    double legacyGain() const { return legacyStage.reading(); }
    void showClockFactor(double factor) { factorOfClock = factor; }

  private:
    static constexpr int kSplineReach = 4;                // pairs that a spline looks at
    static constexpr int kMostTicks = 17 * kChunkFrames;  // of the memory; rounding may add some

    static Pair recordable(Pair processed, const ControlFrame& control) {
        return clamped(processed * both(control.notBypassed), -kLargestSample, kLargestSample);
    }
    void noteSilence(const Chunk& chunk);
    void clearIdleStages(const ControlFrame& last);
    struct Ticks;
    bool runAhead(Chunk& chunk);
    static void placeTicks(const Chunk& chunk, MemoryClock& vco, Ticks& ticks);
    void play(Chunk& chunk, Ticks& ticks);
    void addFeedback(Chunk& chunk);
    void record(const Chunk& chunk, Ticks& ticks);
    void runBySample(Chunk& chunk);
    template <Stages kStages>
    void runBySample(Chunk& chunk);
    template <Stages kStages, Clocking kClocking, typename Memory>
    void runBySample(Memory ticks, Chunk& chunk);

    double sampleRate = 44100.0;
    LegacyStage legacyStage;
    Limiter inputLimiter, outputLimiter;
    AdConverter adConverter;
    DaConverter daConverter;
    CouplingCapacitor coupling;
    EnvelopeFollower envelope;
    MemoryClock clock;
    // From calloc: the system hands out zeroed memory without touching it.
    std::unique_ptr<Pair, decltype(&std::free)> cells{nullptr, &std::free};
    int cellCount = 0;
    DelayMemory memory;
    std::array<Pair, kSplineReach> recordedBefore{}, playedBefore{};
    HighCut highCut;
    Pair feedbackSignal{};
    int quietTicks = 0;  // since anything was recorded
    double factorOfClock = 1.0;
    Pair processedPeak{};
};

}  // namespace Quorvant
