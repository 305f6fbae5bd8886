#include "cli.hpp"

namespace omb_tool {
namespace {

int Run(const Args&) { return Fail(InfoCommand(), "not built yet"); }

}  // namespace

const Command& InfoCommand() {
  static const Command command{"info", "(being built)", "usage: omb info\n", {}, 0, 8, Run};
  return command;
}

}  // namespace omb_tool
