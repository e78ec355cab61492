// Items made on a pool of threads and taken in order on the calling thread.
#include "tools/ordered_work.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace tool {

namespace {

// What the workers and the taking thread share, under one lock. Item i is made into slot
// i % window; a worker claims an item only when its slot has been taken, so a slot never holds
// two items.
class OrderedWork {
 public:
  OrderedWork(std::size_t count, std::size_t window)
      : count_(count), window_(window), slots_(window), ready_(window, false) {}

  void work(std::size_t worker, const MakeItem& make) {
    std::string text;
    for (;;) {
      std::size_t index = 0;
      {
        std::unique_lock lock(mutex_);
        room_.wait(lock, [&] {
          return stop_ || next_claim_ >= count_ || next_claim_ < next_take_ + window_;
        });
        if (stop_ || next_claim_ >= count_) return;
        index = next_claim_++;
      }
      text.clear();
      try {
        make(worker, index, text);
      } catch (...) {
        fail(std::current_exception());
        return;
      }
      {
        std::lock_guard lock(mutex_);
        slots_[index % window_] = std::move(text);
        ready_[index % window_] = true;
      }
      made_.notify_all();
      text = std::string();
    }
  }

  // Waits for item `index`; false when the work stopped first.
  bool wait_for(std::size_t index, std::string& text) {
    {
      std::unique_lock lock(mutex_);
      const std::size_t slot = index % window_;
      made_.wait(lock, [&] { return stop_ || ready_[slot]; });
      if (stop_) return false;
      text = std::move(slots_[slot]);
      slots_[slot] = std::string();
      ready_[slot] = false;
      next_take_ = index + 1;
    }
    room_.notify_all();
    return true;
  }

  void fail(std::exception_ptr failure) {
    {
      std::lock_guard lock(mutex_);
      if (!failure_) failure_ = std::move(failure);
      stop_ = true;
    }
    made_.notify_all();
    room_.notify_all();
  }

  std::exception_ptr failure() const { return failure_; }

 private:
  const std::size_t count_;
  const std::size_t window_;
  std::mutex mutex_;
  std::condition_variable made_;  // an item was made, or the work stopped
  std::condition_variable room_;  // an item was taken, or the work stopped
  std::vector<std::string> slots_;
  std::vector<bool> ready_;
  std::size_t next_claim_ = 0;
  std::size_t next_take_ = 0;
  bool stop_ = false;
  std::exception_ptr failure_;
};

}  // namespace

void run_in_order(std::size_t count, std::size_t threads, const MakeItem& make,
                  const TakeItem& take) {
  threads = std::min(threads, count);
  if (threads <= 1) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
      text.clear();
      make(0, i, text);
      take(i, text);
    }
    return;
  }
  // A few items per thread ahead keep every thread busy while a slow item is awaited.
  OrderedWork work(count, 4 * threads);
  std::vector<std::thread> pool;
  try {
    for (std::size_t w = 0; w < threads; ++w) {
      pool.emplace_back([&work, &make, w] { work.work(w, make); });
    }
    std::string text;
    for (std::size_t i = 0; i < count && work.wait_for(i, text); ++i) take(i, text);
  } catch (...) {
    work.fail(std::current_exception());
  }
  for (std::thread& thread : pool) thread.join();
  if (work.failure()) std::rethrow_exception(work.failure());
}

std::size_t default_thread_count() {
  return std::max<std::size_t>(1, std::thread::hardware_concurrency());
}

}  // namespace tool
