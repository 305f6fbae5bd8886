// Row and column pipeline passes: bitwise agreement with the plain
// arithmetic beside the kernels on every SIMD target (odd widths, every
// vector tail, rows narrower than the kernel, all borders and anchors,
// padded steps, ROIs inside larger images, guards around every output),
// identical results and an untouched work buffer at every thread count,
// the argument-check order and the buffer-size formula of every pass; the
// Sobel kernel generator; and hand-worked single calls that pin the
// arithmetic itself.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "filters/separable_ref.hpp"
#include "ombcv.h"
#include "support/arg_check.hpp"

namespace omb_test {
namespace {

enum class Arith { kFloat, kLowRow, kLowColumn, kDouble };

// One output element from the K values under the taps, by the reference.
template <class TD, class TK, class TS>
TD ModelSum(Arith arith, const TK* k, int ksize, const TS* v, int divisor) {
  namespace r = omb::ref;
  TD out{};
  const float recip = 1.0f / static_cast<float>(divisor);
  if constexpr (std::is_same_v<TS, float>) {
    r::Span(r::DoubleSum{k}, r::RowTaps<float>{v, 1}, ksize, 0, 1, &out);
  } else if (arith == Arith::kFloat) {
    using L = std::numeric_limits<TD>;
    r::Span(r::FloatSum<TS, TD>{k, recip, float(L::min()), float(L::max())},
            r::RowTaps<TS>{v, 1}, ksize, 0, 1, &out);
  } else if constexpr (std::is_same_v<TS, std::int16_t> && std::is_same_v<TD, std::int16_t>) {
    if (arith == Arith::kLowRow) {
      const auto m = static_cast<std::int16_t>(std::trunc(16384.0 / divisor));
      r::Span(r::LowRow{k, static_cast<std::uint32_t>(std::int32_t{m})}, r::RowTaps<TS>{v, 1},
              ksize, 0, 1, &out);
    } else {
      r::Span(r::LowColumn{k, recip}, r::RowTaps<TS>{v, 1}, ksize, 0, 1, &out);
    }
  }
  return out;
}

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
  int size_a, size_b;  // per-thread part of the buffer size: size_a * K + size_b
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
                  OmbResult (*size_fn)(OmbRoiSize, int, int*), int size_a, int size_b) {
  constexpr bool kDiv = !std::is_same_v<TK, float>;
  constexpr bool kAligned = sizeof(TS) > 1;
  PassFront f{name, true, channels, {}, size_fn, size_a, size_b, {}};
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
            const int i = BorderModel(x - c.anchor + j, c.w, c.border);
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
                     OmbResult (*size_fn)(OmbRoiSize, int, int*), int size_a, int size_b) {
  constexpr bool kDiv = !std::is_same_v<TK, float>;
  PassFront f{name, false, channels, {}, size_fn, size_a, size_b, {}};
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
      MakeRow<U, S, S, 1>("ombiFilterRowBorderPipeline_8u16s_C1R", Arith::kFloat, ombiFilterRowBorderPipeline_8u16s_C1R, ombiFilterRowBorderPipelineGetBufferSize_8u16s_C1R, 4, 32),
      MakeRow<U, S, S, 3>("ombiFilterRowBorderPipeline_8u16s_C3R", Arith::kFloat, ombiFilterRowBorderPipeline_8u16s_C3R, ombiFilterRowBorderPipelineGetBufferSize_8u16s_C3R, 12, 32),
      MakeRow<S, S, S, 1>("ombiFilterRowBorderPipeline_16s_C1R", Arith::kFloat, ombiFilterRowBorderPipeline_16s_C1R, ombiFilterRowBorderPipelineGetBufferSize_16s_C1R, 48, 80),
      MakeRow<S, S, S, 3>("ombiFilterRowBorderPipeline_16s_C3R", Arith::kFloat, ombiFilterRowBorderPipeline_16s_C3R, ombiFilterRowBorderPipelineGetBufferSize_16s_C3R, 28, 32),
      MakeRow<S, S, S, 1>("ombiFilterRowBorderPipeline_Low_16s_C1R", Arith::kLowRow, ombiFilterRowBorderPipeline_Low_16s_C1R, ombiFilterRowBorderPipelineGetBufferSize_Low_16s_C1R, 24, 64),
      MakeRow<S, S, S, 3>("ombiFilterRowBorderPipeline_Low_16s_C3R", Arith::kLowRow, ombiFilterRowBorderPipeline_Low_16s_C3R, ombiFilterRowBorderPipelineGetBufferSize_Low_16s_C3R, 208, 64),
      MakeRow<F, F, F, 1>("ombiFilterRowBorderPipeline_32f_C1R", Arith::kDouble, ombiFilterRowBorderPipeline_32f_C1R, ombiFilterRowBorderPipelineGetBufferSize_32f_C1R, 16, 32),
      MakeRow<F, F, F, 3>("ombiFilterRowBorderPipeline_32f_C3R", Arith::kDouble, ombiFilterRowBorderPipeline_32f_C3R, ombiFilterRowBorderPipelineGetBufferSize_32f_C3R, 192, 32),
      MakeColumn<S, S, S>("ombiFilterColumnPipeline_16s_C1R", 1, Arith::kFloat, ombiFilterColumnPipeline_16s_C1R, ombiFilterColumnPipelineGetBufferSize_16s_C1R, 4, 32),
      MakeColumn<S, S, S>("ombiFilterColumnPipeline_16s_C3R", 3, Arith::kFloat, ombiFilterColumnPipeline_16s_C3R, ombiFilterColumnPipelineGetBufferSize_16s_C3R, 4, 32),
      MakeColumn<S, S, S>("ombiFilterColumnPipeline_Low_16s_C1R", 1, Arith::kLowColumn, ombiFilterColumnPipeline_Low_16s_C1R, ombiFilterColumnPipelineGetBufferSize_Low_16s_C1R, 0, 32),
      MakeColumn<S, S, S>("ombiFilterColumnPipeline_Low_16s_C3R", 3, Arith::kLowColumn, ombiFilterColumnPipeline_Low_16s_C3R, ombiFilterColumnPipelineGetBufferSize_Low_16s_C3R, 0, 32),
      MakeColumn<S, U, S>("ombiFilterColumnPipeline_16s8u_C1R", 1, Arith::kFloat, ombiFilterColumnPipeline_16s8u_C1R, ombiFilterColumnPipelineGetBufferSize_16s8u_C1R, 4, 32),
      MakeColumn<S, U, S>("ombiFilterColumnPipeline_16s8u_C3R", 3, Arith::kFloat, ombiFilterColumnPipeline_16s8u_C3R, ombiFilterColumnPipelineGetBufferSize_16s8u_C3R, 4, 32),
      MakeColumn<S, Omb8s, S>("ombiFilterColumnPipeline_16s8s_C1R", 1, Arith::kFloat, ombiFilterColumnPipeline_16s8s_C1R, ombiFilterColumnPipelineGetBufferSize_16s8s_C1R, 4, 32),
      MakeColumn<S, Omb8s, S>("ombiFilterColumnPipeline_16s8s_C3R", 3, Arith::kFloat, ombiFilterColumnPipeline_16s8s_C3R, ombiFilterColumnPipelineGetBufferSize_16s8s_C3R, 4, 32),
      MakeColumn<F, F, F>("ombiFilterColumnPipeline_32f_C1R", 1, Arith::kDouble, ombiFilterColumnPipeline_32f_C1R, ombiFilterColumnPipelineGetBufferSize_32f_C1R, 0, 0),
      MakeColumn<F, F, F>("ombiFilterColumnPipeline_32f_C3R", 3, Arith::kDouble, ombiFilterColumnPipeline_32f_C3R, ombiFilterColumnPipelineGetBufferSize_32f_C3R, 0, 0),
  };
  return fronts;
}

using Pass = FrontSuite<PassFront, Fronts>;

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

// With a library thread count above the machine's, T is that count.
TEST_P(Pass, BufferSizeFormulaAndChecks) {
  const PassFront& c = front();
  for (int t : {17, 40}) {
    const ScopedThreadCount threads(t);
    for (int k : {1, 3, 8}) {
      int size = -1;
      ASSERT_EQ(c.buffer_size({5, 100}, k, &size), ombResultOk);
      EXPECT_EQ(size, t * 32 + (100 + k) * t * 4 + t * (c.size_a * k + c.size_b));
    }
    int size = 7;
    EXPECT_EQ(c.buffer_size({5, 100}, 3, nullptr), ombResultNullPointer);
    EXPECT_EQ(c.buffer_size({0, 0}, 0, nullptr), ombResultNullPointer);
    EXPECT_EQ(c.buffer_size({0, 100}, 3, &size), ombResultBadSize);
    EXPECT_EQ(c.buffer_size({5, 0}, 3, &size), ombResultBadSize);
    EXPECT_EQ(c.buffer_size({5, 100}, 0, &size), ombResultBadSize);
    EXPECT_EQ(c.buffer_size({5, INT_MAX}, 3, &size), ombResultBadSize);  // beyond 32 bits
    EXPECT_EQ(size, 7);
  }
}

// Binomial smoothing convolved with `order` differences [-1, 1], modulo
// 2^16 for the 16-bit form.
std::vector<std::int64_t> SobelModel(int n, int order) {
  std::vector<std::int64_t> k{1};
  for (int i = 0; i < n - 1; ++i) {
    const std::int64_t d = i < n - 1 - order ? 1 : -1;
    std::vector<std::int64_t> next(k.size() + 1, 0);
    for (std::size_t j = 0; j < k.size(); ++j) {
      next[j] += d * k[j];
      next[j + 1] += k[j];
    }
    k = next;
  }
  return k;
}

TEST(SeparableSobelKernel, MatchesBinomialModel) {
  for (int n = 1; n <= 33; n += 2) {
    for (int order = 0; order < n; ++order) {
      for (int sign : {1, 0, -1}) {
        std::vector<Omb16s> k16(n + 1, 99);
        std::vector<Omb32f> k32(n + 1, 99);
        ASSERT_EQ(ombiGenSobelKernel_16s(k16.data(), n, order, sign), ombResultOk);
        ASSERT_EQ(ombiGenSobelKernel_32f(k32.data(), n, order, sign), ombResultOk);
        const std::vector<std::int64_t> want = SobelModel(n, order);
        for (int j = 0; j < n; ++j) {
          const std::int64_t v = sign < 0 ? -want[j] : want[j];
          EXPECT_EQ(k16[j], static_cast<Omb16s>(static_cast<std::uint16_t>(v & 0xffff)))
              << n << " " << order << " " << j;
          if (n <= 25) {
            EXPECT_EQ(k32[j], static_cast<float>(v)) << n << " " << order;
          }
        }
        EXPECT_EQ(k16[n], 99);
        EXPECT_EQ(k32[n], 99.0f);
      }
    }
  }
  Omb16s k[3] = {};
  EXPECT_EQ(ombiGenSobelKernel_16s(k, 3, 1, 1), ombResultOk);
  EXPECT_EQ(k[0], -1);
  EXPECT_EQ(k[2], 1);
  Omb32f f[2];
  EXPECT_EQ(ombiGenSobelKernel_32f(nullptr, 0, -1, 1), ombResultNullPointer);
  for (auto [n, order] : {std::pair{0, 0}, {2, 0}, {3, 3}, {3, -1}, {-1, 0}}) {
    EXPECT_EQ(ombiGenSobelKernel_32f(f, n, order, 1), ombResultBadSize);
    EXPECT_EQ(ombiGenSobelKernel_16s(k, n, order, 1), ombResultBadSize);
  }
}

// Single calls: rows before the first null destination pointer are written
// (the float form then reports it); a missing C3 border array is refused
// for the constant border only; `_Low` sums wrap (40000 / 1 gives
// 40000 - 65536), and the column form's scaled sum may be exactly 2^31 (a
// sum just below it rounds up in float), whose low 16 bits are 0.
TEST(SeparablePass, SingleCallBehaviours) {
  std::vector<Omb8u> buf(1 << 16);
  std::vector<Omb16s> src(20, 100), dst(20, 7);
  std::vector<Omb32f> srcf(20, 100), dstf(20, 7);
  Omb16s* rows[4] = {&dst[0], &dst[5], nullptr, &dst[15]};
  Omb32f* rowsf[4] = {&dstf[0], &dstf[5], nullptr, &dstf[15]};
  const Omb16s k[3] = {1, 1, 1};
  const Omb32f kf[3] = {1, 1, 1};
  EXPECT_EQ(ombiFilterRowBorderPipeline_16s_C1R(src.data(), 10, rows, {5, 4}, k, 3, 1, ombBorderReplicate, 0, 1, buf.data()), ombResultOk);
  EXPECT_EQ(ombiFilterRowBorderPipeline_32f_C1R(srcf.data(), 20, rowsf, {5, 4}, kf, 3, 1, ombBorderReplicate, 0, buf.data()), ombResultNullPointer);
  for (int i = 0; i < 20; ++i) {
    EXPECT_EQ(dst[i], i < 10 ? 300 : 7) << i;
    EXPECT_EQ(dstf[i], i < 10 ? 300.0f : 7.0f) << i;
  }
  const Omb8u bytes[12] = {10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 10};
  EXPECT_EQ(ombiFilterRowBorderPipeline_8u16s_C3R(bytes, 12, rows, {4, 1}, k, 3, 1, ombBorderConstant, nullptr, 1, buf.data()), ombResultNullPointer);
  EXPECT_EQ(dst[0], 300);
  EXPECT_EQ(ombiFilterRowBorderPipeline_8u16s_C3R(bytes, 12, rows, {4, 1}, k, 3, 1, ombBorderConstant, nullptr, 0, buf.data()), ombResultBadArgument);
  EXPECT_EQ(ombiFilterRowBorderPipeline_8u16s_C3R(bytes, 12, rows, {4, 1}, k, 3, 1, ombBorderWrap, nullptr, 1, buf.data()), ombResultOk);
  EXPECT_EQ(dst[0], 30);

  std::vector<Omb16s> half(16, 20000), big(16, 32767);
  const Omb16s k2[2] = {1, 1};
  ASSERT_EQ(ombiFilterRowBorderPipeline_Low_16s_C1R(half.data(), 32, rows, {16, 1}, k2, 2, 0, ombBorderReplicate, 0, 1, buf.data()), ombResultOk);
  EXPECT_EQ(rows[0][3], 40000 - 65536);
  const Omb16s* crows[3] = {big.data(), big.data(), big.data()};
  const Omb16s k3[3] = {32767, 32767, 4};  // sum 2^31 - 2
  for (int divisor : {1, -1}) {
    ASSERT_EQ(ombiFilterColumnPipeline_Low_16s_C1R(crows, half.data(), 32, {16, 1}, k3, 3, divisor, buf.data()), ombResultOk);
    for (int x = 0; x < 16; ++x) EXPECT_EQ(half[x], 0) << x;
  }
  ASSERT_EQ(ombiFilterColumnPipeline_16s_C1R(crows, half.data(), 32, {16, 1}, k3, 3, 1, buf.data()), ombResultOk);
  EXPECT_EQ(half[15], 32767);
}

INSTANTIATE_TEST_SUITE_P(All, Pass, Pass::All(), Pass::Name);

}  // namespace
}  // namespace omb_test
