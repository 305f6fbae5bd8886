#include "detector.hpp"

#include <omp.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include "cli.hpp"
#include "ombcv.h"

namespace omb_tool {

// Per-thread work space, grown to the largest scale a thread meets.
struct Detector::Buffers {
  std::vector<std::uint8_t> image;  // resampled picture, one spare byte per row
  std::vector<float> rows;          // horizontal pass of the resampling
  std::vector<float> acc;
  std::vector<Omb32s> sum, tilted;
  std::vector<Omb64f> sqr;
  std::vector<Omb32f> norm;
  std::vector<Omb8u> mask;
};

namespace {

// Area-average resampling weights along one axis: output i covers the
// source interval [i r, (i + 1) r), r = from / to.
struct Taps {
  std::vector<int> first, count;
  std::vector<float> weight;  // count[i] weights per output, in order
};

Taps AreaTaps(int from, int to) {
  Taps t;
  const double r = static_cast<double>(from) / to;
  for (int i = 0; i < to; ++i) {
    const double a = i * r, b = std::min((i + 1) * r, static_cast<double>(from));
    const int j0 = static_cast<int>(a);
    const int j1 = std::min(from, static_cast<int>(std::ceil(b)));
    t.first.push_back(j0);
    t.count.push_back(j1 - j0);
    for (int j = j0; j < j1; ++j) {
      const double cover = std::min<double>(j + 1, b) - std::max<double>(j, a);
      t.weight.push_back(static_cast<float>(cover / (b - a)));
    }
  }
  return t;
}

// grey (w x h) -> out (tw x th, row step tw + 1, spare byte 0).
void ResizeArea(const Image& grey, int tw, int th, std::vector<float>* rows,
                std::vector<float>* acc, std::vector<std::uint8_t>* out) {
  const Taps tx = AreaTaps(grey.width, tw), ty = AreaTaps(grey.height, th);
  rows->assign(static_cast<std::size_t>(grey.height) * tw, 0.0f);
  for (int y = 0; y < grey.height; ++y) {
    const std::uint8_t* s = grey.row(y);
    float* r = rows->data() + static_cast<std::size_t>(y) * tw;
    const float* w = tx.weight.data();
    for (int x = 0; x < tw; ++x) {
      float v = 0.0f;
      for (int k = 0; k < tx.count[x]; ++k) v += *w++ * s[tx.first[x] + k];
      r[x] = v;
    }
  }
  out->assign(static_cast<std::size_t>(tw + 1) * th, 0);
  const float* w = ty.weight.data();
  for (int y = 0; y < th; ++y) {
    acc->assign(tw, 0.0f);
    for (int k = 0; k < ty.count[y]; ++k, ++w) {
      const float* r = rows->data() + static_cast<std::size_t>(ty.first[y] + k) * tw;
      for (int x = 0; x < tw; ++x) (*acc)[x] += *w * r[x];
    }
    std::uint8_t* o = out->data() + static_cast<std::size_t>(y) * (tw + 1);
    for (int x = 0; x < tw; ++x)
      o[x] = static_cast<std::uint8_t>(std::min(255.0f, (*acc)[x] + 0.5f));
  }
}

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

std::unique_ptr<Detector> Detector::Create(const Cascade& cascade, std::string* error) {
  std::unique_ptr<Detector> d(new Detector());
  d->win_w_ = cascade.width;
  d->win_h_ = cascade.height;
  // Node thresholds compare with a value divided by (area x deviation) of
  // the window interior; the library compares the raw weighted sum with
  // threshold x norm, so the area goes into the threshold and the norm
  // image holds the deviation.
  const float area = static_cast<float>((cascade.width - 2) * (cascade.height - 2));
  for (const CascadeStage& s : cascade.stages) {
    std::vector<OmbRect> rects;
    std::vector<Omb32f> weights, thresholds, left, right;
    std::vector<int> counts;
    std::vector<Omb8u> tilt;
    for (const CascadeStump& k : s.stumps) {
      for (const CascadeRect& r : k.rects) {
        rects.push_back({r.x, r.y, r.width, r.height});
        weights.push_back(r.weight);
      }
      counts.push_back(static_cast<int>(k.rects.size()));
      thresholds.push_back(k.threshold * area);
      left.push_back(k.left);
      right.push_back(k.right);
      tilt.push_back(k.tilted ? 1 : 0);
    }
    Stage stage;
    stage.threshold = s.threshold;
    stage.tilted = std::find(tilt.begin(), tilt.end(), 1) != tilt.end();
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
    d->any_tilted_ |= stage.tilted;
  }
  return d;
}

Detector::~Detector() {
  for (const Stage& s : stages_) ombiHaarClassifierFree_32f(s.state);
}

void Detector::RunScale(const Image& grey, double scale, Buffers* b,
                        std::vector<Detection>* hits, DetectStats* stats) const {
  double t0 = NowMs();
  const int w = static_cast<int>(std::lround(grey.width / scale));
  const int h = static_cast<int>(std::lround(grey.height / scale));
  const OmbRoiSize size{w, h};
  const OmbRoiSize roi{w - win_w_ + 1, h - win_h_ + 1};
  ResizeArea(grey, w, h, &b->rows, &b->acc, &b->image);
  const int sum_step = (w + 1) * static_cast<int>(sizeof(Omb32s));
  b->sum.resize(static_cast<std::size_t>(w + 1) * (h + 1));
  b->sqr.resize(b->sum.size());
  OmbResult status = ombiSqrIntegral_8u32s64f_C1R(b->image.data(), w + 1, b->sum.data(), sum_step, b->sqr.data(),
                               (w + 1) * static_cast<int>(sizeof(Omb64f)), size, 0, 0.0);
  const int tilted_step = (w + 2) * static_cast<int>(sizeof(Omb32s));
  if (any_tilted_) {
    b->tilted.resize(static_cast<std::size_t>(w + 2) * (h + 2));
    if (status == ombResultOk)
      status = ombiTiltedIntegral_8u32s_C1R(b->image.data(), w + 1, b->tilted.data(), tilted_step, size, 0);
  }
  const std::size_t windows = static_cast<std::size_t>(roi.width) * roi.height;
  b->norm.resize(windows);
  b->mask.resize(windows);
  const int norm_step = roi.width * static_cast<int>(sizeof(Omb32f));
  if (status == ombResultOk)
    status = ombiRectStdDev_32s32f_C1R(b->sum.data(), sum_step, b->sqr.data(),
                            (w + 1) * static_cast<int>(sizeof(Omb64f)), b->norm.data(), norm_step,
                            roi, OmbRect{1, 1, win_w_ - 2, win_h_ - 2});
  int live = 0;
  for (std::size_t i = 0; i < windows && status == ombResultOk; ++i) {
    b->mask[i] = b->norm[i] >= kMinContrast ? 1 : 0;
    live += b->mask[i];
  }
  double t1 = NowMs();
  stats->prepare_ms += t1 - t0;
  stats->scales++;
  stats->windows += static_cast<std::int64_t>(windows);
  for (std::size_t s = 0; s < stages_.size() && live > 0; ++s) {
    const Stage& st = stages_[s];
    stats->stages[s].entering += live;
    if (st.tilted) {
      status = ombiApplyMixedHaarClassifier_32s32f_C1R(b->sum.data(), sum_step, b->tilted.data(),
                                              tilted_step, b->norm.data(), norm_step,
                                              b->mask.data(), roi.width, roi, &live,
                                              st.threshold, st.state);
    } else {
      status = ombiApplyHaarClassifier_32s32f_C1R(b->sum.data(), sum_step, b->norm.data(), norm_step,
                                         b->mask.data(), roi.width, roi, &live, st.threshold,
                                         st.state);
    }
    if (status != ombResultOk) live = 0;  // cannot happen with tables made here
    const double t2 = NowMs();
    stats->stages[s].survivors += live;
    stats->stages[s].ms += t2 - t1;
    t1 = t2;
  }
  if (live == 0) return;
  for (int y = 0; y < roi.height; ++y) {
    for (int x = 0; x < roi.width; ++x) {
      if (b->mask[static_cast<std::size_t>(y) * roi.width + x] == 0) continue;
      hits->push_back({static_cast<int>(std::lround(x * scale)),
                       static_cast<int>(std::lround(y * scale)),
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
    Buffers buffers;
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
    if (count[g] < std::max(1, min_neighbors)) continue;
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
