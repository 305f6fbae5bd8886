// Canny edge detector: argument checks and the buffer-size query.
#include <climits>
#include <cstdint>
#include <type_traits>

#include "edges/canny.hpp"
#include "frame/check.hpp"
#include "ombcv.h"

namespace omb {
namespace {

// One front for both derivative types. The threshold test is written so
// that a NaN in either threshold fails it.
template <class T>
OmbResult Canny(const T* dx, int dxStep, const T* dy, int dyStep, Omb8u* dst,
                int dstStep, OmbRoiSize roi, float low, float high, Omb8u* buffer) {
  const bool bad_thresholds = !(low >= 0.0f) || !(high >= low);
  const OmbResult st = Checks(roi)
                           .In(dx, dxStep)
                           .In(dy, dyStep)
                           .Out(dst, dstStep)
                           .Ptr(buffer)
                           .ParamIf(bad_thresholds, ombResultBadArgument)
                           .Status();
  if (st != ombResultOk) return st;
  CannyImage({.is_float = std::is_same_v<T, Omb32f>,
              .dx = {dx, dxStep},
              .dy = {dy, dyStep},
              .dst = {dst, dstStep},
              .roi = roi,
              .low = low,
              .high = high,
              .buffer = buffer});
  return ombResultOk;
}

}  // namespace
}  // namespace omb

extern "C" {

OMB_API OmbResult ombiCannyGetSize(OmbRoiSize roiSize, int* pBufferSize) {
  if (pBufferSize == nullptr) return ombResultNullPointer;
  if (roiSize.width < 1 || roiSize.height < 1) return ombResultBadSize;
  // A buffer larger than an int can describe cannot be reported; such an
  // image is refused as a size error rather than given a wrapped count.
  const std::int64_t bytes = omb::CannyBufferBytes(roiSize);
  if (bytes > INT_MAX) return ombResultBadSize;
  *pBufferSize = static_cast<int>(bytes);
  return ombResultOk;
}

OMB_API OmbResult ombiCanny_16s8u_C1R(const Omb16s* pSrcDx, int srcDxStep, const Omb16s* pSrcDy, int srcDyStep, Omb8u* pDstEdges, int dstEdgeStep, OmbRoiSize roiSize, Omb32f lowThresh, Omb32f highThresh, Omb8u* pBuffer) {
  return omb::Canny(pSrcDx, srcDxStep, pSrcDy, srcDyStep, pDstEdges, dstEdgeStep, roiSize,
                    lowThresh, highThresh, pBuffer);
}

OMB_API OmbResult ombiCanny_32f8u_C1R(const Omb32f* pSrcDx, int srcDxStep, const Omb32f* pSrcDy, int srcDyStep, Omb8u* pDstEdges, int dstEdgeStep, OmbRoiSize roiSize, Omb32f lowThresh, Omb32f highThresh, Omb8u* pBuffer) {
  return omb::Canny(pSrcDx, srcDxStep, pSrcDy, srcDyStep, pDstEdges, dstEdgeStep, roiSize,
                    lowThresh, highThresh, pBuffer);
}

}  // extern "C"
