// The engine's operations: set-up, the parameter map and the readings. The audio loop is in
// EngineBlock.cpp.
#include "dsp/Engine.h"

#include "dsp/OutputIndex.h"
#include "params/ParameterLaws.h"
#include "params/ParameterTable.h"

#include <algorithm>
#include <cmath>

namespace Quorvant {

namespace {

constexpr double kLowestRate = 44100.0, kHighestRate = 384000.0;  // Hz
constexpr double kTailSeconds = 10.0;
constexpr double kSuspendFadeSeconds = 0.01;
constexpr double kRegeneration = 0.05, kRegenerationStart = 0.95;
constexpr double kSmallestReading = 1e-15;
constexpr auto kProcessingTimeout = std::chrono::milliseconds(251);

}  // namespace

QVXCorvane77x_v2Effect::QVXCorvane77x_v2Effect(const QVXHostLink& link) : hostLink(link) {
    for (uint32_t i = 0; i < kParameterCount; ++i) values[i] = parameterDefault(i);
    for (uint32_t i = 0; i < kParameterCount; ++i) setParameter(i, parameterDefault(i));
    setSampleRate(sampleRate);
}

QVXCorvane77x_v2Effect::~QVXCorvane77x_v2Effect() = default;

int32_t QVXCorvane77x_v2Effect::getTail() {
    return static_cast<int32_t>(sampleRate * kTailSeconds);
}

bool QVXCorvane77x_v2Effect::setSampleRate(double rate) {
    // Written so that not-a-number ends at the lowest rate.
    sampleRate = rate >= kLowestRate ? std::min(rate, kHighestRate) : kLowestRate;
    controls.setSampleRate(sampleRate);
    song.setSampleRate(sampleRate);
    path.setSampleRate(sampleRate);
    inputStage.setSampleRate(sampleRate);
    sideChainLimiter.setSampleRate(sampleRate);
    sideChainAdConverter.setSampleRate(sampleRate);
    suspensionStep = 1.0 / (kSuspendFadeSeconds * sampleRate);
    inputFilter.setCorner(InputFilter::kCorner, sampleRate);
    doubledInputFilter.setCorner(InputFilter::kDoubledCorner, sampleRate);
    applyHighCut();
    reset();
    return sampleRate == rate;
}

void QVXCorvane77x_v2Effect::reset() {
    headroomOffset = 1e-06;
    headroomPeak = 0.0;
    headroomRead = false;
    sideChainPeak = Pair{};
    controls.jumpToTargets();
    suspension = values.isOn(kSuspend) ? 1.0 : 0.0;

    inputStage.clear();
    inputFilter.clear();
    doubledInputFilter.clear();
    sideChainLimiter.clear();
    sideChainAdConverter.reset();
    song.reset();
    path.reset(restingClockFactor);
    path.setCourse(direction(), song.delaySamples());
    path.setLooping(looping);
}

DirectionMode QVXCorvane77x_v2Effect::direction() const {
    return static_cast<DirectionMode>(listState(values[kDirectionMode], 4));
}

void QVXCorvane77x_v2Effect::setParameter(uint32_t index, double received) {
    if (index >= values.size() || std::isnan(received)) return;
    const double v = clampNormalised(received);
    // A loop keeps its length: these two must be sent again once it is off.
    if (song.infRepeatIsOn() && (index == kDelayTime || index == kDelayClockMode)) return;
    values[index] = v;

    switch (index) {
        case kProcess:
            controls.setTarget(kCtlProcess, switchState(v) ? 1.0 : 0.0);
            break;
        case kProcessingMode:
            mode = static_cast<ProcessingMode>(listState(v, 4));
            controls.setTarget(kCtlLegacy, mode == ProcessingMode::Legacy ? 1.0 : 0.0);
            controls.setTarget(kCtlLimits, mode >= ProcessingMode::Lims ? 1.0 : 0.0);
            controls.setTarget(kCtlConverts, mode == ProcessingMode::Full ? 1.0 : 0.0);
            applyFeedback();
            break;
        case kDelayTime:
        case kDelayClockMode:
        case kDelayNote:
            song.applyDelay();
            break;
        case kDelayX2:
            controls.setTarget(kCtlWetLevel, 1.0 / x2Factor(v));
            controls.setTarget(kCtlDoubledFilter, switchState(v) ? 1.0 : 0.0);
            applyVco();
            break;
        case kFeedback:
        case kFeedbackInvert:
            applyFeedback();
            break;
        case kHighCut:
        case kHighCutCutoff:
            applyHighCut();
            break;
        case kInfRepeat:
            song.setInfRepeat(switchState(v));
            followLoop();
            break;
        case kManualVco:
        case kDepth:
            applyVco();
            break;
        case kWaveform:
            controls.setTarget(kCtlWaveform, v);
            break;
        case kLfoRate:
        case kLfoSync:
        case kLfoNote:
            song.applyLfoRate();
            break;
        case kManualTempo:
            song.applyManualTempo();
            break;
        case kSideChainIntExt:
            controls.setTarget(kCtlExternal, v);
            break;
        case kSideChainMonitor:
            controls.setTarget(kCtlMonitor, switchState(v) ? 1.0 : 0.0);
            break;
        case kResetCommand:
            if (v != 0.0) reset();
            break;
        default:
            if (affectsLevels(index)) applyLevels();
            break;  // the others are read where they are used
    }
}

void QVXCorvane77x_v2Effect::applyLevels() {
    levels = levelsInForce(values);
    controls.setTarget(kCtlInputGain, levels.inputGain);
    controls.setTarget(kCtlOutputGain, levels.outputGain);
    controls.setTarget(kCtlMix, levels.mix);
    controls.setTarget(kCtlBypass, levels.bypass);
    controls.setTarget(kCtlCeiling, 1.0 / levels.converterCeiling);
    controls.setTarget(kCtlLevelFactor, (kSqrtTwo / levels.referenceScale) * kSensitivityOnFactor *
                                            kSensitivityOnFactor);
}

void QVXCorvane77x_v2Effect::applyVco() {
    const double vco = vcoRatio(values[kManualVco], values[kDepth]);
    const double x2 = x2Factor(values[kDelayX2]);
    restingClockFactor = vco * x2;
    path.showClockFactor(restingClockFactor);
    controls.setTarget(kCtlDepth, depthCurve(values[kDepth]));
    controls.setTarget(kCtlVco, vco);
    controls.setTarget(kCtlX2, x2);
}

void QVXCorvane77x_v2Effect::applyHighCut() {
    controls.setTarget(kCtlHighCutPole,
                       values.isOn(kHighCut)
                           ? HighCut::poleOf(highCutHz(values[kHighCutCutoff]), sampleRate)
                           : 0.0);
}

void QVXCorvane77x_v2Effect::applyFeedback() {
    const double knob = values[kFeedback];
    // Behind a limiter the last of the knob's way goes beyond unity, so that repeats build up to
    // a level that they keep.
    const double beyond = std::max(0.0, (knob - kRegenerationStart) / (1.0 - kRegenerationStart));
    const double regeneration = mode >= ProcessingMode::Lims ? beyond : 0.0;
    const double polarity = values.isOn(kFeedbackInvert) ? -1.0 : 1.0;
    controls.setTarget(kCtlFeedback, looping ? 1.0 : knob * polarity);
    controls.setTarget(kCtlRegeneration, looping ? 0.0 : kRegeneration * regeneration);
    controls.setTarget(kCtlCoupling, mode == ProcessingMode::Full ? 1.0 : regeneration);
}

bool QVXCorvane77x_v2Effect::getOutputValue(uint32_t index, double& reading) {
    double v = 0.0;
    switch (index) {
        case kOutHostSync:
            v = song.hasPosition() ? 1.0 : 0.0;
            break;
        case kOutTempo:
            v = song.tempo() / 10000.0;
            break;
        case kOutSampleRate:
            v = sampleRate / 1000000.0;
            break;
        case kOutLfoLamp:
            v = std::sin(song.lfo.currentPhase()) * 0.5 + 0.5;
            break;
        case kOutHeadroom:
            v = headroomPeak * 0.5;
            headroomRead = true;
            break;
        case kOutDelayReadout:
            v = song.delayMs() * path.clockFactor() / kLongestHeardDelayMs;
            break;
        case kOutDelayActivity:
            v = std::sqrt(song.takeActivity());
            break;
        case kOutInfRepeatLamp:
            v = song.takeLoopLamp() ? 1.0 : 0.0;
            break;
        case kOutFirstGainReduction:
            v = mode >= ProcessingMode::Lims ? 1.0 - path.firstGain() : 0.0;
            break;
        case kOutSecondGainReduction:
            v = mode >= ProcessingMode::Lims     ? 1.0 - path.secondGain()
                : mode == ProcessingMode::Legacy ? 1.0 - path.legacyGain()
                                                 : 0.0;
            break;
        case kOutProcessingActivity: {
            const auto now = std::chrono::steady_clock::now();
            if (processCalls != processCallsSeen) {
                processCallsSeen = processCalls;
                processSeenAt = now;
                v = 1.0;
            } else if (now - processSeenAt < kProcessingTimeout) {
                return false;
            }
            break;
        }
        case kOutSideChainConnected:
            v = sideChainConnected ? 1.0 : 0.0;
            break;
        case kOutSideChainPeakLeft:
            v = left(sideChainPeak);
            sideChainPeak = makePair(0.0, right(sideChainPeak));
            break;
        case kOutSideChainPeakRight:
            v = right(sideChainPeak);
            sideChainPeak = makePair(left(sideChainPeak), 0.0);
            break;
        default:
            return false;
    }
    // Not-a-number is no reading.
    reading = std::isnan(v) ? 0.0 : std::clamp(v, kSmallestReading, 1.0);
    return !std::isnan(v);
}

}  // namespace Quorvant
