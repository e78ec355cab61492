// The SQLite back end: one file, written in WAL mode so readers never wait for an ingest and two
// ingests take turns (the busy timeout) instead of failing.
#include <sqlite3.h>

#if !defined(_WIN32)
#include <unistd.h>
#endif

#include <cmath>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "cncprobe/foundation/utc_time.h"
#include "cncprobe/platform/model/probe_path.h"
#include "store/internal/back_ends.h"
#include "store/internal/utf8_path.h"

namespace store {

namespace {

// Version 3 of the tables (the tables of versions 1 and 2: those changed how PostgreSQL finds a
// run's points). Text that comes from a results file (paths, names, labels) is kept byte for
// byte: SQLite does not check the encoding of what it is handed.
constexpr const char* kSchema = R"sql(
CREATE TABLE schema_version (version INTEGER NOT NULL);
CREATE TABLE programs (id INTEGER PRIMARY KEY, name TEXT NOT NULL UNIQUE);
CREATE TABLE runs (
  id INTEGER PRIMARY KEY,
  program_id INTEGER NOT NULL REFERENCES programs(id),
  path TEXT NOT NULL, sha256 TEXT NOT NULL,
  file_time TEXT, ingest_time TEXT NOT NULL, units TEXT NOT NULL,
  input_problem TEXT NOT NULL, status_code INTEGER NOT NULL, status_name TEXT NOT NULL,
  verdict TEXT, results_file TEXT,
  results INTEGER NOT NULL, probe_paths INTEGER NOT NULL, features INTEGER NOT NULL,
  points INTEGER NOT NULL, checks_in INTEGER NOT NULL, checks_out INTEGER NOT NULL,
  checks_not_toleranced INTEGER NOT NULL, points_within INTEGER NOT NULL,
  points_outside INTEGER NOT NULL, points_unmeasured INTEGER NOT NULL,
  results_file_version TEXT, settings_filename TEXT, cad_filename TEXT, cldata_filename TEXT,
  document_id TEXT, document_version TEXT, model_version TEXT,
  UNIQUE (path, sha256));
CREATE INDEX runs_by_program ON runs (program_id, file_time);
CREATE TABLE checks (
  run_id INTEGER NOT NULL REFERENCES runs(id) ON DELETE CASCADE, seq INTEGER NOT NULL,
  result INTEGER NOT NULL, kind TEXT NOT NULL, toolpath INTEGER NOT NULL,
  instance INTEGER NOT NULL, component INTEGER NOT NULL, feature INTEGER NOT NULL, name TEXT,
  quantity TEXT NOT NULL, series TEXT NOT NULL, nominal REAL, actual REAL, deviation REAL,
  tolerance REAL, true_position INTEGER NOT NULL, tolerance_used REAL, lower_limit REAL,
  upper_limit REAL, verdict TEXT NOT NULL, compared REAL, compared_limit REAL,
  PRIMARY KEY (run_id, seq)) WITHOUT ROWID;
CREATE TABLE points (
  run_id INTEGER NOT NULL REFERENCES runs(id) ON DELETE CASCADE, idx INTEGER NOT NULL,
  path INTEGER NOT NULL, toolpath INTEGER NOT NULL, instance INTEGER NOT NULL,
  label TEXT NOT NULL,
  nominal_x REAL, nominal_y REAL, nominal_z REAL,
  direction_x REAL, direction_y REAL, direction_z REAL,
  o REAL, u REAL, l REAL,
  measured_x REAL, measured_y REAL, measured_z REAL, r REAL,
  deviation REAL, lower_limit REAL, upper_limit REAL, verdict TEXT NOT NULL);
-- A run's points are appended in order, so the table's own row order is theirs; the index finds
-- a run's first row.
CREATE INDEX points_by_run ON points (run_id, idx);
CREATE TABLE control_limits (
  id INTEGER PRIMARY KEY, program_id INTEGER NOT NULL REFERENCES programs(id),
  saved_time TEXT NOT NULL, document TEXT NOT NULL);
INSERT INTO schema_version (version) VALUES (3);
)sql";

// The points one statement inserts (23 parameters each, well below SQLite's limit).
constexpr std::int64_t kPointsPerInsert = 32;

// INSERT INTO points ... VALUES (...), (...): `rows` rows of all the columns. A row that fails
// undoes the whole transaction (OR ROLLBACK), as add_run would: so a statement of many rows
// needs no journal of its own to undo only itself.
std::string points_insert(std::int64_t rows) {
  std::string sql = R"sql(
INSERT OR ROLLBACK INTO points (run_id, idx, path, toolpath, instance, label, nominal_x, nominal_y,
  nominal_z, direction_x, direction_y, direction_z, o, u, l, measured_x, measured_y, measured_z,
  r, deviation, lower_limit, upper_limit, verdict) VALUES )sql";
  for (std::int64_t i = 0; i < rows; ++i) {
    sql += i == 0 ? "" : ", ";
    sql += "(?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)";
  }
  return sql;
}

StoreProblem problem_of(int code) {
  switch (code & 0xff) {
    case SQLITE_FULL:
      return StoreProblem::kFull;
    case SQLITE_READONLY:
      return StoreProblem::kReadOnly;
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT:
      return StoreProblem::kNotAStore;
    case SQLITE_CANTOPEN:
    case SQLITE_PERM:
      return StoreProblem::kCannotOpen;
    default:
      return StoreProblem::kFailed;
  }
}

// A prepared statement, reset for each use.
class Statement {
 public:
  Statement() = default;
  Statement(sqlite3* db, const char* sql) {
    if (sqlite3_prepare_v3(db, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement_, nullptr) !=
        SQLITE_OK) {
      statement_ = nullptr;
    }
  }
  ~Statement() { sqlite3_finalize(statement_); }
  Statement(Statement&& other) noexcept : statement_(std::exchange(other.statement_, nullptr)) {}
  Statement& operator=(Statement&& other) noexcept {
    std::swap(statement_, other.statement_);
    return *this;
  }
  explicit operator bool() const noexcept { return statement_ != nullptr; }
  sqlite3_stmt* get() const noexcept { return statement_; }

  // Every parameter is bound anew before each step, so the old bindings need no clearing.
  Statement& reset() {
    sqlite3_reset(statement_);
    next_ = 1;
    return *this;
  }
  Statement& text(std::string_view value) {
    sqlite3_bind_text64(statement_, next_++, value.data(), value.size(), SQLITE_STATIC,
                        SQLITE_UTF8);
    return *this;
  }
  Statement& text(const std::string& value) { return text(std::string_view(value)); }
  Statement& text(const std::optional<std::string>& value) {
    return value ? text(std::string_view(*value)) : null();
  }
  Statement& integer(std::int64_t value) {
    sqlite3_bind_int64(statement_, next_++, value);
    return *this;
  }
  Statement& real(double value) {
    if (std::isnan(value)) return null();
    sqlite3_bind_double(statement_, next_++, value);
    return *this;
  }
  Statement& real(const std::optional<double>& value) { return value ? real(*value) : null(); }
  Statement& null() {
    sqlite3_bind_null(statement_, next_++);
    return *this;
  }
  // SQLITE_ROW, SQLITE_DONE or an error code.
  int step() { return sqlite3_step(statement_); }

  std::string column_text(int i) const {
    const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement_, i));
    return bytes ? std::string(bytes, static_cast<std::size_t>(sqlite3_column_bytes(statement_, i)))
                 : std::string();
  }
  std::optional<std::string> column_optional_text(int i) const {
    if (sqlite3_column_type(statement_, i) == SQLITE_NULL) return std::nullopt;
    return column_text(i);
  }
  std::int64_t column_integer(int i) const { return sqlite3_column_int64(statement_, i); }
  std::optional<double> column_real(int i) const {
    if (sqlite3_column_type(statement_, i) == SQLITE_NULL) return std::nullopt;
    return sqlite3_column_double(statement_, i);
  }

 private:
  sqlite3_stmt* statement_ = nullptr;
  int next_ = 1;
};

class SqliteStore;

// One point row held until a group is full, with its label kept beside it.
struct OwnedPoint {
  PointRow row;  // row.label views `label`
  std::string label;
};

// A run's rows, written in the transaction begin_run opened; the run's id is known ahead.
class SqliteRunWriter final : public RunWriter {
 public:
  SqliteRunWriter(SqliteStore& store, std::int64_t run_id)
      : store_(store), run_id_(run_id), pending_(static_cast<std::size_t>(kPointsPerInsert)) {}
  ~SqliteRunWriter() override;
  SqliteRunWriter(const SqliteRunWriter&) = delete;
  SqliteRunWriter& operator=(const SqliteRunWriter&) = delete;

  bool add_path(const mtrProbePath& path, StoreStatus& status) override;
  AddOutcome finish(const RunRecord& record, StoreStatus& status) override;

 private:
  // Inserts the rows held (a full group in one statement); sets code_.
  void store_pending();

  SqliteStore& store_;
  std::int64_t run_id_;
  std::int32_t paths_ = 0;   // the paths added so far
  std::int64_t points_ = 0;  // their points
  std::vector<OwnedPoint> pending_;
  std::size_t held_ = 0;
  int code_ = SQLITE_DONE;  // the first failure of an insert
  bool done_ = false;       // committed
};

class SqliteStore final : public RunStore {
 public:
  explicit SqliteStore(sqlite3* db) : db_(db) {}
  ~SqliteStore() override { sqlite3_close_v2(db_); }

  const char* back_end() const noexcept override { return "sqlite"; }

  bool prepare(bool for_writing, StoreStatus& status);

  bool has_run(const std::string& path, const std::string& sha256, StoreStatus& status) override {
    status = {};
    Statement& s = statement(has_run_, "SELECT 1 FROM runs WHERE path = ? AND sha256 = ?");
    s.reset().text(path).text(sha256);
    const int code = s.step();
    if (code != SQLITE_ROW && code != SQLITE_DONE) fail(code, status);
    s.reset();
    return code == SQLITE_ROW;
  }

  bool has_path(const std::string& path, StoreStatus& status) override {
    status = {};
    Statement& s = statement(has_path_, "SELECT 1 FROM runs WHERE path = ? LIMIT 1");
    s.reset().text(path);
    const int code = s.step();
    if (code != SQLITE_ROW && code != SQLITE_DONE) fail(code, status);
    s.reset();
    return code == SQLITE_ROW;
  }

  std::unique_ptr<RunWriter> begin_run(StoreStatus& status) override;
  std::vector<StoredRun> runs(const RunFilter& filter, StoreStatus& status) override;
  std::vector<StoredCheck> checks(const std::vector<std::int64_t>& run_ids,
                                  StoreStatus& status) override;
  std::vector<StoredPoint> points(const std::vector<std::int64_t>& run_ids,
                                  StoreStatus& status) override;
  bool save_limits(const std::string& program, const std::string& document,
                   StoreStatus& status) override;
  std::optional<std::string> latest_limits(const std::string& program,
                                           StoreStatus& status) override;

 private:
  friend class SqliteRunWriter;
  // Prepares `sql` once, on first use.
  Statement& statement(Statement& slot, const char* sql) {
    if (!slot) slot = Statement(db_, sql);
    return slot;
  }
  bool fail(int code, StoreStatus& status) {
    status = {problem_of(code), std::string("the store: ") + sqlite3_errmsg(db_)};
    if ((code & 0xff) == SQLITE_FULL) status.message = "the store: the disk is full";
    return false;
  }
  bool exec(const char* sql, StoreStatus& status) {
    const int code = sqlite3_exec(db_, sql, nullptr, nullptr, nullptr);
    return code == SQLITE_OK || fail(code, status);
  }
  void rollback() { sqlite3_exec(db_, "ROLLBACK", nullptr, nullptr, nullptr); }
  std::optional<std::int64_t> program_id(const std::string& name, bool make, StoreStatus& status);

  sqlite3* db_;
  Statement has_run_, has_path_, add_program_, find_program_, next_run_id_, add_run_, add_check_,
      add_point_, add_points_, add_limits_, latest_limits_;
};

SqliteRunWriter::~SqliteRunWriter() {
  if (!done_) store_.rollback();
}

bool SqliteStore::prepare(bool for_writing, StoreStatus& status) {
  sqlite3_busy_timeout(db_, 60000);
  sqlite3_extended_result_codes(db_, 1);
  // Reading the table list is the first read of the file: a file that is not a database fails here.
  Statement probe(db_, "SELECT count(*) FROM sqlite_master");
  if (!probe) return fail(sqlite3_errcode(db_), status);
  int code = probe.step();
  if (code != SQLITE_ROW) return fail(code, status);
  const std::int64_t tables = probe.column_integer(0);
  probe = Statement();

  auto version = [&](std::int64_t& out) -> int {
    Statement s(db_, "SELECT max(version) FROM schema_version");
    if (!s) return sqlite3_errcode(db_);
    const int step = s.step();
    out = step == SQLITE_ROW ? s.column_integer(0) : 0;
    return step == SQLITE_ROW ? SQLITE_OK : step;
  };

  if (tables == 0) {
    if (!for_writing) {
      status = {StoreProblem::kNotAStore, "the store holds no runs yet (nothing was ingested)"};
      return false;
    }
    if (sqlite3_db_readonly(db_, "main") == 1) {
      status = {StoreProblem::kReadOnly, "the store is read-only"};
      return false;
    }
    // WAL first, outside any transaction; then the tables, once, whoever comes first.
    // Large pages: a run of many points is written as fewer, larger log frames.
    exec("PRAGMA page_size=32768", status);
    exec("PRAGMA journal_mode=WAL", status);
    status = {};
    if (!exec("BEGIN IMMEDIATE", status)) return false;
    Statement again(db_, "SELECT count(*) FROM sqlite_master");
    if (again && again.step() == SQLITE_ROW && again.column_integer(0) == 0) {
      again = Statement();
      if (!exec(kSchema, status)) {
        rollback();
        return false;
      }
    }
    again = Statement();
    if (!exec("COMMIT", status)) {
      rollback();
      return false;
    }
  }

  std::int64_t found = 0;
  code = version(found);
  if (code != SQLITE_OK) {
    status = {StoreProblem::kNotAStore, "the file is a database, but not a run store"};
    return false;
  }
  if (found > kSchemaVersion) {
    status = {StoreProblem::kNewerSchema, "the store was written by a newer cncprobe (schema " +
                                              std::to_string(found) + ", this one knows " +
                                              std::to_string(kSchemaVersion) + ")"};
    return false;
  }
  if (found < 1) {
    status = {StoreProblem::kNotAStore, "the file is a database, but not a run store"};
    return false;
  }
  // An older store is brought up to this schema by the first process that writes to it, step by
  // step, in one transaction; a reader reads it as it is (the columns are the same).
  if (for_writing) {
    if (sqlite3_db_readonly(db_, "main") == 1) {
      status = {StoreProblem::kReadOnly, "the store is read-only"};
      return false;
    }
    sqlite3_exec(db_, "PRAGMA synchronous=NORMAL", nullptr, nullptr, nullptr);
    if (found < kSchemaVersion) {
      if (!exec("BEGIN IMMEDIATE", status)) return false;
      // Read again under the write lock: another process may have brought it up meanwhile.
      code = version(found);
      // Versions 1 and 2 have the tables of version 3.
      if (code != SQLITE_OK ||
          (found < kSchemaVersion && !exec("UPDATE schema_version SET version = 3", status)) ||
          !exec("COMMIT", status)) {
        if (code != SQLITE_OK) fail(code, status);
        rollback();
        return false;
      }
    }
  }
  // Foreign keys are not enforced on the store's own connection: a run's checks and points are
  // inserted with the id of the run that the same transaction has just inserted, so their
  // reference holds by construction, and checking it row by row would make every grouped insert
  // of points keep a journal of its own (a statement that may fail half way must be undone
  // alone). The tables still declare their references, for anyone who deletes runs by hand.
  return true;
}

std::optional<std::int64_t> SqliteStore::program_id(const std::string& name, bool make,
                                                    StoreStatus& status) {
  if (make) {
    Statement& add = statement(
        add_program_, "INSERT INTO programs (name) VALUES (?) ON CONFLICT (name) DO NOTHING");
    const int code = add.reset().text(name).step();
    add.reset();
    if (code != SQLITE_DONE) {
      fail(code, status);
      return std::nullopt;
    }
  }
  Statement& find = statement(find_program_, "SELECT id FROM programs WHERE name = ?");
  const int code = find.reset().text(name).step();
  std::optional<std::int64_t> id;
  if (code == SQLITE_ROW) id = find.column_integer(0);
  if (code != SQLITE_ROW && code != SQLITE_DONE) fail(code, status);
  find.reset();
  return id;
}

std::unique_ptr<RunWriter> SqliteStore::begin_run(StoreStatus& status) {
  status = {};
  // IMMEDIATE: the write lock is taken at the start, so two ingests queue on the busy timeout
  // instead of one failing when it turns from reading to writing. Holding it, this connection
  // alone adds runs, so the id the run will have is known before its points are written.
  if (!exec("BEGIN IMMEDIATE", status)) return nullptr;
  Statement& next = statement(next_run_id_, "SELECT coalesce(max(id), 0) + 1 FROM runs");
  const int code = next.reset().step();
  const std::int64_t run_id = code == SQLITE_ROW ? next.column_integer(0) : 0;
  next.reset();
  if (code != SQLITE_ROW) {
    fail(code, status);
    rollback();
    return nullptr;
  }
  return std::make_unique<SqliteRunWriter>(*this, run_id);
}

bool SqliteRunWriter::add_path(const mtrProbePath& path, StoreStatus& status) {
  if (code_ != SQLITE_DONE) return false;
  for_each_point_of(path, paths_++, points_, [this](const PointRow& p) {
    if (code_ != SQLITE_DONE) return;
    OwnedPoint& next = pending_[held_++];
    next.row = p;
    next.label.assign(p.label);
    next.row.label = next.label;
    if (held_ == pending_.size()) store_pending();
  });
  points_ += path.inspection_points_count();
  return code_ == SQLITE_DONE || store_.fail(code_, status);
}

void SqliteRunWriter::store_pending() {
  // Points go kPointsPerInsert to a statement: a statement's own cost (its step, its reset) is
  // paid once for them all. The last few of a run go one by one.
  SqliteStore& s = store_;
  if (!s.add_points_) s.add_points_ = Statement(s.db_, points_insert(kPointsPerInsert).c_str());
  if (!s.add_point_) s.add_point_ = Statement(s.db_, points_insert(1).c_str());
  auto bind = [this](Statement& statement, const PointRow& p) {
    statement.integer(run_id_)
        .integer(p.index)
        .integer(p.path)
        .integer(p.toolpath)
        .integer(p.instance)
        .text(p.label)
        .real(p.nominal[0])
        .real(p.nominal[1])
        .real(p.nominal[2])
        .real(p.direction[0])
        .real(p.direction[1])
        .real(p.direction[2])
        .real(p.o)
        .real(p.u)
        .real(p.l)
        .real(p.measured[0])
        .real(p.measured[1])
        .real(p.measured[2])
        .real(p.r)
        .real(p.deviation)
        .real(p.lower_limit)
        .real(p.upper_limit)
        .text(std::string_view(p.verdict));
  };
  const OwnedPoint* rows = pending_.data();
  std::size_t count = held_;
  held_ = 0;
  if (count == pending_.size()) {
    s.add_points_.reset();
    for (std::size_t i = 0; i < count; ++i) bind(s.add_points_, rows[i].row);
    code_ = s.add_points_.step();
    s.add_points_.reset();
    return;
  }
  for (; count > 0 && code_ == SQLITE_DONE; ++rows, --count) {
    bind(s.add_point_.reset(), rows->row);
    code_ = s.add_point_.step();
  }
  s.add_point_.reset();
}

AddOutcome SqliteRunWriter::finish(const RunRecord& r, StoreStatus& status) {
  status = {};
  SqliteStore& s = store_;
  auto failed = [&](int code) {
    if (code != 0) s.fail(code, status);
    return AddOutcome::kFailed;  // the destructor rolls back
  };
  if (code_ == SQLITE_DONE) store_pending();
  if (code_ != SQLITE_DONE) return failed(code_);
  const std::optional<std::int64_t> program = s.program_id(r.program, true, status);
  if (!program) return failed(0);

  Statement& run = s.statement(s.add_run_, R"sql(
INSERT INTO runs (id, program_id, path, sha256, file_time, ingest_time, units, input_problem,
  status_code, status_name, verdict, results_file, results, probe_paths, features, points,
  checks_in, checks_out, checks_not_toleranced, points_within, points_outside, points_unmeasured,
  results_file_version, settings_filename, cad_filename, cldata_filename, document_id,
  document_version, model_version)
VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)
ON CONFLICT (path, sha256) DO NOTHING)sql");
  run.reset()
      .integer(run_id_)
      .integer(*program)
      .text(r.path)
      .text(r.sha256)
      .text(r.file_time)
      .text(r.ingest_time)
      .text(r.units)
      .text(std::string_view(kpt_input_problem_text(r.input_problem)))
      .integer(r.status_code)
      .text(r.status_name)
      .text(r.verdict)
      .text(r.results_file)
      .integer(r.results)
      .integer(r.probe_paths)
      .integer(r.features)
      .integer(r.points)
      .integer(r.checks_in)
      .integer(r.checks_out)
      .integer(r.checks_not_toleranced)
      .integer(r.points_within)
      .integer(r.points_outside)
      .integer(r.points_unmeasured)
      .text(r.references.results_file_version)
      .text(r.references.settings_filename)
      .text(r.references.cad_filename)
      .text(r.references.cldata_filename)
      .text(r.references.document_id)
      .text(r.references.document_version)
      .text(r.references.model_version);
  int code = run.step();
  run.reset();
  if (code != SQLITE_DONE) return failed(code);
  // Stored before, by this process or another: the points written for it are rolled back.
  if (sqlite3_changes(s.db_) == 0) return AddOutcome::kAlreadyStored;

  Statement& check = s.statement(s.add_check_, R"sql(
INSERT INTO checks (run_id, seq, result, kind, toolpath, instance, component, feature, name,
  quantity, series, nominal, actual, deviation, tolerance, true_position, tolerance_used,
  lower_limit, upper_limit, verdict, compared, compared_limit)
VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?))sql");
  std::int64_t seq = 0;
  for (const CheckRow& c : r.checks) {
    check.reset()
        .integer(run_id_)
        .integer(seq++)
        .integer(c.result)
        .text(c.kind)
        .integer(c.toolpath)
        .integer(c.instance)
        .integer(c.component)
        .integer(c.feature)
        .text(c.name)
        .text(c.quantity)
        .text(c.series)
        .real(c.nominal)
        .real(c.actual)
        .real(c.deviation)
        .real(c.tolerance)
        .integer(c.true_position ? 1 : 0)
        .real(c.tolerance_used)
        .real(c.lower_limit)
        .real(c.upper_limit)
        .text(c.verdict)
        .real(c.compared)
        .real(c.compared_limit);
    code = check.step();
    if (code != SQLITE_DONE) {
      check.reset();
      return failed(code);
    }
  }
  check.reset();
  if (!s.exec("COMMIT", status)) return failed(0);
  done_ = true;
  return AddOutcome::kStored;
}

std::vector<StoredRun> SqliteStore::runs(const RunFilter& filter, StoreStatus& status) {
  status = {};
  // One statement for every filter: an absent filter is a NULL that passes every row.
  Statement s(db_, R"sql(
SELECT * FROM (
  SELECT r.id, p.name, r.path, r.sha256, r.file_time, r.ingest_time, r.units, r.status_code,
         r.status_name, r.verdict, r.features, r.points, r.checks_out, r.points_outside,
         r.results_file, r.cldata_filename, r.cad_filename
  FROM runs r JOIN programs p ON p.id = r.program_id
  WHERE (?1 IS NULL OR p.name = ?1) AND (?2 IS NULL OR coalesce(r.file_time, r.ingest_time) >= ?2)
  ORDER BY coalesce(r.file_time, r.ingest_time) DESC, r.id DESC
  LIMIT coalesce(?3, -1))
ORDER BY coalesce(file_time, ingest_time), id)sql");
  std::vector<StoredRun> out;
  if (!s) {
    fail(sqlite3_errcode(db_), status);
    return out;
  }
  s.reset().text(filter.program).text(filter.since);
  if (filter.last) {
    s.integer(*filter.last);
  } else {
    s.null();
  }
  int code;
  while ((code = s.step()) == SQLITE_ROW) {
    StoredRun run;
    run.id = s.column_integer(0);
    run.program = s.column_text(1);
    run.path = s.column_text(2);
    run.sha256 = s.column_text(3);
    run.file_time = s.column_optional_text(4);
    run.ingest_time = s.column_text(5);
    run.units = s.column_text(6);
    run.status_code = static_cast<std::int32_t>(s.column_integer(7));
    run.status_name = s.column_text(8);
    run.verdict = s.column_optional_text(9);
    run.features = s.column_integer(10);
    run.points = s.column_integer(11);
    run.checks_out = s.column_integer(12);
    run.points_outside = s.column_integer(13);
    run.results_file = s.column_optional_text(14);
    run.cldata_filename = s.column_optional_text(15);
    run.cad_filename = s.column_optional_text(16);
    out.push_back(std::move(run));
  }
  if (code != SQLITE_DONE) fail(code, status);
  return out;
}

std::vector<StoredCheck> SqliteStore::checks(const std::vector<std::int64_t>& run_ids,
                                             StoreStatus& status) {
  status = {};
  std::vector<StoredCheck> out;
  Statement s(db_, R"sql(
SELECT run_id, result, kind, toolpath, instance, component, feature, name, quantity, series,
       nominal, actual, deviation, tolerance, true_position, tolerance_used, lower_limit,
       upper_limit, verdict, compared, compared_limit
FROM checks WHERE run_id = ? ORDER BY seq)sql");
  if (!s) {
    fail(sqlite3_errcode(db_), status);
    return out;
  }
  for (const std::int64_t id : run_ids) {
    s.reset().integer(id);
    int code;
    while ((code = s.step()) == SQLITE_ROW) {
      StoredCheck row;
      row.run = s.column_integer(0);
      CheckRow& c = row.check;
      c.result = static_cast<std::int32_t>(s.column_integer(1));
      c.kind = s.column_text(2);
      c.toolpath = static_cast<std::int32_t>(s.column_integer(3));
      c.instance = static_cast<std::int32_t>(s.column_integer(4));
      c.component = static_cast<std::int32_t>(s.column_integer(5));
      c.feature = static_cast<std::int32_t>(s.column_integer(6));
      c.name = s.column_optional_text(7);
      c.quantity = s.column_text(8);
      c.series = s.column_text(9);
      c.nominal = s.column_real(10);
      c.actual = s.column_real(11);
      c.deviation = s.column_real(12).value_or(std::nan(""));
      c.tolerance = s.column_real(13);
      c.true_position = s.column_integer(14) != 0;
      c.tolerance_used = s.column_real(15);
      c.lower_limit = s.column_real(16);
      c.upper_limit = s.column_real(17);
      c.verdict = s.column_text(18);
      c.compared = s.column_real(19);
      c.compared_limit = s.column_real(20);
      out.push_back(std::move(row));
    }
    if (code != SQLITE_DONE) {
      fail(code, status);
      break;
    }
  }
  return out;
}

std::vector<StoredPoint> SqliteStore::points(const std::vector<std::int64_t>& run_ids,
                                             StoreStatus& status) {
  status = {};
  std::vector<StoredPoint> out;
  Statement s(db_, R"sql(
SELECT run_id, label, deviation, lower_limit, upper_limit FROM points WHERE run_id = ?
ORDER BY idx)sql");
  if (!s) {
    fail(sqlite3_errcode(db_), status);
    return out;
  }
  for (const std::int64_t id : run_ids) {
    s.reset().integer(id);
    int code;
    while ((code = s.step()) == SQLITE_ROW) {
      out.push_back({s.column_integer(0), s.column_text(1), s.column_real(2), s.column_real(3),
                     s.column_real(4)});
    }
    if (code != SQLITE_DONE) {
      fail(code, status);
      break;
    }
  }
  return out;
}

bool SqliteStore::save_limits(const std::string& program, const std::string& document,
                              StoreStatus& status) {
  status = {};
  if (!exec("BEGIN IMMEDIATE", status)) return false;
  const std::optional<std::int64_t> id = program_id(program, true, status);
  if (!id) {
    rollback();
    return false;
  }
  Statement& s =
      statement(add_limits_,
                "INSERT INTO control_limits (program_id, saved_time, document) VALUES (?, ?, ?)");
  const std::string saved = kptUtcTime::now();
  const int code = s.reset().integer(*id).text(saved).text(document).step();
  s.reset();
  if (code != SQLITE_DONE) {
    fail(code, status);
    rollback();
    return false;
  }
  if (!exec("COMMIT", status)) {
    rollback();
    return false;
  }
  return true;
}

std::optional<std::string> SqliteStore::latest_limits(const std::string& program,
                                                      StoreStatus& status) {
  status = {};
  Statement& s = statement(latest_limits_, R"sql(
SELECT l.document FROM control_limits l JOIN programs p ON p.id = l.program_id
WHERE p.name = ? ORDER BY l.saved_time DESC, l.id DESC LIMIT 1)sql");
  const int code = s.reset().text(program).step();
  std::optional<std::string> document;
  if (code == SQLITE_ROW) document = s.column_text(0);
  if (code != SQLITE_ROW && code != SQLITE_DONE) fail(code, status);
  s.reset();
  return document;
}

}  // namespace

namespace {

// Opens `name` with `flags` and readies the store; null with `status` set on failure.
std::unique_ptr<RunStore> open_file(const std::string& path, const std::string& name, int flags,
                                    bool for_writing, StoreStatus& status) {
  sqlite3* db = nullptr;
  const int code = sqlite3_open_v2(name.c_str(), &db, flags | SQLITE_OPEN_NOMUTEX, nullptr);
  if (code != SQLITE_OK) {
    status = {problem_of(code), path + ": " + (db ? sqlite3_errmsg(db) : "cannot be opened")};
    if ((code & 0xff) == SQLITE_CANTOPEN) {
      status.message = path + (for_writing ? ": cannot be opened or made" : ": no such store");
    }
    sqlite3_close_v2(db);
    return nullptr;
  }
  auto store = std::make_unique<SqliteStore>(db);
  if (!store->prepare(for_writing, status)) {
    status.message = path + ": " + status.message;
    return nullptr;
  }
  return store;
}

bool exists(const std::string& path) {
  std::error_code error;
  return std::filesystem::exists(path_of(path), error);
}

}  // namespace

std::unique_ptr<RunStore> open_sqlite_store(const std::string& path, bool for_writing,
                                            StoreStatus& status) {
#if !defined(_WIN32)
  // A store on a read-only medium, or without write permission, cannot take runs: say so
  // before SQLite fails to make its log beside it.
  if (for_writing && exists(path) && ::access(path.c_str(), W_OK) != 0) {
    status = {StoreProblem::kReadOnly, path + ": the store is read-only"};
    return nullptr;
  }
#endif
  if (for_writing) {
    return open_file(path, path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, true, status);
  }
  std::unique_ptr<RunStore> store = open_file(path, path, SQLITE_OPEN_READONLY, false, status);
  if (!store && status.problem == StoreProblem::kCannotOpen && exists(path)) {
    // A store on a read-only medium: nothing can change it, so it is read as immutable, without
    // the shared memory a reader otherwise makes beside it.
    std::string uri = "file:";
    for (const char c : path) {
      if (c == '%' || c == '?' || c == '#') {
        static constexpr char kHex[] = "0123456789ABCDEF";
        uri += '%';
        uri += kHex[static_cast<unsigned char>(c) >> 4];
        uri += kHex[c & 15];
      } else {
        uri += c;
      }
    }
    uri += "?immutable=1";
    store = open_file(path, uri, SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, false, status);
  }
  return store;
}

}  // namespace store
