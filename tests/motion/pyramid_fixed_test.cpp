// Fixed 5x5 reduction and expansion against the plain models of
// pyramid_model.hpp: every size from 1 to 40 in one dimension against a
// sample of the other, wider rows that reach the vector paths of every
// target, padded and offset layouts, exact-size work buffers at every
// alignment, hand-computed edge values, the buffer-size queries and the
// check orders.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>

#include "motion/pyramid_model.hpp"
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
OmbResult CallDown(int C, const T* s, int ss, T* d, int ds, OmbRoiSize r, Omb8u* b) {
  if constexpr (std::is_same<T, Omb8u>::value) {
    return C == 1 ? ombiPyrDown_Gauss5x5_8u_C1R(s, ss, d, ds, r, b) : ombiPyrDown_Gauss5x5_8u_C3R(s, ss, d, ds, r, b);
  } else if constexpr (std::is_same<T, Omb8s>::value) {
    return C == 1 ? ombiPyrDown_Gauss5x5_8s_C1R(s, ss, d, ds, r, b) : ombiPyrDown_Gauss5x5_8s_C3R(s, ss, d, ds, r, b);
  } else {
    return C == 1 ? ombiPyrDown_Gauss5x5_32f_C1R(s, ss, d, ds, r, b) : ombiPyrDown_Gauss5x5_32f_C3R(s, ss, d, ds, r, b);
  }
}

template <class T>
OmbResult CallUp(int C, const T* s, int ss, T* d, int ds, OmbRoiSize r, Omb8u* b) {
  if constexpr (std::is_same<T, Omb8u>::value) {
    return C == 1 ? ombiPyrUp_Gauss5x5_8u_C1R(s, ss, d, ds, r, b) : ombiPyrUp_Gauss5x5_8u_C3R(s, ss, d, ds, r, b);
  } else if constexpr (std::is_same<T, Omb8s>::value) {
    return C == 1 ? ombiPyrUp_Gauss5x5_8s_C1R(s, ss, d, ds, r, b) : ombiPyrUp_Gauss5x5_8s_C3R(s, ss, d, ds, r, b);
  } else {
    return C == 1 ? ombiPyrUp_Gauss5x5_32f_C1R(s, ss, d, ds, r, b) : ombiPyrUp_Gauss5x5_32f_C3R(s, ss, d, ds, r, b);
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
  const OmbResult st = down ? CallDown<T>(C, src.Roi(), src.Step(), dst.Roi(), dst.Step(), {w, h}, buf.Data())
                            : CallUp<T>(C, src.Roi(), src.Step(), dst.Roi(), dst.Step(), {w, h}, buf.Data());
  ASSERT_EQ(st, ombResultOk);
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
void SmallSizes(bool down) {
  Rng rng(down ? 11 : 12);
  ForEachSimdTarget([&] {
    for (int C : {1, 3}) {
      for (int a = 1; a <= 40; ++a) {
        for (int b : kSample) {
          RunCase<T>(down, C, a, b, rng, {}, {}, 0);
          RunCase<T>(down, C, b, a, rng, {}, {}, 0);
          if (::testing::Test::HasFatalFailure()) return;
        }
      }
    }
  });
}

// Widths that fill the vector paths of every target (up to 64 lanes of
// 16 bits need rows past 130 samples) with odd tails, in padded and offset
// layouts and at every buffer alignment.
template <class T>
void WideRows(bool down) {
  Rng rng(down ? 21 : 22);
  ForEachSimdTarget([&] {
    for (int C : {1, 3}) {
      int k = 0;
      for (int w : {41, 63, 64, 65, 66, 67, 68, 69, 70, 71, 72, 73, 97, 129, 130, 131, 132, 133, 134, 135,
                    136, 137, 138, 139, 140, 141, 255, 256, 257, 258, 259, 260, 261, 262, 263, 264, 521, 1922}) {
        for (int h : {1, 2, 3, 6, 7}) {
          const int e = int(sizeof(T));
          const Layout ls{(k % 5) * 3 * e, k % 3, 1, 2, (k % 7) * e};
          const Layout ld{(k % 4) * 5 * e, (k + 1) % 3, 2, 1, ((k * 3) % 8) * e};
          RunCase<T>(down, C, w, h, rng, ls, ld, k % 16);
          ++k;
          if (::testing::Test::HasFatalFailure()) return;
        }
      }
    }
  });
}

TEST(PyrDown, SmallSizes8u) { SmallSizes<Omb8u>(true); }
TEST(PyrDown, SmallSizes8s) { SmallSizes<Omb8s>(true); }
TEST(PyrDown, SmallSizes32f) { SmallSizes<Omb32f>(true); }
TEST(PyrDown, WideRows8u) { WideRows<Omb8u>(true); }
TEST(PyrDown, WideRows8s) { WideRows<Omb8s>(true); }
TEST(PyrDown, WideRows32f) { WideRows<Omb32f>(true); }
TEST(PyrUp, SmallSizes8u) { SmallSizes<Omb8u>(false); }
TEST(PyrUp, SmallSizes8s) { SmallSizes<Omb8s>(false); }
TEST(PyrUp, SmallSizes32f) { SmallSizes<Omb32f>(false); }
TEST(PyrUp, WideRows8u) { WideRows<Omb8u>(false); }
TEST(PyrUp, WideRows8s) { WideRows<Omb8s>(false); }
TEST(PyrUp, WideRows32f) { WideRows<Omb32f>(false); }

}  // namespace
