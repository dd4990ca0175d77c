// What comes back of one click: the echoes as the delay memory makes them, found by sending a click
// through the engine's own memory at a coarse clock. Knows no view.
#pragma once

#include "dsp/Pair.h"
#include "params/ParameterIndex.h"

#include <array>
#include <vector>

namespace Quorvant {

// What decides the echoes.
struct EchoCourse {
    double delayMs = 0.0;  // at the nominal clock, 0 ... 9600
    DirectionMode direction = DirectionMode::Forward;
    double clockFactor = 1.0;  // of the heard delay, X2 included
    bool doubled = false;      // by Delay X2
    double feedback = 0.0;     // 0 ... 1
    bool inverts = false;      // the feedback's polarity
    double highCutHz = 0.0;    // 0: off
    bool looping = false;

    bool operator==(const EchoCourse&) const = default;
};

struct Echo {
    double ms = 0.0;     // heard, behind the click
    double level = 0.0;  // linear, of the click; 0 too
    int pass = 1;        // how often it has been through the memory
    bool inverted = false;
    bool reversed = false;  // heard from its end
};

// Of the first echo, linear: 1 without X2.
double firstLevel(const EchoCourse& course);
// How far apart echoes lie on average, in heard milliseconds.
double echoInterval(const EchoCourse& course);
// By how much the first echo comes later when the delay gets longer: below 0 in Backward, where it
// comes earlier.
double heardMsPerMs(const EchoCourse& course);

// Not cheap to copy; takes about 0.2 ms. One thread at a time.
class EchoPicture {
  public:
    static constexpr int kMostEchoes = 48;

    // Finds the echoes that come within so many heard milliseconds, in the order in which they
    // come.
    void compute(const EchoCourse& course, double windowMs);
    const std::vector<Echo>& echoes() const { return found; }
    // What the high cut leaves of the click's peak after so many passes, 1 and up.
    double cutPeak(int pass) const;
    // The feedback at which an echo of that pass has that level, 0 ... 1.
    double feedbackFor(const EchoCourse& course, int pass, double level) const;

  private:
    void cutClick(double hz);

    std::vector<Pair> cells;
    std::vector<Echo> found;
    double cutHz = 0.0;
    std::array<double, kMostEchoes> cutPeaks = [] {
        std::array<double, kMostEchoes> peaks{};
        peaks.fill(1.0);
        return peaks;
    }();
};

}  // namespace Quorvant
