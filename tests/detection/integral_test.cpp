// Integral tables and the rectangle statistics read from them: argument
// check order (the rectangle is checked last and only by the upright
// deviation forms), and bitwise agreement on every SIMD target with tables
// made from the plain row definitions beside the kernels. Deviations follow
// the listed steps on those tables, with offsets that make the 32-bit
// tables wrap; direct sums over the pixels pin both.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <functional>
#include <string>
#include <type_traits>
#include <vector>

#include "detection/integral_ref.hpp"
#include "ombcv.h"
#include "support/arg_check.hpp"

namespace omb_test {
namespace {

template <class T>
T Wrap(std::int64_t v) {
  return static_cast<T>(static_cast<std::int32_t>(static_cast<std::uint32_t>(v)));
}

// Row-major table of (h + 1) x (w + 1) (upright) or (h + 2) x (w + 2), made
// row by row with the plain row definitions beside the kernels; the
// deviation test below pins them against direct sums.
template <class T, bool kSquare>
std::vector<T> IntegralModel(const TestImage<Omb8u>& src, int w, int h, T val, bool tilted) {
  const int e = tilted ? 2 : 1, cols = w + e;
  std::vector<T> t(static_cast<std::size_t>(cols) * (h + e), val);
  for (int r = e; r < h + e; ++r) {
    T* out = &t[static_cast<std::size_t>(r) * cols];
    const Omb8u* s = src.PixelBytes(0, r - e);
    if (!tilted) {
      omb::ref::RunOf<T> run = 0;
      omb::ref::UprightRow<kSquare>(s, 0, w, out - cols, out, run);
    } else {
      out[0] = out[1 - cols];
      omb::ref::TiltedRow<kSquare>(s, 1, w + 1, out - cols, out - 2 * cols, out);
      out[w + 1] = out[w - cols];
    }
  }
  return t;
}

// Writes a row-major table into the ROI of an image of the same size.
template <class T>
void Put(TestImage<T>& img, const std::vector<T>& t) {
  for (int y = 0; y < img.Height(); ++y)
    for (int x = 0; x < img.Width(); ++x)
      img.Set(x, y, t[static_cast<std::size_t>(y) * img.Width() + x]);
}

// ---- integral tables ------------------------------------------------------

struct NoSq {};  // the plain forms have no square table

// One source shape: ROI size, row padding (bytes), ROI offset, start shift.
struct Shape {
  int w, h, pad, off_x, off_y, shift;
};

struct IntFront {
  ArgFront arg;
  // Runs the front on a random image of `shape` (or a constant one) and
  // expects the model's tables, guards included.
  std::function<void(const Shape&, int constant, double val, double val_sqr)> run;
};

template <class TS, class TQ, class Call>
IntFront MakeIntegral(const char* name, bool tilted, Call call) {
  constexpr bool kSq = !std::is_same_v<TQ, NoSq>;
  const int extra = tilted ? 2 : 1;
  IntFront f;
  f.arg.name = name;
  f.arg.images.push_back({Elem::k8u, false, false});
  f.arg.images.push_back({ElemOf<TS>(), true, true, false, 1, extra, extra});
  if constexpr (kSq) f.arg.images.push_back({ElemOf<TQ>(), true, true, false, 1, extra, extra});
  f.arg.defaults = {5, 9};
  f.arg.call = [call](const CallArgs& a) {
    if constexpr (kSq) {
      return call(a.P<Omb8u>(0), a.step[0], a.P<TS>(1), a.step[1], a.P<TQ>(2), a.step[2],
                  a.roi, static_cast<TS>(a.p[0]), static_cast<TQ>(a.p[1]));
    } else {
      return call(a.P<Omb8u>(0), a.step[0], a.P<TS>(1), a.step[1], a.roi,
                  static_cast<TS>(a.p[0]));
    }
  };
  f.run = [call, tilted, extra](const Shape& s, int constant, double val, double val_sqr) {
    SCOPED_TRACE(::testing::Message() << s.w << "x" << s.h << " pad " << s.pad);
    // The source is one pixel wider than the ROI: a tilted table reads it.
    TestImage<Omb8u> src(s.w + 1, s.h, {s.pad, s.off_x, s.off_y, 1, s.shift});
    Rng rng(s.w * 131 + s.h);
    if (constant >= 0) {
      for (int y = 0; y < s.h; ++y)
        for (int x = 0; x <= s.w; ++x) src.Set(x, y, static_cast<Omb8u>(constant));
      src.Snapshot();
    } else {
      FillRandom(src, rng, 0.1);
    }
    const Layout tl{s.pad * 4, s.off_x, s.off_y + 1, 2, s.shift * 4};
    TestImage<TS> sum(s.w + extra, s.h + extra, tl);
    TestImage<TS> want_sum(sum);
    Put(want_sum, IntegralModel<TS, false>(src, s.w, s.h, static_cast<TS>(val), tilted));
    OmbResult st;
    if constexpr (kSq) {
      TestImage<TQ> sqr(s.w + extra, s.h + extra, {s.pad * 8, s.off_y, s.off_x, 1, 0});
      TestImage<TQ> want_sqr(sqr);
      Put(want_sqr, IntegralModel<TQ, true>(src, s.w, s.h, static_cast<TQ>(val_sqr), tilted));
      st = call(src.Roi(), src.Step(), sum.Roi(), sum.Step(), sqr.Roi(), sqr.Step(),
                OmbRoiSize{s.w, s.h}, static_cast<TS>(val), static_cast<TQ>(val_sqr));
      EXPECT_TRUE(SameBytes(sqr, want_sqr)) << "square table";
    } else {
      st = call(src.Roi(), src.Step(), sum.Roi(), sum.Step(), OmbRoiSize{s.w, s.h},
                static_cast<TS>(val));
    }
    EXPECT_EQ(st, ombResultOk);
    EXPECT_TRUE(SameBytes(sum, want_sum)) << "sum table";
    EXPECT_TRUE(src.Unchanged());
  };
  return f;
}

const std::vector<IntFront>& IntegralFronts() {
  using I = Omb32s;
  using F = Omb32f;
  using D = Omb64f;
  static const std::vector<IntFront> fronts = {
      MakeIntegral<I, NoSq>("ombiIntegral_8u32s_C1R", false, ombiIntegral_8u32s_C1R),
      MakeIntegral<F, NoSq>("ombiIntegral_8u32f_C1R", false, ombiIntegral_8u32f_C1R),
      MakeIntegral<I, I>("ombiSqrIntegral_8u32s_C1R", false, ombiSqrIntegral_8u32s_C1R),
      MakeIntegral<I, D>("ombiSqrIntegral_8u32s64f_C1R", false, ombiSqrIntegral_8u32s64f_C1R),
      MakeIntegral<F, D>("ombiSqrIntegral_8u32f64f_C1R", false, ombiSqrIntegral_8u32f64f_C1R),
      MakeIntegral<I, NoSq>("ombiTiltedIntegral_8u32s_C1R", true, ombiTiltedIntegral_8u32s_C1R),
      MakeIntegral<F, NoSq>("ombiTiltedIntegral_8u32f_C1R", true, ombiTiltedIntegral_8u32f_C1R),
      MakeIntegral<I, I>("ombiTiltedSqrIntegral_8u32s_C1R", true, ombiTiltedSqrIntegral_8u32s_C1R),
      MakeIntegral<I, D>("ombiTiltedSqrIntegral_8u32s64f_C1R", true, ombiTiltedSqrIntegral_8u32s64f_C1R),
      MakeIntegral<F, D>("ombiTiltedSqrIntegral_8u32f64f_C1R", true, ombiTiltedSqrIntegral_8u32f64f_C1R),
  };
  return fronts;
}

using Integral = FrontSuite<IntFront, IntegralFronts>;

TEST_P(Integral, ChecksArgumentsInOrder) { ExpectCheckOrder(front().arg); }

// Widths 1..40 reach every tail of 4-lane groups and of 16-lane vectors;
// the wide ones run long interiors; offsets near the 32-bit limits wrap.
TEST_P(Integral, MatchesModelOnEveryTarget) {
  ForEachSimdTarget([&] {
    for (int w = 1; w <= 40 && !HasFailure(); ++w)
      front().run({w, 1 + w % 4, w % 3, w % 2, w % 3, w % 4}, -1, w % 2 ? 0 : -7 * w, 3.5 * w);
    front().run({1, 1, 0, 0, 0, 0}, -1, 7, 2);  // one pixel: a 2x2 (tilted 3x3) table
    for (const Shape& s : {Shape{67, 9, 1, 1, 0, 1}, Shape{1000, 3, 0, 0, 1, 0}})
      front().run(s, -1, INT_MAX - 3, -1e6);
  });
}

// Rows whose square sum passes 2^31 leave the 32-bit prefix for doubles;
// an all-255 image wraps the 32-bit square table.
TEST_P(Integral, WideAndSaturatedImages) {
  front().run({33025, 2, 0, 0, 0, 0}, 255, 1, 2);
  front().run({33026, 2, 0, 0, 0, 0}, 255, 1, 2);
  front().run({300, 300, 0, 1, 1, 0}, 255, -5, 3);
}

INSTANTIATE_TEST_SUITE_P(All, Integral, Integral::All(), Integral::Name);

// ---- rectangle deviation --------------------------------------------------

struct StdFront {
  ArgFront arg;
  // Image w0 x h0 (random, or `constant` when >= 0), rectangle, scale.
  std::function<void(int w0, int h0, OmbRect r, int sf, int constant)> run;
};

// Columns (beyond the ROI width) and rows the tables need for `r`.
long long ExtraCols(bool tilted, const OmbRect& r) {
  return tilted ? 0LL + r.x + r.y + r.width + r.height - 1 : 0LL + r.x + r.width;
}

template <class TS, class TQ, class TD>
TD StdDevModel(bool tilted, const std::vector<TS>& s, const std::vector<TQ>& q, int cols,
                int row, int col, OmbRect r, int sf) {
  auto at = [&](int dr, int dc) { return static_cast<std::size_t>(row + dr) * cols + col + dc; };
  std::size_t k[4];  // upright A, B, C, D; tilted P1, P2, P3, P4
  if (tilted) {
    const int r0 = r.x + r.y, c0 = r.x - r.y;
    k[0] = at(r0, c0), k[1] = at(r0 + r.width, c0 + r.width);
    k[2] = at(r0 + r.height, c0 - r.height), k[3] = at(r0 + r.width + r.height, c0 + r.width - r.height);
  } else {
    k[0] = at(r.y, r.x), k[1] = at(r.y, r.x + r.width);
    k[2] = at(r.y + r.height, r.x), k[3] = at(r.y + r.height, r.x + r.width);
  }
  TS t;
  TQ u;
  if constexpr (std::is_integral_v<TS>) {
    const std::int64_t d = tilted ? std::int64_t{s[k[3]]} - s[k[2]] + s[k[0]] - s[k[1]]
                                  : std::int64_t{s[k[3]]} - s[k[1]] - s[k[2]] + s[k[0]];
    t = Wrap<TS>(d);
  } else {
    t = tilted ? s[k[3]] - s[k[2]] + s[k[0]] - s[k[1]] : s[k[3]] - s[k[1]] - s[k[2]] + s[k[0]];
  }
  if constexpr (std::is_integral_v<TQ>) {
    u = Wrap<TQ>(std::int64_t{q[k[3]]} - q[k[1 + tilted]] - q[k[2 - tilted]] + q[k[0]]);
  } else {
    u = q[k[3]] - q[k[1 + tilted]] - q[k[2 - tilted]] + q[k[0]];
  }
  using V = std::conditional_t<std::is_same_v<TQ, double>, double, float>;
  const V area = static_cast<float>(r.width * r.height * (tilted ? 2 : 1));
  const V mean = static_cast<V>(t) / area;
  V var = static_cast<V>(u) / area - mean * mean;
  if (!(var > 0)) var = 0;
  const float dev = std::sqrt(static_cast<float>(var));
  if constexpr (std::is_same_v<TD, float>) {
    return dev;
  } else {
    const float f = sf >= 0 ? 1.0f / static_cast<float>(1 << sf) : static_cast<float>(1 << -sf);
    return static_cast<Omb32s>(dev * f + 0.5f);
  }
}

template <bool kTilted, class TS, class TQ, class TD, class Fn>
StdFront MakeStdDev(const char* name, Fn fn) {
  StdFront f;
  const OmbRect def = kTilted ? OmbRect{2, 1, 2, 1} : OmbRect{1, 1, 2, 2};
  const int cols = static_cast<int>(ExtraCols(kTilted, def));
  const int rows = kTilted ? 6 : 3;
  f.arg.name = name;
  f.arg.images = {{ElemOf<TS>(), false, true, false, 1, cols, rows},
                  {ElemOf<TQ>(), false, true, false, 1, cols, rows},
                  {ElemOf<TD>(), true}};
  f.arg.defaults = {1.0 * def.x, 1.0 * def.y, 1.0 * def.width, 1.0 * def.height, 1};
  if (!kTilted) {
    f.arg.params = {{0, {-1}, ombResultBadSize}, {1, {-1}, ombResultBadSize},
                    {2, {0, -2}, ombResultBadSize}, {3, {0}, ombResultBadSize}};
  }
  auto rect_of = [](const CallArgs& a) {
    return OmbRect{int(a.p[0]), int(a.p[1]), int(a.p[2]), int(a.p[3])};
  };
  f.arg.extra_elems = [rect_of](const CallArgs& a, std::size_t i) {
    return i < 2 ? ExtraCols(kTilted, rect_of(a)) : 0LL;
  };
  auto call = [fn](const TS* s, int ss, const TQ* q, int qs, TD* d, int ds, OmbRoiSize roi,
                   OmbRect r, int sf) {
    if constexpr (std::is_same_v<TD, Omb32s>) {
      return fn(s, ss, q, qs, d, ds, roi, r, sf);
    } else {
      return fn(s, ss, q, qs, d, ds, roi, r);
    }
  };
  f.arg.call = [call, rect_of](const CallArgs& a) {
    return call(a.P<TS>(0), a.step[0], a.P<TQ>(1), a.step[1], a.P<TD>(2), a.step[2], a.roi,
                rect_of(a), int(a.p[4]));
  };
  f.run = [call](int w0, int h0, OmbRect r, int sf, int constant) {
    SCOPED_TRACE(::testing::Message() << w0 << "x" << h0 << " rect " << r.x << "," << r.y
                                      << " " << r.width << "x" << r.height << " sf " << sf);
    TestImage<Omb8u> src(w0 + 1, h0);
    Rng rng(w0 * 7 + h0);
    FillRandom(src, rng, 0.2);
    for (int y = 0; y < h0 && constant >= 0; ++y)
      for (int x = 0; x <= w0; ++x) src.Set(x, y, static_cast<Omb8u>(constant));
    const int e = kTilted ? 2 : 1;
    // Integer tables start near the 32-bit limit, so that they wrap.
    const TS val = std::is_integral_v<TS> ? static_cast<TS>(INT_MAX - 40) : static_cast<TS>(1.5);
    const auto s = IntegralModel<TS, false>(src, w0, h0, val, kTilted);
    const auto q = IntegralModel<TQ, true>(src, w0, h0, static_cast<TQ>(-7), kTilted);
    TestImage<TS> st(w0 + e, h0 + e, {16 * 4, 1, 1, 1, 0});
    TestImage<TQ> qt(w0 + e, h0 + e, {16 * 8 + 8, 2, 0, 1, 0});
    Put(st, s);
    Put(qt, q);
    st.Snapshot();
    qt.Snapshot();
    // Tilted corners reach left of the rectangle: start the ROI far enough in.
    const int o = kTilted ? std::max(0, r.y + r.height - r.x) : 0;
    const OmbRoiSize roi = kTilted
        ? OmbRoiSize{w0 + 2 - o - (r.x - r.y + r.width), h0 + 2 - (r.x + r.y + r.width + r.height)}
        : OmbRoiSize{w0 + 1 - r.x - r.width, h0 + 1 - r.y - r.height};
    TestImage<TD> dst(roi.width, roi.height, {12, 3, 1, 1, 4});
    TestImage<TD> want(dst);
    for (int i = 0; i < roi.height; ++i)
      for (int j = 0; j < roi.width; ++j) {
        want.Set(j, i, StdDevModel<TS, TQ, TD>(kTilted, s, q, w0 + e, i, o + j, r, sf));
        if (constant >= 0) {
          ASSERT_EQ(want.Get(j, i), TD(0));
        }
      }
    EXPECT_EQ(call(st.Roi() + o, st.Step(), qt.Roi() + o, qt.Step(), dst.Roi(), dst.Step(),
                   roi, r, sf), ombResultOk);
    EXPECT_TRUE(SameBytes(dst, want));
    EXPECT_TRUE(st.Unchanged() && qt.Unchanged());
  };
  return f;
}

const std::vector<StdFront>& StdDevFronts() {
  using I = Omb32s;
  using F = Omb32f;
  using D = Omb64f;
  static const std::vector<StdFront> fronts = {
      MakeStdDev<false, F, D, F>("ombiRectStdDev_32f_C1R", ombiRectStdDev_32f_C1R),
      MakeStdDev<false, I, D, F>("ombiRectStdDev_32s32f_C1R", ombiRectStdDev_32s32f_C1R),
      MakeStdDev<false, I, I, I>("ombiRectStdDev_32s_C1RSfs", ombiRectStdDev_32s_C1RSfs),
      MakeStdDev<true, F, D, F>("ombiTiltedRectStdDev_32f_C1R", ombiTiltedRectStdDev_32f_C1R),
      MakeStdDev<true, I, D, F>("ombiTiltedRectStdDev_32s32f_C1R", ombiTiltedRectStdDev_32s32f_C1R),
      MakeStdDev<true, I, I, I>("ombiTiltedRectStdDev_32s_C1RSfs", ombiTiltedRectStdDev_32s_C1RSfs),
  };
  return fronts;
}

using RectStdDev = FrontSuite<StdFront, StdDevFronts>;

TEST_P(RectStdDev, ChecksArgumentsInOrder) { ExpectCheckOrder(front().arg); }

TEST_P(RectStdDev, MatchesModel) {
  const OmbRect rects[] = {{0, 0, 1, 1}, {1, 2, 3, 2}, {3, 0, 5, 4}, {2, 1, 2, 1}, {4, 1, 2, 3}};
  // Every vector width, and row lengths that leave every tail.
  ForEachSimdTarget([&] {
    int n = 0;
    for (const OmbRect& r : rects)
      for (int w0 = 12; w0 <= 30 && !HasFailure(); w0 += 3, ++n)
        front().run(w0, 12 + n % 4, r, n % 5 - 2, -1);  // scale factors -2..2
    front().run(20, 14, {1, 1, 4, 3}, 0, 77);  // constant: 0 everywhere
    front().run(20, 14, {0, 2, 3, 3}, -1, 255);
  });
}

// The model against the plain definition of a deviation: brute-force
// rectangle sums over the pixels, in double.
TEST(RectStdDevPlain, MatchesDirectDeviation) {
  TestImage<Omb8u> src(21, 17);
  Rng rng(3);
  FillRandom(src, rng, 0.0);
  const OmbRect r{2, 3, 5, 4};
  const auto s = IntegralModel<Omb32f, false>(src, 20, 17, 1.5f, false);
  const auto q = IntegralModel<Omb64f, true>(src, 20, 17, 2.5, false);
  for (int i = 0; i + r.y + r.height <= 17; ++i)
    for (int j = 0; j + r.x + r.width <= 20; ++j) {
      double sum = 0, sq = 0;
      for (int y = 0; y < r.height; ++y)
        for (int x = 0; x < r.width; ++x) {
          const double v = src.Get(j + r.x + x, i + r.y + y);
          sum += v, sq += v * v;
        }
      const double n = r.width * r.height, want = std::sqrt(sq / n - (sum / n) * (sum / n));
      EXPECT_NEAR((StdDevModel<Omb32f, Omb64f, Omb32f>(false, s, q, 21, i, j, r, 0)), want, 1e-3 * (1 + want));
    }
}

INSTANTIATE_TEST_SUITE_P(All, RectStdDev, RectStdDev::All(), RectStdDev::Name);

}  // namespace
}  // namespace omb_test
