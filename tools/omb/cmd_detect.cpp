#include "cli.hpp"

namespace omb_tool {
namespace {

int Run(const Args&) { return Fail(DetectCommand(), "not built yet"); }

}  // namespace

const Command& DetectCommand() {
  static const Command command{"detect", "(being built)", "usage: omb detect\n", {}, 0, 8, Run};
  return command;
}

}  // namespace omb_tool
