// The fifteen operations through which the plug-in shell drives an effect engine, in their fixed
// order. The shell knows nothing else about the engine.
#pragma once

#include <cstdint>

namespace Quorvant {

class QVXEffect {
  public:
    virtual ~QVXEffect() = default;

    // Processes `frames` frames. `in` holds four channel pointers (main left, main right,
    // side-chain left, side-chain right), `out` two; a pointer whose channel does not exist is
    // null, and the right channel then falls back to the left. In and out may be the same memory.
    // Any number of frames from 0 up; the engine knows no largest block. Audio thread, never blocks
    // or allocates.
    virtual void process32(const float* const* in, float* const* out, int32_t frames) = 0;
    virtual void process64(const double* const* in, double* const* out, int32_t frames) = 0;
    // Used instead while the suspend control is on: main input to main output, bit for bit.
    virtual void processSuspended32(const float* const* in, float* const* out, int32_t frames) = 0;
    virtual void processSuspended64(const double* const* in, double* const* out,
                                    int32_t frames) = 0;

    virtual int32_t getLatency() = 0;  // frames
    virtual int32_t getTail() = 0;     // frames; negative means endless

    // Rate in Hz, held within 44100 ... 384000; true when it was kept unchanged. Resets the engine.
    // Allocates: main thread, while no audio runs.
    virtual bool setSampleRate(double rate) = 0;
    // Drops all audio history. Allocates unless the buffer length is unchanged.
    virtual void reset() = 0;

    virtual bool supports32() = 0;
    virtual bool supports64() = 0;

    // Index 0 ... 114 (kSuspend is accepted and stored too; others are ignored), value normalised.
    // Values are clamped to 0 ... 1, not-a-number is ignored. Audio thread, or main thread while no
    // audio runs. Never allocates.
    virtual void setParameter(uint32_t index, double value) = 0;
    // The reading `index` (OutputIndex.h); false, and `value` untouched or 0, where there is none.
    // Peaks are cleared when read, so there may be one reader only, on the audio thread.
    virtual bool getOutputValue(uint32_t index, double& value) = 0;

    virtual double reserved1() { return 0.0; }
    virtual double reserved2() { return 0.0; }
};

}  // namespace Quorvant
