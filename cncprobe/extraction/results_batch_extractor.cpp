// kptResultsBatchExtractor: the files of a batch shared out among a few threads, each with an
// extractor of its own, and the outcomes handed back in the order of the list.
#include "cncprobe/extraction/results_batch_extractor.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>

namespace {
// How many outcomes past the oldest undelivered one may be read, per thread: enough that no
// thread waits for a slow file of its neighbour, few enough that a batch of ten thousand files
// holds the results of a handful at a time.
constexpr std::size_t kOutcomesAheadPerThread = 4;

kptFileExtraction extract_one(kptResultsDataExtractor& extractor, const utString& file,
                              const kptUnits& units) {
  (void)extractor.extract_data(file, units);
  return extractor.take_extraction(file);
}

// The state the threads of one call share, all of it guarded by `mutex`.
struct Batch {
  std::span<const utString> files;
  kptUnits units;
  std::size_t window = 0;
  std::mutex mutex;
  std::condition_variable outcome_ready;  // the caller waits for the next outcome in order
  std::condition_variable room_ahead;     // threads wait for the caller to deliver
  std::vector<std::optional<kptFileExtraction>> outcomes;
  std::size_t next = 0;       // the next file no thread has taken
  std::size_t delivered = 0;  // outcomes handed to the host so far
  bool stop = false;
  std::exception_ptr failure;

  // A file may be taken while it lies within the window past the oldest undelivered outcome.
  bool may_take() const { return next < files.size() && next < delivered + window; }

  // Reads file `index` with `extractor` and files its outcome; false when the batch must stop.
  bool read(kptResultsDataExtractor& extractor, std::size_t index,
            std::unique_lock<std::mutex>& lock) {
    lock.unlock();
    std::optional<kptFileExtraction> outcome;
    std::exception_ptr caught;
    try {
      outcome = extract_one(extractor, files[index], units);
    } catch (...) {
      caught = std::current_exception();  // an allocation failure: the caller rethrows it
    }
    lock.lock();
    if (caught) {
      if (!failure) failure = caught;
      stop = true;
      outcome_ready.notify_all();
      room_ahead.notify_all();
      return false;
    }
    outcomes[index] = std::move(outcome);
    if (index == delivered) outcome_ready.notify_one();
    return true;
  }

  void work(kptResultsDataExtractor& extractor) {
    std::unique_lock<std::mutex> lock(mutex);
    for (;;) {
      room_ahead.wait(lock, [this] { return stop || next >= files.size() || may_take(); });
      if (stop || next >= files.size()) return;
      if (!read(extractor, next++, lock)) return;
    }
  }
};

// Stops and joins the threads however the caller leaves, an exception from the host included.
struct JoinOnExit {
  Batch& batch;
  std::vector<std::thread>& threads;
  ~JoinOnExit() {
    {
      const std::lock_guard<std::mutex> lock(batch.mutex);
      batch.stop = true;
    }
    batch.room_ahead.notify_all();
    for (std::thread& thread : threads) thread.join();
  }
};
}  // namespace

kptResultsBatchExtractor::kptResultsBatchExtractor(unsigned int threads)
    : threads_(threads != 0 ? threads : std::max(1u, std::thread::hardware_concurrency())) {}

kptResultsBatchExtractor::~kptResultsBatchExtractor() = default;

std::vector<kptFileExtraction> kptResultsBatchExtractor::extract(std::span<const utString> files,
                                                                 const kptUnits& units) {
  std::vector<kptFileExtraction> outcomes(files.size());
  extract_each(files, units, [&outcomes](std::size_t index, kptFileExtraction&& outcome) {
    outcomes[index] = std::move(outcome);
  });
  return outcomes;
}

void kptResultsBatchExtractor::extract_each(
    std::span<const utString> files, const kptUnits& units,
    const std::function<void(std::size_t, kptFileExtraction&&)>& deliver) {
  const std::size_t count = files.size();
  if (count == 0) return;
  const auto threads = static_cast<unsigned int>(std::min<std::size_t>(threads_, count));
  while (extractors_.size() < threads) {
    extractors_.push_back(std::make_unique<kptResultsDataExtractor>());
  }
  if (threads == 1) {
    for (std::size_t index = 0; index < count; ++index) {
      deliver(index, extract_one(*extractors_[0], files[index], units));
    }
    return;
  }

  Batch batch;
  batch.files = files;
  batch.units = units;
  batch.window = kOutcomesAheadPerThread * threads;
  batch.outcomes.resize(count);
  std::vector<std::thread> workers;
  const JoinOnExit join{batch, workers};
  for (unsigned int t = 1; t < threads; ++t) {
    try {
      workers.emplace_back([&batch, extractor = extractors_[t].get()] { batch.work(*extractor); });
    } catch (const std::system_error&) {
      break;  // no more threads to be had: the ones started and the caller's read the rest
    }
  }
  // The caller's thread delivers in order and, while the next outcome is not ready, reads files
  // itself.
  std::unique_lock<std::mutex> lock(batch.mutex);
  while (batch.delivered < count) {
    if (batch.failure) break;
    std::optional<kptFileExtraction>& slot = batch.outcomes[batch.delivered];
    if (slot) {
      kptFileExtraction outcome = std::move(*slot);
      slot.reset();
      const std::size_t index = batch.delivered++;
      batch.room_ahead.notify_all();
      lock.unlock();
      deliver(index, std::move(outcome));
      lock.lock();
    } else if (batch.may_take()) {
      if (!batch.read(*extractors_[0], batch.next++, lock)) break;
    } else {
      batch.outcome_ready.wait(lock, [&batch] {
        return batch.failure || batch.outcomes[batch.delivered].has_value() || batch.may_take();
      });
    }
  }
  const std::exception_ptr failure = batch.failure;
  lock.unlock();
  if (failure) std::rethrow_exception(failure);
}
