// Fixed 5x5 reduction and expansion: every front against whole planes built
// from the element rules beside the kernels (every size from 1 to 40 in one dimension against a
// sample of the other, wider rows that reach the vector paths of every
// target, photograph-sized images, padded and offset layouts, exact-size
// work buffers at every alignment), hand-computed edge values, the
// buffer-size queries and the argument-check orders of all fourteen fronts.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <vector>

#include "motion/pyramid_ref.hpp"
#include "ombcv.h"
#include "support/arg_check.hpp"
#include "support/test_image.hpp"

namespace {

using namespace omb_test;

template <class T>
constexpr int TypeCode() {
  return std::is_same<T, Omb8u>::value ? 1 : std::is_same<T, Omb8s>::value ? 2 : 9;
}

template <class T>
using Fn = OmbResult (*)(const T*, int, T*, int, OmbRoiSize, Omb8u*);
template <class T>
struct Named {
  const char* name;
  Fn<T> fn;
};
#define OMB_FN(fn) {#fn, fn}

// The front for a type, direction and channel count.
template <class T>
Named<T> Front(bool down, int C) {
  const int i = (down ? 2 : 0) + (C == 3);
  if constexpr (std::is_same<T, Omb8u>::value) {
    const Named<T> f[] = {OMB_FN(ombiPyrUp_Gauss5x5_8u_C1R), OMB_FN(ombiPyrUp_Gauss5x5_8u_C3R),
                          OMB_FN(ombiPyrDown_Gauss5x5_8u_C1R), OMB_FN(ombiPyrDown_Gauss5x5_8u_C3R)};
    return f[i];
  } else if constexpr (std::is_same<T, Omb8s>::value) {
    const Named<T> f[] = {OMB_FN(ombiPyrUp_Gauss5x5_8s_C1R), OMB_FN(ombiPyrUp_Gauss5x5_8s_C3R),
                          OMB_FN(ombiPyrDown_Gauss5x5_8s_C1R), OMB_FN(ombiPyrDown_Gauss5x5_8s_C3R)};
    return f[i];
  } else {
    const Named<T> f[] = {OMB_FN(ombiPyrUp_Gauss5x5_32f_C1R), OMB_FN(ombiPyrUp_Gauss5x5_32f_C3R),
                          OMB_FN(ombiPyrDown_Gauss5x5_32f_C1R), OMB_FN(ombiPyrDown_Gauss5x5_32f_C3R)};
    return f[i];
  }
}

// A work buffer of exactly the reported size starting `shift` bytes past a
// 32-byte boundary, filled with stale bytes, with guards on both sides.
struct WorkBuffer : GuardedBuffer {
  static int Size(bool down, int width, int type, int channels) {
    int size = 0;
    const OmbResult st = down ? ombiPyrDownGetBufSize_Gauss5x5(width, type, channels, &size)
                              : ombiPyrUpGetBufSize_Gauss5x5(width, type, channels, &size);
    EXPECT_EQ(st, ombResultOk);
    return size;
  }
  WorkBuffer(bool down, int width, int type, int channels, int shift)
      : GuardedBuffer(Size(down, width, type, channels), shift) {}
};

// One channel of an image, row-major.
template <class T>
struct Img {
  int w = 0, h = 0;
  std::vector<T> v;
  Img(int w_, int h_) : w(w_), h(h_), v(std::size_t(w_) * h_) {}
  T& at(int x, int y) { return v[std::size_t(y) * w + x]; }
  T at(int x, int y) const { return v[std::size_t(y) * w + x]; }
};

// The reduction and expansion of one plane, assembled from the element
// rules (the hand-computed edge values below pin those rules).
template <class T>
Img<T> Down(const Img<T>& s) {
  namespace ref = omb::ref;
  Img<typename ref::PyrAcc<T>::type> hr((s.w + 1) / 2, s.h);
  for (int y = 0; y < s.h; ++y)
    for (int x = 0; x < hr.w; ++x) hr.at(x, y) = ref::HDownAt(&s.v[std::size_t(y) * s.w], s.w, x);
  Img<T> d(hr.w, (s.h + 1) / 2);
  for (int x = 0; x < d.w; ++x)
    for (int y = 0; y < d.h; ++y) {
      auto r = [&](int i) { return hr.at(x, ref::MirrorDown(2 * y + i, s.h)); };
      d.at(x, y) = s.h <= 2 ? ref::VDownOneRowAt<T>(hr.at(x, 0), hr.at(x, s.h - 1))
                            : ref::VDownAt<T>(r(-2), r(-1), r(0), r(1), r(2));
    }
  return d;
}

template <class T>
Img<T> Up(const Img<T>& s) {
  namespace ref = omb::ref;
  Img<typename ref::PyrAcc<T>::type> hr(2 * s.w, s.h);
  for (int y = 0; y < s.h; ++y)
    for (int x = 0; x < s.w; ++x)
      ref::HUpAt(&s.v[std::size_t(y) * s.w], s.w, 1, x, &hr.at(2 * x, y), &hr.at(2 * x + 1, y));
  Img<T> d(2 * s.w, 2 * s.h);
  for (int x = 0; x < d.w; ++x)
    for (int y = 0; y < s.h; ++y) {
      const auto h0 = hr.at(x, y);
      if (s.h == 1) {
        d.at(x, 0) = d.at(x, 1) = ref::VUpOneRowAt<T>(h0);
        continue;
      }
      const auto hm = hr.at(x, y == 0 ? 1 : y - 1), hp = hr.at(x, y == s.h - 1 ? y : y + 1);
      d.at(x, 2 * y) = ref::VUpEvenAt<T>(hm, h0, hp);
      d.at(x, 2 * y + 1) = ref::VUpOddAt<T>(h0, hp);
    }
  return d;
}

// Channel c of an interleaved test image as a plane.
template <class T>
Img<T> PlaneOf(const TestImage<T>& img, int C, int c) {
  Img<T> p(img.Width() / C, img.Height());
  for (int y = 0; y < p.h; ++y)
    for (int x = 0; x < p.w; ++x) p.at(x, y) = img.Get(x * C + c, y);
  return p;
}

// Runs one operator and its model on the same source; compares every byte of
// the destination block (guards included) and the buffer's guards. Float
// NaNs compare equal whatever their payload.
template <class T>
void RunCase(bool down, int C, int w, int h, Rng& rng, const Layout& ls, const Layout& ld, int shift) {
  TestImage<T> src(C * w, h, ls);
  FillRandom(src, rng, 0.05);
  const int dw = down ? (w + 1) / 2 : 2 * w, dh = down ? (h + 1) / 2 : 2 * h;
  TestImage<T> dst(C * dw, dh, ld);
  TestImage<T> want(dst);
  for (int c = 0; c < C; ++c) {
    const Img<T> m = down ? Down(PlaneOf(src, C, c)) : Up(PlaneOf(src, C, c));
    for (int y = 0; y < dh; ++y)
      for (int x = 0; x < dw; ++x) want.Set(x * C + c, y, m.at(x, y));
  }
  WorkBuffer buf(down, w, TypeCode<T>(), C, shift);
  ASSERT_EQ(Front<T>(down, C).fn(src.Roi(), src.Step(), dst.Roi(), dst.Step(), {w, h}, buf.Data()), ombResultOk);
  if constexpr (std::is_same<T, float>::value) {
    for (int y = 0; y < dh; ++y)
      for (int x = 0; x < C * dw; ++x)
        if (std::isnan(dst.Get(x, y)) && std::isnan(want.Get(x, y))) want.Set(x, y, dst.Get(x, y));
  }
  ASSERT_TRUE(SameBytes(dst, want)) << (down ? "down" : "up") << " C" << C << " " << w << "x" << h;
  ASSERT_TRUE(src.Unchanged());
  ASSERT_TRUE(buf.GuardsIntact()) << w << "x" << h;
}

const int kSample[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 13, 16, 17, 24, 31, 32, 33, 39, 40};

template <class T>
class PyrFixedModel : public ::testing::Test {};
using PyrTypes = ::testing::Types<Omb8u, Omb8s, Omb32f>;
TYPED_TEST_SUITE(PyrFixedModel, PyrTypes);

// Every size from 1 to 40 in one dimension against a sample of the other,
// both directions, C1 and C3, on every SIMD target.
TYPED_TEST(PyrFixedModel, SmallSizes) {
  Rng rng(11);
  ForEachSimdTarget([&] {
    for (bool down : {true, false})
      for (int C : {1, 3})
        for (int a = 1; a <= 40; ++a)
          for (int b : kSample) {
            RunCase<TypeParam>(down, C, a, b, rng, {}, {}, 0);
            RunCase<TypeParam>(down, C, b, a, rng, {}, {}, 0);
            if (::testing::Test::HasFatalFailure()) return;
          }
  });
}

// Widths that fill the vector paths of every target (up to 64 lanes of
// 16 bits need rows past 130 samples) with odd tails, in padded and offset
// layouts and at every buffer alignment; then photograph-sized images
// (full HD C1, odd VGA C3, VGA for float) on the default target.
TYPED_TEST(PyrFixedModel, WideRowsAndLargeImages) {
  using T = TypeParam;
  const int e = int(sizeof(T));
  Rng rng(21);
  ForEachSimdTarget([&] {
    for (bool down : {true, false})
      for (int C : {1, 3}) {
        int k = 0;
        for (int w : {41, 63, 64, 65, 66, 67, 68, 69, 70, 71, 72, 73, 97, 129, 130, 131, 132, 133, 134, 135,
                      136, 137, 138, 139, 140, 141, 255, 256, 257, 258, 259, 260, 261, 262, 263, 264, 521, 1922}) {
          for (int h : {1, 2, 3, 6, 7}) {
            const Layout ls{(k % 5) * 3 * e, k % 3, 1, 2, (k % 7) * e};
            const Layout ld{(k % 4) * 5 * e, (k + 1) % 3, 2, 1, ((k * 3) % 8) * e};
            RunCase<T>(down, C, w, h, rng, ls, ld, k % 16);
            ++k;
            if (::testing::Test::HasFatalFailure()) return;
          }
        }
      }
  });
  for (bool down : {true, false}) {
    if (e == 4) {
      RunCase<T>(down, 1, 640, 480, rng, {}, {}, 0);
    } else {
      RunCase<T>(down, 1, 1920, 1080, rng, {}, {}, 0);
      RunCase<T>(down, 3, 641, 481, rng, {4, 1, 1, 1, 0}, {2, 0, 0, 1, 0}, 4);
    }
  }
}

// One hand-computed case of an 8-bit C1 front at tight steps.
struct EdgeCase {
  bool down, sign;  // reduction or expansion; 8s or 8u
  int w, h;
  std::vector<int> src, want;
};

template <class T>
std::vector<int> RunEdge(const EdgeCase& c) {
  std::vector<T> src(c.src.begin(), c.src.end());
  const int dw = c.down ? (c.w + 1) / 2 : 2 * c.w, dh = c.down ? (c.h + 1) / 2 : 2 * c.h;
  std::vector<T> dst(std::size_t(dw) * dh, T(99));
  WorkBuffer buf(c.down, c.w, TypeCode<T>(), 1, 0);
  EXPECT_EQ(Front<T>(c.down, 1).fn(src.data(), c.w, dst.data(), dw, {c.w, c.h}, buf.Data()), ombResultOk);
  return std::vector<int>(dst.begin(), dst.end());
}

// The edge rules written out by hand, independent of the model. Height 1
// doubles each horizontal sum: result = (16 H + 128) >> 8, which is H / 16
// exactly when H is a multiple of 16; width 1 does the same for columns.
TEST(PyrEdges, HandComputedValues) {
  const EdgeCase cases[] = {
      // Width 1: 16 s0 -> s0. Width 2: 8 s0 + 8 s1, the rounded mean.
      {true, false, 1, 1, {77}, {77}},
      {true, false, 2, 1, {10, 21}, {16}},
      {true, false, 2, 1, {10, 20}, {15}},
      {true, false, 2, 1, {0, 255}, {128}},
      // Width 3: first 6 s0 + 8 s1 + 2 s2, last 6 s2 + 8 s1 + 2 s0.
      {true, false, 3, 1, {16, 0, 0}, {6, 2}},
      {true, false, 3, 1, {128, 0, 0}, {48, 16}},
      {true, false, 3, 1, {0, 128, 0}, {64, 64}},
      {true, false, 3, 1, {0, 0, 32}, {4, 12}},
      // Width 4 (even): last output s0 + 4 s1 + 7 s2 + 4 s3.
      {true, false, 4, 1, {128, 0, 0, 0}, {48, 8}},
      {true, false, 4, 1, {0, 128, 0, 0}, {64, 32}},
      {true, false, 4, 1, {0, 0, 128, 0}, {16, 56}},
      {true, false, 4, 1, {0, 0, 0, 128}, {0, 32}},
      // Width 5 (odd): interior s0 + 4 s1 + 6 s2 + 4 s3 + s4, last 6 s4 + 8 s3 + 2 s2.
      {true, false, 5, 1, {0, 0, 0, 0, 128}, {0, 8, 48}},
      {true, false, 5, 1, {0, 0, 0, 128, 0}, {0, 32, 64}},
      {true, false, 5, 1, {0, 0, 128, 0, 0}, {16, 48, 16}},
      {true, false, 5, 1, {128, 0, 0, 0, 0}, {48, 8, 0}},
      {true, false, 5, 1, {0, 128, 0, 0, 0}, {64, 32, 0}},
      // Width 6: last output s2 + 4 s3 + 7 s4 + 4 s5.
      {true, false, 6, 1, {0, 0, 16, 16, 16, 16}, {2, 11, 16}},
      {true, false, 6, 1, {0, 0, 0, 0, 0, 160}, {0, 0, 40}},
      // Columns: first 6 s0 + 8 s1 + 2 s2; last (odd height) 6 s2 + 8 s1 +
      // 2 s0, (even) s0 + 4 s1 + 7 s2 + 4 s3.
      {true, false, 1, 3, {16, 0, 0}, {6, 2}},
      {true, false, 1, 3, {0, 16, 0}, {8, 8}},
      {true, false, 1, 4, {0, 0, 16, 0}, {2, 7}},
      {true, false, 1, 4, {0, 0, 0, 16}, {0, 4}},
      {true, false, 1, 4, {16, 0, 0, 0}, {6, 1}},
      // 2x2: the rounded mean of four pixels, (8 * 8 * 11 + 128) >> 8 = 3.
      {true, false, 2, 2, {1, 2, 3, 5}, {3}},
      // Signed rounding: half up with an arithmetic shift (-1.5 -> -1,
      // -2.5 -> -2), and a 1x1 image is itself.
      {true, true, 2, 1, {-1, -2}, {-1}},
      {true, true, 2, 1, {-2, -3}, {-2}},
      {true, true, 1, 1, {-128}, {-128}},
      // Expansion, width 3, height 1: even outputs 6 s0 + 2 s1, s0 + 6 s1 +
      // s2, s1 + 7 s2; odd 4 s0 + 4 s1, 4 s1 + 4 s2, 8 s2; each times 8 for
      // height 1, / 64; both output rows alike.
      {false, false, 3, 1, {8, 0, 0}, {6, 4, 1, 0, 0, 0, 6, 4, 1, 0, 0, 0}},
      {false, false, 3, 1, {0, 0, 8}, {0, 0, 1, 4, 7, 8, 0, 0, 1, 4, 7, 8}},
  };
  for (const EdgeCase& c : cases) {
    ASSERT_EQ(c.src.size(), std::size_t(c.w) * c.h);
    EXPECT_EQ(c.sign ? RunEdge<Omb8s>(c) : RunEdge<Omb8u>(c), c.want)
        << (c.down ? "down " : "up ") << c.w << "x" << c.h << " src[0] " << c.src[0];
  }
}

// ---- Buffer sizes ------------------------------------------------------------

TEST(PyrBufSize, Formulas) {
  auto r16 = [](long long b) { return (b + 15) / 16 * 16; };
  for (int C : {1, 3}) {
    for (int type : {1, 2, 9}) {
      for (int w : {1, 2, 3, 4, 5, 7, 8, 100, 1920, 4097}) {
        int d = -1, u = -1;
        ASSERT_EQ(ombiPyrDownGetBufSize_Gauss5x5(w, type, C, &d), ombResultOk);
        ASSERT_EQ(ombiPyrUpGetBufSize_Gauss5x5(w, type, C, &u), ombResultOk);
        EXPECT_EQ(d, r16(4LL * C * w) * 6 + 32);
        EXPECT_EQ(u, r16(8LL * C * w) * 3 + 32);
      }
    }
  }
}

TEST(PyrBufSize, CheckOrder) {
  for (auto fn : {ombiPyrDownGetBufSize_Gauss5x5, ombiPyrUpGetBufSize_Gauss5x5}) {
    int n = 12345;
    EXPECT_EQ(fn(0, 0, 0, nullptr), ombResultNullPointer);
    EXPECT_EQ(fn(0, 0, 0, &n), ombResultBadSize);
    EXPECT_EQ(fn(-4, 1, 1, &n), ombResultBadSize);
    EXPECT_EQ(fn(5, 0, 2, &n), ombResultBadChannelCount);
    EXPECT_EQ(fn(5, 1, 4, &n), ombResultBadChannelCount);
    EXPECT_EQ(fn(5, 1, 0, &n), ombResultBadChannelCount);
    for (int type : {0, 3, 4, 8, 10, -1}) EXPECT_EQ(fn(5, type, 1, &n), ombResultBadDataType);
    EXPECT_EQ(n, 12345);
    // A size an int cannot hold is refused rather than wrapped.
    EXPECT_EQ(fn(1 << 28, 9, 3, &n), ombResultBadSize);
    EXPECT_EQ(n, 12345);
  }
}

// ---- Check orders --------------------------------------------------------------

template <class T>
void CheckOrder(const Named<T>& front, int C, bool down) {
  const Fn<T> fn = front.fn;
  // The harness's ROI is 11x3; the destination is 6x2 (down) or 22x6 (up).
  auto buffer = std::make_shared<std::vector<Omb8u>>(4096, 0);
  ArgFront a;
  a.name = front.name;
  const Elem e = ElemOf<T>();
  ArgImage src{e};
  src.channels = C;
  src.align_tested = sizeof(T) > 1;
  ArgImage dst{e, true};
  dst.channels = C;
  dst.align_tested = sizeof(T) > 1;
  dst.extra_cols = down ? -5 : 11;
  dst.extra_rows = down ? -1 : 3;
  a.images = {src, dst};
  a.extra_elems = [down](const CallArgs& c, std::size_t i) -> long long {
    if (i == 0) return 0;
    const long long w = c.roi.width;
    return down ? (w + 1) / 2 - w : w;
  };
  a.call = [fn, buffer](const CallArgs& c) {
    return fn(c.P<T>(0), c.step[0], c.P<T>(1), c.step[1], c.roi, buffer->data());
  };
  ExpectCheckOrder(a);
  // A null buffer is a null pointer and wins over the size and the steps.
  TestImage<T> s(C * 11, 3), d(C * 22, 6);
  EXPECT_EQ(fn(s.Roi(), s.Step(), d.Roi(), d.Step(), {11, 3}, nullptr), ombResultNullPointer);
  EXPECT_EQ(fn(s.Roi(), 0, d.Roi(), 0, {0, 3}, nullptr), ombResultNullPointer);
  EXPECT_EQ(fn(s.Roi(), 0, d.Roi(), 0, {11, 3}, buffer->data()), ombResultBadStep);
  EXPECT_TRUE(d.Unchanged());
  // The destination step must hold the destination row, not the source row.
  const int drow = (down ? 6 : 22) * C * int(sizeof(T));
  EXPECT_EQ(fn(s.Roi(), s.Step(), d.Roi(), drow, {11, 3}, buffer->data()), ombResultOk);
  EXPECT_EQ(fn(s.Roi(), s.Step(), d.Roi(), drow - int(sizeof(T)), {11, 3}, buffer->data()), ombResultBadStep);
}

TYPED_TEST(PyrFixedModel, CheckOrder) {
  for (bool down : {true, false})
    for (int C : {1, 3}) CheckOrder<TypeParam>(Front<TypeParam>(down, C), C, down);
}

}  // namespace
