// Pyramid layer operators against plain models: kernel normalisation, the
// filtered image (integers: direct two-dimensional Q26 sums), linear
// resampling down and up, argument checks, guard bytes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <vector>

#include "ombcv.h"
#include "support/test_image.hpp"

namespace {

using omb_test::Layout;
using omb_test::Rng;
using omb_test::TestImage;

int Cl(int v, int lo, int hi) { return std::max(lo, std::min(hi, v)); }

// ---- models ------------------------------------------------------------------

std::vector<std::int64_t> NormInt(const std::vector<std::int16_t>& k) {
  const int K = static_cast<int>(k.size()), c = K / 2;
  double left = 0;
  for (int i = 0; i < c; ++i) left += k[i];
  const float S = static_cast<float>(4.0 * k[c] + 8.0 * left);
  std::vector<std::int64_t> out(K);
  for (int i = 0; i < K; ++i) {
    if (!(std::fabs(S) > 1.1754944e-38f)) { out[i] = k[i]; continue; }
    const float q = static_cast<float>(4 * k[i]) / (S / 2.0f) * 8192.0f + 0.5f;
    int v = static_cast<int>(q);
    v = ((v & 0xFFFF) ^ 0x8000) - 0x8000;  // as a signed 16-bit value
    out[i] = v >= 0 ? v / 2 : -((-v + 1) / 2);  // arithmetic shift by one
  }
  return out;
}

std::vector<float> NormFloat(const std::vector<float>& k) {
  const int K = static_cast<int>(k.size()), c = K / 2;
  float left = 0;
  for (int i = 0; i < c; ++i) left = left + k[i];
  const float sum = k[c] + 2.0f * left;
  if (!(std::fabs(sum) > 1.1754944e-38f)) return k;
  std::vector<float> out(K);
  for (int i = 0; i <= c; ++i) out[i] = out[K - 1 - i] = k[i] / sum;
  return out;
}

// A C-channel image as plain rows of doubles-free values.
template <class V>
struct Img {
  int w, h, C;
  std::vector<V> v;
  V& at(int x, int y, int ch) { return v[(static_cast<size_t>(y) * w + x) * C + ch]; }
  V get(int x, int y, int ch) const {
    return v[(static_cast<size_t>(Cl(y, 0, h - 1)) * w + Cl(x, 0, w - 1)) * C + ch];
  }
};

// Integer filter: the direct two-dimensional sum, rounded half up, kept in
// `lo..hi`.
Img<std::int64_t> FilterInt(const Img<std::int64_t>& s, const std::vector<std::int64_t>& k,
                            std::int64_t hi) {
  const int K = static_cast<int>(k.size()), c = K / 2;
  Img<std::int64_t> o{s.w, s.h, s.C, std::vector<std::int64_t>(s.v.size())};
  for (int y = 0; y < s.h; ++y)
    for (int x = 0; x < s.w; ++x)
      for (int ch = 0; ch < s.C; ++ch) {
        std::int64_t sum = 0;
        for (int i = 0; i < K; ++i)
          for (int j = 0; j < K; ++j) sum += k[i] * k[j] * s.get(x + j - c, y + i - c, ch);
        const std::int64_t r = (sum + (1 << 25)) >> 26;
        o.at(x, y, ch) = std::max<std::int64_t>(0, std::min(hi, r));
      }
  return o;
}

// Float filter: rows, then columns, each summed in tap order.
Img<float> FilterFloat(const Img<float>& s, const std::vector<float>& k) {
  const int K = static_cast<int>(k.size()), c = K / 2;
  Img<float> r{s.w, s.h, s.C, std::vector<float>(s.v.size())};
  Img<float> o = r;
  for (int y = 0; y < s.h; ++y)
    for (int x = 0; x < s.w; ++x)
      for (int ch = 0; ch < s.C; ++ch) {
        float a = 0;
        for (int j = 0; j < K; ++j) a = a + k[j] * s.get(x + j - c, y, ch);
        r.at(x, y, ch) = a;
      }
  for (int y = 0; y < s.h; ++y)
    for (int x = 0; x < s.w; ++x)
      for (int ch = 0; ch < s.C; ++ch) {
        float a = 0;
        for (int i = 0; i < K; ++i) a = a + k[i] * r.get(x, y + i - c, ch);
        o.at(x, y, ch) = a;
      }
  return o;
}

template <class V>
V Lin(V s0, V s1, float f) {
  if constexpr (std::is_same_v<V, float>) {
    return s1 * f + s0 * (1.0f - f);
  } else {
    const float v = static_cast<float>(s1) * f + 0.5f + static_cast<float>(s0) * (1.0f - f);
    return static_cast<V>(v);
  }
}

// Resamples along x (axis 0) or y (axis 1).
template <class V>
Img<V> Resample(const Img<V>& s, int n_out, int axis, float rate, bool up) {
  Img<V> o{axis == 0 ? n_out : s.w, axis == 0 ? s.h : n_out, s.C, {}};
  o.v.resize(static_cast<size_t>(o.w) * o.h * o.C);
  const int n = axis == 0 ? s.w : s.h;
  const bool halve = !up && rate >= 1.99998f && rate <= 2.00002f;
  for (int y = 0; y < o.h; ++y)
    for (int x = 0; x < o.w; ++x)
      for (int ch = 0; ch < s.C; ++ch) {
        const int i = axis == 0 ? x : y;
        auto at = [&](int k) { return axis == 0 ? s.get(k, y, ch) : s.get(x, k, ch); };
        if (halve) { o.at(x, y, ch) = at(std::min(2 * i, n - 1)); continue; }
        const float p = up ? static_cast<float>(i) / rate : static_cast<float>(i) * rate;
        const int k = static_cast<int>(p);
        o.at(x, y, ch) = Lin<V>(at(k), at(k + 1), p - std::trunc(p));
      }
  return o;
}

// ---- typed calls ---------------------------------------------------------------

// The six members of one type and channel count behind untyped calls, so
// that one differential run serves all of them.
struct Calls {
  std::function<OmbResult(void**, OmbRoiSize, float, const void*, int, int)> dinit, uinit;
  std::function<OmbResult(const void*, int, OmbRoiSize, void*, int, OmbRoiSize, void*)> down, up;
  std::function<OmbResult(void*)> dfree, ufree;
};

template <class State, class K>
auto UntypedInit(OmbResult (*fn)(State**, OmbRoiSize, Omb32f, const K*, int, int)) {
  return [fn](void** out, OmbRoiSize r, float rate, const void* k, int n, int mode) {
    State* st = nullptr;
    const OmbResult res = fn(&st, r, rate, static_cast<const K*>(k), n, mode);
    *out = st;
    return res;
  };
}
template <class T, class State>
auto UntypedApply(OmbResult (*fn)(const T*, int, OmbRoiSize, T*, int, OmbRoiSize, State*)) {
  return [fn](const void* s, int ss, OmbRoiSize sr, void* d, int ds, OmbRoiSize dr, void* st) {
    return fn(static_cast<const T*>(s), ss, sr, static_cast<T*>(d), ds, dr, static_cast<State*>(st));
  };
}
template <class State>
auto UntypedFree(OmbResult (*fn)(State*)) {
  return [fn](void* st) { return fn(static_cast<State*>(st)); };
}

template <class T>
Calls CallsFor(int C);
template <>
Calls CallsFor<Omb8u>(int C) {
  if (C == 1)
    return Calls{UntypedInit(ombiPyramidLayerDownInitAlloc_8u_C1R), UntypedInit(ombiPyramidLayerUpInitAlloc_8u_C1R),
               UntypedApply(ombiPyramidLayerDown_8u_C1R), UntypedApply(ombiPyramidLayerUp_8u_C1R),
               UntypedFree(ombiPyramidLayerDownFree_8u_C1R), UntypedFree(ombiPyramidLayerUpFree_8u_C1R)};
  return Calls{UntypedInit(ombiPyramidLayerDownInitAlloc_8u_C3R), UntypedInit(ombiPyramidLayerUpInitAlloc_8u_C3R),
               UntypedApply(ombiPyramidLayerDown_8u_C3R), UntypedApply(ombiPyramidLayerUp_8u_C3R),
               UntypedFree(ombiPyramidLayerDownFree_8u_C3R), UntypedFree(ombiPyramidLayerUpFree_8u_C3R)};
}
template <>
Calls CallsFor<Omb16u>(int C) {
  if (C == 1)
    return Calls{UntypedInit(ombiPyramidLayerDownInitAlloc_16u_C1R), UntypedInit(ombiPyramidLayerUpInitAlloc_16u_C1R),
               UntypedApply(ombiPyramidLayerDown_16u_C1R), UntypedApply(ombiPyramidLayerUp_16u_C1R),
               UntypedFree(ombiPyramidLayerDownFree_16u_C1R), UntypedFree(ombiPyramidLayerUpFree_16u_C1R)};
  return Calls{UntypedInit(ombiPyramidLayerDownInitAlloc_16u_C3R), UntypedInit(ombiPyramidLayerUpInitAlloc_16u_C3R),
               UntypedApply(ombiPyramidLayerDown_16u_C3R), UntypedApply(ombiPyramidLayerUp_16u_C3R),
               UntypedFree(ombiPyramidLayerDownFree_16u_C3R), UntypedFree(ombiPyramidLayerUpFree_16u_C3R)};
}
template <>
Calls CallsFor<Omb32f>(int C) {
  if (C == 1)
    return Calls{UntypedInit(ombiPyramidLayerDownInitAlloc_32f_C1R), UntypedInit(ombiPyramidLayerUpInitAlloc_32f_C1R),
               UntypedApply(ombiPyramidLayerDown_32f_C1R), UntypedApply(ombiPyramidLayerUp_32f_C1R),
               UntypedFree(ombiPyramidLayerDownFree_32f_C1R), UntypedFree(ombiPyramidLayerUpFree_32f_C1R)};
  return Calls{UntypedInit(ombiPyramidLayerDownInitAlloc_32f_C3R), UntypedInit(ombiPyramidLayerUpInitAlloc_32f_C3R),
               UntypedApply(ombiPyramidLayerDown_32f_C3R), UntypedApply(ombiPyramidLayerUp_32f_C3R),
               UntypedFree(ombiPyramidLayerDownFree_32f_C3R), UntypedFree(ombiPyramidLayerUpFree_32f_C3R)};
}

template <class T>
using KernOf = std::conditional_t<std::is_same_v<T, Omb32f>, Omb32f, Omb16s>;

template <class T>
std::vector<KernOf<T>> RandomKernel(Rng& rng, int K, bool symmetric) {
  std::vector<KernOf<T>> k(K);
  std::uniform_int_distribution<int> d(-20, 200);
  for (int i = 0; i <= K / 2; ++i) {
    k[i] = static_cast<KernOf<T>>(d(rng));
    k[K - 1 - i] = symmetric ? k[i] : static_cast<KernOf<T>>(d(rng));
  }
  if (k[K / 2] < 50) k[K / 2] = 300;  // keep the sum well away from zero
  return k;
}

// Runs one down or up call on a random image and compares with the model.
template <class T>
void CheckOne(Rng& rng, int C, bool up, OmbRoiSize src, float rate, int K, bool sym) {
  const Calls calls = CallsFor<T>(C);
  const auto kern = RandomKernel<T>(rng, K, sym);
  OmbRoiSize dst{0, 0}, lo{0, 0}, hi{0, 0};
  if (up) {
    ASSERT_EQ(ombiGetPyramidUpROI(src, &lo, &hi, rate), ombResultOk);
    std::uniform_int_distribution<int> pw(lo.width, hi.width), ph(lo.height, hi.height);
    dst = {pw(rng), ph(rng)};
  } else {
    ASSERT_EQ(ombiGetPyramidDownROI(src, &dst, rate), ombResultOk);
  }
  void* st = nullptr;
  const OmbRoiSize made = up ? dst : src;
  const OmbResult init = (up ? calls.uinit : calls.dinit)(&st, made, rate, kern.data(), K, 2);
  ASSERT_EQ(init, sym ? ombResultOk : ombResultKernelNotSymmetricWarning);
  ASSERT_NE(st, nullptr);

  Layout ls{3, 1, 1, 1, 1}, ld{5, 2, 1, 1, 3};
  TestImage<T> s(src.width * C, src.height, ls), d(dst.width * C, dst.height, ld);
  omb_test::FillRandom(s, rng, 0.0);
  if constexpr (std::is_same_v<T, float>) {  // moderate values keep the sums finite
    for (int y = 0; y < src.height; ++y)
      for (int x = 0; x < src.width * C; ++x)
        s.Set(x, y, static_cast<float>(std::fmod(static_cast<double>(s.Get(x, y)), 1000.0)));
    s.Snapshot();
  }
  TestImage<T> want(d);

  // Models.
  using V = std::conditional_t<std::is_same_v<T, float>, float, std::int64_t>;
  Img<V> in{src.width, src.height, C, {}};
  for (int y = 0; y < src.height; ++y)
    for (int x = 0; x < src.width * C; ++x) in.v.push_back(static_cast<V>(s.Get(x, y)));
  Img<V> out;
  constexpr std::int64_t kTypeMax =
      std::is_same_v<T, float> ? 0 : static_cast<std::int64_t>(std::numeric_limits<T>::max());
  auto filter = [&](const Img<V>& im, std::int64_t hi_val) {
    if constexpr (std::is_same_v<T, float>) {
      (void)hi_val;
      return FilterFloat(im, NormFloat(std::vector<float>(kern.begin(), kern.end())));
    } else {
      return FilterInt(im, NormInt(std::vector<std::int16_t>(kern.begin(), kern.end())), hi_val);
    }
  };
  if (up) {
    out = filter(Resample(Resample(in, dst.width, 0, rate, true), dst.height, 1, rate, true),
                 kTypeMax);
  } else {
    out = Resample(Resample(filter(in, 65535), dst.width, 0, rate, false), dst.height, 1, rate,
                   false);
  }
  for (int y = 0; y < dst.height; ++y)
    for (int x = 0; x < dst.width * C; ++x) {
      const V v = out.v[static_cast<size_t>(y) * dst.width * C + x];
      if constexpr (std::is_same_v<T, float>)
        want.Set(x, y, v);
      else
        want.Set(x, y, static_cast<T>(std::min<V>(v, std::numeric_limits<T>::max())));
    }

  const OmbResult r = (up ? calls.up : calls.down)(s.Roi(), s.Step(), src, d.Roi(), d.Step(),
                                                    dst, st);
  EXPECT_EQ(r, ombResultOk);
  EXPECT_TRUE(omb_test::SameBytes(d, want))
      << (up ? "up" : "down") << " C" << C << " src " << src.width << "x" << src.height
      << " dst " << dst.width << "x" << dst.height << " rate " << rate << " K " << K;
  EXPECT_TRUE(s.Unchanged());
  EXPECT_EQ((up ? calls.ufree : calls.dfree)(st), ombResultOk);
}

template <class T>
void Differential(std::uint64_t seed) {
  Rng rng(seed);
  const float rates[] = {1.0001f, 1.5f, 2.0f, 1.99999f, 2.7f, 10.0f};
  std::uniform_int_distribution<int> sz(1, 40);
  for (int C : {1, 3})
    for (bool up : {false, true})
      for (float rate : rates)
        for (int K : {3, 5, 0}) {
          OmbRoiSize src{sz(rng), sz(rng)};
          if (up) src = {std::max(1, src.width / 3), std::max(1, src.height / 3)};
          const int k = K ? K : 2 * std::max(src.width, src.height) + 1;  // longer than the image
          CheckOne<T>(rng, C, up, src, rate, k, K != 5 || rate != 1.5f);
        }
  // Small corner sizes.
  for (int w : {1, 2, 3})
    for (int h : {1, 2})
      for (bool up : {false, true}) CheckOne<T>(rng, 1, up, {w, h}, 2.0f, 3, true);
}

TEST(PyramidLayer, Differential8u) { Differential<Omb8u>(11); }
TEST(PyramidLayer, Differential16u) { Differential<Omb16u>(12); }
TEST(PyramidLayer, Differential32f) { Differential<Omb32f>(13); }

// ---- normalisation -------------------------------------------------------------

TEST(PyramidLayer, NormalisationModels) {
  // {1, 2, 1}: S = 16, Q14 4096 / 8192, Q13 2048 / 4096.
  EXPECT_EQ(NormInt({1, 2, 1}), (std::vector<std::int64_t>{2048, 4096, 2048}));
  EXPECT_EQ(NormFloat({2, 4, 2}), (std::vector<float>{0.25f, 0.5f, 0.25f}));
  // Float kernels are rebuilt from the left half.
  EXPECT_EQ(NormFloat({1, 2, 5}), (std::vector<float>{0.25f, 0.5f, 0.25f}));
}

TEST(PyramidLayer, ConstantImageKeepsItsValue) {
  const Omb16s k16[] = {1, 4, 6, 4, 1};
  const Omb32f k32[] = {1, 4, 6, 4, 1};
  OmbPyramidLayerDownState_8u_C1R* s8 = nullptr;
  ASSERT_EQ(ombiPyramidLayerDownInitAlloc_8u_C1R(&s8, {9, 7}, 2.0f, k16, 5, 2), ombResultOk);
  std::vector<Omb8u> src(63, 77), dst(20, 0);
  ASSERT_EQ(ombiPyramidLayerDown_8u_C1R(src.data(), 9, {9, 7}, dst.data(), 5, {5, 4}, s8),
            ombResultOk);
  for (Omb8u v : dst) EXPECT_EQ(v, 77);
  EXPECT_EQ(ombiPyramidLayerDownFree_8u_C1R(s8), ombResultOk);

  OmbPyramidLayerUpState_32f_C1R* sf = nullptr;
  ASSERT_EQ(ombiPyramidLayerUpInitAlloc_32f_C1R(&sf, {8, 6}, 2.0f, k32, 5, 2), ombResultOk);
  std::vector<Omb32f> fs(12, 0.5f), fd(48, 0.0f);
  ASSERT_EQ(ombiPyramidLayerUp_32f_C1R(fs.data(), 16, {4, 3}, fd.data(), 32, {8, 6}, sf),
            ombResultOk);
  for (Omb32f v : fd) EXPECT_EQ(v, 0.5f);
  EXPECT_EQ(ombiPyramidLayerUpFree_32f_C1R(sf), ombResultOk);
}

// ---- checks --------------------------------------------------------------------

TEST(PyramidLayer, InitAllocChecks) {
  const Omb16s k[] = {1, 2, 1, 0};
  OmbPyramidLayerDownState_16u_C3R* s = nullptr;
  auto init = [&](OmbPyramidLayerDownState_16u_C3R** pp, OmbRoiSize r, float rate,
                  const Omb16s* kp, int n, int mode) {
    return ombiPyramidLayerDownInitAlloc_16u_C3R(pp, r, rate, kp, n, mode);
  };
  EXPECT_EQ(init(nullptr, {0, 0}, 0.5f, k, 2, 1), ombResultNullPointer);
  EXPECT_EQ(init(&s, {0, 4}, 0.5f, nullptr, 2, 1), ombResultNullPointer);
  EXPECT_EQ(init(&s, {4, 0}, 0.5f, k, 2, 1), ombResultBadSize);
  EXPECT_EQ(init(&s, {4, 4}, 0.5f, k, 2, 1), ombResultBadArgument);
  for (float rate : {1.0f, 10.0001f, std::nanf("")})
    EXPECT_EQ(init(&s, {4, 4}, rate, k, 3, 2), ombResultBadArgument);
  for (int n : {1, 2, 4}) EXPECT_EQ(init(&s, {4, 4}, 2.0f, k, n, 2), ombResultBadArgument);
  EXPECT_EQ(s, nullptr);
  EXPECT_EQ(init(&s, {4, 4}, 10.0f, k, 3, 2), ombResultOk);
  EXPECT_EQ(ombiPyramidLayerDownFree_16u_C3R(s), ombResultOk);
  EXPECT_EQ(init(&s, {4, 4}, 2.0f, k + 1, 3, 2), ombResultKernelNotSymmetricWarning);
  EXPECT_NE(s, nullptr);
  EXPECT_EQ(ombiPyramidLayerDownFree_16u_C3R(s), ombResultOk);
  EXPECT_EQ(ombiPyramidLayerUpFree_8u_C1R(nullptr), ombResultNullPointer);
  EXPECT_EQ(ombiPyramidLayerDownFree_32f_C3R(nullptr), ombResultNullPointer);
}

TEST(PyramidLayer, OperatorChecks) {
  const Omb32f k[] = {1, 2, 1};
  OmbPyramidLayerDownState_32f_C3R* sd = nullptr;
  OmbPyramidLayerUpState_32f_C3R* su = nullptr;
  ASSERT_EQ(ombiPyramidLayerDownInitAlloc_32f_C3R(&sd, {10, 6}, 2.0f, k, 3, 2), ombResultOk);
  ASSERT_EQ(ombiPyramidLayerUpInitAlloc_32f_C3R(&su, {10, 6}, 2.0f, k, 3, 2), ombResultOk);
  std::vector<Omb32f> buf(400, 1.0f), before = buf;
  Omb32f* p = buf.data();
  auto down = [&](const Omb32f* s, int ss, OmbRoiSize sr, Omb32f* d, int ds, OmbRoiSize dr,
                  OmbPyramidLayerDownState_32f_C3R* st) {
    return ombiPyramidLayerDown_32f_C3R(s, ss, sr, d, ds, dr, st);
  };
  auto up = [&](const Omb32f* s, int ss, OmbRoiSize sr, Omb32f* d, int ds, OmbRoiSize dr,
                OmbPyramidLayerUpState_32f_C3R* st) {
    return ombiPyramidLayerUp_32f_C3R(s, ss, sr, d, ds, dr, st);
  };
  // Down 10x6 -> 5x3 at rate 2; rows of 120 and 60 bytes.
  EXPECT_EQ(down(nullptr, 0, {0, 0}, p, 0, {0, 0}, sd), ombResultNullPointer);
  EXPECT_EQ(down(p, 0, {0, 6}, p + 200, 0, {9, 9}, nullptr), ombResultNullPointer);
  EXPECT_EQ(down(p, 0, {0, 6}, p + 200, 0, {9, 9}, sd), ombResultBadSize);
  EXPECT_EQ(down(p, 119, {10, 6}, p + 200, 60, {9, 9}, sd), ombResultBadStep);
  EXPECT_EQ(down(p, 120, {10, 6}, p + 200, 59, {5, 3}, sd), ombResultBadStep);
  EXPECT_EQ(down(p, 120, {10, 6}, p + 200, 60, {5, 4}, sd), ombResultBadSize);
  EXPECT_EQ(down(p, 120, {10, 6}, p + 200, 60, {4, 3}, sd), ombResultBadSize);
  // Up 5x3 -> [9..10]x[5..6] at rate 2.
  EXPECT_EQ(up(p, 60, {5, 3}, p + 200, 120, {11, 6}, su), ombResultBadStep);
  EXPECT_EQ(up(p, 60, {5, 3}, p + 200, 132, {11, 6}, su), ombResultBadSize);
  EXPECT_EQ(up(p, 60, {5, 3}, p + 200, 132, {8, 6}, su), ombResultBadSize);
  EXPECT_EQ(up(p, 60, {5, 3}, p + 200, 132, {10, 4}, su), ombResultBadSize);
  EXPECT_EQ(buf, before);
  EXPECT_EQ(up(p, 60, {5, 3}, p + 200, 120, {9, 5}, su), ombResultOk);
  EXPECT_EQ(ombiPyramidLayerDownFree_32f_C3R(sd), ombResultOk);
  EXPECT_EQ(ombiPyramidLayerUpFree_32f_C3R(su), ombResultOk);
}

}  // namespace
