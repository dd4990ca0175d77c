// What follows the song: the tempo in force, the delay's and the LFO's lengths, the repeats, and
// the moment at which a loop engages.
#pragma once

#include "dsp/HostLink.h"
#include "dsp/Lfo.h"
#include "dsp/ParameterValues.h"
#include "dsp/RepeatCounter.h"

#include <optional>

namespace Quorvant {

// Audio thread. Reads parameters from the engine's values, and has to be told when they change.
class SongFollower {
  public:
    // `parameters` must outlive it.
    explicit SongFollower(const ParameterValues& parameters) : values(parameters) {}

    void setSampleRate(double hz);
    // Back to the song's start, as far as it is known; tempo, lengths and loop stay.
    void reset();

    // Delay Time, Delay Note or Dly-Clk Mode has changed. A loop keeps its length.
    void applyDelay();
    // LFO Rate, LFO Note or LFO Sync has changed.
    void applyLfoRate();
    // Manual Tempo has changed.
    void applyManualTempo();
    void setInfRepeat(bool on);

    // The transport at a block's first frame; `clockFactor` is the memory's.
    void followHost(const HostTransport& transport, double clockFactor);
    // Counts the next frames, at most `frames`, and returns how many. It stops short of the start
    // of a repeat where that would change the loop.
    int countRepeats(int frames);

    double tempo() const { return tempoBpm; }
    double delayMs() const { return milliseconds; }  // at the nominal clock
    double delaySamples() const { return milliseconds * sampleRate / 1000.0; }
    bool infRepeatIsOn() const { return infRepeat; }
    // Engaged; a synced loop engages later than Inf Repeat is switched on.
    bool isLooping() const { return looping; }
    bool hasPosition() const { return synced; }
    // How brightly repeats lit up since the last call, 0 ... 1.
    double takeActivity() { return repeats.takePeak(); }
    bool takeLoopLamp();

    Lfo lfo;

  private:
    void setTempo(double bpm);
    void beginRepeat();

    const ParameterValues& values;
    double sampleRate = 44100.0;
    double tempoBpm = 120.0;
    double milliseconds = 0.0;
    double lfoHz = 1.0;
    bool synced = false;
    std::optional<double> lastPosition;
    RepeatCounter repeats;
    bool infRepeat = false, looping = false, lamp = false;
};

}  // namespace Quorvant
