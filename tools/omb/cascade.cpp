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
// representable as a float: exactly `count` of them unless any_count.
std::vector<double> Numbers(const XmlNode& node, std::size_t count, bool any_count = false) {
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
  if (!any_count && out.size() != count)
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

// <rects> and the optional <tilted> (absent: upright) of one feature,
// checked against the window.
CascadeFeature ReadFeature(const XmlNode& feature, const Cascade& c) {
  CascadeFeature out;
  if (const XmlNode* t = feature.Child("tilted")) {
    const auto tilted = Numbers(*t, 1)[0];
    if (tilted != 0.0 && tilted != 1.0) throw CascadeError(*t, "<tilted> must be 0 or 1");
    out.tilted = tilted == 1.0;
  }
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
    // A tilted rectangle spans columns x-h .. x+w-2 and rows y .. y+w+h-1.
    const bool inside = out.tilted ? q.x - q.height >= 0 && q.x + q.width - 1 <= c.width &&
                                         q.y + q.width + q.height <= c.height
                                   : q.x + q.width <= c.width && q.y + q.height <= c.height;
    if (!inside) throw CascadeError(*r, "rectangle outside the detection window");
    out.rects.push_back(q);
  }
  return out;
}

void ReadWindow(const XmlNode& at, int w, int h, Cascade* c) {
  c->width = Integer(at, w, kCascadeMinWindow, kCascadeMaxWindow);
  c->height = Integer(at, h, kCascadeMinWindow, kCascadeMaxWindow);
}

// A child names a later node (above 0) or a leaf (0 or below); every node
// and every leaf is reached exactly once, so the walk always ends.
void CheckTree(const XmlNode& at, const CascadeWeak& weak) {
  const int n = static_cast<int>(weak.nodes.size());
  if (static_cast<int>(weak.leaves.size()) != n + 1)
    throw CascadeError(at, "a tree of " + std::to_string(n) + " split(s) wants " +
                               std::to_string(n + 1) + " leaf values, has " +
                               std::to_string(weak.leaves.size()));
  std::vector<int> node_refs(n, 0), leaf_refs(n + 1, 0);
  for (int i = 0; i < n; ++i) {
    for (const int child : {weak.nodes[i].left, weak.nodes[i].right}) {
      if (child > i && child < n) {  // a later node (i >= 0, so above 0)
        node_refs[child]++;
      } else if (child <= 0 && -child <= n) {
        leaf_refs[-child]++;
      } else {
        throw CascadeError(at, "tree node " + std::to_string(i) + " names child " +
                                   std::to_string(child) + ", which is not a later node or a leaf");
      }
    }
  }
  for (int i = 1; i < n; ++i)
    if (node_refs[i] != 1) throw CascadeError(at, "tree node " + std::to_string(i) + " is not reached once");
  for (int i = 0; i <= n; ++i)
    if (leaf_refs[i] != 1) throw CascadeError(at, "leaf " + std::to_string(i) + " is not reached once");
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
  for (const XmlNode* f : Items(Need(node, "features"))) c->features.push_back(ReadFeature(*f, *c));
  const auto stages = Items(Need(node, "stages"));
  CheckCount(node, "stageNum", stages.size());
  const double last_feature = static_cast<double>(c->features.size()) - 1;
  for (const XmlNode* s : stages) {
    CascadeStage stage;
    stage.threshold = static_cast<float>(Numbers(Need(*s, "stageThreshold"), 1)[0]);
    const auto weak = Items(Need(*s, "weakClassifiers"));
    CheckCount(*s, "maxWeakCount", weak.size());
    for (const XmlNode* w : weak) {
      const XmlNode& nodes = Need(*w, "internalNodes");
      // Four numbers a split: left child, right child, feature, threshold.
      const std::size_t count = Numbers(nodes, 0, true).size();
      if (count == 0 || count % 4 != 0 || count / 4 > static_cast<std::size_t>(kCascadeMaxNodes))
        throw CascadeError(nodes, "<internalNodes> wants 4 numbers per split (left, right, "
                                  "feature, threshold) and at most " +
                                      std::to_string(kCascadeMaxNodes) + " splits, has " +
                                      std::to_string(count) + " number(s)");
      const auto n = Numbers(nodes, count);
      CascadeWeak tree;
      for (std::size_t k = 0; k < count; k += 4) {
        CascadeNode split;
        split.left = Integer(nodes, n[k], -kCascadeMaxNodes, kCascadeMaxNodes);
        split.right = Integer(nodes, n[k + 1], -kCascadeMaxNodes, kCascadeMaxNodes);
        split.feature = Integer(nodes, n[k + 2], 0, last_feature);
        split.threshold = static_cast<float>(n[k + 3]);
        tree.nodes.push_back(split);
      }
      const XmlNode& leaves = Need(*w, "leafValues");
      for (const double v : Numbers(leaves, count / 4 + 1)) tree.leaves.push_back(static_cast<float>(v));
      CheckTree(nodes, tree);
      stage.weak.push_back(std::move(tree));
    }
    c->stages.push_back(std::move(stage));
  }
}

// One side of an older-layout split: <left_val> (a leaf) or <left_node>
// (an index into the tree's node list).
int ReadChild(const XmlNode& split, const std::string& side, CascadeWeak* tree) {
  if (const XmlNode* leaf = split.Child(side + "_val")) {
    tree->leaves.push_back(static_cast<float>(Numbers(*leaf, 1)[0]));
    return -static_cast<int>(tree->leaves.size() - 1);
  }
  const XmlNode& child = Need(split, side + "_node");
  return Integer(child, Numbers(child, 1)[0], 1, kCascadeMaxNodes);
}

// The older layout: <size>, and each tree a list of splits, each carrying
// its feature. Stages may name a <parent> and a <next>; only the plain
// chain (each stage the child of the one before) is a cascade.
void ReadOlder(const XmlNode& node, Cascade* c) {
  const XmlNode& size = Need(node, "size");
  const auto wh = Numbers(size, 2);
  ReadWindow(size, Integer(size, wh[0], 0, kCascadeMaxWindow),
             Integer(size, wh[1], 0, kCascadeMaxWindow), c);
  for (const XmlNode* s : Items(Need(node, "stages"))) {
    const int index = static_cast<int>(c->stages.size());
    const XmlNode* parent = s->Child("parent");
    const XmlNode* next = s->Child("next");
    if ((parent != nullptr && Numbers(*parent, 1)[0] != index - 1) ||
        (next != nullptr && Numbers(*next, 1)[0] != -1))
      throw CascadeError(*s, "<parent>/<next> make a tree of stages; only a chain of stages "
                             "is supported");
    CascadeStage stage;
    stage.threshold = static_cast<float>(Numbers(Need(*s, "stage_threshold"), 1)[0]);
    for (const XmlNode* t : Items(Need(*s, "trees"))) {
      const auto splits = Items(*t);
      if (splits.size() > static_cast<std::size_t>(kCascadeMaxNodes))
        throw CascadeError(*t, "a tree has more than " + std::to_string(kCascadeMaxNodes) +
                                   " splits");
      CascadeWeak tree;
      for (const XmlNode* split : splits) {
        CascadeNode n;
        n.feature = static_cast<int>(c->features.size());
        c->features.push_back(ReadFeature(Need(*split, "feature"), *c));
        n.threshold = static_cast<float>(Numbers(Need(*split, "threshold"), 1)[0]);
        n.left = ReadChild(*split, "left", &tree);
        n.right = ReadChild(*split, "right", &tree);
        tree.nodes.push_back(n);
      }
      CheckTree(*t, tree);
      stage.weak.push_back(std::move(tree));
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
