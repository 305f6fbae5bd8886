// Fixed 5x5 pyramid operators: hand-computed edge values of the
// operators, a photograph-sized image against the model, the
// buffer-size queries and the argument-check orders of all twelve fronts.
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

// Reduction of one 8u row (height 1) of the given samples.
std::vector<int> DownRow8u(const std::vector<int>& s) {
  const int w = int(s.size());
  std::vector<Omb8u> src(s.begin(), s.end()), dst((w + 1) / 2);
  auto buf = DownBuffer(w, 1, 1);
  EXPECT_EQ(ombiPyrDown_Gauss5x5_8u_C1R(src.data(), w, dst.data(), int(dst.size()), {w, 1}, buf.data()),
            ombResultOk);
  return std::vector<int>(dst.begin(), dst.end());
}

// Height 1 doubles each horizontal sum: result = (16 H + 128) >> 8, which is
// H / 16 exactly when H is a multiple of 16 (samples 0 or a multiple of 16).
TEST(PyrDownEdges, HorizontalEdgeFormulas) {
  // Width 1: 16 s0 -> s0.
  EXPECT_EQ(DownRow8u({77}), std::vector<int>({77}));
  // Width 2: 8 s0 + 8 s1, the rounded mean: (16 (s0 + s1) + 128) >> 8.
  EXPECT_EQ(DownRow8u({10, 21}), std::vector<int>({16}));
  EXPECT_EQ(DownRow8u({10, 20}), std::vector<int>({15}));
  EXPECT_EQ(DownRow8u({0, 255}), std::vector<int>({128}));
  // Width 3: first 6 s0 + 8 s1 + 2 s2, last 6 s2 + 8 s1 + 2 s0.
  EXPECT_EQ(DownRow8u({16, 0, 0}), std::vector<int>({6, 2}));
  EXPECT_EQ(DownRow8u({128, 0, 0}), std::vector<int>({48, 16}));
  EXPECT_EQ(DownRow8u({0, 128, 0}), std::vector<int>({64, 64}));
  EXPECT_EQ(DownRow8u({0, 0, 32}), std::vector<int>({4, 12}));
  // Width 4 (even): last output s0 + 4 s1 + 7 s2 + 4 s3.
  EXPECT_EQ(DownRow8u({128, 0, 0, 0}), std::vector<int>({48, 8}));
  EXPECT_EQ(DownRow8u({0, 128, 0, 0}), std::vector<int>({64, 32}));
  EXPECT_EQ(DownRow8u({0, 0, 128, 0}), std::vector<int>({16, 56}));
  EXPECT_EQ(DownRow8u({0, 0, 0, 128}), std::vector<int>({0, 32}));
  // Width 5 (odd): interior s0 + 4 s1 + 6 s2 + 4 s3 + s4, last 6 s4 + 8 s3 + 2 s2.
  EXPECT_EQ(DownRow8u({0, 0, 0, 0, 128}), std::vector<int>({0, 8, 48}));
  EXPECT_EQ(DownRow8u({0, 0, 0, 128, 0}), std::vector<int>({0, 32, 64}));
  EXPECT_EQ(DownRow8u({0, 0, 128, 0, 0}), std::vector<int>({16, 48, 16}));
  EXPECT_EQ(DownRow8u({128, 0, 0, 0, 0}), std::vector<int>({48, 8, 0}));
  EXPECT_EQ(DownRow8u({0, 128, 0, 0, 0}), std::vector<int>({64, 32, 0}));
  // Width 6: last output s2 + 4 s3 + 7 s4 + 4 s5.
  EXPECT_EQ(DownRow8u({0, 0, 16, 16, 16, 16}), std::vector<int>({2, 11, 16}));
  EXPECT_EQ(DownRow8u({0, 0, 0, 0, 0, 160}), std::vector<int>({0, 0, 40}));
}

TEST(PyrDownEdges, OneByOneAndTwoWide) {
  for (int v : {0, 1, 127, 128, 255}) {
    Omb8u s = Omb8u(v), d = 0;
    auto buf = DownBuffer(1, 1, 1);
    ASSERT_EQ(ombiPyrDown_Gauss5x5_8u_C1R(&s, 1, &d, 1, {1, 1}, buf.data()), ombResultOk);
    EXPECT_EQ(d, v);
    float fs = 0.1f * v - 3.0f, fd = 0;
    auto fbuf = DownBuffer(1, 9, 1);
    ASSERT_EQ(ombiPyrDown_Gauss5x5_32f_C1R(&fs, 4, &fd, 4, {1, 1}, fbuf.data()), ombResultOk);
    EXPECT_EQ(fd, fs);
    Omb8s ss = Omb8s(v - 128), sd = 0;
    ASSERT_EQ(ombiPyrDown_Gauss5x5_8s_C1R(&ss, 1, &sd, 1, {1, 1}, buf.data()), ombResultOk);
    EXPECT_EQ(sd, ss);
  }
  // Two rows of a two-wide image: the rounded mean of four pixels.
  const Omb8u s[4] = {1, 2, 3, 5};
  Omb8u d = 0;
  auto buf = DownBuffer(2, 1, 1);
  ASSERT_EQ(ombiPyrDown_Gauss5x5_8u_C1R(s, 2, &d, 1, {2, 2}, buf.data()), ombResultOk);
  EXPECT_EQ(d, 3);  // (8 * 8 * 11 + 128) >> 8 = 2.75 + 0.5 -> 3
  // Signed rounding: half up with an arithmetic shift (-1.5 -> -1, -2.5 -> -2).
  const Omb8s a[2] = {-1, -2}, b[2] = {-2, -3};
  Omb8s da = 0, db = 0;
  ASSERT_EQ(ombiPyrDown_Gauss5x5_8s_C1R(a, 2, &da, 1, {2, 1}, buf.data()), ombResultOk);
  ASSERT_EQ(ombiPyrDown_Gauss5x5_8s_C1R(b, 2, &db, 1, {2, 1}, buf.data()), ombResultOk);
  EXPECT_EQ(da, -1);
  EXPECT_EQ(db, -2);
}

// Columns follow the same rules: a 1-wide column of heights 3 and 4.
TEST(PyrDownEdges, VerticalEdgeFormulas) {
  auto col = [](std::vector<Omb8u> s) {
    const int h = int(s.size());
    std::vector<Omb8u> d((h + 1) / 2);
    auto buf = DownBuffer(1, 1, 1);
    EXPECT_EQ(ombiPyrDown_Gauss5x5_8u_C1R(s.data(), 1, d.data(), 1, {1, h}, buf.data()), ombResultOk);
    return std::vector<int>(d.begin(), d.end());
  };
  // Width 1 scales rows by 16, so the result is the vertical tap sum / 16:
  // first 6 s0 + 8 s1 + 2 s2; last (odd height) 6 s2 + 8 s1 + 2 s0, (even)
  // s0 + 4 s1 + 7 s2 + 4 s3.
  EXPECT_EQ(col({16, 0, 0}), std::vector<int>({6, 2}));
  EXPECT_EQ(col({0, 16, 0}), std::vector<int>({8, 8}));
  EXPECT_EQ(col({0, 0, 16, 0}), std::vector<int>({2, 7}));
  EXPECT_EQ(col({0, 0, 0, 16}), std::vector<int>({0, 4}));
  EXPECT_EQ(col({16, 0, 0, 0}), std::vector<int>({6, 1}));
}

TEST(PyrUpEdges, EdgeFormulasAndConstants) {
  // Width 3, height 1: even outputs 6 s0 + 2 s1, s0 + 6 s1 + s2, s1 + 7 s2;
  // odd 4 s0 + 4 s1, 4 s1 + 4 s2, 8 s2; each times 8 for height 1, / 64.
  const Omb8u s[3] = {8, 0, 0};
  Omb8u d[2][6];
  auto buf = UpBuffer(3, 1, 1);
  ASSERT_EQ(ombiPyrUp_Gauss5x5_8u_C1R(s, 3, &d[0][0], 6, {3, 1}, buf.data()), ombResultOk);
  const int want[6] = {6, 4, 1, 0, 0, 0};
  for (int x = 0; x < 6; ++x) {
    EXPECT_EQ(d[0][x], want[x]) << x;
    EXPECT_EQ(d[1][x], want[x]) << x;
  }
  const Omb8u r[3] = {0, 0, 8};
  ASSERT_EQ(ombiPyrUp_Gauss5x5_8u_C1R(r, 3, &d[0][0], 6, {3, 1}, buf.data()), ombResultOk);
  const int want_r[6] = {0, 0, 1, 4, 7, 8};
  for (int x = 0; x < 6; ++x) EXPECT_EQ(d[0][x], want_r[x]) << x;
  // Constant images stay constant, right and bottom edges included.
  Rng rng(3);
  for (int w : {1, 2, 3, 17, 64, 200}) {
    for (int h : {1, 2, 3, 9}) {
      for (int v : {0, 1, 100, 255}) {
        std::vector<Omb8u> src(std::size_t(w) * h, Omb8u(v)), dst(std::size_t(4) * w * h, 1);
        auto b = UpBuffer(w, 1, 1);
        ASSERT_EQ(ombiPyrUp_Gauss5x5_8u_C1R(src.data(), w, dst.data(), 2 * w, {w, h}, b.data()), ombResultOk);
        for (Omb8u o : dst) ASSERT_EQ(o, v) << w << "x" << h;
        std::vector<float> fs(std::size_t(w) * h, float(v) - 0.5f), fd(std::size_t(4) * w * h, 1);
        auto fb = UpBuffer(w, 9, 1);
        ASSERT_EQ(ombiPyrUp_Gauss5x5_32f_C1R(fs.data(), 4 * w, fd.data(), 8 * w, {w, h}, fb.data()), ombResultOk);
        for (float o : fd) ASSERT_EQ(o, float(v) - 0.5f);
        // And reduction of a constant is the constant.
        std::vector<Omb8u> dd(std::size_t((w + 1) / 2) * ((h + 1) / 2), 1);
        auto db = DownBuffer(w, 1, 1);
        ASSERT_EQ(ombiPyrDown_Gauss5x5_8u_C1R(src.data(), w, dd.data(), (w + 1) / 2, {w, h}, db.data()),
                  ombResultOk);
        for (Omb8u o : dd) ASSERT_EQ(o, v);
      }
    }
  }
}

// A full-HD 8u image and a VGA float image against the model, C1 and C3.
TEST(PyrFixed, LargeImagesMatchModel) {
  Rng rng(99);
  auto run8u = [&](int C, int w, int h) {
    TestImage<Omb8u> src(C * w, h);
    FillRandom(src, rng, 0.0);
    TestImage<Omb8u> dd(C * ((w + 1) / 2), (h + 1) / 2), du(C * 2 * w, 2 * h);
    auto bd = DownBuffer(w, 1, C);
    auto bu = UpBuffer(w, 1, C);
    auto fd = C == 1 ? ombiPyrDown_Gauss5x5_8u_C1R : ombiPyrDown_Gauss5x5_8u_C3R;
    auto fu = C == 1 ? ombiPyrUp_Gauss5x5_8u_C1R : ombiPyrUp_Gauss5x5_8u_C3R;
    ASSERT_EQ(fd(src.Roi(), src.Step(), dd.Roi(), dd.Step(), {w, h}, bd.data()), ombResultOk);
    ASSERT_EQ(fu(src.Roi(), src.Step(), du.Roi(), du.Step(), {w, h}, bu.data()), ombResultOk);
    for (int c = 0; c < C; ++c) {
      pyr_model::Img<Omb8u> p(w, h);
      for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) p.at(x, y) = src.Get(x * C + c, y);
      const auto md = pyr_model::Down(p);
      const auto mu = pyr_model::Up(p);
      for (int y = 0; y < md.h; ++y)
        for (int x = 0; x < md.w; ++x) ASSERT_EQ(dd.Get(x * C + c, y), md.at(x, y)) << x << "," << y;
      for (int y = 0; y < mu.h; ++y)
        for (int x = 0; x < mu.w; ++x) ASSERT_EQ(du.Get(x * C + c, y), mu.at(x, y)) << x << "," << y;
    }
  };
  run8u(1, 1920, 1080);
  run8u(3, 641, 481);
  TestImage<float> src(640, 480);
  FillRandom(src, rng, 0.0);
  TestImage<float> dd(320, 240), du(1280, 960);
  auto bd = DownBuffer(640, 9, 1);
  auto bu = UpBuffer(640, 9, 1);
  ASSERT_EQ(ombiPyrDown_Gauss5x5_32f_C1R(src.Roi(), src.Step(), dd.Roi(), dd.Step(), {640, 480}, bd.data()),
            ombResultOk);
  ASSERT_EQ(ombiPyrUp_Gauss5x5_32f_C1R(src.Roi(), src.Step(), du.Roi(), du.Step(), {640, 480}, bu.data()),
            ombResultOk);
  pyr_model::Img<float> p(640, 480);
  for (int y = 0; y < 480; ++y)
    for (int x = 0; x < 640; ++x) p.at(x, y) = src.Get(x, y);
  const auto md = pyr_model::Down(p);
  const auto mu = pyr_model::Up(p);
  for (int y = 0; y < md.h; ++y)
    for (int x = 0; x < md.w; ++x) ASSERT_EQ(FloatBits(dd.Get(x, y)), FloatBits(md.at(x, y)));
  for (int y = 0; y < mu.h; ++y)
    for (int x = 0; x < mu.w; ++x) ASSERT_EQ(FloatBits(du.Get(x, y)), FloatBits(mu.at(x, y)));
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
  int d = -1;
  ASSERT_EQ(ombiPyrDownGetBufSize_Gauss5x5(1, 1, 1, &d), ombResultOk);
  EXPECT_EQ(d, 128);
  ASSERT_EQ(ombiPyrUpGetBufSize_Gauss5x5(1, 9, 3, &d), ombResultOk);
  EXPECT_EQ(d, 32 * 3 + 32);
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
