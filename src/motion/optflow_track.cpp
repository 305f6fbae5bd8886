// Pyramidal Lucas-Kanade tracking on checked arguments: the two level
// groups and the per-point iteration.
//
// A point is tracked from the coarsest chosen level down to level 0. On
// every level a template window around the point's first-image position is
// compared with a window of the second image at the current estimate, and
// the estimate moves by the solution of the 2x2 normal equations until the
// step is small, oscillates or the iteration limit is reached.
//
// Coarse levels (both sides below the state's ROI) get their gradients
// once per level for all points, with the Scharr filter kernel into the
// state's planes; the finer levels form one parallel region in which each
// point derives its template gradients from its own template window.
// Windows are sampled with the sub-pixel kernels; the window sums of the
// 8-bit member are the vector kernels of optflow_simd.cpp, those of the
// float members the plain forms of optflow_ref.hpp.
#include <omp.h>

#include <cfloat>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "filters/newconvol.hpp"
#include "frame/carve.hpp"
#include "frame/check.hpp"
#include "frame/image.hpp"
#include "frame/parallel.hpp"
#include "geometry/subpix.hpp"
#include "motion/optflow.hpp"
#include "motion/optflow_ref.hpp"

namespace omb {
namespace {

// sqrt(2^-23): two successive steps this close to cancelling mean the
// estimate oscillates between two positions.
constexpr float kOscillation = 3.4526698e-4f;

int CarvedScharrBytes(const OptFlowState* st) {
  int bytes;
  std::memcpy(&bytes, st->work, sizeof bytes);
  return bytes;
}

// Types of one member.

struct Traits8u {
  using Pix = std::uint8_t;
  using Win = std::uint16_t;  // samples times 128
  using Grad = std::int16_t;
  static constexpr double kErrorScale = 0.0078125;
  static constexpr SubpixKind kSample = SubpixKind::k8u16u;
  static constexpr int kScale = -7;
};

// The float members: 16u or 32f levels, float windows and gradients.
template <class P>
struct TraitsFloat {
  using Pix = P;
  using Win = float;
  using Grad = float;
  static constexpr double kErrorScale = 1.0;
  static constexpr SubpixKind kSample = sizeof(P) == 2 ? SubpixKind::k16u32f : SubpixKind::k32f;
  static constexpr int kScale = 0;
};

// A level of a pyramid record as the sub-pixel kernels read it. A level
// whose image, size or step would fail the sub-pixel copy's checks cannot
// be sampled: every point that reaches it is lost.
struct Level {
  const void* image;
  int step;
  OmbRoiSize size;
  bool ok;
};

template <class Pix>
Level LevelOf(const OmbPyramidRecord* p, int L) {
  const Level v{p->images[L], p->steps[L], p->sizes[L], false};
  const bool ok = v.image != nullptr && v.size.width >= 1 && v.size.height >= 1 &&
                  std::int64_t{v.step} >= std::int64_t{v.size.width} * std::int64_t{sizeof(Pix)};
  return {v.image, v.step, v.size, ok};
}

// n x n window (row pitch n elements) of `level` centred on c; false when
// the level cannot be sampled.
template <class Tr>
bool Sample(const Level& level, typename Tr::Win* dst, int n, OmbPoint32f c, OmbPoint* lo, OmbPoint* hi) {
  if (!level.ok) return false;
  SubpixIntersect(Tr::kSample, level.image, level.step, level.size, dst,
                  n * static_cast<int>(sizeof(typename Tr::Win)), {n, n}, c, lo, hi, Tr::kScale);
  return true;
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
void PlaneGradients(const std::int16_t* px, const std::int16_t* py, int stride, int ox, int oy, float fx,
                    float fy, int n, int x0, int x1, int y0, int y1, std::int16_t* gx, std::int16_t* gy) {
  const std::int32_t wx = Q14(fx), wy = Q14(fy), ux = 16384 - wx, uy = 16384 - wy;
  const std::int32_t w4[4] = {(ux * uy + 16384) >> 14, (wx * uy + 16384) >> 14, (ux * wy + 16384) >> 14,
                              (wx * wy + 16384) >> 14};
  const std::ptrdiff_t at = std::ptrdiff_t(oy + 1) * stride + (ox + 1);
  OptFlowPlane8u(px + at, py + at, stride, w4, n, x0, x1, y0, y1, gx, gy);
}

// Float planes hold the plain Scharr sums: sampled with the float sub-pixel
// kernel and taken times 1/32.
void PlaneGradients(const float* px, const float* py, int stride, int ox, int oy, float fx, float fy, int n,
                    int x0, int x1, int y0, int y1, float* gx, float* gy) {
  const std::ptrdiff_t at = std::ptrdiff_t(oy + y0 + 1) * stride + (ox + x0 + 1);
  const OmbRoiSize roi{x1 - x0 + 1, y1 - y0 + 1};
  const int step = n * 4;
  SubpixCopy(SubpixKind::k32f, px + at, stride * 4, gx + y0 * n + x0, step, roi, fx, fy, 0);
  SubpixCopy(SubpixKind::k32f, py + at, stride * 4, gy + y0 * n + x0, step, roi, fx, fy, 0);
  for (int y = y0; y <= y1; ++y)
    for (int x = x0; x <= x1; ++x) {
      gx[y * n + x] *= 0.03125f;
      gy[y * n + x] *= 0.03125f;
    }
}

// Normal-equation sums: the 8-bit member through the vector kernels (each
// row exact in 64-bit integers, the rows added in double; see
// frame/reduce.hpp), the float members by their plain forms.
void SumG(const std::int16_t* gx, const std::int16_t* gy, int n, int x0, int x1, int y0, int y1,
          double g[3]) {
  OptFlowSumG8u(gx, gy, n, x0, x1, y0, y1, g);
}
void SumG(const float* gx, const float* gy, int n, int x0, int x1, int y0, int y1, double g[3]) {
  ref::OptFlowSumG(gx, gy, n, x0, x1, y0, y1, g);
}

// b = [sum Ix e, sum Iy e], e = template - window; template sample (x+1, y+1)
// meets window sample (x, y).
void SumB(const std::int16_t* gx, const std::int16_t* gy, const std::uint16_t* t, const std::uint16_t* w,
          int n, int x0, int x1, int y0, int y1, double b[2]) {
  OptFlowSumB8u(gx, gy, t, w, n, x0, x1, y0, y1, b);
}
void SumB(const float* gx, const float* gy, const float* t, const float* w, int n, int x0, int x1, int y0,
          int y1, double b[2]) {
  ref::OptFlowSumB(gx, gy, t, w, n, x0, x1, y0, y1, b);
}

// A point times a level factor: the product in double, rounded to float.
inline OmbPoint32f Scaled(OmbPoint32f p, double k) {
  return {static_cast<float>(double(p.x) * k), static_cast<float>(double(p.y) * k)};
}

template <class Tr>
struct Tracker {
  using Pix = typename Tr::Pix;
  using Win = typename Tr::Win;
  using Grad = typename Tr::Grad;
  using Dw = std::conditional_t<sizeof(Win) == 2, std::int32_t, float>;

  const OptFlowCall& call;
  int n;
  double f;  // carries an estimate one level down
  // Whole-level gradient planes of the current upper level.
  const Grad* plane_x;
  const Grad* plane_y;
  int stride;

  // Tracks point i over levels top .. bottom. The estimate is taken from
  // next (times scales[top]) when top is the first level of the call, else
  // from next as the level above left it (already in this level's units).
  void Track(int i, int top, int bottom, bool first, bool planes, std::uint8_t* slice_block) const {
    const OmbPyramidRecord* p1 = call.p1;
    const OmbPyramidRecord* p2 = call.p2;
    OmbPoint32f* next = call.next;
    Omb8s* status = call.status;
    Carver carver(slice_block, 1);
    const OptFlowSlice sl(carver, n, static_cast<int>(sizeof(Win)));
    Win* tmpl = reinterpret_cast<Win*>(sl.tmpl);
    Win* wins[2] = {reinterpret_cast<Win*>(sl.win[0]), reinterpret_cast<Win*>(sl.win[1])};
    const Win* last = wins[0];  // window of the last intersected rectangle
    Grad* gx = reinterpret_cast<Grad*>(sl.gx);
    Grad* gy = reinterpret_cast<Grad*>(sl.gy);
    Dw* rd = reinterpret_cast<Dw*>(sl.rowd);
    Dw* rm = reinterpret_cast<Dw*>(sl.rowm);
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
      const OmbPoint32f p = Scaled(call.prev[i], p1->scales[L]);
      const Level l1 = LevelOf<Pix>(p1, L), l2 = LevelOf<Pix>(p2, L);
      OmbPoint lo{}, hi{};
      if (!Sample<Tr>(l1, tmpl, tw, p, &lo, &hi)) {
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
          ref::OptFlowTemplateGradients(tmpl, n, tx0, tx1, ty0, ty1, rd, rm, gx, gy);
        }
      }
      const float span = float(l1.size.width + l1.size.height);
      float pdx = span, pdy = span;
      int rx0 = 0, rx1 = -1, ry0 = 0, ry1 = -1;
      double G[3] = {0, 0, 0};
      for (int k = 0; k < call.max_iter; ++k) {
        Win* win = wins[k & 1];
        if (!Sample<Tr>(l2, win, n, g, &lo, &hi)) {
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
          SumG(gx, gy, n, x0, x1, y0, y1, G);
          rx0 = x0, rx1 = x1, ry0 = y0, ry1 = y1;
        }
        double b[2] = {0, 0};
        SumB(gx, gy, tmpl, win, n, x0, x1, y0, y1, b);
        const double det = G[0] * G[2] - G[1] * G[1];
        if (det < DBL_EPSILON) {
          lost = true;
          break;
        }
        const float dx = static_cast<float>((G[2] * b[0] - G[1] * b[1]) / det);
        const float dy = static_cast<float>((G[0] * b[1] - G[1] * b[0]) / det);
        g.x += dx;
        g.y += dy;
        if (dx * dx + dy * dy < call.threshold) break;
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
      const double s = ex1 >= ex0 && ey1 >= ey0 ? ref::OptFlowSumE2(tmpl, last, n, ex0, ex1, ey0, ey1) : 0.0;
      call.error[i] = s > 0 ? static_cast<float>(std::sqrt(s / area) * Tr::kErrorScale) : 0.0f;
    }
  }
};

// Runs body(i, slice) for points [0, count): thread t takes points
// t*c .. (t+1)*c - 1 with c = count / threads, the last one the rest.
template <class Body>
void ForkPoints(int count, int threads, std::uint8_t* slices, std::int64_t slice_bytes, const Body& body) {
  const bool may_fork = threads > 1 && omp_get_active_level() < omp_get_max_active_levels();
#pragma omp parallel num_threads(threads) if (may_fork)
  {
    const int granted = omp_get_num_threads();
    const int c = count / threads;
    for (int t = omp_get_thread_num(); t < threads; t += granted) {
      const int first = t * c, last = t == threads - 1 ? count : first + c;
      std::uint8_t* slice = slices + slice_bytes * t;
      for (int i = first; i < last; ++i) body(i, slice);
    }
  }
}

// Whole-level Scharr gradients (replicate border) of level L of the first
// pyramid into the planes (row stride w + 5 elements), the filter kernel
// working in the Scharr area the block was carved with. Returns false when
// the level fails the filter's checks.
bool LevelGradients(const OptFlowState* st, PixType type, const OptFlowBlock& bl, const OmbPyramidRecord* p,
                    int L) {
  const OmbRoiSize roi = p->sizes[L];
  const int stride = st->width + 5;
  const bool integer = type == PixType::k8u;
  const void* src = p->images[L];
  int step = p->steps[L];
  Checks checks(roi);
  if (type == PixType::k16u) {
    const Plane<const std::uint16_t> s{static_cast<const std::uint16_t*>(src), step};
    const Plane<float> f{reinterpret_cast<float*>(bl.plane_f), stride * 4};
    for (int y = 0; y < roi.height; ++y) {
      const std::uint16_t* in = s.Row(y);
      float* out = f.Row(y);
      for (int x = 0; x < roi.width; ++x) out[x] = float(in[x]);
    }
    src = f.data;
    step = f.step;
  } else if (integer) {
    checks.InUnaligned(static_cast<const std::uint8_t*>(src), step);
  } else {
    checks.In(static_cast<const float*>(src), step);
  }
  if (checks.Status() != ombResultOk) return false;
  FixedJob job{};
  job.out = integer ? FixedOut::k16s : FixedOut::k32f;
  job.mask = 3;
  job.src = src;
  job.src_step = step;
  job.dst_step = stride * (integer ? 2 : 4);
  job.roi = roi;
  job.border = ombBorderReplicate;
  job.border_value = 0.0f;
  job.scale = 1.0f;
  auto run = [&](FixedKind kind, std::uint8_t* dst) {
    job.kind = kind;
    job.dst = dst;
    return FixedFilterRun(job, bl.scharr, CarvedScharrBytes(st)) == ombResultOk;
  };
  return run(FixedKind::kScharrVert, bl.plane_x) && run(FixedKind::kScharrHoriz, bl.plane_y);
}

template <class Tr>
OmbResult TrackAll(const OptFlowCall& call) {
  OptFlowState* st = call.state;
  const PixType type = PixTypeOfCode(st->type);
  const OmbPyramidRecord* p1 = call.p1;
  Omb8s* status = call.status;
  // Levels beyond either record's top level do not exist.
  int top = call.max_level;
  if (top > p1->level) top = p1->level;
  if (top > call.p2->level) top = call.p2->level;
  Carver carver(st->work, 1);
  const OptFlowBlock bl(carver, type, st->width, st->height, st->win, st->threads, CarvedScharrBytes(st));
  int threads = BandCount();
  if (threads > st->threads) threads = st->threads;

  // With a top level of 1 the estimate goes down to level 0 unscaled; only
  // deeper calls carry it by the first record's level ratio.
  const Tracker<Tr> c{call,
                      st->win,
                      top > 1 ? 1.0 / p1->scales[1] : 1.0,
                      reinterpret_cast<const typename Tr::Grad*>(bl.plane_x),
                      reinterpret_cast<const typename Tr::Grad*>(bl.plane_y),
                      st->width + 5};

  for (int i = 0; i < call.count; ++i) status[i] = static_cast<Omb8s>(top + 1);

  // Upper group: levels from the top whose width and height are both below
  // the state's ROI.
  int L = top;
  for (; L >= 0; --L) {
    const OmbRoiSize s = p1->sizes[L];
    if (s.width >= st->width || s.height >= st->height) break;
    if (!LevelGradients(st, type, bl, p1, L)) return ombResultNoMemory;
    const bool first = L == top;
    const int level = L;
    ForkPoints(call.count, threads, bl.slices, bl.slice_bytes, [&](int i, std::uint8_t* slice) {
      if (status[i] == level + 1) c.Track(i, level, level, first, true, slice);
    });
  }
  if (L >= 0) {
    const bool first = L == top;
    const int level = L;
    ForkPoints(call.count, threads, bl.slices, bl.slice_bytes, [&](int i, std::uint8_t* slice) {
      if (status[i] == level + 1) c.Track(i, level, 0, first, false, slice);
    });
  }
  return ombResultOk;
}

}  // namespace

OmbResult OptFlowTrack(const OptFlowCall& call) {
  switch (call.member) {
    case PixType::k8u:
      return TrackAll<Traits8u>(call);
    case PixType::k16u:
      return TrackAll<TraitsFloat<std::uint16_t>>(call);
    default:
      return TrackAll<TraitsFloat<float>>(call);
  }
}

}  // namespace omb
