// Internal interface of the row and column pipeline passes. The fronts check
// the arguments, split the rows into bands and describe each band as one
// job; the kernel entries pick the SIMD target at run time.
#pragma once

#include <cstdint>

#include "frame/border.hpp"

namespace omb {

// How a pass turns its weighted sums into output pixels (source ->
// destination type and the arithmetic of the sum).
enum class SepArith {
  k8u16s,   // 8u -> 16s, float products and sum, scaled, saturated
  k16s,     // 16s -> 16s, the same
  kLow16s,  // 16s -> 16s, wrapping 32-bit integer sum, no saturation
  k16s8u,   // column: 16s -> 8u, float, saturated to 0..255
  k16s8s,   // column: 16s -> 8s, float, saturated to -128..127
  k32f,     // 32f -> 32f, double products and sum, rounded once
};

// One band of the row pass.
struct RowJob {
  SepArith arith;
  int channels;               // 1 or 3, interleaved
  const void* src;            // first pixel of the band's first source row
  int src_step;               // bytes
  void* const* dst;           // the band's slice of the caller's row pointers
  int rows;                   // rows of the band, all with non-null pointers
  int width;                  // pixels per row
  const void* kernel;         // 16s taps, or 32f taps for k32f
  int ksize;
  int anchor;
  int border;                 // OmbBorderType
  const void* border_value;   // `channels` source-type values (constant only)
  int divisor;                // integer arithmetic only
  std::uint8_t* strips;       // the band's own part of the work buffer
};
void FilterRows(const RowJob& job);

// The bordered rows of the row pass: outputs whose taps leave the row read
// the strips, which reach k - 1 pixels into the row at either end (so one
// strip serves every output near its edge); the interior is read in place.
// The strips need the same bytes whatever the width and anchor.
template <class T>
typename BorderRows<T>::Shape RowPassBorder(int width, int rows, int channels, int ksize,
                                            int anchor, int border) {
  return {width, rows, channels, border,
          BorderReach{anchor, ksize - 1 - anchor, ksize - 1, ksize - 1},
          1, false, static_cast<int>(alignof(T))};
}

// One band of the column pass.
struct ColumnJob {
  SepArith arith;
  int channels;
  const void* const* src;     // the band's first row pointer; rows + ksize - 1
  void* dst;                  // first pixel of the band's first output row
  int dst_step;               // bytes
  int rows;
  int width;
  const void* kernel;
  int ksize;
  int divisor;
};
void FilterColumns(const ColumnJob& job);

}  // namespace omb
