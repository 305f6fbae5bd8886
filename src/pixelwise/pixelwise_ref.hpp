// Plain per-pixel definitions of the pixel-wise operations. The SIMD
// kernels use them for row tails and images narrower than one vector; they
// are the arithmetic the vector code must reproduce bit for bit.
#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

#include "frame/bits.hpp"

namespace omb {
namespace ref {


// |a - b| as the sum of the two saturating differences.
inline std::uint8_t AbsDiff(std::uint8_t a, std::uint8_t b) {
  const int ab = a > b ? a - b : 0;
  const int ba = b > a ? b - a : 0;
  return static_cast<std::uint8_t>(ab + ba);
}
inline std::uint16_t AbsDiff(std::uint16_t a, std::uint16_t b) {
  const std::int32_t d = static_cast<std::int32_t>(a) - b;
  return static_cast<std::uint16_t>(d < 0 ? -d : d);
}
// a - b with the sign bit cleared: NaN stays NaN (positive), -0 becomes +0.
inline float AbsDiff(float a, float b) {
  return BitsFloat(FloatBits(a - b) & 0x7fffffffu);
}

// Exact conversion of a source element to single precision.
template <class T>
inline float ToFloat(T v) {
  return static_cast<float>(v);
}

// One accumulator pixel. `selected` is the mask verdict (true unmasked).
// Masked pixels are still rewritten: d + 0, or d + (s - d) * 0.
template <class T>
inline float Add(float d, T s, bool selected) {
  return d + (selected ? ToFloat(s) : 0.0f);
}

// Product of two sources. The unmasked forms multiply the converted floats;
// the masked forms of integer sources multiply exactly in integers and
// convert once. Both round the same exact product, but for signed sources
// a zero product with a negative factor is -0 in float and +0 as an
// integer, which shows when the accumulator holds -0.
template <bool kMasked, class T>
inline float Product(T s1, T s2) {
  if constexpr (kMasked && !std::is_floating_point<T>::value) {
    return static_cast<float>(static_cast<std::int64_t>(s1) * s2);
  } else {
    return ToFloat(s1) * ToFloat(s2);
  }
}

template <bool kMasked, class T>
inline float AddProduct(float d, T s1, T s2, bool selected) {
  return d + (selected ? Product<kMasked>(s1, s2) : 0.0f);
}
template <bool kMasked, class T>
inline float AddSquare(float d, T s, bool selected) {
  return AddProduct<kMasked>(d, s, s, selected);
}
template <class T>
inline float AddWeighted(float d, T s, float alpha, bool selected) {
  const float diff = ToFloat(s) - d;
  const float step = diff * (selected ? alpha : 0.0f);
  return d + step;
}

// Order-preserving integer image of a float: integer order equals float
// order (with -0 just below +0 and NaNs beyond the infinities).
inline std::int32_t OrderedKey(float f) {
  const std::int32_t b = static_cast<std::int32_t>(FloatBits(f));
  return b ^ static_cast<std::int32_t>(static_cast<std::uint32_t>(b >> 31) &
                                       0x7fffffffu);
}

// Integer silhouettes compare the history through ordered keys.
template <class T>
inline float MotionHistory(T sil, float mhi, float timestamp, float threshold) {
  if (sil != 0) return timestamp;
  return OrderedKey(mhi) < OrderedKey(threshold) ? 0.0f : mhi;
}
// Float silhouettes: moving when ordered-unequal to 0 (NaN is not moving);
// the history is compared as floats, so a NaN history pixel is cleared.
inline float MotionHistory(float sil, float mhi, float timestamp,
                           float threshold) {
  if (sil < 0.0f || sil > 0.0f) return timestamp;
  return mhi >= threshold ? mhi : 0.0f;
}

}  // namespace ref
}  // namespace omb
