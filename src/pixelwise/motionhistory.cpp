// Motion-history image update from a silhouette.
#include "frame/check.hpp"
#include "ombcv.h"
#include "pixelwise/pixelwise.hpp"

namespace omb {
namespace {

template <class T>
OmbResult UpdateMotionHistory(const T* sil, int silStep, float* mhi,
                              int mhiStep, OmbRoiSize roi, float timestamp,
                              float duration) {
  const OmbResult st = Checks(roi).In(sil, silStep).Out(mhi, mhiStep)
                           .ParamIf(!(duration >= 0.0f), ombResultOutOfRange)
                           .Status();
  if (st != ombResultOk) return st;
  // The threshold is rounded to single precision once, before the loop.
  const float threshold = timestamp - duration;
  MotionHistoryImage({.type = kPixType<T>,
                      .silhouette = {sil, silStep},
                      .mhi = {mhi, mhiStep},
                      .roi = roi,
                      .timestamp = timestamp,
                      .threshold = threshold});
  return ombResultOk;
}

}  // namespace
}  // namespace omb

extern "C" {

OMB_API OmbResult ombiUpdateMotionHistory_8u32f_C1IR(const Omb8u* pSilhouette, int silhouetteStep, Omb32f* pMHI, int mhiStep, OmbRoiSize roiSize, Omb32f timestamp, Omb32f mhiDuration) {
  return omb::UpdateMotionHistory(pSilhouette, silhouetteStep, pMHI, mhiStep, roiSize, timestamp, mhiDuration);
}
OMB_API OmbResult ombiUpdateMotionHistory_16u32f_C1IR(const Omb16u* pSilhouette, int silhouetteStep, Omb32f* pMHI, int mhiStep, OmbRoiSize roiSize, Omb32f timestamp, Omb32f mhiDuration) {
  return omb::UpdateMotionHistory(pSilhouette, silhouetteStep, pMHI, mhiStep, roiSize, timestamp, mhiDuration);
}
OMB_API OmbResult ombiUpdateMotionHistory_32f_C1IR(const Omb32f* pSilhouette, int silhouetteStep, Omb32f* pMHI, int mhiStep, OmbRoiSize roiSize, Omb32f timestamp, Omb32f mhiDuration) {
  return omb::UpdateMotionHistory(pSilhouette, silhouetteStep, pMHI, mhiStep, roiSize, timestamp, mhiDuration);
}

}  // extern "C"
