// Standard deviation of a rectangle placed at every destination pixel,
// read from a sum table and a square table (upright or tilted).
//
// Arithmetic: the four-corner differences are taken in the tables' own
// arithmetic (wrap-around 32-bit integers, float, double), left to right.
// The float-result forms divide by the area and form the variance in
// double, the scaled integer form in float. A variance that is not greater
// than 0 (rounding below zero, or NaN) counts as 0; the square root is
// taken in float. The forms with a double square table and a float result
// run the vector kernel of rectstddev_simd.cpp along each row; the loop
// here is the plain definition, which finishes the rows and serves the
// other forms.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "detection/integral.hpp"
#include "detection/integral_ref.hpp"
#include "frame/check.hpp"
#include "frame/image.hpp"
#include "ombcv.h"

namespace omb {
namespace {

// 2^-sf as the float factor 1/(1 << sf), or (1 << -sf) for negative sf;
// ldexp gives the same powers of two and stays defined for any sf (beyond
// +-200 the factor is 0 or infinity either way).
float ScaleOf(int sf) {
  return std::ldexp(1.0f, sf < -200 ? 200 : sf > 200 ? -200 : -sf);
}

template <class TD>
TD Store(float deviation, float scale) {
  if constexpr (std::is_same_v<TD, float>) {
    return deviation;
  } else {
    const float v = deviation * scale + 0.5f;
    if (v >= 2147483648.0f) return INT32_MAX;
    return v >= 0.0f ? static_cast<std::int32_t>(v) : 0;  // NaN: 0
  }
}

template <bool kTilted, class TS, class TQ, class TD>
void RectStdDevRows(const TS* sum, int sumStep, const TQ* sqr, int sqrStep,
                    TD* dst, int dstStep, OmbRoiSize roi, OmbRect rect, int sf) {
  // Double tables give a double variance, the 32-bit square table a float.
  using V = std::conditional_t<std::is_same_v<TQ, double>, double, float>;
  const std::int64_t cells =
      std::int64_t{rect.width} * rect.height * (kTilted ? 2 : 1);
  const V area = static_cast<V>(static_cast<float>(cells));
  const float scale = ScaleOf(sf);
  // Corner k sits at row offset dr[k] and column offset dc[k] from (i, j).
  // Upright: A, B, C, D. Tilted: P1, P2, P3, P4.
  std::ptrdiff_t dr[4], dc[4];
  if (kTilted) {
    const std::ptrdiff_t r0 = std::ptrdiff_t{rect.x} + rect.y, c0 = std::ptrdiff_t{rect.x} - rect.y;
    const std::ptrdiff_t w = rect.width, h = rect.height;
    const std::ptrdiff_t r[4] = {r0, r0 + w, r0 + h, r0 + w + h};
    const std::ptrdiff_t c[4] = {c0, c0 + w, c0 - h, c0 + w - h};
    for (int k = 0; k < 4; ++k) dr[k] = r[k], dc[k] = c[k];
  } else {
    const std::ptrdiff_t x = rect.x, y = rect.y;
    const std::ptrdiff_t r[4] = {y, y, y + rect.height, y + rect.height};
    const std::ptrdiff_t c[4] = {x, x + rect.width, x, x + rect.width};
    for (int k = 0; k < 4; ++k) dr[k] = r[k], dc[k] = c[k];
  }
  for (int i = 0; i < roi.height; ++i) {
    const TS* sr[4];
    const TQ* qr[4];
    for (int k = 0; k < 4; ++k) {
      const std::ptrdiff_t row = i + dr[k];
      sr[k] = reinterpret_cast<const TS*>(reinterpret_cast<const std::uint8_t*>(sum) +
                                          row * sumStep) + dc[k];
      qr[k] = reinterpret_cast<const TQ*>(reinterpret_cast<const std::uint8_t*>(sqr) +
                                          row * sqrStep) + dc[k];
    }
    TD* out = RowPtr(dst, dstStep, i);
    int j = 0;
    if constexpr (std::is_same_v<TQ, double> && std::is_same_v<TD, float>) {
      j = StdDevRowSimd({.sum = {sr[0], sr[1], sr[2], sr[3]},
                         .sqr = {qr[0], qr[1], qr[2], qr[3]},
                         .out = out,
                         .width = roi.width,
                         .area = area,
                         .tilted = kTilted,
                         .float_sum = std::is_same_v<TS, float>});
    }
    for (; j < roi.width; ++j) {
      TS t;
      TQ u;
      if (kTilted) {  // P4 - P3 + P1 - P2, and Q4 - Q3 - Q2 + Q1
        t = ref::Minus(ref::Plus(ref::Minus(sr[3][j], sr[2][j]), sr[0][j]), sr[1][j]);
        u = ref::Plus(ref::Minus(ref::Minus(qr[3][j], qr[2][j]), qr[1][j]), qr[0][j]);
      } else {  // D - B - C + A
        t = ref::Plus(ref::Minus(ref::Minus(sr[3][j], sr[1][j]), sr[2][j]), sr[0][j]);
        u = ref::Plus(ref::Minus(ref::Minus(qr[3][j], qr[1][j]), qr[2][j]), qr[0][j]);
      }
      const V mean = static_cast<V>(t) / area;
      V var = static_cast<V>(u) / area - mean * mean;
      if (!(var > 0)) var = 0;
      out[j] = Store<TD>(std::sqrt(static_cast<float>(var)), scale);
    }
  }
}

template <bool kTilted, class TS, class TQ, class TD>
OmbResult RectStdDev(const TS* sum, int sumStep, const TQ* sqr, int sqrStep,
                     TD* dst, int dstStep, OmbRoiSize roi, OmbRect rect, int sf = 0) {
  // Elements every table row must hold to the right of the row pointer.
  std::int64_t cols = std::int64_t{roi.width} + rect.x + rect.width;
  if (kTilted) cols += std::int64_t{rect.y} + rect.height - 1;
  Checks checks(roi);
  checks.Row(sum, sumStep, cols).Row(sqr, sqrStep, cols).Out(dst, dstStep);
  if (!kTilted) {
    checks.ParamIf(rect.x < 0 || rect.y < 0 || rect.width < 1 || rect.height < 1,
                   ombResultBadSize);
  }
  if (const OmbResult st = checks.Status(); st != ombResultOk) return st;
  RectStdDevRows<kTilted>(sum, sumStep, sqr, sqrStep, dst, dstStep, roi, rect, sf);
  return ombResultOk;
}

}  // namespace
}  // namespace omb

extern "C" {

OMB_API OmbResult ombiRectStdDev_32f_C1R(const Omb32f* pSrc, int srcStep, const Omb64f* pSqr, int sqrStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, OmbRect rect) {
  return omb::RectStdDev<false>(pSrc, srcStep, pSqr, sqrStep, pDst, dstStep, roiSize, rect);
}
OMB_API OmbResult ombiRectStdDev_32s32f_C1R(const Omb32s* pSrc, int srcStep, const Omb64f* pSqr, int sqrStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, OmbRect rect) {
  return omb::RectStdDev<false>(pSrc, srcStep, pSqr, sqrStep, pDst, dstStep, roiSize, rect);
}
OMB_API OmbResult ombiRectStdDev_32s_C1RSfs(const Omb32s* pSrc, int srcStep, const Omb32s* pSqr, int sqrStep, Omb32s* pDst, int dstStep, OmbRoiSize roiSize, OmbRect rect, int scaleFactor) {
  return omb::RectStdDev<false>(pSrc, srcStep, pSqr, sqrStep, pDst, dstStep, roiSize, rect, scaleFactor);
}
OMB_API OmbResult ombiTiltedRectStdDev_32f_C1R(const Omb32f* pSrc, int srcStep, const Omb64f* pSqr, int sqrStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, OmbRect rect) {
  return omb::RectStdDev<true>(pSrc, srcStep, pSqr, sqrStep, pDst, dstStep, roiSize, rect);
}
OMB_API OmbResult ombiTiltedRectStdDev_32s32f_C1R(const Omb32s* pSrc, int srcStep, const Omb64f* pSqr, int sqrStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, OmbRect rect) {
  return omb::RectStdDev<true>(pSrc, srcStep, pSqr, sqrStep, pDst, dstStep, roiSize, rect);
}
OMB_API OmbResult ombiTiltedRectStdDev_32s_C1RSfs(const Omb32s* pSrc, int srcStep, const Omb32s* pSqr, int sqrStep, Omb32s* pDst, int dstStep, OmbRoiSize roiSize, OmbRect rect, int scaleFactor) {
  return omb::RectStdDev<true>(pSrc, srcStep, pSqr, sqrStep, pDst, dstStep, roiSize, rect, scaleFactor);
}

}  // extern "C"
