// Ingest: a file read once, hashed, looked up, and only then extracted and stored. A large file's
// points are stored on a second thread while the rest of it is still being extracted.
#include "store/ingest.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <exception>
#include <filesystem>
#include <iostream>
#include <memory>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include "cncprobe/extraction/probe_path_listener.h"
#include "cncprobe/platform/model/probe_path.h"
#include "store/internal/utf8_path.h"

namespace store {

namespace {

// Takes the paths an extraction completes and writes them, in order, on a thread of its own.
class PathsToStore final : public kptProbePathListener {
 public:
  explicit PathsToStore(RunWriter& writer) : writer_(writer) {
    try {
      thread_ = std::thread([this] { write(); });
    } catch (const std::system_error&) {
      // No thread to be had: started() says so.
    }
  }
  ~PathsToStore() override { (void)finish(); }
  PathsToStore(const PathsToStore&) = delete;
  PathsToStore& operator=(const PathsToStore&) = delete;

  bool started() const noexcept { return thread_.joinable(); }

  void on_path_completed(const std::shared_ptr<const mtrProbePath>& path) override {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (discarded_ || !status_.ok()) return;
    queue_.push_back(path);
    changed_.notify_one();
  }
  // The paths written so far belong to no result any more: the writer is spoilt, and the caller
  // stores the run afresh.
  void on_results_discarded() override {
    const std::lock_guard<std::mutex> lock(mutex_);
    discarded_ = true;
    queue_.clear();
  }

  // Waits until every path handed over is written. The paths written and whether they went in
  // whole (status says why not); absent when a second START discarded them.
  std::optional<std::int64_t> finish() {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      closed_ = true;
      changed_.notify_one();
    }
    if (thread_.joinable()) thread_.join();
    if (discarded_) return std::nullopt;
    return written_;
  }
  const StoreStatus& status() const noexcept { return status_; }

 private:
  void write() {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
      changed_.wait(lock, [this] { return !queue_.empty() || closed_; });
      if (queue_.empty()) return;
      const std::shared_ptr<const mtrProbePath> path = std::move(queue_.front());
      queue_.pop_front();
      lock.unlock();
      StoreStatus status;
      bool written = false;
      try {
        written = writer_.add_path(*path, status);
      } catch (const std::exception& error) {  // no memory for a row: the run is not stored
        status = {StoreProblem::kFailed, std::string("the store: ") + error.what()};
      }
      lock.lock();
      if (!written) {
        status_ = status;
        queue_.clear();
      } else {
        ++written_;
      }
    }
  }

  RunWriter& writer_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::shared_ptr<const mtrProbePath>> queue_;
  std::int64_t written_ = 0;
  StoreStatus status_;  // the writer's failure
  bool discarded_ = false;
  bool closed_ = false;
  std::thread thread_;
};

// Extracts a large new file and stores its points as the extraction completes them. Absent when
// the run could not be written that way (no thread, or a second START in the file): the caller
// stores the record it then gets the plain way.
std::optional<AddOutcome> stream_into(RunStore& runs, const std::string& path,
                                      const kptInputFile& input, const RecordOptions& options,
                                      std::string sha256, RunRecord& record, StoreStatus& status) {
  std::unique_ptr<RunWriter> writer = runs.begin_run(status);
  if (!writer) return AddOutcome::kFailed;
  std::optional<std::int64_t> written;
  StoreStatus writing;
  {
    PathsToStore paths(*writer);
    record = RunRecord::from_input(path, input, options, std::move(sha256),
                                   paths.started() ? &paths : nullptr);
    if (!paths.started()) return std::nullopt;
    written = paths.finish();
    writing = paths.status();
  }
  if (!writing.ok()) {
    status = writing;
    return AddOutcome::kFailed;
  }
  // Every path the record holds was written, or it is stored afresh.
  if (!written || *written != record.probe_paths) return std::nullopt;
  return writer->finish(record, status);
}

}  // namespace

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
  // Hashed once: the hash that found the file new is the one stored. A large file's points are
  // written while it is extracted; a small one's after.
  RunRecord record;
  std::optional<AddOutcome> added;
  if (input.ok() && input.bytes().size() >= RunRecord::kConcurrentBytes) {
    added = stream_into(runs, path, input, options, std::move(sha256), record, result.status);
  } else {
    record = RunRecord::from_input(path, input, options, std::move(sha256));
  }
  if (!added) added = runs.add_run(record, result.status);
  result.program = record.program;
  result.verdict = record.verdict;
  result.status_name = record.status_name;
  switch (*added) {
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
