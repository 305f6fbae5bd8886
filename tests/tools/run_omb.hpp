// Running the built omb binary from the tests, as a user would.
#pragma once

#include <string>

namespace omb_cli_test {

// A scratch directory per test process, removed when the process ends.
std::string ScratchDir();

// Runs "omb <args>" through the shell, returns its exit code (-1 if it did
// not exit normally) and its standard output and error.
int RunOmb(const std::string& args, std::string* out, std::string* err);

}  // namespace omb_cli_test
