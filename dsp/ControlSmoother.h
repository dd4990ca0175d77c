// The smoothing of everything that a musician turns while audio runs: by a 30 Hz one-pole; by two
// faster ones in series where the clock or a whole filter moves.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace Quorvant {

enum Control : std::size_t {
    kCtlInputGain,
    kCtlOutputGain,
    kCtlMix,
    kCtlFeedback,      // signed: the polarity is part of it
    kCtlRegeneration,  // what the feedback of a quiet loop has beyond that, relative
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
    kCtlLevelFactor,
    kCtlWetLevel,     // that Delay X2 leaves
    kCtlHighCutPole,  // 0 while Hi Cut is off
    kFastControls,
    kCtlVco = kFastControls,  // ratio of the clock
    kCtlX2,                   // factor of the clock
    kCtlDoubledFilter,        // how far the input filter of Delay X2 is faded in
    kControlCount
};

// Audio thread. Values are linear; a control that has come within 1e-12 of its target is set to it,
// so that a settled set costs nothing.
class ControlSmoother {
  public:
    void setSampleRate(double hz) {
        const auto poleOf = [hz](double seconds) { return std::exp(-1.0 / (seconds * hz)); };
        poles.fill(std::exp(-2.0 * M_PI * 30.0 / hz));
        poles[kCtlVco] = poles[kCtlX2] = poleOf(0.0005);  // nine tenths in 2 ms
        poles[kCtlDoubledFilter] = poleOf(0.0020);        // nearly all in 10 ms
    }
    void setTarget(Control c, double target) {
        targets[c] = target;
        if (values[c] != target) settled = false;
    }
    double operator[](Control c) const { return values[c]; }
    bool isSettled() const { return settled; }

    void jumpToTargets() {
        values = halfway = targets;
        unsettledFrames = 0;
        settled = true;
    }
    // One frame.
    void step() {
        if (settled) return;
        for (std::size_t i = 0; i < kFastControls; ++i) values[i] = moved(values, targets, i);
        for (std::size_t i = kFastControls; i < kControlCount; ++i) {
            halfway[i] = moved(halfway, targets, i);
            values[i] = moved(values, halfway, i);
        }
        if (++unsettledFrames == kFramesToSettle) settle();
    }

  private:
    // Counted from the movement's start, so that it does not depend on how frames come in blocks.
    static constexpr int kFramesToSettle = 64;
    using Values = std::array<double, kControlCount>;

    void settle() {
        settled = true;
        for (std::size_t i = 0; i < kControlCount; ++i) {
            const double off = std::abs(values[i] - targets[i]);
            if (std::max(off, i < kFastControls ? 0.0 : std::abs(halfway[i] - targets[i])) < 1e-12)
                values[i] = halfway[i] = targets[i];
            settled = settled && values[i] == targets[i];
        }
        unsettledFrames = 0;
    }
    double moved(const Values& from, const Values& to, std::size_t i) const {
        return (1.0 - poles[i]) * to[i] + poles[i] * from[i];
    }

    Values poles{}, values{}, targets{};
    Values halfway{};  // between the two poles of the fast ones
    int unsettledFrames = 0;
    bool settled = true;
};

}  // namespace Quorvant
