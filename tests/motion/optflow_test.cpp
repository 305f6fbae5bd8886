// Pyramidal Lucas-Kanade tracking: the three members against the plain
// model, recovery of known sub-pixel translations and of a smooth warp of
// the camera photograph, a checkerboard at any contrast, lost points,
// thread-count invariance and the argument-check order.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "motion/optflow_test_util.hpp"

namespace {

using namespace optflow_test;

// A textured frame pair moved by (sx, sy) and a grid of points inside.
struct Scene {
  Pyramids<Omb8u> pyr;
  std::vector<OmbPoint32f> prev;
};

Scene MakeScene(int w, int h, double sx, double sy, int levels) {
  Scene s{Pyramids<Omb8u>(Texture(w, h, 0, 0), Texture(w, h, sx, sy), levels), {}};
  for (int y = 12; y < h - 12; y += 17)
    for (int x = 12; x < w - 12; x += 19) s.prev.push_back({x + 0.37f, y + 0.61f});
  // One point near the corner, one whose window hangs over the border.
  s.prev.push_back({2.2f, 3.9f});
  s.prev.push_back({float(w) - 1.5f, float(h) - 4.25f});
  return s;
}

template <class T>
void CompareAll(const Pyramids<Omb8u>& p8, const std::vector<OmbPoint32f>& prev) {
  const Pyramids<T> p = Convert<T>(p8);
  const OmbRoiSize frame{p.a.levels[0].w, p.a.levels[0].h};
  // State ROI equal to the frame (coarse levels from planes), 1x1 (every
  // level per point) and larger than the frame (every level from planes).
  for (OmbRoiSize roi : {frame, OmbRoiSize{1, 1}, OmbRoiSize{frame.width + 1, frame.height + 1}})
    for (int max_level : {0, 1, 3})
      for (float thr : {0.0f, 1e-4f}) {
        SCOPED_TRACE(::testing::Message() << "roi " << roi.width << "x" << roi.height << " maxLevel "
                                          << max_level << " threshold " << thr);
        const std::vector<OmbPoint32f> start = prev;  // starting estimates equal the positions
        const Outcome got = Track<T>(p, prev, start, 9, max_level, 12, thr, roi);
        const optflow_model::Result want = ModelRun<T>(p, prev, start, 9, max_level, 12, thr, roi);
        ExpectSame(got, want);
      }
}

TEST(OptFlow, MembersMatchModel) {
  const Scene s = MakeScene(96, 80, 1.3, -0.7, 3);
  CompareAll<Omb8u>(s.pyr, s.prev);
  CompareAll<Omb16u>(s.pyr, s.prev);
  CompareAll<Omb32f>(s.pyr, s.prev);
}

TEST(OptFlow, RecoversSubpixelTranslations) {
  struct Case {
    double sx, sy;
    int max_level;
  };
  // maxLevel 1 is left out on purpose: its estimate reaches level 0 without
  // the level ratio, so it converges only for tiny images; the model test
  // covers it.
  for (const Case c : {Case{0.25, 0.5, 0}, Case{-0.8, 0.3, 2}, Case{1.3, -0.7, 2}, Case{2.6, -3.2, 3}}) {
    SCOPED_TRACE(::testing::Message() << "shift " << c.sx << "," << c.sy);
    Pyramids<Omb8u> p8(Texture(128, 112, 0, 0), Texture(128, 112, c.sx, c.sy), 3);
    const Pyramids<Omb32f> pf = Convert<Omb32f>(p8);
    std::vector<OmbPoint32f> prev;
    for (int y = 30; y < 90; y += 13)
      for (int x = 30; x < 100; x += 11) prev.push_back({float(x) + 0.25f, float(y) + 0.5f});
    const Outcome r8 = Track<Omb8u>(p8, prev, prev, 21, c.max_level, 30, 1e-6f, {128, 112});
    const Outcome rf = Track<Omb32f>(pf, prev, prev, 21, c.max_level, 30, 1e-6f, {128, 112});
    for (const Outcome* r : {&r8, &rf})
      for (std::size_t i = 0; i < prev.size(); ++i) {
        EXPECT_EQ(r->status[i], 0);
        EXPECT_NEAR(r->next[i].x - prev[i].x, c.sx, 0.01);
        EXPECT_NEAR(r->next[i].y - prev[i].y, c.sy, 0.01);
      }
  }
}

TEST(OptFlow, LostPoints) {
  // A uniform frame: the normal equations are singular on the top level.
  Level<Omb8u> flat(64, 64);
  std::fill(flat.px.begin(), flat.px.end(), Omb8u(90));
  const Pyramids<Omb8u> pf(flat, flat, 2);
  const std::vector<OmbPoint32f> mid{{30.5f, 20.25f}};
  const Outcome u = Track<Omb8u>(pf, mid, mid, 7, 2, 10, 0.01f, {64, 64});
  EXPECT_EQ(u.status[0], 3);
  EXPECT_EQ(u.error[0], 0.0f);
  // A start far off the frame: the window leaves the top level, and next
  // is the estimate brought back to level 0 units.
  const Pyramids<Omb8u> pt(Texture(64, 64, 0, 0), Texture(64, 64, 0, 0), 2);
  for (int max_level : {0, 2}) {
    const std::vector<OmbPoint32f> far{{500.0f, -300.0f}};
    const Outcome r = Track<Omb8u>(pt, mid, far, 7, max_level, 10, 0.01f, {64, 64});
    const double sc = pt.a.rec->scales[max_level];
    const OmbPoint32f want = optflow_model::Scaled(optflow_model::Scaled(far[0], sc), 1.0 / sc);
    EXPECT_EQ(r.status[0], max_level + 1);
    EXPECT_EQ(r.next[0].x, want.x);
    EXPECT_EQ(r.next[0].y, want.y);
  }
}

// A black-and-white checkerboard moved by exactly (2, 1), its inner corners
// tracked. Lucas-Kanade does not depend on the contrast (G and b scale
// together), so every contrast must give the same tracks, up to the
// rounding of sub-pixel samples. At full contrast a single window row of
// the 8-bit member's normal equations outgrows 32 bits; the model, with
// exact integer row sums, pins the tracks down bit for bit.
Level<Omb8u> Board(int side, int value, int sx, int sy) {
  Level<Omb8u> img(192, 160);
  auto cell = [side](int v) { return (v >= 0 ? v : v - side + 1) / side; };
  for (int y = 0; y < img.h; ++y)
    for (int x = 0; x < img.w; ++x) img.at(x, y) = Omb8u((cell(x - sx) + cell(y - sy)) & 1 ? value : 0);
  return img;
}

template <class T>
void TrackBoards(int side, int max_level) {
  std::vector<OmbPoint32f> corners;
  for (int y = side; y <= 160 - 32; y += side)
    for (int x = side; x <= 192 - 32; x += side) corners.push_back({x - 0.5f, y - 0.5f});
  std::vector<Outcome> runs;
  for (int contrast : {64, 128, 255}) {
    SCOPED_TRACE(::testing::Message() << "contrast " << contrast << ", " << sizeof(T) * 8 << "-bit pixels");
    const Pyramids<T> p = Convert<T>(Pyramids<Omb8u>(Board(side, contrast, 0, 0), Board(side, contrast, 2, 1), 3));
    runs.push_back(Track<T>(p, corners, corners, 21, max_level, 30, 1e-4f, {192, 160}));
    ExpectSame(runs.back(), ModelRun<T>(p, corners, corners, 21, max_level, 30, 1e-4f, {192, 160}));
    for (std::size_t i = 0; i < corners.size(); ++i) {
      EXPECT_EQ(runs.back().status[i], 0) << "corner " << i;
      EXPECT_NEAR(runs.back().next[i].x, corners[i].x + 2, 0.1) << "corner " << i;
      EXPECT_NEAR(runs.back().next[i].y, corners[i].y + 1, 0.1) << "corner " << i;
      EXPECT_NEAR(runs.back().next[i].x, runs[0].next[i].x, 1e-3) << "corner " << i;
      EXPECT_NEAR(runs.back().next[i].y, runs[0].next[i].y, 1e-3) << "corner " << i;
    }
  }
}

TEST(OptFlow, CheckerboardAtAnyContrast) {
  for (int side : {16, 32})
    for (int max_level : {0, 3}) {
      SCOPED_TRACE(::testing::Message() << "side " << side << " maxLevel " << max_level);
      omb_test::ForEachSimdTarget([&] { TrackBoards<Omb8u>(side, max_level); });
      TrackBoards<Omb16u>(side, max_level);
      TrackBoards<Omb32f>(side, max_level);
    }
}

// States made at every thread count, each used for calls at every thread
// count, all equal to the model.
template <class T>
void ThreadMatrix(const Pyramids<T>& p, const std::vector<OmbPoint32f>& prev) {
  for (OmbRoiSize roi : {OmbRoiSize{96, 80}, OmbRoiSize{1, 1}}) {
    const optflow_model::Result want = ModelRun<T>(p, prev, prev, 11, 3, 20, 1e-4f, roi);
    omb_test::ForEachThreadCount([&](int made) {
      for (int t : omb_test::kThreadCounts) {
        SCOPED_TRACE(::testing::Message() << "roi " << roi.width << " state at " << made << ", call at " << t);
        ExpectSame(Track<T>(p, prev, prev, 11, 3, 20, 1e-4f, roi, t), want);
      }
    });
  }
}

TEST(OptFlow, ThreadCountInvariant) {
  const Scene s = MakeScene(96, 80, -1.1, 0.9, 3);
  ThreadMatrix<Omb8u>(s.pyr, s.prev);
  ThreadMatrix<Omb32f>(Convert<Omb32f>(s.pyr), s.prev);
}

// The state set-up of every type: null, then the window, then the ROI.
template <class State>
void InitChecks(OmbResult (*init)(State**, OmbRoiSize, int, int), OmbResult (*release)(State*)) {
  State* st = nullptr;
  EXPECT_EQ(init(nullptr, {0, 0}, 0, 0), ombResultNullPointer);
  EXPECT_EQ(init(&st, {8, 8}, 0, 0), ombResultBadSize);
  EXPECT_EQ(init(&st, {8, 0}, 3, 0), ombResultBadSize);
  EXPECT_EQ(init(&st, {0, 8}, 3, 0), ombResultBadSize);
  EXPECT_EQ(st, nullptr);
  EXPECT_EQ(release(nullptr), ombResultNullPointer);
}

TEST(OptFlow, CheckOrder) {
  const Pyramids<Omb8u> p(Texture(32, 32, 0, 0), Texture(32, 32, 0, 0), 1);
  OmbOptFlowPyrLKState_8u_C1R* st = nullptr;
  ASSERT_EQ(ombiOpticalFlowPyrLKInitAlloc_8u_C1R(&st, {32, 32}, 5, 0), ombResultOk);
  struct Args {
    OmbPyramidRecord *a, *b;
    const OmbPoint32f* prev;
    OmbPoint32f* next;
    Omb8s* status;
    Omb32f* error;
    int count, win, max_level, max_iter;
    float thr;
    OmbOptFlowPyrLKState_8u_C1R* st;
  };
  // One fault per row, in check order; the stage decides which one wins.
  struct Fault {
    int stage;
    OmbResult status;
    std::function<void(Args&)> apply;
  };
  const std::vector<Fault> faults{
      {0, ombResultNullPointer, [](Args& a) { a.a = nullptr; }},
      {0, ombResultNullPointer, [](Args& a) { a.b = nullptr; }},
      {0, ombResultNullPointer, [](Args& a) { a.st = nullptr; }},
      {0, ombResultNullPointer, [](Args& a) { a.prev = nullptr; }},
      {0, ombResultNullPointer, [](Args& a) { a.next = nullptr; }},
      {0, ombResultNullPointer, [](Args& a) { a.status = nullptr; }},
      {0, ombResultNullPointer, [](Args& a) { a.error = nullptr; }},
      {1, ombResultBadSize, [](Args& a) { a.count = 0; }},
      {1, ombResultBadSize, [](Args& a) { a.win = 0; }},
      {1, ombResultBadSize, [](Args& a) { a.win = 7; }},
      {2, ombResultBadArgument, [](Args& a) { a.max_level = -1; }},
      {2, ombResultBadArgument, [](Args& a) { a.max_iter = 0; }},
      {2, ombResultBadArgument, [](Args& a) { a.thr = -1.0f; }},
  };
  const Outputs out(2);
  const OmbPoint32f prev[2] = {{10, 10}, {20, 20}};
  auto run = [&](const Args& a) {
    return ombiOpticalFlowPyrLK_8u_C1R(a.a, a.b, a.prev, a.next, a.status, a.error, a.count, a.win,
                                       a.max_level, a.max_iter, a.thr, a.st);
  };
  const Args base{p.a.rec, p.b.rec, prev, out.Next(), out.status.Roi(), out.error.Roi(), 2, 5, 1, 5, 0.1f, st};
  for (std::size_t i = 0; i < faults.size(); ++i)
    for (std::size_t j = i; j < faults.size(); ++j) {
      if (j != i && faults[j].stage == faults[i].stage) continue;
      Args a = base;
      faults[i].apply(a);
      faults[j].apply(a);
      EXPECT_EQ(run(a), faults[i].status) << "faults " << i << " and " << j;
      EXPECT_TRUE(out.Unchanged());
    }
  EXPECT_EQ(run(base), ombResultOk);
  EXPECT_TRUE(out.GuardsIntact());
  EXPECT_EQ(ombiOpticalFlowPyrLKFree_8u_C1R(st), ombResultOk);

  InitChecks(ombiOpticalFlowPyrLKInitAlloc_8u_C1R, ombiOpticalFlowPyrLKFree_8u_C1R);
  InitChecks(ombiOpticalFlowPyrLKInitAlloc_16u_C1R, ombiOpticalFlowPyrLKFree_16u_C1R);
  InitChecks(ombiOpticalFlowPyrLKInitAlloc_32f_C1R, ombiOpticalFlowPyrLKFree_32f_C1R);
}

// ---- Real motion ---------------------------------------------------------------
// Two frames made from the camera photograph by a known smooth sub-pixel
// motion, resampled bilinearly in double precision. Well-textured points
// must land within 0.1 pixel of the true motion, and every position must
// equal the model's.

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
  const int w = f.w, h = f.h;
  std::vector<double> t(f.px.size()), out(f.px.size());
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      for (int i = -2; i <= 2; ++i) t[std::size_t(y) * w + x] += k[i + 2] * f.at(std::clamp(x + i, 0, w - 1), y);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      for (int i = -2; i <= 2; ++i)
        out[std::size_t(y) * w + x] += k[i + 2] * t[std::size_t(std::clamp(y + i, 0, h - 1)) * w + x];
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
