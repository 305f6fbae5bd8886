// Fixed 5x5 reduction and expansion against the plain models of
// pyramid_model.hpp: every size from 1 to 40 in one dimension against a
// sample of the other, wider rows that reach the vector paths of every
// target, photograph-sized images, padded and offset layouts and
// exact-size work buffers at every alignment.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <type_traits>
#include <vector>

#include "motion/pyramid_model.hpp"
#include "ombcv.h"
#include "support/test_image.hpp"

namespace {

using namespace omb_test;

template <class T>
constexpr int TypeCode() {
  return std::is_same<T, Omb8u>::value ? 1 : std::is_same<T, Omb8s>::value ? 2 : 9;
}

template <class T>
using Fn = OmbResult (*)(const T*, int, T*, int, OmbRoiSize, Omb8u*);

// The front for a type, direction and channel count.
template <class T>
Fn<T> Front(bool down, int C) {
  const int i = (down ? 2 : 0) + (C == 3);
  if constexpr (std::is_same<T, Omb8u>::value) {
    const Fn<T> f[] = {ombiPyrUp_Gauss5x5_8u_C1R, ombiPyrUp_Gauss5x5_8u_C3R, ombiPyrDown_Gauss5x5_8u_C1R,
                       ombiPyrDown_Gauss5x5_8u_C3R};
    return f[i];
  } else if constexpr (std::is_same<T, Omb8s>::value) {
    const Fn<T> f[] = {ombiPyrUp_Gauss5x5_8s_C1R, ombiPyrUp_Gauss5x5_8s_C3R, ombiPyrDown_Gauss5x5_8s_C1R,
                       ombiPyrDown_Gauss5x5_8s_C3R};
    return f[i];
  } else {
    const Fn<T> f[] = {ombiPyrUp_Gauss5x5_32f_C1R, ombiPyrUp_Gauss5x5_32f_C3R, ombiPyrDown_Gauss5x5_32f_C1R,
                       ombiPyrDown_Gauss5x5_32f_C3R};
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

// Channel c of an interleaved test image as a model plane.
template <class T>
pyr_model::Img<T> PlaneOf(const TestImage<T>& img, int C, int c) {
  pyr_model::Img<T> p(img.Width() / C, img.Height());
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
    const pyr_model::Img<T> m = down ? pyr_model::Down(PlaneOf(src, C, c)) : pyr_model::Up(PlaneOf(src, C, c));
    for (int y = 0; y < dh; ++y)
      for (int x = 0; x < dw; ++x) want.Set(x * C + c, y, m.at(x, y));
  }
  WorkBuffer buf(down, w, TypeCode<T>(), C, shift);
  ASSERT_EQ(Front<T>(down, C)(src.Roi(), src.Step(), dst.Roi(), dst.Step(), {w, h}, buf.Data()), ombResultOk);
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

}  // namespace
