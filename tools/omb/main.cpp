// omb: runs the library's main pipelines (object detection, edges, tracking,
// pyramids) on image files.
#include <cstdio>
#include <cstring>

#include "cli.hpp"

namespace {

using omb_tool::Command;

const Command* const kCommands[] = {
    &omb_tool::DetectCommand(), &omb_tool::EdgesCommand(), &omb_tool::TrackCommand(),
    &omb_tool::PyramidCommand(), &omb_tool::InfoCommand()};

void PrintOverview(std::FILE* out) {
  std::fputs(
      "usage: omb <command> [options] [arguments]\n"
      "\n"
      "Runs the ombcv library on image files (PNG, JPEG, PGM/PPM and other\n"
      "formats the image library reads).\n"
      "\n"
      "commands:\n",
      out);
  for (const Command* c : kCommands) std::fprintf(out, "  %-9s %s\n", c->name, c->summary);
  std::fputs(
      "\n"
      "Every command takes --help and --threads N (threads for the library and\n"
      "for the tool's own parallel work; default: all cores).\n",
      out);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    PrintOverview(stderr);
    return omb_tool::kExitUsage;
  }
  if (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0 ||
      std::strcmp(argv[1], "help") == 0) {
    PrintOverview(stdout);
    return omb_tool::kExitOk;
  }
  for (const Command* c : kCommands) {
    if (std::strcmp(argv[1], c->name) == 0) {
      return omb_tool::RunCommand(*c, argc - 2, argv + 2);
    }
  }
  std::fprintf(stderr, "omb: unknown command '%s'\n\n", argv[1]);
  PrintOverview(stderr);
  return omb_tool::kExitUsage;
}
