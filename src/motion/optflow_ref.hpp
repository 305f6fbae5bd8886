// Window sums of the 8-bit tracker (16-bit samples times 128, 16-bit
// gradients): the plain definitions the vector kernels reproduce.
//
// Every row is summed exactly in 64-bit integers and the row sums are
// added in double in row order (see frame/reduce.hpp): a single row of
// strong gradients at full contrast already exceeds 32 bits (21 products
// of up to 16320 x 32640). Gradient (x, y) meets template sample
// (x+1, y+1) and window sample (x, y); e = template - window fits 16 bits
// (samples are at most 32648).
#pragma once

#include <cstddef>
#include <cstdint>

namespace omb {
namespace ref {

inline void OptFlowSumG(const std::int16_t* gx, const std::int16_t* gy, int n, int x0, int x1, int y0, int y1,
                        double out[3]) {
  double xx = 0, xy = 0, yy = 0;
  for (int y = y0; y <= y1; ++y) {
    std::int64_t a = 0, b = 0, c = 0;
    for (int x = x0; x <= x1; ++x) {
      const std::int32_t ix = gx[y * n + x], iy = gy[y * n + x];
      a += ix * ix;
      b += ix * iy;
      c += iy * iy;
    }
    xx += double(a);
    xy += double(b);
    yy += double(c);
  }
  out[0] = xx, out[1] = xy, out[2] = yy;
}

inline void OptFlowSumB(const std::int16_t* gx, const std::int16_t* gy, const std::uint16_t* t,
                        const std::uint16_t* w, int n, int x0, int x1, int y0, int y1, double out[2]) {
  double sx = 0, sy = 0;
  for (int y = y0; y <= y1; ++y) {
    std::int64_t a = 0, b = 0;
    const std::uint16_t* pt = t + (y + 1) * (n + 2) + 1;
    const std::uint16_t* pw = w + y * n;
    for (int x = x0; x <= x1; ++x) {
      const std::int32_t e = std::int32_t(pt[x]) - std::int32_t(pw[x]);
      a += gx[y * n + x] * e;
      b += gy[y * n + x] * e;
    }
    sx += double(a);
    sy += double(b);
  }
  out[0] = sx, out[1] = sy;
}

// Gradient windows from 16-bit Scharr planes (32 x the derivative): the Q14
// bilinear sum with weights w4 = {w00, w10, w01, w11} taken times 4, i.e.
// (sum + 2^11) >> 12, then limited to 16 bits (below -32767 gives -32768,
// 32767 and above give 32767). px and py point at the plane sample under
// gradient (0, 0); gradients are n wide.
inline void OptFlowPlane(const std::int16_t* px, const std::int16_t* py, int stride, const std::int32_t* w4, int n,
                         int x0, int x1, int y0, int y1, std::int16_t* gx, std::int16_t* gy) {
  auto limit = [](std::int32_t v) {
    return static_cast<std::int16_t>(v < -32767 ? -32768 : v >= 32767 ? 32767 : v);
  };
  for (int y = y0; y <= y1; ++y)
    for (int x = x0; x <= x1; ++x) {
      const std::int16_t* a = px + std::ptrdiff_t(y) * stride + x;
      const std::int16_t* b = py + std::ptrdiff_t(y) * stride + x;
      const std::int32_t vx = w4[0] * a[0] + w4[1] * a[1] + w4[2] * a[stride] + w4[3] * a[stride + 1] + 2048;
      const std::int32_t vy = w4[0] * b[0] + w4[1] * b[1] + w4[2] * b[stride] + w4[3] * b[stride + 1] + 2048;
      gx[y * n + x] = limit(vx >> 12);
      gy[y * n + x] = limit(vy >> 12);
    }
}

}  // namespace ref
}  // namespace omb
