// omb pyramid: a Gaussian reduction pyramid written level by level.
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "cli.hpp"
#include "features.hpp"

namespace omb_tool {
namespace {

int Run(const Args& args) {
  const Command& cmd = PyramidCommand();
  std::string error;
  int levels = 0;
  if (!args.GetInt("levels", 4, 0, 30, &levels, &error)) return Fail(cmd, error, kExitUsage);
  const std::string& in_path = args.positional()[0];
  const std::filesystem::path out_dir = args.positional()[1];

  Image level;
  if (!ReadImage(in_path, &level, &error)) return Fail(cmd, error);
  std::error_code ec;
  std::filesystem::create_directories(out_dir, ec);
  if (ec || !std::filesystem::is_directory(out_dir)) {
    return Fail(cmd, out_dir.string() + ": cannot create directory" +
                         (ec ? ": " + ec.message() : std::string()));
  }
  std::printf("%s image, %d channel%s\n", level.channels == 3 ? "colour" : "grey", level.channels,
              level.channels == 1 ? "" : "s");
  double reduce_ms = 0;
  for (int i = 0; i <= levels; ++i) {
    if (i > 0) {
      // A 1x1 level reduces to itself; further levels would add nothing.
      if (level.width == 1 && level.height == 1) {
        std::printf("stopped after level %d: the image is down to 1 x 1\n", i - 1);
        break;
      }
      const double t0 = NowMs();
      if (!Reduce(level, &level, &error)) return Fail(cmd, error);
      reduce_ms += NowMs() - t0;
    }
    const std::string name = (out_dir / ("level_" + std::to_string(i) + ".png")).string();
    if (!WriteImage(name, level, &error)) return Fail(cmd, error);
    std::printf("level %-2d %5d x %-5d %s\n", i, level.width, level.height, name.c_str());
  }
  std::printf("reduction  %.2f ms\n", reduce_ms);
  return kExitOk;
}

}  // namespace

const Command& PyramidCommand() {
  static const Command command{
      "pyramid", "Gaussian reduction pyramid of an image, one file per level",
      "usage: omb pyramid IMAGE OUTDIR [--levels L] [--threads N]\n"
      "\n"
      "Builds a Gaussian pyramid of IMAGE: each level is the previous one\n"
      "smoothed with the 5x5 Gaussian kernel and halved, to ((w+1)/2, (h+1)/2).\n"
      "Grey images stay grey, anything else is reduced as RGB. Writes\n"
      "OUTDIR/level_0.png (the input) to OUTDIR/level_L.png, creating OUTDIR if\n"
      "needed, and prints the size of each level. Stops early once a level is\n"
      "1 x 1.\n"
      "\n"
      "options:\n"
      "  --levels L   reductions above the input, 0 to 30 (default 4)\n"
      "  --threads N  threads for the library (default: all cores)\n",
      {{"levels", true}},
      2,
      2,
      Run};
  return command;
}

}  // namespace omb_tool
