#include "cli.hpp"

namespace omb_tool {
namespace {

int Run(const Args&) { return Fail(TrackCommand(), "not built yet"); }

}  // namespace

const Command& TrackCommand() {
  static const Command command{"track", "(being built)", "usage: omb track\n", {}, 0, 8, Run};
  return command;
}

}  // namespace omb_tool
