#include "support/driver.hpp"

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "support/copy_reference.hpp"
#include "support/registry.hpp"
#include "support/threads.hpp"

namespace ombbench {
namespace {

// A reporter that prints every run under its plain registered name.
template <class Base>
class PlainNames : public Base {
 public:
  using Base::Base;
  void ReportRuns(
      const std::vector<benchmark::BenchmarkReporter::Run>& runs) override {
    std::vector<benchmark::BenchmarkReporter::Run> renamed = runs;
    for (auto& run : renamed) run.run_name.time_type.clear();
    Base::ReportRuns(renamed);
  }
};

// Value of --name=value, or null when absent.
const char* FlagValue(int argc, char** argv, const char* name) {
  const std::size_t len = std::strlen(name);
  const char* value = nullptr;
  for (int i = 1; i < argc; ++i) {
    if (std::strncmp(argv[i], name, len) == 0 && argv[i][len] == '=')
      value = argv[i] + len + 1;
  }
  return value;
}

// The harness matches --benchmark_filter against the suffixed name, so a
// pattern anchored with '$' after a plain name would match nothing. Every
// unescaped '$' is widened to also accept the suffix.
std::string WidenFilterAnchors(const std::string& filter) {
  std::string out;
  for (std::size_t i = 0; i < filter.size(); ++i) {
    if (filter[i] == '$' && (i == 0 || filter[i - 1] != '\\')) {
      out += "(/real_time)?";
    }
    out += filter[i];
  }
  return out;
}

bool IsTrue(const char* v) {
  return v != nullptr &&
         (std::strcmp(v, "true") == 0 || std::strcmp(v, "1") == 0 ||
          std::strcmp(v, "yes") == 0);
}

// Console or JSON with plain names; null for any other format, which then
// gets the harness's own reporter (and the suffixed names).
std::unique_ptr<benchmark::BenchmarkReporter> MakeReporter(
    const std::string& format, bool console_color, bool console_tabular) {
  if (format == "json")
    return std::make_unique<PlainNames<benchmark::JSONReporter>>();
  if (format == "console") {
    int opts = benchmark::ConsoleReporter::OO_None;
    if (console_color) opts |= benchmark::ConsoleReporter::OO_Color;
    if (console_tabular) opts |= benchmark::ConsoleReporter::OO_Tabular;
    return std::make_unique<PlainNames<benchmark::ConsoleReporter>>(
        static_cast<benchmark::ConsoleReporter::OutputOptions>(opts));
  }
  return nullptr;
}

}  // namespace

int BenchMain(int argc, char** argv, void (*add_families)()) {
  // Read the output flags before the harness consumes them.
  const char* format = FlagValue(argc, argv, "--benchmark_format");
  const char* out = FlagValue(argc, argv, "--benchmark_out");
  const char* out_format = FlagValue(argc, argv, "--benchmark_out_format");
  const char* color = FlagValue(argc, argv, "--benchmark_color");
  const bool tabular =
      IsTrue(FlagValue(argc, argv, "--benchmark_counters_tabular"));
  const bool use_color = color == nullptr || std::strcmp(color, "auto") == 0
                             ? isatty(STDOUT_FILENO) != 0
                             : IsTrue(color);

  std::vector<char*> args(argv, argv + argc);
  std::string filter_arg;
  for (char*& arg : args) {
    static const char kFilter[] = "--benchmark_filter=";
    if (std::strncmp(arg, kFilter, sizeof kFilter - 1) == 0) {
      filter_arg = kFilter + WidenFilterAnchors(arg + sizeof kFilter - 1);
      arg = filter_arg.data();
    }
  }
  std::string min_time = std::string("--benchmark_min_time=") + kDefaultMinTime;
  if (FlagValue(argc, argv, "--benchmark_min_time") == nullptr) {
    args.insert(args.begin() + 1, min_time.data());
  }
  int count = static_cast<int>(args.size());
  args.push_back(nullptr);
  benchmark::Initialize(&count, args.data());
  if (benchmark::ReportUnrecognizedArguments(count, args.data())) return 1;

  add_families();
  RegisterQueued();

  WarmUpProcessors(DefaultThreadCount(), kWarmUpSeconds);

  auto display = MakeReporter(format ? format : "console", use_color, tabular);
  std::unique_ptr<benchmark::BenchmarkReporter> file;
  if (out != nullptr && *out != '\0') {
    file = MakeReporter(out_format ? out_format : "json", false, tabular);
  }
  if (display && file) {
    benchmark::RunSpecifiedBenchmarks(display.get(), file.get());
  } else if (display && (out == nullptr || *out == '\0')) {
    benchmark::RunSpecifiedBenchmarks(display.get());
  } else {
    std::fprintf(stderr,
                 "note: output format without plain-name reporter; "
                 "names keep the /real_time suffix\n");
    benchmark::RunSpecifiedBenchmarks();
  }
  benchmark::Shutdown();
  return 0;
}

}  // namespace ombbench
