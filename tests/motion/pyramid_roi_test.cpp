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

OmbRoiSize ModelDown(OmbRoiSize s, float r) {
  int w = ModelGuess(s.width, r), h = ModelGuess(s.height, r);
  for (;;) {
    bool changed = false;
    if (s.height < ModelUpMin(h, r)) {
      --h;
      changed = true;
    } else if (s.height > ModelUpMax(h, r)) {
      ++h;
      changed = true;
    }
    if (s.width < ModelUpMin(w, r)) {
      --w;
      changed = true;
    } else if (s.width > ModelUpMax(w, r)) {
      ++w;
      changed = true;
    }
    if (!changed) break;
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

// ---- Worked values -----------------------------------------------------------

TEST(PyramidRoi, WorkedExamples) {
  OmbRoiSize d{0, 0};
  ASSERT_EQ(ombiGetPyramidDownROI({640, 480}, &d, 2.0f), ombResultOk);
  EXPECT_EQ(d.width, 320);
  EXPECT_EQ(d.height, 240);
  OmbRoiSize lo{0, 0}, hi{0, 0};
  ASSERT_EQ(ombiGetPyramidUpROI({320, 240}, &lo, &hi, 2.0f), ombResultOk);
  EXPECT_EQ(lo.width, 639);
  EXPECT_EQ(lo.height, 479);
  EXPECT_EQ(hi.width, 640);
  EXPECT_EQ(hi.height, 480);
  // Odd sizes at 2.0: 641 lies in the range of 321 ([641, 642]).
  ASSERT_EQ(ombiGetPyramidDownROI({641, 1}, &d, 2.0f), ombResultOk);
  EXPECT_EQ(d.width, 321);
  EXPECT_EQ(d.height, 1);
  // n = 1: minimum 1, maximum max(2, trunc(rate)).
  ASSERT_EQ(ombiGetPyramidUpROI({1, 1}, &lo, &hi, 10.0f), ombResultOk);
  EXPECT_EQ(lo.width, 1);
  EXPECT_EQ(lo.height, 1);
  EXPECT_EQ(hi.width, 10);
  EXPECT_EQ(hi.height, 10);
  ASSERT_EQ(ombiGetPyramidUpROI({1, 2}, &lo, &hi, 1.5f), ombResultOk);
  EXPECT_EQ(lo.width, 1);
  EXPECT_EQ(hi.width, 2);
  EXPECT_EQ(lo.height, 3);
  EXPECT_EQ(hi.height, 3);
}

TEST(PyramidRoi, RateLimits) {
  OmbRoiSize d, lo, hi;
  EXPECT_EQ(ombiGetPyramidDownROI({10, 10}, &d, 1.0f), ombResultBadArgument);
  EXPECT_EQ(ombiGetPyramidUpROI({10, 10}, &lo, &hi, 1.0f), ombResultBadArgument);
  EXPECT_EQ(ombiGetPyramidDownROI({10, 10}, &d, std::nextafter(10.0f, 11.0f)), ombResultBadArgument);
  EXPECT_EQ(ombiGetPyramidUpROI({10, 10}, &lo, &hi, 10.5f), ombResultBadArgument);
  EXPECT_EQ(ombiGetPyramidDownROI({10, 10}, &d, std::numeric_limits<float>::quiet_NaN()),
            ombResultBadArgument);
  EXPECT_EQ(ombiGetPyramidDownROI({10, 10}, &d, 0.5f), ombResultBadArgument);
  EXPECT_EQ(ombiGetPyramidDownROI({10, 10}, &d, 10.0f), ombResultOk);
  EXPECT_EQ(d.width, 1);
  EXPECT_EQ(d.height, 1);
  EXPECT_EQ(ombiGetPyramidUpROI({10, 10}, &lo, &hi, 10.0f), ombResultOk);
  EXPECT_EQ(ombiGetPyramidDownROI({10, 10}, &d, std::nextafter(1.0f, 2.0f)), ombResultOk);
  EXPECT_EQ(d.width, 9);
  EXPECT_EQ(d.height, 9);
}

// ---- Against the model -------------------------------------------------------

TEST(PyramidRoi, UpMatchesModel) {
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
  }
}

TEST(PyramidRoi, DownMatchesModelAndRangeContainsSource) {
  for (float r : Rates()) {
    for (int w = 1; w <= 300; w += (w < 64 ? 1 : 7)) {
      const int h = (w * 7 + 3) % 97 + 1;
      OmbRoiSize d;
      ASSERT_EQ(ombiGetPyramidDownROI({w, h}, &d, r), ombResultOk);
      const OmbRoiSize m = ModelDown({w, h}, r);
      EXPECT_EQ(d.width, m.width) << w << " " << r;
      EXPECT_EQ(d.height, m.height) << h << " " << r;
      OmbRoiSize lo, hi;
      ASSERT_EQ(ombiGetPyramidUpROI(d, &lo, &hi, r), ombResultOk);
      EXPECT_LE(lo.width, w);
      EXPECT_GE(hi.width, w);
      EXPECT_LE(lo.height, h);
      EXPECT_GE(hi.height, h);
      if (w > 1) {
        EXPECT_LT(d.width, w);
      }
    }
  }
}

TEST(PyramidRoi, LargeSizes) {
  for (float r : {2.0f, 10.0f, 1.5f, std::nextafter(1.0f, 2.0f)}) {
    for (int n : {1920, 65536, 1 << 24, (1 << 24) + 1, 100000007, 2147483647}) {
      OmbRoiSize d;
      ASSERT_EQ(ombiGetPyramidDownROI({n, 1}, &d, r), ombResultOk);
      EXPECT_EQ(d.width, ModelDown({n, 1}, r).width) << n << " " << r;
      OmbRoiSize lo, hi;
      ASSERT_EQ(ombiGetPyramidUpROI(d, &lo, &hi, r), ombResultOk);
      EXPECT_LE(lo.width, n) << n << " " << r;
      EXPECT_GE(hi.width, n) << n << " " << r;
      EXPECT_EQ(d.height, 1);
    }
  }
}

// ---- Record ------------------------------------------------------------------

TEST(PyramidRecord, LayoutAndContents) {
  for (float r : {2.0f, 1.5f, 3.0f}) {
    for (int level : {1, 2, 3, 5}) {
      OmbPyramidRecord* p = nullptr;
      ASSERT_EQ(ombiPyramidInitAlloc(&p, level, {640, 480}, r), ombResultOk);
      ASSERT_NE(p, nullptr);
      EXPECT_EQ(p->level, level);
      EXPECT_EQ(p->state, nullptr);
      const auto base = reinterpret_cast<std::uintptr_t>(p);
      const std::size_t n = std::size_t(level) + 1;
      const std::uintptr_t sizes = base + sizeof(OmbPyramidRecord);
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p->sizes), sizes);
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p->images), sizes + 8 * n);
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p->scales), sizes + 16 * n);
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p->steps), sizes + 24 * n);
      // The whole block stays within 44 x level + 112 bytes.
      EXPECT_LE(sizeof(OmbPyramidRecord) + 28 * n, std::size_t(44 * level + 112));
      OmbRoiSize s{640, 480};
      double scale = 1.0;
      for (int i = 0; i <= level; ++i) {
        EXPECT_EQ(p->sizes[i].width, s.width);
        EXPECT_EQ(p->sizes[i].height, s.height);
        EXPECT_EQ(p->images[i], nullptr);
        EXPECT_EQ(p->steps[i], 0);
        EXPECT_EQ(p->scales[i], scale);
        OmbRoiSize next;
        ASSERT_EQ(ombiGetPyramidDownROI(s, &next, r), ombResultOk);
        s = next;
        scale *= 1.0 / double(r);
      }
      EXPECT_EQ(p->scales[0], 1.0);
      EXPECT_EQ(ombiPyramidFree(p), ombResultOk);
    }
  }
}

// Depth: the number of down steps until both dimensions are 1.
int ModelDepth(OmbRoiSize s, float r) {
  int d = 0;
  while (s.width != 1 || s.height != 1) {
    s = ModelDown(s, r);
    ++d;
  }
  return d;
}

TEST(PyramidRecord, LevelClamping) {
  struct Case {
    OmbRoiSize s;
    float r;
  } cases[] = {{{640, 480}, 2.0f}, {{1, 1}, 2.0f},   {{2, 1}, 2.0f},  {{1, 7}, 10.0f},
               {{37, 5}, 1.5f},    {{100, 3}, 10.0f}, {{9, 9}, 1.01f}, {{40, 1}, std::nextafter(1.0f, 2.0f)}};
  for (const Case& c : cases) {
    const int depth = ModelDepth(c.s, c.r);
    for (int req : {1, depth, depth + 1, 1000000, 2147483647}) {
      if (req < 1) continue;
      OmbPyramidRecord* p = nullptr;
      ASSERT_EQ(ombiPyramidInitAlloc(&p, req, c.s, c.r), ombResultOk);
      const int level = std::min(req, depth);
      EXPECT_EQ(p->level, level) << c.s.width << "x" << c.s.height << " " << c.r << " " << req;
      if (req >= depth) {
        EXPECT_EQ(p->sizes[level].width, 1);
        EXPECT_EQ(p->sizes[level].height, 1);
      }
      EXPECT_EQ(ombiPyramidFree(p), ombResultOk);
    }
  }
}

// A very wide base needs no more memory than the requested levels.
TEST(PyramidRecord, WideBase) {
  OmbPyramidRecord* p = nullptr;
  ASSERT_EQ(ombiPyramidInitAlloc(&p, 3, {1 << 30, 3}, 2.0f), ombResultOk);
  EXPECT_EQ(p->level, 3);
  OmbRoiSize s{1 << 30, 3};
  for (int i = 1; i <= 3; ++i) {
    s = ModelDown(s, 2.0f);
    EXPECT_EQ(p->sizes[i].width, s.width);
    EXPECT_EQ(p->sizes[i].height, s.height);
  }
  // Float products are coarse at this size: not exactly 2^29 at level 1.
  EXPECT_EQ(p->sizes[1].width, 536870896);
  EXPECT_EQ(p->sizes[3].height, 1);
  EXPECT_EQ(ombiPyramidFree(p), ombResultOk);
  ASSERT_EQ(ombiPyramidInitAlloc(&p, 100, {2147483647, 1}, 10.0f), ombResultOk);
  EXPECT_EQ(p->level, ModelDepth({2147483647, 1}, 10.0f));
  EXPECT_EQ(p->sizes[p->level].width, 1);
  EXPECT_EQ(ombiPyramidFree(p), ombResultOk);
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
