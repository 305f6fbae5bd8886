// Haar stage classifier: every apply front against a per-window model kept
// here, on every SIMD target and thread count, plus state building, tilting,
// sizes and argument checks.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "ombcv.h"
#include "support/arg_check.hpp"
#include "support/test_image.hpp"

namespace omb_test {
namespace {

enum class Arith { kFloat, kIntFloat, kInt };

template <class V>
struct Input {
  std::vector<OmbRect> rects;
  std::vector<V> weight, thr, val1, val2;
  std::vector<int> num;
};

// ---- Model: the stage as plain corners and a per-window evaluation ---------

struct Pt {
  int x, y;
};
template <class V>
struct Cls {
  std::vector<std::array<Pt, 4>> corners;  // D, C, B, A
  std::vector<V> w;
  V thr, v1, v2;
  bool tilted;
  int input;
};

std::array<Pt, 4> Upright(const OmbRect& r) {
  return {{{r.x + r.width, r.y + r.height}, {r.x, r.y + r.height}, {r.x + r.width, r.y}, {r.x, r.y}}};
}
std::array<Pt, 4> Tilted(int x, int y, int w, int h) {
  return {{{x + w - h, y + w + h}, {x - h, y + h}, {x + w, y + w}, {x, y}}};
}

// Upright stages are stored two-rectangle classifiers first, then three,
// then the rest, each in input order; tilted stages keep input order.
template <class V>
std::vector<Cls<V>> Model(const Input<V>& in, bool tilted) {
  std::vector<Cls<V>> out;
  for (std::size_t i = 0, first = 0; i < in.num.size(); first += in.num[i++]) {
    Cls<V> c{{}, {}, in.thr[i], in.val1[i], in.val2[i], tilted, static_cast<int>(i)};
    for (int r = 0; r < in.num[i]; ++r) {
      const OmbRect& f = in.rects[first + r];
      c.corners.push_back(tilted ? Tilted(f.x, f.y, f.width, f.height) : Upright(f));
      c.w.push_back(in.weight[first + r]);
    }
    out.push_back(c);
  }
  auto group = [](const Cls<V>& c) { return c.w.size() == 2 ? 0 : c.w.size() == 3 ? 1 : 2; };
  if (!tilted)
    std::stable_sort(out.begin(), out.end(), [&](auto& a, auto& b) { return group(a) < group(b); });
  return out;
}

// What TiltHaarFeatures does to the model.
template <class V>
void ModelTilt(std::vector<Cls<V>>& st, const std::vector<Omb8u>& mask, int flag) {
  for (Cls<V>& c : st) {
    if (!mask[c.input]) continue;
    c.tilted = true;
    for (auto& q : c.corners) {
      const int x = q[3].x, y = q[3].y, w = q[2].x - x, h = q[1].y - y;
      q = flag ? Tilted(x, y, w, h)
               : std::array<Pt, 4>{{{x, y + h}, {x - h, y}, {x + w, y + h - w}, {x + w - h, y - w}}};
    }
  }
}

std::uint32_t U(std::int32_t v) { return static_cast<std::uint32_t>(v); }

// Stage sum of window (x, y); `at(tilted, cx, cy)` reads a corner.
template <Arith A, class V, class N, class At>
auto ModelSum(const std::vector<Cls<V>>& st, N n, const At& at) {
  if constexpr (A == Arith::kInt) {
    std::uint32_t s = 0;
    for (const Cls<V>& c : st) {
      std::uint32_t t = 0;
      for (std::size_t r = 0; r < c.w.size(); ++r) {
        auto T = [&](int k) { return U(at(c.tilted, c.corners[r][k])); };
        t += ((T(0) - T(1)) + (T(3) - T(2))) * U(c.w[r]);
      }
      s += static_cast<std::int32_t>(t) < static_cast<std::int32_t>(U(c.thr) * U(n)) ? U(c.v1) : U(c.v2);
    }
    return static_cast<std::int32_t>(s);
  } else {
    float s = 0.0f;
    for (const Cls<V>& c : st) {
      float t = 0.0f;
      for (std::size_t r = 0; r < c.w.size(); ++r) {
        auto T = [&](int k) { return at(c.tilted, c.corners[r][k]); };
        float e;
        if constexpr (A == Arith::kFloat) {
          e = T(0) - T(1) - T(2) + T(3);
        } else {
          e = static_cast<float>(static_cast<std::int32_t>((U(T(0)) - U(T(1))) + (U(T(3)) - U(T(2)))));
        }
        t = t + e * c.w[r];
      }
      s = s + (t >= c.thr * n ? c.v2 : c.v1);
    }
    return s;
  }
}

// ---- The fronts under one signature -----------------------------------------

template <class Tab, class N, class S>
using ApplyFn = std::function<OmbResult(const Tab*, int, const Tab*, int, const N*, int, Omb8u*,
                                        int, OmbRoiSize, int*, N, S*)>;

template <Arith A>
struct Family;
template <>
struct Family<Arith::kFloat> {
  using Tab = Omb32f; using V = Omb32f; using N = Omb32f; using S = OmbHaarStage_32f;
};
template <>
struct Family<Arith::kIntFloat> {
  using Tab = Omb32s; using V = Omb32f; using N = Omb32f; using S = OmbHaarStage_32f;
};
template <>
struct Family<Arith::kInt> {
  using Tab = Omb32s; using V = Omb32s; using N = Omb32s; using S = OmbHaarStage_32s;
};

// Empty arrays still need non-null pointers: null is refused whatever the length.
template <class T>
const T* Data(const std::vector<T>& v) {
  static const T dummy{};
  return v.empty() ? &dummy : v.data();
}

OmbResult Init(OmbHaarStage_32f** s, const Input<Omb32f>& in, bool tilted) {
  return (tilted ? ombiTiltedHaarClassifierInitAlloc_32f : ombiHaarClassifierInitAlloc_32f)(
      s, Data(in.rects), Data(in.weight), Data(in.thr), Data(in.val1), Data(in.val2), Data(in.num),
      static_cast<int>(in.num.size()));
}
OmbResult Init(OmbHaarStage_32s** s, const Input<Omb32s>& in, bool tilted) {
  return (tilted ? ombiTiltedHaarClassifierInitAlloc_32s : ombiHaarClassifierInitAlloc_32s)(
      s, Data(in.rects), Data(in.weight), Data(in.thr), Data(in.val1), Data(in.val2), Data(in.num),
      static_cast<int>(in.num.size()));
}
OmbResult Tilt(const Omb8u* m, int flag, OmbHaarStage_32f* s) { return ombiTiltHaarFeatures_32f(m, flag, s); }
OmbResult Tilt(const Omb8u* m, int flag, OmbHaarStage_32s* s) { return ombiTiltHaarFeatures_32s(m, flag, s); }
OmbResult Free(OmbHaarStage_32f* s) { return ombiHaarClassifierFree_32f(s); }
OmbResult Free(OmbHaarStage_32s* s) { return ombiHaarClassifierFree_32s(s); }
OmbResult Size(OmbHaarStage_32f* s, OmbRoiSize* r) { return ombiGetHaarClassifierSize_32f(s, r); }
OmbResult Size(OmbHaarStage_32s* s, OmbRoiSize* r) { return ombiGetHaarClassifierSize_32s(s, r); }

template <class>
constexpr int kSfs = 3;  // accepted and unused; one per trailing int of a front

// The upright-only fronts lack the tilted table; the 32s ones take a scale
// factor last.
template <class Tab, class N, class S, class... Sfs>
ApplyFn<Tab, N, S> Plain(OmbResult (*f)(const Tab*, int, const N*, int, Omb8u*, int, OmbRoiSize,
                                        int*, N, S*, Sfs...)) {
  return [f](const Tab* u, int us, const Tab*, int, const N* n, int ns, Omb8u* m, int ms,
             OmbRoiSize r, int* c, N t, S* s) { return f(u, us, n, ns, m, ms, r, c, t, s, kSfs<Sfs>...); };
}
template <class Tab, class N, class S, class... Sfs>
ApplyFn<Tab, N, S> Mixed(OmbResult (*f)(const Tab*, int, const Tab*, int, const N*, int, Omb8u*,
                                        int, OmbRoiSize, int*, N, S*, Sfs...)) {
  return [f](const Tab* u, int us, const Tab* t, int ts, const N* n, int ns, Omb8u* m, int ms,
             OmbRoiSize r, int* c, N th, S* s) {
    return f(u, us, t, ts, n, ns, m, ms, r, c, th, s, kSfs<Sfs>...);
  };
}

// ---- Random stages and one differential run ----------------------------------

template <class V>
V Pick(Rng& rng, double lo, double hi) {
  if constexpr (std::is_integral_v<V>) {
    return static_cast<V>(std::uniform_int_distribution<long long>(static_cast<long long>(lo),
                                                                   static_cast<long long>(hi))(rng));
  } else {
    return static_cast<V>(std::uniform_real_distribution<double>(lo, hi)(rng));
  }
}

// Mixed two-, three-, one- and four-rectangle classifiers; features within
// 12 x 18 of the window origin (tilted: down to column -1).
template <class V>
Input<V> RandomInput(Rng& rng, int length, bool tilted) {
  Input<V> in;
  constexpr int kCounts[] = {2, 3, 2, 3, 1, 4, 3, 2};
  for (int i = 0; i < length; ++i) {
    const int n = kCounts[rng() % 8];
    in.num.push_back(n);
    for (int r = 0; r < n; ++r) {
      const int w = 1 + rng() % 6, h = 1 + rng() % 6, y = rng() % 7;
      const int x = tilted ? h - 1 + static_cast<int>(rng() % 6) : static_cast<int>(rng() % 7);
      in.rects.push_back({x, y, w, h});
      const bool minus_one = r == 0 && rng() % 2 == 0;
      in.weight.push_back(minus_one ? V(-1) : Pick<V>(rng, -3, 3));
    }
    in.thr.push_back(std::is_integral_v<V> ? Pick<V>(rng, -2e9, 2e9) : Pick<V>(rng, -1000, 1000));
    in.val1.push_back(Pick<V>(rng, -10, 10));
    in.val2.push_back(Pick<V>(rng, -10, 10));
  }
  return in;
}

constexpr int kMargin = 8, kReach = 20;  // table margin before and after the ROI

struct Shape {
  int w, h;
  double density;  // share of candidate windows
};

template <Arith A>
void ExpectMatchesModel(const ApplyFn<typename Family<A>::Tab, typename Family<A>::N,
                                      typename Family<A>::S>& apply,
                        bool mixed, const Shape& sh, int kind, std::uint64_t seed,
                        bool from_image = false) {
  using F = Family<A>;
  using Tab = typename F::Tab;
  using V = typename F::V;
  using N = typename F::N;
  SCOPED_TRACE(::testing::Message() << sh.w << "x" << sh.h << " kind " << kind << " seed " << seed);
  Rng rng(seed);
  // Lengths 0..12 by seed, so that every front meets empty stages.
  const Input<V> in = RandomInput<V>(rng, static_cast<int>(seed % 13), kind == 1);
  std::vector<Cls<V>> model = Model(in, kind == 1);
  typename F::S* st = nullptr;
  ASSERT_EQ(Init(&st, in, kind == 1), ombResultOk);
  if (kind == 2) {  // some classifiers turned by TiltHaarFeatures
    std::vector<Omb8u> sel(in.num.size() + 1);
    for (Omb8u& b : sel) b = rng() % 3 == 0 ? 1 : 0;
    ASSERT_EQ(Tilt(sel.data(), static_cast<int>(seed % 2), st), ombResultOk);
    ModelTilt(model, sel, static_cast<int>(seed % 2));
  }

  const int tw = kMargin + sh.w + kReach, th = kMargin + sh.h + kReach;
  TestImage<Tab> up(tw, th), tilt(tw, th);
  FillRandom(up, rng, 0.002);
  FillRandom(tilt, rng, 0.002);
  if (from_image) {  // a true upright integral table of random bytes
    std::vector<std::int64_t> col(tw, 0);
    for (int y = 1; y < th; ++y) {
      std::int64_t run = 0;
      for (int x = 1; x < tw; ++x) {
        run += static_cast<std::int64_t>(rng() % 256);
        col[x] += run;
        up.Set(x, y, static_cast<Tab>(col[x]));
      }
    }
    for (int x = 0; x < tw; ++x) up.Set(x, 0, Tab(0));
    for (int y = 0; y < th; ++y) up.Set(0, y, Tab(0));
    up.Snapshot();
  }
  Layout nl;
  nl.pad_bytes = 4 * static_cast<int>(seed % 3);
  TestImage<N> norm(sh.w, sh.h, nl);
  FillRandom(norm, rng, 0.01);
  Layout ml;
  ml.pad_bytes = static_cast<int>(seed % 5);
  ml.off_x = static_cast<int>(seed % 3);
  ml.off_y = 1;
  ml.shift = static_cast<int>(seed % 2);
  TestImage<Omb8u> mask(sh.w, sh.h, ml);
  for (int y = 0; y < sh.h; ++y)
    for (int x = 0; x < sh.w; ++x)
      mask.Set(x, y, static_cast<Omb8u>(std::uniform_real_distribution<double>(0, 1)(rng) < sh.density ? 1 + rng() % 255 : 0));
  mask.Snapshot();

  auto sum_at = [&](int x, int y) {
    return ModelSum<A>(model, norm.Get(x, y), [&](bool tilted, Pt p) {
      return (mixed && tilted ? tilt : up).Get(kMargin + x + p.x, kMargin + y + p.y);
    });
  };
  // A stage threshold equal to some window's sum: about half pass, and the
  // equality case is met; for even seeds one more, so that an empty stage
  // (sum 0) also meets a threshold that rejects every window.
  N stage = sum_at(static_cast<int>(rng() % sh.w), static_cast<int>(rng() % sh.h));
  if (stage != stage) stage = 0;
  if (seed % 2 == 0) stage = stage + N(1);
  TestImage<Omb8u> want(mask);
  int want_count = 0;
  for (int y = 0; y < sh.h; ++y) {
    for (int x = 0; x < sh.w; ++x) {
      if (mask.Get(x, y) == 0) continue;
      if (sum_at(x, y) >= stage) {
        ++want_count;
      } else {
        want.Set(x, y, 0);
      }
    }
  }
  int count = -1;
  const auto* u = reinterpret_cast<const Tab*>(up.PixelBytes(kMargin, kMargin));
  const auto* t = reinterpret_cast<const Tab*>(tilt.PixelBytes(kMargin - 1, kMargin - 1));
  ASSERT_EQ(apply(u, up.Step(), t, tilt.Step(), norm.Roi(), norm.Step(), mask.Roi(), mask.Step(),
                  {sh.w, sh.h}, &count, stage, st),
            ombResultOk);
  EXPECT_EQ(count, want_count);
  EXPECT_TRUE(SameBytes(mask, want));
  EXPECT_TRUE(up.Unchanged() && tilt.Unchanged() && norm.Unchanged());
  EXPECT_EQ(Free(st), ombResultOk);
}

// Density 0: a mask of zeros is left as it is, with count 0.
const Shape kShapes[] = {{1, 1, 1.0}, {3, 2, 0.7}, {7, 5, 0.5}, {16, 3, 1.0}, {17, 4, 0.2},
                         {33, 5, 0.9}, {64, 2, 0.05}, {70, 3, 0.6}, {5, 40, 0.8}, {9, 3, 0.0}};

template <Arith A>
void ExpectFront(const ApplyFn<typename Family<A>::Tab, typename Family<A>::N,
                               typename Family<A>::S>& apply,
                 bool mixed) {
  ForEachSimdTarget([&] {
    std::uint64_t seed = 1;
    for (const Shape& s : kShapes)
      for (int kind = 0; kind < 3 && !::testing::Test::HasFailure(); ++kind)
        ExpectMatchesModel<A>(apply, mixed, s, kind, seed++);
  });
}

TEST(HaarApply, Float) { ExpectFront<Arith::kFloat>(Plain(ombiApplyHaarClassifier_32f_C1R), false); }
TEST(HaarApply, IntFloat) { ExpectFront<Arith::kIntFloat>(Plain(ombiApplyHaarClassifier_32s32f_C1R), false); }
TEST(HaarApply, Int) { ExpectFront<Arith::kInt>(Plain(ombiApplyHaarClassifier_32s_C1RSfs), false); }
TEST(HaarApply, MixedFloat) { ExpectFront<Arith::kFloat>(Mixed(ombiApplyMixedHaarClassifier_32f_C1R), true); }
TEST(HaarApply, MixedIntFloat) { ExpectFront<Arith::kIntFloat>(Mixed(ombiApplyMixedHaarClassifier_32s32f_C1R), true); }
TEST(HaarApply, MixedInt) { ExpectFront<Arith::kInt>(Mixed(ombiApplyMixedHaarClassifier_32s_C1RSfs), true); }

// 400 x 200 windows reach the split threshold (22500 per thread) at 1, 2
// and 3 threads; counts and masks must not depend on the split.
TEST(HaarApply, FloatAtEveryThreadCount) {
  ForEachThreadCount([](int n) {
    ExpectMatchesModel<Arith::kFloat>(Plain(ombiApplyHaarClassifier_32f_C1R), false, {400, 200, 0.7}, 0, 40 + n, n % 2 == 1);
  });
}

// ---- Stored order, empty stages, zero masks -----------------------------------

// Votes 1e8, -1e8 and 1 (weights 0, so every classifier votes val2). In
// input order the sum is 1; the stored order puts the three-rectangle
// classifier last, which gives (-1e8 + 1) + 1e8 = 0.
TEST(HaarApply, FloatSumsFollowStoredOrder) {
  for (bool grouped : {true, false}) {
    Input<Omb32f> in;
    in.num = {grouped ? 3 : 2, 2, 2};
    in.rects.assign(7, OmbRect{0, 0, 1, 1});
    in.weight.assign(7, 0.0f);
    in.thr = {0, 0, 0};
    in.val1 = in.val2 = {1e8f, -1e8f, 1.0f};
    OmbHaarStage_32f* st = nullptr;
    ASSERT_EQ(Init(&st, in, false), ombResultOk);
    TestImage<Omb32f> table(4, 4), norm(2, 2);
    TestImage<Omb32s> itable(4, 4);
    for (int y = 0; y < 4; ++y)
      for (int x = 0; x < 4; ++x) table.Set(x, y, 0.0f), itable.Set(x, y, 0);
    for (int y = 0; y < 2; ++y)
      for (int x = 0; x < 2; ++x) norm.Set(x, y, 1.0f);
    for (int variant = 0; variant < 2; ++variant) {
      TestImage<Omb8u> mask(2, 2);
      for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 2; ++x) mask.Set(x, y, 1);
      int count = -1;
      const OmbResult r = variant == 0
          ? ombiApplyHaarClassifier_32f_C1R(table.Roi(), table.Step(), norm.Roi(), norm.Step(), mask.Roi(), mask.Step(), {2, 2}, &count, 0.5f, st)
          : ombiApplyHaarClassifier_32s32f_C1R(itable.Roi(), itable.Step(), norm.Roi(), norm.Step(), mask.Roi(), mask.Step(), {2, 2}, &count, 0.5f, st);
      ASSERT_EQ(r, ombResultOk);
      EXPECT_EQ(count, grouped ? 0 : 4) << "variant " << variant;
    }
    Free(st);
  }
}

// ---- State building ------------------------------------------------------------

// One fault per row (an argument pointer nulled, a length, the second
// classifier's count, one rectangle replaced); earlier stages win.
struct InitCase {
  const char* what;
  int null_arg;  // 0 = out state, 1..6 = the arrays in order; -1 none
  int length, count1, rect_at;
  OmbRect rect;
  OmbResult upright, tilted;
};
const InitCase kInitCases[] = {
    {"out null", 0, 2, 1, -1, {}, ombResultNullPointer, ombResultNullPointer},
    {"rects null, length -1", 1, -1, 1, -1, {}, ombResultNullPointer, ombResultNullPointer},
    {"weights null", 2, 2, 1, -1, {}, ombResultNullPointer, ombResultNullPointer},
    {"thresholds null", 3, 2, 1, -1, {}, ombResultNullPointer, ombResultNullPointer},
    {"val1 null", 4, 2, 1, -1, {}, ombResultNullPointer, ombResultNullPointer},
    {"val2 null", 5, 2, 1, -1, {}, ombResultNullPointer, ombResultNullPointer},
    {"counts null, width 0", 6, 2, 1, 0, {1, 0, 0, 2}, ombResultNullPointer, ombResultNullPointer},
    {"length -1", -1, -1, 1, -1, {}, ombResultBadSize, ombResultBadSize},
    {"count 0, x -1", -1, 2, 0, 0, {-1, 0, 2, 2}, ombResultBadSize, ombResultBadSize},
    {"width 0", -1, 2, 1, 0, {1, 0, 0, 2}, ombResultBadArgument, ombResultBadArgument},
    {"last height 0", -1, 2, 1, 2, {3, 3, 2, 0}, ombResultBadArgument, ombResultBadArgument},
    {"x -1", -1, 2, 1, 1, {-1, 1, 1, 2}, ombResultBadArgument, ombResultBadArgument},
    {"y -1", -1, 2, 1, 2, {3, -1, 2, 1}, ombResultBadArgument, ombResultBadArgument},
    {"x + 1 < height", -1, 2, 1, 0, {1, 0, 2, 3}, ombResultOk, ombResultBadArgument},
    {"length 0", -1, 0, 1, -1, {}, ombResultOk, ombResultOk},
};

template <class S, class V, class Fn>
void ExpectInitCase(const InitCase& c, bool tilted, Fn init) {
  Input<V> in{{{1, 0, 2, 2}, {2, 1, 1, 2}, {3, 3, 2, 1}}, {V(-1), 2, 1}, {1, 2}, {0, 1}, {1, 0}, {2, c.count1}};
  if (c.rect_at >= 0) in.rects[c.rect_at] = c.rect;
  auto arg = [&](int i, auto* p) { return c.null_arg == i ? nullptr : p; };
  S* const sentinel = reinterpret_cast<S*>(&in);
  S* st = sentinel;
  const OmbResult want = tilted ? c.tilted : c.upright;
  EXPECT_EQ(init(arg(0, &st), arg(1, in.rects.data()), arg(2, in.weight.data()), arg(3, in.thr.data()),
                 arg(4, in.val1.data()), arg(5, in.val2.data()), arg(6, in.num.data()), c.length),
            want)
      << c.what << (tilted ? " (tilted)" : "");
  if (want == ombResultOk) {
    EXPECT_EQ(Free(st), ombResultOk);
  } else {
    // -5 comes after the block was filled and released: the out pointer is
    // cleared. A failed check before that writes nothing.
    EXPECT_EQ(st, want == ombResultBadArgument ? nullptr : sentinel) << c.what;
  }
}

TEST(HaarState, InitAllocChecksInOrder) {
  for (const InitCase& c : kInitCases) {
    ExpectInitCase<OmbHaarStage_32f, Omb32f>(c, false, ombiHaarClassifierInitAlloc_32f);
    ExpectInitCase<OmbHaarStage_32f, Omb32f>(c, true, ombiTiltedHaarClassifierInitAlloc_32f);
    ExpectInitCase<OmbHaarStage_32s, Omb32s>(c, false, ombiHaarClassifierInitAlloc_32s);
    ExpectInitCase<OmbHaarStage_32s, Omb32s>(c, true, ombiTiltedHaarClassifierInitAlloc_32s);
  }
  EXPECT_EQ(Free(static_cast<OmbHaarStage_32f*>(nullptr)), ombResultNullPointer);
  EXPECT_EQ(Free(static_cast<OmbHaarStage_32s*>(nullptr)), ombResultNullPointer);
}

TEST(HaarState, ClassifierSize) {
  const Input<Omb32s> in{{{3, 2, 3, 4}, {8, 0, 2, 9}, {4, 1, 1, 2}}, {-1, 1, 1}, {0, 0}, {0, 0}, {0, 0}, {2, 1}};
  const OmbRoiSize want[] = {{10, 9}, {10, 11}};  // upright: x+w, y+h; tilted: x+w, y+w+h
  for (bool tilted : {false, true}) {
    OmbHaarStage_32s* st = nullptr;
    ASSERT_EQ(Init(&st, in, tilted), ombResultOk);
    OmbRoiSize size{};
    EXPECT_EQ(Size(st, &size), ombResultOk);
    EXPECT_EQ(size.width, want[tilted].width);
    EXPECT_EQ(size.height, want[tilted].height);
    EXPECT_EQ(Size(st, nullptr), ombResultNullPointer);
    EXPECT_EQ(Size(static_cast<OmbHaarStage_32s*>(nullptr), &size), ombResultNullPointer);
    Free(st);
  }
  OmbHaarStage_32f* empty = nullptr;
  ASSERT_EQ(Init(&empty, Input<Omb32f>{}, false), ombResultOk);
  OmbRoiSize size{7, 7};
  EXPECT_EQ(Size(empty, &size), ombResultOk);
  EXPECT_EQ(size.width, 0);
  EXPECT_EQ(size.height, 0);
  EXPECT_EQ(Free(empty), ombResultOk);
}

TEST(HaarState, TiltFeaturesStatus) {
  const Input<Omb32f> in{{{1, 0, 2, 2}, {2, 1, 1, 2}}, {-1, 2}, {1}, {0}, {1}, {2}};
  const Omb8u none[1] = {0}, all[1] = {1};
  OmbHaarStage_32f *upright = nullptr, *tilted = nullptr, *empty = nullptr;
  ASSERT_EQ(Init(&upright, in, false), ombResultOk);
  ASSERT_EQ(Init(&tilted, in, true), ombResultOk);
  ASSERT_EQ(Init(&empty, Input<Omb32f>{}, false), ombResultOk);
  EXPECT_EQ(Tilt(nullptr, 1, upright), ombResultNullPointer);
  EXPECT_EQ(Tilt(all, 1, static_cast<OmbHaarStage_32f*>(nullptr)), ombResultNullPointer);
  EXPECT_EQ(Tilt(all, 1, tilted), ombResultBadArgument);
  EXPECT_EQ(Tilt(all, 0, empty), ombResultOk);
  EXPECT_EQ(Tilt(none, 1, upright), ombResultOk);  // nothing turned: flag stays clear
  EXPECT_EQ(Tilt(all, 1, upright), ombResultOk);
  EXPECT_EQ(Tilt(all, 1, upright), ombResultBadArgument);  // now a tilted state
  for (auto* s : {upright, tilted, empty}) EXPECT_EQ(Free(s), ombResultOk);
}

// ---- Argument checks of the apply fronts -----------------------------------------

template <Arith A>
void ExpectApplyChecks(const std::string& name, bool mixed,
                       const ApplyFn<typename Family<A>::Tab, typename Family<A>::N, typename Family<A>::S>& apply) {
  using F = Family<A>;
  typename F::S* st = nullptr;
  ASSERT_EQ(Init(&st, Input<typename F::V>{}, false), ombResultOk);  // reads no table
  const Elem tab = ElemOf<typename F::Tab>(), nrm = ElemOf<typename F::N>();
  ArgFront f;
  f.name = name;
  f.images = {{tab}};
  if (mixed) f.images.push_back({tab});
  f.images.push_back({nrm});
  f.images.push_back({Elem::k8u, true, false, true});
  int count = 0;
  f.call = [&](const CallArgs& a) {
    const std::size_t k = mixed ? 1 : 0;
    return apply(a.P<typename F::Tab>(0), a.step[0], a.P<typename F::Tab>(k), a.step[k],
                 a.P<typename F::N>(k + 1), a.step[k + 1], a.P<Omb8u>(k + 2), a.step[k + 2], a.roi,
                 &count, typename F::N(0), st);
  };
  ExpectCheckOrder(f);
  // The count and state pointers are null-pointer faults too, ahead of
  // sizes, steps and alignment.
  using Tab = typename F::Tab;
  TestImage<Tab> t0(11, 3), t1(11, 3);
  TestImage<typename F::N> n(11, 3);
  TestImage<Omb8u> m(11, 3);
  const int s = t0.Step();
  const std::pair<OmbRoiSize, int> faults[] = {{{11, 3}, s}, {{0, 0}, s}, {{11, 3}, 0}, {{11, 3}, s + 2}};
  for (const auto& [roi, step] : faults) {
    for (int which = 0; which < 2; ++which) {
      EXPECT_EQ(apply(t0.Roi(), step, t1.Roi(), t1.Step(), n.Roi(), n.Step(), m.Roi(), m.Step(), roi,
                      which == 0 ? nullptr : &count, typename F::N(0), which == 1 ? nullptr : st),
                ombResultNullPointer)
          << name << (which ? " null state" : " null count") << ", step " << step;
    }
  }
  EXPECT_TRUE(m.Unchanged());
  Free(st);
}

TEST(HaarApply, ChecksArgumentsInOrder) {
  ExpectApplyChecks<Arith::kFloat>("ombiApplyHaarClassifier_32f_C1R", false, Plain(ombiApplyHaarClassifier_32f_C1R));
  ExpectApplyChecks<Arith::kIntFloat>("ombiApplyHaarClassifier_32s32f_C1R", false, Plain(ombiApplyHaarClassifier_32s32f_C1R));
  ExpectApplyChecks<Arith::kInt>("ombiApplyHaarClassifier_32s_C1RSfs", false, Plain(ombiApplyHaarClassifier_32s_C1RSfs));
  ExpectApplyChecks<Arith::kFloat>("ombiApplyMixedHaarClassifier_32f_C1R", true, Mixed(ombiApplyMixedHaarClassifier_32f_C1R));
  ExpectApplyChecks<Arith::kIntFloat>("ombiApplyMixedHaarClassifier_32s32f_C1R", true, Mixed(ombiApplyMixedHaarClassifier_32s32f_C1R));
  ExpectApplyChecks<Arith::kInt>("ombiApplyMixedHaarClassifier_32s_C1RSfs", true, Mixed(ombiApplyMixedHaarClassifier_32s_C1RSfs));
}

}  // namespace
}  // namespace omb_test
