// ombcore: the library-wide thread count and facts about the processor.
// These are read from the running machine (sysconf and the kernel's sysfs
// topology files); nothing here reads environment variables.
#include "ombcore.h"

#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <fstream>
#include <set>
#include <string>

namespace {

int OnlineProcessors() {
  const long n = sysconf(_SC_NPROCESSORS_ONLN);
  return n > 0 ? static_cast<int>(n) : 1;
}

std::atomic<int> g_num_threads{OnlineProcessors()};

// Reads a sysfs size such as "32768K" or "2M"; 0 when absent.
long ReadCacheSize(const std::string& path) {
  std::ifstream in(path);
  long value = 0;
  char unit = 0;
  if (!(in >> value)) return 0;
  if (in >> unit) {
    if (unit == 'K') value *= 1024L;
    if (unit == 'M') value *= 1024L * 1024L;
  }
  return value;
}

int CoresOnDie() {
  // Distinct core ids that share processor 0's package.
  std::ifstream pkg0("/sys/devices/system/cpu/cpu0/topology/physical_package_id");
  int package0 = 0;
  if (!(pkg0 >> package0)) return 1;
  std::set<int> cores;
  const int cpus = static_cast<int>(sysconf(_SC_NPROCESSORS_CONF));
  for (int cpu = 0; cpu < cpus; ++cpu) {
    const std::string dir =
        "/sys/devices/system/cpu/cpu" + std::to_string(cpu) + "/topology/";
    std::ifstream pkg(dir + "physical_package_id");
    std::ifstream core(dir + "core_id");
    int p = 0, c = 0;
    if ((pkg >> p) && (core >> c) && p == package0) cores.insert(c);
  }
  return cores.empty() ? 1 : static_cast<int>(cores.size());
}

int MaxCacheBytes() {
  long best = 0;
  for (int index = 0; index < 16; ++index) {
    const long size = ReadCacheSize("/sys/devices/system/cpu/cpu0/cache/index" +
                                    std::to_string(index) + "/size");
    if (size > best) best = size;
  }
  // sysfs describes the real hierarchy; the C library's figures are only a
  // fallback, as under some hypervisors they scale the shared cache up.
#ifdef _SC_LEVEL3_CACHE_SIZE
  if (best == 0) for (int name : {_SC_LEVEL1_DCACHE_SIZE, _SC_LEVEL2_CACHE_SIZE,
                   _SC_LEVEL3_CACHE_SIZE, _SC_LEVEL4_CACHE_SIZE}) {
    const long size = sysconf(name);
    if (size > best) best = size;
  }
#endif
  return best > 0x7fffffffL ? 0x7fffffff : static_cast<int>(best);
}

}  // namespace

extern "C" {

OMB_API int threads_omp_of_n_omb = OnlineProcessors();

OMB_API OmbResult ombGetNumThreads(int* pNumThreads) {
  if (pNumThreads == nullptr) return ombResultNullPointer;
  *pNumThreads = g_num_threads.load(std::memory_order_relaxed);
  return ombResultOk;
}

OMB_API OmbResult ombSetNumThreads(int numThreads) {
  if (numThreads < 1) return ombResultBadArgument;
  g_num_threads.store(numThreads, std::memory_order_relaxed);
  threads_omp_of_n_omb = numThreads;
  return ombResultOk;
}

OMB_API int ombGetNumCoresOnDie(void) {
  static const int cores = CoresOnDie();
  return cores;
}

OMB_API OmbResult ombGetMaxCacheSizeB(int* pSizeBytes) {
  if (pSizeBytes == nullptr) return ombResultNullPointer;
  static const int bytes = MaxCacheBytes();
  *pSizeBytes = bytes;
  return ombResultOk;
}

OMB_API const char* ombGetStatusString(OmbResult status) {
  switch (status) {
    case ombResultOk: return "No error";
    case ombResultError: return "Unspecified internal failure";
    case ombResultBadArgument: return "Option or parameter outside its set or range";
    case ombResultBadSize: return "Size below its minimum";
    case ombResultNullPointer: return "Null pointer";
    case ombResultNoMemory: return "Not enough memory";
    case ombResultOutOfRange: return "Point or value outside its range";
    case ombResultBadDataType: return "Data type not supported";
    case ombResultBadStep: return "Step smaller than a row";
    case ombResultBadMaskSize: return "Mask size not supported";
    case ombResultBadAnchor: return "Anchor outside the kernel";
    case ombResultBadChannelOfInterest: return "Channel of interest outside 1..3";
    case ombResultBadChannelCount: return "Channel count not 1 or 3";
    case ombResultBadMetric: return "Distance weight below 1";
    case ombResultMisalignedStep: return "Step not a multiple of the element size";
    case ombResultNotSupportedMode: return "Mode not supported";
    case ombResultSqrtNegativeWarning: return "Warning: square root of a negative value, 0 stored";
    case ombResultDivByZeroWarning: return "Warning: division by zero";
    case ombResultKernelNotSymmetricWarning: return "Warning: kernel is not symmetric";
  }
  return "Unknown status code";
}

}  // extern "C"
