// One channel from a three-channel gradient or colour image by a per-pixel
// norm over the channels.
#include "edges/gradient.hpp"
#include "frame/check.hpp"
#include "ombcv.h"

namespace omb {
namespace {

template <class T>
OmbResult GradientColorToGray(const T* src, int srcStep, T* dst, int dstStep,
                              OmbRoiSize roi, int norm) {
  const OmbResult st =
      Checks(roi)
          .In(src, srcStep, 3)
          .Out(dst, dstStep)
          .ParamIf(norm != kNormC && norm != kNormL1 && norm != kNormL2,
                   ombResultBadArgument)
          .Status();
  if (st != ombResultOk) return st;
  GradientColorToGrayImage(
      {.type = kPixType<T>, .src = {src, srcStep}, .dst = {dst, dstStep}, .roi = roi, .norm = norm});
  return ombResultOk;
}

}  // namespace
}  // namespace omb

extern "C" {

OMB_API OmbResult ombiGradientColorToGray_8u_C3C1R(const Omb8u* pSrc, int srcStep, Omb8u* pDst, int dstStep, OmbRoiSize roiSize, int norm) {
  return omb::GradientColorToGray(pSrc, srcStep, pDst, dstStep, roiSize, norm);
}
OMB_API OmbResult ombiGradientColorToGray_16u_C3C1R(const Omb16u* pSrc, int srcStep, Omb16u* pDst, int dstStep, OmbRoiSize roiSize, int norm) {
  return omb::GradientColorToGray(pSrc, srcStep, pDst, dstStep, roiSize, norm);
}
OMB_API OmbResult ombiGradientColorToGray_32f_C3C1R(const Omb32f* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, int norm) {
  return omb::GradientColorToGray(pSrc, srcStep, pDst, dstStep, roiSize, norm);
}

}  // extern "C"
