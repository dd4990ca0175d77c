// What the tests hear with: signals to play, and the measurements that claims about sound are made
// of. Levels are linear, positions and lengths are in frames, frequencies in Hz. A range `from` …
// `to` is held within the signal.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <numbers>
#include <utility>
#include <vector>

namespace Quorvant::Test {

// A repeatable source of values, the same on every system: the standard's distributions are not.
class Dice {
  public:
    explicit Dice(uint64_t seed) : state(seed * 0x9E3779B97F4A7C15u + 1) {}

    uint64_t next() {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        return state;
    }
    double unit() { return static_cast<double>(next() >> 11) * 0x1p-53; }  // 0 up to, not 1
    double between(double low, double high) { return low + (high - low) * unit(); }
    int below(int count) { return static_cast<int>(next() % static_cast<uint64_t>(count)); }
    bool chance(double probability) { return unit() < probability; }
    template <typename Choices>
    const auto& of(const Choices& choices) {
        return std::data(choices)[below(static_cast<int>(std::size(choices)))];
    }

  private:
    uint64_t state;
};

// --- Signals ----------------------------------------------------------------------------------

using Signal = std::vector<double>;

// A signal is a stereo one with the same on both sides.
struct Stereo {
    Stereo() = default;
    Stereo(const Signal& both) : left(both), right(both) {}
    Stereo(Signal l, Signal r) : left(std::move(l)), right(std::move(r)) {}

    size_t size() const { return left.size(); }

    Signal left, right;
};

inline Signal silence(size_t frames) {
    return Signal(frames, 0.0);
}

inline Signal impulse(size_t frames, double level = 0.5) {
    Signal signal(frames, 0.0);
    signal.at(0) = level;
    return signal;
}

inline Signal sine(size_t frames, double hz, double rate, double level = 0.5) {
    Signal signal(frames);
    for (size_t i = 0; i < frames; ++i)
        signal[i] = level * std::sin(2.0 * std::numbers::pi * hz * static_cast<double>(i) / rate);
    return signal;
}

// A smooth bump with its top in the middle.
inline Signal pulse(size_t frames, double level = 0.5) {
    Signal signal = sine(frames, 0.5, static_cast<double>(frames), std::sqrt(level));
    for (double& x : signal) x *= x;
    return signal;
}

inline Signal noise(size_t frames, double level = 0.5, uint64_t seed = 1) {
    Dice dice(seed);
    Signal signal(frames);
    for (double& x : signal) x = dice.between(-level, level);
    return signal;
}

// Another one on each side.
inline Stereo stereoNoise(size_t frames, double level = 0.5, uint64_t seed = 1) {
    return {noise(frames, level, 2 * seed), noise(frames, level, 2 * seed + 1)};
}

// The signal and the silence behind it.
inline Signal padded(Signal signal, size_t frames) {
    signal.resize(frames, 0.0);
    return signal;
}

inline Signal join(Signal first, const Signal& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

// --- Measurements, of vectors, arrays and spans of float or double ----------------------------

inline double decibels(double linear) {
    return 20.0 * std::log10(std::max(linear, 1e-12));
}

template <typename Samples>
size_t peakPosition(const Samples& signal, size_t from = 0, size_t to = SIZE_MAX) {
    size_t best = from;
    for (size_t i = from; i < std::min<size_t>(to, std::size(signal)); ++i)
        if (std::abs(signal[i]) > std::abs(signal[best])) best = i;
    return best;
}

template <typename Samples>
double peak(const Samples& signal, size_t from = 0, size_t to = SIZE_MAX) {
    const size_t at = peakPosition(signal, from, to);
    return at < std::size(signal) ? std::abs(signal[at]) : 0.0;
}

template <typename Samples>
double mean(const Samples& signal, size_t from = 0, size_t to = SIZE_MAX) {
    const size_t end = std::min<size_t>(to, std::size(signal));
    double sum = 0.0;
    for (size_t i = from; i < end; ++i) sum += signal[i];
    return end > from ? sum / static_cast<double>(end - from) : 0.0;
}

template <typename Samples>
double rms(const Samples& signal, size_t from = 0, size_t to = SIZE_MAX) {
    Signal squares;
    for (const double x : signal) squares.push_back(x * x);
    return std::sqrt(mean(squares, from, to));
}

template <typename Samples>
double largestStep(const Samples& signal, size_t from = 0) {
    double largest = 0.0;
    for (size_t i = from + 1; i < std::size(signal); ++i)
        largest = std::max<double>(largest, std::abs(signal[i] - signal[i - 1]));
    return largest;
}

// The highest sample above 5 kHz, in dBFS: a windowed sinc of which a steady sine of 440 Hz at
// -6 dBFS leaves -84.
template <typename Samples>
double clicks(const Samples& signal, double rate, size_t from = 0) {
    const int reach = static_cast<int>(rate / 500.0);
    Signal taps;
    for (int i = -reach; i <= reach; ++i) {
        const double turn = std::numbers::pi * i, share = 10000.0 / rate;
        const double sinc = i ? std::sin(turn * share) / turn : share;
        const double window =
            0.42 + 0.5 * std::cos(turn / reach) + 0.08 * std::cos(2 * turn / reach);
        taps.push_back((i == 0 ? 1.0 : 0.0) - sinc * window);
    }
    double highest = 0.0;
    for (size_t at = from; at + taps.size() < std::size(signal); ++at) {
        double sum = 0.0;
        for (size_t k = 0; k < taps.size(); ++k) sum += taps[k] * signal[at + k];
        highest = std::max(highest, std::abs(sum));
    }
    return decibels(highest);
}

// Infinite where lengths differ, or a sample of one is not a number.
inline double largestDifference(const Signal& a, const Signal& b, size_t from = 0) {
    double largest = a.size() == b.size() ? 0.0 : HUGE_VAL;
    for (size_t i = from; i < std::min(a.size(), b.size()); ++i) {
        const double difference = std::abs(a[i] - b[i]);
        largest = std::isnan(difference) ? HUGE_VAL : std::max(largest, difference);
    }
    return largest;
}
inline double largestDifference(const Stereo& a, const Stereo& b, size_t from = 0) {
    return std::max(largestDifference(a.left, b.left, from),
                    largestDifference(a.right, b.right, from));
}

template <typename Samples>
bool allFinite(const Samples& signal) {
    return std::all_of(std::begin(signal), std::end(signal),
                       [](double x) { return std::isfinite(x); });
}
inline bool allFinite(const Stereo& signal) {
    return allFinite(signal.left) && allFinite(signal.right);
}

}  // namespace Quorvant::Test
