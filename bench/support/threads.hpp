// The two thread counts every benchmark runs at: 1 and the library default
// (the number of online processors). The library-wide count is set for the
// duration of one benchmark run and restored afterwards.
#pragma once

#include <vector>

namespace ombbench {

// Number of online processors: the library's default thread count.
int DefaultThreadCount();

// {1, DefaultThreadCount()}, or just {1} on a single-processor machine.
std::vector<int> BenchThreadCounts();

// Sets the library thread count for its lifetime, then restores the old one.
class ThreadScope {
 public:
  explicit ThreadScope(int threads);
  ~ThreadScope();
  ThreadScope(const ThreadScope&) = delete;
  ThreadScope& operator=(const ThreadScope&) = delete;

 private:
  int saved_ = 1;
};

}  // namespace ombbench
