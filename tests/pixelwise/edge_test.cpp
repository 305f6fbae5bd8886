// Single cases of the pixel-wise fronts whose outcome is worth stating on
// its own, independently of the models: signed zeros and NaN signs of the
// float absolute difference (two random images rarely pair -0 with +0),
// motion-history thresholds and the order of special values, and the
// large-output path of the float absolute difference.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <vector>

#include "ombcv.h"
#include "pixelwise/fronts.hpp"

namespace omb_test {
namespace {

const float kInf = HUGE_VALF;
const float kNaN = BitsFloat(0x7fc00000u);

// A w x 1 image whose pixels repeat `values`, wide enough for the vector
// loops and a tail on every target.
template <class T>
TestImage<T> Repeat(const std::vector<T>& values, int w = 67) {
  TestImage<T> img(w, 1, {3 * static_cast<int>(sizeof(T)), 1, 1});
  for (int x = 0; x < w; ++x) img.Set(x, 0, values[x % values.size()]);
  img.Snapshot();
  return img;
}

// Expects pixel x of `img` to hold the bits of want[x % want.size()];
// where that is a NaN, any NaN will do.
void ExpectRepeats(const TestImage<float>& img, const std::vector<float>& want) {
  EXPECT_TRUE(img.GuardsIntact());
  for (int x = 0; x < img.Width(); ++x) {
    const float got = img.Get(x, 0), w = want[x % want.size()];
    ASSERT_TRUE(std::isnan(w) ? std::isnan(got) : FloatBits(got) == FloatBits(w))
        << "pixel " << x << ": got " << got << ", want " << w;
  }
}

TEST(PixelwiseEdge, AbsDiff32fClearsTheSign) {
  const float pz = 0.0f, nz = -0.0f, nnan = BitsFloat(0xffc00000u);
  ForEachSimdTarget([&] {
    auto a = Repeat<float>({pz, nz, pz, nz, nnan, -kInf});
    auto b = Repeat<float>({nz, pz, pz, nz, 1.0f, 3.0f});
    TestImage<float> d(67, 1);
    ASSERT_EQ(ombiAbsDiff_32f_C1R(a.Roi(), a.Step(), b.Roi(), b.Step(), d.Roi(), d.Step(), d.Size()), 0);
    ExpectRepeats(d, {pz, pz, pz, pz, kNaN, kInf});
    EXPECT_EQ(FloatBits(d.Get(4, 0)), 0x7fc00000u);
  });
}

// Runs one motion-history front on a 67 x 1 silhouette and history.
template <class T>
using HistoryFn = OmbResult (*)(const T*, int, float*, int, OmbRoiSize, float, float);
template <class T>
TestImage<float> History(HistoryFn<T> fn, const std::vector<T>& sil,
                         const std::vector<float>& mhi, float ts, float duration) {
  auto s = Repeat(sil);
  auto h = Repeat(mhi);
  EXPECT_EQ(fn(s.Roi(), s.Step(), h.Roi(), h.Step(), h.Size(), ts, duration), 0);
  EXPECT_TRUE(s.Unchanged());
  return h;
}

TEST(PixelwiseEdge, MotionHistoryZeroDuration) {
  // Nothing moves; history below the timestamp is cleared, equal or above kept.
  const float ts = 5.0f, below = std::nextafter(ts, 0.0f), above = std::nextafter(ts, 9.0f);
  const std::vector<float> mhi = {ts, below, above, 0.0f, -1.0f, 9.0f};
  const std::vector<float> want = {ts, 0.0f, above, 0.0f, 0.0f, 9.0f};
  ForEachSimdTarget([&] {
    ExpectRepeats(History<Omb8u>(ombiUpdateMotionHistory_8u32f_C1IR, {0}, mhi, ts, 0.0f), want);
    ExpectRepeats(History<Omb16u>(ombiUpdateMotionHistory_16u32f_C1IR, {0}, mhi, ts, -0.0f), want);
    ExpectRepeats(History<float>(ombiUpdateMotionHistory_32f_C1IR, {0.0f, -0.0f, kNaN}, mhi, ts, 0.0f), want);
  });
}

TEST(PixelwiseEdge, MotionHistoryOrderOfSpecialValues) {
  // Threshold +0. Integer silhouettes order the history as keys: -0 lies
  // below +0 and is cleared, +NaN lies above everything and stays, -NaN
  // below everything. Float silhouettes compare floats: -0 >= +0 stays,
  // NaNs are cleared.
  const float nnan = BitsFloat(0xffc00000u);
  const std::vector<float> mhi = {-0.0f, kNaN, nnan, 0.0f, 1e-45f, -1e-45f, kInf, -kInf};
  ForEachSimdTarget([&] {
    auto h8 = History<Omb8u>(ombiUpdateMotionHistory_8u32f_C1IR, {0}, mhi, 2.0f, 2.0f);
    ExpectRepeats(h8, {0.0f, kNaN, 0.0f, 0.0f, 1e-45f, 0.0f, kInf, 0.0f});
    EXPECT_EQ(FloatBits(h8.Get(1, 0)), 0x7fc00000u);
    ExpectRepeats(History<float>(ombiUpdateMotionHistory_32f_C1IR, {0.0f}, mhi, 2.0f, 2.0f),
                  {-0.0f, 0.0f, 0.0f, 0.0f, 1e-45f, 0.0f, kInf, 0.0f});
    // Moving float silhouettes: any value ordered-unequal to zero.
    ExpectRepeats(History<float>(ombiUpdateMotionHistory_32f_C1IR,
                                 {1e-45f, -1e-45f, -kInf, kNaN, -0.0f, 0.0f, 3.0f}, {-1.0f}, 7.0f, 1.0f),
                  {7.0f, 7.0f, 7.0f, 0.0f, 0.0f, 0.0f, 7.0f});
  });
}

TEST(PixelwiseEdge, AbsDiff32fLargeAlignedOutput) {
  // 4100 rows of 16448 bytes (a multiple of 64) on 64-byte aligned blocks:
  // a destination of more than 64 MiB on vector boundaries, which the
  // library writes with non-temporal stores.
  ExpectMatchesModel(FindFront("ombiAbsDiff_32f_C1R"), {4100, 4100, 48, 0, 0, false, 0}, {}, 4100);
}

}  // namespace
}  // namespace omb_test
