// One chunk of frames on its way through the engine: what its rooms hand to each other.
#pragma once

#include "dsp/Pair.h"

#include <array>

namespace Quorvant {

inline constexpr int kChunkFrames = 64;           // at most
inline constexpr double kLargestSample = 1024.0;  // that comes in or is recorded, +60 dBFS

// What the controls amount to in one frame; gains are linear.
struct ControlFrame {
    double inputGain, dryGain, wetGain, process, notBypassed, monitor, external, feedback;
    double regeneration, waveform, depth, legacy, limits, converts, ceiling, coupling;
    double levelFactor, highCutPole, vco, x2, doubledFilter;
};

// The stages around the memory that a chunk runs through; All while modes are being crossfaded.
enum class Stages { Light, Legacy, Lims, Full, All };
constexpr bool weighs(Stages s) {
    return s == Stages::Legacy || s == Stages::All;
}
constexpr bool limits(Stages s) {
    return s >= Stages::Lims;
}
constexpr bool converts(Stages s) {
    return s >= Stages::Full;
}

// How the memory's clock runs through a chunk: one tick a sample, at a steady other rate, bent by
// the LFO, by the envelope (and the LFO), or by all that while controls move.
enum class Clocking { Unison, Steady, Lfo, Envelope, Moving };
constexpr bool followsEnvelope(Clocking c) {
    return c >= Clocking::Envelope;
}

struct Chunk {
    int frames = 0;
    int ticks = 0;               // of the memory
    bool moving = false;         // controls
    bool listensToSide = false;  // the external side chain is in use
    Stages stages = Stages::Light;
    Clocking clocking = Clocking::Steady;
    double clockFactor = 1.0;  // without modulation
    bool envelopeInverted = false;
    bool envelopeLimited = false;  // what the envelope follows

    std::array<ControlFrame, kChunkFrames> controls;  // the first holds for all unless they move
    std::array<Pair, kChunkFrames> input;             // main input as the host gave it
    std::array<Pair, kChunkFrames> side;       // side-chain input, later its blend with processed
    std::array<Pair, kChunkFrames> dry;        // input times gain
    std::array<Pair, kChunkFrames> processed;  // filtered, later with feedback and level stage
    std::array<Pair, kChunkFrames> delayed;
    const Pair* sideChain = nullptr;  // that blend
    std::array<Pair, kChunkFrames> output;
    std::array<double, kChunkFrames> lfo;           // the modulation term before Depth
    std::array<double, kChunkFrames> factor, step;  // of the clock, while the LFO alone bends it

    const ControlFrame& control(int frame) const { return controls[moving ? frame : 0]; }
};

// Calls process(frame, its controls) for every frame of the chunk. While nothing moves it is a copy
// of the controls, which the compiler may keep in registers across stores.
template <typename Process>
inline void overFrames(const Chunk& chunk, Process&& process) {
    const ControlFrame settled = chunk.controls[0];
    if (chunk.moving)
        for (int i = 0; i < chunk.frames; ++i) process(i, chunk.controls[i]);
    else
        for (int i = 0; i < chunk.frames; ++i) process(i, settled);
}

// to[i] = process(block, from[i]) for `count` frames. It works on a copy of the block, which the
// compiler may keep in registers across stores.
template <typename Block, typename Process>
inline void runOver(const Pair* from, Pair* to, int count, Block& block, Process&& process) {
    Block own = block;
    for (int i = 0; i < count; ++i) to[i] = process(own, from[i]);
    block = own;
}

inline Pair peakOf(const Pair* frames, int count) {
    Pair peak{};
    for (int i = 0; i < count; ++i) peak = larger(peak, absolute(frames[i]));
    return peak;
}

}  // namespace Quorvant
