#include "motion/pyramid_bench.hpp"

namespace ombbench {

void AddPyramidBenchmarks() {}

}  // namespace ombbench
