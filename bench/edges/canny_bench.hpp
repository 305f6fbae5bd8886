// Benchmarks of the Canny edge detector.
#pragma once

namespace ombbench {

// Queues the family's table (see support/registry.hpp).
void AddCannyBenchmarks();

}  // namespace ombbench
