// Benchmarks of the row and column pipeline passes.
#pragma once

namespace ombbench {

// Queues the family's table (see support/registry.hpp).
void AddSeparableBenchmarks();

}  // namespace ombbench
