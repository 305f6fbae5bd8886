#include "support/threads.hpp"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "ombcore.h"

namespace ombbench {

int DefaultThreadCount() {
  const long n = sysconf(_SC_NPROCESSORS_ONLN);
  return n > 0 ? static_cast<int>(n) : 1;
}

std::vector<int> BenchThreadCounts() {
  const int n = DefaultThreadCount();
  if (n == 1) return {1};
  return {1, n};
}

ThreadScope::ThreadScope(int threads) {
  if (ombGetNumThreads(&saved_) != ombResultOk) saved_ = DefaultThreadCount();
  if (ombSetNumThreads(threads) != ombResultOk) {
    std::fprintf(stderr, "ombSetNumThreads(%d) failed\n", threads);
    std::abort();
  }
}

ThreadScope::~ThreadScope() { ombSetNumThreads(saved_); }

}  // namespace ombbench
