// Command-line plumbing shared by the omb subcommands: the command table,
// option parsing with range-checked typed values, and exit codes.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace omb_tool {

enum ExitCode { kExitOk = 0, kExitFailure = 1, kExitUsage = 2 };

struct OptionDef {
  std::string name;  // without the leading "--"
  bool takes_value;
};

// The parsed command line of one subcommand.
class Args {
 public:
  // Parses argv[0..argc) (the words after the subcommand name). Accepts
  // "--name value", "--name=value" and, for flags, "--name"; "--help" and
  // "-h" are always known, as is "--threads N". Anything else starting
  // with "-" (other than "-" itself or a number) is an unknown option.
  bool Parse(int argc, char** argv, const std::vector<OptionDef>& options, std::string* error);

  bool help() const { return help_; }
  const std::vector<std::string>& positional() const { return positional_; }
  bool Has(const std::string& name) const { return values_.count(name) != 0; }
  std::string GetString(const std::string& name, const std::string& fallback) const;

  // Value of an option, or the fallback when absent. A malformed value or
  // one outside [lo, hi] fails with a message naming the option.
  bool GetInt(const std::string& name, int fallback, int lo, int hi, int* out,
              std::string* error) const;
  bool GetDouble(const std::string& name, double fallback, double lo, double hi, double* out,
                 std::string* error) const;

 private:
  bool help_ = false;
  std::vector<std::string> positional_;
  std::map<std::string, std::string> values_;
};

struct Command {
  const char* name;
  const char* summary;  // one line for the command list
  const char* usage;    // the whole --help text of the subcommand
  std::vector<OptionDef> options;  // besides --help and --threads
  int min_positional;
  int max_positional;
  int (*run)(const Args& args);
};

const Command& DetectCommand();
const Command& EdgesCommand();
const Command& TrackCommand();
const Command& PyramidCommand();
const Command& InfoCommand();

// Runs one subcommand: parses, prints --help, checks the positional count,
// applies --threads to the library and to the tool's own parallel loops,
// then calls run. Messages go to stderr prefixed with "omb <name>: ".
int RunCommand(const Command& command, int argc, char** argv);

// Prints "omb <command>: <message>" to stderr and returns code.
int Fail(const Command& command, const std::string& message, int code = kExitFailure);

// Wall-clock milliseconds since an arbitrary start, for timings.
double NowMs();

}  // namespace omb_tool
