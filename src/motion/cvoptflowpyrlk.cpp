// Pyramidal Lucas-Kanade optical flow: fronts, the tracking state, per-call
// set-up, the two level groups and the per-point iteration.
//
// A point is tracked from the coarsest chosen level down to level 0. On
// every level a template window around the point's first-image position is
// compared with a window of the second image at the current estimate, and
// the estimate moves by the solution of the 2x2 normal equations until the
// step is small, oscillates or the iteration limit is reached.
//
// Coarse levels (both sides below the state's ROI) get their gradients
// once per level for all points, with the Scharr filters into the state's
// planes; the finer levels form one parallel region in which each point
// derives its template gradients from its own template window.
#include <omp.h>

#include <cfloat>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "frame/alloc.hpp"
#include "motion/optflow.hpp"
#include "ombcore.h"
#include "ombcv.h"

namespace omb {
namespace {

constexpr int kCode8u = 1;
constexpr int kCode16u = 3;
constexpr int kCode32f = 9;

// sqrt(2^-23): two successive steps this close to cancelling mean the
// estimate oscillates between two positions.
constexpr float kOscillation = 3.4526698e-4f;

long long Align64(long long v) { return (v + 63) / 64 * 64; }

// Every slice array is followed by this many spare bytes: the vector sums
// load whole vectors at a row's end and zero the lanes beyond it.
constexpr long long kPad = 128;

// Per-thread slice layout, in bytes, for window element size ws and gradient
// element size gs: template (n+2)^2, two windows n^2 (used in turn, so that
// the window of the last intersecting iteration survives a later sample
// that leaves the template for the error), two gradient windows n^2 and
// two rows of (n+2) x n row-filter results (4-byte elements).
struct SliceLayout {
  long long tmpl, win, win2, gx, gy, rowd, rowm, total;
};

SliceLayout Slice(int n, int ws, int gs) {
  SliceLayout s{};
  const long long n2 = 1LL * n * n, m2 = 1LL * (n + 2) * (n + 2);
  s.tmpl = 0;
  s.win = Align64(s.tmpl + m2 * ws + kPad);
  s.win2 = Align64(s.win + n2 * ws + kPad);
  s.gx = Align64(s.win2 + n2 * ws + kPad);
  s.gy = Align64(s.gx + n2 * gs + kPad);
  s.rowd = Align64(s.gy + n2 * gs + kPad);
  s.rowm = Align64(s.rowd + 1LL * (n + 2) * n * 4);
  s.total = Align64(s.rowm + 1LL * (n + 2) * n * 4);
  return s;
}

// Block layout: a header holding the Scharr buffer size the block was carved
// for, gradient planes x and y, the float copy of a 16u level, the Scharr
// buffer, then one slice per thread. The filters' buffer need follows the
// thread count, which may change after creation, so the carving is fixed by
// the size recorded in the header, never by a fresh query.
constexpr long long kHeader = 64;

struct BlockLayout {
  long long plane_x, plane_y, plane_f, scharr, slices, total;
  SliceLayout slice;
};

BlockLayout Layout(int type, int w, int h, int n, int threads, int scharr_bytes) {
  BlockLayout b{};
  const int elem = type == kCode8u ? 2 : 4;
  const long long plane = 1LL * (w + 5) * (h + 5);
  b.plane_x = kHeader;
  b.plane_y = Align64(b.plane_x + plane * elem);
  b.plane_f = Align64(b.plane_y + plane * elem);
  b.scharr = Align64(b.plane_f + (type == kCode16u ? plane * 4 : 0));
  b.slices = Align64(b.scharr + scharr_bytes);
  b.slice = Slice(n, type == kCode8u ? 2 : 4, type == kCode8u ? 2 : 4);
  b.total = b.slices + b.slice.total * threads;
  return b;
}

int CarvedScharrBytes(const OptFlowState* st) {
  int bytes;
  std::memcpy(&bytes, st->work, sizeof bytes);
  return bytes;
}

int ScharrBytes(int type, OmbRoiSize roi) {
  int a = 0, b = 0;
  if (type == kCode8u) {
    if (ombiFilterScharrHorizGetBufferSize_8u16s_C1R(roi, &a) != ombResultOk) return -1;
    if (ombiFilterScharrVertGetBufferSize_8u16s_C1R(roi, &b) != ombResultOk) return -1;
  } else {
    if (ombiFilterScharrHorizGetBufferSize_32f_C1R(roi, &a) != ombResultOk) return -1;
    if (ombiFilterScharrVertGetBufferSize_32f_C1R(roi, &b) != ombResultOk) return -1;
  }
  return a > b ? a : b;
}

// ---------------------------------------------------------------------------
// Types of one member.

struct Traits8u {
  using Pix = Omb8u;
  using Win = Omb16u;   // samples times 128
  using Grad = Omb16s;
  static constexpr int kCode = kCode8u;
  static constexpr double kErrorScale = 0.0078125;
  static OmbResult Sample(const Pix* src, int step, OmbRoiSize size, Win* dst, int n, int dst_w,
                          OmbPoint32f c, OmbPoint* lo, OmbPoint* hi) {
    return ombiCopySubpixIntersect_8u16u_C1R_Sfs(src, step, size, dst, n * 2, {dst_w, dst_w}, c, lo, hi,
                                                -7);
  }
};

struct Traits16u {
  using Pix = Omb16u;
  using Win = Omb32f;
  using Grad = Omb32f;
  static constexpr int kCode = kCode16u;
  static constexpr double kErrorScale = 1.0;
  static OmbResult Sample(const Pix* src, int step, OmbRoiSize size, Win* dst, int n, int dst_w,
                          OmbPoint32f c, OmbPoint* lo, OmbPoint* hi) {
    return ombiCopySubpixIntersect_16u32f_C1R(src, step, size, dst, n * 4, {dst_w, dst_w}, c, lo, hi);
  }
};

struct Traits32f {
  using Pix = Omb32f;
  using Win = Omb32f;
  using Grad = Omb32f;
  static constexpr int kCode = kCode32f;
  static constexpr double kErrorScale = 1.0;
  static OmbResult Sample(const Pix* src, int step, OmbRoiSize size, Win* dst, int n, int dst_w,
                          OmbPoint32f c, OmbPoint* lo, OmbPoint* hi) {
    return ombiCopySubpixIntersect_32f_C1R(src, step, size, dst, n * 4, {dst_w, dst_w}, c, lo, hi);
  }
};

// Limits a 32-bit gradient to 16 bits: below -32767 gives -32768, 32767 and
// above give 32767 (the lower limit is the asymmetric one on purpose).
inline Omb16s Limit16(std::int32_t v) {
  if (v < -32767) return -32768;
  if (v >= 32767) return 32767;
  return static_cast<Omb16s>(v);
}

// Template gradients over rows/columns [x0, x1] x [y0, y1] of the n x n
// gradient window; gradient (x, y) is centred on template sample (x+1, y+1).
// Integers: horizontal d = s[x+2] - s[x], m = 3s[x] + 10s[x+1] + 3s[x+2],
// then Ix = (3d[y] + 10d[y+1] + 3d[y+2] + 16) >> 5 and Iy = (m[y+2] - m[y]
// + 16) >> 5. Floats: the same sums times 1/32, so that both are
// derivatives per pixel.
void TemplateGradients(const Omb16u* t, int n, int x0, int x1, int y0, int y1, std::int32_t* d,
                       std::int32_t* m, Omb16s* gx, Omb16s* gy) {
  const int tw = n + 2;
  for (int y = y0; y <= y1 + 2; ++y) {
    const Omb16u* s = t + std::size_t(y) * tw;
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

void TemplateGradients(const float* t, int n, int x0, int x1, int y0, int y1, float* d, float* m,
                       float* gx, float* gy) {
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

// Fraction of a window origin as the sub-pixel copies take it: c - trunc(c),
// plus 1 when negative.
inline float Fraction(float c) {
  float f = c - std::trunc(c);
  if (f < 0.0f) f = f + 1.0f;
  return f;
}

// Q14 weight of a fraction, as the integer sub-pixel copies form it.
inline std::int32_t Q14(float f) { return static_cast<std::int32_t>(f * 16384.0f + 0.5f); }

// Gradient windows sampled from whole-level 16-bit Scharr planes. The plane
// holds 32 x the derivative of the 8-bit image and the windows must hold
// 128 x the derivative, so the Q14 bilinear sum is taken times 4 (shift 12
// instead of 14, rounding term 2^11) and limited like the template
// gradients (vector kernel of optflow_simd.cpp, defined in optflow_ref.hpp;
// plane rows are read a vector past the window, into the planes' margin of
// five columns and rows). (ox, oy) is the integer origin of the template
// window and (fx, fy) its fraction; gradient (x, y) sits on template sample
// (x+1, y+1).
void PlaneGradients(const Omb16s* px, const Omb16s* py, int stride, int ox, int oy, float fx, float fy,
                    int n, int x0, int x1, int y0, int y1, Omb16s* gx, Omb16s* gy) {
  const std::int32_t wx = Q14(fx), wy = Q14(fy), ux = 16384 - wx, uy = 16384 - wy;
  const std::int32_t w4[4] = {(ux * uy + 16384) >> 14, (wx * uy + 16384) >> 14, (ux * wy + 16384) >> 14,
                              (wx * wy + 16384) >> 14};
  const std::ptrdiff_t at = std::ptrdiff_t(oy + 1) * stride + (ox + 1);
  OptFlowPlane8u(px + at, py + at, stride, w4, n, x0, x1, y0, y1, gx, gy);
}

// Float planes hold the plain Scharr sums: sampled with the float sub-pixel
// copy and taken times 1/32.
void PlaneGradients(const float* px, const float* py, int stride, int ox, int oy, float fx, float fy,
                    int n, int x0, int x1, int y0, int y1, float* gx, float* gy) {
  const std::ptrdiff_t at = std::ptrdiff_t(oy + y0 + 1) * stride + (ox + x0 + 1);
  const OmbRoiSize roi{x1 - x0 + 1, y1 - y0 + 1};
  const int step = n * 4;
  ombiCopySubpix_32f_C1R(px + at, stride * 4, gx + y0 * n + x0, step, roi, fx, fy);
  ombiCopySubpix_32f_C1R(py + at, stride * 4, gy + y0 * n + x0, step, roi, fx, fy);
  for (int y = y0; y <= y1; ++y)
    for (int x = x0; x <= x1; ++x) {
      gx[y * n + x] *= 0.03125f;
      gy[y * n + x] *= 0.03125f;
    }
}

// Row sums of the normal equations. The 8-bit member sums each row exactly
// in 64-bit integers and adds the row sums in double (the vector kernels of
// optflow_simd.cpp, defined by optflow_ref.hpp; see frame/reduce.hpp);
// float members sum each row in float and add the row sums in double.
struct Sums {
  double xx, xy, yy;
};

void SumG(const Omb16s* gx, const Omb16s* gy, int n, int x0, int x1, int y0, int y1, Sums* g) {
  double s[3];
  OptFlowSumG8u(gx, gy, n, x0, x1, y0, y1, s);
  *g = {s[0], s[1], s[2]};
}

void SumG(const float* gx, const float* gy, int n, int x0, int x1, int y0, int y1, Sums* g) {
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
  *g = {xx, xy, yy};
}

// b = [sum Ix e, sum Iy e], e = template - window; template sample (x+1, y+1)
// meets window sample (x, y).
void SumB(const Omb16s* gx, const Omb16s* gy, const Omb16u* t, const Omb16u* w, int n, int x0, int x1,
          int y0, int y1, double* bx, double* by) {
  double s[2];
  OptFlowSumB8u(gx, gy, t, w, n, x0, x1, y0, y1, s);
  *bx = s[0];
  *by = s[1];
}

void SumB(const float* gx, const float* gy, const float* t, const float* w, int n, int x0, int x1, int y0,
          int y1, double* bx, double* by) {
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
  *bx = sx;
  *by = sy;
}

// Sum of squared mismatches, exact for the integer members (64-bit per row).
template <class Win>
double SumE2(const Win* t, const Win* w, int n, int x0, int x1, int y0, int y1) {
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

// ---------------------------------------------------------------------------
// One call.

// A point times a level factor: the product in double, rounded to float.
inline OmbPoint32f Scaled(OmbPoint32f p, double k) {
  return {static_cast<float>(double(p.x) * k), static_cast<float>(double(p.y) * k)};
}

template <class Tr>
struct Call {
  using Pix = typename Tr::Pix;
  using Win = typename Tr::Win;
  using Grad = typename Tr::Grad;
  using Dw = std::conditional_t<sizeof(Win) == 2, std::int32_t, float>;

  const OmbPyramidRecord* p1;
  const OmbPyramidRecord* p2;
  const OmbPoint32f* prev;
  OmbPoint32f* next;
  Omb8s* status;
  Omb32f* error;
  int n;
  int max_iter;
  float threshold;
  double f;  // carries an estimate one level down
  unsigned char* slices;
  SliceLayout sl;
  // Whole-level gradient planes of the current upper level.
  const Grad* plane_x;
  const Grad* plane_y;
  int stride;

  // Tracks point i over levels top .. bottom. The estimate is taken from
  // next (times scales[top]) when top is the first level of the call, else
  // from next as the level above left it (already in this level's units).
  void Track(int i, int top, int bottom, bool first, bool planes, unsigned char* slice) const {
    Win* tmpl = reinterpret_cast<Win*>(slice + sl.tmpl);
    Win* wins[2] = {reinterpret_cast<Win*>(slice + sl.win), reinterpret_cast<Win*>(slice + sl.win2)};
    const Win* last = wins[0];  // window of the last intersected rectangle
    Grad* gx = reinterpret_cast<Grad*>(slice + sl.gx);
    Grad* gy = reinterpret_cast<Grad*>(slice + sl.gy);
    Dw* rd = reinterpret_cast<Dw*>(slice + sl.rowd);
    Dw* rm = reinterpret_cast<Dw*>(slice + sl.rowm);
    const int tw = n + 2;
    OmbPoint32f g = next[i];
    if (first) g = Scaled(g, p1->scales[top]);
    int ex0 = 0, ex1 = -1, ey0 = 0, ey1 = -1;  // last intersected rectangle
    bool lost = false;
    int level = top;
    for (int L = top; L >= bottom; --L) {
      level = L;
      status[i] = static_cast<Omb8s>(L);
      // The error describes the windows of the level the point ends on.
      ex0 = 0, ex1 = -1, ey0 = 0, ey1 = -1;
      const OmbPoint32f p = Scaled(prev[i], p1->scales[L]);
      const OmbRoiSize s1 = p1->sizes[L], s2 = p2->sizes[L];
      const Pix* img1 = static_cast<const Pix*>(p1->images[L]);
      const Pix* img2 = static_cast<const Pix*>(p2->images[L]);
      OmbPoint lo{}, hi{};
      if (Tr::Sample(img1, p1->steps[L], s1, tmpl, tw, tw, p, &lo, &hi) != ombResultOk) {
        lost = true;
        break;
      }
      // Gradients need a valid sample on both sides: one sample off every
      // side of the valid rectangle, in gradient-window coordinates.
      const int tx0 = lo.x, tx1 = hi.x - 2, ty0 = lo.y, ty1 = hi.y - 2;
      if (tx0 <= tx1 && ty0 <= ty1) {
        if (planes) {
          const float ox0 = p.x - float(tw - 1) * 0.5f, oy0 = p.y - float(tw - 1) * 0.5f;
          const int ox = static_cast<int>(float(tw) + ox0) - tw;
          const int oy = static_cast<int>(float(tw) + oy0) - tw;
          PlaneGradients(plane_x, plane_y, stride, ox, oy, Fraction(ox0 - float(ox)), Fraction(oy0 - float(oy)),
                         n, tx0, tx1, ty0, ty1, gx, gy);
        } else {
          TemplateGradients(tmpl, n, tx0, tx1, ty0, ty1, rd, rm, gx, gy);
        }
      }
      const float span = float(s1.width + s1.height);
      float pdx = span, pdy = span;
      int rx0 = 0, rx1 = -1, ry0 = 0, ry1 = -1;
      Sums G{0, 0, 0};
      for (int k = 0; k < max_iter; ++k) {
        Win* win = wins[k & 1];
        if (Tr::Sample(img2, p2->steps[L], s2, win, n, n, g, &lo, &hi) != ombResultOk) {
          lost = true;
          break;
        }
        const int x0 = tx0 > lo.x ? tx0 : lo.x, x1 = tx1 < hi.x ? tx1 : hi.x;
        const int y0 = ty0 > lo.y ? ty0 : lo.y, y1 = ty1 < hi.y ? ty1 : hi.y;
        if (x0 > x1 || y0 > y1) {
          lost = true;
          break;
        }
        ex0 = x0, ex1 = x1, ey0 = y0, ey1 = y1;
        last = win;
        if (k == 0 || x0 != rx0 || x1 != rx1 || y0 != ry0 || y1 != ry1) {
          SumG(gx, gy, n, x0, x1, y0, y1, &G);
          rx0 = x0, rx1 = x1, ry0 = y0, ry1 = y1;
        }
        double bx = 0, by = 0;
        SumB(gx, gy, tmpl, win, n, x0, x1, y0, y1, &bx, &by);
        const double det = G.xx * G.yy - G.xy * G.xy;
        if (det < DBL_EPSILON) {
          lost = true;
          break;
        }
        const float dx = static_cast<float>((G.yy * bx - G.xy * by) / det);
        const float dy = static_cast<float>((G.xx * by - G.xy * bx) / det);
        g.x += dx;
        g.y += dy;
        if (dx * dx + dy * dy < threshold) break;
        if (std::fabs(dx + pdx) < kOscillation && std::fabs(dy + pdy) < kOscillation) {
          g.x -= 0.5f * dx;
          g.y -= 0.5f * dy;
          break;
        }
        pdx = dx;
        pdy = dy;
      }
      if (lost) break;
      if (L == 0) {
        status[i] = 0;
      } else {
        g = Scaled(g, f);
      }
    }
    if (lost) {
      status[i] = static_cast<Omb8s>(level + 1);
      next[i] = Scaled(g, 1.0 / p1->scales[level]);
    } else {
      next[i] = g;  // level 0 coordinates after level 0, else the next level's
    }
    if (lost || bottom == 0) {
      const double area = double(ex1 - ex0 + 1) * double(ey1 - ey0 + 1);
      const double s = ex1 >= ex0 && ey1 >= ey0 ? SumE2(tmpl, last, n, ex0, ex1, ey0, ey1) : 0.0;
      error[i] = s > 0 ? static_cast<float>(std::sqrt(s / area) * Tr::kErrorScale) : 0.0f;
    }
  }
};

// Runs body(i, slice) for points [0, count): thread t takes points
// t*c .. (t+1)*c - 1 with c = count / threads, the last one the rest.
template <class Body>
void ForkPoints(int count, int threads, unsigned char* slices, long long slice_bytes, const Body& body) {
  const bool may_fork = threads > 1 && omp_get_active_level() < omp_get_max_active_levels();
#pragma omp parallel num_threads(threads) if (may_fork)
  {
    const int granted = omp_get_num_threads();
    const int c = count / threads;
    for (int t = omp_get_thread_num(); t < threads; t += granted) {
      const int first = t * c, last = t == threads - 1 ? count : first + c;
      unsigned char* slice = slices + slice_bytes * t;
      for (int i = first; i < last; ++i) body(i, slice);
    }
  }
}

// Whole-level Scharr gradients of level L of the first pyramid into the
// planes (row stride w + 5 elements). Returns false when a filter fails.
bool LevelGradients(const OptFlowState* st, const BlockLayout& bl, const OmbPyramidRecord* p, int L) {
  const OmbRoiSize roi = p->sizes[L];
  const int stride = st->width + 5;
  unsigned char* work = st->work;
  const int need = ScharrBytes(st->type, roi);
  if (need < 0) return false;
  unsigned char* buf = work + bl.scharr;
  void* extra = nullptr;
  if (need > CarvedScharrBytes(st)) {  // thread count raised since creation
    extra = ombAlignedAlloc(need);
    if (extra == nullptr) return false;
    buf = static_cast<unsigned char*>(extra);
  }
  bool ok = true;
  if (st->type == kCode8u) {
    const Omb8u* src = static_cast<const Omb8u*>(p->images[L]);
    Omb16s* px = reinterpret_cast<Omb16s*>(work + bl.plane_x);
    Omb16s* py = reinterpret_cast<Omb16s*>(work + bl.plane_y);
    ok = ombiFilterScharrVertBorder_8u16s_C1R(src, p->steps[L], px, stride * 2, roi, ombBorderReplicate, 0,
                                              buf) == ombResultOk &&
         ombiFilterScharrHorizBorder_8u16s_C1R(src, p->steps[L], py, stride * 2, roi, ombBorderReplicate, 0,
                                               buf) == ombResultOk;
  } else {
    const float* src = static_cast<const float*>(p->images[L]);
    int step = p->steps[L];
    if (st->type == kCode16u) {
      float* pf = reinterpret_cast<float*>(work + bl.plane_f);
      for (int y = 0; y < roi.height; ++y) {
        const Omb16u* s = reinterpret_cast<const Omb16u*>(static_cast<const unsigned char*>(p->images[L]) +
                                                           std::ptrdiff_t(y) * p->steps[L]);
        for (int x = 0; x < roi.width; ++x) pf[std::ptrdiff_t(y) * stride + x] = float(s[x]);
      }
      src = pf;
      step = stride * 4;
    }
    float* px = reinterpret_cast<float*>(work + bl.plane_x);
    float* py = reinterpret_cast<float*>(work + bl.plane_y);
    ok = ombiFilterScharrVertBorder_32f_C1R(src, step, px, stride * 4, roi, ombBorderReplicate, 0.0f, buf) ==
             ombResultOk &&
         ombiFilterScharrHorizBorder_32f_C1R(src, step, py, stride * 4, roi, ombBorderReplicate, 0.0f, buf) ==
             ombResultOk;
  }
  ombAlignedFree(extra);
  return ok;
}

template <class Tr>
OmbResult Track(const OmbPyramidRecord* p1, const OmbPyramidRecord* p2, const OmbPoint32f* prev,
                OmbPoint32f* next, Omb8s* status, Omb32f* error, int count, int max_level, int max_iter,
                float threshold, OptFlowState* st) {
  // Levels beyond either record's top level do not exist.
  int top = max_level;
  if (top > p1->level) top = p1->level;
  if (top > p2->level) top = p2->level;
  const BlockLayout bl = Layout(st->type, st->width, st->height, st->win, st->threads, CarvedScharrBytes(st));
  int threads = 1;
  ombGetNumThreads(&threads);
  if (threads > st->threads) threads = st->threads;
  if (threads < 1) threads = 1;

  Call<Tr> c{};
  c.p1 = p1, c.p2 = p2, c.prev = prev, c.next = next, c.status = status, c.error = error;
  c.n = st->win, c.max_iter = max_iter, c.threshold = threshold;
  // With a top level of 1 the estimate goes down to level 0 unscaled; only
  // deeper calls carry it by the first record's level ratio.
  c.f = top > 1 ? 1.0 / p1->scales[1] : 1.0;
  c.slices = st->work + bl.slices;
  c.sl = bl.slice;
  c.plane_x = reinterpret_cast<const typename Tr::Grad*>(st->work + bl.plane_x);
  c.plane_y = reinterpret_cast<const typename Tr::Grad*>(st->work + bl.plane_y);
  c.stride = st->width + 5;

  for (int i = 0; i < count; ++i) status[i] = static_cast<Omb8s>(top + 1);

  // Upper group: levels from the top whose width and height are both below
  // the state's ROI.
  int L = top;
  for (; L >= 0; --L) {
    const OmbRoiSize s = p1->sizes[L];
    if (s.width >= st->width || s.height >= st->height) break;
    if (!LevelGradients(st, bl, p1, L)) return ombResultNoMemory;
    const bool first = L == top;
    const int level = L;
    ForkPoints(count, threads, c.slices, bl.slice.total, [&](int i, unsigned char* slice) {
      if (status[i] == level + 1) c.Track(i, level, level, first, true, slice);
    });
  }
  if (L >= 0) {
    const bool first = L == top;
    const int level = L;
    ForkPoints(count, threads, c.slices, bl.slice.total, [&](int i, unsigned char* slice) {
      if (status[i] == level + 1) c.Track(i, level, 0, first, false, slice);
    });
  }
  return ombResultOk;
}

template <class Tr, class State>
OmbResult Front(OmbPyramidRecord* p1, OmbPyramidRecord* p2, const OmbPoint32f* prev, OmbPoint32f* next,
                Omb8s* status, Omb32f* error, int count, int win, int max_level, int max_iter, float threshold,
                State* state) {
  if (p1 == nullptr || p2 == nullptr || state == nullptr || prev == nullptr || next == nullptr ||
      status == nullptr || error == nullptr)
    return ombResultNullPointer;
  OptFlowState* st = reinterpret_cast<OptFlowState*>(state);
  if (count < 1 || win < 1 || win != st->win) return ombResultBadSize;
  if (max_level < 0 || max_iter < 1) return ombResultBadArgument;
  if (threshold < 0.0f) return ombResultBadArgument;
  return Track<Tr>(p1, p2, prev, next, status, error, count, max_level, max_iter, threshold, st);
}

OmbResult InitAlloc(void** result, OmbRoiSize roi, int win, int hint, int type) {
  if (result == nullptr) return ombResultNullPointer;
  if (win < 1 || roi.height < 1 || roi.width < 1) return ombResultBadSize;
  int threads = 1;
  ombGetNumThreads(&threads);
  if (threads < 1) threads = 1;
  const int scharr = ScharrBytes(type, {roi.width + 5, roi.height + 5});
  const long long bytes = OptFlowWorkBytes(type, roi.width, roi.height, win, threads, scharr);
  if (scharr < 0 || bytes < 0) return ombResultNoMemory;
  OptFlowState* st = static_cast<OptFlowState*>(ombAlignedAlloc(static_cast<int>(sizeof(OptFlowState))));
  if (st == nullptr) return ombResultNoMemory;
  st->work = static_cast<unsigned char*>(ombAlignedAlloc(static_cast<int>(bytes)));
  if (st->work == nullptr) {
    ombAlignedFree(st);
    return ombResultNoMemory;
  }
  st->width = roi.width, st->height = roi.height, st->threads = threads;
  st->type = type, st->hint = hint, st->win = win;
  std::memcpy(st->work, &scharr, sizeof scharr);
  *result = st;
  return ombResultOk;
}

OmbResult Free(void* state) {
  if (state == nullptr) return ombResultNullPointer;
  OptFlowState* st = static_cast<OptFlowState*>(state);
  ombAlignedFree(st->work);
  ombAlignedFree(st);
  return ombResultOk;
}

}  // namespace

long long OptFlowFormulaBytes(int type, int w, int h, int n, int t, int B) {
  const long long s = 1LL * (n + 3) * (n + 3), plane = 1LL * (w + 5) * (h + 5);
  if (type == kCode8u)
    return 2 * (B + 2 * plane) + 8 * s + 16LL * (2 * n + 6) * (n + 3) + t * (24 * s + 52) + 16 * s * t + 10;
  const long long P = 2LL * (4 * n + 12) * (n + 3) + 4 * s, Q = 4 * P + 4;
  const long long planes = type == kCode16u ? 3 * plane : 2 * plane;
  return 4 * (P + B + planes) + Q * t + 40LL * t + 16 * s * t + 4;
}

long long OptFlowWorkBytes(int type, int w, int h, int n, int t, int B) {
  const long long a = OptFlowFormulaBytes(type, w, h, n, t, B);
  const long long b = Layout(type, w, h, n, t, B).total;
  const long long r = a > b ? a : b;
  return r > 0x7fffffffLL ? -1 : r;
}

}  // namespace omb

static_assert(sizeof(omb::OptFlowState) == 32, "the state record is 32 bytes");

extern "C" {

OMB_API OmbResult ombiOpticalFlowPyrLKInitAlloc_8u_C1R(OmbOptFlowPyrLKState_8u_C1R** ppState, OmbRoiSize roiSize, int winSize, int hint) {
  return omb::InitAlloc(reinterpret_cast<void**>(ppState), roiSize, winSize, hint, omb::kCode8u);
}

OMB_API OmbResult ombiOpticalFlowPyrLKInitAlloc_16u_C1R(OmbOptFlowPyrLKState_16u_C1R** ppState, OmbRoiSize roiSize, int winSize, int hint) {
  return omb::InitAlloc(reinterpret_cast<void**>(ppState), roiSize, winSize, hint, omb::kCode16u);
}

OMB_API OmbResult ombiOpticalFlowPyrLKInitAlloc_32f_C1R(OmbOptFlowPyrLKState_32f_C1R** ppState, OmbRoiSize roiSize, int winSize, int hint) {
  return omb::InitAlloc(reinterpret_cast<void**>(ppState), roiSize, winSize, hint, omb::kCode32f);
}

OMB_API OmbResult ombiOpticalFlowPyrLK_8u_C1R(OmbPyramidRecord* pPyr1, OmbPyramidRecord* pPyr2, const OmbPoint32f* pPrev, OmbPoint32f* pNext, Omb8s* pStatus, Omb32f* pError, int numFeat, int winSize, int maxLevel, int maxIter, Omb32f threshold, OmbOptFlowPyrLKState_8u_C1R* pState) {
  return omb::Front<omb::Traits8u>(pPyr1, pPyr2, pPrev, pNext, pStatus, pError, numFeat, winSize, maxLevel, maxIter, threshold, pState);
}

OMB_API OmbResult ombiOpticalFlowPyrLK_16u_C1R(OmbPyramidRecord* pPyr1, OmbPyramidRecord* pPyr2, const OmbPoint32f* pPrev, OmbPoint32f* pNext, Omb8s* pStatus, Omb32f* pError, int numFeat, int winSize, int maxLevel, int maxIter, Omb32f threshold, OmbOptFlowPyrLKState_16u_C1R* pState) {
  return omb::Front<omb::Traits16u>(pPyr1, pPyr2, pPrev, pNext, pStatus, pError, numFeat, winSize, maxLevel, maxIter, threshold, pState);
}

OMB_API OmbResult ombiOpticalFlowPyrLK_32f_C1R(OmbPyramidRecord* pPyr1, OmbPyramidRecord* pPyr2, const OmbPoint32f* pPrev, OmbPoint32f* pNext, Omb8s* pStatus, Omb32f* pError, int numFeat, int winSize, int maxLevel, int maxIter, Omb32f threshold, OmbOptFlowPyrLKState_32f_C1R* pState) {
  return omb::Front<omb::Traits32f>(pPyr1, pPyr2, pPrev, pNext, pStatus, pError, numFeat, winSize, maxLevel, maxIter, threshold, pState);
}

// The three typed Free functions are one routine.
OMB_API OmbResult ombiOpticalFlowPyrLKFree_8u_C1R(OmbOptFlowPyrLKState_8u_C1R* pState) { return omb::Free(pState); }

OMB_API OmbResult ombiOpticalFlowPyrLKFree_16u_C1R(OmbOptFlowPyrLKState_16u_C1R* pState) { return omb::Free(pState); }

OMB_API OmbResult ombiOpticalFlowPyrLKFree_32f_C1R(OmbOptFlowPyrLKState_32f_C1R* pState) { return omb::Free(pState); }

}  // extern "C"
