// The data a report page shows, gathered from the library: the extraction, its inspection verdicts
// and summary, the header references and the inspection settings, as one JSON document. Points go
// in as base64 typed arrays (a million points stay a few tens of megabytes and decode at once).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cncprobe/foundation/input_file.h"
#include "cncprobe/foundation/units.h"
#include "cncprobe/inspection/trend_series.h"
#include "cncprobe/inspection/trend_statistics.h"
#include "cncprobe/inspection/verdict.h"
#include "tools/output.h"

namespace tool {

struct ReportOptions {
  std::vector<std::string> files;  // one file: an inspection report; several: a trend report
  kptUnitsType units = kptUnitsMillimetres;
  std::string settings_file;  // empty: the default settings
  std::string output;         // empty: the input's base name with .html, in the current directory
  kptZoneConvention convention = kptZoneDiametral;
  // A trend report's control limits come from the first `baseline` runs; 0: every run.
  std::size_t baseline = 0;
  std::string generator;  // "cncprobe 0.2.0"
  // A trend of stored runs instead of files: the run store, the program and how many of its
  // newest runs (0: all).
  std::string db;
  std::string program;
  std::int64_t last = 0;
};

// What reading the settings file came to; the page and the tool both say it.
struct SettingsOutcome {
  bool read = false;       // a settings file was given and accepted
  std::string problem;     // why a given settings file was refused (the defaults are used)
  double confetti_mm = 0;  // the settings' values, or the defaults
  int linear_digits = 0;
  int angular_digits = 0;
  int unitless_digits = 0;
};

SettingsOutcome read_settings(const ReportOptions& options);

// The title of one file's report (plain text).
std::string single_report_title(const ReportOptions& options);

struct SingleReportOutcome {
  bool extraction_succeeded = false;
  kptInputProblem input_problem = kptInputReadable;  // a read that failed part way
};

// Writes the data document of one file's report to `out` as it is gathered. `input` is
// options.files.front() as read (standard input), or null to have the library read the named
// file in blocks; `file_date` is its modification time as ISO 8601 UTC, or empty. Only the point
// columns are held until the end.
SingleReportOutcome write_single_report_data(const ReportOptions& options,
                                             const SettingsOutcome& settings,
                                             const kptInputFile* input,
                                             const std::string& file_date, Output& out);

struct ReportData {
  std::string json;   // the data document, escaped for the page's script element
  std::string title;  // the page's title, plain text
  bool extraction_succeeded = false;
};

// The data of a trend report over options.files (read as `inputs`), in the given order.
ReportData trend_report_data(const ReportOptions& options, const SettingsOutcome& settings,
                             const std::vector<kptInputFile>& inputs);

// One run of a trend, as its row in the page.
struct TrendRun {
  std::string file;
  std::string results_file;
  std::string file_date;  // ISO 8601 UTC, or empty
  std::string status;     // the extraction status name
  bool passed = false;
};

// A trend gathered from files or from the run store.
struct TrendData {
  std::vector<TrendRun> runs;
  // The series, one value per run; at most kMaxTrendPoints point series, the rest counted.
  kptTrendSeriesSet series;
  bool all_succeeded = true;
};

// The most point series a trend page shows.
inline constexpr std::size_t kMaxTrendPoints = 5000;

// The data of a trend report over runs already gathered.
ReportData trend_report_data(const ReportOptions& options, const SettingsOutcome& settings,
                             const TrendData& trend);

// The modification time of a file as ISO 8601 UTC, or empty when it cannot be asked.
std::string file_date(const std::string& path);

}  // namespace tool
