// omb_bench: every family's benchmarks and their copy references in one
// binary, so each kernel is compared with memcpy measured by the same
// process on the same machine.
#include "detection/haar_bench.hpp"
#include "detection/integral_bench.hpp"
#include "edges/canny_bench.hpp"
#include "edges/gradient_bench.hpp"
#include "filters/newconvol_bench.hpp"
#include "filters/separable_bench.hpp"
#include "geometry/subpix_bench.hpp"
#include "motion/optflow_bench.hpp"
#include "motion/pyramid_bench.hpp"
#include "pixelwise/pixelwise_bench.hpp"
#include "support/driver.hpp"
#include "tools/detect_bench.hpp"

int main(int argc, char** argv) {
  return ombbench::BenchMain(argc, argv,
                             [] {
                               ombbench::AddPixelwiseBenchmarks();
                               ombbench::AddIntegralBenchmarks();
                               ombbench::AddHaarBenchmarks();
                               ombbench::AddSeparableBenchmarks();
                               ombbench::AddNewConvolBenchmarks();
                               ombbench::AddCannyBenchmarks();
                               ombbench::AddGradientBenchmarks();
                               ombbench::AddPyramidBenchmarks();
                               ombbench::AddSubpixBenchmarks();
                               ombbench::AddOptFlowBenchmarks();
                               ombbench::AddDetectBenchmarks();
                             });
}
