// A stereo frame as one SIMD value: lane 0 is the left channel, lane 1 the right. Arithmetic
// operators work lane by lane.
#pragma once

#include <emmintrin.h>

namespace Quorvant {

struct Pair {
    __m128d v;
};

inline Pair both(double value) {
    return {_mm_set1_pd(value)};
}
inline Pair makePair(double left, double right) {
    return {_mm_set_pd(right, left)};
}
// Two successive numbers of an array as the two lanes.
inline Pair loadTwo(const double* from) {
    return {_mm_loadu_pd(from)};
}
inline Pair loadTwo(const float* from) {
    return {
        _mm_cvtps_pd(_mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(from))))};
}
inline void storeTwo(double* to, Pair p) {
    _mm_storeu_pd(to, p.v);
}
inline void storeTwo(float* to, Pair p) {
    _mm_storel_epi64(reinterpret_cast<__m128i*>(to), _mm_castps_si128(_mm_cvtpd_ps(p.v)));
}
inline double left(Pair p) {
    return _mm_cvtsd_f64(p.v);
}
inline double right(Pair p) {
    return _mm_cvtsd_f64(_mm_unpackhi_pd(p.v, p.v));
}

// Both left lanes, and both right ones.
inline Pair lefts(Pair a, Pair b) {
    return {_mm_unpacklo_pd(a.v, b.v)};
}
inline Pair rights(Pair a, Pair b) {
    return {_mm_unpackhi_pd(a.v, b.v)};
}
inline Pair swapped(Pair p) {
    return {_mm_shuffle_pd(p.v, p.v, 1)};
}

inline Pair operator+(Pair a, Pair b) {
    return {_mm_add_pd(a.v, b.v)};
}
inline Pair operator-(Pair a, Pair b) {
    return {_mm_sub_pd(a.v, b.v)};
}
inline Pair operator*(Pair a, Pair b) {
    return {_mm_mul_pd(a.v, b.v)};
}
inline Pair operator/(Pair a, Pair b) {
    return {_mm_div_pd(a.v, b.v)};
}

inline Pair absolute(Pair p) {
    return {_mm_andnot_pd(both(-0.0).v, p.v)};
}
inline Pair smaller(Pair a, Pair b) {
    return {_mm_min_pd(a.v, b.v)};
}
inline Pair larger(Pair a, Pair b) {
    return {_mm_max_pd(a.v, b.v)};
}
inline Pair clamped(Pair p, double lowest, double highest) {
    return smaller(larger(p, both(lowest)), both(highest));
}

// Lane masks: all bits set where the comparison holds, none where it does not or a lane is NaN.
inline Pair atMost(Pair a, Pair b) {
    return {_mm_cmple_pd(a.v, b.v)};
}
inline Pair above(Pair a, Pair b) {
    return {_mm_cmpgt_pd(a.v, b.v)};
}
inline bool noLane(Pair mask) {
    return _mm_movemask_pd(mask.v) == 0;
}
// Lanes of `p` where the mask is set, 0 elsewhere.
inline Pair keepWhere(Pair mask, Pair p) {
    return {_mm_and_pd(mask.v, p.v)};
}
inline Pair select(Pair mask, Pair whenSet, Pair otherwise) {
    return {_mm_or_pd(_mm_and_pd(mask.v, whenSet.v), _mm_andnot_pd(mask.v, otherwise.v))};
}

// `a` at amount 0, `b` at amount 1.
inline Pair blended(Pair a, Pair b, double amount) {
    return a + both(amount) * (b - a);
}

inline double sum(Pair p) {
    return left(p) + right(p);
}
inline double largest(Pair p) {
    return left(larger(p, both(right(p))));
}
inline double smallest(Pair p) {
    return left(smaller(p, both(right(p))));
}
// The sums of each pair's lanes, as the two lanes of one pair.
inline Pair sums(Pair a, Pair b) {
    return lefts(a, b) + rights(a, b);
}

// Catmull-Rom spline through x0 ... x3 between x1 (t = 0) and x2 (t = 1).
inline Pair catmullRom(Pair x0, Pair x1, Pair x2, Pair x3, Pair t) {
    const Pair d = x2 - x1;
    const Pair c1 = both(0.5) * (x2 - x0);
    const Pair c3 = both(0.5) * (x3 - x0) - both(1.5) * d;
    const Pair c2 = d - c1 - c3;  // so that t = 1 gives x2
    return ((c3 * t + c2) * t + c1) * t + x1;
}

// The signal between the two middle ones of four pairs, t in 0 ... 1.
inline Pair splineAt(const Pair* fourPairs, double t) {
    return catmullRom(fourPairs[0], fourPairs[1], fourPairs[2], fourPairs[3], both(t));
}

}  // namespace Quorvant
