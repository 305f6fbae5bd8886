// Pyramid level sizes and the pyramid record: the size arithmetic against
// a plain model of the search, the worked values (640x480 at 2.0),
// the record's block layout, level clamping, and the check orders.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "ombcv.h"

namespace {

// ---- Plain model -------------------------------------------------------------

// trunc of a non-negative float, saturated at INT_MAX (products of sizes near
// 2^31 and the rate can round past it), and the sums in 64 bits.
long long Trunc(float v) { return v >= 2147483648.0f ? 2147483647LL : static_cast<long long>(v); }
int Sat(long long v) { return static_cast<int>(std::min<long long>(v, 2147483647LL)); }

int ModelUpMin(int n, float r) {
  if (n == 1) return 1;
  const float p = static_cast<float>(n - 1) * r;
  return Sat(std::max<long long>(n + 1LL, Trunc(p) + 1));
}

int ModelUpMax(int n, float r) {
  const float p = static_cast<float>(n) * r;
  return Sat(std::max<long long>(n + 1LL, Trunc(p)));
}

int ModelGuess(int n, float r) {
  const long double q = static_cast<long double>(n) / r + 0.5L;
  return std::max(1, Sat(Trunc(static_cast<float>(q))));
}

// The search for the reduced size: from the rounded quotient, one step at a
// time (height, then width, both in every round) until the source lies in
// the expansion range of the result.
OmbRoiSize ModelDown(OmbRoiSize s, float r) {
  int w = ModelGuess(s.width, r), h = ModelGuess(s.height, r);
  auto step = [r](int& d, int n) {
    const int before = d;
    if (n < ModelUpMin(d, r)) --d;
    else if (n > ModelUpMax(d, r)) ++d;
    return d != before;
  };
  for (;;) {
    const bool dh = step(h, s.height), dw = step(w, s.width);
    if (!dh && !dw) break;
  }
  return {w, h};
}

std::vector<float> Rates() {
  std::vector<float> r = {2.0f, 10.0f, 1.5f, 3.0f, 1.25f, 1.7f, 2.5f, 4.0f, 9.99f, 7.3f, 1.1f, 1.01f};
  float x = 1.0f;
  for (int i = 0; i < 6; ++i) {
    x = std::nextafter(x, 2.0f);
    r.push_back(x);  // just above 1
  }
  r.push_back(std::nextafter(10.0f, 0.0f));
  r.push_back(std::nextafter(2.0f, 0.0f));
  r.push_back(std::nextafter(2.0f, 3.0f));
  return r;
}

// Depth: the number of down steps until both dimensions are 1.
int ModelDepth(OmbRoiSize s, float r) {
  int d = 0;
  for (; s.width != 1 || s.height != 1; ++d) s = ModelDown(s, r);
  return d;
}

// ---- Worked values and rate limits -------------------------------------------

TEST(PyramidRoi, WorkedExamplesAndRateLimits) {
  const OmbResult ok = ombResultOk, bad = ombResultBadArgument;
  const float nan = std::numeric_limits<float>::quiet_NaN();
  struct DownCase {
    OmbRoiSize s;
    float r;
    OmbResult st;
    OmbRoiSize want;
  } downs[] = {{{640, 480}, 2.0f, ok, {320, 240}},
               {{641, 1}, 2.0f, ok, {321, 1}},  // 641 lies in the range of 321 ([641, 642])
               {{10, 10}, 10.0f, ok, {1, 1}},
               {{10, 10}, std::nextafter(1.0f, 2.0f), ok, {9, 9}},
               // Float products are coarse at this size: not exactly 2^29.
               {{1 << 30, 3}, 2.0f, ok, {536870896, 2}},
               {{10, 10}, 1.0f, bad, {7, 7}},
               {{10, 10}, std::nextafter(10.0f, 11.0f), bad, {7, 7}},
               {{10, 10}, nan, bad, {7, 7}},
               {{10, 10}, 0.5f, bad, {7, 7}}};
  for (const DownCase& c : downs) {
    OmbRoiSize d{7, 7};
    EXPECT_EQ(ombiGetPyramidDownROI(c.s, &d, c.r), c.st) << c.s.width << " " << c.r;
    EXPECT_EQ(d.width, c.want.width) << c.s.width << " " << c.r;
    EXPECT_EQ(d.height, c.want.height) << c.s.height << " " << c.r;
  }
  struct UpCase {
    OmbRoiSize s;
    float r;
    OmbResult st;
    OmbRoiSize lo, hi;
  } ups[] = {{{320, 240}, 2.0f, ok, {639, 479}, {640, 480}},
             // n = 1: minimum 1, maximum max(2, trunc(rate)).
             {{1, 1}, 10.0f, ok, {1, 1}, {10, 10}},
             {{1, 2}, 1.5f, ok, {1, 3}, {2, 3}},
             {{10, 10}, 10.0f, ok, {91, 91}, {100, 100}},
             {{10, 10}, 1.0f, bad, {7, 7}, {7, 7}},
             {{10, 10}, 10.5f, bad, {7, 7}, {7, 7}}};
  for (const UpCase& c : ups) {
    OmbRoiSize lo{7, 7}, hi{7, 7};
    EXPECT_EQ(ombiGetPyramidUpROI(c.s, &lo, &hi, c.r), c.st) << c.s.width << " " << c.r;
    EXPECT_TRUE(lo.width == c.lo.width && lo.height == c.lo.height && hi.width == c.hi.width &&
                hi.height == c.hi.height)
        << c.s.width << "x" << c.s.height << " " << c.r << ": " << lo.width << "x" << lo.height << " "
        << hi.width << "x" << hi.height;
  }
}

// ---- Against the model -------------------------------------------------------

TEST(PyramidRoi, SizesMatchModel) {
  for (float r : Rates()) {
    for (int n : {1, 2, 3, 4, 5, 7, 8, 9, 10, 16, 17, 31, 63, 100, 239, 240, 241, 1079, 1920,
                  65535, 1000003, 16777215, 16777216, 16777217}) {
      OmbRoiSize lo, hi;
      ASSERT_EQ(ombiGetPyramidUpROI({n, 3}, &lo, &hi, r), ombResultOk);
      EXPECT_EQ(lo.width, ModelUpMin(n, r)) << n << " " << r;
      EXPECT_EQ(hi.width, ModelUpMax(n, r)) << n << " " << r;
      EXPECT_EQ(lo.height, ModelUpMin(3, r));
      EXPECT_EQ(hi.height, ModelUpMax(3, r));
    }
    // Reduction, and the expansion range of the result contains the source:
    // small sizes against a mixed height, then very wide single rows.
    std::vector<OmbRoiSize> sizes;
    for (int w = 1; w <= 300; w += (w < 64 ? 1 : 7)) sizes.push_back({w, (w * 7 + 3) % 97 + 1});
    for (int n : {1920, 65536, 1 << 24, (1 << 24) + 1, 100000007, 2147483647}) sizes.push_back({n, 1});
    for (OmbRoiSize s : sizes) {
      OmbRoiSize d;
      ASSERT_EQ(ombiGetPyramidDownROI(s, &d, r), ombResultOk);
      const OmbRoiSize m = ModelDown(s, r);
      EXPECT_EQ(d.width, m.width) << s.width << " " << r;
      EXPECT_EQ(d.height, m.height) << s.height << " " << r;
      OmbRoiSize lo, hi;
      ASSERT_EQ(ombiGetPyramidUpROI(d, &lo, &hi, r), ombResultOk);
      EXPECT_TRUE(lo.width <= s.width && hi.width >= s.width) << s.width << " " << r;
      EXPECT_TRUE(lo.height <= s.height && hi.height >= s.height) << s.height << " " << r;
      EXPECT_TRUE(s.width == 1 || d.width < s.width) << s.width << " " << r;
    }
  }
}

// ---- Record ------------------------------------------------------------------

// The record's block layout, every level's size against the model, empty
// images and steps, the scales, and requested levels clamped to the depth
// at which both dimensions reach 1.
TEST(PyramidRecord, LayoutLevelsAndClamping) {
  struct Case {
    OmbRoiSize s;
    float r;
  } cases[] = {{{640, 480}, 2.0f}, {{640, 480}, 1.5f}, {{640, 480}, 3.0f}, {{1, 1}, 2.0f},
               {{2, 1}, 2.0f},     {{1, 7}, 10.0f},    {{37, 5}, 1.5f},    {{100, 3}, 10.0f},
               {{9, 9}, 1.01f},    {{40, 1}, std::nextafter(1.0f, 2.0f)},
               // A very wide base needs no more memory than the levels made.
               {{1 << 30, 3}, 2.0f}, {{2147483647, 1}, 10.0f}};
  for (const Case& c : cases) {
    const int depth = ModelDepth(c.s, c.r);
    for (int req : {1, 2, 3, 5, depth, depth + 1, 1000000, 2147483647}) {
      if (req < 1) continue;
      SCOPED_TRACE(::testing::Message() << c.s.width << "x" << c.s.height << " " << c.r << " " << req);
      OmbPyramidRecord* p = nullptr;
      ASSERT_EQ(ombiPyramidInitAlloc(&p, req, c.s, c.r), ombResultOk);
      ASSERT_NE(p, nullptr);
      const int level = std::min(req, depth);
      EXPECT_EQ(p->level, level);
      EXPECT_EQ(p->state, nullptr);
      const std::size_t n = std::size_t(p->level) + 1;
      const std::uintptr_t sizes = reinterpret_cast<std::uintptr_t>(p) + sizeof(OmbPyramidRecord);
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p->sizes), sizes);
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p->images), sizes + 8 * n);
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p->scales), sizes + 16 * n);
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p->steps), sizes + 24 * n);
      // The whole block stays within 44 x level + 112 bytes.
      EXPECT_LE(sizeof(OmbPyramidRecord) + 28 * n, std::size_t(44 * p->level + 112));
      OmbRoiSize s = c.s;
      double scale = 1.0;
      for (int i = 0; i <= std::min(level, p->level); ++i) {
        EXPECT_TRUE(p->sizes[i].width == s.width && p->sizes[i].height == s.height) << "level " << i;
        EXPECT_EQ(p->images[i], nullptr);
        EXPECT_EQ(p->steps[i], 0);
        EXPECT_EQ(p->scales[i], scale);
        s = ModelDown(s, c.r);
        scale *= 1.0 / double(c.r);
      }
      EXPECT_EQ(ombiPyramidFree(p), ombResultOk);
    }
  }
}

TEST(PyramidRecord, CheckOrder) {
  OmbPyramidRecord* p = reinterpret_cast<OmbPyramidRecord*>(0x1);
  // Null first, then the size, then rate and level.
  EXPECT_EQ(ombiPyramidInitAlloc(nullptr, 0, {0, 0}, 1.0f), ombResultNullPointer);
  EXPECT_EQ(ombiPyramidInitAlloc(&p, 0, {0, 5}, 1.0f), ombResultBadSize);
  EXPECT_EQ(ombiPyramidInitAlloc(&p, 0, {5, 0}, 20.0f), ombResultBadSize);
  EXPECT_EQ(ombiPyramidInitAlloc(&p, 0, {5, 5}, 2.0f), ombResultBadArgument);
  EXPECT_EQ(ombiPyramidInitAlloc(&p, -3, {5, 5}, 2.0f), ombResultBadArgument);
  EXPECT_EQ(ombiPyramidInitAlloc(&p, 1, {5, 5}, 1.0f), ombResultBadArgument);
  EXPECT_EQ(ombiPyramidInitAlloc(&p, 1, {5, 5}, 10.01f), ombResultBadArgument);
  EXPECT_EQ(ombiPyramidInitAlloc(&p, 1, {5, 5}, std::numeric_limits<float>::quiet_NaN()),
            ombResultBadArgument);
  EXPECT_EQ(p, reinterpret_cast<OmbPyramidRecord*>(0x1));  // untouched on failure
  EXPECT_EQ(ombiPyramidFree(nullptr), ombResultNullPointer);
  ASSERT_EQ(ombiPyramidInitAlloc(&p, 1, {5, 5}, 10.0f), ombResultOk);
  EXPECT_EQ(p->level, 1);
  EXPECT_EQ(ombiPyramidFree(p), ombResultOk);

  OmbRoiSize d{7, 7}, lo{7, 7}, hi{7, 7};
  EXPECT_EQ(ombiGetPyramidDownROI({0, 0}, nullptr, 0.0f), ombResultNullPointer);
  EXPECT_EQ(ombiGetPyramidDownROI({0, 5}, &d, 0.0f), ombResultBadSize);
  EXPECT_EQ(ombiGetPyramidDownROI({5, -1}, &d, 0.0f), ombResultBadSize);
  EXPECT_EQ(ombiGetPyramidDownROI({5, 5}, &d, 0.0f), ombResultBadArgument);
  EXPECT_EQ(d.width, 7);
  EXPECT_EQ(ombiGetPyramidUpROI({0, 0}, nullptr, &hi, 0.0f), ombResultNullPointer);
  EXPECT_EQ(ombiGetPyramidUpROI({0, 0}, &lo, nullptr, 0.0f), ombResultNullPointer);
  EXPECT_EQ(ombiGetPyramidUpROI({0, 1}, &lo, &hi, 0.0f), ombResultBadSize);
  EXPECT_EQ(ombiGetPyramidUpROI({1, 1}, &lo, &hi, 1.0f), ombResultBadArgument);
  EXPECT_EQ(lo.width, 7);
  EXPECT_EQ(hi.width, 7);
}

}  // namespace
