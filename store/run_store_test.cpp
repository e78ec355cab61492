// The run store on both back ends: what is stored reads back exactly, a run is stored once, and a
// store that cannot be used says why. PostgreSQL cases run when CNCPROBE_TEST_POSTGRES is set and
// libpq's PG* variables name a scratch server (./dev test runs them in a throwaway cluster).
#include "store/run_store.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#if defined(CNCPROBE_STORE_POSTGRES)
#include <libpq-fe.h>
#endif

#include <cstdlib>
#include <fstream>
#include <random>

#include "cncprobe/extraction/results_data_extractor.h"
#include "cncprobe/platform/model/probe_path.h"
#include "store/ingest.h"
#include "tests/support/scratch_directory.h"

namespace store {
namespace {

constexpr const char* kBracket = CNCPROBE_EXAMPLES_DIR "/bracket_mm.txt";

// A feature name no store may read as SQL or lose a byte of: quotes, a statement, a byte that is
// a tab and a backslash (COPY's own separators). Bytes that are not UTF-8 go in the path.
const std::string kHostileName = "O'Brien \"bore\" '; DROP TABLE runs; -- \t\\N end";

std::string hostile_file() {
  return "*** CLDATAFILENAME C:\\jobs\\x'; DROP TABLE programs; --.cl ***\n"
         "START 'HOSTILE'\n"
         "TOOLPATHID 3\n"
         "G331 N40 A0 B0 C0 X0 Y0 Z0\n"
         "G330 N41 A0 B0 C0 X0 Y0 Z0 I0 R0\n"
         "FEATURE NO 2 FEATURE NAME " +
         kHostileName +
         "\n"
         "SIZE D 8.000 ACTUAL 8.003 TOL 0.015 DEV 0.003\n"
         "POSN X 140.000 ACTUAL 140.062 TOL TP 0.050 DEV 0.062\n"
         "POSN Y 85.000 ACTUAL 85.021 TOL TP 0.050 DEV 0.021\n"
         "END\n";
}

std::string unique_name(const char* stem) {
  std::random_device seed;
  return std::string(stem) + "-" + std::to_string(seed());
}

class RunStoreTest : public ::testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    if (std::string(GetParam()) == "postgresql") {
      if (std::getenv("CNCPROBE_TEST_POSTGRES") == nullptr) {
        GTEST_SKIP() << "PostgreSQL cases need CNCPROBE_TEST_POSTGRES and a scratch server "
                        "(./dev test runs them under pg_virtualenv)";
      }
      url_ = "postgresql://";
    } else {
      url_ = dir_.path().string() + "/runs.sqlite";
    }
    runs_ = RunStore::open(url_, status_);
    ASSERT_TRUE(runs_) << status_.message;
  }
  // The stored runs of one program, oldest first.
  std::vector<StoredRun> runs_of(const std::string& program) {
    RunFilter filter;
    filter.program = program;
    return runs_->runs(filter, status_);
  }
  std::string write(const std::string& name, const std::string& text) {
    const std::string file = dir_.path().string() + "/" + name;
    std::ofstream(file, std::ios::binary) << text;
    return file;
  }

  ScratchDirectory dir_;
  std::string url_;
  StoreStatus status_;
  std::unique_ptr<RunStore> runs_;
};

TEST_P(RunStoreTest, RunIsStoredOnceAndReadBack) {
  RecordOptions options;
  options.program = unique_name("BRACKET_OP20");
  const RunRecord record = RunRecord::from_file(kBracket, options);
  ASSERT_TRUE(record.readable());
  EXPECT_EQ(runs_->add_run(record, status_), AddOutcome::kStored) << status_.message;
  EXPECT_EQ(runs_->add_run(record, status_), AddOutcome::kAlreadyStored) << status_.message;
  EXPECT_TRUE(runs_->has_run(record.path, record.sha256, status_));

  const std::vector<StoredRun> stored = runs_of(options.program);
  ASSERT_TRUE(status_.ok()) << status_.message;
  ASSERT_EQ(stored.size(), 1u);
  EXPECT_EQ(stored[0].path, record.path);
  EXPECT_EQ(stored[0].sha256, record.sha256);
  EXPECT_EQ(stored[0].verdict, record.verdict);
  EXPECT_EQ(stored[0].points, record.points);

  const std::vector<StoredCheck> checks = runs_->checks({stored[0].id}, status_);
  ASSERT_EQ(checks.size(), record.checks.size());
  for (std::size_t i = 0; i < checks.size(); ++i) {
    const CheckRow& a = checks[i].check;
    const CheckRow& b = record.checks[i];
    EXPECT_EQ(a.series, b.series);
    EXPECT_EQ(a.verdict, b.verdict);
    EXPECT_EQ(a.name, b.name);
    EXPECT_EQ(a.nominal, b.nominal);
    EXPECT_EQ(a.deviation, b.deviation);  // every bit: doubles travel as 17 digits or binary
    EXPECT_EQ(a.lower_limit, b.lower_limit);
    EXPECT_EQ(a.upper_limit, b.upper_limit);
  }
}

// A probe path of `points` points, the one numbered `unmeasured` (from 0) never measured.
std::string probe_path_file(int points, int unmeasured) {
  std::string text =
      "START 'MANY'\nTOOLPATHID 1\nG331 N10 A0 B0 C0 X0 Y0 Z0\n"
      "G330 N11 A0 B0 C0 X0 Y0 Z0 I0 R0\n";
  int block = 12;
  for (int i = 0; i < points; ++i) {
    const std::string at = " X" + std::to_string(i) + ".125 Y" + std::to_string(i % 7) + ".5";
    text += "G800 N" + std::to_string(block++) + at + " Z0 I0 J0 K1 O0 U0.050 L-0.050\n";
    if (i == unmeasured) continue;
    text += "G801 N" + std::to_string(block++) + at + " Z0.0" + std::to_string(10 + i) + " R2.5\n";
  }
  return text + "END\n";
}

// Every point travels as the back end's own numbers and bytes, however many a run has (the
// points are written in groups): what is read back is the record's, bit for bit, in order, and
// an unmeasured point's deviation stays absent.
TEST_P(RunStoreTest, PointsReadBackBitForBit) {
  for (const int count : {1, 75, 4096 + 75}) {
    RecordOptions options;
    options.program = unique_name("POINTS");
    const std::string file =
        write("path" + std::to_string(count) + ".txt", probe_path_file(count, count / 2));
    const RunRecord record = RunRecord::from_file(file, options);
    ASSERT_EQ(record.points, count);
    ASSERT_EQ(runs_->add_run(record, status_), AddOutcome::kStored) << status_.message;
    const std::vector<StoredRun> stored = runs_of(options.program);
    ASSERT_EQ(stored.size(), 1u) << status_.message;
    const std::vector<StoredPoint> points = runs_->points({stored[0].id}, status_);
    ASSERT_TRUE(status_.ok()) << status_.message;
    ASSERT_EQ(points.size(), static_cast<std::size_t>(count));
    std::size_t i = 0;
    record.for_each_point([&](const PointRow& p) {
      EXPECT_EQ(points[i].run, stored[0].id);
      EXPECT_EQ(points[i].label, p.label) << i;
      EXPECT_EQ(points[i].deviation, p.deviation) << i;
      EXPECT_EQ(points[i].lower_limit, p.lower_limit) << i;
      EXPECT_EQ(points[i].upper_limit, p.upper_limit) << i;
      ++i;
    });
    EXPECT_FALSE(points[static_cast<std::size_t>(count / 2)].deviation);
  }
}

// A small file is hashed before it is extracted; a large one at a new path beside its
// extraction. Either way the stored hash is the content's, the references are read, and the same
// content is stored once.
TEST_P(RunStoreTest, SamePathWithOtherContentIsANewRun) {
  for (const std::size_t padding : {std::size_t{0}, RunRecord::kConcurrentBytes}) {
    RecordOptions options;
    options.program = unique_name("P");
    // Comment lines after the header make the file as large as wanted.
    std::string text = hostile_file();
    for (std::size_t line = 0; line * 64 < padding; ++line) {
      text.insert(text.find("START"), "( " + std::string(60, 'x') + " )\n");
    }
    const std::string file = write("run" + std::to_string(padding) + ".txt", text);
    EXPECT_EQ(ingest_file(*runs_, file, options).outcome, IngestOutcome::kStored);
    EXPECT_EQ(ingest_file(*runs_, file, options).outcome, IngestOutcome::kSkipped);
    write("run" + std::to_string(padding) + ".txt", text + "\n");
    EXPECT_EQ(ingest_file(*runs_, file, options).outcome, IngestOutcome::kStored);
    const std::vector<StoredRun> stored = runs_of(options.program);
    ASSERT_EQ(stored.size(), 2u);
    EXPECT_EQ(stored[0].sha256, content_sha256(text)) << padding;
    EXPECT_EQ(stored[1].sha256, content_sha256(text + "\n")) << padding;
    EXPECT_EQ(stored[0].cldata_filename, "C:\\jobs\\x'; DROP TABLE programs; --.cl");
    RunFilter newest;
    newest.program = options.program;
    newest.last = 1;
    EXPECT_EQ(runs_->runs(newest, status_).size(), 1u);
  }
}

TEST_P(RunStoreTest, HostileTextReadsBackExactly) {
#if defined(_WIN32)
  const char* name = "x'; DROP TABLE runs; --.txt";  // Windows names are text
#else
  const char* name = "x'; DROP TABLE runs; --\xE9.txt";  // a byte that is not UTF-8
#endif
  const std::string file = write(name, hostile_file());
  RecordOptions options;
  RunRecord record = RunRecord::from_file(file, options);
  // A program named with NULs and bytes that are not UTF-8 (as --program or a reference could).
  static constexpr char kProgram[] = "NUL\0'\"; DROP TABLE runs; --\xC3\x28";
  record.program = std::string(kProgram, sizeof kProgram - 1) + unique_name("") + '\0';
  ASSERT_EQ(runs_->add_run(record, status_), AddOutcome::kStored) << status_.message;

  const std::vector<StoredRun> stored = runs_of(record.program);
  ASSERT_EQ(stored.size(), 1u) << status_.message;
  EXPECT_EQ(stored[0].program, record.program);
  EXPECT_EQ(stored[0].path, record.path);
  const std::vector<StoredCheck> checks = runs_->checks({stored[0].id}, status_);
  ASSERT_FALSE(checks.empty());
  EXPECT_EQ(checks[0].check.name, kHostileName);
  EXPECT_EQ(RunRecord::from_file(file, {}).program, "x'; DROP TABLE programs; --");
  EXPECT_FALSE(runs_->runs({}, status_).empty());  // the runs table is still there
}

// `paths` probe paths of `points` points each, every seventh point never measured; with
// `restart`, the machine starts the run again after that many paths.
std::string many_paths_file(int paths, int points, int restart = -1) {
  std::string text = "START 'MANY PATHS'\n";
  int block = 10;
  for (int path = 0; path < paths; ++path) {
    if (path == restart) text += "START 'AGAIN'\n";
    text += "TOOLPATHID " + std::to_string(path + 1) + "\n";
    for (int i = 0; i < points; ++i) {
      const std::string at = " X" + std::to_string(i) + ".125 Y" + std::to_string(path) + ".5";
      text += "G800 N" + std::to_string(block++) + at + " Z0 I0 J0 K1 O0 U0.050 L-0.050\n";
      if (i % 7 == 3) continue;
      text += "G801 N" + std::to_string(block++) + at + " Z0.0" + std::to_string(10 + i % 80) +
              " R2.5\n";
    }
  }
  return text + "END\n";
}

// A large file's points are written while it is still being extracted (a second START sends it
// back to being stored after): either way the points read back are the record's, in order, and
// the run holds what the record says.
TEST_P(RunStoreTest, LargeFileStoredWhileExtractedIsTheRecord) {
  for (const int restart : {-1, 40}) {
    SCOPED_TRACE(restart);
    RecordOptions options;
    options.program = unique_name("LARGE");
    const std::string text = many_paths_file(120, 120, restart);
    ASSERT_GE(text.size(), RunRecord::kConcurrentBytes);
    const std::string file = write("large" + std::to_string(restart) + ".txt", text);
    const IngestResult result = ingest_file(*runs_, file, options);
    ASSERT_EQ(result.outcome, IngestOutcome::kStoredFailed) << result.status.message;

    const RunRecord record = RunRecord::from_file(file, options);
    // Unmeasured points: the latest problem, whether or not the run started again.
    EXPECT_EQ(result.status_name, record.status_name);
    EXPECT_EQ(record.points, restart < 0 ? 120 * 120 : 80 * 120);
    const std::vector<StoredRun> stored = runs_of(options.program);
    ASSERT_EQ(stored.size(), 1u) << status_.message;
    EXPECT_EQ(stored[0].points, record.points);
    EXPECT_EQ(stored[0].status_name, record.status_name);
    EXPECT_EQ(stored[0].sha256, content_sha256(text));
    const std::vector<StoredPoint> points = runs_->points({stored[0].id}, status_);
    ASSERT_EQ(points.size(), static_cast<std::size_t>(record.points)) << status_.message;
    std::size_t i = 0;
    record.for_each_point([&](const PointRow& p) {
      EXPECT_EQ(points[i].label, p.label) << i;
      EXPECT_EQ(points[i].deviation, p.deviation) << i;
      EXPECT_EQ(points[i].lower_limit, p.lower_limit) << i;
      ++i;
    });
    EXPECT_EQ(i, points.size());
  }
}

// A writer stores its run whole or not at all: one given up leaves no point behind, and one
// whose run was stored meanwhile (by another process) rolls its points back.
TEST_P(RunStoreTest, RunWriterLeavesNothingHalf) {
  RecordOptions options;
  options.program = unique_name("WRITER");
  const std::string file = write("writer.txt", many_paths_file(3, 50));
  const RunRecord record = RunRecord::from_file(file, options);
  auto points_stored = [&] {
    std::vector<std::int64_t> ids;
    for (const StoredRun& run : runs_->runs({}, status_)) ids.push_back(run.id);
    return runs_->points(ids, status_).size();
  };
  const std::size_t before = points_stored();
  {
    std::unique_ptr<RunWriter> writer = runs_->begin_run(status_);
    ASSERT_TRUE(writer) << status_.message;
    record.for_each_path([&](const mtrProbePath& path) {
      EXPECT_TRUE(writer->add_path(path, status_)) << status_.message;
    });
  }  // given up
  EXPECT_EQ(points_stored(), before);
  ASSERT_EQ(runs_->add_run(record, status_), AddOutcome::kStored) << status_.message;
  const std::size_t stored = points_stored();
  EXPECT_EQ(stored, before + static_cast<std::size_t>(record.points));
  {
    std::unique_ptr<RunWriter> writer = runs_->begin_run(status_);
    ASSERT_TRUE(writer) << status_.message;
    record.for_each_path([&](const mtrProbePath& path) { writer->add_path(path, status_); });
    EXPECT_EQ(writer->finish(record, status_), AddOutcome::kAlreadyStored) << status_.message;
  }
  EXPECT_EQ(points_stored(), stored);
  // The store goes on as before.
  RecordOptions other = options;
  other.program = unique_name("WRITER");
  EXPECT_EQ(runs_->add_run(RunRecord::from_file(file, other), status_), AddOutcome::kAlreadyStored);
  EXPECT_TRUE(status_.ok()) << status_.message;
}

TEST_P(RunStoreTest, LatestControlLimitsPerProgram) {
  const std::string program = unique_name("OP30");
  EXPECT_FALSE(runs_->latest_limits(program, status_));
  ASSERT_TRUE(runs_->save_limits(program, "{\"v\": 1}", status_)) << status_.message;
  ASSERT_TRUE(runs_->save_limits(program, "{\"v\": 2}", status_)) << status_.message;
  EXPECT_EQ(runs_->latest_limits(program, status_), "{\"v\": 2}");
}

INSTANTIATE_TEST_SUITE_P(BackEnds, RunStoreTest, ::testing::Values("sqlite", "postgresql"),
                         [](const auto& info) { return std::string(info.param); });

// A store of schema 1, as the first release wrote it: a reader reads it as it is, the first writer
// brings it up to the current schema, and its runs stay whole.
TEST(SqliteStore, OlderSchemaIsBroughtUp) {
  ScratchDirectory dir;
  const std::string url = dir.path().string() + "/runs.sqlite";
  auto version = [&] {
    sqlite3* db = nullptr;
    sqlite3_open_v2(url.c_str(), &db, SQLITE_OPEN_READONLY, nullptr);
    sqlite3_stmt* s = nullptr;
    sqlite3_prepare_v2(db, "SELECT version FROM schema_version", -1, &s, nullptr);
    const int found = sqlite3_step(s) == SQLITE_ROW ? sqlite3_column_int(s, 0) : -1;
    sqlite3_finalize(s);
    sqlite3_close(db);
    return found;
  };
  StoreStatus status;
  {
    auto runs = RunStore::open(url, status);
    ASSERT_TRUE(runs) << status.message;
    ASSERT_EQ(ingest_file(*runs, kBracket, {}).outcome, IngestOutcome::kStored);
  }
  // Schema 1 had the tables of schema 3.
  sqlite3* db = nullptr;
  sqlite3_open(url.c_str(), &db);
  ASSERT_EQ(sqlite3_exec(db, "UPDATE schema_version SET version = 1", nullptr, nullptr, nullptr),
            SQLITE_OK);
  sqlite3_close(db);

  auto reader = RunStore::open(url, status, false);
  ASSERT_TRUE(reader) << status.message;
  ASSERT_EQ(reader->runs({}, status).size(), 1u);
  EXPECT_EQ(version(), 1);
  reader.reset();

  auto writer = RunStore::open(url, status);
  ASSERT_TRUE(writer) << status.message;
  EXPECT_EQ(version(), kSchemaVersion);
  const std::vector<StoredRun> stored = writer->runs({}, status);
  ASSERT_EQ(stored.size(), 1u);
  EXPECT_EQ(writer->points({stored[0].id}, status).size(),
            static_cast<std::size_t>(stored[0].points));
  EXPECT_EQ(ingest_file(*writer, kBracket, {}).outcome, IngestOutcome::kSkipped);
}

#if defined(CNCPROBE_STORE_POSTGRES)
// The same on PostgreSQL, where schema 1 kept a primary key and a foreign key on the points and
// schema 2 a B-tree on their run, and both a foreign key on the checks: either is brought up to
// a block-range index and no foreign keys.
TEST(PostgresqlStore, OlderSchemaIsBroughtUp) {
  if (std::getenv("CNCPROBE_TEST_POSTGRES") == nullptr) {
    GTEST_SKIP() << "PostgreSQL cases need CNCPROBE_TEST_POSTGRES and a scratch server";
  }
  PGconn* db = PQconnectdb("");
  ASSERT_EQ(PQstatus(db), CONNECTION_OK) << PQerrorMessage(db);
  auto sql = [&](const std::string& statement) {
    PGresult* result = PQexec(db, statement.c_str());
    const std::string answer = PQntuples(result) > 0 ? PQgetvalue(result, 0, 0) : "";
    EXPECT_NE(PQresultStatus(result), PGRES_FATAL_ERROR) << PQresultErrorMessage(result);
    PQclear(result);
    return answer;
  };
  for (const int old : {1, 2}) {
    SCOPED_TRACE(old);
    // A schema of its own, so the store is made afresh in a database other cases share.
    const std::string schema = "v" + std::to_string(old) + "_" + unique_name("store").substr(6);
    const std::string url = "postgresql://?options=-csearch_path%3D" + schema;
    sql("CREATE SCHEMA " + schema);
    StoreStatus status;
    {
      auto runs = RunStore::open(url, status);
      ASSERT_TRUE(runs) << status.message;
      ASSERT_EQ(ingest_file(*runs, kBracket, {}).outcome, IngestOutcome::kStored);
    }
    sql("SET search_path = " + schema);
    sql("DROP INDEX points_by_run");
    sql("ALTER TABLE checks ADD FOREIGN KEY (run_id) REFERENCES runs(id) ON DELETE CASCADE");
    if (old == 1) {
      sql("ALTER TABLE points ADD PRIMARY KEY (run_id, idx), "
          "ADD FOREIGN KEY (run_id) REFERENCES runs(id) ON DELETE CASCADE");
    } else {
      sql("CREATE INDEX points_by_run ON points (run_id)");
    }
    sql("UPDATE schema_version SET version = " + std::to_string(old));

    auto reader = RunStore::open(url, status, false);
    ASSERT_TRUE(reader) << status.message;
    ASSERT_EQ(reader->runs({}, status).size(), 1u);
    EXPECT_EQ(sql("SELECT version FROM schema_version"), std::to_string(old));
    reader.reset();

    auto writer = RunStore::open(url, status);
    ASSERT_TRUE(writer) << status.message;
    EXPECT_EQ(sql("SELECT version FROM schema_version"), std::to_string(kSchemaVersion));
    EXPECT_EQ(sql("SELECT count(*) FROM pg_constraint WHERE conrelid = 'points'::regclass"), "0");
    EXPECT_EQ(sql("SELECT count(*) FROM pg_constraint WHERE conrelid = 'checks'::regclass "
                  "AND contype = 'f'"),
              "0");
    EXPECT_EQ(sql("SELECT a.amname FROM pg_class c JOIN pg_am a ON a.oid = c.relam "
                  "WHERE c.oid = 'points_by_run'::regclass"),
              "brin");
    const std::vector<StoredRun> stored = writer->runs({}, status);
    ASSERT_EQ(stored.size(), 1u);
    EXPECT_EQ(writer->points({stored[0].id}, status).size(),
              static_cast<std::size_t>(stored[0].points));
    EXPECT_EQ(ingest_file(*writer, kBracket, {}).outcome, IngestOutcome::kSkipped);
    writer.reset();
    sql("RESET search_path");
    sql("DROP SCHEMA " + schema + " CASCADE");
  }
  PQfinish(db);
}
#endif

// A SQLite file that cannot serve as a store is refused with the reason, and left as it was.
TEST(SqliteStore, RefusesWhatIsNoStore) {
  ScratchDirectory dir;
  const std::string base = dir.path().string();
  auto sql = [](const std::string& file, const char* statement) {
    sqlite3* db = nullptr;
    sqlite3_open(file.c_str(), &db);
    sqlite3_exec(db, statement, nullptr, nullptr, nullptr);
    sqlite3_close(db);
  };
  std::ofstream(base + "/notes.txt") << "not a database at all, but long enough to be read as "
                                        "one and refused: SQLite looks at its first 100 bytes.";
  sql(base + "/other.db", "CREATE TABLE customers (name TEXT)");
  {
    StoreStatus status;
    ASSERT_TRUE(RunStore::open(base + "/newer.sqlite", status)) << status.message;
  }
  sql(base + "/newer.sqlite", "UPDATE schema_version SET version = 99");

  const struct {
    std::string url;
    bool for_writing;
    StoreProblem problem;
  } cases[] = {
      {base + "/notes.txt", true, StoreProblem::kNotAStore},
      {base + "/other.db", true, StoreProblem::kNotAStore},
      {base + "/newer.sqlite", true, StoreProblem::kNewerSchema},
      {base + "/newer.sqlite", false, StoreProblem::kNewerSchema},
      {base + "/missing.sqlite", false, StoreProblem::kCannotOpen},
      {base + "/no/such/folder/runs.sqlite", true, StoreProblem::kCannotOpen},
      {"mysql://host/db", true, StoreProblem::kBadUrl},
  };
  for (const auto& c : cases) {
    StoreStatus status;
    EXPECT_FALSE(RunStore::open(c.url, status, c.for_writing)) << c.url;
    EXPECT_EQ(status.problem, c.problem) << c.url << ": " << status.message;
    EXPECT_EQ(status.message.find('\n'), std::string::npos);
  }
  std::ifstream notes(base + "/notes.txt");
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(notes), {}).substr(0, 14), "not a database");
}

}  // namespace
}  // namespace store
