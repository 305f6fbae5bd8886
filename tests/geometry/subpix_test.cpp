// ombiCopySubpix_* and ombiCopySubpixIntersect_* against the plain per-pixel
// reference beside the kernels and a window-geometry model written here, on
// random images with padded, odd and misaligned steps, on every SIMD target;
// hand-worked values that pin the reference (Q14 weights with their
// whole-unit rounding term, scale factors with negative shifts, the float
// summation order); windows crossing every side of the source and lying
// wholly outside it; and the order of the argument checks.
#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <type_traits>
#include <vector>

#include "ombcv.h"
#include "support/arg_check.hpp"
#include "support/test_image.hpp"
#include "geometry/subpix_ref.hpp"

namespace omb_test {
namespace {

// ---- model ------------------------------------------------------------------
// The per-pixel arithmetic is the plain reference beside the kernels; the
// hand-worked values below pin it. The window geometry is modelled here.

namespace ref = omb::ref;

// The weights of one member for given fractions and scale factor.
struct Weights {
  int q[4];
  float f[4];
  int shift;
};

Weights MakeWeights(float fx, float fy, int scale) {
  Weights w{};
  ref::SubpixWeightsQ14(fx, fy, w.q);
  ref::SubpixWeightsFloat(fx, fy, w.f);
  w.shift = static_cast<int>(std::clamp<long long>(14LL + scale, -64, 64));
  return w;
}

// Destination pixel from the 2x2 samples at (x, y) .. (x + 1, y + 1).
template <class S, class D>
D ModelPixel(const Weights& w, const TestImage<S>& src, int x, int y) {
  const void* r0 = src.PixelBytes(0, y);
  const void* r1 = src.PixelBytes(0, y + 1);
  if constexpr (std::is_same_v<D, Omb32f>) {
    return ref::SubpixPixelFloat<S>(r0, r1, x, w.f);
  } else {
    return static_cast<D>(ref::SubpixRound(ref::SubpixSumQ14<S>(r0, r1, x, w.q), w.shift,
                                           sizeof(D) == 1 ? 255u : 65535u));
  }
}

template <class T>
bool Same(T got, T want) {
  if constexpr (std::is_same_v<T, float>) {
    return std::isnan(want) ? std::isnan(got) : FloatBits(got) == FloatBits(want);
  } else {
    return got == want;
  }
}

template <class T>
std::string Show(T v) {
  if constexpr (std::is_same_v<T, float>) {
    char b[64];
    std::snprintf(b, sizeof b, "%.9g (0x%08x)", v, FloatBits(v));
    return b;
  } else {
    return std::to_string(v);
  }
}

// Integer part of the window origin: trunc(t) limited to 32 bits, NaN as
// -2^31.
long long TruncOrigin(float t) {
  if (std::isnan(t)) return INT_MIN;
  if (t >= 2147483648.0f) return 2147483648LL;
  if (t <= -2147483648.0f) return INT_MIN;
  return static_cast<long long>(std::trunc(t));
}

// The origin, min and max rules on one axis.
struct Axis {
  long long i;
  float frac;
  int lo, hi;
};
Axis AxisModel(float c, int n, int len) {
  Axis a;
  const float o = c - static_cast<float>(n - 1) * 0.5f;
  const float t = static_cast<float>(n) + o;
  a.i = TruncOrigin(t) - n;
  a.frac = ref::SubpixFraction(o - static_cast<float>(a.i));
  long long lo = a.i < 0 ? -a.i : 0;
  if (lo > n) lo = n;
  long long hi = (a.i + n - 1 > len - 2) ? len - 2 - a.i : n - 1;
  if (a.i >= len) {
    lo = 0;
    hi = -1;
  }
  a.lo = static_cast<int>(lo);
  a.hi = static_cast<int>(hi);
  return a;
}

// ---- the members as uniform callables ---------------------------------------

template <class S, class D>
using CopyFn = std::function<OmbResult(const S*, int, D*, int, OmbRoiSize, float, float, int)>;
template <class S, class D>
using IsectFn = std::function<OmbResult(const S*, int, OmbRoiSize, D*, int, OmbRoiSize,
                                        OmbPoint32f, OmbPoint*, OmbPoint*, int)>;

template <class S, class D>
CopyFn<S, D> Plain(OmbResult (*fn)(const S*, int, D*, int, OmbRoiSize, Omb32f, Omb32f)) {
  return [fn](const S* s, int ss, D* d, int ds, OmbRoiSize r, float dx, float dy, int) {
    return fn(s, ss, d, ds, r, dx, dy);
  };
}
template <class S, class D>
IsectFn<S, D> Plain(OmbResult (*fn)(const S*, int, OmbRoiSize, D*, int, OmbRoiSize,
                                    OmbPoint32f, OmbPoint*, OmbPoint*)) {
  return [fn](const S* s, int ss, OmbRoiSize sr, D* d, int ds, OmbRoiSize w, OmbPoint32f p,
              OmbPoint* mn, OmbPoint* mx, int) { return fn(s, ss, sr, d, ds, w, p, mn, mx); };
}

Layout RandomLayout(Rng& rng, int elem_bytes, bool aligned) {
  Layout l;
  l.off_x = static_cast<int>(rng() % 3);
  l.off_y = static_cast<int>(rng() % 2);
  l.rows_below = 1 + static_cast<int>(rng() % 2);
  if (aligned) {
    l.pad_bytes = elem_bytes * static_cast<int>(rng() % 5);
    l.shift = elem_bytes * static_cast<int>(rng() % 4);
  } else {
    // The source step of the 16- and 32-bit members has no alignment test:
    // odd steps and odd starting addresses must work.
    l.pad_bytes = static_cast<int>(rng() % 9);
    l.shift = static_cast<int>(rng() % 8);
  }
  return l;
}

// The six source/destination pairs: the copy and the intersect member of
// each, under one signature; only 8u16u takes a scale factor.
template <class S, class D>
struct Member {
  const char* copy_name;
  CopyFn<S, D> copy;
  const char* isect_name;
  IsectFn<S, D> isect;
  bool sfs;
};
template <class Fn>
void ForEachMember(const Fn& fn) {
  fn(Member<Omb8u, Omb8u>{"ombiCopySubpix_8u_C1R", Plain(ombiCopySubpix_8u_C1R),
                     "ombiCopySubpixIntersect_8u_C1R", Plain(ombiCopySubpixIntersect_8u_C1R), false});
  fn(Member<Omb8u, Omb16u>{"ombiCopySubpix_8u16u_C1R_Sfs", ombiCopySubpix_8u16u_C1R_Sfs,
                           "ombiCopySubpixIntersect_8u16u_C1R_Sfs",
                           ombiCopySubpixIntersect_8u16u_C1R_Sfs, true});
  fn(Member<Omb8u, Omb32f>{"ombiCopySubpix_8u32f_C1R", Plain(ombiCopySubpix_8u32f_C1R),
                     "ombiCopySubpixIntersect_8u32f_C1R", Plain(ombiCopySubpixIntersect_8u32f_C1R), false});
  fn(Member<Omb16u, Omb16u>{"ombiCopySubpix_16u_C1R", Plain(ombiCopySubpix_16u_C1R),
                     "ombiCopySubpixIntersect_16u_C1R", Plain(ombiCopySubpixIntersect_16u_C1R), false});
  fn(Member<Omb16u, Omb32f>{"ombiCopySubpix_16u32f_C1R", Plain(ombiCopySubpix_16u32f_C1R),
                     "ombiCopySubpixIntersect_16u32f_C1R", Plain(ombiCopySubpixIntersect_16u32f_C1R), false});
  fn(Member<Omb32f, Omb32f>{"ombiCopySubpix_32f_C1R", Plain(ombiCopySubpix_32f_C1R),
                     "ombiCopySubpixIntersect_32f_C1R", Plain(ombiCopySubpixIntersect_32f_C1R), false});
}

// Offsets with and without whole parts (only the fraction may count),
// fractions next to 0 and 1 where the Q14 rounding turns over, and
// non-finite ones.
const float kOffsets[] = {0.0f, 0.25f, 2.25f, -0.25f, 0.5f, 0.75f, -1.75f, 0.999999f,
                          1e-9f, -1e-9f, 0.33333334f, 123.7f, -7.1f, 1.0f - 0x1p-24f,
                          0.99997f, 3.00003f, 1e30f, NAN, INFINITY, -INFINITY, 0x1p-30f};

// ---- CopySubpix ------------------------------------------------------------

// Sizes up to 21x21 and every row width from 1 to 70 (every vector length,
// the overlapping last vector and the scalar rows). Per size: an offset of
// the table on x alone, table offsets on both axes (each offset is met on
// each axis by every member and scale), random fractions, and a constant
// source at the top of the range, where 16-bit results are limited to 65535.
template <class S, class D>
void CheckCopy(const CopyFn<S, D>& fn, int scale, Rng& rng) {
  std::vector<OmbRoiSize> sizes = {{1, 1}, {2, 3}, {7, 5}, {21, 21}, {16, 2},
                                   {33, 4}, {64, 3}, {67, 9}, {8, 1}, {31, 2}};
  for (int w = 1; w <= 70; ++w) sizes.push_back({w, 2});
  std::size_t ix = 0, iy = 0;
  for (OmbRoiSize r : sizes) {
    for (int rep = 0; rep < 4; ++rep) {
      TestImage<S> src(r.width + 1, r.height + 1,
                       RandomLayout(rng, sizeof(S), sizeof(S) == 1));
      TestImage<D> dst(r.width, r.height, RandomLayout(rng, sizeof(D), true));
      FillRandom(src, rng, 0.05);
      FillRandom(dst, rng, 0.0);
      float dx = 0.0f, dy = 0.0f;
      if (rep < 2) {
        dx = kOffsets[ix++ % std::size(kOffsets)];
        dy = rep == 0 ? 0.0f : kOffsets[iy++ % std::size(kOffsets)];
      } else if (rep == 2) {
        dx = static_cast<float>(rng() % 1000) / 997.0f;
        dy = static_cast<float>(rng() % 1000) / 991.0f;
      } else {
        const S top = std::is_same_v<S, Omb32f> ? S(3.0e38f)
                                                : static_cast<S>(sizeof(S) == 1 ? 255 : 65535);
        for (int y = 0; y <= r.height; ++y)
          for (int x = 0; x <= r.width; ++x) src.Set(x, y, top);
        src.Snapshot();
        dy = r.width % 2 ? 0.0f : 0x1p-15f;
      }
      SCOPED_TRACE(::testing::Message() << r.width << "x" << r.height << " dx " << dx
                                        << " dy " << dy << " scale " << scale);
      ASSERT_EQ(fn(src.Roi(), src.Step(), dst.Roi(), dst.Step(), r, dx, dy, scale), ombResultOk);
      const Weights w = MakeWeights(ref::SubpixFraction(dx), ref::SubpixFraction(dy), scale);
      for (int y = 0; y < r.height; ++y) {
        for (int x = 0; x < r.width; ++x) {
          const D want = ModelPixel<S, D>(w, src, x, y);
          const D got = dst.Get(x, y);
          ASSERT_TRUE(Same(got, want)) << "pixel (" << x << ", " << y << "): got " << Show(got)
                                       << ", want " << Show(want);
        }
      }
      ASSERT_TRUE(dst.GuardsIntact());
      ASSERT_TRUE(src.Unchanged());
    }
  }
}

// Shifts either side of 14 and 16 (the weights' scale and the 16-bit
// limit), large ones of both signs and the int limits.
const int kCopyScales[] = {-7, -8, -9, -1, -13, -14, -15, -16, -17, -20, -30, 0, 1, 5,
                           7, 9, 17, 18, 22, 23, 24, 25, 31, 32, 50, INT_MIN, INT_MAX};

TEST(CopySubpix, MatchesModelOnEveryTarget) {
  ForEachSimdTarget([] {
    Rng rng(101);
    ForEachMember([&](const auto& m) {
      for (int scale : kCopyScales) {
        if (m.sfs || scale == 0) CheckCopy(m.copy, scale, rng);
      }
    });
  });
}

// Values worked by hand from the weight and rounding formulas, so that the
// model itself is checked.
TEST(CopySubpix, HandWorkedValues) {
  // dx = 0.25: wx = 4096, ux = 12288; dy = 0: wy = 0, uy = 16384. Weights
  // w00 = 12289, w10 = 4097, w01 = 1, w11 = 1 (the whole-unit rounding term
  // adds one to each). Source columns 0 and 100.
  const Omb8u src8[2][2] = {{0, 100}, {0, 100}};
  Omb8u d8 = 0;
  ASSERT_EQ(ombiCopySubpix_8u_C1R(&src8[0][0], 2, &d8, 1, {1, 1}, 0.25f, 0.0f), ombResultOk);
  EXPECT_EQ(d8, 25);  // (4097 * 100 + 100 + 8192) >> 14 = 417992 >> 14
  ASSERT_EQ(ombiCopySubpix_8u_C1R(&src8[0][0], 2, &d8, 1, {1, 1}, -0.25f, 0.0f), ombResultOk);
  // dx = -0.25 uses 0.75: w10 = (12288 * 16384 + 16384) >> 14 = 12289.
  EXPECT_EQ(d8, 75);  // (12289 * 100 + 100 + 8192) >> 14 = 1237192 >> 14

  // 8u16u at fraction 0: weights 16385, 1, 1, 1; shift 14 + scale.
  struct Scaled {
    Omb8u s00, others;
    int scale, want;
  };
  for (const Scaled& c : {
           Scaled{255, 255, -7, (16388 * 255 + 64) >> 7},  // 32648, not 255 * 128
           Scaled{255, 255, -14, 65535},                     // 16388 * 255, limited
           Scaled{1, 0, -16, 65535},                         // 16385 << 2
           Scaled{1, 0, -12, 4096},                          // (16385 + 2) >> 2
           Scaled{1, 0, 4, 0},                               // (16385 + 2^17) >> 18
       }) {
    const Omb8u s[2][2] = {{c.s00, c.others}, {c.others, c.others}};
    Omb16u d16 = 0;
    ASSERT_EQ(ombiCopySubpix_8u16u_C1R_Sfs(&s[0][0], 2, &d16, 2, {1, 1}, 0.0f, 0.0f, c.scale),
              ombResultOk);
    EXPECT_EQ(d16, c.want) << "scale " << c.scale;
  }

  // 16u at fraction 0: 65535 x 16388 >> 14 = 65550, stored as 65535.
  const Omb16u big[2][2] = {{65535, 65535}, {65535, 65535}};
  Omb16u d16 = 0;
  ASSERT_EQ(ombiCopySubpix_16u_C1R(&big[0][0], 4, &d16, 2, {1, 1}, 0.0f, 0.0f), ombResultOk);
  EXPECT_EQ(d16, 65535);
  const Omb16u mid[2][2] = {{1000, 3000}, {5000, 7000}};
  ASSERT_EQ(ombiCopySubpix_16u_C1R(&mid[0][0], 4, &d16, 2, {1, 1}, 0.5f, 0.5f), ombResultOk);
  // All four weights (8192 * 8192 + 16384) >> 14 = 4097.
  EXPECT_EQ(d16, (4097 * 16000 + 8192) >> 14);

  // Float: weights (0.75, 0.25) x (0.5, 0.5), summed in formula order.
  const float f[2][2] = {{0.0f, 1.0f}, {10.0f, 11.0f}};
  float d = 0.0f;
  ASSERT_EQ(ombiCopySubpix_32f_C1R(&f[0][0], 8, &d, 4, {1, 1}, 0.25f, -0.5f), ombResultOk);
  EXPECT_EQ(d, 5.25f);
}
// ---- CopySubpixIntersect -----------------------------------------------------

template <class S, class D>
void CheckIntersectOne(const IsectFn<S, D>& fn, int scale, const TestImage<S>& src,
                       OmbRoiSize win, OmbPoint32f c, Rng& rng) {
  SCOPED_TRACE(::testing::Message() << "source " << src.Width() << "x" << src.Height()
                                    << " window " << win.width << "x" << win.height
                                    << " centre (" << c.x << ", " << c.y << ") scale " << scale);
  TestImage<D> dst(win.width, win.height, RandomLayout(rng, sizeof(D), true));
  FillRandom(dst, rng, 0.0);
  const TestImage<D> before(dst);
  OmbPoint mn{-99, -99}, mx{-99, -99};
  ASSERT_EQ(fn(src.Roi(), src.Step(), src.Size(), dst.Roi(), dst.Step(), win, c, &mn, &mx, scale),
            ombResultOk);
  const Axis ax = AxisModel(c.x, win.width, src.Width());
  const Axis ay = AxisModel(c.y, win.height, src.Height());
  ASSERT_EQ(mn.x, ax.lo);
  ASSERT_EQ(mx.x, ax.hi);
  ASSERT_EQ(mn.y, ay.lo);
  ASSERT_EQ(mx.y, ay.hi);
  const Weights w = MakeWeights(ax.frac, ay.frac, scale);
  for (int y = 0; y < win.height; ++y) {
    for (int x = 0; x < win.width; ++x) {
      const D got = dst.Get(x, y);
      if (x >= ax.lo && x <= ax.hi && y >= ay.lo && y <= ay.hi) {
        const int sx = static_cast<int>(ax.i + x), sy = static_cast<int>(ay.i + y);
        ASSERT_TRUE(sx >= 0 && sx + 1 < src.Width() && sy >= 0 && sy + 1 < src.Height());
        const D want = ModelPixel<S, D>(w, src, sx, sy);
        ASSERT_TRUE(Same(got, want)) << "pixel (" << x << ", " << y << "): got " << Show(got)
                                     << ", want " << Show(want);
      } else {
        ASSERT_EQ(std::memcmp(dst.PixelBytes(x, y), before.PixelBytes(x, y), sizeof(D)), 0)
            << "pixel (" << x << ", " << y << ") outside [min, max] was written";
      }
    }
  }
  EXPECT_TRUE(dst.GuardsIntact());
  EXPECT_TRUE(src.Unchanged());
}

template <class S, class D>
void CheckIntersect(const IsectFn<S, D>& fn, int scale, Rng& rng) {
  const OmbRoiSize srcs[] = {{1, 1}, {2, 2}, {5, 4}, {30, 20}, {3, 40}};
  const OmbRoiSize wins[] = {{1, 1}, {2, 3}, {5, 5}, {21, 21}, {23, 7}, {40, 3}, {17, 2}};
  for (OmbRoiSize sr : srcs) {
    TestImage<S> src(sr.width, sr.height, RandomLayout(rng, sizeof(S), sizeof(S) == 1));
    FillRandom(src, rng, 0.05);
    for (OmbRoiSize win : wins) {
      // Centres from well left of / above the source to well right of /
      // below it, so that the window crosses every side and lies wholly
      // outside on every side.
      for (int k = 0; k < 14; ++k) {
        const float span_x = static_cast<float>(sr.width + 2 * win.width + 4);
        const float span_y = static_cast<float>(sr.height + 2 * win.height + 4);
        const float u = static_cast<float>(rng() % 100000) / 100000.0f;
        const float v = static_cast<float>(rng() % 100000) / 100000.0f;
        OmbPoint32f c{-static_cast<float>(win.width) - 2.0f + u * span_x,
                      -static_cast<float>(win.height) - 2.0f + v * span_y};
        if (k % 5 == 1) c.x = std::round(c.x * 2.0f) * 0.5f;  // whole and half centres
        if (k % 5 == 2) c.y = std::round(c.y);
        CheckIntersectOne(fn, scale, src, win, c, rng);
      }
    }
    for (OmbPoint32f c : {OmbPoint32f{NAN, 1.0f}, OmbPoint32f{1.0f, NAN},
                          OmbPoint32f{INFINITY, 1.0f}, OmbPoint32f{-INFINITY, 1.0f},
                          OmbPoint32f{1.0f, 3e9f}, OmbPoint32f{-3e9f, -3e9f},
                          OmbPoint32f{-1e-7f, 2.9999998f}, OmbPoint32f{0.5f, 0.5f}}) {
      CheckIntersectOne(fn, scale, src, {5, 3}, c, rng);
    }
  }
}

TEST(CopySubpixIntersect, MatchesModelOnEveryTarget) {
  ForEachSimdTarget([] {
    Rng rng(202);
    ForEachMember([&](const auto& m) {
      for (int scale : {0, -7, 3, -10, -15, 40, INT_MIN}) {
        if (m.sfs || scale == 0) CheckIntersect(m.isect, scale, rng);
      }
    });
  });
}

// Geometry worked by hand: a 10x10 source, a 5x5 window (centre offset 2).
struct GeoCase {
  float cx, cy;
  OmbPoint mn, mx;
};

TEST(CopySubpixIntersect, WindowOnEverySide) {
  const GeoCase cases[] = {
      {4.0f, 4.0f, {0, 0}, {4, 4}},      // inside: origin (2, 2)
      {0.5f, 4.0f, {2, 0}, {4, 4}},      // left: x0 = -1.5, ix = trunc(3.5) - 5 = -2
      {8.5f, 4.0f, {0, 0}, {2, 4}},      // right: ix = 6, max.x = 10 - 2 - 6
      {4.0f, -0.25f, {0, 3}, {4, 4}},    // top: y0 = -2.25, iy = trunc(2.75) - 5 = -3
      {4.0f, 9.0f, {0, 0}, {4, 1}},      // bottom: iy = 7, max.y = 10 - 2 - 7
      {-1.0f, -1.0f, {3, 3}, {4, 4}},    // top-left corner
      {9.9f, 9.9f, {0, 0}, {1, 1}},      // bottom-right corner: ix = 7, max 10 - 2 - 7
      {-3.5f, 4.0f, {5, 0}, {4, 4}},     // wholly left: min.x = 5 (limited), max.x = 4
      {4.0f, -6.0f, {0, 5}, {4, 4}},     // wholly above
      {12.0f, 4.0f, {0, 0}, {-1, 4}},    // wholly right: ix = 10 >= srcW
      {4.0f, 12.5f, {0, 0}, {4, -1}},    // wholly below
      {11.5f, 4.0f, {0, 0}, {-1, 4}},    // ix = 9 = srcW - 1: max.x = -1 by step 3
      {-30.5f, 4.0f, {5, 0}, {4, 4}},    // origin below -W: trunc is not a floor
  };
  Rng rng(5);
  TestImage<Omb8u> src(10, 10);
  FillRandom(src, rng, 0.0);
  for (const GeoCase& g : cases) {
    SCOPED_TRACE(::testing::Message() << "centre (" << g.cx << ", " << g.cy << ")");
    TestImage<Omb16u> dst(5, 5);
    FillRandom(dst, rng, 0.0);
    OmbPoint mn{-99, -99}, mx{-99, -99};
    ASSERT_EQ(ombiCopySubpixIntersect_8u16u_C1R_Sfs(src.Roi(), src.Step(), src.Size(), dst.Roi(),
                                                    dst.Step(), {5, 5}, {g.cx, g.cy}, &mn, &mx, -7),
              ombResultOk);
    EXPECT_EQ(mn.x, g.mn.x);
    EXPECT_EQ(mn.y, g.mn.y);
    EXPECT_EQ(mx.x, g.mx.x);
    EXPECT_EQ(mx.y, g.mx.y);
    if (g.mx.x < g.mn.x || g.mx.y < g.mn.y) {
      EXPECT_TRUE(dst.Unchanged()) << "nothing to copy";
    }
  }
}

// ---- argument checks --------------------------------------------------------

template <class S, class D>
ArgFront CopyFront(const char* name, CopyFn<S, D> fn) {
  ArgFront f;
  f.name = name;
  ArgImage src{ElemOf<S>()}, dst{ElemOf<D>(), true};
  src.align_tested = false;  // only the destination step is tested (-108)
  src.extra_rows = 1;        // one row below the ROI is read
  f.images = {src, dst};
  f.defaults = {0.25, 0.5, -7};
  f.call = [fn](const CallArgs& a) {
    return fn(a.P<const S>(0), a.step[0], a.P<D>(1), a.step[1], a.roi,
              static_cast<float>(a.p[0]), static_cast<float>(a.p[1]), static_cast<int>(a.p[2]));
  };
  return f;
}

TEST(CopySubpix, ChecksArgumentsInOrder) {
  ForEachMember([](const auto& m) { ExpectCheckOrder(CopyFront(m.copy_name, m.copy)); });
}

// The harness knows one ROI: it is the source size here; the window size is
// two parameters checked with the sizes, and the destination row length
// follows the window width.
template <class S, class D>
ArgFront IsectFront(const char* name, IsectFn<S, D> fn) {
  constexpr int kWinW = 5, kWinH = 4, kHarnessW = 11;
  ArgFront f;
  f.name = name;
  ArgImage src{ElemOf<S>()}, dst{ElemOf<D>(), true};
  src.align_tested = false;
  dst.extra_cols = kWinW - kHarnessW;
  dst.extra_rows = 1;
  ArgImage pt{Elem::k32s, true};
  pt.pointer_only = true;
  f.images = {src, dst, pt, pt};
  f.params = {{0, {0, -1, INT_MIN}, ombResultBadSize, true},
              {1, {0, -3}, ombResultBadSize, true}};
  f.defaults = {kWinW, kWinH, 5.0, 1.5, -7};
  f.extra_elems = [](const CallArgs& a, std::size_t i) -> long long {
    return i == 1 ? static_cast<long long>(a.p[0]) - a.roi.width : 0;
  };
  f.call = [fn](const CallArgs& a) {
    return fn(a.P<const S>(0), a.step[0], a.roi, a.P<D>(1), a.step[1],
              {static_cast<int>(a.p[0]), static_cast<int>(a.p[1])},
              {static_cast<float>(a.p[2]), static_cast<float>(a.p[3])}, a.P<OmbPoint>(2),
              a.P<OmbPoint>(3), static_cast<int>(a.p[4]));
  };
  return f;
}

TEST(CopySubpixIntersect, ChecksArgumentsInOrder) {
  ForEachMember([](const auto& m) { ExpectCheckOrder(IsectFront(m.isect_name, m.isect)); });
}

}  // namespace
}  // namespace omb_test
