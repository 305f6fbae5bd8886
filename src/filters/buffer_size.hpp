// Work-buffer sizes of the linear filters. These sizes are an interface:
// callers allocate by them, so the formulas stay exactly as reported even
// where the buffer is carved differently inside (pointer arrays are laid out
// with 4 bytes per entry, which a 64-bit build never needs to exceed because
// it indexes the caller's own pointer arrays instead of copying them).
#pragma once

#include <climits>
#include <cstdint>

#include "frame/parallel.hpp"
#include "ombtypes.h"

namespace omb {

// T * 32 + (H + K) * T * 4 + T * P for the thread count used for sizing.
// Returns false when the size does not fit the 32-bit result.
inline bool PipelineBufferSize(OmbRoiSize roi, int kernel_size,
                               std::int64_t per_thread, int* size) {
  const std::int64_t t = ombThreadCount();
  const std::int64_t bytes =
      t * 32 + (std::int64_t{roi.height} + kernel_size) * t * 4 +
      t * per_thread;
  if (bytes > INT_MAX) return false;
  *size = static_cast<int>(bytes);
  return true;
}

}  // namespace omb
