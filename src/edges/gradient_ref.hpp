// Plain per-element definitions of the fast arctangent and the colour
// reduction. The SIMD kernels use them for tails (and on targets without
// the needed vector operations); they are the arithmetic the vector code
// reproduces bit for bit on every target.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <algorithm>

#include "frame/bits.hpp"

namespace omb {
namespace ref {

// Signed views of the bit patterns, so that integer maxima order
// non-negative floats (sign already cleared) the way float maxima would.
inline std::int32_t FloatBitsI(float f) { return static_cast<std::int32_t>(FloatBits(f)); }
inline float BitsFloatI(std::int32_t u) { return BitsFloat(static_cast<std::uint32_t>(u)); }

// |v| as the bit pattern with the sign cleared. For values without sign,
// integer order of the patterns is float order with NaN above +inf, so the
// integer maximum of such patterns propagates NaN, unlike a float compare
// whose outcome with NaN would differ between instruction sets.
inline std::int32_t AbsBits(float v) { return FloatBitsI(v) & 0x7fffffff; }

// Polynomial coefficients of the arctangent, in degrees.
inline constexpr float kAtanC2 = -15.8131895f;
inline constexpr float kAtanC1 = 61.094196f;
inline constexpr float kAtanC0 = 0.14050041f;  // subtracted
inline constexpr float kAtanFloor = 1.0e-8f;   // least divisor
// The reciprocal estimate keeps 12 significant bits, as a hardware
// estimate would, but is defined here so that every machine gets the same
// bits: the correctly rounded 1/m with its low 11 mantissa bits cleared.
inline constexpr std::int32_t kEstimateMask = ~std::int32_t{0x7ff};

// 1/m: the 12-bit estimate r0, then one Newton step 2 r0 - m r0 r0,
// evaluated as (r0 + r0) - ((m * r0) * r0), each operation rounded.
inline float Reciprocal(float m) {
  const float r0 = BitsFloatI(FloatBitsI(1.0f / m) & kEstimateMask);
  return (r0 + r0) - ((m * r0) * r0);
}

// Direction of (x, y) in degrees, about [-0.14, 360]. The quadratic is in
// the ratio t = min/max itself (not its square); its value at 0, -0.1405,
// is what the +x axis and the zero vector get.
inline float FastArctan(float y, float x) {
  const std::int32_t ax = AbsBits(x), ay = AbsBits(y);
  const std::int32_t m =
      std::max(std::max(ax, ay), FloatBitsI(kAtanFloor));
  const float t = BitsFloatI(std::min(ax, ay)) * Reciprocal(BitsFloatI(m));
  float p = ((kAtanC2 * t + kAtanC1) * t) - kAtanC0;
  if (BitsFloatI(ax) < BitsFloatI(ay)) p = 90.0f - p;
  if (x < 0.0f) p = 180.0f - p;
  if (y < 0.0f) p = 360.0f - p;
  return p;
}

// ---- colour reduction -------------------------------------------------------
//
// The integer forms average over the three channels, the float form does
// not. The fixed-point thirds (1365/4096, 5461/16384) fall slightly short of
// one third and are rounded by adding half the divisor.

inline std::uint8_t GradC(std::uint8_t a, std::uint8_t b, std::uint8_t c) {
  return std::max(std::max(a, b), c);
}
inline std::uint16_t GradC(std::uint16_t a, std::uint16_t b, std::uint16_t c) {
  return std::max(std::max(a, b), c);
}
// Largest magnitude; NaN wins (see AbsBits).
inline float GradC(float a, float b, float c) {
  return BitsFloatI(std::max(std::max(AbsBits(a), AbsBits(b)), AbsBits(c)));
}

inline std::uint8_t GradL1(std::uint8_t a, std::uint8_t b, std::uint8_t c) {
  const std::int32_t s = std::int32_t{a} + b + c;
  return static_cast<std::uint8_t>((s * 1365 + 2048) >> 12);
}
inline std::uint16_t GradL1(std::uint16_t a, std::uint16_t b, std::uint16_t c) {
  const std::int32_t s = std::int32_t{a} + b + c;  // s * 5461 < 2^31
  return static_cast<std::uint16_t>((s * 5461 + 8192) >> 14);
}
// Summed from channel 0 on: (|c0| + |c1|) + |c2|.
inline float GradL1(float a, float b, float c) {
  return (std::fabs(a) + std::fabs(b)) + std::fabs(c);
}

// Quotient and root in single precision; the sum of squares (<= 195075)
// converts to float exactly.
inline std::uint8_t GradL2(std::uint8_t a, std::uint8_t b, std::uint8_t c) {
  const std::int32_t s = std::int32_t{a} * a + std::int32_t{b} * b + std::int32_t{c} * c;
  const float r = std::sqrt(static_cast<float>(s) / 3.0f) + 0.5f;
  return static_cast<std::uint8_t>(static_cast<std::int32_t>(r));
}
// In double: the sum of squares (< 2^34) and each step are exact or
// correctly rounded there.
inline std::uint16_t GradL2(std::uint16_t a, std::uint16_t b, std::uint16_t c) {
  const double da = a, db = b, dc = c;
  const double r = std::sqrt(((da * da + db * db) + dc * dc) / 3.0) + 0.5;
  return static_cast<std::uint16_t>(static_cast<std::int32_t>(r));
}
// Summed from channel 0 on: sqrt((c0 c0 + c1 c1) + c2 c2), no averaging.
inline float GradL2(float a, float b, float c) {
  return std::sqrt((a * a + b * b) + c * c);
}

template <int kNorm, class T>
inline T Grad(T a, T b, T c) {
  if constexpr (kNorm == 0) {
    return GradC(a, b, c);
  } else if constexpr (kNorm == 1) {
    return GradL1(a, b, c);
  } else {
    return GradL2(a, b, c);
  }
}

// One row of `width` pixels.
template <int kNorm, class T>
inline void GradRow(const T* src, T* dst, int width) {
  for (int x = 0; x < width; ++x) {
    dst[x] = Grad<kNorm>(src[3 * x], src[3 * x + 1], src[3 * x + 2]);
  }
}

}  // namespace ref
}  // namespace omb
