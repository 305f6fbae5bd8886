#include "cli.hpp"

namespace omb_tool {
namespace {

int Run(const Args&) { return Fail(PyramidCommand(), "not built yet"); }

}  // namespace

const Command& PyramidCommand() {
  static const Command command{"pyramid", "(being built)", "usage: omb pyramid\n", {}, 0, 8, Run};
  return command;
}

}  // namespace omb_tool
