// The omb tool's detection at scale step 1.1: cat faces on the bundled
// photographs, the full photo (chelsea.png) and the reduced one in a grey
// frame (chelsea_framed.png), both 451x300; human faces with the stock
// frontal-face cascade on a 1920x1080 photograph (flower_1080p.jpg). The cascade is
// loaded and the detector built once, outside the timed loop; one
// iteration is the whole detection of one picture: resampling at every
// scale, tables, deviations, all stages and the grouping.
//
// Counters: Mpix_per_s (picture pixels per wall-clock second) and
// us_per_pixel (microseconds per picture pixel). The detector spreads the
// scales over the OpenMP threads, so both the library and the OpenMP
// thread counts are set.
#include "tools/detect_bench.hpp"

#if defined(OMB_BENCH_HAS_TOOL)
#include <benchmark/benchmark.h>
#include <omp.h>

#include <chrono>
#include <cstdio>
#include <memory>
#include <string>

#include "detector.hpp"
#include "support/threads.hpp"
#endif

namespace ombbench {

#if defined(OMB_BENCH_HAS_TOOL)
namespace {

constexpr double kScaleStep = 1.1;

void RunDetect(benchmark::State& state, const std::string& cascade_file,
               const std::string& picture, int threads) {
  using omb_tool::Detector;
  std::string error;
  omb_tool::Cascade cascade;
  omb_tool::Image image;
  if (!omb_tool::LoadCascade(std::string(OMB_DATA_DIR) + "/" + cascade_file, &cascade, &error) ||
      !omb_tool::ReadImage(std::string(OMB_DATA_DIR) + "/" + picture, &image, &error)) {
    state.SkipWithError(error.c_str());
    return;
  }
  const std::unique_ptr<Detector> detector = Detector::Create(cascade, &error);
  if (!detector) {
    state.SkipWithError(error.c_str());
    return;
  }
  const omb_tool::Image grey = omb_tool::ToGrey(image);
  omb_tool::DetectOptions options;
  options.scale_step = kScaleStep;
  const ThreadScope scope(threads);
  const int saved = omp_get_max_threads();
  omp_set_num_threads(threads);
  benchmark::DoNotOptimize(detector->Detect(grey, options));  // warm-up
  const auto start = std::chrono::steady_clock::now();
  for (auto _ : state) benchmark::DoNotOptimize(detector->Detect(grey, options));
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  omp_set_num_threads(saved);
  const double pixels = static_cast<double>(grey.width) * grey.height *
                        static_cast<double>(state.iterations());
  state.SetItemsProcessed(static_cast<std::int64_t>(pixels));
  state.counters["Mpix_per_s"] = seconds > 0.0 ? pixels / seconds * 1e-6 : 0.0;
  state.counters["us_per_pixel"] = pixels > 0.0 ? seconds * 1e6 / pixels : 0.0;
}

}  // namespace

void AddDetectBenchmarks() {
  const struct {
    const char* name;  // omb_detect/<size>/<picture>[/<cascade>]
    const char* cascade;
    const char* picture;
  } cases[] = {
      {"451x300/chelsea", "haarcascade_frontalcatface_extended.xml", "chelsea.png"},
      {"451x300/chelsea_framed", "haarcascade_frontalcatface_extended.xml", "chelsea_framed.png"},
      {"1920x1080/flower/frontalface_default", "haarcascade_frontalface_default.xml",
       "flower_1080p.jpg"},
  };
  for (const auto& c : cases) {
    for (const int threads : BenchThreadCounts()) {
      const std::string name =
          "omb_detect/" + std::string(c.name) + "/threads:" + std::to_string(threads);
      benchmark::RegisterBenchmark(name.c_str(),
                                   [c, threads](benchmark::State& state) {
                                     RunDetect(state, c.cascade, c.picture, threads);
                                   })
          ->UseRealTime()
          ->Unit(benchmark::kMillisecond);
    }
  }
}

#else

void AddDetectBenchmarks() {}

#endif

}  // namespace ombbench
