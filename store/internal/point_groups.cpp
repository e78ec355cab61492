// PointGroups: a small ring of groups between the thread that makes rows and the one that stores
// them; neither waits while the other has work.
#include "store/internal/point_groups.h"

#include <system_error>
#include <utility>

namespace store {

PointGroups::PointGroups(const RunRecord& record, std::size_t group) : group_(group) {
  for (Slot& slot : slots_) slot.rows.resize(group_);
  try {
    thread_ = std::thread([this, &record] { make(record); });
  } catch (const std::system_error&) {
    // No thread to be had: started() says so, and the caller reads the points itself.
  }
}

PointGroups::~PointGroups() {
  if (!thread_.joinable()) return;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stop_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

void PointGroups::make(const RunRecord& record) {
  std::size_t write = 0;
  std::size_t filled = 0;
  bool stopped = false;
  auto hand_over = [&] {
    std::unique_lock<std::mutex> lock(mutex_);
    slots_[write].size = filled;
    slots_[write].ready = true;
    changed_.notify_all();
    write = (write + 1) % kSlots;
    filled = 0;
    changed_.wait(lock, [&] { return stop_ || !slots_[write].ready; });
    stopped = stop_;
  };
  record.for_each_point([&](const PointRow& point) {
    if (stopped) return;
    OwnedPoint& owned = slots_[write].rows[filled++];
    owned.row = point;
    owned.label.assign(point.label);
    owned.row.label = owned.label;
    if (filled == group_) hand_over();
  });
  std::lock_guard<std::mutex> lock(mutex_);
  if (!stopped && filled > 0) {
    slots_[write].size = filled;
    slots_[write].ready = true;
  }
  done_ = true;
  changed_.notify_all();
}

const std::vector<OwnedPoint>& PointGroups::next() {
  std::unique_lock<std::mutex> lock(mutex_);
  changed_.wait(lock, [&] { return slots_[read_].ready || done_; });
  if (!slots_[read_].ready) {
    handed_.clear();
    return handed_;
  }
  // The group is swapped out of the ring, so the maker can refill its slot at once.
  Slot& slot = slots_[read_];
  handed_.swap(slot.rows);
  handed_.resize(slot.size);
  slot.rows.resize(group_);
  slot.ready = false;
  read_ = (read_ + 1) % kSlots;
  changed_.notify_all();
  return handed_;
}

}  // namespace store
