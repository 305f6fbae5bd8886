// Line sampling: ombiSampleLine_{8u,16u,32f}_{C1R,C3R} copy the
// pixels of the 8-connected Bresenham line from pt1 to pt2, both included,
// into a plain array.
//
// Stepping, exactly as defined below. With ax = |x2 - x1|, ay = |y2 - y1|: the
// major axis is y when ax <= ay (so a diagonal steps along y), else x; M is
// the major length and m the minor one; n = M + 1 pixels are written. The
// error starts at e = M and the position at pt1; for each output the pixel
// under the position is copied (all channels for C3), then e -= 2m, the
// position takes one major step towards pt2, and when e < 0, e += 2M and the
// position takes one minor step towards pt2. After the last output the
// position has moved past pt2 but is never read.
//
// Checks: source or destination null (-8), ROI side below 1 (-6), source
// step below the row's bytes (-14), a coordinate of either point negative
// or not below the ROI width (x) or height (y) (-11). There is no
// step-alignment test, so 16- and 32-bit rows are read without assuming
// element alignment. The set-up cannot fail here, so -2 is never returned.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "frame/check.hpp"
#include "ombcv.h"

namespace omb {
namespace {

template <class T, int C>
OmbResult SampleLine(const T* pSrc, int srcStep, OmbRoiSize roi, T* pDst,
                     OmbPoint p1, OmbPoint p2) {
  const OmbResult st =
      Checks(roi)
          .InUnaligned(pSrc, srcStep, C)
          .Ptr(pDst)
          .ParamIf(p1.x < 0 || p1.x >= roi.width || p1.y < 0 ||
                       p1.y >= roi.height || p2.x < 0 || p2.x >= roi.width ||
                       p2.y < 0 || p2.y >= roi.height,
                   ombResultOutOfRange)
          .Status();
  if (st != ombResultOk) return st;

  constexpr std::ptrdiff_t kPixel = static_cast<std::ptrdiff_t>(sizeof(T)) * C;
  const std::int64_t ax = std::llabs(std::int64_t{p2.x} - p1.x);
  const std::int64_t ay = std::llabs(std::int64_t{p2.y} - p1.y);
  const std::ptrdiff_t sx = p2.x >= p1.x ? kPixel : -kPixel;
  const std::ptrdiff_t sy = p2.y >= p1.y ? std::ptrdiff_t{srcStep}
                                         : -std::ptrdiff_t{srcStep};
  const bool y_major = ax <= ay;
  const std::int64_t big = y_major ? ay : ax;    // M
  const std::int64_t small = y_major ? ax : ay;  // m
  const std::ptrdiff_t major = y_major ? sy : sx;
  const std::ptrdiff_t minor = y_major ? sx : sy;

  // Byte offsets from the source pointer, so that the final step past pt2
  // forms no out-of-range pointer.
  std::ptrdiff_t pos = static_cast<std::ptrdiff_t>(srcStep) * p1.y + kPixel * p1.x;
  const auto* src = reinterpret_cast<const std::uint8_t*>(pSrc);
  auto* dst = reinterpret_cast<std::uint8_t*>(pDst);
  std::int64_t e = big;
  for (std::int64_t i = 0; i <= big; ++i) {
    std::memcpy(dst, src + pos, kPixel);
    dst += kPixel;
    e -= 2 * small;
    pos += major;
    if (e < 0) {
      e += 2 * big;
      pos += minor;
    }
  }
  return ombResultOk;
}

}  // namespace
}  // namespace omb

extern "C" {

OMB_API OmbResult ombiSampleLine_8u_C1R(const Omb8u* pSrc, int srcStep, OmbRoiSize roiSize, Omb8u* pDst, OmbPoint pt1, OmbPoint pt2) {
  return omb::SampleLine<Omb8u, 1>(pSrc, srcStep, roiSize, pDst, pt1, pt2);
}
OMB_API OmbResult ombiSampleLine_8u_C3R(const Omb8u* pSrc, int srcStep, OmbRoiSize roiSize, Omb8u* pDst, OmbPoint pt1, OmbPoint pt2) {
  return omb::SampleLine<Omb8u, 3>(pSrc, srcStep, roiSize, pDst, pt1, pt2);
}
OMB_API OmbResult ombiSampleLine_16u_C1R(const Omb16u* pSrc, int srcStep, OmbRoiSize roiSize, Omb16u* pDst, OmbPoint pt1, OmbPoint pt2) {
  return omb::SampleLine<Omb16u, 1>(pSrc, srcStep, roiSize, pDst, pt1, pt2);
}
OMB_API OmbResult ombiSampleLine_16u_C3R(const Omb16u* pSrc, int srcStep, OmbRoiSize roiSize, Omb16u* pDst, OmbPoint pt1, OmbPoint pt2) {
  return omb::SampleLine<Omb16u, 3>(pSrc, srcStep, roiSize, pDst, pt1, pt2);
}
OMB_API OmbResult ombiSampleLine_32f_C1R(const Omb32f* pSrc, int srcStep, OmbRoiSize roiSize, Omb32f* pDst, OmbPoint pt1, OmbPoint pt2) {
  return omb::SampleLine<Omb32f, 1>(pSrc, srcStep, roiSize, pDst, pt1, pt2);
}
OMB_API OmbResult ombiSampleLine_32f_C3R(const Omb32f* pSrc, int srcStep, OmbRoiSize roiSize, Omb32f* pDst, OmbPoint pt1, OmbPoint pt2) {
  return omb::SampleLine<Omb32f, 3>(pSrc, srcStep, roiSize, pDst, pt1, pt2);
}

}  // extern "C"
