// A run's points as rows of their own, made from the reader's model on a second thread while the
// caller stores the rows made before them. Internal to store/.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "store/run_record.h"

namespace store {

// One point, with its label kept beside it.
struct OwnedPoint {
  PointRow row;  // row.label views `label`
  std::string label;
};

class PointGroups {
 public:
  // Starts making the record's rows, `group` to a group, on a thread of its own. started() is
  // false when no thread could be had: the caller then reads the points itself.
  PointGroups(const RunRecord& record, std::size_t group);
  // Stops making rows and waits for the thread.
  ~PointGroups();
  PointGroups(const PointGroups&) = delete;
  PointGroups& operator=(const PointGroups&) = delete;

  bool started() const noexcept { return thread_.joinable(); }
  // The next group, in order (a full group but for the last); empty once all were handed out.
  // Valid until the next call.
  const std::vector<OwnedPoint>& next();

 private:
  static constexpr std::size_t kSlots = 4;
  struct Slot {
    std::vector<OwnedPoint> rows;
    std::size_t size = 0;
    bool ready = false;  // made, and not yet given back by the reader
  };
  void make(const RunRecord& record);

  std::size_t group_;
  Slot slots_[kSlots];
  std::vector<OwnedPoint> handed_;  // what next() returned last
  std::size_t read_ = 0;            // the slot next() takes next
  bool done_ = false;               // every row was made
  bool stop_ = false;               // the reader wants no more
  std::mutex mutex_;
  std::condition_variable changed_;
  std::thread thread_;
};

}  // namespace store
