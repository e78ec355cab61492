// apStatus: the outcome of an operation, 1 for success and 0 for failure.
#pragma once

#include "cncprobe/export.h"

class CNCPROBE_API apStatus {
 public:
  // An outcome: 1 for success, 0 for failure.
  explicit apStatus(int value) noexcept : value_(value) {}
  // 1 for success, 0 for failure.
  int value() const noexcept { return value_; }
  // True for success.
  bool ok() const noexcept { return value_ == 1; }
  // True for the same outcome.
  bool operator==(const apStatus& other) const noexcept { return value_ == other.value_; }

 private:
  int value_;
};
