#include "gui/stage/TimeAxis.h"

#include "params/ParameterText.h"

#include <algorithm>
#include <cmath>

namespace Quorvant {
namespace {

constexpr double kEchoes = 5.6;  // at the fewest
constexpr double kMostLines = 26.0;
constexpr double kMostNumbers = 9.0;
constexpr double kShortestMs = 10.0;

// Powers of ten, and what lies between them.
constexpr double kDecimalLengths[] = {1.0, 1.5, 2.0, 3.0, 4.0, 6.0, 8.0};
constexpr double kDecimalSteps[] = {1.0, 2.0, 5.0};
// Powers of two.
constexpr double kBeatLengths[] = {1.0, 1.5};
constexpr double kBeatSteps[] = {1.0};

// The smallest of the steps, times any power of the base, that is no less than `least`.
template <typename Steps>
double stepFrom(double least, const Steps& steps, double base) {
    const double power = std::pow(base, std::floor(std::log(least) / std::log(base) + 1e-9));
    for (const double step : steps)
        if (step * power >= least * (1.0 - 1e-9)) return step * power;
    return base * power;
}

// With as many decimals as it needs.
std::string shortText(double number) {
    std::string text = fixedText(number, 5);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') text.pop_back();
    return text;
}

std::string timeText(double ms) {
    return ms >= 1000.0 ? shortText(ms / 1000.0) + " s" : shortText(ms) + " ms";
}

}  // namespace

TimeAxis axisFor(double intervalMs, double beatMs) {
    const bool beats = beatMs > 0.0;
    const double unit = beats ? beatMs : 1.0;
    const double least = std::max(intervalMs * kEchoes, kShortestMs) / unit;
    const double length =
        beats ? stepFrom(least, kBeatLengths, 2.0) : stepFrom(least, kDecimalLengths, 10.0);
    const double number = beats ? stepFrom(length / kMostNumbers, kBeatSteps, 2.0)
                                : stepFrom(length / kMostNumbers, kDecimalSteps, 10.0);
    // As many lines between two numbers as leave whole ones.
    const bool two =
        std::abs(std::log10(number / 2.0) - std::round(std::log10(number / 2.0))) < 1e-9;
    double line = number;
    for (const double parts : {2.0, beats || two ? 4.0 : 5.0})
        if (length / number * parts <= kMostLines) line = number / parts;

    TimeAxis axis{.lengthMs = length * unit, .beatMs = beatMs, .marks = {}};
    for (int i = 0; i * line <= length * (1.0 + 1e-9); ++i) {
        const double at = i * line, nearest = std::round(at / number) * number;
        const bool numbered = std::abs(at - nearest) < line * 0.01;
        std::string text;
        if (numbered) text = beats ? shortText(1.0 + nearest) : timeText(nearest);
        axis.marks.push_back({at * unit, i == 0 && !beats ? "0" : text});
    }
    return axis;
}

}  // namespace Quorvant
