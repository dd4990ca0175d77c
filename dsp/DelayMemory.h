// The delay memory: a ring of stereo cells, a write and a read index, and the four ways in which a
// clock tick moves them.
#pragma once

#include "dsp/Pair.h"
#include "params/ParameterIndex.h"

#include <algorithm>
#include <limits>

namespace Quorvant {

// A value type: the audio loop works on a copy of it and stores it back. The cells belong to the
// caller. All members are for the audio thread.
class DelayMemory {
  public:
    // `cells` holds `length` zeroed pairs, length >= 2. Puts everything into its starting state.
    void attach(Pair* cells, int length, double sampleRate);

    // The direction, and how far (in ticks, truncated, 0 ... length - 1) reading stands behind
    // writing. Nothing happens when neither changes; a change is crossfaded and restarts the
    // segments of Reverse and Bounce. While a crossfade runs, a change waits for its end. A changed
    // delay fades recording in anew, over 50 ms of ticks, unless it comes within 250 ms of the
    // change before: through a movement sound is recorded.
    void setCourse(DirectionMode mode, double ticks);
    // Host frames that went by since the last call, for telling a movement from a single change.
    void passTime(int frames) { sinceChange += std::min(frames, movementFrames - sinceChange); }
    // Loops what the memory holds instead of recording, with a crossfade of 50 ms of ticks.
    void setLooping(bool on);

    // True while ticks can be left to PlainTicks.
    bool isPlain() const {
        return direction == DirectionMode::Forward && fadeTicksLeft == 0 && writeFade >= 1.0 &&
               directTicks == 0 && !isShort() && isOnCourse();
    }
    // While isPlain(), up to ticksAhead() ticks can be taken at once: first all that they return,
    // `count` and one more pair as room for it, then what they record; `count` 1 and up.
    int ticksAhead() const { return distance(readIndex, writeIndex); }
    void readAhead(Pair* heard, int count);
    void recordAhead(const Pair* inputs, int count);  // of a loop, what it returned
    bool isLooping() const { return looping; }
    // The first of the cells: all others are as they were given.
    int cellsInUse() const { return usesAll ? length : writeIndex + 1; }
    // How much of what is heard comes straight from the input, 0 ... 1: all of it while the delay
    // is too short for the memory.
    double directShare() const;
    // After how many ticks without input only silence is left to be heard, on the present course.
    int ticksToSilence() const {
        if (looping || writeFade < 1.0) return std::numeric_limits<int>::max();
        return isPlain() ? span : length;
    }

    void storeTo(DelayMemory& memory) const { memory = *this; }

    // That many ticks, 0 ... length - 1, without input; for a memory in which only silence is left.
    void recordSilence(int count);

    // One tick: records `input`, returns the pair for the output history (read one tick ago).
    Pair tick(Pair input) {
        if (fadeTicksLeft == 0 && !isOnCourse()) followCourse();
        untouched = false;
        moveIndices();
        if (directTicks != directTicksWanted()) moveDirectShare();

        const Pair old = lastRead;
        Pair written = looping ? old : input;
        if (writeFade < 1.0) written = crossfadedRecording(input, old);
        // A loop reads before it writes, since it may span the whole memory. Otherwise no cell is
        // read that is about to be replaced: it holds the oldest sound of all.
        Pair heard = cells[readIndex];
        record(written);
        if (readIndex == writeIndex && !looping) heard = written;
        if (fadeTicksLeft > 0) heard = crossfaded(heard);
        if (direction == DirectionMode::Reverse || direction == DirectionMode::Bounce) {
            if (segmentCounter >= segmentEnd) endSegment();
            ++segmentCounter;
        }
        lastRead = heard;
        return old;
    }

  private:
    friend class PlainTicks;

    // Intended: forward steps wrap one cell earlier than backward steps.
    int forward(int i) const { return i + 1 >= length - 1 ? i + 2 - length : i + 1; }
    int backward(int i) const { return i == 0 ? length - 1 : i - 1; }
    bool readsForward() const {
        return direction == DirectionMode::Forward ||
               (direction == DirectionMode::Bounce && !readBackward);
    }
    void moveIndices() {
        writeIndex =
            direction == DirectionMode::Backward ? backward(writeIndex) : forward(writeIndex);
        if (readsForward()) {
            readIndex = forward(readIndex);
        } else if (--readIndex < 0) {
            readIndex = length - 1;
            if (direction != DirectionMode::Backward) passTopCell();
        }
    }
    void record(Pair written) {
        cells[writeIndex] = written;
        // Forward writing never reaches the top cell; it mirrors cell 0 for backward readers.
        if (writeIndex == 0 && direction != DirectionMode::Backward) {
            cells[length - 1] = written;
            usesAll = true;
        }
    }
    // Of the cells that forward movement uses, 1 ... length - 1.
    int distance(int from, int to) const { return to > from ? to - from : to - from + length - 1; }
    bool isOnCourse() const { return wantedTicks == ticks && wantedDirection == direction; }
    bool isShort() const { return span < kFewestTicks && !looping; }
    int directTicksWanted() const { return isShort() ? usualFade : 0; }
    void followCourse();
    bool turnWriting(bool readForward);
    void passTopCell();
    void moveDirectShare();
    void endSegment();
    int indexBehindWriting() const {
        return writeIndex >= span ? writeIndex - span : writeIndex - span + length;
    }
    void jumpTo(int index, bool movedForward);
    void startReadFade(int fromIndex, bool movedForward);
    double recordedShare() const;
    void restartWriteFade(double shareSoFar);
    Pair crossfaded(Pair fadingIn);
    Pair crossfadedRecording(Pair input, Pair old);

    Pair* cells = nullptr;
    int length = 0;
    int writeIndex = 0, readIndex = 0;
    DirectionMode direction = DirectionMode::Forward;
    bool looping = false;
    bool untouched = true;  // nothing recorded since attach
    bool usesAll = false;   // has written backwards, or come round
    Pair lastRead{};

    DirectionMode wantedDirection = DirectionMode::Forward;
    double wantedTicks = 0.0;
    double ticks = 0.0;
    static constexpr int kFewestTicks = 3;  // of a span that the memory serves
    int span = 0;
    int segment = 0;  // ticks of the present one in Reverse, of all in Bounce
    int segmentCounter = 0, segmentEnd = 0;
    bool readBackward = true;
    int topCellsPassed = 0;  // in this segment
    int directTicks = 0;     // 0 ... usualFade

    bool recordsAnew = false;                 // once the wanted delay is followed
    int sinceChange = 0, movementFrames = 0;  // host frames

    double writeFade = 1.0, writeFadeGrowth = 1.0;
    // The fade's start jumps: what the input's share was before runs out over some ticks.
    double shareLeftOver = 0.0;
    int leftOverTicks = 0;

    int shortestFade = 1, usualFade = 1;  // ticks
    int fadeTicks = 1, fadeTicksLeft = 0;
    int fadingIndex = 0;
    bool fadingForward = true;
};

// The same ticks, without the cases that a memory which is plain does not meet: forward, nothing
// fading. Lean enough for the processor's registers.
class PlainTicks {
  public:
    explicit PlainTicks(const DelayMemory& memory)
        : cells(memory.cells),
          top(memory.cells + memory.length - 1),
          written(memory.cells + memory.writeIndex),
          heard(memory.cells + memory.readIndex),
          loop(atMost(both(memory.looping ? 0.0 : 1.0), both(0.0))),
          lastRead(memory.lastRead) {}

    Pair tick(Pair input) {
        const Pair old = lastRead;
        lastRead = *stepped(heard);
        const Pair kept = select(loop, old, input);
        if (++written >= top) {
            written -= top - cells;
            if (written == cells) *top = kept;
        }
        *written = kept;
        return old;
    }

    static constexpr double directShare() { return 0.0; }
    void storeTo(DelayMemory& memory) const {
        const int index = static_cast<int>(written - cells);
        memory.usesAll = memory.usesAll || index < memory.writeIndex;
        memory.writeIndex = index;
        memory.readIndex = static_cast<int>(heard - cells);
        memory.lastRead = lastRead;
        memory.untouched = false;
    }

  private:
    Pair* stepped(Pair*& cell) const {
        if (++cell >= top) cell -= top - cells;
        return cell;
    }

    Pair *cells, *top;  // the ring's first and its topmost cell, which mirrors the first
    Pair *written, *heard;
    Pair loop;  // mask
    Pair lastRead;
};

}  // namespace Quorvant
