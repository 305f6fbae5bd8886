// Pyramidal Lucas-Kanade tracking: the state record, the carving of its work
// block, and the kernel entries behind the fronts.
#pragma once

#include <cstdint>

#include "frame/carve.hpp"
#include "frame/pixtype.hpp"
#include "ombtypes.h"

namespace omb {

// The record behind every OmbOptFlowPyrLKState_*: 32 bytes in this build.
struct OptFlowState {
  int width;    // largest level size whose whole-level gradients fit the planes
  int height;
  int threads;  // thread count at creation; slices exist for this many
  int type;     // data-type code 1, 3 or 9 (TypeCode / PixTypeOfCode)
  int hint;     // stored, never consulted
  int win;      // window size n
  unsigned char* work;
};

// The record keeps the published data-type codes; the code works with the
// frame's pixel types.
inline int TypeCode(PixType t) { return t == PixType::k8u ? 1 : (t == PixType::k16u ? 3 : 9); }
inline PixType PixTypeOfCode(int code) {
  return code == 1 ? PixType::k8u : (code == 3 ? PixType::k16u : PixType::k32f);
}

// Every slice array is followed by this many spare bytes: the vector sums
// load whole vectors at a row's end and zero the lanes beyond it.
inline constexpr std::int64_t kOptFlowPad = 128;

// One thread's slice, for window and gradient elements of `elem` bytes:
// template (n+2)^2, two windows n^2 (used in turn, so that the window of
// the last intersecting iteration survives a later sample that leaves the
// template for the error), two gradient windows n^2 and two rows of
// (n+2) x n row-filter results (4-byte elements); every area 64-aligned
// and the slice a whole number of 64-byte units.
struct OptFlowSlice {
  std::uint8_t* tmpl;
  std::uint8_t* win[2];
  std::uint8_t* gx;
  std::uint8_t* gy;
  std::uint8_t* rowd;
  std::uint8_t* rowm;

  OptFlowSlice(Carver& c, int n, int elem) {
    const std::int64_t n2 = std::int64_t{n} * n, m2 = std::int64_t{n + 2} * (n + 2);
    const std::int64_t rows = std::int64_t{n + 2} * n * 4;
    tmpl = c.Take<std::uint8_t>(m2 * elem + kOptFlowPad, 64);
    win[0] = c.Take<std::uint8_t>(n2 * elem + kOptFlowPad, 64);
    win[1] = c.Take<std::uint8_t>(n2 * elem + kOptFlowPad, 64);
    gx = c.Take<std::uint8_t>(n2 * elem + kOptFlowPad, 64);
    gy = c.Take<std::uint8_t>(n2 * elem + kOptFlowPad, 64);
    rowd = c.Take<std::uint8_t>(rows, 64);
    rowm = c.Take<std::uint8_t>(rows, 64);
    c.Take<std::uint8_t>(0, 64);
  }
  static std::int64_t Bytes(int n, int elem) {
    Carver plan = Carver::Plan(1);
    OptFlowSlice(plan, n, elem);
    return plan.Bytes();
  }
};

// The work block: a header holding the Scharr buffer size the block was
// carved for, gradient planes x and y of (w + 5) x (h + 5) elements, the
// float copy of a 16u level, the Scharr buffer, then one slice per thread.
// The filters' buffer need follows the thread count, which may change after
// creation, so the carving is fixed by the size recorded in the header,
// never by a fresh query.
struct OptFlowBlock {
  std::uint8_t* header;
  std::uint8_t* plane_x;
  std::uint8_t* plane_y;
  std::uint8_t* plane_f;
  std::uint8_t* scharr;
  std::uint8_t* slices;
  std::int64_t slice_bytes;

  OptFlowBlock(Carver& c, PixType type, int w, int h, int n, int threads, int scharr_bytes) {
    const int elem = type == PixType::k8u ? 2 : 4;
    const std::int64_t plane = std::int64_t{w + 5} * (h + 5);
    header = c.Take<std::uint8_t>(64, 64);
    plane_x = c.Take<std::uint8_t>(plane * elem, 64);
    plane_y = c.Take<std::uint8_t>(plane * elem, 64);
    plane_f = c.Take<std::uint8_t>(type == PixType::k16u ? plane * 4 : 0, 64);
    scharr = c.Take<std::uint8_t>(scharr_bytes, 64);
    slice_bytes = OptFlowSlice::Bytes(n, elem);
    slices = c.TakeSlots(threads, slice_bytes, 64);
  }
};

// Bytes of the work block the library allocates for a state: the published
// formula (whose pointer-sized parts assume 4-byte pointers), never less
// than the carving of OptFlowBlock. -1 on overflow of int.
long long OptFlowWorkBytes(PixType type, int w, int h, int n, int threads, int scharr_bytes);
// The published formula alone.
long long OptFlowFormulaBytes(PixType type, int w, int h, int n, int threads, int scharr_bytes);

// Bytes of the Scharr work buffer carved into a block for gradients of a
// roi-sized level at the current thread count; -1 when too large.
int OptFlowScharrBytes(PixType type, OmbRoiSize roi);

// One call of a tracker front on checked arguments.
struct OptFlowCall {
  const OmbPyramidRecord* p1;
  const OmbPyramidRecord* p2;
  const OmbPoint32f* prev;
  OmbPoint32f* next;
  Omb8s* status;
  Omb32f* error;
  int count;
  int max_level;
  int max_iter;
  float threshold;
  OptFlowState* state;
  PixType member;  // element type of the front called (the state's carving
                   // follows the state's own type)
};
// Tracks the points. Returns -9 when the gradients of a level cannot be
// formed.
OmbResult OptFlowTrack(const OptFlowCall& call);

// Window sums of the 8-bit member over rows/columns [x0, x1] x [y0, y1] of
// n-wide gradient windows (template rows n + 2 wide): G as xx, xy, yy and b
// as x, y. Vector kernels; every array must be readable for one vector
// (64 bytes) past its last element.
void OptFlowSumG8u(const std::int16_t* gx, const std::int16_t* gy, int n, int x0, int x1, int y0, int y1,
                   double out[3]);
void OptFlowSumB8u(const std::int16_t* gx, const std::int16_t* gy, const std::uint16_t* t,
                   const std::uint16_t* w, int n, int x0, int x1, int y0, int y1, double out[2]);
// Gradient windows of the 8-bit member from the 16-bit Scharr planes (see
// optflow_ref.hpp); plane rows must be readable one vector past x1 + 1.
void OptFlowPlane8u(const std::int16_t* px, const std::int16_t* py, int stride, const std::int32_t w4[4], int n,
                    int x0, int x1, int y0, int y1, std::int16_t* gx, std::int16_t* gy);

}  // namespace omb
