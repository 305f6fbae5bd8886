// Registration of kernel benchmarks under the project's naming rule,
//   <exported function>/<width>x<height>/threads:<n>
// e.g. "ombiAbsDiff_8u_C1R/1920x1080/threads:1", at every standard size and
// thread count, together with the matching memory-bandwidth references
//   copy/<moved bytes>B/buffers:<buffer bytes>B/threads:<n>
// (see copy_reference.hpp).
//
// A family describes its functions as a table of KernelEntry and hands it
// to AddKernels; main() calls RegisterQueued() once, which registers the
// copy references first and then every kernel, in table order.
//
// Every kernel benchmark reports
//   items_per_second  pixels per second (wall-clock time),
//   bytes_per_second  bytes read plus written per second,
//   of_copy           bytes_per_second / reference copy bytes per second,
//   copy_GBps         the reference copy rate it was divided by, in GB/s.
// The thread count is the library's (ombSetNumThreads); the benchmark body
// itself always runs on one benchmark thread.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "ombtypes.h"

namespace ombbench {

struct BenchSize {
  int width;
  int height;
};

// 640x480 and 1920x1080.
const std::vector<BenchSize>& StandardSizes();

// "1920x1080".
std::string SizeName(BenchSize size);
// "<function>/<width>x<height>/threads:<n>".
std::string BenchName(const std::string& function, BenchSize size, int threads);

// One call of the function under test, bound to images that were allocated
// and filled for one benchmark run. Called once untimed (its status is
// checked) and then once per iteration.
using KernelCall = std::function<OmbResult()>;

struct KernelEntry {
  std::string function;       // exported name, first part of the benchmark name
  int moved_bytes_per_pixel;  // bytes one call reads plus writes per ROI pixel
  int image_bytes_per_pixel;  // bytes of all its images per ROI pixel
  std::function<KernelCall(BenchSize)> setup;
  std::vector<BenchSize> sizes = StandardSizes();
  // Optional: a name part after the size for several inputs of one function
  // ("<function>/<size>/<variant>/threads:<n>"), and the items one call
  // handles per ROI pixel when that is not one (windows of a sparse mask).
  std::string variant = std::string();
  double items_per_pixel = 1.0;
};

// The name of one entry's benchmark, with its variant part if it has one.
std::string BenchName(const KernelEntry& entry, BenchSize size, int threads);

// Queues a family's table for RegisterQueued().
void AddKernels(std::vector<KernelEntry> entries);

// Registers the copy references and then all queued kernels at every size
// and thread count. Returns the number of benchmarks registered.
int RegisterQueued();

}  // namespace ombbench
