// RunRecord: one results file as the run store keeps it: where it came from, its content hash, the
// program it belongs to, the extraction's outcome and verdict, and its feature checks and points
// as rows. Built once from the reader and the inspection rules; every back end writes the same
// rows.
//
//   const RunRecord record = RunRecord::from_file("/share/m1/run 17.txt", {});
//   store->add_run(record);
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cncprobe/foundation/input_file.h"
#include "cncprobe/foundation/units.h"
#include "cncprobe/inspection/verdict.h"

class kptProbePathListener;
class kptResultsDataExtractor;
class mtrProbePath;

namespace store {

// How a file is read into a record.
struct RecordOptions {
  kptUnitsType units = kptUnitsMillimetres;
  kptZoneConvention convention = kptZoneDiametral;
  // The program the run belongs to; empty: found from the file (see program_of).
  std::string program;
};

// The header references of a run; absent when the file had no such line.
struct RunReferences {
  std::optional<std::string> results_file_version, settings_filename, cad_filename, cldata_filename,
      document_id, document_version, model_version;
};

// One feature quantity of one run, as the inspection rules judged it.
struct CheckRow {
  std::int32_t result = 0;  // 0-based index of the feature in the run's results
  std::string kind;         // "circle", "surface", ...
  std::int32_t toolpath = 0;
  std::int32_t instance = -1;  // -1 when the feature has no pattern instance
  std::int32_t component = -1, feature = -1;
  std::optional<std::string> name;  // the feature's name, when the report printed one
  std::string quantity;             // "diameter", "centre_offset", ...
  std::string series;               // the same quantity of the same feature in other runs
  std::optional<double> nominal, actual;
  double deviation = 0;
  std::optional<double> tolerance;
  bool true_position = false;
  std::optional<double> tolerance_used, lower_limit, upper_limit;
  std::string verdict;  // "in", "out", "not_toleranced"
  // The value held against the limit, and that limit (2 x the offset under a diametral zone).
  std::optional<double> compared, compared_limit;
};

// One inspection point of one run. Unmeasured coordinates and r are NaN.
struct PointRow {
  std::int64_t index = 0;  // 0-based, in the order of the probe paths and their points
  std::int32_t path = 0;   // 0-based index among the run's probe paths
  std::int32_t toolpath = 0;
  std::int32_t instance = -1;
  std::string_view label;  // valid during the call it is handed to
  double nominal[3] = {0, 0, 0};
  double direction[3] = {0, 0, 0};
  double o = 0, u = 0, l = 0;
  double measured[3] = {0, 0, 0};
  double r = 0;
  std::optional<double> deviation;
  // The deviations at which the verdict turns (O + L and O + U).
  std::optional<double> lower_limit, upper_limit;
  const char* verdict = "";  // "in", "out", "not_toleranced", "unmeasured"
};

class RunRecord {
 public:
  RunRecord();
  ~RunRecord();
  RunRecord(RunRecord&&) noexcept;
  RunRecord& operator=(RunRecord&&) noexcept;

  // From this size on, a file is hashed and its references scanned on a second thread while it
  // is extracted; below it a thread costs more than it saves.
  static constexpr std::size_t kConcurrentBytes = std::size_t{1} << 20;

  // Reads `path` ("-" for standard input) whole, hashes it and extracts it. A file that cannot be
  // read gives a record with input_problem set, its hash that of the bytes read (none: empty),
  // and no checks or points; never fails otherwise.
  static RunRecord from_file(const std::string& path, const RecordOptions& options);
  // The same for bytes already read; `path` is what the record is stored under. `sha256`: the
  // content hash when the caller has it already (empty: it is computed here). `listener`, when
  // given, hears of each probe path as the extraction completes it (see RunWriter).
  static RunRecord from_input(const std::string& path, const kptInputFile& input,
                              const RecordOptions& options, std::string sha256 = {},
                              kptProbePathListener* listener = nullptr);

  std::string path;    // absolute and normal where the file system allows; "-" for stdin
  std::string sha256;  // 64 lower-case hex digits of the content
  std::optional<std::string> file_time;  // the file's modification time, ISO 8601 UTC
  std::string ingest_time;               // when the record was made, ISO 8601 UTC
  std::string program;
  std::string units;  // "mm" or "in"
  kptInputProblem input_problem = kptInputReadable;
  std::int32_t status_code = 0;  // the extraction status
  std::string status_name;       // "success", "missing_end", ...; "unreadable"
  // "pass" (nothing out of tolerance) or "fail"; absent for an unreadable file or no results.
  std::optional<std::string> verdict;
  std::optional<std::string> results_file;  // the last RESULTSFILE record
  std::int64_t results = 0, probe_paths = 0, features = 0, points = 0;
  std::int64_t checks_in = 0, checks_out = 0, checks_not_toleranced = 0;
  std::int64_t points_within = 0, points_outside = 0, points_unmeasured = 0;
  RunReferences references;
  std::vector<CheckRow> checks;

  // A file that was read and extracted (whatever the status): it has rows to store.
  bool readable() const noexcept { return input_problem == kptInputReadable; }
  // Calls fn(row) for every inspection point, in order. Nothing for an unreadable file.
  void for_each_point(const std::function<void(const PointRow&)>& fn) const;
  // Calls fn(path) for every probe path, in order. Nothing for an unreadable file.
  void for_each_path(const std::function<void(const mtrProbePath&)>& fn) const;

 private:
  std::shared_ptr<kptResultsDataExtractor> extractor_;  // the points stay in the reader's model
};

// Calls fn(row) for every inspection point of `path`, the run's probe path number `path_index`
// (0-based), whose first point is the run's point number `first_index`.
void for_each_point_of(const mtrProbePath& path, std::int32_t path_index, std::int64_t first_index,
                       const std::function<void(const PointRow&)>& fn);

// The path a file is stored under: absolute and normal where the file system allows; "-" stays.
std::string stored_path(const std::string& path);
// The SHA-256 of a file's content: 64 lower-case hex digits.
std::string content_sha256(std::string_view bytes);

// The program a run belongs to: the base name (without extension) of the CL data file its header
// names, else of the CAD file, else the name of the folder the file is in; "-" for standard input
// without references. Folders of Windows paths ("C:\jobs\bracket.model") count as folders.
std::string program_of(const std::string& path, const RunReferences& references);

}  // namespace store
