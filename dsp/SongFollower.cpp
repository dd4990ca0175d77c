#include "dsp/SongFollower.h"

#include "params/NoteTable.h"

#include <algorithm>
#include <cmath>

namespace Quorvant {

namespace {

constexpr double kFlashSeconds = 0.05;
constexpr double kLastPosition = 1e9;  // quarter notes; beyond it no exact fraction is left

}  // namespace

void SongFollower::setSampleRate(double hz) {
    sampleRate = hz;
    applyLfoRate();
}

void SongFollower::reset() {
    lfo.reset();
    repeats.reset();
    lamp = false;
    lastPosition.reset();
}

void SongFollower::applyDelay() {
    if (infRepeat) return;
    milliseconds = values.isOn(kDelayClockMode) ? noteMs(delayNote(values[kDelayNote]), tempoBpm)
                                                : delayTimeMs(values[kDelayTime]);
}

void SongFollower::applyLfoRate() {
    lfoHz = values.isOn(kLfoSync) ? noteHz(lfoNote(values[kLfoNote]), tempoBpm)
                                  : lfoRateHz(values[kLfoRate]);
    lfo.setFrequency(lfoHz, sampleRate);
}

void SongFollower::applyManualTempo() {
    setTempo(manualTempoBpm(values[kManualTempo]));
}

void SongFollower::setTempo(double bpm) {
    const double held = std::clamp(bpm, kLowestTempo, kHighestTempo);
    if (held == tempoBpm) return;
    tempoBpm = held;
    applyDelay();
    applyLfoRate();
}

void SongFollower::setInfRepeat(bool on) {
    if (on == infRepeat) return;
    infRepeat = on;
    // A synced loop waits for the next repeat.
    if (!on || !values.isOn(kDelayClockMode)) looping = on;
    applyDelay();
}

void SongFollower::followHost(const HostTransport& transport, double clockFactor) {
    const bool ownTempo = values.isOn(kEnforceManualTempo);
    if (ownTempo)
        applyManualTempo();
    else if (transport.tempoValid && std::isfinite(transport.tempoBpm))
        setTempo(transport.tempoBpm);
    synced = transport.positionValid && std::abs(transport.positionBeats) < kLastPosition;

    repeats.setLengths(static_cast<int>(delaySamples()),
                       static_cast<int>(kFlashSeconds * std::floor(sampleRate) / clockFactor));
    if (!synced || ownTempo) {
        lastPosition.reset();
        return;
    }
    const double position = transport.positionBeats;
    if (values.isOn(kLfoSync) && position != lastPosition)
        lfo.setPosition(position * 60.0 * lfoHz / tempoBpm, values[kLfoOffset]);
    lastPosition = position;

    const double period = milliseconds * tempoBpm / 60000.0;  // quarter notes
    if (values.isOn(kDelayClockMode) && transport.playing && period > 0.0) {
        const double beats = position - std::floor(position / period) * period;
        if (repeats.follow(static_cast<int>(beats * sampleRate * 60.0 / tempoBpm))) beginRepeat();
    }
}

// Where a repeat begins, a waiting loop engages and a released one's lamp goes out.
void SongFollower::beginRepeat() {
    if (!infRepeat)
        lamp = false;
    else if (!looping)
        lamp = looping = true;
}

int SongFollower::countRepeats(int frames) {
    const bool boundaryMatters = infRepeat ? !looping : lamp;
    int counted = 0;
    while (counted < frames) {
        if (repeats.untilRestart() == 0) {
            if (boundaryMatters) {
                if (counted > 0) break;
                beginRepeat();
            }
            repeats.restart();
            ++counted;
        }
        const int steps = std::min(frames - counted, repeats.untilRestart());
        repeats.advance(steps);
        counted += steps;
    }
    return counted;
}

bool SongFollower::takeLoopLamp() {
    if (values.isOn(kDelayClockMode)) return lamp;
    lamp = false;
    return looping;
}

}  // namespace Quorvant
