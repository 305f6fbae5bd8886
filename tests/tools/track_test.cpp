// Tracking in the omb tool: the motion file reader, the error measure, the
// point picker and derivative orientation, and the whole command on the
// bundled frame pair with its known motion.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "features.hpp"
#include "image_io.hpp"
#include "motion_truth.hpp"
#include "run_omb.hpp"


namespace {

using namespace omb_tool;

const std::string kData = OMB_DATA_DIR;

TEST(OmbTrack, MotionFileIsValidated) {
  struct Case {
    const char* text;
    bool ok;
  };
  const Case cases[] = {
      {"# comment\n\naffine 1 2 3 4 5 6\n", true},
      {"affine 1 2 3 4 5\n", false},
      {"affine 1 2 3 4 5 6 7\n", false},
      {"affine 1 2 3 4 5 nan\n", false},
      {"affine 1 2 3 4 5 x\n", false},
      {"shift 1 2\n", false},
      {"# nothing but a comment\n", false},
      {"affine 1 2 3 4 5 6\naffine 1 2 3 4 5 6\n", false},
  };
  const std::string path = omb_cli_test::ScratchDir() + "/motion.txt";
  for (const Case& c : cases) {
    std::ofstream(path) << c.text;
    AffineMotion m;
    std::string error;
    EXPECT_EQ(ReadAffineMotion(path, &m, &error), c.ok) << c.text;
    if (c.ok) {
      EXPECT_EQ(m.a, 1.0);
      EXPECT_EQ(m.f, 6.0);
    } else {
      EXPECT_EQ(error.rfind(path, 0), 0u) << error;
    }
  }
}

TEST(OmbTrack, ErrorStatisticsOverTrackedPointsOnly) {
  // A pure shift by (1, 2); errors 0.05, 0.3, 0.0 and a lost point far off.
  const AffineMotion shift{1, 0, 1, 0, 1, 2};
  const std::vector<OmbPoint32f> prev = {{0, 0}, {10, 10}, {20, 5}, {7, 7}};
  const std::vector<OmbPoint32f> next = {{1.05f, 2}, {11, 12.3f}, {21, 7}, {50, 50}};
  const std::vector<Omb8s> status = {0, 0, 0, 2};
  const TrackingError e = MeasureTrackingError(shift, prev, next, status, 0.1);
  EXPECT_EQ(e.count, 3);
  EXPECT_NEAR(e.mean, 0.35 / 3, 1e-6);
  EXPECT_NEAR(e.median, 0.05, 1e-6);
  EXPECT_NEAR(e.max, 0.3, 1e-6);
  EXPECT_NEAR(e.share_within, 2.0 / 3, 1e-12);
}

TEST(OmbTrack, DerivativesPointTowardsBrighter) {
  // Brightness rising to the right and downwards: both derivatives positive
  // at every mask size, so the edge detector sees true gradient directions.
  Image ramp(16, 16, 1);
  for (int y = 0; y < 16; ++y)
    for (int x = 0; x < 16; ++x) ramp.row(y)[x] = static_cast<std::uint8_t>(5 * x + 3 * y);
  for (int mask : {3, 5}) {
    Derivatives d;
    std::string error;
    ASSERT_TRUE(SobelDerivatives(ramp, mask, &d, &error)) << error;
    EXPECT_GT(d.dx[8 * 16 + 8], 0) << mask;
    EXPECT_GT(d.dy[8 * 16 + 8], 0) << mask;
    EXPECT_GT(d.dx[8 * 16 + 8], d.dy[8 * 16 + 8]) << mask;
  }
}

TEST(OmbTrack, PointsAreStrongSpreadAndClearOfTheBorder) {
  Image photo;
  std::string error;
  ASSERT_TRUE(ReadImage(kData + "/camera_a.png", &photo, &error)) << error;
  Derivatives d;
  ASSERT_TRUE(SobelDerivatives(photo, 3, &d, &error)) << error;
  const int distance = 10, margin = 15;
  const std::vector<OmbPoint32f> pts = GoodPoints(d, photo.width, photo.height, 300, distance, margin);
  ASSERT_EQ(pts.size(), 300u);
  for (std::size_t i = 0; i < pts.size(); ++i) {
    EXPECT_TRUE(pts[i].x >= margin && pts[i].y >= margin && pts[i].x < photo.width - margin &&
                pts[i].y < photo.height - margin)
        << pts[i].x << "," << pts[i].y;
    for (std::size_t j = 0; j < i; ++j) {
      EXPECT_TRUE(std::abs(pts[i].x - pts[j].x) >= distance || std::abs(pts[i].y - pts[j].y) >= distance)
          << i << " and " << j;
    }
  }
  // Asking for fewer gives the strongest of the same list.
  const std::vector<OmbPoint32f> few = GoodPoints(d, photo.width, photo.height, 20, distance, margin);
  ASSERT_EQ(few.size(), 20u);
  for (std::size_t i = 0; i < few.size(); ++i) EXPECT_EQ(few[i].x, pts[i].x) << i;
}

// The number after `label` in the command's report, or NaN.
double Field(const std::string& text, const std::string& label) {
  const std::size_t at = text.find(label);
  return at == std::string::npos ? NAN : std::strtod(text.c_str() + at + label.size(), nullptr);
}

TEST(OmbTrack, FramePairFollowsTheKnownMotion) {
  const std::string out_path = omb_cli_test::ScratchDir() + "/tracks.png";
  const std::string frames = kData + "/camera_a.png " + kData + "/camera_b.png " + out_path;
  // Measured with the defaults: all 500 tracked, mean 0.046 px, median
  // 0.036 px, 93% within 0.1 px, worst 0.43 px (points on the grass). More
  // levels than the frames can use must not lose the points.
  for (const char* options : {"", "--levels 10 --window 9"}) {
    std::string out, err;
    ASSERT_EQ(omb_cli_test::RunOmb("track " + frames + " --truth " + kData + "/camera_motion.txt " +
                                       options,
                                   &out, &err),
              0)
        << err;
    const double tracked = Field(out, "tracked"), lost = Field(out, "lost");
    EXPECT_EQ(tracked + lost, 500) << out;
    EXPECT_GE(tracked, 475) << out;
    EXPECT_LT(Field(out, "mean"), 0.07) << out;
    EXPECT_LT(Field(out, "median"), 0.06) << out;
    EXPECT_GE(Field(out, "within 0.1 px"), 85.0) << out;  // percent
  }
  Image drawn;
  std::string error;
  ASSERT_TRUE(ReadImage(out_path, &drawn, &error)) << error;
  EXPECT_EQ(drawn.channels, 3);
  EXPECT_EQ(drawn.width, 512);
  EXPECT_EQ(drawn.height, 512);
}

}  // namespace
