// Plain definitions of the sub-pixel copies: the weights, the
// per-pixel formulas and the window geometry of CopySubpixIntersect. The
// vector kernels use the per-pixel formulas for tails; they are the
// arithmetic every path reproduces bit for bit.
//
// Fractions. f = c - trunc(c), plus 1 when negative, all in float (so a
// tiny negative c gives 1 - tiny rounded, possibly exactly 1.0). A
// non-finite c (NaN, +-inf) counts as the fraction 0.
//
// Integer members (8u, 8u16u Sfs, 16u). w = trunc(f * 16384 + 0.5), the
// product and the sum each rounded in float; ux = 16384 - wx, uy = 16384 -
// wy; w00 = (ux uy + 16384) >> 14, w10 = (wx uy + 16384) >> 14, w01 =
// (ux wy + 16384) >> 14, w11 = (wx wy + 16384) >> 14. The rounding term is
// one whole unit (kept on purpose), so the four weights add up to 16385 ..
// 16388 (w00 = 16385 and the others 1 for a zero fraction). The sum
// S = w00 s00 + w10 s10 + w01 s01 + w11 s11 is exact in 32 bits for every
// source type (65535 x 16388 < 2^31). The result is
//   shift k = 14 + scaleFactor (14 without a scale factor):
//   k > 0: (S + 2^(k-1)) >> k;  k = 0: S;  k < 0: S << -k (no rounding
//   term: 2^(13 + scale) is below one unit there),
// then limited to the destination's largest value (255 cannot be exceeded
// for 8u; 65535 can be for 16u sources and for 8u16u with a scale factor
// below -7, and is then stored). A shift of 32 or more gives 0.
//
// Float members (8u32f, 16u32f, 32f). ux = 1 - fx, uy = 1 - fy and
// w00 = ux uy, w10 = fx uy, w01 = ux fy, w11 = fx fy, each rounded in
// float. The pixel is
//   d = ((w00 s00 + w10 s10) + w01 s01) + w11 s11,
// every product and sum rounded on its own (no fused multiply-add), in the
// order of the weighted-sum formula. 8-bit samples are their float
// values (a 256-entry table of them gives the same bits as a conversion).
// "Carry-over of the right column": the right-column samples s10, s11
// read (and converted) for pixel x are the left-column samples s00, s01 of
// pixel x + 1; that reuse is a matter of loads only and does not change a
// bit of the formula above, which is what every path computes.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace omb {
namespace ref {

inline float SubpixFraction(float c) {
  if (!std::isfinite(c)) return 0.0f;
  float f = c - std::trunc(c);
  if (f < 0.0f) f = f + 1.0f;
  return f;
}

// Q14 weight of a fraction in [0, 1]: 0 .. 16384.
inline int SubpixQ14(float f) {
  const float t = f * 16384.0f + 0.5f;
  return static_cast<int>(t);
}

inline void SubpixWeightsQ14(float fx, float fy, int w[4]) {
  const int wx = SubpixQ14(fx), wy = SubpixQ14(fy);
  const int ux = 16384 - wx, uy = 16384 - wy;
  w[0] = (ux * uy + 16384) >> 14;
  w[1] = (wx * uy + 16384) >> 14;
  w[2] = (ux * wy + 16384) >> 14;
  w[3] = (wx * wy + 16384) >> 14;
}

inline void SubpixWeightsFloat(float fx, float fy, float w[4]) {
  const float ux = 1.0f - fx, uy = 1.0f - fy;
  w[0] = ux * uy;
  w[1] = fx * uy;
  w[2] = ux * fy;
  w[3] = fx * fy;
}

// The scaled, rounded and limited integer result of a weighted sum S >= 0.
inline std::uint32_t SubpixRound(std::int64_t s, int shift, std::uint32_t top) {
  std::int64_t v;
  if (shift > 0) {
    const int k = std::min(shift, 40);
    v = (s + (std::int64_t{1} << (k - 1))) >> k;
  } else {
    v = s << std::min(-shift, 40);
  }
  return static_cast<std::uint32_t>(std::min<std::int64_t>(v, top));
}

// Element loads that do not assume the element alignment of the row (the
// source step of 16- and 32-bit members has no alignment test).
template <class T>
inline T LoadElem(const void* row, std::ptrdiff_t i) {
  T v;
  std::memcpy(&v, static_cast<const std::uint8_t*>(row) +
                      i * static_cast<std::ptrdiff_t>(sizeof(T)),
              sizeof v);
  return v;
}

template <class T>
inline void StoreElem(void* row, std::ptrdiff_t i, T v) {
  std::memcpy(static_cast<std::uint8_t*>(row) +
                  i * static_cast<std::ptrdiff_t>(sizeof(T)),
              &v, sizeof v);
}

template <class S>
inline std::int32_t SubpixSumQ14(const void* r0, const void* r1,
                                 std::ptrdiff_t x, const int w[4]) {
  return w[0] * static_cast<std::int32_t>(LoadElem<S>(r0, x)) +
         w[1] * static_cast<std::int32_t>(LoadElem<S>(r0, x + 1)) +
         w[2] * static_cast<std::int32_t>(LoadElem<S>(r1, x)) +
         w[3] * static_cast<std::int32_t>(LoadElem<S>(r1, x + 1));
}

template <class S>
inline float SubpixPixelFloat(const void* r0, const void* r1, std::ptrdiff_t x,
                              const float w[4]) {
  const float s00 = static_cast<float>(LoadElem<S>(r0, x));
  const float s10 = static_cast<float>(LoadElem<S>(r0, x + 1));
  const float s01 = static_cast<float>(LoadElem<S>(r1, x));
  const float s11 = static_cast<float>(LoadElem<S>(r1, x + 1));
  float d = w[0] * s00;
  d = d + w[1] * s10;
  d = d + w[2] * s01;
  d = d + w[3] * s11;
  return d;
}

// Pixels x0 .. x1 - 1 of one block row: r0 is the source row of s00, r1 the
// row below, d the destination row.
template <class S, class D>
inline void SubpixRowQ14(const void* r0, const void* r1, void* d, int x0,
                         int x1, const int w[4], int shift) {
  const std::uint32_t top = sizeof(D) == 1 ? 255u : 65535u;
  for (int x = x0; x < x1; ++x) {
    const std::int32_t s = SubpixSumQ14<S>(r0, r1, x, w);
    StoreElem<D>(d, x, static_cast<D>(SubpixRound(s, shift, top)));
  }
}

template <class S>
inline void SubpixRowFloat(const void* r0, const void* r1, void* d, int x0,
                           int x1, const float w[4]) {
  for (int x = x0; x < x1; ++x)
    StoreElem<float>(d, x, SubpixPixelFloat<S>(r0, r1, x, w));
}

}  // namespace ref
}  // namespace omb
