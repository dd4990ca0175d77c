#include "gui/stage/EchoPicture.h"

#include "dsp/DelayMemory.h"
#include "dsp/HighCut.h"
#include "dsp/InputFilter.h"
#include "params/ParameterLaws.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace Quorvant {
namespace {

constexpr double kShortestMs = 3.0 / 48.0;  // of a span that the memory serves
constexpr double kTicks = 8000.0;           // in the window, or in the delay where that is longer
constexpr double kFewestInDelay = 24.0;
constexpr int kMostTicks = 20000;
constexpr double kMostTicksPerMs = 4.0;  // where the whole memory takes part
// Falls, so that it tells which way round it is heard.
constexpr double kClick[] = {1.0, 0.6, 0.3};
constexpr double kHeardAbove = 0.1;

// The first echo of a click in the middle of a segment, and the way between such echoes, in delays.
struct DirectionShares {
    double first, interval;
};
constexpr DirectionShares sharesOf(DirectionMode direction) {
    switch (direction) {
        case DirectionMode::Reverse:
            return {1.5, 1.5};
        case DirectionMode::Bounce:
            return {0.5, 1.0};
        default:
            return {1.0, 1.0};
    }
}

// What levels are measured with: a bump of a millisecond, with room behind it to be smeared into.
constexpr double kRate = 48000.0;
using Click = std::array<Pair, 512>;
Click freshClick() {
    constexpr std::size_t kLength = 48;
    Click click{};
    for (std::size_t i = 0; i < kLength; ++i) {
        const double s = std::sin(std::numbers::pi * static_cast<double>(i) / kLength);
        click[i] = both(s * s);
    }
    return click;
}

bool runsBackward(const EchoCourse& course) {
    return course.direction == DirectionMode::Backward;
}

}  // namespace

// X2 halves the level, and has an input filter of its own, whose gain is another, too.
double firstLevel(const EchoCourse& course) {
    static const double kDoubled = [] {
        const auto passed = [](double corner) {
            InputFilter filter;
            filter.setCorner(corner, kRate);
            Click click = freshClick();
            Pair highest{};
            for (Pair& x : click) highest = larger(highest, filter.process(x));
            return left(highest);
        };
        return passed(InputFilter::kDoubledCorner) / passed(InputFilter::kCorner) / x2Factor(1.0);
    }();
    return course.doubled ? kDoubled : 1.0;
}

double echoInterval(const EchoCourse& course) {
    const double ms = runsBackward(course) && course.delayMs >= kShortestMs
                          ? kLongestDelayMs - course.delayMs
                          : course.delayMs * sharesOf(course.direction).interval;
    return ms * course.clockFactor;
}

double heardMsPerMs(const EchoCourse& course) {
    const double share = sharesOf(course.direction).first * course.clockFactor;
    return runsBackward(course) ? -share : share;
}

double EchoPicture::cutPeak(int pass) const {
    return cutPeaks[static_cast<std::size_t>(std::clamp(pass - 1, 0, kMostEchoes - 1))];
}

double EchoPicture::feedbackFor(const EchoCourse& course, int pass, double level) const {
    if (pass < 2) return course.feedback;
    const double left = level / (firstLevel(course) * cutPeak(pass));
    return std::clamp(std::pow(std::max(left, 0.0), 1.0 / (pass - 1)), 0.0, 1.0);
}

// The click as it comes out of the cut time and again.
void EchoPicture::cutClick(double hz) {
    if (hz == cutHz) return;
    cutHz = hz;
    Click click = freshClick();
    const double pole = hz > 0.0 ? HighCut::poleOf(hz, kRate) : 0.0;
    cutPeaks.fill(1.0);
    for (std::size_t pass = 1; pass < cutPeaks.size() && pole > 0.0; ++pass) {
        HighCut cut;
        Pair highest = both(0.0);
        for (Pair& x : click) highest = larger(highest, x = cut.process(x, pole));
        cutPeaks[pass] = left(highest);
    }
}

void EchoPicture::compute(const EchoCourse& course, double windowMs) {
    found.clear();
    cutClick(course.highCutHz);
    const double loss = course.inverts ? -course.feedback : course.feedback;
    const auto add = [&](double ms, double peak, int pass, bool reversed) {
        const double gain = course.looping ? 1.0 : std::pow(loss, pass - 1) * cutPeak(pass);
        found.push_back({.ms = ms,
                         .level = std::min(1.0, std::abs(peak * firstLevel(course) * gain)),
                         .pass = pass,
                         .inverted = gain < 0.0,
                         .reversed = reversed});
    };
    const bool atOnce = echoInterval(course) < windowMs / kTicks;
    if ((course.delayMs < kShortestMs && !course.looping) || atOnce) return add(0.0, 1.0, 1, false);

    // Ticks a millisecond, such that the delay is a whole number of them.
    const double delayMs = std::max(course.delayMs, kShortestMs);
    const double memoryMs = windowMs / course.clockFactor;
    double rate = kTicks / std::max(memoryMs, delayMs);
    double delay = std::round(delayMs * rate);
    if (runsBackward(course)) {
        rate = std::min(rate, kMostTicksPerMs);
        delay = std::max(4.0, std::round(delayMs * rate));
    } else {
        delay = std::max(kFewestInDelay, delay);
        rate = delay / delayMs;
    }
    // Where sound comes in Reverse and Bounce depends on where in a segment it falls: a quarter of
    // the delay behind its start is the middle.
    const int clickAt = static_cast<int>(delay / 4.0);
    const int end = clickAt + std::min(static_cast<int>(memoryMs * rate) + 1, kMostTicks);
    // A memory that is not reached round need not be longer.
    double length = std::floor(rate * kLongestDelayMs) + 1.0;
    if (!runsBackward(course)) length = std::min(length, end + 2.0 * delay + 64.0);
    cells.assign(static_cast<std::size_t>(length), Pair{});
    DelayMemory memory;
    memory.attach(cells.data(), static_cast<int>(length), rate * 1000.0);
    memory.setCourse(course.direction, delay);

    // The left lane returns undiminished; the right one is halved by every pass, which counts them.
    // In a loop nothing is lost at all, whether it is kept in the memory or fed back.
    const Pair back = course.looping ? both(1.0) : makePair(1.0, 0.5);
    Pair returned{}, peak{};
    int begin = -1, peakAt = 0;
    for (int tick = 0; tick < end && found.size() < kMostEchoes; ++tick) {
        const int since = tick - clickAt;
        const bool clicks = since >= 0 && since < static_cast<int>(std::size(kClick));
        const Pair heard = memory.tick(returned + both(clicks ? kClick[since] : 0.0));
        returned = heard * back;
        const double level = left(heard);
        if (level > kHeardAbove) {
            if (begin < 0) {
                begin = peakAt = tick;
                peak = heard;
            } else if (level > left(peak)) {
                peakAt = tick;
                peak = heard;
            }
        } else if (begin >= 0) {
            const int pass = 1 + static_cast<int>(std::lround(std::log2(left(peak) / right(peak))));
            // Every pass but the first begins a tick late.
            add((peakAt - clickAt - pass + 1) / rate * course.clockFactor, left(peak), pass,
                peakAt - begin > tick - 1 - peakAt);
            begin = -1;
        }
    }
}

}  // namespace Quorvant
