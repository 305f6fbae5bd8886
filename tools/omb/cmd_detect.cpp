// omb detect: finds objects with a Haar cascade and draws them.
#include <cstdio>
#include <memory>
#include <string>

#include "cascade.hpp"
#include "cli.hpp"
#include "detector.hpp"
#include "draw.hpp"
#include "image_io.hpp"

namespace omb_tool {
namespace {

constexpr Rgb kBoxColour{0, 255, 0};
constexpr int kBoxThickness = 2;

void PrintStats(const DetectStats& s, double total_ms) {
  std::printf("%d scales, %lld windows, %lld raw hits, %.1f ms in all\n", s.scales,
              static_cast<long long>(s.windows), static_cast<long long>(s.raw_hits), total_ms);
  std::printf("resampling, tables, deviations: %.2f ms (thread time)\n", s.prepare_ms);
  std::printf("stage  entering  survivors  ms (thread time)\n");
  for (std::size_t i = 0; i < s.stages.size(); ++i) {
    const StageStats& t = s.stages[i];
    std::printf("%5zu  %8lld  %9lld  %.2f\n", i, static_cast<long long>(t.entering),
                static_cast<long long>(t.survivors), t.ms);
  }
}

int Run(const Args& args) {
  const Command& cmd = DetectCommand();
  std::string error;
  DetectOptions options;
  if (!args.GetDouble("scale-step", options.scale_step, 1.01, 4.0, &options.scale_step, &error) ||
      !args.GetInt("min-neighbors", options.min_neighbors, 0, 1000, &options.min_neighbors,
                   &error) ||
      !args.GetInt("min-size", 0, 0, 100000, &options.min_size, &error))
    return Fail(cmd, error, kExitUsage);
  if (!args.Has("cascade")) return Fail(cmd, "--cascade FILE.xml is required", kExitUsage);
  Cascade cascade;
  if (!LoadCascade(args.GetString("cascade", ""), &cascade, &error))
    return Fail(cmd, "bad cascade: " + error);
  const std::unique_ptr<Detector> detector = Detector::Create(cascade, &error);
  if (!detector) return Fail(cmd, "bad cascade: " + error);
  Image picture;
  if (!ReadImage(args.positional()[0], &picture, &error)) return Fail(cmd, error);
  const Image grey = ToGrey(picture);
  DetectStats stats;
  const double t0 = NowMs();
  const std::vector<Detection> found = detector->Detect(grey, options, &stats);
  const double ms = NowMs() - t0;
  std::printf("found %zu detection(s) in %.1f ms\n", found.size(), ms);
  Image out = ToRgb(picture);
  for (const Detection& d : found) {
    std::printf("%d %d %d %d (hits %d)\n", d.x, d.y, d.width, d.height, d.hits);
    DrawRect(&out, d.x, d.y, d.width, d.height, kBoxColour, kBoxThickness);
  }
  if (args.Has("verbose")) PrintStats(stats, ms);
  if (!WriteImage(args.positional()[1], out, &error)) return Fail(cmd, error);
  return kExitOk;
}

}  // namespace

const Command& DetectCommand() {
  static const Command command{
      "detect",
      "find objects (e.g. cat faces) with a Haar cascade",
      "usage: omb detect --cascade FILE.xml IMAGE OUT [options]\n"
      "\n"
      "Finds objects in IMAGE with a boosted cascade of Haar-like features in\n"
      "the XML cascade format (upright and tilted features, weak classifiers\n"
      "that are stumps or deeper trees, the current and the older layout),\n"
      "prints one line per detection and writes OUT, a colour copy of IMAGE\n"
      "with the detections framed in green. Colour pictures are turned grey\n"
      "for detection.\n"
      "\n"
      "The picture is resampled to scales 1, S, S^2, ... as long as it is at\n"
      "least as large as the cascade window. At each scale the window is\n"
      "placed every 2 pixels of the resampled picture while the scale is at\n"
      "most 2, every pixel beyond. Windows whose interior (the window less one\n"
      "pixel on every side) has a grey-level deviation of 10 or less are not\n"
      "looked at. Windows that pass every stage are grouped, and groups of N\n"
      "or fewer windows are dropped.\n"
      "\n"
      "output:\n"
      "  found <n> detection(s) in <t> ms\n"
      "  <x> <y> <width> <height> (hits <windows in the group>)   one per detection\n"
      "\n"
      "options:\n"
      "  --cascade FILE.xml   the cascade (required)\n"
      "  --scale-step S       factor between scales, 1.01 to 4 (default 1.1)\n"
      "  --min-neighbors N    a detection needs more than N windows, 0 to 1000\n"
      "                       (default 3; 0 keeps every window)\n"
      "  --min-size PX        smallest object side in pixels (default: the\n"
      "                       cascade window)\n"
      "  --verbose            per-stage counts and times, summed over scales\n"
      "                       (times are thread time)\n"
      "  --threads N          threads (default: all cores); results do not\n"
      "                       depend on it\n"
      "  --help               this text\n"
      "\n"
      "exit status: 0 done, 1 bad cascade or image or unwritable OUT,\n"
      "2 bad command line.\n",
      {{"cascade", true}, {"scale-step", true}, {"min-neighbors", true}, {"min-size", true},
       {"verbose", false}},
      2,
      2,
      Run};
  return command;
}

}  // namespace omb_tool
