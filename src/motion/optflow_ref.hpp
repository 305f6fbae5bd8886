// The tracker's window arithmetic in plain form. The sums of the 8-bit
// member (16-bit samples times 128, 16-bit gradients) are the definitions
// the vector kernels reproduce; the float members and the template
// gradients run these forms as they are.
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

// Limits a 32-bit gradient to 16 bits: below -32767 gives -32768, 32767 and
// above give 32767 (the lower limit is the asymmetric one on purpose).
inline std::int16_t Limit16(std::int32_t v) {
  if (v < -32767) return -32768;
  if (v >= 32767) return 32767;
  return static_cast<std::int16_t>(v);
}

// Template gradients over rows/columns [x0, x1] x [y0, y1] of the n x n
// gradient window; gradient (x, y) is centred on template sample (x+1, y+1).
// Integers: horizontal d = s[x+2] - s[x], m = 3s[x] + 10s[x+1] + 3s[x+2],
// then Ix = (3d[y] + 10d[y+1] + 3d[y+2] + 16) >> 5 and Iy = (m[y+2] - m[y]
// + 16) >> 5. Floats: the same sums times 1/32, so that both are
// derivatives per pixel. d and m are (n + 2) x n row results.
inline void OptFlowTemplateGradients(const std::uint16_t* t, int n, int x0, int x1, int y0, int y1,
                                     std::int32_t* d, std::int32_t* m, std::int16_t* gx,
                                     std::int16_t* gy) {
  const int tw = n + 2;
  for (int y = y0; y <= y1 + 2; ++y) {
    const std::uint16_t* s = t + std::size_t(y) * tw;
    for (int x = x0; x <= x1; ++x) {
      d[y * n + x] = std::int32_t(s[x + 2]) - std::int32_t(s[x]);
      m[y * n + x] = 3 * std::int32_t(s[x]) + 10 * std::int32_t(s[x + 1]) + 3 * std::int32_t(s[x + 2]);
    }
  }
  for (int y = y0; y <= y1; ++y)
    for (int x = x0; x <= x1; ++x) {
      const std::int32_t ix = 3 * d[y * n + x] + 10 * d[(y + 1) * n + x] + 3 * d[(y + 2) * n + x] + 16;
      const std::int32_t iy = m[(y + 2) * n + x] - m[y * n + x] + 16;
      gx[y * n + x] = Limit16(ix >> 5);
      gy[y * n + x] = Limit16(iy >> 5);
    }
}

inline void OptFlowTemplateGradients(const float* t, int n, int x0, int x1, int y0, int y1, float* d,
                                     float* m, float* gx, float* gy) {
  const int tw = n + 2;
  for (int y = y0; y <= y1 + 2; ++y) {
    const float* s = t + std::size_t(y) * tw;
    for (int x = x0; x <= x1; ++x) {
      d[y * n + x] = s[x + 2] - s[x];
      m[y * n + x] = 3.0f * s[x] + 10.0f * s[x + 1] + 3.0f * s[x + 2];
    }
  }
  for (int y = y0; y <= y1; ++y)
    for (int x = x0; x <= x1; ++x) {
      const float ix = 3.0f * d[y * n + x] + 10.0f * d[(y + 1) * n + x] + 3.0f * d[(y + 2) * n + x];
      const float iy = m[(y + 2) * n + x] - m[y * n + x];
      gx[y * n + x] = ix * 0.03125f;
      gy[y * n + x] = iy * 0.03125f;
    }
}

// Sums of the float members: each row in float, the row sums in double.
inline void OptFlowSumG(const float* gx, const float* gy, int n, int x0, int x1, int y0, int y1,
                        double out[3]) {
  double xx = 0, xy = 0, yy = 0;
  for (int y = y0; y <= y1; ++y) {
    float a = 0, b = 0, c = 0;
    const float* px = gx + y * n;
    const float* py = gy + y * n;
    for (int x = x0; x <= x1; ++x) {
      a += px[x] * px[x];
      b += px[x] * py[x];
      c += py[x] * py[x];
    }
    xx += a;
    xy += b;
    yy += c;
  }
  out[0] = xx, out[1] = xy, out[2] = yy;
}

inline void OptFlowSumB(const float* gx, const float* gy, const float* t, const float* w, int n, int x0,
                        int x1, int y0, int y1, double out[2]) {
  double sx = 0, sy = 0;
  for (int y = y0; y <= y1; ++y) {
    float a = 0, b = 0;
    const float* px = gx + y * n;
    const float* py = gy + y * n;
    const float* pt = t + (y + 1) * (n + 2) + 1;
    const float* pw = w + y * n;
    for (int x = x0; x <= x1; ++x) {
      const float e = pt[x] - pw[x];
      a += px[x] * e;
      b += py[x] * e;
    }
    sx += a;
    sy += b;
  }
  out[0] = sx, out[1] = sy;
}

// Sum of squared mismatches, exact for the integer member (64-bit per row).
template <class Win>
double OptFlowSumE2(const Win* t, const Win* w, int n, int x0, int x1, int y0, int y1) {
  double s = 0;
  for (int y = y0; y <= y1; ++y) {
    const Win* pt = t + (y + 1) * (n + 2) + 1;
    const Win* pw = w + y * n;
    if constexpr (sizeof(Win) == 2) {
      std::int64_t a = 0;
      for (int x = x0; x <= x1; ++x) {
        const std::int64_t e = std::int64_t(pt[x]) - std::int64_t(pw[x]);
        a += e * e;
      }
      s += double(a);
    } else {
      float a = 0;
      for (int x = x0; x <= x1; ++x) {
        const float e = pt[x] - pw[x];
        a += e * e;
      }
      s += a;
    }
  }
  return s;
}

}  // namespace ref
}  // namespace omb
