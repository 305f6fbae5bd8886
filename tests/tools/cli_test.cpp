// The omb binary run as a user runs it: help texts, usage and file errors
// with their exit codes, and the results of edges, pyramid and info.
#include <gtest/gtest.h>
#include <filesystem>
#include <fstream>
#include <string>

#include "image_io.hpp"
#include "ombcv.h"
#include "run_omb.hpp"

namespace {

using omb_cli_test::RunOmb;
using omb_cli_test::ScratchDir;

const std::string kData = OMB_DATA_DIR;

struct Case {
  std::string args;
  int code;
  std::string message;  // expected in stderr
};

void ExpectFails(const Case& c) {
  std::string out, err;
  EXPECT_EQ(RunOmb(c.args, &out, &err), c.code) << c.args << "\n" << err;
  EXPECT_NE(err.find(c.message), std::string::npos) << c.args << ": stderr was\n" << err;
}

TEST(OmbCli, EveryCommandHasHelp) {
  for (const char* name : {"detect", "edges", "track", "pyramid", "info"}) {
    std::string out, err;
    EXPECT_EQ(RunOmb(std::string(name) + " --help", &out, &err), 0) << name;
    EXPECT_EQ(out.rfind(std::string("usage: omb ") + name, 0), 0u) << out;
  }
}

TEST(OmbCli, BadUsageExitsWithTwo) {
  const std::string a = kData + "/camera_a.png", o = ScratchDir() + "/o.png";
  const Case cases[] = {
      {"edges " + a, 2, "missing arguments"},
      {"edges " + a + " " + o + " --bogus", 2, "unknown option '--bogus'"},
      {"edges " + a + " " + o + " --mask 4", 2, "--mask"},
      {"edges " + a + " " + o + " --mask", 2, "needs a value"},
      {"edges " + a + " " + o + " --low abc", 2, "--low"},
      {"edges " + a + " " + o + " --low 200 --high 100", 2, "low threshold"},
      {"track " + a + " " + a, 2, "missing arguments"},
      {"track " + a + " " + a + " " + o + " --window 20", 2, "odd"},
      {"track " + a + " " + a + " " + o + " --points 0", 2, "--points"},
      {"track " + a + " " + a + " " + o + " --levels 11", 2, "--levels"},
      {"pyramid " + a + " " + o + " --levels -1", 2, "--levels"},
      {"info extra", 2, "too many arguments"},
      {"info --threads 0", 2, "--threads"},
  };
  for (const Case& c : cases) ExpectFails(c);
}

TEST(OmbCli, FileErrorsExitWithOneAndNameTheFile) {
  const std::string dir = ScratchDir(), a = kData + "/camera_a.png", o = dir + "/o.png";
  const std::string garbage = dir + "/garbage.png", missing = dir + "/missing.png";
  const std::string bad_truth = dir + "/bad_motion.txt", huge = dir + "/huge.pgm";
  std::ofstream(garbage) << "this is not a picture\n";
  std::ofstream(huge) << "P5\n60000 60000\n255\nabc";  // claims 3.6 Gpixel
  std::ofstream(bad_truth) << "# comment\naffine 1 0 0 0 1\n";
  const Case cases[] = {
      {"edges " + missing + " " + o, 1, missing},
      {"edges " + garbage + " " + o, 1, garbage},
      {"pyramid " + garbage + " " + dir + "/p", 1, garbage},
      {"edges " + huge + " " + o, 1, huge},
      {"track " + a + " " + missing + " " + o, 1, missing},
      {"track " + a + " " + a + " " + o + " --truth " + missing, 1, missing},
      {"track " + a + " " + a + " " + o + " --truth " + bad_truth, 1, bad_truth + ":2"},
      {"track " + a + " " + kData + "/chelsea_framed.png " + o, 1, "differ in size"},
  };
  for (const Case& c : cases) ExpectFails(c);
}

TEST(OmbCli, EdgesOfThePhotograph) {
  const std::string out_path = ScratchDir() + "/edges.png";
  for (const char* mask : {"3", "5"}) {
    std::string out, err;
    ASSERT_EQ(RunOmb("edges " + kData + "/camera_a.png " + out_path + " --mask " + mask, &out, &err), 0)
        << err;
    EXPECT_NE(out.find("edge pixels"), std::string::npos) << out;
    omb_tool::Image edges;
    std::string error;
    ASSERT_TRUE(omb_tool::ReadImage(out_path, &edges, &error)) << error;
    ASSERT_EQ(edges.channels, 1);
    ASSERT_EQ(edges.width, 512);
    ASSERT_EQ(edges.height, 512);
    std::size_t on = 0, other = 0;
    for (std::uint8_t v : edges.pixels) {
      on += v == 255;
      other += v != 0 && v != 255;
    }
    EXPECT_EQ(other, 0u);
    // Both masks' default thresholds mark a modest share of a photograph.
    const double share = double(on) / double(edges.pixels.size());
    EXPECT_GT(share, 0.02) << "mask " << mask;
    EXPECT_LT(share, 0.20) << "mask " << mask;
  }
}

TEST(OmbCli, PyramidLevelSizes) {
  const std::string dir = ScratchDir();
  const std::string tiny = dir + "/tiny.png";
  std::string error;
  ASSERT_TRUE(omb_tool::WriteImage(tiny, omb_tool::Image(3, 2, 1, 77), &error)) << error;
  struct Expect {
    std::string input, levels;
    std::vector<std::pair<int, int>> sizes;
    int channels;
  };
  const Expect cases[] = {
      {kData + "/chelsea_framed.png", "3", {{451, 300}, {226, 150}, {113, 75}, {57, 38}}, 3},
      {tiny, "6", {{3, 2}, {2, 1}, {1, 1}}, 1},  // stops at 1 x 1
  };
  for (const Expect& c : cases) {
    const std::string out_dir = dir + "/pyr_" + c.levels;
    std::string out, err;
    ASSERT_EQ(RunOmb("pyramid " + c.input + " " + out_dir + " --levels " + c.levels, &out, &err), 0)
        << err;
    for (std::size_t i = 0; i < c.sizes.size(); ++i) {
      omb_tool::Image level;
      ASSERT_TRUE(omb_tool::ReadImage(out_dir + "/level_" + std::to_string(i) + ".png", &level, &error))
          << error;
      EXPECT_EQ(level.width, c.sizes[i].first) << c.input << " level " << i;
      EXPECT_EQ(level.height, c.sizes[i].second) << c.input << " level " << i;
      EXPECT_EQ(level.channels, c.channels) << c.input << " level " << i;
    }
    EXPECT_FALSE(std::filesystem::exists(out_dir + "/level_" + std::to_string(c.sizes.size()) + ".png"));
  }
}

TEST(OmbCli, InfoPrintsVersionAndTarget) {
  std::string out, err;
  ASSERT_EQ(RunOmb("info --threads 2", &out, &err), 0) << err;
  EXPECT_NE(out.find(ombcvGetLibVersion()->versionText), std::string::npos) << out;
  EXPECT_NE(out.find("threads         2\n"), std::string::npos) << out;
  EXPECT_EQ(out.find("SIMD target     (none)"), std::string::npos) << out;
  EXPECT_NE(out.find("SIMD target"), std::string::npos) << out;
}

}  // namespace
