// The audio loop: a block is rendered in chunks, and a chunk in passes over small arrays, so that
// only what hangs on the feedback runs sample by sample.
#include "dsp/Denormals.h"
#include "dsp/Engine.h"
#include "dsp/FastMath.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <type_traits>

namespace Quorvant {

namespace {

constexpr double kSilence = 1e-10;                   // -200 dBFS
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
    int i = 0;
    for (; i + 1 < frames; i += 2) {
        const Pair l = sane(loadTwo(leftIn + i)), r = sane(loadTwo(rightIn + i));
        to[i] = lefts(l, r);
        to[i + 1] = rights(l, r);
    }
    if (i < frames) to[i] = sane(makePair(leftIn[i], rightIn[i]));
}

template <typename Sample>
void store(const Pair* from, Sample* leftOut, Sample* rightOut, int frames) {
    int i = 0;
    for (; i + 1 < frames; i += 2) {
        storeTwo(leftOut + i, lefts(from[i], from[i + 1]));
        storeTwo(rightOut + i, rights(from[i], from[i + 1]));
    }
    if (i == frames) return;
    leftOut[i] = static_cast<Sample>(left(from[i]));
    rightOut[i] = static_cast<Sample>(right(from[i]));
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
    static constexpr std::array<Sample, kChunkFrames> kSilence{};
    const auto channel = [](const Sample* pointer, const Sample* fallback, int at) {
        return pointer ? pointer + at : fallback;
    };
    beginBlock(in[2] != nullptr);

    Chunk chunk;
    for (int32_t at = 0; at < frames; at += chunk.frames) {
        chunk.frames = song.countRepeats(std::min<int32_t>(kChunkFrames, frames - at));
        followLoop();
        fillControls(chunk);
        const int n = chunk.frames;
        const Sample* mainLeft = channel(in[0], kSilence.data(), at);
        const Sample* mainRight = channel(in[1], mainLeft, at);
        const Sample* sideLeft = channel(in[2], mainLeft, at);
        const Sample* sideRight = channel(in[3], in[2] ? sideLeft : mainRight, at);
        const bool nothingIn = hasForgotten() && isZero(mainLeft, n) && isZero(mainRight, n) &&
                               (!in[2] || (isZero(sideLeft, n) && isZero(sideRight, n)));
        const bool silent = nothingIn && !chunk.moving && !converts(chunk.stages) &&
                            (suspension == (suspended ? 1.0 : 0.0));
        if (silent) {
            passSilence(chunk);
        } else {
            load(mainLeft, mainRight, chunk.input.data(), n);
            if (chunk.listensToSide) load(sideLeft, sideRight, chunk.side.data(), n);
            renderChunk(chunk);
        }

        if (suspended && suspension >= 1.0) {
            // Bit for bit, whatever the samples hold.
            if (out[1] && out[1] != out[0]) std::copy_n(mainRight, n, out[1] + at);
            if (out[0] && out[0] + at != mainLeft) std::copy_n(mainLeft, n, out[0] + at);
            continue;
        }
        if (silent) {
            for (Sample* zeroed : {out[0], out[1]})
                if (zeroed) std::fill_n(zeroed + at, n, Sample{0});
            continue;
        }
        if (suspended || suspension > 0.0) crossfadeSuspension(chunk, suspended);
        if (out[0] && out[1]) {
            store(chunk.output.data(), out[0] + at, out[1] + at, n);
        } else if (out[0]) {
            for (int i = 0; i < n; ++i)
                out[0][at + i] = static_cast<Sample>(0.5 * sum(chunk.output[i]));
        }
    }

    // Intended: the reading moves from block to block even in silence.
    headroomPeak += headroomOffset;
    headroomOffset = -headroomOffset;
    path.passTime(frames);
}

void QVXCorvane77x_v2Effect::beginBlock(bool sideChainPresent) {
    sideChainConnected = sideChainPresent;
    song.followHost(hostLink.transport(), path.clockFactor());
    followLoop();
    path.setCourse(direction(), song.delaySamples());
}

// A loop that has engaged or let go: its feedback is unity.
void QVXCorvane77x_v2Effect::followLoop() {
    if (song.isLooping() == looping) return;
    looping = song.isLooping();
    path.setLooping(looping);
    applyFeedback();
}

void QVXCorvane77x_v2Effect::renderChunk(Chunk& chunk) {
    path.chooseClocking(chunk);
    runLfo(chunk);
    filterInput(chunk);
    convertSideChain(chunk);
    path.run(chunk);
    measure(chunk);
    if (!followsEnvelope(chunk.clocking)) path.followLevels(chunk);
    mixOutput(chunk);
}

// True when nothing that came in is left to be heard.
bool QVXCorvane77x_v2Effect::hasForgotten() const {
    return path.hasForgotten() && sideChainLimiter.hasForgotten(kSilence);
}

void QVXCorvane77x_v2Effect::passSilence(Chunk& chunk) {
    path.chooseClocking(chunk);
    runLfo(chunk);
    path.passSilence(chunk);
    inputFilter.clear();
    doubledInputFilter.clear();
    sideChainLimiter.clear();
    noteHeadroom();
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
    chunk.listensToSide = chunk.moving || first.external != 0.0;
    const auto fading = [](double weight) { return weight > 0.0 && weight < 1.0; };
    const bool modesCrossfade =
        fading(first.legacy) || fading(first.limits) || fading(first.converts);
    chunk.clockFactor = restingClockFactor;
    chunk.envelopeInverted = values.isOn(kEnvInvert);
    chunk.envelopeLimited = mode != ProcessingMode::Legacy;
    chunk.stages = modesCrossfade || !shortCuts ? Stages::All
                   : first.converts > 0.0       ? Stages::Full
                   : first.limits > 0.0         ? Stages::Lims
                   : first.legacy > 0.0         ? Stages::Legacy
                                                : Stages::Light;
}

void QVXCorvane77x_v2Effect::saturateInput(Chunk& chunk) {
    Pair* const dry = chunk.dry.data();
    if (!chunk.moving)
        return runOver(dry, dry, chunk.frames, inputStage,
                       [ceiling = chunk.controls[0].ceiling](InputStage& stage, Pair x) {
                           return stage.process(x, ceiling);
                       });
    overFrames(chunk, [&](int i, const ControlFrame& control) {
        dry[i] = blended(dry[i], inputStage.process(dry[i], control.ceiling), control.converts);
    });
    if (chunk.control(chunk.frames - 1).converts == 0.0) inputStage.clear();
}

void QVXCorvane77x_v2Effect::filterInput(Chunk& chunk) {
    overFrames(chunk, [&chunk](int i, const ControlFrame& control) {
        chunk.dry[i] = chunk.input[i] * both(control.inputGain);
    });
    if (converts(chunk.stages)) saturateInput(chunk);
    const double weight = chunk.controls[0].doubledFilter;
    if (weight > 0.0 && weight < 1.0) {
        overFrames(chunk, [&](int i, const ControlFrame& control) {
            const double w = control.doubledFilter;
            chunk.processed[i] =
                blended(inputFilter.process(chunk.dry[i]), doubledInputFilter.process(chunk.dry[i]),
                        w * w * (3.0 - 2.0 * w));
        });
        return;
    }
    runOver(chunk.dry.data(), chunk.processed.data(), chunk.frames,
            weight > 0.0 ? doubledInputFilter : inputFilter,
            [](InputFilter& filter, Pair x) { return filter.process(x); });
    (weight > 0.0 ? inputFilter : doubledInputFilter).clear();
}

// The third converter treats the side chain's input as the others treat the main one.
void QVXCorvane77x_v2Effect::convertSideChain(Chunk& chunk) {
    if (!limits(chunk.stages) || !chunk.listensToSide) return;
    const bool converting = converts(chunk.stages);
    overFrames(chunk, [&](int i, const ControlFrame& control) {
        Pair x = chunk.side[i];
        x = blended(x, x * sideChainLimiter.gain(x, control.ceiling), control.limits);
        if (i == 0 || chunk.moving) sideChainAdConverter.setCeiling(control.ceiling);
        if (converting) x = blended(x, sideChainAdConverter.convert(x), control.converts);
        chunk.side[i] = x;
    });
    const ControlFrame& last = chunk.control(chunk.frames - 1);
    if (last.limits == 0.0 || last.external == 0.0) {
        sideChainLimiter.clear();
        sideChainAdConverter.reset();
    }
}

// What the LFO adds to the clock, before Depth: a sine below the middle of Waveform, a square
// above.
void QVXCorvane77x_v2Effect::runLfo(Chunk& chunk) {
    if (chunk.clocking < Clocking::Lfo) return song.lfo.advance(chunk.frames);
    const double settled = chunk.controls[0].waveform - 0.5;
    if (!chunk.moving && settled < 0.0)
        return song.lfo.fillSine(chunk.lfo.data(), chunk.frames, settled);
    if (!chunk.moving) return song.lfo.fillSquare(chunk.lfo.data(), chunk.frames, settled);
    for (int i = 0; i < chunk.frames; ++i) {
        const double phase = song.lfo.next(), fromCentre = chunk.controls[i].waveform - 0.5;
        chunk.lfo[i] = fromCentre * (fromCentre < 0.0 ? left(FastMath::sin(both(phase)))
                                                      : song.lfo.squareAt(phase));
    }
}

// The side-chain signal and the peaks that the editor shows.
void QVXCorvane77x_v2Effect::measure(Chunk& chunk) {
    chunk.sideChain = chunk.listensToSide ? chunk.side.data() : chunk.processed.data();
    if (chunk.listensToSide)
        overFrames(chunk, [&chunk](int i, const ControlFrame& control) {
            chunk.side[i] = blended(chunk.processed[i], chunk.side[i], control.external);
        });
    const bool measured = !chunk.listensToSide && !limits(chunk.stages);
    sideChainPeak =
        larger(sideChainPeak, measured ? path.peak() : peakOf(chunk.sideChain, chunk.frames));
    noteHeadroom();
}

void QVXCorvane77x_v2Effect::noteHeadroom() {
    if (headroomRead) headroomPeak = 0.0;
    headroomRead = false;
    headroomPeak = std::max(headroomPeak, largest(path.peak()) * (14.142 / levels.referenceScale));
}

void QVXCorvane77x_v2Effect::mixOutput(Chunk& chunk) {
    overFrames(chunk, [&chunk](int i, const ControlFrame& control) {
        chunk.output[i] =
            chunk.delayed[i] * both(control.wetGain) + chunk.dry[i] * both(control.dryGain);
    });
    const ControlFrame& first = chunk.controls[0];
    if (!chunk.moving && first.process == 1.0 && first.monitor == 0.0) return;
    overFrames(chunk, [&chunk](int i, const ControlFrame& control) {
        const Pair heard = blended(chunk.input[i], chunk.output[i], control.process);
        chunk.output[i] = blended(heard, chunk.sideChain[i], control.monitor);
    });
}

void QVXCorvane77x_v2Effect::crossfadeSuspension(Chunk& chunk, bool towardsInput) {
    for (int i = 0; i < chunk.frames; ++i) {
        suspension =
            std::clamp(suspension + (towardsInput ? suspensionStep : -suspensionStep), 0.0, 1.0);
        chunk.output[i] = chunk.output[i] + both(suspension) * (chunk.input[i] - chunk.output[i]);
    }
}

}  // namespace Quorvant
