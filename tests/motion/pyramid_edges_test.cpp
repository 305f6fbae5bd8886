// Fixed 5x5 pyramid operators: hand-computed edge values, the buffer-size
// queries and the argument-check orders of all twelve fronts.
#include <gtest/gtest.h>

#include <cstdint>
#include <type_traits>
#include <vector>

#include "ombcv.h"
#include "support/arg_check.hpp"
#include "support/test_image.hpp"

namespace {

using namespace omb_test;

std::vector<Omb8u> DownBuffer(int w, int type, int C) {
  int n = 0;
  EXPECT_EQ(ombiPyrDownGetBufSize_Gauss5x5(w, type, C, &n), ombResultOk);
  return std::vector<Omb8u>(std::size_t(n), 0x77);
}

std::vector<Omb8u> UpBuffer(int w, int type, int C) {
  int n = 0;
  EXPECT_EQ(ombiPyrUpGetBufSize_Gauss5x5(w, type, C, &n), ombResultOk);
  return std::vector<Omb8u>(std::size_t(n), 0x77);
}

// One hand-computed case of an 8-bit C1 front at tight steps.
struct EdgeCase {
  bool down, sign;  // reduction or expansion; 8s or 8u
  int w, h;
  std::vector<int> src, want;
};

template <class T>
std::vector<int> RunEdge(const EdgeCase& c) {
  using F = OmbResult (*)(const T*, int, T*, int, OmbRoiSize, Omb8u*);
  F fn;
  if constexpr (std::is_same<T, Omb8u>::value) {
    fn = c.down ? ombiPyrDown_Gauss5x5_8u_C1R : ombiPyrUp_Gauss5x5_8u_C1R;
  } else {
    fn = c.down ? ombiPyrDown_Gauss5x5_8s_C1R : ombiPyrUp_Gauss5x5_8s_C1R;
  }
  std::vector<T> src(c.src.begin(), c.src.end());
  const int dw = c.down ? (c.w + 1) / 2 : 2 * c.w, dh = c.down ? (c.h + 1) / 2 : 2 * c.h;
  std::vector<T> dst(std::size_t(dw) * dh, T(99));
  auto buf = c.down ? DownBuffer(c.w, c.sign ? 2 : 1, 1) : UpBuffer(c.w, c.sign ? 2 : 1, 1);
  EXPECT_EQ(fn(src.data(), c.w, dst.data(), dw, {c.w, c.h}, buf.data()), ombResultOk);
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
using Fn = OmbResult (*)(const T*, int, T*, int, OmbRoiSize, Omb8u*);

template <class T>
void CheckOrder(const char* name, Fn<T> fn, int C, bool down) {
  // The harness's ROI is 11x3; the destination is 6x2 (down) or 22x6 (up).
  auto buffer = std::make_shared<std::vector<Omb8u>>(4096, 0);
  ArgFront a;
  a.name = name;
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

TEST(PyrFixed, CheckOrder) {
  CheckOrder<Omb8u>("ombiPyrDown_Gauss5x5_8u_C1R", ombiPyrDown_Gauss5x5_8u_C1R, 1, true);
  CheckOrder<Omb8u>("ombiPyrDown_Gauss5x5_8u_C3R", ombiPyrDown_Gauss5x5_8u_C3R, 3, true);
  CheckOrder<Omb8s>("ombiPyrDown_Gauss5x5_8s_C1R", ombiPyrDown_Gauss5x5_8s_C1R, 1, true);
  CheckOrder<Omb8s>("ombiPyrDown_Gauss5x5_8s_C3R", ombiPyrDown_Gauss5x5_8s_C3R, 3, true);
  CheckOrder<Omb32f>("ombiPyrDown_Gauss5x5_32f_C1R", ombiPyrDown_Gauss5x5_32f_C1R, 1, true);
  CheckOrder<Omb32f>("ombiPyrDown_Gauss5x5_32f_C3R", ombiPyrDown_Gauss5x5_32f_C3R, 3, true);
  CheckOrder<Omb8u>("ombiPyrUp_Gauss5x5_8u_C1R", ombiPyrUp_Gauss5x5_8u_C1R, 1, false);
  CheckOrder<Omb8u>("ombiPyrUp_Gauss5x5_8u_C3R", ombiPyrUp_Gauss5x5_8u_C3R, 3, false);
  CheckOrder<Omb8s>("ombiPyrUp_Gauss5x5_8s_C1R", ombiPyrUp_Gauss5x5_8s_C1R, 1, false);
  CheckOrder<Omb8s>("ombiPyrUp_Gauss5x5_8s_C3R", ombiPyrUp_Gauss5x5_8s_C3R, 3, false);
  CheckOrder<Omb32f>("ombiPyrUp_Gauss5x5_32f_C1R", ombiPyrUp_Gauss5x5_32f_C1R, 1, false);
  CheckOrder<Omb32f>("ombiPyrUp_Gauss5x5_32f_C3R", ombiPyrUp_Gauss5x5_32f_C3R, 3, false);
}

}  // namespace
