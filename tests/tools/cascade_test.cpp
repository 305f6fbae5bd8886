// The XML reader and the cascade loader on malformed and valid input, and
// the detector's independence of the thread count.
#include <gtest/gtest.h>
#include <omp.h>

#include <cmath>
#include <cstdint>
#include <string>
#include <utility>

#include "cascade.hpp"
#include "detector.hpp"
#include "xml.hpp"

namespace omb_tool {
namespace {

// A one-stage cascade of two weak classifiers; the cases below swap in
// broken features, splits, leaves or window sizes.
std::string TinyCascade(const std::string& features, const std::string& nodes = "0 -1 1 0.5",
                        const std::string& window = "<width>6</width><height>6</height>",
                        const std::string& leaves = "-1 1") {
  return "<?xml version=\"1.0\"?>\n<!-- tiny -->\n<root><cascade>"
         "<stageType>BOOST</stageType><featureType>HAAR</featureType>" + window +
         "<stageNum>1</stageNum><stages><_><maxWeakCount>2</maxWeakCount>"
         "<stageThreshold>-1.5</stageThreshold><weakClassifiers>"
         "<_><internalNodes>0 -1 0 -0.25</internalNodes><leafValues>1 -1</leafValues></_>"
         "<_><internalNodes>" + nodes + "</internalNodes><leafValues>" + leaves +
         "</leafValues></_>"
         "</weakClassifiers></_></stages><features>" + features + "</features></cascade></root>";
}

const char kWindow[] = "<width>6</width><height>6</height>";
const char kFeatures[] =
    "<_><rects><_>0 0 6 2 -1.</_><_>0 0 3 2 2.</_></rects><tilted>0</tilted></_>"
    "<_><rects><_>2 0 2 2 -1.</_><_>2 0 1 1 4.</_></rects><tilted>1</tilted></_>";

bool Parses(const std::string& text, Cascade* cascade, std::string* error) {
  XmlNode root;
  return ParseXml(text, &root, error) && ParseCascade(root, cascade, error);
}

TEST(CascadeLoader, TinyCascadeLoads) {
  Cascade c;
  std::string error;
  ASSERT_TRUE(Parses(TinyCascade(kFeatures), &c, &error)) << error;
  EXPECT_EQ(c.width, 6);
  ASSERT_EQ(c.stages.size(), 1u);
  ASSERT_EQ(c.stages[0].weak.size(), 2u);
  const CascadeWeak& w = c.stages[0].weak[1];
  ASSERT_TRUE(w.IsStump());
  EXPECT_FLOAT_EQ(w.nodes[0].threshold, 0.5f);
  EXPECT_FLOAT_EQ(w.leaves[-w.nodes[0].right], 1.0f);
  const CascadeFeature& f = c.features[w.nodes[0].feature];
  EXPECT_TRUE(f.tilted);
  EXPECT_EQ(f.rects[1].width, 1);
  EXPECT_FLOAT_EQ(f.rects[1].weight, 4.0f);
  EXPECT_NE(Detector::Create(c, &error), nullptr) << error;
}

TEST(CascadeLoader, TreesAndFeaturesWithoutTiltLoad) {
  // Two splits, three leaves: the root's right child is split 1.
  const std::string features =
      "<_><rects><_>0 0 6 2 -1.</_><_>0 0 3 2 2.</_></rects></_>"
      "<_><rects><_>2 0 2 2 -1.</_><_>2 0 1 1 4.</_></rects><tilted>1</tilted></_>";
  Cascade c;
  std::string error;
  const std::string window = "<width>6</width><height>6</height>";
  ASSERT_TRUE(Parses(TinyCascade(features, "0 1 0 0.5 -1 -2 1 0.25", window, "1 2 3"), &c, &error))
      << error;
  EXPECT_FALSE(c.features[0].tilted);
  const CascadeWeak& w = c.stages[0].weak[1];
  ASSERT_EQ(w.nodes.size(), 2u);
  EXPECT_EQ(w.nodes[0].right, 1);
  EXPECT_EQ(w.nodes[1].right, -2);
  EXPECT_NE(Detector::Create(c, &error), nullptr) << error;
}

TEST(CascadeLoader, OlderLayoutLoads) {
  const std::string text =
      "<storage><model type_id=\"x\"><size>6 6</size><stages><_><trees><_><_>"
      "<feature><rects><_>0 0 6 2 -1.</_><_>0 0 3 2 2.</_></rects><tilted>0</tilted>"
      "</feature><threshold>0.1</threshold><left_val>-1</left_val><right_node>1</right_node>"
      "</_><_><feature><rects><_>0 0 3 3 -1.</_></rects></feature><threshold>0.2</threshold>"
      "<left_val>0.5</left_val><right_val>1</right_val></_></_></trees>"
      "<stage_threshold>0</stage_threshold><parent>-1</parent><next>-1</next></_></stages>"
      "</model></storage>";
  Cascade c;
  std::string error;
  ASSERT_TRUE(Parses(text, &c, &error)) << error;
  ASSERT_EQ(c.stages.size(), 1u);
  const CascadeWeak& w = c.stages[0].weak[0];
  ASSERT_EQ(w.nodes.size(), 2u);
  EXPECT_FLOAT_EQ(w.leaves[-w.nodes[0].left], -1.0f);
  EXPECT_FLOAT_EQ(w.leaves[-w.nodes[1].right], 1.0f);
  EXPECT_EQ(c.features.size(), 2u);
  // A stage that is not the child of the one before is a tree of stages.
  std::string tree = text;
  tree.replace(tree.find("<next>-1"), 8, "<next>3");
  EXPECT_FALSE(Parses(tree, &c, &error));
  EXPECT_NE(error.find("<parent>/<next>"), std::string::npos) << error;
}

TEST(CascadeLoader, RejectsMalformedInput) {
  const std::string deep = std::string(200, '<') + "a>";
  std::string nested;
  for (int i = 0; i < 100; ++i) nested += "<a>";
  for (int i = 0; i < 100; ++i) nested += "</a>";
  const struct {
    const char* what;
    std::string text;
  } cases[] = {
      {"empty", ""},
      {"no root", "<?xml version=\"1.0\"?><!-- only a comment -->"},
      {"unclosed", "<root><cascade>"},
      {"mismatched end", "<root><a></b></root>"},
      {"unterminated comment", "<root><!-- </root>"},
      {"bad entity", "<root>&bogus;</root>"},
      {"two roots", "<a/><b/>"},
      {"broken tag", deep},
      {"too deep", nested},
      {"not a cascade", "<root><other/></root>"},
      {"other stage type", [] {
         std::string t = TinyCascade(kFeatures);
         return t.replace(t.find("BOOST"), 5, "LOGIT");
       }()},
      {"split of five numbers", TinyCascade(kFeatures, "1 -1 1 0.5 7")},
      {"child that is no node", TinyCascade(kFeatures, "1 -1 1 0.5")},
      {"leaf reached twice", TinyCascade(kFeatures, "0 1 0 0.5 0 -1 1 0.5", kWindow, "1 2 3")},
      {"child before its parent", TinyCascade(kFeatures, "0 1 0 0.5 -1 1 1 0.5", kWindow, "1 2 3")},
      {"leaf count", TinyCascade(kFeatures, "0 -1 1 0.5", kWindow, "1 2 3")},
      {"feature index out of range", TinyCascade(kFeatures, "0 -1 2 0.5")},
      {"fractional index", TinyCascade(kFeatures, "0 -1 0.5 0.5")},
      {"non-finite threshold", TinyCascade(kFeatures, "0 -1 1 nan")},
      {"huge threshold", TinyCascade(kFeatures, "0 -1 1 1e300")},
      {"upright rect outside",
       TinyCascade("<_><rects><_>4 0 3 2 -1.</_></rects><tilted>0</tilted></_><_><rects><_>0 0 1 "
                   "1 1.</_></rects><tilted>0</tilted></_>")},
      {"tilted rect outside",
       TinyCascade("<_><rects><_>1 0 1 2 -1.</_></rects><tilted>1</tilted></_><_><rects><_>0 0 1 "
                   "1 1.</_></rects><tilted>0</tilted></_>")},
      {"zero width", TinyCascade("<_><rects><_>0 0 0 2 -1.</_></rects><tilted>0</tilted></_>")},
      {"rect with four numbers",
       TinyCascade("<_><rects><_>0 0 2 2</_></rects><tilted>0</tilted></_>")},
      {"tilted flag 2", TinyCascade("<_><rects><_>0 0 2 2 1</_></rects><tilted>2</tilted></_>")},
      {"no features", TinyCascade("")},
      {"window too small", TinyCascade(kFeatures, "0 -1 1 0.5", "<width>2</width><height>6</height>")},
      {"stage count", [] {
         std::string t = TinyCascade(kFeatures);
         return t.replace(t.find("<stageNum>1"), 11, "<stageNum>3");
       }()},
  };
  for (const auto& c : cases) {
    Cascade cascade;
    std::string error;
    EXPECT_FALSE(Parses(c.text, &cascade, &error)) << c.what;
    EXPECT_FALSE(error.empty()) << c.what;
    EXPECT_TRUE(cascade.stages.empty()) << c.what;
  }
}

TEST(CascadeLoader, MessagesCarryTheLine) {
  XmlNode root;
  std::string error;
  EXPECT_FALSE(ParseXml("<root>\n\n<a>\n</b></root>", &root, &error));
  EXPECT_NE(error.find("line 4"), std::string::npos) << error;
}

Cascade LoadData(const std::string& name) {
  Cascade cascade;
  std::string error;
  EXPECT_TRUE(LoadCascade(std::string(OMB_DATA_DIR) + "/" + name, &cascade, &error)) << error;
  return cascade;
}

Image GreyData(const std::string& name) {
  Image picture;
  std::string error;
  EXPECT_TRUE(ReadImage(std::string(OMB_DATA_DIR) + "/" + name, &picture, &error)) << error;
  return ToGrey(picture);
}

// Grey levels spread evenly over mean - spread .. mean + spread.
Image Texture(int w, int h, int mean, int spread, unsigned seed) {
  Image grey(w, h, 1);
  for (std::uint8_t& p : grey.pixels) {
    seed = seed * 1103515245u + 12345u;
    p = static_cast<std::uint8_t>(mean - spread + static_cast<int>((seed >> 16) % (2 * spread + 1)));
  }
  return grey;
}

const char kTilted[] = "haarcascade_frontalcatface_extended.xml";
const char kFace[] = "haarcascade_frontalface_default.xml";

TEST(Detector, RectanglesSumTheirFootprint) {
  const Image grey = Texture(44, 40, 128, 127, 7);
  std::string error;
  const auto detector = Detector::Create(LoadData(kTilted), &error);
  ASSERT_NE(detector, nullptr) << error;
  const CascadeRect rects[] = {{8, 4, 1, 1, 1}, {12, 2, 4, 3, 1}, {6, 3, 2, 5, 1}, {3, 0, 4, 3, 1}};
  for (const bool tilted : {false, true}) {
    std::vector<CascadeFeature> features;
    for (const CascadeRect& r : rects) features.push_back({{r}, tilted});
    for (const auto& [wx, wy] : {std::pair{3, 5}, std::pair{17, 0}}) {
      const auto got = detector->FeatureSums(grey, 1.0, features, wx, wy);
      for (std::size_t i = 0; i < features.size(); ++i) {
        const CascadeRect& r = rects[i];
        const auto at = [&](int x, int y) { return grey.row(wy + y)[wx + x]; };
        double want = 0;
        for (int a = 0; a < r.width; ++a)
          for (int b = 0; b < r.height; ++b)
            want += tilted ? at(r.x - 1 + a - b, r.y + a + b) + at(r.x - 1 + a - b, r.y + a + b + 1)
                           : at(r.x + a, r.y + b);
        EXPECT_EQ(got[i], want) << (tilted ? "tilted " : "upright ") << r.x << "," << r.y << " "
                                << r.width << "x" << r.height << " at " << wx << "," << wy;
      }
    }
  }
}

TEST(Detector, FeaturesOfAConstantWindowAreZeroAtEveryScale) {
  const Image grey(150, 120, 1, 137);
  std::string error;
  for (const char* name : {kFace, kTilted}) {
    const Cascade cascade = LoadData(name);
    const auto detector = Detector::Create(cascade, &error);
    ASSERT_NE(detector, nullptr) << error;
    for (const double scale : {1.0, 1.1, 1.61, 2.59, 4.17})
      for (const double sum : detector->FeatureSums(grey, scale, cascade.features, 5, 3))
        ASSERT_EQ(sum, 0.0) << name << " at scale " << scale;
  }
}

TEST(Detector, NearFlatWindowsAreNotCandidates) {
  std::string error;
  const auto detector = Detector::Create(LoadData(kFace), &error);
  ASSERT_NE(detector, nullptr) << error;
  for (const int spread : {4, 40}) {  // deviations of about 2.6 and 23 grey levels
    DetectStats stats;
    const auto hits = detector->Hits(Texture(120, 100, 128, spread, 3), DetectOptions(), &stats);
    if (spread == 4) {
      EXPECT_EQ(stats.stages[0].entering, 0);
      EXPECT_TRUE(hits.empty());
    } else {
      EXPECT_GT(stats.stages[0].entering, stats.windows / 2);
    }
  }
}

TEST(Detector, WindowsEveryTwoPixelsUpToScaleTwo) {
  std::string error;
  const auto detector = Detector::Create(LoadData(kFace), &error);
  ASSERT_NE(detector, nullptr) << error;
  DetectOptions options;
  options.scale_step = 1.25;
  DetectStats stats;
  detector->Hits(Texture(101, 77, 128, 60, 5), options, &stats);
  // Scales 1, 1.25 .. 1.95 every second pixel, 2.44 and 3.05 every pixel.
  std::int64_t want = 0;
  for (double s = 1.0; std::lround(77 / s) >= 24; s *= 1.25) {
    const std::int64_t w = std::lround(101 / s) - 23, h = std::lround(77 / s) - 23;
    want += s <= 2.0 ? ((w + 1) / 2) * ((h + 1) / 2) : w * h;
  }
  EXPECT_EQ(stats.windows, want);
  EXPECT_EQ(stats.scales, 6);
}

TEST(Detector, LibraryStagesAgreeWithTheOwnEvaluator) {
  std::string error;
  for (const auto& [name, picture] : {std::pair{kTilted, "chelsea_framed.png"},
                                      std::pair{kFace, "faces/astronaut.jpg"}}) {
    const Cascade cascade = LoadData(name);
    const auto library = Detector::Create(cascade, &error, true);
    const auto own = Detector::Create(cascade, &error, false);
    ASSERT_TRUE(library && own) << error;
    const Image grey = GreyData(picture);
    const auto a = library->Hits(grey, DetectOptions()), b = own->Hits(grey, DetectOptions());
    ASSERT_FALSE(a.empty()) << name;
    ASSERT_EQ(a.size(), b.size()) << name;
    for (std::size_t i = 0; i < a.size(); ++i)
      EXPECT_TRUE(a[i].x == b[i].x && a[i].y == b[i].y && a[i].width == b[i].width) << name;
  }
}

TEST(Detector, SameHitsAtAnyThreadCount) {
  std::string error;
  const auto detector = Detector::Create(LoadData(kTilted), &error);
  ASSERT_NE(detector, nullptr) << error;
  const Image grey = GreyData("chelsea_framed.png");
  DetectOptions options;
  options.scale_step = 1.05;
  const int saved = omp_get_max_threads();
  std::vector<std::vector<Detection>> runs;
  for (int threads = 1; threads <= 3; ++threads) {
    omp_set_num_threads(threads);
    runs.push_back(detector->Hits(grey, options));
  }
  omp_set_num_threads(saved);
  ASSERT_FALSE(runs[0].empty());
  for (std::size_t r = 1; r < runs.size(); ++r) {
    ASSERT_EQ(runs[r].size(), runs[0].size());
    for (std::size_t i = 0; i < runs[0].size(); ++i) {
      EXPECT_EQ(runs[r][i].x, runs[0][i].x);
      EXPECT_EQ(runs[r][i].y, runs[0][i].y);
      EXPECT_EQ(runs[r][i].width, runs[0][i].width);
    }
  }
}

TEST(Detector, GroupingMergesNeighboursAndDropsLoners) {
  const std::vector<Detection> hits = {{100, 100, 50, 50, 1}, {103, 98, 52, 52, 1},
                                       {98, 101, 49, 49, 1},  {300, 10, 40, 40, 1},
                                       {110, 110, 20, 20, 1}, {111, 111, 20, 20, 1},
                                       {109, 110, 21, 21, 1}};
  const std::vector<Detection> groups = GroupHits(hits, 2);
  ASSERT_EQ(groups.size(), 1u);  // the loner is too weak, the small group lies inside
  EXPECT_EQ(groups[0].hits, 3);
  EXPECT_EQ(groups[0].x, 100);
  EXPECT_EQ(groups[0].width, 50);
  EXPECT_TRUE(GroupHits(hits, 3).empty());  // a detection needs more hits than N
  EXPECT_EQ(GroupHits(hits, 0).size(), 2u);   // the loner, and the big group
}

}  // namespace
}  // namespace omb_tool
