// Sub-pixel copies: ombiCopySubpix_* and
// ombiCopySubpixIntersect_*. The fronts check the arguments, derive the
// weights and the block of destination pixels to fill, and run the block
// kernel of subpix_simd.cpp. The arithmetic is documented in
// subpix_ref.hpp; the window geometry of the Intersect members is here.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "frame/check.hpp"
#include "geometry/subpix.hpp"
#include "geometry/subpix_ref.hpp"
#include "ombcv.h"

namespace omb {
namespace {

template <class S, class D> constexpr SubpixKind KindOf();
template <> constexpr SubpixKind KindOf<Omb8u, Omb8u>() { return SubpixKind::k8u; }
template <> constexpr SubpixKind KindOf<Omb8u, Omb16u>() { return SubpixKind::k8u16u; }
template <> constexpr SubpixKind KindOf<Omb8u, Omb32f>() { return SubpixKind::k8u32f; }
template <> constexpr SubpixKind KindOf<Omb16u, Omb16u>() { return SubpixKind::k16u; }
template <> constexpr SubpixKind KindOf<Omb16u, Omb32f>() { return SubpixKind::k16u32f; }
template <> constexpr SubpixKind KindOf<Omb32f, Omb32f>() { return SubpixKind::k32f; }

// Element bytes of a kind's source and destination.
int SrcBytes(SubpixKind k) {
  switch (k) {
    case SubpixKind::k8u:
    case SubpixKind::k8u16u:
    case SubpixKind::k8u32f:
      return 1;
    case SubpixKind::k16u:
    case SubpixKind::k16u32f:
      return 2;
    default:
      return 4;
  }
}
int DstBytes(SubpixKind k) {
  switch (k) {
    case SubpixKind::k8u:
      return 1;
    case SubpixKind::k8u16u:
    case SubpixKind::k16u:
      return 2;
    default:
      return 4;
  }
}

// Weights of the fractions fx, fy for the kind's arithmetic.
void SetWeights(SubpixBlock& job, float fx, float fy, int scale) {
  if (DstBytes(job.kind) == 4) {
    ref::SubpixWeightsFloat(fx, fy, job.wf);
    std::fill(job.w, job.w + 4, 0);
    job.shift = 0;
  } else {
    ref::SubpixWeightsQ14(fx, fy, job.w);
    std::fill(job.wf, job.wf + 4, 0.0f);
    // 14 + scale without overflow for any 32-bit scale factor.
    job.shift = static_cast<int>(
        std::clamp<std::int64_t>(std::int64_t{14} + scale, -64, 64));
  }
}

template <class S, class D>
OmbResult CopySubpix(const S* pSrc, int srcStep, D* pDst, int dstStep,
                     OmbRoiSize roi, float dx, float dy, int scale) {
  const OmbResult st =
      Checks(roi).InUnaligned(pSrc, srcStep).Out(pDst, dstStep).Status();
  if (st != ombResultOk) return st;
  SubpixCopy(KindOf<S, D>(), pSrc, srcStep, pDst, dstStep, roi, dx, dy, scale);
  return ombResultOk;
}

// trunc(t) for the window origin, in 64 bits so that nothing below
// overflows: values beyond the 32-bit range are limited to it, and NaN
// counts as -2^31 (the value x86 conversions give for it), which puts the
// window wholly left of the source.
std::int64_t TruncOrigin(float t) {
  if (std::isnan(t) || t <= -2147483648.0f) return -2147483648LL;
  if (t >= 2147483648.0f) return 2147483648LL;
  return static_cast<std::int64_t>(t);
}

// One axis of the Intersect geometry (origin, min and max rules) for centre c,
// window side n and source side len:
//   o = c - (n - 1) x 0.5, i = trunc(n + o) - n (each step rounded in
//   float), fraction of o - i by the rule of subpix_ref.hpp;
//   lo = -i when i < 0, else 0, at most n;
//   hi = len - 2 - i when i + n - 1 > len - 2, else n - 1;
//   i >= len: lo = 0, hi = -1.
struct Axis {
  std::int64_t origin;
  float frac;
  int lo, hi;
};

Axis IntersectAxis(float c, int n, int len) {
  Axis a;
  const float o = c - static_cast<float>(n - 1) * 0.5f;
  a.origin = TruncOrigin(static_cast<float>(n) + o) - n;
  a.frac = ref::SubpixFraction(o - static_cast<float>(a.origin));
  const std::int64_t i = a.origin;
  a.lo = i < 0 ? static_cast<int>(std::min<std::int64_t>(-i, n)) : 0;
  if (i >= len) {
    a.lo = 0;
    a.hi = -1;
  } else if (i + n - 1 > len - 2) {
    a.hi = static_cast<int>(len - 2 - i);
  } else {
    a.hi = n - 1;
  }
  return a;
}

template <class S, class D>
OmbResult CopySubpixIntersect(const S* pSrc, int srcStep, OmbRoiSize srcRoi,
                              D* pDst, int dstStep, OmbRoiSize win,
                              OmbPoint32f point, OmbPoint* pMin,
                              OmbPoint* pMax, int scale) {
  const OmbResult st = Checks(srcRoi)
                           .InUnaligned(pSrc, srcStep)
                           .Row(pDst, dstStep, win.width)
                           .Ptr(pMin)
                           .Ptr(pMax)
                           .SizeIf(win.width < 1 || win.height < 1)
                           .Status();
  if (st != ombResultOk) return st;
  SubpixIntersect(KindOf<S, D>(), pSrc, srcStep, srcRoi, pDst, dstStep, win, point, pMin, pMax,
                  scale);
  return ombResultOk;
}

}  // namespace

void SubpixCopy(SubpixKind kind, const void* src, int src_step, void* dst, int dst_step,
                OmbRoiSize roi, float dx, float dy, int scale) {
  SubpixBlock job{.kind = kind,
                  .src = {src, src_step},
                  .dst = {dst, dst_step},
                  .width = roi.width,
                  .height = roi.height};
  SetWeights(job, ref::SubpixFraction(dx), ref::SubpixFraction(dy), scale);
  SubpixBlockRun(job);
}

void SubpixIntersect(SubpixKind kind, const void* src, int src_step, OmbRoiSize src_roi,
                     void* dst, int dst_step, OmbRoiSize win, OmbPoint32f point, OmbPoint* lo,
                     OmbPoint* hi, int scale) {
  const Axis ax = IntersectAxis(point.x, win.width, src_roi.width);
  const Axis ay = IntersectAxis(point.y, win.height, src_roi.height);
  lo->x = ax.lo;
  lo->y = ay.lo;
  hi->x = ax.hi;
  hi->y = ay.hi;
  if (ax.lo > ax.hi || ay.lo > ay.hi) return;

  // Source sample (ix + lo.x, iy + lo.y): inside the source, since the
  // block is.
  SubpixBlock job{.kind = kind,
                  .src = {static_cast<const std::uint8_t*>(src) +
                              static_cast<std::ptrdiff_t>(src_step) * (ay.origin + ay.lo) +
                              static_cast<std::ptrdiff_t>(SrcBytes(kind)) * (ax.origin + ax.lo),
                          src_step},
                  .dst = {static_cast<std::uint8_t*>(dst) +
                              static_cast<std::ptrdiff_t>(dst_step) * ay.lo +
                              static_cast<std::ptrdiff_t>(DstBytes(kind)) * ax.lo,
                          dst_step},
                  .width = ax.hi - ax.lo + 1,
                  .height = ay.hi - ay.lo + 1};
  SetWeights(job, ax.frac, ay.frac, scale);
  SubpixBlockRun(job);
}

}  // namespace omb

extern "C" {

OMB_API OmbResult ombiCopySubpix_8u_C1R(const Omb8u* pSrc, int srcStep, Omb8u* pDst, int dstStep, OmbRoiSize roiSize, Omb32f dx, Omb32f dy) {
  return omb::CopySubpix(pSrc, srcStep, pDst, dstStep, roiSize, dx, dy, 0);
}
OMB_API OmbResult ombiCopySubpix_8u16u_C1R_Sfs(const Omb8u* pSrc, int srcStep, Omb16u* pDst, int dstStep, OmbRoiSize roiSize, Omb32f dx, Omb32f dy, int scaleFactor) {
  return omb::CopySubpix(pSrc, srcStep, pDst, dstStep, roiSize, dx, dy, scaleFactor);
}
OMB_API OmbResult ombiCopySubpix_8u32f_C1R(const Omb8u* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, Omb32f dx, Omb32f dy) {
  return omb::CopySubpix(pSrc, srcStep, pDst, dstStep, roiSize, dx, dy, 0);
}
OMB_API OmbResult ombiCopySubpix_16u_C1R(const Omb16u* pSrc, int srcStep, Omb16u* pDst, int dstStep, OmbRoiSize roiSize, Omb32f dx, Omb32f dy) {
  return omb::CopySubpix(pSrc, srcStep, pDst, dstStep, roiSize, dx, dy, 0);
}
OMB_API OmbResult ombiCopySubpix_16u32f_C1R(const Omb16u* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, Omb32f dx, Omb32f dy) {
  return omb::CopySubpix(pSrc, srcStep, pDst, dstStep, roiSize, dx, dy, 0);
}
OMB_API OmbResult ombiCopySubpix_32f_C1R(const Omb32f* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, Omb32f dx, Omb32f dy) {
  return omb::CopySubpix(pSrc, srcStep, pDst, dstStep, roiSize, dx, dy, 0);
}

OMB_API OmbResult ombiCopySubpixIntersect_8u_C1R(const Omb8u* pSrc, int srcStep, OmbRoiSize srcRoiSize, Omb8u* pDst, int dstStep, OmbRoiSize dstRoiSize, OmbPoint32f point, OmbPoint* pMin, OmbPoint* pMax) {
  return omb::CopySubpixIntersect(pSrc, srcStep, srcRoiSize, pDst, dstStep, dstRoiSize, point, pMin, pMax, 0);
}
OMB_API OmbResult ombiCopySubpixIntersect_8u16u_C1R_Sfs(const Omb8u* pSrc, int srcStep, OmbRoiSize srcRoiSize, Omb16u* pDst, int dstStep, OmbRoiSize dstRoiSize, OmbPoint32f point, OmbPoint* pMin, OmbPoint* pMax, int scaleFactor) {
  return omb::CopySubpixIntersect(pSrc, srcStep, srcRoiSize, pDst, dstStep, dstRoiSize, point, pMin, pMax, scaleFactor);
}
OMB_API OmbResult ombiCopySubpixIntersect_8u32f_C1R(const Omb8u* pSrc, int srcStep, OmbRoiSize srcRoiSize, Omb32f* pDst, int dstStep, OmbRoiSize dstRoiSize, OmbPoint32f point, OmbPoint* pMin, OmbPoint* pMax) {
  return omb::CopySubpixIntersect(pSrc, srcStep, srcRoiSize, pDst, dstStep, dstRoiSize, point, pMin, pMax, 0);
}
OMB_API OmbResult ombiCopySubpixIntersect_16u_C1R(const Omb16u* pSrc, int srcStep, OmbRoiSize srcRoiSize, Omb16u* pDst, int dstStep, OmbRoiSize dstRoiSize, OmbPoint32f point, OmbPoint* pMin, OmbPoint* pMax) {
  return omb::CopySubpixIntersect(pSrc, srcStep, srcRoiSize, pDst, dstStep, dstRoiSize, point, pMin, pMax, 0);
}
OMB_API OmbResult ombiCopySubpixIntersect_16u32f_C1R(const Omb16u* pSrc, int srcStep, OmbRoiSize srcRoiSize, Omb32f* pDst, int dstStep, OmbRoiSize dstRoiSize, OmbPoint32f point, OmbPoint* pMin, OmbPoint* pMax) {
  return omb::CopySubpixIntersect(pSrc, srcStep, srcRoiSize, pDst, dstStep, dstRoiSize, point, pMin, pMax, 0);
}
OMB_API OmbResult ombiCopySubpixIntersect_32f_C1R(const Omb32f* pSrc, int srcStep, OmbRoiSize srcRoiSize, Omb32f* pDst, int dstStep, OmbRoiSize dstRoiSize, OmbPoint32f point, OmbPoint* pMin, OmbPoint* pMax) {
  return omb::CopySubpixIntersect(pSrc, srcStep, srcRoiSize, pDst, dstStep, dstRoiSize, point, pMin, pMax, 0);
}

}  // extern "C"
