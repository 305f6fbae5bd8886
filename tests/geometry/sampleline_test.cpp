// ombiSampleLine_* against a closed-form model of the Bresenham
// stepping: lines in all eight octants and along the axes and diagonals,
// a point to itself, the listed diagonal, C1 and C3 for every type with odd
// source steps; end points out of range (-11) with nothing written; and
// the order of the argument checks.
#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "ombcv.h"
#include "support/arg_check.hpp"
#include "support/test_image.hpp"

namespace omb_test {
namespace {

// The k-th point (k = 0 .. M) of the line. With error e = M at the start,
// e - 2m per major step and + 2M with a minor step whenever e falls below
// 0, the minor steps taken after k major steps are the least j >= 0 with
// M - 2mk + 2Mj >= 0, i.e. j = max(0, ceil((2mk - M) / 2M)).
std::vector<OmbPoint> ModelLine(OmbPoint a, OmbPoint b) {
  const long long ax = std::llabs(0LL + b.x - a.x), ay = std::llabs(0LL + b.y - a.y);
  const int sx = b.x >= a.x ? 1 : -1, sy = b.y >= a.y ? 1 : -1;
  const bool y_major = ax <= ay;
  const long long M = y_major ? ay : ax, m = y_major ? ax : ay;
  std::vector<OmbPoint> out;
  for (long long k = 0; k <= M; ++k) {
    const long long num = 2 * m * k - M, den = 2 * M;
    long long j = 0;
    if (num > 0) j = (num + den - 1) / den;
    const int major = static_cast<int>(k), minor = static_cast<int>(j);
    out.push_back(y_major ? OmbPoint{a.x + sx * minor, a.y + sy * major}
                          : OmbPoint{a.x + sx * major, a.y + sy * minor});
  }
  return out;
}

template <class T>
using LineFn = OmbResult (*)(const T*, int, OmbRoiSize, T*, OmbPoint, OmbPoint);

// Pixel (x, y) of a C-channel image gets a value that names it.
template <class T, int C>
TestImage<T> NamedImage(int w, int h) {
  Layout l;
  l.pad_bytes = 3;  // odd: line sampling has no step-alignment test
  l.shift = 1;
  l.off_x = 2;
  l.off_y = 1;
  TestImage<T> img(w * C, h, l);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w * C; ++x) img.Set(x, y, static_cast<T>((y * 97 + x) % 251));
  img.Snapshot();
  return img;
}

template <class T, int C>
void CheckLine(LineFn<T> fn, const TestImage<T>& img, OmbRoiSize roi, OmbPoint a, OmbPoint b) {
  SCOPED_TRACE(::testing::Message() << "(" << a.x << ", " << a.y << ") -> (" << b.x << ", "
                                    << b.y << ")");
  const std::vector<OmbPoint> want = ModelLine(a, b);
  ASSERT_EQ(want.front().x, a.x);
  ASSERT_EQ(want.front().y, a.y);
  ASSERT_EQ(want.back().x, b.x);
  ASSERT_EQ(want.back().y, b.y);
  const std::size_t n = want.size() * C;
  std::vector<T> dst(n + 8, static_cast<T>(77));
  ASSERT_EQ(fn(img.Roi(), img.Step(), roi, dst.data(), a, b), ombResultOk);
  for (std::size_t k = 0; k < want.size(); ++k) {
    for (int c = 0; c < C; ++c) {
      ASSERT_EQ(dst[k * C + c], img.Get(want[k].x * C + c, want[k].y)) << "pixel " << k;
    }
  }
  for (std::size_t k = n; k < dst.size(); ++k) ASSERT_EQ(dst[k], static_cast<T>(77));
  EXPECT_TRUE(img.Unchanged());
}

template <class T, int C>
void CheckAll(LineFn<T> fn) {
  const OmbRoiSize roi{41, 29};
  const TestImage<T> img = NamedImage<T, C>(roi.width, roi.height);
  // From the centre to points all around: every octant, both sides of each
  // octant boundary, the axes and the diagonals.
  const OmbPoint c{20, 14};
  for (int dy = -14; dy <= 14; ++dy)
    for (int dx = -20; dx <= 20; ++dx) CheckLine<T, C>(fn, img, roi, c, {c.x + dx, c.y + dy});
  // Corner to corner, borders, and a point to itself.
  const OmbPoint corners[] = {{0, 0}, {40, 0}, {0, 28}, {40, 28}};
  for (OmbPoint p : corners)
    for (OmbPoint q : corners) CheckLine<T, C>(fn, img, roi, p, q);
  Rng rng(31);
  for (int k = 0; k < 300; ++k) {
    const OmbPoint p{static_cast<int>(rng() % 41), static_cast<int>(rng() % 29)};
    const OmbPoint q{static_cast<int>(rng() % 41), static_cast<int>(rng() % 29)};
    CheckLine<T, C>(fn, img, roi, p, q);
  }
}

// The listed cases and a few stepping details spelled out.
TEST(SampleLine, ListedCases) {
  Omb8u img[6][8];
  for (int y = 0; y < 6; ++y)
    for (int x = 0; x < 8; ++x) img[y][x] = static_cast<Omb8u>(10 * y + x);
  const struct {
    OmbPoint a, b;
    std::vector<int> want;
  } cases[] = {
      {{0, 0}, {3, 3}, {0, 11, 22, 33}},
      {{5, 4}, {5, 4}, {45}},
      // |dx| = 3 > |dy| = 1: x major, e = 3; the minor step comes after the
      // second pixel (e = 3 - 2 = 1, then 1 - 2 < 0).
      {{0, 0}, {3, 1}, {0, 1, 12, 13}},
      // Backwards and steep, y major, 6 pixels; e: 5, 3, 1, -1 + 10 (minor
      // step), 7, 5.
      {{7, 5}, {6, 0}, {57, 47, 37, 26, 16, 6}},
  };
  for (const auto& c : cases) {
    Omb8u d[16];
    std::memset(d, 0xEE, sizeof d);
    ASSERT_EQ(ombiSampleLine_8u_C1R(&img[0][0], 8, {8, 6}, d, c.a, c.b), ombResultOk);
    std::vector<int> want = c.want;
    want.push_back(0xEE);
    EXPECT_EQ(std::vector<int>(d, d + want.size()), want) << c.b.x << "," << c.b.y;
  }
}

// ---- argument checks --------------------------------------------------------

template <class T, int C>
ArgFront Front(const char* name, LineFn<T> fn) {
  ArgFront f;
  f.name = name;
  ArgImage src{ElemOf<T>()}, dst{ElemOf<T>(), true};
  src.channels = C;
  src.align_tested = false;  // line sampling has no alignment test
  dst.channels = C;
  dst.pointer_only = true;   // a plain array of max(|dx|, |dy|) + 1 pixels
  f.images = {src, dst};
  // The harness ROI is 11 x 3.
  f.params = {{0, {-1, 11, INT_MIN, INT_MAX}, ombResultOutOfRange},
              {1, {-1, 3, 100}, ombResultOutOfRange},
              {2, {-5, 11}, ombResultOutOfRange},
              {3, {-1, 3}, ombResultOutOfRange}};
  f.defaults = {0, 0, 10, 2};
  f.call = [fn](const CallArgs& a) {
    return fn(a.P<const T>(0), a.step[0], a.roi, a.P<T>(1),
              {static_cast<int>(a.p[0]), static_cast<int>(a.p[1])},
              {static_cast<int>(a.p[2]), static_cast<int>(a.p[3])});
  };
  return f;
}

// Every front against the model and through the check-order harness.
template <class T, int C>
void CheckFront(const char* name, LineFn<T> fn) {
  SCOPED_TRACE(name);
  CheckAll<T, C>(fn);
  ExpectCheckOrder(Front<T, C>(name, fn));
}

#define OMB_FN(fn) #fn, fn

TEST(SampleLine, MatchesModelAndChecksArgumentsInOrder) {
  CheckFront<Omb8u, 1>(OMB_FN(ombiSampleLine_8u_C1R));
  CheckFront<Omb8u, 3>(OMB_FN(ombiSampleLine_8u_C3R));
  CheckFront<Omb16u, 1>(OMB_FN(ombiSampleLine_16u_C1R));
  CheckFront<Omb16u, 3>(OMB_FN(ombiSampleLine_16u_C3R));
  CheckFront<Omb32f, 1>(OMB_FN(ombiSampleLine_32f_C1R));
  CheckFront<Omb32f, 3>(OMB_FN(ombiSampleLine_32f_C3R));
}

}  // namespace
}  // namespace omb_test
