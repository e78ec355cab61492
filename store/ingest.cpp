// Ingest: a file read once, hashed, looked up, and only then extracted and stored.
#include "store/ingest.h"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <system_error>
#include <utility>

#include "store/internal/utf8_path.h"

namespace store {

IngestResult ingest_file(RunStore& runs, const std::string& path, const RecordOptions& options) {
  IngestResult result;
  const kptInputFile input = path == "-" ? kptInputFile::read(std::cin)
                                         : kptInputFile::read(utString(std::string_view(path)));
  result.path = stored_path(path);
  // A large file at a path never stored is new whatever its content: it is hashed beside its
  // extraction instead of before it. Any other is hashed first, and extracted only when new.
  std::string sha256;
  if (input.bytes().size() < RunRecord::kConcurrentBytes ||
      runs.has_path(result.path, result.status)) {
    if (result.status.ok()) {
      sha256 = content_sha256(input.bytes());
      if (runs.has_run(result.path, sha256, result.status)) {
        result.outcome = IngestOutcome::kSkipped;
        return result;
      }
    }
  }
  if (!result.status.ok()) {
    result.outcome = IngestOutcome::kStoreFailed;
    return result;
  }
  // Hashed once: the hash that found the file new is the one stored.
  const RunRecord record = RunRecord::from_input(path, input, options, std::move(sha256));
  result.program = record.program;
  result.verdict = record.verdict;
  result.status_name = record.status_name;
  switch (runs.add_run(record, result.status)) {
    case AddOutcome::kStored:
      result.outcome = record.readable() && record.status_code == 0 ? IngestOutcome::kStored
                                                                    : IngestOutcome::kStoredFailed;
      break;
    case AddOutcome::kAlreadyStored:  // another process stored it in the meantime
      result.outcome = IngestOutcome::kSkipped;
      break;
    case AddOutcome::kFailed:
      result.outcome = IngestOutcome::kStoreFailed;
      break;
  }
  return result;
}

std::vector<std::string> files_to_ingest(const std::vector<std::string>& names,
                                         const std::vector<std::string>& skip) {
  namespace fs = std::filesystem;
  std::vector<std::string> files;
  auto keep = [&](const std::string& file) {
    if (std::find(skip.begin(), skip.end(), stored_path(file)) == skip.end()) {
      files.push_back(file);
    }
  };
  for (const std::string& name : names) {
    std::error_code error;
    if (name != "-" && fs::is_directory(path_of(name), error)) {
      std::vector<std::string> found;
      for (fs::recursive_directory_iterator
               it(name, fs::directory_options::skip_permission_denied, error),
           end;
           !error && it != end; it.increment(error)) {
        std::error_code type_error;
        if (it->is_regular_file(type_error)) found.push_back(utf8_of(it->path()));
      }
      std::sort(found.begin(), found.end());
      for (const std::string& file : found) keep(file);
    } else {
      keep(name);
    }
  }
  return files;
}

std::vector<std::string> store_files(const std::string& url) {
  const StoreUrl parsed = parse_store_url(url);
  if (parsed.kind != StoreUrl::Kind::kSqlite) return {};
  const std::string file = stored_path(parsed.target);
  return {file, file + "-wal", file + "-shm", file + "-journal"};
}

}  // namespace store
