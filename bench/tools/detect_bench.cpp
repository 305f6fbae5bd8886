#include "tools/detect_bench.hpp"

namespace ombbench {

void AddDetectBenchmarks() {}

}  // namespace ombbench
