// Ingest: results files into a run store, one transaction per run, each file stored once.
//
//   store::IngestResult result = store::ingest_file(*runs, "/share/m1/run 17.txt", {});
//   if (result.outcome == store::IngestOutcome::kStoreFailed) stop(result.status.message);
#pragma once

#include <string>
#include <vector>

#include "store/run_record.h"
#include "store/run_store.h"

namespace store {

enum class IngestOutcome {
  kStored,        // a new run, read and extracted with success
  kStoredFailed,  // a new run stored with its problem: unreadable, or an extraction status
  kSkipped,       // this path with this content is already stored
  kStoreFailed,   // the store refused the run: nothing of it is stored (status says why)
};

struct IngestResult {
  IngestOutcome outcome = IngestOutcome::kStored;
  StoreStatus status;
  std::string path;                    // as stored
  std::string program;                 // empty when skipped before it was extracted
  std::optional<std::string> verdict;  // "pass", "fail"; absent when skipped or unreadable
  std::string status_name;             // the extraction status, or "unreadable"
};

// Reads `path` ("-": standard input), and stores it unless a run of the same path and content is
// there already; the file is only extracted when it is new.
IngestResult ingest_file(RunStore& runs, const std::string& path, const RecordOptions& options);

// The files named: a file as it is, a folder's regular files at any depth (in name order), "-"
// as it is. A name that is neither a file nor a folder stays in the list, so ingesting it stores
// it as unreadable. Names in `skip` (absolute: the store's own files) are left out.
std::vector<std::string> files_to_ingest(const std::vector<std::string>& names,
                                         const std::vector<std::string>& skip);

// The store's own files when it is a SQLite file in a folder being ingested or watched (the
// database, its write-ahead log and shared memory), as absolute paths; empty for PostgreSQL.
std::vector<std::string> store_files(const std::string& url);

}  // namespace store
