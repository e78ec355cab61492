// RunStore: every run of every program, kept in a database named by a URL. SQLite is the embedded
// default (one file, nothing to install); PostgreSQL serves a plant that collects many machines on
// one server. Both hold the same tables (docs/store.md) and answer the same calls. Every call
// reports through a StoreStatus; nothing throws, nothing is printed.
//
//   store::StoreStatus status;
//   std::unique_ptr<store::RunStore> runs = store::RunStore::open("runs.sqlite", status);
//   if (!runs) return fail(status.message);
//   const store::RunRecord record = store::RunRecord::from_file("run 17.txt", {});
//   if (runs->add_run(record, status) == store::AddOutcome::kStored) ...
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "store/run_record.h"

namespace store {

// The schema this build writes and reads. A store of a newer schema is refused; an older one is
// brought up to this one in a transaction when it is opened.
inline constexpr int kSchemaVersion = 3;

enum class StoreProblem {
  kNone = 0,
  kBadUrl,       // the URL names no back end this build has
  kCannotOpen,   // the file cannot be opened or made (missing folder, no permission)
  kNotAStore,    // a file or database that holds something else
  kNewerSchema,  // written by a newer cncprobe
  kReadOnly,     // opened, but may not be written
  kFull,         // the disk or the database is full
  kUnreachable,  // the server does not answer
  kRefused,      // the server refused the connection (password, role, database)
  kFailed,       // any other database error
};

struct StoreStatus {
  StoreProblem problem = StoreProblem::kNone;
  std::string message;  // one line, for a person
  bool ok() const noexcept { return problem == StoreProblem::kNone; }
};

enum class AddOutcome { kStored, kAlreadyStored, kFailed };

// A run as listed by runs().
struct StoredRun {
  std::int64_t id = 0;
  std::string program, path, sha256;
  std::optional<std::string> file_time;
  std::string ingest_time, units;
  std::int32_t status_code = 0;
  std::string status_name;
  std::optional<std::string> verdict;
  std::int64_t features = 0, points = 0, checks_out = 0, points_outside = 0;
  std::optional<std::string> results_file;  // the last RESULTSFILE record
  // The CL data and CAD files the header references: what saved control limits belong to.
  std::optional<std::string> cldata_filename, cad_filename;
};

// Which runs runs() lists, oldest first.
struct RunFilter {
  std::optional<std::string> program;
  // ISO 8601 date or time: runs whose file time (ingest time when unknown) is not earlier.
  std::optional<std::string> since;
  // Only the newest N of the runs that match.
  std::optional<std::int64_t> last;
};

// A stored feature check with the run it belongs to, for trends.
struct StoredCheck {
  std::int64_t run = 0;
  CheckRow check;
};

// A stored inspection point's label and deviation with the run it belongs to, for trends.
struct StoredPoint {
  std::int64_t run = 0;
  std::string label;
  std::optional<double> deviation, lower_limit, upper_limit;
};

// A run stored while its file is still being extracted: the points of each probe path are
// written as the extraction completes it (RunRecord::from_input's listener), the run itself and
// its checks when the extraction is done, all in one transaction. Whole or absent: a writer
// destroyed before finish() leaves nothing of the run.
class RunWriter {
 public:
  virtual ~RunWriter() = default;
  // Writes the points of the run's next probe path. False when the store failed (status says);
  // nothing of the run will then be stored.
  virtual bool add_path(const mtrProbePath& path, StoreStatus& status) = 0;
  // Writes the run and its checks and commits. `record` is the run whose paths were added, all of
  // them, in order. kAlreadyStored, with nothing written, when a run of the same path and content
  // is stored (another process may have stored it in the meantime).
  virtual AddOutcome finish(const RunRecord& record, StoreStatus& status) = 0;
};

class RunStore {
 public:
  virtual ~RunStore() = default;

  // Opens the store `url` names: "postgresql://..." or "postgres://..." (libpq's connection URI;
  // "postgresql://" alone takes everything from libpq's PG* environment variables), or a SQLite
  // file: "sqlite:///abs/path", "sqlite:relative/path", or a plain path. A missing SQLite file is
  // made, with its tables; `for_writing` false opens without making anything. Null, with
  // `status` saying why, when the store cannot be used.
  static std::unique_ptr<RunStore> open(const std::string& url, StoreStatus& status,
                                        bool for_writing = true);

  // "sqlite" or "postgresql".
  virtual const char* back_end() const noexcept = 0;

  // True when a run of this path and content is stored; false also on a failure (status says).
  virtual bool has_run(const std::string& path, const std::string& sha256, StoreStatus& status) = 0;
  // True when a run of this path, whatever its content, is stored; false also on a failure
  // (status says).
  virtual bool has_path(const std::string& path, StoreStatus& status) = 0;
  // Stores the run, its checks and points in one transaction: whole, or not at all. A run of the
  // same path and content already stored (by this or another process) is kAlreadyStored.
  AddOutcome add_run(const RunRecord& record, StoreStatus& status);
  // Begins storing a run whose paths come as its file is extracted; null, with status set, when
  // the store cannot begin. While a writer lives the store takes no other call.
  virtual std::unique_ptr<RunWriter> begin_run(StoreStatus& status) = 0;
  // The runs that pass `filter`, oldest first (by file time, then id).
  virtual std::vector<StoredRun> runs(const RunFilter& filter, StoreStatus& status) = 0;
  // The feature checks of the given runs, in run order and then as stored.
  virtual std::vector<StoredCheck> checks(const std::vector<std::int64_t>& run_ids,
                                          StoreStatus& status) = 0;
  // The inspection points of the given runs (label, deviation, limits), in run order.
  virtual std::vector<StoredPoint> points(const std::vector<std::int64_t>& run_ids,
                                          StoreStatus& status) = 0;
  // Saves a program's control limits (a document the drift rules read) with the time saved.
  virtual bool save_limits(const std::string& program, const std::string& document,
                           StoreStatus& status) = 0;
  // The program's most recently saved limits; absent when none were saved (or on a failure).
  virtual std::optional<std::string> latest_limits(const std::string& program,
                                                   StoreStatus& status) = 0;
};

// What a URL names: the back end and what to open it with.
struct StoreUrl {
  enum class Kind { kSqlite, kPostgres, kInvalid } kind = Kind::kInvalid;
  std::string target;  // the SQLite file path, or libpq's connection string
};
// Reads `url`: see RunStore::open. kInvalid for an empty URL or an unknown scheme ("mysql://").
StoreUrl parse_store_url(const std::string& url);

}  // namespace store
