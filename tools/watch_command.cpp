// cncprobe watch: polls the machines' folders and stores each results file once it is complete;
// one line per stored run, and an alarm command for a rejected part or a drift rule that fired.
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#if defined(_WIN32)
#include <process.h>
#else
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
extern char** environ;
#endif

#include "cncprobe/foundation/utc_time.h"
#include "cncprobe/inspection/trend_analysis.h"
#include "store/folder_watch.h"
#include "store/ingest.h"
#include "store/run_store.h"
#include "tools/commands.h"
#include "tools/stored_trend.h"

namespace tool {

namespace {

std::atomic<bool> g_stop{false};

extern "C" void request_stop(int) { g_stop.store(true); }

struct WatchOptions {
  std::vector<std::string> folders;
  std::string db;
  std::string interval = "2s";
  std::string settle = "5s";
  std::string on_alarm;
  kptUnitsType units = kptUnitsMillimetres;
  std::string program;
};

// "2s", "500ms", "1m", "3": a duration; negative when the text is none.
std::chrono::milliseconds duration_of(const std::string& text) {
  std::size_t end = 0;
  double value = -1;
  try {
    value = std::stod(text, &end);
  } catch (const std::exception&) {
    return std::chrono::milliseconds(-1);
  }
  const std::string unit = text.substr(end);
  double scale = 0;
  if (unit.empty() || unit == "s") scale = 1000;
  if (unit == "ms") scale = 1;
  if (unit == "m" || unit == "min") scale = 60000;
  if (scale == 0 || !(value >= 0) || value > 1e7) return std::chrono::milliseconds(-1);
  return std::chrono::milliseconds(static_cast<long long>(value * scale));
}

// The program's recent runs the rules look back over: the longest rule needs 15 in a row.
constexpr std::int64_t kDriftHistory = 30;

// The drift rules that fired on the newly stored run at `path` of `program`, judged with the
// program's recent stored runs against its latest saved control limits: "rule 1 on circle 3
// component 1 feature 1 diameter". Nothing when no limits are saved, when they are of another
// program, or when the store cannot answer (the run itself is stored either way).
std::vector<std::string> drift_rules_fired(store::RunStore& runs, const std::string& program,
                                           const std::string& path) {
  store::StoreStatus status;
  const std::optional<std::string> document = runs.latest_limits(program, status);
  kptControlLimitsFile saved;
  if (!document || !kptControlLimitsFile::parse(*document, saved).empty()) return {};
  TrendData trend;
  std::vector<store::StoredRun> listed;
  if (!stored_trend(runs, program, kDriftHistory, trend, status, &listed)) return {};
  std::optional<std::size_t> newest;
  for (std::size_t i = 0; i < listed.size(); ++i) {
    if (listed[i].path == path) newest = i;
  }
  if (!newest) return {};
  const kptTrendProgram references{listed[*newest].cldata_filename, listed[*newest].cad_filename};
  if (!saved.program.same_as(references)) return {};

  const kptTrendAnalysis analysis = kptTrendAnalysis::from_saved(trend.series, saved);
  std::vector<std::string> fired;
  const auto collect = [&](const std::vector<kptTrendSeries>& series,
                           const std::vector<kptSeriesStatistics>& stats) {
    for (std::size_t i = 0; i < series.size() && i < stats.size(); ++i) {
      for (const kptRuleViolation& v : stats[i].violations) {
        if (v.run != *newest) continue;
        fired.push_back("rule " + std::to_string(v.rule) + " on " + series[i].item + " " +
                        series[i].label + (v.moving_range ? " (moving range)" : ""));
      }
    }
  };
  collect(trend.series.features(), analysis.features);
  collect(trend.series.points(), analysis.points);
  return fired;
}

// Runs the alarm command through the shell, with the file, program and reason handed over in
// the environment only: nothing taken from a results file becomes part of a command line.
void raise_alarm(const std::string& command, const std::string& file, const std::string& program,
                 const std::string& reason) {
#if defined(_WIN32)
  _putenv_s("CNCPROBE_FILE", file.c_str());
  _putenv_s("CNCPROBE_PROGRAM", program.c_str());
  _putenv_s("CNCPROBE_REASON", reason.c_str());
  const int code = std::system(command.c_str());
#else
  std::vector<std::string> variables = {"CNCPROBE_FILE=" + file, "CNCPROBE_PROGRAM=" + program,
                                        "CNCPROBE_REASON=" + reason};
  std::vector<char*> environment;
  for (char** e = environ; *e != nullptr; ++e) {
    const std::string_view entry(*e);
    if (entry.starts_with("CNCPROBE_FILE=") || entry.starts_with("CNCPROBE_PROGRAM=") ||
        entry.starts_with("CNCPROBE_REASON=")) {
      continue;
    }
    environment.push_back(*e);
  }
  for (std::string& v : variables) environment.push_back(v.data());
  environment.push_back(nullptr);
  std::string shell = "/bin/sh", dash_c = "-c", line = command;
  char* argv[] = {shell.data(), dash_c.data(), line.data(), nullptr};
  pid_t pid = 0;
  int code = -1;
  if (posix_spawn(&pid, "/bin/sh", nullptr, nullptr, argv, environment.data()) == 0) {
    int wait_status = 0;
    while (waitpid(pid, &wait_status, 0) < 0 && errno == EINTR) {
    }
    code = WIFEXITED(wait_status) ? WEXITSTATUS(wait_status) : -1;
  }
#endif
  if (code != 0) error_line("watch: the alarm command failed for " + file);
}

int run_watch(const WatchOptions& options, Output& out) {
  const std::chrono::milliseconds interval = duration_of(options.interval);
  const std::chrono::milliseconds settle = duration_of(options.settle);
  if (interval.count() <= 0 || settle.count() < 0) {
    error_line("watch: --interval and --settle take a duration such as 2s, 500ms or 1m");
    return kExitUsage;
  }
  store::StoreStatus status;
  const std::unique_ptr<store::RunStore> runs = store::RunStore::open(options.db, status);
  if (!runs) {
    error_line(status.message);
    return kExitStore;
  }
  std::signal(SIGINT, request_stop);
  std::signal(SIGTERM, request_stop);
  store::FolderWatch watch(options.folders, settle, store::store_files(options.db));
  store::RecordOptions record_options;
  record_options.units = options.units;
  record_options.program = options.program;
  while (!g_stop.load()) {
    for (const std::string& file : watch.poll(std::chrono::steady_clock::now())) {
      const store::IngestResult result = store::ingest_file(*runs, file, record_options);
      if (result.outcome == store::IngestOutcome::kStoreFailed) {
        error_line(file + ": not stored: " + result.status.message);
        return kExitStore;
      }
      if (result.outcome == store::IngestOutcome::kSkipped) continue;
      // PASS or FAIL; a file without a verdict says why (unreadable, no results).
      std::string verdict = !result.verdict ? "-" : *result.verdict == "pass" ? "PASS" : "FAIL";
      if (result.status_name != "success") verdict += " (" + result.status_name + ")";
      const std::vector<std::string> fired = drift_rules_fired(*runs, result.program, result.path);
      std::string line = kptUtcTime::now() + "  " + printable_text(file) + "  " +
                         printable_text(result.program) + "  " + verdict;
      for (const std::string& rule : fired) line += "  drift: " + printable_text(rule);
      out.write(line + "\n");
      out.flush();
      if (!options.on_alarm.empty()) {
        if (result.verdict && *result.verdict == "fail") {
          raise_alarm(options.on_alarm, result.path, result.program, "FAIL");
        }
        for (const std::string& rule : fired) {
          raise_alarm(options.on_alarm, result.path, result.program, "drift: " + rule);
        }
      }
      if (g_stop.load()) break;  // the run in hand is stored; the others wait for next time
    }
    // Sleep in short steps, so a stop request is answered at once.
    const auto wake = std::chrono::steady_clock::now() + interval;
    while (!g_stop.load() && std::chrono::steady_clock::now() < wake) {
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
  }
  return kExitSuccess;
}

}  // namespace

void add_watch_command(CLI::App& app, CommandSet& commands) {
  auto options = std::make_shared<WatchOptions>();
  CLI::App* watch = app.add_subcommand(
      "watch", "Poll folders and store each results file once it is complete (Ctrl-C stops)");
  watch->add_option("DIR", options->folders, "The folders the machines write to")->required();
  add_db_option(*watch, options->db);
  watch->add_option("--interval", options->interval, "Time between polls (default 2s)")
      ->option_text("TIME");
  watch
      ->add_option("--settle", options->settle,
                   "How long a file must stay unchanged before it is read (default 5s)")
      ->option_text("TIME");
  watch
      ->add_option("--on-alarm", options->on_alarm,
                   "Command run for a FAIL or a drift rule; it finds CNCPROBE_FILE, "
                   "CNCPROBE_PROGRAM and CNCPROBE_REASON in its environment")
      ->option_text("CMD");
  add_units_option(*watch, options->units, "The units the files are written in (default mm)");
  watch->add_option("--program", options->program,
                    "The program the runs belong to (default: from each file)");
  commands.add(watch, "watch    DIR...   --db URL [--interval 2s] [--settle 5s] [--on-alarm CMD]",
               [options](Output& out) { return run_watch(*options, out); });
}

}  // namespace tool
