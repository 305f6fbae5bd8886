// Internal layout of a Haar stage and the interface of its apply kernels.
//
// A stage is one aligned block: the header, then the classifier records,
// then the rectangle records. The header and every classifier point into
// the block itself, so the block is self-contained and is released with a
// single ombAlignedFree. The float and the integer state differ only in the
// type of weights, thresholds and values, which have the same size, so the
// two layouts coincide (the shared GetSize body relies on that).
#pragma once

#include <cstddef>
#include <cstdint>

#include "frame/image.hpp"
#include "ombtypes.h"

namespace omb {

struct HaarPoint {
  std::int32_t x;
  std::int32_t y;
};

// Corners in evaluation order: the feature value is
// weight x (T[D] - T[C] - T[B] + T[A]).
template <class V>
struct HaarRect {
  HaarPoint d, c, b, a;
  V weight;
};

// Origin word: input position x 256, plus 1 when the rectangles are tilted.
inline constexpr std::uint32_t kHaarTiltedBit = 1;
inline constexpr int kHaarOriginShift = 8;

template <class V>
struct HaarClassifier {
  std::int32_t count;  // rectangles, at least 1
  HaarRect<V>* rects;  // the first of `count` consecutive records
  V threshold;
  V val1;  // below the threshold
  V val2;  // at or above the threshold
  std::uint32_t origin;
};

template <class V>
struct HaarStage {
  std::int32_t length;      // classifiers
  std::int32_t rect_count;  // rectangles over all classifiers
  HaarClassifier<V>* classifiers;
  // Bounding box as the builder accumulates it; kept, never evaluated.
  std::int32_t min_x, min_y, extent_x, extent_y;
  std::int32_t tilted;  // bit 0: some classifier is tilted
  // Stored order is two-rectangle classifiers, then three-rectangle ones,
  // then the rest: [0, two) have 2 rectangles, [two, two_three) have 3.
  std::int32_t two;
  std::int32_t two_three;
  std::int32_t group_rects;  // rectangles of [0, two_three): where the rest begin
  std::int32_t first_weight_minus_one;  // every first weight is exactly -1
  HaarRect<V>* rects;
};

static_assert(sizeof(HaarStage<float>) == sizeof(HaarStage<std::int32_t>) &&
                  sizeof(HaarClassifier<float>) ==
                      sizeof(HaarClassifier<std::int32_t>) &&
                  sizeof(HaarRect<float>) == sizeof(HaarRect<std::int32_t>),
              "float and integer stages share one layout");

// How the apply kernels do their arithmetic:
//   kFloat     float table, float state (_32f_C1R);
//   kIntFloat  integer table, corner differences wrap in 32 bits, then
//              float weights (_32s32f_C1R);
//   kInt       everything in wrapping 32-bit integers (_32s_C1RSfs).
enum class HaarArith { kFloat, kIntFloat, kInt };

// One call (or one band of it). For the plain forms `tilted` equals
// `upright`; the mixed forms pass the tilted table already moved to row 1,
// column 1 (the window origin of row 0, column 0). `offsets` holds four
// element offsets per rectangle (D, C, B, A) in stored order, each taken
// with the step of the table its classifier reads.
struct HaarJob {
  HaarArith arith;
  Plane<const void> upright;
  Plane<const void> tilted;
  bool mixed;
  Plane<const void> norm;
  Plane<std::uint8_t> mask;
  OmbRoiSize roi;
  float threshold_float = 0.0f;    // kFloat, kIntFloat
  std::int32_t threshold_int = 0;  // kInt
  const void* stage;  // HaarStage<float> or HaarStage<int32_t>
  const std::ptrdiff_t* offsets;
};

// Clears the mask where the stage rejects a candidate; returns the number
// of candidates that pass. Picks the best SIMD target at run time.
std::int64_t HaarApplyRows(const HaarJob& job);

}  // namespace omb

struct OmbHaarStage_32f : omb::HaarStage<float> {};
struct OmbHaarStage_32s : omb::HaarStage<std::int32_t> {};
