// Rectangle standard deviation: check order (the rectangle is checked last
// and only by the upright forms) and bitwise agreement with a model that
// follows the listed steps on tables made by the integral model, with
// offsets that make the 32-bit tables wrap.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <functional>
#include <string>
#include <type_traits>
#include <vector>

#include "detection/integral_model.hpp"
#include "ombcv.h"
#include "support/arg_check.hpp"

namespace omb_test {
namespace {

struct StdFront {
  std::string name;
  bool tilted;
  ArgFront arg;
  // Image w0 x h0 (random, or `constant` when >= 0), rectangle, scale.
  std::function<void(int w0, int h0, OmbRect r, int sf, int constant)> run;
};

// Columns (beyond the ROI width) and rows the tables need for `r`.
long long ExtraCols(bool tilted, const OmbRect& r) {
  return tilted ? 0LL + r.x + r.y + r.width + r.height - 1 : 0LL + r.x + r.width;
}

template <class TS, class TQ, class TD>
TD Model(bool tilted, const std::vector<TS>& s, const std::vector<TQ>& q, int cols,
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
StdFront Make(const char* name, Fn fn) {
  StdFront f{name, kTilted, {}, {}};
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
        want.Set(j, i, Model<TS, TQ, TD>(kTilted, s, q, w0 + e, i, o + j, r, sf));
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

const std::vector<StdFront>& Fronts() {
  using I = Omb32s;
  using F = Omb32f;
  using D = Omb64f;
  static const std::vector<StdFront> fronts = {
      Make<false, F, D, F>("ombiRectStdDev_32f_C1R", ombiRectStdDev_32f_C1R),
      Make<false, I, D, F>("ombiRectStdDev_32s32f_C1R", ombiRectStdDev_32s32f_C1R),
      Make<false, I, I, I>("ombiRectStdDev_32s_C1RSfs", ombiRectStdDev_32s_C1RSfs),
      Make<true, F, D, F>("ombiTiltedRectStdDev_32f_C1R", ombiTiltedRectStdDev_32f_C1R),
      Make<true, I, D, F>("ombiTiltedRectStdDev_32s32f_C1R", ombiTiltedRectStdDev_32s32f_C1R),
      Make<true, I, I, I>("ombiTiltedRectStdDev_32s_C1RSfs", ombiTiltedRectStdDev_32s_C1RSfs),
  };
  return fronts;
}

class RectStdDev : public ::testing::TestWithParam<std::size_t> {
 protected:
  const StdFront& front() const { return Fronts()[GetParam()]; }
};

TEST_P(RectStdDev, ChecksArgumentsInOrder) { ExpectCheckOrder(front().arg); }

TEST_P(RectStdDev, MatchesModel) {
  const OmbRect rects[] = {{0, 0, 1, 1}, {1, 2, 3, 2}, {3, 0, 5, 4}, {2, 1, 2, 1}, {4, 1, 2, 3}};
  int n = 0;
  for (const OmbRect& r : rects)
    for (int w0 = 12; w0 <= 30 && !HasFailure(); w0 += 6, ++n)
      front().run(w0, 12 + n % 4, r, n % 5 - 2, -1);  // scale factors -2..2
  front().run(20, 14, {1, 1, 4, 3}, 0, 77);  // constant: 0 everywhere
  front().run(20, 14, {0, 2, 3, 3}, -1, 255);
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
      EXPECT_NEAR((Model<Omb32f, Omb64f, Omb32f>(false, s, q, 21, i, j, r, 0)), want, 1e-3 * (1 + want));
    }
}

INSTANTIATE_TEST_SUITE_P(All, RectStdDev, ::testing::Range<std::size_t>(0, Fronts().size()),
                         [](const ::testing::TestParamInfo<std::size_t>& info) {
                           return Fronts()[info.param].name;
                         });

}  // namespace
}  // namespace omb_test
