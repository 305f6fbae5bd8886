// Boosted cascades of Haar-like features in the XML cascade format: the
// current layout (<cascade> with <stages>, <weakClassifiers> and a shared
// <features> list) and the older one (<size>, <trees> with the feature
// inside each node). Weak classifiers are trees of any depth; a stump is
// the one-split case. Everything read is checked: counts, indices, finite
// numbers, trees that end in leaves, and rectangles that lie inside the
// detection window.
#pragma once

#include <string>
#include <vector>

#include "xml.hpp"

namespace omb_tool {

// An upright rectangle covers columns x .. x+width-1 and rows
// y .. y+height-1 of the window. A tilted one covers, for a = 0..width-1
// and b = 0..height-1, the two pixels (x-1+a-b, y+a+b) and
// (x-1+a-b, y+a+b+1): a band turned by 45 degrees, 2 x width x height
// pixels.
struct CascadeRect {
  int x, y, width, height;
  float weight;
};

struct CascadeFeature {
  std::vector<CascadeRect> rects;
  bool tilted = false;
};

// One split of a weak classifier: the feature value (sum of weight x
// rectangle sum, divided by interior area x deviation) below the threshold
// goes left, otherwise right. A child above 0 is the index of another
// node; 0 or below is a leaf, -child indexing the leaf values.
struct CascadeNode {
  int feature = 0;
  float threshold = 0.0f;
  int left = 0;
  int right = -1;
};

struct CascadeWeak {
  std::vector<CascadeNode> nodes;  // node 0 is the root
  std::vector<float> leaves;
  bool IsStump() const { return nodes.size() == 1; }
};

struct CascadeStage {
  float threshold = 0.0f;
  std::vector<CascadeWeak> weak;
};

struct Cascade {
  int width = 0;
  int height = 0;
  std::vector<CascadeFeature> features;
  std::vector<CascadeStage> stages;
};

// Most rectangles one feature may have, nodes one tree may have, and the
// window size limits.
inline constexpr int kCascadeMaxRects = 3;
inline constexpr int kCascadeMaxNodes = 64;
inline constexpr int kCascadeMinWindow = 3;
inline constexpr int kCascadeMaxWindow = 1024;

bool ParseCascade(const XmlNode& root, Cascade* cascade, std::string* error);
bool LoadCascade(const std::string& path, Cascade* cascade, std::string* error);

}  // namespace omb_tool
