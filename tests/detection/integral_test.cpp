// Integral tables: argument check order, and bitwise agreement with plain
// models on every SIMD target: exact block sums modulo 2^32 for the
// integer tables, the fixed accumulation order for the float ones, and the
// literal recurrence for the tilted tables.
#include <gtest/gtest.h>

#include <climits>
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

struct NoSq {};  // the plain forms have no square table

// One source shape: ROI size, row padding (bytes), ROI offset, start shift.
struct Shape {
  int w, h, pad, off_x, off_y, shift;
};

struct IntFront {
  std::string name;
  bool tilted;
  ArgFront arg;
  // Runs the front on a random image of `shape` (or a constant one) and
  // expects the model's tables, guards included.
  std::function<void(const Shape&, int constant, double val, double val_sqr)> run;
};

template <class T>
using Table = std::vector<T>;

template <class TS, class TQ, class Call>
IntFront Make(const char* name, bool tilted, Call call) {
  constexpr bool kSq = !std::is_same_v<TQ, NoSq>;
  const int extra = tilted ? 2 : 1;
  IntFront f{name, tilted, {}, {}};
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

const std::vector<IntFront>& Fronts() {
  using I = Omb32s;
  using F = Omb32f;
  using D = Omb64f;
  static const std::vector<IntFront> fronts = {
      Make<I, NoSq>("ombiIntegral_8u32s_C1R", false, ombiIntegral_8u32s_C1R),
      Make<F, NoSq>("ombiIntegral_8u32f_C1R", false, ombiIntegral_8u32f_C1R),
      Make<I, I>("ombiSqrIntegral_8u32s_C1R", false, ombiSqrIntegral_8u32s_C1R),
      Make<I, D>("ombiSqrIntegral_8u32s64f_C1R", false, ombiSqrIntegral_8u32s64f_C1R),
      Make<F, D>("ombiSqrIntegral_8u32f64f_C1R", false, ombiSqrIntegral_8u32f64f_C1R),
      Make<I, NoSq>("ombiTiltedIntegral_8u32s_C1R", true, ombiTiltedIntegral_8u32s_C1R),
      Make<F, NoSq>("ombiTiltedIntegral_8u32f_C1R", true, ombiTiltedIntegral_8u32f_C1R),
      Make<I, I>("ombiTiltedSqrIntegral_8u32s_C1R", true, ombiTiltedSqrIntegral_8u32s_C1R),
      Make<I, D>("ombiTiltedSqrIntegral_8u32s64f_C1R", true, ombiTiltedSqrIntegral_8u32s64f_C1R),
      Make<F, D>("ombiTiltedSqrIntegral_8u32f64f_C1R", true, ombiTiltedSqrIntegral_8u32f64f_C1R),
  };
  return fronts;
}

class Integral : public ::testing::TestWithParam<std::size_t> {
 protected:
  const IntFront& front() const { return Fronts()[GetParam()]; }
};

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

INSTANTIATE_TEST_SUITE_P(All, Integral, ::testing::Range<std::size_t>(0, Fronts().size()),
                         [](const ::testing::TestParamInfo<std::size_t>& info) {
                           return Fronts()[info.param].name;
                         });

}  // namespace
}  // namespace omb_test
