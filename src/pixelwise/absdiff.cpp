// Absolute difference of two images, or of an image and a constant.
#include <algorithm>
#include <limits>

#include "frame/check.hpp"
#include "ombcv.h"
#include "pixelwise/pixelwise.hpp"

namespace omb {
namespace {

template <class T>
OmbResult AbsDiff(const T* a, int aStep, const T* b, int bStep, T* dst,
                  int dstStep, OmbRoiSize roi) {
  const OmbResult st =
      Checks(roi).In(a, aStep).In(b, bStep).Out(dst, dstStep).Status();
  if (st != ombResultOk) return st;
  AbsDiffImage(
      {.type = kPixType<T>, .a = {a, aStep}, .b = {b, bStep}, .dst = {dst, dstStep}, .roi = roi});
  return ombResultOk;
}

// Integer constants are clamped to the pixel range first, so -5 acts as 0
// and 300 as 255 on 8-bit data; float constants are used as given.
template <class T, class V>
OmbResult AbsDiffC(const T* src, int srcStep, T* dst, int dstStep,
                   OmbRoiSize roi, V value) {
  const OmbResult st = Checks(roi).In(src, srcStep).Out(dst, dstStep).Status();
  if (st != ombResultOk) return st;
  AbsDiffJob job{.type = kPixType<T>, .a = {src, srcStep}, .dst = {dst, dstStep}, .roi = roi};
  if constexpr (std::numeric_limits<T>::is_integer) {
    job.value_int = std::clamp<V>(value, 0, std::numeric_limits<T>::max());
  } else {
    job.value_float = value;
  }
  AbsDiffImage(job);
  return ombResultOk;
}

}  // namespace
}  // namespace omb

extern "C" {

OMB_API OmbResult ombiAbsDiff_8u_C1R(const Omb8u* pSrc1, int src1Step, const Omb8u* pSrc2, int src2Step, Omb8u* pDst, int dstStep, OmbRoiSize roiSize) {
  return omb::AbsDiff(pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, roiSize);
}
OMB_API OmbResult ombiAbsDiff_16u_C1R(const Omb16u* pSrc1, int src1Step, const Omb16u* pSrc2, int src2Step, Omb16u* pDst, int dstStep, OmbRoiSize roiSize) {
  return omb::AbsDiff(pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, roiSize);
}
OMB_API OmbResult ombiAbsDiff_32f_C1R(const Omb32f* pSrc1, int src1Step, const Omb32f* pSrc2, int src2Step, Omb32f* pDst, int dstStep, OmbRoiSize roiSize) {
  return omb::AbsDiff(pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, roiSize);
}

OMB_API OmbResult ombiAbsDiffC_8u_C1R(const Omb8u* pSrc, int srcStep, Omb8u* pDst, int dstStep, OmbRoiSize roiSize, int value) {
  return omb::AbsDiffC(pSrc, srcStep, pDst, dstStep, roiSize, value);
}
OMB_API OmbResult ombiAbsDiffC_16u_C1R(const Omb16u* pSrc, int srcStep, Omb16u* pDst, int dstStep, OmbRoiSize roiSize, int value) {
  return omb::AbsDiffC(pSrc, srcStep, pDst, dstStep, roiSize, value);
}
OMB_API OmbResult ombiAbsDiffC_32f_C1R(const Omb32f* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, Omb32f value) {
  return omb::AbsDiffC(pSrc, srcStep, pDst, dstStep, roiSize, value);
}

}  // extern "C"
