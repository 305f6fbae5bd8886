// Internal interface of the pixel-wise kernels: differences, accumulation
// and motion history. The fronts check arguments and fill one job; the
// kernel entry picks the best SIMD target at run time and the typed loop.
#pragma once

#include <cstdint>

#include "frame/image.hpp"
#include "frame/pixtype.hpp"
#include "ombtypes.h"

namespace omb {

// |a - b| or, when b is null, |a - value| (value already clamped to the
// pixel range for integer types). a, b and dst share the element type.
struct AbsDiffJob {
  PixType type;
  Plane<const void> a;
  Plane<const void> b = {};  // null: the constant
  Plane<void> dst;
  OmbRoiSize roi;
  std::int32_t value_int = 0;
  float value_float = 0.0f;
};
void AbsDiffImage(const AbsDiffJob& job);

enum class AccOp { kAdd, kSquare, kProduct, kWeighted };

// acc = acc + term(src1, src2, acc) in single precision, every accumulator
// pixel rewritten; with a mask the term (or, for kWeighted, alpha) is zero
// where the mask byte is zero. src2 is used by kProduct only.
struct AccumulateJob {
  AccOp op;
  PixType type;
  Plane<const void> src1;
  Plane<const void> src2 = {};
  Plane<const std::uint8_t> mask = {};  // null: unmasked
  Plane<float> acc;
  OmbRoiSize roi;
  float alpha = 0.0f;
};
void AccumulateImage(const AccumulateJob& job);

// Moving pixels become timestamp; the others are cleared below threshold.
struct MotionHistoryJob {
  PixType type;  // silhouette type: k8u, k16u or k32f
  Plane<const void> silhouette;
  Plane<float> mhi;
  OmbRoiSize roi;
  float timestamp;
  float threshold;  // timestamp - mhiDuration, rounded once
};
void MotionHistoryImage(const MotionHistoryJob& job);

}  // namespace omb
