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

constexpr double kLargestSample = 1024.0;            // +60 dBFS
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
    static constexpr std::array<Sample, kChunkFrames> kSilence{};
    const auto channel = [](const Sample* pointer, const Sample* fallback, int at) {
        return pointer ? pointer + at : fallback;
    };
    beginBlock(in[2] != nullptr);

    Chunk chunk;
    for (int32_t at = 0; at < frames; at += chunk.frames) {
        chunk.frames = song.countRepeats(std::min<int32_t>(kChunkFrames, frames - at));
        followLoop();
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
    fillControls(chunk);
    path.chooseClocking(chunk);
    chunk.silent = chunk.nothingIn && !chunk.moving && !converts(chunk.stages);
    runLfo(chunk);
    if (chunk.silent) return passSilence(chunk);
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
    path.passSilence(chunk);
    inputFilter.clear();
    doubledInputFilter.clear();
    sideChainLimiter.clear();
    noteHeadroom();
    chunk.output.fill(Pair{});
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
    chunk.clockFactor = restingClockFactor;
    chunk.envelopeInverted = values.isOn(kEnvInvert);
    chunk.envelopeLimited = mode != ProcessingMode::Legacy;
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
    for (int i = 0; i < chunk.frames; ++i) {
        const double phase = song.lfo.next(), fromCentre = chunk.control(i).waveform - 0.5;
        chunk.lfo[i] = fromCentre * (fromCentre < 0.0 ? left(FastMath::sin(both(phase)))
                                                      : song.lfo.squareAt(phase));
    }
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
    headroomPeak = std::max(headroomPeak, largest(path.peak()) * (14.142 / levels.referenceScale));
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
