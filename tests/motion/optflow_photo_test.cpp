// Tracking real motion: two frames made from the camera photograph by a
// known smooth sub-pixel motion, resampled bilinearly in double precision.
// Well-textured points must land within 0.1 pixel of the true motion, and
// every position must equal the model's.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "motion/optflow_test_util.hpp"

namespace {

using namespace optflow_test;

// The motion at a second-frame position q: a translation of (1.3, -0.7)
// plus a smooth warp of up to 0.35 pixel.
void Motion(double qx, double qy, double* mx, double* my) {
  *mx = 1.3 + 0.35 * std::sin(qy / 70.0) * std::cos(qx / 110.0);
  *my = -0.7 + 0.3 * std::cos(qx / 85.0 + 0.4);
}

// The photograph smoothed once with the 5-tap binomial kernel (replicated
// edges), kept in double: bilinear resampling is then close to the true
// shifted image, so the frames differ by the motion and not by the
// interpolation's own blur on the photograph's sharpest edges.
std::vector<double> Smooth(const Level<Omb8u>& f) {
  const double k[5] = {1 / 16.0, 4 / 16.0, 6 / 16.0, 4 / 16.0, 1 / 16.0};
  std::vector<double> t(f.px.size()), out(f.px.size());
  for (int y = 0; y < f.h; ++y)
    for (int x = 0; x < f.w; ++x) {
      double s = 0;
      for (int i = -2; i <= 2; ++i) s += k[i + 2] * f.at(std::clamp(x + i, 0, f.w - 1), y);
      t[std::size_t(y) * f.w + x] = s;
    }
  for (int y = 0; y < f.h; ++y)
    for (int x = 0; x < f.w; ++x) {
      double s = 0;
      for (int i = -2; i <= 2; ++i) s += k[i + 2] * t[std::size_t(std::clamp(y + i, 0, f.h - 1)) * f.w + x];
      out[std::size_t(y) * f.w + x] = s;
    }
  return out;
}

// frame1 = the smoothed photograph, frame2(q) = smoothed(q - m(q)),
// bilinear, replicated beyond the edges; both rounded to 8 bits.
void Frames(const Level<Omb8u>& photo, Level<Omb8u>* f1, Level<Omb8u>* f2) {
  const std::vector<double> s = Smooth(photo);
  const int w = photo.w, h = photo.h;
  *f1 = Level<Omb8u>(w, h);
  *f2 = Level<Omb8u>(w, h);
  auto px = [&](int x, int y) { return s[std::size_t(std::clamp(y, 0, h - 1)) * w + std::clamp(x, 0, w - 1)]; };
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      f1->at(x, y) = Omb8u(std::lround(px(x, y)));
      double mx, my;
      Motion(x, y, &mx, &my);
      const double sx = x - mx, sy = y - my;
      const double fx = std::floor(sx), fy = std::floor(sy);
      const int ix = int(fx), iy = int(fy);
      const double ax = sx - fx, ay = sy - fy;
      const double v = (px(ix, iy) * (1 - ax) + px(ix + 1, iy) * ax) * (1 - ay) +
                       (px(ix, iy + 1) * (1 - ax) + px(ix + 1, iy + 1) * ax) * ay;
      f2->at(x, y) = Omb8u(std::lround(v));
    }
}

// Where a first-frame point p moves: the q with q - m(q) = p.
OmbPoint32f TruePosition(OmbPoint32f p) {
  double qx = p.x, qy = p.y;
  for (int k = 0; k < 20; ++k) {
    double mx, my;
    Motion(qx, qy, &mx, &my);
    qx = p.x + mx, qy = p.y + my;
  }
  return {float(qx), float(qy)};
}

// Points whose structure tensor (central differences) over the 21x21
// tracking window has a large smaller eigenvalue, at least 12 pixels
// apart, best first.
std::vector<OmbPoint32f> GoodPoints(const Level<Omb8u>& f, int count) {
  struct Cand {
    double eig;
    int x, y;
  };
  std::vector<Cand> c;
  for (int y = 24; y < f.h - 24; y += 4)
    for (int x = 24; x < f.w - 24; x += 4) {
      double a = 0, b = 0, d = 0;
      for (int v = -10; v <= 10; ++v)
        for (int u = -10; u <= 10; ++u) {
          const double gx = (double(f.at(x + u + 1, y + v)) - f.at(x + u - 1, y + v)) * 0.5;
          const double gy = (double(f.at(x + u, y + v + 1)) - f.at(x + u, y + v - 1)) * 0.5;
          a += gx * gx, b += gx * gy, d += gy * gy;
        }
      c.push_back({(a + d) * 0.5 - std::sqrt((a - d) * (a - d) * 0.25 + b * b), x, y});
    }
  std::sort(c.begin(), c.end(), [](const Cand& l, const Cand& r) { return l.eig > r.eig; });
  std::vector<OmbPoint32f> out;
  for (const Cand& k : c) {
    bool near = false;
    for (const auto& o : out) near = near || (std::abs(o.x - k.x) < 12 && std::abs(o.y - k.y) < 12);
    if (!near) out.push_back({float(k.x), float(k.y)});
    if (int(out.size()) == count) break;
  }
  return out;
}

TEST(OptFlowPhoto, CameraWarpTracked) {
  const Level<Omb8u> photo = LoadPgm(std::string(OMB_TEST_DATA_DIR) + "/camera.pgm");
  ASSERT_EQ(photo.w, 512);
  Level<Omb8u> f1, f2;
  Frames(photo, &f1, &f2);
  const Pyramids<Omb8u> p(f1, f2, 3);
  const std::vector<OmbPoint32f> prev = GoodPoints(f1, 120);
  ASSERT_EQ(prev.size(), 120u);
  const Outcome r = Track<Omb8u>(p, prev, prev, 21, 3, 30, 1e-4f, {512, 512});
  ExpectSame(r, ModelRun<Omb8u>(p, prev, prev, 21, 3, 30, 1e-4f, {512, 512}));
  int tracked = 0;
  for (std::size_t i = 0; i < prev.size(); ++i) {
    if (r.status[i] != 0) continue;
    ++tracked;
    const OmbPoint32f t = TruePosition(prev[i]);
    EXPECT_NEAR(r.next[i].x, t.x, 0.1) << "point " << prev[i].x << "," << prev[i].y;
    EXPECT_NEAR(r.next[i].y, t.y, 0.1) << "point " << prev[i].x << "," << prev[i].y;
  }
  EXPECT_EQ(tracked, int(prev.size()));
}

}  // namespace
