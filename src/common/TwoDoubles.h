// SPDX-License-Identifier: Apache-2.0
#pragma once

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace Tolvek {

/// Two numbers that are added, multiplied and compared at once. Each is rounded as by itself: the
/// results are those of two single operations, bit for bit.
using TwoDoubles = double __attribute__((vector_size(16)));

inline TwoDoubles Both(double value) {
  return TwoDoubles{value, value};
}

#if defined(__SSE2__)

/// a > b ? a : b for each: b where one is not a number.
inline TwoDoubles Larger(TwoDoubles a, TwoDoubles b) {
  return _mm_max_pd(a, b);
}
/// Without the sign.
inline TwoDoubles Magnitude(TwoDoubles a) {
  return _mm_andnot_pd(_mm_set1_pd(-0.0), a);
}
/// Bit 0: is the first a larger than the first b? Bit 1: the same of the second ones.
inline unsigned WhichLarger(TwoDoubles a, TwoDoubles b) {
  return static_cast<unsigned>(_mm_movemask_pd(_mm_cmpgt_pd(a, b)));
}

#else

inline TwoDoubles Larger(TwoDoubles a, TwoDoubles b) {
  return TwoDoubles{a[0] > b[0] ? a[0] : b[0], a[1] > b[1] ? a[1] : b[1]};
}
inline TwoDoubles Magnitude(TwoDoubles a) {
  return TwoDoubles{__builtin_fabs(a[0]), __builtin_fabs(a[1])};
}
inline unsigned WhichLarger(TwoDoubles a, TwoDoubles b) {
  return (a[0] > b[0] ? 1U : 0U) | (a[1] > b[1] ? 2U : 0U);
}

#endif

}  // namespace Tolvek
