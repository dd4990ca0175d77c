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

// 0 at 0, 1 at `steps`, without a corner at either end.
double smoothStep(int step, int steps) {
    const double w = static_cast<double>(step) / steps;
    return w * w * (3.0 - 2.0 * w);
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
    wantedDirection = mode;
    wantedTicks = std::clamp(delayTicks, 0.0, length - 1.0);
    if (fadeTicksLeft == 0 && !isOnCourse()) followCourse();
}

void DelayMemory::followCourse() {
    const bool movedForward = readsForward();
    if (wantedTicks != ticks) {
        ticks = wantedTicks;
        span = static_cast<int>(ticks);
        secondHalf = span - span / 2;
        restartWriteFade(writeFade < 1.0 ? share : recordedShare());
    }
    direction = wantedDirection;
    segmentCounter = 0;
    readBackward = true;
    const int index = writeIndex - span;
    jumpTo(index < 0 ? index + length : index, movedForward);
}

void DelayMemory::setLooping(bool on) {
    if (on == looping) return;
    const double shareSoFar = writeFade < 1.0 ? share : recordedShare();
    looping = on;
    restartWriteFade(shareSoFar);
}

void DelayMemory::recordSilence(int count) {
    if (!isPlain()) {
        while (count-- > 0) tick(Pair{});
        return;
    }
    // The written stretch may wrap, and so may the read index.
    const int usable = length - 1;
    const int first = (writeIndex + 1) % usable, beforeWrap = std::min(count, usable - first);
    std::fill_n(cells + first, beforeWrap, Pair{});
    std::fill_n(cells, count - beforeWrap, Pair{});
    writeIndex = (writeIndex + count) % usable;
    readIndex = (readIndex + count) % usable;
    cells[usable] = cells[0];
    lastRead = Pair{};
    untouched = false;
}

// An empty memory has nothing to fade from: a note on its very first tick keeps its attack.
void DelayMemory::restartWriteFade(double shareSoFar) {
    if (untouched) return;
    writeFade = kWriteFadeStart;
    shareLeftOver = shareSoFar - recordedShare();
    leftOverTicks = usualFade;
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
    const double weight = smoothStep(fadeTicks + 1 - fadeTicksLeft, fadeTicks + 1);
    --fadeTicksLeft;
    return cells[fadingIndex] + both(weight) * (fadingIn - cells[fadingIndex]);
}

Pair DelayMemory::crossfadedRecording(Pair input, Pair old) {
    share = recordedShare();
    if (leftOverTicks > 0) share += shareLeftOver * smoothStep(leftOverTicks--, usualFade + 1);
    writeFade = std::min(1.0, writeFade * writeFadeGrowth);
    return old + both(share) * (input - old);
}

}  // namespace Quorvant
