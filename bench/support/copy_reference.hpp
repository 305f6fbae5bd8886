// The memory-bandwidth reference: a plain memcpy moving as many bytes as a
// kernel reads plus writes (a copy of N/2 bytes moves N bytes), through
// source and destination buffers that together are as large as the
// kernel's images.
//
// Equal buffer sizes matter because the copy rate depends strongly on the
// working set (which cache level holds it). For a kernel whose images are
// all distinct (a, b -> dst) the two conditions coincide: one pass of
// memcpy over buffers of N/2 bytes each. An in-place kernel reads and
// writes its accumulator, so it moves more bytes than its images hold; its
// reference copies N/2 bytes through smaller buffers, starting again at the
// beginning of the buffers when it reaches their end.
//
// A kernel's `of_copy` is its bytes per second divided by the reference
// copy's bytes per second at the same thread count. With several threads
// each pass of the copy is split into one contiguous part per thread, the
// way the library splits an image into bands.
//
// Timing: the copy runs repeatedly over the same buffers, exactly as a
// kernel benchmark runs repeatedly over its images, so both see equally
// warm caches. After two untimed warm-up copies, kCopyWindows windows of at
// least kWindowSeconds each are timed with std::chrono and the best window
// is kept. The result is cached per (moved bytes, buffer bytes, threads),
// so it is measured once per process.
#pragma once

#include <cstdint>

#include "support/image.hpp"

namespace ombbench {

inline constexpr int kCopyWindows = 5;
inline constexpr double kWindowSeconds = 0.02;

// What one reference copy moves and through how much memory.
struct CopyShape {
  std::int64_t moved_bytes;   // read plus written by one copy
  std::int64_t buffer_bytes;  // source plus destination buffer sizes
  int threads;
  bool operator<(const CopyShape& o) const;
};

// Source and destination of one reference copy; both are filled (and
// their pages faulted in) on construction.
class CopyBuffers {
 public:
  explicit CopyBuffers(const CopyShape& shape);
  // One reference copy: moved_bytes / 2 bytes from source to destination.
  void Run();

 private:
  void Pass(std::size_t bytes);

  CopyShape shape_;
  std::size_t half_;  // bytes in each buffer
  AlignedBytes src_;
  AlignedBytes dst_;
};

// Bytes per second (read plus written) of the reference copy. Measured on
// first use, then cached. Thread-safe.
double CopyBytesPerSecond(const CopyShape& shape);

// Keeps `threads` processors copying for `seconds`. Run once before any
// measurement: a processor that was idle takes a few hundred milliseconds
// to reach full speed, and the first reference measured in a process would
// otherwise come out low.
void WarmUpProcessors(int threads, double seconds);

}  // namespace ombbench
