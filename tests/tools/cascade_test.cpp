// The XML reader and the cascade loader on malformed and valid input, and
// the detector's independence of the thread count.
#include <gtest/gtest.h>
#include <omp.h>

#include <string>

#include "cascade.hpp"
#include "detector.hpp"
#include "xml.hpp"

namespace omb_tool {
namespace {

// A one-stage cascade of two stumps; the cases below swap in broken
// features, split nodes or window sizes.
std::string TinyCascade(const std::string& features, const std::string& nodes = "0 -1 1 0.5",
                        const std::string& window = "<width>6</width><height>6</height>") {
  return "<?xml version=\"1.0\"?>\n<!-- tiny -->\n<root><cascade>"
         "<stageType>BOOST</stageType><featureType>HAAR</featureType>" + window +
         "<stageNum>1</stageNum><stages><_><maxWeakCount>2</maxWeakCount>"
         "<stageThreshold>-1.5</stageThreshold><weakClassifiers>"
         "<_><internalNodes>0 -1 0 -0.25</internalNodes><leafValues>1 -1</leafValues></_>"
         "<_><internalNodes>" + nodes + "</internalNodes><leafValues>-1 1</leafValues></_>"
         "</weakClassifiers></_></stages><features>" + features + "</features></cascade></root>";
}

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
  ASSERT_EQ(c.stages[0].stumps.size(), 2u);
  const CascadeStump& s = c.stages[0].stumps[1];
  EXPECT_TRUE(s.tilted);
  EXPECT_FLOAT_EQ(s.threshold, 0.5f);
  EXPECT_FLOAT_EQ(s.right, 1.0f);
  EXPECT_EQ(s.rects[1].width, 1);
  EXPECT_FLOAT_EQ(s.rects[1].weight, 4.0f);
  EXPECT_NE(Detector::Create(c, &error), nullptr) << error;
}

TEST(CascadeLoader, OlderLayoutLoads) {
  const std::string text =
      "<storage><model type_id=\"x\"><size>6 6</size><stages><_><trees><_><_>"
      "<feature><rects><_>0 0 6 2 -1.</_><_>0 0 3 2 2.</_></rects><tilted>0</tilted>"
      "</feature><threshold>0.1</threshold><left_val>-1</left_val><right_val>1</right_val>"
      "</_></_></trees><stage_threshold>0</stage_threshold></_></stages></model></storage>";
  Cascade c;
  std::string error;
  ASSERT_TRUE(Parses(text, &c, &error)) << error;
  ASSERT_EQ(c.stages.size(), 1u);
  EXPECT_FLOAT_EQ(c.stages[0].stumps[0].left, -1.0f);
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
      {"deeper tree", TinyCascade(kFeatures, "1 -1 1 0.5 7")},
      {"not a stump", TinyCascade(kFeatures, "1 -1 1 0.5")},
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

TEST(Detector, SameHitsAtAnyThreadCount) {
  Cascade cascade;
  std::string error;
  ASSERT_TRUE(LoadCascade(std::string(OMB_DATA_DIR) + "/haarcascade_frontalcatface_extended.xml",
                          &cascade, &error))
      << error;
  const auto detector = Detector::Create(cascade, &error);
  ASSERT_NE(detector, nullptr) << error;
  Image picture;
  ASSERT_TRUE(ReadImage(std::string(OMB_DATA_DIR) + "/chelsea_framed.png", &picture, &error));
  const Image grey = ToGrey(picture);
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
  const std::vector<Detection> groups = GroupHits(hits, 3);
  ASSERT_EQ(groups.size(), 1u);  // the loner is too weak, the small group lies inside
  EXPECT_EQ(groups[0].hits, 3);
  EXPECT_EQ(groups[0].x, 100);
  EXPECT_EQ(groups[0].width, 50);
}

}  // namespace
}  // namespace omb_tool
