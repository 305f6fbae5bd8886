// Multi-scale detection with a Haar cascade: the picture is resampled at
// every scale, each stage of the cascade runs over the windows still
// standing, and the surviving windows are grouped into detections.
//
// Every scale is worked in the transposed frame (rows of the picture are
// columns of the tables). The cascade format's tilted rectangles pair each
// pixel with the one below it, while the library's tilted table pairs a
// pixel with the one beside it; transposing the picture turns the one into
// the other, so the library's tables and stage classifier sum exactly the
// pixels the format names.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "cascade.hpp"
#include "image_io.hpp"
#include "ombtypes.h"

namespace omb_tool {

struct Detection {
  int x, y, width, height;
  int hits;  // windows merged into it (1 for a raw window)
};

struct DetectOptions {
  double scale_step = 1.1;
  int min_neighbors = 3;  // a detection needs more hits than this
  int min_size = 0;       // smallest window side in pixels; 0: the cascade window
};

// Summed over scales; times are thread time, so with several threads they
// add up to more than the wall-clock time.
struct StageStats {
  std::int64_t entering = 0;
  std::int64_t survivors = 0;
  double ms = 0.0;
};
struct DetectStats {
  int scales = 0;
  std::int64_t windows = 0;  // window positions looked at over all scales
  double prepare_ms = 0.0;   // resampling, tables, deviations, masks
  std::vector<StageStats> stages;
  std::int64_t raw_hits = 0;
};

// A window is a candidate only when the deviation of its interior (the
// window less one pixel on every side) is above this many grey levels.
// The features are divided by that deviation: in a near-flat patch (a wall,
// a lawn, a visor) they measure noise and quantisation steps, and the
// cascades were not trained to reject such patches.
inline constexpr float kMinDeviation = 10.0f;

// Windows are placed every kCoarseStride pixels of the resampled picture
// while the scale factor is at most kCoarseScale, every pixel beyond: a
// window moved by one pixel at a small scale sees nearly the same face, and
// the neighbour counts of the grouping then mean the same at every scale.
inline constexpr int kCoarseStride = 2;
inline constexpr double kCoarseScale = 2.0;

// The rectangle handed to the library for a cascade rectangle, in the
// transposed frame. An upright one just swaps its axes. A tilted one
// becomes the library's tilted rectangle whose corner A is
// (y + h - 1, x - h - 1); its row is stored one higher (x - h, never
// negative) because the tilted table is handed over one row early.
CascadeRect LibraryRect(const CascadeRect& r, bool tilted);

class Detector {
 public:
  // Builds one library stage per stage of stumps; stages with deeper trees
  // are evaluated by the detector itself over the same tables (as are all
  // stages when library_stumps is false). nullptr with a message if the
  // library refuses a stage.
  static std::unique_ptr<Detector> Create(const Cascade& cascade, std::string* error,
                                          bool library_stumps = true);
  ~Detector();
  Detector(const Detector&) = delete;
  Detector& operator=(const Detector&) = delete;

  int window_width() const { return win_w_; }
  int window_height() const { return win_h_; }

  // Detections in a grey image, in the order of their first hit. Runs the
  // scales on the OpenMP threads; the result does not depend on how many.
  std::vector<Detection> Detect(const Image& grey, const DetectOptions& options,
                                DetectStats* stats = nullptr) const;

  // The raw windows that pass every stage, in original coordinates, scale
  // by scale (smallest windows first), each scale in row order.
  std::vector<Detection> Hits(const Image& grey, const DetectOptions& options,
                              DetectStats* stats = nullptr) const;

  // The weighted sums of features' rectangles for the window at (x, y) of
  // the picture resampled to `scale`, read from the tables the detector
  // builds.
  std::vector<double> FeatureSums(const Image& grey, double scale,
                                  const std::vector<CascadeFeature>& features, int x, int y) const;

 private:
  struct Stage {
    OmbHaarStage_32f* state = nullptr;  // stumps run by the library
    int first_weak = 0, weak_count = 0;  // else trees_[first .. first + count)
    float threshold = 0.0f;
    bool tilted = false;
  };
  struct Tree {
    std::vector<CascadeNode> nodes;  // thresholds already times the area
    std::vector<float> leaves;
  };
  struct Buffers;
  struct Tables;

  Detector() = default;
  void Prepare(const Image& grey, double scale, bool tilted, Buffers* b, Tables* t) const;
  void RunScale(const Image& grey, double scale, Buffers* b,
                std::vector<Detection>* hits, DetectStats* stats) const;
  int RunTrees(const Stage& stage, const Tables& t, std::uint8_t* mask) const;

  int win_w_ = 0;
  int win_h_ = 0;
  bool any_tilted_ = false;
  std::vector<CascadeFeature> features_;  // in the transposed frame
  std::vector<Tree> trees_;
  std::vector<Stage> stages_;
};

// Groups similar rectangles (corners within 0.2 of their mean size), keeps
// groups of more than min_neighbors hits, averages each group, and drops a
// detection inside a bigger one with at least as many hits.
std::vector<Detection> GroupHits(const std::vector<Detection>& hits, int min_neighbors);

}  // namespace omb_tool
