// Canny edge detector: the job handed from the exported fronts to the
// kernel, and the layout of the caller's work buffer.
#pragma once

#include <cstdint>

#include "frame/image.hpp"
#include "ombtypes.h"

namespace omb {

struct CannyJob {
  bool is_float;  // Omb32f derivatives, else Omb16s
  Plane<const void> dx;
  Plane<const void> dy;
  Plane<std::uint8_t> dst;
  OmbRoiSize roi;
  float low;
  float high;
  std::uint8_t* buffer;
};

// Stack entries are 16-bit (row, column) pairs while every framed
// coordinate (0 .. width + 1, 0 .. height + 1) fits below 65535.
inline bool CannyShortStack(OmbRoiSize roi) {
  return roi.width + 2 < 65535 && roi.height + 2 < 65535;
}

// Work buffer bytes: the magnitude ring with its alignment slack, then one
// candidate byte and one stack entry per framed pixel. 64-bit, so that the
// caller can refuse sizes that do not fit an int.
inline std::int64_t CannyBufferBytes(OmbRoiSize roi) {
  const std::int64_t w = roi.width, h = roi.height;
  const std::int64_t base = (4 * w + 24) * 4 + 64;
  const std::int64_t per_pixel = CannyShortStack(roi) ? 5 : 9;
  return per_pixel * (w + 2) * (h + 2) + base;
}

// Runs the whole detector on checked arguments (single-threaded).
void CannyImage(const CannyJob& job);

}  // namespace omb
