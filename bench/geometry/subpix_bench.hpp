// Benchmarks of the sub-pixel copies and line sampling.
#pragma once

namespace ombbench {

// Queues the family's table (see support/registry.hpp).
void AddSubpixBenchmarks();

}  // namespace ombbench
