// Splitting a call into horizontal bands that run in a fork-join region,
// and combining what the bands leave behind.
//
// The thread count lives in the core library and is read on every call.
// A front describes when it splits as a SplitRule and hands ReduceBands (or
// EachBand, when the bands leave no result) a body that processes one band
// of rows. A band's partial result is a Slot of the front's own choosing:
// any trivially copyable struct (a sum and a count, extremes with their
// rows, 64-bit integer sums). After the join the slots are combined on the
// calling thread in band order 0, 1, ..., N-1, so integer results never
// depend on the team size.
//
// The one failure of the frame itself: a table of more than kStackBands
// slots lives on the heap, and when it cannot be allocated (or its size
// does not fit an int) the whole ROI runs as one band on the calling
// thread. That is exactly the serial path, so the caller gets the same
// result and status as from an unsplit call, only later.
#pragma once

#include <omp.h>

#include <climits>
#include <cstdint>
#include <new>
#include <type_traits>

#include "frame/alloc.hpp"
#include "ombcore.h"
#include "ombtypes.h"

namespace omb {

// Larger of the OpenMP maximum thread count and the library thread count.
int ombThreadCount();
// Cores on one die when that is not 1, else 0 (nonzero: several cores).
int ombMultiCoreFlag();
// The flag with its lowest bit also set when n is neither 3 nor 5.
int ombMultiCoreFlag(int n);
// Largest cache size in bytes as the core library reports it.
int ombCacheSize();

// Library thread count as the core library reports it (at least 1).
int BandCount();

// When a front splits its rows into bands. T is the thread count: the
// sizing count ombThreadCount, or with by_band_count the library count
// that also numbers the bands. A rule splits when its measure reaches
// T x per_thread, or T x multi_core_per_thread on a die with several
// cores; a zero factor leaves that tier out.
struct SplitRule {
  enum class Measure : std::uint8_t {
    kSerial,  // never split
    kPixels,  // width x height, the 32-bit product the thresholds were made for
    kRows,    // the height, of ROIs at least min_width wide and with T > 1
  };
  Measure measure = Measure::kSerial;
  std::int64_t per_thread = 0;
  std::int64_t multi_core_per_thread = 0;
  bool by_band_count = false;
  int min_width = 0;
};

inline constexpr SplitRule kSerial{};
// Single threshold: split when width x height >= T x 2^k.
constexpr SplitRule SplitArea(int k) {
  return {.measure = SplitRule::Measure::kPixels, .per_thread = std::int64_t{1} << k};
}
// Two tiers: width x height >= T x 2^15 on a multi-core die, or >= T x 2^17.
inline constexpr SplitRule kSplitTwoTier{.measure = SplitRule::Measure::kPixels,
                                         .per_thread = std::int64_t{1} << 17,
                                         .multi_core_per_thread = std::int64_t{1} << 15};

bool Splits(const SplitRule& rule, OmbRoiSize roi);

// One band: rows [first_row, first_row + rows) of the ROI, and its slot,
// value-initialised before the body runs.
template <class Slot>
struct Band {
  int index;
  int first_row;
  int rows;
  Slot* slot;
};

// The slot of bands that leave no result.
struct NoResult {};

// Tables up to this many bands live on the stack.
inline constexpr int kStackBands = 32;

namespace detail {
// The serial path: all rows as band 0 of one, on the calling thread.
template <class Slot, class Body, class Combine>
void OneBand(int height, const Body& body, const Combine& combine) {
  Slot slot{};
  if (height > 0) body(Band<Slot>{.index = 0, .first_row = 0, .rows = height, .slot = &slot});
  combine(static_cast<const Slot*>(&slot), 1);
}
}  // namespace detail

// Forks a region and runs body(const Band<Slot>&) for every nonempty band
// of an ROI `height` rows high, then combine(const Slot* slots, int bands)
// on the calling thread. The band count N is read inside the region; band
// t holds rows t*B .. t*B+B-1 with B = height / N, the last band also the
// remainder. Every band is processed whatever team size the runtime
// grants: thread t takes bands t, t + team, t + 2*team, ...
template <class Slot, class Body, class Combine>
void ForkBands(int height, const Body& body, const Combine& combine) {
  static_assert(std::is_trivially_copyable_v<Slot> && alignof(Slot) <= kBlockAlign,
                "band slots are plain data in an aligned block");
  Slot stack_table[kStackBands];
  Slot* table = nullptr;
  int bands = 0;
  int band_rows = 0;
  int remainder = 0;
  const bool may_fork = omp_get_active_level() < omp_get_max_active_levels();
  const int team = threads_omp_of_n_omb > 0 ? threads_omp_of_n_omb : 1;

#pragma omp parallel num_threads(team) if (may_fork)
  {
#pragma omp single
    {
      bands = BandCount();
      band_rows = height / bands;
      remainder = height % bands;
      if (bands <= kStackBands) {
        table = stack_table;
      } else {
        const std::int64_t doubles =
            (std::int64_t{bands} * std::int64_t{sizeof(Slot)} + 7) / 8;
        if (doubles <= INT_MAX / 8) {
          table = reinterpret_cast<Slot*>(ombAlignedAllocDoubles(static_cast<int>(doubles)));
        }
      }
    }  // implicit barrier: every thread sees the table
    if (table != nullptr) {
      const int granted = omp_get_num_threads();
      for (int t = omp_get_thread_num(); t < bands; t += granted) {
        const Band<Slot> band{.index = t,
                              .first_row = t * band_rows,
                              .rows = band_rows + (t == bands - 1 ? remainder : 0),
                              .slot = new (&table[t]) Slot{}};
        if (band.rows > 0) body(band);
      }
    }
  }
  if (table == nullptr) return detail::OneBand<Slot>(height, body, combine);
  combine(static_cast<const Slot*>(table), bands);
  if (table != stack_table) ombAlignedFree(table);
}

// Runs body over the ROI's rows as bands of a fork-join region when the
// rule splits, else as one band on the calling thread; then combine on
// the calling thread, over the slots in band order.
template <class Slot, class Body, class Combine>
void ReduceBands(const SplitRule& rule, OmbRoiSize roi, const Body& body,
                 const Combine& combine) {
  if (Splits(rule, roi)) return ForkBands<Slot>(roi.height, body, combine);
  detail::OneBand<Slot>(roi.height, body, combine);
}

// Bands without partial results: body(const Band<NoResult>&) over `rows`
// rows (which may be fewer than the ROI's, which the rule reads).
template <class Body>
void EachBand(const SplitRule& rule, OmbRoiSize roi, int rows, const Body& body) {
  const auto none = [](const NoResult*, int) {};
  if (Splits(rule, roi)) return ForkBands<NoResult>(rows, body, none);
  detail::OneBand<NoResult>(rows, body, none);
}

}  // namespace omb
