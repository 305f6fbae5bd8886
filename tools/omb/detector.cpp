#include "detector.hpp"

#include <omp.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include "cli.hpp"
#include "ombcv.h"
#include "resample.hpp"

namespace omb_tool {

// Per-thread work space, grown to the largest scale a thread meets.
struct Detector::Buffers {
  std::vector<std::uint8_t> image;  // resampled picture, transposed, one spare byte per row
  std::vector<float> scratch;       // resampling work space
  std::vector<Omb32s> sum, tilted;  // tilted: one spare row before the table
  std::vector<Omb64f> sqr;
  std::vector<Omb32f> norm;
  std::vector<Omb8u> mask;
};

// One scale's tables in the transposed frame.
struct Detector::Tables {
  OmbRoiSize size{0, 0};  // the transposed picture
  OmbRoiSize roi{0, 0};   // window positions
  const Omb32s* sum = nullptr;
  int sum_stride = 0;  // elements
  const Omb32s* tilted = nullptr;  // handed over one row before the table
  int tilted_stride = 0;
  const Omb32f* norm = nullptr;  // roi.width per row
  OmbResult status = ombResultOk;
};

namespace {

void AddStats(const DetectStats& from, DetectStats* to) {
  to->scales += from.scales;
  to->windows += from.windows;
  to->prepare_ms += from.prepare_ms;
  to->raw_hits += from.raw_hits;
  if (to->stages.size() < from.stages.size()) to->stages.resize(from.stages.size());
  for (std::size_t i = 0; i < from.stages.size(); ++i) {
    to->stages[i].entering += from.stages[i].entering;
    to->stages[i].survivors += from.stages[i].survivors;
    to->stages[i].ms += from.stages[i].ms;
  }
}

}  // namespace

CascadeRect LibraryRect(const CascadeRect& r, bool tilted) {
  if (!tilted) return {r.y, r.x, r.height, r.width, r.weight};
  return {r.y + r.height - 1, r.x - r.height, r.width, r.height, r.weight};
}

namespace {

// Weak classifiers of a stage in the order the library stores a stage of
// stumps: two-rectangle features first, then three-rectangle ones, then
// the rest, each group in input order. Stage sums are then added in the
// same order whichever evaluates them.
std::vector<const CascadeWeak*> StoredOrder(const CascadeStage& s,
                                            const std::vector<CascadeFeature>& features) {
  std::vector<const CascadeWeak*> order;
  const auto rects = [&](const CascadeWeak& w) {
    return features[w.nodes[0].feature].rects.size();
  };
  for (const CascadeWeak& w : s.weak)
    if (rects(w) == 2) order.push_back(&w);
  for (const CascadeWeak& w : s.weak)
    if (rects(w) == 3) order.push_back(&w);
  for (const CascadeWeak& w : s.weak)
    if (rects(w) != 2 && rects(w) != 3) order.push_back(&w);
  return order;
}

}  // namespace

std::unique_ptr<Detector> Detector::Create(const Cascade& cascade, std::string* error,
                                           bool library_stumps) {
  std::unique_ptr<Detector> d(new Detector());
  d->win_w_ = cascade.width;
  d->win_h_ = cascade.height;
  for (const CascadeFeature& f : cascade.features) {
    CascadeFeature t = f;
    for (CascadeRect& r : t.rects) r = LibraryRect(r, f.tilted);
    d->features_.push_back(t);
    d->any_tilted_ |= f.tilted;
  }
  // Node thresholds compare with a value divided by (area x deviation) of
  // the window interior; the library compares the raw weighted sum with
  // threshold x norm, so the area goes into the threshold and the norm
  // image holds the deviation.
  const float area = static_cast<float>((cascade.width - 2) * (cascade.height - 2));
  for (const CascadeStage& s : cascade.stages) {
    const std::vector<const CascadeWeak*> order = StoredOrder(s, d->features_);
    Stage stage;
    stage.threshold = s.threshold;
    bool stumps = library_stumps;
    for (const CascadeWeak* w : order) {
      stumps &= w->IsStump();
      for (const CascadeNode& n : w->nodes) stage.tilted |= d->features_[n.feature].tilted;
    }
    if (!stumps) {
      stage.first_weak = static_cast<int>(d->trees_.size());
      stage.weak_count = static_cast<int>(order.size());
      for (const CascadeWeak* w : order) {
        Tree t{w->nodes, w->leaves};
        for (CascadeNode& n : t.nodes) n.threshold *= area;
        d->trees_.push_back(std::move(t));
      }
      d->stages_.push_back(stage);
      continue;
    }
    std::vector<OmbRect> rects;
    std::vector<Omb32f> weights, thresholds, left, right;
    std::vector<int> counts;
    std::vector<Omb8u> tilt;
    for (const CascadeWeak* w : order) {
      const CascadeNode& n = w->nodes[0];
      const CascadeFeature& f = d->features_[n.feature];
      for (const CascadeRect& r : f.rects) {
        rects.push_back({r.x, r.y, r.width, r.height});
        weights.push_back(r.weight);
      }
      counts.push_back(static_cast<int>(f.rects.size()));
      thresholds.push_back(n.threshold * area);
      left.push_back(w->leaves[-n.left]);
      right.push_back(w->leaves[-n.right]);
      tilt.push_back(f.tilted ? 1 : 0);
    }
    const OmbResult made = ombiHaarClassifierInitAlloc_32f(
        &stage.state, rects.data(), weights.data(), thresholds.data(), left.data(),
        right.data(), counts.data(), static_cast<int>(counts.size()));
    if (made != ombResultOk) {
      *error = "the library refused stage " + std::to_string(d->stages_.size()) + " (status " +
               std::to_string(made) + ")";
      return nullptr;
    }
    d->stages_.push_back(stage);
    if (stage.tilted && ombiTiltHaarFeatures_32f(tilt.data(), 1, stage.state) != ombResultOk) {
      *error = "the library refused the tilted features of stage " +
               std::to_string(d->stages_.size() - 1);
      return nullptr;
    }
  }
  return d;
}

Detector::~Detector() {
  for (const Stage& s : stages_)
    if (s.state != nullptr) ombiHaarClassifierFree_32f(s.state);
}

void Detector::Prepare(const Image& grey, double scale, bool tilted, Buffers* b,
                       Tables* t) const {
  const int w = static_cast<int>(std::lround(grey.width / scale));
  const int h = static_cast<int>(std::lround(grey.height / scale));
  ReduceTransposed(grey, w, h, &b->scratch, &b->image);
  // The transposed frame: h wide, w tall; the window turns with it.
  t->size = {h, w};
  t->roi = {h - win_h_ + 1, w - win_w_ + 1};
  const int src_step = h + 1;
  t->sum_stride = h + 1;
  b->sum.resize(static_cast<std::size_t>(h + 1) * (w + 1));
  b->sqr.resize(b->sum.size());
  const int sqr_step = (h + 1) * static_cast<int>(sizeof(Omb64f));
  const int sum_step = t->sum_stride * static_cast<int>(sizeof(Omb32s));
  t->status = ombiSqrIntegral_8u32s64f_C1R(b->image.data(), src_step, b->sum.data(), sum_step,
                                           b->sqr.data(), sqr_step, t->size, 0, 0.0);
  t->sum = b->sum.data();
  t->tilted_stride = h + 2;
  if (tilted) {
    b->tilted.resize(static_cast<std::size_t>(h + 2) * (w + 3));
    if (t->status == ombResultOk)
      t->status = ombiTiltedIntegral_8u32s_C1R(
          b->image.data(), src_step, b->tilted.data() + t->tilted_stride,
          t->tilted_stride * static_cast<int>(sizeof(Omb32s)), t->size, 0);
    t->tilted = b->tilted.data();
  }
  const std::size_t windows = static_cast<std::size_t>(t->roi.width) * t->roi.height;
  b->norm.resize(windows);
  if (t->status == ombResultOk)
    t->status = ombiRectStdDev_32s32f_C1R(
        b->sum.data(), sum_step, b->sqr.data(), sqr_step, b->norm.data(),
        t->roi.width * static_cast<int>(sizeof(Omb32f)), t->roi,
        OmbRect{1, 1, win_h_ - 2, win_w_ - 2});
  t->norm = b->norm.data();
}

namespace {

// One rectangle of a feature for the window whose table corner is `at`,
// with the library's arithmetic: (D - C) + (A - B) in wrapping 32-bit
// integers. An upright rectangle's corners are A (x, y), B (x + w, y),
// C (x, y + h), D (x + w, y + h); a tilted one's A (x, y), B (x + w, y + w),
// C (x - h, y + h), D (x + w - h, y + w + h).
std::int32_t RectCorners(const Omb32s* at, int stride, const CascadeRect& r, bool tilted) {
  const auto T = [&](int x, int y) {
    return static_cast<std::uint32_t>(at[static_cast<std::ptrdiff_t>(y) * stride + x]);
  };
  std::uint32_t d;
  if (tilted) {
    d = (T(r.x + r.width - r.height, r.y + r.width + r.height) - T(r.x - r.height, r.y + r.height)) +
        (T(r.x, r.y) - T(r.x + r.width, r.y + r.width));
  } else {
    d = (T(r.x + r.width, r.y + r.height) - T(r.x, r.y + r.height)) +
        (T(r.x, r.y) - T(r.x + r.width, r.y));
  }
  return static_cast<std::int32_t>(d);
}

// The table corner of window (x, y) in the transposed frame: the upright
// table at (y, x), the tilted one at (y + 1, x + 1).
const Omb32s* Corner(const Omb32s* table, int stride, int x, int y, bool tilted) {
  const int o = tilted ? 1 : 0;
  return table + static_cast<std::ptrdiff_t>(y + o) * stride + (x + o);
}

}  // namespace

int Detector::RunTrees(const Stage& stage, const Tables& t, std::uint8_t* mask) const {
  int live = 0;
  for (int y = 0; y < t.roi.height; ++y) {
    for (int x = 0; x < t.roi.width; ++x) {
      std::uint8_t& m = mask[static_cast<std::size_t>(y) * t.roi.width + x];
      if (m == 0) continue;
      const float n = t.norm[static_cast<std::size_t>(y) * t.roi.width + x];
      const Omb32s* upright = Corner(t.sum, t.sum_stride, x, y, false);
      const Omb32s* tilted = t.tilted ? Corner(t.tilted, t.tilted_stride, x, y, true) : nullptr;
      float s = 0.0f;
      for (int k = 0; k < stage.weak_count; ++k) {
        const Tree& tree = trees_[stage.first_weak + k];
        int child = 0;
        do {
          const CascadeNode& node = tree.nodes[child];
          const CascadeFeature& f = features_[node.feature];
          float v = 0.0f;
          for (const CascadeRect& r : f.rects) {
            const std::int32_t d = f.tilted ? RectCorners(tilted, t.tilted_stride, r, true)
                                            : RectCorners(upright, t.sum_stride, r, false);
            v = v + static_cast<float>(d) * r.weight;
          }
          child = v >= node.threshold * n ? node.right : node.left;
        } while (child > 0);
        s = s + tree.leaves[-child];
      }
      if (s >= stage.threshold) {
        ++live;
      } else {
        m = 0;
      }
    }
  }
  return live;
}

std::vector<double> Detector::FeatureSums(const Image& grey, double scale,
                                          const std::vector<CascadeFeature>& features, int x,
                                          int y) const {
  Buffers b;
  Tables t;
  Prepare(grey, scale, true, &b, &t);
  std::vector<double> sums;
  for (const CascadeFeature& f : features) {
    double sum = 0.0;
    for (const CascadeRect& r : f.rects) {
      const CascadeRect q = LibraryRect(r, f.tilted);
      const std::int32_t d =
          f.tilted ? RectCorners(Corner(t.tilted, t.tilted_stride, y, x, true), t.tilted_stride, q, true)
                   : RectCorners(Corner(t.sum, t.sum_stride, y, x, false), t.sum_stride, q, false);
      sum += static_cast<double>(d) * r.weight;
    }
    sums.push_back(sum);
  }
  return sums;
}

void Detector::RunScale(const Image& grey, double scale, Buffers* b,
                        std::vector<Detection>* hits, DetectStats* stats) const {
  double t0 = NowMs();
  Tables t;
  Prepare(grey, scale, any_tilted_, b, &t);
  const int stride = scale <= kCoarseScale ? kCoarseStride : 1;
  const std::size_t windows = static_cast<std::size_t>(t.roi.width) * t.roi.height;
  b->mask.assign(windows, 0);
  int live = 0;
  std::int64_t looked = 0;
  for (int y = 0; y < t.roi.height && t.status == ombResultOk; y += stride) {
    for (int x = 0; x < t.roi.width; x += stride) {
      const std::size_t i = static_cast<std::size_t>(y) * t.roi.width + x;
      b->mask[i] = t.norm[i] > kMinDeviation ? 1 : 0;
      live += b->mask[i];
      ++looked;
    }
  }
  const int mask_step = t.roi.width;
  const int sum_step = t.sum_stride * static_cast<int>(sizeof(Omb32s));
  const int tilted_step = t.tilted_stride * static_cast<int>(sizeof(Omb32s));
  const int norm_step = t.roi.width * static_cast<int>(sizeof(Omb32f));
  double t1 = NowMs();
  stats->prepare_ms += t1 - t0;
  stats->scales++;
  stats->windows += looked;
  for (std::size_t s = 0; s < stages_.size() && live > 0; ++s) {
    const Stage& st = stages_[s];
    stats->stages[s].entering += live;
    OmbResult status = ombResultOk;
    if (st.state == nullptr) {
      live = RunTrees(st, t, b->mask.data());
    } else if (st.tilted) {
      status = ombiApplyMixedHaarClassifier_32s32f_C1R(
          t.sum, sum_step, t.tilted, tilted_step, t.norm, norm_step, b->mask.data(), mask_step,
          t.roi, &live, st.threshold, st.state);
    } else {
      status = ombiApplyHaarClassifier_32s32f_C1R(t.sum, sum_step, t.norm, norm_step,
                                                  b->mask.data(), mask_step, t.roi, &live,
                                                  st.threshold, st.state);
    }
    if (status != ombResultOk) live = 0;  // cannot happen with tables made here
    const double t2 = NowMs();
    stats->stages[s].survivors += live;
    stats->stages[s].ms += t2 - t1;
    t1 = t2;
  }
  if (live == 0) return;
  // Original rows are the transposed columns: walk them outermost so the
  // hits come in row order.
  for (int oy = 0; oy < t.roi.width; ++oy) {
    for (int ox = 0; ox < t.roi.height; ++ox) {
      if (b->mask[static_cast<std::size_t>(ox) * t.roi.width + oy] == 0) continue;
      hits->push_back({static_cast<int>(std::lround(ox * scale)),
                       static_cast<int>(std::lround(oy * scale)),
                       static_cast<int>(std::lround(win_w_ * scale)),
                       static_cast<int>(std::lround(win_h_ * scale)), 1});
    }
  }
  stats->raw_hits += static_cast<std::int64_t>(hits->size());
}

std::vector<Detection> Detector::Hits(const Image& grey, const DetectOptions& options,
                                      DetectStats* stats) const {
  // Scale k is step^k; the list ends where the picture gets smaller than
  // the window.
  std::vector<double> scales;
  for (int k = 0; k < 10000; ++k) {
    const double s = std::pow(options.scale_step, k);
    if (std::lround(grey.width / s) < win_w_ || std::lround(grey.height / s) < win_h_) break;
    if (std::min(win_w_, win_h_) * s + 1e-9 >= options.min_size) scales.push_back(s);
  }
  const int n = static_cast<int>(scales.size());
  std::vector<std::vector<Detection>> per_scale(n);
  std::vector<DetectStats> per_thread(omp_get_max_threads());
  for (DetectStats& t : per_thread) t.stages.resize(stages_.size());
  // Scale 0 has the largest picture: handing out the scales in order with
  // a dynamic schedule starts the costliest first and balances the tail.
#pragma omp parallel
  {
    // Kept by each thread across calls: the tables of a large picture take
    // tens of megabytes, and touching fresh pages again on every call costs
    // as much as a stage.
    thread_local Buffers buffers;
    DetectStats& mine = per_thread[omp_get_thread_num()];
#pragma omp for schedule(dynamic, 1)
    for (int k = 0; k < n; ++k) RunScale(grey, scales[k], &buffers, &per_scale[k], &mine);
  }
  std::vector<Detection> hits;
  for (const auto& h : per_scale) hits.insert(hits.end(), h.begin(), h.end());
  if (stats != nullptr) {
    *stats = DetectStats();
    stats->stages.resize(stages_.size());
    for (const DetectStats& t : per_thread) AddStats(t, stats);
  }
  return hits;
}

std::vector<Detection> Detector::Detect(const Image& grey, const DetectOptions& options,
                                        DetectStats* stats) const {
  return GroupHits(Hits(grey, options, stats), options.min_neighbors);
}

namespace {

int Find(std::vector<int>& parent, int i) {
  while (parent[i] != i) i = parent[i] = parent[parent[i]];
  return i;
}

bool Similar(const Detection& a, const Detection& b) {
  const double delta = 0.2 * (a.width + b.width + a.height + b.height) / 4.0;
  return std::abs(a.x - b.x) <= delta && std::abs(a.y - b.y) <= delta &&
         std::abs(a.x + a.width - b.x - b.width) <= delta &&
         std::abs(a.y + a.height - b.y - b.height) <= delta;
}

// a lies inside b, allowing b's edges a fifth of its size of slack.
bool Inside(const Detection& a, const Detection& b) {
  const int dx = b.width / 5, dy = b.height / 5;
  return a.x >= b.x - dx && a.y >= b.y - dy && a.x + a.width <= b.x + b.width + dx &&
         a.y + a.height <= b.y + b.height + dy;
}

}  // namespace

std::vector<Detection> GroupHits(const std::vector<Detection>& hits, int min_neighbors) {
  const int n = static_cast<int>(hits.size());
  std::vector<int> parent(n);
  std::iota(parent.begin(), parent.end(), 0);
  for (int i = 0; i < n; ++i)
    for (int j = i + 1; j < n; ++j)
      if (Similar(hits[i], hits[j])) parent[Find(parent, i)] = Find(parent, j);
  // Groups in the order of their first member, so the output order is fixed.
  std::vector<int> group_of(n, -1);
  std::vector<std::int64_t> sx, sy, sw, sh;
  std::vector<int> count;
  for (int i = 0; i < n; ++i) {
    int& g = group_of[Find(parent, i)];
    if (g < 0) {
      g = static_cast<int>(count.size());
      sx.push_back(0), sy.push_back(0), sw.push_back(0), sh.push_back(0), count.push_back(0);
    }
    sx[g] += hits[i].x, sy[g] += hits[i].y, sw[g] += hits[i].width, sh[g] += hits[i].height;
    count[g]++;
  }
  std::vector<Detection> groups;
  for (std::size_t g = 0; g < count.size(); ++g) {
    if (count[g] <= min_neighbors) continue;
    const auto mean = [&](std::int64_t total) {
      return static_cast<int>((2 * total + count[g]) / (2 * count[g]));
    };
    groups.push_back({mean(sx[g]), mean(sy[g]), mean(sw[g]), mean(sh[g]), count[g]});
  }
  std::vector<Detection> kept;
  for (const Detection& a : groups) {
    const bool covered = std::any_of(groups.begin(), groups.end(), [&](const Detection& b) {
      return &a != &b && b.width * b.height > a.width * a.height && b.hits >= a.hits &&
             Inside(a, b);
    });
    if (!covered) kept.push_back(a);
  }
  return kept;
}

}  // namespace omb_tool
