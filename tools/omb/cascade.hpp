// Boosted cascades of Haar-like features in the XML cascade format: the
// current layout (<cascade> with <stages>, <weakClassifiers> and a shared
// <features> list) and the older one (<size>, <trees> with the feature
// inside each node). Only stumps (one split, two leaves) are supported.
// Everything read is checked: counts, indices, finite numbers and
// rectangles that lie inside the detection window.
#pragma once

#include <string>
#include <vector>

#include "xml.hpp"

namespace omb_tool {

struct CascadeRect {
  int x, y, width, height;
  float weight;
};

// One weak classifier with its feature: value = sum of weight x rectangle
// sum, divided by (interior area x deviation); below the threshold votes
// `left`, otherwise `right`.
struct CascadeStump {
  std::vector<CascadeRect> rects;
  bool tilted = false;
  float threshold = 0.0f;
  float left = 0.0f;
  float right = 0.0f;
};

struct CascadeStage {
  float threshold = 0.0f;
  std::vector<CascadeStump> stumps;
};

struct Cascade {
  int width = 0;
  int height = 0;
  std::vector<CascadeStage> stages;
};

// Most rectangles one feature may have, and the window size limits.
inline constexpr int kCascadeMaxRects = 3;
inline constexpr int kCascadeMinWindow = 3;
inline constexpr int kCascadeMaxWindow = 1024;

bool ParseCascade(const XmlNode& root, Cascade* cascade, std::string* error);
bool LoadCascade(const std::string& path, Cascade* cascade, std::string* error);

}  // namespace omb_tool
