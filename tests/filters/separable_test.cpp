// Row and column pipeline passes: bitwise agreement with the plain models
// on every SIMD target (odd widths, every vector tail, rows narrower than
// the kernel, all borders and anchors, padded steps, ROIs inside larger
// images, guards around every output), identical results and an untouched
// work-buffer tail at every thread count, and the argument-check order.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "filters/separable_model.hpp"
#include "ombcv.h"
#include "support/arg_check.hpp"

namespace omb_test {
namespace {

// One call: ROI, kernel size, anchor (row pass), border, divisor.
struct Case {
  int w, h, k, anchor, border, divisor;
};

struct PassFront {
  std::string name;
  bool row;
  int channels;
  ArgFront arg;
  std::function<OmbResult(OmbRoiSize, int, int*)> buffer_size;
  // Random source and kernel for `c`, run on a guarded destination with a
  // guarded buffer of exactly the reported size; expects the model when
  // asked to. Returns the destination pixels.
  std::function<std::vector<Omb8u>(const Case&, const Layout&, std::uint64_t seed, bool model)> run;
};

template <class T>
void FillSource(TestImage<T>& img, Rng& rng) {
  if constexpr (std::is_same_v<T, float>) {
    std::uniform_real_distribution<float> u(-1000, 1000);
    const float special[] = {INFINITY, -INFINITY, 0.0f, -0.0f, 1e-40f, 1e18f, 3.0f};
    for (int y = 0; y < img.Height(); ++y) {
      for (int x = 0; x < img.Width(); ++x) {
        img.Set(x, y, rng() % 16 == 0 ? special[rng() % 7] : u(rng));
      }
    }
    img.Snapshot();
  } else {
    FillRandom(img, rng, 0.05);
  }
}

template <class TK>
std::vector<TK> RandomKernel(int k, Rng& rng) {
  std::vector<TK> v(k);
  for (auto& t : v) {
    if constexpr (std::is_same_v<TK, float>) {
      t = std::uniform_real_distribution<float>(-4, 4)(rng);
    } else {
      t = static_cast<TK>(rng() % 8 == 0 ? (rng() % 2 ? 32767 : -32768) : rng() % 401 - 200);
    }
  }
  return v;
}

template <class T>
std::vector<Omb8u> Pixels(const TestImage<T>& img) {
  std::vector<Omb8u> out;
  for (int y = 0; y < img.Height(); ++y) {
    out.insert(out.end(), img.PixelBytes(0, y), img.PixelBytes(img.Width(), y));
  }
  return out;
}

template <class TS, class TD, class TK, int channels, class Fn>
PassFront MakeRow(const char* name, Arith arith, Fn fn,
                  OmbResult (*size_fn)(OmbRoiSize, int, int*)) {
  constexpr bool kDiv = !std::is_same_v<TK, float>;
  constexpr bool kAligned = sizeof(TS) > 1;
  PassFront f{name, true, channels, {}, size_fn, {}};
  // Calls the front with a source image, row pointers into a destination
  // image, a kernel and the border values; C1 passes the first value.
  auto call = [fn](const TS* src, int step, TD** dst, OmbRoiSize roi, const TK* k,
                             int ks, int anchor, int border, const TS* bv, int div, Omb8u* buf) {
    const auto b = OmbBorderType(border);
    if constexpr (kDiv && channels == 1) {
      return fn(src, step, dst, roi, k, ks, anchor, b, bv ? *bv : TS(0), div, buf);
    } else if constexpr (kDiv) {
      return fn(src, step, dst, roi, k, ks, anchor, b, bv, div, buf);
    } else if constexpr (channels == 1) {
      return (void)div, fn(src, step, dst, roi, k, ks, anchor, b, bv ? *bv : TS(0), buf);
    } else {
      return (void)div, fn(src, step, dst, roi, k, ks, anchor, b, bv, buf);
    }
  };
  f.run = [=](const Case& c, const Layout& lay, std::uint64_t seed, bool model) {
    Rng rng(seed);
    const int cw = c.w * channels;
    TestImage<TS> src(cw, c.h, lay);
    FillSource(src, rng);
    TestImage<TD> dst(cw, c.h, lay);
    TestImage<TD> want(dst);
    const std::vector<TK> k = RandomKernel<TK>(c.k, rng);
    const TS bv[3] = {TS(rng()), TS(rng()), TS(rng())};
    std::vector<TS> v(c.k);
    for (int y = 0; model && y < c.h; ++y) {
      for (int x = 0; x < c.w; ++x) {
        for (int ch = 0; ch < channels; ++ch) {
          for (int j = 0; j < c.k; ++j) {
            const int i = ModelBorder(x - c.anchor + j, c.w, c.border);
            v[j] = i < 0 ? bv[ch] : src.Get(i * channels + ch, y);
          }
          want.Set(x * channels + ch, y, ModelSum<TD>(arith, k.data(), c.k, v.data(), c.divisor));
        }
      }
    }
    std::vector<TD*> rows(c.h);
    for (int y = 0; y < c.h; ++y) rows[y] = reinterpret_cast<TD*>(dst.PixelBytes(0, y));
    int size = 0;
    EXPECT_EQ(size_fn({c.w, c.h}, c.k, &size), ombResultOk);
    GuardedBuffer buf(size, 1);  // exactly the reported size, at an odd address
    EXPECT_EQ(call(src.Roi(), src.Step(), rows.data(), {c.w, c.h}, k.data(), c.k, c.anchor,
                   c.border, bv, c.divisor, buf.Data()),
              ombResultOk);
    if (model) {
      EXPECT_TRUE(SameBytes(dst, want));
    }
    EXPECT_TRUE(src.Unchanged());
    EXPECT_TRUE(buf.GuardsIntact()) << "bytes outside the reported buffer size written";
    return Pixels(dst);
  };
  // Argument images: source, destination (rows), kernel, buffer.
  ArgFront& a = f.arg;
  a.name = name;
  a.images = {{ElemOf<TS>(), false, kAligned, false, channels},
              {ElemOf<TD>(), true, true, false, channels, 0, 0, true},
              {ElemOf<TK>(), false, true, false, 1, 0, 0, true},
              {Elem::k8u, true, false, false, 1, 4096, 0, true}};
  // p: kernel size, anchor, border, divisor, border values present.
  a.params = {{0, {0, -1}, ombResultBadSize, true},
              {1, {-1, 3}, ombResultBadAnchor, true},
              {2, {-1, 5}, ombResultBadArgument}};
  if (kDiv) a.params.push_back({3, {0}, ombResultBadArgument});
  if (channels == 3) a.params.push_back({4, {0}, ombResultNullPointer});
  a.defaults = {3, 1, ombBorderConstant, 3, 1};
  a.call = [call](const CallArgs& x) {
    TD* rows[3];
    for (int y = 0; y < 3; ++y) rows[y] = reinterpret_cast<TD*>(x.P<Omb8u>(1) + y * x.step[1]);
    static const TS bv[3] = {1, 2, 3};
    return call(x.P<TS>(0), x.step[0], x.ptr[1] ? rows : nullptr, x.roi, x.P<TK>(2),
                static_cast<int>(x.p[0]), static_cast<int>(x.p[1]), static_cast<int>(x.p[2]),
                x.p[4] != 0 ? bv : nullptr, static_cast<int>(x.p[3]), x.P<Omb8u>(3));
  };
  return f;
}

template <class TS, class TD, class TK, class Fn>
PassFront MakeColumn(const char* name, int channels, Arith arith, Fn fn,
                     OmbResult (*size_fn)(OmbRoiSize, int, int*)) {
  constexpr bool kDiv = !std::is_same_v<TK, float>;
  PassFront f{name, false, channels, {}, size_fn, {}};
  auto call = [fn](const TS** src, TD* dst, int step, OmbRoiSize roi, const TK* k, int ks,
                   int div, Omb8u* buf) {
    if constexpr (kDiv) {
      return fn(src, dst, step, roi, k, ks, div, buf);
    } else {
      return (void)div, fn(src, dst, step, roi, k, ks, buf);
    }
  };
  f.run = [=](const Case& c, const Layout& lay, std::uint64_t seed, bool model) {
    Rng rng(seed);
    const int cw = c.w * channels, n = c.h + c.k - 1;
    TestImage<TS> src(cw, n, lay);
    FillSource(src, rng);
    TestImage<TD> dst(cw, c.h, lay);
    TestImage<TD> want(dst);
    const std::vector<TK> k = RandomKernel<TK>(c.k, rng);
    // Rows in a scrambled order, as a ring of row buffers would give them.
    std::vector<const TS*> rows(n);
    for (int i = 0; i < n; ++i) rows[i] = reinterpret_cast<const TS*>(src.PixelBytes(0, (i * 7) % n));
    std::vector<TS> v(c.k);
    for (int y = 0; model && y < c.h; ++y) {
      for (int x = 0; x < cw; ++x) {
        for (int j = 0; j < c.k; ++j) v[j] = src.Get(x, ((y + j) * 7) % n);
        want.Set(x, y, ModelSum<TD>(arith, k.data(), c.k, v.data(), c.divisor));
      }
    }
    int size = 0;
    EXPECT_EQ(size_fn({c.w, c.h}, c.k, &size), ombResultOk);
    GuardedBuffer buf(size, 1);  // exactly the reported size, at an odd address
    EXPECT_EQ(call(rows.data(), dst.Roi(), dst.Step(), {c.w, c.h}, k.data(), c.k, c.divisor,
                   buf.Data()),
              ombResultOk);
    if (model) {
      EXPECT_TRUE(SameBytes(dst, want));
    }
    EXPECT_TRUE(src.Unchanged());
    EXPECT_TRUE(buf.GuardsIntact());
    return Pixels(dst);
  };
  // Argument images: source rows, destination, kernel, buffer.
  ArgFront& a = f.arg;
  a.name = name;
  a.images = {{ElemOf<TS>(), false, true, false, channels, 0, 2, true},
              {ElemOf<TD>(), true, sizeof(TD) > 1, false, channels},
              {ElemOf<TK>(), false, true, false, 1, 0, 0, true}};
  // p: kernel size, divisor, buffer present, index of a null row pointer.
  a.params = {{0, {0, -1}, ombResultBadSize, true}};
  if (kDiv) {
    a.params.push_back({2, {0}, ombResultNullPointer});
    a.params.push_back({1, {0}, ombResultBadArgument});
    a.params.push_back({3, {0, 4}, ombResultNullPointer});
  } else {
    a.params.push_back({3, {0, 4}, ombResultNullPointer});
    a.params.push_back({2, {0}, ombResultNullPointer});
  }
  a.defaults = {3, 3, 1, -1};
  a.call = [call](const CallArgs& x) {
    static Omb8u buffer[1 << 14];
    const TS* rows[5];
    for (int y = 0; y < 5; ++y) rows[y] = reinterpret_cast<const TS*>(x.P<Omb8u>(0) + y * x.step[0]);
    if (x.p[3] >= 0) rows[static_cast<int>(x.p[3])] = nullptr;
    return call(x.ptr[0] ? rows : nullptr, x.P<TD>(1), x.step[1], x.roi, x.P<TK>(2),
                static_cast<int>(x.p[0]), static_cast<int>(x.p[1]), x.p[2] != 0 ? buffer : nullptr);
  };
  return f;
}

using S = Omb16s;
using U = Omb8u;
using F = Omb32f;

const std::vector<PassFront>& Fronts() {
  static const std::vector<PassFront> fronts = {
      MakeRow<U, S, S, 1>("ombiFilterRowBorderPipeline_8u16s_C1R", Arith::kFloat, ombiFilterRowBorderPipeline_8u16s_C1R, ombiFilterRowBorderPipelineGetBufferSize_8u16s_C1R),
      MakeRow<U, S, S, 3>("ombiFilterRowBorderPipeline_8u16s_C3R", Arith::kFloat, ombiFilterRowBorderPipeline_8u16s_C3R, ombiFilterRowBorderPipelineGetBufferSize_8u16s_C3R),
      MakeRow<S, S, S, 1>("ombiFilterRowBorderPipeline_16s_C1R", Arith::kFloat, ombiFilterRowBorderPipeline_16s_C1R, ombiFilterRowBorderPipelineGetBufferSize_16s_C1R),
      MakeRow<S, S, S, 3>("ombiFilterRowBorderPipeline_16s_C3R", Arith::kFloat, ombiFilterRowBorderPipeline_16s_C3R, ombiFilterRowBorderPipelineGetBufferSize_16s_C3R),
      MakeRow<S, S, S, 1>("ombiFilterRowBorderPipeline_Low_16s_C1R", Arith::kLowRow, ombiFilterRowBorderPipeline_Low_16s_C1R, ombiFilterRowBorderPipelineGetBufferSize_Low_16s_C1R),
      MakeRow<S, S, S, 3>("ombiFilterRowBorderPipeline_Low_16s_C3R", Arith::kLowRow, ombiFilterRowBorderPipeline_Low_16s_C3R, ombiFilterRowBorderPipelineGetBufferSize_Low_16s_C3R),
      MakeRow<F, F, F, 1>("ombiFilterRowBorderPipeline_32f_C1R", Arith::kDouble, ombiFilterRowBorderPipeline_32f_C1R, ombiFilterRowBorderPipelineGetBufferSize_32f_C1R),
      MakeRow<F, F, F, 3>("ombiFilterRowBorderPipeline_32f_C3R", Arith::kDouble, ombiFilterRowBorderPipeline_32f_C3R, ombiFilterRowBorderPipelineGetBufferSize_32f_C3R),
      MakeColumn<S, S, S>("ombiFilterColumnPipeline_16s_C1R", 1, Arith::kFloat, ombiFilterColumnPipeline_16s_C1R, ombiFilterColumnPipelineGetBufferSize_16s_C1R),
      MakeColumn<S, S, S>("ombiFilterColumnPipeline_16s_C3R", 3, Arith::kFloat, ombiFilterColumnPipeline_16s_C3R, ombiFilterColumnPipelineGetBufferSize_16s_C3R),
      MakeColumn<S, S, S>("ombiFilterColumnPipeline_Low_16s_C1R", 1, Arith::kLowColumn, ombiFilterColumnPipeline_Low_16s_C1R, ombiFilterColumnPipelineGetBufferSize_Low_16s_C1R),
      MakeColumn<S, S, S>("ombiFilterColumnPipeline_Low_16s_C3R", 3, Arith::kLowColumn, ombiFilterColumnPipeline_Low_16s_C3R, ombiFilterColumnPipelineGetBufferSize_Low_16s_C3R),
      MakeColumn<S, U, S>("ombiFilterColumnPipeline_16s8u_C1R", 1, Arith::kFloat, ombiFilterColumnPipeline_16s8u_C1R, ombiFilterColumnPipelineGetBufferSize_16s8u_C1R),
      MakeColumn<S, U, S>("ombiFilterColumnPipeline_16s8u_C3R", 3, Arith::kFloat, ombiFilterColumnPipeline_16s8u_C3R, ombiFilterColumnPipelineGetBufferSize_16s8u_C3R),
      MakeColumn<S, Omb8s, S>("ombiFilterColumnPipeline_16s8s_C1R", 1, Arith::kFloat, ombiFilterColumnPipeline_16s8s_C1R, ombiFilterColumnPipelineGetBufferSize_16s8s_C1R),
      MakeColumn<S, Omb8s, S>("ombiFilterColumnPipeline_16s8s_C3R", 3, Arith::kFloat, ombiFilterColumnPipeline_16s8s_C3R, ombiFilterColumnPipelineGetBufferSize_16s8s_C3R),
      MakeColumn<F, F, F>("ombiFilterColumnPipeline_32f_C1R", 1, Arith::kDouble, ombiFilterColumnPipeline_32f_C1R, ombiFilterColumnPipelineGetBufferSize_32f_C1R),
      MakeColumn<F, F, F>("ombiFilterColumnPipeline_32f_C3R", 3, Arith::kDouble, ombiFilterColumnPipeline_32f_C3R, ombiFilterColumnPipelineGetBufferSize_32f_C3R),
  };
  return fronts;
}

class Pass : public ::testing::TestWithParam<std::size_t> {
 protected:
  const PassFront& front() const { return Fronts()[GetParam()]; }
};

TEST_P(Pass, ChecksArgumentsInOrder) { ExpectCheckOrder(front().arg); }

// Widths around every vector length (1 .. 33 lanes, so every tail), rows
// narrower than the kernel, every border and anchor, the 3- and 5-tap
// routines and the general one.
TEST_P(Pass, MatchesModelOnEveryTarget) {
  const PassFront& f = front();
  const int widths[] = {1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 33, 47, 65};
  std::uint64_t seed = GetParam() * 1000003;
  ForEachSimdTarget([&] {
    for (int k : {1, 2, 3, 4, 5, 9}) {
      for (int w : widths) {
        std::vector<int> anchors = {0};
        if (k > 2) anchors.push_back(k / 2);
        if (k > 1) anchors.push_back(k - 1);
        const Layout lay{(w % 3) * 4 + 8, w % 4, 1, 1, static_cast<int>(seed % 8) * 4};
        for (int border : f.row ? std::vector<int>{0, 1, 2, 3, 4} : std::vector<int>{0}) {
          for (int anchor : f.row ? anchors : std::vector<int>{0}) {
            const int divisor = (seed % 3 == 0) ? -3 : (seed % 3 == 1 ? 1 : 7);
            SCOPED_TRACE(::testing::Message() << "w " << w << " k " << k << " anchor " << anchor
                                              << " border " << border << " divisor " << divisor);
            f.run({w, 2, k, anchor, border, divisor}, lay, ++seed, true);
            if (::testing::Test::HasFailure()) return;
          }
        }
      }
    }
  });
}

// Large enough that every thread count up to 40 (C1; C3: up to 13) splits
// the rows; results and the buffer tail must not depend on the count.
TEST_P(Pass, SameAtEveryThreadCount) {
  const Case c{1311 / front().channels, 1001, 6, 2, ombBorderMirror, 5};
  std::vector<Omb8u> first;
  ForEachThreadCount([&](int n) {
    const std::vector<Omb8u> got = front().run(c, {}, 77, false);
    if (n == kThreadCounts[0]) first = got;
    EXPECT_TRUE(got == first);
  });
}

INSTANTIATE_TEST_SUITE_P(All, Pass, ::testing::Range<std::size_t>(0, 18),
                         [](const ::testing::TestParamInfo<std::size_t>& i) {
                           return Fronts()[i.param].name;
                         });

}  // namespace
}  // namespace omb_test
