// Internal interface of the fixed-kernel derivative, Laplacian and low-pass
// filters. A front checks its arguments, describes the call as one job and
// hands bands of output rows, each with its own slice of the work buffer, to
// the band kernel, which picks the SIMD target at run time.
#pragma once

#include <cstdint>

#include "ombtypes.h"

namespace omb {

enum class FixedKind {
  kSobelHoriz,
  kSobelVert,
  kSobelNegVert,
  kSobelHorizSecond,
  kSobelVertSecond,
  kSobelCross,
  kLaplacian,
  kScharrHoriz,
  kScharrVert,
  kLowpass,
};

// Source and destination types: 8u -> 16s, 8u -> 8s (divisor), 8u -> 8u
// (low-pass only), 32f -> 32f.
enum class FixedOut { k16s, k8s, k8u, k32f };

struct FixedJob {
  FixedKind kind;
  FixedOut out;
  int mask;  // 3 or 5
  const void* src;
  int src_step;
  void* dst;
  int dst_step;
  OmbRoiSize roi;
  int border;
  float border_value;  // an 8-bit border value is held exactly
  float scale;         // 8s: the float reciprocal of the divisor
};

// Filters output rows [first_row, first_row + rows) of the job. `slice` is
// 32-byte aligned and holds at least the width-dependent part of the
// per-thread size that the matching buffer-size query reports.
void FixedFilterBand(const FixedJob& job, int first_row, int rows,
                     std::uint8_t* slice);

// The filters for internal callers, on arguments they have checked
// themselves. The work buffer size as the fronts report it for a mask side
// k (3 or 5), or -1 when it exceeds an int.
std::int64_t FixedBufferBytes(FixedKind kind, FixedOut out, OmbRoiSize roi, int k);
// Runs the job on a work block of `bytes` bytes: in bands when the fronts
// would split the call and the block holds a slice for every band of the
// current thread count, else as one band (any block of FixedBufferBytes for
// some thread count holds that), so a thread count raised since the block
// was sized costs no allocation.
OmbResult FixedFilterRun(const FixedJob& job, std::uint8_t* block, std::int64_t bytes);

}  // namespace omb
