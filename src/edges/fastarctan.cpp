// Gradient direction in degrees from arrays of y and x components.
#include "edges/gradient.hpp"
#include "frame/check.hpp"
#include "ombcv.h"

extern "C" {

// A one-dimensional array: the length stands in for a one-row ROI width,
// so a length below 1 is a size fault after the null pointers.
OMB_API OmbResult ombibFastArctan_32f(const Omb32f* pSrcY, const Omb32f* pSrcX, Omb32f* pDst, int length) {
  const OmbResult st = omb::Checks({length, 1})
                           .Ptr(pSrcY)
                           .Ptr(pSrcX)
                           .Ptr(pDst)
                           .Status();
  if (st != ombResultOk) return st;
  omb::FastArctanArray(pSrcY, pSrcX, pDst, length);
  return ombResultOk;
}

}  // extern "C"
