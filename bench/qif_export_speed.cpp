// What a QIF export costs on top of the extraction: for a synthetic results file, one process
// extracts it, another extracts it and writes its QIF document; each process's peak resident
// memory is the kernel's count for it alone, and the wall times are medians.
//
//   qif_export_speed [--runs N] [--points all|outside|none] [--output FILE] [POINTS]
//                                                      (default: 3 runs, all, /dev/null, 1000000)
//
// The export is streamed: its peak memory should stay within a few per cent of the extraction's.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "bench/results_file_generator.h"
#include "cncprobe/cncprobe.h"
#include "cncprobe/exchange/qif_writer.h"

namespace {

struct Measure {
  double seconds = 0.0;      // wall
  double cpu_seconds = 0.0;  // user + system: on a shared machine the steadier figure
  long peak_kib = 0;
};

// Runs `job` in a child process; its wall time and peak resident memory.
template <class Job>
Measure in_child(Job&& job) {
  const auto start = std::chrono::steady_clock::now();
  const pid_t child = fork();
  if (child == 0) _exit(job());
  int status = 0;
  rusage usage{};
  wait4(child, &status, 0, &usage);
  Measure m;
  m.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  m.peak_kib = usage.ru_maxrss;
  m.cpu_seconds = static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
                  static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    std::fprintf(stderr, "qif_export_speed: a job failed\n");
    std::exit(1);
  }
  return m;
}

Measure median(std::vector<Measure> runs) {
  std::sort(runs.begin(), runs.end(),
            [](const Measure& a, const Measure& b) { return a.seconds < b.seconds; });
  Measure m = runs[runs.size() / 2];
  for (const Measure& r : runs) m.peak_kib = std::max(m.peak_kib, r.peak_kib);
  return m;
}

}  // namespace

int main(int argc, char** argv) {
  int runs = 3;
  std::size_t points = 1000000;
  kptQifPoints which = kptQifPointsAll;
  std::string output = "/dev/null";
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--runs" && i + 1 < argc) {
      runs = std::max(1, std::atoi(argv[++i]));
    } else if (arg == "--points" && i + 1 < argc) {
      const std::string value = argv[++i];
      which = value == "none"      ? kptQifPointsNone
              : value == "outside" ? kptQifPointsOutside
                                   : kptQifPointsAll;
    } else if (arg == "--output" && i + 1 < argc) {
      output = argv[++i];
    } else {
      points = static_cast<std::size_t>(std::strtoull(argv[i], nullptr, 10));
    }
  }
  const std::string file = (std::filesystem::temp_directory_path() /
                            ("qif_export_speed_" + std::to_string(points) + ".res"))
                               .string();
  GeneratedResultsFile summary;
  if (!write_results_file(file, points, summary)) {
    std::fprintf(stderr, "qif_export_speed: cannot write %s\n", file.c_str());
    return 1;
  }
  std::vector<Measure> extract, exported;
  for (int r = 0; r < runs; ++r) {
    extract.push_back(in_child([&] {
      kptResultsDataExtractor extractor;
      return extractor.extract_data(utString(file.c_str())) == kptExtractionSuccess ? 0 : 1;
    }));
    exported.push_back(in_child([&] {
      kptResultsDataExtractor extractor;
      const kptResultsExtractionStatus status = extractor.extract_data(utString(file.c_str()));
      kptFileReferenceExtractor references;
      (void)references.extract(apPath(file));
      kptQifDocument document;
      document.file_name = file;
      document.content_digest = kptQifWriter::digest_of_file(utString(file.c_str()));
      document.points = which;
      document.time = "2026-11-23T10:15:00Z";
      return kptQifWriter::write_file(extractor, status, references, document,
                                      utString(output.c_str())) == kptQifWritten
                 ? 0
                 : 1;
    }));
  }
  const Measure e = median(extract);
  const Measure q = median(exported);
  std::uintmax_t bytes = 0;
  if (output != "/dev/null") bytes = std::filesystem::file_size(output);
  std::printf("points %zu, file %.1f MB\n", points, static_cast<double>(summary.bytes) / 1e6);
  std::printf("%-22s %8.2f s wall %8.2f s CPU  peak %8.1f MB\n", "extract", e.seconds,
              e.cpu_seconds, e.peak_kib / 1024.0);
  std::printf("%-22s %8.2f s wall %8.2f s CPU  peak %8.1f MB  (%+.1f%% memory)\n",
              "extract + QIF export", q.seconds, q.cpu_seconds, q.peak_kib / 1024.0,
              100.0 * (static_cast<double>(q.peak_kib) / static_cast<double>(e.peak_kib) - 1.0));
  std::printf("%-22s %8.2f s wall %8.2f s CPU\n", "QIF export alone", q.seconds - e.seconds,
              q.cpu_seconds - e.cpu_seconds);
  if (bytes > 0) std::printf("document %.1f MB\n", static_cast<double>(bytes) / 1e6);
  std::filesystem::remove(file);
  return 0;
}
