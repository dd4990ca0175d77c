#include "tests/dsp/PlainEngine.h"

#include "params/NoteTable.h"
#include "params/ParameterTable.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace Quorvant {

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kTwoPi = 2.0 * kPi;
constexpr double kLoudest = 1024.0;

bool isOn(double value) {
    return value >= 0.5;
}

double onePole(double frequency, double rate) {
    return std::exp(-kTwoPi * frequency / rate);
}

double zeroIfNan(double x) {
    return std::isnan(x) ? 0.0 : x;
}

double sanitised(double x) {
    return std::isfinite(x) && std::abs(x) <= kLoudest ? x : 0.0;
}

double remainder(double a, double b) {
    return a - b * std::floor(a / b);
}

double fraction(double x) {
    return x - std::trunc(x);
}

double fadeGrowth(int rate, int milliseconds) {
    return std::pow(0.001, -1.0 / static_cast<double>(rate * milliseconds / 1000));
}

int rampHalf(int rate) {
    if (rate > 200000) return 32;
    if (rate > 100000) return 16;
    if (rate > 50000) return 8;
    return 4;
}

}  // namespace

PlainEngine::PlainEngine(const QVXHostLink& hostLink) : host(hostLink) {
    for (uint32_t index = 0; index < kParameterCount; ++index) {
        setParameter(index, parameterDefault(index));
    }
    setSampleRate(44100.0);
}

bool PlainEngine::setSampleRate(double rate) {
    const double kept = std::isnan(rate) ? 44100.0 : std::clamp(rate, 44100.0, 384000.0);
    sampleRate = kept;
    sampleRateInt = static_cast<int>(kept);
    applyLfoRate();
    reset();
    return kept == rate;
}

void PlainEngine::reset() {
    headroomOffset = 1e-6;
    headroomPeak = 0.0;
    headroomRead = false;
    sideChainPeak = {};
    legacyReading = {1.0, 1.0};
    activityLevel = activityPeak = 0.0;
    repeatCounter = 0;
    loopLamp = false;
    hostSynced = false;
    scConnected = 0.0;
    songPosBeats = 0.0;
    lastHostPosKnown = false;
    lfoPhase = 0.0;

    smoothedInputGain = inputGain;
    smoothedOutputGain = outputGain;
    smoothedMix = mix;
    smoothedFeedback = loopEngaged ? 1.0 : feedback * fbckInvert;
    smoothedDepth = depthCurve;
    smoothedWaveform = parameters[kWaveform];
    smoothedProcess = isOn(parameters[kProcess]) ? 1.0 : 0.0;
    smoothedBypass = bypass;
    smoothedMonitor = isOn(parameters[kSideChainMonitor]) ? 1.0 : 0.0;
    smoothedExternal = parameters[kSideChainIntExt];
    legacy = legacyInForce();
    smoothedLegacy = legacy ? 1.0 : 0.0;

    inputFilter = {};
    designInputFilter();
    feedbackSignal = {};
    highCutState = {};
    envelope = 0.0;
    clearLegacy();

    bufferLength = static_cast<int>(std::floor(sampleRate * 9600 * 0.001)) + 1;
    bufferUsable = bufferLength - 1;
    buffer.assign(static_cast<size_t>(bufferLength), Pair{});
    writeIndex = readIndex = 0;
    recorded = false;
    inputHistory = {};
    outputHistory = {};
    lastRead = {};
    crossfadeLength = crossfadeTick = 0;
    leftOverLength = leftOverTick = 0;
    share = 1.0;
    applyManualVco();
    applyDelayTime();
    appliedDirectionMode = directionMode;
    recomputeDelay();
    clockPhase = 0.0;
    previousStep = 1.0 / clockFactor;
}

// --- Parameters -------------------------------------------------------------------------------

void PlainEngine::setParameter(uint32_t index, double value) {
    if (index >= parameters.size() || std::isnan(value)) return;
    const double v = std::clamp(value, 0.0, 1.0);

    const bool ignoredInLoop = index == kDelayTime || index == kDelayClockMode;
    if (ignoredInLoop && infRepeat) return;
    parameters[index] = v;

    switch (index) {
        case kSensitivity:
        case kReferenceLevel:
        case kInput:
        case kOutput:
        case kMix:
        case kBypass:
        case kGlobal:
        case kGlobalSensitivity:
        case kGlobalReferenceLevel:
        case kGlobalInput:
        case kGlobalOutput:
        case kGlobalMix:
        case kGlobalBypass:
            applyGlobal();
            break;
        case kDelayClockMode:
            delayClockMode = isOn(v);
            applyDelayTime();
            break;
        case kDelayTime:
        case kDelayNote:
            applyDelayTime();
            break;
        case kDelayX2:
            x2Factor = isOn(v) ? 2.0 : 1.0;
            clockFactor = vcoRatio * x2Factor;
            designInputFilter();
            break;
        case kDirectionMode:
            directionMode = static_cast<int>(v * 3.0 + 0.5);
            break;
        case kFeedback:
            feedback = v;
            break;
        case kFeedbackInvert:
            fbckInvert = isOn(v) ? -1.0 : 1.0;
            break;
        case kHighCut:
            hiCutOn = isOn(v);
            break;
        case kHighCutCutoff:
            hiCutScale = std::pow(9.0, v) * 0.5 * 0.6666666666667;
            break;
        case kInfRepeat:
            applyInfRepeat(isOn(v));
            break;
        case kDepth:
            depthCurve = std::pow(v, 2.35);
            applyManualVco();
            break;
        case kManualVco:
            applyManualVco();
            break;
        case kLfoRate:
        case kLfoSync:
            applyLfoRate();
            break;
        case kManualTempo:
            tempoBpm = std::clamp(580.0 * v + 20.0, 20.0, 600.0);
            applyDelayTime();
            break;
        case kResetCommand:
            if (v != 0.0) reset();
            break;
        default:
            break;
    }
}

void PlainEngine::applyGlobal() {
    const bool global = static_cast<int>(parameters[kGlobal] + 0.5) != 0;
    const auto inForce = [&](uint32_t preset, uint32_t globalTwin) {
        return parameters[global ? globalTwin : preset];
    };
    mix = inForce(kMix, kGlobalMix);
    inputGain = 4.0 * std::pow(inForce(kInput, kGlobalInput), 2);
    outputGain = 4.0 * std::pow(inForce(kOutput, kGlobalOutput), 2);
    bypass = static_cast<int>(inForce(kBypass, kGlobalBypass) + 0.5);
    sensScale = isOn(inForce(kSensitivity, kGlobalSensitivity)) ? 2.7542 : 1.0;
    refScale = std::pow(10.0, inForce(kReferenceLevel, kGlobalReferenceLevel)) * sensScale * 1.4142;
}

void PlainEngine::applyManualVco() {
    vcoRatio = (1.0 - depthCurve) * (parameters[kManualVco] - 0.5) + 1.0;
    clockFactor = vcoRatio * x2Factor;
}

void PlainEngine::applyLfoRate() {
    const double lfoRateHz = 0.10000000149011612 * std::pow(100.0, parameters[kLfoRate]);
    const double lfoPeriodSamples = sampleRate / lfoRateHz;
    lfoPhaseIncrement = kTwoPi / lfoPeriodSamples;
}

// While the loop holds the memory, changes of tempo and note wait with the delay time itself.
void PlainEngine::applyDelayTime() {
    if (infRepeat) return;
    if (synced()) {
        const NoteValue& note = kDelayNotes[static_cast<size_t>(parameters[kDelayNote] * 59 + 0.5)];
        const double length = (note.numerator * 240000.0 / (note.denominator * tempoBpm)) / 9600.0;
        delayTimeMs = std::min(length, 1.0) * 9600.0;
    } else {
        delayTimeMs = parameters[kDelayTime] * 9600.0;
    }
}

void PlainEngine::applyInfRepeat(bool on) {
    if (on == infRepeat) return;
    infRepeat = on;
    if (on && !synced()) {
        loopEngaged = true;
        restartWriteFade();
    }
    if (!on) {
        const bool released = std::exchange(loopEngaged, false);
        if (released) restartWriteFade();
        applyDelayTime();
    }
}

bool PlainEngine::legacyInForce() const {
    return static_cast<int>(parameters[kProcessingMode] * 3.0 + 0.5) == 1;
}

// --- Input filter -----------------------------------------------------------------------------

void PlainEngine::Biquad::design(double frequency, double damping, double a0, double rate) {
    const double omega = kTwoPi * frequency / rate;
    const double alpha = std::sin(omega) / damping;
    b0 = b2 = (1.0 - std::cos(omega)) / 2.0 / a0;
    b1 = (1.0 - std::cos(omega)) / a0;
    a1 = -2.0 * std::cos(omega) / a0;
    a2 = (1.0 - alpha) / a0;
}

double PlainEngine::Biquad::process(int channel, double x) {
    const auto c = static_cast<size_t>(channel);
    const double y = b0 * x + b1 * x1[c] + b2 * x2[c] - a1 * y1[c] - a2 * y2[c];
    x2[c] = x1[c];
    x1[c] = x;
    y2[c] = y1[c];
    y1[c] = y;
    return y;
}

void PlainEngine::designInputFilter() {
    const auto ownA0 = [&](double frequency, double damping) {
        return 1.0 + std::sin(kTwoPi * frequency / sampleRate) / damping;
    };
    const double corner = x2Factor > 1.0 ? 6600.0 : 18000.0;
    const double firstA0 = ownA0(corner, 4.4);
    inputFilter[0].design(corner, 4.4, firstA0, sampleRate);

    const double second = corner * (std::pow(corner / sampleRate + 0.095, 2) + 0.65);
    inputFilter[1].design(second, 1.24, ownA0(second, 1.24), sampleRate);

    // The first section's a0 is intended here, unless it makes the section unstable.
    const double third = 1.2 * corner;
    inputFilter[2].design(third, 1.6, firstA0, sampleRate);
    const bool unstable = std::abs(inputFilter[2].a1) >= 1.0 + inputFilter[2].a2 ||
                          std::abs(inputFilter[2].a2) >= 1.0;
    if (unstable) inputFilter[2].design(third, 1.6, ownA0(third, 1.6), sampleRate);
}

// --- The block's beginning --------------------------------------------------------------------

void PlainEngine::beginBlock(bool sideChainPresent, int32_t frames) {
    scConnected = sideChainPresent ? 1.0 : 0.0;
    legacy = legacyInForce();
    x2Inverse = 1.0 / x2Factor;
    levelFactor = (1.4142 / refScale) * 2.7542 * 2.7542;

    const HostTransport transport = host.transport();
    followTempo(transport);
    repeatLength = static_cast<int>(delayTimeMs * sampleRate / 1000.0);
    holdSpan = static_cast<int>(0.05 * sampleRateInt / clockFactor);
    followPosition(transport, frames);
    applyPendingMoves();
}

void PlainEngine::followTempo(const HostTransport& transport) {
    if (isOn(parameters[kEnforceManualTempo])) {
        tempoBpm = 580.0 * parameters[kManualTempo] + 20.0;
    } else if (transport.tempoValid && std::isfinite(transport.tempoBpm)) {
        tempoBpm = transport.tempoBpm;
    }
    tempoBpm = std::clamp(tempoBpm, 20.0, 600.0);
    applyDelayTime();
}

void PlainEngine::followPosition(const HostTransport& transport, int32_t frames) {
    hostSynced = transport.positionValid && std::isfinite(transport.positionBeats);
    const double position = transport.positionBeats;
    // An enforced tempo cuts the host's grid off as well.
    const bool followed = hostSynced && !isOn(parameters[kEnforceManualTempo]);
    if (hostSynced && synced()) {
        songPosBeats = position;
    } else {
        songPosBeats += tempoBpm * frames / (sampleRate * 60.0 * clockFactor);
    }

    if (isOn(parameters[kLfoSync])) {
        const NoteValue& note = kLfoNotes[static_cast<size_t>(parameters[kLfoNote] * 59 + 0.5)];
        const double f = note.denominator * tempoBpm / (note.numerator * 240.0);
        lfoPhaseIncrement = kTwoPi * f / sampleRate;
        const bool moved = followed && !(lastHostPosKnown && position == lastHostPos);
        if (moved) {
            const double turns = fraction(position * 60.0 * f / tempoBpm);
            lfoPhase = kTwoPi * fraction(turns + parameters[kLfoOffset]);
            if (lfoPhase >= kPi) lfoPhase -= kTwoPi;
            if (lfoPhase < -kPi) lfoPhase += kTwoPi;
        }
    }
    lastHostPos = position;
    lastHostPosKnown = followed;

    // The song's own grid tells where the repeat is; passing a boundary counts as its restart.
    if (followed && synced() && transport.playing) {
        const double periodBeats = delayTimeMs * tempoBpm / 60000.0;
        const double offset = remainder(songPosBeats, periodBeats) * sampleRate * 60.0 / tempoBpm;
        const int previous = repeatCounter;
        repeatCounter = static_cast<int>(offset);
        // More than half a repeat back: rounding alone is no restart.
        if (repeatCounter < previous - repeatLength / 2) restartRepeat();
    }
}

// A recomputed delay or a changed direction moves the read index, once an earlier move is over.
void PlainEngine::applyPendingMoves() {
    const bool newTime = delayTimeMs != appliedDelayTimeMs;
    const bool newDirection = directionMode != appliedDirectionMode;
    if (crossfadeLength > 0 || !(newTime || newDirection)) return;

    const int oldIndex = readIndex;
    const bool oldBackward = readsBackward();
    appliedDirectionMode = directionMode;
    if (newTime) {
        recomputeDelay();
    } else {
        restartDirection();
    }
    if (readIndex != oldIndex && recorded) startReadCrossfade(oldIndex, oldBackward);
}

// --- One sample -------------------------------------------------------------------------------

void PlainEngine::process64(const double* const* in, double* const* out, int32_t frames) {
    ++processCalls;
    const double* const mainLeft = in[0];
    const double* const mainRight = in[1] ? in[1] : in[0];
    const double* const sideLeft = in[2] ? in[2] : mainLeft;
    const double* const sideRight = in[2] ? (in[3] ? in[3] : in[2]) : mainRight;
    beginBlock(in[2] != nullptr, frames);

    for (int32_t i = 0; i < frames; ++i) {
        const auto read = [i](const double* p) { return p ? sanitised(p[i]) : 0.0; };
        const Pair result =
            processSample({read(mainLeft), read(mainRight)}, {read(sideLeft), read(sideRight)});
        if (out[0]) out[0][i] = out[1] ? result[0] : 0.5 * (result[0] + result[1]);
        if (out[0] && out[1]) out[1][i] = result[1];
    }

    headroomPeak += headroomOffset;
    headroomOffset = -headroomOffset;
}

void PlainEngine::process32(const float* const* in, float* const* out, int32_t frames) {
    const auto count = static_cast<size_t>(std::max(frames, 0));
    std::array<std::vector<double>, 4> wideIn;
    std::array<std::vector<double>, 2> wideOut;
    const double* inPointers[4] = {};
    double* outPointers[2] = {};
    for (size_t c = 0; c < 4; ++c) {
        if (!in[c]) continue;
        wideIn[c].assign(in[c], in[c] + count);
        inPointers[c] = wideIn[c].data();
    }
    for (size_t c = 0; c < 2; ++c) {
        if (!out[c]) continue;
        wideOut[c].resize(count);
        outPointers[c] = wideOut[c].data();
    }
    process64(inPointers, outPointers, frames);
    for (size_t c = 0; c < 2; ++c) {
        for (size_t i = 0; out[c] && i < count; ++i) out[c][i] = static_cast<float>(wideOut[c][i]);
    }
}

void PlainEngine::processSuspended32(const float* const* in, float* const* out, int32_t frames) {
    ++processCalls;
    const float* const sources[2] = {in[0], in[1] ? in[1] : in[0]};
    for (int c = 0; c < 2; ++c) {
        if (out[c] && sources[c]) std::copy_n(sources[c], frames, out[c]);
    }
}

void PlainEngine::processSuspended64(const double* const* in, double* const* out, int32_t frames) {
    ++processCalls;
    const double* const sources[2] = {in[0], in[1] ? in[1] : in[0]};
    for (int c = 0; c < 2; ++c) {
        if (out[c] && sources[c]) std::copy_n(sources[c], frames, out[c]);
    }
}

PlainEngine::Pair PlainEngine::processSample(Pair in, Pair sideChain) {
    countRepeat();

    smooth(smoothedInputGain, inputGain);
    smooth(smoothedOutputGain, outputGain);
    smooth(smoothedFeedback, loopEngaged ? 1.0 : feedback * fbckInvert);
    smooth(smoothedMix, mix);
    smooth(smoothedProcess, isOn(parameters[kProcess]) ? 1.0 : 0.0);
    smooth(smoothedMonitor, isOn(parameters[kSideChainMonitor]) ? 1.0 : 0.0);
    smooth(smoothedExternal, parameters[kSideChainIntExt]);
    smooth(smoothedBypass, bypass);
    smooth(smoothedLegacy, legacy ? 1.0 : 0.0);

    Pair dry, x;
    for (size_t c = 0; c < 2; ++c) {
        dry[c] = in[c] * smoothedInputGain;
        x[c] = dry[c];
        for (Biquad& section : inputFilter) x[c] = section.process(static_cast<int>(c), x[c]);
        x[c] += feedbackSignal[c];
    }

    // Switching between Clean and Legacy blends the level stage in or out.
    if (legacy || smoothedLegacy > 0.0) {
        x = legacyGain(x);
    } else {
        clearLegacy();
    }
    if (!legacy) legacyReading = {1.0, 1.0};
    for (double& sample : x) sample = zeroIfNan(sample);

    Pair side;
    for (size_t c = 0; c < 2; ++c) {
        side[c] = (1.0 - smoothedExternal) * x[c] + smoothedExternal * sideChain[c];
        sideChainPeak[c] = std::max(sideChainPeak[c], std::abs(side[c]));
    }
    if (headroomRead) headroomPeak = 0.0;
    headroomRead = false;
    headroomPeak =
        std::max(headroomPeak, std::max(std::abs(x[0]), std::abs(x[1])) * (14.142 / refScale));

    smooth(smoothedWaveform, parameters[kWaveform]);
    smooth(smoothedDepth, depthCurve);
    const double meanLevel = (std::abs(x[0] * levelFactor) + std::abs(x[1] * levelFactor)) / 2.0;
    const double envTerm = envelopeTerm(side, legacy ? meanLevel : std::tanh(meanLevel));
    const double theta = smoothedMix * 1.5707963705062866;
    const double dryGain = std::cos(theta) * smoothedOutputGain;
    const double wetGain = std::sin(theta) * smoothedOutputGain;

    const double modulation = (envTerm + lfoTerm()) * smoothedDepth;
    clockFactor = std::clamp((modulation + vcoRatio) * x2Factor, 1.0 / 16.0, 16.0);

    Pair delayInput;
    for (size_t c = 0; c < 2; ++c) {
        delayInput[c] = std::clamp(x[c] * (1.0 - smoothedBypass), -kLoudest, kLoudest);
    }
    const Pair wet = delayed(delayInput);

    const double a = onePole(3150.0 * hiCutScale, sampleRate);
    Pair result;
    for (size_t c = 0; c < 2; ++c) {
        highCutState[c] = hiCutOn ? (1.0 - a) * wet[c] + a * highCutState[c] : wet[c];
        feedbackSignal[c] = highCutState[c] * smoothedFeedback;

        const double mixed =
            wet[c] * x2Inverse * wetGain * (1.0 - smoothedBypass) + dryGain * dry[c];
        const double switched = mixed * smoothedProcess + in[c] * (1.0 - smoothedProcess);
        result[c] = switched * (1.0 - smoothedMonitor) + smoothedMonitor * side[c];
    }
    return result;
}

void PlainEngine::countRepeat() {
    if (repeatCounter < holdSpan) {
        activityLevel = 1.0;
    } else {
        activityLevel *= 0.9991;
    }
    activityPeak = std::max(activityPeak, activityLevel);

    ++repeatCounter;
    if (repeatCounter > repeatLength) {
        repeatCounter = 0;
        restartRepeat();
    }
}

void PlainEngine::restartRepeat() {
    if (infRepeat && !loopEngaged) {
        loopEngaged = true;
        loopLamp = true;
        restartWriteFade();
    }
    if (!infRepeat) loopLamp = false;
}

void PlainEngine::smooth(double& state, double target) const {
    const double a = onePole(30.0, sampleRate);
    state = (1.0 - a) * target + a * state;
    if (std::abs(state - target) < 1e-12) state = target;
}

void PlainEngine::clearLegacy() {
    for (auto& ring : legacyRing) ring.assign(static_cast<size_t>(rampHalf(sampleRateInt)), 0.0);
    legacyRingPosition = 0;
}

PlainEngine::Pair PlainEngine::legacyGain(Pair x) {
    const auto position = static_cast<size_t>(legacyRingPosition);
    for (size_t c = 0; c < 2; ++c) {
        auto& ring = legacyRing[c];
        const double level = std::abs(x[c] * levelFactor);
        ring[position] = level;
        double sum = 0.0;
        for (const double entry : ring) sum += entry;
        const double m = sum / static_cast<double>(ring.size()) * 0.363082;
        const double gain = m <= 2.0 ? 1.0 - 0.25 * m : 1.0 / m;
        legacyReading[c] = gain;
        x[c] *= 1.0 + smoothedLegacy * (gain - 1.0);
    }
    legacyRingPosition = (legacyRingPosition + 1) % static_cast<int>(legacyRing[0].size());
    return x;
}

double PlainEngine::envelopeTerm(Pair side, double internalLevel) {
    const double external = (std::abs(side[0]) + std::abs(side[1])) / 2.0;
    const double level = external * smoothedExternal + internalLevel * (1.0 - smoothedExternal);
    // A 5 Hz weight on a 10 Hz recursion: intended, it halves the steady level.
    envelope = level * (1.0 - onePole(5.0, sampleRate)) + onePole(10.0, sampleRate) * envelope;
    const double m = std::pow(envelope * levelFactor * 0.363082, 0.3);
    const double term = isOn(parameters[kEnvInvert]) ? m - 0.5 : 0.2 - m;
    const double waveCentre = 1.0 - 2.0 * std::abs(smoothedWaveform - 0.5);
    return zeroIfNan(term * waveCentre);
}

double PlainEngine::lfoTerm() {
    const bool square = smoothedWaveform >= 0.5;
    const double wave = square ? (lfoPhase > 0.0 ? -1.0 : 1.0) : -std::sin(lfoPhase);
    lfoPhase += lfoPhaseIncrement;
    if (lfoPhase >= kPi) lfoPhase -= kTwoPi;
    return zeroIfNan(wave * std::abs(smoothedWaveform - 0.5));
}

// --- Clock and memory -------------------------------------------------------------------------

void PlainEngine::History::push(Pair value) {
    x = {x[1], x[2], x[3], value};
}

PlainEngine::Pair PlainEngine::History::at(double t) const {
    Pair y;
    for (size_t c = 0; c < 2; ++c) {
        const double x0 = x[0][c], x1 = x[1][c], x2 = x[2][c], x3 = x[3][c];
        y[c] = 0.5 * (2 * x1 + t * (x2 - x0) + t * t * (2 * x0 - 5 * x1 + 4 * x2 - x3) +
                      t * t * t * (3 * x1 - 3 * x2 + x3 - x0));
    }
    return y;
}

PlainEngine::Pair PlainEngine::delayed(Pair input) {
    inputHistory.push(input);

    const double clockStep = 1.0 / clockFactor;
    const double d = 1.0 - ((1.0 - clockPhase) * clockStep) / previousStep;
    clockPhase = d + clockStep;
    previousStep = clockStep;
    for (int k = 0; clockPhase >= 1.0; ++k) {
        clockPhase -= 1.0;
        tick(inputHistory.at((1.0 - d + k) / clockStep));
    }

    Pair output = outputHistory.at(std::clamp(clockPhase, 0.0, 1.0));
    for (double& sample : output) sample = zeroIfNan(sample);
    return delayTicks < 3.0 && !infRepeat ? input : output;
}

void PlainEngine::tick(Pair newPair) {
    applyPendingMoves();
    recorded = true;
    const auto mode = static_cast<DirectionMode>(appliedDirectionMode);
    const bool writesForward = mode != DirectionMode::Backward;
    writeIndex = writesForward ? steppedForward(writeIndex) : steppedBackward(writeIndex);
    readIndex = readsBackward() ? steppedBackward(readIndex) : steppedForward(readIndex);

    Pair readPair = buffer[static_cast<size_t>(readIndex)];
    if (crossfadeLength > 0) {
        oldReadIndex =
            oldReadBackward ? steppedBackward(oldReadIndex) : steppedForward(oldReadIndex);
        const Pair oldPair = buffer[static_cast<size_t>(oldReadIndex)];
        ++crossfadeTick;
        const double w = crossfadeTick / (crossfadeLength + 1.0);
        const double weight = w * w * (3.0 - 2.0 * w);
        for (size_t c = 0; c < 2; ++c) {
            readPair[c] = weight * readPair[c] + (1.0 - weight) * oldPair[c];
        }
        if (crossfadeTick == crossfadeLength) crossfadeLength = 0;
    }

    if (mode == DirectionMode::Reverse) {
        if (segmentCounter >= spanSecondHalf) {
            jumpTo((2 * spanSecondHalf + readIndex) % bufferUsable);
            segmentCounter = 0;
        }
        ++segmentCounter;
    } else if (mode == DirectionMode::Bounce) {
        if (segmentCounter == spanSecondHalf) {
            jumpTo(writeIndex);
            readBackward = true;
        }
        if (segmentCounter > delaySpan) {
            readBackward = false;
            segmentCounter = 0;
        }
        ++segmentCounter;
    }

    Pair written;
    share = loopEngaged ? 1.0 - writeFade : writeFade;
    if (leftOverTick < leftOverLength) {
        const double w = static_cast<double>(leftOverLength - leftOverTick) / (leftOverLength + 1);
        share += leftOver * (w * w * (3.0 - 2.0 * w));
        ++leftOverTick;
    }
    for (size_t c = 0; c < 2; ++c) {
        const double old = lastRead[c], fresh = newPair[c];
        written[c] = (1.0 - share) * old + share * fresh;
    }
    writeCell(writeIndex, written);
    // Forward writing never reaches the top cell, backward reading does.
    if (writesForward && writeIndex == 0) writeCell(bufferUsable, written);
    writeFade = std::min(writeFade * fadeGrowth(sampleRateInt, 50), 1.0);

    outputHistory.push(lastRead);
    lastRead = readPair;
}

bool PlainEngine::readsBackward() const {
    switch (static_cast<DirectionMode>(appliedDirectionMode)) {
        case DirectionMode::Backward:
        case DirectionMode::Reverse:
            return true;
        case DirectionMode::Bounce:
            return readBackward;
        default:
            return false;
    }
}

void PlainEngine::writeCell(int index, Pair value) {
    buffer[static_cast<size_t>(index)] = value;
}

// An empty memory has nothing to fade from. The input's share of what is written runs over from
// what it was to where the fade starts.
void PlainEngine::restartWriteFade() {
    writeFade = 1.0;
    if (!recorded) return;
    writeFade = 0.001;
    leftOver = share - (loopEngaged ? 1.0 - writeFade : writeFade);
    leftOverTick = 0;
    leftOverLength = static_cast<int>(std::lround(0.005 * sampleRate));
}

void PlainEngine::recomputeDelay() {
    appliedDelayTimeMs = delayTimeMs;
    delayTicks = delayTimeMs * sampleRate / 1000.0;
    delaySpan = static_cast<int>(delayTicks);
    restartDirection();
    restartWriteFade();
}

void PlainEngine::restartDirection() {
    spanFirstHalf = delaySpan / 2;
    spanSecondHalf = delaySpan - spanFirstHalf;
    segmentCounter = 0;
    readBackward = true;
    readIndex = writeIndex - delaySpan;
    if (readIndex < 0) readIndex += bufferLength;
}

void PlainEngine::jumpTo(int index) {
    if (index != readIndex) startReadCrossfade(readIndex, readsBackward());
    readIndex = index;
}

// Lets the read index that was left fade out, moving on as it moved.
void PlainEngine::startReadCrossfade(int oldIndex, bool oldBackward) {
    oldReadIndex = oldIndex;
    oldReadBackward = oldBackward;
    const int wanted =
        std::max(static_cast<int>(std::lround(0.005 * sampleRate)), rampHalf(sampleRateInt));
    crossfadeLength = std::max(1, std::min(wanted, delaySpan / 4));
    crossfadeTick = 0;
}

// --- Readings ---------------------------------------------------------------------------------

bool PlainEngine::getOutputValue(uint32_t index, double& value) {
    double reading = 0.0;
    switch (index) {
        case 42:
            reading = hostSynced ? 1.0 : 0.0;
            break;
        case 43:
            reading = tempoBpm / 10000.0;
            break;
        case 44:
            reading = sampleRate / 1000000.0;
            break;
        case 45:
            reading = std::sin(lfoPhase) * 0.5 + 0.5;
            break;
        case 46:
            reading = headroomPeak * 0.5;
            headroomRead = true;
            break;
        case 47:
            reading = delayTimeMs * clockFactor / 28800.0;
            break;
        case 49:
            reading = std::sqrt(activityPeak);
            activityPeak = 0.0;
            break;
        case 50:
            reading = (synced() ? loopLamp : loopEngaged) ? 1.0 : 0.0;
            if (!synced()) loopLamp = false;
            break;
        case 51:
            reading = 0.0;
            break;
        case 52:
            reading = std::clamp(1.0 - std::min(legacyReading[0], legacyReading[1]), 0.0, 1.0);
            break;
        case 53: {
            const auto now = std::chrono::steady_clock::now();
            const bool moved = processCalls != lastSeenCalls;
            lastSeenCalls = processCalls;
            if (moved) lastPoll = now;
            if (!moved && now - lastPoll < std::chrono::milliseconds(251)) return false;
            reading = moved ? 1.0 : 0.0;
            break;
        }
        case 68:
            reading = scConnected;
            break;
        case 69:
        case 70:
            reading = sideChainPeak[index - 69];
            sideChainPeak[index - 69] = 0.0;
            break;
        default:
            return false;
    }
    if (std::isnan(reading)) {
        value = 0.0;
        return false;
    }
    value = std::clamp(reading, 1e-15, 1.0);
    return true;
}

}  // namespace Quorvant
