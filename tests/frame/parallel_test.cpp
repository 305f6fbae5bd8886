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

// A slot of several fields, as the reductions use.
struct Partial {
  std::int32_t first, rows;
  double row_sum;
  bool operator==(const Partial&) const = default;
};

struct Banded {
  std::vector<int> hits;  // per row
  std::vector<Partial> slots;  // as the combine saw them
  bool aligned = false;
};

// ForkBands with a body that marks its rows and fills its slot.
Banded Fork(int height) {
  std::vector<std::atomic<int>> hits(height);
  Banded r;
  omb::ForkBands<Partial>(
      height,
      [&](const omb::Band<Partial>& b) {
        *b.slot = {b.first_row, b.rows, 0.0};
        for (int y = b.first_row; y < b.first_row + b.rows; ++y) ++hits[y], b.slot->row_sum += y;
      },
      [&](const Partial* slots, int bands) {
        r.aligned = bands <= omb::kStackBands ||
                    reinterpret_cast<std::uintptr_t>(slots) % omb::kBlockAlign == 0;
        r.slots.assign(slots, slots + bands);
      });
  for (auto& h : hits) r.hits.push_back(h);
  return r;
}

// The slots of `bands` bands over `height` rows, in band order; an empty
// band (more bands than rows) is never run and keeps a zero slot.
std::vector<Partial> Expected(int height, int bands) {
  std::vector<Partial> out;
  for (int t = 0; t < bands; ++t) {
    const int rows = height / bands + (t == bands - 1 ? height % bands : 0);
    const int first = rows ? t * (height / bands) : 0;
    out.push_back({first, rows, rows * (first + (rows - 1) / 2.0)});
  }
  return out;
}

TEST(ForkBands, EveryRowOnceInBandOrder) {
  ForEachThreadCount([](int n) {
    for (int height : {1, 2, 3, 5, 16, 17, 39, 40, 41, 100, 1001}) {
      const Banded r = Fork(height);
      EXPECT_EQ(r.slots, Expected(height, n)) << "height " << height;
      EXPECT_EQ(r.hits, std::vector<int>(height, 1)) << "height " << height;
      EXPECT_TRUE(r.aligned);
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
        const Banded r = Fork(77);
        ok[omp_get_thread_num()] = r.slots == Expected(77, n) && r.hits == std::vector<int>(77, 1);
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
  const Banded r = Fork(1000);
  threads_omp_of_n_omb = team;
  EXPECT_EQ(r.slots, Expected(1000, 1));
  EXPECT_EQ(r.hits, std::vector<int>(1000, 1));
}

// Every rule on one table: threads (OpenMP, library), ROI, split or not.
TEST(Split, RulesAsData) {
  using M = omb::SplitRule::Measure;
  const bool mc = ombGetNumCoresOnDie() != 1;
  const omb::SplitRule k17 = omb::SplitArea(17), k0 = omb::SplitArea(0), two = omb::kSplitTwoTier,
      haar{.measure = M::kPixels, .per_thread = 22500, .by_band_count = true},
      rows{.measure = M::kRows, .multi_core_per_thread = 128, .min_width = 256},
      rows5{.measure = M::kRows, .per_thread = 256, .multi_core_per_thread = 128, .min_width = 256};
  const struct { omb::SplitRule rule; int omp, lib; OmbRoiSize roi; bool split; } cases[] = {
      {omb::kSerial, 1, 1, {4096, 4096}, false}, {k0, 1, 1, {1, 1}, true},
      {k17, 1, 1, {1, 131071}, false}, {k17, 1, 1, {1, 131072}, true}, {k17, 1, 1, {512, 256}, true},
      {k17, 1, 3, {1, 393215}, false}, {k17, 1, 3, {1, 393216}, true},
      {k17, 4, 1, {1, 524287}, false}, {k17, 4, 1, {1, 524288}, true},
      // the pixel count is a 32-bit product: 2^32 wraps to 0, 2^31 to < 0
      {k0, 1, 1, {65536, 65536}, false}, {k0, 1, 1, {65536, 32768}, false},
      {two, 1, 1, {1, 32767}, false}, {two, 1, 1, {1, 32768}, mc}, {two, 1, 1, {1, 131072}, true},
      {two, 2, 1, {1, 131072}, mc},
      // the library count, not the OpenMP one
      {haar, 1, 2, {150, 299}, false}, {haar, 1, 2, {150, 300}, true}, {haar, 4, 1, {150, 150}, true},
      // rows: more than one thread and a wide enough ROI
      {rows, 2, 1, {256, 256}, mc}, {rows, 2, 1, {255, 99999}, false}, {rows, 1, 1, {256, 99999}, false},
      {rows, 2, 1, {4096, 255}, false}, {rows5, 2, 1, {256, 511}, mc}, {rows5, 2, 1, {256, 512}, true},
  };
  for (const auto& c : cases) {
    Threads t(c.omp, c.lib);
    EXPECT_EQ(omb::ombThreadCount(), std::max(c.omp, c.lib));
    EXPECT_EQ(omb::Splits(c.rule, c.roi), c.split) << "case " << &c - cases;
  }
}

TEST(Split, MultiCoreFlagAndCache) {
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
