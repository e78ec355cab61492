// The run store's speed figures: a large file ingested against the extraction's own time, many
// small files a second, and a program's runs and trend read back from 1,000 stored runs.
//
//   store_speed [--postgres URL] [--points N] [--small N] [--folder DIR]
//
// URL names a PostgreSQL database without a run store (one is made in it, and dropped again);
// DIR a scratch folder (default: the system's temporary folder). The small files are the bracket
// example's size. Figures are medians of five ingests, or of three runs for the listing and the
// trend. The extraction runs on one thread, as the ingest's does; CPU figures count every thread
// of this process (an ingest hashes a large new file and scans its references on a second one).
#include <sys/resource.h>
#if defined(CNCPROBE_STORE_POSTGRES)
#include <libpq-fe.h>
#endif

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "bench/results_file_generator.h"
#include "cncprobe/cncprobe.h"
#include "store/ingest.h"
#include "store/run_store.h"

namespace {

// This process's CPU time (user + system) so far: on a shared machine the wall time also counts
// the waits for a core.
double cpu_seconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
         static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

double last_cpu = 0;  // the CPU time of the last job timed by seconds()

double seconds(const std::function<void()>& job) {
  const double cpu = cpu_seconds();
  const auto start = std::chrono::steady_clock::now();
  job();
  last_cpu = cpu_seconds() - cpu;
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// The median wall time of three runs of `job`; last_cpu is then the median of their CPU times.
double median_of_three(const std::function<void()>& job) {
  std::vector<double> times, cpu;
  for (int i = 0; i < 3; ++i) {
    times.push_back(seconds(job));
    cpu.push_back(last_cpu);
  }
  std::sort(times.begin(), times.end());
  std::sort(cpu.begin(), cpu.end());
  last_cpu = cpu[1];
  return times[1];
}

std::unique_ptr<store::RunStore> open_or_die(const std::string& url) {
  store::StoreStatus status;
  std::unique_ptr<store::RunStore> runs = store::RunStore::open(url, status);
  if (!runs) {
    std::fprintf(stderr, "store_speed: %s\n", status.message.c_str());
    std::exit(1);
  }
  return runs;
}

// Drops the run store's tables from the PostgreSQL database `url` names, so the next ingest makes
// the store afresh.
bool drop_store_tables(const std::string& url) {
#if defined(CNCPROBE_STORE_POSTGRES)
  PGconn* db = PQconnectdb(url.c_str());
  PGresult* result = PQexec(db,
                            "DROP TABLE IF EXISTS schema_version, programs, runs, checks, points, "
                            "control_limits CASCADE");
  const bool dropped = PQresultStatus(result) == PGRES_COMMAND_OK;
  if (!dropped) std::fprintf(stderr, "store_speed: %s", PQerrorMessage(db));
  PQclear(result);
  PQfinish(db);
  return dropped;
#else
  (void)url;
  std::fprintf(stderr, "store_speed: built without PostgreSQL\n");
  return false;
#endif
}

void ingest_or_die(store::RunStore& runs, const std::string& file) {
  const store::IngestResult result = store::ingest_file(runs, file, {});
  if (result.outcome == store::IngestOutcome::kStoreFailed) {
    std::fprintf(stderr, "store_speed: %s\n", result.status.message.c_str());
    std::exit(1);
  }
}

}  // namespace

int main(int argc, char** argv) {
  std::string postgres;
  std::size_t points = 1000000;
  std::size_t small = 10000;
  std::filesystem::path folder = std::filesystem::temp_directory_path();
  for (int i = 1; i + 1 < argc; i += 2) {
    const std::string option = argv[i];
    if (option == "--postgres") postgres = argv[i + 1];
    if (option == "--points") points = std::strtoull(argv[i + 1], nullptr, 10);
    if (option == "--small") small = std::strtoull(argv[i + 1], nullptr, 10);
    if (option == "--folder") folder = argv[i + 1];
  }
  folder /= "cncprobe-store-speed";
  std::filesystem::remove_all(folder);
  std::filesystem::create_directories(folder / "small");

  // A large file against the extraction alone.
  GeneratedResultsFile large;
  const std::string large_file = (folder / "large.res").string();
  if (!write_results_file(large_file, points, large)) return 1;
  const double extraction = median_of_three([&] {
    kptResultsDataExtractor extractor;
    (void)extractor.extract_data(utString(large_file.c_str()), kptUnits());
  });
  const double extraction_cpu = last_cpu;
  std::printf("extraction of %zu points: %.3f s wall, %.3f s CPU\n", points, extraction,
              extraction_cpu);
  // Each ingest stores the file as a new run: into a new SQLite file, and into PostgreSQL under a
  // path of its own (a hard link), so that none is skipped as already stored. A SQLite file is
  // removed after its timing, so that the kernel writing it out does not slow the next one.
  const int attempts = 5;
  int attempt = 0;
  std::vector<double> times, cpu;
  for (int i = 0; i < attempts; ++i) {
    const std::string store = (folder / ("large" + std::to_string(attempt++) + ".sqlite")).string();
    times.push_back(seconds([&] {
      auto runs = open_or_die(store);
      ingest_or_die(*runs, large_file);
    }));
    cpu.push_back(last_cpu);
    for (const std::string& file : store::store_files(store)) std::filesystem::remove(file);
  }
  std::sort(times.begin(), times.end());
  std::sort(cpu.begin(), cpu.end());
  const double into_sqlite = times[attempts / 2];
  std::printf("ingest into SQLite:     %.3f s wall (%.2f x), %.3f s CPU (%.2f x); medians of %d\n",
              into_sqlite, into_sqlite / extraction, cpu[attempts / 2],
              cpu[attempts / 2] / extraction_cpu, attempts);
  if (!postgres.empty()) {
    // One after another into the same store, as a plant's server takes them; and each into an
    // empty store, as each SQLite ingest above, its tables dropped after its timing.
    for (const bool emptied : {false, true}) {
      times.clear();
      cpu.clear();
      for (int i = 0; i < attempts; ++i) {
        const std::filesystem::path link = folder / ("large" + std::to_string(attempt++) + ".res");
        std::filesystem::create_hard_link(large_file, link);
        times.push_back(seconds([&] {
          auto runs = open_or_die(postgres);
          ingest_or_die(*runs, link.string());
        }));
        cpu.push_back(last_cpu);
        if (emptied && !drop_store_tables(postgres)) return 1;
      }
      std::sort(times.begin(), times.end());
      std::sort(cpu.begin(), cpu.end());
      const double into_postgres = times[attempts / 2];
      std::printf("ingest into PostgreSQL, %s: %.3f s wall (%.2f x), %.3f s CPU of this process\n",
                  emptied ? "each into an empty store" : "one after another", into_postgres,
                  into_postgres / extraction, cpu[attempts / 2]);
    }
  }

  // Many small files, as a machine writes them, one part each.
  std::ifstream example(CNCPROBE_EXAMPLES_DIR "/bracket_mm.txt", std::ios::binary);
  std::stringstream text;
  text << example.rdbuf();
  std::vector<std::string> files;
  for (std::size_t i = 0; i < small; ++i) {
    files.push_back((folder / "small" / ("part" + std::to_string(i) + ".txt")).string());
    std::ofstream(files.back(), std::ios::binary) << text.str() << "( PART " << i << " )\n";
  }
  const std::string small_store = (folder / "small.sqlite").string();
  const double many = seconds([&] {
    auto runs = open_or_die(small_store);
    for (const std::string& file : files) ingest_or_die(*runs, file);
  });
  std::printf(
      "%zu small files into SQLite: %.3f s wall (%.0f a second), %.3f s CPU (%.0f a second)\n",
      small, many, static_cast<double>(small) / many, last_cpu,
      static_cast<double>(small) / last_cpu);

  // A program's runs and its trend over the newest 1,000 of them.
  auto runs = open_or_die(small_store);
  store::RunFilter filter;
  filter.program = "bracket_op20_probe";
  filter.last = 1000;
  store::StoreStatus status;
  const double listing = median_of_three([&] { (void)runs->runs(filter, status); });
  filter.last.reset();
  const double all = median_of_three([&] { (void)runs->runs(filter, status); });
  filter.last = 1000;
  const double trend = median_of_three([&] {
    std::vector<std::int64_t> ids;
    for (const store::StoredRun& run : runs->runs(filter, status)) ids.push_back(run.id);
    (void)runs->checks(ids, status);
    (void)runs->points(ids, status);
  });
  std::printf(
      "runs of one program: newest 1000 %.3f s, all %zu %.3f s; the 1000's checks and "
      "points: %.3f s\n",
      listing, small, all, trend);
  std::filesystem::remove_all(folder);
  return status.ok() ? 0 : 1;
}
