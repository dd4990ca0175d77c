// The emulated clock that the VCO bends: it decides between which host samples the memory ticks.
#pragma once

namespace Quorvant {

// The factor is the length of a tick in host samples, 1/16 ... 16.
class MemoryClock {
  public:
    void reset(double factor) {
        phase = 0.0;
        lastFactor = factor;
    }

    // One host sample at a steady or changed clock. Calls tick(t) for every tick that falls into
    // it, t being its place in the input history, 0 ... 1.
    template <typename Tick>
    void advance(double factor, double step, Tick&& tick) {
        // A changed step keeps the place of the coming tick: d is the phase as the new step sees
        // it.
        const double d = factor == lastFactor ? phase : 1.0 - (1.0 - phase) * step * lastFactor;
        lastFactor = factor;
        phase = d + step;
        for (double t = (1.0 - d) * factor; phase >= 1.0; t += factor) {
            phase -= 1.0;
            tick(t);
        }
    }

    // True while every host sample is exactly one tick: advance() at factor 1 would then call
    // tick(1) once, and outputPosition() stays 0.
    bool isUnison(double factor) const {
        return factor == 1.0 && lastFactor == 1.0 && phase == 0.0;
    }

    // The host sample's place in the output history. A sudden rise of the step would put it
    // outside.
    double outputPosition() const { return phase < 0.0 ? 0.0 : phase; }

  private:
    double phase = 0.0;
    double lastFactor = 1.0;
};

}  // namespace Quorvant
