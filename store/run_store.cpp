// Which back end a store URL names.
#include "store/run_store.h"

#include <string_view>

#include "cncprobe/platform/model/probe_path.h"
#include "store/internal/back_ends.h"

namespace store {

StoreUrl parse_store_url(const std::string& url) {
  const std::string_view text(url);
  if (text.starts_with("postgresql://") || text.starts_with("postgres://")) {
    return {StoreUrl::Kind::kPostgres, url};
  }
  if (text.starts_with("sqlite://")) {
    // sqlite:///abs/path: the authority is empty, the path absolute.
    std::string_view path = text.substr(9);
    if (path.empty()) return {};
    return {StoreUrl::Kind::kSqlite, std::string(path)};
  }
  if (text.starts_with("sqlite:")) {
    std::string_view path = text.substr(7);
    if (path.empty()) return {};
    return {StoreUrl::Kind::kSqlite, std::string(path)};
  }
  // Any other scheme ("mysql://host/db") is not a file name; a Windows drive ("C:\runs.sqlite")
  // has a single letter before its colon.
  const std::size_t scheme = text.find("://");
  if (text.empty() || (scheme != std::string_view::npos && scheme > 1)) return {};
  return {StoreUrl::Kind::kSqlite, url};
}

AddOutcome RunStore::add_run(const RunRecord& record, StoreStatus& status) {
  const std::unique_ptr<RunWriter> writer = begin_run(status);
  if (!writer) return AddOutcome::kFailed;
  bool written = true;
  record.for_each_path([&](const mtrProbePath& path) {
    if (written) written = writer->add_path(path, status);
  });
  return written ? writer->finish(record, status) : AddOutcome::kFailed;
}

std::unique_ptr<RunStore> RunStore::open(const std::string& url, StoreStatus& status,
                                         bool for_writing) {
  status = {};
  const StoreUrl parsed = parse_store_url(url);
  switch (parsed.kind) {
    case StoreUrl::Kind::kSqlite:
      return open_sqlite_store(parsed.target, for_writing, status);
    case StoreUrl::Kind::kPostgres:
      return open_postgres_store(parsed.target, for_writing, status);
    case StoreUrl::Kind::kInvalid:
      break;
  }
  status = {StoreProblem::kBadUrl,
            url + ": not a store URL (a SQLite file, sqlite:///path or postgresql://...)"};
  return nullptr;
}

}  // namespace store
