// omb info: the library version, its thread count, facts about the
// processor, and the SIMD target the library's dynamic dispatch runs on.
#include <hwy/targets.h>

#include <cstdint>
#include <cstdio>
#include <string>

#include "cli.hpp"
#include "ombcore.h"
#include "ombcv.h"

namespace omb_tool {
namespace {

const char* OrNone(const char* s) { return s ? s : "(none)"; }

// The library exports nothing about its dispatch, but it is built with
// Highway's default target set, as this tool is: dispatch runs the best
// (lowest-bit) target that is both compiled in and supported by the CPU.
void PrintSimd() {
  const std::int64_t supported = hwy::SupportedTargets();
  const std::int64_t usable = supported & static_cast<std::int64_t>(HWY_TARGETS);
  const auto bits = static_cast<std::uint64_t>(usable);
  const auto best = static_cast<std::int64_t>(bits & (~bits + 1));  // lowest set bit
  std::printf("SIMD target     %s\n", best ? hwy::TargetName(best) : "(none)");
  std::string list;
  for (std::uint64_t bit = 1; bit != 0; bit <<= 1) {
    const auto target = static_cast<std::int64_t>(bit);
    if ((supported & target) == 0) continue;
    if (!list.empty()) list += ", ";
    list += hwy::TargetName(target);
    if ((usable & target) == 0) list += " (not compiled in)";
  }
  std::printf("CPU supports    %s\n", list.c_str());
}

int Run(const Args&) {
  const OmbLibraryVersion* v = ombcvGetLibVersion();
  if (v == nullptr) return Fail(InfoCommand(), "the library gave no version record");
  std::printf("library         %s\n", OrNone(v->libraryName));
  std::printf("version         %s (%d.%d, build %d.%d)\n", OrNone(v->versionText), v->versionMajor,
              v->versionMinor, v->buildMajor, v->buildNumber);
  std::printf("CPU code        %.4s\n", v->cpuCode);
  std::printf("build date      %s\n", OrNone(v->buildDateText));
  int threads = 0, cache = 0;
  if (ombGetNumThreads(&threads) != ombResultOk) threads = 0;
  if (ombGetMaxCacheSizeB(&cache) != ombResultOk) cache = 0;
  std::printf("threads         %d\n", threads);
  std::printf("cores on die    %d\n", ombGetNumCoresOnDie());
  std::printf("largest cache   %d bytes (%d KiB)\n", cache, cache / 1024);
  PrintSimd();
  return kExitOk;
}

}  // namespace

const Command& InfoCommand() {
  static const Command command{
      "info", "library version, threads, processor and SIMD target",
      "usage: omb info [--threads N]\n"
      "\n"
      "Prints the library's version record (name, version numbers, CPU code,\n"
      "build date), the number of threads it uses, the processor cores on one\n"
      "die, the size of the largest processor cache, the SIMD instruction set\n"
      "the library's dynamic dispatch picks on this machine, and every SIMD\n"
      "target the processor supports.\n"
      "\n"
      "options:\n"
      "  --threads N  threads for the library (default: all cores); the count\n"
      "               printed reflects it\n",
      {},
      0,
      0,
      Run};
  return command;
}

}  // namespace omb_tool
