// The PostgreSQL back end, through libpq's C interface: prepared statements for the runs, COPY for
// their checks and points. Text that comes from a results file (paths, program and feature names,
// labels) is kept as bytea: a file may hold bytes that are not UTF-8, and a server's text
// columns refuse them.
#include "cncprobe/foundation/utc_time.h"
#include "cncprobe/platform/model/probe_path.h"
#include "store/internal/back_ends.h"

#if defined(CNCPROBE_STORE_POSTGRES)

#include <libpq-fe.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace store {

namespace {

// Version 3 of the tables. A run's points are written together, in one COPY, in the transaction
// that writes their run, so the table holds them in runs, one after the other: a block-range
// index on the run finds them (it keeps the least and greatest run of each range of pages, a few
// bytes where a B-tree keeps a key for every point). Its checks and points are known to have
// their run, written by the same transaction, without the server looking it up for every row.
constexpr const char* kSchema = R"sql(
CREATE TABLE schema_version (version INTEGER NOT NULL);
CREATE TABLE programs (id BIGSERIAL PRIMARY KEY, name BYTEA NOT NULL UNIQUE);
CREATE TABLE runs (
  id BIGSERIAL PRIMARY KEY,
  program_id BIGINT NOT NULL REFERENCES programs(id),
  path BYTEA NOT NULL, sha256 TEXT NOT NULL,
  file_time TEXT, ingest_time TEXT NOT NULL, units TEXT NOT NULL,
  input_problem TEXT NOT NULL, status_code INTEGER NOT NULL, status_name TEXT NOT NULL,
  verdict TEXT, results_file BYTEA,
  results BIGINT NOT NULL, probe_paths BIGINT NOT NULL, features BIGINT NOT NULL,
  points BIGINT NOT NULL, checks_in BIGINT NOT NULL, checks_out BIGINT NOT NULL,
  checks_not_toleranced BIGINT NOT NULL, points_within BIGINT NOT NULL,
  points_outside BIGINT NOT NULL, points_unmeasured BIGINT NOT NULL,
  results_file_version BYTEA, settings_filename BYTEA, cad_filename BYTEA, cldata_filename BYTEA,
  document_id BYTEA, document_version BYTEA, model_version BYTEA,
  UNIQUE (path, sha256));
CREATE INDEX runs_by_program ON runs (program_id, file_time);
CREATE TABLE checks (
  run_id BIGINT NOT NULL, seq INTEGER NOT NULL,
  result INTEGER NOT NULL, kind TEXT NOT NULL, toolpath INTEGER NOT NULL,
  instance INTEGER NOT NULL, component INTEGER NOT NULL, feature INTEGER NOT NULL, name BYTEA,
  quantity TEXT NOT NULL, series BYTEA NOT NULL, nominal DOUBLE PRECISION,
  actual DOUBLE PRECISION, deviation DOUBLE PRECISION, tolerance DOUBLE PRECISION,
  true_position INTEGER NOT NULL, tolerance_used DOUBLE PRECISION,
  lower_limit DOUBLE PRECISION, upper_limit DOUBLE PRECISION, verdict TEXT NOT NULL,
  compared DOUBLE PRECISION, compared_limit DOUBLE PRECISION,
  PRIMARY KEY (run_id, seq));
CREATE TABLE points (
  run_id BIGINT NOT NULL, idx BIGINT NOT NULL,
  path INTEGER NOT NULL, toolpath INTEGER NOT NULL, instance INTEGER NOT NULL,
  label BYTEA NOT NULL,
  nominal_x DOUBLE PRECISION, nominal_y DOUBLE PRECISION, nominal_z DOUBLE PRECISION,
  direction_x DOUBLE PRECISION, direction_y DOUBLE PRECISION, direction_z DOUBLE PRECISION,
  o DOUBLE PRECISION, u DOUBLE PRECISION, l DOUBLE PRECISION,
  measured_x DOUBLE PRECISION, measured_y DOUBLE PRECISION, measured_z DOUBLE PRECISION,
  r DOUBLE PRECISION, deviation DOUBLE PRECISION, lower_limit DOUBLE PRECISION,
  upper_limit DOUBLE PRECISION, verdict TEXT NOT NULL);
CREATE INDEX points_by_run ON points USING brin (run_id)
  WITH (pages_per_range = 32, autosummarize = on);
CREATE TABLE control_limits (
  id BIGSERIAL PRIMARY KEY, program_id BIGINT NOT NULL REFERENCES programs(id),
  saved_time TEXT NOT NULL, document TEXT NOT NULL);
INSERT INTO schema_version (version) VALUES (3);
)sql";

// From version 1, whose points had a primary key (run_id, idx) and a foreign key to their run:
// the same rows, found through an index on the run.
constexpr const char* kFromVersion1 = R"sql(
ALTER TABLE points DROP CONSTRAINT IF EXISTS points_run_id_fkey,
  DROP CONSTRAINT IF EXISTS points_pkey;
CREATE INDEX points_by_run ON points (run_id);
UPDATE schema_version SET version = 2;
)sql";
// From version 2, whose index on the points' run was a B-tree and whose checks had a foreign key
// to their run. The block ranges are summarized as the index is made; later ones as they fill.
constexpr const char* kFromVersion2 = R"sql(
ALTER TABLE checks DROP CONSTRAINT IF EXISTS checks_run_id_fkey;
DROP INDEX points_by_run;
CREATE INDEX points_by_run ON points USING brin (run_id)
  WITH (pages_per_range = 32, autosummarize = on);
UPDATE schema_version SET version = 3;
)sql";

// About a block range of points (32 pages of some 35 rows).
constexpr std::int64_t kPointsToSummarize = 1024;

// Any number the schema makes: two ingests that find an empty database take turns making it.
constexpr const char* kSchemaLock = "SELECT pg_advisory_xact_lock(4242084101)";

std::string first_line(const char* text) {
  std::string line = text ? text : "";
  const std::size_t end = line.find('\n');
  if (end != std::string::npos) line.erase(end);
  return line;
}

StoreProblem problem_of(const char* sqlstate) {
  const std::string_view code = sqlstate ? sqlstate : "";
  if (code == "53100") return StoreProblem::kFull;
  if (code == "25006" || code == "42501") return StoreProblem::kReadOnly;
  if (code.starts_with("08") || code.starts_with("57P")) return StoreProblem::kUnreachable;
  if (code.starts_with("28") || code == "3D000") return StoreProblem::kRefused;
  return StoreProblem::kFailed;
}

// "\x..." (bytea's text form) back to the bytes.
std::string from_bytea(const char* text, int length) {
  std::string bytes;
  if (length < 2 || text[0] != '\\' || text[1] != 'x') return std::string(text, length);
  bytes.reserve(static_cast<std::size_t>(length - 2) / 2);
  auto nibble = [](char c) { return c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10; };
  for (int i = 2; i + 1 < length; i += 2) {
    bytes.push_back(static_cast<char>(nibble(text[i]) << 4 | nibble(text[i + 1])));
  }
  return bytes;
}

// The parameters of one statement: text (format 0) for numbers and our own names, binary
// (format 1) for bytea, so no byte of a file is ever read as SQL or as an encoding.
class Params {
 public:
  Params& text(std::string value) {
    values_.push_back(std::move(value));
    nulls_.push_back(false);
    formats_.push_back(0);
    return *this;
  }
  Params& bytes(std::string_view value) {
    values_.emplace_back(value);
    nulls_.push_back(false);
    formats_.push_back(1);
    return *this;
  }
  Params& bytes(const std::optional<std::string>& value) {
    return value ? bytes(std::string_view(*value)) : null();
  }
  Params& text(const std::optional<std::string>& value) { return value ? text(*value) : null(); }
  Params& integer(std::int64_t value) { return text(std::to_string(value)); }
  Params& null() {
    values_.emplace_back();
    nulls_.push_back(true);
    formats_.push_back(0);
    return *this;
  }
  int size() const { return static_cast<int>(values_.size()); }
  // Pointers into the values; valid while the Params lives.
  void arrays(std::vector<const char*>& values, std::vector<int>& lengths) const {
    values.clear();
    lengths.clear();
    for (std::size_t i = 0; i < values_.size(); ++i) {
      values.push_back(nulls_[i] ? nullptr : values_[i].data());
      lengths.push_back(static_cast<int>(values_[i].size()));
    }
  }
  const int* formats() const { return formats_.data(); }

 private:
  std::vector<std::string> values_;
  std::vector<bool> nulls_;
  std::vector<int> formats_;
};

// Rows for COPY ... FROM STDIN in its binary form: the server reads each value as it is, with no
// text to parse, and a file's bytes (labels, names) travel raw. Every field is sent with the width
// of its column's type (BIGINT 8, INTEGER 4, DOUBLE PRECISION 8 bytes, big-endian); a NaN is sent
// as NULL, as the store keeps an unmeasured value.
class CopyRows {
 public:
  CopyRows(PGconn* connection, std::int16_t fields) : connection_(connection), fields_(fields) {
    static constexpr char kSignature[] = "PGCOPY\n\377\r\n";  // with its closing NUL
    buffer_.append(kSignature, sizeof kSignature);
    put(std::uint32_t{0});  // flags: no OIDs
    put(std::uint32_t{0});  // no header extension
  }
  void bigint(std::int64_t value) {
    put(std::uint32_t{8});
    put(static_cast<std::uint64_t>(value));
  }
  void integer(std::int32_t value) {
    put(std::uint32_t{4});
    put(static_cast<std::uint32_t>(value));
  }
  void real(double value) {
    if (std::isnan(value)) return null();
    put(std::uint32_t{8});
    put(std::bit_cast<std::uint64_t>(value));
  }
  void real(const std::optional<double>& value) { real(value ? *value : std::nan("")); }
  // Text or bytea: the bytes as they are (our own names are ASCII).
  void bytes(std::string_view value) {
    put(static_cast<std::uint32_t>(value.size()));
    buffer_ += value;
  }
  void bytes(const std::optional<std::string>& value) {
    if (value) {
      bytes(std::string_view(*value));
    } else {
      null();
    }
  }
  void null() { put(std::uint32_t{0xffffffff}); }
  // Starts a row; sends the buffer when it has grown. False when the server refused it.
  bool begin_row() {
    if (buffer_.size() >= (1u << 20) && !flush()) return false;
    put(static_cast<std::uint16_t>(fields_));
    return true;
  }
  // Sends the rest with the end mark. False when the server refused it.
  bool finish() {
    put(std::uint16_t{0xffff});
    return flush();
  }

 private:
  bool flush() {
    if (buffer_.empty()) return true;
    const bool sent =
        PQputCopyData(connection_, buffer_.data(), static_cast<int>(buffer_.size())) == 1;
    buffer_.clear();
    return sent;
  }
  // Network byte order, whatever the host's.
  template <class Unsigned>
  void put(Unsigned value) {
    char bytes[sizeof value];
    for (std::size_t i = 0; i < sizeof value; ++i) {
      bytes[i] = static_cast<char>(value >> (8 * (sizeof value - 1 - i)));
    }
    buffer_.append(bytes, sizeof value);
  }
  PGconn* connection_;
  std::int16_t fields_;
  std::string buffer_;
};

class Result {
 public:
  explicit Result(PGresult* result) : result_(result) {}
  ~Result() { PQclear(result_); }
  Result(const Result&) = delete;
  Result& operator=(const Result&) = delete;
  PGresult* get() const { return result_; }
  bool ok() const {
    const ExecStatusType s = PQresultStatus(result_);
    return s == PGRES_COMMAND_OK || s == PGRES_TUPLES_OK || s == PGRES_COPY_IN;
  }
  int rows() const { return PQntuples(result_); }
  bool null(int row, int column) const { return PQgetisnull(result_, row, column) != 0; }
  std::string text(int row, int column) const {
    return std::string(PQgetvalue(result_, row, column),
                       static_cast<std::size_t>(PQgetlength(result_, row, column)));
  }
  std::optional<std::string> optional_text(int row, int column) const {
    if (null(row, column)) return std::nullopt;
    return text(row, column);
  }
  std::string bytes(int row, int column) const {
    return from_bytea(PQgetvalue(result_, row, column), PQgetlength(result_, row, column));
  }
  std::optional<std::string> optional_bytes(int row, int column) const {
    if (null(row, column)) return std::nullopt;
    return bytes(row, column);
  }
  std::int64_t integer(int row, int column) const {
    return std::strtoll(PQgetvalue(result_, row, column), nullptr, 10);
  }
  std::optional<double> real(int row, int column) const {
    if (null(row, column)) return std::nullopt;
    return std::strtod(PQgetvalue(result_, row, column), nullptr);
  }

 private:
  PGresult* result_;
};

class PostgresStore;

// A run's rows, written in the transaction begin_run opened: its points in one COPY as the paths
// come, then the run with the id drawn ahead, and its checks.
class PostgresRunWriter final : public RunWriter {
 public:
  PostgresRunWriter(PostgresStore& store, std::int64_t run_id) : store_(store), run_id_(run_id) {}
  ~PostgresRunWriter() override;
  PostgresRunWriter(const PostgresRunWriter&) = delete;
  PostgresRunWriter& operator=(const PostgresRunWriter&) = delete;

  bool add_path(const mtrProbePath& path, StoreStatus& status) override;
  AddOutcome finish(const RunRecord& record, StoreStatus& status) override;

 private:
  PostgresStore& store_;
  std::int64_t run_id_;
  std::optional<CopyRows> points_;  // the COPY of the points, from the first path on
  std::int32_t paths_ = 0;
  std::int64_t first_point_ = 0;
  bool failed_ = false;  // the store refused something: nothing more is sent
  bool done_ = false;    // committed
};

class PostgresStore final : public RunStore {
 public:
  explicit PostgresStore(PGconn* connection) : connection_(connection) {}
  ~PostgresStore() override { PQfinish(connection_); }

  const char* back_end() const noexcept override { return "postgresql"; }

  bool prepare(bool for_writing, StoreStatus& status);

  bool has_run(const std::string& path, const std::string& sha256, StoreStatus& status) override {
    status = {};
    Params p;
    p.bytes(std::string_view(path)).text(sha256);
    Result r = run("SELECT 1 FROM runs WHERE path = $1 AND sha256 = $2", p);
    if (!r.ok()) return fail(r, status);
    return r.rows() > 0;
  }

  bool has_path(const std::string& path, StoreStatus& status) override {
    status = {};
    Params p;
    p.bytes(std::string_view(path));
    Result r = run("SELECT 1 FROM runs WHERE path = $1 LIMIT 1", p);
    if (!r.ok()) return fail(r, status);
    return r.rows() > 0;
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
  friend class PostgresRunWriter;
  // Runs a statement with parameters; statements are prepared by the server once per session.
  Result run(const char* sql, const Params& params) {
    std::vector<const char*> values;
    std::vector<int> lengths;
    params.arrays(values, lengths);
    // The statement's name, "s0", "s1"...: appended, not prefixed, which GCC 12 at -O3 warns
    // about wrongly (-Wrestrict).
    std::string name("s");
    name += std::to_string(prepared_.size());
    auto [it, added] = prepared_.try_emplace(sql, std::move(name));
    if (added) {
      Result prepared(PQprepare(connection_, it->second.c_str(), sql, 0, nullptr));
      if (!prepared.ok()) {
        prepared_.erase(it);
        return Result(PQexec(connection_, "SELECT 1/0"));  // an error result; the caller reports
      }
    }
    return Result(PQexecPrepared(connection_, it->second.c_str(), params.size(), values.data(),
                                 lengths.data(), params.formats(), 0));
  }
  Result exec(const char* sql) { return Result(PQexec(connection_, sql)); }
  bool fail(const Result& result, StoreStatus& status) {
    if (PQstatus(connection_) == CONNECTION_BAD) {
      status = {StoreProblem::kUnreachable,
                "the store: lost the server: " + first_line(PQerrorMessage(connection_))};
      return false;
    }
    status = {problem_of(PQresultErrorField(result.get(), PG_DIAG_SQLSTATE)),
              "the store: " + first_line(PQresultErrorMessage(result.get()))};
    if (status.message == "the store: ") {
      status.message += first_line(PQerrorMessage(connection_));
    }
    return false;
  }
  void rollback() { PQclear(PQexec(connection_, "ROLLBACK")); }
  std::optional<std::int64_t> program_id(const std::string& name, StoreStatus& status);
  // Brings a store of an older schema up to this one; false (status set) when it cannot.
  bool upgrade(StoreStatus& status);
  // Ends a COPY; false (status set) when the server refused its rows.
  bool end_copy(CopyRows& rows, StoreStatus& status);

  PGconn* connection_;
  std::map<std::string, std::string> prepared_;  // SQL text -> statement name
};

bool PostgresStore::prepare(bool for_writing, StoreStatus& status) {
  PQclear(PQexec(connection_, "SET client_min_messages = warning"));
  Result version = exec(
      "SELECT to_regclass('schema_version') IS NOT NULL, "
      "to_regclass('runs') IS NOT NULL");
  if (!version.ok()) return fail(version, status);
  bool has_version = version.text(0, 0) == "t";
  if (!has_version) {
    if (version.text(0, 1) == "t") {
      status = {StoreProblem::kNotAStore,
                "the database has a runs table that is not a run store's"};
      return false;
    }
    if (!for_writing) {
      status = {StoreProblem::kNotAStore, "the database holds no runs yet (nothing was ingested)"};
      return false;
    }
    Result begin = exec("BEGIN");
    Result lock = exec(kSchemaLock);
    if (!lock.ok()) {
      fail(lock, status);
      rollback();
      return false;
    }
    // Read the catalog as a table, with this statement's snapshot: a name lookup may still
    // remember that the tables were missing before the lock was granted.
    Result again = exec(
        "SELECT EXISTS (SELECT 1 FROM pg_catalog.pg_tables WHERE schemaname = current_schema() "
        "AND tablename = 'schema_version')");
    if (again.ok() && again.text(0, 0) != "t") {
      Result made = exec(kSchema);
      if (!made.ok()) {
        fail(made, status);
        rollback();
        return false;
      }
    }
    Result commit = exec("COMMIT");
    if (!commit.ok()) return fail(commit, status);
  }
  Result found = exec("SELECT max(version) FROM schema_version");
  if (!found.ok()) return fail(found, status);
  const std::int64_t schema = found.null(0, 0) ? 0 : found.integer(0, 0);
  if (schema > kSchemaVersion) {
    status = {StoreProblem::kNewerSchema, "the store was written by a newer cncprobe (schema " +
                                              std::to_string(schema) + ", this one knows " +
                                              std::to_string(kSchemaVersion) + ")"};
    return false;
  }
  if (schema < 1) {
    status = {StoreProblem::kNotAStore, "the database's schema_version table is empty"};
    return false;
  }
  // An older store is brought up to this schema by the first process that writes to it, in one
  // transaction; a reader reads it as it is (the columns are the same).
  if (schema < kSchemaVersion && for_writing) return upgrade(status);
  return true;
}

bool PostgresStore::upgrade(StoreStatus& status) {
  Result begin = exec("BEGIN");
  auto failed = [&](const Result& result) {
    fail(result, status);
    rollback();
    return false;
  };
  Result lock = exec(kSchemaLock);
  if (!lock.ok()) return failed(lock);
  // Another process may have brought it up while this one waited for the lock.
  Result found = exec("SELECT max(version) FROM schema_version");
  if (!found.ok()) return failed(found);
  const std::int64_t version = found.integer(0, 0);
  if (version == 1) {
    Result changed = exec(kFromVersion1);
    if (!changed.ok()) return failed(changed);
  }
  if (version <= 2) {
    Result changed = exec(kFromVersion2);
    if (!changed.ok()) return failed(changed);
  }
  Result commit = exec("COMMIT");
  return commit.ok() || fail(commit, status);
}

std::optional<std::int64_t> PostgresStore::program_id(const std::string& name,
                                                      StoreStatus& status) {
  Params p;
  p.bytes(std::string_view(name));
  Result add = run("INSERT INTO programs (name) VALUES ($1) ON CONFLICT (name) DO NOTHING", p);
  if (!add.ok()) {
    fail(add, status);
    return std::nullopt;
  }
  Result find = run("SELECT id FROM programs WHERE name = $1", p);
  if (!find.ok() || find.rows() == 0) {
    fail(find, status);
    return std::nullopt;
  }
  return find.integer(0, 0);
}

bool PostgresStore::end_copy(CopyRows& rows, StoreStatus& status) {
  const bool sent = rows.finish();
  if (PQputCopyEnd(connection_, sent ? nullptr : "the rows could not be sent") != 1) {
    status = {StoreProblem::kUnreachable, "the store: " + first_line(PQerrorMessage(connection_))};
    return false;
  }
  bool ok = true;
  while (PGresult* raw = PQgetResult(connection_)) {
    Result result(raw);
    if (ok && !result.ok()) ok = fail(result, status);
  }
  return ok;
}

std::unique_ptr<RunWriter> PostgresStore::begin_run(StoreStatus& status) {
  status = {};
  Result begin = exec("BEGIN");
  if (!begin.ok()) {
    fail(begin, status);
    return nullptr;
  }
  // The run's id is drawn first, so its points can be sent before the run itself is known; a
  // run that is not stored in the end leaves a gap in the ids, as any rolled-back insert does.
  Result id = exec("SELECT nextval(pg_get_serial_sequence('runs', 'id'))");
  if (!id.ok() || id.rows() != 1) {
    fail(id, status);
    rollback();
    return nullptr;
  }
  return std::make_unique<PostgresRunWriter>(*this, id.integer(0, 0));
}

PostgresRunWriter::~PostgresRunWriter() {
  if (done_) return;
  // An open COPY is ended with an error, which the server answers by failing the transaction.
  if (points_) {
    (void)PQputCopyEnd(store_.connection_, "the run was not stored whole");
    while (PGresult* raw = PQgetResult(store_.connection_)) PQclear(raw);
  }
  store_.rollback();
}

bool PostgresRunWriter::add_path(const mtrProbePath& path, StoreStatus& status) {
  if (failed_) return false;
  if (!points_) {
    Result copy = store_.exec(
        "COPY points (run_id, idx, path, toolpath, instance, label, nominal_x, nominal_y, "
        "nominal_z, direction_x, direction_y, direction_z, o, u, l, measured_x, measured_y, "
        "measured_z, r, deviation, lower_limit, upper_limit, verdict) FROM STDIN (FORMAT binary)");
    if (!copy.ok()) {
      failed_ = true;
      return store_.fail(copy, status);
    }
    points_.emplace(store_.connection_, 23);
  }
  CopyRows& rows = *points_;
  bool sent = true;
  for_each_point_of(path, paths_++, first_point_, [&](const PointRow& pt) {
    if (!sent || !(sent = rows.begin_row())) return;
    rows.bigint(run_id_);
    rows.bigint(pt.index);
    rows.integer(pt.path);
    rows.integer(pt.toolpath);
    rows.integer(pt.instance);
    rows.bytes(pt.label);
    for (const double v : pt.nominal) rows.real(v);
    for (const double v : pt.direction) rows.real(v);
    rows.real(pt.o);
    rows.real(pt.u);
    rows.real(pt.l);
    for (const double v : pt.measured) rows.real(v);
    rows.real(pt.r);
    rows.real(pt.deviation);
    rows.real(pt.lower_limit);
    rows.real(pt.upper_limit);
    rows.bytes(std::string_view(pt.verdict));
  });
  first_point_ += path.inspection_points_count();
  if (!sent) {
    // The server stopped taking rows: ending the COPY reads why.
    failed_ = true;
    (void)store_.end_copy(rows, status);
    if (status.ok()) status = {StoreProblem::kFailed, "the store refused the points"};
    points_.reset();
    return false;
  }
  return true;
}

AddOutcome PostgresRunWriter::finish(const RunRecord& r, StoreStatus& status) {
  status = {};
  auto failed = [&]() {
    failed_ = true;
    return AddOutcome::kFailed;  // the destructor rolls back
  };
  if (failed_) {
    status = {StoreProblem::kFailed, "the store refused the points"};
    return failed();
  }
  if (points_) {
    CopyRows rows = std::move(*points_);
    points_.reset();
    if (!store_.end_copy(rows, status)) {
      if (status.ok()) status = {StoreProblem::kFailed, "the store refused the points"};
      return failed();
    }
  }
  const std::optional<std::int64_t> program = store_.program_id(r.program, status);
  if (!program) return failed();
  Params p;
  p.integer(run_id_)
      .integer(*program)
      .bytes(std::string_view(r.path))
      .text(r.sha256)
      .text(r.file_time)
      .text(r.ingest_time)
      .text(r.units)
      .text(std::string(kpt_input_problem_text(r.input_problem)))
      .integer(r.status_code)
      .text(r.status_name)
      .text(r.verdict)
      .bytes(r.results_file)
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
      .bytes(r.references.results_file_version)
      .bytes(r.references.settings_filename)
      .bytes(r.references.cad_filename)
      .bytes(r.references.cldata_filename)
      .bytes(r.references.document_id)
      .bytes(r.references.document_version)
      .bytes(r.references.model_version);
  // A run of the same path and content stored by another process meanwhile: this insert waits
  // for that one's transaction, then does nothing, and the points sent for it are rolled back.
  Result added = store_.run(R"sql(
INSERT INTO runs (id, program_id, path, sha256, file_time, ingest_time, units, input_problem,
  status_code, status_name, verdict, results_file, results, probe_paths, features, points,
  checks_in, checks_out, checks_not_toleranced, points_within, points_outside, points_unmeasured,
  results_file_version, settings_filename, cad_filename, cldata_filename, document_id,
  document_version, model_version)
VALUES ($1, $2, $3, $4, $5, $6, $7, $8, $9, $10, $11, $12, $13, $14, $15, $16, $17, $18, $19,
  $20, $21, $22, $23, $24, $25, $26, $27, $28, $29)
ON CONFLICT (path, sha256) DO NOTHING RETURNING id)sql",
                            p);
  if (!added.ok()) {
    store_.fail(added, status);
    return failed();
  }
  if (added.rows() == 0) return AddOutcome::kAlreadyStored;

  if (!r.checks.empty()) {
    Result copy = store_.exec(
        "COPY checks (run_id, seq, result, kind, toolpath, instance, component, feature, name, "
        "quantity, series, nominal, actual, deviation, tolerance, true_position, tolerance_used, "
        "lower_limit, upper_limit, verdict, compared, compared_limit) FROM STDIN (FORMAT binary)");
    if (!copy.ok()) {
      store_.fail(copy, status);
      return failed();
    }
    CopyRows rows(store_.connection_, 22);
    std::int32_t seq = 0;
    bool sent = true;
    for (const CheckRow& c : r.checks) {
      if (!(sent = rows.begin_row())) break;
      rows.bigint(run_id_);
      rows.integer(seq++);
      rows.integer(c.result);
      rows.bytes(std::string_view(c.kind));
      rows.integer(c.toolpath);
      rows.integer(c.instance);
      rows.integer(c.component);
      rows.integer(c.feature);
      rows.bytes(c.name);
      rows.bytes(std::string_view(c.quantity));
      rows.bytes(std::string_view(c.series));
      rows.real(c.nominal);
      rows.real(c.actual);
      rows.real(c.deviation);
      rows.real(c.tolerance);
      rows.integer(c.true_position ? 1 : 0);
      rows.real(c.tolerance_used);
      rows.real(c.lower_limit);
      rows.real(c.upper_limit);
      rows.bytes(std::string_view(c.verdict));
      rows.real(c.compared);
      rows.real(c.compared_limit);
    }
    if (!store_.end_copy(rows, status) || !sent) {
      if (status.ok()) status = {StoreProblem::kFailed, "the store refused the checks"};
      return failed();
    }
  }
  Result commit = store_.exec("COMMIT");
  if (!commit.ok()) {
    store_.fail(commit, status);
    return failed();
  }
  done_ = true;
  // A run that filled block ranges of its own has the index learn where they lie now, not when
  // the server's maintenance next comes round: a range the index has not summarized is read for
  // every run looked up. (A small run lands in a range already summarized, which each insert
  // keeps up to date, or in a new one autosummarize soon takes.) The run is stored whatever this
  // answers; the index stays right, only slower to use.
  if (first_point_ >= kPointsToSummarize) {
    Result summarized = store_.exec("SELECT brin_summarize_new_values('points_by_run'::regclass)");
    static_cast<void>(summarized);
  }
  return AddOutcome::kStored;
}

std::vector<StoredRun> PostgresStore::runs(const RunFilter& filter, StoreStatus& status) {
  status = {};
  Params p;
  p.bytes(filter.program).text(filter.since);
  if (filter.last) {
    p.integer(*filter.last);
  } else {
    p.null();
  }
  Result r = run(R"sql(
SELECT * FROM (
  SELECT r.id, p.name, r.path, r.sha256, r.file_time, r.ingest_time, r.units, r.status_code,
         r.status_name, r.verdict, r.features, r.points, r.checks_out, r.points_outside,
         r.results_file, r.cldata_filename, r.cad_filename
  FROM runs r JOIN programs p ON p.id = r.program_id
  WHERE ($1::bytea IS NULL OR p.name = $1::bytea)
    AND ($2::text IS NULL OR coalesce(r.file_time, r.ingest_time) >= $2::text)
  ORDER BY coalesce(r.file_time, r.ingest_time) DESC, r.id DESC
  LIMIT $3::bigint) newest
ORDER BY coalesce(file_time, ingest_time), id)sql",
                 p);
  std::vector<StoredRun> out;
  if (!r.ok()) {
    fail(r, status);
    return out;
  }
  for (int i = 0; i < r.rows(); ++i) {
    StoredRun run;
    run.id = r.integer(i, 0);
    run.program = r.bytes(i, 1);
    run.path = r.bytes(i, 2);
    run.sha256 = r.text(i, 3);
    run.file_time = r.optional_text(i, 4);
    run.ingest_time = r.text(i, 5);
    run.units = r.text(i, 6);
    run.status_code = static_cast<std::int32_t>(r.integer(i, 7));
    run.status_name = r.text(i, 8);
    run.verdict = r.optional_text(i, 9);
    run.features = r.integer(i, 10);
    run.points = r.integer(i, 11);
    run.checks_out = r.integer(i, 12);
    run.points_outside = r.integer(i, 13);
    run.results_file = r.optional_bytes(i, 14);
    run.cldata_filename = r.optional_bytes(i, 15);
    run.cad_filename = r.optional_bytes(i, 16);
    out.push_back(std::move(run));
  }
  return out;
}

std::vector<StoredCheck> PostgresStore::checks(const std::vector<std::int64_t>& run_ids,
                                               StoreStatus& status) {
  status = {};
  std::vector<StoredCheck> out;
  std::string ids = "{";
  for (const std::int64_t id : run_ids) {
    if (ids.size() > 1) ids += ',';
    ids += std::to_string(id);
  }
  ids += '}';
  Params p;
  p.text(ids);
  Result r = run(R"sql(
SELECT c.run_id, c.result, c.kind, c.toolpath, c.instance, c.component, c.feature, c.name,
       c.quantity, c.series, c.nominal, c.actual, c.deviation, c.tolerance, c.true_position,
       c.tolerance_used, c.lower_limit, c.upper_limit, c.verdict, c.compared, c.compared_limit
FROM checks c JOIN unnest($1::bigint[]) WITH ORDINALITY AS wanted (id, n) ON wanted.id = c.run_id
ORDER BY wanted.n, c.seq)sql",
                 p);
  if (!r.ok()) {
    fail(r, status);
    return out;
  }
  for (int i = 0; i < r.rows(); ++i) {
    StoredCheck row;
    row.run = r.integer(i, 0);
    CheckRow& c = row.check;
    c.result = static_cast<std::int32_t>(r.integer(i, 1));
    c.kind = r.text(i, 2);
    c.toolpath = static_cast<std::int32_t>(r.integer(i, 3));
    c.instance = static_cast<std::int32_t>(r.integer(i, 4));
    c.component = static_cast<std::int32_t>(r.integer(i, 5));
    c.feature = static_cast<std::int32_t>(r.integer(i, 6));
    c.name = r.optional_bytes(i, 7);
    c.quantity = r.text(i, 8);
    c.series = r.bytes(i, 9);
    c.nominal = r.real(i, 10);
    c.actual = r.real(i, 11);
    c.deviation = r.real(i, 12).value_or(std::nan(""));
    c.tolerance = r.real(i, 13);
    c.true_position = r.integer(i, 14) != 0;
    c.tolerance_used = r.real(i, 15);
    c.lower_limit = r.real(i, 16);
    c.upper_limit = r.real(i, 17);
    c.verdict = r.text(i, 18);
    c.compared = r.real(i, 19);
    c.compared_limit = r.real(i, 20);
    out.push_back(std::move(row));
  }
  return out;
}

std::vector<StoredPoint> PostgresStore::points(const std::vector<std::int64_t>& run_ids,
                                               StoreStatus& status) {
  status = {};
  std::vector<StoredPoint> out;
  std::string ids = "{";
  for (const std::int64_t id : run_ids) {
    if (ids.size() > 1) ids += ',';
    ids += std::to_string(id);
  }
  ids += '}';
  Params p;
  p.text(ids);
  Result r = run(R"sql(
SELECT t.run_id, t.label, t.deviation, t.lower_limit, t.upper_limit
FROM points t JOIN unnest($1::bigint[]) WITH ORDINALITY AS wanted (id, n) ON wanted.id = t.run_id
ORDER BY wanted.n, t.idx)sql",
                 p);
  if (!r.ok()) {
    fail(r, status);
    return out;
  }
  for (int i = 0; i < r.rows(); ++i) {
    out.push_back({r.integer(i, 0), r.bytes(i, 1), r.real(i, 2), r.real(i, 3), r.real(i, 4)});
  }
  return out;
}

bool PostgresStore::save_limits(const std::string& program, const std::string& document,
                                StoreStatus& status) {
  status = {};
  Result begin = exec("BEGIN");
  const std::optional<std::int64_t> id = program_id(program, status);
  if (!id) {
    rollback();
    return false;
  }
  Params p;
  p.integer(*id).text(kptUtcTime::now()).text(document);
  Result added =
      run("INSERT INTO control_limits (program_id, saved_time, document) VALUES ($1, $2, $3)", p);
  if (!added.ok()) {
    fail(added, status);
    rollback();
    return false;
  }
  Result commit = exec("COMMIT");
  return commit.ok() || fail(commit, status);
}

std::optional<std::string> PostgresStore::latest_limits(const std::string& program,
                                                        StoreStatus& status) {
  status = {};
  Params p;
  p.bytes(std::string_view(program));
  Result r = run(R"sql(
SELECT l.document FROM control_limits l JOIN programs p ON p.id = l.program_id
WHERE p.name = $1 ORDER BY l.saved_time DESC, l.id DESC LIMIT 1)sql",
                 p);
  if (!r.ok()) {
    fail(r, status);
    return std::nullopt;
  }
  if (r.rows() == 0) return std::nullopt;
  return r.text(0, 0);
}

}  // namespace

std::unique_ptr<RunStore> open_postgres_store(const std::string& conninfo, bool for_writing,
                                              StoreStatus& status) {
  PGconn* connection = PQconnectdb(conninfo.c_str());
  if (connection == nullptr) {
    status = {StoreProblem::kFailed, "the store: out of memory"};
    return nullptr;
  }
  if (PQstatus(connection) != CONNECTION_OK) {
    const std::string reason = first_line(PQerrorMessage(connection));
    // libpq says why in words only: a server that answered and refused names the password,
    // the role or the database.
    const bool refused = reason.find("password") != std::string::npos ||
                         reason.find("authentication") != std::string::npos ||
                         reason.find("does not exist") != std::string::npos ||
                         reason.find("no pg_hba.conf entry") != std::string::npos;
    status = {refused ? StoreProblem::kRefused : StoreProblem::kUnreachable,
              std::string("the store: ") +
                  (refused ? "the server refused the connection: " : "cannot reach the server: ") +
                  reason};
    PQfinish(connection);
    return nullptr;
  }
  auto store = std::make_unique<PostgresStore>(connection);
  if (!store->prepare(for_writing, status)) return nullptr;
  return store;
}

}  // namespace store

#else

namespace store {

std::unique_ptr<RunStore> open_postgres_store(const std::string&, bool, StoreStatus& status) {
  status = {StoreProblem::kBadUrl,
            "this build has the SQLite store only: PostgreSQL stores are read and written by the "
            "Linux tool"};
  return nullptr;
}

}  // namespace store

#endif
