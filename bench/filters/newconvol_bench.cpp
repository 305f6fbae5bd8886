#include "filters/newconvol_bench.hpp"

namespace ombbench {

void AddNewConvolBenchmarks() {}

}  // namespace ombbench
