#!/usr/bin/env python3
"""Times the Python package on a large results file: the extraction itself, then
Extraction.points and to_pandas() (the feature-checks frame included), and weighs the point
arrays against the numbers the points carry.

    ./dev build bench
    build/bench/bench/generate_results_file 1000000 /tmp/run_1m.res
    PYTHONPATH=build/bench/python /usr/bin/python3 bench/python_benchmark.py /tmp/run_1m.res
"""

import argparse
import gc
import time
import tracemalloc

import cncprobe


def best_of(repeats, fn):
    best, value = float("inf"), None
    for _ in range(repeats):
        gc.collect()
        start = time.perf_counter()
        value = fn()
        best = min(best, time.perf_counter() - start)
    return best, value


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("file")
    parser.add_argument("--repeats", type=int, default=3)
    args = parser.parse_args()

    extract_s, run = best_of(args.repeats, lambda: cncprobe.extract(args.file))

    def convert():
        run._points = None  # the points are cached after the first use
        points = run.points
        return points, run.to_pandas()

    convert_s, (points, _) = best_of(args.repeats, convert)
    points_s, _ = best_of(args.repeats, lambda: (setattr(run, "_points", None), run.points))
    n = len(points)

    run._points = None
    tracemalloc.start()
    points = run.points
    _, peak = tracemalloc.get_traced_memory()
    tracemalloc.stop()
    # What each point is: 13 numbers of its records (nominal 3, direction 3, O, U, L,
    # measured 3, R) as doubles, its path, toolpath id and instance as 32-bit integers, and the
    # library's deviation (double) and verdict (one byte).
    record_numbers = 13 * 8
    identity = 3 * 4
    checks = 8 + 1
    numbers = n * (record_numbers + identity + checks)

    print(f"file:                      {args.file}")
    print(f"points:                    {n}  (status {run.status.name.lower()}, "
          f"{len(run.probe_paths)} probe paths, {len(run.features)} features)")
    print(f"extraction:                {extract_s:.3f} s")
    print(f"points + to_pandas():      {convert_s:.3f} s  ({convert_s / extract_s:.0%} of the "
          f"extraction; points alone {points_s:.3f} s)")
    print(f"point arrays:              {points.nbytes / 1e6:.1f} MB  ({points.nbytes / n:.0f} "
          f"bytes a point)")
    print(f"the points' numbers:       {numbers / 1e6:.1f} MB  ({record_numbers} bytes of record "
          f"numbers + {identity} of path/toolpath/instance + {checks} of deviation/verdict)")
    print(f"arrays / numbers:          {points.nbytes / numbers:.3f}  (peak allocated while "
          f"filling: {peak / numbers:.3f})")
    ok = convert_s <= 0.5 * extract_s and peak <= 1.2 * numbers
    print("targets (<= 50% of the extraction, <= numbers + 20%):", "met" if ok else "NOT met")


if __name__ == "__main__":
    main()
