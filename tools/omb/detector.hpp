// Multi-scale detection with a Haar cascade: the picture is resampled at
// every scale, each stage of the cascade runs over the windows still
// standing, and the surviving windows are grouped into detections.
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
  int min_neighbors = 2;
  int min_size = 0;  // smallest window side in pixels; 0: the cascade window
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
  std::int64_t windows = 0;  // window positions over all scales
  double prepare_ms = 0.0;   // resampling, tables, deviations, masks
  std::vector<StageStats> stages;
  std::int64_t raw_hits = 0;
};

// Windows whose interior deviation is below this many grey levels are not
// looked at: a flat patch holds no object, and its near-zero deviation
// would make every feature test meaningless.
inline constexpr float kMinContrast = 1.0f;

class Detector {
 public:
  // Builds one library stage per cascade stage; nullptr with a message if
  // the library refuses one.
  static std::unique_ptr<Detector> Create(const Cascade& cascade, std::string* error);
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
  // by scale (smallest windows first).
  std::vector<Detection> Hits(const Image& grey, const DetectOptions& options,
                              DetectStats* stats = nullptr) const;

 private:
  struct Stage {
    OmbHaarStage_32f* state = nullptr;
    float threshold = 0.0f;
    bool tilted = false;
  };
  struct Buffers;

  Detector() = default;
  void RunScale(const Image& grey, double scale, Buffers* b, std::vector<Detection>* hits,
                DetectStats* stats) const;

  int win_w_ = 0;
  int win_h_ = 0;
  bool any_tilted_ = false;
  std::vector<Stage> stages_;
};

// Groups similar rectangles (corners within 0.2 of their mean size), drops
// groups of fewer than min_neighbors, averages each group, and drops a
// detection inside a bigger one with at least as many hits.
std::vector<Detection> GroupHits(const std::vector<Detection>& hits, int min_neighbors);

}  // namespace omb_tool
