#include "dsp/DelayMemory.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace Quorvant {

namespace {

constexpr double kWriteFadeStart = 0.001;
constexpr double kWriteFadeMs = 50.0;
constexpr double kReadFadeSeconds = 0.005;
constexpr double kMovementSeconds = 0.25;

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
    sinceChange = movementFrames = static_cast<int>(kMovementSeconds * sampleRate);
    directTicks = usualFade;
}

void DelayMemory::setCourse(DirectionMode mode, double delayTicks) {
    const double wanted = std::clamp(delayTicks, 0.0, length - 1.0);
    if (wanted != wantedTicks) {
        recordsAnew = wanted != ticks && (recordsAnew || sinceChange >= movementFrames);
        sinceChange = 0;
    }
    wantedTicks = wanted;
    wantedDirection = mode;
    if (fadeTicksLeft == 0 && !isOnCourse()) followCourse();
}

void DelayMemory::followCourse() {
    bool movedForward = readsForward();
    ticks = wantedTicks;
    span = static_cast<int>(ticks);
    if (std::exchange(recordsAnew, false)) restartWriteFade(recordedShare());
    if ((direction == DirectionMode::Backward) != (wantedDirection == DirectionMode::Backward))
        movedForward = turnWriting(movedForward);
    direction = wantedDirection;
    usesAll = usesAll || direction == DirectionMode::Backward;
    segmentEnd = segment = span - span / 2;
    segmentCounter = topCellsPassed = 0;
    readBackward = true;
    if (untouched) directTicks = directTicksWanted();
    // What is not heard needs no crossfade, and reading goes on until the input has taken over.
    if (directTicks == usualFade)
        readIndex = indexBehindWriting();
    else if (!isShort())
        jumpTo(indexBehindWriting(), movedForward);
}

// Where writing turns round, the cells in front of it end in the middle of some old sound: the
// newest samples are laid over them in the order of the coming passes, so that these meet no edge.
// A reader so close that writing would come towards it while it fades goes on in that copy.
bool DelayMemory::turnWriting(bool readForward) {
    const auto below = [this](int i) { return i == 0 ? length - 2 : i - 1; };
    const auto above = [this](int i) { return i + 1 == length ? 0 : i + 1; };
    const bool wroteBackward = direction == DirectionMode::Backward;
    const int copied = 2 * usualFade;  // and faded out in as many ticks as a fade has
    int past = writeIndex, ahead = writeIndex, mirrored = -1;
    for (int i = 1; i <= copied + usualFade; ++i) {
        past = wroteBackward ? above(past) : below(past);
        ahead = wroteBackward ? below(ahead) : above(ahead);
        if (past == readIndex && i <= copied) mirrored = ahead;
        if (ahead == readIndex) break;  // what is being faded out stays
        cells[ahead] =
            blended(cells[past], cells[ahead], smoothStep(std::max(0, i - copied), usualFade + 1));
    }
    if (mirrored < 0 || readForward == wroteBackward) return readForward;
    readIndex = mirrored;
    return !readForward;
}

// A backward reader meets the same sample in the top cell as in cell 0. It is led over from the
// reading that leaves that cell out, or leaves it out where another crossfade is on.
void DelayMemory::passTopCell() {
    if (fadeTicksLeft > 0) {
        readIndex = backward(readIndex);
    } else {
        ++topCellsPassed;
        startReadFade(readIndex, false);
    }
}

void DelayMemory::moveDirectShare() {
    directTicks += isShort() ? 1 : -1;
    if (directTicks == usualFade) readIndex = indexBehindWriting();
}

double DelayMemory::directShare() const {
    return smoothStep(directTicks, usualFade);
}

void DelayMemory::setLooping(bool on) {
    if (on == looping) return;
    const double shareSoFar = recordedShare();
    looping = on;
    restartWriteFade(shareSoFar);
}

// The input's share in what the next tick records.
double DelayMemory::recordedShare() const {
    const double share = looping ? 1.0 - writeFade : writeFade;
    return leftOverTicks > 0 ? share + shareLeftOver * smoothStep(leftOverTicks, usualFade + 1)
                             : share;
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
    usesAll = usesAll || writeIndex + count >= usable;
    writeIndex = (writeIndex + count) % usable;
    readIndex = (readIndex + count) % usable;
    cells[usable] = cells[0];
    lastRead = Pair{};
    untouched = false;
}

void DelayMemory::readAhead(Pair* heard, int count) {
    *heard = lastRead;
    const int first = forward(readIndex), beforeWrap = std::min(count, length - 1 - first);
    std::copy_n(cells + first, beforeWrap, heard + 1);
    std::copy_n(cells, count - beforeWrap, heard + 1 + beforeWrap);
    readIndex = (first + count - 1) % (length - 1);
    lastRead = heard[count];
}

void DelayMemory::recordAhead(const Pair* inputs, int count) {
    const int first = forward(writeIndex), beforeWrap = std::min(count, length - 1 - first);
    std::copy_n(inputs, beforeWrap, cells + first);
    std::copy_n(inputs + beforeWrap, count - beforeWrap, cells);
    if (first == 0 || beforeWrap < count) {
        cells[length - 1] = cells[0];
        usesAll = true;
    }
    writeIndex = (first + count - 1) % (length - 1);
    untouched = false;
}

// An empty memory has nothing to fade from: a note on its very first tick keeps its attack.
void DelayMemory::restartWriteFade(double shareSoFar) {
    if (untouched) return;
    writeFade = kWriteFadeStart;
    leftOverTicks = 0;
    shareLeftOver = shareSoFar - recordedShare();
    leftOverTicks = usualFade;
}

void DelayMemory::endSegment() {
    const bool movedForward = readsForward();
    if (direction == DirectionMode::Reverse) {
        // Twice the segment's ticks, and what the top cell took, so that reading never drifts; the
        // two halves of an odd span in turn, so that the segments don't, either.
        const int usable = length - 1;
        jumpTo((2 * segment + readIndex - topCellsPassed + usable) % usable, movedForward);
        segmentEnd = segment = span - segment;
        segmentCounter = topCellsPassed = 0;
    } else if (segmentEnd == segment) {
        readBackward = true;
        jumpTo(writeIndex, movedForward);
        segmentEnd = span + 1;
    } else {
        readBackward = false;
        jumpTo(readIndex, movedForward);
        segmentEnd = segment;
        segmentCounter = 0;
    }
}

// To another place, or another way from the same place.
void DelayMemory::jumpTo(int index, bool movedForward) {
    if (index == readIndex && movedForward == readsForward()) return;
    const int previous = std::exchange(readIndex, index);
    if (!untouched) startReadFade(previous, movedForward);
}

void DelayMemory::startReadFade(int fromIndex, bool movedForward) {
    fadingIndex = fromIndex;
    fadingForward = movedForward;
    fadeTicks = std::max(usualFade, shortestFade);
    // Short segments leave less time.
    if (direction == DirectionMode::Reverse || direction == DirectionMode::Bounce)
        fadeTicks = std::max(1, std::min(fadeTicks, span / 4));
    fadeTicksLeft = fadeTicks;
}

Pair DelayMemory::crossfaded(Pair fadingIn) {
    fadingIndex = fadingForward ? forward(fadingIndex) : backward(fadingIndex);
    if (fadingIndex == length - 1 && direction != DirectionMode::Backward)
        fadingIndex = backward(fadingIndex);
    const double weight = smoothStep(fadeTicks + 1 - fadeTicksLeft, fadeTicks + 1);
    --fadeTicksLeft;
    return cells[fadingIndex] + both(weight) * (fadingIn - cells[fadingIndex]);
}

Pair DelayMemory::crossfadedRecording(Pair input, Pair old) {
    const double share = recordedShare();
    if (leftOverTicks > 0) --leftOverTicks;
    writeFade = std::min(1.0, writeFade * writeFadeGrowth);
    return old + both(share) * (input - old);
}

}  // namespace Quorvant
