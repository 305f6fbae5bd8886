// ombibFastArctan_32f against a plain model of its arithmetic: the listed
// directions, every quadrant, special floats and every tail length, on
// every SIMD target, bit for bit (any NaN matches a NaN).
#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <vector>

#include "ombcv.h"
#include "support/test_image.hpp"

namespace omb_test {
namespace {

const float kNaN = BitsFloat(0x7fc00000u);
const float kInf = HUGE_VALF;
const float kAtZero = -0.14050041f;

// The reciprocal is the rounded 1/m with its low 11 mantissa bits cleared,
// refined once as (r0 + r0) - ((m r0) r0); then t = min * r and the
// quadratic in t, every step rounded on its own. NaN in gives NaN out.
float Model(float y, float x) {
  if (std::isnan(x) || std::isnan(y)) return kNaN;
  const float ax = std::fabs(x), ay = std::fabs(y);
  const float m = std::max(std::max(ax, ay), 1.0e-8f);
  const float r0 = BitsFloat(FloatBits(1.0f / m) & 0xfffff800u);
  const float r = (r0 + r0) - ((m * r0) * r0);
  const float t = std::min(ax, ay) * r;
  float p = ((-15.8131895f * t + 61.094196f) * t) - 0.14050041f;
  if (ax < ay) p = 90.0f - p;
  if (x < 0.0f) p = 180.0f - p;
  if (y < 0.0f) p = 360.0f - p;
  return p;
}

::testing::AssertionResult Same(float got, float want) {
  if (std::isnan(want) ? std::isnan(got) : FloatBits(got) == FloatBits(want)) {
    return ::testing::AssertionSuccess();
  }
  return ::testing::AssertionFailure() << "got " << got << " (0x" << std::hex
                                       << FloatBits(got) << "), want " << want
                                       << " (0x" << FloatBits(want) << ")";
}

// Calls the front on (y, x) into an array with guard elements on both
// sides, checks the guards and returns the results.
std::vector<float> Arctan(const std::vector<float>& y, const std::vector<float>& x) {
  const int n = static_cast<int>(y.size()), g = 8;
  const float guard = BitsFloat(0x7fbadbadu);
  std::vector<float> out(n + 2 * g, guard);
  EXPECT_EQ(ombibFastArctan_32f(y.data(), x.data(), out.data() + g, n), 0);
  for (int i = 0; i < g; ++i) {
    EXPECT_EQ(FloatBits(out[i]), FloatBits(guard));
    EXPECT_EQ(FloatBits(out[n + g + i]), FloatBits(guard));
  }
  return std::vector<float>(out.begin() + g, out.begin() + g + n);
}

void ExpectModel(const std::vector<float>& y, const std::vector<float>& x) {
  const std::vector<float> got = Arctan(y, x);
  for (std::size_t i = 0; i < y.size(); ++i) {
    ASSERT_TRUE(Same(got[i], Model(y[i], x[i]))) << "y " << y[i] << ", x " << x[i];
  }
}

TEST(FastArctan, ListedDirections) {
  struct Case { float y, x, approx; };
  const Case cases[] = {
      {1, 1, 45.14f}, {0, 1, kAtZero}, {1, 0, 90.14f}, {0, -1, 180.14f},
      {-1, 0, 269.86f}, {0, 0, kAtZero}, {-0.0f, -0.0f, kAtZero}, {0, 5e30f, kAtZero},
      {-1, 1, 314.86f}, {1, -1, 134.86f}, {-1, -1, 225.14f}};
  ForEachSimdTarget([&] {
    // Repeated so that both the vector loops and the tail see each case.
    const std::size_t k = std::size(cases);
    std::vector<float> y, x;
    for (std::size_t i = 0; i < 7 * k; ++i) {
      y.push_back(cases[i % k].y);
      x.push_back(cases[i % k].x);
    }
    const std::vector<float> got = Arctan(y, x);
    for (std::size_t i = 0; i < y.size(); ++i) {
      const Case& c = cases[i % k];
      EXPECT_NEAR(got[i], c.approx, 0.005f) << "y " << c.y << ", x " << c.x;
      EXPECT_TRUE(Same(got[i], Model(c.y, c.x)));
      if (c.approx == kAtZero) {
        EXPECT_EQ(FloatBits(got[i]), FloatBits(kAtZero));
      }
    }
  });
}

TEST(FastArctan, SpecialFloatsInEveryPairing) {
  const std::vector<float> v = {0.0f, -0.0f, 1.0f, -1.0f, 0.5f, -3.0f, 1e-8f, -1e-8f,
      5e-9f, 1e-40f, -1e-45f, FLT_MIN, FLT_MAX, -FLT_MAX, kInf, -kInf, kNaN,
      BitsFloat(0xffc00001u), 1e20f, -2.5e-20f, 7.0f, 7.000001f};
  std::vector<float> y, x;
  for (float a : v) for (float b : v) { y.push_back(a); x.push_back(b); }
  ForEachSimdTarget([&] { ExpectModel(y, x); });
}

TEST(FastArctan, RandomQuadrantsAndEveryTail) {
  Rng rng(42);
  std::uniform_real_distribution<float> u(-1000.0f, 1000.0f);
  std::vector<float> y(4096), x(4096);
  for (std::size_t i = 0; i < y.size(); ++i) {
    y[i] = u(rng);
    x[i] = i % 7 == 0 ? y[i] * (i % 2 ? -1.0f : 1.0f) : u(rng);  // diagonals too
  }
  ForEachSimdTarget([&] {
    ExpectModel(y, x);
    for (int n = 1; n <= 70; ++n) {
      SCOPED_TRACE(n);
      ExpectModel(std::vector<float>(y.begin() + n, y.begin() + 2 * n),
                  std::vector<float>(x.begin() + n, x.begin() + 2 * n));
    }
  });
  // Every quadrant and octant is reached.
  std::vector<int> octants(8, 0);
  for (std::size_t i = 0; i < y.size(); ++i) {
    ++octants[std::min(7, static_cast<int>(Model(y[i], x[i]) / 45.0f))];
  }
  for (int o : octants) EXPECT_GT(o, 0);
}

TEST(FastArctan, ChecksArgumentsInOrder) {
  float y[4] = {1, 2, 3, 4}, x[4] = {1, 1, 1, 1}, d[4] = {5, 5, 5, 5};
  struct Case { const float* y; const float* x; float* d; int n; OmbResult want; };
  const Case cases[] = {
      {nullptr, x, d, 4, ombResultNullPointer}, {y, nullptr, d, 4, ombResultNullPointer},
      {y, x, nullptr, 4, ombResultNullPointer}, {nullptr, x, d, 0, ombResultNullPointer},
      {y, x, nullptr, -1, ombResultNullPointer}, {y, x, d, 0, ombResultBadSize},
      {y, x, d, -1, ombResultBadSize}, {y, x, d, INT_MIN, ombResultBadSize}};
  for (const Case& c : cases) {
    EXPECT_EQ(ombibFastArctan_32f(c.y, c.x, c.d, c.n), c.want);
    for (float v : d) EXPECT_EQ(v, 5.0f);
  }
  EXPECT_EQ(ombibFastArctan_32f(y, x, d, 1), ombResultOk);
  EXPECT_EQ(d[1], 5.0f);
}

}  // namespace
}  // namespace omb_test
