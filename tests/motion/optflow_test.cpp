// Pyramidal Lucas-Kanade tracking through the exported functions only: the
// three members against the plain model below, recovery of known sub-pixel
// translations, a checkerboard at any contrast, lost points, thread-count
// invariance and the argument-check order.
//
// The model tracks one point at a time. It takes the library's sub-pixel
// copies and Scharr filters as building blocks (they are tested on their
// own) and spells out everything else: the level groups, template
// gradients, normal equations and stop rules.
#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <type_traits>
#include <vector>

#include "ombcv.h"
#include "support/test_image.hpp"

namespace {

using omb_test::ScopedThreadCount;

// A level image owned by the test: tightly packed rows of `step` bytes.
template <class T>
struct Level {
  int w = 0, h = 0, step = 0;
  std::vector<T> px;
  Level() = default;
  Level(int w_, int h_) : w(w_), h(h_), step(w_ * int(sizeof(T))), px(std::size_t(w_) * h_) {}
  T& at(int x, int y) { return px[std::size_t(y) * w + x]; }
  T at(int x, int y) const { return px[std::size_t(y) * w + x]; }
};

// Positions, statuses and errors of one call (or of the model).
struct Result {
  std::vector<OmbPoint32f> next;
  std::vector<Omb8s> status;
  std::vector<Omb32f> error;
};

OmbPoint32f Scaled(OmbPoint32f p, double k) {
  return {float(double(p.x) * k), float(double(p.y) * k)};
}

int16_t Limit16(int32_t v) { return v < -32767 ? -32768 : v >= 32767 ? 32767 : int16_t(v); }

template <class Pix>
struct Model {
  static constexpr bool kInt = sizeof(Pix) == 1;
  using Win = std::conditional_t<kInt, Omb16u, float>;
  using Grad = std::conditional_t<kInt, int16_t, float>;

  std::vector<const Level<Pix>*> a, b;  // the two pyramids, level 0 first
  std::vector<double> scales;
  int n = 0, roi_w = 0, roi_h = 0;
  // Scharr planes of the upper-group levels (empty for the others).
  std::vector<std::vector<Grad>> gxp, gyp;

  OmbResult Sample(const Level<Pix>& img, Win* dst, int side, OmbPoint32f c, OmbPoint* lo, OmbPoint* hi) const {
    const OmbRoiSize s{img.w, img.h}, d{side, side};
    if constexpr (kInt)
      return ombiCopySubpixIntersect_8u16u_C1R_Sfs(img.px.data(), img.step, s, dst, side * 2, d, c, lo, hi, -7);
    else if constexpr (sizeof(Pix) == 2)
      return ombiCopySubpixIntersect_16u32f_C1R(img.px.data(), img.step, s, dst, side * 4, d, c, lo, hi);
    else
      return ombiCopySubpixIntersect_32f_C1R(img.px.data(), img.step, s, dst, side * 4, d, c, lo, hi);
  }

  void Planes(int L) {
    const Level<Pix>& img = *a[L];
    const OmbRoiSize roi{img.w, img.h};
    int bytes = 0, b2 = 0;
    std::vector<Grad> gx(std::size_t(img.w) * img.h), gy(gx.size());
    if constexpr (kInt) {
      ombiFilterScharrVertGetBufferSize_8u16s_C1R(roi, &bytes);
      ombiFilterScharrHorizGetBufferSize_8u16s_C1R(roi, &b2);
      std::vector<Omb8u> buf(std::size_t(std::max(bytes, b2)));
      ombiFilterScharrVertBorder_8u16s_C1R(img.px.data(), img.step, gx.data(), img.w * 2, roi, ombBorderReplicate, 0, buf.data());
      ombiFilterScharrHorizBorder_8u16s_C1R(img.px.data(), img.step, gy.data(), img.w * 2, roi, ombBorderReplicate, 0, buf.data());
    } else {
      std::vector<float> f(gx.size());
      for (std::size_t i = 0; i < f.size(); ++i) f[i] = float(img.px[i]);
      ombiFilterScharrVertGetBufferSize_32f_C1R(roi, &bytes);
      ombiFilterScharrHorizGetBufferSize_32f_C1R(roi, &b2);
      std::vector<Omb8u> buf(std::size_t(std::max(bytes, b2)));
      ombiFilterScharrVertBorder_32f_C1R(f.data(), img.w * 4, gx.data(), img.w * 4, roi, ombBorderReplicate, 0, buf.data());
      ombiFilterScharrHorizBorder_32f_C1R(f.data(), img.w * 4, gy.data(), img.w * 4, roi, ombBorderReplicate, 0, buf.data());
    }
    gxp[L] = std::move(gx);
    gyp[L] = std::move(gy);
  }

  // One plane sample at integer position (x, y) with fractions (fx, fy).
  Grad PlaneAt(const std::vector<Grad>& p, int w, int x, int y, float fx, float fy) const {
    if constexpr (kInt) {
      const int32_t wx = int32_t(fx * 16384.0f + 0.5f), wy = int32_t(fy * 16384.0f + 0.5f);
      const int32_t ux = 16384 - wx, uy = 16384 - wy;
      const int32_t v = ((ux * uy + 16384) >> 14) * p[y * w + x] + ((wx * uy + 16384) >> 14) * p[y * w + x + 1] +
                        ((ux * wy + 16384) >> 14) * p[(y + 1) * w + x] + ((wx * wy + 16384) >> 14) * p[(y + 1) * w + x + 1];
      return Limit16((v + 2048) >> 12);
    } else {
      float out = 0;
      ombiCopySubpix_32f_C1R(&p[std::size_t(y) * w + x], w * 4, &out, 4, {1, 1}, fx, fy);
      return out * 0.03125f;
    }
  }

  static float Frac(float c) {
    float f = c - std::trunc(c);
    return f < 0.0f ? f + 1.0f : f;
  }

  Result Run(const OmbPoint32f* prev, const OmbPoint32f* next_in, int count, int max_level, int max_iter,
             float threshold) {
    const int top = std::min<int>(max_level, int(a.size()) - 1);
    const double f = top > 1 ? 1.0 / scales[1] : 1.0;
    gxp.assign(a.size(), {});
    gyp.assign(a.size(), {});
    int split = top;  // levels above `split` use planes
    while (split >= 0 && a[split]->w < roi_w && a[split]->h < roi_h) Planes(split--);
    Result r{std::vector<OmbPoint32f>(next_in, next_in + count), std::vector<Omb8s>(count),
             std::vector<Omb32f>(count, 0.0f)};
    const int tw = n + 2;
    std::vector<Win> T(tw * tw), W(n * n);
    std::vector<Grad> Ix(n * n), Iy(n * n);
    for (int i = 0; i < count; ++i) {
      OmbPoint32f g = Scaled(next_in[i], scales[top]);
      int status = top + 1;
      double err_s = 0, err_area = 0;
      for (int L = top; L >= 0; --L) {
        status = L;
        err_s = 0, err_area = 0;
        const OmbPoint32f p = Scaled(prev[i], scales[L]);
        OmbPoint lo{}, hi{};
        bool lost = Sample(*a[L], T.data(), tw, p, &lo, &hi) != ombResultOk;
        const int tx0 = lo.x, tx1 = hi.x - 2, ty0 = lo.y, ty1 = hi.y - 2;
        for (int y = ty0; y <= ty1; ++y)
          for (int x = tx0; x <= tx1; ++x) {
            if (L > split) {
              const float ox0 = p.x - float(tw - 1) * 0.5f, oy0 = p.y - float(tw - 1) * 0.5f;
              const int ox = int(float(tw) + ox0) - tw, oy = int(float(tw) + oy0) - tw;
              const float fx = Frac(ox0 - float(ox)), fy = Frac(oy0 - float(oy));
              Ix[y * n + x] = PlaneAt(gxp[L], a[L]->w, ox + x + 1, oy + y + 1, fx, fy);
              Iy[y * n + x] = PlaneAt(gyp[L], a[L]->w, ox + x + 1, oy + y + 1, fx, fy);
              continue;
            }
            auto s = [&](int dx, int dy) { return T[(y + dy) * tw + x + dx]; };
            if constexpr (kInt) {
              auto d = [&](int r) { return int32_t(s(2, r)) - int32_t(s(0, r)); };
              auto m = [&](int r) { return 3 * int32_t(s(0, r)) + 10 * int32_t(s(1, r)) + 3 * int32_t(s(2, r)); };
              Ix[y * n + x] = Limit16((3 * d(0) + 10 * d(1) + 3 * d(2) + 16) >> 5);
              Iy[y * n + x] = Limit16((m(2) - m(0) + 16) >> 5);
            } else {
              auto d = [&](int r) { return s(2, r) - s(0, r); };
              auto m = [&](int r) { return 3.0f * s(0, r) + 10.0f * s(1, r) + 3.0f * s(2, r); };
              Ix[y * n + x] = (3.0f * d(0) + 10.0f * d(1) + 3.0f * d(2)) * 0.03125f;
              Iy[y * n + x] = (m(2) - m(0)) * 0.03125f;
            }
          }
        float pdx = float(a[L]->w + a[L]->h), pdy = pdx;
        for (int k = 0; k < max_iter && !lost; ++k) {
          if (Sample(*b[L], W.data(), n, g, &lo, &hi) != ombResultOk) { lost = true; break; }
          const int x0 = std::max(tx0, lo.x), x1 = std::min(tx1, hi.x);
          const int y0 = std::max(ty0, lo.y), y1 = std::min(ty1, hi.y);
          if (x0 > x1 || y0 > y1) { lost = true; break; }
          // Rebuilding G every iteration gives the same sums as rebuilding
          // it only when the rectangle changes.
          double xx = 0, xy = 0, yy = 0, bx = 0, by = 0;
          err_s = 0;
          err_area = double(x1 - x0 + 1) * double(y1 - y0 + 1);
          for (int y = y0; y <= y1; ++y) {
            if constexpr (kInt) {
              // Exact row sums, however strong the gradients.
              int64_t sxx = 0, sxy = 0, syy = 0, sbx = 0, sby = 0, se = 0;
              for (int x = x0; x <= x1; ++x) {
                const int64_t gx = Ix[y * n + x], gy = Iy[y * n + x];
                const int64_t e = int64_t(T[(y + 1) * tw + x + 1]) - int64_t(W[y * n + x]);
                sxx += gx * gx, sxy += gx * gy, syy += gy * gy, sbx += gx * e, sby += gy * e, se += e * e;
              }
              xx += double(sxx), xy += double(sxy), yy += double(syy);
              bx += double(sbx), by += double(sby), err_s += double(se);
            } else {
              float sxx = 0, sxy = 0, syy = 0, sbx = 0, sby = 0, se = 0;
              for (int x = x0; x <= x1; ++x) {
                const float gx = Ix[y * n + x], gy = Iy[y * n + x];
                const float e = T[(y + 1) * tw + x + 1] - W[y * n + x];
                sxx += gx * gx, sxy += gx * gy, syy += gy * gy, sbx += gx * e, sby += gy * e, se += e * e;
              }
              xx += sxx, xy += sxy, yy += syy, bx += sbx, by += sby, err_s += se;
            }
          }
          const double det = xx * yy - xy * xy;
          if (det < DBL_EPSILON) { lost = true; break; }
          const float dx = float((yy * bx - xy * by) / det), dy = float((xx * by - xy * bx) / det);
          g.x += dx, g.y += dy;
          if (dx * dx + dy * dy < threshold) break;
          if (std::fabs(dx + pdx) < 3.4526698e-4f && std::fabs(dy + pdy) < 3.4526698e-4f) {
            g.x -= 0.5f * dx, g.y -= 0.5f * dy;
            break;
          }
          pdx = dx, pdy = dy;
        }
        if (lost) {
          status = L + 1;
          g = Scaled(g, 1.0 / scales[L]);
          break;
        }
        if (L == 0) status = 0;
        else g = Scaled(g, f);
      }
      r.status[i] = Omb8s(status);
      r.next[i] = g;
      const double k = kInt ? 0.0078125 : 1.0;
      r.error[i] = err_s > 0 ? float(std::sqrt(err_s / err_area) * k) : 0.0f;
    }
    return r;
  }
};


// A smooth texture evaluated exactly at (x - sx, y - sy): the second frame
// of a pure translation by (sx, sy), rounded to 8 bits.
Level<Omb8u> Texture(int w, int h, double sx, double sy) {
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

// One pyramid: the library's record (rate 2) over levels owned here.
template <class T>
struct Pyramid {
  struct Free {
    void operator()(OmbPyramidRecord* r) const { ombiPyramidFree(r); }
  };
  std::vector<Level<T>> levels;
  std::unique_ptr<OmbPyramidRecord, Free> rec;
  explicit Pyramid(std::vector<Level<T>> l) : levels(std::move(l)) {
    OmbPyramidRecord* r = nullptr;
    EXPECT_EQ(ombiPyramidInitAlloc(&r, int(levels.size()) - 1, {levels[0].w, levels[0].h}, 2.0f), ombResultOk);
    rec.reset(r);
    for (std::size_t i = 0; i < levels.size(); ++i) {
      rec->images[i] = levels[i].px.data();
      rec->steps[i] = levels[i].step;
    }
  }
};

// The levels of a rate-2 pyramid over `base`, reduced with the 5x5 Gaussian.
std::vector<Level<Omb8u>> Reduce(const Level<Omb8u>& base, int levels) {
  OmbPyramidRecord* r = nullptr;
  EXPECT_EQ(ombiPyramidInitAlloc(&r, levels, {base.w, base.h}, 2.0f), ombResultOk);
  std::vector<Level<Omb8u>> out{base};
  for (int L = 1; L <= r->level; ++L) {
    const Level<Omb8u>& src = out.back();
    Level<Omb8u> dst(r->sizes[L].width, r->sizes[L].height);
    int bytes = 0;
    EXPECT_EQ(ombiPyrDownGetBufSize_Gauss5x5(src.w, 1, 1, &bytes), ombResultOk);
    std::vector<Omb8u> buf(static_cast<std::size_t>(bytes));
    EXPECT_EQ(ombiPyrDown_Gauss5x5_8u_C1R(src.px.data(), src.step, dst.px.data(), dst.step, {src.w, src.h},
                                          buf.data()),
              ombResultOk);
    out.push_back(std::move(dst));
  }
  ombiPyramidFree(r);
  return out;
}

// The two pyramids of a frame pair, in pixel type T (16u: times 257, 32f:
// as is) converted from the 8-bit levels.
template <class T>
struct Pyramids {
  Pyramid<T> a, b;
  static std::vector<Level<T>> As(const std::vector<Level<Omb8u>>& from) {
    std::vector<Level<T>> to;
    for (const auto& l : from) {
      Level<T> m(l.w, l.h);
      for (std::size_t i = 0; i < l.px.size(); ++i) m.px[i] = sizeof(T) == 2 ? T(l.px[i] * 257) : T(l.px[i]);
      to.push_back(std::move(m));
    }
    return to;
  }
  Pyramids(std::vector<Level<T>> la, std::vector<Level<T>> lb) : a(std::move(la)), b(std::move(lb)) {}
  Pyramids(const Level<Omb8u>& fa, const Level<Omb8u>& fb, int levels)
      : a(As(Reduce(fa, levels))), b(As(Reduce(fb, levels))) {}
};

template <class T>
Pyramids<T> Convert(const Pyramids<Omb8u>& p) {
  return Pyramids<T>(Pyramids<T>::As(p.a.levels), Pyramids<T>::As(p.b.levels));
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

// One library call: a state for `roi` made at the current thread count, the
// call at `threads` threads (0: unchanged), outputs checked for guards.
template <class T>
Result Track(const Pyramids<T>& p, const std::vector<OmbPoint32f>& prev, const std::vector<OmbPoint32f>& start,
             int win, int max_level, int max_iter, float thr, OmbRoiSize roi, int threads = 0) {
  const int n = int(prev.size());
  Outputs o(n);
  std::memcpy(o.Next(), start.data(), start.size() * sizeof(OmbPoint32f));
  o.next.Snapshot();
  OmbResult r = ombResultError;
  auto call = [&](auto* st, auto init, auto fn, auto fr) {
    EXPECT_EQ(init(&st, roi, win, 0), ombResultOk);
    int now = 1;
    ombGetNumThreads(&now);
    const ScopedThreadCount count(threads > 0 ? threads : now);
    r = fn(p.a.rec.get(), p.b.rec.get(), prev.data(), o.Next(), o.status.Roi(), o.error.Roi(), n, win, max_level,
           max_iter, thr, st);
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
  Result out;
  for (int i = 0; i < n; ++i) {
    out.next.push_back({o.next.Get(2 * i, 0), o.next.Get(2 * i + 1, 0)});
    out.status.push_back(o.status.Get(i, 0));
    out.error.push_back(o.error.Get(i, 0));
  }
  return out;
}

template <class T>
Result ModelRun(const Pyramids<T>& p, const std::vector<OmbPoint32f>& prev, const std::vector<OmbPoint32f>& start,
                int win, int max_level, int max_iter, float thr, OmbRoiSize roi) {
  Model<T> m;
  for (const auto& l : p.a.levels) m.a.push_back(&l);
  for (const auto& l : p.b.levels) m.b.push_back(&l);
  m.scales.assign(p.a.rec->scales, p.a.rec->scales + p.a.rec->level + 1);
  m.n = win, m.roi_w = roi.width, m.roi_h = roi.height;
  return m.Run(prev.data(), start.data(), int(prev.size()), max_level, max_iter, thr);
}

// Bit-for-bit equality of positions, statuses and errors.
void ExpectSame(const Result& got, const Result& want) {
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
        const Result got = Track<T>(p, prev, start, 9, max_level, 12, thr, roi);
        const Result want = ModelRun<T>(p, prev, start, 9, max_level, 12, thr, roi);
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
    const Result r8 = Track<Omb8u>(p8, prev, prev, 21, c.max_level, 30, 1e-6f, {128, 112});
    const Result rf = Track<Omb32f>(pf, prev, prev, 21, c.max_level, 30, 1e-6f, {128, 112});
    for (const Result* r : {&r8, &rf})
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
  const Result u = Track<Omb8u>(pf, mid, mid, 7, 2, 10, 0.01f, {64, 64});
  EXPECT_EQ(u.status[0], 3);
  EXPECT_EQ(u.error[0], 0.0f);
  // A start far off the frame: the window leaves the top level, and next
  // is the estimate brought back to level 0 units.
  const Pyramids<Omb8u> pt(Texture(64, 64, 0, 0), Texture(64, 64, 0, 0), 2);
  for (int max_level : {0, 2}) {
    const std::vector<OmbPoint32f> far{{500.0f, -300.0f}};
    const Result r = Track<Omb8u>(pt, mid, far, 7, max_level, 10, 0.01f, {64, 64});
    const double sc = pt.a.rec->scales[max_level];
    const OmbPoint32f want = Scaled(Scaled(far[0], sc), 1.0 / sc);
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
  std::vector<Result> runs;
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
    const Result want = ModelRun<T>(p, prev, prev, 11, 3, 20, 1e-4f, roi);
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
  const Args base{p.a.rec.get(), p.b.rec.get(), prev, out.Next(), out.status.Roi(), out.error.Roi(), 2, 5, 1, 5, 0.1f, st};
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

}  // namespace
