// The 30 Hz one-pole smoothing of everything that a musician turns while audio runs.
#pragma once

#include <array>
#include <cmath>
#include <cstddef>

namespace Quorvant {

enum Control : std::size_t {
    kCtlInputGain,
    kCtlOutputGain,
    kCtlMix,
    kCtlFeedback,  // signed: the polarity is part of it
    kCtlProcess,
    kCtlBypass,
    kCtlMonitor,
    kCtlExternal,  // side-chain blend
    kCtlWaveform,
    kCtlDepth,
    kCtlLegacy,    // how much of the Legacy level stage is in force, 0 ... 1
    kCtlLimits,    // how much of the limiters
    kCtlConverts,  // how much of the input stage and the converters
    kCtlCeiling,   // of the converters, linear
    kCtlCoupling,  // how much of the feedback path's coupling capacitor
    kControlCount
};

// Audio thread. Values are linear; a control that has come within 1e-12 of its target is set to it,
// so that a settled set costs nothing.
class ControlSmoother {
  public:
    void setSampleRate(double hz) { pole = std::exp(-2.0 * M_PI * 30.0 / hz); }
    void setTarget(Control c, double target) {
        targets[c] = target;
        if (values[c] != target) settled = false;
    }
    double target(Control c) const { return targets[c]; }
    double operator[](Control c) const { return values[c]; }
    bool isSettled() const { return settled; }

    void jumpToTargets() {
        values = targets;
        settled = true;
    }
    // One frame.
    void step() {
        for (std::size_t i = 0; i < kControlCount; ++i)
            values[i] = (1.0 - pole) * targets[i] + pole * values[i];
    }
    // Once every few frames.
    void settle() {
        settled = true;
        for (std::size_t i = 0; i < kControlCount; ++i) {
            if (std::abs(values[i] - targets[i]) < 1e-12) values[i] = targets[i];
            settled = settled && values[i] == targets[i];
        }
    }

  private:
    double pole = 0.0;
    std::array<double, kControlCount> values{}, targets{};
    bool settled = true;
};

}  // namespace Quorvant
