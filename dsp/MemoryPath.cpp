#include "dsp/MemoryPath.h"

#include "dsp/FastMath.h"
#include "params/ParameterLaws.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <utility>

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

// The clock of a chunk that the LFO bends, or nothing does.
void fillClock(Chunk& chunk) {
    if (chunk.clocking != Clocking::Lfo) {
        std::fill_n(chunk.factor.data(), chunk.frames, chunk.clockFactor);
        std::fill_n(chunk.step.data(), chunk.frames, 1.0 / chunk.clockFactor);
        return;
    }
    const ControlFrame& control = chunk.controls[0];  // nothing moves here
    for (int i = 0; i < chunk.frames; i += 2) {
        const Pair factor = clamped(
            (loadTwo(&chunk.lfo[i]) * both(control.depth) + both(control.vco)) * both(control.x2),
            kLowestClockFactor, kHighestClockFactor);
        storeTwo(&chunk.factor[i], factor);
        storeTwo(&chunk.step[i], both(1.0) / factor);
    }
}

// How the envelope and the LFO bend the clock: its factor is base + slope * LFO + gain * root.
struct Bend {
    double base, slope, gain;

    Bend(const ControlFrame& control, bool inverted) {
        const double centre = 1.0 - 2.0 * std::abs(control.waveform - 0.5);
        const double rest =
            inverted ? EnvelopeFollower::kRestingInvertedBend : EnvelopeFollower::kRestingBend;
        slope = control.depth * control.x2;
        base = rest * centre * slope + control.vco * control.x2;
        gain = (inverted ? centre : -centre) * slope;
    }
    // Arranged so that little waits for the root, which waits for everything else.
    double factor(double lfo, double root) const {
        return std::clamp((lfo * slope + base) + gain * root, kLowestClockFactor,
                          kHighestClockFactor);
    }
};

// One frame's level for the envelope follower.
[[gnu::always_inline]] inline double envelopeInput(Pair processed, Pair side, const Chunk& chunk,
                                                   const ControlFrame& control) {
    const double mean = sum(absolute(processed)) * (0.5 * control.levelFactor);
    const double internal = chunk.envelopeLimited ? FastMath::tanhOfPositive(mean) : mean;
    if (!chunk.listensToSide) return internal;
    const double external = control.external;
    const Pair blend = both(1.0 - external) * processed + both(external) * side;
    return external * 0.5 * sum(absolute(blend)) + (1.0 - external) * internal;
}

Pair recordable(Pair processed, const ControlFrame& control) {
    return clamped(processed * both(control.notBypassed), -kLargestSample, kLargestSample);
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

    const int count = static_cast<int>(std::floor(sampleRate * kLongestDelayMs * 0.001)) + 1;
    if (count == cellCount) {
        std::fill_n(cells.get(), memory.cellsInUse(), Pair{});
    } else {
        const auto size = static_cast<std::size_t>(count) * sizeof(Pair);
        decltype(cells) fresh(static_cast<Pair*>(std::calloc(1, size)), &std::free);
        if (!fresh) throw std::bad_alloc();
        cells = std::move(fresh);
        cellCount = count;
    }
    memory.attach(cells.get(), cellCount, sampleRate);
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
    if (chunk.clocking == Clocking::Steady || chunk.clocking == Clocking::Lfo) fillClock(chunk);
    if (!runAhead(chunk)) runBySample(chunk);
    if (chunk.moving) clearIdleStages(chunk.controls[chunk.frames - 1]);
    noteSilence(chunk);
}

void MemoryPath::runBySample(Chunk& chunk) {
    switch (chunk.stages) {
        case Stages::Light:
            runBySample<Stages::Light>(chunk);
            break;
        case Stages::Legacy:
            runBySample<Stages::Legacy>(chunk);
            break;
        case Stages::Lims:
            runBySample<Stages::Lims>(chunk);
            break;
        case Stages::Full:
            runBySample<Stages::Full>(chunk);
            break;
        case Stages::All:
            runBySample<Stages::All>(chunk);
            break;
    }
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
    if (chunk.clocking == Clocking::Envelope) {
        envelope.beginBending(chunk.controls[0].levelFactor);
        const Bend bend(chunk.controls[0], chunk.envelopeInverted);
        for (int i = 0; i < chunk.frames; ++i) {
            envelope.followBending(0.0);
            chunk.factor[i] = bend.factor(chunk.lfo[i], envelope.bendingRoot());
        }
    } else {
        envelope.fade(chunk.frames);
    }
    if (chunk.clocking == Clocking::Unison) {
        chunk.ticks = chunk.frames;
        factorOfClock = chunk.clockFactor;
    } else {
        if (chunk.clocking != Clocking::Envelope) fillClock(chunk);
        chunk.ticks = 0;
        for (int i = 0; i < chunk.frames; ++i)
            clock.advance(chunk.factor[i], [&chunk](double) { ++chunk.ticks; });
        factorOfClock = chunk.factor[chunk.frames - 1];
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
void MemoryPath::runBySample(Chunk& chunk) {
    const DelayMemory& ticks = memory;
    // Modes are blended by controls that move.
    if (kStages == Stages::All || chunk.moving)
        runBySample<kStages, Clocking::Moving>(ticks, chunk);
    else if (chunk.clocking == Clocking::Unison)
        runBySample<kStages, Clocking::Unison>(ticks, chunk);
    else if (chunk.clocking != Clocking::Envelope)
        runBySample<kStages, Clocking::Lfo>(ticks, chunk);
    else if (memory.isPlain())
        runBySample<kStages, Clocking::Envelope>(PlainTicks(memory), chunk);
    else
        runBySample<kStages, Clocking::Envelope>(ticks, chunk);
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

// The whole chunk in passes: where the delay is longer than the chunk, all that comes back in it
// was recorded before it. False, and nothing done, where it is not, or where something moves.
bool MemoryPath::runAhead(Chunk& chunk) {
    const ControlFrame& control = chunk.controls[0];
    if (chunk.clocking >= Clocking::Envelope || !memory.isPlain() || control.regeneration != 0.0)
        return false;
    const int n = chunk.frames;
    const bool unison = chunk.clocking == Clocking::Unison;

    // Where the memory ticks between frames, and where the frames lie between ticks.
    int ticks = unison ? n : 0;
    std::array<double, kMostTicks> tickAt;
    std::array<int, kMostTicks> tickBehind;
    std::array<int, kChunkFrames> ticksBy;
    std::array<double, kChunkFrames> frameAt;
    MemoryClock vco = clock;
    for (int i = 0; i < n && !unison; ++i) {
        vco.advance(chunk.factor[i], [&](double t) {
            tickAt[ticks] = t;
            tickBehind[ticks++] = i;
        });
        ticksBy[i] = ticks;
        frameAt[i] = vco.outputPosition(chunk.step[i]);
    }
    if (ticks > memory.ticksAhead()) return false;
    clock = vco;
    chunk.ticks = ticks;
    factorOfClock = unison ? chunk.clockFactor : chunk.factor[n - 1];

    // What comes from the memory, behind the last of what came before, which splines reach back to.
    std::array<Pair, kSplineReach + kMostTicks + 1> played;
    std::copy_n(playedBefore.data(), kSplineReach, played.data());
    Pair* const read = &played[kSplineReach];
    memory.readAhead(read, ticks);
    std::array<Pair, kMostTicks> looped;
    if (memory.isLooping()) std::copy_n(read, ticks, looped.data());
    if (converts(chunk.stages))
        runOver(read, read, ticks, daConverter,
                [](DaConverter& dac, Pair x) { return dac.convert(x); });
    Pair* const delayed = chunk.delayed.data();
    if (unison)
        std::copy_n(read - 2, n, delayed);
    else
        for (int i = 0; i < n; ++i)
            delayed[i] = splineAt(read + ticksBy[i] - kSplineReach, frameAt[i]);
    std::copy_n(read + ticks - kSplineReach, kSplineReach, playedBefore.data());
    const auto limiting = [](double ceiling) {
        return [ceiling](Limiter& limiter, Pair x) { return x * limiter.gain(x, ceiling); };
    };
    if (limits(chunk.stages))
        runOver(delayed, delayed, n, outputLimiter, limiting(control.ceiling * 0.5));

    // What goes back to the input, a frame later.
    Pair feedback = feedbackSignal;
    HighCut cut = highCut;
    CouplingCapacitor capacitor = coupling;
    Pair* const processed = chunk.processed.data();
    for (int i = 0; i < n; ++i) {
        processed[i] = processed[i] + feedback;
        Pair returned = cut.process(delayed[i], control.highCutPole);
        if (control.coupling != 0.0) returned = capacitor.process(returned, control.coupling);
        feedback = returned * both(control.feedback);
    }
    feedbackSignal = feedback;
    highCut = cut;
    coupling = capacitor;
    if (weighs(chunk.stages)) legacyStage.process(processed, n, control.levelFactor);
    processedPeak = peakOf(processed, n);
    if (limits(chunk.stages))
        runOver(processed, processed, n, inputLimiter, limiting(control.ceiling));

    // What goes to the memory.
    std::array<Pair, kSplineReach + kChunkFrames> recorded;
    std::copy_n(recordedBefore.data(), kSplineReach, recorded.data());
    if (control.notBypassed == 1.0 && largest(processedPeak) <= kLargestSample)
        std::copy_n(processed, n, &recorded[kSplineReach]);
    else
        for (int i = 0; i < n; ++i) recorded[kSplineReach + i] = recordable(processed[i], control);
    std::copy_n(&recorded[n], kSplineReach, recordedBefore.data());
    std::array<Pair, kMostTicks> coming;
    if (unison)
        std::copy_n(&recorded[kSplineReach - 1], n, coming.data());
    else
        for (int i = 0; i < ticks; ++i)
            coming[i] = splineAt(&recorded[tickBehind[i] + 1], tickAt[i]);
    if (converts(chunk.stages)) {
        adConverter.setCeiling(control.ceiling);
        runOver(coming.data(), coming.data(), ticks, adConverter,
                [](AdConverter& adc, Pair x) { return adc.convert(x); });
    }
    memory.recordAhead(memory.isLooping() ? looped.data() : coming.data(), ticks);
    return true;
}

// Everything that hangs on the previous sample's feedback: level stages, converters, clock, memory,
// high cut.
template <Stages kStages, Clocking kClocking, typename Memory>
void MemoryPath::runBySample(Memory ticks, Chunk& chunk) {
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
    Bend bend(chunk.controls[0], chunk.envelopeInverted);
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
        if constexpr (weighs(kStages)) {
            Pair weighed = x;
            legacyStage.process(&weighed, 1, control.levelFactor);
            x = faded(x, weighed, control.legacy);
        }
        peak = larger(peak, absolute(x));
        if constexpr (limits(kStages))
            x = faded(x, x * limiterIn.gain(x, control.ceiling), control.limits);
        chunk.processed[i] = x;

        if constexpr (followsEnvelope(kClocking)) {
            if (kClocking == Clocking::Moving && control.levelFactor != levelFactor)
                follower.beginBending(levelFactor = control.levelFactor);
            follower.followBending(envelopeInput(x, chunk.side[i], chunk, control));
            if constexpr (kClocking == Clocking::Moving)
                bend = Bend(control, chunk.envelopeInverted);
            factor = bend.factor(chunk.lfo[i], follower.bendingRoot());
            step = 1.0 / factor;
        }
        if constexpr (kClocking == Clocking::Lfo) {
            factor = chunk.factor[i];
            step = chunk.step[i];
        }

        const Pair input = recordable(x, control);
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
            if ((kStages == Stages::Full && kClocking != Clocking::Moving) ||
                control.coupling != 0.0)
                returned = capacitor.process(returned, control.coupling);
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
        if (chunk.envelopeLimited) level = FastMath::tanhOfPositive(level);
        if (external != 0.0)
            level =
                both(external * 0.5) * magnitudes(chunk.sideChain) + both(1.0 - external) * level;
        follower.follow(left(level));
        if (second != i) follower.follow(right(level));
    }
    envelope = follower;
}

}  // namespace Quorvant
