#include "dsp/MemoryPath.h"

#include "dsp/ClockBend.h"
#include "dsp/FastMath.h"
#include "params/ParameterLaws.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <utility>

namespace Quorvant {

namespace {

// What is below can go: -200 dBFS, and far less where the envelope, which takes a root of it, bends
// the clock.
constexpr double kSilence = 1e-10, kSilenceOfEnvelope = 1e-30;

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

void limit(Pair* frames, int count, Limiter& limiter, double ceiling) {
    runOver(frames, frames, count, limiter,
            [ceiling](Limiter& own, Pair x) { return x * own.gain(x, ceiling); });
}

}  // namespace

void MemoryPath::setSampleRate(double hz) {
    sampleRate = hz;
    envelope.setSampleRate(hz);
    legacyStage.setSampleRate(std::floor(hz));
    for (Limiter* limiter : {&inputLimiter, &outputLimiter}) limiter->setSampleRate(hz);
    adConverter.setSampleRate(hz);
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
        const ClockBend bend(chunk.controls[0], chunk.envelopeInverted);
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

// Where the memory ticks in a chunk, and what it is given and gives in these ticks.
struct MemoryPath::Ticks {
    bool unison = false;
    int count = 0;
    std::array<double, kMostTicks> at;         // between two frames
    std::array<int, kMostTicks> behind;        // the first of these
    std::array<int, kChunkFrames> by;          // the end of each frame
    std::array<double, kChunkFrames> frameAt;  // between two ticks
    std::array<Pair, kMostTicks> looped, recorded;
    // Behind the last of what was played before, which splines reach back to.
    std::array<Pair, kSplineReach + kMostTicks + 1> played;
};

// The whole chunk in passes: where the delay is longer than the chunk, all that comes back in it
// was recorded before it. False, and nothing done, where it is not, or where something moves.
bool MemoryPath::runAhead(Chunk& chunk) {
    if (chunk.clocking >= Clocking::Envelope || !memory.isPlain() ||
        chunk.controls[0].regeneration != 0.0)
        return false;
    Ticks ticks;
    MemoryClock vco = clock;
    placeTicks(chunk, vco, ticks);
    if (ticks.count > memory.ticksAhead()) return false;
    clock = vco;
    chunk.ticks = ticks.count;
    factorOfClock = ticks.unison ? chunk.clockFactor : chunk.factor[chunk.frames - 1];
    play(chunk, ticks);
    addFeedback(chunk);
    record(chunk, ticks);
    return true;
}

void MemoryPath::placeTicks(const Chunk& chunk, MemoryClock& vco, Ticks& ticks) {
    ticks.unison = chunk.clocking == Clocking::Unison;
    if (ticks.unison) {
        ticks.count = chunk.frames;
        return;
    }
    for (int i = 0; i < chunk.frames; ++i) {
        vco.advance(chunk.factor[i], [&](double t) {
            ticks.at[ticks.count] = t;
            ticks.behind[ticks.count++] = i;
        });
        ticks.by[i] = ticks.count;
        ticks.frameAt[i] = vco.outputPosition(chunk.step[i]);
    }
}

void MemoryPath::play(Chunk& chunk, Ticks& ticks) {
    std::copy_n(playedBefore.data(), kSplineReach, ticks.played.data());
    Pair* const read = &ticks.played[kSplineReach];
    memory.readAhead(read, ticks.count);
    if (memory.isLooping()) std::copy_n(read, ticks.count, ticks.looped.data());
    if (converts(chunk.stages))
        runOver(read, read, ticks.count, daConverter,
                [](DaConverter& dac, Pair x) { return dac.convert(x); });
    Pair* const delayed = chunk.delayed.data();
    if (ticks.unison)
        std::copy_n(read - 2, chunk.frames, delayed);
    else
        for (int i = 0; i < chunk.frames; ++i)
            delayed[i] = splineAt(read + ticks.by[i] - kSplineReach, ticks.frameAt[i]);
    std::copy_n(read + ticks.count - kSplineReach, kSplineReach, playedBefore.data());
    if (limits(chunk.stages))
        limit(delayed, chunk.frames, outputLimiter, chunk.controls[0].ceiling * 0.5);
}

// Each frame takes what the frame before it gave back.
void MemoryPath::addFeedback(Chunk& chunk) {
    const ControlFrame& control = chunk.controls[0];
    Pair* const processed = chunk.processed.data();
    Pair feedback = feedbackSignal;
    HighCut cut = highCut;
    CouplingCapacitor capacitor = coupling;
    for (int i = 0; i < chunk.frames; ++i) {
        processed[i] = processed[i] + feedback;
        Pair returned = cut.process(chunk.delayed[i], control.highCutPole);
        if (control.coupling != 0.0) returned = capacitor.process(returned, control.coupling);
        feedback = returned * both(control.feedback);
    }
    feedbackSignal = feedback;
    highCut = cut;
    coupling = capacitor;
    if (weighs(chunk.stages)) legacyStage.process(processed, chunk.frames, control.levelFactor);
    processedPeak = peakOf(processed, chunk.frames);
    if (limits(chunk.stages)) limit(processed, chunk.frames, inputLimiter, control.ceiling);
}

void MemoryPath::record(const Chunk& chunk, Ticks& ticks) {
    const ControlFrame& control = chunk.controls[0];
    std::array<Pair, kSplineReach + kChunkFrames> frames;
    std::copy_n(recordedBefore.data(), kSplineReach, frames.data());
    if (control.notBypassed == 1.0 && largest(processedPeak) <= kLargestSample)
        std::copy_n(chunk.processed.data(), chunk.frames, &frames[kSplineReach]);
    else
        for (int i = 0; i < chunk.frames; ++i)
            frames[kSplineReach + i] = recordable(chunk.processed[i], control);
    std::copy_n(&frames[chunk.frames], kSplineReach, recordedBefore.data());
    Pair* const coming = ticks.recorded.data();
    if (ticks.unison)
        std::copy_n(&frames[kSplineReach - 1], ticks.count, coming);
    else
        for (int i = 0; i < ticks.count; ++i)
            coming[i] = splineAt(&frames[ticks.behind[i] + 1], ticks.at[i]);
    if (converts(chunk.stages)) {
        adConverter.setCeiling(control.ceiling);
        runOver(coming, coming, ticks.count, adConverter,
                [](AdConverter& adc, Pair x) { return adc.convert(x); });
    }
    memory.recordAhead(memory.isLooping() ? ticks.looped.data() : coming, ticks.count);
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
