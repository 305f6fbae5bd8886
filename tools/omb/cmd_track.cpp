// omb track: well-textured points of one frame followed into the next with
// the library's pyramidal Lucas-Kanade tracker.
#include <cstdio>
#include <vector>

#include "cli.hpp"
#include "draw.hpp"
#include "features.hpp"
#include "motion_truth.hpp"
#include "ombcv.h"

namespace omb_tool {
namespace {

constexpr int kMinDistance = 10;   // pixels between chosen points, per axis
constexpr int kMaxIterations = 30;
constexpr float kStopStep = 1e-4f;  // squared step (px^2) that ends iterating
constexpr double kTolerance = 0.1;  // px, for the share of accurate points

// A rate-2 pyramid record of the library over levels owned here.
class Pyramid {
 public:
  Pyramid() = default;
  Pyramid(const Pyramid&) = delete;
  Pyramid& operator=(const Pyramid&) = delete;
  ~Pyramid() {
    if (record_) ombiPyramidFree(record_);
  }

  // Levels 0 .. min(levels, what the size allows); the record needs at
  // least one level above the base even when the tracker uses none.
  bool Build(const Image& base, int levels, std::string* error) {
    const OmbResult st =
        ombiPyramidInitAlloc(&record_, levels < 1 ? 1 : levels, {base.width, base.height}, 2.0f);
    if (st != ombResultOk) {
      record_ = nullptr;
      *error = LibraryError("pyramid set-up", st);
      return false;
    }
    levels_.assign(1, base);
    for (int l = 1; l <= record_->level; ++l) {
      Image next;
      if (!Reduce(levels_.back(), &next, error)) return false;
      levels_.push_back(std::move(next));
    }
    for (int l = 0; l <= record_->level; ++l) {
      Image& im = levels_[static_cast<std::size_t>(l)];
      if (record_->sizes[l].width != im.width || record_->sizes[l].height != im.height) {
        *error = "pyramid level " + std::to_string(l) + " has an unexpected size";
        return false;
      }
      record_->images[l] = im.pixels.data();
      record_->steps[l] = im.step();
    }
    return true;
  }
  OmbPyramidRecord* record() const { return record_; }

 private:
  OmbPyramidRecord* record_ = nullptr;
  std::vector<Image> levels_;
};

struct Options {
  int points = 500, window = 21, levels = 3;
  bool has_truth = false;
  AffineMotion truth;
};

int ParseOptions(const Command& cmd, const Args& args, Options* o) {
  std::string error;
  if (!args.GetInt("points", 500, 1, 100000, &o->points, &error) ||
      !args.GetInt("window", 21, 3, 99, &o->window, &error) ||
      !args.GetInt("levels", 3, 0, 10, &o->levels, &error)) {
    return Fail(cmd, error, kExitUsage);
  }
  if (o->window % 2 == 0) {
    return Fail(cmd, "option '--window' wants an odd size, not " + std::to_string(o->window),
                kExitUsage);
  }
  if (args.Has("truth")) {
    o->has_truth = true;
    if (!ReadAffineMotion(args.GetString("truth", ""), &o->truth, &error)) return Fail(cmd, error);
  }
  return kExitOk;
}

// Pyramid levels worth tracking on: a coarse level smaller than the window
// or than a few pixels holds no texture to lock onto, and a point lost
// there stays lost, so such levels are left out.
int UsableLevels(int width, int height, int window, int requested) {
  const int smallest = window > 16 ? window : 16;
  int levels = 0;
  while (levels < requested) {
    width = (width + 1) / 2;
    height = (height + 1) / 2;
    if (width < smallest || height < smallest) break;
    ++levels;
  }
  return levels;
}

bool ReadGrey(const std::string& path, Image* grey, std::string* error) {
  Image image;
  if (!ReadImage(path, &image, error)) return false;
  *grey = ToGrey(image);
  return true;
}

// Motion vectors on the second frame: tracked points as a green line from
// the old to the new position ending in a yellow dot, lost points as red
// dots where they started.
Image DrawTracks(const Image& second, const std::vector<OmbPoint32f>& prev,
                 const std::vector<OmbPoint32f>& next, const std::vector<Omb8s>& status) {
  Image canvas = ToRgb(second);
  for (std::size_t i = 0; i < prev.size(); ++i) {
    if (status[i] != 0) {
      DrawDot(&canvas, prev[i].x, prev[i].y, 2, {255, 40, 40});
      continue;
    }
    DrawLine(&canvas, prev[i].x, prev[i].y, next[i].x, next[i].y, {40, 255, 40});
    DrawDot(&canvas, next[i].x, next[i].y, 1, {255, 230, 0});
  }
  return canvas;
}

void PrintTruth(const AffineMotion& truth, const std::vector<OmbPoint32f>& prev,
                const std::vector<OmbPoint32f>& next, const std::vector<Omb8s>& status) {
  const TrackingError e = MeasureTrackingError(truth, prev, next, status, kTolerance);
  if (e.count == 0) {
    std::printf("error          no tracked points to measure\n");
    return;
  }
  std::printf("error (px)     mean %.4f, median %.4f, max %.4f\n", e.mean, e.median, e.max);
  std::printf("within %.1f px  %.1f%% of tracked points\n", kTolerance, 100.0 * e.share_within);
}

int Run(const Args& args) {
  const Command& cmd = TrackCommand();
  Options o;
  if (const int code = ParseOptions(cmd, args, &o); code != kExitOk) return code;
  const std::vector<std::string>& files = args.positional();
  std::string error;
  Image first, second;
  if (!ReadGrey(files[0], &first, &error) || !ReadGrey(files[1], &second, &error)) {
    return Fail(cmd, error);
  }
  if (first.width != second.width || first.height != second.height) {
    return Fail(cmd, "the frames differ in size: " + files[0] + " is " +
                         std::to_string(first.width) + " x " + std::to_string(first.height) +
                         ", " + files[1] + " is " + std::to_string(second.width) + " x " +
                         std::to_string(second.height));
  }

  const double t0 = NowMs();
  Derivatives d;
  if (!SobelDerivatives(first, 3, &d, &error)) return Fail(cmd, error);
  const std::vector<OmbPoint32f> prev =
      GoodPoints(d, first.width, first.height, o.points, kMinDistance, o.window / 2);
  if (prev.empty()) return Fail(cmd, files[0] + ": no well-textured points to track");
  const double t1 = NowMs();
  const int levels = UsableLevels(first.width, first.height, o.window, o.levels);
  Pyramid pa, pb;
  if (!pa.Build(first, levels, &error) || !pb.Build(second, levels, &error)) {
    return Fail(cmd, error);
  }
  const double t2 = NowMs();
  const int n = static_cast<int>(prev.size());
  std::vector<OmbPoint32f> next = prev;  // start from no motion
  std::vector<Omb8s> status(prev.size(), 0);
  std::vector<Omb32f> residual(prev.size(), 0.0f);
  OmbOptFlowPyrLKState_8u_C1R* state = nullptr;
  OmbResult st = ombiOpticalFlowPyrLKInitAlloc_8u_C1R(&state, {first.width, first.height}, o.window, 0);
  if (st != ombResultOk) return Fail(cmd, LibraryError("tracker set-up", st));
  const int max_level = levels < pa.record()->level ? levels : pa.record()->level;
  st = ombiOpticalFlowPyrLK_8u_C1R(pa.record(), pb.record(), prev.data(), next.data(), status.data(),
                                   residual.data(), n, o.window, max_level, kMaxIterations, kStopStep,
                                   state);
  ombiOpticalFlowPyrLKFree_8u_C1R(state);
  if (st != ombResultOk) return Fail(cmd, LibraryError("tracking", st));
  const double t3 = NowMs();

  int tracked = 0;
  for (Omb8s s : status) tracked += s == 0;
  if (!WriteImage(files[2], DrawTracks(second, prev, next, status), &error)) {
    return Fail(cmd, error);
  }
  std::printf("frames         %d x %d\n", first.width, first.height);
  std::printf("points         %d (window %d, levels %d of %d asked)\n", n, o.window, max_level,
              o.levels);
  std::printf("tracked        %d\n", tracked);
  std::printf("lost           %d\n", n - tracked);
  if (o.has_truth) PrintTruth(o.truth, prev, next, status);
  std::printf("points found   %.2f ms\n", t1 - t0);
  std::printf("pyramids       %.2f ms\n", t2 - t1);
  std::printf("tracking       %.2f ms\n", t3 - t2);
  std::printf("wrote          %s\n", files[2].c_str());
  return kExitOk;
}

}  // namespace

const Command& TrackCommand() {
  static const Command command{
      "track", "follow well-textured points from one frame into the next",
      "usage: omb track FIRST SECOND OUT [--points N] [--window W] [--levels L]\n"
      "                 [--truth FILE] [--threads N]\n"
      "\n"
      "Picks well-textured points in FIRST (largest smaller eigenvalue of the\n"
      "3x3 Sobel gradient structure tensor over a 7x7 block, strongest first,\n"
      "at least 10 pixels apart and half a window from the border), builds\n"
      "Gaussian pyramids of both frames and tracks the points into SECOND with\n"
      "pyramidal Lucas-Kanade (up to 30 iterations per level). Both frames must\n"
      "have the same size. Prints the numbers of tracked and lost points and\n"
      "the time of each step, and writes SECOND in colour to OUT with the\n"
      "motion of each tracked point drawn as a green line ending in a yellow\n"
      "dot; lost points are red dots.\n"
      "\n"
      "options:\n"
      "  --points N   most points to track, 1 to 100000 (default 500)\n"
      "  --window W   side of the tracking window, odd, 3 to 99 (default 21)\n"
      "  --levels L   pyramid levels above the frames, 0 to 10 (default 3); levels\n"
      "               smaller than the window or 16 pixels are left out\n"
      "  --truth FILE the true motion as a line 'affine a b c d e f' (a point\n"
      "               (x,y) moves to (a*x+b*y+c, d*x+e*y+f); '#' starts a\n"
      "               comment line); prints the mean, median and largest\n"
      "               distance of the tracked points from it and the share\n"
      "               within 0.1 pixel (default: none)\n"
      "  --threads N  threads for the library (default: all cores)\n",
      {{"points", true}, {"window", true}, {"levels", true}, {"truth", true}},
      3,
      3,
      Run};
  return command;
}

}  // namespace omb_tool
