// The gradient helpers against the plain references beside the kernels,
// bit for bit on every SIMD target. ombiGradientColorToGray_*: every norm and type, listed values,
// random images with odd widths, padded steps and ROIs inside larger images
// with guards, and the argument-check order. ombibFastArctan_32f: listed
// directions, every quadrant, special floats and every tail length (any
// NaN matches a NaN), guards around the output and the check order.
#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdint>
#include <functional>
#include <iterator>
#include <string>
#include <type_traits>
#include <vector>

#include "edges/gradient_ref.hpp"
#include "ombcv.h"
#include "support/arg_check.hpp"
#include "support/test_image.hpp"

namespace omb_test {
namespace {

// The per-pixel references beside the kernels; the listed values below pin
// them.
template <class T>
T Model(int norm, T a, T b, T c) {
  return norm == 0 ? omb::ref::GradC(a, b, c)
                   : norm == 1 ? omb::ref::GradL1(a, b, c) : omb::ref::GradL2(a, b, c);
}

// Bitwise equality; where the model gives NaN, any NaN will do.
template <class T, class W>
::testing::AssertionResult Same(T got, W want) {
  bool ok;
  if constexpr (std::is_same_v<T, float>) {
    ok = std::isnan(want) ? std::isnan(got) : FloatBits(got) == FloatBits(want);
  } else {
    ok = got == want;
  }
  if (ok) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "got " << +got << ", want " << +want;
}

template <class T>
using Fn = OmbResult (*)(const T*, int, T*, int, OmbRoiSize, int);

// Runs fn on src into the guarded destination dst and compares every pixel
// with the model.
template <class T>
void ExpectModel(Fn<T> fn, const TestImage<T>& src, int norm, TestImage<T>& dst) {
  const int w = dst.Width(), h = dst.Height();
  ASSERT_EQ(fn(src.Roi(), src.Step(), dst.Roi(), dst.Step(), {w, h}, norm), 0);
  EXPECT_TRUE(src.Unchanged());
  EXPECT_TRUE(dst.GuardsIntact());
  for (int y = 0; y < h; ++y) {
    for (int x = 0; x < w; ++x) {
      const T a = src.Get(3 * x, y), b = src.Get(3 * x + 1, y), c = src.Get(3 * x + 2, y);
      ASSERT_TRUE(Same(dst.Get(x, y), Model(norm, a, b, c)))
          << "norm " << norm << " at (" << x << ", " << y << "): channels " << +a << ", "
          << +b << ", " << +c;
    }
  }
}

// Random sources with the ROI inside a larger image and a padded step; the
// destination is offset and padded differently.
template <class T>
void RandomImages(Fn<T> fn) {
  const int eb = static_cast<int>(sizeof(T));
  Rng rng(7 + eb);
  ForEachSimdTarget([&] {
    for (int w : {1, 2, 15, 17, 63, 65, 67, 131, 257}) {
      for (int norm : {0, 1, 2}) {
        SCOPED_TRACE(::testing::Message() << "width " << w);
        TestImage<T> src(3 * w, 3, {eb * 5, 3, 2, 2, eb});
        FillRandom(src, rng, 0.1);
        TestImage<T> dst(w, 3, {eb * 3, 1, 1, 1, 2 * eb});
        ExpectModel(fn, src, norm, dst);
      }
    }
  });
}

TEST(GradientColor, RandomImages) {
  RandomImages<Omb8u>(ombiGradientColorToGray_8u_C3C1R);
  RandomImages<Omb16u>(ombiGradientColorToGray_16u_C3C1R);
  RandomImages<Omb32f>(ombiGradientColorToGray_32f_C3C1R);
}

// Listed values, each repeated across a row wide enough for the vector
// blocks and a tail on every target; the spelled-out result is checked
// besides the model.
template <class T>
struct Listed {
  int norm;
  T a, b, c;
  decltype(Model(0, T(), T(), T())) want;
};

template <class T>
void ExpectListed(Fn<T> fn, const std::vector<Listed<T>>& cases) {
  const int w = 133;
  ForEachSimdTarget([&] {
    for (const Listed<T>& k : cases) {
      TestImage<T> src(3 * w, 1);
      for (int x = 0; x < 3 * w; ++x) src.Set(x, 0, x % 3 == 0 ? k.a : x % 3 == 1 ? k.b : k.c);
      src.Snapshot();
      TestImage<T> dst(w, 1);
      ExpectModel(fn, src, k.norm, dst);
      for (int x = 0; x < w; ++x) {
        ASSERT_TRUE(Same(dst.Get(x, 0), k.want))
            << "norm " << k.norm << ", channels " << +k.a << ", " << +k.b << ", " << +k.c
            << " at " << x;
      }
    }
  });
}

TEST(GradientColor, ListedValues) {
  ExpectListed<Omb8u>(ombiGradientColorToGray_8u_C3C1R, {
      {2, 255, 255, 255, 255}, {1, 1, 0, 0, 0}, {1, 255, 255, 255, 255},
      {1, 1, 1, 0, 1}, {0, 3, 200, 7, 200}, {2, 0, 0, 0, 0}, {2, 1, 1, 0, 1},
      {2, 255, 0, 0, 147}});
  ExpectListed<Omb16u>(ombiGradientColorToGray_16u_C3C1R, {
      {2, 65535, 65535, 65535, 65535}, {1, 65535, 65535, 65535, 65531},
      {1, 1, 1, 0, 1}, {1, 1, 0, 0, 0}, {0, 9, 40000, 65535, 65535}, {2, 65535, 0, 0, 37837}});
  ExpectListed<Omb32f>(ombiGradientColorToGray_32f_C3C1R, {
      {0, -3.0f, 2.0f, -0.0f, 3.0f}, {1, -1.0f, 2.0f, -3.0f, 6.0f}, {2, 3.0f, -4.0f, 0.0f, 5.0f},
      {2, 1.0f, 1.0f, 1.0f, std::sqrt(3.0f)}, {0, -0.0f, -0.0f, -0.0f, 0.0f},
      {0, 1.0f, NAN, 2.0f, NAN}, {0, -HUGE_VALF, NAN, 2.0f, NAN}, {1, HUGE_VALF, -HUGE_VALF, 0.0f, HUGE_VALF},
      {2, FLT_MAX, 0.0f, 0.0f, HUGE_VALF}, {2, 1e-30f, 0.0f, 0.0f, 0.0f}});
}

// ---- argument checks --------------------------------------------------------

template <class T>
ArgFront Front(const char* name, Fn<T> fn) {
  ArgFront f;
  f.name = name;
  ArgImage src{ElemOf<T>()}, dst{ElemOf<T>(), true};
  src.channels = 3;
  f.images = {src, dst};
  f.params = {{0, {3, -1, 100, INT_MIN, INT_MAX}, ombResultBadArgument}};
  f.defaults = {2};
  f.call = [fn](const CallArgs& a) {
    return fn(a.P<const T>(0), a.step[0], a.P<T>(1), a.step[1], a.roi, static_cast<int>(a.p[0]));
  };
  return f;
}

#define OMB_FN(fn) #fn, fn

TEST(GradientColor, ChecksArgumentsInOrder) {
  for (const ArgFront& f : {Front<Omb8u>(OMB_FN(ombiGradientColorToGray_8u_C3C1R)),
                            Front<Omb16u>(OMB_FN(ombiGradientColorToGray_16u_C3C1R)),
                            Front<Omb32f>(OMB_FN(ombiGradientColorToGray_32f_C3C1R))}) {
    ExpectCheckOrder(f);
  }
}

// ---- fast arctangent -------------------------------------------------------

const float kNaN = BitsFloat(0x7fc00000u);
const float kInf = HUGE_VALF;
const float kAtZero = -0.14050041f;

float ArctanModel(float y, float x) { return omb::ref::FastArctan(y, x); }

// Calls the front on (y, x) into a guarded row, checks the guards and
// returns the results.
std::vector<float> Arctan(const std::vector<float>& y, const std::vector<float>& x) {
  const int n = static_cast<int>(y.size());
  TestImage<float> out(n, 1);
  EXPECT_EQ(ombibFastArctan_32f(y.data(), x.data(), out.Roi(), n), 0);
  EXPECT_TRUE(out.GuardsIntact());
  return std::vector<float>(out.Roi(), out.Roi() + n);
}

void ExpectArctanModel(const std::vector<float>& y, const std::vector<float>& x) {
  const std::vector<float> got = Arctan(y, x);
  for (std::size_t i = 0; i < y.size(); ++i) {
    ASSERT_TRUE(Same(got[i], ArctanModel(y[i], x[i]))) << "y " << y[i] << ", x " << x[i];
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
      EXPECT_TRUE(Same(got[i], ArctanModel(c.y, c.x)));
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
  ForEachSimdTarget([&] { ExpectArctanModel(y, x); });
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
    ExpectArctanModel(y, x);
    for (int n = 1; n <= 70; ++n) {
      SCOPED_TRACE(n);
      ExpectArctanModel(std::vector<float>(y.begin() + n, y.begin() + 2 * n),
                  std::vector<float>(x.begin() + n, x.begin() + 2 * n));
    }
  });
  // Every quadrant and octant is reached.
  std::vector<int> octants(8, 0);
  for (std::size_t i = 0; i < y.size(); ++i) {
    ++octants[std::min(7, static_cast<int>(ArctanModel(y[i], x[i]) / 45.0f))];
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
