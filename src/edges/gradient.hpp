// Internal interface of the fast arctangent and the colour gradient
// reduction. The fronts check arguments and hand the kernels plain jobs;
// each kernel entry picks the best SIMD target at run time.
#pragma once

#include "frame/image.hpp"
#include "frame/pixtype.hpp"
#include "ombtypes.h"

namespace omb {

// dst[i] = direction of (x[i], y[i]) in degrees, for i < length (>= 1).
void FastArctanArray(const float* y, const float* x, float* dst, int length);

// Norm codes of the colour reduction, as the caller passes them.
enum GradientNorm : int { kNormC = 0, kNormL1 = 1, kNormL2 = 2 };

// One channel from three interleaved ones; src and dst share the element
// type (k8u, k16u or k32f); norm is one of GradientNorm.
struct GradientColorJob {
  PixType type;
  Plane<const void> src;
  Plane<void> dst;
  OmbRoiSize roi;
  int norm;
};
void GradientColorToGrayImage(const GradientColorJob& job);

}  // namespace omb
