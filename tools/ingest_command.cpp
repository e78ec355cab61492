// cncprobe ingest: results files into the run store, with a progress bar on a terminal and one
// summary line otherwise.
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#if defined(_WIN32)
#include <io.h>
#define CNCPROBE_ISATTY _isatty
#define CNCPROBE_FILENO _fileno
#else
#include <unistd.h>
#define CNCPROBE_ISATTY isatty
#define CNCPROBE_FILENO fileno
#endif

#include "store/ingest.h"
#include "store/run_store.h"
#include "tools/commands.h"

namespace tool {

namespace {

struct IngestOptions {
  std::vector<std::string> paths;
  std::string db;
  kptUnitsType units = kptUnitsMillimetres;
  std::string settings_file;
  std::string program;
};

struct Counts {
  std::size_t files = 0, done = 0, stored = 0, skipped = 0, failed = 0;
};

// "[#########.........]  120/1000 files  100 stored  15 skipped  5 failed", redrawn in place.
void draw_progress(const Counts& c) {
  constexpr int kWidth = 30;
  const int filled = c.files == 0 ? kWidth : static_cast<int>(kWidth * c.done / c.files);
  std::string bar(static_cast<std::size_t>(filled), '#');
  bar.append(static_cast<std::size_t>(kWidth - filled), '.');
  std::fprintf(stderr, "\r[%s] %zu/%zu files  %zu stored  %zu skipped  %zu failed", bar.c_str(),
               c.done, c.files, c.stored, c.skipped, c.failed);
  std::fflush(stderr);
}

int run_ingest(const IngestOptions& options, Output& out) {
  if (!options.settings_file.empty()) {
    // The store keeps values, not their printed digits: the settings are checked, not used.
    kptInspectionSettings settings;
    settings.set_input_units(kptUnits(options.units));
    const kptInspectionSettingsError error = read_settings_file(options.settings_file, settings);
    if (!settings_accepted(error.code())) {
      error_line(options.settings_file + ": " + std::string(error.message().utf8()));
      return kExitProblem;
    }
  }
  store::StoreStatus status;
  const std::unique_ptr<store::RunStore> runs = store::RunStore::open(options.db, status);
  if (!runs) {
    error_line(status.message);
    return kExitStore;
  }
  const std::vector<std::string> files =
      store::files_to_ingest(options.paths, store::store_files(options.db));
  const bool terminal = CNCPROBE_ISATTY(CNCPROBE_FILENO(stderr)) != 0;
  Counts counts;
  counts.files = files.size();
  store::RecordOptions record_options;
  record_options.units = options.units;
  record_options.program = options.program;
  for (const std::string& file : files) {
    const store::IngestResult result = store::ingest_file(*runs, file, record_options);
    ++counts.done;
    switch (result.outcome) {
      case store::IngestOutcome::kStored:
        ++counts.stored;
        break;
      case store::IngestOutcome::kStoredFailed:
        ++counts.stored;
        ++counts.failed;
        break;
      case store::IngestOutcome::kSkipped:
        ++counts.skipped;
        break;
      case store::IngestOutcome::kStoreFailed:
        if (terminal) std::fputc('\n', stderr);
        error_line(file + ": not stored: " + result.status.message);
        return kExitStore;
    }
    if (terminal) draw_progress(counts);
  }
  if (terminal) std::fputc('\n', stderr);
  out.write("ingest: " + std::to_string(counts.files) + " files, " + std::to_string(counts.stored) +
            " stored, " + std::to_string(counts.skipped) + " skipped, " +
            std::to_string(counts.failed) + " failed\n");
  return counts.failed == 0 ? kExitSuccess : kExitProblem;
}

}  // namespace

void add_db_option(CLI::App& command, std::string& url) {
  command
      .add_option("--db", url,
                  "The run store: a SQLite file (runs.sqlite, sqlite:///path) or "
                  "postgresql://user@host/db")
      ->required()
      ->option_text("URL");
}

void add_ingest_command(CLI::App& app, CommandSet& commands) {
  auto options = std::make_shared<IngestOptions>();
  CLI::App* ingest = app.add_subcommand(
      "ingest", "Store results files in the run store (folders recursively; - for standard input)");
  ingest->add_option("PATH", options->paths, "Results files and folders")->required();
  add_db_option(*ingest, options->db);
  add_units_option(*ingest, options->units, "The units the files were written in (default mm)");
  ingest->add_option("--settings", options->settings_file, "Inspection-settings XML file")
      ->option_text("FILE.xml");
  ingest->add_option("--program", options->program,
                     "The program the runs belong to (default: from each file's references, "
                     "else its folder)");
  commands.add(ingest,
               "ingest   PATH...  --db URL [--units mm|in] [--settings FILE.xml] "
               "[--program NAME]",
               [options](Output& out) { return run_ingest(*options, out); });
}

}  // namespace tool
