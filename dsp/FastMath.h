// Elementary functions for two lanes at a time, accurate to about 1e-15 and the same to the bit on
// every platform, which no system's maths library promises.
#pragma once

#include "dsp/Pair.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace Quorvant::FastMath {

namespace detail {

inline constexpr double kRoundingBias = 6755399441055744.0;  // 1.5 * 2^52: adding it rounds to int

// Four interleaved Horner chains, as a single one would make every caller wait for it.
template <std::size_t N>
inline Pair polynomial(Pair x, const std::array<double, N>& highestFirst) {
    static_assert(N >= 4);
    const Pair x2 = x * x, x4 = x2 * x2;
    Pair part[4];  // powers 0, 1, 2, 3 modulo 4
    for (std::size_t power = 0; power < 4; ++power) {
        std::size_t top = N - 1 - power;
        while (top >= 4) top -= 4;
        Pair y = both(highestFirst[top]);
        for (std::size_t i = top + 4; i < N; i += 4) y = y * x4 + both(highestFirst[i]);
        part[power] = y;
    }
    return (part[0] + part[1] * x) + (part[2] + part[3] * x) * x2;
}

// Taylor coefficients of (e^x - 1) / x, highest power first; |x| <= ln(2)/2 leaves 2e-16.
inline constexpr std::array<double, 13> kExpm1OverX = {1.0 / 6227020800.0,
                                                       1.0 / 479001600.0,
                                                       1.0 / 39916800.0,
                                                       1.0 / 3628800.0,
                                                       1.0 / 362880.0,
                                                       1.0 / 40320.0,
                                                       1.0 / 5040.0,
                                                       1.0 / 720.0,
                                                       1.0 / 120.0,
                                                       1.0 / 24.0,
                                                       1.0 / 6.0,
                                                       1.0 / 2.0,
                                                       1.0};

}  // namespace detail

// 2^x for |x| <= 1000.
inline Pair exp2(Pair x) {
    const Pair rounded = x + both(detail::kRoundingBias);
    const Pair f = (x - (rounded - both(detail::kRoundingBias))) * both(0.69314718055994530942);
    const Pair scale{_mm_castsi128_pd(
        _mm_slli_epi64(_mm_add_epi64(_mm_castpd_si128(rounded.v), _mm_set1_epi64x(1023)), 52))};
    return scale + scale * (f * detail::polynomial(f, detail::kExpm1OverX));
}

// log2(x) for normal x > 0.
inline Pair log2(Pair x) {
    // x = m * 2^e with m in [sqrt(1/2), sqrt(2)); log2(m) by the series of atanh((m-1)/(m+1)).
    static constexpr std::array<double, 10> kSeries = {
        1.0 / 19, 1.0 / 17, 1.0 / 15, 1.0 / 13, 1.0 / 11, 1.0 / 9, 1.0 / 7, 1.0 / 5, 1.0 / 3, 1.0};
    const __m128i bits = _mm_castpd_si128(x.v);
    constexpr double kTwoTo52 = 4503599627370496.0;  // its last bits count in ones
    const Pair biased{_mm_castsi128_pd(
        _mm_or_si128(_mm_srli_epi64(bits, 52), _mm_castpd_si128(both(kTwoTo52).v)))};
    const Pair exponent = biased - both(kTwoTo52 + 1023.0);
    const Pair mantissa{
        _mm_castsi128_pd(_mm_or_si128(_mm_and_si128(bits, _mm_set1_epi64x(0x000FFFFFFFFFFFFFLL)),
                                      _mm_castpd_si128(both(1.0).v)))};
    const Pair high = above(mantissa, both(1.4142135623730951));
    const Pair m = select(high, mantissa * both(0.5), mantissa);
    const Pair e = exponent + keepWhere(high, both(1.0));
    const Pair s = (m - both(1.0)) / (m + both(1.0));
    const Pair log = s * detail::polynomial(s * s, kSeries) * both(2.0 * 1.4426950408889634074);
    return e + log;
}

// x^exponent for x >= 0; 0 for x below 1e-300.
inline Pair power(Pair x, double exponent) {
    const Pair positive = atMost(both(1e-300), x);
    return keepWhere(positive, exp2(both(exponent) * log2(larger(x, both(1e-300)))));
}

namespace detail {

// tanh between the multiples of 1/128 up to 12: four Taylor coefficients each, lowest power first;
// |h| <= 1/256 leaves 4e-11.
struct alignas(32) TanhSeries {
    double coefficients[4];
};
inline constexpr double kTanhNodes = 128.0, kTanhEnd = 12.0;
inline constexpr auto kTanhTable = [] {
    std::array<TanhSeries, static_cast<std::size_t>(kTanhNodes * kTanhEnd) + 1> table{};
    long double power = 1.0L, step = 0.0L, term = 1.0L;  // e^2x
    for (int n = 0; n < 20; term *= 2.0L / kTanhNodes / ++n) step += term;
    for (TanhSeries& node : table) {
        const long double y = (power - 1.0L) / (power + 1.0L), slope = 1.0L - y * y;
        // y' = 1 - y^2, differentiated on.
        node = {{static_cast<double>(y), static_cast<double>(slope),
                 static_cast<double>(-y * slope),
                 static_cast<double>(slope * (y * y - slope / 2.0L) * 2.0L / 3.0L)}};
        power *= step;
    }
    return table;
}();

}  // namespace detail

// tanh(x) for x >= 0, within 4e-11, of a number or of two.
template <typename Lanes>
inline Lanes tanhOfPositive(Lanes x) {
    constexpr double kBias = detail::kRoundingBias / detail::kTanhNodes;  // rounds to the nodes
    const auto series = [](double rounded) {
        return detail::kTanhTable[std::bit_cast<uint64_t>(rounded) & 0x7FF].coefficients;
    };
    const auto sum = [](const auto& c, auto h) {
        return ((c(3) * h + c(2)) * h + c(1)) * h + c(0);
    };
    if constexpr (std::is_same_v<Lanes, Pair>) {
        const Pair held = smaller(x, both(detail::kTanhEnd)), rounded = held + both(kBias);
        const double *l = series(left(rounded)), *r = series(right(rounded));
        return sum([l, r](int i) { return makePair(l[i], r[i]); }, held - (rounded - both(kBias)));
    } else {
        const double held = std::min(x, detail::kTanhEnd), rounded = held + kBias;
        const double* c = series(rounded);
        return sum([c](int i) { return c[i]; }, held - (rounded - kBias));
    }
}

// sin(x) for |x| <= 4.
inline Pair sin(Pair x) {
    // Folded to |x| <= pi/2 around +-pi; Taylor series to x^21 leaves 1e-17.
    static constexpr std::array<double, 11> kSeries = {1.0 / 51090942171709440000.0,
                                                       -1.0 / 121645100408832000.0,
                                                       1.0 / 355687428096000.0,
                                                       -1.0 / 1307674368000.0,
                                                       1.0 / 6227020800.0,
                                                       -1.0 / 39916800.0,
                                                       1.0 / 362880.0,
                                                       -1.0 / 5040.0,
                                                       1.0 / 120.0,
                                                       -1.0 / 6.0,
                                                       1.0};
    constexpr double kPiHigh = 3.141592653589793116, kPiLow = 1.2246467991473532e-16;
    const Pair sign = keepWhere(x, both(-0.0));
    const Pair magnitude = absolute(x);
    const Pair folded = (both(kPiHigh) - magnitude) + both(kPiLow);
    const Pair a = smaller(magnitude, folded);
    const Pair magnitudeOfSine = a * detail::polynomial(a * a, kSeries);
    return {_mm_xor_pd(magnitudeOfSine.v, sign.v)};
}

}  // namespace Quorvant::FastMath
