// The audio loop: a block is rendered in chunks, and a chunk in passes over small arrays, so that
// only what hangs on the feedback runs sample by sample.
#include "dsp/Denormals.h"
#include "dsp/Engine.h"
#include "dsp/FastMath.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <type_traits>

namespace Quorvant {

namespace {

constexpr double kLargestSample = 1024.0;  // +60 dBFS
// What is below can go: -200 dBFS, and far less where the envelope, which takes a root of it, bends
// the clock.
constexpr double kSilence = 1e-10, kSilenceOfEnvelope = 1e-30;
constexpr double kFlashSeconds = 0.05;
constexpr double kLastPosition = 1e9;  // quarter notes; beyond it no exact fraction is left
constexpr double kQuarterTurn = 1.5707963705062866;  // pi/2 in single precision, intended

// What is not finite, or absurdly large, is read as silence before any filter can keep it.
Pair sane(Pair p) {
    return keepWhere(atMost(absolute(p), both(kLargestSample)), p);
}

// True where all samples are zero, of either sign.
template <typename Sample>
bool isZero(const Sample* samples, int frames) {
    using Bits = std::conditional_t<sizeof(Sample) == 4, uint32_t, uint64_t>;
    Bits any = 0;
    for (int i = 0; i < frames; ++i) any |= std::bit_cast<Bits>(samples[i]);
    return (any << 1) == 0;
}

template <typename Sample>
void load(const Sample* leftIn, const Sample* rightIn, Pair* to, int frames) {
    for (int i = 0; i < frames; ++i)
        to[i] = sane(makePair(static_cast<double>(leftIn[i]), static_cast<double>(rightIn[i])));
}

}  // namespace

void QVXCorvane77x_v2Effect::process32(const float* const* in, float* const* out, int32_t frames) {
    processBlock(in, out, frames, false);
}
void QVXCorvane77x_v2Effect::process64(const double* const* in, double* const* out,
                                       int32_t frames) {
    processBlock(in, out, frames, false);
}
void QVXCorvane77x_v2Effect::processSuspended32(const float* const* in, float* const* out,
                                                int32_t frames) {
    processBlock(in, out, frames, true);
}
void QVXCorvane77x_v2Effect::processSuspended64(const double* const* in, double* const* out,
                                                int32_t frames) {
    processBlock(in, out, frames, true);
}

// A suspended engine goes on running unheard, so that nothing old comes back when it is released.
template <typename Sample>
void QVXCorvane77x_v2Effect::processBlock(const Sample* const* in, Sample* const* out,
                                          int32_t frames, bool suspended) {
    const ScopedFloatingPointMode flushDenormals;
    ++processCalls;
    static constexpr std::array<Sample, kChunk> kSilence{};
    const auto channel = [](const Sample* pointer, const Sample* fallback, int at) {
        return pointer ? pointer + at : fallback;
    };
    beginBlock(in[2] != nullptr);

    Chunk chunk;
    for (int32_t at = 0; at < frames; at += chunk.frames) {
        chunk.frames = countRepeats(std::min<int32_t>(kChunk, frames - at));
        const int n = chunk.frames;
        const Sample* mainLeft = channel(in[0], kSilence.data(), at);
        const Sample* mainRight = channel(in[1], mainLeft, at);
        const Sample* sideLeft = channel(in[2], mainLeft, at);
        const Sample* sideRight = channel(in[3], in[2] ? sideLeft : mainRight, at);
        chunk.nothingIn = hasForgotten() && isZero(mainLeft, n) && isZero(mainRight, n) &&
                          (!in[2] || (isZero(sideLeft, n) && isZero(sideRight, n)));
        if (chunk.nothingIn) {
            chunk.input.fill(Pair{});
            chunk.side.fill(Pair{});
        } else {
            load(mainLeft, mainRight, chunk.input.data(), n);
            if (in[2])
                load(sideLeft, sideRight, chunk.side.data(), n);
            else
                std::copy_n(chunk.input.data(), n, chunk.side.data());
        }

        renderChunk(chunk);

        if (suspended && suspension >= 1.0) {
            // Bit for bit, whatever the samples hold.
            if (out[1] && out[1] != out[0]) std::copy_n(mainRight, n, out[1] + at);
            if (out[0] && out[0] + at != mainLeft) std::copy_n(mainLeft, n, out[0] + at);
            continue;
        }
        if (suspended || suspension > 0.0) crossfadeSuspension(chunk, suspended);
        if (chunk.silent && suspension <= 0.0) {
            for (Sample* zeroed : {out[0], out[1]})
                if (zeroed) std::fill_n(zeroed + at, n, Sample{0});
        } else if (out[0] && out[1]) {
            for (int i = 0; i < n; ++i) {
                out[0][at + i] = static_cast<Sample>(left(chunk.output[i]));
                out[1][at + i] = static_cast<Sample>(right(chunk.output[i]));
            }
        } else if (out[0]) {
            for (int i = 0; i < n; ++i)
                out[0][at + i] = static_cast<Sample>(0.5 * sum(chunk.output[i]));
        }
    }

    // Intended: the reading moves from block to block even in silence.
    headroomPeak += headroomOffset;
    headroomOffset = -headroomOffset;
}

void QVXCorvane77x_v2Effect::beginBlock(bool sideChainPresent) {
    sideChainConnected = sideChainPresent;
    levelFactor = (kSqrtTwo / levels.referenceScale) * kSensitivityOnFactor * kSensitivityOnFactor;
    followHost();
    memory.setCourse(direction(), delayTimeMs * sampleRate / 1000.0);
}

void QVXCorvane77x_v2Effect::followHost() {
    const HostTransport transport = hostLink.transport();
    const bool ownTempo = isOn(kEnforceManualTempo);
    if (ownTempo)
        setTempo(manualTempoBpm);
    else if (transport.tempoValid && std::isfinite(transport.tempoBpm))
        setTempo(transport.tempoBpm);
    hostSynced = transport.positionValid && std::abs(transport.positionBeats) < kLastPosition;

    repeats.setLengths(static_cast<int>(delayTimeMs * sampleRate / 1000.0),
                       static_cast<int>(kFlashSeconds * sampleRateInt / clockFactor));
    if (!hostSynced || ownTempo) {
        lastHostPosition.reset();
        return;
    }
    const double position = transport.positionBeats;
    if (isOn(kLfoSync) && position != lastHostPosition)
        lfo.setPosition(position * 60.0 * lfoRateHz / tempoBpm, value(kLfoOffset));
    lastHostPosition = position;

    const double period = delayTimeMs * tempoBpm / 60000.0;  // quarter notes
    if (isOn(kDelayClockMode) && transport.playing && period > 0.0) {
        const double beats = position - std::floor(position / period) * period;
        if (repeats.follow(static_cast<int>(beats * sampleRate * 60.0 / tempoBpm))) beginRepeat();
    }
}

// Where a repeat begins, a waiting loop engages and a released one's lamp goes out.
void QVXCorvane77x_v2Effect::beginRepeat() {
    if (!infRepeat) {
        loopLamp = false;
    } else if (!loopEngaged) {
        loopLamp = true;
        setLoop(true);
    }
}

// Counts the next samples, at most `frames`, and returns how many. It stops short of the start of a
// repeat where that would change the loop.
int QVXCorvane77x_v2Effect::countRepeats(int frames) {
    const bool boundaryMatters = infRepeat ? !loopEngaged : loopLamp;
    int counted = 0;
    while (counted < frames) {
        if (repeats.untilRestart() == 0) {
            if (boundaryMatters) {
                if (counted > 0) break;
                beginRepeat();
            }
            repeats.restart();
            ++counted;
        }
        const int steps = std::min(frames - counted, repeats.untilRestart());
        repeats.advance(steps);
        counted += steps;
    }
    return counted;
}

void QVXCorvane77x_v2Effect::renderChunk(Chunk& chunk) {
    fillControls(chunk);
    chunk.clocking = clockingOf(chunk);
    chunk.silent = chunk.nothingIn && !chunk.moving && !converts(chunk.stages);
    if (chunk.silent) return passSilence(chunk);
    filterInput(chunk);
    convertSideChain(chunk);
    runLfo(chunk);
    if (chunk.clocking == Clocking::Lfo) bendClock(chunk);
    if (memory.isPlain())
        runMemoryOn(PlainTicks(memory), chunk);
    else
        runMemoryOn(DelayMemory(memory), chunk);
    noteSilence(chunk);
    measure(chunk);
    if (chunk.clocking != Clocking::Envelope) followLevels(chunk);
    mixOutput(chunk);
}

// Counts for how long nothing has gone to the memory. The hiss of the converters never ends.
void QVXCorvane77x_v2Effect::noteSilence(const Chunk& chunk) {
    const double limit = chunk.clocking == Clocking::Envelope ? kSilenceOfEnvelope : kSilence;
    const bool quiet = !converts(chunk.stages) && largest(processedPeak) < limit;
    quietTicks =
        quiet ? std::min(quietTicks, std::numeric_limits<int>::max() / 2) + chunk.ticks : 0;
}

// True when nothing that came in is left to be heard.
bool QVXCorvane77x_v2Effect::hasForgotten() const {
    return quietTicks > memory.ticksToSilence() && inputLimiter.hasForgotten(kSilence) &&
           outputLimiter.hasForgotten(kSilence) && sideChainLimiter.hasForgotten(kSilence);
}

// What goes on in silence: the LFO, the clock, the memory's indices and the fading envelope.
void QVXCorvane77x_v2Effect::passSilence(Chunk& chunk) {
    runLfo(chunk);
    if (chunk.clocking == Clocking::Lfo) bendClock(chunk);
    if (chunk.clocking == Clocking::Envelope) {
        const bool inverted = isOn(kEnvInvert);
        envelope.beginBending(levelFactor);
        for (int i = 0; i < chunk.frames; ++i) {
            envelope.followBending(0.0);
            chunk.factor[i] =
                bentFactor(chunk.controls[0], chunk.lfo[i], inverted, envelope.bendingRoot());
        }
    } else {
        for (int i = 0; i < chunk.frames; ++i) envelope.follow(0.0);
    }
    const auto count = [&chunk](double) { ++chunk.ticks; };
    chunk.ticks = 0;
    clockFactor = restingClockFactor();
    if (chunk.clocking == Clocking::Unison) {
        chunk.ticks = chunk.frames;
    } else if (chunk.clocking == Clocking::Steady) {
        for (int i = 0; i < chunk.frames; ++i) clock.advance(clockFactor, count);
    } else {
        for (int i = 0; i < chunk.frames; ++i) clock.advance(clockFactor = chunk.factor[i], count);
    }
    memory.recordSilence(chunk.ticks);

    inputFilter.clear();
    legacyStage.clear();
    for (Limiter* limiter : {&inputLimiter, &outputLimiter, &sideChainLimiter}) limiter->clear();
    coupling.clear();
    highCut.clear();
    feedbackSignal = processedPeak = Pair{};
    recordedBefore = playedBefore = {};
    noteSilence(chunk);
    noteHeadroom();
    chunk.output.fill(Pair{});
}

// Of an unmodulated clock: host samples a tick.
double QVXCorvane77x_v2Effect::restingClockFactor() const {
    return std::clamp(vcoRatio * x2Factor, kLowestClockFactor, kHighestClockFactor);
}

QVXCorvane77x_v2Effect::Clocking QVXCorvane77x_v2Effect::clockingOf(const Chunk& chunk) const {
    const ControlFrame& first = chunk.controls[0];
    if (chunk.moving) return Clocking::Envelope;
    if (first.depth == 0.0)
        return clock.isUnison(restingClockFactor()) ? Clocking::Unison : Clocking::Steady;
    return std::abs(first.waveform - 0.5) < 0.5 ? Clocking::Envelope : Clocking::Lfo;
}

void QVXCorvane77x_v2Effect::fillControls(Chunk& chunk) {
    chunk.moving = !controls.isSettled();
    const int entries = chunk.moving ? chunk.frames : 1;
    for (int i = 0; i < entries; ++i) {
        if (chunk.moving) controls.step();
        // The wet gain is the sine of the mix's angle and the dry gain its cosine.
        const double angle = controls[kCtlMix] * kQuarterTurn;
        const Pair gains =
            FastMath::sin(makePair(angle, M_PI_2 - angle)) * both(controls[kCtlOutputGain]);
        const double notBypassed = 1.0 - controls[kCtlBypass];
        chunk.controls[i] = {.inputGain = controls[kCtlInputGain],
                             .dryGain = right(gains),
                             .wetGain = left(gains) / x2Factor * notBypassed,
                             .process = controls[kCtlProcess],
                             .notBypassed = notBypassed,
                             .monitor = controls[kCtlMonitor],
                             .external = controls[kCtlExternal],
                             .feedback = controls[kCtlFeedback],
                             .waveform = controls[kCtlWaveform],
                             .depth = controls[kCtlDepth],
                             .legacy = controls[kCtlLegacy],
                             .limits = controls[kCtlLimits],
                             .converts = controls[kCtlConverts],
                             .ceiling = controls[kCtlCeiling],
                             .coupling = controls[kCtlCoupling]};
    }
    const ControlFrame &first = chunk.controls[0], &last = chunk.controls[entries - 1];
    const bool modesCrossfade = first.legacy != last.legacy || first.limits != last.limits ||
                                first.converts != last.converts;
    chunk.stages = modesCrossfade         ? Stages::All
                   : first.converts > 0.0 ? Stages::Full
                   : first.limits > 0.0   ? Stages::Lims
                   : first.legacy > 0.0   ? Stages::Legacy
                                          : Stages::Light;
    if (chunk.moving) controls.settle();
}

void QVXCorvane77x_v2Effect::filterInput(Chunk& chunk) {
    InputFilter filter = inputFilter;
    const bool throughInputStage = converts(chunk.stages);
    for (int i = 0; i < chunk.frames; ++i) {
        const ControlFrame& control = chunk.control(i);
        Pair dry = chunk.input[i] * both(control.inputGain);
        if (throughInputStage)
            dry = blended(dry, saturated(dry, control.ceiling), control.converts);
        chunk.dry[i] = dry;
        chunk.processed[i] = filter.process(dry);
    }
    inputFilter = filter;
}

// The third converter treats the side chain's input as the others treat the main one.
void QVXCorvane77x_v2Effect::convertSideChain(Chunk& chunk) {
    if (!limits(chunk.stages) || (!chunk.moving && chunk.controls[0].external == 0.0)) {
        sideChainLimiter.clear();
        return;
    }
    const bool converting = converts(chunk.stages);
    sideChainAdConverter.setCeiling(chunk.controls[0].ceiling);
    for (int i = 0; i < chunk.frames; ++i) {
        const ControlFrame& control = chunk.control(i);
        Pair x = chunk.side[i];
        x = blended(x, x * sideChainLimiter.gain(x, control.ceiling), control.limits);
        if (converting) x = blended(x, sideChainAdConverter.convert(x), control.converts);
        chunk.side[i] = x;
    }
}

// What the LFO adds to the clock, before Depth: a sine below the middle of Waveform, a square
// above.
void QVXCorvane77x_v2Effect::runLfo(Chunk& chunk) {
    if (chunk.clocking < Clocking::Lfo) return lfo.advance(chunk.frames);
    const double settled = chunk.controls[0].waveform - 0.5;
    if (!chunk.moving && settled < 0.0)
        return lfo.fillSine(chunk.lfo.data(), chunk.frames, settled);
    for (int i = 0; i < chunk.frames; ++i) {
        const double phase = lfo.next(), fromCentre = chunk.control(i).waveform - 0.5;
        chunk.lfo[i] = fromCentre < 0.0 ? left(FastMath::sin(both(phase))) * fromCentre
                       : phase > 0.0    ? -fromCentre
                                        : fromCentre;
    }
}

// The clock of a chunk that the LFO alone bends.
void QVXCorvane77x_v2Effect::bendClock(Chunk& chunk) const {
    const double depth = chunk.controls[0].depth;  // nothing moves here
    for (int i = 0; i < chunk.frames; i += 2) {
        const Pair factor =
            clamped((loadTwo(&chunk.lfo[i]) * both(depth) + both(vcoRatio)) * both(x2Factor),
                    kLowestClockFactor, kHighestClockFactor);
        storeTwo(&chunk.factor[i], factor);
        storeTwo(&chunk.step[i], both(1.0) / factor);
    }
}

// The clock's factor where the envelope bends it, too. Arranged so that little waits for the root,
// which waits for everything else.
double QVXCorvane77x_v2Effect::bentFactor(const ControlFrame& control, double lfoTerm,
                                          bool inverted, double root) const {
    const double centre = 1.0 - 2.0 * std::abs(control.waveform - 0.5);
    const double rest =
        inverted ? EnvelopeFollower::kRestingInvertedBend : EnvelopeFollower::kRestingBend;
    const double gain = centre * control.depth * x2Factor;
    const double resting = ((lfoTerm + rest * centre) * control.depth + vcoRatio) * x2Factor;
    return std::clamp(resting + (inverted ? gain : -gain) * root, kLowestClockFactor,
                      kHighestClockFactor);
}

template <typename Memory>
void QVXCorvane77x_v2Effect::runMemoryOn(Memory cells, Chunk& chunk) {
    switch (chunk.stages) {
        case Stages::Light:
            return runMemoryThrough<Stages::Light>(cells, chunk);
        case Stages::Legacy:
            return runMemoryThrough<Stages::Legacy>(cells, chunk);
        case Stages::Lims:
            return runMemoryThrough<Stages::Lims>(cells, chunk);
        case Stages::Full:
            return runMemoryThrough<Stages::Full>(cells, chunk);
        case Stages::All:
            return runMemoryThrough<Stages::All>(cells, chunk);
    }
}

template <QVXCorvane77x_v2Effect::Stages kStages, typename Memory>
void QVXCorvane77x_v2Effect::runMemoryThrough(Memory cells, Chunk& chunk) {
    // A stage that is out of the path starts afresh when it comes back.
    if constexpr (!weighs(kStages)) legacyStage.clear();
    if constexpr (!limits(kStages)) {
        inputLimiter.clear();
        outputLimiter.clear();
        coupling.clear();
    }
    switch (chunk.clocking) {
        case Clocking::Unison:
            return runMemory<kStages, Clocking::Unison>(cells, chunk);
        case Clocking::Steady:
            return runMemory<kStages, Clocking::Steady>(cells, chunk);
        case Clocking::Lfo:
            return runMemory<kStages, Clocking::Lfo>(cells, chunk);
        case Clocking::Envelope:
            return runMemory<kStages, Clocking::Envelope>(cells, chunk);
    }
}

// Everything that hangs on the previous sample's feedback: level stages, converters, clock, memory,
// high cut.
template <QVXCorvane77x_v2Effect::Stages kStages, QVXCorvane77x_v2Effect::Clocking kClocking,
          typename Memory>
void QVXCorvane77x_v2Effect::runMemory(Memory cells, Chunk& chunk) {
    // Copies, so that the compiler may keep them in registers across stores.
    MemoryClock vco = clock;
    HighCut cut = highCut;
    Pair feedback = feedbackSignal;
    EnvelopeFollower follower = envelope;
    Limiter limiterIn = inputLimiter, limiterOut = outputLimiter;
    AdConverter adc = adConverter;
    DaConverter dac = daConverter;
    CouplingCapacitor capacitor = coupling;
    adc.setCeiling(chunk.controls[0].ceiling);

    // What goes to the memory by frames, and what comes from it by ticks; both begin with the last
    // of what went before, which the splines reach back to.
    std::array<Pair, kSplineReach + kChunk> recorded;
    std::array<Pair, kSplineReach + kChunk * kMostTicks> played;
    std::copy_n(recordedBefore.data(), kSplineReach, recorded.data());
    std::copy_n(playedBefore.data(), kSplineReach, played.data());
    Pair* newest = &played[kSplineReach - 1];

    if constexpr (kClocking == Clocking::Envelope) follower.beginBending(levelFactor);
    const bool inverted = isOn(kEnvInvert);
    const bool shorterThanMemory = memory.delayTicks() < 3.0 && !infRepeat;
    double factor = restingClockFactor();
    double step = 1.0 / factor;
    Pair peak{};
    // Only the chunks that count as bent by the envelope can have moving controls.
    const ControlFrame settled = chunk.controls[0];
    const auto controlAt = [&](int frame) -> const ControlFrame& {
        if constexpr (kClocking == Clocking::Envelope) return chunk.control(frame);
        return settled;
    };

    const auto tick = [&](Pair coming, const ControlFrame& control) {
        if constexpr (converts(kStages))
            coming = blended(coming, adc.convert(coming), control.converts);
        Pair leaving = cells.tick(coming);
        if constexpr (converts(kStages))
            leaving = blended(leaving, dac.convert(leaving), control.converts);
        *++newest = leaving;
    };

    for (int i = 0; i < chunk.frames; ++i) {
        const ControlFrame& control = controlAt(i);
        Pair x = chunk.processed[i] + feedback;
        if constexpr (weighs(kStages))
            x = blended(x, x * legacyStage.gain(x, levelFactor), control.legacy);
        peak = larger(peak, absolute(x));
        if constexpr (limits(kStages))
            x = blended(x, x * limiterIn.gain(x, control.ceiling), control.limits);
        chunk.processed[i] = x;

        if constexpr (kClocking == Clocking::Envelope) {
            follower.followBending(envelopeInput(x, chunk.side[i], control.external));
            factor = bentFactor(control, chunk.lfo[i], inverted, follower.bendingRoot());
            step = 1.0 / factor;
        }
        if constexpr (kClocking == Clocking::Lfo) {
            factor = chunk.factor[i];
            step = chunk.step[i];
        }

        const Pair input = clamped(x * both(control.notBypassed), -kLargestSample, kLargestSample);
        Pair* const latest = &recorded[i + kSplineReach];
        *latest = input;
        Pair delayed;
        if constexpr (kClocking == Clocking::Unison) {
            tick(latest[-1], control);
            delayed = newest[-2];
        } else {
            vco.advance(factor, [&](double t) { tick(splineAt(latest - 3, t), control); });
            delayed = splineAt(newest - 3, vco.outputPosition(step));
        }
        if (shorterThanMemory) delayed = input;
        if constexpr (limits(kStages)) {
            const double stageCeiling = control.ceiling * 0.5;
            delayed =
                blended(delayed, delayed * limiterOut.gain(delayed, stageCeiling), control.limits);
        }
        chunk.delayed[i] = delayed;
        Pair returned = cut.process(delayed);
        if constexpr (limits(kStages)) returned = capacitor.process(returned, control.coupling);
        feedback = returned * both(control.feedback);
    }

    cells.storeTo(memory);
    std::copy_n(&recorded[chunk.frames], kSplineReach, recordedBefore.data());
    chunk.ticks = static_cast<int>(newest - &played[kSplineReach - 1]);
    std::copy_n(newest - kSplineReach + 1, kSplineReach, playedBefore.data());
    clock = vco;
    highCut = cut;
    feedbackSignal = feedback;
    envelope = follower;
    inputLimiter = limiterIn;
    outputLimiter = limiterOut;
    adConverter = adc;
    daConverter = dac;
    coupling = capacitor;
    clockFactor = factor;
    processedPeak = peak;
}

// One frame's level for the envelope follower.
double QVXCorvane77x_v2Effect::envelopeInput(Pair processed, Pair side, double external) const {
    const double mean = sum(absolute(processed)) * (0.5 * levelFactor);
    const double internal = mode == ProcessingMode::Legacy ? mean : FastMath::tanhOfPositive(mean);
    if (external == 0.0) return internal;
    const Pair blend = both(1.0 - external) * processed + both(external) * side;
    return external * 0.5 * sum(absolute(blend)) + (1.0 - external) * internal;
}

// The envelope of a chunk whose clock it does not bend, two frames at a time.
void QVXCorvane77x_v2Effect::followLevels(const Chunk& chunk) {
    EnvelopeFollower follower = envelope;
    const double external = chunk.controls[0].external;  // nothing moves here
    const double scale = 0.5 * levelFactor;
    const bool limited = mode != ProcessingMode::Legacy;
    for (int i = 0; i < chunk.frames; i += 2) {
        const int second = std::min(i + 1, chunk.frames - 1);
        const auto magnitudes = [&](const Pair* signal) {
            return sums(absolute(signal[i]), absolute(signal[second]));
        };
        Pair level = magnitudes(chunk.processed.data()) * both(scale);
        if (limited)
            level = makePair(FastMath::tanhOfPositive(left(level)),
                             FastMath::tanhOfPositive(right(level)));
        if (external != 0.0)
            level =
                both(external * 0.5) * magnitudes(chunk.sideChain) + both(1.0 - external) * level;
        follower.follow(left(level));
        if (second != i) follower.follow(right(level));
    }
    envelope = follower;
}

// The side-chain signal and the peaks that the editor shows.
void QVXCorvane77x_v2Effect::measure(Chunk& chunk) {
    Pair sidePeak = sideChainPeak;
    if (!chunk.moving && chunk.controls[0].external == 0.0) {
        chunk.sideChain = chunk.processed.data();
        for (int i = 0; i < chunk.frames; ++i)
            sidePeak = larger(sidePeak, absolute(chunk.processed[i]));
    } else {
        chunk.sideChain = chunk.side.data();
        for (int i = 0; i < chunk.frames; ++i) {
            const double external = chunk.control(i).external;
            chunk.side[i] = blended(chunk.processed[i], chunk.side[i], external);
            sidePeak = larger(sidePeak, absolute(chunk.side[i]));
        }
    }
    sideChainPeak = sidePeak;
    noteHeadroom();
}

void QVXCorvane77x_v2Effect::noteHeadroom() {
    if (headroomRead) headroomPeak = 0.0;
    headroomRead = false;
    headroomPeak =
        std::max(headroomPeak, largest(processedPeak) * (14.142 / levels.referenceScale));
}

void QVXCorvane77x_v2Effect::mixOutput(Chunk& chunk) {
    const ControlFrame& first = chunk.controls[0];
    const bool neitherInputNorMonitor =
        !chunk.moving && first.process == 1.0 && first.monitor == 0.0;
    for (int i = 0; i < chunk.frames; ++i) {
        const ControlFrame& control = chunk.control(i);
        Pair mixed =
            chunk.delayed[i] * both(control.wetGain) + chunk.dry[i] * both(control.dryGain);
        if (!neitherInputNorMonitor) {
            mixed = blended(chunk.input[i], mixed, control.process);
            mixed = blended(mixed, chunk.sideChain[i], control.monitor);
        }
        chunk.output[i] = mixed;
    }
}

void QVXCorvane77x_v2Effect::crossfadeSuspension(Chunk& chunk, bool towardsInput) {
    for (int i = 0; i < chunk.frames; ++i) {
        suspension =
            std::clamp(suspension + (towardsInput ? suspensionStep : -suspensionStep), 0.0, 1.0);
        chunk.output[i] = chunk.output[i] + both(suspension) * (chunk.input[i] - chunk.output[i]);
    }
}

}  // namespace Quorvant
