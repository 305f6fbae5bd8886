// Fixed 5x5 Gaussian pyramid operators: argument checks and buffer sizes.
#include <climits>
#include <cstdint>
#include <type_traits>

#include "frame/check.hpp"
#include "motion/pyramid.hpp"
#include "ombcv.h"

namespace omb {
namespace {

template <class T>
constexpr PyrType TypeOf() {
  if constexpr (std::is_same<T, Omb8u>::value) {
    return PyrType::k8u;
  } else if constexpr (std::is_same<T, Omb8s>::value) {
    return PyrType::k8s;
  } else {
    return PyrType::k32f;
  }
}

// Checks in the fixed order: null pointers (source, destination,
// buffer), sizes, steps against the source row and the destination row
// (dst_pixels wide), then for 32f the step alignment.
template <class T>
OmbResult PyrFront(bool down, int channels, const T* src, int srcStep, T* dst, int dstStep,
                   OmbRoiSize roi, Omb8u* buffer) {
  const std::int64_t dst_pixels =
      down ? (std::int64_t{roi.width} + 1) / 2 : 2 * std::int64_t{roi.width};
  const OmbResult st = Checks(roi)
                           .In(src, srcStep, channels)
                           .Row(static_cast<const T*>(dst), dstStep, dst_pixels * channels)
                           .Ptr(buffer)
                           .Status();
  if (st != ombResultOk) return st;
  const PyrJob job{TypeOf<T>(), channels, src, srcStep, dst, dstStep, roi, buffer};
  if (down) {
    PyrDownImage(job);
  } else {
    PyrUpImage(job);
  }
  return ombResultOk;
}

OmbResult BufSize(bool down, int width, int dataType, int channels, int* out) {
  if (out == nullptr) return ombResultNullPointer;
  if (width < 1) return ombResultBadSize;
  if (channels != 1 && channels != 3) return ombResultBadChannelCount;
  if (dataType != 1 && dataType != 2 && dataType != 9) return ombResultBadDataType;
  Carver plan = Carver::Plan(16);
  std::int64_t pitch = 0;
  PyrRows(plan, down, width, channels, &pitch);
  const std::int64_t bytes = ReportedBytes(
      down ? PyrDownBufferBytes(width, channels) : PyrUpBufferBytes(width, channels), plan);
  // A size that an int cannot report is refused as a size error.
  if (bytes > INT_MAX) return ombResultBadSize;
  *out = static_cast<int>(bytes);
  return ombResultOk;
}

}  // namespace
}  // namespace omb

extern "C" {

OMB_API OmbResult ombiPyrDown_Gauss5x5_8u_C1R(const Omb8u* pSrc, int srcStep, Omb8u* pDst, int dstStep, OmbRoiSize roiSize, Omb8u* pBuffer) {
  return omb::PyrFront(true, 1, pSrc, srcStep, pDst, dstStep, roiSize, pBuffer);
}
OMB_API OmbResult ombiPyrDown_Gauss5x5_8u_C3R(const Omb8u* pSrc, int srcStep, Omb8u* pDst, int dstStep, OmbRoiSize roiSize, Omb8u* pBuffer) {
  return omb::PyrFront(true, 3, pSrc, srcStep, pDst, dstStep, roiSize, pBuffer);
}
OMB_API OmbResult ombiPyrDown_Gauss5x5_8s_C1R(const Omb8s* pSrc, int srcStep, Omb8s* pDst, int dstStep, OmbRoiSize roiSize, Omb8u* pBuffer) {
  return omb::PyrFront(true, 1, pSrc, srcStep, pDst, dstStep, roiSize, pBuffer);
}
OMB_API OmbResult ombiPyrDown_Gauss5x5_8s_C3R(const Omb8s* pSrc, int srcStep, Omb8s* pDst, int dstStep, OmbRoiSize roiSize, Omb8u* pBuffer) {
  return omb::PyrFront(true, 3, pSrc, srcStep, pDst, dstStep, roiSize, pBuffer);
}
OMB_API OmbResult ombiPyrDown_Gauss5x5_32f_C1R(const Omb32f* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, Omb8u* pBuffer) {
  return omb::PyrFront(true, 1, pSrc, srcStep, pDst, dstStep, roiSize, pBuffer);
}
OMB_API OmbResult ombiPyrDown_Gauss5x5_32f_C3R(const Omb32f* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, Omb8u* pBuffer) {
  return omb::PyrFront(true, 3, pSrc, srcStep, pDst, dstStep, roiSize, pBuffer);
}
OMB_API OmbResult ombiPyrUp_Gauss5x5_8u_C1R(const Omb8u* pSrc, int srcStep, Omb8u* pDst, int dstStep, OmbRoiSize roiSize, Omb8u* pBuffer) {
  return omb::PyrFront(false, 1, pSrc, srcStep, pDst, dstStep, roiSize, pBuffer);
}
OMB_API OmbResult ombiPyrUp_Gauss5x5_8u_C3R(const Omb8u* pSrc, int srcStep, Omb8u* pDst, int dstStep, OmbRoiSize roiSize, Omb8u* pBuffer) {
  return omb::PyrFront(false, 3, pSrc, srcStep, pDst, dstStep, roiSize, pBuffer);
}
OMB_API OmbResult ombiPyrUp_Gauss5x5_8s_C1R(const Omb8s* pSrc, int srcStep, Omb8s* pDst, int dstStep, OmbRoiSize roiSize, Omb8u* pBuffer) {
  return omb::PyrFront(false, 1, pSrc, srcStep, pDst, dstStep, roiSize, pBuffer);
}
OMB_API OmbResult ombiPyrUp_Gauss5x5_8s_C3R(const Omb8s* pSrc, int srcStep, Omb8s* pDst, int dstStep, OmbRoiSize roiSize, Omb8u* pBuffer) {
  return omb::PyrFront(false, 3, pSrc, srcStep, pDst, dstStep, roiSize, pBuffer);
}
OMB_API OmbResult ombiPyrUp_Gauss5x5_32f_C1R(const Omb32f* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, Omb8u* pBuffer) {
  return omb::PyrFront(false, 1, pSrc, srcStep, pDst, dstStep, roiSize, pBuffer);
}
OMB_API OmbResult ombiPyrUp_Gauss5x5_32f_C3R(const Omb32f* pSrc, int srcStep, Omb32f* pDst, int dstStep, OmbRoiSize roiSize, Omb8u* pBuffer) {
  return omb::PyrFront(false, 3, pSrc, srcStep, pDst, dstStep, roiSize, pBuffer);
}

OMB_API OmbResult ombiPyrDownGetBufSize_Gauss5x5(int roiWidth, int dataType, int channels, int* pBufferSize) {
  return omb::BufSize(true, roiWidth, dataType, channels, pBufferSize);
}
OMB_API OmbResult ombiPyrUpGetBufSize_Gauss5x5(int roiWidth, int dataType, int channels, int* pBufferSize) {
  return omb::BufSize(false, roiWidth, dataType, channels, pBufferSize);
}

}  // extern "C"
