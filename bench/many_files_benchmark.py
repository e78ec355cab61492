#!/usr/bin/env python3
"""Times the front ends on many small files: the tool over all of them in one process, the
Python package file by file, with extract_many and with read_frames, and cncprobe.dask on one
and on two workers.

    ./dev build bench
    PYTHONPATH=build/bench/python /usr/bin/python3 bench/many_files_benchmark.py \\
        --tool build/bench/tools/cncprobe examples/bracket_mm.txt

The small files are copies of the given file (10,000 by default, in a temporary folder). The
Dask comparison reads them, and 200 files of 400 points each, written here. Every figure is the best of
--repeats runs; CPU seconds are given beside the wall-clock seconds because the machine may be
shared (files a second are counted on the wall clock).
"""

import argparse
import os
import resource
import shutil
import statistics
import subprocess
import tempfile
import time

import cncprobe


def best_of(repeats, fn):
    best_wall, best_cpu = float("inf"), float("inf")
    for _ in range(repeats):
        wall, cpu = time.perf_counter(), time.process_time()
        fn()
        best_wall = min(best_wall, time.perf_counter() - wall)
        best_cpu = min(best_cpu, time.process_time() - cpu)
    return best_wall, best_cpu


def tool_run(repeats, command):
    """Wall and CPU seconds (user + system of the child) of the best run."""
    best_wall, best_cpu = float("inf"), float("inf")
    for _ in range(repeats):
        before = resource.getrusage(resource.RUSAGE_CHILDREN)
        wall = time.perf_counter()
        with open(os.devnull, "wb") as sink:
            done = subprocess.run(command, stdout=sink, stderr=subprocess.PIPE, check=False)
        wall = time.perf_counter() - wall
        after = resource.getrusage(resource.RUSAGE_CHILDREN)
        if done.returncode not in (0, 1):
            raise SystemExit(f"{command[:3]}: exit {done.returncode}: {done.stderr[:200]}")
        best_wall = min(best_wall, wall)
        best_cpu = min(best_cpu, after.ru_utime - before.ru_utime + after.ru_stime - before.ru_stime)
    return best_wall, best_cpu


def line(name, files, megabytes, wall, cpu):
    print(f"{name:<44} {wall:7.3f} s  {files / wall:8.0f} files/s  {megabytes / wall:6.1f} MB/s"
          f"  (CPU {cpu:.3f} s, {files / cpu:.0f} files/s of CPU)")


def small_files(folder, source, count):
    files = []
    for i in range(count):
        path = os.path.join(folder, f"run{i:05}.txt")
        shutil.copyfile(source, path)
        files.append(path)
    return files


def dask_files(folder, count=200, points=400):
    """Files of `points` measured points each (a probe path of ten points and a circle per ten)."""
    files = []
    for f in range(count):
        lines = ["START 'BENCH'", f"RESULTSFILE RUN{f}.TXT"]
        for p in range(points // 10):
            lines.append(f"TOOLPATHID {2 * p + 1}")
            for i in range(10):
                x = 10.0 + i + p
                lines.append(f"G800 N{2 * i + 1} X{x:.3f} Y{p:.3f} Z0 I0 J0 K1 O0 U0.05 L-0.05")
                lines.append(f"G801 N{2 * i + 2} X{x:.3f} Y{p:.3f} Z{0.001 * ((i + f) % 7 - 3):.4f}"
                             " R2.5")
            lines += [f"TOOLPATHID {2 * p + 2}", "-" * 32, f"COMPONENT NO 1 FEATURE NO {p + 1}",
                      "-" * 32, "SIZE D 25.000 ACTUAL 25.012 TOL 0.050 DEV 0.012",
                      "POSN X 10.000 ACTUAL 10.004 TOL TP 0.100 DEV 0.004",
                      "POSN Y 20.000 ACTUAL 19.998 TOL TP 0.100 DEV -0.002"]
        lines.append("END")
        path = os.path.join(folder, f"big{f:03}.res")
        with open(path, "w") as out:
            out.write("\n".join(lines) + "\n")
        files.append(path)
    return files


def one_core():
    """Pins this process (and what it starts) to one core, for the one-core figures."""
    if hasattr(os, "sched_setaffinity"):
        os.sched_setaffinity(0, {min(os.sched_getaffinity(0))})


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("file", help="the small file to copy (examples/bracket_mm.txt)")
    parser.add_argument("--tool", help="the cncprobe tool; its runs are skipped without it")
    parser.add_argument("--count", type=int, default=10000)
    parser.add_argument("--repeats", type=int, default=3)
    parser.add_argument("--no-dask", action="store_true")
    args = parser.parse_args()

    with tempfile.TemporaryDirectory() as folder:
        files = small_files(folder, args.file, args.count)
        n = len(files)
        mb = n * os.path.getsize(args.file) / 1e6
        print(f"{n} copies of {args.file} ({mb:.1f} MB), best of {args.repeats}")

        if args.tool:
            for fmt in ("jsonl", "json", "text"):
                for threads in (1, 2):
                    wall, cpu = tool_run(args.repeats, [args.tool, "extract", *files, "--format",
                                                        fmt, "--threads", str(threads)])
                    line(f"tool extract --format {fmt} --threads {threads}", n, mb, wall, cpu)
            few = files[:200]
            wall = time.perf_counter()
            for f in few:
                subprocess.run([args.tool, "extract", f, "--format", "json"],
                               stdout=subprocess.DEVNULL, check=False)
            wall = time.perf_counter() - wall
            print(f"{'tool, one process per file (200 files)':<44} {wall:7.3f} s  "
                  f"{len(few) / wall:8.0f} files/s")

        all_cores = os.sched_getaffinity(0) if hasattr(os, "sched_getaffinity") else None
        one_core()
        loop = files[: min(n, 2000)]
        wall, cpu = best_of(1, lambda: [cncprobe.extract(f).to_pandas() for f in loop])
        line(f"python: extract + to_pandas in a loop ({len(loop)})", len(loop),
             mb * len(loop) / n, wall, cpu)
        wall, cpu = best_of(args.repeats, lambda: cncprobe.extract_many(files, threads=1))
        line("python: extract_many, one core", n, mb, wall, cpu)
        wall, cpu = best_of(args.repeats, lambda: cncprobe.read_frames(files, threads=1))
        line("python: read_frames, one core", n, mb, wall, cpu)
        wall, cpu = best_of(args.repeats,
                            lambda: cncprobe.read_frames(files, threads=1, labels=False))
        line("python: read_frames without labels, one core", n, mb, wall, cpu)
        if all_cores:
            os.sched_setaffinity(0, all_cores)
        wall, cpu = best_of(args.repeats, lambda: cncprobe.read_frames(files))
        line(f"python: read_frames, {os.cpu_count()} threads", n, mb, wall, cpu)

        if not args.no_dask:
            dask_benchmark(folder, args.repeats, files)


def dask_benchmark(folder, repeats, small):
    import dask
    import distributed

    import cncprobe.dask

    files = dask_files(folder)
    mb = sum(os.path.getsize(f) for f in files) / 1e6
    small_mb = sum(os.path.getsize(f) for f in small) / 1e6
    jobs = {
        f"{len(files)} files of 400 points ({mb:.1f} MB), partitions of 10 files":
            (files, 10, mb),
        f"the {len(small)} small files ({small_mb:.1f} MB), partitions of 500 files":
            (small, 500, small_mb),
    }

    def points(job, **kwargs):
        paths, per_partition, _ = jobs[job]
        return cncprobe.dask.read_points(paths, files_per_partition=per_partition).compute(**kwargs)

    for job, (paths, _, size) in jobs.items():
        with dask.config.set(scheduler="synchronous"):
            wall, cpu = best_of(repeats, lambda: points(job))
        line(f"dask: synchronous, {len(paths)} files", len(paths), size, wall, cpu)
    # Both clusters stay up and their runs alternate, so that a busy moment of the machine falls
    # on both alike; the medians are compared.
    clusters = {n: distributed.LocalCluster(n_workers=n, threads_per_worker=1, processes=True,
                                            host="127.0.0.1", dashboard_address=":0")
                for n in (1, 2)}
    clients = {n: distributed.Client(c, set_as_default=False) for n, c in clusters.items()}
    try:
        for job, (paths, _, size) in jobs.items():
            print(f"cncprobe.dask.read_points of {job}")
            walls = {1: [], 2: []}
            for n, client in clients.items():
                points(job, scheduler=client)  # the workers import the package once
            for _ in range(max(5, repeats)):
                for n, client in clients.items():
                    start = time.perf_counter()
                    points(job, scheduler=client)
                    walls[n].append(time.perf_counter() - start)
            for n in (1, 2):
                median = statistics.median(walls[n])
                print(f"dask: LocalCluster, {n} worker(s), median of {len(walls[n])} paired runs"
                      f"{'':<3} {median:7.3f} s  {len(paths) / median:8.0f} files/s"
                      f"  {size / median:6.1f} MB/s")
            print(f"dask: 2 workers / 1 worker: "
                  f"{statistics.median(walls[1]) / statistics.median(walls[2]):.2f} times as fast")
    finally:
        for n in clients:
            clients[n].close()
            clusters[n].close()


if __name__ == "__main__":
    main()
