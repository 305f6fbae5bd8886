#include "frame/parallel.hpp"

#include <algorithm>

namespace omb {

int BandCount() {
  int n = 1;
  ombGetNumThreads(&n);
  return n > 0 ? n : 1;
}

int ombThreadCount() { return std::max(omp_get_max_threads(), BandCount()); }

int ombMultiCoreFlag() {
  const int cores = ombGetNumCoresOnDie();
  return cores == 1 ? 0 : cores;
}

int ombMultiCoreFlag(int n) {
  const int flag = ombMultiCoreFlag();
  return (n != 3 && n != 5) ? (flag | 1) : flag;
}

int ombCacheSize() {
  int bytes = 0;
  ombGetMaxCacheSizeB(&bytes);
  return bytes;
}

bool Splits(const SplitRule& rule, OmbRoiSize roi) {
  using Measure = SplitRule::Measure;
  const std::int64_t t = rule.by_band_count ? BandCount() : ombThreadCount();
  std::int64_t measure = 0;
  switch (rule.measure) {
    case Measure::kSerial:
      return false;
    case Measure::kPixels:
      // The 32-bit product the thresholds were made for, wrapped in
      // unsigned arithmetic: a huge ROI may read as small or negative.
      measure = static_cast<std::int32_t>(static_cast<std::uint32_t>(roi.width) *
                                          static_cast<std::uint32_t>(roi.height));
      break;
    case Measure::kRows:
      if (t < 2 || roi.width < rule.min_width) return false;
      measure = roi.height;
      break;
  }
  return (rule.multi_core_per_thread > 0 && measure >= t * rule.multi_core_per_thread &&
          ombMultiCoreFlag() != 0) ||
         (rule.per_thread > 0 && measure >= t * rule.per_thread);
}

}  // namespace omb
