// apStatus: the outcome of an operation, 1 for success and 0 for failure.
#pragma once

#include "cncprobe/export.h"

class CNCPROBE_API apStatus {
 public:
  explicit apStatus(int value) noexcept : value_(value) {}
  int value() const noexcept { return value_; }
  bool ok() const noexcept { return value_ == 1; }
  bool operator==(const apStatus& other) const noexcept { return value_ == other.value_; }

 private:
  int value_;
};
