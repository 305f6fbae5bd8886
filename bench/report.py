#!/usr/bin/env python3
"""Table of omb_bench results and the check of the required figures.

Runs the benchmark binary with JSON output, or reads JSON files written
earlier (--benchmark_out=FILE or --benchmark_format=json), and prints one
row per benchmark: MPix/s, GB/s (bytes read plus written), the reference
copy's GB/s and of_copy (kernel bytes/s over copy bytes/s). With
--benchmark_repetitions the row shows the median of the repetitions and the
range of of_copy across them.

Then one PASS/FAIL line for each required figure: copy-relative figures and
absolute MPix/s figures at 1920x1080 on 1 thread, and for the filters that
split their rows among threads, the 2-thread speed-up over 1 thread.

Examples:
  bench/report.py                                  # run the whole suite
  bench/report.py --benchmark_filter='1920x1080/threads:1$' \\
                  --benchmark_repetitions=3        # extra flags go to the binary
  bench/report.py --json results.json              # read a saved run
  bench/report.py --strict ...                     # exit 1 when a figure fails
"""

import argparse
import json
import os
import signal
import statistics
import subprocess
import sys

REQUIRED_SIZE = "1920x1080/threads:1"

# (function, minimum of_copy) at REQUIRED_SIZE.
REQUIRED = [
    ("ombiAbsDiff_8u_C1R", 0.90),
    ("ombiAbsDiff_32f_C1R", 0.90),
    ("ombiAdd_8u32f_C1IR", 0.90),
    ("ombiAddWeighted_8u32f_C1IR", 0.90),
    ("ombiUpdateMotionHistory_8u32f_C1IR", 0.90),
    ("ombiAdd_8u32f_C1IMR", 0.75),
    ("ombiAddWeighted_8u32f_C1IMR", 0.75),
]

# (benchmark name without its "/threads:<n>" part, minimum MPix/s, or
# million elements/s for array functions, at 1 thread). The ones in
# REQUIRED_MPIX split their rows at 2 threads, so each also has to reach
# SCALING times its 1-thread figure there; SERIAL_MPIX are single-threaded
# functions.
SOBEL = ["SobelHoriz", "SobelVert", "SobelNegVert", "SobelHorizSecond",
         "SobelVertSecond", "SobelCross"]
REQUIRED_MPIX = (
    [("ombiFilter%sBorder_8u16s_C1R/1920x1080/3x3" % f, 3400) for f in SOBEL]
    + [("ombiFilter%sBorder_8u16s_C1R/1920x1080/5x5" % f, 650) for f in SOBEL]
    + [("ombiFilterScharrHorizBorder_8u16s_C1R/1920x1080/3x3", 3400),
       ("ombiFilterScharrVertBorder_8u16s_C1R/1920x1080/3x3", 3400),
       ("ombiFilterLaplacianBorder_8u16s_C1R/1920x1080/3x3", 1600),
       ("ombiFilterLaplacianBorder_8u16s_C1R/1920x1080/5x5", 250),
       ("ombiFilterLowpassBorder_8u_C1R/1920x1080/3x3", 1200),
       ("ombiFilterLowpassBorder_8u_C1R/1920x1080/5x5", 700),
       ("ombiFilterLowpassBorder_32f_C1R/1920x1080/3x3", 550),
       ("ombiFilterSobelHorizBorder_32f_C1R/1920x1080/3x3", 1700),
       ("ombiFilterSobelVertBorder_32f_C1R/1920x1080/3x3", 1700),
       ("ombiFilterRowBorderPipeline_8u16s_C1R+ombiFilterColumnPipeline_16s_C1R"
        "/1920x1080", 700),
       # the omb tool's detection at scale step 1.1: 1 MPix/s is
       # 1 microsecond per picture pixel
       ("omb_detect/451x300/chelsea", 1.0),
       ("omb_detect/1920x1080/flower/frontalface_default", 5.0)])
SCALING = 1.7
# Speed-ups at 2 threads that have to exceed SCALING.
SCALING_OF = {"omb_detect/1920x1080/flower/frontalface_default": 1.8}
SERIAL_MPIX = (
    [("ombiCanny_16s8u_C1R/1920x1080/photo", 560),
     ("ombibFastArctan_32f/2000x1000", 1300)]
    + [("ombiGradientColorToGray_8u_C3C1R/1920x1080/norm:%s" % n, 1500)
       for n in ("C", "L1", "L2")]
    + [("ombiPyrDown_Gauss5x5_8u_C1R/1920x1080", 3100),
       ("ombiPyrDown_Gauss5x5_8u_C3R/1920x1080", 850),
       ("ombiPyrDown_Gauss5x5_32f_C1R/1920x1080", 2000),
       ("ombiPyrUp_Gauss5x5_8u_C1R/1920x1080/from:half", 3000),
       ("ombiPyrUp_Gauss5x5_32f_C1R/1920x1080/from:half", 1200),
       # million windows / points per second
       ("ombiCopySubpixIntersect_8u16u_C1R_Sfs/1920x1080/win21x21", 1.5),
       ("ombiCopySubpix_8u_C1R/1920x1080/win21x21", 1.5),
       ("ombiOpticalFlowPyrLK_8u_C1R/640x480/photo-500pts", 0.09)])
# Absolute figures at 2 threads (million items per second).
TWO_THREAD = [("ombiOpticalFlowPyrLK_8u_C1R/640x480/photo-500pts", 0.14)]


def default_binary():
    repo = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    for build in ("build-bench", "build"):
        path = os.path.join(repo, build, "bench", "omb_bench")
        if os.access(path, os.X_OK):
            return path
    return None


def run_binary(binary, extra):
    cmd = [binary, "--benchmark_format=json"] + extra
    print("running: " + " ".join(cmd), file=sys.stderr)
    proc = subprocess.run(cmd, stdout=subprocess.PIPE, check=False)
    if proc.returncode != 0:
        sys.exit("benchmark binary exited with status %d" % proc.returncode)
    if not proc.stdout.strip():
        sys.exit("no benchmark ran (check --benchmark_filter)")
    return [json.loads(proc.stdout)]


def base_name(entry):
    # Harness-suffixed names (other output formats) are folded back.
    name = entry.get("run_name", entry["name"])
    return name[: -len("/real_time")] if name.endswith("/real_time") else name


class Row:
    def __init__(self, name):
        self.name = name
        self.runs = []  # one dict per repetition
        self.median = None  # aggregate entry, when only aggregates exist
        self.error = None

    def value(self, key):
        if self.runs:
            vals = [r[key] for r in self.runs if key in r]
            return statistics.median(vals) if vals else None
        if self.median is not None:
            return self.median.get(key)
        return None

    def of_copy_range(self):
        vals = [r["of_copy"] for r in self.runs if "of_copy" in r]
        if len(vals) < 2:
            return None
        return min(vals), max(vals)


def collect(documents):
    rows = {}
    order = []
    for doc in documents:
        for entry in doc.get("benchmarks", []):
            name = base_name(entry)
            if name not in rows:
                rows[name] = Row(name)
                order.append(name)
            row = rows[name]
            if entry.get("error_occurred"):
                row.error = entry.get("error_message", "error")
            elif entry.get("run_type", "iteration") == "iteration":
                row.runs.append(entry)
            elif entry.get("aggregate_name") == "median":
                row.median = entry
    return [rows[n] for n in order]


def warn_if_busy(documents, rows):
    # Each copy benchmark's of_copy is the harness's timing of the copy over
    # the cached reference: about 1 on a quiet machine. Far from 1 means
    # other work disturbed the run. The load average is only a lagging hint.
    for doc in documents:
        context = doc.get("context", {})
        load = context.get("load_avg") or []
        if load:
            print("run of %s: load average %s at start, %d cpus" % (
                context.get("date", "?"), " ".join("%.2f" % x for x in load),
                context.get("num_cpus", 0)))
    checks = [r.value("of_copy") for r in rows
              if r.name.startswith("copy/") and not r.error]
    checks = [c for c in checks if c is not None]
    if checks and (min(checks) < 0.85 or max(checks) > 1.15):
        print("warning: copy benchmarks range %.2f..%.2f of their reference"
              " (expected near 1): the machine was probably busy; rerun"
              % (min(checks), max(checks)))


def fmt(value, scale, digits):
    return "-" if value is None else "%.*f" % (digits, value * scale)


def print_table(rows):
    width = max([len("benchmark")] + [len(r.name) for r in rows])
    header = "%-*s %10s %9s %9s %8s  %s" % (
        width, "benchmark", "MPix/s", "GB/s", "copy GB/s", "of_copy", "of_copy range")
    print(header)
    print("-" * len(header))
    for r in rows:
        if r.error:
            print("%-*s  ERROR: %s" % (width, r.name, r.error))
            continue
        spread = r.of_copy_range()
        print("%-*s %10s %9s %9s %8s  %s" % (
            width, r.name,
            fmt(r.value("items_per_second"), 1e-6, 1),
            fmt(r.value("bytes_per_second"), 1e-9, 2),
            fmt(r.value("copy_GBps"), 1.0, 2),
            fmt(r.value("of_copy"), 1.0, 3),
            "%.3f..%.3f (%d runs)" % (spread[0], spread[1], len(r.runs)) if spread else ""))


def check_required(rows):
    by_name = {r.name: r for r in rows}
    met = 0
    print()
    print("Required figures (%s):" % REQUIRED_SIZE)
    for function, minimum in REQUIRED:
        name = "%s/%s" % (function, REQUIRED_SIZE)
        row = by_name.get(name)
        value = row.value("of_copy") if row is not None and not row.error else None
        if value is None:
            print("  FAIL %-52s not measured (need >= %.2f)" % (name, minimum))
            continue
        ok = value >= minimum
        met += ok
        print("  %s %-52s of_copy %.3f %s %.2f" % (
            "PASS" if ok else "FAIL", name, value, ">=" if ok else "<", minimum))
    for base, minimum in REQUIRED_MPIX + SERIAL_MPIX:
        one = by_name.get(base + "/threads:1")
        two = by_name.get(base + "/threads:2")
        rate1 = one.value("items_per_second") if one and not one.error else None
        rate2 = two.value("items_per_second") if two and not two.error else None
        if rate1 is None:
            print("  FAIL %-52s not measured (need >= %d MPix/s)" % (base, minimum))
        else:
            ok = rate1 * 1e-6 >= minimum
            met += ok
            print("  %s %-52s %.3f M/s %s %g" % (
                "PASS" if ok else "FAIL", base + "/threads:1", rate1 * 1e-6,
                ">=" if ok else "<", minimum))
        if (base, minimum) in SERIAL_MPIX:
            continue
        if rate1 is None or rate2 is None:
            print("  FAIL %-52s 2-thread speed-up not measured" % base)
            continue
        scaling = SCALING_OF.get(base, SCALING)
        ok = rate2 >= scaling * rate1
        met += ok
        print("  %s %-52s %.2fx at 2 threads %s %.1fx" % (
            "PASS" if ok else "FAIL", base, rate2 / rate1, ">=" if ok else "<",
            scaling))
    for base, minimum in TWO_THREAD:
        row = by_name.get(base + "/threads:2")
        rate = row.value("items_per_second") if row and not row.error else None
        if rate is None:
            print("  FAIL %-52s not measured (need >= %g M/s)" % (base + "/threads:2", minimum))
            continue
        ok = rate * 1e-6 >= minimum
        met += ok
        print("  %s %-52s %.3f M/s %s %g" % (
            "PASS" if ok else "FAIL", base + "/threads:2", rate * 1e-6,
            ">=" if ok else "<", minimum))
    total = (len(REQUIRED) + 2 * len(REQUIRED_MPIX) + len(SERIAL_MPIX)
             + len(TWO_THREAD))
    print("Required figures met: %d of %d" % (met, total))
    return met == total


def main():
    signal.signal(signal.SIGPIPE, signal.SIG_DFL)  # quiet under `| head`
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter,
        allow_abbrev=False)
    parser.add_argument("--json", action="append", metavar="FILE",
                        help="read results from FILE instead of running (repeatable)")
    parser.add_argument("--binary", default=None,
                        help="benchmark binary (default: build-bench/bench/omb_bench)")
    parser.add_argument("--strict", action="store_true",
                        help="exit with status 1 when a required figure is not met")
    args, extra = parser.parse_known_args()

    if args.json:
        documents = []
        for path in args.json:
            with open(path, encoding="utf-8") as f:
                documents.append(json.load(f))
    else:
        binary = args.binary or default_binary()
        if binary is None:
            sys.exit("no omb_bench binary found; build it or pass --binary/--json")
        documents = run_binary(binary, extra)

    rows = collect(documents)
    if not rows:
        sys.exit("no benchmark results")
    warn_if_busy(documents, rows)
    print_table(rows)
    ok = check_required(rows)
    return 0 if ok or not args.strict else 1


if __name__ == "__main__":
    sys.exit(main())
