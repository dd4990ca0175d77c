// The delay engine written as plainly as its formulas: no tables, no caches, every law evaluated in
// every sample. It is the yardstick that the real engine is measured with; speed is no aim.
#pragma once

#include "dsp/Effect.h"
#include "dsp/HostLink.h"
#include "params/ParameterIndex.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <vector>

namespace Quorvant {

class PlainEngine : public QVXEffect {
  public:
    explicit PlainEngine(const QVXHostLink& hostLink);

    void process32(const float* const* in, float* const* out, int32_t frames) override;
    void process64(const double* const* in, double* const* out, int32_t frames) override;
    // Plain copies: the crossfades in and out of suspension are no part of the yardstick.
    void processSuspended32(const float* const* in, float* const* out, int32_t frames) override;
    void processSuspended64(const double* const* in, double* const* out, int32_t frames) override;

    int32_t getLatency() override { return 0; }
    int32_t getTail() override { return static_cast<int32_t>(sampleRate * 10.0); }
    bool setSampleRate(double rate) override;
    void reset() override;
    bool supports32() override { return true; }
    bool supports64() override { return true; }
    void setParameter(uint32_t index, double value) override;
    bool getOutputValue(uint32_t index, double& value) override;

  private:
    using Pair = std::array<double, 2>;

    struct Biquad {
        double b0 = 0, b1 = 0, b2 = 0, a1 = 0, a2 = 0;
        Pair x1{}, x2{}, y1{}, y2{};
        void design(double frequency, double damping, double a0, double rate);
        double process(int channel, double x);
    };

    struct History {  // x0 ... x3, x3 the newest
        std::array<Pair, 4> x{};
        void push(Pair value);
        Pair at(double t) const;
    };

    // Parameters
    void applyGlobal();
    void applyManualVco();
    void applyLfoRate();
    void applyDelayTime();
    void applyInfRepeat(bool on);
    bool synced() const { return delayClockMode; }
    bool legacyInForce() const;

    // The block's beginning
    void beginBlock(bool sideChainPresent, int32_t frames);
    void followTempo(const HostTransport& transport);
    void followPosition(const HostTransport& transport, int32_t frames);
    void applyPendingMoves();
    void designInputFilter();

    // One sample
    Pair processSample(Pair in, Pair sideChain);
    void countRepeat();
    void restartRepeat();
    void smooth(double& state, double target) const;
    Pair legacyGain(Pair x);
    void clearLegacy();
    double envelopeTerm(Pair sideSignal, double internalLevel);
    double lfoTerm();
    Pair delayed(Pair input);
    void tick(Pair newPair);

    // Memory
    void recomputeDelay();
    void restartDirection();
    void restartWriteFade();
    void jumpTo(int index);
    void startReadCrossfade(int oldIndex, bool oldBackward);
    int steppedForward(int index) const { return (index + 1) % bufferUsable; }
    int steppedBackward(int index) const { return index > 0 ? index - 1 : bufferLength - 1; }
    bool readsBackward() const;
    void writeCell(int index, Pair value);

    const QVXHostLink& host;

    std::array<double, 116> parameters{};
    double sampleRate = 44100.0;
    int sampleRateInt = 44100;

    double inputGain = 1, outputGain = 1, mix = 0.5, bypass = 0, sensScale = 1, refScale = 1;
    double delayTimeMs = 0, appliedDelayTimeMs = 0;
    bool delayClockMode = false, infRepeat = false, hiCutOn = false;
    double x2Factor = 1, vcoRatio = 1, clockFactor = 1;
    double fbckInvert = 1, feedback = 0, hiCutScale = 1;
    int directionMode = 0, appliedDirectionMode = 0;
    double depthCurve = 0;
    double lfoPhaseIncrement = 0, lfoPhase = 0;
    double tempoBpm = 120, songPosBeats = 0, lastHostPos = 0;
    bool lastHostPosKnown = false, hostSynced = false;
    double scConnected = 0;

    // Held for a block
    bool legacy = false;
    double x2Inverse = 1, levelFactor = 1;
    int repeatLength = 0, holdSpan = 0;

    // Smoothed
    double smoothedInputGain = 0, smoothedOutputGain = 0, smoothedFeedback = 0, smoothedMix = 0;
    double smoothedProcess = 0, smoothedMonitor = 0, smoothedExternal = 0, smoothedBypass = 0;
    double smoothedDepth = 0, smoothedWaveform = 0, smoothedLegacy = 0;

    std::array<Biquad, 3> inputFilter;
    Pair feedbackSignal{};
    std::array<std::vector<double>, 2> legacyRing;
    int legacyRingPosition = 0;
    double envelope = 0;
    Pair highCutState{};

    // Memory and clock
    int bufferLength = 0, bufferUsable = 0;
    std::vector<Pair> buffer;
    int writeIndex = 0, readIndex = 0;
    double delayTicks = 0;
    int delaySpan = 0, spanFirstHalf = 0, spanSecondHalf = 0;
    int segmentCounter = 0;
    bool readBackward = true;
    double writeFade = 1.0;
    double share = 1.0, leftOver = 0.0;  // of the input in what is written
    int leftOverTick = 0, leftOverLength = 0;
    bool recorded = false;  // since the reset
    int oldReadIndex = 0;
    bool oldReadBackward = false;
    int crossfadeLength = 0, crossfadeTick = 0;  // no crossfade runs while the length is 0
    double clockPhase = 0, previousStep = 1;
    History inputHistory, outputHistory;
    Pair lastRead{};

    // Readings
    double headroomPeak = 0, headroomOffset = 1e-6;
    bool headroomRead = false;
    Pair sideChainPeak{};
    Pair legacyReading{1, 1};
    int repeatCounter = 0;
    double activityLevel = 0, activityPeak = 0;
    bool loopEngaged = false, loopLamp = false;
    uint64_t processCalls = 0, lastSeenCalls = 0;
    std::chrono::steady_clock::time_point lastPoll{};
};

}  // namespace Quorvant
