// omb edges: Sobel derivatives and the library's Canny detector.
#include <cstdio>
#include <vector>

#include "cli.hpp"
#include "features.hpp"
#include "ombcv.h"

namespace omb_tool {
namespace {

// On a step edge the 5x5 Sobel kernels answer 12 times as strongly as the
// 3x3 ones (smoothing weight 16 against 4, difference weight 3 against 1),
// so their default thresholds are 12 times higher.
constexpr double kLow3 = 50, kHigh3 = 150, kScale5 = 12;
// The L1 magnitude of two 16-bit derivatives stays below this.
constexpr double kMaxThreshold = 65536;

int Run(const Args& args) {
  const Command& cmd = EdgesCommand();
  std::string error;
  int mask = 3;
  if (!args.GetInt("mask", 3, 3, 5, &mask, &error) || mask == 4) {
    return Fail(cmd, mask == 4 ? "option '--mask' wants 3 or 5, not '4'" : error, kExitUsage);
  }
  const double scale = mask == 5 ? kScale5 : 1.0;
  double low = 0, high = 0;
  if (!args.GetDouble("low", kLow3 * scale, 0, kMaxThreshold, &low, &error) ||
      !args.GetDouble("high", kHigh3 * scale, 0, kMaxThreshold, &high, &error)) {
    return Fail(cmd, error, kExitUsage);
  }
  if (low > high) {
    char msg[128];
    std::snprintf(msg, sizeof msg, "the low threshold (%g) is above the high one (%g)", low, high);
    return Fail(cmd, msg, kExitUsage);
  }
  const std::string& in_path = args.positional()[0];
  const std::string& out_path = args.positional()[1];
  Image image;
  if (!ReadImage(in_path, &image, &error)) return Fail(cmd, error);
  const Image grey = ToGrey(image);

  const double t0 = NowMs();
  Derivatives d;
  if (!SobelDerivatives(grey, mask, &d, &error)) return Fail(cmd, error);
  const double t1 = NowMs();
  const OmbRoiSize roi{grey.width, grey.height};
  int bytes = 0;
  OmbResult st = ombiCannyGetSize(roi, &bytes);
  if (st != ombResultOk) return Fail(cmd, LibraryError("edge buffer size", st));
  std::vector<Omb8u> buffer(static_cast<std::size_t>(bytes) + 1);
  Image edges(grey.width, grey.height, 1);
  const int dstep = grey.width * static_cast<int>(sizeof(Omb16s));
  st = ombiCanny_16s8u_C1R(d.dx.data(), dstep, d.dy.data(), dstep, edges.pixels.data(), edges.step(),
                           roi, static_cast<Omb32f>(low), static_cast<Omb32f>(high), buffer.data());
  if (st != ombResultOk) return Fail(cmd, LibraryError("edge detection", st));
  const double t2 = NowMs();

  long long count = 0;
  for (std::uint8_t v : edges.pixels) count += v != 0;
  if (!WriteImage(out_path, edges, &error)) return Fail(cmd, error);
  const double total = static_cast<double>(edges.pixels.size());
  std::printf("image        %d x %d\n", grey.width, grey.height);
  std::printf("thresholds   low %g, high %g (%dx%d Sobel)\n", low, high, mask, mask);
  std::printf("edge pixels  %lld (%.2f%%)\n", count, 100.0 * static_cast<double>(count) / total);
  std::printf("derivatives  %.2f ms\n", t1 - t0);
  std::printf("edges        %.2f ms\n", t2 - t1);
  std::printf("wrote        %s\n", out_path.c_str());
  return kExitOk;
}

}  // namespace

const Command& EdgesCommand() {
  static const Command command{
      "edges", "edge map of an image (Sobel derivatives, Canny hysteresis)",
      "usage: omb edges IMAGE OUT [--low L] [--high H] [--mask 3|5] [--threads N]\n"
      "\n"
      "Converts IMAGE to grey, takes its horizontal and vertical Sobel\n"
      "derivatives (edge pixels replicated beyond the border) and finds edges\n"
      "by non-maximum suppression of the L1 gradient magnitude and hysteresis\n"
      "between the two thresholds. Writes the edge map to OUT (grey, 255 on\n"
      "edges, 0 elsewhere; format from the extension) and prints the number of\n"
      "edge pixels and the time of each step.\n"
      "\n"
      "options:\n"
      "  --low L      weaker magnitude that continues an edge, 0 to 65536\n"
      "               (default 50 with the 3x3 mask, 600 with the 5x5 mask)\n"
      "  --high H     magnitude that starts an edge, at least L, up to 65536\n"
      "               (default 150 with the 3x3 mask, 1800 with the 5x5 mask;\n"
      "               the 5x5 derivatives are 12 times larger on a step edge)\n"
      "  --mask 3|5   Sobel kernel size (default 3)\n"
      "  --threads N  threads for the library (default: all cores)\n",
      {{"low", true}, {"high", true}, {"mask", true}},
      2,
      2,
      Run};
  return command;
}

}  // namespace omb_tool
