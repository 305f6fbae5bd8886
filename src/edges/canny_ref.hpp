// Canny edge detector, scalar definitions: the per-pixel rules of the
// magnitude, direction and suppression steps. The vector kernel uses them
// for row tails and for images narrower than a vector, and its lanes must
// give exactly these results.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <type_traits>

namespace omb {
namespace ref {

// Magnitudes are 32-bit: integers for 16-bit derivatives, floats otherwise.
template <class T>
using CannyMag = std::conditional_t<std::is_same<T, float>::value, float, std::int32_t>;

// tan(67.5 deg) and tan(22.5 deg) as doubles. A product ax * K is formed in
// double and rounded to float before it is compared with the float ay; the
// vector kernel promotes to double lanes to match this exactly (a float
// constant would move the boundaries by an ulp for some inputs).
inline constexpr double kTan67 = 2.414213562373095;
inline constexpr double kTan22 = 0.41421356237309503;

// The low threshold in the magnitude's type: 16-bit derivatives compare
// with the threshold truncated toward zero. Magnitudes of 16-bit pairs are
// at most 65536, so any larger threshold acts as 65536 (and the clamp keeps
// the conversion defined for huge or infinite thresholds).
inline std::int32_t CannyLow(float low, std::int32_t*) {
  return low >= 65536.0f ? 65536 : static_cast<std::int32_t>(low);
}
inline float CannyLow(float low, float*) { return low; }

// L1 magnitude, or 0 when it does not exceed the low threshold.
inline std::int32_t CannyMagnitude(std::int16_t dx, std::int16_t dy, std::int32_t low) {
  const std::int32_t m = std::abs(static_cast<std::int32_t>(dx)) +
                         std::abs(static_cast<std::int32_t>(dy));
  return m > low ? m : 0;
}
inline float CannyMagnitude(float dx, float dy, float low) {
  const float m = static_cast<float>(static_cast<double>(std::fabs(dx)) +
                                     static_cast<double>(std::fabs(dy)));
  return m > low ? m : 0.0f;  // NaN is not kept
}

inline bool SignBit(std::int16_t v) { return v < 0; }
inline bool SignBit(float v) {
  std::uint32_t u;
  std::memcpy(&u, &v, sizeof u);
  return (u >> 31) != 0;
}

// Quantised gradient direction: 1 horizontal (left/right neighbours),
// 2 up-right/down-left, 3 vertical (above/below), 4 up-left/down-right.
// On the diagonal the sign bits decide, so a zero (and for floats +0, but
// not -0) counts as positive.
template <class T>
inline int CannyDirection(T dx, T dy) {
  const float ax = std::fabs(static_cast<float>(dx));
  const float ay = std::fabs(static_cast<float>(dy));
  if (ay > static_cast<float>(static_cast<double>(ax) * kTan67)) return 3;
  if (ay >= static_cast<float>(static_cast<double>(ax) * kTan22)) {
    return SignBit(dx) == SignBit(dy) ? 4 : 2;
  }
  return 1;
}

// Non-maximum suppression of the pixel at ring index x (framed) of the
// current row. A pixel must beat the one behind strictly; against the one
// ahead, an equal magnitude is enough along the horizontal and vertical
// directions but not along the diagonals, so the first pixel of a straight
// plateau survives while an equal diagonal pair is dropped on purpose.
template <class T, class M>
inline bool CannySurvives(const M* prev, const M* cur, const M* next, int x, T dx, T dy) {
  const M m = cur[x];
  if (!(m > M(0))) return false;
  M b, a;
  const int dir = CannyDirection(dx, dy);
  switch (dir) {
    case 1: b = cur[x - 1]; a = cur[x + 1]; break;
    case 2: b = prev[x + 1]; a = next[x - 1]; break;
    case 3: b = prev[x]; a = next[x]; break;
    default: b = prev[x - 1]; a = next[x + 1]; break;
  }
  return m > b && (m > a || (m == a && (dir == 1 || dir == 3)));
}

// Seed test: the magnitude as float against the high threshold.
template <class M>
inline bool CannySeed(M m, float high) {
  return static_cast<float>(m) > high;
}

}  // namespace ref
}  // namespace omb
