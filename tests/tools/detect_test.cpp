// omb detect as a user runs it: the cat face is found, a flat picture gives
// nothing, and bad input ends with a message and a non-zero status.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "image_io.hpp"
#include "run_omb.hpp"

namespace omb_tool {
namespace {

const std::string kData = OMB_DATA_DIR;
const std::string kCascade = kData + "/haarcascade_frontalcatface_extended.xml";

struct Outcome {
  int status;
  std::string output;  // stdout and stderr
};

Outcome RunTool(const std::string& arguments) {
  std::string out, err;
  const int status = omb_cli_test::RunOmb("detect " + arguments, &out, &err);
  return {status, out + err};
}

std::string TempPath(const std::string& name) { return omb_cli_test::ScratchDir() + "/" + name; }

struct Box {
  int x, y, w, h;
};

double Iou(Box a, Box b) {
  const int ix = std::max(0, std::min(a.x + a.w, b.x + b.w) - std::max(a.x, b.x));
  const int iy = std::max(0, std::min(a.y + a.h, b.y + b.h) - std::max(a.y, b.y));
  const double inter = static_cast<double>(ix) * iy;
  return inter / (static_cast<double>(a.w) * a.h + static_cast<double>(b.w) * b.h - inter);
}

// The detection lines "x y w h (hits n)" of the output.
std::vector<Box> Detections(const std::string& output) {
  std::vector<Box> boxes;
  std::size_t start = 0;
  while (start < output.size()) {
    const std::size_t end = std::min(output.find('\n', start), output.size());
    Box b;
    int hits;
    if (std::sscanf(output.substr(start, end - start).c_str(), "%d %d %d %d (hits %d)", &b.x,
                    &b.y, &b.w, &b.h, &hits) == 5)
      boxes.push_back(b);
    start = end + 1;
  }
  return boxes;
}

TEST(DetectTool, FramesTheCatFace) {
  const std::string out = TempPath("cat.png");
  // The default settings: scale step 1.1, two windows per detection.
  const Outcome o =
      RunTool("--cascade " + kCascade + " --verbose " + kData + "/chelsea_framed.png " + out);
  ASSERT_EQ(o.status, 0) << o.output;
  EXPECT_NE(o.output.find("found "), std::string::npos) << o.output;
  EXPECT_NE(o.output.find("stage  entering  survivors"), std::string::npos) << o.output;
  // Checked by eye on the written picture: the box frames the face.
  const Box face{175, 97, 96, 96};
  const std::vector<Box> found = Detections(o.output);
  EXPECT_TRUE(std::any_of(found.begin(), found.end(),
                          [&](const Box& b) { return Iou(b, face) >= 0.5; }))
      << o.output;
  Image written;
  std::string error;
  EXPECT_TRUE(ReadImage(out, &written, &error)) << error;
  EXPECT_EQ(written.width, 451);
  std::remove(out.c_str());
}

TEST(DetectTool, FlatPictureGivesNothing) {
  const std::string in = TempPath("flat.png"), out = TempPath("flat_out.png");
  std::string error;
  ASSERT_TRUE(WriteImage(in, Image(200, 150, 1, 90), &error)) << error;
  const Outcome o = RunTool("--cascade " + kCascade + " " + in + " " + out);
  EXPECT_EQ(o.status, 0) << o.output;
  EXPECT_NE(o.output.find("found 0 detection(s)"), std::string::npos) << o.output;
  EXPECT_TRUE(Detections(o.output).empty());
  std::remove(in.c_str());
  std::remove(out.c_str());
}

TEST(DetectTool, BadInputFailsWithAMessage) {
  const std::string bad = TempPath("bad.xml"), out = TempPath("never.png");
  std::ofstream(bad) << "<root><cascade><stageType>BOOST</stageType></cascade>";
  const std::string cat = kData + "/chelsea_framed.png";
  const struct {
    std::string arguments;
    int status;
    const char* message;
  } cases[] = {
      {"--cascade " + TempPath("missing.xml") + " " + cat + " " + out, 1, "cannot open"},
      {"--cascade " + bad + " " + cat + " " + out, 1, "bad cascade"},
      {"--cascade " + kCascade + " " + TempPath("missing.png") + " " + out, 1, "missing.png"},
      {"--cascade " + kCascade + " --scale-step 1 " + cat + " " + out, 2, "--scale-step"},
      {"--cascade " + kCascade + " --colour red " + cat + " " + out, 2, "unknown option"},
      {cat + " " + out, 2, "--cascade"},
      {"--cascade " + kCascade + " " + cat + " /nonexistent/dir/out.png", 1, "out.png"},
  };
  for (const auto& c : cases) {
    const Outcome o = RunTool(c.arguments);
    EXPECT_EQ(o.status, c.status) << c.arguments << "\n" << o.output;
    EXPECT_NE(o.output.find(c.message), std::string::npos) << c.arguments << "\n" << o.output;
  }
  std::remove(bad.c_str());
}

}  // namespace
}  // namespace omb_tool
