// cncprobe runs: the runs the store holds, oldest first, as a table or as JSON.
#include <cctype>
#include <memory>
#include <optional>
#include <string>

#include "store/run_store.h"
#include "tools/commands.h"
#include "tools/json_writer.h"
#include "tools/text_table.h"

namespace tool {

namespace {

struct RunsOptions {
  std::string db;
  std::string program;
  std::string since;
  std::int64_t last = 0;
  Format format = Format::kText;
};

// YYYY-MM-DD, optionally followed by THH:MM[:SS][Z]: the stored times are ISO 8601 UTC text, so
// a date compares with them as text.
bool iso_date(const std::string& text) {
  if (text.size() < 10) return false;
  for (std::size_t i = 0; i < 10; ++i) {
    const bool digit = std::isdigit(static_cast<unsigned char>(text[i])) != 0;
    if ((i == 4 || i == 7) ? text[i] != '-' : !digit) return false;
  }
  return text.size() == 10 || text[10] == 'T';
}

void write_json(const std::vector<store::StoredRun>& runs, Output& out) {
  JsonWriter json(out);
  json.begin_object();
  json.key("runs");
  json.begin_array();
  for (const store::StoredRun& run : runs) {
    json.begin_object();
    json.key("id");
    json.integer(run.id);
    json.key("program");
    json.string(run.program);
    json.key("file");
    json.string(run.path);
    json.key("sha256");
    json.string(run.sha256);
    json.key("file_time");
    if (run.file_time) {
      json.string(*run.file_time);
    } else {
      json.null();
    }
    json.key("ingest_time");
    json.string(run.ingest_time);
    json.key("units");
    json.string(run.units);
    json.key("status");
    json.begin_object(true);
    json.key("code");
    json.integer(run.status_code);
    json.key("name");
    json.string(run.status_name);
    json.end_object();
    json.key("verdict");
    if (run.verdict) {
      json.string(*run.verdict);
    } else {
      json.null();
    }
    json.key("features");
    json.integer(run.features);
    json.key("points");
    json.integer(run.points);
    json.key("checks_out");
    json.integer(run.checks_out);
    json.key("points_outside");
    json.integer(run.points_outside);
    json.end_object();
  }
  json.end_array();
  json.end_object();
  json.finish();
}

void write_text(const std::vector<store::StoredRun>& runs, Output& out) {
  TextTable table({{"ID", TextTable::kRight},
                   {"TIME", TextTable::kLeft},
                   {"PROGRAM", TextTable::kLeft},
                   {"VERDICT", TextTable::kLeft},
                   {"STATUS", TextTable::kLeft},
                   {"FEATURES", TextTable::kRight},
                   {"POINTS", TextTable::kRight},
                   {"FILE", TextTable::kLeft}});
  auto row = [](const store::StoredRun& run) {
    std::string verdict = run.verdict ? *run.verdict : "-";
    for (char& c : verdict) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return TextTable::Row{std::to_string(run.id),
                          run.file_time ? *run.file_time : run.ingest_time,
                          printable_text(run.program),
                          verdict,
                          run.status_name,
                          std::to_string(run.features),
                          std::to_string(run.points),
                          printable_text(run.path)};
  };
  for (const store::StoredRun& run : runs) table.measure(row(run));
  table.indent = 0;
  table.print_header(out);
  for (const store::StoredRun& run : runs) table.print(out, row(run));
  out.write(std::to_string(runs.size()) + (runs.size() == 1 ? " run\n" : " runs\n"));
}

int run_runs(const RunsOptions& options, Output& out) {
  if (!options.since.empty() && !iso_date(options.since)) {
    error_line("runs: --since takes a date as YYYY-MM-DD (or YYYY-MM-DDTHH:MM:SSZ): " +
               options.since);
    return kExitUsage;
  }
  store::StoreStatus status;
  const std::unique_ptr<store::RunStore> runs = store::RunStore::open(options.db, status, false);
  if (!runs) {
    error_line(status.message);
    return kExitStore;
  }
  store::RunFilter filter;
  if (!options.program.empty()) filter.program = options.program;
  if (!options.since.empty()) filter.since = options.since;
  if (options.last > 0) filter.last = options.last;
  const std::vector<store::StoredRun> found = runs->runs(filter, status);
  if (!status.ok()) {
    error_line(status.message);
    return kExitStore;
  }
  if (options.format == Format::kJson) {
    write_json(found, out);
  } else {
    write_text(found, out);
  }
  return kExitSuccess;
}

}  // namespace

void add_runs_command(CLI::App& app, CommandSet& commands) {
  auto options = std::make_shared<RunsOptions>();
  CLI::App* runs = app.add_subcommand("runs", "List the runs the run store holds, oldest first");
  add_db_option(*runs, options->db);
  runs->add_option("--program", options->program, "Only the runs of this program");
  runs->add_option("--since", options->since, "Only runs written on or after this date")
      ->option_text("DATE");
  runs->add_option("--last", options->last, "Only the newest N runs")
      ->check(CLI::PositiveNumber)
      ->option_text("N");
  add_format_option(*runs, options->format);
  commands.add(runs,
               "runs     --db URL [--program NAME] [--since DATE] [--last N] [--format text|json]",
               [options](Output& out) { return run_runs(*options, out); });
}

}  // namespace tool
