// Internal interface of the pixel-wise kernels: differences, accumulation
// and motion history. The fronts check arguments and fill one job; the
// kernel entry picks the best SIMD target at run time and the typed loop.
#pragma once

#include <cstdint>

#include "frame/pixtype.hpp"
#include "ombtypes.h"

namespace omb {

// |a - b| or, when b is null, |a - value| (value already clamped to the
// pixel range for integer types). a, b and dst share the element type.
struct AbsDiffJob {
  PixType type;
  const void* a;
  int a_step;
  const void* b;
  int b_step;
  void* dst;
  int dst_step;
  OmbRoiSize roi;
  std::int32_t value_int;
  float value_float;
};
void AbsDiffImage(const AbsDiffJob& job);

enum class AccOp { kAdd, kSquare, kProduct, kWeighted };

// acc = acc + term(src1, src2, acc) in single precision, every accumulator
// pixel rewritten; with a mask the term (or, for kWeighted, alpha) is zero
// where the mask byte is zero. src2 is used by kProduct only.
struct AccumulateJob {
  AccOp op;
  PixType type;
  const void* src1;
  int src1_step;
  const void* src2;
  int src2_step;
  const std::uint8_t* mask;  // null: unmasked
  int mask_step;
  float* acc;
  int acc_step;
  OmbRoiSize roi;
  float alpha;
};
void AccumulateImage(const AccumulateJob& job);

// Moving pixels become timestamp; the others are cleared below threshold.
struct MotionHistoryJob {
  PixType type;  // silhouette type: k8u, k16u or k32f
  const void* silhouette;
  int silhouette_step;
  float* mhi;
  int mhi_step;
  OmbRoiSize roi;
  float timestamp;
  float threshold;  // timestamp - mhiDuration, rounded once
};
void MotionHistoryImage(const MotionHistoryJob& job);

}  // namespace omb
