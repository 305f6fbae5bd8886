// Helpers of the optical-flow tests: frames, pyramids built with the
// library's pyramid record and 5x5 reduction, guarded outputs and one call
// of each member next to the model.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "motion/optflow_model.hpp"
#include "ombcore.h"
#include "ombcv.h"
#include "support/test_image.hpp"

namespace optflow_test {

using optflow_model::Level;

// A smooth texture evaluated exactly at (x - sx, y - sy): the second frame
// of a pure translation by (sx, sy), rounded to 8 bits.
inline Level<Omb8u> Texture(int w, int h, double sx, double sy) {
  Level<Omb8u> img(w, h);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      const double u = x - sx, v = y - sy;
      const double s = 128 + 55 * std::sin(0.23 * u + 0.11 * v) + 45 * std::sin(0.09 * u - 0.21 * v + 1.0) +
                       20 * std::cos(0.41 * u + 0.33 * v);
      img.at(x, y) = Omb8u(std::lround(std::clamp(s, 0.0, 255.0)));
    }
  return img;
}

// Binary PGM (P5, maxval 255).
inline Level<Omb8u> LoadPgm(const std::string& path) {
  int w = 0, h = 0;
  const std::vector<Omb8u> px = omb_test::ReadPgm(path, &w, &h);
  Level<Omb8u> img(w, h);
  std::copy(px.begin(), px.end(), img.px.begin());
  return img;
}

// One pyramid: the library's record over levels owned here.
template <class T>
struct Pyramid {
  std::vector<Level<T>> levels;
  OmbPyramidRecord* rec = nullptr;
  Pyramid() = default;
  Pyramid(const Pyramid&) = delete;
  Pyramid(Pyramid&& o) noexcept : levels(std::move(o.levels)), rec(o.rec) { o.rec = nullptr; }
  Pyramid& operator=(Pyramid&& o) noexcept {
    std::swap(levels, o.levels);
    std::swap(rec, o.rec);
    return *this;
  }
  ~Pyramid() { ombiPyramidFree(rec); }
  void Attach() {
    for (std::size_t i = 0; i < levels.size(); ++i) {
      rec->images[i] = levels[i].px.data();
      rec->steps[i] = levels[i].step;
    }
  }
};

// Rate 2 record with `levels` levels above the base, reduced with the 5x5
// Gaussian.
inline Pyramid<Omb8u> Build(const Level<Omb8u>& base, int levels) {
  Pyramid<Omb8u> p;
  EXPECT_EQ(ombiPyramidInitAlloc(&p.rec, levels, {base.w, base.h}, 2.0f), ombResultOk);
  p.levels.push_back(base);
  for (int L = 1; L <= p.rec->level; ++L) {
    const Level<Omb8u>& src = p.levels.back();
    Level<Omb8u> dst(p.rec->sizes[L].width, p.rec->sizes[L].height);
    int bytes = 0;
    EXPECT_EQ(ombiPyrDownGetBufSize_Gauss5x5(src.w, 1, 1, &bytes), ombResultOk);
    std::vector<Omb8u> buf(static_cast<std::size_t>(bytes));
    EXPECT_EQ(ombiPyrDown_Gauss5x5_8u_C1R(src.px.data(), src.step, dst.px.data(), dst.step, {src.w, src.h},
                                          buf.data()),
              ombResultOk);
    p.levels.push_back(std::move(dst));
  }
  p.Attach();
  return p;
}

template <class T>
struct Pyramids {
  Pyramid<T> a, b;
  Pyramids() = default;
  Pyramids(const Level<Omb8u>& fa, const Level<Omb8u>& fb, int levels) : a(Build(fa, levels)), b(Build(fb, levels)) {}
};

// The same pyramids in another pixel type (16u: times 257, 32f: as is).
template <class T>
Pyramids<T> Convert(const Pyramids<Omb8u>& p) {
  Pyramids<T> q;
  for (auto [from, to] : {std::pair{&p.a, &q.a}, std::pair{&p.b, &q.b}}) {
    EXPECT_EQ(ombiPyramidInitAlloc(&to->rec, from->rec->level, from->rec->sizes[0], 2.0f), ombResultOk);
    for (const auto& l : from->levels) {
      Level<T> m(l.w, l.h);
      for (std::size_t i = 0; i < l.px.size(); ++i) m.px[i] = sizeof(T) == 2 ? T(l.px[i] * 257) : T(l.px[i]);
      to->levels.push_back(std::move(m));
    }
    to->Attach();
  }
  return q;
}

// The three output arrays of a call, each a one-row test image with guard
// bytes around it.
struct Outputs {
  omb_test::TestImage<Omb32f> next, error;
  omb_test::TestImage<Omb8s> status;
  explicit Outputs(int n) : next(2 * n, 1), error(n, 1), status(n, 1) {}
  OmbPoint32f* Next() const { return reinterpret_cast<OmbPoint32f*>(next.Roi()); }
  bool GuardsIntact() const { return next.GuardsIntact() && error.GuardsIntact() && status.GuardsIntact(); }
  bool Unchanged() const { return next.Unchanged() && error.Unchanged() && status.Unchanged(); }
};

struct Outcome {
  std::vector<OmbPoint32f> next;
  std::vector<Omb8s> status;
  std::vector<Omb32f> error;
};

// One library call: a state for `roi` made at the current thread count, the
// call at `threads` threads (0: unchanged), outputs checked for guards.
template <class T>
Outcome Track(const Pyramids<T>& p, const std::vector<OmbPoint32f>& prev, const std::vector<OmbPoint32f>& start,
          int win, int max_level, int max_iter, float thr, OmbRoiSize roi, int threads = 0) {
  const int n = int(prev.size());
  Outputs o(n);
  std::memcpy(o.Next(), start.data(), start.size() * sizeof(OmbPoint32f));
  o.next.Snapshot();
  OmbResult r = ombResultError;
  auto call = [&](auto* st, auto init, auto fn, auto fr) {
    EXPECT_EQ(init(&st, roi, win, 0), ombResultOk);
    {
      int saved = 0;
      ombGetNumThreads(&saved);
      if (threads > 0) ombSetNumThreads(threads);
      r = fn(p.a.rec, p.b.rec, prev.data(), o.Next(), o.status.Roi(), o.error.Roi(), n, win, max_level,
             max_iter, thr, st);
      ombSetNumThreads(saved);
    }
    EXPECT_EQ(fr(st), ombResultOk);
  };
  if constexpr (std::is_same_v<T, Omb8u>)
    call(static_cast<OmbOptFlowPyrLKState_8u_C1R*>(nullptr), ombiOpticalFlowPyrLKInitAlloc_8u_C1R,
         ombiOpticalFlowPyrLK_8u_C1R, ombiOpticalFlowPyrLKFree_8u_C1R);
  else if constexpr (std::is_same_v<T, Omb16u>)
    call(static_cast<OmbOptFlowPyrLKState_16u_C1R*>(nullptr), ombiOpticalFlowPyrLKInitAlloc_16u_C1R,
         ombiOpticalFlowPyrLK_16u_C1R, ombiOpticalFlowPyrLKFree_16u_C1R);
  else
    call(static_cast<OmbOptFlowPyrLKState_32f_C1R*>(nullptr), ombiOpticalFlowPyrLKInitAlloc_32f_C1R,
         ombiOpticalFlowPyrLK_32f_C1R, ombiOpticalFlowPyrLKFree_32f_C1R);
  EXPECT_EQ(r, ombResultOk);
  EXPECT_TRUE(o.GuardsIntact());
  Outcome out;
  for (int i = 0; i < n; ++i) {
    out.next.push_back({o.next.Get(2 * i, 0), o.next.Get(2 * i + 1, 0)});
    out.status.push_back(o.status.Get(i, 0));
    out.error.push_back(o.error.Get(i, 0));
  }
  return out;
}

template <class T>
optflow_model::Result ModelRun(const Pyramids<T>& p, const std::vector<OmbPoint32f>& prev,
                               const std::vector<OmbPoint32f>& start, int win, int max_level, int max_iter,
                               float thr, OmbRoiSize roi) {
  optflow_model::Model<T> m;
  for (const auto& l : p.a.levels) m.a.push_back(&l);
  for (const auto& l : p.b.levels) m.b.push_back(&l);
  m.scales.assign(p.a.rec->scales, p.a.rec->scales + p.a.rec->level + 1);
  m.n = win, m.roi_w = roi.width, m.roi_h = roi.height;
  return m.Run(prev.data(), start.data(), int(prev.size()), max_level, max_iter, thr);
}

// Bit-for-bit equality of positions, statuses and errors.
template <class A, class B>
void ExpectSame(const A& got, const B& want) {
  ASSERT_EQ(got.next.size(), want.next.size());
  int bad = 0;
  for (std::size_t i = 0; i < got.next.size() && bad < 5; ++i) {
    const bool same = std::memcmp(&got.next[i], &want.next[i], sizeof(OmbPoint32f)) == 0 &&
                      got.status[i] == want.status[i] &&
                      std::memcmp(&got.error[i], &want.error[i], sizeof(float)) == 0;
    if (!same) {
      ++bad;
      ADD_FAILURE() << "point " << i << ": got (" << got.next[i].x << ", " << got.next[i].y << ") status "
                    << int(got.status[i]) << " error " << got.error[i] << "; want (" << want.next[i].x << ", "
                    << want.next[i].y << ") status " << int(want.status[i]) << " error " << want.error[i];
    }
  }
}

}  // namespace optflow_test
