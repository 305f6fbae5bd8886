// Band splitting: geometry, coverage, combine order, nesting, heap tables
// and the split thresholds.
#include <gtest/gtest.h>
#include <omp.h>

#include <atomic>
#include <cstdint>
#include <vector>

#include "frame/parallel.hpp"
#include "support/test_image.hpp"

namespace omb_test {
namespace {

// Sets the OpenMP and the library thread counts, restores both on exit.
class Threads {
 public:
  Threads(int omp, int lib) : omp_(omp_get_max_threads()) {
    ombGetNumThreads(&lib_);
    omp_set_num_threads(omp);
    ombSetNumThreads(lib);
  }
  ~Threads() {
    omp_set_num_threads(omp_);
    ombSetNumThreads(lib_);
  }

 private:
  int omp_, lib_ = 1;
};

// Rows of band t of n over `height` rows.
int BandRows(int height, int n, int t) {
  return height / n + (t == n - 1 ? height % n : 0);
}

struct Outcome {
  std::vector<int> hits;  // per row
  int bands_combined = -1;
  bool slots_ok = false;
  std::int64_t rows = 0, row_sum = 0;  // reductions over the slots
};

// Runs ForkBands with a body that marks rows and leaves per-band sums, and
// a combine that checks the slots in band order.
Outcome Fork(int height, std::vector<int>* first_rows = nullptr) {
  std::vector<std::atomic<int>> hits(height);
  for (auto& h : hits) h = 0;
  Outcome o;
  int n = 0;
  ombGetNumThreads(&n);
  std::vector<int> firsts(n, -1);
  const OmbResult st = omb::ForkBands(
      height,
      [&](const omb::Band& b) {
        firsts[b.index] = b.first_row;
        std::int64_t sum = 0;
        for (int y = b.first_row; y < b.first_row + b.rows; ++y) {
          ++hits[y];
          sum += y;
        }
        b.slot->count = b.rows;
        b.slot->value = static_cast<double>(sum);
      },
      [&](const omb::BandSlot* slots, int bands) {
        o.bands_combined = bands;
        o.slots_ok = bands <= omb::kStackBands ||
                     reinterpret_cast<std::uintptr_t>(slots) % omb::kBlockAlign == 0;
        for (int t = 0; t < bands; ++t) {  // band t's rows, in band order
          const std::int64_t first = std::int64_t{t} * (height / bands), rows = BandRows(height, bands, t);
          o.slots_ok &= slots[t].count == rows &&
                        slots[t].value == static_cast<double>(rows * first + rows * (rows - 1) / 2);
          o.rows += slots[t].count;
          o.row_sum += static_cast<std::int64_t>(slots[t].value);
        }
      });
  EXPECT_EQ(st, ombResultOk);
  for (auto& h : hits) o.hits.push_back(h);
  if (first_rows) *first_rows = firsts;
  return o;
}

TEST(ForkBands, EveryRowOnceInBandOrder) {
  ForEachThreadCount([](int n) {
    for (int height : {1, 2, 3, 5, 16, 17, 39, 40, 41, 100, 1001}) {
      SCOPED_TRACE(::testing::Message() << "height " << height);
      std::vector<int> firsts;
      const Outcome o = Fork(height, &firsts);
      EXPECT_EQ(o.bands_combined, n);
      EXPECT_TRUE(o.slots_ok);
      EXPECT_EQ(o.hits, std::vector<int>(height, 1));
      EXPECT_EQ(o.rows, height);
      EXPECT_EQ(o.row_sum, std::int64_t{height} * (height - 1) / 2);
      // Empty bands (more bands than rows) are never handed to the body.
      for (int t = 0; t < n; ++t)
        EXPECT_EQ(firsts[t], BandRows(height, n, t) ? t * (height / n) : -1) << "band " << t;
    }
  });
}

TEST(ForkBands, NestedInOuterParallelRegion) {
  const int saved_levels = omp_get_max_active_levels();
  for (int levels : {1, 3}) {
    omp_set_max_active_levels(levels);
    ForEachThreadCount([&](int n) {
      std::vector<int> ok(4, -1);
#pragma omp parallel num_threads(4)
      {
        const Outcome o = Fork(77);
        ok[omp_get_thread_num()] = o.bands_combined == n && o.slots_ok &&
                                   o.hits == std::vector<int>(77, 1);
      }
      for (int t = 0; t < 4; ++t) EXPECT_NE(ok[t], 0) << "outer thread " << t;
    });
  }
  omp_set_max_active_levels(saved_levels);
}

TEST(Split, SingleThreshold) {
  const struct { int omp, lib; OmbRoiSize roi; int k; bool split; } cases[] = {
      {1, 1, {1, 131071}, 17, false}, {1, 1, {1, 131072}, 17, true},
      {1, 1, {131072, 1}, 17, true},  {1, 1, {511, 256}, 17, false},
      {1, 1, {512, 256}, 17, true},   {1, 1, {1, 1}, 0, true},
      {1, 3, {1, 393215}, 17, false}, {1, 3, {1, 393216}, 17, true},
      {4, 1, {1, 524287}, 17, false}, {4, 1, {1, 524288}, 17, true},
      // the pixel count is a 32-bit product: 2^32 wraps to 0, 2^31 to < 0
      {1, 1, {65536, 65536}, 0, false}, {1, 1, {65536, 32768}, 0, false}};
  for (const auto& c : cases) {
    Threads t(c.omp, c.lib);
    EXPECT_EQ(omb::ombThreadCount(), std::max(c.omp, c.lib));
    EXPECT_EQ(omb::SplitSingle(c.roi, c.k), c.split)
        << c.roi.width << "x" << c.roi.height << " k=" << c.k << " threads " << c.omp << "/" << c.lib;
  }
}

TEST(Split, TwoThresholdsAndMultiCoreFlag) {
  Threads t(1, 1);
  const int cores = ombGetNumCoresOnDie();
  const int flag = cores == 1 ? 0 : cores;
  EXPECT_EQ(omb::ombMultiCoreFlag(), flag);
  for (int n : {3, 5}) EXPECT_EQ(omb::ombMultiCoreFlag(n), flag);
  for (int n : {1, 2, 4, 6}) EXPECT_EQ(omb::ombMultiCoreFlag(n), flag | 1);
  int cache = 0;
  ombGetMaxCacheSizeB(&cache);
  EXPECT_EQ(omb::ombCacheSize(), cache);
  EXPECT_FALSE(omb::SplitTwo({1, 32767}));
  EXPECT_EQ(omb::SplitTwo({1, 32768}), flag != 0);
  EXPECT_EQ(omb::SplitTwo({1, 131071}), flag != 0);
  EXPECT_TRUE(omb::SplitTwo({1, 131072}));
}

}  // namespace
}  // namespace omb_test
