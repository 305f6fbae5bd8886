#include "cli.hpp"

namespace omb_tool {
namespace {

int Run(const Args&) { return Fail(EdgesCommand(), "not built yet"); }

}  // namespace

const Command& EdgesCommand() {
  static const Command command{"edges", "(being built)", "usage: omb edges\n", {}, 0, 8, Run};
  return command;
}

}  // namespace omb_tool
