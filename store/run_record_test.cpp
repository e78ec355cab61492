// Tests of RunRecord's rules of its own: the store URL, the program a run belongs to, the content
// hash; the values of checks and points are the inspection rules' and tested there.
#include "store/run_record.h"

#include <gtest/gtest.h>

#include "store/run_store.h"

namespace store {
namespace {

TEST(StoreUrl, NamesTheBackEnd) {
  using Kind = StoreUrl::Kind;
  const struct {
    const char* url;
    Kind kind;
    const char* target;
  } cases[] = {
      {"runs.sqlite", Kind::kSqlite, "runs.sqlite"},
      {"/var/lib/cncprobe/runs.sqlite", Kind::kSqlite, "/var/lib/cncprobe/runs.sqlite"},
      {"sqlite:///var/runs.db", Kind::kSqlite, "/var/runs.db"},
      {"sqlite:runs.db", Kind::kSqlite, "runs.db"},
      {"C:\\runs\\runs.sqlite", Kind::kSqlite, "C:\\runs\\runs.sqlite"},
      {"postgresql://qa@plant-db/runs", Kind::kPostgres, "postgresql://qa@plant-db/runs"},
      {"postgres://plant-db/runs", Kind::kPostgres, "postgres://plant-db/runs"},
      {"postgresql://", Kind::kPostgres, "postgresql://"},
      {"mysql://host/db", Kind::kInvalid, ""},
      {"sqlite://", Kind::kInvalid, ""},
      {"", Kind::kInvalid, ""},
  };
  for (const auto& c : cases) {
    const StoreUrl url = parse_store_url(c.url);
    EXPECT_EQ(url.kind, c.kind) << c.url;
    if (c.kind != Kind::kInvalid) {
      EXPECT_EQ(url.target, c.target) << c.url;
    }
  }
}

TEST(RunRecord, ProgramFromClDataThenCadThenFolder) {
  const auto refs = [](const char* cl, const char* cad) {
    RunReferences r;
    if (cl) r.cldata_filename = cl;
    if (cad) r.cad_filename = cad;
    return r;
  };
  const struct {
    RunReferences references;
    const char* path;
    const char* program;
  } cases[] = {
      {refs("C:\\jobs\\bracket\\bracket_op20_probe.cl", "C:\\jobs\\bracket.model"),
       "/share/m1/a.txt", "bracket_op20_probe"},
      {refs(nullptr, "/cad/cover plate.v2.model"), "/share/m1/a.txt", "cover plate.v2"},
      {refs("", "bracket.model"), "/share/m1/a.txt", "bracket"},  // an empty CL line is no name
      {refs(nullptr, nullptr), "/share/machine 3/a.txt", "machine 3"},
      {refs(nullptr, nullptr), "-", "-"},
      {refs("noextension", nullptr), "-", "noextension"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(program_of(c.path, c.references), c.program) << c.path;
  }
}

TEST(RunRecord, HashIsTheContentsSha256) {
  EXPECT_EQ(content_sha256(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  EXPECT_EQ(content_sha256("abc"),
            "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST(RunRecord, UnreadableFileIsARecordWithoutRows) {
  RecordOptions options;
  options.program = "OP20";
  const RunRecord record = RunRecord::from_file("/no/such/folder/run.txt", options);
  EXPECT_FALSE(record.readable());
  EXPECT_EQ(record.input_problem, kptInputMissing);
  EXPECT_EQ(record.status_name, "unreadable");
  EXPECT_FALSE(record.verdict);
  EXPECT_EQ(record.program, "OP20");
  int points = 0;
  record.for_each_point([&](const PointRow&) { ++points; });
  EXPECT_EQ(points, 0);
}

}  // namespace
}  // namespace store
