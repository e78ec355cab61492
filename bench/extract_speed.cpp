// The speed table: for synthetic results files of several sizes, each job runs in a process of
// its own, so its peak resident memory is the kernel's count for that process alone, and its
// wall time is set beside `wc -l` reading the same file (in the page cache) in the same run.
//
//   extract_speed [--tool PATH] [--runs N] [POINTS...]      (default: 10000 100000 1000000)
//
// Jobs: "lines" reads the file into the cursor's lines and steps over them; "records" also offers
// every line to the results-file parser with no receiver, so every record and report is matched
// and its numbers read but no result is kept: the two are the floor under "extract", which keeps
// every result of extract_data until it ends; "extract_t2" is the same extraction on two threads
// (the file read and cut into lines in parts, its lines recognised in chunks). "refs" reads the
// reference lines (one is missing from the generated files, so it reads the whole file); with
// --tool, the tool's extract in JSON and in text with every point on one thread, and in JSON on
// two ("tool_json_t2"), output to /dev/null. Figures are medians.
#include <fcntl.h>
#include <spawn.h>
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
#include "cncprobe/resultsfile/results_file_parser.h"

extern char** environ;

namespace {

// The job a child process runs: 0 when it read the whole file as expected.
int run_child(const std::string& job, const char* path, std::size_t expected_results) {
  if (job == "extract" || job == "extract_t2") {
    kptResultsDataExtractor extractor;
    if (job == "extract_t2") extractor.set_threads(2);
    const kptResultsExtractionStatus status = extractor.extract_data(utString(path), kptUnits());
    return status == kptExtractionSuccess && extractor.number_of_results() == expected_results ? 0
                                                                                               : 1;
  }
  if (job == "lines" || job == "records") {
    const utString name(path);
    kptResultsFileCursor cursor(name);
    const kptResultsFileParser parser(kptUnits(),
                                      utObserverPtr<kptResultsFileParserCallback>(nullptr));
    std::size_t recognised = 0;
    while (++cursor) {
      if (job == "records") recognised += parser.parse_next_object(cursor) ? 1 : 0;
    }
    return cursor.line_count() > 0 && (job == "lines" || recognised > expected_results) ? 0 : 1;
  }
  if (job == "refs") {
    kptFileReferenceExtractor references;
    return references.extract(apPath(path)).ok() && references.cad_filename().valid() ? 0 : 1;
  }
  return 2;
}

struct Run {
  double seconds = 0.0;
  double cpu_seconds = 0.0;  // user and system time of the process: less swayed by a busy machine
  double peak_mib = 0.0;
  bool ok = false;
};

// Runs `argv` with its output to /dev/null; wall time and the child's own peak resident memory.
Run spawn_and_wait(const std::vector<std::string>& args) {
  std::vector<char*> argv;
  for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  Run run;
  const auto start = std::chrono::steady_clock::now();
  pid_t pid = 0;
  if (posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ) == 0) {
    int status = 0;
    rusage usage{};
    wait4(pid, &status, 0, &usage);
    run.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    run.peak_mib = static_cast<double>(usage.ru_maxrss) / 1024.0;
    const auto seconds_of = [](const timeval& t) {
      return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) / 1e6;
    };
    run.cpu_seconds = seconds_of(usage.ru_utime) + seconds_of(usage.ru_stime);
    run.ok = WIFEXITED(status) && (WEXITSTATUS(status) == 0);
  }
  posix_spawn_file_actions_destroy(&actions);
  return run;
}

// The median of `runs` runs, by time; the peak is the largest seen.
Run median_run(const std::vector<std::string>& args, int runs) {
  std::vector<Run> all;
  for (int i = 0; i < runs; ++i) all.push_back(spawn_and_wait(args));
  Run result;
  std::vector<double> times;
  std::vector<double> cpu_times;
  for (const Run& run : all) {
    times.push_back(run.seconds);
    cpu_times.push_back(run.cpu_seconds);
    result.peak_mib = std::max(result.peak_mib, run.peak_mib);
  }
  std::sort(times.begin(), times.end());
  std::sort(cpu_times.begin(), cpu_times.end());
  result.seconds = times[times.size() / 2];
  result.cpu_seconds = cpu_times[cpu_times.size() / 2];
  result.ok = std::all_of(all.begin(), all.end(), [](const Run& run) { return run.ok; });
  return result;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 5 && std::strcmp(argv[1], "--child") == 0) {
    return run_child(argv[2], argv[3], std::strtoull(argv[4], nullptr, 10));
  }
  std::string tool;
  int runs = 5;
  std::vector<std::size_t> sizes;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--tool") == 0 && i + 1 < argc) {
      tool = argv[++i];
    } else if (std::strcmp(argv[i], "--runs") == 0 && i + 1 < argc) {
      runs = std::max(1, std::atoi(argv[++i]));
    } else {
      sizes.push_back(std::strtoull(argv[i], nullptr, 10));
    }
  }
  if (sizes.empty()) sizes = {10'000, 100'000, 1'000'000};
  const std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
  const std::filesystem::path dir =
      std::filesystem::temp_directory_path() / ("cncprobe-speed-" + std::to_string(getpid()));
  std::filesystem::create_directories(dir);

  std::printf("%-9s %8s %12s %8s %7s %6s %10s %9s %8s %7s %9s | %s\n", "points", "file_MiB", "job",
              "median_s", "MB/s", "x_wc", "lines/s", "peak_MiB", "peak/file", "cpu_s", "cpu_MB/s",
              "wc -l median_s, cpu_s");
  int failures = 0;
  for (const std::size_t points : sizes) {
    GeneratedResultsFile file;
    const std::string path = (dir / ("run_" + std::to_string(points) + ".res")).string();
    if (!write_results_file(path, points, file)) return 1;
    const double mib = static_cast<double>(file.bytes) / (1024.0 * 1024.0);
    const std::string expected = std::to_string(file.probe_paths + file.features);
    // Twice untimed, so the file is in the page cache.
    spawn_and_wait({"/usr/bin/wc", "-l", path});
    const Run wc = median_run({"/usr/bin/wc", "-l", path}, runs);

    std::vector<std::pair<std::string, std::vector<std::string>>> jobs = {
        {"lines", {self, "--child", "lines", path, expected}},
        {"records", {self, "--child", "records", path, expected}},
        {"extract", {self, "--child", "extract", path, expected}},
        {"extract_t2", {self, "--child", "extract_t2", path, expected}},
        {"refs", {self, "--child", "refs", path, expected}},
    };
    if (!tool.empty()) {
      jobs.push_back({"tool_json", {tool, "extract", path, "--format", "json", "--threads", "1"}});
      jobs.push_back(
          {"tool_json_t2", {tool, "extract", path, "--format", "json", "--threads", "2"}});
      jobs.push_back(
          {"tool_text", {tool, "extract", path, "--format", "text", "--points", "--threads", "1"}});
    }
    for (const auto& [name, args] : jobs) {
      const Run run = median_run(args, runs);
      if (!run.ok) ++failures;
      std::printf(
          "%-9zu %8.1f %12s %8.3f %7.0f %6.1f %10.3g %9.1f %8.2f %7.3f %9.0f | %.4f %.4f%s\n",
          points, mib, name.c_str(), run.seconds,
          static_cast<double>(file.bytes) / 1e6 / run.seconds, run.seconds / wc.seconds,
          static_cast<double>(file.lines) / run.seconds, run.peak_mib, run.peak_mib / mib,
          run.cpu_seconds, static_cast<double>(file.bytes) / 1e6 / run.cpu_seconds, wc.seconds,
          wc.cpu_seconds, run.ok ? "" : "  FAILED");
      std::fflush(stdout);
    }
  }
  std::filesystem::remove_all(dir);
  return failures == 0 ? 0 : 1;
}
