// Pyramidal Lucas-Kanade tracking: the state record and the size of its
// work block.
#pragma once

#include <cstdint>

#include "ombtypes.h"

namespace omb {

// The record behind every OmbOptFlowPyrLKState_*: 32 bytes in this build.
struct OptFlowState {
  int width;    // largest level size whose whole-level gradients fit the planes
  int height;
  int threads;  // thread count at creation; slices exist for this many
  int type;     // data-type code 1, 3 or 9
  int hint;     // stored, never consulted
  int win;      // window size n
  unsigned char* work;
};

// Bytes of the work block the library allocates for a state: the larger of
// the published formula (whose pointer-sized parts assume 4-byte pointers)
// and what this build's layout really needs. -1 on overflow of int.
long long OptFlowWorkBytes(int type, int w, int h, int n, int threads, int scharr_bytes);
// The published formula alone.
long long OptFlowFormulaBytes(int type, int w, int h, int n, int threads, int scharr_bytes);

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
