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

namespace {
// The pixel count is the 32-bit product the thresholds were made for;
// wrapped in unsigned arithmetic so a huge ROI cannot overflow.
std::int64_t Pixels(OmbRoiSize roi) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(roi.width) *
                                   static_cast<std::uint32_t>(roi.height));
}
}  // namespace

bool SplitSingle(OmbRoiSize roi, int k) {
  return Pixels(roi) >= (static_cast<std::int64_t>(ombThreadCount()) << k);
}

bool SplitTwo(OmbRoiSize roi) {
  const std::int64_t p = Pixels(roi);
  const std::int64_t t = ombThreadCount();
  return (p >= (t << 15) && ombMultiCoreFlag() != 0) || p >= (t << 17);
}

}  // namespace omb
