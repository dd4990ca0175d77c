#include "dsp/DelayMemory.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace Quorvant {

namespace {

constexpr double kWriteFadeStart = 0.001;
constexpr double kWriteFadeMs = 50.0;
constexpr double kReadFadeSeconds = 0.005;

// Half the length of the unit's crossfade ramp, which grows with the rate.
int rampHalf(int sampleRate) {
    return sampleRate > 200000 ? 32 : sampleRate > 100000 ? 16 : sampleRate > 50000 ? 8 : 4;
}

}  // namespace

void DelayMemory::attach(Pair* memory, int cellCount, double sampleRate) {
    *this = {};
    cells = memory;
    length = cellCount;
    const int rate = static_cast<int>(sampleRate);
    const int fadeInTicks = std::max(1, static_cast<int>(rate * kWriteFadeMs / 1000.0));
    writeFadeGrowth = std::pow(kWriteFadeStart, -1.0 / fadeInTicks);
    shortestFade = rampHalf(rate);
    usualFade = static_cast<int>(std::lround(kReadFadeSeconds * sampleRate));
}

void DelayMemory::setCourse(DirectionMode mode, double delayTicks) {
    delayTicks = std::clamp(delayTicks, 0.0, length - 1.0);
    if (mode == direction && delayTicks == ticks) return;
    const bool movedForward = readsForward();
    if (delayTicks != ticks) {
        ticks = delayTicks;
        span = static_cast<int>(ticks);
        secondHalf = span - span / 2;
        restartWriteFade();
    }
    direction = mode;
    segmentCounter = 0;
    readBackward = true;
    const int index = writeIndex - span;
    jumpTo(index < 0 ? index + length : index, movedForward);
}

void DelayMemory::setLooping(bool on) {
    if (on == looping) return;
    looping = on;
    restartWriteFade();
}

// An empty memory has nothing to fade from: a note on its very first tick keeps its attack.
void DelayMemory::restartWriteFade() {
    if (!untouched) writeFade = kWriteFadeStart;
}

void DelayMemory::endSegment() {
    if (direction == DirectionMode::Reverse) {
        if (segmentCounter >= secondHalf) {
            // Twice the second half and not the span, which for odd spans would drift.
            jumpTo((2 * secondHalf + readIndex) % (length - 1), false);
            segmentCounter = 0;
        }
    } else {
        if (segmentCounter == secondHalf) {
            jumpTo(writeIndex, readsForward());
            readBackward = true;
        }
        if (segmentCounter > span) {
            readBackward = false;
            segmentCounter = 0;
        }
    }
    ++segmentCounter;
}

void DelayMemory::jumpTo(int index, bool movedForward) {
    if (index == readIndex) return;
    const int previous = std::exchange(readIndex, index);
    if (untouched) return;
    fadingIndex = previous;
    fadingForward = movedForward;
    fadeTicks = std::max(1, std::min(std::max(usualFade, shortestFade), span / 4));
    fadeTicksLeft = fadeTicks;
}

Pair DelayMemory::crossfaded(Pair fadingIn) {
    fadingIndex = fadingForward ? forward(fadingIndex) : backward(fadingIndex);
    const double w = static_cast<double>(fadeTicks + 1 - fadeTicksLeft) / (fadeTicks + 1);
    const double weight = w * w * (3.0 - 2.0 * w);
    --fadeTicksLeft;
    return cells[fadingIndex] + both(weight) * (fadingIn - cells[fadingIndex]);
}

Pair DelayMemory::fadedIn(Pair rising, Pair falling) {
    const Pair mixed = both(1.0 - writeFade) * falling + both(writeFade) * rising;
    writeFade = std::min(1.0, writeFade * writeFadeGrowth);
    return mixed;
}

}  // namespace Quorvant
