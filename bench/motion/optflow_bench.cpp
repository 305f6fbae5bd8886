#include "motion/optflow_bench.hpp"

namespace ombbench {

void AddOptFlowBenchmarks() {}

}  // namespace ombbench
