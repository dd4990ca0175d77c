// The path through the memory sample by sample: for delays too short for a whole chunk, for what
// fades and moves, and for the envelope, which bends the clock with each sample that goes in.
#include "dsp/ClockBend.h"
#include "dsp/FastMath.h"
#include "dsp/MemoryPath.h"

#include <algorithm>

namespace Quorvant {

namespace {

// Of the converters' ceiling: where repeats neither grow nor fade at full feedback. -6 dBFS at
// default levels.
constexpr double kLoopLevel = 0.0575;

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

// What lets repeats grow at full feedback, and keeps them where they neither grow nor fade.
Pair regeneratingGain(Pair loopLevel, const ControlFrame& control) {
    const Pair nearness = loopLevel * both(1.0 / (kLoopLevel * control.ceiling));
    return both(1.0) + both(control.regeneration) * (both(1.0) - smaller(nearness, both(2.0)));
}

}  // namespace

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
    ClockBend bend(chunk.controls[0], chunk.envelopeInverted);
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
                bend = ClockBend(control, chunk.envelopeInverted);
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

}  // namespace Quorvant
