// Benchmarks of the pyramidal optical flow.
#pragma once

namespace ombbench {

// Queues the family's table (see support/registry.hpp).
void AddOptFlowBenchmarks();

}  // namespace ombbench
