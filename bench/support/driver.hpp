// The benchmark binary's driver: default options, registration and
// reporting.
//
// Benchmarks are timed on the wall clock (the library runs its own threads,
// whose time the benchmark thread's CPU clock would miss). The harness
// marks such benchmarks by appending "/real_time" to their names; the
// reporters here leave that suffix out, so every result is named exactly
// <function>/<width>x<height>/threads:<n>, on the console and in JSON
// (--benchmark_format=json, or --benchmark_out=FILE with the default
// --benchmark_out_format=json). A --benchmark_filter ending in '$' is
// widened to match the suffixed names the harness filters on.
#pragma once

namespace ombbench {

// Each benchmark runs at least this long unless --benchmark_min_time is
// given; it keeps the whole suite near a minute on a two-core machine.
inline constexpr const char* kDefaultMinTime = "0.1";

// All processors copy for this long before the first benchmark (see
// WarmUpProcessors).
inline constexpr double kWarmUpSeconds = 0.5;

// Parses the command line, calls add_families() to queue every family's
// table, registers everything and runs the benchmarks the filter selects.
// Returns the process exit code.
int BenchMain(int argc, char** argv, void (*add_families)());

}  // namespace ombbench
