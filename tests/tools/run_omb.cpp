#include "run_omb.hpp"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace omb_cli_test {

namespace fs = std::filesystem;

// A scratch directory per test process, removed when the process ends.
std::string ScratchDir() {
  struct Dir {
    std::string path;
    Dir() {
      char name[] = "/tmp/omb_cli_test_XXXXXX";
      if (mkdtemp(name) != nullptr) path = name;
    }
    ~Dir() {
      std::error_code ec;
      if (!path.empty()) fs::remove_all(path, ec);
    }
  };
  static Dir dir;
  return dir.path;
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

// Runs "omb <args>" through the shell, returns its exit code (-1 if it did
// not exit normally) and its standard output and error.
int RunOmb(const std::string& args, std::string* out, std::string* err) {
  const std::string dir = ScratchDir();
  const std::string o = dir + "/stdout.txt", e = dir + "/stderr.txt";
  const std::string cmd = std::string("'") + OMB_TOOL_PATH + "' " + args + " >'" + o + "' 2>'" + e + "'";
  const int raw = std::system(cmd.c_str());
  *out = ReadFile(o);
  *err = ReadFile(e);
  return raw != -1 && WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
}

}  // namespace omb_cli_test
