// Gaussian pyramids: the level-size arithmetic shared with the
// layer operators, and the fixed 5x5 reduction and expansion kernels.
#pragma once

#include <cstdint>

#include "frame/carve.hpp"
#include "ombtypes.h"

namespace omb {

// ---- Level sizes for a ratio -------------------------------------------------
//
// Unchecked internals behind ombiGetPyramidDownROI / ombiGetPyramidUpROI:
// the caller has already verified the pointers, a size of at least 1 x 1 and
// a rate in (1, 10]. Both always return ombResultOk.
//
// PyramidUpRoi: per dimension n, with the products formed in 32-bit float
// and truncated toward zero,
//   minimum = 1 when n = 1, else max(n + 1, trunc((n - 1) * rate) + 1),
//   maximum = max(n + 1, trunc(n * rate)).
// For n >= 2 the ranges of n and n + 1 are adjacent ([1, max(1)] for n = 1),
// so every size lies in exactly one range.
OmbResult PyramidUpRoi(OmbRoiSize src, float rate, OmbRoiSize* dst_min, OmbRoiSize* dst_max);

// PyramidDownRoi: the smaller size whose up range contains `src`. The first
// guess per dimension is max(1, trunc(float(n / rate + 0.5))) with the
// quotient and the added half in long double (the "extended precision"),
// rounded once to float and then truncated; the guesses are then moved one
// at a time until the source lies in their up range.
OmbResult PyramidDownRoi(OmbRoiSize src, float rate, OmbRoiSize* dst);

// ---- Fixed 5x5 operators ------------------------------------------------------

// Element type of a fixed-operator call.
enum class PyrType { k8u, k8s, k32f };

// Work-buffer bytes reported by the GetBufSize queries (channels 1 or 3):
//   down: roundup16(4 * C * w) * 6 + 32,  up: roundup16(8 * C * w) * 3 + 32.
// 64-bit so that the queries can refuse widths whose size exceeds an int.
inline std::int64_t PyrRowBytes(std::int64_t bytes) { return (bytes + 15) & ~std::int64_t{15}; }
inline std::int64_t PyrDownBufferBytes(int width, int channels) {
  return PyrRowBytes(4 * std::int64_t{channels} * width) * 6 + 32;
}
inline std::int64_t PyrUpBufferBytes(int width, int channels) {
  return PyrRowBytes(8 * std::int64_t{channels} * width) * 3 + 32;
}

// The carving of the work buffer: after aligning it to 16 bytes, six rows
// of R = roundup16(4 x C x w) bytes (down) or three of roundup16(8 x C x w)
// (up), R returned in *pitch.
inline std::uint8_t* PyrRows(Carver& c, bool down, int width, int channels, std::int64_t* pitch) {
  *pitch = PyrRowBytes((down ? 4 : 8) * std::int64_t{channels} * width);
  return c.Take<std::uint8_t>(*pitch * (down ? 6 : 3), 16);
}

// One call of a fixed operator on checked arguments; roi is the source size.
struct PyrJob {
  PyrType type;
  int channels;
  const void* src;
  int src_step;
  void* dst;
  int dst_step;
  OmbRoiSize roi;
  std::uint8_t* buffer;
};

// Reduction to ((w + 1) / 2, (h + 1) / 2) and expansion to (2w, 2h); see
// pyramid_simd.cpp for the buffer use and pyramid_ref.hpp for the rules.
void PyrDownImage(const PyrJob& job);
void PyrUpImage(const PyrJob& job);

}  // namespace omb
