// Internal interface of the integral-table kernels. The fronts check the
// arguments and describe the call as one job; the kernel entry picks the
// SIMD target at run time and the typed loop.
#pragma once

#include <cstdint>

#include "frame/image.hpp"
#include "ombtypes.h"

namespace omb {

enum class TableType { kNone, k32s, k32f, k64f };

struct IntegralJob {
  Plane<const std::uint8_t> src;
  Plane<void> sum;
  TableType sum_type;  // k32s or k32f
  Plane<void> sqr;     // null when only the sum table is asked for
  TableType sqr_type;  // kNone, k32s or k64f
  OmbRoiSize roi;      // source size
  bool tilted;
  // Offsets; every 32-bit integer and float value is exact in a double.
  double val;
  double val_sqr;
};
void IntegralImage(const IntegralJob& job);

// One destination row of a rectangle deviation with a double square
// table and a float result: the four sum-table and square-table corner
// pointers of column 0 (A, B, C, D upright; P1..P4 tilted), the area of
// the rectangle and the row length. Returns how many leading columns it
// wrote, a multiple of the vector width.
struct StdDevRow {
  const void* sum[4];  // 32-bit integers or floats, as float_sum says
  const double* sqr[4];
  float* out;
  int width;
  double area;
  bool tilted;
  bool float_sum;
};
int StdDevRowSimd(const StdDevRow& row);

}  // namespace omb
