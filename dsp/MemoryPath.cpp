#include "dsp/MemoryPath.h"

#include "dsp/FastMath.h"
#include "params/ParameterLaws.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Quorvant {

namespace {

constexpr double kLargestSample = 1024.0;  // +60 dBFS
constexpr double kLowestClockFactor = 1.0 / 16.0, kHighestClockFactor = 16.0;
// What is below can go: -200 dBFS, and far less where the envelope, which takes a root of it, bends
// the clock.
constexpr double kSilence = 1e-10, kSilenceOfEnvelope = 1e-30;
// Of the converters' ceiling: where repeats neither grow nor fade at full feedback. -6 dBFS at
// default levels.
constexpr double kLoopLevel = 0.0575;

// The clock of a chunk that the LFO alone bends.
void bendClock(Chunk& chunk) {
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
double bentFactor(const ControlFrame& control, double lfoTerm, bool inverted, double root) {
    const double centre = 1.0 - 2.0 * std::abs(control.waveform - 0.5);
    const double rest =
        inverted ? EnvelopeFollower::kRestingInvertedBend : EnvelopeFollower::kRestingBend;
    const double gain = centre * control.depth * control.x2;
    const double resting = ((lfoTerm + rest * centre) * control.depth + control.vco) * control.x2;
    return std::clamp(resting + (inverted ? gain : -gain) * root, kLowestClockFactor,
                      kHighestClockFactor);
}

// One frame's level for the envelope follower.
double envelopeInput(Pair processed, Pair side, const ControlFrame& control, bool limited) {
    const double external = control.external;
    const double mean = sum(absolute(processed)) * (0.5 * control.levelFactor);
    const double internal = limited ? FastMath::tanhOfPositive(mean) : mean;
    if (external == 0.0) return internal;
    const Pair blend = both(1.0 - external) * processed + both(external) * side;
    return external * 0.5 * sum(absolute(blend)) + (1.0 - external) * internal;
}

// What lets repeats grow at full feedback, and keeps them where they neither grow nor fade.
Pair regeneratingGain(Pair loopLevel, const ControlFrame& control) {
    const Pair nearness = loopLevel * both(1.0 / (kLoopLevel * control.ceiling));
    return both(1.0) + both(control.regeneration) * (both(1.0) - smaller(nearness, both(2.0)));
}

}  // namespace

void MemoryPath::setSampleRate(double hz) {
    sampleRate = hz;
    envelope.setSampleRate(hz);
    legacyStage.setSampleRate(std::floor(hz));
    for (Limiter* limiter : {&inputLimiter, &outputLimiter}) limiter->setSampleRate(hz);
    daConverter.setSampleRate(hz);
    coupling.setSampleRate(hz);
}

void MemoryPath::reset(double clockFactor) {
    legacyStage.clear();
    for (Limiter* limiter : {&inputLimiter, &outputLimiter}) limiter->clear();
    adConverter.reset();
    daConverter.clear();
    coupling.clear();
    envelope.clear();
    highCut.clear();
    factorOfClock = clockFactor;
    clock.reset(clockFactor);
    recordedBefore = playedBefore = {};
    feedbackSignal = Pair{};
    quietTicks = 0;

    const auto length =
        static_cast<std::size_t>(std::floor(sampleRate * kLongestDelayMs * 0.001)) + 1;
    cells.assign(length, Pair{});
    memory.attach(cells.data(), static_cast<int>(length), sampleRate);
}

void MemoryPath::chooseClocking(Chunk& chunk) const {
    const ControlFrame& first = chunk.controls[0];
    chunk.clocking = chunk.moving ? Clocking::Moving
                     : first.depth != 0.0
                         ? std::abs(first.waveform - 0.5) < 0.5 ? Clocking::Envelope : Clocking::Lfo
                     : clock.isUnison(chunk.clockFactor) ? Clocking::Unison
                                                         : Clocking::Steady;
}

void MemoryPath::run(Chunk& chunk) {
    if (chunk.clocking == Clocking::Lfo) bendClock(chunk);
    switch (chunk.stages) {
        case Stages::Light:
            runThrough<Stages::Light>(chunk);
            break;
        case Stages::Legacy:
            runThrough<Stages::Legacy>(chunk);
            break;
        case Stages::Lims:
            runThrough<Stages::Lims>(chunk);
            break;
        case Stages::Full:
            runThrough<Stages::Full>(chunk);
            break;
        case Stages::All:
            runThrough<Stages::All>(chunk);
            break;
    }
    if (chunk.moving) clearIdleStages(chunk.controls[chunk.frames - 1]);
    noteSilence(chunk);
}

// Counts for how long nothing has gone to the memory. The hiss of the converters never ends.
void MemoryPath::noteSilence(const Chunk& chunk) {
    const double limit = followsEnvelope(chunk.clocking) ? kSilenceOfEnvelope : kSilence;
    const bool quiet = !converts(chunk.stages) && largest(processedPeak) < limit;
    quietTicks =
        quiet ? std::min(quietTicks, std::numeric_limits<int>::max() / 2) + chunk.ticks : 0;
}

bool MemoryPath::hasForgotten() const {
    return quietTicks > memory.ticksToSilence() && inputLimiter.hasForgotten(kSilence) &&
           outputLimiter.hasForgotten(kSilence);
}

void MemoryPath::passSilence(Chunk& chunk) {
    if (chunk.clocking == Clocking::Lfo) bendClock(chunk);
    if (chunk.clocking == Clocking::Envelope) {
        envelope.beginBending(chunk.controls[0].levelFactor);
        for (int i = 0; i < chunk.frames; ++i) {
            envelope.followBending(0.0);
            chunk.factor[i] = bentFactor(chunk.controls[0], chunk.lfo[i], chunk.envelopeInverted,
                                         envelope.bendingRoot());
        }
    } else {
        for (int i = 0; i < chunk.frames; ++i) envelope.follow(0.0);
    }
    const auto count = [&chunk](double) { ++chunk.ticks; };
    chunk.ticks = 0;
    factorOfClock = chunk.clockFactor;
    if (chunk.clocking == Clocking::Unison) {
        chunk.ticks = chunk.frames;
    } else if (chunk.clocking == Clocking::Steady) {
        for (int i = 0; i < chunk.frames; ++i) clock.advance(factorOfClock, count);
    } else {
        for (int i = 0; i < chunk.frames; ++i)
            clock.advance(factorOfClock = chunk.factor[i], count);
    }
    memory.recordSilence(chunk.ticks);

    legacyStage.clear();
    for (Limiter* limiter : {&inputLimiter, &outputLimiter}) limiter->clear();
    coupling.clear();
    highCut.clear();
    feedbackSignal = processedPeak = Pair{};
    recordedBefore = playedBefore = {};
    noteSilence(chunk);
}

template <Stages kStages>
void MemoryPath::runThrough(Chunk& chunk) {
    // Modes are blended by controls that move.
    if constexpr (kStages != Stages::All) {
        const auto settled = [&](auto ticks) {
            switch (chunk.clocking) {
                case Clocking::Unison:
                    return run<kStages, Clocking::Unison>(ticks, chunk);
                case Clocking::Steady:
                    return run<kStages, Clocking::Steady>(ticks, chunk);
                case Clocking::Lfo:
                    return run<kStages, Clocking::Lfo>(ticks, chunk);
                default:
                    return run<kStages, Clocking::Envelope>(ticks, chunk);
            }
        };
        if (!chunk.moving)
            return memory.isPlain() ? settled(PlainTicks(memory)) : settled(DelayMemory(memory));
    }
    run<kStages, Clocking::Moving>(DelayMemory(memory), chunk);
}

// A stage that is out of the path starts afresh when it comes back.
void MemoryPath::clearIdleStages(const ControlFrame& last) {
    if (last.legacy == 0.0) legacyStage.clear();
    if (last.limits == 0.0) {
        inputLimiter.clear();
        outputLimiter.clear();
    }
    if (last.coupling == 0.0) coupling.clear();
    if (last.converts == 0.0) {
        adConverter.reset();
        daConverter.clear();
    }
}

// Everything that hangs on the previous sample's feedback: level stages, converters, clock, memory,
// high cut.
template <Stages kStages, Clocking kClocking, typename Memory>
void MemoryPath::run(Memory ticks, Chunk& chunk) {
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
    std::array<Pair, kSplineReach + kChunkFrames> recorded;
    std::array<Pair, kSplineReach + kChunkFrames * kMostTicks> played;
    std::copy_n(recordedBefore.data(), kSplineReach, recorded.data());
    std::copy_n(playedBefore.data(), kSplineReach, played.data());
    Pair* newest = &played[kSplineReach - 1];

    double levelFactor = chunk.controls[0].levelFactor;
    if constexpr (followsEnvelope(kClocking)) follower.beginBending(levelFactor);
    double factor = chunk.clockFactor;
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
        Pair leaving = ticks.tick(coming);
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
            follower.followBending(envelopeInput(x, chunk.side[i], control, chunk.envelopeLimited));
            factor =
                bentFactor(control, chunk.lfo[i], chunk.envelopeInverted, follower.bendingRoot());
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
        if (const double direct = ticks.directShare(); direct != 0.0)
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

    ticks.storeTo(memory);
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
    factorOfClock = factor;
    processedPeak = peak;
}

// The envelope of a chunk whose clock it does not bend, two frames at a time.
void MemoryPath::followLevels(const Chunk& chunk) {
    EnvelopeFollower follower = envelope;
    const double external = chunk.controls[0].external;  // nothing moves here
    const double scale = 0.5 * chunk.controls[0].levelFactor;
    for (int i = 0; i < chunk.frames; i += 2) {
        const int second = std::min(i + 1, chunk.frames - 1);
        const auto magnitudes = [&](const Pair* signal) {
            return sums(absolute(signal[i]), absolute(signal[second]));
        };
        Pair level = magnitudes(chunk.processed.data()) * both(scale);
        if (chunk.envelopeLimited)
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

}  // namespace Quorvant
