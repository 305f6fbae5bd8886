// State of the general pyramid layer operators (one level down or up with a
// caller-given separable kernel and any rate in (1, 10]).
//
// A state is one block of the aligned allocator:
//
//   [LayerState header][kernel, 32-aligned][work0, 32-aligned][work1, 32-aligned]
//
// The kernel is the normalised kernel: 16-bit signed Q13 weights for the
// 8u/16u operators, 32-bit floats for 32f. work0 holds the row sums of the
// separable filter (64-bit integers, or floats), work1 the 16-bit (or float)
// filtered and resampled images. Both are sized at creation for the ROI
// given then (the source for Down, the destination for Up: the image that
// gets filtered); a call on a larger geometry borrows a temporary block.
#pragma once

#include <cstdint>

#include "ombtypes.h"

namespace omb {

// Data-type codes the layer operators accept.
inline constexpr int kLayerType8u = 1;
inline constexpr int kLayerType16u = 3;
inline constexpr int kLayerType32f = 9;

struct LayerState {
  void* kernel;
  void* work0;
  void* work1;
  int ksize;
  int type;
  int width;
  int height;
  int mode;
  float rate;
  int channels;
  std::int64_t work0_bytes;
  std::int64_t work1_bytes;
};

}  // namespace omb
