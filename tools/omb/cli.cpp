#include "cli.hpp"

#include <omp.h>

#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <type_traits>
#include <new>

#include "ombcore.h"

namespace omb_tool {
namespace {

bool LooksLikeNumber(const std::string& s) {
  if (s.size() < 2 || s[0] != '-') return false;
  char* end = nullptr;
  std::strtod(s.c_str(), &end);
  return end && *end == '\0';
}

}  // namespace

bool Args::Parse(int argc, char** argv, const std::vector<OptionDef>& options,
                 std::string* error) {
  std::vector<OptionDef> known = options;
  known.push_back({"threads", true});
  for (int i = 0; i < argc; ++i) {
    const std::string word = argv[i];
    if (word == "--help" || word == "-h") {
      help_ = true;
      continue;
    }
    if (word.size() < 2 || word[0] != '-' || LooksLikeNumber(word)) {
      positional_.push_back(word);
      continue;
    }
    if (word.compare(0, 2, "--") != 0) {
      *error = "unknown option '" + word + "'";
      return false;
    }
    std::string name = word.substr(2);
    std::string value;
    bool has_value = false;
    const std::size_t eq = name.find('=');
    if (eq != std::string::npos) {
      value = name.substr(eq + 1);
      name.resize(eq);
      has_value = true;
    }
    const OptionDef* def = nullptr;
    for (const OptionDef& o : known) {
      if (o.name == name) def = &o;
    }
    if (def == nullptr) {
      *error = "unknown option '--" + name + "'";
      return false;
    }
    if (def->takes_value && !has_value) {
      if (i + 1 >= argc) {
        *error = "option '--" + name + "' needs a value";
        return false;
      }
      value = argv[++i];
    } else if (!def->takes_value && has_value) {
      *error = "option '--" + name + "' takes no value";
      return false;
    }
    values_[name] = value;
  }
  return true;
}

std::string Args::GetString(const std::string& name, const std::string& fallback) const {
  const auto it = values_.find(name);
  return it == values_.end() ? fallback : it->second;
}

namespace {

// Parses the whole of s as a number of type T within [lo, hi]: a long
// integer in base 10, or a finite double.
template <typename T>
bool ParseNumber(const std::string& s, T lo, T hi, T* out) {
  char* end = nullptr;
  errno = 0;
  T v;
  if constexpr (std::is_integral_v<T>) {
    const long l = std::strtol(s.c_str(), &end, 10);
    if (l < lo || l > hi) return false;
    v = static_cast<T>(l);
  } else {
    v = std::strtod(s.c_str(), &end);
    if (!std::isfinite(v)) return false;
  }
  if (s.empty() || *end != '\0' || errno != 0 || v < lo || v > hi) return false;
  *out = v;
  return true;
}

template <typename T>
bool GetNumber(const std::map<std::string, std::string>& values, const std::string& name,
               T fallback, T lo, T hi, const char* what, T* out, std::string* error) {
  const auto it = values.find(name);
  if (it == values.end()) {
    *out = fallback;
    return true;
  }
  if (ParseNumber(it->second, lo, hi, out)) return true;
  std::ostringstream range;
  range << what << " from " << lo << " to " << hi;
  *error = "option '--" + name + "' wants " + range.str() + ", not '" + it->second + "'";
  return false;
}

}  // namespace

bool Args::GetInt(const std::string& name, int fallback, int lo, int hi, int* out,
                  std::string* error) const {
  return GetNumber(values_, name, fallback, lo, hi, "an integer", out, error);
}

bool Args::GetDouble(const std::string& name, double fallback, double lo, double hi,
                     double* out, std::string* error) const {
  return GetNumber(values_, name, fallback, lo, hi, "a number", out, error);
}

int Fail(const Command& command, const std::string& message, int code) {
  std::fprintf(stderr, "omb %s: %s\n", command.name, message.c_str());
  return code;
}

int RunCommand(const Command& command, int argc, char** argv) {
  Args args;
  std::string error;
  if (!args.Parse(argc, argv, command.options, &error)) {
    Fail(command, error, kExitUsage);
    std::fprintf(stderr, "Try 'omb %s --help'.\n", command.name);
    return kExitUsage;
  }
  if (args.help()) {
    std::fputs(command.usage, stdout);
    return kExitOk;
  }
  const int n = static_cast<int>(args.positional().size());
  if (n < command.min_positional || n > command.max_positional) {
    Fail(command, n < command.min_positional ? "missing arguments" : "too many arguments",
         kExitUsage);
    std::fprintf(stderr, "Try 'omb %s --help'.\n", command.name);
    return kExitUsage;
  }
  int threads = 0;
  if (!args.GetInt("threads", 0, 1, 256, &threads, &error)) {
    return Fail(command, error, kExitUsage);
  }
  if (threads > 0) {
    ombSetNumThreads(threads);
    omp_set_num_threads(threads);
  }
  // Buffers follow the picture size, so a huge picture can exhaust memory;
  // that ends the command with a message rather than an abort.
  try {
    return command.run(args);
  } catch (const std::bad_alloc&) {
    return Fail(command, "out of memory");
  }
}

double NowMs() {
  using Clock = std::chrono::steady_clock;
  return std::chrono::duration<double, std::milli>(Clock::now().time_since_epoch()).count();
}

}  // namespace omb_tool
