#include "cascade.hpp"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <stdexcept>

namespace omb_tool {
namespace {

// Thrown inside this file only; ParseCascade turns it into a message.
struct CascadeError : std::runtime_error {
  CascadeError(const XmlNode& at, const std::string& what)
      : std::runtime_error("line " + std::to_string(at.line) + ": " + what) {}
};

// Whitespace-separated numbers of an element's text, each finite and
// representable as a float.
std::vector<double> Numbers(const XmlNode& node, std::size_t count) {
  std::vector<double> out;
  const char* p = node.text.c_str();
  for (;;) {
    while (*p == ' ' || *p == '\t' || *p == '\n' || *p == '\r') ++p;
    if (*p == '\0') break;
    char* end = nullptr;
    errno = 0;
    const double v = std::strtod(p, &end);
    if (end == p || errno == ERANGE || !std::isfinite(v) ||
        std::fabs(v) > std::numeric_limits<float>::max())
      throw CascadeError(node, "<" + node.name + "> holds a bad number");
    if (*end != '\0' && *end != ' ' && *end != '\t' && *end != '\n' && *end != '\r')
      throw CascadeError(node, "<" + node.name + "> holds a bad number");
    out.push_back(v);
    p = end;
  }
  if (out.size() != count)
    throw CascadeError(node, "<" + node.name + "> wants " + std::to_string(count) +
                                 " number(s), has " + std::to_string(out.size()));
  return out;
}

int Integer(const XmlNode& node, double v, double lo, double hi) {
  if (v != std::floor(v) || v < lo || v > hi)
    throw CascadeError(node, "<" + node.name + "> wants an integer from " +
                                 std::to_string(static_cast<long>(lo)) + " to " +
                                 std::to_string(static_cast<long>(hi)));
  return static_cast<int>(v);
}

const XmlNode& Need(const XmlNode& parent, const std::string& name) {
  const XmlNode* c = parent.Child(name);
  if (c == nullptr) throw CascadeError(parent, "<" + parent.name + "> has no <" + name + ">");
  return *c;
}

// The "_" items of a list element, at least one.
std::vector<const XmlNode*> Items(const XmlNode& list) {
  std::vector<const XmlNode*> items;
  for (const auto& c : list.children)
    if (c->name == "_") items.push_back(c.get());
  if (items.empty()) throw CascadeError(list, "<" + list.name + "> is empty");
  return items;
}

std::string Trimmed(const std::string& s) {
  const auto b = s.find_first_not_of(" \t\r\n");
  if (b == std::string::npos) return std::string();
  return s.substr(b, s.find_last_not_of(" \t\r\n") - b + 1);
}

// An optional count element must agree with what was read.
void CheckCount(const XmlNode& parent, const char* name, std::size_t count) {
  if (const XmlNode* n = parent.Child(name)) {
    if (Numbers(*n, 1)[0] != static_cast<double>(count))
      throw CascadeError(*n, std::string("<") + name + "> says " + Trimmed(n->text) +
                                 " but there are " + std::to_string(count));
  }
}

// <rects> and <tilted> of one feature, checked against the window.
void ReadFeature(const XmlNode& feature, const Cascade& c, CascadeStump* stump) {
  const auto tilted = Numbers(Need(feature, "tilted"), 1)[0];
  if (tilted != 0.0 && tilted != 1.0)
    throw CascadeError(feature, "<tilted> must be 0 or 1");
  stump->tilted = tilted == 1.0;
  const auto rects = Items(Need(feature, "rects"));
  if (rects.size() > static_cast<std::size_t>(kCascadeMaxRects))
    throw CascadeError(feature, "a feature has more than " +
                                    std::to_string(kCascadeMaxRects) + " rectangles");
  for (const XmlNode* r : rects) {
    const auto v = Numbers(*r, 5);
    CascadeRect q;
    q.x = Integer(*r, v[0], 0, c.width);
    q.y = Integer(*r, v[1], 0, c.height);
    q.width = Integer(*r, v[2], 1, c.width);
    q.height = Integer(*r, v[3], 1, c.height);
    q.weight = static_cast<float>(v[4]);
    const bool inside = stump->tilted
                            ? q.x - q.height >= 0 && q.x + q.width <= c.width &&
                                  q.y + q.width + q.height <= c.height
                            : q.x + q.width <= c.width && q.y + q.height <= c.height;
    if (!inside) throw CascadeError(*r, "rectangle outside the detection window");
    stump->rects.push_back(q);
  }
}

void ReadWindow(const XmlNode& at, int w, int h, Cascade* c) {
  c->width = Integer(at, w, kCascadeMinWindow, kCascadeMaxWindow);
  c->height = Integer(at, h, kCascadeMinWindow, kCascadeMaxWindow);
}

void ReadCurrent(const XmlNode& node, Cascade* c) {
  if (Trimmed(Need(node, "stageType").text) != "BOOST")
    throw CascadeError(Need(node, "stageType"), "only BOOST stages are supported");
  if (Trimmed(Need(node, "featureType").text) != "HAAR")
    throw CascadeError(Need(node, "featureType"), "only HAAR features are supported");
  const XmlNode& width = Need(node, "width");
  const XmlNode& height = Need(node, "height");
  ReadWindow(width, Integer(width, Numbers(width, 1)[0], 0, kCascadeMaxWindow),
             Integer(height, Numbers(height, 1)[0], 0, kCascadeMaxWindow), c);
  std::vector<CascadeStump> features;
  for (const XmlNode* f : Items(Need(node, "features"))) {
    features.emplace_back();
    ReadFeature(*f, *c, &features.back());
  }
  const auto stages = Items(Need(node, "stages"));
  CheckCount(node, "stageNum", stages.size());
  for (const XmlNode* s : stages) {
    CascadeStage stage;
    stage.threshold = static_cast<float>(Numbers(Need(*s, "stageThreshold"), 1)[0]);
    const auto weak = Items(Need(*s, "weakClassifiers"));
    CheckCount(*s, "maxWeakCount", weak.size());
    for (const XmlNode* w : weak) {
      const XmlNode& nodes = Need(*w, "internalNodes");
      const auto n = Numbers(nodes, 4);  // a fifth number would be a deeper tree
      if (n[0] != 0.0 || n[1] != -1.0)
        throw CascadeError(nodes, "only stumps (one split, two leaves) are supported");
      const int index = Integer(nodes, n[2], 0, static_cast<double>(features.size()) - 1);
      const auto leaves = Numbers(Need(*w, "leafValues"), 2);
      CascadeStump stump = features[index];
      stump.threshold = static_cast<float>(n[3]);
      stump.left = static_cast<float>(leaves[0]);
      stump.right = static_cast<float>(leaves[1]);
      stage.stumps.push_back(std::move(stump));
    }
    c->stages.push_back(std::move(stage));
  }
}

// The older layout: <size>, and each tree a single node carrying its feature.
void ReadOlder(const XmlNode& node, Cascade* c) {
  const XmlNode& size = Need(node, "size");
  const auto wh = Numbers(size, 2);
  ReadWindow(size, Integer(size, wh[0], 0, kCascadeMaxWindow),
             Integer(size, wh[1], 0, kCascadeMaxWindow), c);
  for (const XmlNode* s : Items(Need(node, "stages"))) {
    CascadeStage stage;
    stage.threshold = static_cast<float>(Numbers(Need(*s, "stage_threshold"), 1)[0]);
    for (const XmlNode* tree : Items(Need(*s, "trees"))) {
      const auto nodes = Items(*tree);
      if (nodes.size() != 1 || nodes[0]->Child("left_node") || nodes[0]->Child("right_node"))
        throw CascadeError(*tree, "only stumps (one split, two leaves) are supported");
      const XmlNode& split = *nodes[0];
      CascadeStump stump;
      ReadFeature(Need(split, "feature"), *c, &stump);
      stump.threshold = static_cast<float>(Numbers(Need(split, "threshold"), 1)[0]);
      stump.left = static_cast<float>(Numbers(Need(split, "left_val"), 1)[0]);
      stump.right = static_cast<float>(Numbers(Need(split, "right_val"), 1)[0]);
      stage.stumps.push_back(std::move(stump));
    }
    c->stages.push_back(std::move(stage));
  }
}

}  // namespace

bool ParseCascade(const XmlNode& root, Cascade* cascade, std::string* error) {
  *cascade = Cascade();
  try {
    if (const XmlNode* current = root.Child("cascade")) {
      ReadCurrent(*current, cascade);
      return true;
    }
    for (const auto& child : root.children) {
      if (child->Child("size") != nullptr) {
        ReadOlder(*child, cascade);
        return true;
      }
    }
    throw CascadeError(root, "no <cascade> element (not a cascade file?)");
  } catch (const CascadeError& e) {
    *cascade = Cascade();
    *error = e.what();
    return false;
  }
}

bool LoadCascade(const std::string& path, Cascade* cascade, std::string* error) {
  XmlNode root;
  if (!ReadXmlFile(path, &root, error)) return false;
  if (!ParseCascade(root, cascade, error)) {
    *error = path + ": " + *error;
    return false;
  }
  return true;
}

}  // namespace omb_tool
