// Splitting a call into horizontal bands that run in a fork-join region.
//
// The thread count lives in the core library and is read on every call.
// A front first decides whether to split (SplitSingle / SplitTwo or a
// family rule of its own), then hands ForkBands a body that processes one
// band of rows and may leave a partial result in its band slot. After the
// join the slots are combined on the calling thread in band order
// 0, 1, ..., N-1, so integer results never depend on the team size.
#pragma once

#include <omp.h>

#include <cstdint>

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

// Single-threshold rule: split when width x height >= T x 2^k.
bool SplitSingle(OmbRoiSize roi, int k);
// Two-threshold rule: split when P >= T x 2^15 on a multi-core die, or
// when P >= T x 2^17.
bool SplitTwo(OmbRoiSize roi);

// Partial result of one band: a 64-bit float and a 32-bit count or index.
// Two doubles wide, so a table of N slots is one block of 2N doubles.
struct BandSlot {
  double value;
  std::int32_t count;
};
static_assert(sizeof(BandSlot) == 2 * sizeof(double), "slot is two doubles");

// One band: rows [first_row, first_row + rows) of the ROI.
struct Band {
  int index;
  int first_row;
  int rows;
  BandSlot* slot;
};

// Tables up to this many bands live on the stack.
inline constexpr int kStackBands = 32;

// Runs body(const Band&) for every band of an ROI `height` rows high and
// then combine(const BandSlot* slots, int bands) on the calling thread.
// The band count N is read inside the region; band t holds rows
// t*B .. t*B+B-1 with B = height / N, the last band also the remainder.
// Every band is processed whatever team size the runtime grants: thread t
// takes bands t, t + team, t + 2*team, ... Returns -9 when a table for more
// than 32 bands cannot be allocated (nothing is processed then).
template <class Body, class Combine>
OmbResult ForkBands(int height, const Body& body, const Combine& combine) {
  BandSlot stack_table[kStackBands];
  BandSlot* table = nullptr;
  int bands = 0;
  int band_rows = 0;
  int remainder = 0;
  bool no_memory = false;
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
        table = reinterpret_cast<BandSlot*>(ombAlignedAllocDoubles(2 * bands));
        no_memory = table == nullptr;
      }
    }  // implicit barrier: every thread sees the table
    if (!no_memory) {
      const int granted = omp_get_num_threads();
      for (int t = omp_get_thread_num(); t < bands; t += granted) {
        Band band{t, t * band_rows,
                  band_rows + (t == bands - 1 ? remainder : 0), &table[t]};
        band.slot->value = 0.0;
        band.slot->count = 0;
        if (band.rows > 0) body(band);
      }
    }
  }
  if (no_memory) return ombResultNoMemory;
  combine(static_cast<const BandSlot*>(table), bands);
  if (table != stack_table) ombAlignedFree(table);
  return ombResultOk;
}

}  // namespace omb
