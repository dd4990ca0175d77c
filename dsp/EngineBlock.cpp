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
// Of the converters' ceiling: where repeats neither grow nor fade at full feedback. -6 dBFS at
// default levels.
constexpr double kLoopLevel = 0.0575;
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
    memory.passTime(frames);
}

void QVXCorvane77x_v2Effect::beginBlock(bool sideChainPresent) {
    sideChainConnected = sideChainPresent;
    followHost();
    memory.setCourse(direction(), delayMs * sampleRate / 1000.0);
}

void QVXCorvane77x_v2Effect::followHost() {
    const HostTransport transport = hostLink.transport();
    const bool ownTempo = isOn(kEnforceManualTempo);
    if (ownTempo)
        setTempo(manualTempoBpm(value(kManualTempo)));
    else if (transport.tempoValid && std::isfinite(transport.tempoBpm))
        setTempo(transport.tempoBpm);
    hostSynced = transport.positionValid && std::abs(transport.positionBeats) < kLastPosition;

    repeats.setLengths(static_cast<int>(delayMs * sampleRate / 1000.0),
                       static_cast<int>(kFlashSeconds * sampleRateInt / clockFactor));
    if (!hostSynced || ownTempo) {
        lastHostPosition.reset();
        return;
    }
    const double position = transport.positionBeats;
    if (isOn(kLfoSync) && position != lastHostPosition)
        lfo.setPosition(position * 60.0 * lfoHz / tempoBpm, value(kLfoOffset));
    lastHostPosition = position;

    const double period = delayMs * tempoBpm / 60000.0;  // quarter notes
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
    runMemory(chunk);
    if (chunk.moving) clearIdleStages();
    noteSilence(chunk);
    measure(chunk);
    if (!followsEnvelope(chunk.clocking)) followLevels(chunk);
    mixOutput(chunk);
}

// Counts for how long nothing has gone to the memory. The hiss of the converters never ends.
void QVXCorvane77x_v2Effect::noteSilence(const Chunk& chunk) {
    const double limit = followsEnvelope(chunk.clocking) ? kSilenceOfEnvelope : kSilence;
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
        envelope.beginBending(chunk.controls[0].levelFactor);
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
    clockFactor = restingClockFactor;
    if (chunk.clocking == Clocking::Unison) {
        chunk.ticks = chunk.frames;
    } else if (chunk.clocking == Clocking::Steady) {
        for (int i = 0; i < chunk.frames; ++i) clock.advance(clockFactor, count);
    } else {
        for (int i = 0; i < chunk.frames; ++i) clock.advance(clockFactor = chunk.factor[i], count);
    }
    memory.recordSilence(chunk.ticks);

    inputFilter.clear();
    doubledInputFilter.clear();
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
QVXCorvane77x_v2Effect::Clocking QVXCorvane77x_v2Effect::clockingOf(const Chunk& chunk) const {
    const ControlFrame& first = chunk.controls[0];
    if (chunk.moving) return Clocking::Moving;
    if (first.depth == 0.0)
        return clock.isUnison(restingClockFactor) ? Clocking::Unison : Clocking::Steady;
    return std::abs(first.waveform - 0.5) < 0.5 ? Clocking::Envelope : Clocking::Lfo;
}

void QVXCorvane77x_v2Effect::fillControls(Chunk& chunk) {
    chunk.moving = !controls.isSettled() || !shortCuts;
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
                             .wetGain = left(gains) * controls[kCtlWetLevel] * notBypassed,
                             .process = controls[kCtlProcess],
                             .notBypassed = notBypassed,
                             .monitor = controls[kCtlMonitor],
                             .external = controls[kCtlExternal],
                             .feedback = controls[kCtlFeedback],
                             .regeneration = controls[kCtlRegeneration],
                             .waveform = controls[kCtlWaveform],
                             .depth = controls[kCtlDepth],
                             .legacy = controls[kCtlLegacy],
                             .limits = controls[kCtlLimits],
                             .converts = controls[kCtlConverts],
                             .ceiling = controls[kCtlCeiling],
                             .coupling = controls[kCtlCoupling],
                             .levelFactor = controls[kCtlLevelFactor],
                             .highCutPole = controls[kCtlHighCutPole],
                             .vco = controls[kCtlVco],
                             .x2 = controls[kCtlX2],
                             .doubledFilter = controls[kCtlDoubledFilter]};
    }
    const ControlFrame& first = chunk.controls[0];
    const auto fading = [](double weight) { return weight > 0.0 && weight < 1.0; };
    const bool modesCrossfade =
        fading(first.legacy) || fading(first.limits) || fading(first.converts);
    chunk.stages = modesCrossfade || !shortCuts ? Stages::All
                   : first.converts > 0.0       ? Stages::Full
                   : first.limits > 0.0         ? Stages::Lims
                   : first.legacy > 0.0         ? Stages::Legacy
                                                : Stages::Light;
}

void QVXCorvane77x_v2Effect::filterInput(Chunk& chunk) {
    const auto run = [&chunk](auto&& filtered) {
        const bool throughInputStage = converts(chunk.stages);
        for (int i = 0; i < chunk.frames; ++i) {
            const ControlFrame& control = chunk.control(i);
            Pair dry = chunk.input[i] * both(control.inputGain);
            if (throughInputStage)
                dry = blended(dry, saturated(dry, control.ceiling), control.converts);
            chunk.dry[i] = dry;
            chunk.processed[i] = filtered(dry, control.doubledFilter);
        }
    };
    const double weight = chunk.controls[0].doubledFilter;
    if (weight > 0.0 && weight < 1.0)
        return run([this](Pair dry, double w) {
            return blended(inputFilter.process(dry), doubledInputFilter.process(dry),
                           w * w * (3.0 - 2.0 * w));
        });
    InputFilter& inUse = weight > 0.0 ? doubledInputFilter : inputFilter;
    InputFilter filter = inUse;  // so that the compiler may keep it in registers across stores
    run([&filter](Pair dry, double) { return filter.process(dry); });
    inUse = filter;
    (weight > 0.0 ? inputFilter : doubledInputFilter).clear();
}

// The third converter treats the side chain's input as the others treat the main one.
void QVXCorvane77x_v2Effect::convertSideChain(Chunk& chunk) {
    if (!limits(chunk.stages) || (!chunk.moving && chunk.controls[0].external == 0.0)) return;
    const bool converting = converts(chunk.stages);
    for (int i = 0; i < chunk.frames; ++i) {
        const ControlFrame& control = chunk.control(i);
        Pair x = chunk.side[i];
        x = blended(x, x * sideChainLimiter.gain(x, control.ceiling), control.limits);
        if (i == 0 || chunk.moving) sideChainAdConverter.setCeiling(control.ceiling);
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
        chunk.lfo[i] = fromCentre *
                       (fromCentre < 0.0 ? left(FastMath::sin(both(phase))) : lfo.squareAt(phase));
    }
}

// The clock of a chunk that the LFO alone bends.
void QVXCorvane77x_v2Effect::bendClock(Chunk& chunk) const {
    const ControlFrame& control = chunk.controls[0];  // nothing moves here
    for (int i = 0; i < chunk.frames; i += 2) {
        const Pair factor = clamped(
            (loadTwo(&chunk.lfo[i]) * both(control.depth) + both(control.vco)) * both(control.x2),
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
    const double gain = centre * control.depth * control.x2;
    const double resting = ((lfoTerm + rest * centre) * control.depth + control.vco) * control.x2;
    return std::clamp(resting + (inverted ? gain : -gain) * root, kLowestClockFactor,
                      kHighestClockFactor);
}

// What lets repeats grow at full feedback, and keeps them where they neither grow nor fade.
Pair QVXCorvane77x_v2Effect::regeneratingGain(Pair loopLevel, const ControlFrame& control) {
    const Pair nearness = loopLevel * both(1.0 / (kLoopLevel * control.ceiling));
    return both(1.0) + both(control.regeneration) * (both(1.0) - smaller(nearness, both(2.0)));
}

void QVXCorvane77x_v2Effect::runMemory(Chunk& chunk) {
    switch (chunk.stages) {
        case Stages::Light:
            return runMemoryThrough<Stages::Light>(chunk);
        case Stages::Legacy:
            return runMemoryThrough<Stages::Legacy>(chunk);
        case Stages::Lims:
            return runMemoryThrough<Stages::Lims>(chunk);
        case Stages::Full:
            return runMemoryThrough<Stages::Full>(chunk);
        case Stages::All:
            return runMemoryThrough<Stages::All>(chunk);
    }
}

template <QVXCorvane77x_v2Effect::Stages kStages>
void QVXCorvane77x_v2Effect::runMemoryThrough(Chunk& chunk) {
    // Modes are blended by controls that move.
    if constexpr (kStages != Stages::All) {
        const auto settled = [&](auto cells) {
            switch (chunk.clocking) {
                case Clocking::Unison:
                    return runMemory<kStages, Clocking::Unison>(cells, chunk);
                case Clocking::Steady:
                    return runMemory<kStages, Clocking::Steady>(cells, chunk);
                case Clocking::Lfo:
                    return runMemory<kStages, Clocking::Lfo>(cells, chunk);
                default:
                    return runMemory<kStages, Clocking::Envelope>(cells, chunk);
            }
        };
        if (!chunk.moving)
            return memory.isPlain() ? settled(PlainTicks(memory)) : settled(DelayMemory(memory));
    }
    runMemory<kStages, Clocking::Moving>(DelayMemory(memory), chunk);
}

// A stage that is out of the path starts afresh when it comes back.
void QVXCorvane77x_v2Effect::clearIdleStages() {
    if (controls[kCtlLegacy] == 0.0) legacyStage.clear();
    if (controls[kCtlLimits] == 0.0) {
        inputLimiter.clear();
        outputLimiter.clear();
    }
    if (controls[kCtlCoupling] == 0.0) coupling.clear();
    if (controls[kCtlConverts] == 0.0) {
        adConverter.reset();
        daConverter.clear();
    }
    if (controls[kCtlLimits] == 0.0 || controls[kCtlExternal] == 0.0) {
        sideChainLimiter.clear();
        sideChainAdConverter.reset();
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

    double levelFactor = chunk.controls[0].levelFactor;
    if constexpr (followsEnvelope(kClocking)) follower.beginBending(levelFactor);
    const bool inverted = isOn(kEnvInvert);
    double factor = restingClockFactor;
    double step = 1.0 / factor;
    Pair peak{};
    const ControlFrame settled = chunk.controls[0];
    const auto controlAt = [&](int frame) -> const ControlFrame& {
        if constexpr (kClocking == Clocking::Moving) return chunk.controls[frame];
        return settled;
    };

    // A settled stage is in the path as a whole.
    const auto faded = [](Pair without, Pair with, double weight) {
        return kClocking == Clocking::Moving ? blended(without, with, weight) : with;
    };
    const auto tick = [&](Pair coming, const ControlFrame& control) {
        if constexpr (converts(kStages))
            coming = faded(coming, adc.convert(coming), control.converts);
        Pair leaving = cells.tick(coming);
        if constexpr (converts(kStages))
            leaving = faded(leaving, dac.convert(leaving), control.converts);
        *++newest = leaving;
    };

    for (int i = 0; i < chunk.frames; ++i) {
        const ControlFrame& control = controlAt(i);
        if constexpr (converts(kStages) && kClocking == Clocking::Moving)
            adc.setCeiling(control.ceiling);
        Pair x = chunk.processed[i] + feedback;
        if constexpr (weighs(kStages))
            x = faded(x, x * legacyStage.gain(x, control.levelFactor), control.legacy);
        peak = larger(peak, absolute(x));
        if constexpr (limits(kStages))
            x = faded(x, x * limiterIn.gain(x, control.ceiling), control.limits);
        chunk.processed[i] = x;

        if constexpr (followsEnvelope(kClocking)) {
            if (kClocking == Clocking::Moving && control.levelFactor != levelFactor)
                follower.beginBending(levelFactor = control.levelFactor);
            follower.followBending(envelopeInput(x, chunk.side[i], control));
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
        if (const double direct = cells.directShare(); direct != 0.0)
            delayed = blended(delayed, input, direct);
        if constexpr (limits(kStages)) {
            const double stageCeiling = control.ceiling * 0.5;
            delayed =
                faded(delayed, delayed * limiterOut.gain(delayed, stageCeiling), control.limits);
        }
        chunk.delayed[i] = delayed;
        Pair returned = cut.process(delayed, control.highCutPole);
        if constexpr (limits(kStages)) {
            if (control.coupling != 0.0) returned = capacitor.process(returned, control.coupling);
            if (control.regeneration != 0.0) [[unlikely]]
                returned = returned * regeneratingGain(limiterOut.level(), control);
        }
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
double QVXCorvane77x_v2Effect::envelopeInput(Pair processed, Pair side,
                                             const ControlFrame& control) const {
    const double external = control.external;
    const double mean = sum(absolute(processed)) * (0.5 * control.levelFactor);
    const double internal = mode == ProcessingMode::Legacy ? mean : FastMath::tanhOfPositive(mean);
    if (external == 0.0) return internal;
    const Pair blend = both(1.0 - external) * processed + both(external) * side;
    return external * 0.5 * sum(absolute(blend)) + (1.0 - external) * internal;
}

// The envelope of a chunk whose clock it does not bend, two frames at a time.
void QVXCorvane77x_v2Effect::followLevels(const Chunk& chunk) {
    EnvelopeFollower follower = envelope;
    const double external = chunk.controls[0].external;  // nothing moves here
    const double scale = 0.5 * chunk.controls[0].levelFactor;
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
