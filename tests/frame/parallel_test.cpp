// Band splitting: geometry, coverage, combine order, nesting, heap tables,
// the missing-table path and the split rules.
#include <gtest/gtest.h>
#include <omp.h>

#include <algorithm>
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

// A wider slot than one number, as the reductions use.
struct Partial {
  std::int64_t rows;
  double row_sum;
  std::int32_t first;
};

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
  std::vector<int> firsts(std::min(n, 64), -1);
  omb::ForkBands<Partial>(
      height,
      [&](const omb::Band<Partial>& b) {
        if (b.index < 64) firsts[b.index] = b.first_row;
        for (int y = b.first_row; y < b.first_row + b.rows; ++y) {
          ++hits[y];
          b.slot->row_sum += y;
        }
        b.slot->rows = b.rows;
        b.slot->first = b.first_row;
      },
      [&](const Partial* slots, int bands) {
        o.bands_combined = bands;
        o.slots_ok = bands <= omb::kStackBands ||
                     reinterpret_cast<std::uintptr_t>(slots) % omb::kBlockAlign == 0;
        for (int t = 0; t < bands; ++t) {  // band t's rows, in band order
          const std::int64_t first = std::int64_t{t} * (height / bands), rows = BandRows(height, bands, t);
          o.slots_ok &= slots[t].rows == rows && slots[t].first == (rows ? first : 0) &&
                        slots[t].row_sum == static_cast<double>(rows * first + rows * (rows - 1) / 2);
          o.rows += slots[t].rows;
          o.row_sum += static_cast<std::int64_t>(slots[t].row_sum);
        }
      });
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

// A table of more than 32 slots that cannot be had (here: its size does
// not fit an int) runs the whole ROI as one band on the calling thread.
TEST(ForkBands, NoTableRunsOneBandHere) {
  Threads t(1, 1 << 28);
  const int team = threads_omp_of_n_omb;
  threads_omp_of_n_omb = 2;  // the bands are never forked, keep the team small
  std::vector<int> firsts;
  const Outcome o = Fork(1000, &firsts);
  threads_omp_of_n_omb = team;
  EXPECT_EQ(o.bands_combined, 1);
  EXPECT_TRUE(o.slots_ok);
  EXPECT_EQ(o.hits, std::vector<int>(1000, 1));
  EXPECT_EQ(firsts[0], 0);
}

// Every rule on one table: threads (OpenMP, library), ROI, split or not.
TEST(Split, RulesAsData) {
  using M = omb::SplitRule::Measure;
  const int flag = ombGetNumCoresOnDie() == 1 ? 0 : ombGetNumCoresOnDie();
  const bool mc = flag != 0;
  const omb::SplitRule k17 = omb::SplitArea(17), two = omb::kSplitTwoTier;
  const omb::SplitRule haar{.measure = M::kPixels, .per_thread = 22500, .by_band_count = true};
  const omb::SplitRule rows3{.measure = M::kRows, .multi_core_per_thread = 128, .min_width = 256};
  const omb::SplitRule rows5{.measure = M::kRows, .per_thread = 256, .multi_core_per_thread = 128,
                             .min_width = 256};
  const struct { omb::SplitRule rule; int omp, lib; OmbRoiSize roi; bool split; } cases[] = {
      {omb::kSerial, 1, 1, {4096, 4096}, false},
      {k17, 1, 1, {1, 131071}, false}, {k17, 1, 1, {1, 131072}, true},
      {k17, 1, 1, {131072, 1}, true},  {k17, 1, 1, {511, 256}, false},
      {k17, 1, 1, {512, 256}, true},   {omb::SplitArea(0), 1, 1, {1, 1}, true},
      {k17, 1, 3, {1, 393215}, false}, {k17, 1, 3, {1, 393216}, true},
      {k17, 4, 1, {1, 524287}, false}, {k17, 4, 1, {1, 524288}, true},
      // the pixel count is a 32-bit product: 2^32 wraps to 0, 2^31 to < 0
      {omb::SplitArea(0), 1, 1, {65536, 65536}, false},
      {omb::SplitArea(0), 1, 1, {65536, 32768}, false},
      {two, 1, 1, {1, 32767}, false}, {two, 1, 1, {1, 32768}, mc},
      {two, 1, 1, {1, 131071}, mc},   {two, 1, 1, {1, 131072}, true},
      {two, 2, 1, {1, 131072}, mc},
      // the library count, not the OpenMP one
      {haar, 1, 2, {150, 299}, false}, {haar, 1, 2, {150, 300}, true},
      {haar, 4, 1, {150, 150}, true},
      // rows: more than one thread and a wide enough ROI
      {rows3, 2, 1, {256, 256}, mc},   {rows3, 2, 1, {255, 100000}, false},
      {rows3, 1, 1, {256, 100000}, false}, {rows3, 2, 1, {4096, 255}, false},
      {rows5, 2, 1, {256, 255}, false}, {rows5, 2, 1, {256, 511}, mc},
      {rows5, 2, 1, {256, 512}, true},
  };
  for (const auto& c : cases) {
    Threads t(c.omp, c.lib);
    EXPECT_EQ(omb::ombThreadCount(), std::max(c.omp, c.lib));
    EXPECT_EQ(omb::Splits(c.rule, c.roi), c.split)
        << &c - cases << ": " << c.roi.width << "x" << c.roi.height << " threads " << c.omp
        << "/" << c.lib;
  }
}

// The serial rule runs one band of the whole ROI on the calling thread.
TEST(Split, SerialIsOneBandHere) {
  Threads t(4, 4);
  int calls = 0;
  omb::ReduceBands<std::int64_t>(
      omb::kSerial, {7, 300},
      [&](const omb::Band<std::int64_t>& b) {
        ++calls;
        EXPECT_FALSE(omp_in_parallel());
        *b.slot = b.first_row * 1000 + b.rows;
      },
      [&](const std::int64_t* slots, int bands) {
        EXPECT_EQ(bands, 1);
        EXPECT_EQ(slots[0], 300);
      });
  EXPECT_EQ(calls, 1);
}

TEST(Split, MultiCoreFlagAndCache) {
  Threads t(1, 1);
  const int cores = ombGetNumCoresOnDie();
  const int flag = cores == 1 ? 0 : cores;
  EXPECT_EQ(omb::ombMultiCoreFlag(), flag);
  for (int n : {3, 5}) EXPECT_EQ(omb::ombMultiCoreFlag(n), flag);
  for (int n : {1, 2, 4, 6}) EXPECT_EQ(omb::ombMultiCoreFlag(n), flag | 1);
  int cache = 0;
  ombGetMaxCacheSizeB(&cache);
  EXPECT_EQ(omb::ombCacheSize(), cache);
}

}  // namespace
}  // namespace omb_test
